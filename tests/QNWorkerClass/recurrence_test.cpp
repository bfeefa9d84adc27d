// The date steps and the walks of recurrence rules: tables of single steps, and the walks' jumps against plain stepping.
#include "Platform/rulewalk.h"
#include "QNWorkerClass/rulewalks.h"
#include "NorvoTools/datetime.h"
#include "tests/support/appointments.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

LONG Day(const char* date) { return DayOfMinutes(Minutes(date)); }

std::string Text(const CivilDate& date) {
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", date.year, date.month, date.day);
    return text;
}

CivilDate Civil(const char* date) {
    CivilDate civil{};
    std::sscanf(date, "%d-%d-%d", &civil.year, &civil.month, &civil.day);
    return civil;
}

TEST(DateSteps, OneMonthOnByTheMonthThatIsLeft) {
    const struct {
        const char* from;
        LONG day;
        const char* to;
    } kSteps[] = {
        {"2010-01-15", 15, "2010-02-15"}, {"2010-12-15", 15, "2011-01-15"},
        {"2010-01-31", 31, "2010-03-31"}, // February is stepped over
        {"2010-04-30", 31, "2010-05-30"}, // the day of the month that is left
        {"2010-05-30", 31, "2010-06-31"}, // a date that doesn't exist
        {"2010-06-31", 31, "2010-07-30"}, {"2010-07-30", 31, "2010-08-31"},
        {"2010-12-30", 31, "2011-01-31"}, // December takes the day back
        {"2011-01-29", 29, "2011-03-29"}, {"2012-01-29", 29, "2012-02-29"},
        {"2011-02-28", 30, "2011-03-28"}, {"2011-03-28", 30, "2011-04-30"},
    };
    for (const auto& step : kSteps)
        EXPECT_EQ(step.to, Text(IncrementMonth(Civil(step.from), step.day)))
            << step.from << " day " << step.day;
}

TEST(DateSteps, TheFirstOfAMonthBecomesThePatternsDay) {
    const struct {
        const char* first;
        LONG day;
        const char* adjusted;
    } kCases[] = {
        {"2010-02-01", 31, "2010-02-28"}, {"2012-02-01", 30, "2012-02-29"},
        {"2010-04-01", 31, "2010-04-30"}, {"2100-02-01", 29, "2100-02-29"}, // the table divides by 4 alone
        {"2010-06-01", 1, "2010-06-01"},  {"2010-06-01", 40, "2010-07-10"}, // no day of any month
    };
    for (const auto& test : kCases)
        EXPECT_EQ(test.adjusted, Text(DateAdjust(Civil(test.first), test.day)))
            << test.first << " day " << test.day;
}

TEST(DateSteps, YearsOnKeepTheLastOfFebruary) {
    const struct {
        const char* from;
        LONG month;
        LONG day;
        const char* to;
    } kCases[] = {
        {"2010-06-30", 6, 30, "2011-06-30"}, {"2008-02-29", 2, 29, "2009-02-28"},
        {"2011-02-28", 2, 29, "2012-02-29"}, {"2011-02-28", 2, 28, "2012-02-28"},
        {"2096-02-29", 2, 29, "2097-02-28"}, {"2099-02-28", 2, 29, "2100-02-28"},
    };
    for (const auto& test : kCases)
        EXPECT_EQ(test.to, Text(IncrementByYear(Civil(test.from), test.month, test.day))) << test.from;
}

TEST(DateSteps, MonthOfTheMinutesBeforeIt) {
    const std::pair<DWORD, LONG> kMonths[] = {{0, 1},       {44640, 2},   {84960, 3},
                                              {480960, 12}, {39999, 1},   {40000, 2},
                                              {474999, 11}, {475000, 12}, {0xFFFFFFFF, 12}};
    for (const auto& [minutes, month] : kMonths) EXPECT_EQ(month, MonthOfYearOffset(minutes)) << minutes;
}

TEST(DateSteps, NthWeekdayOfAMonth) {
    constexpr DWORD kFridays = 1 << kFriday;
    const struct {
        const char* month;
        DWORD mask;
        LONG nth;
        const char* date;
    } kCases[] = {
        {"2010-01-01", kFridays, 5, "2010-01-29"}, // five Fridays
        {"2010-02-01", kFridays, 5, "2010-02-26"}, // four
        {"2007-11-01", 1 << 4, 4, "2007-11-22"},
        {"2010-01-01", kWorkDaysMask, 4, "2010-01-06"}, // the weekend is stepped over
        {"2010-05-01", kWorkDaysMask, 1, "2010-05-03"}, // a month that begins on a Saturday
        {"2010-10-01", kWorkDaysMask, 5, "2010-10-29"},
        {"2010-03-01", kWeekendMask, 3, "2010-03-13"},
        {"2010-08-01", kWeekendMask, 2, "2010-08-07"},
        {"2010-03-01", kWeekendMask, 5, "2010-03-28"},
        {"2010-07-01", kWeekendMask, 5, "2010-07-31"},
        {"2012-02-01", kEveryDayMask, 5, "2012-02-29"},
        {"2010-03-01", 0x2A, 2, "2010-03-08"}, // any other set of days: its lowest one
    };
    for (const auto& test : kCases)
        EXPECT_EQ(test.date, Text(CivilOf(NthWeekday(Civil(test.month), test.mask, test.nth))))
            << test.month << " mask " << test.mask << " nth " << test.nth;
}

TEST(DateSteps, VariantTimesAndBack) {
    const struct {
        const char* moment;
        double variant;
    } kMoments[] = {
        {"1899-12-30", 0.0}, {"1899-12-29 06:00", -1.25}, {"1899-12-31 12:00", 1.5}, {"2010-03-01", 40238.0}};
    for (const auto& test : kMoments) {
        LONGLONG seconds = LONGLONG{Minutes(test.moment)} * 60;
        EXPECT_EQ(test.variant, VariantOfSeconds(seconds)) << test.moment;
        EXPECT_EQ(seconds, SecondsOfVariant(test.variant)) << test.moment;
    }
    for (LONG minute = 0; minute < 1440; ++minute) { // the platform's doubles, bit for bit
        SYSTEMTIME date = civil::SystemTimeFromMinutes(Minutes("2010-03-01") + static_cast<DWORD>(minute));
        double variant = 0;
        ASSERT_TRUE(SystemTimeToVariantTime(&date, &variant));
        ASSERT_EQ(variant, VariantOfSeconds(civil::MinutesOf(date) * 60)) << minute;
    }
}

// --- The calendar thread's steps ----------------------------------------------------------------------------------

class StepsOfTheThread : public DeviceTest {
protected:
    StepsOfTheThread() {
        m_record.m_wDaysOfWeek = 1 << kMonday | 1 << kFriday;
        m_record.m_wDayOfMonth = 31;
        m_record.m_wNth = 5;
    }
    CCalendarThread m_thread;
    DATACALENDARDB m_record;
};

TEST_F(StepsOfTheThread, ChangeADateAndItsWeekday) {
    using Step = void (*)(const CCalendarThread&, const DATACALENDARDB&, SYSTEMTIME&);
    const Step adjust = [](auto& thread, auto& record, auto& date) { thread.fDateAdjust(record, date); };
    const Step month = [](auto& thread, auto& record, auto& date) { thread.fIncrementMonth(record, date); };
    const Step year = [](auto& thread, auto& record, auto& date) {
        thread.fIncrementByYear(record, date, 6);
    };
    const Step nth = [](auto& thread, auto& record, auto& date) { thread.fGetNthWeekDay(record, date); };
    const Step next = [](auto& thread, auto& record, auto& date) {
        CeList<LONG> days(0);
        thread.fGetEventWeekDays(record, days);
        const bool isLeft = date.wDayOfWeek < kFriday;
        EXPECT_EQ(isLeft, thread.fCheckNextWeekDay(days, date));
    };
    const struct {
        const char* from;
        Step step;
        const char* to;
        int weekday;
    } kCases[] = {
        {"2010-04-01", adjust, "2010-04-30", kFriday}, {"2010-04-30", month, "2010-05-30", kSunday},
        {"2010-05-30", month, "2010-06-31", kSunday}, // no such day: the weekday of before
        {"2010-06-30", year, "2011-06-30", 4},         {"2010-03-10", nth, "2010-03-29", kMonday},
        {"2010-02-28", next, "2010-03-01", kMonday},   {"2010-03-01", next, "2010-03-05", kFriday},
        {"2010-03-05", next, "2010-03-05", kFriday}, // none is left in this week
    };
    for (const auto& test : kCases) {
        SYSTEMTIME date = Date(test.from);
        test.step(m_thread, m_record, date);
        EXPECT_EQ(test.to, Text({date.wYear, date.wMonth, date.wDay})) << test.from;
        EXPECT_EQ(test.weekday, date.wDayOfWeek) << test.from;
    }
    SYSTEMTIME noMonth = {2010, 13, 0, 1, 0, 0, 0, 0};
    m_thread.fIncrementMonth(m_record, noMonth); // to anything, from nothing
}

TEST_F(StepsOfTheThread, DaysOfTheWeek) {
    auto told = [this] {
        std::string text = std::to_string(m_thread.fGetCurrentWeekDayOfEvent(m_record)) + ":";
        for (LONG day = Day("2010-02-28"); day <= Day("2010-03-06"); ++day) {
            const SYSTEMTIME date = civil::SystemTimeFromDays(day + civil::kDaysTo1899);
            text += m_thread.fCheckWeeklyDate(m_record, date) ? " *" : " ";
            text += std::to_string(m_thread.GetDays(m_record, date));
        }
        return text;
    };
    EXPECT_EQ("1: 1 *4 3 2 1 *3 2", told()); // from Sunday on
    m_record.m_wDaysOfWeek = 1 << kSaturday;
    EXPECT_EQ("6: 6 5 4 3 2 1 *7", told());
    m_record.m_wDaysOfWeek = 0;
    EXPECT_EQ("7: 0 0 0 0 0 0 0", told());
}

// --- Walks against plain stepping ---------------------------------------------------------------------------------

// The dates that a walk looks at, by stepping from the start of the series one period at a time: for the kinds that jump.
std::vector<LONG> Stepped(const RecurrenceRule& rule, LONG lo, LONG hi, bool overMidnight) {
    std::vector<LONG> days;
    auto walk = [&](LONG day, auto step) {
        for (; day <= hi && day <= rule.endDay; day = step(day)) days.push_back(day);
    };
    const CivilDate start = CivilOf(rule.startDay);
    const CivilDate range = CivilOf(lo);
    const LONG period = rule.period;
    switch (rule.kind) {
    case RuleKind::Daily: {
        LONG day = rule.startDay;
        while (day < lo) day += period;
        if (day > lo) day -= period;
        while (overMidnight && day - period >= lo - 2) day -= period;
        walk(day, [&](LONG d) { return d + period; });
        break;
    }
    case RuleKind::Weekly: {
        auto toLowest = [&](LONG day) { return day - WeekdayOf(day) + LowestWeekday(rule.weekMask); };
        LONG day = toLowest(rule.startDay);
        while (day < toLowest(lo) - 7 * period) day += 7 * period;
        while (day > lo) day -= 7 * period;
        walk(day, [&](LONG d) {
            for (LONG weekday = WeekdayOf(d) + 1; weekday < 7; ++weekday)
                if (rule.weekMask & (1u << weekday)) return d - WeekdayOf(d) + weekday;
            return toLowest(d + 7 * period);
        });
        break;
    }
    case RuleKind::
        MonthlyDay: { // over dates that don't exist the day stays the former one, and nothing is listed
        CivilDate date = DateAdjust({start.year, start.month, 1}, rule.day);
        LONG value = DateExists(date) ? DayOf(date) : rule.startDay;
        auto step = [&] {
            for (LONG n = 0; n < period; ++n) date = IncrementMonth(date, rule.day);
            if (DateExists(date)) value = DayOf(date);
        };
        const LONG goal = DayOf(DateAdjust({range.year, range.month, 1}, rule.day)) - 31 * period;
        while (value < goal) step();
        for (; value <= hi && value <= rule.endDay; step())
            if (DateExists(date)) days.push_back(value);
        break;
    }
    case RuleKind::MonthlyNth: {
        LONG month = MonthIndex(start);
        while (DayOf(FirstOfMonth(month)) < DayOf({range.year, range.month, 1}) - 31 * period)
            month += period;
        auto nth = [&](LONG) { return NthWeekday(FirstOfMonth(month), rule.weekMask, rule.nth); };
        walk(nth(0), [&](LONG day) { return month += period, nth(day); });
        break;
    }
    case RuleKind::YearlyNth: {
        CivilDate date{start.year, rule.month, 1};
        auto addYear = [&](LONG count) {
            LONG aimed = date.year + 1;
            date = CivilOf(DayOf(date) + count);
            if (date.year != aimed || date.month != rule.month) date = {aimed, rule.month, 1};
        };
        while (DayOf(date) < lo) addYear(isleapyear(date.year) ? 366 : 365);
        if (DayOf(date) > lo) --date.year;
        date.day = 1;
        walk(NthWeekday(date, rule.weekMask, rule.nth), [&](LONG day) {
            date = CivilOf(day);
            addYear(isleapyear(date.year + 1) ? 366 : 365);
            return NthWeekday(date, rule.weekMask, rule.nth);
        });
        break;
    }
    default:
        break;
    }
    return days;
}

std::vector<LONG> Walked(const RecurrenceRule& rule, LONG lo, LONG hi, bool overMidnight) {
    std::vector<LONG> days;
    for (RuleWalk walk(rule, lo, hi, overMidnight, RuleWalk::Entry::Calendar); walk.InRange(); walk.Step()) {
        days.push_back(walk.Day());
        if (days.size() > 100000) break;
    }
    return days;
}

class RandomRules {
public:
    explicit RandomRules(unsigned seed) : m_engine(seed) {}
    LONG Number(LONG from, LONG to) { return std::uniform_int_distribution<LONG>(from, to)(m_engine); }

    RecurrenceRule Next() {
        static constexpr DWORD kSets[] = {kWorkDaysMask, kWeekendMask, kEveryDayMask};
        RecurrenceRule rule;
        static constexpr RuleKind kJumping[] = {RuleKind::Daily, RuleKind::Weekly, RuleKind::MonthlyDay,
                                                RuleKind::MonthlyNth, RuleKind::YearlyNth};
        rule.kind = kJumping[Number(0, 4)];
        rule.period = Number(0, 3) == 0 ? Number(1, 500) : Number(1, 5);
        bool nth = rule.kind == RuleKind::MonthlyNth || rule.kind == RuleKind::YearlyNth;
        rule.weekMask = static_cast<DWORD>(Number(1, 127));
        if (nth) rule.weekMask = Number(0, 1) ? kSets[Number(0, 2)] : 1u << Number(0, 6);
        rule.day = Number(0, 2) == 0 ? Number(28, 31) : Number(1, 28);
        rule.nth = Number(1, 5);
        rule.month = Number(1, 12);
        rule.startDay = Number(Day("1753-01-01"), Day("2200-12-31"));
        if (Number(0, 3) != 0) rule.startDay = Number(Day("1980-01-01"), Day("2030-12-31"));
        rule.endDay = Number(0, 2) == 0 ? rule.startDay + Number(0, 20000) : Day("4500-12-31");
        return rule;
    }

private:
    std::mt19937 m_engine;
};

TEST(RuleWalks, JumpsGiveTheDatesOfPlainStepping) {
    unsigned seed = std::random_device{}();
    RandomRules random(seed);
    for (int round = 0; round < 20000; ++round) {
        RecurrenceRule rule = random.Next();
        LONG lo = rule.startDay + random.Number(-2000, random.Number(0, 4) == 0 ? 200000 : 20000);
        LONG hi = lo + random.Number(0, 800);
        bool overMidnight = random.Number(0, 1) != 0;
        ASSERT_EQ(Stepped(rule, lo, hi, overMidnight), Walked(rule, lo, hi, overMidnight))
            << "seed " << seed << " round " << round << " kind " << static_cast<int>(rule.kind) << " period "
            << rule.period << " mask " << rule.weekMask << " day " << rule.day << " nth " << rule.nth
            << " month " << rule.month << " start " << DateText(rule.startDay) << " end "
            << DateText(rule.endDay) << " range " << DateText(lo) << ".." << DateText(hi);
    }
}

TEST(RuleWalks, RulesWithoutDatesAndHostileNumbersEnd) {
    RecurrenceRule sound;
    sound.period = 1;
    sound.weekMask = 2;
    sound.day = 15;
    sound.nth = 1;
    sound.month = 6;
    sound.startDay = Day("2010-01-01");
    sound.endDay = Day("4500-12-31");
    using Kinds = std::vector<RuleKind>;
    const Kinds periodic{RuleKind::Daily, RuleKind::Weekly, RuleKind::MonthlyDay, RuleKind::MonthlyNth};
    const Kinds byMask{RuleKind::Weekly, RuleKind::MonthlyNth, RuleKind::YearlyNth};
    const Kinds byDay{RuleKind::MonthlyDay, RuleKind::YearlyDay};
    const Kinds byNth{RuleKind::MonthlyNth, RuleKind::YearlyNth};
    const struct {
        const char* what;
        void (*spoil)(RecurrenceRule&);
        Kinds kinds;
    } kCases[] = {
        {"period 0", [](RecurrenceRule& r) { r.period = 0; }, periodic},
        {"mask 0", [](RecurrenceRule& r) { r.weekMask = 0x80; }, byMask},
        {"day 0", [](RecurrenceRule& r) { r.day = 0; }, byDay},
        {"day 32", [](RecurrenceRule& r) { r.day = 32; }, byDay},
        {"nth 0", [](RecurrenceRule& r) { r.nth = 0; }, byNth},
        {"nth 6", [](RecurrenceRule& r) { r.nth = 6; }, byNth},
    };
    for (const auto& test : kCases)
        for (RuleKind kind : test.kinds) {
            RecurrenceRule rule = sound;
            rule.kind = kind;
            EXPECT_FALSE(Walked(rule, Day("2010-01-01"), Day("2011-12-31"), false).empty())
                << static_cast<int>(kind);
            test.spoil(rule);
            EXPECT_TRUE(Walked(rule, Day("2010-01-01"), Day("2011-12-31"), false).empty())
                << test.what << " kind " << static_cast<int>(kind);
        }
    for (int kind = 1; kind <= 7; ++kind) { // over all of the calendar, with the longest period
        RecurrenceRule rule = sound;
        rule.kind = static_cast<RuleKind>(kind);
        rule.period = RulePeriod(rule.kind, 0xFFFFFFFF);
        rule.day = 31;
        rule.startDay = Day("1601-01-01");
        Walked(rule, Day("1601-01-01"), DayOfMinutes(0xFFFFFFFF), true);
        Walked(rule, Day("9700-01-01"), DayOfMinutes(0xFFFFFFFF), true);
    }
}

// --- The platform's count of a rule's dates -----------------------------------------------------------------------

struct Counted {
    std::string text;
    int most;
};

std::string RuleDates(PlatRule rule, const char* start, const char* first, const char* last, int most = 100) {
    rule.dwStartDate = Minutes(start);
    Counted counted{"", most};
    PlatRuleWalk walk = PlatGetRuleWalk();
    if (!walk) return "no walk";
    walk(
        rule, Minutes(first), Minutes(last),
        [](void* user, DWORD date) {
            auto& to = *static_cast<Counted*>(user);
            to.text += DateText(DayOfMinutes(date)) + " ";
            return --to.most > 0;
        },
        &counted);
    return counted.text;
}

TEST(RuleWalks, ThePlatformGetsTheRulesDates) {
    const PlatRule everyOtherDay{8202, 0, 0, 2880, 0, 0, 0, 0}, weekdays{8202, 1, 0, 0, 62, 0, 0, 0};
    const PlatRule mondaysAndFridays{8203, 1, 0, 2, 34, 0, 0, 0}, firstOfMonth{8204, 2, 0, 1, 0, 1, 0, 0};
    const PlatRule february15{8205, 2, 44640, 12, 0, 15, 0, 0},
        thanksgiving{8205, 3, 437760, 12, 16, 0, 4, 0};
    const PlatRule partOfADay{8202, 0, 0, 1439, 0, 0, 0, 0}, noSuchPair{8203, 0, 0, 1, 34, 0, 0, 0};
    const char* const day = "2010-03-01";
    EXPECT_EQ("2010-03-07 2010-03-09 ", RuleDates(everyOtherDay, day, "2010-03-06", "2010-03-10"));
    EXPECT_EQ("2010-03-01 2010-03-03 ", RuleDates(everyOtherDay, day, day, "4500-12-31", 2));
    EXPECT_EQ("2010-03-01 2010-03-05 2010-03-15 ", RuleDates(mondaysAndFridays, day, day, "2010-03-18"));
    // The working days themselves, whatever weekday the span begins on.
    EXPECT_EQ("2010-03-05 2010-03-08 ", RuleDates(weekdays, "2010-03-05", "2010-03-05", "2010-03-08"));
    EXPECT_EQ("2010-03-08 2010-03-09 ", RuleDates(weekdays, "2010-03-07", "2010-03-07", "2010-03-09"));
    EXPECT_EQ("2010-02-01 2010-03-01 ", RuleDates(firstOfMonth, "2010-01-15", "2010-01-01", "2010-03-31"));
    EXPECT_EQ("2013-02-15 2014-02-15 ", RuleDates(february15, "2008-02-15", "2013-01-20", "2014-12-31"));
    EXPECT_EQ("2007-11-22 2008-11-27 ", RuleDates(thanksgiving, "2007-11-22", "2007-11-22", "2008-12-31"));
    EXPECT_EQ("", RuleDates(partOfADay, day, day, "2010-03-31"));
    EXPECT_EQ("", RuleDates(noSuchPair, day, day, "2010-03-31"));
}

} // namespace
