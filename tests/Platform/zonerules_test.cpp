#include "Platform/zonerules.h"

#include "Platform/civil.h"

#include <gtest/gtest.h>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

namespace {

SYSTEMTIME Relative(WORD month, WORD weekday, WORD nth, WORD hour) {
    return {0, month, weekday, nth, hour, 0, 0, 0};
}

TIME_ZONE_INFORMATION Zone(LONG bias, LONG summerBias, const SYSTEMTIME& toSummer,
                           const SYSTEMTIME& toStandard) {
    TIME_ZONE_INFORMATION zone{};
    zone.Bias = bias;
    zone.DaylightBias = summerBias;
    zone.DaylightDate = toSummer;
    zone.StandardDate = toStandard;
    return zone;
}

const TIME_ZONE_INFORMATION kBerlin = Zone(-60, -60, Relative(3, 0, 5, 2), Relative(10, 0, 5, 3));
const TIME_ZONE_INFORMATION kSydney = Zone(-600, -60, Relative(10, 0, 1, 2), Relative(4, 0, 1, 3));

SYSTEMTIME Time(const char* text) {
    unsigned y, m, d, h = 0, min = 0, s = 0;
    std::sscanf(text, "%u-%u-%u %u:%u:%u", &y, &m, &d, &h, &min, &s);
    return civil::SystemTimeFromTicks(
        civil::DaysFromCivil(static_cast<int>(y), static_cast<int>(m), static_cast<int>(d)) *
            civil::kTicksPerDay +
        (h * 3600 + min * 60 + s) * civil::kTicksPerSecond);
}

std::string Text(const SYSTEMTIME& t) {
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", t.wYear, t.wMonth, t.wDay, t.wHour,
                  t.wMinute, t.wSecond);
    return text;
}

TEST(Civil, DaysAndDatesAreInverse) {
    EXPECT_EQ(civil::DaysFromCivil(1601, 1, 1), 0);
    EXPECT_EQ(civil::DaysFromCivil(1899, 12, 30), civil::kDaysTo1899);
    EXPECT_EQ(civil::DaysFromCivil(1970, 1, 1), civil::kDaysTo1970);
    EXPECT_EQ(civil::WeekdayOfDays(0), 1) << "1 January 1601 was a Monday";
    std::int64_t day = civil::DaysFromCivil(100, 1, 1);
    for (int year = 100; year < 10'000; ++year)
        for (int month = 1; month <= 12; ++month)
            for (int date = 1; date <= civil::DaysInMonth(year, month); ++date, ++day) {
                ASSERT_EQ(civil::DaysFromCivil(year, month, date), day);
                ASSERT_EQ(civil::CivilFromDays(day), (civil::Date{year, month, date}));
            }
    EXPECT_EQ(civil::Weekday(2000, 2, 29), 2);
    EXPECT_EQ(civil::Weekday(1600, 12, 31), 0) << "days before the first count too";
    EXPECT_EQ(civil::CivilFromDays(civil::DaysFromCivil(2007, 6, 31)), (civil::Date{2007, 7, 1}));
    EXPECT_EQ(Text(civil::SystemTimeFromTicks(civil::kEndOfTicks - 1)), "9999-12-31 23:59:59");
}

TEST(ConvertToAbsolute, FindsTheNthWeekday) {
    struct {
        WORD year, month, weekday, nth, day;
    } const cases[] = {
        {2007, 3, 0, 5, 25}, {2007, 10, 0, 5, 28}, {2007, 3, 0, 2, 11},
        {2007, 11, 0, 1, 4}, {2008, 2, 5, 5, 29}, // leap year: a fifth Friday
        {2100, 2, 1, 5, 22},                      // none: the full Gregorian rule
        {2007, 4, 0, 1, 1},                       // the first is the day itself
        {2007, 4, 6, 4, 28}, {2007, 4, 6, 5, 28},
    };
    for (const auto& c : cases) {
        const SYSTEMTIME transition = Relative(c.month, c.weekday, c.nth, 2);
        SYSTEMTIME absolute;
        ConvertToAbsolute(c.year, &transition, &absolute);
        EXPECT_EQ(absolute.wDay, c.day) << c.year << "-" << c.month;
        EXPECT_EQ(absolute.wYear, c.year);
        EXPECT_EQ(absolute.wDayOfWeek, c.weekday);
        EXPECT_EQ(absolute.wHour, 2);
    }
    const SYSTEMTIME fixed = Time("2006-04-02 02:00:00");
    SYSTEMTIME absolute;
    ConvertToAbsolute(2009, &fixed, &absolute);
    EXPECT_EQ(Text(absolute), "2006-04-02 02:00:00");
}

TEST(LocalGreaterThanTransition, IsStrictAndLooksAtTheMonthFirst) {
    const SYSTEMTIME rule = Relative(3, 0, 5, 2);
    struct {
        const char* date;
        bool later;
    } const cases[] = {{"2007-02-28 23:59:59", false}, {"2007-03-25 01:59:59", false},
                       {"2007-03-25 02:00:00", false}, {"2007-03-25 02:00:01", true},
                       {"2008-03-29 12:00:00", false}, {"2008-03-30 12:00:00", true},
                       {"2007-04-01 00:00:00", true}};
    for (const auto& c : cases) {
        const SYSTEMTIME date = Time(c.date);
        EXPECT_EQ(LocalGreaterThanTransition(&date, &rule), c.later) << c.date;
    }
    const SYSTEMTIME fixed = Time("2006-04-02 02:00:00");
    const SYSTEMTIME earlierMonthOfLaterYear = Time("2007-03-30 00:00:00");
    EXPECT_FALSE(LocalGreaterThanTransition(&earlierMonthOfLaterYear, &fixed));
    const SYSTEMTIME sameMonthOfLaterYear = Time("2007-04-01 00:00:00");
    EXPECT_TRUE(LocalGreaterThanTransition(&sameMonthOfLaterYear, &fixed));
}

TEST(GetDayOffsets, BothHemispheresAndNone) {
    TIME_ZONE_INFORMATION none = Zone(300, -60, {}, Relative(10, 0, 5, 3));
    none.StandardBias = 30; // not read without summer time
    struct {
        const TIME_ZONE_INFORMATION& zone;
        WORD year, month, day;
        int first, last;
        bool summer;
    } const cases[] = {
        {kBerlin, 2007, 3, 24, -60, 1380, false},   {kBerlin, 2007, 3, 25, -60, 1320, true},
        {kBerlin, 2007, 3, 26, -120, 1320, true},   {kBerlin, 2007, 10, 27, -120, 1320, true},
        {kBerlin, 2007, 10, 28, -120, 1380, false}, {kBerlin, 2007, 10, 29, -60, 1380, false},
        {kBerlin, 2007, 12, 31, -60, 1380, false},  {kBerlin, 2008, 3, 30, -60, 1320, true},
        {kSydney, 2008, 1, 15, -660, 780, true},    {kSydney, 2008, 4, 5, -660, 780, true},
        {kSydney, 2008, 4, 6, -660, 840, false},    {kSydney, 2008, 7, 1, -600, 840, false},
        {kSydney, 2008, 10, 5, -600, 780, true},    {kSydney, 2008, 12, 31, -660, 780, true},
        {none, 2007, 7, 1, 300, 1740, false},
    };
    for (const auto& c : cases) {
        int first, last;
        bool summer;
        EXPECT_EQ(GetDayOffsets(c.year, c.month, c.day, &c.zone, &first, &last, &summer), 1);
        EXPECT_EQ(first, c.first) << c.year << "-" << c.month << "-" << c.day;
        EXPECT_EQ(last, c.last) << c.year << "-" << c.month << "-" << c.day;
        EXPECT_EQ(summer, c.summer) << c.year << "-" << c.month << "-" << c.day;
        EXPECT_EQ(IsInDST(c.year, c.month, c.day, &c.zone), c.summer);
    }
}

TEST(ZoneConversion, MomentToWallClock) {
    struct {
        const TIME_ZONE_INFORMATION& zone;
        const char *utc, *local;
        bool summer;
    } const cases[] = {
        {kBerlin, "2007-01-10 12:00:00", "2007-01-10 13:00:00", false},
        {kBerlin, "2007-07-10 12:00:00", "2007-07-10 14:00:00", true},
        {kBerlin, "2007-03-25 00:59:59", "2007-03-25 01:59:59", false},
        {kBerlin, "2007-03-25 01:00:00", "2007-03-25 02:00:00", false}, // "later" is strict
        {kBerlin, "2007-03-25 01:00:01", "2007-03-25 03:00:01", true},
        {kBerlin, "2007-10-28 01:00:00", "2007-10-28 03:00:00", true},
        {kBerlin, "2007-10-28 01:00:01", "2007-10-28 02:00:01", false},
        {kBerlin, "2007-12-31 22:30:00", "2007-12-31 23:30:00", false}, // the summer clock shows January
        {kBerlin, "2019-03-31 02:00:00", "2019-03-31 04:00:00", true},
        {kSydney, "2007-12-31 13:30:00", "2008-01-01 00:30:00", true},
        {kSydney, "2008-07-01 00:00:00", "2008-07-01 10:00:00", false},
        {kSydney, "2008-04-05 16:00:01", "2008-04-06 02:00:01", false},
        {kSydney, "2008-04-05 15:59:59", "2008-04-06 02:59:59", true},
        {kSydney, "2008-10-04 16:00:01", "2008-10-05 03:00:01", true},
    };
    for (const auto& c : cases) {
        const SYSTEMTIME utc = Time(c.utc);
        SYSTEMTIME local, back;
        bool summer;
        ASSERT_EQ(CeSystemTimeToTzSpecificLocalTime(&c.zone, &utc, &local, &summer), 1);
        EXPECT_EQ(Text(local), c.local) << c.utc;
        EXPECT_EQ(summer, c.summer) << c.utc;
        ASSERT_EQ(CeTzSpecificLocalTimeToSystemTime(&c.zone, &local, summer, &back), 1);
        EXPECT_EQ(Text(back), c.utc);
    }
}

TEST(ZoneConversion, WithoutSummerTimeTheStandardBiasCountsOnTheWayBackOnly) {
    TIME_ZONE_INFORMATION zone = Zone(-330, -60, {}, {});
    zone.StandardBias = 15;
    const SYSTEMTIME utc = Time("2007-07-01 00:00:00");
    SYSTEMTIME local, back;
    bool summer = true;
    ASSERT_EQ(CeSystemTimeToTzSpecificLocalTime(&zone, &utc, &local, &summer), 1);
    EXPECT_EQ(Text(local), "2007-07-01 05:30:00");
    EXPECT_FALSE(summer);
    ASSERT_EQ(CeTzSpecificLocalTimeToSystemTime(&zone, &local, false, &back), 1);
    EXPECT_EQ(Text(back), "2007-07-01 00:15:00");
}

TEST(ZoneConversion, WhatIsNoDateFailsAndWritesNothing) {
    const SYSTEMTIME untouched = Time("2001-02-03 04:05:06");
    SYSTEMTIME impossible = Time("2007-06-30 00:00:00");
    impossible.wDay = 31;
    const SYSTEMTIME first = Time("1601-01-01 00:30:00");
    const SYSTEMTIME last = Time("9999-12-31 23:30:00");
    bool summer = true;
    for (const SYSTEMTIME& utc : {impossible, last, SYSTEMTIME{}}) {
        SYSTEMTIME local = untouched;
        EXPECT_EQ(CeSystemTimeToTzSpecificLocalTime(&kBerlin, &utc, &local, &summer), 0);
        EXPECT_EQ(Text(local), Text(untouched));
        EXPECT_TRUE(summer);
    }
    SYSTEMTIME utc = untouched;
    EXPECT_EQ(CeTzSpecificLocalTimeToSystemTime(&kBerlin, &first, false, &utc), 0);
    EXPECT_EQ(CeTzSpecificLocalTimeToSystemTime(&kBerlin, &impossible, false, &utc), 0);
    EXPECT_EQ(Text(utc), Text(untouched));
}

// Zones come from blobs of records: any bytes give a date or a failure, never an overflow.
TEST(ZoneConversion, AnyBytesAsZone) {
    std::mt19937 random(20070314);
    const SYSTEMTIME utc = Time("2007-03-14 12:00:00");
    for (int round = 0; round < 100'000; ++round) {
        TIME_ZONE_INFORMATION zone{};
        WORD words[4];
        for (LONG* number : {&zone.Bias, &zone.StandardBias, &zone.DaylightBias})
            *number = static_cast<LONG>(random());
        for (SYSTEMTIME* date : {&zone.StandardDate, &zone.DaylightDate}) {
            for (WORD& word : words) word = static_cast<WORD>(random());
            *date = {words[0], words[1], words[2], words[3], words[1], words[2], words[3], words[0]};
            if (round % 2) date->wYear = 0, date->wMonth = static_cast<WORD>(random() % 14);
        }
        if (round % 3 == 0) zone.Bias %= 1440;
        SYSTEMTIME local;
        bool summer;
        int first, last;
        if (CeSystemTimeToTzSpecificLocalTime(&zone, &utc, &local, &summer)) {
            ASSERT_TRUE(civil::IsValid(local)) << "seed 20070314, round " << round;
        }
        EXPECT_EQ(GetDayOffsets(words[0], words[1], words[2], &zone, &first, &last, &summer), 1);
        LocalGreaterThanTransition(&zone.StandardDate, &zone.DaylightDate);
    }
}

} // namespace
