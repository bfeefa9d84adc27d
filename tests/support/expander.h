// A calendar thread that expands series given as blobs, without a store: for benchmarks and fuzzing.
#pragma once

#include "Platform/memory.h"
#include "QNWorkerClass/calendarthread.h"

class Expander : public CCalendarThread {
public:
    Expander() { m_pDeletedDates = std::make_unique<CeList<DWORD>>(0); }
    ~Expander() override { m_pPattern = nullptr; }

    // Days from 30 December 1899, both included.
    void SetDays(LONG first, LONG last) {
        SYSTEMTIME from = civil::SystemTimeFromDays(first + civil::kDaysTo1899);
        SYSTEMTIME to = civil::SystemTimeFromDays(last + civil::kDaysTo1899);
        SetRestrict(&from, &to, true);
        SetLoadRange();
    }

    // Adds the lines of a series of this record; null without a zone of its own.
    void Expand(const BYTE* blob, DWORD size, const DATACALENDAR& like, const TIME_ZONE_INFORMATION* zone) {
        if (!m_pRecord) m_pRecord = std::make_unique<DATACALENDARDB>();
        DATACALENDARDB& record = *m_pRecord;
        if (!m_pDeletedDates->IsEmpty()) m_pDeletedDates->Clear();
        record.m_oid = like.m_oid;
        record.m_bAllDay = like.m_bAllDay;
        record.m_lDuration = like.m_lDuration;
        record.m_bRecurring = 1;
        record.m_bstrSubject = SysAllocStringLen(like.m_bstrSubject, SysStringLen(like.m_bstrSubject));
        record.m_bstrLocation = SysAllocStringLen(like.m_bstrLocation, SysStringLen(like.m_bstrLocation));
        if (zone) {
            record.m_tzEvent = *zone;
            record.SetHasZone(true);
            m_zoneEvent.SetZone(record.m_tzEvent);
        }
        m_pPattern = blob;
        m_cbPattern = size;
        if (ParseAndCheckRecurring()) fFillEventList();
        record.NullData();
    }
};
