// Calendar facts, moving a date, differences.
#include "NorvoTools/datetime.h"

#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/locale.h"

#include <array>
#include <cmath>

namespace {

constexpr int kJulianUntil = 1752;
constexpr int kOldestVariantYear = 100;
constexpr int kLastYear = 9999;

// Adds ticks unless the date is none or would leave 1601 to 9999.
void Move(SYSTEMTIME& date, std::int64_t ticks) {
    if (!civil::IsValid(date)) return;
    std::int64_t moved;
    if (__builtin_add_overflow(civil::TicksOf(date), ticks, &moved)) return;
    if (moved >= 0 && moved < civil::kEndOfTicks) date = civil::SystemTimeFromTicks(moved);
}

// Of b behind a, with a's minutes taken off but b's not yet added.
std::int64_t MinutesWithoutLast(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    std::int64_t days = civil::DaysOf(b) - civil::DaysOf(a);
    return (days * 24 - a.wHour + b.wHour) * 60 - a.wMinute;
}

} // namespace

// --- Calendar facts -----------------------------------------------------------------------------------------------

bool isleapyear(int year) {
    if (year > kJulianUntil) {
        if (year % 4000 == 0) return false;
        if (year % 400 == 0) return true;
        if (year % 100 == 0) return false;
    }
    return year % 4 == 0;
}

int dayspermonth(int month, int year) {
    if (month == 2) return isleapyear(year) ? 29 : 28;
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

int getdayofyear(const SYSTEMTIME& date) {
    static constexpr std::array<int, 12> kBefore{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    if (date.wMonth < 1 || date.wMonth > kBefore.size()) return 0;
    int leapDay = date.wMonth > 2 && isleapyear(date.wYear) ? 1 : 0;
    return kBefore[date.wMonth - 1u] + date.wDay + leapDay;
}

// --- Moving a date ------------------------------------------------------------------------------------------------

void incrementday(SYSTEMTIME& date, int nDays) {
    std::int64_t ticks;
    if (!__builtin_mul_overflow(nDays, civil::kTicksPerDay, &ticks)) Move(date, ticks);
}
void addtime(SYSTEMTIME& date, int nSeconds) { Move(date, nSeconds * civil::kTicksPerSecond); }
void subtractsec(SYSTEMTIME& date, int nSeconds) { Move(date, -(nSeconds * civil::kTicksPerSecond)); }
void subtract5sec(SYSTEMTIME& date) { subtractsec(date, 5); }
void SystemTimeIncrement(SYSTEMTIME& date, LONGLONG ticks) { Move(date, ticks); }
void SystemTimeDecrement(SYSTEMTIME& date, LONGLONG ticks) {
    if (ticks != INT64_MIN) Move(date, -ticks);
}

// The day number of a day that the month doesn't have runs on into the next month; days are taken off until it is back.
// The time of day stays but for the milliseconds, which a variant time doesn't hold.
void incrementmonth(SYSTEMTIME& date, int nMonths) {
    if (date.wMonth < 1 || date.wMonth > 12 || date.wDay < 1 || date.wDay > 31) return;
    std::int64_t months = std::int64_t{date.wYear} * 12 + date.wMonth - 1 + nMonths;
    int year = static_cast<int>(civil::FloorDiv(months, 12));
    int month = static_cast<int>(months - std::int64_t{year} * 12) + 1;
    if (year < kOldestVariantYear || year > kLastYear) return;
    std::int64_t day = civil::DaysFromCivil(year, month, date.wDay);
    while (civil::CivilFromDays(day).month != month) --day;
    SYSTEMTIME moved = civil::SystemTimeFromDays(day);
    moved.wHour = date.wHour;
    moved.wMinute = date.wMinute;
    moved.wSecond = date.wSecond;
    date = moved;
}

// --- Differences --------------------------------------------------------------------------------------------------

int TimeDiffInMinutes(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return static_cast<int>(MinutesWithoutLast(a, b) + b.wMinute);
}

int TimeDiffInMinutes(double a, double b) {
    SYSTEMTIME from{};
    SYSTEMTIME to{};
    if (!VariantTimeToSystemTime(a, &from) || !VariantTimeToSystemTime(b, &to)) return 0;
    return TimeDiffInMinutes(from, to);
}

int TimeDiffInSeconds(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return static_cast<int>(MinutesWithoutLast(a, b) * 60 + b.wMinute * 61 - a.wSecond);
}

SYSTEMTIME subtractsystemtime(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    const LONGLONG ticks = SystemTimeDiff(b, a);
    return ticks < 0 || !civil::IsValid(a) || !civil::IsValid(b) ? SYSTEMTIME{}
                                                                 : civil::SystemTimeFromTicks(ticks);
}

LONGLONG SystemTimeDiff(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return civil::IsValid(a) && civil::IsValid(b) ? civil::TicksOf(a) - civil::TicksOf(b) : 0;
}

// Before day 0 the fraction still counts on from the whole part.
bool IsOneDay(double a, double b, bool bAllDay) { return !bAllDay && std::trunc(a) == std::trunc(b); }

// --- Texts and habits ---------------------------------------------------------------------------------------------

int GetDateFormatW(LCID locale, DWORD dwFlags, double date, const WCHAR* pszFormat, WCHAR* pszBuffer,
                   int nSize) {
    SYSTEMTIME day{};
    if (!VariantTimeToSystemTime(date, &day)) return 0;
    return GetDateFormatW(locale, dwFlags, &day, pszFormat, pszBuffer, nSize);
}
