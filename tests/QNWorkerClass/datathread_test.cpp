// What every load needs: side databases, filters by them, values of an item by its OID.
#include "NorvoTools/registryfunctions.h"
#include "Platform/poom.h"
#include "QNWorkerClass/CQNDataThread.h"
#include "tests/support/sidestores.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>

namespace {

constexpr CEOID kItem = 0x40000005;
constexpr CEOID kOther = 0xC0000005; // the same number, another kind

class Thread : public CQNDataThread {
public:
    using CQNDataThread::HasJournalLink;
    using CQNDataThread::HasLink;
    using CQNDataThread::m_bGoalsToo;
    using CQNDataThread::m_bLinksOpen;
    using CQNDataThread::m_hHeap;
    using CQNDataThread::m_hStopEvent;
    using CQNDataThread::m_nSizeNoteCheck;
    using CQNDataThread::m_szSettingsKey;

protected:
    DWORD ThreadProc() override { return 0; }
};

class DataThread : public SideStoresTest {
protected:
    DataThread() {
        ForgetProperties();
        g_pOutlook = &m_outlook;
    }
    ~DataThread() override {
        g_pOutlook = nullptr;
        ForgetProperties();
    }
    static void ForgetProperties() {
        for (auto* number : {&CQNDataThread::ms_IconProperty, &CQNDataThread::ms_ParentProperty,
                             &CQNDataThread::ms_PercentProperty, &CQNDataThread::ms_TrackedProperty,
                             &CQNDataThread::ms_GtdProjectProperty, &CQNDataThread::ms_StarredProperty,
                             &CQNDataThread::ms_ContextProperty, &CQNDataThread::ms_StatusProperty})
            *number = 0;
    }
    void TearDown() override {
        m_outlook.Close();
        SideStoresTest::TearDown();
    }
    // Text of the item, freed.
    static std::string Take(WCHAR* text) {
        if (!text) return "(null)";
        std::string narrow = Narrow(text);
        std::free(text);
        return narrow;
    }

    COutlook m_outlook;
};

// --- Category filter ------------------------------------------------------------------------------------------------

TEST_F(DataThread, CategoryFilterByModeAndList) {
    const LONG work = AddCategory(u"Work");
    const LONG home = AddCategory(u"Home");
    const LONG idle = AddCategory(u"Idle");
    constexpr CEOID kNone = 0x40000001, kWork = 0x40000002, kBoth = 0x40000003;
    Associate(kWork, work);
    Associate(kBoth, home);
    Associate(kBoth, work);
    const LONG unknown = -1;
    enum { Or = 0, And = 1 };
    const struct {
        LONG mode, andOr, includeNone;
        std::vector<LONG> chosen;
        const char* passing; // of: none, work, both
    } cases[] = {
        {0, Or, 0, {}, "nwb"}, // no list: every item, whatever the flag says
        {0, Or, 0, {work}, "wb"},
        {0, Or, 1, {work}, "nwb"},
        {0, Or, 0, {home, idle}, "b"},
        {0, And, 0, {work, home}, "b"},
        {0, And, 1, {work, home}, "nb"},
        {0, And, 0, {work, idle}, ""},
        {0, And, 0, {work, unknown}, ""}, // no seek finds a name that is in no store
        {0, Or, 0, {unknown, work}, "wb"},
        {1, Or, 0, {}, "n"}, // nothing to hide: only items without a category
        {1, Or, 0, {work}, "n"},
        {1, And, 0, {idle, work}, "nwb"},
        {-1, And, 0, {}, "n"},
        {-2, Or, 0, {work}, "n"},
        {2, Or, 0, {idle}, "nwb"},
    };
    Thread thread;
    thread.SetupThreadResources();
    CCategoryFilterInfo* filter = nullptr;
    thread.GetCategoryRestrict(filter);
    for (const auto& c : cases) {
        filter->bHideCategories = c.mode;
        filter->CategoryANDOR = c.andOr;
        filter->m_bIncludeNoCat = c.includeNone;
        filter->m_list.Clear();
        for (LONG id : c.chosen) AddTo(filter->m_list, u"", id);
        std::string passing;
        if (thread.CategoryFilterEDB(kNone, filter)) passing += 'n';
        if (thread.CategoryFilterEDB(kWork, filter)) passing += 'w';
        if (thread.CategoryFilterEDB(kBoth, filter)) passing += 'b';
        EXPECT_EQ(c.passing, passing) << "mode " << c.mode << " and " << c.andOr << " none " << c.includeNone
                                      << " chosen " << c.chosen.size();
    }
    EXPECT_TRUE(thread.CategoryFilterEDB(kWork, nullptr));
    // The modes of the last are kept in the settings.
    wcscpy(thread.m_szSettingsKey, u"Software\\Norvo\\Quillonary\\TV");
    filter->m_bIncludeNoCat = 3;
    filter->CategoryANDOR = 4;
    const auto stored = [&](const WCHAR* name) {
        return ReadRegistryWithDefault(thread.m_szSettingsKey, name, 77);
    };
    thread.SetCategoryRestrict(false);
    EXPECT_EQ(77u, stored(u"bHideCategories"));
    thread.SetCategoryRestrict(true);
    EXPECT_EQ(2u, stored(u"bHideCategories"));
    EXPECT_EQ(3u, stored(u"m_bIncludeNoCat"));
    EXPECT_EQ(4u, stored(u"CategoryANDOR"));
}

TEST_F(DataThread, WithoutAssociationsAllPasses) {
    CCategoryFilterInfo filter;
    Choose(filter.m_list, {{u"Work", AddCategory(u"Work")}});
    DeleteDatabase(u"CategoryAssocDB");
    Thread thread;
    thread.SetupThreadResources();
    for (LONG mode : {-2, -1, 0, 1, 2}) {
        filter.bHideCategories = mode;
        EXPECT_TRUE(thread.CategoryFilterEDB(kItem, &filter)) << mode;
    }
    EXPECT_EQ("", Take(thread.CategoryFromEDB(kItem)));
}

TEST_F(DataThread, CategoryTextInTheOrderOfIds) {
    const LONG work = AddCategory(u"Work");
    const LONG home = AddCategory(u"Home");
    const LONG away = AddCategory(u"Away");
    ASSERT_LT(work, home);
    Associate(kItem, away);
    Associate(kItem, work);
    Associate(kItem, 999); // of no category
    Associate(kOther, home);
    for (int i = 0; i < 2; ++i) Thread().SetupThreadResources(); // each gives back its own mount only
    EXPECT_NE(INVALID_HANDLE_VALUE, Side(u"CategoryMainDB"));
    Thread thread;
    thread.SetupThreadResources();
    EXPECT_EQ("Work, Away", Take(thread.CategoryFromEDB(kItem)));
    EXPECT_EQ("Home", Take(thread.CategoryFromEDB(kOther)));
    EXPECT_EQ("", Take(thread.CategoryFromEDB(0x40000099)));
    EXPECT_EQ("Work, Away", Take(thread.CategoryFromEDB(kItem))); // the search goes round
    thread.m_hHeap = HeapCreate(0, 0, 0);
    const WCHAR* text = thread.CategoryFromEDB(kOther);
    EXPECT_EQ("Home", Narrow(text)); // the heap's; the thread ends the heap
}

TEST_F(DataThread, Privacy) {
    const struct {
        LONG mode;
        const char* passing; // sensitivities
    } cases[] = {{0, "0"},  {1, "123"}, {2, "0123"},  {11, "1"},
                 {12, "2"}, {13, "3"},  {14, "0123"}, {-1, "0123"}};
    for (const auto& c : cases) {
        std::string passing;
        for (LONG s = 0; s <= 3; ++s)
            if (CQNDataThread::CheckPrivacy(c.mode, s)) passing += static_cast<char>('0' + s);
        EXPECT_EQ(c.passing, passing) << c.mode;
    }
}

// --- Named properties -----------------------------------------------------------------------------------------------

TEST_F(DataThread, NamedValues) {
    const auto make = [&](const WCHAR* name, WORD type) {
        return m_outlook.GetPOOM2Property(name, type, true);
    };
    SetNamed(kItem, make(u"QN_IconName", CEVT_LPWSTR), {'s', 0, 't', 0, 0, 0, 'x', 0});
    SetNamed(kOther, make(u"QN_IconName", CEVT_LPWSTR), {'a', 0, 'b', 0, 'c'}); // no terminator, an odd end
    SetNamed(kOther, make(u"QN_TaskPercentStatus", CEVT_UI4), {50, 1});         // what is missing is 0
    SetNamed(kItem, make(u"QN_GTDProject", CEVT_UI4), {1, 0, 0, 0xC0, 0xFF}); // what is too much is left out
    SetNamed(kItem, make(u"QN_GTDStarred", CEVT_BOOL), {1, 0, 0, 0});
    SetNamed(kOther, make(u"QN_GTDStarred", CEVT_BOOL), {0, 0, 0, 0});
    SetNamed(kItem, make(u"QN_Tracked", CEVT_BOOL), {});
    SetNamed(kOther, make(u"QN_Tracked", CEVT_BOOL), {1});
    const DWORD parent = make(u"QN_ParentOID", CEVT_R8);
    const struct {
        CEOID item;
        double stored;
        DWORD parent;
        bool fraction;
    } parents[] = {{0xC0000001, 123.0, 123, false},
                   {0xC0000002, 123.5, 123, true},
                   {0xC0000003, 3221225477.5, 0xC0000005, true},
                   {0xC0000004, -1.5, 0, false},
                   {0xC0000005, 1e300, 0, false},
                   {0xC0000006, NAN, 0, false}};
    for (const auto& p : parents) {
        const auto bytes = std::bit_cast<std::array<BYTE, 8>>(p.stored);
        SetNamed(p.item, parent, {bytes.begin(), bytes.end()});
    }
    Thread thread;
    thread.SetupThreadResources();
    EXPECT_EQ("st", Take(thread.IconStrFromEDB(kItem)));
    EXPECT_EQ("ab", Take(thread.IconStrFromEDB(kOther)));
    EXPECT_EQ("(null)", Take(thread.IconStrFromEDB(0x40000077)));
    EXPECT_EQ(306u, thread.TaskPercentFromOID(kOther));
    EXPECT_EQ(0u, thread.TaskPercentFromOID(0x40000077));
    EXPECT_EQ(0xC0000001u, thread.GtdProjectFromOID(kItem));
    EXPECT_TRUE(thread.GtdStarredFromOID(kItem));
    EXPECT_FALSE(thread.GtdStarredFromOID(kOther));
    EXPECT_FALSE(thread.TrackedFromOID(kItem));
    EXPECT_TRUE(thread.TrackedFromOID(kOther));
    for (const auto& p : parents) {
        bool fraction = true;
        EXPECT_EQ(p.parent, thread.ParentFromOID(p.item, fraction)) << p.item;
        EXPECT_EQ(p.fraction, fraction) << p.item;
    }
}

TEST_F(DataThread, UnknownPropertiesStayUnresolved) {
    Thread thread;
    g_pOutlook = nullptr; // without a session as well
    const DWORD star = m_outlook.GetPOOM2Property(u"QN_GTDStarred", CEVT_BOOL, true);
    SetNamed(kItem, star, {1, 0, 0, 0});
    thread.SetupThreadResources();
    EXPECT_EQ(0u, CQNDataThread::ms_StarredProperty);
    g_pOutlook = &m_outlook; // a later load resolves what has come meanwhile
    thread.SetupThreadResources();
    EXPECT_EQ(star, CQNDataThread::ms_StarredProperty);
    EXPECT_EQ(0u, CQNDataThread::ms_IconProperty);
    EXPECT_EQ("(null)", Take(thread.IconStrFromEDB(kItem)));
    EXPECT_TRUE(thread.GtdStarredFromOID(kItem));
}

TEST_F(DataThread, WithoutNamedValuesIconAndParentAreForgotten) {
    for (const WCHAR* name : {u"QN_IconName", u"QN_ParentOID", u"QN_GTDStarred"})
        m_outlook.GetPOOM2Property(name, CEVT_UI4, true);
    m_outlook.Close(); // it keeps the database open
    DeleteDatabase(u"PIMNamedPropVals");
    Thread thread;
    thread.SetupThreadResources();
    EXPECT_EQ(0u, CQNDataThread::ms_IconProperty);
    EXPECT_EQ(0u, CQNDataThread::ms_ParentProperty);
    EXPECT_NE(0u, CQNDataThread::ms_StarredProperty);
    EXPECT_FALSE(thread.GtdStarredFromOID(kItem));
    bool fraction = true;
    EXPECT_EQ(0u, thread.ParentFromOID(kItem, fraction));
}

// Objects come and go while others work; each gives back its own mount only.
// --- Links, journal, planning stores --------------------------------------------------------------------------------

TEST_F(DataThread, LinksAndJournal) {
    Thread thread;
    EXPECT_EQ(1, thread.InitiateLinksDB()); // no stores: not an error
    EXPECT_EQ(0, thread.m_bLinksOpen);
    EXPECT_FALSE(thread.HasLink(kItem));
    EXPECT_FALSE(thread.HasJournalLink(kItem));
    thread.CloseLinksDB();
    MakeStore(u"QuillonaryLinks", 1, CEVT_I4, kItem);
    MakeStore(u"QuillonaryJournal_2", 0x2E, CEVT_I4, kOther);
    EXPECT_EQ(1, thread.InitiateLinksDB());
    EXPECT_EQ(0, thread.InitiateLinksDB());
    EXPECT_EQ(1, thread.m_bLinksOpen);
    EXPECT_TRUE(thread.HasLink(kItem));
    EXPECT_FALSE(thread.HasLink(kOther));
    EXPECT_TRUE(thread.HasJournalLink(kOther));
    EXPECT_FALSE(thread.HasJournalLink(kItem));
    thread.CloseLinksDB();
    EXPECT_EQ(0, thread.m_bLinksOpen);
    EXPECT_FALSE(thread.HasLink(kItem));
}

TEST_F(DataThread, SpecialTasks) {
    MakeStore(u"QuillonaryLinks", 1, CEVT_I4, 1);
    MakeStore(u"QN_MissionStatements", 1, CEVT_UI4, 0xC0000001);
    MakeStore(u"QN_Goals", 1, CEVT_UI4, 0xC0000002);
    MakeStore(u"QN_Compass", 3, CEVT_UI4, 0xC0000003);
    Thread thread;
    const auto ordinary = [&] {
        std::string all;
        for (CEOID oid : {0xC0000001u, 0xC0000002u, 0xC0000003u, 0xC0000004u})
            if (thread.FilterSpecialTask(oid)) all += static_cast<char>('0' + (oid & 15));
        return all;
    };
    thread.InitiateLinksDB();
    EXPECT_EQ("1234", ordinary()); // nobody wanted the planning stores
    thread.CloseLinksDB();
    thread.m_bGoalsToo = 1;
    thread.InitiateLinksDB();
    EXPECT_EQ("4", ordinary());
    thread.CloseLinksDB();
    EXPECT_EQ("1234", ordinary());
}

// --- Notes ----------------------------------------------------------------------------------------------------------

TEST_F(DataThread, EmptyNotesAndPictures) {
    struct Case {
        DWORD size;
        const char* head;
        bool emptyBySize; // the rule that always holds
        bool emptyByHead; // the rule of the setting
    };
    const Case cases[] = {
        {0, "", true, true},           {1, "a", false, false},        {4, "{\\pw", false, false},
        {4, "\0abc", false, true}, // below 5 the first byte alone
        {475, "{\\pwi", false, false}, {476, "{\\pwi", true, true},   {476, "{\\rtf", true, false},
        {476, "\0", true, true},       {477, "{\\pwi", false, false},
    };
    const HANDLE tasks = Open(u"Tasks Database");
    CeDb db;
    ASSERT_TRUE(db.MountVolumeEDB(u"\\pim.vol", false));
    Thread thread;
    ASSERT_EQ(-1, thread.m_nSizeNoteCheck);
    for (const Case& c : cases) {
        const CEOID oid = Add(tasks, Values().Text(0x37, u"task"));
        ASSERT_NE(0u, oid);
        CeSeekDatabaseEx(tasks, CEDB_SEEK_CEOID, oid, 1, nullptr);
        std::vector<BYTE> note(c.size, 'x');
        for (std::size_t i = 0; i < note.size() && i < 5 && (c.head[i] || i == 0); ++i)
            note[i] = static_cast<BYTE>(c.head[i]);
        ASSERT_TRUE(WriteStream(tasks, PIMPR_NOTE, note));
        ASSERT_TRUE(db.Open(u"Tasks Database") && db.SeekTo(oid));
        thread.m_nSizeNoteCheck = -1;
        EXPECT_EQ(c.emptyBySize, thread.IsNoteEmpty(&db, PIMPR_NOTE)) << c.size << c.head;
        thread.m_nSizeNoteCheck = 0;
        EXPECT_EQ(c.emptyByHead, thread.IsNoteEmpty(&db, PIMPR_NOTE)) << c.size << c.head;
        thread.m_nSizeNoteCheck = -1;
        EXPECT_TRUE(thread.IsNoteEmpty(&db, PIMPR_PICTURE)); // the record has none
    }
    const HANDLE contacts = Open(u"Contacts Database");
    const CEOID oid = Add(contacts, Values().Text(0x80, u"contact"));
    for (DWORD size : {100u, 101u}) { // pictures have a least size
        CeSeekDatabaseEx(contacts, CEDB_SEEK_CEOID, oid, 1, nullptr);
        ASSERT_TRUE(WriteStream(contacts, PIMPR_PICTURE, std::vector<BYTE>(size, 1)));
        ASSERT_TRUE(db.Open(u"Contacts Database") && db.SeekTo(oid));
        EXPECT_EQ(size == 100, thread.IsNoteEmpty(&db, PIMPR_PICTURE));
    }
}

// --- Stopping -------------------------------------------------------------------------------------------------------

TEST_F(DataThread, AMissingStopEventStops) {
    CeManualEvent event;
    EXPECT_FALSE(CQNDataThread::StopRequested(&event));
    event.Set();
    EXPECT_TRUE(CQNDataThread::StopRequested(&event));
    event.Reset();
    EXPECT_FALSE(CQNDataThread::StopRequested(&event));
    event.Close();
    EXPECT_TRUE(CQNDataThread::StopRequested(&event));
    EXPECT_TRUE(CQNDataThread::StopRequested(nullptr));
}

} // namespace
