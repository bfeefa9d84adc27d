#include "NorvoTools/CeDb.h"
#include "NorvoTools/CeString.h"
#include "NorvoTools/errors.h"
#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/memory.h"
#include "Platform/strings.h"
#include "Platform/threads.h"
#include "tests/support/devicefiles.h"

#include <string>
#include <vector>

namespace {

constexpr CEPROPID kNumber = 0x00010003;
constexpr CEPROPID kName = 0x0002001F;
constexpr CEPROPID kNote = 0x00030064;
constexpr CEPROPID kIds[] = {kNumber, kName};

std::vector<std::string> s_trace;

class CeDbTest : public DeviceFilesTest {
protected:
    CeDbTest() {
        FreeNorvoDirectory();
        s_trace.clear();
        CeSetTraceHook([](const WCHAR* line) {
            const std::u16string text(line);
            s_trace.emplace_back(text.begin(), text.end());
        });
    }
    ~CeDbTest() override {
        CeSetTraceHook(nullptr);
        FreeNorvoDirectory();
    }
    static void MakeDatabase(CeDb& db) {
        SORTORDERSPECEX order = {};
        order.wVersion = 2;
        order.wNumProps = 1;
        order.rgPropID[0] = kNumber;
        ASSERT_TRUE(db.MountVolumeEDB(u"\\t.vol", false));
        ASSERT_TRUE(db.Create(u"Things", 0, 1, &order, 0, nullptr));
        ASSERT_TRUE(db.Open(u"Things", kNumber));
    }
    static CEOID Add(CeDb& db, LONG number, const WCHAR* name) {
        CeDbRecord rec;
        rec.AddProps(kIds, 2);
        rec.SetIndexVal(0, number);
        rec.SetIndexVal(1, name);
        EXPECT_TRUE(db.AddRec(rec));
        return rec.m_oid;
    }
    static std::string Walk(CeDb& db) {
        std::string out;
        CeDbRecord rec;
        for (CEOID oid = db.SeekFirst(); oid; oid = db.SeekNext()) {
            LONG number = 0;
            if (db.ReadRec(rec, 2, kIds) && rec.GetIndexVal(0, number)) out += std::to_string(number) + " ";
        }
        return out;
    }
};

TEST_F(CeDbTest, RecordsGoInAndComeBackInOrder) {
    CeDb db;
    MakeDatabase(db);
    const CEOID three = Add(db, 3, u"three");
    const CEOID one = Add(db, 1, u"one");
    Add(db, 2, u"two");
    EXPECT_EQ(Walk(db), "1 2 3 ");
    EXPECT_EQ(db.GetNumRecords(), 3u);
    EXPECT_EQ(db.SeekLast(), three);
    EXPECT_EQ(db.SeekTo(one), one);
    EXPECT_EQ(db.SeekPrev(), 0u);
    CEPROPVAL two = {kNumber, 0, 0, {}};
    two.val.lVal = 2;
    EXPECT_NE(db.SeekRec(&two, 1), 0u);
    EXPECT_EQ(db.SeekGreaterRec(&two, 1), three);
    EXPECT_EQ(db.SeekSmallerRec(&two, 1), one);
    EXPECT_TRUE(s_trace.empty()); // an end of the data is no fault

    CeDbRecord rec;
    ASSERT_TRUE(db.SeekTo(one));
    ASSERT_TRUE(db.ReadRec(rec, 2, kIds));
    EXPECT_EQ(rec.m_oid, one);
    ASSERT_TRUE(rec.SetIndexVal(1, u"a longer name than before"));
    EXPECT_TRUE(db.UpdateRec(rec));
    ASSERT_TRUE(db.ReadRec(rec, 2, kIds));
    EXPECT_EQ(rec.TextAt(1), u"a longer name than before");
    const BSTR name = db.GetDatabaseNameFromOID(one);
    EXPECT_EQ(std::u16string(name ? name : u""), u"Things");
    SysFreeString(name);
    EXPECT_EQ(db.GetDatabaseNameFromOID(db.m_oid), nullptr); // a database, no record
    EXPECT_TRUE(db.DeleteRecord(one));
    EXPECT_EQ(Walk(db), "2 3 ");
    EXPECT_FALSE(db.ReadRec(rec, 2, kIds)); // behind the last
    EXPECT_EQ(rec.m_wNumProps, 0);
}

TEST_F(CeDbTest, ALentBufferIsUsedAsItIs) {
    CeDb db;
    MakeDatabase(db);
    Add(db, 1, std::u16string(1000, u'x').c_str());
    Add(db, 2, std::u16string(1001, u'y').c_str());
    // 16 told bytes a property, and 1,000 characters with their terminator.
    const DWORD size = CeRecordBufferSize(2 * 16 + 2002, 2);
    void* buffer = LocalAlloc(LMEM_FIXED, size);
    {
        CeDbRecord rec;
        ASSERT_TRUE(db.SeekFirst());
        ASSERT_TRUE(db.ReadRec(rec, buffer, size, 2, kIds));
        EXPECT_EQ(static_cast<void*>(rec.m_pProps), buffer);
        EXPECT_EQ(rec.TextAt(1).size(), 1000u);
        ASSERT_TRUE(db.SeekNext());
        EXPECT_FALSE(db.ReadRec(rec, buffer, size, 2, kIds));
        LONG number = 0;
        EXPECT_FALSE(rec.GetIndexVal(0, number)); // nothing of the record before
        EXPECT_EQ(static_cast<void*>(rec.DetachBuffer()), buffer);
    }
    LocalFree(buffer);
}

TEST_F(CeDbTest, MountsOnceAndSharesByCopy) {
    CeDb db;
    EXPECT_FALSE(db.MountVolume(u"\\none.vol")); // the old form doesn't make one
    EXPECT_FALSE(db.MountVolume(nullptr, nullptr, true));
    MakeDatabase(db);
    EXPECT_TRUE(db.MountVolumeEDB(u"\\t.vol", false)); // mounted already: no second reference
    CeDb copy;
    ASSERT_TRUE(copy.MountVolume(&db, nullptr, false));
    EXPECT_TRUE(copy.MatchDatabaseGUID(db.m_guid));
    Add(db, 1, u"x");
    ASSERT_TRUE(copy.Open(u"Things", kNumber)); // closes the shared session; the other database goes on
    EXPECT_EQ(Walk(copy), "1 ");
    EXPECT_EQ(Walk(db), "1 ");
    CEGUID guid = db.m_guid;
    EXPECT_TRUE(db.UnMountVolume());
    EXPECT_FALSE(CeUnmountDBVol(&guid));
    EXPECT_FALSE(db.IsMounted());
    EXPECT_FALSE(db.UnMountVolume());
}

TEST_F(CeDbTest, TransactionsKeepOrDropChanges) {
    CeDb db;
    EXPECT_TRUE(db.Commit()); // no session, nothing to do
    EXPECT_TRUE(db.RollBack());
    MakeDatabase(db);
    ASSERT_TRUE(db.BeginTransaction());
    Add(db, 1, u"x");
    EXPECT_TRUE(db.RollBack());
    EXPECT_EQ(Walk(db), "");
    ASSERT_TRUE(db.BeginTransaction());
    Add(db, 2, u"x");
    EXPECT_TRUE(db.Commit());
    EXPECT_EQ(Walk(db), "2 ");
}

TEST_F(CeDbTest, Streams) {
    CeDb db;
    MakeDatabase(db);
    CEBLOB blob = {1, nullptr};
    EXPECT_FALSE(db.ReadStream(kNote, &blob));
    ASSERT_TRUE(db.SeekTo(Add(db, 1, u"x")));
    EXPECT_FALSE(db.ReadStream(kNote, &blob));
    EXPECT_EQ(blob.lpb, nullptr);
    std::vector<BYTE> bytes(100001, 7);
    const CEBLOB content = {100001, bytes.data()};
    EXPECT_TRUE(db.WriteStream(kNote, &content));
    ASSERT_TRUE(db.ReadStream(kNote, &blob));
    EXPECT_EQ(blob.dwCount, 100001u);
    EXPECT_EQ(LocalSize(blob.lpb), 100002u); // rounded up to even
    EXPECT_EQ(blob.lpb[100000], 7);
    LocalFree(blob.lpb);
    const CEBLOB none = {0, nullptr};
    EXPECT_FALSE(db.WriteStream(kNote, &none)); // truncates, and reports false
    EXPECT_FALSE(db.ReadStream(kNote, &blob));
}

TEST_F(CeDbTest, MakingAndDeletingDatabases) {
    CeDb db;
    ASSERT_TRUE(db.MountVolumeEDB(u"\\t.vol", false));
    SORTORDERSPEC orders[20] = {};
    for (WORD i = 0; i < 20; ++i) orders[i].propid = CeDbRecord::PropId(static_cast<WORD>(i + 1), CEVT_I4);
    EXPECT_TRUE(db.Create(u"Old", 7, 20, orders)); // the orders past the sixteenth are dropped
    EXPECT_TRUE(db.Open(u"Old", CeDbRecord::PropId(16, CEVT_I4)));
    EXPECT_FALSE(db.Open(u"Old", CeDbRecord::PropId(17, CEVT_I4)));
    EXPECT_EQ(s_trace.back(), "OpenEDB DB(Old): Invalid Parameter\n");
    EXPECT_FALSE(db.Create(u"Old", 0, 0, nullptr, 0, nullptr));
    EXPECT_EQ(s_trace.back(), "Create DB(Old): ERROR_ALREADY_EXISTS\n");
    EXPECT_FALSE(db.Create(std::u16string(40, u'n').c_str(), 0, 0, nullptr, 0, nullptr)); // never a cut name
    EXPECT_FALSE(db.Delete());                                                            // none is open
    ASSERT_TRUE(db.Open(u"Old"));
    const CEOID oid = db.m_oid;
    CEPROPSPEC prop = {1, kName, 0, nullptr, 0};
    EXPECT_EQ(db.AddDatabaseProps(0, 1, &prop), 0u); // of the open database, which is closed for it
    EXPECT_FALSE(db.IsOpen());
    EXPECT_EQ(db.AddDatabaseProps(999999, 1, &prop), 2u); // none is open: the one that is named
    CEDBASEINFOEX info = {};
    info.dwFlags = CEDB_VALIDNAME;
    wcscpy(info.szDbaseName, u"New");
    EXPECT_TRUE(db.SetInfo(oid, &info));
    ASSERT_TRUE(db.Open(u"New"));
    EXPECT_EQ(db.m_oid, oid);
    EXPECT_TRUE(db.Delete());
    EXPECT_FALSE(db.Open(u"New"));
}

TEST_F(CeDbTest, TheWindowOfTheOpeningIsAskedFor) {
    const auto window = reinterpret_cast<HWND>(LONG_PTR{0x1234});
    CeDb db;
    MakeDatabase(db);
    for (bool session : {true, false}) {
        ASSERT_TRUE(session ? db.OpenEDB(0, u"Things", nullptr, 0, window)
                            : db.OpenCEDB(0, u"Things", nullptr, 0, window));
        const CENOTIFYREQUEST* request = db.GetNotificationRequest();
        ASSERT_NE(request, nullptr);
        EXPECT_EQ(request->dwSize, 20u);
        EXPECT_EQ(request->hwnd, window);
        EXPECT_EQ(request->dwFlags, 1u);
        EXPECT_EQ(request->dwParam, session ? reinterpret_cast<ULONG_PTR>(&db) : 0);
    }
    auto* own = new CENOTIFYREQUEST{20, window, CEDB_EXNOTIFICATION, nullptr, 5};
    ASSERT_TRUE(db.OpenEDB(0, u"Things", nullptr, 0, window, own)); // the object's from here on
    EXPECT_EQ(db.GetNotificationRequest(), own);
    db.Close();
    EXPECT_EQ(db.GetNotificationRequest(), nullptr);
}

TEST_F(CeDbTest, TheSuiteVolumeIsChosenOnce) {
    struct Case {
        const char* file; // exists beforehand
        const WCHAR* path;
    };
    const Case cases[] = {{nullptr, u"\\Quillonary.vol"},
                          {"Program Files/Norvo/Quillonary/Norvo/Quillonary.vol",
                           u"\\Program Files\\Norvo\\Quillonary\\Norvo\\Quillonary.vol"}};
    for (const Case& c : cases) {
        DeleteRegistryValue(HKEY_CURRENT_USER, kSuiteKey, u"QNVOL");
        if (c.file) {
            CeDb maker; // a real volume at that place
            std::filesystem::create_directories(std::filesystem::path(HostPath(c.file)).parent_path());
            ASSERT_TRUE(maker.MountVolumeEDB(c.path, false));
        }
        CeDb db;
        ASSERT_TRUE(db.MountNorvoVolume());
        EXPECT_EQ(std::u16string(db.m_szVolume), c.path);
        WCHAR stored[400] = {};
        EXPECT_EQ(GetFromRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, u"QNVOL", stored, 400), 0);
        EXPECT_EQ(std::u16string(stored), c.path);
    }
}

TEST_F(CeDbTest, ErrorsAreTraced) {
    const struct {
        DWORD error;
        const char* line;
        std::size_t boxes;
    } cases[] = {{ERROR_FILE_NOT_FOUND, "", 0},
                 {1168, "", 0},
                 {6, "Op DB(): Invalid Database Handle\n", 0},
                 {9999, "Op DB(): An error occured: 9999\n", 0},
                 {ERROR_DISK_FULL, "", 1}}; // this one the user has to know
    CeDb db;
    for (const auto& c : cases) {
        s_trace.clear();
        SetLastError(c.error);
        db.HandleError(u"Op");
        EXPECT_EQ(s_trace.empty() ? "" : s_trace[0], c.line) << c.error;
        EXPECT_EQ(PlatTakeMessageBoxes().size(), c.boxes) << c.error;
    }
}

} // namespace
