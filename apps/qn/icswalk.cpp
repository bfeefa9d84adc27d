#include "apps/qn/icswalk.h"

#include "Platform/civil.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace qn {

namespace {

constexpr std::size_t kMostTimes = 288; // of a day: every five minutes
constexpr int kDaysOfWeek = 7;

bool Has(const std::vector<int>& list, int value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

// Whether a list names the value, from the front or from the end of `count`.
bool HasEither(const std::vector<int>& list, int value, int count) {
    return Has(list, value) || Has(list, value - count - 1);
}

struct TimeOfDay {
    int hour;
    int minute;
    int second;
};

// Every time of day that the rule names, ascending; that of the start where it names none.
std::vector<TimeOfDay> TimesOf(const icalrecurrencetype& rule, const icaltimetype& start) {
    if (start.is_date) return {{0, 0, 0}};
    const auto sorted = [](std::vector<int> values, int fallback) {
        if (values.empty()) values.push_back(fallback);
        std::sort(values.begin(), values.end());
        values.erase(std::unique(values.begin(), values.end()), values.end());
        return values;
    };
    std::vector<TimeOfDay> times;
    const std::vector<int> minutes = sorted(Values(rule.by_minute), start.minute);
    const std::vector<int> seconds = sorted(Values(rule.by_second), start.second);
    for (const int hour : sorted(Values(rule.by_hour), start.hour))
        for (const int minute : minutes)
            for (const int second : seconds) times.push_back({hour, minute, second});
    return times;
}

// Of another calendar than ours, or with a way of its own for days that don't exist.
bool IsForeign(const icalrecurrencetype& rule) {
    return (rule.rscale && strcmp(rule.rscale, "GREGORIAN") != 0) || rule.skip != ICAL_SKIP_OMIT;
}

// The library looks at each hour, minute or second, up to the end of all years where no one fits: hours upon hours. The
// plain ones are followed, and single hours of days, weekdays and months, of which each year has some. Of other calendars
// it takes a thousandth of a second for each date that it looks at; followed are those that name days of months.
bool TheLibraryCan(const icalrecurrencetype& rule) {
    const auto none = [](const short* list) { return list[0] == ICAL_RECURRENCE_ARRAY_MAX; };
    if (!none(rule.by_year_day) || !none(rule.by_week_no) || !none(rule.by_minute) || !none(rule.by_second) ||
        !none(rule.by_set_pos))
        return false;
    if (IsForeign(rule))
        return none(rule.by_day) && none(rule.by_hour) &&
               (rule.freq == ICAL_YEARLY_RECURRENCE ||
                (rule.freq == ICAL_MONTHLY_RECURRENCE && none(rule.by_month)));
    if (!none(rule.by_month_day)) return false;
    if (none(rule.by_month) && none(rule.by_day) && none(rule.by_hour)) return true;
    const std::vector<OrdinalDay> days = DaysOf(rule);
    return rule.freq == ICAL_HOURLY_RECURRENCE && rule.interval <= 1 &&
           std::all_of(days.begin(), days.end(), [](const OrdinalDay& day) { return day.nth == 0; });
}

// Parts that the frequency doesn't know; the format forbids them.
bool HasForbiddenParts(const icalrecurrencetype& rule) {
    const bool yearly = rule.freq == ICAL_YEARLY_RECURRENCE;
    const bool weekly = rule.freq == ICAL_WEEKLY_RECURRENCE;
    return (!yearly && (!Values(rule.by_year_day).empty() || !Values(rule.by_week_no).empty())) ||
           (weekly && !Values(rule.by_month_day).empty());
}

} // namespace

std::int64_t DayOf(const icaltimetype& time) { return civil::DaysFromCivil(time.year, time.month, time.day); }

std::vector<OrdinalDay> DaysOf(const icalrecurrencetype& rule) {
    std::vector<OrdinalDay> days;
    for (const int value : Values(rule.by_day)) {
        const auto coded = static_cast<short>(value);
        days.push_back(
            {icalrecurrencetype_day_day_of_week(coded) - 1, icalrecurrencetype_day_position(coded)});
    }
    return days;
}

// A day, week, month or year at a time: all its days that every part of the rule lets through, with their times.
class DateWalk::Period {
public:
    Period(const icalrecurrencetype& rule, const icaltimetype& start, std::int64_t lastDay);
    bool CanGo() const { return m_times.size() <= kMostTimes; }
    std::optional<icaltimetype> Next();

private:
    void FillDates();
    void FillDays();
    void TakeMonth(int year, int month);
    void TakeDays(std::int64_t first, std::int64_t end);
    void Take(std::int64_t day, const civil::Date& date) {
        if (Passes(day, date)) m_days.push_back(day);
    }
    bool Passes(std::int64_t day, const civil::Date& date) const;
    bool PassesWeekdays(std::int64_t day, const civil::Date& date) const;
    std::int64_t FirstWeekOf(int year) const;
    std::int64_t WeekStart(std::int64_t day) const {
        return day - (civil::WeekdayOfDays(day) - m_weekStart + kDaysOfWeek) % kDaysOfWeek;
    }
    icaltimetype Date(std::size_t place) const;
    std::size_t Count() const { return m_days.size() * m_times.size(); }
    void ChoosePositions();

    icalrecurrencetype_frequency m_frequency;
    int m_interval;
    int m_weekStart;
    icaltimetype m_start;
    std::int64_t m_startDay;
    std::int64_t m_lastDay;
    std::vector<int> m_months, m_monthDays, m_yearDays, m_weeks, m_positions;
    std::vector<OrdinalDay> m_weekdays;
    std::vector<TimeOfDay> m_times;

    std::int64_t m_period = 0; // how many there were
    std::int64_t m_first = 0;  // day of the present one
    std::vector<std::int64_t> m_days;
    std::vector<std::size_t> m_places; // of its dates, in the order of time
    std::size_t m_next = 0;
};

void DateWalk::FreePeriod::operator()(Period* period) const { delete period; }

DateWalk::Period::Period(const icalrecurrencetype& rule, const icaltimetype& start, std::int64_t lastDay)
    : m_frequency(rule.freq), m_interval(std::max<int>(rule.interval, 1)), m_weekStart(rule.week_start - 1),
      m_start(start), m_startDay(DayOf(start)), m_lastDay(lastDay), m_months(Values(rule.by_month)),
      m_monthDays(Values(rule.by_month_day)), m_yearDays(Values(rule.by_year_day)),
      m_weeks(Values(rule.by_week_no)), m_positions(Values(rule.by_set_pos)), m_weekdays(DaysOf(rule)),
      m_times(TimesOf(rule, start)) {
    // What the rule doesn't name is the start's.
    const bool days = !m_weekdays.empty() || !m_monthDays.empty() || !m_yearDays.empty();
    if (m_frequency == ICAL_DAILY_RECURRENCE || days) return;
    if (m_frequency == ICAL_WEEKLY_RECURRENCE || !m_weeks.empty()) {
        m_weekdays.push_back({civil::WeekdayOfDays(m_startDay), 0});
        return;
    }
    m_monthDays.push_back(start.day);
    if (m_frequency == ICAL_YEARLY_RECURRENCE && m_months.empty()) m_months.push_back(start.month);
}

std::optional<icaltimetype> DateWalk::Period::Next() {
    for (;;) {
        while (m_next < m_places.size()) {
            const icaltimetype date = Date(m_places[m_next++]);
            if (DayOf(date) > m_lastDay) return std::nullopt;
            if (icaltime_compare(date, m_start) >= 0) return date;
        }
        if (m_first > m_lastDay) return std::nullopt;
        FillDates();
    }
}

icaltimetype DateWalk::Period::Date(std::size_t place) const {
    const civil::Date day = civil::CivilFromDays(m_days[place / m_times.size()]);
    const TimeOfDay& time = m_times[place % m_times.size()];
    icaltimetype date = m_start;
    date.year = day.year;
    date.month = day.month;
    date.day = day.day;
    date.hour = time.hour;
    date.minute = time.minute;
    date.second = time.second;
    return date;
}

void DateWalk::Period::FillDates() {
    m_days.clear();
    m_next = 0;
    FillDays();
    ++m_period;
    ChoosePositions();
}

void DateWalk::Period::FillDays() {
    const std::int64_t step = m_period * m_interval;
    switch (m_frequency) {
    case ICAL_DAILY_RECURRENCE:
        m_first = m_startDay + step;
        return TakeDays(m_first, m_first + 1);
    case ICAL_WEEKLY_RECURRENCE:
        m_first = WeekStart(m_startDay) + step * kDaysOfWeek;
        return TakeDays(m_first, m_first + kDaysOfWeek);
    case ICAL_MONTHLY_RECURRENCE: {
        const std::int64_t months = m_start.month - 1 + step;
        const int year = m_start.year + static_cast<int>(months / 12);
        const int month = static_cast<int>(months % 12) + 1;
        m_first = civil::DaysFromCivil(year, month, 1);
        return TakeMonth(year, month);
    }
    default: {
        const int year = m_start.year + static_cast<int>(step);
        m_first = civil::DaysFromCivil(year, 1, 1);
        if (!m_weeks.empty()) return TakeDays(FirstWeekOf(year), FirstWeekOf(year + 1));
        for (int month = 1; month <= 12; ++month) TakeMonth(year, month);
    }
    }
}

void DateWalk::Period::TakeMonth(int year, int month) {
    if (!m_months.empty() && !Has(m_months, month)) return;
    const std::int64_t first = civil::DaysFromCivil(year, month, 1);
    for (int day = 1; day <= civil::DaysInMonth(year, month); ++day)
        Take(first + day - 1, {year, month, day});
}

void DateWalk::Period::TakeDays(std::int64_t first, std::int64_t end) {
    for (std::int64_t day = first; day < end; ++day) Take(day, civil::CivilFromDays(day));
}

bool DateWalk::Period::Passes(std::int64_t day, const civil::Date& date) const {
    if (!m_months.empty() && !Has(m_months, date.month)) return false;
    if (!m_monthDays.empty() && !HasEither(m_monthDays, date.day, civil::DaysInMonth(date.year, date.month)))
        return false;
    if (!m_yearDays.empty()) {
        const auto ofYear = static_cast<int>(day - civil::DaysFromCivil(date.year, 1, 1)) + 1;
        if (!HasEither(m_yearDays, ofYear, civil::IsLeapYear(date.year) ? 366 : 365)) return false;
    }
    if (!m_weeks.empty()) {
        const int year = m_start.year + static_cast<int>(m_period * m_interval);
        const auto week = static_cast<int>((day - FirstWeekOf(year)) / kDaysOfWeek) + 1;
        const auto weeks = static_cast<int>((FirstWeekOf(year + 1) - FirstWeekOf(year)) / kDaysOfWeek);
        if (!HasEither(m_weeks, week, weeks)) return false;
    }
    return m_weekdays.empty() || PassesWeekdays(day, date);
}

// An ordinal counts in the month where the rule is about months, else in the year. Elsewhere it says nothing.
bool DateWalk::Period::PassesWeekdays(std::int64_t day, const civil::Date& date) const {
    const int weekday = civil::WeekdayOfDays(day);
    const bool yearly = m_frequency == ICAL_YEARLY_RECURRENCE;
    const bool inMonth = m_frequency == ICAL_MONTHLY_RECURRENCE || (yearly && !m_months.empty());
    const bool counts = inMonth || (yearly && m_weeks.empty());
    for (const OrdinalDay& wanted : m_weekdays) {
        if (wanted.weekday != weekday) continue;
        if (wanted.nth == 0 || !counts) return true;
        const std::int64_t first = civil::DaysFromCivil(date.year, inMonth ? date.month : 1, 1);
        const std::int64_t end = inMonth ? first + civil::DaysInMonth(date.year, date.month)
                                         : civil::DaysFromCivil(date.year + 1, 1, 1);
        const std::int64_t nth =
            wanted.nth > 0 ? (day - first) / kDaysOfWeek + 1 : -((end - 1 - day) / kDaysOfWeek + 1);
        if (nth == wanted.nth) return true;
    }
    return false;
}

// The first week of a year is the first that has four days of it.
std::int64_t DateWalk::Period::FirstWeekOf(int year) const {
    return WeekStart(civil::DaysFromCivil(year, 1, 4));
}

// BYSETPOS chooses among the dates of one period, those before the start counted.
void DateWalk::Period::ChoosePositions() {
    const std::size_t count = Count();
    m_places.clear();
    for (std::size_t i = 0; i < count; ++i)
        if (m_positions.empty() || HasEither(m_positions, static_cast<int>(i) + 1, static_cast<int>(count)))
            m_places.push_back(i);
}

DateWalk::DateWalk(const icalrecurrencetype& rule, const icaltimetype& start, std::int64_t lastDay)
    : m_lastDay(lastDay) {
    if (rule.freq == ICAL_NO_RECURRENCE) return;
    if (rule.freq >= ICAL_DAILY_RECURRENCE && !IsForeign(rule)) {
        if (HasForbiddenParts(rule)) return;
        m_period.reset(new Period(rule, start, lastDay));
        if (!m_period->CanGo()) m_period.reset();
        return;
    }
    if (!TheLibraryCan(rule)) return;
    icalrecurrencetype endless = rule;
    endless.count = 0;
    endless.until = icaltime_null_time();
    m_library.reset(icalrecur_iterator_new(endless, start));
}

std::optional<icaltimetype> DateWalk::Next() {
    if (m_period) return m_period->Next();
    if (!m_library) return std::nullopt;
    const icaltimetype next = icalrecur_iterator_next(m_library.get());
    if (icaltime_is_null_time(next) || DayOf(next) > m_lastDay) return std::nullopt;
    return next;
}

} // namespace qn
