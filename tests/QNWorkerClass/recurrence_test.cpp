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
        {"2010-08-31", 31, "2010-10-31"}, {"2010-12-30", 31, "2011-01-31"}, // December takes the day back
        {"2011-01-29", 29, "2011-03-29"}, {"2012-01-29", 29, "2012-02-29"},
        {"2012-02-29", 29, "2012-03-29"}, {"2011-02-28", 30, "2011-03-28"},
        {"2011-03-28", 30, "2011-04-30"}, {"2010-02-28", 28, "2010-03-28"},
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
        {"2010-02-01", 31, "2010-02-28"}, {"2012-02-01", 30, "2012-02-29"}, {"2012-02-01", 29, "2012-02-29"},
        {"2011-02-01", 29, "2011-02-28"}, {"2010-04-01", 31, "2010-04-30"}, {"2010-04-01", 30, "2010-04-30"},
        {"2010-01-01", 31, "2010-01-31"}, {"2100-02-01", 29, "2100-02-29"}, // the table divides by 4 alone
        {"2010-06-01", 1, "2010-06-01"},
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
    const DWORD kWritten[] = {0,      44640,  84960,  129600, 172800, 217440,
                              260640, 305280, 349920, 393120, 437760, 480960};
    for (LONG month = 1; month <= 12; ++month) EXPECT_EQ(month, MonthOfYearOffset(kWritten[month - 1]));
    EXPECT_EQ(1, MonthOfYearOffset(39999));
    EXPECT_EQ(2, MonthOfYearOffset(40000));
    EXPECT_EQ(11, MonthOfYearOffset(474999));
    EXPECT_EQ(12, MonthOfYearOffset(475000));
    EXPECT_EQ(12, MonthOfYearOffset(0xFFFFFFFF));
}

TEST(DateSteps, NthWeekdayOfAMonth) {
    constexpr DWORD kFridays = 1 << kFriday;
    const struct {
        const char* month;
        DWORD mask;
        LONG nth;
        const char* date;
    } kCases[] = {
        {"2010-01-01", kFridays, 1, "2010-01-01"},      {"2010-01-01", kFridays, 4, "2010-01-22"},
        {"2010-01-01", kFridays, 5, "2010-01-29"}, // five Fridays
        {"2010-02-01", kFridays, 5, "2010-02-26"}, // four
        {"2007-11-01", 1 << 4, 4, "2007-11-22"},        {"2010-02-01", 1, 1, "2010-02-07"},
        {"2010-01-01", kWorkDaysMask, 4, "2010-01-06"}, // the weekend is stepped over
        {"2010-05-01", kWorkDaysMask, 1, "2010-05-03"}, // a month that begins on a Saturday
        {"2010-08-01", kWorkDaysMask, 1, "2010-08-02"}, // on a Sunday
        {"2010-05-01", kWorkDaysMask, 5, "2010-05-31"}, {"2010-10-01", kWorkDaysMask, 5, "2010-10-29"},
        {"2010-07-01", kWorkDaysMask, 5, "2010-07-30"}, {"2010-03-01", kWeekendMask, 1, "2010-03-06"},
        {"2010-03-01", kWeekendMask, 2, "2010-03-07"},  {"2010-03-01", kWeekendMask, 3, "2010-03-13"},
        {"2010-08-01", kWeekendMask, 1, "2010-08-01"},  {"2010-08-01", kWeekendMask, 2, "2010-08-07"},
        {"2010-03-01", kWeekendMask, 5, "2010-03-28"},  {"2010-07-01", kWeekendMask, 5, "2010-07-31"},
        {"2010-03-01", kEveryDayMask, 3, "2010-03-03"}, {"2012-02-01", kEveryDayMask, 5, "2012-02-29"},
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

// --- Walks against plain stepping ---------------------------------------------------------------------------------

// The dates that a walk looks at, by stepping from the start of the series one period at a time.
class PlainWalk {
public:
    PlainWalk(const RecurrenceRule& rule, LONG lo, LONG hi, bool overMidnight)
        : m_rule(rule), m_lo(lo), m_hi(hi) {
        switch (rule.kind) {
        case RuleKind::None:
            break;
        case RuleKind::Daily:
            Daily(overMidnight);
            break;
        case RuleKind::Weekday:
            Weekday();
            break;
        case RuleKind::Weekly:
            Weekly();
            break;
        case RuleKind::MonthlyDay:
            MonthlyDay();
            break;
        case RuleKind::MonthlyNth:
            MonthlyNth();
            break;
        case RuleKind::YearlyDay:
            YearlyDay();
            break;
        case RuleKind::YearlyNth:
            YearlyNth();
            break;
        }
    }
    std::vector<LONG> days;

private:
    template<class Step>
    void Frame(LONG day, Step step) {
        for (; day <= m_hi && day <= m_rule.endDay; day = step(day)) days.push_back(day);
    }

    void Daily(bool overMidnight) {
        LONG period = m_rule.period;
        LONG day = m_rule.startDay;
        while (day < m_lo) day += period;
        if (day > m_lo) day -= period;
        if (overMidnight)
            while (day - period >= m_lo - 2) day -= period;
        Frame(day, [&](LONG d) { return d + period; });
    }

    void Weekday() {
        LONG day = m_lo;
        if (WeekdayOf(day) == kFriday)
            day += 3;
        else if (WeekdayOf(day) == kSaturday)
            day += 2;
        Frame(day, [](LONG d) {
            ++d;
            return WeekdayOf(d) == kSaturday ? d + 2 : d;
        });
    }

    void Weekly() {
        LONG lowest = LowestWeekday(m_rule.weekMask);
        auto toLowest = [&](LONG day) { return day - WeekdayOf(day) + lowest; };
        LONG day = toLowest(m_rule.startDay);
        LONG goal = toLowest(m_lo) - 7 * m_rule.period;
        while (day < goal) day += 7 * m_rule.period;
        day = toLowest(day);
        while (day > m_lo) day -= 7 * m_rule.period;
        Frame(day, [&](LONG d) {
            for (LONG weekday = WeekdayOf(d) + 1; weekday < 7; ++weekday)
                if (m_rule.weekMask & (1u << weekday)) return d - WeekdayOf(d) + weekday;
            return toLowest(d + 7 * m_rule.period);
        });
    }

    // The value stays the former one over dates that don't exist, and nothing is listed there.
    void MonthlyDay() {
        CivilDate date = DateAdjust(FirstOfMonth(MonthIndex(CivilOf(m_rule.startDay))), m_rule.day);
        LONG value = m_rule.startDay;
        auto settle = [&] {
            if (DateExists(date)) value = DayOf(date);
        };
        auto step = [&] {
            for (LONG n = 0; n < m_rule.period; ++n) date = IncrementMonth(date, m_rule.day);
            settle();
        };
        settle();
        LONG goal =
            DayOf(DateAdjust(FirstOfMonth(MonthIndex(CivilOf(m_lo))), m_rule.day)) - 31 * m_rule.period;
        while (value < goal) step();
        for (; value <= m_hi && value <= m_rule.endDay; step())
            if (DateExists(date)) days.push_back(value);
    }

    void MonthlyNth() {
        CivilDate month = FirstOfMonth(MonthIndex(CivilOf(m_rule.startDay)));
        auto step = [&] {
            for (LONG n = 0; n < m_rule.period; ++n) month = FirstOfMonth(MonthIndex(month) + 1);
        };
        LONG goal = DayOf(FirstOfMonth(MonthIndex(CivilOf(m_lo)))) - 31 * m_rule.period;
        while (DayOf(month) < goal) step();
        for (;; step()) {
            LONG day = NthWeekday(month, m_rule.weekMask, m_rule.nth);
            if (day > m_hi || day > m_rule.endDay) return;
            days.push_back(day);
        }
    }

    void YearlyDay() {
        CivilDate range = CivilOf(m_lo);
        CivilDate date = DateAdjust({CivilOf(m_rule.startDay).year, m_rule.month, 1}, m_rule.day);
        date.year = range.year - 1;
        if (!DateExists(date)) date.day = 28;
        if (m_rule.month > range.month) {
            bool longYear = isleapyear(date.year) && m_rule.month >= 2;
            date = CivilOf(DayOf(date) - (longYear ? 366 : 365));
        }
        for (; DayOf(date) <= m_hi && DayOf(date) <= m_rule.endDay;
             date = IncrementByYear(date, m_rule.month, m_rule.day))
            days.push_back(DayOf(date));
    }

    void YearlyNth() {
        CivilDate date{CivilOf(m_rule.startDay).year, m_rule.month, 1};
        auto addYear = [&](LONG count) {
            LONG aimed = date.year + 1;
            date = CivilOf(DayOf(date) + count);
            if (date.year != aimed || date.month != m_rule.month) date = {aimed, m_rule.month, 1};
        };
        while (DayOf(date) < m_lo) addYear(isleapyear(date.year) ? 366 : 365);
        if (DayOf(date) > m_lo) --date.year;
        date.day = 1;
        for (;;) {
            LONG day = NthWeekday(date, m_rule.weekMask, m_rule.nth);
            if (day > m_hi || day > m_rule.endDay) return;
            days.push_back(day);
            date = CivilOf(day);
            addYear(isleapyear(date.year + 1) ? 366 : 365);
        }
    }

    const RecurrenceRule& m_rule;
    LONG m_lo;
    LONG m_hi;
};

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
        rule.kind = static_cast<RuleKind>(Number(1, 7));
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
        ASSERT_EQ(PlainWalk(rule, lo, hi, overMidnight).days, Walked(rule, lo, hi, overMidnight))
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
    const struct {
        const char* what;
        void (*spoil)(RecurrenceRule&);
        std::vector<RuleKind> kinds;
    } kCases[] = {
        {"period 0",
         [](RecurrenceRule& r) { r.period = 0; },
         {RuleKind::Daily, RuleKind::Weekly, RuleKind::MonthlyDay, RuleKind::MonthlyNth}},
        {"mask 0",
         [](RecurrenceRule& r) { r.weekMask = 0x80; },
         {RuleKind::Weekly, RuleKind::MonthlyNth, RuleKind::YearlyNth}},
        {"day 0", [](RecurrenceRule& r) { r.day = 0; }, {RuleKind::MonthlyDay, RuleKind::YearlyDay}},
        {"day 32", [](RecurrenceRule& r) { r.day = 32; }, {RuleKind::MonthlyDay, RuleKind::YearlyDay}},
        {"nth 0", [](RecurrenceRule& r) { r.nth = 0; }, {RuleKind::MonthlyNth, RuleKind::YearlyNth}},
        {"nth 6", [](RecurrenceRule& r) { r.nth = 6; }, {RuleKind::MonthlyNth, RuleKind::YearlyNth}},
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

std::string RuleDates(PlatRule rule, const char* first, const char* last, int most = 100) {
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
    const struct {
        PlatRule rule;
        const char* first;
        const char* last;
        const char* dates;
    } kCases[] = {
        {{8203, 1, 0, 2, 34, 0, 0, Minutes("2010-03-01")},
         "2010-03-01",
         "2010-04-30",
         "2010-03-01 2010-03-05 2010-03-15 2010-03-19 2010-03-29 2010-04-02 2010-04-12 2010-04-16 2010-04-26 "
         "2010-04-30 "},
        {{8202, 0, 0, 2880, 0, 0, 0, Minutes("2010-03-01")},
         "2010-03-06",
         "2010-03-10",
         "2010-03-07 2010-03-09 "},
        // The working days themselves, whatever weekday the span begins on.
        {{8202, 1, 0, 0, 62, 0, 0, Minutes("2010-03-05")},
         "2010-03-05",
         "2010-03-08",
         "2010-03-05 2010-03-08 "},
        {{8202, 1, 0, 0, 62, 0, 0, Minutes("2010-03-07")},
         "2010-03-07",
         "2010-03-09",
         "2010-03-08 2010-03-09 "},
        {{8204, 2, 0, 1, 0, 31, 0, Minutes("2010-01-31")},
         "2010-01-31",
         "2010-09-30",
         "2010-01-31 2010-03-31 2010-05-31 2010-07-31 2010-08-31 "},
        {{8204, 2, 0, 1, 0, 1, 0, Minutes("2010-01-15")},
         "2010-01-01",
         "2010-03-31",
         "2010-02-01 2010-03-01 "},
        {{8205, 2, 44640, 12, 0, 29, 0, Minutes("2008-02-29")},
         "2010-01-01",
         "2012-12-31",
         "2010-02-28 2011-02-28 2012-02-29 "},
        {{8205, 2, 44640, 12, 0, 15, 0, Minutes("2008-02-15")},
         "2013-01-20",
         "2015-12-31",
         "2013-02-15 2014-02-15 2015-02-15 "},
        {{8205, 3, 437760, 12, 16, 0, 4, Minutes("2007-11-22")},
         "2007-11-22",
         "2009-12-31",
         "2007-11-22 2008-11-27 2009-11-26 "},
        {{8202, 0, 0, 1439, 0, 0, 0, Minutes("2010-03-01")}, "2010-03-01", "2010-03-31", ""},
        {{8203, 0, 0, 1, 34, 0, 0, Minutes("2010-03-01")}, "2010-03-01", "2010-03-31", ""}, // no such pair
    };
    for (const auto& test : kCases) EXPECT_EQ(test.dates, RuleDates(test.rule, test.first, test.last));
    EXPECT_EQ("2010-03-01 2010-03-03 ",
              RuleDates({8202, 0, 0, 2880, 0, 0, 0, Minutes("2010-03-01")}, "2010-03-01", "4500-12-31", 2));
}

} // namespace
