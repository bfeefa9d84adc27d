// What a user wrote as mark-up that shows it letter by letter.
#pragma once

#include "Platform/types.h"

#include <string>
#include <string_view>

// "<<" is a literal one, but its second half may begin a tag with what follows: so that tag is one without effect.
inline constexpr std::u16string_view HTML_LITERAL_LESS = u"<</BODY>";

// Control characters become blanks.
QN_API std::u16string HTMLEscape(std::u16string_view text);
// Line ends (CR, LF or both) become breaks, empty lines stay.
QN_API std::u16string HTMLEscapeLines(std::u16string_view text);
