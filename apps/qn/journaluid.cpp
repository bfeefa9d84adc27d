#include "apps/qn/journaluid.h"

#include "NorvoTools/CeDb.h"
#include "QNWorkerClass/journalstore.h"
#include "apps/qn/support.h"

#include <cstdio>
#include <iterator>

namespace qn {

namespace {

constexpr std::string_view kMark = "UID:";
enum Field : int { kExtra, kCreated };
constexpr CEPROPID kIds[] = {0x0035001F, 0x002D0040};

bool ReadIdentity(CeDb& db, CeDbRecord& record) { return db.ReadRec(record, std::size(kIds), kIds); }

std::string UidOf(const CeDbRecord& record) {
    const std::string extra = Utf8(record.TextAt(kExtra));
    if (extra.starts_with(kMark)) return extra.substr(kMark.size());
    FILETIME created{};
    record.GetIndexVal(kCreated, created);
    char uid[40];
    std::snprintf(uid, sizeof uid, "qn-%08x%08x-%08x", created.dwHighDateTime, created.dwLowDateTime,
                  record.m_oid);
    return uid;
}

} // namespace

std::string JournalUid(CeDb& journal, CEOID oid) {
    CeDbRecord record;
    return journal.SeekTo(oid) && ReadIdentity(journal, record) ? UidOf(record) : std::string();
}

std::string JournalUid(CEOID oid) {
    CeDb journal;
    return journal.Open(kJournalStore) ? JournalUid(journal, oid) : std::string();
}

std::unordered_map<std::string, CEOID> JournalUids() {
    std::unordered_map<std::string, CEOID> uids;
    CeDb db;
    if (!db.Open(kJournalStore)) return uids;
    CeDbRecord record;
    for (CEOID at = db.SeekFirst(); at; at = db.SeekNext())
        if (ReadIdentity(db, record)) uids.emplace(UidOf(record), at);
    return uids;
}

void KeepJournalUid(CJournalData& entry, const std::string& uid) {
    if (entry.m_strExtra.IsEmpty())
        entry.m_strExtra = CeString(std::u16string_view(Utf16(std::string(kMark) + uid)));
}

} // namespace qn
