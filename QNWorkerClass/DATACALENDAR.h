// One line of a day list: an occurrence of an appointment, a date header, a contact date, a task or a journal entry.
// A plain record: owned by the list it stands in, read by the client's thread between two loads.
#pragma once

#include "Platform/types.h"
#include "QNWorkerClass/dates.h"

struct DATATASKS;

// Kinds of a line. A date header is an appointment line with object id 0.
inline constexpr LONG kLineContactDate = 2;
inline constexpr LONG kLineAppointment = 3;
inline constexpr LONG kLineTask = 4;
inline constexpr LONG kLineJournal = 6;

struct QN_API DATACALENDAR {
    DATACALENDAR() = default;
    virtual ~DATACALENDAR() { NullData(); }
    DATACALENDAR& operator=(const DATACALENDAR&) = delete;

    // Frees what the line owns and puts all defaults back.
    void NullData();
    // A deep copy in a new object that the caller owns, with m_bListed set; null for a task line.
    DATACALENDAR* Copy() const;
    bool IsHeader() const { return m_oid == 0; }

    DATATASKS* m_pTask = nullptr; // of a task line; owned
    DWORD m_oid = 0;              // item OID; 0 is a date header
    DWORD m_oidRecord = 0;        // id of the database record
    WORD m_wMeeting = 0;
    LONG m_lBusyStatus = 0;
    LONG m_lDuration = 0;       // minutes
    LONG m_lDay = kNoDay;       // the whole day on which this line stands
    double m_dtStart = kNoDate; // local time; all lines of a multi-day item carry the same two
    double m_dtEnd = kNoDate;
    BSTR m_bstrSubject = nullptr; // owned, as the next two
    BSTR m_bstrLocation = nullptr;
    BSTR m_bstrSpare = nullptr;
    WCHAR* m_szIcon = nullptr;       // malloc, or null
    WCHAR* m_szCategories = nullptr; // malloc; names separated by ", "
    WORD m_bHasLink = 0;
    WORD m_bHasJournalLink = 0;
    WORD m_bHasNote = 0;
    WORD m_bAllDay = 0;
    WORD m_bPrivate = 0;
    WORD m_bRecurring = 0;
    WORD m_bException = 0;
    BYTE m_bReminder = 0;
    LONG m_bSortLast = 0; // such lines sort behind all others
    LONG m_nType = kLineAppointment;
    BYTE m_bEndsEarlier = 0; // the last line of an item whose very last day was dropped
    WORD m_wAnniversaryYear = 0;
    WORD m_wBirthdayYear = 0;
    BYTE m_bListed = 0;
    double m_dtJournalCreated = kNoDate; // of a journal entry, as the next
    double m_dtJournalModified = kNoDate;

protected:
    // The fields as they are: what is owned must be copied behind it.
    DATACALENDAR(const DATACALENDAR&) = default;
};
