#include "QNWorkerClass/DATACALENDAR.h"

#include "Platform/memory.h"
#include "Platform/strings.h"
#include "QNWorkerClass/DATATASKS.h"

#include <cstdlib>

namespace {

void FreeBstr(BSTR& text) {
    SysFreeString(text);
    text = nullptr;
}

void FreeMalloc(WCHAR*& text) {
    std::free(text);
    text = nullptr;
}

// Lengths are known to a BSTR, so that a copy needs no scan.
BSTR CopyBstr(BSTR text) { return text ? SysAllocStringLen(text, SysStringLen(text)) : nullptr; }

} // namespace

void DATACALENDAR::NullData() {
    delete m_pTask;
    m_pTask = nullptr;
    FreeBstr(m_bstrSubject);
    FreeBstr(m_bstrLocation);
    FreeBstr(m_bstrSpare);
    FreeMalloc(m_szIcon);
    FreeMalloc(m_szCategories);
    m_oid = m_oidRecord = 0;
    m_wMeeting = 0;
    m_lBusyStatus = m_lDuration = 0;
    m_lDay = kNoDay;
    m_dtStart = m_dtEnd = kNoDate;
    m_bHasLink = m_bHasJournalLink = m_bHasNote = m_bAllDay = m_bPrivate = m_bRecurring = m_bException = 0;
    m_bReminder = 0;
    m_bSortLast = 0;
    m_nType = kLineAppointment;
    m_bEndsEarlier = 0;
    m_wAnniversaryYear = m_wBirthdayYear = 0;
    m_bListed = 0;
}

DATACALENDAR* DATACALENDAR::Copy() const {
    if (m_pTask) return nullptr;
    auto* line = new DATACALENDAR;
    CopyTo(*line);
    return line;
}

void DATACALENDAR::CopyTo(DATACALENDAR& line) const {
    line.m_oid = m_oid;
    line.m_oidRecord = m_oidRecord;
    line.m_wMeeting = m_wMeeting;
    line.m_lBusyStatus = m_lBusyStatus;
    line.m_lDuration = m_lDuration;
    line.m_lDay = m_lDay;
    line.m_dtStart = m_dtStart;
    line.m_dtEnd = m_dtEnd;
    line.m_bstrSubject = CopyBstr(m_bstrSubject);
    line.m_bstrLocation = CopyBstr(m_bstrLocation);
    line.m_bstrSpare = CopyBstr(m_bstrSpare);
    line.m_szIcon = m_szIcon && *m_szIcon ? _wcsdup(m_szIcon) : nullptr;
    line.m_szCategories = _wcsdup(m_szCategories ? m_szCategories : u"");
    line.m_bHasLink = m_bHasLink;
    line.m_bHasJournalLink = m_bHasJournalLink;
    line.m_bHasNote = m_bHasNote;
    line.m_bAllDay = m_bAllDay;
    line.m_bPrivate = m_bPrivate;
    line.m_bRecurring = m_bRecurring;
    line.m_bException = m_bException;
    line.m_bReminder = m_bReminder;
    line.m_bSortLast = m_bSortLast;
    line.m_nType = m_nType;
    line.m_bEndsEarlier = m_bEndsEarlier;
    line.m_wAnniversaryYear = m_wAnniversaryYear;
    line.m_wBirthdayYear = m_wBirthdayYear;
    line.m_bListed = 1;
}
