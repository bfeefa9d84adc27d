// Two small matchers that let a user find a contact without typing a name exactly: a key-pad find, in which each typed
// key stands for a set of letters, and a sound code. Pure functions; any thread.
#pragma once

#include "Platform/locale.h"
#include "Platform/types.h"

#include <array>
#include <span>
#include <string_view>

// How names are compared with what was typed: without case, accents, symbols, width and kind of kana.
inline constexpr DWORD kFindFlags =
    NORM_IGNORECASE | NORM_IGNORENONSPACE | NORM_IGNORESYMBOLS | NORM_IGNOREKANATYPE | NORM_IGNOREWIDTH;

// Whether the two begin alike, on the length of the shorter one: a short name is found by a longer typed text too. False
// when one is empty.
QN_API bool BeginsAlike(std::u16string_view name, std::u16string_view typed, DWORD flags = kFindFlags);

// Whether a typed text is one for the key pad: digits, blanks and '#' alone, and not empty.
QN_API bool IsKeypadText(const WCHAR* typed);

// Whether one of the fields holds the typed keys as a contiguous run. Keys "0" to "8" stand for the letters ABC, DEF,
// ... WXYZ (with the accented letters of their groups) and the digits, '#' for the digits too. Null fields are passed
// over; a field shorter than the typed text ends the test for all.
QN_API bool KeypadMatch(std::span<const WCHAR* const> fields, const WCHAR* typed);

// The sound code of a word: at most four characters and a terminator, the rest zero. False, and an empty code, for an
// empty word.
using SoundCode = std::array<WCHAR, 5>;
QN_API bool Soundex(const WCHAR* word, SoundCode& code);

// A copy of the text with only its digits 0 to 9, from the C heap; null for null.
QN_API WCHAR* OnlyPhone(const WCHAR* text);
