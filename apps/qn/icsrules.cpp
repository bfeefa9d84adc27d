#include "apps/qn/icsrules.h"

#include "Platform/civil.h"
#include "Platform/poom.h"
#include "Platform/rulewalk.h"
#include "apps/qn/icswalk.h"

#include <algorithm>

namespace qn {

namespace {

constexpr int kProofYears = 60; // both walks must agree for as many years, or for ProofDates
constexpr LONG kLargestInterval = 9999;
constexpr std::size_t kMostSteps = 200'000; // of a rule that is written out
constexpr LONG kWorkingDays = 62;
constexpr LONG kWeekend = 65;
constexpr LONG kAnyDay = 127;
constexpr LONG kLast = 5;
constexpr short kNone = ICAL_RECURRENCE_ARRAY_MAX;
constexpr std::int64_t kDaysToVariant = civil::kDaysTo1899;

// BYDAY with one ordinal for all its days, which is how patterns know it.
struct ByDay {
    LONG mask = 0;
    int nth = 0; // 0: none
    bool uniform = true;
    int count = 0;
};

ByDay ByDayOf(const icalrecurrencetype& rule) {
    ByDay result;
    for (const OrdinalDay& day : DaysOf(rule)) {
        if (result.count && day.nth != result.nth) result.uniform = false;
        result.nth = day.nth;
        result.mask |= 1 << day.weekday;
        ++result.count;
    }
    return result;
}

// Some programs write the time of the start into the rule, too.
template<std::size_t N>
bool IsOrAbsent(const short (&list)[N], int value) {
    return list[0] == kNone || (list[0] == value && list[1] == kNone);
}

bool HasOnlyKnownParts(const icalrecurrencetype& rule, const icaltimetype& start) {
    return IsOrAbsent(rule.by_second, start.second) && IsOrAbsent(rule.by_minute, start.minute) &&
           IsOrAbsent(rule.by_hour, start.hour) && rule.interval <= kLargestInterval &&
           rule.by_year_day[0] == kNone && rule.by_week_no[0] == kNone && Values(rule.by_month).size() <= 1 &&
           Values(rule.by_set_pos).size() <= 1;
}

// The day of the month that a rule names. "The last of 28, 29 ... d" may be day d of a pattern. 0 when no one day says it.
LONG MonthDayOf(const std::vector<int>& monthDays, const std::vector<int>& positions, int ownDay) {
    if (monthDays.empty()) return positions.empty() ? ownDay : 0;
    if (monthDays.size() == 1) return positions.empty() ? monthDays[0] : 0;
    if (positions != std::vector<int>{-1} || monthDays.front() != 28) return 0;
    for (std::size_t i = 1; i < monthDays.size(); ++i)
        if (monthDays[i] != monthDays[i - 1] + 1) return 0;
    return monthDays.back();
}

// The nth of the days, by the ordinal of BYDAY or by BYSETPOS; 0 when it is no instance of a pattern.
LONG InstanceOf(const ByDay& days, const std::vector<int>& positions) {
    int nth = days.nth;
    if (nth == 0 && positions.size() == 1)
        nth = positions[0];
    else if (!positions.empty())
        return 0;
    if (!days.uniform || (days.nth != 0 && days.count != 1)) return 0;
    const bool knownMask =
        days.count == 1 || days.mask == kWorkingDays || days.mask == kWeekend || days.mask == kAnyDay;
    if (!knownMask) return 0;
    return nth == -1 ? kLast : nth >= 1 && nth <= 4 ? nth : 0;
}

// The patterns worth proving. Months of a yearly rule with an interval fit a monthly one of twelve times the interval.
std::vector<Pattern> Candidates(const icalrecurrencetype& rule, const icaltimetype& start) {
    std::vector<Pattern> found;
    const ByDay days = ByDayOf(rule);
    const std::vector<int> months = Values(rule.by_month);
    const std::vector<int> monthDays = Values(rule.by_month_day);
    const std::vector<int> positions = Values(rule.by_set_pos);
    const LONG interval = std::max<LONG>(rule.interval, 1);
    const LONG day = MonthDayOf(monthDays, positions, start.day);
    const LONG instance = days.count ? InstanceOf(days, positions) : 0;
    const auto add = [&](Pattern pattern) { found.push_back(pattern); };
    switch (rule.freq) {
    case ICAL_DAILY_RECURRENCE:
        if (!months.empty() || !monthDays.empty() || !positions.empty()) break;
        if (!days.count) add({.type = olRecursDaily, .interval = interval});
        if (days.count && days.nth == 0 && interval == 1) add({.type = olRecursWeekly, .mask = days.mask});
        break;
    case ICAL_WEEKLY_RECURRENCE: {
        if (!months.empty() || !monthDays.empty() || !positions.empty() || days.nth != 0) break;
        const LONG own = 1 << civil::WeekdayOfDays(DayOf(start));
        add({.type = olRecursWeekly, .interval = interval, .mask = days.count ? days.mask : own});
        break;
    }
    case ICAL_MONTHLY_RECURRENCE:
    case ICAL_YEARLY_RECURRENCE: {
        const bool yearly = rule.freq == ICAL_YEARLY_RECURRENCE;
        if (!yearly && !months.empty()) break;
        if (days.count && !monthDays.empty()) break;
        if (yearly && days.count && months.empty()) break; // the nth weekday of a whole year
        const LONG step = yearly ? interval * 12 : interval;
        const LONG month = months.empty() ? start.month : months[0];
        if (instance) {
            if (yearly && interval == 1)
                add({.type = olRecursYearNth, .mask = days.mask, .instance = instance, .month = month});
            add({.type = olRecursMonthNth, .interval = step, .mask = days.mask, .instance = instance});
        } else if (!days.count && day == -1) {
            if (yearly && interval == 1)
                add({.type = olRecursYearNth, .mask = kAnyDay, .instance = kLast, .month = month});
            add({.type = olRecursMonthNth, .interval = step, .mask = kAnyDay, .instance = kLast});
        } else if (!days.count && day >= 1) {
            if (yearly && interval == 1) add({.type = olRecursYearly, .day = day, .month = month});
            add({.type = olRecursMonthly, .interval = step, .day = day});
        }
        break;
    }
    default:
        break;
    }
    return found;
}

PlatRule RuleOf(const Pattern& pattern, const icaltimetype& start) {
    PlatRule rule{};
    rule.dwWeekMask = static_cast<DWORD>(pattern.mask);
    rule.dwDay = static_cast<DWORD>(pattern.day);
    rule.dwNth = static_cast<DWORD>(pattern.instance);
    rule.dwPeriod = static_cast<DWORD>(pattern.interval);
    rule.dwStartDate = static_cast<DWORD>(DayOf(start) * civil::kMinutesPerDay);
    switch (pattern.type) {
    case olRecursDaily:
        rule.wRecurType = 8202;
        rule.wPatternType = pattern.interval == 0; // every day of the mask
        rule.dwPeriod *= civil::kMinutesPerDay;
        break;
    case olRecursWeekly:
        rule.wRecurType = 8203;
        rule.wPatternType = 1;
        break;
    case olRecursMonthly:
    case olRecursMonthNth:
        rule.wRecurType = 8204;
        rule.wPatternType = pattern.type == olRecursMonthly ? 2 : 3;
        break;
    default:
        rule.wRecurType = 8205;
        rule.wPatternType = pattern.type == olRecursYearly ? 2 : 3;
        rule.dwPeriod = 12;
        // Minutes of a common year before the month.
        rule.dwYearOffset = static_cast<DWORD>(
            (civil::DaysFromCivil(2010, pattern.month, 1) - civil::DaysFromCivil(2010, 1, 1)) *
            civil::kMinutesPerDay);
    }
    return rule;
}

// How many dates tell two rules apart: some turns of the week, the months of a leap year and of those around it, the leap
// years of half a century.
std::size_t ProofDates(icalrecurrencetype_frequency frequency) {
    return frequency == ICAL_DAILY_RECURRENCE ? 16 : frequency == ICAL_WEEKLY_RECURRENCE ? 32 : 60;
}

// Days of a rule without its end, and of a pattern, from the start to the end of the proof.
std::vector<std::int64_t> RuleDays(const icalrecurrencetype& rule, const icaltimetype& start,
                                   std::size_t most) {
    std::vector<std::int64_t> days;
    DateWalk walk(rule, start, DayOf(start) + kProofYears * 366);
    while (days.size() < most) {
        const auto next = walk.Next();
        if (!next) break;
        days.push_back(DayOf(*next));
    }
    return days;
}

std::vector<std::int64_t> PatternDays(const Pattern& pattern, const icaltimetype& start, std::size_t most) {
    struct Found {
        std::vector<std::int64_t> days;
        std::size_t most;
    } found{{}, most};
    const auto visit = [](void* user, DWORD date) {
        auto& to = *static_cast<Found*>(user);
        to.days.push_back(date / civil::kMinutesPerDay);
        return to.days.size() < to.most;
    };
    const PlatRule rule = RuleOf(pattern, start);
    const auto last = static_cast<DWORD>((DayOf(start) + kProofYears * 366) * civil::kMinutesPerDay);
    PlatGetRuleWalk()(rule, rule.dwStartDate, last, visit, &found);
    return found.days;
}

std::string DayNames(LONG mask) {
    constexpr const char* kNames[] = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};
    std::string text;
    for (int i = 0; i < 7; ++i)
        if (mask & (1 << i)) text += (text.empty() ? "" : ",") + std::string(kNames[i]);
    return text;
}

// How a pattern may be written; the first that proves true is taken.
std::vector<std::string> RuleTexts(const Pattern& pattern) {
    const std::string step = pattern.interval > 1 ? ";INTERVAL=" + std::to_string(pattern.interval) : "";
    const std::string nth = std::to_string(pattern.instance == kLast ? -1 : pattern.instance);
    const std::string nthDays = ";BYDAY=" + DayNames(pattern.mask) + ";BYSETPOS=" + nth;
    const std::string month = ";BYMONTH=" + std::to_string(pattern.month);
    const auto monthDays = [&](const std::string& head) {
        std::vector<std::string> texts{head + ";BYMONTHDAY=" + std::to_string(pattern.day)};
        std::string cut = "28";
        for (int day = 29; day <= pattern.day; ++day) cut += "," + std::to_string(day);
        if (pattern.day > 28) texts.push_back(head + ";BYMONTHDAY=" + cut + ";BYSETPOS=-1");
        return texts;
    };
    switch (pattern.type) {
    case olRecursDaily:
        return pattern.interval ? std::vector{"FREQ=DAILY" + step}
                                : std::vector{"FREQ=WEEKLY;BYDAY=" + DayNames(pattern.mask)};
    case olRecursWeekly:
        return {"FREQ=WEEKLY" + step + ";WKST=SU;BYDAY=" + DayNames(pattern.mask)};
    case olRecursMonthly:
        return monthDays("FREQ=MONTHLY" + step);
    case olRecursMonthNth:
        return {"FREQ=MONTHLY" + step + nthDays};
    case olRecursYearly:
        return monthDays("FREQ=YEARLY" + month);
    default:
        return {"FREQ=YEARLY" + month + nthDays};
    }
}

// Whether the pattern has that many dates before the store's years end.
bool Reaches(const Pattern& pattern, const icaltimetype& start, int count) {
    const PlatRule rule = RuleOf(pattern, start);
    const auto visit = [](void* user, DWORD) { return --*static_cast<int*>(user) > 0; };
    const auto last = static_cast<DWORD>(civil::DaysFromCivil(4499, 12, 31) * civil::kMinutesPerDay);
    PlatGetRuleWalk()(rule, rule.dwStartDate, last, visit, &count);
    return count <= 0;
}

void SetEnd(Pattern& pattern, const icalrecurrencetype& rule, const icaltimetype& start,
            const std::optional<icaltimetype>& untilWall) {
    if (rule.count > 0) {
        if (Reaches(pattern, start, rule.count)) pattern.occurrences = rule.count;
    } else if (untilWall) {
        std::int64_t last = DayOf(*untilWall);
        // An end before the time of day leaves that day out.
        const auto minutes = [](const icaltimetype& t) { return t.hour * 60 + t.minute; };
        if (!untilWall->is_date && !start.is_date && minutes(*untilWall) < minutes(start)) --last;
        pattern.endDay = static_cast<LONG>(std::max(last, DayOf(start)) - kDaysToVariant);
    }
}

} // namespace

std::string RuleTextOf(const Pattern& pattern, const icaltimetype& start) {
    for (const std::string& text : RuleTexts(pattern)) {
        const Rule rule(text);
        if (!rule.IsRead()) continue;
        const std::size_t most = ProofDates(rule->freq);
        if (RuleDays(*rule, start, most) == PatternDays(pattern, start, most)) return text;
    }
    return {};
}

std::optional<icaltimetype> UntilOf(const std::string& text) {
    const Rule rule(text);
    return rule.IsRead() && !icaltime_is_null_time(rule->until) ? std::optional(rule->until) : std::nullopt;
}

std::optional<Pattern> PatternOf(const std::string& text, const icaltimetype& start,
                                 const std::optional<icaltimetype>& untilWall) {
    const Rule rule(text);
    if (!rule.IsRead() || rule->freq < ICAL_DAILY_RECURRENCE || !HasOnlyKnownParts(*rule, start))
        return std::nullopt;
    const std::size_t most = ProofDates(rule->freq);
    const std::vector<std::int64_t> wanted = RuleDays(*rule, start, most);
    // The start is the first date of any series; a rule that doesn't give it is no pattern.
    if (wanted.empty() || wanted[0] != DayOf(start)) return std::nullopt;
    for (Pattern pattern : Candidates(*rule, start)) {
        if (PatternDays(pattern, start, most) != wanted) continue;
        SetEnd(pattern, *rule, start, untilWall);
        return pattern;
    }
    return std::nullopt;
}

namespace {

// A day is the whole day.
bool IsBehind(const icaltimetype& date, const icaltimetype& until) {
    return until.is_date ? DayOf(date) > DayOf(until) : icaltime_compare(date, until) > 0;
}

} // namespace

std::optional<icaltimetype> FirstDateOf(const std::string& text, const icaltimetype& start,
                                        const std::optional<icaltimetype>& untilWall) {
    const Rule rule(text);
    const auto first = DateWalk(*rule, start, DayOf(start) + kProofYears * 366).Next();
    return first && untilWall && IsBehind(*first, *untilWall) ? std::nullopt : first;
}

bool ExpandRule(const std::string& text, const Expansion& expansion, std::vector<icaltimetype>& dates) {
    const Rule rule(text);
    const std::int64_t lastDay = DayOf(expansion.horizon);
    DateWalk walk(*rule, expansion.start, lastDay);
    const auto& until = expansion.untilWall;
    const bool counted = rule->count > 0;
    int left = rule->count;
    bool complete = false;
    for (std::size_t i = 0; i < kMostSteps; ++i) {
        const auto next = walk.Next();
        if (!next) {
            complete = walk.CanGo() && until && DayOf(*until) <= lastDay;
            break;
        }
        // A count counts the start, also where the rule doesn't give it.
        if (i == 0 && icaltime_compare(*next, expansion.start) != 0) --left;
        if ((counted && left-- <= 0) || (until && IsBehind(*next, *until))) {
            complete = true;
            break;
        }
        dates.push_back(*next);
    }
    complete = complete || (counted && left == 0);
    if (dates.size() <= expansion.most) return complete;
    std::erase_if(dates,
                  [&](const icaltimetype& date) { return icaltime_compare(date, expansion.past) < 0; });
    if (dates.size() > expansion.most) dates.resize(expansion.most);
    return false;
}

} // namespace qn
