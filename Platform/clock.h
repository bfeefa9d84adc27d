// The device's clock, its time zone, and the conversions between the three forms of a date.
//
// SYSTEMTIME for fields, FILETIME for 100-nanosecond ticks since 1601, variant time for days since 30 December 1899.
// Any thread may call. All conversions are strict: a date that does not exist fails, and the output stays untouched.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

// --- Now ------------------------------------------------------------------------------------------------------------

void GetSystemTime(SYSTEMTIME* utc);
void GetLocalTime(SYSTEMTIME* local);
// Milliseconds from some moment, cut to 32 bits: only differences mean something.
DWORD GetTickCount();

inline constexpr DWORD TIME_ZONE_ID_UNKNOWN = 0; // no summer time
inline constexpr DWORD TIME_ZONE_ID_STANDARD = 1;
inline constexpr DWORD TIME_ZONE_ID_DAYLIGHT = 2;
inline constexpr DWORD TIME_ZONE_ID_INVALID = 0xFFFFFFFF;
// The zone of the device with this year's transitions as relative dates, and which half of it is in force. A zone
// without summer time this year has both months 0 and DaylightBias 0.
DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone);
// The same for a zone by its IANA name ("Europe/Berlin") and the year given; false, and nothing written, for a name
// that the system does not know. Reads the system's zone data; neither TZ nor the device's zone matter.
bool PlatGetZoneByName(const char* name, WORD year, TIME_ZONE_INFORMATION* zone);
// The IANA name of the device's zone; false when it is not known by name.
bool PlatGetZoneName(char* name, std::size_t size);

// --- Ticks (years 1601 to 9999) -------------------------------------------------------------------------------------

// The weekday of `date` is not read. FALSE and error 87 for what is no date.
BOOL SystemTimeToFileTime(const SYSTEMTIME* date, FILETIME* ticks);
BOOL FileTimeToSystemTime(const FILETIME* ticks, SYSTEMTIME* date);
// With the bias in force now, not at that date.
BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local);
BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* utc);
// -1, 0 or 1.
LONG CompareFileTime(const FILETIME* a, const FILETIME* b);

// --- Variant time (years 100 to 9999) -------------------------------------------------------------------------------

// Milliseconds are not read. Before 30 December 1899 the whole part is negative and the fraction still counts on.
int SystemTimeToVariantTime(const SYSTEMTIME* date, double* days);
// Rounded to the nearest second.
int VariantTimeToSystemTime(double days, SYSTEMTIME* date);

inline constexpr DWORD VAR_TIMEVALUEONLY = 1;
inline constexpr DWORD VAR_DATEVALUEONLY = 2;
inline constexpr HRESULT DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005);
// Reads a date, a time, or both, in the usual forms of the locale: "3/14/2007", "14.3.07", "2007-03-14",
// "March 14, 2007", "14. März", "Wed 14 Mar 2007 3:30 pm". A missing year is this one, two digits mean 1930 to 2029;
// a missing date is day 0. The flags give one part alone. DISP_E_TYPEMISMATCH for a text that is none of it.
HRESULT VarDateFromStr(const WCHAR* text, LCID locale, DWORD flags, DATE* days);

#pragma GCC visibility pop
