// Text between the device (UTF-16) and the host (UTF-8).
#pragma once

#include "Platform/types.h"

#include <string>
#include <string_view>

namespace plat {

// A caller's text, which may be null.
inline std::u16string_view TextOf(LPCWSTR text) {
    return text ? std::u16string_view(text) : std::u16string_view();
}
// An unpaired surrogate becomes "?".
std::string ToUtf8(std::u16string_view text);
// A byte that is not valid UTF-8 is taken by windows-1252, so nothing is lost and nothing fails.
std::u16string ToUtf16(std::string_view text);
// Upper case of one unit by the simple mapping, whatever the locale.
WCHAR UpperUnit(WCHAR c);
WCHAR LowerUnit(WCHAR c);

} // namespace plat
