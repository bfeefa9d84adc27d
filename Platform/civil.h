// Whole-number calendar arithmetic (proleptic Gregorian) for hot loops: no host call, no failure path, all constexpr.
//
// Days count from 1 January 1601, the first day of FILETIME, so ticks and minutes of the records follow by a product.
// The conversion between days and dates is the era method published by Howard Hinnant ("chrono-compatible low-level
// date algorithms").
#pragma once

#include "Platform/types.h"

#include <array>

namespace civil {

inline constexpr std::int64_t kTicksPerMillisecond = 10'000;
inline constexpr std::int64_t kTicksPerSecond = 10'000'000;
inline constexpr std::int64_t kTicksPerMinute = 60 * kTicksPerSecond;
inline constexpr std::int64_t kTicksPerDay = 1'440 * kTicksPerMinute;
inline constexpr int kMinutesPerDay = 1'440;
inline constexpr std::int64_t kDaysTo1899 = 109'205; // 30 December 1899, day 0 of the variant time
inline constexpr std::int64_t kDaysTo1970 = 134'774; // day 0 of Unix time

struct Date {
    int year;
    int month; // 1 to 12
    int day;   // 1 to 31
    friend bool operator==(const Date&, const Date&) = default;
};

constexpr bool IsLeapYear(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

// 0 for a month that is none.
constexpr int DaysInMonth(int year, int month) {
    constexpr std::array<BYTE, 13> kLengths{0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    return month == 2 && IsLeapYear(year) ? 29 : kLengths[static_cast<std::size_t>(month)];
}

// A day beyond its month runs on into the next ones, so 31 June is 1 July.
constexpr std::int64_t DaysFromCivil(int year, int month, int day) {
    const std::int64_t y = static_cast<std::int64_t>(year) - (month <= 2);
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yearOfEra = y - era * 400;
    const std::int64_t dayOfYear = (153LL * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    return era * 146'097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 584'694;
}

// Of the year 0 and later; in 32 bits, which is what makes it quick.
constexpr Date CivilFromDays(std::int64_t days) {
    const auto z = static_cast<std::uint32_t>(days + 584'694); // from 1 March of year 0
    const std::uint32_t era = z / 146'097;
    const std::uint32_t dayOfEra = z - era * 146'097;
    const std::uint32_t yearOfEra =
        (dayOfEra - dayOfEra / 1'460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const std::uint32_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::uint32_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const std::uint32_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    return {static_cast<int>(era * 400 + yearOfEra + (month <= 2)), static_cast<int>(month),
            static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1)};
}

// 0 Sunday.
constexpr int WeekdayOfDays(std::int64_t days) {
    const int weekday = static_cast<int>((days + 1) % 7); // day 0 was a Monday
    return weekday < 0 ? weekday + 7 : weekday;
}
constexpr int Weekday(int year, int month, int day) { return WeekdayOfDays(DaysFromCivil(year, month, day)); }

// A date and time that the tick forms can hold: years 1601 to 9999, every field in its range, the weekday unread.
constexpr bool IsValid(const SYSTEMTIME& t) {
    return t.wYear >= 1601 && t.wYear <= 9999 && t.wDay >= 1 && t.wDay <= DaysInMonth(t.wYear, t.wMonth) &&
           t.wHour < 24 && t.wMinute < 60 && t.wSecond < 60 && t.wMilliseconds < 1000;
}

// Fields to counts. Nothing is checked; fields out of range run on into the next ones.
constexpr std::int64_t DaysOf(const SYSTEMTIME& t) { return DaysFromCivil(t.wYear, t.wMonth, t.wDay); }
constexpr std::int64_t MinutesOf(const SYSTEMTIME& t) {
    return DaysOf(t) * kMinutesPerDay + t.wHour * 60 + t.wMinute;
}
constexpr std::int64_t MillisecondsOf(const SYSTEMTIME& t) {
    return MinutesOf(t) * 60'000 + t.wSecond * 1'000 + t.wMilliseconds;
}
// Up to the year 30,000, where 64 bits end.
constexpr std::int64_t TicksOf(const SYSTEMTIME& t) { return MillisecondsOf(t) * kTicksPerMillisecond; }

// Counts to fields, with the weekday. Right for the years 0 to 65535.
constexpr SYSTEMTIME SystemTimeFromDays(std::int64_t days) {
    const Date date = CivilFromDays(days);
    SYSTEMTIME t{};
    t.wYear = static_cast<WORD>(date.year);
    t.wMonth = static_cast<WORD>(date.month);
    t.wDay = static_cast<WORD>(date.day);
    t.wDayOfWeek = static_cast<WORD>(WeekdayOfDays(days));
    return t;
}
// Quotient towards minus infinity, so that the rest is never negative.
constexpr std::int64_t FloorDiv(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0); }

constexpr SYSTEMTIME SystemTimeFromMinutes(std::int64_t minutes) {
    const std::int64_t days = FloorDiv(minutes, kMinutesPerDay);
    const int rest = static_cast<int>(minutes - days * kMinutesPerDay);
    SYSTEMTIME t = SystemTimeFromDays(days);
    t.wHour = static_cast<WORD>(rest / 60);
    t.wMinute = static_cast<WORD>(rest % 60);
    return t;
}
constexpr SYSTEMTIME SystemTimeFromTicks(std::int64_t ticks) {
    const std::int64_t minutes = FloorDiv(ticks, kTicksPerMinute);
    const int rest = static_cast<int>((ticks - minutes * kTicksPerMinute) / kTicksPerMillisecond);
    SYSTEMTIME t = SystemTimeFromMinutes(minutes);
    t.wSecond = static_cast<WORD>(rest / 1000);
    t.wMilliseconds = static_cast<WORD>(rest % 1000);
    return t;
}

// One past the last tick that is a date: 1 January of the year 10000.
inline constexpr std::int64_t kEndOfTicks = DaysFromCivil(10'000, 1, 1) * kTicksPerDay;

} // namespace civil
