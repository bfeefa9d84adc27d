// The records that lists hold: copies, clearing, children, the names of contacts.
#include "NorvoTools/CStr.h"
#include "Platform/memory.h"
#include "Platform/strings.h"
#include "QNWorkerClass/DATACALENDAR.h"
#include "QNWorkerClass/DATACONTACTS.h"
#include "QNWorkerClass/DATAGENERAL.h"
#include "QNWorkerClass/DATANOTES.h"
#include "QNWorkerClass/DATATASKS.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

std::u16string Text(const WCHAR* text) { return text ? text : u"(null)"; }

// All fields of a line but m_pTask, in their order.
std::u16string Told(const DATACALENDAR& line) {
    std::u16string text;
    auto numbers = [&text](auto... values) {
        for (const std::string& value : {std::to_string(values)...})
            text += std::u16string(value.begin(), value.end()) + u' ';
    };
    numbers(line.m_oid, line.m_oidRecord, line.m_wMeeting, line.m_lBusyStatus, line.m_lDuration, line.m_lDay,
            line.m_dtStart, line.m_dtEnd);
    for (BSTR value : {line.m_bstrSubject, line.m_bstrLocation, line.m_bstrSpare})
        text += value ? std::u16string(value, SysStringLen(value)) : u"-";
    text += Text(line.m_szIcon) + Text(line.m_szCategories);
    numbers(line.m_bHasLink, line.m_bHasJournalLink, line.m_bHasNote, line.m_bAllDay, line.m_bPrivate,
            line.m_bRecurring, line.m_bException, line.m_bReminder, line.m_bSortLast, line.m_nType,
            line.m_bEndsEarlier, line.m_wAnniversaryYear, line.m_wBirthdayYear, line.m_bListed);
    return text;
}

// A line with another value in every field.
void Fill(DATACALENDAR& line) {
    line.m_oid = 0x40000007;
    line.m_oidRecord = 0x00100003;
    line.m_wMeeting = 3;
    line.m_lBusyStatus = 4;
    line.m_lDay = 40179;
    line.m_dtStart = 40179.5;
    line.m_dtEnd = 40179.75;
    line.m_lDuration = 360;
    line.m_bstrSubject = SysAllocStringLen(u"a\0b", 3); // a text may hold a zero
    line.m_bstrLocation = SysAllocString(u"Room 4");
    line.m_bstrSpare = SysAllocString(u"spare");
    line.m_szIcon = _wcsdup(u"star");
    line.m_szCategories = _wcsdup(u"Work, Home");
    line.m_bHasLink = line.m_bHasJournalLink = line.m_bHasNote = line.m_bAllDay = line.m_bPrivate =
        line.m_bRecurring = line.m_bException = 1;
    line.m_bReminder = line.m_bEndsEarlier = line.m_bListed = 1;
    line.m_bSortLast = 1;
    line.m_nType = kLineJournal;
    line.m_wAnniversaryYear = 1969;
    line.m_wBirthdayYear = 1970;
}

TEST(Records, CalendarLineCopiesDeeplyAndIsClearedWhole) {
    std::unique_ptr<DATACALENDAR> copy;
    std::u16string told;
    {
        DATACALENDAR line;
        Fill(line);
        told = Told(line);
        line.m_bListed = 0;
        copy.reset(line.Copy()); // which is listed
        EXPECT_EQ(0, line.m_bListed);
    }
    EXPECT_EQ(told, Told(*copy));
    EXPECT_EQ(told.find(u'\0') + 1, told.find(u"bRoom 4spare"));
    for (int i = 0; i < 2; ++i) { // twice frees nothing twice
        copy->m_pTask = new DATATASKS;
        copy->NullData();
        EXPECT_EQ(nullptr, copy->m_pTask);
        EXPECT_EQ(Told(DATACALENDAR()), Told(*copy));
    }
    EXPECT_EQ(u"0 0 0 0 0 949998 949998.000000 949998.000000 ---(null)(null)0 0 0 0 0 0 0 0 0 3 0 0 0 0 ",
              Told(*copy));
    copy->m_szIcon = _wcsdup(u""); // none, but no categories are an empty text
    const std::unique_ptr<DATACALENDAR> bare(copy->Copy());
    EXPECT_EQ(u"(null)|", Text(bare->m_szIcon) + Text(bare->m_szCategories) + u"|");
    copy->m_pTask = new DATATASKS;
    EXPECT_EQ(nullptr, copy->Copy()); // a task's line is not copied
}

// A row with two children, of which the first has one.
std::unique_ptr<DATATASKS> Tree() {
    auto root = std::make_unique<DATATASKS>();
    root->m_oid = 1;
    root->m_szSubject = _wcsdup(u"root");
    for (DWORD oid : {2u, 3u}) {
        auto* child = new DATATASKS;
        child->m_oid = oid;
        child->m_pParent = root.get();
        root->m_listChildren.Add(child);
    }
    auto* grandchild = new DATATASKS;
    grandchild->m_oid = 4;
    grandchild->m_szCategories = _wcsdup(u"Home");
    root->m_listChildren[0]->m_listChildren.Add(grandchild);
    return root;
}

TEST(Records, TaskTreeIsCountedAndCopied) {
    auto root = Tree();
    EXPECT_TRUE(root->IsParentNode());
    EXPECT_EQ(2, root->NumChildren());
    EXPECT_EQ(3, root->TotalNumChildren());
    const std::unique_ptr<DATATASKS> whole(root->Copy(true));
    const std::unique_ptr<DATATASKS> alone(root->Copy(false));
    root.reset();
    EXPECT_EQ(u"root", Text(whole->m_szSubject));
    EXPECT_EQ(3, whole->TotalNumChildren());
    const DATATASKS* first = whole->m_listChildren[0];
    EXPECT_EQ(2u, first->m_oid);
    EXPECT_EQ(whole.get(), first->m_pParent);
    EXPECT_EQ(u"Home", Text(first->m_listChildren[0]->m_szCategories));
    EXPECT_EQ(3u, whole->m_listChildren[1]->m_oid);
    EXPECT_FALSE(alone->IsParentNode());
    wcscpy(alone->m_szSubject + 4,
           u" (12345)"); // room for eight more: the address checker would see one too many
    EXPECT_EQ(u"root (12345)", Text(alone->m_szSubject));
}

TEST(Records, ClearingATaskRowKeepsItsPlaceInTheTreeUnlessToldOtherwise) {
    auto row = Tree();
    row->m_bExpanded = 0;
    row->m_oidParent = 9;
    row->m_nImportance = 2;
    row->m_dtDue = 40000;
    for (bool all : {false, true}) {
        row->NullData(all);
        EXPECT_EQ(nullptr, row->m_szSubject);
        EXPECT_EQ(1, row->m_nImportance);
        EXPECT_EQ(949998.0, row->m_dtDue);
        EXPECT_EQ(all ? 0 : 2, row->NumChildren());
        EXPECT_EQ(all, row->m_bExpanded);
        EXPECT_EQ(all ? 0u : 9u, row->m_oidParent);
    }
}

TEST(Records, NotesAndResultsOwnTheirChildren) { // the leak checker tells
    DATANOTES folder;
    folder.m_bstrTitle = SysAllocString(u"Folder");
    auto* note = new DATANOTES;
    note->m_bstrPath = SysAllocString(u"\\My Documents\\a.pwi");
    note->m_listChildren.Add(new DATANOTES);
    folder.m_listChildren.Add(note);
    EXPECT_EQ(2, folder.TotalNumChildren());
    folder.NullData(false);
    EXPECT_EQ(nullptr, folder.m_bstrTitle);
    EXPECT_TRUE(folder.IsParentNode());
    folder.NullData(true);
    EXPECT_FALSE(folder.IsParentNode());
    DATAPARENT group;
    auto* hit = new DATAGENERAL;
    hit->m_szText = _wcsdup(u"hit");
    EXPECT_EQ(1, group.m_listChildren.Add(hit)); // the first index
}

// --- Contacts -------------------------------------------------------------------------------------------------------

struct NameCase {
    const WCHAR* first;
    const WCHAR* last;
    const WCHAR* company;
    const WCHAR* fileAs;
    LONG companyFormat; // the setting that group forms follow
    ContactsDisplay format;
    const WCHAR* shown;
};

class ContactNames : public ::testing::Test {
protected:
    ~ContactNames() override { g_nDisplayFormatCompany = 0; }
};

TEST_F(ContactNames, FollowTheFormat) {
    const NameCase cases[] = {
        {u"Ada", u"Byron", u"Acme", u"As", 0, kDisplayFirstLast, u"Ada Byron"},
        {u"Ada", u"Byron", u"Acme", u"As", 0, kDisplayLastFirst, u"Byron, Ada"},
        {u"Ada", u"Byron", u"Acme", u"As", 0, kDisplayFileAs, u"As"},
        {u"Ada", u"", u"Acme", u"As", 0, kDisplayLastFirst, u"Ada"},
        {nullptr, u"Byron", u"Acme", u"As", 0, kDisplayFirstLast, u"Byron"},
        {u"", nullptr, u"Acme", u"As", 0, kDisplayFirstLast, u"Acme"},
        {nullptr, nullptr, u"", u"As", 0, kDisplayLastFirst, u"As"},
        {u"Ada", u"Byron", u"Acme", nullptr, 0, kDisplayFileAs, u""},
        {nullptr, nullptr, nullptr, nullptr, 0, kDisplayFirstLast, u""},
        // Groups follow the company setting: 2 file-as, 0 first last, any other last, first.
        {u"Ada", u"Byron", u"Acme", u"As", 2, kDisplayByCompany, u"As"},
        {u"Ada", u"Byron", u"Acme", u"As", 0, kDisplayByCompany, u"Ada Byron"},
        {u"Ada", u"Byron", u"Acme", u"As", 1, kDisplayByCategory, u"Byron, Ada"},
    };
    for (const bool privateHeap : {false, true}) {
        const HANDLE heap = privateHeap ? HeapCreate(0, 0, 0) : nullptr;
        for (const NameCase& c : cases) {
            g_nDisplayFormatCompany = c.companyFormat;
            const std::unique_ptr<DATACONTACTS> row(new (heap) DATACONTACTS(heap));
            const auto set = [&](WCHAR*& field, const WCHAR* text) {
                field = text ? AllocCSTR(text, heap) : nullptr;
            };
            set(row->m_szFirstName, c.first);
            set(row->m_szLastName, c.last);
            set(row->m_szCompany, c.company);
            set(row->m_szFileAs, c.fileAs);
            EXPECT_EQ(Text(c.shown), row->GetNameDisplay(c.format)) << "format " << c.format;
        }
        if (heap) HeapDestroy(heap);
    }
}

TEST_F(ContactNames, AreKeptUntilFormatOrClear) {
    const std::unique_ptr<DATACONTACTS> row(new (nullptr) DATACONTACTS(nullptr));
    row->m_szFirstName = AllocCSTR(u"Ada");
    row->m_szLastName = AllocCSTR(u"Byron");
    const WCHAR* const shown = row->GetNameDisplay(kDisplayFirstLast);
    EXPECT_EQ(shown, row->GetNameDisplay(kDisplayFirstLast));
    ReAllocCSTR(&row->m_szLastName, u"Lovelace");
    EXPECT_EQ(u"Ada Byron", Text(row->GetNameDisplay(kDisplayFirstLast)));
    EXPECT_EQ(u"Lovelace, Ada", Text(row->GetNameDisplay(kDisplayLastFirst)));
    row->ClearNameDisplay();
    EXPECT_EQ(u"Ada Lovelace", Text(row->GetNameDisplay(kDisplayFirstLast)));
}

} // namespace
