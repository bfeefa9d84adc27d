#include "Platform/clock.h"

#include "Platform/citydb.h"
#include "Platform/civil.h"
#include "Platform/host/zonedata.h"
#include "Platform/modules.h"
#include "Platform/poom.h"
#include "Platform/strings.h"
#include "Platform/testing.h"
#include "Platform/threads.h"
#include "Platform/zonerules.h"
#include "tests/support/errorof.h"
#include "tests/support/narrow.h"

#include <gtest/gtest.h>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <time.h>
#include <vector>

namespace {

std::string Text(const SYSTEMTIME& t) {
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", t.wYear, t.wMonth, t.wDay, t.wHour,
                  t.wMinute, t.wSecond);
    return text;
}

SYSTEMTIME At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    SYSTEMTIME t{};
    t.wYear = static_cast<WORD>(year);
    t.wMonth = static_cast<WORD>(month);
    t.wDay = static_cast<WORD>(day);
    t.wHour = static_cast<WORD>(hour);
    t.wMinute = static_cast<WORD>(minute);
    t.wSecond = static_cast<WORD>(second);
    return t;
}

class ClockTest : public ::testing::Test {
protected:
    ~ClockTest() override {
        PlatSetClock(nullptr);
        PlatSetTimeZone(nullptr);
        PlatSetLocale("");
        unsetenv("TZ");
    }
    static void SetUtc(const SYSTEMTIME& utc) { PlatSetClock(&utc); }
};

// --- The clock ------------------------------------------------------------------------------------------------------

TEST_F(ClockTest, ASetClockStandsUntilItIsMoved) {
    SetUtc(At(2007, 3, 25, 0, 59, 58));
    PlatSetTimeZoneByName("Europe/Berlin");
    SYSTEMTIME now;
    GetSystemTime(&now);
    EXPECT_EQ(Text(now), "2007-03-25 00:59:58");
    EXPECT_EQ(now.wDayOfWeek, 0);
    GetLocalTime(&now);
    EXPECT_EQ(Text(now), "2007-03-25 01:59:58");
    const DWORD ticks = GetTickCount();
    PlatAdvanceClock(4500);
    EXPECT_EQ(GetTickCount() - ticks, 4500u);
    GetLocalTime(&now);
    EXPECT_EQ(Text(now), "2007-03-25 03:00:02");
    EXPECT_EQ(now.wMilliseconds, 500);
}

TEST_F(ClockTest, TheRealClockRuns) {
    SYSTEMTIME utc;
    GetSystemTime(&utc);
    const std::int64_t seconds = civil::TicksOf(utc) / civil::kTicksPerSecond - civil::kDaysTo1970 * 86'400;
    EXPECT_LE(std::abs(seconds - time(nullptr)), 1);
    const DWORD ticks = GetTickCount();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_GE(GetTickCount() - ticks, 19u);
}

// --- Conversions ----------------------------------------------------------------------------------------------------

TEST_F(ClockTest, TicksAreStrict) {
    for (const SYSTEMTIME& good : {At(1601, 1, 1), At(9999, 12, 31, 23, 59, 59), At(2008, 2, 29)}) {
        FILETIME ticks;
        SYSTEMTIME back;
        EXPECT_TRUE(SystemTimeToFileTime(&good, &ticks));
        EXPECT_TRUE(FileTimeToSystemTime(&ticks, &back));
        EXPECT_EQ(Text(back), Text(good));
    }
    for (const SYSTEMTIME& bad : {At(2007, 2, 29), At(1600, 12, 31), At(10000, 1, 1), At(2007, 0, 1),
                                  At(2007, 13, 1), At(2007, 6, 31), At(2007, 6, 0), At(2007, 6, 1, 24),
                                  At(2007, 6, 1, 0, 60), At(2007, 6, 1, 0, 0, 60)}) {
        FILETIME ticks{7, 7};
        EXPECT_EQ(ErrorOf(SystemTimeToFileTime(&bad, &ticks)), ERROR_INVALID_PARAMETER) << Text(bad);
        EXPECT_EQ(ticks.dwLowDateTime, 7u);
    }
    const SYSTEMTIME unix = At(1970, 1, 1);
    FILETIME ticks;
    SystemTimeToFileTime(&unix, &ticks);
    EXPECT_EQ(FileTimeTicks(ticks), 116'444'736'000'000'000ULL);
    const FILETIME beyond = FileTimeFromTicks(~0ULL), small{0xFFFFFFFF, 1}, great{0, 2}, top{0, 0x80000000};
    SYSTEMTIME date;
    EXPECT_FALSE(FileTimeToSystemTime(&beyond, &date));
    EXPECT_EQ(CompareFileTime(&small, &great), -1);
    EXPECT_EQ(CompareFileTime(&top, &great), 1);
    EXPECT_EQ(CompareFileTime(&great, &great), 0);
}

TEST_F(ClockTest, LocalTicksUseTheBiasOfNow) {
    PlatSetTimeZoneByName("Europe/Berlin");
    SetUtc(At(2007, 7, 1));
    const SYSTEMTIME january = At(2007, 1, 10, 12);
    FILETIME utc, local, back;
    SystemTimeToFileTime(&january, &utc);
    EXPECT_TRUE(FileTimeToLocalFileTime(&utc, &local));
    EXPECT_EQ((FileTimeTicks(local) - FileTimeTicks(utc)) / civil::kTicksPerMinute, 120u);
    EXPECT_TRUE(LocalFileTimeToFileTime(&local, &back));
    EXPECT_EQ(CompareFileTime(&utc, &back), 0);
    const FILETIME first{0, 0};
    EXPECT_FALSE(LocalFileTimeToFileTime(&first, &back)) << "before 1601";
}

TEST_F(ClockTest, VariantTime) {
    struct {
        SYSTEMTIME date;
        double days;
    } const cases[] = {
        {At(1899, 12, 30), 0.0},        {At(1899, 12, 31), 1.0},
        {At(1899, 12, 29, 6), -1.25},   {At(1899, 12, 30, 18), 0.75},
        {At(2007, 3, 14, 12), 39155.5}, {At(2999, 12, 1), 401738.0},
        {At(100, 1, 1), -657434.0},     {At(9999, 12, 31, 23, 59, 59), 2958465.0 + 86399.0 / 86400},
        {At(4501, 1, 1), 949998.0}};
    for (const auto& c : cases) {
        double days;
        EXPECT_TRUE(SystemTimeToVariantTime(&c.date, &days)) << Text(c.date);
        EXPECT_DOUBLE_EQ(days, c.days) << Text(c.date);
        SYSTEMTIME back;
        EXPECT_TRUE(VariantTimeToSystemTime(c.days, &back));
        EXPECT_EQ(Text(back), Text(c.date));
    }
    double days = 5;
    const SYSTEMTIME june31 = At(2007, 6, 31), year99 = At(99, 12, 31);
    EXPECT_FALSE(SystemTimeToVariantTime(&june31, &days));
    EXPECT_FALSE(SystemTimeToVariantTime(&year99, &days));
    EXPECT_EQ(days, 5);
    SYSTEMTIME withMilliseconds = At(2007, 3, 14);
    withMilliseconds.wMilliseconds = 999;
    SystemTimeToVariantTime(&withMilliseconds, &days);
    EXPECT_EQ(days, 39155.0);
}

TEST_F(ClockTest, VariantTimeRoundsToTheSecond) {
    SYSTEMTIME date;
    const std::pair<double, const char*> cases[] = {
        {39155.0 + 9.5 / 24 - 15.0 / 1440, "2007-03-14 09:15:00"},
        {39155.9999999, "2007-03-15 00:00:00"},
        {-1.9999999, "1899-12-30 00:00:00"}}; // the fraction counts on from the day -1
    for (const auto& [days, text] : cases) {
        EXPECT_TRUE(VariantTimeToSystemTime(days, &date));
        EXPECT_EQ(Text(date), text);
        EXPECT_EQ(date.wMilliseconds, 0);
    }
    for (const double bad : {-657435.0, 2958466.0, 2958465.9999999, 1e300, std::nan(""),
                             -std::numeric_limits<double>::infinity()})
        EXPECT_FALSE(VariantTimeToSystemTime(bad, &date)) << bad;
    for (int second = 0; second < 86'400; second += 7) {
        double days;
        const SYSTEMTIME exact = At(2007, 3, 14, second / 3600, second / 60 % 60, second % 60);
        SystemTimeToVariantTime(&exact, &days);
        VariantTimeToSystemTime(days, &date);
        ASSERT_EQ(Text(date), Text(exact));
    }
}

TEST_F(ClockTest, ReadsDatesAsPeopleWriteThem) {
    SetUtc(At(2007, 3, 1, 12));
    PlatSetTimeZoneByName("UTC");
    constexpr double kMarch14 = 39155, kHalfPastThree = 15.5 / 24, kRefused = -1.5;
    const struct {
        double days;
        DWORD flags;
        const char* locale;
        std::u16string texts; // with bars between
    } cases[] = {
        {kMarch14, 2, "en_US",
         u"3/14/2007|03-14-07|14/3/2007|2007-03-14|March 14, 2007|14 mar 07|3/14|March 14|"
         u"Wed, March 14th 2007|3/14/2007 3:30 pm"},
        {kMarch14, 2, "de_DE", u"14.3.2007|14. März 2007|Mittwoch, 14. März 2007|14. March 2007"},
        {kMarch14, 2, "es_ES", u"14 de marzo de 2007"},
        {kMarch14, 2, "ja_JP", u"2007年3月14日"},
        {kMarch14 + kHalfPastThree, 0, "en_US", u"3/14/2007 3:30 pm|2007-03-14T15:30:00"},
        {kMarch14 + kHalfPastThree, 0, "ko_KR", u"2007. 3. 14. 오후 3:30"},
        {kHalfPastThree, 1, "fi_FI", u"15.30"},
        {55815.0 / 86400, 0, "en_US", u"3:30:15 PM"},
        {0, 1, "en_US", u"12 am"},
        {39142, 2, "en_US", u"march 2007"},
        {39145, 2, "en_US", u"3.4.07"},
        {39175, 2, "de_DE", u"3.4.07"},
        {47119, 2, "en_US", u"1/1/29"},
        {10959, 2, "en_US", u"1/1/30"},
        {-1, 2, "en_US", u"12/29/1899"},
        {kRefused, 2, "en_US",
         u"2/29/2007||hello|13/32/2007|3:30 pm|March April 2007|1/2/3/4|14|3*14*2007|"
         u"99999999999999/1/1|" +
             std::u16string(5000, u'1')},
        {kRefused, 0, "en_US", u"3/14/2007 25:00"},
    };
    for (const auto& c : cases)
        for (std::size_t from = 0, to = 0; to != c.texts.npos; from = to + 1) {
            to = c.texts.find(u'|', from);
            const std::u16string text = c.texts.substr(from, to - from);
            PlatSetLocale(c.locale);
            double days = -77;
            const HRESULT result = VarDateFromStr(text.c_str(), 0, c.flags, &days);
            EXPECT_EQ(result, c.days == kRefused ? DISP_E_TYPEMISMATCH : S_OK) << Narrow(text.c_str());
            EXPECT_NEAR(days, c.days == kRefused ? -77 : c.days, 1e-9) << Narrow(text.c_str());
        }
    double days;
    EXPECT_EQ(VarDateFromStr(nullptr, 0, 2, &days), DISP_E_TYPEMISMATCH);
}

// --- Zones ----------------------------------------------------------------------------------------------------------

std::string Rule(const SYSTEMTIME& t) {
    char text[64];
    std::snprintf(text, sizeof text, "%d/%d.%d %d:%02d:%02d.%03d", t.wMonth, t.wDayOfWeek, t.wDay, t.wHour,
                  t.wMinute, t.wSecond, t.wMilliseconds);
    return text;
}

TEST_F(ClockTest, RulesOfNamedZones) {
    struct {
        const char* name;
        WORD year;
        LONG bias, summerBias;
        const char *toSummer, *toStandard;
    } const cases[] = {
        {"Europe/Berlin", 2024, -60, -60, "3/0.5 2:00:00.000", "10/0.5 3:00:00.000"},
        {"America/New_York", 2024, 300, -60, "3/0.2 2:00:00.000", "11/0.1 2:00:00.000"},
        {"America/New_York", 2000, 300, -60, "4/0.1 2:00:00.000", "10/0.5 2:00:00.000"},
        {"Australia/Sydney", 2024, -600, -60, "10/0.1 2:00:00.000", "4/0.1 3:00:00.000"},
        {"Australia/Lord_Howe", 2024, -630, -30, "10/0.1 2:00:00.000", "4/0.1 2:00:00.000"},
        {"Europe/Dublin", 2024, 0, -60, "3/0.5 1:00:00.000", "10/0.5 2:00:00.000"},
        {"Asia/Kolkata", 2024, -330, 0, "0/0.0 0:00:00.000", "0/0.0 0:00:00.000"},
        {"America/Sao_Paulo", 2024, 180, 0, "0/0.0 0:00:00.000", "0/0.0 0:00:00.000"},
        // In years of a late carnival the fourth Sunday: the night of the third Saturday says most of the dates.
        {"America/Sao_Paulo", 2010, 180, -60, "10/0.3 0:00:00.000", "2/6.3 23:59:59.999"},
        // The last Thursday at 24:00, which no weekday of 00:00 could say for all years.
        {"Africa/Cairo", 2024, -120, -60, "4/5.5 0:00:00.000", "10/4.5 23:59:59.999"},
        {"Pacific/Chatham", 2050, -765, -60, "9/0.5 2:45:00.000", "4/0.1 3:45:00.000"},
        // A change of the standard offset in spring: what held from then on.
        {"Asia/Almaty", 2024, -300, 0, "0/0.0 0:00:00.000", "0/0.0 0:00:00.000"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.name) + " " + std::to_string(c.year));
        TIME_ZONE_INFORMATION zone{};
        ASSERT_TRUE(PlatGetZoneByName(c.name, c.year, &zone));
        EXPECT_EQ(zone.Bias, c.bias);
        EXPECT_EQ(zone.DaylightBias, c.summerBias);
        EXPECT_EQ(zone.StandardBias, 0);
        EXPECT_EQ(Rule(zone.DaylightDate), c.toSummer);
        EXPECT_EQ(Rule(zone.StandardDate), c.toStandard);
    }
    TIME_ZONE_INFORMATION zone{};
    PlatSetLocale("en_US");
    ASSERT_TRUE(PlatGetZoneByName("Europe/Paris", 2024, &zone));
    EXPECT_EQ(Narrow(zone.StandardName), "Central European Standard Time");
    EXPECT_EQ(Narrow(zone.DaylightName), "Central European Summer Time");
    for (const char* bad : {"", "Nowhere/Land", "../etc/passwd", "/etc/localtime", "Europe",
                            "Europe/Berlin\n", "Europe//../../passwd"})
        EXPECT_FALSE(PlatGetZoneByName(bad, 2024, &zone)) << bad;
    EXPECT_FALSE(PlatGetZoneByName(nullptr, 2024, &zone));
}

TEST_F(ClockTest, TheSystemZoneIsThatOfTheEnvironment) {
    SetUtc(At(2024, 7, 1));
    setenv("TZ", "Europe/Berlin", 1);
    TIME_ZONE_INFORMATION zone, named;
    EXPECT_EQ(GetTimeZoneInformation(&zone), TIME_ZONE_ID_DAYLIGHT);
    PlatGetZoneByName("Europe/Berlin", 2024, &named);
    EXPECT_EQ(zone.Bias, named.Bias);
    EXPECT_EQ(Rule(zone.DaylightDate), Rule(named.DaylightDate));
    EXPECT_EQ(Rule(zone.StandardDate), Rule(named.StandardDate));
    char name[64];
    EXPECT_TRUE(PlatGetZoneName(name, sizeof name));
    EXPECT_STREQ(name, "Europe/Berlin");
    EXPECT_FALSE(PlatGetZoneName(name, 5));

    setenv("TZ", "NZST-12NZDT,M9.5.0,M4.1.0/3", 1); // a rule instead of a name
    EXPECT_EQ(GetTimeZoneInformation(&zone), TIME_ZONE_ID_STANDARD);
    EXPECT_EQ(zone.Bias, -720);
    EXPECT_EQ(Rule(zone.DaylightDate), "9/0.5 2:00:00.000");
    EXPECT_EQ(Rule(zone.StandardDate), "4/0.1 3:00:00.000");
    EXPECT_EQ(Narrow(zone.StandardName), "NZST");
    EXPECT_EQ(Narrow(zone.DaylightName), "NZDT");
    EXPECT_FALSE(PlatGetZoneName(name, sizeof name));
    SetUtc(At(2024, 1, 1));
    EXPECT_EQ(GetTimeZoneInformation(&zone), TIME_ZONE_ID_DAYLIGHT);

    setenv("TZ", "Asia/Tokyo", 1);
    EXPECT_EQ(GetTimeZoneInformation(&zone), TIME_ZONE_ID_UNKNOWN);
    EXPECT_EQ(zone.Bias, -540);
    EXPECT_EQ(zone.DaylightBias, 0);
}

TEST_F(ClockTest, ZonesThatAreSet) {
    TIME_ZONE_INFORMATION set{}, zone;
    set.Bias = 123;
    set.StandardName[0] = u'S';
    PlatSetTimeZone(&set);
    EXPECT_EQ(GetTimeZoneInformation(&zone), TIME_ZONE_ID_UNKNOWN);
    EXPECT_EQ(zone.Bias, 123);
    EXPECT_EQ(zone.StandardName[0], u'S');
    EXPECT_FALSE(PlatSetTimeZoneByName("No/Where"));
    // The year's rules, and a new standard offset, hold from their moment on.
    const struct {
        const char* name;
        SYSTEMTIME before;
        LONG bias, biasAfter;
        WORD month, monthAfter;
    } cases[] = {{"America/New_York", At(2006, 12, 31, 23, 59, 59), 300, 300, 4, 3},
                 {"Asia/Almaty", At(2024, 2, 29, 17, 59, 59), -360, -300, 0, 0}};
    for (const auto& c : cases) {
        PlatSetTimeZoneByName(c.name);
        SetUtc(c.before);
        GetTimeZoneInformation(&zone);
        EXPECT_EQ(zone.Bias, c.bias);
        EXPECT_EQ(zone.DaylightDate.wMonth, c.month);
        PlatAdvanceClock(6 * 3'600'000);
        GetTimeZoneInformation(&zone);
        EXPECT_EQ(zone.Bias, c.biasAfter);
        EXPECT_EQ(zone.DaylightDate.wMonth, c.monthAfter);
    }
}

// Every zone of the system: the rules found here, walked by the library's own arithmetic, against localtime_r.
class AllZones : public ClockTest {
protected:
    static std::vector<std::string> Names() {
        std::vector<std::string> names;
        std::ifstream table("/usr/share/zoneinfo/tzdata.zi");
        for (std::string line; std::getline(table, line);) {
            const bool zone = line.starts_with("Z ");
            if (zone) names.push_back(line.substr(2, line.find(' ', 2) - 2));
        }
        return names;
    }
    static tm Local(time_t t) {
        tm local{};
        localtime_r(&t, &local);
        return local;
    }
    // The time of day on the wall by the rules of a zone, or by the system.
    static std::string Wall(const TIME_ZONE_INFORMATION& zone, time_t t) {
        const SYSTEMTIME utc =
            civil::SystemTimeFromTicks((t + civil::kDaysTo1970 * 86'400) * civil::kTicksPerSecond);
        SYSTEMTIME local;
        bool summer;
        return CeSystemTimeToTzSpecificLocalTime(&zone, &utc, &local, &summer) ? Text(local) : "none";
    }
    static std::string Wall(const tm& t) {
        return Text(At(t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec));
    }
    static time_t Seconds(int year) {
        return (civil::DaysFromCivil(year, 1, 1) - civil::kDaysTo1970) * 86'400;
    }

    // Whether two transitions can say the year: no change of the offset, or one up and one down by the same step.
    static bool IsPlain(int year) {
        std::vector<long> steps;
        for (time_t t = Seconds(year); t < Seconds(year + 1); t += 86'400)
            if (const long step = Local(t + 86'400).tm_gmtoff - Local(t).tm_gmtoff) steps.push_back(step);
        return steps.empty() || (steps.size() == 2 && steps[0] == -steps[1]);
    }
};

TEST_F(AllZones, AgreeWithTheSystem) {
    const std::vector<std::string> names = Names();
    ASSERT_FALSE(names.empty()) << "the package tzdata is missing";
    int checked = 0;
    for (const std::string& name : names) {
        setenv("TZ", name.c_str(), 1);
        tzset();
        for (const int year : {1987, 2007, 2016, 2024, 2025, 2026, 2040}) {
            if (!IsPlain(year)) continue;
            TIME_ZONE_INFORMATION zone;
            ASSERT_TRUE(PlatGetZoneByName(name.c_str(), static_cast<WORD>(year), &zone)) << name;
            ++checked;
            // Two days at each end belong to the neighbours' local years.
            for (time_t t = Seconds(year) + 2 * 86'400; t < Seconds(year + 1) - 2 * 86'400;
                 t += 6 * 3600 + 1801) {
                const tm wanted = Local(t);
                if (wanted.tm_gmtoff % 60) continue; // a bias is whole minutes
                ASSERT_EQ(Wall(zone, t), Wall(wanted)) << name << " at " << t;
            }
        }
    }
    RecordProperty("zoneYears", checked);
    EXPECT_GT(checked, 1500);
}

// The rules of a year go into records and serve for the years to come.
TEST_F(AllZones, RulesHoldForTheFollowingYears) {
    const std::vector<std::string> names = Names();
    ASSERT_FALSE(names.empty()) << "the package tzdata is missing";
    int wrong = 0;
    std::string which;
    for (const std::string& name : names) {
        setenv("TZ", name.c_str(), 1);
        tzset();
        TIME_ZONE_INFORMATION zone;
        if (!PlatGetZoneByName(name.c_str(), 2027, &zone)) continue;
        bool differs = false;
        for (time_t t = Seconds(2027); t < Seconds(2034) && !differs; t += 6 * 3600 + 1801)
            differs = Wall(zone, t) != Wall(Local(t));
        wrong += differs;
        if (differs) which += name + " ";
    }
    // Dates by a moon calendar (Morocco) or "the Friday before the last Sunday" (Israel) are no nth weekday.
    RecordProperty("wrongZones", which);
    EXPECT_LE(wrong, 8) << which;
}

TEST(ZoneFile, DamagedBytesAreRefusedOrRead) {
    std::ifstream file("/usr/share/zoneinfo/Europe/Berlin", std::ios::binary);
    const std::string good((std::istreambuf_iterator<char>(file)), {});
    ASSERT_FALSE(good.empty()) << "the package tzdata is missing";
    ASSERT_NE(plat::ParseZoneFile(good), nullptr);
    for (std::size_t size = 0; size < good.size(); size += 3) {
        const auto zone = plat::ParseZoneFile(good.substr(0, size));
        if (zone) plat::BuildZoneYear(*zone, 2024, 1'700'000'000);
    }
    std::mt19937 random(77);
    int refused = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string bytes = good;
        for (int i = 0; i < 4; ++i)
            bytes[random() % (round % 2 ? 100 : bytes.size())] = static_cast<char>(random());
        const auto zone = plat::ParseZoneFile(bytes);
        refused += zone == nullptr;
        if (zone && round % 20 == 0) plat::BuildZoneYear(*zone, 2024, 1'700'000'000);
    }
    EXPECT_GT(refused, 1000) << "seed 77";
}

TEST(ZoneFile, FooterRules) {
    // A file of the second version with one type, no changes, and the footer alone.
    const auto zoneOf = [](const std::string& footer, int offset) {
        const auto number = [](std::uint32_t v) {
            return std::string{static_cast<char>(v >> 24), static_cast<char>(v >> 16),
                               static_cast<char>(v >> 8), static_cast<char>(v)};
        };
        const std::string header =
            "TZif2" + std::string(15, '\0') + std::string(16, '\0') + number(1) + number(4);
        const std::string block =
            number(static_cast<std::uint32_t>(offset)) + std::string(2, '\0') + std::string("XXX\0", 4);
        return plat::ParseZoneFile(header + block + header + block + "\n" + footer + "\n");
    };
    const auto at = [](int year, int month, int day, int hour) {
        return (civil::DaysFromCivil(year, month, day) - civil::kDaysTo1970) * 86'400 + hour * 3600;
    };
    struct {
        const char* footer;
        std::int64_t moment;
        int offset;
    } const cases[] = {
        {"CET-1CEST,M3.5.0,M10.5.0/3", at(2024, 3, 31, 0), 3600},
        {"CET-1CEST,M3.5.0,M10.5.0/3", at(2024, 3, 31, 1), 7200},
        {"CET-1CEST,M3.5.0,M10.5.0/3", at(2024, 10, 27, 1), 3600},
        {"<+0330>-3:30", at(2024, 7, 1, 0), 12'600},
        {"EST5EDT4,J60/0,J300", at(2024, 3, 1, 5), -4 * 3600},
        {"EST5EDT4,J60/0,J300", at(2024, 3, 1, 4), -5 * 3600},
        {"EST5EDT4,59/0,300", at(2024, 2, 29, 5), -4 * 3600},
        {"AEST-10AEDT,M10.1.0,M4.1.0/3", at(2024, 1, 1, 0), 39'600},
        {"<-02>2<-01>,M3.5.0/-1,M10.5.0/0", at(2024, 3, 31, 1), -3600},
        {"<-02>2<-01>,M3.5.0/-1,M10.5.0/0", at(2024, 3, 31, 0), -7200},
        {"IST-2IDT,M3.4.4/26,M10.5.0", at(2024, 3, 29, 0), 3 * 3600},
        {"IST-2IDT,M3.4.4/26,M10.5.0", at(2024, 3, 28, 23), 2 * 3600},
        {"nonsense", at(2024, 7, 1, 0), 60},
        {"CET-1CEST,M13.1.0,M10.5.0", at(2024, 7, 1, 0), 60},
        {"", at(2024, 7, 1, 0), 60},
    };
    for (const auto& c : cases) {
        const auto zone = zoneOf(c.footer, 60);
        ASSERT_NE(zone, nullptr);
        EXPECT_EQ(zone->OffsetAt(c.moment), c.offset) << c.footer << " " << c.moment;
    }
    EXPECT_EQ(zoneOf("", 100 * 3600), nullptr) << "an offset of four days";
}

// The entries of the city database.
struct CityDatabase {
    HINSTANCE module = LoadLibraryW(u"citydb.dll");
    ClockLoadAllTimeZoneDataProc load = Entry<ClockLoadAllTimeZoneDataProc>(u"ClockLoadAllTimeZoneData");
    ClockFreeAllTimeZoneDataProc release = Entry<ClockFreeAllTimeZoneDataProc>(u"ClockFreeAllTimeZoneData");
    ClockGetNumTimezonesProc count = Entry<ClockGetNumTimezonesProc>(u"ClockGetNumTimezones");
    ClockGetTimeZoneDataByOffsetProc byOffset =
        Entry<ClockGetTimeZoneDataByOffsetProc>(u"ClockGetTimeZoneDataByOffset");
    ClockGetTimeZoneDataProc byValue = Entry<ClockGetTimeZoneDataProc>(u"ClockGetTimeZoneData");

    ~CityDatabase() { FreeLibrary(module); }
    template<class T>
    T Entry(const WCHAR* name) const {
        return reinterpret_cast<T>(GetProcAddressW(module, name));
    }
};

TEST_F(ClockTest, TheCityDatabaseListsZonesFromWestToEast) {
    PlatSetLocale("en_US");
    SetUtc(At(2024, 7, 1));
    const CityDatabase db;
    ASSERT_TRUE(db.load && db.release && db.count && db.byOffset && db.byValue);
    ASSERT_TRUE(db.load());
    EXPECT_GT(db.count(), 100);
    LONG last = -24 * 60;
    bool berlin = false;
    CITYTIMEZONE row;
    for (int i = 0; i < db.count(); ++i) {
        ASSERT_TRUE(db.byOffset(i, &row));
        EXPECT_GE(row.lOffset, last);
        last = row.lOffset;
        TIME_ZONE_INFORMATION zone;
        ASSERT_TRUE(db.byValue(row.dwValue, &zone));
        EXPECT_EQ(zone.Bias, -row.lOffset);
        if (Narrow(row.pszDisplayName) != "(GMT+01:00) Berlin") continue;
        berlin = true;
        EXPECT_EQ(Narrow(row.pszDaylightName), "Central European Summer Time");
        EXPECT_EQ(zone.DaylightDate.wMonth, 3);
    }
    EXPECT_TRUE(berlin);
    EXPECT_FALSE(db.byOffset(db.count(), &row));
    EXPECT_FALSE(db.byOffset(-1, &row));
    EXPECT_FALSE(db.byValue(static_cast<DWORD>(db.count()), nullptr));
    db.release();
    EXPECT_EQ(db.count(), 0);
}

// The object model numbers the same rows from 1; 0 is the device's own zone.
TEST_F(ClockTest, ZonesByNumberAreTheRowsOfTheCityDatabase) {
    PlatSetLocale("en_US");
    SetUtc(At(2024, 7, 1));
    PlatSetTimeZoneByName("Asia/Tokyo");
    const CityDatabase db;
    ASSERT_TRUE(db.load());
    std::vector<TIME_ZONE_INFORMATION> rows(static_cast<std::size_t>(db.count()));
    for (std::size_t i = 0; i < rows.size(); ++i) ASSERT_TRUE(db.byValue(static_cast<DWORD>(i), &rows[i]));

    void* object = nullptr;
    ASSERT_EQ(CoCreateInstance(CLSID_Application, nullptr, 0, IID_IPOutlookApp2, &object), S_OK);
    auto* app = static_cast<IPOutlookApp2*>(object);
    TIME_ZONE_INFORMATION zone{};
    EXPECT_EQ(app->GetTimeZoneInformationFromIndex(0, &zone), S_OK);
    EXPECT_EQ(zone.Bias, -540);
    for (const std::size_t index : {std::size_t{1}, rows.size() / 2, rows.size()}) {
        ASSERT_EQ(app->GetTimeZoneInformationFromIndex(static_cast<int>(index), &zone), S_OK);
        EXPECT_EQ(zone.Bias, rows[index - 1].Bias) << index;
        EXPECT_EQ(Narrow(zone.StandardName), Narrow(rows[index - 1].StandardName)) << index;
    }
    EXPECT_EQ(app->GetTimeZoneInformationFromIndex(static_cast<int>(rows.size()) + 1, &zone), E_INVALIDARG);
    PlatRegisterModule({.name = u"citydb.dll", .untilReset = true}); // a database that has no entries
    EXPECT_EQ(app->GetTimeZoneInformationFromIndex(1, &zone), E_INVALIDARG);
    EXPECT_TRUE(PlatUnregisterModule(u"citydb.dll"));
    app->Release();
}

} // namespace
