#include "QNWorkerClass/journalstore.h"

#include "NorvoTools/CeDb.h"
#include "NorvoTools/errors.h"
#include "NorvoTools/globals.h"
#include "NorvoUI/inkdocument.h"
#include "Platform/clock.h"
#include "Platform/memory.h"
#include "Platform/threads.h"

#include <array>
#include <atomic>
#include <iterator>
#include <span>
#include <string_view>

namespace {

constexpr WCHAR kOldStore[] = u"QuillonaryJournal";
constexpr WORD kMoveQuestion = 44900;
constexpr UINT kQuestionFlags = 0x40024; // yes and no, a question mark, in front
constexpr int kYes = 6;
constexpr CEPROPID kNoteStream = 0x00370064;

enum Field : int {
    kNumber1,
    kNumber2,
    kNumber3,
    kDate,
    kModified,
    kCreated,
    kOwner,
    kOldNote,
    kTitle,
    kType,
    kMinutes,
    kUnused,
    kCategories,
    kExtra,
    kFlag,
    kFields
};
constexpr std::array<CEPROPID, kFields> kIds{0x00280003, 0x00290003,         0x002A0003,      0x002B0040,
                                             0x002C0040, kJournalByCreation, kJournalByOwner, 0x002F001F,
                                             0x0030001F, 0x0031001F,         0x00320013,      0x0033000B,
                                             0x0034001F, 0x0035001F,         0x0036000B};

bool CreateStore() {
    constexpr CEPROPID kOrders[] = {kIds[kOwner], kIds[kCreated], kIds[kModified], kIds[kNumber1]};
    SORTORDERSPECEX orders[std::size(kOrders)]{};
    for (std::size_t i = 0; i < std::size(kOrders); ++i) {
        orders[i].wVersion = 2;
        orders[i].wNumProps = 1;
        orders[i].rgPropID[0] = kOrders[i];
    }
    std::array<CEPROPSPEC, kFields + 1> props{};
    for (std::size_t i = 0; i < props.size(); ++i)
        props[i] = {2, i < kFields ? kIds[i] : kNoteStream, 0, nullptr, 0};
    CeDb db;
    return db.Create(kJournalStore, 0, static_cast<WORD>(std::size(orders)), orders,
                     static_cast<WORD>(props.size()), props.data());
}

// The current record of the old store as it stands.
bool CopyRecord(CeDb& old, CeDb& store) {
    CeDbRecord record;
    if (!old.ReadRec(record, 0, nullptr)) return false;
    CEBLOB note{};
    const bool hasNote = old.ReadStream(kNoteStream, &note);
    bool copied = store.AddRec(record);
    if (copied && hasNote) copied = store.SeekTo(record.m_oid) != 0 && store.WriteStream(kNoteStream, &note);
    LocalFree(note.lpb);
    return copied;
}

// Asked when there is something to move. With entries in the new store the counts differ afterwards, and the old one
// stays; so it does when one of its records could not be copied.
void MoveOldStore() {
    CeDb old;
    if (!old.Open(kOldStore) || old.GetNumRecords() == 0) return;
    if (CShowError(kMoveQuestion, g_hResources, kQuestionFlags).m_nResult != kYes) return;
    CeDb store;
    if (!store.Open(kJournalStore, kJournalByOwner)) return;
    bool whole = true;
    for (CEOID at = old.SeekFirst(); at; at = old.SeekNext()) whole = CopyRecord(old, store) && whole;
    if (whole && store.GetNumRecords() == old.GetNumRecords()) old.Delete();
}

bool DateAt(const CeDbRecord& record, int field, SYSTEMTIME& date) {
    FILETIME time;
    return record.GetIndexVal(field, time) && FileTimeToSystemTime(&time, &date);
}

void PutDate(CeDbRecord& record, int field, const SYSTEMTIME& date) {
    FILETIME time{};
    if (SystemTimeToFileTime(&date, &time))
        record.SetIndexVal(field, time);
    else
        record.RemProp(field);
}

void PutText(CeDbRecord& record, int field, const CeString& text) {
    if (text.IsEmpty())
        record.RemProp(field);
    else
        record.SetIndexVal(field, text.GetStr());
}

void ReadDates(const CeDbRecord& record, CJournalData& entry) {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    if (!DateAt(record, kModified, entry.m_stModified)) entry.m_stModified = now;
    if (!DateAt(record, kDate, entry.m_stDate)) entry.m_stDate = now;
    entry.m_bCreatedMissing = !DateAt(record, kCreated, entry.m_stCreated);
    if (entry.m_bCreatedMissing) entry.m_stCreated = entry.m_stDate;
}

void ReadText(InkDocument& document, std::u16string_view text) {
    document.Append(text.substr(0, text.find(u'\0')), InkFormat{});
}

// The stream; else the text of a record of an older version. Either is given as ink, which editors take; bytes that are no
// note stay what they are.
void ReadNote(CeDb& db, const CeDbRecord& record, CJournalData& entry) {
    CEBLOB stream{};
    InkDocument document;
    if (db.ReadStream(kNoteStream, &stream) && stream.dwCount) {
        const std::span note(stream.lpb, stream.dwCount);
        const bool isInk = GetBlobFormat(note.data(), stream.dwCount) == kNoteInk;
        if (!isInk && document.Read(note, kNoteByContent))
            entry.m_note = document.Write(kNoteInk);
        else
            entry.m_note.assign(note.begin(), note.end());
    } else if (const std::u16string_view text = record.TextAt(kOldNote); !text.empty()) {
        ReadText(document, text);
        entry.m_note = document.Write(kNoteInk);
    }
    LocalFree(stream.lpb);
}

// A note goes to the store as rich text, and without its last paragraph mark where the suite runs from left to right. One
// without text is none; what can't be read is kept as it is.
std::vector<BYTE> StoredNote(const std::vector<BYTE>& note) {
    constexpr std::string_view kLastMark = "\\par }";
    constexpr std::size_t kShortest = 10;
    InkDocument document;
    if (note.empty() || !document.Read(note, kNoteByContent)) return note;
    if (document.IsEmpty()) return {};
    std::vector<BYTE> rich = document.Write(kNoteRich);
    const std::string_view text(reinterpret_cast<const char*>(rich.data()), rich.size());
    if (g_dwLeftDefine == 0 && text.size() > kShortest && text.ends_with(kLastMark)) {
        rich.resize(rich.size() - kLastMark.size());
        rich.push_back('}');
    }
    return rich;
}

void FillRecord(CeDbRecord& record, const CJournalData& entry) {
    for (int i = 0; i < 3; ++i) record.SetIndexVal(kNumber1 + i, entry.m_nNumbers[i]);
    PutDate(record, kDate, entry.m_stDate);
    PutDate(record, kModified, entry.m_stModified);
    PutDate(record, kCreated, entry.m_stCreated);
    record.SetIndexVal(kOwner, static_cast<LONG>(entry.m_oidOwner));
    record.RemProp(kOldNote); // the stream holds it
    PutText(record, kTitle, entry.m_strTitle);
    PutText(record, kType, entry.m_strType);
    record.SetIndexVal(kMinutes, entry.m_nFlags);
    record.SetIndexVal(kUnused, false);
    PutText(record, kCategories, entry.m_strCategories);
    PutText(record, kExtra, entry.m_strExtra);
    record.SetIndexVal(kFlag, entry.m_bFlag);
}

// The creation of a record that is there stays as it was written first.
void KeepCreation(CeDb& db, CeDbRecord& record) {
    CeDbRecord stored;
    FILETIME created;
    if (db.ReadRec(stored, 1, &kIds[kCreated]) && stored.GetIndexVal(0, created))
        record.SetIndexVal(kCreated, created);
    else
        record.RemProp(kCreated);
}

// An empty note is an empty stream, which reads as none.
bool WriteNote(CeDb& db, const CJournalData& entry) {
    CEBLOB old{};
    const bool had = db.ReadStream(kNoteStream, &old);
    LocalFree(old.lpb);
    std::vector<BYTE> note = StoredNote(entry.m_note);
    if (note.empty() && !had) return true;
    const CEBLOB blob{static_cast<DWORD>(note.size()), note.data()};
    return db.WriteStream(kNoteStream, &blob) || note.empty();
}

// One entry in the transaction that is open; gives its record, 0 when it can't be written.
CEOID Put(CeDb& db, CJournalData& entry, bool stampCreated) {
    const bool known = entry.m_oidRecord && db.SeekTo(entry.m_oidRecord);
    GetLocalTime(&entry.m_stModified);
    if (!known && stampCreated) GetLocalTime(&entry.m_stCreated);
    CeDbRecord record;
    record.AddProps(kIds.data(), kFields);
    FillRecord(record, entry);
    if (known) KeepCreation(db, record);
    record.m_oid = known ? entry.m_oidRecord : 0;
    const bool written =
        (known ? db.UpdateRec(record) : db.AddRec(record)) && db.SeekTo(record.m_oid) && WriteNote(db, entry);
    return written ? record.m_oid : 0;
}

void RollBack(CeDb& db) {
    const DWORD error = GetLastError();
    db.RollBack();
    SetLastError(error);
}

} // namespace

void CJournal::CheckAndCreateDB() {
    static std::atomic<bool> checked{false};
    if (checked.exchange(true)) return;
    CeDb db;
    const bool there = db.Open(kJournalStore, kJournalByOwner);
    db.Close();
    if (there || CreateStore()) MoveOldStore();
}

bool CJournal::Open(CeDb& store, CEPROPID order) {
    CheckAndCreateDB();
    return store.Open(kJournalStore, order);
}

bool CJournal::ReadEntry(CEOID oid, CJournalData* entry) {
    CeDb store;
    return Open(store) && ReadEntry(store, oid, entry);
}

bool CJournal::ReadEntry(CeDb& store, CEOID oid, CJournalData* entry) {
    CeDbRecord record;
    if (!entry || !store.SeekTo(oid) || !store.ReadRec(record, kFields, kIds.data())) return false;
    *entry = CJournalData();
    for (int i = 0; i < 3; ++i) record.GetIndexVal(kNumber1 + i, entry->m_nNumbers[i]);
    ReadDates(record, *entry);
    LONG owner = 0;
    record.GetIndexVal(kOwner, owner);
    entry->m_oidOwner = static_cast<DWORD>(owner);
    entry->m_strTitle = CeString(record.TextAt(kTitle));
    entry->m_strType = CeString(record.TextAt(kType));
    record.GetIndexVal(kMinutes, entry->m_nFlags);
    entry->m_strCategories = CeString(record.TextAt(kCategories));
    entry->m_strExtra = CeString(record.TextAt(kExtra));
    record.GetIndexVal(kFlag, entry->m_bFlag);
    ReadNote(store, record, *entry);
    entry->m_oidRecord = oid;
    return true;
}

bool CJournal::WriteEntry(CJournalData* entry, bool stampCreated) {
    if (entry && WriteEntries({entry, 1}, stampCreated)) return true;
    ShowError();
    return false;
}

bool CJournal::WriteEntries(std::span<CJournalData> entries, bool stampCreated) {
    CeDb store;
    if (!Open(store) || !store.BeginTransaction()) return false;
    std::vector<CEOID> written;
    for (CJournalData& entry : entries) {
        written.push_back(Put(store, entry, stampCreated));
        if (!written.back()) return RollBack(store), false;
    }
    if (!store.Commit()) return false;
    for (std::size_t i = 0; i < entries.size(); ++i) entries[i].m_oidRecord = written[i];
    return true;
}

bool CJournal::DeleteEntry(CEOID oid) {
    CeDb store;
    return Open(store) && store.SeekTo(oid) && store.DeleteRecord(oid);
}
