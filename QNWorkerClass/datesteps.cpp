#include "QNWorkerClass/datesteps.h"

#include "NorvoTools/datetime.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace {

constexpr LONGLONG kSecondsPerDay = 86400;
constexpr LONG kFebruary = 2;
constexpr LONG kDecember = 12;
constexpr LONG kLastOfMonth = 5; // the nth that means the last one

bool DividesBy4(LONG year) { return year % 4 == 0; }

LONG ForwardTo(LONG day, LONG weekday) { return day + (weekday - WeekdayOf(day) + 7) % 7; }
LONG BackTo(LONG day, LONG weekday) { return day - (WeekdayOf(day) - weekday + 7) % 7; }

LONG NthWorkDay(LONG first, LONG last, LONG nth) {
    if (nth == kLastOfMonth) {
        LONG weekday = WeekdayOf(last);
        return last - (weekday == kSunday ? 2 : weekday == kSaturday ? 1 : 0);
    }
    LONG weekday = WeekdayOf(first);
    LONG day = first + (weekday == kSaturday ? 2 : weekday == kSunday ? 1 : 0);
    for (LONG n = 1; n < nth; ++n) {
        ++day;
        if (WeekdayOf(day) == kSaturday) day += 2;
    }
    return day;
}

LONG NthWeekendDay(LONG first, LONG last, LONG nth) {
    auto isWeekend = [](LONG day) { return WeekdayOf(day) == kSaturday || WeekdayOf(day) == kSunday; };
    if (nth == kLastOfMonth) return isWeekend(last) ? last : BackTo(last, kSunday);
    LONG day = isWeekend(first) ? first : ForwardTo(first, kSaturday);
    for (LONG n = 1; n < nth; ++n) day += WeekdayOf(day) == kSaturday ? 1 : 6;
    return day;
}

LONG NthSingleDay(LONG first, LONG last, LONG weekday, LONG nth) {
    if (nth == kLastOfMonth) return BackTo(last, weekday);
    return ForwardTo(first, weekday) + 7 * (nth - 1);
}

} // namespace

LONG DayOf(const CivilDate& date) {
    return static_cast<LONG>(civil::DaysFromCivil(date.year, date.month, 1) - civil::kDaysTo1899) + date.day -
           1;
}

CivilDate CivilOf(LONG day) {
    civil::Date date = civil::CivilFromDays(day + civil::kDaysTo1899);
    return {date.year, date.month, date.day};
}

bool DateExists(const CivilDate& date) {
    return date.day >= 1 && date.day <= civil::DaysInMonth(date.year, date.month);
}

double VariantOfSeconds(LONGLONG seconds) {
    LONGLONG day = civil::FloorDiv(seconds, kSecondsPerDay);
    double fraction =
        static_cast<double>(seconds - day * kSecondsPerDay) / static_cast<double>(kSecondsPerDay);
    double whole = static_cast<double>(day - civil::kDaysTo1899);
    return whole < 0 ? whole - fraction : whole + fraction; // the fraction counts on before 1899 too
}

LONGLONG SecondsOfVariant(double variant) {
    double whole = std::trunc(variant);
    LONGLONG rest = std::llround(std::fabs(variant - whole) * static_cast<double>(kSecondsPerDay));
    return (static_cast<LONGLONG>(whole) + civil::kDaysTo1899) * kSecondsPerDay + rest;
}

LONG TableMonthLength(const CivilDate& date) {
    constexpr int kCommonYear = 2001;
    if (date.month == kFebruary && DividesBy4(date.year)) return 29;
    return civil::DaysInMonth(kCommonYear, date.month);
}

CivilDate DateAdjust(const CivilDate& firstOfMonth, LONG patternDay) {
    if (patternDay < 1 || patternDay > 31) return CivilOf(DayOf(firstOfMonth) + patternDay - 1);
    return {firstOfMonth.year, firstOfMonth.month, std::min(patternDay, TableMonthLength(firstOfMonth))};
}

CivilDate IncrementMonth(const CivilDate& date, LONG patternDay) {
    LONG length = TableMonthLength(date);
    if (date.month == kDecember) // its length counts as 0 here, so it always takes the first path
        return {date.year + 1, 1, patternDay};
    if (patternDay > length) return {date.year, date.month + 1, length};
    CivilDate next = CivilOf(DayOf(date) + length);
    next.day = patternDay;
    return next;
}

CivilDate IncrementByYear(const CivilDate& date, LONG patternMonth, LONG patternDay) {
    CivilDate next = date;
    ++next.year;
    if (patternMonth != kFebruary) return next;
    bool leap = isleapyear(next.year);
    bool restores = !(leap && date.month > kFebruary) && !(isleapyear(date.year) && date.month < kFebruary);
    if (restores && leap && patternDay == 29) next.day = 29;
    if (next.day == 29 && !leap) next.day = 28;
    return next;
}

LONG MonthOfYearOffset(DWORD minutes) {
    static constexpr std::array<DWORD, 11> kThresholds{40000,  80000,  120000, 170000, 210000, 250000,
                                                       295000, 340000, 385000, 430000, 475000};
    LONG month = 1;
    for (DWORD threshold : kThresholds) {
        if (minutes < threshold) break;
        ++month;
    }
    return month;
}

LONG NthWeekday(const CivilDate& date, DWORD mask, LONG nth) {
    LONG first = DayOf({date.year, date.month, 1});
    LONG last = first + civil::DaysInMonth(date.year, date.month) - 1;
    switch (mask) {
    case kWorkDaysMask:
        return NthWorkDay(first, last, nth);
    case kWeekendMask:
        return NthWeekendDay(first, last, nth);
    case kEveryDayMask:
        return nth == kLastOfMonth ? last : first + nth - 1;
    default:
        return NthSingleDay(first, last, LowestWeekday(mask), nth);
    }
}

LONG LowestWeekday(DWORD mask) { return mask & kEveryDayMask ? std::countr_zero(mask & kEveryDayMask) : 7; }

LONG NextWeekday(DWORD mask, LONG weekday) { return LowestWeekday(mask & (kEveryDayMask << (weekday + 1))); }
