// Two small matchers that let a user find a contact without typing a name exactly: a key-pad find, in which each typed
// key stands for a set of letters, and a sound code. Pure functions; any thread.
#pragma once

#include "Platform/types.h"

#include <array>
#include <span>

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
