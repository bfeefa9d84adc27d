#include "QNWorkerClass/rulewalks.h"

#include "NorvoTools/datetime.h"
#include "Platform/rulewalk.h"

#include <algorithm>
#include <limits>

namespace {

constexpr LONG kFebruary = 2;
constexpr LONG kLastYear = 9999;
// Longer than all of the calendar, in weeks or months and in days: one step ends the walk, and sums stay small.
constexpr DWORD kLongestPeriod = 140000;
constexpr DWORD kLongestPeriodInDays = 4000000;

// From here on up to the year 4000 the leap years of the steps are those of the calendar.
constexpr LONG kFirstPlainYear = 1753;
constexpr LONG kEndOfPlainYears = 4000;

constexpr LONG RoundUp(LONGLONG value, LONG unit) { return static_cast<LONG>((value + unit - 1) / unit); }

bool HasWeekMask(RuleKind kind) {
    return kind == RuleKind::Weekly || kind == RuleKind::MonthlyNth || kind == RuleKind::YearlyNth;
}

bool HasDay(RuleKind kind) { return kind == RuleKind::MonthlyDay || kind == RuleKind::YearlyDay; }

bool HasNth(RuleKind kind) { return kind == RuleKind::MonthlyNth || kind == RuleKind::YearlyNth; }

bool HasPeriod(RuleKind kind) {
    return kind == RuleKind::Daily || kind == RuleKind::Weekly || kind == RuleKind::MonthlyDay ||
           kind == RuleKind::MonthlyNth;
}

// Leap years of the calendar before this year.
LONG LeapYearsBefore(LONG year) {
    LONG y = year - 1;
    return y / 4 - y / 100 + y / 400;
}

// A series on the 29th, 30th or 31st that stands on January's takes always the same steps to the next one: it skips the
// short months. So many, from one January to another.
LONGLONG StepsBetweenJanuaries(LONG from, LONG to, LONG patternDay) {
    LONGLONG years = to - from;
    if (patternDay == 31) return years * 7;
    if (patternDay == 30) return years * 11;
    return years * 11 + LeapYearsBefore(to) - LeapYearsBefore(from);
}

} // namespace

RuleKind KindOfRule(WORD wRecurType, WORD wPatternType) {
    switch (wRecurType) {
    case kRecurDaily:
        if (wPatternType == kPatternInterval) return RuleKind::Daily;
        return wPatternType == kPatternWeekdays ? RuleKind::Weekday : RuleKind::None;
    case kRecurWeekly:
        return wPatternType == kPatternWeekdays ? RuleKind::Weekly : RuleKind::None;
    case kRecurMonthly:
        if (wPatternType == kPatternDay) return RuleKind::MonthlyDay;
        return wPatternType == kPatternNth ? RuleKind::MonthlyNth : RuleKind::None;
    case kRecurYearly:
        if (wPatternType == kPatternDay) return RuleKind::YearlyDay;
        return wPatternType == kPatternNth ? RuleKind::YearlyNth : RuleKind::None;
    default:
        return RuleKind::None;
    }
}

bool RecurrenceRule::IsSound() const {
    if (kind == RuleKind::None) return false;
    if (HasPeriod(kind) && period <= 0) return false;
    if (HasWeekMask(kind) && (weekMask & kEveryDayMask) == 0) return false;
    if (HasDay(kind) && (day < 1 || day > 31)) return false;
    return !HasNth(kind) || (nth >= 1 && nth <= 5);
}

RuleWalk::RuleWalk(const RecurrenceRule& rule, LONG lo, LONG hi, bool overMidnight, Entry entry)
    : m_rule(rule), m_hi(hi) {
    if (rule.IsSound())
        Enter(lo, overMidnight, entry);
    else
        End();
}

void RuleWalk::Enter(LONG lo, bool overMidnight, Entry entry) {
    switch (m_rule.kind) {
    case RuleKind::None:
        return End();
    case RuleKind::Daily:
        return EnterDaily(lo, overMidnight);
    case RuleKind::Weekday:
        return EnterWeekday(lo, entry);
    case RuleKind::Weekly:
        return EnterWeekly(lo);
    case RuleKind::MonthlyDay:
        return EnterMonthlyDay(lo);
    case RuleKind::MonthlyNth:
        return EnterMonthlyNth(lo);
    case RuleKind::YearlyDay:
        return entry == Entry::Rule ? EnterYearlyDayOfRule(lo) : EnterYearlyDay(lo);
    case RuleKind::YearlyNth:
        return EnterYearlyNth(lo);
    }
}

void RuleWalk::StepOther() {
    switch (m_rule.kind) {
    case RuleKind::None:
    case RuleKind::Daily:
        return;
    case RuleKind::Weekday:
        m_day += WeekdayOf(m_day) == kFriday ? 3 : 1;
        return;
    case RuleKind::Weekly: {
        LONG weekday = WeekdayOf(m_day);
        LONG next = NextWeekday(m_rule.weekMask, weekday);
        if (next < 7)
            m_day += next - weekday;
        else
            m_day += LowestWeekday(m_rule.weekMask) - weekday + 7 * m_rule.period;
        return;
    }
    case RuleKind::MonthlyDay:
        if (m_rule.day > 28) return StepLateDay(m_rule.period);
        return StandOn({(MonthIndex(m_date) + m_rule.period) / 12,
                        (MonthIndex(m_date) + m_rule.period) % 12 + 1, m_rule.day});
    case RuleKind::MonthlyNth:
        return StandOnNth(MonthIndex(m_date) + m_rule.period);
    case RuleKind::YearlyDay:
        do m_date = IncrementByYear(m_date, m_rule.month, m_rule.day);
        while (!DateExists(m_date)); // 29 February 1700, a leap year by the rule of the steps
        return StandOn(m_date);
    case RuleKind::YearlyNth:
        return StandOnNth(MonthIndex(m_date) + 12);
    }
}

void RuleWalk::End() { m_day = std::numeric_limits<LONG>::max(); }

void RuleWalk::StandOn(const CivilDate& date) {
    if (date.year > kLastYear) return End();
    m_date = date;
    m_day = DayOf(date);
}

// The nth weekday of a month; the date kept is the first of that month.
void RuleWalk::StandOnNth(LONG monthIndex) {
    CivilDate first = FirstOfMonth(monthIndex);
    if (first.year > kLastYear) return End();
    m_date = first;
    m_day = NthWeekday(first, m_rule.weekMask & kEveryDayMask, m_rule.nth);
}

// --- Daily and weekly ---------------------------------------------------------------------------------------------

void RuleWalk::EnterDaily(LONG lo, bool overMidnight) {
    LONG period = m_rule.period;
    m_day = m_rule.startDay;
    if (m_day < lo) m_day += RoundUp(lo - m_day, period) * period;
    if (m_day > lo) m_day -= period;
    // What begins in the two nights before the range can end in it.
    if (overMidnight && m_day >= lo - 2) m_day -= (m_day - (lo - 2)) / period * period;
}

// The calendar begins at the range itself, not at the series: on a Friday or a Saturday with the Monday behind it, and on
// a Sunday with the Sunday. Views lay out their weeks by these lines, so it stays.
void RuleWalk::EnterWeekday(LONG lo, Entry entry) {
    LONG weekday = WeekdayOf(lo);
    m_day = lo;
    if (entry == Entry::Calendar)
        m_day += weekday == kFriday ? 3 : weekday == kSaturday ? 2 : 0;
    else
        m_day += weekday == kSaturday ? 2 : weekday == kSunday ? 1 : 0;
}

void RuleWalk::EnterWeekly(LONG lo) {
    LONG lowest = LowestWeekday(m_rule.weekMask);
    LONG step = 7 * m_rule.period;
    auto lowestOfWeek = [lowest](LONG day) { return day - WeekdayOf(day) + lowest; };
    LONG goal = lowestOfWeek(lo) - step;
    m_day = lowestOfWeek(m_rule.startDay);
    if (m_day < goal) m_day += RoundUp(goal - m_day, step) * step;
    if (m_day > lo) m_day -= RoundUp(m_day - lo, step) * step;
}

// --- Monthly ------------------------------------------------------------------------------------------------------

void RuleWalk::EnterMonthlyDay(LONG lo) {
    LONG day = m_rule.day;
    LONG goal = DayOf(DateAdjust(FirstOfMonth(MonthIndex(CivilOf(lo))), day)) - 31 * m_rule.period;
    m_date = DateAdjust(FirstOfMonth(MonthIndex(CivilOf(m_rule.startDay))), day);
    m_day = DayOf(m_date);
    if (day <= 28) {
        if (m_day < goal) JumpToMonth(goal);
        return;
    }
    if (m_day < goal) JumpLateDay(goal);
    if (!DateExists(m_date)) StepLateDay(m_rule.period);
    while (m_day < goal) StepLateDay(m_rule.period);
}

// To the first date of the rule that isn't before the goal, for a day that every month has.
void RuleWalk::JumpToMonth(LONG goal) {
    CivilDate wanted = CivilOf(goal);
    LONG month = MonthIndex(wanted) + (wanted.day > m_date.day ? 1 : 0);
    LONG from = MonthIndex(m_date);
    CivilDate first = FirstOfMonth(from + RoundUp(month - from, m_rule.period) * m_rule.period);
    StandOn({first.year, first.month, m_date.day});
}

// Far behind the goal, a series on a late day goes to the next January, over whole years, and on to the next of its own
// dates: the single steps on the way count for the period.
void RuleWalk::JumpLateDay(LONG goal) {
    LONG year = CivilOf(goal).year - 1;
    if (m_date.year + 1 >= year) return;
    LONGLONG steps = 0;
    while (m_date.month != 1 || m_date.day != m_rule.day) {
        m_date = IncrementMonth(m_date, m_rule.day);
        ++steps;
    }
    if (m_date.year < year) {
        steps += StepsBetweenJanuaries(m_date.year, year, m_rule.day);
        m_date.year = year;
    }
    m_day = DayOf(m_date);
    LONG walked = static_cast<LONG>(steps % m_rule.period);
    if (walked != 0) StepLateDay(m_rule.period - walked);
}

// So many single steps, and on by whole periods over dates that the calendar doesn't have: nothing stands there.
void RuleWalk::StepLateDay(LONG steps) {
    do {
        for (; steps > 0 && m_date.year <= kLastYear; --steps) m_date = IncrementMonth(m_date, m_rule.day);
        if (m_date.year > kLastYear) return End();
        steps = m_rule.period;
    } while (!DateExists(m_date));
    m_day = DayOf(m_date);
}

void RuleWalk::EnterMonthlyNth(LONG lo) {
    LONG from = MonthIndex(CivilOf(m_rule.startDay));
    CivilDate wanted = CivilOf(DayOf(FirstOfMonth(MonthIndex(CivilOf(lo)))) - 31 * m_rule.period);
    LONG month = MonthIndex(wanted) + (wanted.day > 1 ? 1 : 0);
    LONG periods = month > from ? RoundUp(month - from, m_rule.period) : 0;
    StandOnNth(from + periods * m_rule.period);
}

// --- Yearly -------------------------------------------------------------------------------------------------------

// The calendar enters in the year before the range, or one year of days earlier when the month is past the range's. The
// count of those days is by the year and not by where its February lies, which leaves a series of 1 to 28 February a day
// off in ranges that begin in January of a year next to a leap year. Kept: lists have always shown these dates.
void RuleWalk::EnterYearlyDay(LONG lo) {
    CivilDate range = CivilOf(lo);
    CivilDate date = DateAdjust({CivilOf(m_rule.startDay).year, m_rule.month, 1}, m_rule.day);
    date.year = range.year - 1;
    if (!DateExists(date)) date.day = 28;
    if (m_rule.month > range.month) {
        bool longYear = isleapyear(date.year) && m_rule.month >= kFebruary;
        date = CivilOf(DayOf(date) - (longYear ? 366 : 365));
    }
    StandOn(date);
}

void RuleWalk::EnterYearlyDayOfRule(LONG lo) {
    CivilDate date = DateAdjust({CivilOf(m_rule.startDay).year, m_rule.month, 1}, m_rule.day);
    LONG year = CivilOf(lo).year - 1;
    if (year > date.year) {
        date.year = year;
        if (m_rule.month == kFebruary && m_rule.day >= 29)
            date.day = m_rule.day == 29 && isleapyear(year) ? 29 : 28;
    }
    if (!DateExists(date)) date.day = 28;
    StandOn(date);
}

// Years are added as days to the first of the pattern's month until the range is reached, and one is taken back behind
// it. The days added drift by one in the years after a leap year, which decides only whether the walk looks at one year
// more; in a leap year the drift is gone, so the stepping may begin at the last one before the range.
void RuleWalk::EnterYearlyNth(LONG lo) {
    LONG year = CivilOf(m_rule.startDay).year;
    LONG goalYear = CivilOf(lo).year;
    if (year >= kFirstPlainYear && goalYear < kEndOfPlainYears)
        for (LONG leap = goalYear - 1; leap > year && leap > goalYear - 9; --leap)
            if (isleapyear(leap)) {
                year = leap;
                break;
            }
    LONG month = m_rule.month;
    LONG day = DayOf({year, month, 1});
    while (day < lo) {
        day += isleapyear(year) ? 366 : 365;
        ++year;
        CivilDate reached = CivilOf(day);
        if (reached.year != year || reached.month != month) day = DayOf({year, month, 1});
    }
    if (day > lo) --year;
    StandOnNth(MonthIndex({year, month, 1}));
}

// --- Stored numbers and the platform's side -----------------------------------------------------------------------

LONG RulePeriod(RuleKind kind, DWORD dwPeriod) {
    DWORD period = kind == RuleKind::Daily ? dwPeriod / civil::kMinutesPerDay : dwPeriod;
    DWORD longest = kind == RuleKind::Daily ? kLongestPeriodInDays : kLongestPeriod;
    return static_cast<LONG>(std::min(period, longest));
}

namespace {

RecurrenceRule RuleOf(const PlatRule& stored) {
    RecurrenceRule rule;
    rule.kind = KindOfRule(stored.wRecurType, stored.wPatternType);
    rule.period = RulePeriod(rule.kind, stored.dwPeriod);
    rule.weekMask = stored.dwWeekMask;
    rule.day = static_cast<LONG>(std::min(stored.dwDay, DWORD{32}));
    rule.nth = static_cast<LONG>(std::min(stored.dwNth, DWORD{6}));
    rule.month = MonthOfYearOffset(stored.dwYearOffset);
    rule.startDay = DayOfMinutes(stored.dwStartDate);
    rule.endDay = DayOfMinutes(std::numeric_limits<DWORD>::max());
    return rule;
}

void WalkRule(const PlatRule& stored, DWORD first, DWORD last, bool (*visit)(void*, DWORD), void* user) {
    RecurrenceRule rule = RuleOf(stored);
    LONG from = std::max(DayOfMinutes(first) + (first % civil::kMinutesPerDay != 0), rule.startDay);
    for (RuleWalk walk(rule, from, DayOfMinutes(last), false, RuleWalk::Entry::Rule); walk.InRange();
         walk.Step())
        if (walk.Day() >= from && !visit(user, MinutesOfDay(walk.Day()))) return;
}

[[maybe_unused]] const bool g_registered = (PlatSetRuleWalk(&WalkRule), true);

} // namespace
