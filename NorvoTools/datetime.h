// Date arithmetic on SYSTEMTIME, FILETIME ticks and variant times (days from 30 December 1899), the duration text and
// the time parser. The zone rules stand in Platform/zonerules.h, which this header brings along.
//
// No state: any thread may call these. A function that changes its SYSTEMTIME does so in place; a conversion that fails
// (an impossible date, a year outside 1601 to 9999) leaves it as it was.
#pragma once

#include "Platform/types.h"
#include "Platform/zonerules.h"

// --- Calendar facts -----------------------------------------------------------------------------------------------

// To 1752 every fourth year is one; after it centuries only by 400, and never by 4,000.
QN_API bool isleapyear(int year);
QN_API int dayspermonth(int month, int year);
QN_API int getdayofyear(const SYSTEMTIME& date); // 1 for 1 January
// The week of the year, Monday weeks, by the rule of four for leap years. ISO 8601 from 1901 to 2099 but for 1 to 3
// January of some years behind a leap year, which give one more than the last week (up to 54).
QN_API int weeknumber(int year, int month, int day);

// --- Moving a date ------------------------------------------------------------------------------------------------

QN_API void incrementday(SYSTEMTIME& date, int nDays); // back with a negative number
QN_API void addtime(SYSTEMTIME& date, int nSeconds);
QN_API void subtractsec(SYSTEMTIME& date, int nSeconds);
QN_API void subtract5sec(SYSTEMTIME& date);
// A day that the month doesn't have becomes its last one.
QN_API void incrementmonth(SYSTEMTIME& date, int nMonths);
QN_API void SystemTimeIncrement(SYSTEMTIME& date, LONGLONG ticks);
QN_API void SystemTimeDecrement(SYSTEMTIME& date, LONGLONG ticks);

// --- Differences --------------------------------------------------------------------------------------------------

QN_API int TimeDiffInMinutes(const SYSTEMTIME& a, const SYSTEMTIME& b); // b - a
QN_API int TimeDiffInMinutes(double a, double b);
// In whole hours and a's minute, b's minute counted as 61 seconds, and b's seconds not at all: what was stored with it
// is compared with it.
QN_API int TimeDiffInSeconds(const SYSTEMTIME& a, const SYSTEMTIME& b);
// b - a as a date counted from 1601: its day field is 1 for less than a day. All zero when b is before a.
QN_API SYSTEMTIME subtractsystemtime(const SYSTEMTIME& a, const SYSTEMTIME& b);
// a - b in ticks; 0 when one of them is no date.
QN_API LONGLONG SystemTimeDiff(const SYSTEMTIME& a, const SYSTEMTIME& b);
QN_API bool IsOneDay(double a, double b, bool bAllDay); // false for all-day items

// --- Texts --------------------------------------------------------------------------------------------------------

// The platform's function of this name for a variant time. Characters written with the terminator, 0 on failure.
QN_API int GetDateFormatW(LCID locale, DWORD dwFlags, double date, const WCHAR* pszFormat, WCHAR* pszBuffer,
                          int nSize);
// "(2 days) 3 hours 1 minute" with the words of the resource library; empty for 0 and below. nSize is in characters.
QN_API void FormatDurationString(WCHAR* pszBuffer, int nSize, int nMinutes, bool bDays);
// Flags odd or 0: a time of day ("9:30", "930", "9pm"). Bit 1 alone: a date. *pResult is the variant time.
// 0, or 0x80020005 for no text, 0x80070057 for other flags, 0x80020008 for text that is no time.
QN_API HRESULT NorvoDateFromString(const WCHAR* pszText, DWORD dwFlags, double* pResult);

// --- The device's habits ------------------------------------------------------------------------------------------

QN_API bool IsEuroFormat();              // the user's locale is a metric one
QN_API int GetDefaultFirstDayOfDevice(); // 0 Sunday ... 6 Saturday

// One row of the device's city database.
struct TZData {
    WCHAR szDisplayName[128];
    WCHAR szStandardName[64];
    WCHAR szDaylightName[64];
    DWORD dwValue;
    LONG lOffset; // minutes
};
// All rows in a new array (delete[]); null and a count of 0 without the database.
QN_API TZData* GetAllTimeZones(int& nCount);
