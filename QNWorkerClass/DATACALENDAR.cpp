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
BSTR CopyBstr(BSTR text) {
    return text ? SysAllocStringLen(text, SysStringByteLen(text) / sizeof(WCHAR)) : nullptr;
}

// A text that may be null or empty, as most lines' categories are: then a new empty one.
WCHAR* CopyText(const WCHAR* text) {
    if (text && *text) return _wcsdup(text);
    auto* empty = static_cast<WCHAR*>(std::malloc(sizeof(WCHAR)));
    if (empty) *empty = 0;
    return empty;
}

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
    m_dtStart = m_dtEnd = m_dtJournalCreated = m_dtJournalModified = kNoDate;
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
    auto* line = new DATACALENDAR(*this);
    line->m_bstrSubject = CopyBstr(m_bstrSubject);
    line->m_bstrLocation = CopyBstr(m_bstrLocation);
    line->m_bstrSpare = CopyBstr(m_bstrSpare);
    line->m_szIcon = m_szIcon && *m_szIcon ? _wcsdup(m_szIcon) : nullptr;
    line->m_szCategories = CopyText(m_szCategories);
    line->m_bListed = 1;
    return line;
}
