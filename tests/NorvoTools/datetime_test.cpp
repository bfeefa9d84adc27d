#include "NorvoTools/datetime.h"
#include "NorvoTools/globals.h"

#include "Platform/citydb.h"
#include "Platform/civil.h"
#include "Platform/locale.h"
#include "Platform/modules.h"
#include "tests/support/device.h"

#include <array>
#include <climits>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace {

SYSTEMTIME At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, int ms = 0) {
    auto w = [](int n) { return static_cast<WORD>(n); };
    return {w(year),   w(month), w(civil::Weekday(year, month, day)), w(day), w(hour), w(minute),
            w(second), w(ms)};
}

// "2007-03-14 Wed 10:30:00.000"
std::string Text(const SYSTEMTIME& t) {
    static const char* const kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %s %02d:%02d:%02d.%03d", t.wYear, t.wMonth,
                  t.wDay, t.wDayOfWeek < 7 ? kDays[t.wDayOfWeek] : "?", t.wHour, t.wMinute, t.wSecond,
                  t.wMilliseconds);
    return text.data();
}

// --- Calendar facts -----------------------------------------------------------------------------------------------

TEST(DateTimeTest, LeapYears) {
    for (int year : {4, 1700, 1756, 2000, 2008, 2400}) EXPECT_TRUE(isleapyear(year)) << year;
    for (int year : {1701, 1800, 1900, 2007, 4000}) EXPECT_FALSE(isleapyear(year)) << year;
    EXPECT_EQ(29, dayspermonth(2, 2008));
    EXPECT_EQ(28, dayspermonth(2, 1900));
    EXPECT_EQ(366, getdayofyear(At(2008, 12, 31)));
}

// The ISO week of a date: that of its Thursday.
int IsoWeek(std::int64_t day) {
    const int weekday = (civil::WeekdayOfDays(day) + 6) % 7; // 0 Monday
    const std::int64_t thursday = day - weekday + 3;
    return static_cast<int>(thursday - civil::DaysFromCivil(civil::CivilFromDays(thursday).year, 1, 1)) / 7 +
           1;
}

TEST(DateTimeTest, WeekNumbersAreIsoButForSomeFirstDaysOfJanuary) {
    std::set<std::string> different;
    const std::int64_t end = civil::DaysFromCivil(2100, 1, 1);
    for (std::int64_t day = civil::DaysFromCivil(1901, 1, 1); day < end; ++day) {
        const civil::Date date = civil::CivilFromDays(day);
        const int week = weeknumber(date.year, date.month, date.day);
        if (week == IsoWeek(day)) continue;
        EXPECT_EQ(IsoWeek(day) + 1, week);
        different.insert(std::to_string(date.year) + "-" + std::to_string(date.month) + "-" +
                         std::to_string(date.day) + ":" + std::to_string(week));
    }
    std::set<std::string> expected;
    for (int cycle = 1905; cycle < 2100; cycle += 28) {
        expected.insert(std::to_string(cycle) + "-1-1:53");
        if (cycle + 4 >= 2100) continue;
        expected.insert(std::to_string(cycle + 4) + "-1-2:54");
        expected.insert(std::to_string(cycle + 4) + "-1-3:54");
    }
    EXPECT_EQ(expected, different);
}

// --- Moving -------------------------------------------------------------------------------------------------------

TEST(DateTimeTest, DaysAndSecondsCarryThroughEveryField) {
    SYSTEMTIME t = At(2008, 2, 28, 23, 59, 58, 7);
    incrementday(t, 2);
    EXPECT_EQ("2008-03-01 Sat 23:59:58.007", Text(t));
    incrementday(t, -366);
    EXPECT_EQ("2007-03-01 Thu 23:59:58.007", Text(t));
    addtime(t, 3);
    EXPECT_EQ("2007-03-02 Fri 00:00:01.007", Text(t));
    subtract5sec(t);
    EXPECT_EQ("2007-03-01 Thu 23:59:56.007", Text(t));
    subtractsec(t, -4);
    EXPECT_EQ("2007-03-02 Fri 00:00:00.007", Text(t));
    addtime(t, -2147483647 - 1); // 24,855 days, 3:14:08
    EXPECT_EQ("1939-02-11 Sat 20:45:52.007", Text(t));
    SystemTimeIncrement(t, 10'000);
    SystemTimeDecrement(t, 80'000);
    EXPECT_EQ("1939-02-11 Sat 20:45:52.000", Text(t));
    t = At(9999, 12, 30, 23, 59, 59);
    incrementday(t, 1);
    EXPECT_EQ("9999-12-31 Fri 23:59:59.000", Text(t));
    incrementday(t, -3'067'670);
    EXPECT_EQ("1601-01-01 Mon 23:59:59.000", Text(t));
}

TEST(DateTimeTest, AnImpossibleDateStaysAsItWas) {
    const SYSTEMTIME june31{2007, 6, 0, 31, 1, 2, 3, 4};
    const SYSTEMTIME first = At(1601, 1, 1);
    const SYSTEMTIME last = At(9999, 12, 31, 23, 59, 59);
    const struct {
        SYSTEMTIME from;
        void (*change)(SYSTEMTIME&);
    } cases[] = {
        {june31, [](SYSTEMTIME& t) { incrementday(t, 1); }},
        {june31, [](SYSTEMTIME& t) { subtract5sec(t); }},
        {first, [](SYSTEMTIME& t) { incrementday(t, -1); }},
        {last, [](SYSTEMTIME& t) { incrementday(t, INT_MAX); }},
        {last, [](SYSTEMTIME& t) { addtime(t, 1); }},
        {last, [](SYSTEMTIME& t) { SystemTimeIncrement(t, INT64_MAX); }},
        {first, [](SYSTEMTIME& t) { SystemTimeDecrement(t, INT64_MIN); }},
        {last, [](SYSTEMTIME& t) { incrementmonth(t, 1); }},
        {{2007, 0, 0, 1, 0, 0, 0, 0}, [](SYSTEMTIME& t) { incrementmonth(t, 1); }},
    };
    for (const auto& c : cases) {
        SYSTEMTIME t = c.from;
        c.change(t);
        EXPECT_EQ(Text(c.from), Text(t)) << &c - cases;
    }
}

TEST(DateTimeTest, MonthsKeepTheDayWhileTheyCan) {
    struct Case {
        SYSTEMTIME from;
        int months;
        const char* expected;
    };
    const Case cases[] = {
        {At(2007, 1, 31, 8, 30, 15, 500), 1, "2007-02-28 Wed 08:30:15.000"},
        {At(2008, 1, 31), 1, "2008-02-29 Fri 00:00:00.000"},
        {At(2007, 3, 31), -1, "2007-02-28 Wed 00:00:00.000"},
        {At(2007, 12, 15), 1, "2008-01-15 Tue 00:00:00.000"},
        {At(2007, 1, 15), -12, "2006-01-15 Sun 00:00:00.000"},
        {At(2007, 1, 15), -13, "2005-12-15 Thu 00:00:00.000"},
        {At(2008, 2, 29), 12, "2009-02-28 Sat 00:00:00.000"},
        {At(2007, 12, 31), 26, "2010-02-28 Sun 00:00:00.000"},
        {At(2007, 12, 31), 0, "2007-12-31 Mon 00:00:00.000"},
        {At(1900, 1, 30), -1, "1899-12-30 Sat 00:00:00.000"},
        {At(100, 2, 15), -1, "0100-01-15 Fri 00:00:00.000"},
        {At(9999, 10, 31), 2, "9999-12-31 Fri 00:00:00.000"},
    };
    for (const Case& c : cases) {
        SYSTEMTIME t = c.from;
        incrementmonth(t, c.months);
        EXPECT_EQ(c.expected, Text(t)) << Text(c.from) << " + " << c.months;
    }
}

// --- Differences --------------------------------------------------------------------------------------------------

TEST(DateTimeTest, Differences) {
    const SYSTEMTIME a = At(2007, 3, 14, 22, 45, 30);
    const SYSTEMTIME b = At(2007, 3, 16, 1, 10, 10);
    EXPECT_EQ(-1585, TimeDiffInMinutes(b, a)); // 26 hours 25 minutes, seconds not looked at
    EXPECT_EQ(1585, TimeDiffInMinutes(39155 + 22.75 / 24, 39157 + 70 / 1440.0));
    // 27 hours less 45 minutes, 10 minutes of 61 seconds, less 30 seconds.
    EXPECT_EQ((27 * 60 - 45) * 60 + 610 - 30, TimeDiffInSeconds(a, b));

    EXPECT_EQ(95'080LL * 10'000'000, SystemTimeDiff(b, a));
    EXPECT_EQ("1601-01-02 Tue 02:24:40.000", Text(subtractsystemtime(a, b)));
    EXPECT_EQ(0, subtractsystemtime(b, a).wYear);
    const SYSTEMTIME none{65535, 1, 0, 1, 0, 0, 0, 0}; // beyond what ticks can count
    EXPECT_EQ(0, SystemTimeDiff(none, a));
    EXPECT_TRUE(IsOneDay(39155.25, 39155.75, false));
    EXPECT_FALSE(IsOneDay(39155.25, 39155.75, true));
    EXPECT_FALSE(IsOneDay(39155.75, 39156.0, false));
    EXPECT_TRUE(IsOneDay(-2.0, -2.75, false)); // 28 December 1899, midnight and 18:00
    EXPECT_FALSE(IsOneDay(-1.25, -2.0, false));
}

// --- Texts and habits ---------------------------------------------------------------------------------------------

class DateTextTest : public DeviceTest {};

TEST_F(DateTextTest, TimesAndDatesFromText) {
    constexpr HRESULT kNoText = static_cast<HRESULT>(0x80020005);
    constexpr HRESULT kNoTime = static_cast<HRESULT>(0x80020008);
    struct Case {
        const char* locale;
        const WCHAR* text;
        HRESULT code;
        int minutes;
    };
    const Case cases[] = {
        {"en_US", u"9:30", 0, 570},      {"en_US", u"930", 0, 570},
        {"en_US", u"0930", 0, 570},      {"en_US", u"at 9", 0, 540},
        {"en_US", u"15", 0, 900},        {"en_US", u"9:30pm", 0, 1290},
        {"en_US", u"9 PM", 0, 1260},     {"en_US", u"12:15 AM", 0, 15},
        {"en_US", u"12:15 PM", 0, 735},  {"en_US", u"1215", 0, 15},
        {"en_US", u"9: 05", 0, 545},     {"en_US", u"9:", 0, 540},
        {"en_US", u"24:00", kNoTime, 0}, {"en_US", u"9:60", kNoTime, 0},
        {"en_US", u"975", kNoTime, 0},   {"en_US", u"99999999999999999999", kNoTime, 0},
        {"en_US", u"noon", kNoTime, 0},  {"en_US", u"", kNoText, 0},
        {"en_US", nullptr, kNoText, 0},  {"de_DE", u"12:15", 0, 735},
        {"de_DE", u"1215", 0, 735},      {"de_DE", u"0:15", 0, 15},
        {"de_DE", u"23:59", 0, 1439},
    };
    for (const Case& c : cases) {
        PlatSetLocale(c.locale);
        for (DWORD flags : {0u, 1u, 3u}) {
            double result = -1;
            EXPECT_EQ(c.code, NorvoDateFromString(c.text, flags, &result)) << &c - cases;
            EXPECT_DOUBLE_EQ(c.code == 0 ? c.minutes / 1440.0 : -1, result) << &c - cases;
        }
    }
    PlatSetLocale("en_US");
    double date = -1;
    EXPECT_EQ(0, NorvoDateFromString(u"3/14/2007", 2, &date));
    EXPECT_EQ(39155.0, date);
    EXPECT_EQ(E_INVALIDARG, NorvoDateFromString(u"3/14/2007", 4, &date));
}

TEST_F(DateTextTest, HabitsFollowTheLocale) {
    struct Case {
        const char* locale;
        bool euro;
        int firstDay;
        const WCHAR* date;
    };
    const Case cases[] = {
        {"en_US", false, 0, u"Wednesday 14"},
        {"de_DE", true, 1, u"Mittwoch 14"},
        {"ar_EG", true, 6, nullptr},
    };
    for (const Case& c : cases) {
        PlatSetLocale(c.locale);
        EXPECT_EQ(c.euro, IsEuroFormat()) << c.locale;
        EXPECT_EQ(c.firstDay, GetDefaultFirstDayOfDevice()) << c.locale;
        if (!c.date) continue;
        std::array<WCHAR, 32> text{};
        EXPECT_NE(0, GetDateFormatW(LOCALE_USER_DEFAULT, 0, 39155.5, u"dddd d", text.data(), 32));
        EXPECT_EQ(c.date, std::u16string(text.data())) << c.locale;
    }
    EXPECT_EQ(0, GetDateFormatW(LOCALE_USER_DEFAULT, 0, 1e9, u"dddd d", nullptr, 0));
}

TEST_F(DateTextTest, Durations) {
    const HINSTANCE kept = std::exchange(g_hResources, LoadLibraryW(u"\\WINDOWS\\QNResources.dll"));
    struct Case {
        int minutes;
        bool days;
        const WCHAR* expected;
    };
    const Case cases[] = {
        {0, true, u""},
        {1, true, u"  1 minute"},
        {90, false, u" 1 hour 30 minutes"},
        {1500, true, u"(1 day) 1 hour "},
        {1500, false, u" 25 hours "},
        {2 * 1440 + 61, true, u"(2 days) 1 hour 1 minute"},
    };
    for (const Case& c : cases) {
        std::array<WCHAR, 64> text;
        FormatDurationString(text.data(), 64, c.minutes, c.days);
        EXPECT_EQ(c.expected, std::u16string(text.data())) << c.minutes;
    }
    std::u16string small(8, u'#');
    FormatDurationString(small.data(), 6, 1500, true);
    EXPECT_EQ(std::u16string(u"(1 da\0##", 8), small);
    FreeLibrary(std::exchange(g_hResources, kept));
}

// --- The city database --------------------------------------------------------------------------------------------

std::string s_calls;
BOOL Init() { return s_calls += "init ", TRUE; }
void Uninit() { s_calls += "uninit"; }
BOOL Load() { return s_calls += "load ", TRUE; }
void Free() { s_calls += "free "; }
int Count() { return 2; }
BOOL ByOffset(int index, CITYTIMEZONE* zone) {
    static const CITYTIMEZONE kZones[] = {{u"(GMT) London", u"GMT", u"BST", 7, 0},
                                          {u"(GMT+01:00) Berlin", u"CET", nullptr, 8, 60}};
    if (index < 0 || index > 1) return FALSE;
    *zone = kZones[index];
    return TRUE;
}
BOOL ByValue(DWORD, TIME_ZONE_INFORMATION*) { return FALSE; }

TEST_F(DateTextTest, AllZonesOfTheCityDatabase) {
    int count = -1;
    const PlatModuleEntry entries[] = {
        {"InitCityDb", 0, reinterpret_cast<FARPROC>(&Init)},
        {"UninitCityDb", 0, reinterpret_cast<FARPROC>(&Uninit)},
        {"ClockLoadAllTimeZoneData", 0, reinterpret_cast<FARPROC>(&Load)},
        {"ClockFreeAllTimeZoneData", 0, reinterpret_cast<FARPROC>(&Free)},
        {"ClockGetNumTimezones", 0, reinterpret_cast<FARPROC>(&Count)},
        {"ClockGetTimeZoneDataByOffset", 0, reinterpret_cast<FARPROC>(&ByOffset)},
        {"ClockGetTimeZoneData", 0, reinterpret_cast<FARPROC>(&ByValue)},
    };
    PlatModule module{u"citydb.dll"};
    module.entries = entries;
    module.entryCount = 6; // one entry missing: not the database
    module.untilReset = true;
    PlatRegisterModule(module);
    EXPECT_EQ(nullptr, GetAllTimeZones(count));
    EXPECT_EQ(0, count);
    module.entryCount = 7;
    PlatRegisterModule(module);
    std::unique_ptr<TZData[]> zones(GetAllTimeZones(count));
    ASSERT_EQ(2, count);
    EXPECT_EQ(u"(GMT) London", std::u16string(zones[0].szDisplayName));
    EXPECT_EQ(u"BST", std::u16string(zones[0].szDaylightName));
    EXPECT_EQ(8u, zones[1].dwValue);
    EXPECT_EQ(60, zones[1].lOffset);
    EXPECT_EQ(0, zones[1].szDaylightName[0]);
    EXPECT_EQ("init load free uninit", s_calls);
}

} // namespace
