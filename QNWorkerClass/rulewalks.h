// The walks over the dates of a recurrence rule: daily, every weekday, weekly, monthly by day and by nth weekday, yearly
// by day and by nth weekday. The calendar thread expands series with them; the platform's object model, which must count
// a rule's dates, gets them through Platform/rulewalk.h.
//
// A walk works on whole days (from 30 December 1899) and reaches its range by arithmetic; it gives the dates that
// stepping from the series' start gives. Values, without shared state: any thread may walk.
#pragma once

#include "Platform/types.h"
#include "QNWorkerClass/datesteps.h"

// The numbers of a stored rule.
inline constexpr WORD kRecurDaily = 8202;
inline constexpr WORD kRecurWeekly = 8203;
inline constexpr WORD kRecurMonthly = 8204;
inline constexpr WORD kRecurYearly = 8205;
inline constexpr WORD kPatternInterval = 0;
inline constexpr WORD kPatternWeekdays = 1;
inline constexpr WORD kPatternDay = 2;
inline constexpr WORD kPatternNth = 3;

enum class RuleKind : BYTE {
    None, // no dates: a pair of types that doesn't exist, or numbers that make no rule
    Daily,
    Weekday,
    Weekly,
    MonthlyDay,
    MonthlyNth,
    YearlyDay,
    YearlyNth,
};

// The kind of a pair of stored types; None for a pair that doesn't exist.
RuleKind KindOfRule(WORD wRecurType, WORD wPatternType);

// A stored period (minutes, weeks or months) as days, weeks or months.
LONG RulePeriod(RuleKind kind, DWORD dwPeriod);

struct RecurrenceRule {
    RuleKind kind = RuleKind::None;
    LONG period = 0; // days, weeks or months; yearly rules have every year
    DWORD weekMask = 0;
    LONG day = 0;
    LONG nth = 0;
    LONG month = 0; // of a yearly rule
    LONG startDay = 0;
    LONG endDay = 0;

    // False for a period of 0, an empty mask, a day or nth that no month has: such a rule has no dates.
    bool IsSound() const;
};

class RuleWalk {
public:
    enum class Entry {
        Calendar, // as the calendar enters a range, with what is odd about it
        Rule,     // at the rule's own dates, none before its start
    };

    // Stands on the first date to be looked at, which may lie before `lo` (an occurrence can reach into the range) and,
    // by the calendar's entry, before the start of the series. With `overMidnight` a daily walk begins up to two days
    // before the range.
    RuleWalk(const RecurrenceRule& rule, LONG lo, LONG hi, bool overMidnight, Entry entry);

    bool InRange() const { return m_day <= m_hi && m_day <= m_rule.endDay; }
    LONG Day() const { return m_day; }
    void Step() {
        if (m_rule.kind == RuleKind::Daily)
            m_day += m_rule.period; // most series
        else
            StepOther();
    }

private:
    void StepOther();
    void Enter(LONG lo, bool overMidnight, Entry entry);
    void EnterDaily(LONG lo, bool overMidnight);
    void EnterWeekday(LONG lo, Entry entry);
    void EnterWeekly(LONG lo);
    void EnterMonthlyDay(LONG lo);
    void EnterMonthlyNth(LONG lo);
    void EnterYearlyDay(LONG lo);
    void EnterYearlyDayOfRule(LONG lo);
    void EnterYearlyNth(LONG lo);

    void StandOn(const CivilDate& date);
    void StandOnNth(LONG monthIndex);
    void JumpToMonth(LONG goal);
    void JumpLateDay(LONG goal);
    void StepLateDay(LONG steps);
    void End();

    const RecurrenceRule& m_rule; // of the caller, who keeps it for the length of the walk
    LONG m_hi;
    LONG m_day = 0;
    CivilDate m_date{}; // kept by the monthly and yearly walks
};
