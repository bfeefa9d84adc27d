// The working form of one record of the "Appointments Database" while the calendar thread expands it, and the changed
// occurrences of a series. They stay inside the thread.
#pragma once

#include "NorvoTools/CePtrList.h"
#include "Platform/memory.h"
#include "Platform/types.h"
#include "QNWorkerClass/DATACALENDAR.h"
#include "QNWorkerClass/rulewalks.h"

// A changed occurrence of a series. Dates are minutes since 1 January 1601, in the time of the item.
struct CALENDAREXCEPTION {
    CALENDAREXCEPTION() = default;
    ~CALENDAREXCEPTION() {
        SysFreeString(bstrSubject);
        SysFreeString(bstrLocation);
    }
    CALENDAREXCEPTION(const CALENDAREXCEPTION&) = delete;
    CALENDAREXCEPTION& operator=(const CALENDAREXCEPTION&) = delete;

    // The whole day of the rule's date that it stands for.
    LONG RuleDay() const {
        if (bMoved) return DayOfMinutes(dwOriginal);
        return DayOfMinutes(bMultiDay ? dwStart : dwKeyDate);
    }

    DWORD dwKeyDate = 0;
    DWORD dwStart = 0;
    DWORD dwEnd = 0;
    BSTR bstrSubject = nullptr; // owned; null when unchanged
    BSTR bstrLocation = nullptr;
    SHORT nAllDay = -1; // -1 when unchanged
    BYTE bHasBody = 0;  // it has a note of its own
    LONG lBusyStatus = -1;
    WORD wFlags = 0;
    LONG lStartHour = 0;
    LONG lEndHour = 0; // with 24 for each extra day
    LONG lStartMinute = 0;
    LONG lEndMinute = 0;
    BYTE bMultiDay = 0; // start and end fall on different days of the month
    LONG nExtraDays = 0;
    SYSTEMTIME stStart = {}; // of a multi-day one
    BYTE bMoved = 0;         // to another date
    DWORD dwMovedTo = 0;
    DWORD dwOriginal = 0; // of a moved one: its date by the rule
};

struct DATACALENDARDB : DATACALENDAR {
    // Frees what the record owns and puts all defaults back.
    void NullData() {
        DATACALENDAR::NullData();
        ClearPattern();
        m_bPatternRead = 0;
        m_bRefused = 0;
        m_tzEvent.StandardName[0] = 0;
    }

    void ClearPattern() {
        m_wRecurType = m_wPatternType = 0;
        m_dwPeriodMinutes = m_dwPeriodWeeks = m_dwPeriodMonths = 0;
        m_dwWeekMask = m_wDaysOfWeek = m_wDayOfMonth = m_wNth = 0;
        m_dwDayOfYear = m_dwYearOffset = m_dwOccurrences = 0;
        m_wStartHour = m_wEndHour = m_wStartMinute = m_wEndMinute = 0;
        if (!m_listExceptions.IsEmpty()) m_listExceptions.Clear();
    }

    // The zone's mark stands where the first character of its name would.
    bool HasZone() const { return m_tzEvent.StandardName[0] != 0; }
    void SetHasZone(bool bHasZone) { m_tzEvent.StandardName[0] = bHasZone ? 1 : 0; }

    // The rule as the walks take it.
    RecurrenceRule Rule() const;

    LONG m_bPatternRead = 0; // the recurrence blob has been parsed
    LONG m_bRefused = 0;     // the record is known to give no line
    WORD m_wRecurType = 0;   // 0 for a plain appointment
    WORD m_wPatternType = 0;
    DWORD m_dwPeriodMinutes = 0; // daily
    DWORD m_dwWeekMask = 0;
    WORD m_wDaysOfWeek = 0; // the same mask
    DWORD m_dwPeriodWeeks = 0;
    WORD m_wDayOfMonth = 0;
    DWORD m_dwPeriodMonths = 0; // monthly and yearly
    WORD m_wNth = 0;
    DWORD m_dwDayOfYear = 0; // the day of the month again
    DWORD m_dwYearOffset = 0;
    DWORD m_dwOccurrences = 0; // kept; the walks end by the last date alone
    WORD m_wStartHour = 0;     // wall-clock times of an occurrence; the end passes 23 over midnight
    WORD m_wEndHour = 0;
    WORD m_wStartMinute = 0;
    WORD m_wEndMinute = 0;
    SYSTEMTIME m_stStart = {}; // local time
    TIME_ZONE_INFORMATION m_tzEvent = {};
    CePtrList<CALENDAREXCEPTION*> m_listExceptions{1, PTRLIST_DELETE};

    // m_dtEnd, while a series is walked, holds the series' last date as a plain number of minutes since 1601: the one
    // date field that is no variant time. It never reaches a line.
};

inline RecurrenceRule DATACALENDARDB::Rule() const {
    RecurrenceRule rule;
    rule.kind = KindOfRule(m_wRecurType, m_wPatternType);
    DWORD period = rule.kind == RuleKind::Daily    ? m_dwPeriodMinutes
                   : rule.kind == RuleKind::Weekly ? m_dwPeriodWeeks
                                                   : m_dwPeriodMonths;
    rule.period = RulePeriod(rule.kind, period);
    rule.weekMask = m_wDaysOfWeek;
    rule.day = m_wDayOfMonth;
    rule.nth = m_wNth;
    rule.month = MonthOfYearOffset(m_dwYearOffset);
    rule.startDay = static_cast<LONG>(m_dtStart);
    rule.endDay = DayOfMinutes(static_cast<DWORD>(m_dtEnd));
    return rule;
}
