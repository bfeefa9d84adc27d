// The contacts thread: the lists by each format, finding, groups, the recent ones and the calls, what a row shows, and edits of
// the cache. Names are Ada Byron, Bob Cook, Cy Acme's and their like; the locale is American English.
#include "NorvoTools/CStr.h"
#include "NorvoTools/listfile.h"
#include "NorvoTools/paths.h"
#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/modules.h"
#include "Platform/phone.h"
#include "QNWorkerClass/recentcontacts.h"
#include "tests/support/contacts.h"
#include "tests/support/poom.h"

#include <memory>

namespace {

// --- Lists --------------------------------------------------------------------------------------------------------

TEST_F(ContactsTest, FormatsShowAndOrderNames) {
    AddContact(u"Ada", u"Byron").Save();
    AddContact(u"bob", u"Aalto").Save();
    AddContact(u"", u"Cook").Save();
    AddContact(u"", u"").FileAs(u"Acme Ltd").Company(u"Acme").Save();
    AddContact(u"Ada", u"Aalto").FileAs(u"zzz").Save();
    const struct {
        LONG format, company;
        const char* expected;
    } kCases[] = {
        // Rows without a first name are compared by all they have: "Acme Ltd" before "AdaAalto", "Cook" behind "bobAalto".
        {kDisplayFirstLast, 0, "Acme | Ada Aalto | Ada Byron | bob Aalto | Cook"},
        {kDisplayLastFirst, 0, "Aalto, Ada | Aalto, bob | Acme | Byron, Ada | Cook"},
        {kDisplayFileAs, 0, "Aalto, bob | Acme Ltd | Byron, Ada | Cook | zzz"},
        // The company style stands for one of them.
        {kDisplayCompanyStyle, 2, "Aalto, bob | Acme Ltd | Byron, Ada | Cook | zzz"},
        {kDisplayCompanyStyle, 1, "Aalto, Ada | Aalto, bob | Acme | Byron, Ada | Cook"},
        {kDisplayCompanyStyle, 7, "Acme | Ada Aalto | Ada Byron | bob Aalto | Cook"},
    };
    CContactsThread thread; // one object through all formats
    for (const auto& row : kCases) {
        Format(row.format);
        Setting(u"CV_DisplayFormatCompany", row.company);
        EXPECT_EQ(row.expected, Load(thread)) << row.format << "," << row.company;
        EXPECT_EQ(row.expected, Load()) << row.format << "," << row.company;
    }
    EXPECT_EQ(kDisplayFirstLast, thread.GetContactsDisplay());
    thread.SortDataList(true); // by file-as names, the last one first
    EXPECT_EQ("Ada Aalto | Cook | Ada Byron | Acme | bob Aalto", Text(thread));
    DWORD value = 7;
    CRegistry registry;
    registry.OpenKey(HKEY_CURRENT_USER, kView);
    EXPECT_EQ(0, registry.QueryValue(u"ShowHasNoteIcons", &value)); // written back
    EXPECT_EQ(0u, value);
}

TEST_F(ContactsTest, QuickFindGoesByTheNameThatOrders) {
    AddContact(u"Ada", u"Byron").Save();
    AddContact(u"Bob", u"Cook").Save();
    AddContact(u"Björn", u"Al").Save();
    AddContact(u"", u"Bo").Save();
    CContactsThread thread;
    const auto found = [&](LONG format, const WCHAR* text, int mode = kFindQuick) {
        Format(format);
        return Find(thread, text, false, mode);
    };
    EXPECT_EQ("Björn Al | Bob Cook", found(kDisplayFirstLast, u"b"));
    EXPECT_TRUE(thread.IsCompareString());
    EXPECT_EQ("Björn Al", found(kDisplayFirstLast, u"BJO")); // neither case nor accents
    EXPECT_EQ("Björn Al | Bob Cook", found(kDisplayFirstLast, u"b", kFindFirstLetter));
    EXPECT_EQ("Bo | Byron, Ada", found(kDisplayLastFirst, u"b"));
    EXPECT_EQ("Byron, Ada", found(kDisplayFileAs, u"by"));
    EXPECT_EQ("Al, Björn", found(kDisplayLastFirst, u"alma")); // the shorter of the two decides
    EXPECT_EQ("", found(kDisplayFirstLast, u"x"));
    EXPECT_EQ("Ada Byron | Björn Al | Bo | Bob Cook", found(kDisplayFirstLast, u""));
    EXPECT_FALSE(thread.IsCompareString());
}

TEST_F(ContactsTest, WordsAndKeysFindAnyField) {
    AddContact(u"Ada", u"Byron").Company(u"Blue Horse Ltd").Text(PIMPR_HOME_TEL, u"(030) 12-34").Save();
    AddContact(u"Bob", u"Cook").Text(PIMPR_JOB_TITLE, u"Horse doctor").Save();
    AddContact(u"Jo", u"Li").FileAs(u"Li, Jo").Save();
    Format(kDisplayFirstLast);
    const struct {
        const WCHAR* text;
        bool full;
        int mode;
        LONG fullData;
        const char* expected;
    } kCases[] = {
        {u"horse blue", true, kFindQuick, 0, "Ada Byron"}, // all words in one field, in any order
        {u"ron ada", true, kFindQuick, 0, "Ada Byron"},    // "Byron, Ada"
        {u"horse cook", true, kFindQuick, 0, ""},
        {u"horse", true, kFindQuick, 1, "Ada Byron | Bob Cook"},
        {u"0301234", true, kFindQuick, 1, "Ada Byron"},  // a number without what it is set out with
        {u"horse doc", true, kFindQuick, 1, "Bob Cook"}, // in a record the whole text counts
        {u"075", false, kFindKeypad, 0, "Ada Byron"},    // B Y ... keys of ABC, WXYZ, PQRS
        {u"22", false, kFindKeypad, 0, ""},
        {u"34", false, kFindKeypad, 0, "Jo Li"},
        {u"344", false, kFindKeypad, 0, ""}, // a field shorter than the keys ends the test
        {u"3a", false, kFindKeypad, 0, ""},  // a letter turns the key pad off
        {u"a d", false, kFindKeypad, 0, ""},
    };
    CContactsThread thread;
    for (const auto& row : kCases) {
        Setting(u"bSearchFullData", row.fullData);
        EXPECT_EQ(row.expected, Find(thread, row.text, row.full, row.mode)) << Narrow(row.text);
    }
}

TEST_F(ContactsTest, CategoryFilterLimitsTheList) {
    const LONG work = AddCategory(u"Work");
    AddContact(u"Ada", u"Byron").In(work).Save();
    AddContact(u"Bob", u"Abel").Save();
    AddContact(u"Cy", u"Cook").In(work).Save();
    Format(kDisplayFirstLast);
    CContactsThread thread;
    EXPECT_EQ("Ada Byron | Bob Abel | Cy Cook", Load(thread));
    CCategoryFilterInfo* filter = nullptr;
    thread.GetCategoryRestrict(filter);
    Choose(filter->m_list, {{u"Work", work}});
    thread.SetCategoryRestrict(false);
    EXPECT_EQ("Ada Byron | Cy Cook", Load(thread));
    EXPECT_EQ(2, thread.MatchCacheToDataThread(3));
    EXPECT_EQ(-1, thread.MatchCacheToDataThread(2));
    EXPECT_EQ("Ada Byron", Find(thread, u"by")); // under a filter any name may begin so
    EXPECT_EQ("", Find(thread, u"abel"));
    Setting(u"bHideCategories", kCategoriesHideChosen); // taken up without being told
    EXPECT_EQ("Bob Abel", Find(thread, nullptr));
    Choose(filter->m_list, {{u"Work", work}, {u"Unknown", -1}});
    Setting(u"CategoryANDOR", 1);
    Setting(u"bHideCategories", kCategoriesShowChosen);
    EXPECT_EQ("", Load(thread));
}

// --- Groups -------------------------------------------------------------------------------------------------------

TEST_F(ContactsTest, GroupsByCompanyAndOtherKeys) {
    AddContact(u"Ada", u"Byron").Company(u"Acme").Text(PIMPR_OTHER_CITY, u"Rome").Save();
    AddContact(u"Bob", u"Cook")
        .Company(u"Blue")
        .Text(PIMPR_HOME_CITY, u"Oslo")
        .Text(PIMPR_OTHER_CITY, u"Rome")
        .Save();
    AddContact(u"Cy", u"Abel").Company(u"ACME").Text(PIMPR_BUSINESS_STATE, u"Ohio").Save();
    AddContact(u"Di", u"Zorn")
        .Company(u"  ")
        .Text(PIMPR_OTHER_COUNTRY, u"Peru")
        .Text(PIMPR_DEPARTMENT, u"IT")
        .Save();
    AddContact(u"Ed", u"Yale").Save();
    const struct {
        LONG format;
        const char* expected;
    } kCases[] = {
        {kDisplayByCompany, "#None(1) | #  (1) | #Acme(2) | #Blue(1)"},
        {kDisplayByKey7, "#None(4) | #IT(1)"},
        {kDisplayByKey8, "#None(3) | #Oslo(1) | #Rome(1)"},
        {kDisplayByKey9, "#None(4) | #Ohio(1)"},
        {kDisplayByKey10, "#None(4) | #Peru(1)"},
        {5, "#None(5)"},
    };
    CContactsThread thread;
    for (const auto& row : kCases) {
        Format(row.format);
        EXPECT_EQ(row.expected, Load(thread)) << row.format;
        EXPECT_EQ(row.expected, Load()) << row.format;
    }
}

TEST_F(ContactsTest, BranchesOpenAndClose) {
    AddContact(u"Cy", u"Cook").Company(u"Acme").Save();
    AddContact(u"Ada", u"Byron").Company(u"Acme").Save();
    const CEOID ada = m_record;
    AddContact(u"Ed", u"Yale").Save();
    Format(kDisplayByCompany);
    CContactsThread thread;
    EXPECT_EQ("#None(1) | #Acme(2)", Load(thread));
    const auto header = [&] { return thread.GetList().Get(HeaderAt(thread, "Acme")); };
    const auto acme = static_cast<LONG>(header()->m_dwGroupId);
    for (int twice = 0; twice < 2; ++twice)
        EXPECT_EQ(2, thread.TreeAddList(acme, HeaderAt(thread, "Acme"), false));
    EXPECT_EQ("#None(1) | =Acme(2) | Ada Byron | Cy Cook", Text(thread));
    EXPECT_EQ(1, thread.TreeAddList(1, 1, false));
    thread.TreeDeleteList(acme);
    EXPECT_EQ("=None(1) | Ed Yale | #Acme(2)", Text(thread));
    EXPECT_EQ(0, thread.TreeAddList(acme, 1, false)); // another header stands there
    // What is open stays open at the next run.
    thread.SetGroupHeaderOpen(header(), true);
    EXPECT_EQ("#None(1) | =Acme(2) | Ada Byron | Cy Cook", Load(thread));
    thread.SetGroupHeaderOpen(header(), false);
    // A search opens the groups, if the settings say so, and finds below them.
    EXPECT_EQ("=Acme(1) | Ada Byron", Find(thread, u"by"));
    EXPECT_EQ("=Acme(2) | Ada Byron | Cy Cook", Find(thread, u"ac"));
    Setting(u"OpenOnCompare", 0);
    EXPECT_EQ("#Acme(1)", Find(thread, u"by"));
    Setting(u"bSearchCompanySubNodes", 0);
    EXPECT_EQ("", Find(thread, u"by"));
    EXPECT_EQ("#Acme(2)", Find(thread, u"ac"));
    thread.DeleteCatCacheItem(ada); // the header tells how many are there now
    EXPECT_EQ(1, thread.TreeAddList(static_cast<LONG>(header()->m_dwGroupId), 1, false));
    EXPECT_EQ("=Acme(1) | Cy Cook", Text(thread));
    thread.TreeDeleteList(static_cast<LONG>(header()->m_dwGroupId));
    EXPECT_EQ(1, thread.TreeAddList(static_cast<LONG>(header()->m_dwGroupId), 1, true));
    EXPECT_EQ("#Acme(1)", Text(thread)); // OpenOnCompare is off
}

TEST_F(ContactsTest, GroupsByCategory) {
    const LONG work = AddCategory(u"Work"), home = AddCategory(u"Home"), comma = AddCategory(u"A, B"),
               alike = AddCategory(u"WORK");
    AddContact(u"Ada", u"Byron").In(work).In(home).Save();
    AddContact(u"Bob", u"Cook").In(work).In(comma).In(alike).Save();
    AddContact(u"Cy", u"Abel").Save();
    Format(kDisplayByCategory);
    CContactsThread thread;
    EXPECT_EQ("#None(1) | #A, B(1) | #Home(1) | #Work(2)", Load(thread));
    // A contact stands under each of its categories.
    for (const char* label : {"None", "Home", "Work"}) {
        DATACONTACTS* header = thread.GetList().Get(HeaderAt(thread, label));
        thread.SetGroupHeaderOpen(header, true);
        thread.TreeAddList(static_cast<LONG>(header->m_dwGroupId), HeaderAt(thread, label), false);
    }
    const char* open =
        "=None(1) | Cy Abel | #A, B(1) | =Home(1) | Ada Byron | =Work(2) | Ada Byron | Bob Cook";
    EXPECT_EQ(open, Text(thread));
    EXPECT_EQ(open, Load(thread));
    EXPECT_EQ("=Home(1) | Ada Byron | =Work(1) | Ada Byron", Find(thread, u"ada"));
    CCategoryFilterInfo* filter = nullptr;
    thread.GetCategoryRestrict(filter);
    Choose(filter->m_list, {{u"Work", work}});
    EXPECT_EQ("=Work(2) | Ada Byron | Bob Cook", Find(thread, nullptr));
    Setting(u"m_bIncludeNoCat", 1);
    EXPECT_EQ("=None(1) | Cy Abel | =Work(2) | Ada Byron | Bob Cook", Load(thread));
}

// --- Recent contacts ----------------------------------------------------------------------------------------------

class RecentContacts : public ContactsTest {
protected:
    static std::vector<BYTE> Bytes() {
        std::vector<BYTE> bytes;
        EXPECT_EQ(LISTFILE_OK, ReadListFileBytes(Path().c_str(), bytes));
        return bytes;
    }
    static std::u16string Path() {
        return std::u16string(GetNorvoDirectory()) + u"\\Norvo\\RecentContacts.bin";
    }
};

TEST_F(RecentContacts, ListIsByUse) {
    const DWORD ada = AddContact(u"Ada", u"Byron").Save();
    const DWORD bob = AddContact(u"Bob", u"Cook").Save();
    AddContact(u"Cy", u"Abel").Save();
    Format(kDisplayRecent);
    CContactsThread thread;
    EXPECT_EQ("", Load(thread));
    for (const DWORD oid : {ada, kOidContact | 999, bob}) EXPECT_TRUE(MarkRecentContact(oid));
    EXPECT_EQ("Bob Cook | Ada Byron", Load(thread)); // one that is gone leaves no gap
    EXPECT_EQ(kDisplayRecent, thread.GetContactsDisplay());
    EXPECT_TRUE(MarkRecentContact(ada));
    EXPECT_EQ("Ada Byron | Bob Cook", Load(thread));
    EXPECT_EQ("Bob Cook", Find(thread, u"co"));
}

TEST_F(RecentContacts, FileHoldsFiftyLatestFirst) {
    EXPECT_TRUE(ReadRecentContacts().empty());
    MarkRecentContact(0x80000001);
    MarkRecentContact(0x80000102);
    const std::vector<BYTE> kFile{1, 10, 0, 0, 0, 'R', 'E',  'C', 'E', 'N', 'T', '1', '0', '1', 0,   2,
                                  0, 0,  0, 1, 0, 0,   0,    0,   0,   0,   0,   0,   0,   0,   0,   4,
                                  0, 0,  0, 2, 1, 0,   0x80, 4,   0,   0,   0,   1,   0,   0,   0x80};
    EXPECT_EQ(kFile, Bytes());
    for (DWORD i = 3; i <= 51; ++i) MarkRecentContact(0x80000000 + i);
    EXPECT_EQ(50u, ReadRecentContacts().size()); // the 51st has put out the first one
    EXPECT_EQ(0x80000102u, ReadRecentContacts().back());
    MarkRecentContact(0x80000102);
    EXPECT_EQ(50u, ReadRecentContacts().size());
    EXPECT_EQ(0x80000102u, ReadRecentContacts().front());
}

TEST_F(RecentContacts, DamagedFileBeginsAnew) {
    MarkRecentContact(0x80000001);
    const std::vector<BYTE> good = Bytes();
    Format(kDisplayRecent);
    for (const std::size_t offset : {0, 5, 31}) { // version, magic, size of the OID
        std::vector<BYTE> bytes = good;
        bytes[offset] = 9;
        WriteListFileBytes(Path().c_str(), bytes);
        EXPECT_EQ("", Load()) << offset;
        EXPECT_TRUE(MarkRecentContact(0x80000007));
        EXPECT_EQ(std::vector<DWORD>{0x80000007}, ReadRecentContacts()) << offset;
    }
}

// --- Calls --------------------------------------------------------------------------------------------------------

struct Call {
    const WCHAR *name, *number, *type;
    DWORD flags, seconds;
};
constexpr Call kCalls[] = {{u"Ada <B>", u"030 1", u"h", 1, 3725},
                           {nullptr, u"030 2", nullptr, 2, 60},
                           {u"Bob", nullptr, u"w", 0, 0}};
std::size_t g_nextCall = 0;
bool g_logOpen = false;

LPWSTR LocalText(const WCHAR* text) {
    if (!text) return nullptr;
    auto* copy = static_cast<WCHAR*>(LocalAlloc(LPTR, (wcslen(text) + 1) * sizeof(WCHAR)));
    return wcscpy(copy, text), copy;
}
HRESULT OpenLog(HANDLE* log) {
    g_nextCall = 0;
    g_logOpen = true;
    *log = reinterpret_cast<HANDLE>(ULONG_PTR{1});
    return S_OK;
}
HRESULT NextCall(HANDLE, CALLLOGENTRY* entry) {
    if (g_nextCall == std::size(kCalls) || entry->cbSize != kCallLogEntrySize) return S_FALSE;
    const Call& call = kCalls[g_nextCall++];
    const auto kStart = static_cast<ULONGLONG>(civil::DaysFromCivil(2010, 3, 5) * civil::kTicksPerDay +
                                               civil::kTicksPerDay / 24 * 10);
    entry->ftStartTime = FileTimeFromTicks(kStart);
    entry->ftEndTime = FileTimeFromTicks(kStart + call.seconds * 10'000'000ULL);
    entry->dwFlags = call.flags;
    entry->pszName = LocalText(call.name);
    entry->pszNumber = LocalText(call.number);
    entry->pszNameType = LocalText(call.type);
    return S_OK;
}
HRESULT CloseLog(HANDLE) {
    g_logOpen = false;
    return S_OK;
}

TEST_F(ContactsTest, CallsOfTheTelephone) {
    Format(kDisplayCallLog);
    EXPECT_EQ("", Load()); // a device without one
    static const PlatModuleEntry kEntries[] = {
        {"PhoneOpenCallLog", 0, reinterpret_cast<FARPROC>(&OpenLog)},
        {"PhoneGetCallLogEntry", 0, reinterpret_cast<FARPROC>(&NextCall)},
        {"PhoneCloseCallLog", 0, reinterpret_cast<FARPROC>(&CloseLog)},
    };
    PlatRegisterModule(
        {.name = u"phone.dll", .entries = kEntries, .entryCount = std::size(kEntries), .untilReset = true});
    CContactsThread thread;
    EXPECT_EQ(
        "<B>Ada <</BODY>B></B><BR><IMG SRC=\"374\"> 3/5/10 10:00 AM   <I>1 h 2 m 5 s | "
        "<BR><IMG SRC=\"373\"> 3/5/10 10:00 AM   <I>1 m  | <B>Bob</B><BR><IMG SRC=\"375\"> 3/5/10 10:00 AM",
        Load(thread));
    EXPECT_FALSE(g_logOpen);
    EXPECT_EQ("030 1 h", Narrow(thread.GetList().Get(1)->m_szExtraLine));
    EXPECT_EQ("030 1", Narrow(thread.GetList().Get(1)->m_szIcon));
    const auto found = [&](const WCHAR* text, bool full) {
        return Find(thread, text, full), thread.GetActiveDataCount();
    };
    EXPECT_EQ(1, found(u"bob", false));
    EXPECT_EQ(0, found(u"bo", false));
    EXPECT_EQ(1, found(u"bo", true));
    EXPECT_EQ(2, found(u"030", true));
    EXPECT_EQ(1, found(u"030 2", false));
    EXPECT_EQ(1, found(u"W", false));
}

// --- Rows ---------------------------------------------------------------------------------------------------------

TEST_F(ContactsTest, RowsAreFilledWhenTheyAreDrawn) {
    const LONG work = AddCategory(u"Work");
    AddContact(u"Ada", u"Byron").Numbers().In(work).Save();
    AddContact(u"Bob", u"Cook").Numbers().Prefer(HIWORD(PIMPR_HOME_TEL)).Save();
    AddContact(u"Cy", u"Dorn").Text(PIMPR_EMAIL2, u"mail").Prefer(PIMPR_HOME_TEL).Save();
    AddContact(u"Di", u"Eco").Numbers().Prefer(PIMPR_HOME_TEL).Save();
    AddContact(u"Ed", u"Fox").Save();
    const HANDLE db = Side(u"Contacts Database");
    CeSeekDatabaseEx(db, CEDB_SEEK_CEOID, m_record, 1, nullptr);
    WriteStream(db, PIMPR_NOTE, std::vector<BYTE>(20, 'n'));
    WriteStream(db, PIMPR_PICTURE, std::vector<BYTE>(200, 'p'));
    Close(db);
    CContactsThread thread;
    const auto lines = [&] {
        Load(thread);
        std::string text;
        for (DATACONTACTS* row : thread.GetList()) {
            text += row->m_bFilled ? "" : ".";
            thread.FillContactInfo(row);
            text += Narrow(row->m_szExtraLine) + "/" + Narrow(row->m_szCategories) +
                    (row->m_bHasNote ? "n" : "") + (row->m_bHasPicture ? "p " : " ");
        }
        return text;
    };
    const char* kLines = "mobile/Work home/ mail/ home/ /p ";
    EXPECT_EQ(".mobile/Work .home/ .mail/ .home/ ./p ", lines());
    EXPECT_EQ(PIMPR_HOME_TEL, thread.GetList().Get(2)->m_dwExtraProperty);
    EXPECT_EQ(kLines, lines()); // what is filled stays so
    Format(kDisplayFirstLast);  // no pictures outside of the company style
    Setting(u"ShowNamesOnly", 1);
    Setting(u"ShowHasNoteIcons", 1);
    Setting(u"UseTwoPhases", 0);
    EXPECT_EQ("/Work / / / /n ", lines());
    Setting(u"ShowNamesOnly", 0);
    EXPECT_EQ("mobile/Work home/ mail/ home/ /n ", lines());
    // A contact that has gone.
    const HANDLE again = Side(u"Contacts Database");
    CeDeleteRecord(again, m_record);
    Close(again);
    DATACONTACTS* ed = thread.GetList().Get(5);
    thread.FillContactInfo(ed);
    EXPECT_STREQ("", Narrow(ed->m_szExtraLine).c_str());
    EXPECT_EQ(0, ed->m_bHasNote);
}

TEST_F(ContactsTest, SimContactsOfADeviceThatHasThem) {
    DeleteDatabase(u"Contacts Database");
    Create(u"Contacts Database", {Order({{PIMPR_FILEAS, 2}, {PIMPR_SOURCE_FLAGS, 4}})});
    AddContact(u"Ada", u"Byron").Save();
    AddContact(u"Sim", u"Card").Number(PIMPR_SOURCE_FLAGS, 3).Number(PIMPR_SOURCE_ID, 2).Numbers().Save();
    Format(kDisplayFirstLast);
    CContactsThread thread;
    EXPECT_EQ("Ada Byron | Sim Card", Load(thread));
    thread.FillContactInfo(thread.GetList().Get(2));
    EXPECT_EQ(23u, thread.GetList().Get(2)->m_dwSimNumber); // 3 and ten times 2
    EXPECT_EQ("mobile", Narrow(thread.GetList().Get(2)->m_szExtraLine));
    std::array<CEPROPID, 23> ids;
    EXPECT_EQ(23, thread.SetPropIds(ids.data()));
    Setting(u"ShowSIM", 0);
    EXPECT_EQ("Ada Byron | Sim Card", Load(thread)); // the cache stays until it is cleared
    thread.ClearCatCache();
    EXPECT_FALSE(thread.IsCatCacheLoaded());
    EXPECT_EQ(0, thread.GetActiveDataCount());
    EXPECT_EQ("Ada Byron", Load(thread));
    EXPECT_EQ(1, thread.GetTotalNumRecords());
    thread.AddCatCacheItem(m_record);
    EXPECT_EQ(1, thread.GetTotalNumRecords());
}

// --- Edits of the cache -------------------------------------------------------------------------------------------

TEST_F(ContactsTest, CacheFollowsEdits) {
    const DWORD ada = AddContact(u"Ada", u"Byron").Company(u"Acme").Save();
    const CEOID adaRecord = m_record;
    Format(kDisplayFirstLast);
    CContactsThread thread;
    AddContact(u"Cy", u"Cook").Save();
    const CEOID cyRecord = m_record;
    thread.AddCatCacheItem(cyRecord); // nothing is loaded yet
    EXPECT_EQ("Ada Byron | Cy Cook", Load(thread));
    AddContact(u"Bob", u"Abel").Company(u"Acme").Save();
    thread.AddCatCacheItem(m_record);
    EXPECT_EQ("Ada Byron | Cy Cook | Bob Abel", Load(thread));
    thread.FinishUpdatingCatCacheItem();
    EXPECT_EQ("Ada Byron | Bob Abel | Cy Cook", Load(thread));
    EXPECT_EQ(1, thread.FindCatCacheItem(ada, 1));
    EXPECT_EQ(0, thread.FindCatCacheItem(ada, 2));

    const HANDLE db = Side(u"Contacts Database");
    Change(db, adaRecord,
           Values().Text(HIWORD(PIMPR_FIRST_NAME), u"Zoe").Text(HIWORD(PIMPR_COMPANY), u"Blue"));
    Close(db);
    thread.UpdateCatCacheItem(adaRecord);
    thread.FinishUpdatingCatCacheItem();
    thread.DeleteCatCacheItem(cyRecord);
    EXPECT_EQ("Zoe Byron | Bob Abel | Cy Cook",
              Text(thread)); // listed until the next run, and safe to look at
    EXPECT_EQ("Bob Abel | Zoe Byron", Load(thread));
    EXPECT_EQ(2, thread.GetTotalNumRecords());
    EXPECT_EQ(2, thread.MatchCacheToDataThread(2));
    Format(kDisplayByCompany);
    EXPECT_EQ("#Acme(1) | #Blue(1)", Load(thread));
    EXPECT_EQ("=Blue(1) | Zoe Byron", Find(thread, u"zoe"));
}

TEST_F(ContactsTest, LooksUpByTheBeginningOfNames) {
    AddContact(u"Ada", u"Byron").Company(u"Zinc").Save();
    AddContact(u"Bob", u"Cook").Company(u"Acme").Save();
    Format(kDisplayFirstLast);
    CContactsThread thread;
    Load(thread);
    const auto at = [&](const WCHAR* text, ContactsDisplay format, bool prefixOnly = true, int start = 1) {
        return thread.FindCatCacheItem(text, static_cast<int>(wcslen(text)), format, prefixOnly, start);
    };
    EXPECT_EQ(2, at(u"b", kDisplayFirstLast));
    EXPECT_EQ(1, at(u"b", kDisplayLastFirst));
    EXPECT_EQ(2, at(u"c", kDisplayFileAs));
    EXPECT_EQ(2, at(u"b", kDisplayLookUp));
    EXPECT_EQ(1, at(u"b", kDisplayFirstLast, false));
    EXPECT_EQ(0, at(u"a", kDisplayFirstLast, true, 2));
    EXPECT_EQ(0, at(u"x", kDisplayFirstLast, false));
    Format(kDisplayByCompany);
    Load(thread);                                      // by company: Bob, Ada
    EXPECT_EQ(2, at(u"zi", kDisplayFirstLast, false)); // another format has it
}

TEST_F(ContactsTest, OrderOfTheList) {
    DATACONTACTS empty(nullptr), header(nullptr), a(nullptr), b(nullptr), second(nullptr), first(nullptr);
    empty.m_bEmpty = 1;
    header.m_bGroupHeader = 1;
    a.m_szFileAs = AllocCSTR(u"a");
    b.m_szFileAs = AllocCSTR(u"B");
    second.m_dwSortGroupId = 1;
    first.m_oid = 0xFFFFFFFF;
    const std::vector<DATACONTACTS*> byGroup{&header, &a, &b, &second, &empty, nullptr},
        plain{&first, &a, &b, &empty, nullptr};
    const auto check = [](const std::vector<DATACONTACTS*>& order, auto compare) {
        for (std::size_t i = 0; i < order.size(); ++i)
            for (std::size_t k = 0; k < order.size(); ++k)
                EXPECT_EQ(i < k ? -1 : i > k, compare(order[i], order[k], kDisplayFileAs)) << i << " " << k;
    };
    check(byGroup, &CContactsThread::CompareFunc);
    check(plain, &CContactsThread::CompareFuncSimple);
    empty.NullData();
    EXPECT_EQ(0, empty.m_bEmpty);
}

// --- Bad input ----------------------------------------------------------------------------------------------------

TEST_F(ContactsTest, WhatCantBeReadIsLeftOut) {
    EXPECT_EQ("", Load()); // no contacts
    const WCHAR lone[] = {u'A', 0xD800, u'x', 0};
    AddContact(lone, u"Byron").Save();
    const std::u16string huge(9000, u'h'); // too large for a list
    AddContact(u"Bob", u"Cook").Company(huge.c_str()).Save();
    AddContact(u"Cy", u"Dorn").Save();
    for (const LONG format : {kDisplayFirstLast, kDisplayFileAs, kDisplayByKey8}) {
        Format(format);
        Setting(u"UseTwoPhases", 0);
        CContactsThread thread;
        Load(thread);
        EXPECT_EQ(2, thread.GetTotalNumRecords());
        Find(thread, lone + 1);
        Find(thread, lone + 1, true);
        EXPECT_EQ(format == kDisplayByKey8 ? 2 : 1, thread.GetActiveDataCount());
    }
    DeleteDatabase(u"Contacts Database");
    for (const LONG format : {kDisplayFirstLast, kDisplayByCompany, kDisplayByCategory}) {
        Format(format);
        EXPECT_EQ("", Load());
    }
}

} // namespace
