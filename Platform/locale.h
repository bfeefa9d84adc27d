// What the device's locale answers: items, dates and times as text, comparison of words.
//
// The locale comes from the environment (LC_ALL, LC_TIME, LANG) at the first use and is the same for the process;
// without one, or for "C" and "POSIX", it is American English. Any thread may call. Nothing is allocated for the caller.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

inline constexpr LCID LOCALE_NEUTRAL = 0;
inline constexpr LCID LOCALE_USER_DEFAULT = 1024;
inline constexpr LCID LOCALE_SYSTEM_DEFAULT = 2048;

// Items of GetLocaleInfoW.
inline constexpr DWORD LOCALE_SLANGUAGE = 0x02;
inline constexpr DWORD LOCALE_IMEASURE = 0x0D; // 0 metric, 1 American
inline constexpr DWORD LOCALE_SDECIMAL = 0x0E;
inline constexpr DWORD LOCALE_STHOUSAND = 0x0F;
inline constexpr DWORD LOCALE_SDATE = 0x1D;      // date separator
inline constexpr DWORD LOCALE_STIME = 0x1E;      // time separator
inline constexpr DWORD LOCALE_SSHORTDATE = 0x1F; // pictures
inline constexpr DWORD LOCALE_SLONGDATE = 0x20;
inline constexpr DWORD LOCALE_IDATE = 0x21; // 0 month first, 1 day first, 2 year first
inline constexpr DWORD LOCALE_ITIME = 0x23; // 0 12 hours, 1 24 hours
inline constexpr DWORD LOCALE_S1159 = 0x28; // marks of morning and afternoon
inline constexpr DWORD LOCALE_S2359 = 0x29;
inline constexpr DWORD LOCALE_SDAYNAME1 = 0x2A; // Monday; seven of them
inline constexpr DWORD LOCALE_SABBREVDAYNAME1 = 0x31;
inline constexpr DWORD LOCALE_SMONTHNAME1 = 0x38; // twelve
inline constexpr DWORD LOCALE_SABBREVMONTHNAME1 = 0x44;
inline constexpr DWORD LOCALE_SISO639LANGNAME = 0x59;
inline constexpr DWORD LOCALE_SISO3166CTRYNAME = 0x5A;
inline constexpr DWORD LOCALE_STIMEFORMAT = 0x1003;
inline constexpr DWORD LOCALE_IFIRSTDAYOFWEEK = 0x100C; // 0 Monday to 6 Sunday
// Or'ed to an item: the answer is a DWORD in the buffer, `size` at least 2 units, the result 2.
inline constexpr DWORD LOCALE_RETURN_NUMBER = 0x20000000;
inline constexpr DWORD LOCALE_NOUSEROVERRIDE = 0x80000000;

// The text of an item. Gives the units with the terminator, those needed when `size` is 0; 0 on failure: error 87 for
// an unknown item or one that is no number, 122 when the buffer is too small.
int GetLocaleInfoW(LCID locale, DWORD item, WCHAR* buffer, int size);
// The language that the device was made for: American English (0x0409), or what the environment tells by the id of a
// locale ("ja_JP") in QN_LANGUAGE.
LCID GetSystemDefaultLCID();
// Host side: another one, before anything asks; 0 gives the environment's again.
void PlatSetSystemLanguage(LCID language);
LCID GetUserDefaultLCID();

inline constexpr DWORD DATE_SHORTDATE = 1;
inline constexpr DWORD DATE_LONGDATE = 2;
inline constexpr DWORD TIME_NOMINUTESORSECONDS = 1;
inline constexpr DWORD TIME_NOSECONDS = 2;
inline constexpr DWORD TIME_NOTIMEMARKER = 4;
inline constexpr DWORD TIME_FORCE24HOURFORMAT = 8;

// The date by the locale's short (also flags 0) or long picture, or by `picture` when it is not null: d dd ddd dddd
// M MM MMM MMMM y yy yyyy gg, quoted text as it stands ('' is one quote), every other unit as it stands. A null date
// is now. Gives the units with the terminator, those needed when `size` is 0; 0 on failure: error 87 for a date
// that is none, 122 when the buffer is too small.
int GetDateFormatW(LCID locale, DWORD flags, const SYSTEMTIME* date, const WCHAR* picture, WCHAR* buffer,
                   int size);
// The same for a time: h hh H HH m mm s ss t tt. The flags
// change the locale's own picture only; 24 hours come without a mark there.
int GetTimeFormatW(LCID locale, DWORD flags, const SYSTEMTIME* time, const WCHAR* picture, WCHAR* buffer,
                   int size);

inline constexpr DWORD NORM_IGNORECASE = 0x00001;
inline constexpr DWORD NORM_IGNORENONSPACE = 0x00002; // accents
inline constexpr DWORD NORM_IGNORESYMBOLS = 0x00004;
inline constexpr DWORD SORT_STRINGSORT = 0x01000;
inline constexpr DWORD NORM_IGNOREKANATYPE = 0x10000;
inline constexpr DWORD NORM_IGNOREWIDTH = 0x20000;
inline constexpr int CSTR_LESS_THAN = 1;
inline constexpr int CSTR_EQUAL = 2;
inline constexpr int CSTR_GREATER_THAN = 3;

// 1, 2 or 3 by the order of words in the locale's language; lengths in units, below 0 for a terminated text. Without
// SORT_STRINGSORT hyphen and apostrophe only break ties ("co-op", "coop", "co-ops"). 0 and error 87 for a null text.
int CompareStringW(LCID locale, DWORD flags, const WCHAR* a, int aLength, const WCHAR* b, int bLength);

inline constexpr DWORD LCMAP_SORTKEY = 0x00400;
// The sort key of a text, with the flags of CompareStringW beside LCMAP_SORTKEY: keys of one locale and one set of flags
// compare byte by byte (a shorter one that the other begins with first) as the texts do. `size` counts bytes here. Gives
// the bytes of the key, those needed when `size` is 0; 0 on failure: error 87 for other flags and a null text, 122 when
// the buffer is too small.
int LCMapStringW(LCID locale, DWORD flags, const WCHAR* text, int length, WCHAR* buffer, int size);

#pragma GCC visibility pop
