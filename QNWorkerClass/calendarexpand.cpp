// From the record of a series to its lines: the walks over the rule's dates, deleted and changed occurrences, and the
// times of a line.
#include "QNWorkerClass/calendarthread.h"

#include <memory>

namespace {

constexpr LONG kReachBack = 2; // days before the range in which an occurrence may begin that reaches into it
constexpr LONG kMinutesPerHour = 60;

// From here on the extra minutes of an all-day occurrence hold the midnight at its end.
constexpr LONGLONG kAllDayExtra = 1339;

constexpr LONG DayOfLong(LONGLONG minutes) {
    return static_cast<LONG>(civil::FloorDiv(minutes, kMinutesPerDay) - civil::kDaysTo1899);
}

LONGLONG MinutesOf(LONG day) { return (day + civil::kDaysTo1899) * kMinutesPerDay; }

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
    if (m_pRecord->m_wRecurType == 0) return fFillNonRecurrEvnt();
    RecurrenceRule rule = m_pRecord->Rule();
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
        m_llOccurrence = MinutesOf(static_cast<LONG>(record.m_dtStart));
        if (!fGetRecurTimingStr(record.HasZone(), record.m_wStartHour, record.m_wStartMinute,
                                record.m_wEndHour, record.m_wEndMinute, record, 0))
            return;
    }
    fFillNonRecurrEvnt();
}

// --- The walks ----------------------------------------------------------------------------------------------------

// The dates of the rule from before the range to its end, without those that `skip` and the deleted list take out.
template<class Skip>
void CCalendarThread::WalkEvents(const RecurrenceRule& rule, bool overMidnight, Skip skip) {
    RuleWalk walk(rule, m_range.first, m_range.last, overMidnight, RuleWalk::Entry::Calendar);
    for (; walk.InRange(); walk.Step()) {
        LONG day = walk.Day();
        if (skip(day) || fCheckDeleteExp(day)) continue;
        m_llOccurrence = MinutesOf(day);
        if (!fCheckExp(*m_pRecord, day)) fFillEventInfo(*m_pRecord);
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

// --- One occurrence -----------------------------------------------------------------------------------------------

bool CCalendarThread::OccurrenceIsTooEarly() const {
    return m_range.first - kReachBack > DayOfLong(m_llOccurrence);
}

// The line is made only when it is listed: most of what a walk touches before the range is not.
void CCalendarThread::fFillEventInfo(DATACALENDARDB& record) {
    if (OccurrenceIsTooEarly()) return;
    LineTimes times;
    if (!GetLineTimes(record.HasZone(), record.m_wStartHour, record.m_wStartMinute, record.m_wEndHour,
                      record.m_wEndMinute, record.m_bAllDay != 0, 0, times))
        return;
    if (DayOfLong(times.end) < m_range.first || DayOfLong(times.start) > m_range.last) return;
    if (!ReadRestOnce()) return;
    std::unique_ptr<DATACALENDAR> line(record.Copy());
    SetLineTimes(times, *line);
    AddCalendarItemToList(std::move(line));
}

bool CCalendarThread::fCheckDeleteExp(LONG day) {
    for (DWORD deleted : *m_pDeletedDates)
        if (DayOfMinutes(deleted) == day) return true;
    return false;
}

// True when the date is that of a changed occurrence, which then has its line wherever it lands: there is no test of
// the range here.
bool CCalendarThread::fCheckExp(DATACALENDARDB& record, LONG day) {
    const CALENDAREXCEPTION* change = nullptr;
    for (const CALENDAREXCEPTION* exception : record.m_listExceptions)
        if (exception->RuleDay() == day) change = exception; // the last one counts
    if (!change) return false;
    LONGLONG extraMinutes = 0;
    if (change->bMoved) {
        m_llOccurrence = change->dwMovedTo;
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

// --- The times of a line ------------------------------------------------------------------------------------------

bool CCalendarThread::fGetRecurTimingStr(bool bZone, LONG startHour, LONG startMinute, LONG endHour,
                                         LONG endMinute, DATACALENDAR& line, LONGLONG extraMinutes) {
    LineTimes times;
    if (!GetLineTimes(bZone, startHour, startMinute, endHour, endMinute, line.m_bAllDay != 0, extraMinutes,
                      times))
        return false;
    SetLineTimes(times, line);
    return true;
}

// With `extraMinutes` the end is the moment of the occurrence and these on; otherwise it is built of hour and minute.
bool CCalendarThread::GetLineTimes(bool bZone, LONG startHour, LONG startMinute, LONG endHour, LONG endMinute,
                                   bool bAllDay, LONGLONG extraMinutes, LineTimes& times) {
    LONG day = DayOfLong(m_llOccurrence);
    LONGLONG midnight = MinutesOf(day);
    LONG startDays = startHour / 24;
    if (startDays !=
        0) { // added to the day of the month, without a carry: past its end there is no such date
        CivilDate date = CivilOf(day);
        date.day += startDays;
        if (!DateExists(date)) return false;
    }
    times.start = midnight + startHour * kMinutesPerHour + startMinute;
    if (extraMinutes != 0) {
        if (bAllDay && extraMinutes > kAllDayExtra) extraMinutes -= kMinutesPerDay;
        times.end = m_llOccurrence + extraMinutes;
    } else {
        LONG hours = endHour;
        if (bAllDay && endMinute != 0) hours += 24;
        if (bAllDay && hours >= 24) hours -= 24; // the midnight at the end of the last day
        times.end = midnight + hours * kMinutesPerHour + endMinute;
    }
    if (!bAllDay && bZone && (!ToDeviceTime(times.start) || !ToDeviceTime(times.end))) return false;
    return times.start >= 0 && times.end >= 0 && times.start < civil::kEndOfTicks / civil::kTicksPerMinute &&
           times.end < civil::kEndOfTicks / civil::kTicksPerMinute;
}

// From the event's clock to the device's. Summer time is told by the day, so the hours before a change are off by one
// on its day: the list and the item's own page agree on that.
bool CCalendarThread::ToDeviceTime(LONGLONG& minutes) {
    LONGLONG utc;
    LONGLONG local;
    if (!m_zoneEvent.ToUtc(minutes * 60, utc) || !m_zoneLocal.ToLocal(utc, local)) return false;
    minutes = civil::FloorDiv(local, 60);
    return true;
}

void CCalendarThread::SetLineTimes(const LineTimes& times, DATACALENDAR& line) const {
    LONG startDay = DayOfLong(times.start);
    line.m_lDay = startDay;
    if (line.m_bAllDay) {
        LONG endDay = DayOfLong(times.end);
        line.m_dtStart = startDay;
        line.m_dtEnd = endDay;
        line.m_lDuration = (endDay - startDay + 1) * kMinutesPerDay;
        return;
    }
    line.m_dtStart = VariantOfSeconds(times.start * 60);
    line.m_dtEnd = VariantOfSeconds(times.end * 60);
    line.m_lDuration = static_cast<LONG>(times.end - times.start);
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
