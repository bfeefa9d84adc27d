// The journal: dated entries, each with a title, a note and the item that it belongs to, in a database of the suite's own
// ("QuillonaryJournal_2").
//
// Static functions, one thread at a time. Dates are local and stored as they stand. The store is made at the first need of
// the process.
#pragma once

#include "NorvoTools/CeString.h"
#include "Platform/databases.h"
#include "Platform/types.h"

#include <span>
#include <vector>

class CeDb;

inline constexpr const WCHAR* kJournalStore = u"QuillonaryJournal_2";
inline constexpr CEPROPID kJournalByOwner = 0x002E0003; // sort orders of the store
inline constexpr CEPROPID kJournalByCreation = 0x002D0040;

struct CJournalData {
    LONG m_nNumbers[3] = {}; // kept with the entry, and given back as they are
    SYSTEMTIME m_stDate{};
    SYSTEMTIME m_stModified{};
    SYSTEMTIME m_stCreated{};
    DWORD m_oidOwner = 0; // the item; 0: none
    CeString m_strTitle;
    CeString m_strType; // the key of its kind
    DWORD m_nFlags = 0; // minutes that it took
    CeString m_strCategories;
    CeString m_strExtra;
    bool m_bFlag = false;
    std::vector<BYTE> m_note; // as ink when it was read; any form of a note will do to write
    CEOID m_oidRecord = 0;    // 0 for a new one
    bool m_bCreatedMissing = false;
};

class QN_API CJournal {
public:
    // Once a process: makes the store when it can't be opened, and asks whether to move the entries of the old one. The
    // old one goes when all of them came over.
    static void CheckAndCreateDB();
    // The store, made when it isn't there, in one of its orders.
    static bool Open(CeDb& store, CEPROPID order = kJournalByOwner);
    // False when there is no such record. Dates that are missing take the clock, or, of the creation, the entry's date.
    static bool ReadEntry(CEOID oid, CJournalData* entry);
    static bool ReadEntry(CeDb& store, CEOID oid, CJournalData* entry); // of a store that is open
    // Updates the record that the entry came from, or adds one; `entry->m_oidRecord` is it. The time of change is the
    // clock's; of a new one also that of its creation with `stampCreated`, which no update changes. The note is stored as
    // rich text. A failure is reported.
    static bool WriteEntry(CJournalData* entry, bool stampCreated);
    // All of them as one change, or none. No failure is reported.
    static bool WriteEntries(std::span<CJournalData> entries, bool stampCreated);
    static bool DeleteEntry(CEOID oid); // false when there is no such record, or it can't go
};
