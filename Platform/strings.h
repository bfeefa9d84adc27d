// The C string set of the device for 16-bit text, the formatter, and the code page conversions.
//
// All functions are overloads on char16_t with C++ linkage, so they live beside the host's own of the same name.
// Comparison is by unsigned 16-bit units and case mapping is the simple one of each unit: neither depends on a locale.
// Any thread may call any of them. Blocks they return come from the C heap and are freed by the caller with free().
// As in C, null pointers are not allowed unless a function says so.
#pragma once

#include "Platform/types.h"

#include <cstdarg>
#include <cstddef>
#include <string> // before the overloads below: the library takes addresses of its own wcstol and wcstod

#pragma GCC visibility push(default)

// --- Length, copy, compare, search ----------------------------------------------------------------------------------

std::size_t wcslen(const WCHAR* text);
WCHAR* wcscpy(WCHAR* to, const WCHAR* from);
// Copies at most `count` units and fills the rest with zeros; no terminator when `from` is `count` or longer.
WCHAR* wcsncpy(WCHAR* to, const WCHAR* from, std::size_t count);
WCHAR* wcscat(WCHAR* to, const WCHAR* from);
int wcscmp(const WCHAR* a, const WCHAR* b);
int wcsncmp(const WCHAR* a, const WCHAR* b, std::size_t count);
// The same as wcscmp: the device compares units here, not words of a language.
int lstrcmpW(const WCHAR* a, const WCHAR* b);
int _wcsicmp(const WCHAR* a, const WCHAR* b);
int _wcsnicmp(const WCHAR* a, const WCHAR* b, std::size_t count);
// Searches give null when nothing is found; an empty text is found at once, the unit 0 at the end.
const WCHAR* wcsstr(const WCHAR* text, const WCHAR* find);
WCHAR* wcsstr(WCHAR* text, const WCHAR* find);
const WCHAR* wcschr(const WCHAR* text, WCHAR find);
WCHAR* wcschr(WCHAR* text, WCHAR find);
const WCHAR* wcsrchr(const WCHAR* text, WCHAR find);
WCHAR* wcsrchr(WCHAR* text, WCHAR find);

// --- Change in place, copies ----------------------------------------------------------------------------------------

WCHAR* _wcsupr(WCHAR* text);
WCHAR* _wcslwr(WCHAR* text);
// Turns the units round; surrogate pairs are not kept together.
WCHAR* _wcsrev(WCHAR* text);
// A copy from the C heap; null gives null, as does an exhausted heap.
WCHAR* _wcsdup(const WCHAR* text);
char* _strdup(const char* text);
// ASCII letters only.
int _stricmp(const char* a, const char* b);

// --- Units ----------------------------------------------------------------------------------------------------------

WCHAR towupper(WCHAR c);
WCHAR towlower(WCHAR c);

// Class bits of iswctype; several may be asked at once.
inline constexpr DWORD kCharUpper = 0x001;
inline constexpr DWORD kCharLower = 0x002;
inline constexpr DWORD kCharDigit = 0x004;
inline constexpr DWORD kCharSpace = 0x008; // Unicode white space
inline constexpr DWORD kCharPunct = 0x010; // punctuation, symbols, and the halves of a surrogate pair
inline constexpr DWORD kCharControl = 0x020;
inline constexpr DWORD kCharBlank = 0x040; // blanks that take room, and the tab
inline constexpr DWORD kCharHex = 0x080;
inline constexpr DWORD kCharAlpha = 0x100; // letters and the marks that belong to them
inline constexpr DWORD kCharPrintable = 0x157;
// Not 0 when the unit has one of the classes of the mask.
int iswctype(WCHAR c, DWORD mask);

// --- Numbers --------------------------------------------------------------------------------------------------------

// Leading white space, a sign, decimal digits; stops at the first other unit and at the limits of LONG.
LONG _wtol(const WCHAR* text);
// As in C, with 32-bit results that stop at the limits. `end` may be null.
LONG wcstol(const WCHAR* text, WCHAR** end, int radix);
DWORD wcstoul(const WCHAR* text, WCHAR** end, int radix);
// The decimal point is "." in every locale. `end` may be null.
double wcstod(const WCHAR* text, WCHAR** end);
// The digits of a value rounded to `digits` decimals, without sign and point; `*point` is the place of the decimal
// point from the first digit, negative for zeros behind it, above 40 for a value that is no number. The text is a
// buffer of the thread, good until its next call.
char* _fcvt(double value, int digits, int* point, int* sign);
// The value with at most `digits` (1 to 17) significant digits; the buffer holds digits + 10 characters.
char* _gcvt(double value, int digits, char* buffer);

// --- Formatting -----------------------------------------------------------------------------------------------------
//
// %[-+ 0#][width][.precision][h|l|ll|I64]type, width and precision also "*". Types: d i u x X o (l is 32 bits,
// ll and I64 64), c and s (UTF-16; with h narrow), C and S (narrow; with l UTF-16), p, e f g. A null text prints
// "(null)". Anything else behind % is copied as it stands and takes no argument, so no format can make a call write
// through an argument or past its limit.

// At most 1,024 units, the terminator included; gives the length.
int wvsprintfW(WCHAR* buffer, const WCHAR* format, std::va_list arguments);
int wsprintfW(WCHAR* buffer, const WCHAR* format, ...);
// Writes at most `count` units and gives the length. A text of exactly `count` units gets NO terminator; a longer one
// is cut there, has none either, and gives -1. For a cut text that is always ended use StringCchPrintfW.
int _snwprintf(WCHAR* buffer, std::size_t count, const WCHAR* format, ...);
int _vsnwprintf(WCHAR* buffer, std::size_t count, const WCHAR* format, std::va_list arguments);
// Writes at most `room` units with the terminator, always ended (unless room is 0); E_INSUFFICIENTBUFFER when cut.
HRESULT StringCchPrintfW(WCHAR* buffer, std::size_t room, const WCHAR* format, ...);
HRESULT StringCchVPrintfW(WCHAR* buffer, std::size_t room, const WCHAR* format, std::va_list arguments);

// Reads %d %i %u %x %o (int*, h short*, ll 64 bits), %c, and %s with a width (WCHAR*); "*" skips the value, blanks skip
// white space, other units must match. Gives the number of values stored, -1 when the text ends before the first.
// A %s or a type it does not know ends the reading, so no text can be written without a limit.
int swscanf(const WCHAR* text, const WCHAR* format, ...);

// --- Code pages -----------------------------------------------------------------------------------------------------

inline constexpr UINT CP_ACP =
    0; // UTF-8 here, whatever the locale; a byte that is not is taken by windows-1252
inline constexpr UINT CP_1252 = 1252;
inline constexpr UINT CP_UTF8 = 65001;
inline constexpr DWORD MB_PRECOMPOSED = 1;
inline constexpr DWORD MB_ERR_INVALID_CHARS = 8; // CP_UTF8 only: refuse what is not UTF-8 (error 1113)

// `length` in bytes, or -1 for a terminated text (the terminator is then converted too). With `room` 0 the units
// needed. Gives the units written; 0 on failure: error 87 for an unknown page or a bad argument, 122 when `room` is
// too small (nothing useful is in the buffer then).
int MultiByteToWideChar(UINT page, DWORD flags, const char* text, int length, WCHAR* buffer, int room);
// The other way. An unpaired surrogate gives "?"; in page 1252 what has no place there gives `*substitute` or "?".
int WideCharToMultiByte(UINT page, DWORD flags, const WCHAR* text, int length, char* buffer, int room,
                        const char* substitute, BOOL* substituted);
// Converts to CP_ACP: at most `count` bytes, no part of a character, ended when there is room. Gives the bytes without
// the terminator; with a null buffer the bytes that the whole text takes.
std::size_t wcstombs(char* buffer, const WCHAR* text, std::size_t count);

// The bytes that a block of the C heap can hold; at least those asked for. The excess is no part of a text.
std::size_t _msize(void* block);

#pragma GCC visibility pop
