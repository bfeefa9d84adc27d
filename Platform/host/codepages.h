// One character at a time between UTF-8, UTF-16 and windows-1252; text.h has the whole texts.
#pragma once

#include "Platform/types.h"

#include <string_view>

namespace plat {

// What DecodeUtf16 gives for half a surrogate pair.
inline constexpr char32_t kUnpaired = 0xFFFFFFFF;

// Reads the first character of a text that is not empty: the units or bytes it takes; 0 for no valid UTF-8.
int DecodeUtf8(std::string_view text, char32_t& c);
std::size_t DecodeUtf16(std::u16string_view text, char32_t& c);

std::size_t EncodeUtf8(char32_t c, char (&bytes)[4]);

WCHAR From1252(BYTE byte);
bool To1252(char32_t c, char& byte);

} // namespace plat
