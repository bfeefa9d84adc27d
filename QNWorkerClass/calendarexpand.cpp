// From the record of a series to its lines: the walks over the rule's dates, deleted and changed occurrences, and the
// times of a line.
#include "QNWorkerClass/calendarthread.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace {

constexpr LONG kMinutesPerHour = 60;

// From here on the extra minutes of an all-day occurrence hold the midnight at its end.
constexpr LONGLONG kAllDayExtra = 1339;

// The days that a line may stand on: 1601 to 9999.
constexpr LONG kFirstDay = -static_cast<LONG>(civil::kDaysTo1899);
constexpr LONG kEndOfDays = static_cast<LONG>(civil::kEndOfTicks / civil::kTicksPerDay - civil::kDaysTo1899);

// A changed occurrence may claim to last for millennia.
LONG ClampToLong(LONGLONG value) {
    using Limits = std::numeric_limits<LONG>;
    return static_cast<LONG>(std::clamp<LONGLONG>(value, Limits::min(), Limits::max()));
}

void Replace(BSTR& text, BSTR with) {
    if (!with) return;
    SysFreeString(text);
    text = SysAllocStringLen(with, SysStringLen(with));
}

} // namespace

bool CCalendarThread::ParseAndCheckRecurring() {
    DATACALENDARDB& record = *m_pRecord;
    if (!record.m_bRecurring) {
        record.m_wRecurType = 0;
        return false;
    }
    if (record.m_bPatternRead) return true;
    int status = m_pRecurParser->Parse(m_pPattern, m_cbPattern, record.m_oid, &record, m_pDeletedDates.get(),
                                       record.m_bAllDay != 0);
    if (status == kBlobRefused && m_bExpandInRange) return false;
    record.m_bPatternRead = 1;
    return true;
}

void CCalendarThread::fFillEventList() {
    const DATACALENDARDB& record = *m_pRecord;
    if (record.m_wRecurType == 0) return fFillNonRecurrEvnt();
    m_fromMidnight = TimesFromMidnight(record.m_wStartHour, record.m_wStartMinute, record.m_wEndHour,
                                       record.m_wEndMinute, record.m_bAllDay != 0);
    RecurrenceRule rule = record.Rule();
    switch (rule.kind) {
    case RuleKind::None:
        return;
    case RuleKind::Daily:
        return fFillDailyEvents(rule);
    case RuleKind::Weekday:
        return fFillWeekDayEvents(rule);
    case RuleKind::Weekly:
        return fFillWeeklyEvents(rule);
    case RuleKind::MonthlyDay:
        return fFillMonthlyType2(rule);
    case RuleKind::MonthlyNth:
        return fFillMonthlyType3(rule);
    case RuleKind::YearlyDay:
        return fFillYearlyType2(rule);
    case RuleKind::YearlyNth:
        return fFillYearlyType3(rule);
    }
}

void CCalendarThread::fFillNonRecurrEvnt() {
    if (ReadRestOnce()) AddCalendarItemToList(std::unique_ptr<DATACALENDAR>(m_pRecord->Copy()));
}

// A list without a range shows a series by one line at its first date. One that can't be read keeps its own times.
void CCalendarThread::fFillSeriesOnce() {
    DATACALENDARDB& record = *m_pRecord;
    if (!ReadRestOnce()) return;
    if (record.m_wRecurType != 0) {
        m_occurrence = {static_cast<LONG>(record.m_dtStart), 0};
        if (!fGetRecurTimingStr(record.HasZone(), record.m_wStartHour, record.m_wStartMinute,
                                record.m_wEndHour, record.m_wEndMinute, record, 0))
            return;
    }
    fFillNonRecurrEvnt();
}

// --- The walks ----------------------------------------------------------------------------------------------------

// Sorted by day, as a damaged blob may hold hundreds of thousands.
struct CCalendarThread::SpecialDays {
    using Changed = std::pair<LONG, const CALENDAREXCEPTION*>;

    SpecialDays(const CeList<DWORD>& deletedDates, const DATACALENDARDB& record) {
        for (DWORD date : deletedDates) deleted.push_back(DayOfMinutes(date));
        std::ranges::sort(deleted);
        for (const CALENDAREXCEPTION* exception : record.m_listExceptions)
            changed.emplace_back(exception->RuleDay(), exception);
        std::ranges::stable_sort(changed, {}, &Changed::first);
    }
    // The changed occurrence of the rule's date, of several the last; null without one.
    const CALENDAREXCEPTION* FindChanged(LONG day) const {
        auto behind = std::ranges::upper_bound(changed, day, {}, &Changed::first);
        return behind != changed.begin() && std::prev(behind)->first == day ? std::prev(behind)->second
                                                                            : nullptr;
    }

    std::vector<LONG> deleted;
    std::vector<Changed> changed;
};

// The dates of the rule from before the range to its end, without those that `skip` and the deleted list take out.
template<class Skip>
void CCalendarThread::WalkEvents(const RecurrenceRule& rule, bool overMidnight, Skip skip) {
    DATACALENDARDB& record = *m_pRecord;
    std::optional<SpecialDays> special; // most series have none
    if (!m_pDeletedDates->IsEmpty() || !record.m_listExceptions.IsEmpty())
        special.emplace(*m_pDeletedDates, record);
    RuleWalk walk(rule, m_range.first, m_range.last, overMidnight, RuleWalk::Entry::Calendar);
    for (; walk.InRange(); walk.Step()) {
        LONG day = walk.Day();
        if (skip(day) || (special && fCheckDeleteExp(*special, day))) continue;
        m_occurrence = {day, 0};
        if (!special || !fCheckExp(record, *special, day)) fFillEventInfo(record);
    }
}

void CCalendarThread::fFillDailyEvents(const RecurrenceRule& rule) {
    bool overMidnight = m_pRecord->m_wEndHour * kMinutesPerHour + m_pRecord->m_wEndMinute > kMinutesPerDay;
    WalkEvents(rule, overMidnight, [&](LONG day) { return day < rule.startDay; });
}

void CCalendarThread::fFillWeekDayEvents(const RecurrenceRule& rule) {
    WalkEvents(rule, false, [&](LONG day) { return day < rule.startDay; });
}

void CCalendarThread::fFillWeeklyEvents(const RecurrenceRule& rule) {
    WalkEvents(rule, false, [&](LONG day) { return day < rule.startDay; });
}

// The monthly walks don't look at the series' start on a date whose day of the month and year are those of the range's
// first day: so a date of the rule before the start can show in such a range. It has always been listed.
bool CCalendarThread::IsBeforeSeriesMonthly(const RecurrenceRule& rule, LONG day) const {
    if (day >= rule.startDay) return false;
    CivilDate date = CivilOf(day);
    CivilDate first = CivilOf(m_range.first);
    return date.day != first.day || date.year != first.year;
}

void CCalendarThread::fFillMonthlyType2(const RecurrenceRule& rule) {
    WalkEvents(rule, false, [&](LONG day) { return IsBeforeSeriesMonthly(rule, day); });
}

// Dates before the range count only when the record's duration carries them into it; an occurrence of less than a day
// from the night before has no line here.
void CCalendarThread::fFillMonthlyType3(const RecurrenceRule& rule) {
    LONGLONG first = LONGLONG{m_range.first} * kMinutesPerDay;
    auto endsBefore = [&](LONG day) {
        return LONGLONG{day} * kMinutesPerDay + m_pRecord->m_lDuration < first;
    };
    WalkEvents(rule, false, [&](LONG day) { return IsBeforeSeriesMonthly(rule, day) || endsBefore(day); });
}

void CCalendarThread::fFillYearlyType2(const RecurrenceRule& rule) {
    WalkEvents(rule, false, [&](LONG day) { return day < rule.startDay; });
}

void CCalendarThread::fFillYearlyType3(const RecurrenceRule& rule) {
    WalkEvents(rule, false, [&](LONG day) { return day < rule.startDay; });
}

// --- The times of a line ------------------------------------------------------------------------------------------

bool CCalendarThread::fGetRecurTimingStr(bool bZone, LONG startHour, LONG startMinute, LONG endHour,
                                         LONG endMinute, DATACALENDAR& line, LONGLONG extraMinutes) {
    bool allDay = line.m_bAllDay != 0;
    LineTimes fromMidnight = TimesFromMidnight(startHour, startMinute, endHour, endMinute, allDay);
    if (extraMinutes != 0) {
        if (allDay && extraMinutes > kAllDayExtra) extraMinutes -= kMinutesPerDay;
        fromMidnight.end = DayTimeOf(m_occurrence.minute + extraMinutes);
    }
    LineTimes times;
    if (!PlaceTimes(fromMidnight, bZone && !allDay, times)) return false;
    SetLineTimes(times, line);
    return true;
}

// The end of an all-day occurrence is the midnight behind its last day, and stands for that day.
CCalendarThread::LineTimes CCalendarThread::TimesFromMidnight(LONG startHour, LONG startMinute, LONG endHour,
                                                              LONG endMinute, bool bAllDay) {
    LONG hours = endHour;
    if (bAllDay && endMinute != 0) hours += 24;
    if (bAllDay && hours >= 24) hours -= 24;
    return {DayTimeOf(startHour * kMinutesPerHour + startMinute),
            DayTimeOf(hours * kMinutesPerHour + endMinute)};
}

namespace {

// Days of the start are added to the day of the month, without a carry: past the month's end there is no such date, and
// no line.
bool StartExists(LONG day, LONG startDays) {
    CivilDate date = CivilOf(day);
    date.day += startDays;
    return DateExists(date);
}

bool IsListDay(LONG day) { return day >= kFirstDay && day < kEndOfDays; }

} // namespace

// The times of the current occurrence.
inline bool CCalendarThread::PlaceTimes(const LineTimes& fromMidnight, bool bZone, LineTimes& times) {
    LONG day = m_occurrence.day;
    if (fromMidnight.start.day != 0 && !StartExists(day, fromMidnight.start.day)) return false;
    times.start = {day + fromMidnight.start.day, fromMidnight.start.minute};
    times.end = {day + fromMidnight.end.day, fromMidnight.end.minute};
    if (bZone && (!ToDeviceTime(times.start) || !ToDeviceTime(times.end))) return false;
    return IsListDay(times.start.day) && IsListDay(times.end.day);
}

// From the event's clock to the device's. Summer time is told by the day, so the hours before a change are off by one
// on its day: the list and the item's own page agree on that.
bool CCalendarThread::ToDeviceTime(DayTime& time) {
    LONGLONG seconds = ((time.day + civil::kDaysTo1899) * kMinutesPerDay + time.minute) * 60;
    if (!m_zoneEvent.ToUtc(seconds, seconds) || !m_zoneLocal.ToLocal(seconds, seconds)) return false;
    time = DayTimeOf(civil::FloorDiv(seconds, 60) - civil::kDaysTo1899 * kMinutesPerDay);
    return true;
}

inline void CCalendarThread::SetLineTimes(const LineTimes& times, DATACALENDAR& line) const {
    LONGLONG days = times.end.day - times.start.day;
    line.m_lDay = times.start.day;
    if (line.m_bAllDay) {
        line.m_dtStart = times.start.day;
        line.m_dtEnd = times.end.day;
        line.m_lDuration = ClampToLong((days + 1) * kMinutesPerDay);
        return;
    }
    line.m_dtStart = VariantOf(times.start);
    line.m_dtEnd = VariantOf(times.end);
    LONGLONG minutes = days * kMinutesPerDay + times.end.minute - times.start.minute;
    line.m_lDuration =
        ClampToLong(minutes < 0 ? minutes + 1 : minutes); // half a minute is added and the rest cut off
}

// --- One occurrence -----------------------------------------------------------------------------------------------

// The line is made only when it is listed: most of what a walk touches before the range is not.
void CCalendarThread::fFillEventInfo(DATACALENDARDB& record) {
    if (OccurrenceIsTooEarly()) return;
    LineTimes times;
    if (!PlaceTimes(m_fromMidnight, !record.m_bAllDay && record.HasZone(), times)) return;
    if (times.end.day < m_range.first || times.start.day > m_range.last) return;
    if (!ReadRestOnce()) return;
    std::unique_ptr<DATACALENDAR> line(record.Copy());
    SetLineTimes(times, *line);
    AddCalendarItemToList(std::move(line));
}

bool CCalendarThread::fCheckDeleteExp(const SpecialDays& days, LONG day) {
    return std::ranges::binary_search(days.deleted, day);
}

// True when the date is that of a changed occurrence, which then has its line wherever it lands: there is no test of
// the range here.
bool CCalendarThread::fCheckExp(DATACALENDARDB& record, const SpecialDays& days, LONG day) {
    const CALENDAREXCEPTION* change = days.FindChanged(day);
    if (!change) return false;
    LONGLONG extraMinutes = 0;
    if (change->bMoved) {
        m_occurrence = {DayOfMinutes(change->dwMovedTo),
                        static_cast<LONG>(change->dwMovedTo % kMinutesPerDay)};
        if (change->bMultiDay) extraMinutes = LONGLONG{change->dwEnd} - change->dwStart;
    }
    if (OccurrenceIsTooEarly()) return false;
    if (!ReadRestOnce()) return true;
    if (change->bstrSubject && !IsAppointmentToBeDisplayed(change->bstrSubject)) return true;

    std::unique_ptr<DATACALENDAR> line(record.Copy());
    if (change->nAllDay >= 0) line->m_bAllDay = static_cast<WORD>(change->nAllDay);
    if (!fGetRecurTimingStr(record.HasZone(), change->lStartHour, change->lStartMinute, change->lEndHour,
                            change->lEndMinute, *line, extraMinutes))
        return true;
    Replace(line->m_bstrSubject, change->bstrSubject);
    Replace(line->m_bstrLocation, change->bstrLocation);
    if (change->bHasBody) line->m_bHasNote = 1;
    if (change->lBusyStatus >= 0) line->m_lBusyStatus = change->lBusyStatus;
    line->m_bException = 1;
    AddCalendarItemToList(std::move(line));
    return true;
}

// --- Steps of a rule, on dates ------------------------------------------------------------------------------------

namespace {

CivilDate CivilDateOf(const SYSTEMTIME& date) { return {date.wYear, date.wMonth, date.wDay}; }

void SetDate(SYSTEMTIME& date, const CivilDate& to) {
    date.wYear = static_cast<WORD>(to.year);
    date.wMonth = static_cast<WORD>(to.month);
    date.wDay = static_cast<WORD>(to.day);
    if (DateExists(to)) date.wDayOfWeek = static_cast<WORD>(WeekdayOf(DayOf(to)));
}

} // namespace

void CCalendarThread::fDateAdjust(const DATACALENDARDB& record, SYSTEMTIME& date) const {
    SetDate(date, DateAdjust(CivilDateOf(date), record.m_wDayOfMonth));
}

void CCalendarThread::fIncrementMonth(const DATACALENDARDB& record, SYSTEMTIME& date) const {
    SetDate(date, IncrementMonth(CivilDateOf(date), record.m_wDayOfMonth));
}

void CCalendarThread::fIncrementByYear(const DATACALENDARDB& record, SYSTEMTIME& date, LONG month) const {
    SetDate(date, IncrementByYear(CivilDateOf(date), month, record.m_wDayOfMonth));
}

void CCalendarThread::fGetNthWeekDay(const DATACALENDARDB& record, SYSTEMTIME& date) const {
    SetDate(date, CivilOf(NthWeekday(CivilDateOf(date), record.m_wDaysOfWeek, record.m_wNth)));
}

void CCalendarThread::fGetEventWeekDays(const DATACALENDARDB& record, CeList<LONG>& days) const {
    for (LONG day = LowestWeekday(record.m_wDaysOfWeek); day < 7;
         day = NextWeekday(record.m_wDaysOfWeek, day))
        days.Add(day);
}

bool CCalendarThread::fCheckNextWeekDay(const CeList<LONG>& days, SYSTEMTIME& date) const {
    LONG today = DayOf(CivilDateOf(date));
    for (LONG weekday : days) {
        if (weekday <= WeekdayOf(today)) continue;
        SetDate(date, CivilOf(today + weekday - WeekdayOf(today)));
        return true;
    }
    return false;
}

bool CCalendarThread::fCheckWeeklyDate(const DATACALENDARDB& record, const SYSTEMTIME& date) const {
    return record.m_wDaysOfWeek >> WeekdayOf(DayOf(CivilDateOf(date))) & 1;
}

LONG CCalendarThread::GetDays(const DATACALENDARDB& record, const SYSTEMTIME& date) const {
    LONG today = WeekdayOf(DayOf(CivilDateOf(date)));
    LONG next = NextWeekday(record.m_wDaysOfWeek, today);
    if (next < 7) return next - today;
    LONG lowest = LowestWeekday(record.m_wDaysOfWeek);
    return lowest < 7 ? lowest + 7 - today : 0;
}
