// The dates of an iCalendar rule, one after the other.
#pragma once

#include <libical/ical.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qn {

// A rule out of its text.
class Rule {
public:
    explicit Rule(const std::string& text) : m_rule(icalrecurrencetype_from_string(text.c_str())) {}
    ~Rule() { free(m_rule.rscale); }
    Rule(const Rule&) = delete;
    Rule& operator=(const Rule&) = delete;
    bool IsRead() const { return m_rule.freq != ICAL_NO_RECURRENCE; }
    const icalrecurrencetype* operator->() const { return &m_rule; }
    const icalrecurrencetype& operator*() const { return m_rule; }

private:
    icalrecurrencetype m_rule;
};

// The values of a list of a rule.
template<std::size_t N>
std::vector<int> Values(const short (&list)[N]) {
    std::vector<int> values;
    for (std::size_t i = 0; i < N && list[i] != ICAL_RECURRENCE_ARRAY_MAX; ++i) values.push_back(list[i]);
    return values;
}

// A weekday of BYDAY, 0 Sunday, with its ordinal; 0 is none.
struct OrdinalDay {
    int weekday;
    int nth;
};
std::vector<OrdinalDay> DaysOf(const icalrecurrencetype& rule);

// Counts days as civil.h does.
std::int64_t DayOf(const icaltimetype& time);

// Walks a rule without its end: neither UNTIL nor COUNT is heard. Rules of days and more are worked out here, period by
// period, up to `lastDay`. Those of hours and less, and of other calendars than ours, are walked by the library; of them
// only forms that take little time.
class DateWalk {
public:
    DateWalk(const icalrecurrencetype& rule, const icaltimetype& start, std::int64_t lastDay);
    // Whether the rule is one that can be walked.
    bool CanGo() const { return m_period || m_library; }
    // The next date, on or behind the start; none behind the last day.
    std::optional<icaltimetype> Next();

private:
    class Period;
    struct FreePeriod {
        void operator()(Period* period) const;
    };
    struct FreeLibrary {
        void operator()(icalrecur_iterator* walk) const { icalrecur_iterator_free(walk); }
    };
    std::unique_ptr<Period, FreePeriod> m_period;
    std::unique_ptr<icalrecur_iterator, FreeLibrary> m_library;
    std::int64_t m_lastDay;
};

} // namespace qn
