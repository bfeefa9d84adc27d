// What an iCalendar file says beside its items: journal entries, and which items belong together.
#include "NorvoTools/CeDb.h"
#include "Platform/clock.h"
#include "QNWorkerClass/journalstore.h"
#include "QNWorkerClass/linkstore.h"
#include "apps/qn/icssave.h"

namespace qn {

namespace {

constexpr CEPROPID kExtraProperty = 0x0035001F;
constexpr const char* kUidMark = "UID:"; // in front of the UID, in the text that the journal keeps for others

CeString TextOf(const std::string& utf8) { return CeString(std::u16string_view(Utf16(utf8))); }

// The entries that came from calendar files, by their UIDs.
std::unordered_map<std::u16string, CEOID> KnownEntries() {
    std::unordered_map<std::u16string, CEOID> known;
    CeDb db;
    if (!db.Open(kJournalStore)) return known;
    CeDbRecord record;
    for (CEOID at = db.SeekFirst(); at; at = db.SeekNext())
        if (db.ReadRec(record, 1, &kExtraProperty)) known.emplace(record.TextAt(0), at);
    return known;
}

LinkKind KindOf(CEOID oid) {
    const CEOID bits = oid & kOidKindMask;
    return bits == kOidContact ? LinkKind::kContact
           : bits == kOidTask  ? LinkKind::kTask
                               : LinkKind::kAppointment;
}

} // namespace

// Any item; a series that was split is its first date.
CEOID IcsSaver::FindAny(const std::string& uid) {
    if (uid.empty()) return 0;
    for (const int folder : {olFolderTasks, olFolderCalendar, olFolderContacts})
        if (const CEOID oid = Find(folder, m_store.UidProperty(true), uid)) return oid;
    return 0;
}

void IcsSaver::SaveEntry(const IcsItem& item, CEOID known) {
    CJournalData entry;
    if (known) CJournal::ReadEntry(known, &entry);
    SYSTEMTIME now{};
    GetLocalTime(&now);
    const auto dateOf = [&](const When& when) {
        return when.IsSet() ? ToSystemTime(m_zones.ToDevice(when)) : now;
    };
    entry.m_stDate = dateOf(item.start.IsSet() ? item.start : item.createdAt);
    if (!known || item.createdAt.IsSet())
        entry.m_stCreated = dateOf(item.createdAt.IsSet() ? item.createdAt : item.start);
    entry.m_strTitle = TextOf(item.summary);
    entry.m_strCategories = TextOf(Categories(item));
    entry.m_strExtra = TextOf(kUidMark + item.uid);
    entry.m_note = NoteBytes(item.note);
    entry.m_oidOwner = FindAny(item.parentUid);
    if (!entry.m_oidOwner && !item.parentUid.empty()) Remark("owners of journal entries that are not there");
    if (!CJournal::WriteEntry(&entry, false)) return Complain(item.line, "the journal can't be written");
    ++(known ? m_tally.updatedEntries : m_tally.newEntries);
    RemarkUnkept(item);
}

void IcsSaver::SaveJournal() {
    if (m_entries.empty()) return;
    CJournal::CheckAndCreateDB();
    auto known = KnownEntries();
    for (const IcsItem* item : m_entries) {
        const auto found = known.find(Utf16(kUidMark + item->uid));
        SaveEntry(*item, found == known.end() ? 0 : found->second);
    }
}

void IcsSaver::Link(CEOID item, CEOID other) {
    const bool linked = CLinks::Create(item, other, nullptr, KindOf(other), 1, nullptr) &&
                        CLinks::Create(other, item, nullptr, KindOf(item), 1, nullptr);
    if (!linked) Remark("links that can't be written");
}

void IcsSaver::SaveLinks() {
    for (const IcsItem* item : m_related) {
        const CEOID oid = FindAny(item->uid);
        for (const std::string& uid : item->relatedUids) {
            const CEOID other = FindAny(uid);
            if (oid && other && oid != other)
                Link(oid, other);
            else
                Remark("relations to items that are not there");
        }
    }
}

} // namespace qn
