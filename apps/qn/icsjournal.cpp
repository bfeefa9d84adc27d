// What an iCalendar file says beside its items: journal entries, and which items belong together.
#include "NorvoTools/CeDb.h"
#include "Platform/clock.h"
#include "QNWorkerClass/journalstore.h"
#include "QNWorkerClass/linkstore.h"
#include "apps/qn/icssave.h"
#include "apps/qn/journaluid.h"

#include <algorithm>
#include <iterator>

namespace qn {

namespace {

CeString TextOf(const std::string& utf8) { return CeString(std::u16string_view(Utf16(utf8))); }

// What iCalendar has no word for; each number has a line.
void TakeOwnFields(const OwnValues& own, CJournalData& entry) {
    if (const std::string type = OwnText(own, "TYPE"); !type.empty()) entry.m_strType = TextOf(type);
    if (const auto minutes = OwnNumber(own, "MINUTES")) entry.m_nFlags = static_cast<DWORD>(*minutes);
    if (const auto flag = OwnNumber(own, "FLAG")) entry.m_bFlag = *flag != 0;
    constexpr const char* kNumbers[] = {"NUMBER1", "NUMBER2", "NUMBER3"};
    for (std::size_t i = 0; i < std::size(kNumbers); ++i)
        entry.m_nNumbers[i] = OwnNumber(own, kNumbers[i]).value_or(entry.m_nNumbers[i]);
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

void IcsSaver::FillEntry(CJournalData& entry, const IcsItem& item) {
    const When& date = item.start.IsSet() ? item.start : item.createdAt;
    const When& created = item.createdAt.IsSet() ? item.createdAt : item.start;
    SYSTEMTIME now{};
    GetLocalTime(&now);
    if (date.IsSet())
        entry.m_stDate = ToSystemTime(m_zones.ToDevice(date));
    else if (!entry.m_oidRecord)
        entry.m_stDate = now;
    if (!entry.m_oidRecord)
        entry.m_stCreated = created.IsSet() ? ToSystemTime(m_zones.ToDevice(created)) : now;
    entry.m_strTitle = TextOf(item.summary);
    entry.m_strCategories = TextOf(Categories(item));
    entry.m_note = TakeNote(item.note, item.own);
    TakeOwnFields(item.own, entry);
    KeepJournalUid(entry, item.uid);
    entry.m_oidOwner = FindAny(item.parentUid);
    if (!entry.m_oidOwner && !item.parentUid.empty()) Remark("owners of journal entries that are not there");
}

// In one change; when that fails one by one, so that an entry that can't be stored costs itself alone.
void IcsSaver::SaveEntries(std::span<const IcsItem* const> items, std::vector<CJournalData>& entries) {
    std::vector<bool> known(entries.size());
    std::transform(entries.begin(), entries.end(), known.begin(),
                   [](const CJournalData& entry) { return entry.m_oidRecord != 0; });
    const bool all = CJournal::WriteEntries(entries, false);
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (!all && !CJournal::WriteEntries({&entries[i], 1}, false)) {
            Complain(items[i]->line, "the journal can't be written");
            continue;
        }
        ++(known[i] ? m_tally.updatedEntries : m_tally.newEntries);
        RemarkUnkept(*items[i]);
    }
}

void IcsSaver::SaveJournal() {
    if (m_entries.empty()) return;
    CeDb store;
    CJournal::Open(store);
    const auto known = JournalUids();
    std::erase_if(m_entries, [&](const IcsItem* item) {
        if (!item->cancelled) return false;
        if (const auto found = known.find(item->uid); found != known.end())
            CJournal::DeleteEntry(found->second);
        ++m_tally.cancelled;
        return true;
    });
    for (std::size_t first = 0; first < m_entries.size(); first += kBatch) {
        const std::span items =
            std::span(m_entries).subspan(first, std::min(kBatch, m_entries.size() - first));
        std::vector<CJournalData> entries(items.size());
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (const auto found = known.find(items[i]->uid); found != known.end())
                CJournal::ReadEntry(store, found->second, &entries[i]);
            FillEntry(entries[i], *items[i]);
        }
        SaveEntries(items, entries);
    }
}

// From both sides.
void IcsSaver::SaveLinks() {
    if (m_related.empty()) return;
    CLinkBatch links;
    for (const IcsItem* item : m_related) {
        const CEOID oid = FindAny(item->uid);
        for (const std::string& uid : item->relatedUids) {
            const CEOID other = FindAny(uid);
            if (!oid || !other || oid == other)
                Remark("relations to items that are not there");
            else if (!links.Create(oid, other, nullptr, KindOf(other), 1, nullptr) ||
                     !links.Create(other, oid, nullptr, KindOf(oid), 1, nullptr))
                Remark("links that can't be written");
        }
    }
    if (!links.Commit()) Remark("links that can't be written");
}

} // namespace qn
