// The stores of the journal and of the links: how they are made, what an entry keeps, what a move brings over.
#include "QNWorkerClass/journalstore.h"

#include "NorvoTools/CeDb.h"
#include "NorvoTools/globals.h"
#include "Platform/clock.h"
#include "Platform/memory.h"
#include "Platform/modules.h"
#include "Platform/notetext.h"
#include "Platform/testing.h"
#include "QNWorkerClass/linkstore.h"
#include "tests/support/sidestores.h"

#include <algorithm>

namespace {

constexpr int kYes = 6;

class JournalStore : public StoreTest {};
class LinkStore : public StoreTest {};

std::string ShowAll(const Read& read) {
    std::string text;
    for (WORD i = 0; i < read.Count(); ++i) text += (i ? " " : "") + Show(read[i]);
    return text;
}

SYSTEMTIME Day(WORD day) { return {2026, 11, 0, day, 14, 30, 0, 0}; }

std::vector<BYTE> Bytes(std::string_view text) { return {text.begin(), text.end()}; }

// "67586 text": the form of the note and what it says.
std::string Note(const std::vector<BYTE>& note) {
    std::u16string text;
    const auto size = static_cast<DWORD>(note.size());
    if (!PlatTextOfNote(note.data(), size, text)) return "unread";
    return std::to_string(GetBlobFormat(note.data(), size)) + " " + Narrow(text.c_str());
}

std::string Stream(CEOID entry) {
    CeDb db;
    CEBLOB note{};
    EXPECT_TRUE(db.Open(kJournalStore) && db.SeekTo(entry));
    db.ReadStream(0x00370064, &note);
    const std::string bytes(reinterpret_cast<const char*>(note.lpb), note.dwCount);
    LocalFree(note.lpb);
    return bytes;
}

// Notes of every form go in as rich text, without its last paragraph mark unless the suite runs from right to left, and come
// out as ink. Bytes that are no note aren't lost.
void NotesKeepTheirText() {
    const std::string broken = "{\\pwi is no ink";
    const struct {
        std::vector<BYTE> note;
        DWORD left;
        const char* end; // of what is stored
        std::string read;
    } cases[] = {
        {Bytes("plain\r\ntext"), 0, " text}", "67586 plain\r\ntext"},
        {Bytes("plain"), 2, " plain\\par }", "67586 plain"},
        {{'w', 0, 'i', 0, 'd', 0, 'e', 0}, 0, " wide}", "67586 wide"},
        {Bytes("{\\rtf1 say {\\b \\'7b par \\'7d}\\par }"), 0, " \\{ par \\}}", "67586 say { par }"},
        {Bytes(broken), 0, broken.c_str(), "unread"},
    };
    for (const auto& one : cases) {
        const DWORD before = std::exchange(g_dwLeftDefine, one.left);
        CJournalData entry;
        entry.m_stDate = entry.m_stCreated = Day(1);
        entry.m_note = one.note;
        EXPECT_TRUE(CJournal::WriteEntry(&entry, false));
        g_dwLeftDefine = before;
        const std::string stored = Stream(entry.m_oidRecord);
        EXPECT_TRUE(stored.ends_with(one.end)) << stored;
        EXPECT_TRUE(CJournal::ReadEntry(entry.m_oidRecord, &entry));
        EXPECT_EQ(one.read, Note(entry.m_note));
    }
}

// Two entries with their notes are one change, whichever write fails.
void EntriesAreStoredTogether(CeDb& store) {
    const DWORD before = store.GetNumRecords();
    bool done = false;
    for (unsigned nth = 1; !done; ++nth) {
        CJournalData entries[2];
        for (CJournalData& entry : entries) entry.m_stDate = Day(1), entry.m_note = Bytes("note");
        PlatInjectFault(PlatFault::StoreWrite, nth);
        done = CJournal::WriteEntries(entries, true);
        EXPECT_EQ(done, PlatFaultCount(PlatFault::StoreWrite) < nth);
        PlatInjectFault(PlatFault::StoreWrite, 0);
        EXPECT_EQ(store.GetNumRecords(), before + (done ? 2 : 0)) << nth;
        EXPECT_EQ(entries[0].m_oidRecord != 0, done);
        EXPECT_TRUE(!done || Stream(entries[1].m_oidRecord).ends_with("note}"));
    }
}

// A store is made once a process, so all of it is one story: an old journal, its move, then entries of today.
TEST_F(JournalStore, MovesTheOldOneAndKeepsEntries) {
    CeDb old;
    ASSERT_TRUE(
        old.Create(u"QuillonaryJournal", 0, 0, static_cast<const SORTORDERSPECEX*>(nullptr), 0, nullptr));
    ASSERT_TRUE(old.Open(u"QuillonaryJournal"));
    Add(old.m_hDb, Values().Text(0x30, u"text").Text(0x2F, u"old note").Time(0x2B, 129340000000000000));
    const CEOID second = Add(old.m_hDb, Values().Text(0x30, u"stream").Int(0x2E, 7).Real(0x99, 1.5));
    const CEBLOB note{3, const_cast<BYTE*>(reinterpret_cast<const BYTE*>("abc"))};
    ASSERT_TRUE(old.SeekTo(second) && old.WriteStream(0x00370064, &note));
    old.Close();
    const HINSTANCE before = std::exchange(g_hResources, LoadLibraryW(u"QNResources.dll"));
    ASSERT_NE(g_hResources, nullptr);
    PlatAnswerMessageBox(kYes);
    CJournal::CheckAndCreateDB();
    const auto boxes = PlatTakeMessageBoxes();
    g_hResources = before;
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_FALSE(old.Open(u"QuillonaryJournal")) << "all came over";

    CeDb store;
    ASSERT_TRUE(store.Open(kJournalStore, 0x00280003));
    for (const CEPROPID order : {0x002E0003, 0x002D0040, 0x002C0040})
        EXPECT_TRUE(store.Open(kJournalStore, order)) << std::hex << order;
    ASSERT_TRUE(store.Open(kJournalStore));
    ASSERT_EQ(store.GetNumRecords(), 2u);
    const CEOID first = store.SeekFirst();
    CJournalData entry;
    ASSERT_TRUE(CJournal::ReadEntry(first, &entry));
    EXPECT_EQ(entry.m_strTitle, u"text");
    EXPECT_EQ(Note(entry.m_note), "67586 old note");
    EXPECT_TRUE(entry.m_bCreatedMissing);
    EXPECT_EQ(entry.m_stCreated.wDay, entry.m_stDate.wDay);
    ASSERT_TRUE(CJournal::ReadEntry(store.SeekNext(), &entry));
    EXPECT_EQ(entry.m_oidOwner, 7u);
    EXPECT_EQ(Note(entry.m_note), "67586 abc");

    // What is written is read; an update keeps the creation and takes an empty note out.
    entry.m_oidRecord = 0;
    entry.m_nNumbers[2] = -3;
    entry.m_stDate = entry.m_stCreated = Day(21);
    entry.m_strCategories = u"Work";
    entry.m_nFlags = 45;
    entry.m_bFlag = true;
    ASSERT_TRUE(CJournal::WriteEntry(&entry, false));
    EXPECT_EQ(store.GetNumRecords(), 3u);
    CJournalData again;
    ASSERT_TRUE(CJournal::ReadEntry(entry.m_oidRecord, &again));
    EXPECT_EQ(again.m_nNumbers[2], -3);
    EXPECT_EQ(again.m_stCreated.wDay, 21);
    EXPECT_EQ(again.m_nFlags, 45u);
    EXPECT_TRUE(again.m_bFlag);
    again.m_stCreated = Day(22);
    again.m_note.clear();
    again.m_strCategories = u"";
    ASSERT_TRUE(CJournal::WriteEntry(&again, true));
    ASSERT_TRUE(CJournal::ReadEntry(entry.m_oidRecord, &entry));
    EXPECT_EQ(entry.m_stCreated.wDay, 21);
    EXPECT_TRUE(entry.m_note.empty() && entry.m_strCategories.IsEmpty());
    EXPECT_EQ(store.GetNumRecords(), 3u);
    again.m_oidRecord = 0;
    ASSERT_TRUE(CJournal::WriteEntry(&again, true));
    SYSTEMTIME now{};
    GetLocalTime(&now);
    ASSERT_TRUE(CJournal::ReadEntry(again.m_oidRecord, &entry));
    EXPECT_EQ(entry.m_stCreated.wYear, now.wYear);
    EXPECT_FALSE(CJournal::ReadEntry(1, &entry));
    NotesKeepTheirText();
    EntriesAreStoredTogether(store);
}

TEST_F(LinkStore, AnOlderOneGetsTheTextItLacks) {
    CEPROPSPEC props[6]{};
    const CEPROPID ids[] = {0x00000003, 0x00010003, 0x00020003, 0x0003001F, 0x00040003, 0x00050003};
    for (int i = 0; i < 6; ++i) props[i] = {2, ids[i], 0, nullptr, 0};
    const SORTORDERSPECEX orders[] = {Order({{0x00010003, 0}}), Order({{0x00000003, 0}}),
                                      Order({{0x00020003, 0}})};
    CeDb db;
    ASSERT_TRUE(db.Create(u"QuillonaryLinks", 0, 3, orders, 6, props));
    EXPECT_TRUE(CLinks::CheckAndCreateDB());
    ASSERT_TRUE(db.Open(u"QuillonaryLinks", 0x00010003));
    CEPROPSPEC found[16]{};
    WORD count = 16;
    ASSERT_TRUE(CeGetDatabaseProps(db.m_hDb, &count, nullptr, found));
    ASSERT_EQ(count, 7);
    EXPECT_EQ(found[6].propid, 0x0006001Fu);

    const CEOID task = 0xC0000001, visit = 0x40000002;
    const auto links = [&] { return db.GetNumRecords(); };
    EXPECT_FALSE(CLinks::Create(5, 5, nullptr, LinkKind::kTask, 1, nullptr));
    EXPECT_FALSE(CLinks::Create(0, visit, nullptr, LinkKind::kAppointment, 1, nullptr));
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(CLinks::Create(task, visit, u"no file", LinkKind::kAppointment, 1, u"shown"));
        EXPECT_TRUE(CLinks::Create(visit, task, nullptr, LinkKind::kTask, 1, nullptr));
    }
    EXPECT_EQ(links(), 2u) << "not doubled";
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(CLinks::Create(task, 0, u"\\a.txt", LinkKind::kFile, 1, nullptr));
    EXPECT_EQ(links(), 4u) << "files are not looked for";
    EXPECT_TRUE(CLinks::Create(task, 9, u"Inbox", LinkKind::kMail, 1, nullptr));
    EXPECT_TRUE(CLinks::Create(task, 9, u"Inbox", LinkKind::kMail, 0, nullptr));
    EXPECT_TRUE(CLinks::Create(task, 9, u"Outbox", LinkKind::kMail, 1, nullptr));
    EXPECT_EQ(links(), 6u);
    for (const bool commit : {false, true}) { // many as one change
        CLinkBatch batch;
        for (int i = 0; i < 2; ++i)
            EXPECT_TRUE(batch.Create(task, 0x80000005, nullptr, LinkKind::kContact, 1, nullptr));
        EXPECT_TRUE(batch.Create(0x80000005, task, nullptr, LinkKind::kTask, 1, nullptr));
        EXPECT_EQ(commit, commit && batch.Commit());
    }
    EXPECT_EQ(links(), 8u);
    const std::vector<std::pair<CEOID, CEOID>> pairs{
        {visit, task}, {0x80000005, task}, {task, visit}, {task, 0x80000005}};
    EXPECT_TRUE(std::ranges::is_permutation(CLinks::ItemPairs(), pairs));
    std::string rows;
    for (CEOID at = First(db.m_hDb); at; at = Next(db.m_hDb))
        rows += ShowAll(Read(db.m_hDb, {0x00000003, 0x00040003, 0x0003001F, 0x0006001F})) + "\n";
    EXPECT_EQ(rows,
              "8 4 - -\n1 3 - 'shown'\n3 8 '\\a.txt' -\n4 8 '\\a.txt' -\n5 15 'Inbox' -\n6 15 'Outbox' -\n"
              "7 2 - -\n2 4 - -\n");
}

} // namespace
