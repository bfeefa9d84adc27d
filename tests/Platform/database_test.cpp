// Records, sort orders, cursors, streams, transactions: one process, one thread.
#include "tests/support/store.h"

#include <sqlite3.h>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kText = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kStream = Prop(3, CEVT_STREAM);
constexpr CEPROPID kAuto = Prop(0x1000, CEVT_RECID);

class Records : public StoreTest {};

TEST_F(Records, EveryTypeComesBackAsWritten) {
    const HANDLE db = CreateAndOpen(u"all");
    const CEOID oid = Add(db, Values()
                                  .Short(1, -7)
                                  .Int(2, -70000)
                                  .Real(3, -1.5)
                                  .Bool(4, true)
                                  .UShort(5, 65535)
                                  .UInt(6, 4000000000u)
                                  .Text(7, u"a\xD800z") // half of a surrogate pair stays what it is
                                  .Time(8, 0x01D000000000000Full)
                                  .Blob(9, {1, 2, 3})
                                  .Text(10, u"")
                                  .Blob(11, {}));
    ASSERT_NE(oid, 0u);
    ASSERT_EQ(First(db), oid);
    const Read read(db, {Prop(1, CEVT_I2), Prop(2, CEVT_I4), Prop(3, CEVT_R8), Prop(4, CEVT_BOOL),
                         Prop(5, CEVT_UI2), Prop(6, CEVT_UI4), Prop(7, CEVT_LPWSTR), Prop(8, CEVT_FILETIME),
                         Prop(9, CEVT_BLOB), Prop(10, CEVT_LPWSTR), Prop(11, CEVT_BLOB)});
    ASSERT_EQ(read.Oid(), oid);
    std::string all;
    for (size_t i = 0; i < 11; ++i) all += Show(read[i]) + " ";
    EXPECT_EQ(all, "-7 -70000 -1.500000 true 65535 4000000000 'a?z' 130604389193744399 [3 from 1] '' [0] ");
    EXPECT_EQ(std::u16string(read[6].val.lpwstr), u"a\xD800z");
    EXPECT_EQ(read[8].val.blob.lpb[2], 3);
}

TEST_F(Records, AnswersComeInTheOrderOfTheRequest) {
    const HANDLE db = CreateAndOpen(u"r");
    Add(db, Values().Int(1, 5).Text(2, u"x").Stream(3, {9}));
    First(db);
    const Read read(db, {kText, kNumber, Prop(9, CEVT_I4), kText, kStream, Prop(1, CEVT_UI4)});
    ASSERT_EQ(read.Count(), 6);
    std::string all;
    for (size_t i = 0; i < 6; ++i) all += Show(read[i]) + " ";
    EXPECT_EQ(
        all,
        "'x' 5 - 'x' - - "); // repeated ids repeat, a stream is never inlined, another type is another id
    EXPECT_EQ(read[2].propid, Prop(9, CEVT_I4));
    EXPECT_EQ(read[2].wFlags, CEDB_PROPNOTFOUND);

    const Read everything(db);
    ASSERT_EQ(everything.Count(), 2);
    EXPECT_EQ(Show(everything[0]) + Show(everything[1]), "5'x'");

    Values values; // as many as there are ids
    for (int id = 65535; id > 0; --id) values.Int(static_cast<WORD>(id), id);
    const CEOID oid = Add(db, values);
    ASSERT_EQ(Next(db), oid);
    const Read many(db);
    ASSERT_EQ(many.Count(), 65535);
    EXPECT_EQ(Show(many[0]) + " " + Show(many[65534]), "1 65535");
    EXPECT_EQ(Change(db, oid, values), oid);
    EXPECT_TRUE(CeDeleteRecord(db, oid));
}

TEST_F(Records, AFixedBufferThatIsTooSmallFails) {
    const HANDLE db = CreateAndOpen(u"r");
    const CEOID oid = Add(db, Values().Text(2, u"1234567"));
    First(db);
    alignas(8) BYTE bytes[sizeof(CEPROPVAL) + 16];
    for (DWORD size = 0; size <= sizeof bytes; ++size) {
        BYTE* buffer = bytes;
        DWORD told = size;
        WORD count = 1;
        const CEOID read = CeReadRecordPropsEx(db, 0, &count, &kText, &buffer, &told, nullptr);
        EXPECT_EQ(ErrorOf(read), size == sizeof bytes ? 0 : ERROR_INSUFFICIENT_BUFFER) << size;
        EXPECT_EQ(read, size == sizeof bytes ? oid : 0u) << size;
        EXPECT_EQ(buffer, bytes);
        EXPECT_EQ(told, size); // a loop with one buffer goes on with its true size
    }
}

TEST_F(Records, ABufferGrowsInTheHeapGiven) {
    const HANDLE db = CreateAndOpen(u"r");
    Add(db, Values().Text(2, std::u16string(5000, u'x')));
    First(db);
    const HANDLE own = HeapCreate(0, 0, 0);
    for (const HANDLE heap : {HANDLE{}, GetProcessHeap(), own}) {
        BYTE* buffer = static_cast<BYTE*>(heap ? HeapAlloc(heap, 0, 8) : LocalAlloc(0, 8));
        DWORD size = 8;
        WORD count = 1;
        ASSERT_NE(CeReadRecordPropsEx(db, CEDB_ALLOWREALLOC, &count, &kText, &buffer, &size, heap), 0u);
        EXPECT_EQ(size, sizeof(CEPROPVAL) + 10002);
        EXPECT_EQ(std::u16string(reinterpret_cast<CEPROPVAL*>(buffer)->val.lpwstr).size(), 5000u);
        EXPECT_TRUE(heap ? HeapFree(heap, 0, buffer) : LocalFree(buffer) == nullptr);
    }
    HeapDestroy(own);
}

TEST_F(Records, AChangeTouchesOnlyWhatIsListed) {
    const HANDLE db = CreateAndOpen(u"r", {Order({{kAuto, 0}})});
    const CEOID oid = Add(db, Values().Int(1, 1).Text(2, u"keep").Int(4, 4).Stream(3, {1, 2}));
    ASSERT_EQ(Change(db, oid,
                     Values()
                         .Int(1, 9)
                         .Int(1, 2) // the last one counts
                         .Flagged(Prop(4, CEVT_I4), CEDB_PROPDELETE)
                         .Flagged(kText, CEDB_PROPNOTFOUND)
                         .Recid(0x1000, 77)),
              oid);
    First(db);
    EXPECT_EQ(ReadOne(db, kNumber), "2");
    EXPECT_EQ(ReadOne(db, kText), "'keep'");
    EXPECT_EQ(ReadOne(db, Prop(4, CEVT_I4)), "-");
    EXPECT_EQ(ReadOne(db, kAuto), "1");
    EXPECT_EQ(ReadStream(db, kStream), (std::vector<BYTE>{1, 2}));
    EXPECT_EQ(ErrorOf(Change(db, oid + 100, Values().Int(1, 2))), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ErrorOf(Add(db, Values().Flagged(Prop(1, 22), 0))),
              ERROR_INVALID_PARAMETER); // no type of the store
}

// --- Orders -------------------------------------------------------------------------------------------------------

struct OrderCase {
    const char* name;
    DWORD flags;
    std::string expected; // of property 9, which numbers the records
};

class Orders : public StoreTest {
protected:
    // In each order: adds records with the values of one property, or without it, and walks them.
    template<class AddValue>
    void Expect(CEPROPID propid, size_t count, AddValue addValue, const std::vector<OrderCase>& cases) {
        for (const OrderCase& c : cases) {
            SCOPED_TRACE(c.name);
            const std::u16string name = u"db" + std::u16string(1, static_cast<WCHAR>(u'a' + m_made++));
            const HANDLE db = CreateAndOpen(name.c_str(), {Order({{propid, c.flags}})});
            ASSERT_NE(db, INVALID_HANDLE_VALUE);
            for (size_t i = 0; i < count; ++i) {
                Values values;
                addValue(i, values);
                ASSERT_NE(Add(db, values.Int(9, static_cast<LONG>(i))), 0u);
            }
            EXPECT_EQ(Walk(db, Prop(9, CEVT_I4)), c.expected);
        }
    }
    int m_made = 0;
};

TEST_F(Orders, NumbersAndAbsentOnes) {
    const LONG numbers[] = {5, -3, 0, 0, 2147483647, -2147483647 - 1}; // and a seventh without
    Expect(kNumber, 7,
           [&](size_t i, Values& v) {
               if (i < 6) v.Int(1, numbers[i]);
           },
           {{"ascending", 0, "5 1 2 3 0 4 6"},
            {"descending", CEDB_SORT_DESCENDING, "4 0 2 3 1 5 6"},
            {"unknown first", CEDB_SORT_UNKNOWNFIRST, "6 5 1 2 3 0 4"},
            {"both", CEDB_SORT_DESCENDING | CEDB_SORT_UNKNOWNFIRST, "6 4 0 2 3 1 5"}});
}

TEST_F(Orders, OtherTypes) {
    const double reals[] = {0.0, -1e300, 1e-300, -0.5, 2.0};
    Expect(Prop(1, CEVT_R8), 5, [&](size_t i, Values& v) { v.Real(1, reals[i]); },
           {{"ascending", 0, "1 3 0 2 4"}, {"descending", CEDB_SORT_DESCENDING, "4 2 0 3 1"}});
    const SHORT shorts[] = {-1, 1, -300};
    Expect(Prop(1, CEVT_I2), 3, [&](size_t i, Values& v) { v.Short(1, shorts[i]); }, {{"short", 0, "2 0 1"}});
    const ULONGLONG times[] = {0xFFFFFFFFull, 0x100000000ull, 0x8000000000000000ull, 1};
    Expect(Prop(1, CEVT_FILETIME), 4, [&](size_t i, Values& v) { v.Time(1, times[i]); },
           {{"time", 0, "3 0 1 2"}});
    const ULONG unsigneds[] = {0x80000000u, 1, 0xFFFFFFFFu};
    Expect(Prop(1, CEVT_UI4), 3, [&](size_t i, Values& v) { v.UInt(1, unsigneds[i]); },
           {{"unsigned", 0, "1 0 2"}});
    Expect(Prop(1, CEVT_BOOL), 3, [&](size_t i, Values& v) { v.Bool(1, i != 1); }, {{"bool", 0, "1 0 2"}});
}

TEST_F(Orders, TextsByUnitsOrWithoutCase) {
    const std::u16string tail(400, u'x'); // long texts that differ at their end only
    const std::u16string texts[] = {u"b", u"B", u"a", u"", u"ab", u"\u00E4", tail + u"2", tail + u"1"};
    Expect(
        kText, 8, [&](size_t i, Values& v) { v.Text(2, texts[i]); },
        {{"units", 0, "3 1 2 4 0 7 6 5"},
         {"units descending", CEDB_SORT_DESCENDING, "5 6 7 0 4 2 1 3"},
         {"without case", CEDB_SORT_CASEINSENSITIVE, "3 2 5 4 0 1 7 6"},
         {"without case descending", CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_DESCENDING, "6 7 0 1 4 5 2 3"}});
}

TEST_F(Orders, TwoPropertiesAndAChangedKey) {
    const auto order = Order({{kNumber, 0}, {kText, CEDB_SORT_DESCENDING}});
    const HANDLE db = CreateAndOpen(u"two", {order, Order({{kText, 0}})});
    const std::pair<LONG, const WCHAR*> rows[] = {{2, u"a"}, {1, u"a"}, {2, u"c"}, {1, u"b"}};
    std::vector<CEOID> oids;
    for (const auto& [number, text] : rows) oids.push_back(Add(db, Values().Int(1, number).Text(2, text)));
    EXPECT_EQ(Walk(db, kText), "'b' 'a' 'c' 'a'");
    ASSERT_TRUE(Change(db, oids[0], Values().Int(1, 0)));
    EXPECT_EQ(Walk(db, kNumber), "0 1 1 2");
    const auto byText = Order({{kText, 0}});
    EXPECT_EQ(Walk(Open(u"two", &byText), kText), "'a' 'a' 'b' 'c'");
    ASSERT_TRUE(CeDeleteRecord(db, oids[3]));
    EXPECT_EQ(Walk(db, kNumber), "0 1 2");
}

TEST_F(Orders, OpeningWithAnotherOrderFails) {
    Create(u"with", {Order({{kNumber, 0}}), Order({{kNumber, 0}, {kText, 0}})});
    Create(u"without");
    const struct {
        const WCHAR* db;
        SORTORDERSPECEX order;
        DWORD error;
    } cases[] = {
        {u"with", Order({{kNumber, CEDB_SORT_DESCENDING}}), 0}, // flags don't count
        {u"with", Order({{kNumber, 0}, {kText, 0}}), 0},
        {u"with", Order({{kText, 0}, {kNumber, 0}}), ERROR_INVALID_PARAMETER},
        {u"with", Order({{kText, 0}}), ERROR_INVALID_PARAMETER},
        {u"WITHOUT", Order({{kText, 0}}), 0},
        {u"without", Order({{kText, 0}, {kNumber, 0}}), ERROR_INVALID_PARAMETER},
        {u"without", Order({{Prop(1, CEVT_BLOB), 0}}), ERROR_INVALID_PARAMETER},
        {u"nowhere", Order({{kText, 0}}), ERROR_FILE_NOT_FOUND},
    };
    for (const auto& c : cases) {
        SetLastError(0);
        SORTORDERSPECEX order = c.order;
        order.wKeyFlags = 0x1200;
        const HANDLE db = Open(c.db, &order);
        EXPECT_EQ(db == INVALID_HANDLE_VALUE, c.error != 0);
        EXPECT_EQ(GetLastError(), c.error);
    }
    const HANDLE plain = CreateAndOpen(u"late"); // one that is asked for later covers what is there
    for (const LONG n : {3, 1, 2}) Add(plain, Values().Int(1, n));
    EXPECT_EQ(Walk(plain, kNumber), "3 1 2"); // order of creation
    const auto byNumber = Order({{kNumber, 0}});
    const HANDLE sorted = Open(u"late", &byNumber);
    Add(plain, Values().Int(1, 0)); // through a handle that knew no orders
    EXPECT_EQ(Walk(sorted, kNumber), "0 1 2 3");
}

TEST_F(Orders, FollowTheLocaleOfTheDevice) {
    const auto order = Order({{kText, CEDB_SORT_CASEINSENSITIVE}});
    const std::pair<const char*, const char*> cases[] = {{"de_DE", "'a' '?' 'Z'"}, {"sv_SE", "'a' 'Z' '?'"}};
    for (const auto& [locale, expected] : cases) {
        TearDown();
        PlatSetLocale(locale);
        PlatSetDeviceFolder(m_folder); // as a restart
        m_guid = {};
        if (Create(u"l", {order}))
            for (const WCHAR* text : {u"Z", u"\u00E4", u"a"}) Add(Open(u"l"), Values().Text(2, text));
        const HANDLE db = Open(u"l", &order);
        EXPECT_EQ(Walk(db, kText), expected) << locale;
        EXPECT_TRUE(SeekValues(db, CEDB_SEEK_VALUEFIRSTEQUAL, Values().Text(2, u"\u00C4")));
        const CEOID oid = Add(db, Values().Text(2, u"b"));
        EXPECT_TRUE(CeDeleteRecord(db, oid));
        EXPECT_EQ(Walk(db, kText), expected) << locale;
    }
}

// --- Cursor -------------------------------------------------------------------------------------------------------

class Cursors : public StoreTest {
protected:
    // Records with the numbers, in an order of number with the flags.
    HANDLE Numbers(std::vector<LONG> numbers, DWORD flags = 0) {
        m_order = Order({{kNumber, flags}});
        const HANDLE db = CreateAndOpen(u"numbers", {m_order});
        for (const LONG n : numbers) m_oids.push_back(Add(db, Values().Int(1, n)));
        return db;
    }
    std::string At(HANDLE db, CEOID oid) { return oid ? ReadOne(db, kNumber) : "none"; }

    SORTORDERSPECEX m_order{};
    std::vector<CEOID> m_oids;
};

TEST_F(Cursors, Positions) {
    const HANDLE db = Numbers({10, 20, 30, 40, 50});
    EXPECT_EQ(ReadOne(db, kNumber), "10"); // a fresh handle stands on the first record
    const struct {
        DWORD type;
        LONG n;
        const char* expected;
        DWORD index;
    } steps[] = {
        {CEDB_SEEK_BEGINNING, 2, "30", 2},   {CEDB_SEEK_CURRENT, 1, "40", 3},
        {CEDB_SEEK_CURRENT, -2, "20", 1},    {CEDB_SEEK_CURRENT, 0, "20", 1},
        {CEDB_SEEK_END, 0, "50", 4},         {CEDB_SEEK_END, 3, "20", 1},
        {CEDB_SEEK_CURRENT, 9, "none", 0},   {CEDB_SEEK_CURRENT, -1, "50", 4},
        {CEDB_SEEK_CURRENT, -9, "none", 0},  {CEDB_SEEK_CURRENT, 2, "20", 1},
        {CEDB_SEEK_BEGINNING, 5, "none", 0}, {CEDB_SEEK_CURRENT, -1, "50", 4},
        {CEDB_SEEK_CURRENT, 1, "none", 0},   {CEDB_SEEK_END, 5, "none", 0},
        {CEDB_SEEK_CURRENT, 1, "10", 0},
    };
    for (const auto& step : steps) {
        DWORD index = 0;
        const CEOID oid = CeSeekDatabaseEx(db, step.type, static_cast<DWORD>(step.n), 1, &index);
        EXPECT_EQ(At(db, oid), step.expected) << step.type << " " << step.n;
        EXPECT_EQ(index, step.index) << step.type << " " << step.n;
        if (!oid) {
            EXPECT_EQ(GetLastError(), ERROR_NOT_FOUND);
        }
    }
    EXPECT_EQ(CeSeekDatabaseEx(db, CEDB_SEEK_CEOID, m_oids[3], 1, nullptr), m_oids[3]);
    EXPECT_EQ(At(db, Next(db)), "50");
    EXPECT_EQ(CeSeekDatabaseEx(db, CEDB_SEEK_CEOID, 5, 1, nullptr), 0u);
    EXPECT_EQ(ReadOne(db, kNumber), "50"); // stays where it was
}

TEST_F(Cursors, ValuesAreFoundByValueOnAscendingAndDescendingOrders) {
    const struct {
        DWORD type;
        LONG value;
        const char* ascending;
        const char* descending;
    } cases[] = {
        {CEDB_SEEK_VALUEFIRSTEQUAL, 20, "20", "20"},  {CEDB_SEEK_VALUEFIRSTEQUAL, 25, "none", "none"},
        {CEDB_SEEK_VALUEGREATER, 20, "30", "30"},     {CEDB_SEEK_VALUEGREATER, 15, "20", "20"},
        {CEDB_SEEK_VALUEGREATER, 30, "none", "none"}, {CEDB_SEEK_VALUESMALLER, 20, "10", "10"},
        {CEDB_SEEK_VALUESMALLER, 25, "20", "20"},     {CEDB_SEEK_VALUESMALLER, 10, "none", "none"},
    };
    for (const DWORD flags : {DWORD{0}, CEDB_SORT_DESCENDING, CEDB_SORT_UNKNOWNFIRST}) {
        m_guid = {};
        ASSERT_TRUE(Mount((u"\\v" + std::u16string(1, static_cast<WCHAR>(u'0' + flags))).c_str()));
        const HANDLE db = Numbers({10, 20, 20, 30}, flags);
        Add(db, Values().Text(2, u"without a number")); // is never smaller or greater
        for (const auto& c : cases)
            EXPECT_EQ(At(db, SeekValues(db, c.type, Values().Int(1, c.value))),
                      flags & CEDB_SORT_DESCENDING ? c.descending : c.ascending)
                << flags << ": " << c.type << " " << c.value;
        ASSERT_TRUE(SeekValues(db, CEDB_SEEK_VALUEFIRSTEQUAL, Values().Int(1, 20)));
        EXPECT_EQ(At(db, SeekValues(db, CEDB_SEEK_VALUENEXTEQUAL, Values().Int(1, 20))), "20");
        EXPECT_EQ(At(db, SeekValues(db, CEDB_SEEK_VALUENEXTEQUAL, Values().Int(1, 20))), "none");
        EXPECT_EQ(ErrorOf(SeekValues(db, CEDB_SEEK_VALUEFIRSTEQUAL, Values().Text(2, u"x"))),
                  ERROR_INVALID_PARAMETER);
    }
}

TEST_F(Cursors, FewerValuesThanPropertiesMeanThePrefix) {
    const HANDLE db = CreateAndOpen(u"two", {Order({{kNumber, 0}, {kText, CEDB_SORT_CASEINSENSITIVE}})});
    const std::pair<LONG, const WCHAR*> rows[] = {{1, u"b"}, {2, u"B"}, {2, u"a"}, {3, u"a"}};
    for (const auto& [number, text] : rows) Add(db, Values().Int(1, number).Text(2, text));
    const auto found = [&](DWORD type, const Values& values) {
        return SeekValues(db, type, values) ? ReadOne(db, kNumber) + ReadOne(db, kText) : "none";
    };
    EXPECT_EQ(found(CEDB_SEEK_VALUEFIRSTEQUAL, Values().Int(1, 2)), "2'a'");
    EXPECT_EQ(found(CEDB_SEEK_VALUEGREATER, Values().Int(1, 2)), "3'a'");
    EXPECT_EQ(found(CEDB_SEEK_VALUESMALLER, Values().Int(1, 2)), "1'b'");
    EXPECT_EQ(found(CEDB_SEEK_VALUEFIRSTEQUAL, Values().Int(1, 2).Text(2, u"b")), "2'B'");
}

TEST_F(Cursors, DeletingTheCurrentRecordLeavesAGap) {
    const HANDLE db = Numbers({1, 2, 3, 4});
    Seek(db, CEDB_SEEK_BEGINNING, 1);
    ASSERT_TRUE(CeDeleteRecord(db, m_oids[1]));
    EXPECT_EQ(Seek(db, CEDB_SEEK_CURRENT, 0), 0u);
    EXPECT_EQ(ReadOne(db, kNumber), "error 1018");
    EXPECT_EQ(At(db, Next(db)), "3");
    ASSERT_TRUE(CeDeleteRecord(db, m_oids[2]));
    EXPECT_EQ(At(db, Seek(db, CEDB_SEEK_CURRENT, -1)), "1");
    // The walk that empties a database, forwards.
    for (CEOID oid = First(db); oid; oid = Next(db)) ASSERT_TRUE(CeDeleteRecord(db, oid));
    EXPECT_EQ(First(db), 0u);
}

TEST_F(Cursors, StayRightWhileAnotherHandleWrites) {
    std::vector<LONG> numbers;
    for (LONG n = 0; n < 300; n += 10) numbers.push_back(n);
    Close(Numbers(numbers));
    for (const bool inOneSession : {false, true}) { // rolled back, so that the second round finds the same
        const HANDLE session = NewSession();
        const HANDLE other = Open(u"numbers", &m_order, session);
        const HANDLE walker = Open(u"numbers", &m_order, inOneSession ? session : nullptr);
        EXPECT_TRUE(!inOneSession || CeBeginTransaction(session, 1));
        for (int i = 0; i < 8; ++i) i ? Next(walker) : First(walker); // several records are read ahead
        ASSERT_EQ(ReadOne(walker, kNumber), "70");
        const CEOID added = Add(other, Values().Int(1, 75));
        EXPECT_EQ(At(walker, Next(walker)), "75");
        ASSERT_TRUE(CeDeleteRecord(other, added));
        EXPECT_EQ(ReadOne(walker, kNumber), "error 1018");
        EXPECT_EQ(At(walker, Next(walker)), "80");
        Change(other, m_oids[8], Values().Text(2, u"new"));
        EXPECT_EQ(ReadOne(walker, kText), "'new'");
        Change(other, m_oids[8], Values().Int(1, 500)); // the walked place stays
        EXPECT_EQ(ReadOne(walker, kNumber), "500");
        EXPECT_EQ(At(walker, Next(walker)), "90");
        Change(other, m_oids[8], Values().Int(1, 80));
        EXPECT_EQ(At(walker, Next(walker)), "100");
        Close(session);
    }
}

TEST_F(Cursors, ADuplicateSharesTheCursorAndOutlivesTheHandle) {
    const HANDLE db = Numbers({1, 2});
    HANDLE twin = nullptr;
    ASSERT_TRUE(DuplicateHandle(nullptr, db, nullptr, &twin, 0, FALSE, DUPLICATE_SAME_ACCESS));
    First(db);
    EXPECT_EQ(At(twin, Next(twin)), "2");
    EXPECT_EQ(ReadOne(db, kNumber), "2");
    Close(db);
    EXPECT_EQ(ErrorOf(First(db)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(At(twin, First(twin)), "1");
    CEOIDINFO info{};
    ASSERT_TRUE(CeOidGetInfo(m_oids[0], &info));
    EXPECT_FALSE(CeDeleteDatabaseEx(&m_guid, info.infRecord.oidParent)); // it is open
    EXPECT_TRUE(CloseHandle(twin));
    EXPECT_TRUE(CeDeleteDatabaseEx(&m_guid, info.infRecord.oidParent));
}

// --- Streams ------------------------------------------------------------------------------------------------------

class Streams : public StoreTest {
protected:
    int Rows(const std::string& table) {
        sqlite3* file = nullptr;
        sqlite3_stmt* count = nullptr;
        int rows = -1;
        sqlite3_open(HostPath("test.vol").c_str(), &file);
        sqlite3_prepare_v2(file, ("SELECT count(*) FROM " + table).c_str(), -1, &count, nullptr);
        if (sqlite3_step(count) == SQLITE_ROW) rows = sqlite3_column_int(count, 0);
        sqlite3_finalize(count);
        sqlite3_close(file);
        return rows;
    }
};

TEST_F(Streams, AnySizeInTheRecordOrOutside) {
    const HANDLE db = CreateAndOpen(u"s");
    ASSERT_TRUE(Add(db, Values().Int(1, 1)));
    First(db);
    EXPECT_EQ(ErrorOf(CeOpenStream(db, kStream, STREAM_READ)), ERROR_NOT_FOUND);
    for (const size_t size : {1, 1024, 1025, 32000, 32001, 100, 64000, 200000, 7}) {
        const auto bytes = Pattern(size, static_cast<BYTE>(size));
        ASSERT_TRUE(WriteStream(db, kStream, bytes)) << size;
        EXPECT_EQ(ReadStream(db, kStream), bytes) << size;
        EXPECT_EQ(ReadOne(db, kStream), "-");
        EXPECT_EQ(ReadOne(db, kNumber), "1");
    }
    EXPECT_FALSE(WriteStream(db, kText, {1})); // no stream property
    ASSERT_TRUE(WriteStream(db, kStream, Pattern(50000)));
    ASSERT_TRUE(CeDeleteRecord(db, Read(db, {kNumber}).Oid()));
    EXPECT_EQ(Rows("strm"), 0); // nothing is left behind
    EXPECT_EQ(Rows("rec"), 0);
}

TEST_F(Streams, SeekReadWriteInPieces) {
    const HANDLE db = CreateAndOpen(u"s");
    Add(db, Values().Stream(3, Pattern(70000)));
    First(db);
    const HANDLE stream = CeOpenStream(db, kStream, STREAM_READ | STREAM_WRITE);
    m_handles.push_back(stream);
    DWORD position = 0, done = 0;
    ASSERT_TRUE(CeStreamSeek(stream, static_cast<DWORD>(-10), STREAM_SEEK_END, &position));
    EXPECT_EQ(position, 69990u);
    std::vector<BYTE> bytes(100);
    ASSERT_TRUE(CeStreamRead(stream, bytes.data(), 100, &done));
    EXPECT_EQ(done, 10u);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 10, Pattern(70000).end() - 10));
    EXPECT_EQ(ErrorOf(CeStreamSeek(stream, 1, STREAM_SEEK_END, &position)), ERROR_SEEK);
    ASSERT_TRUE(CeStreamSeek(stream, 31999, STREAM_SEEK_SET, &position));
    const BYTE patch[] = {1, 2, 3};
    ASSERT_TRUE(CeStreamWrite(stream, patch, 3, &done));
    ASSERT_TRUE(CeStreamSetSize(stream, 32002));
    EXPECT_EQ(ReadStream(db, kStream), Pattern(70000)); // not saved yet
    ASSERT_TRUE(CeStreamSaveChanges(stream));
    auto expected = Pattern(70000);
    expected.resize(32002);
    std::copy(std::begin(patch), std::end(patch), expected.begin() + 31999);
    EXPECT_EQ(ReadStream(db, kStream), expected);
}

TEST_F(Streams, EmptyingAndReplacingTakeEffectAtOnceAndClosingSaves) {
    const HANDLE db = CreateAndOpen(u"s");
    const CEOID oid = Add(db, Values().Stream(3, Pattern(5000)));
    First(db);
    const HANDLE reader = CeOpenStream(db, kStream, STREAM_READ),
                 emptied = CeOpenStream(db, kStream, STREAM_WRITE);
    ASSERT_TRUE(CeStreamSetSize(emptied, 0));
    EXPECT_TRUE(ReadStream(db, kStream).empty());
    BYTE byte = 0;
    EXPECT_EQ(ErrorOf(CeStreamRead(reader, &byte, 1, nullptr)), ERROR_KEY_DELETED);
    const HANDLE written = CeOpenStream(db, kStream, STREAM_WRITE);
    ASSERT_TRUE(CeStreamWrite(written, Pattern(50).data(), 50, nullptr));
    for (const HANDLE stream : {reader, emptied, written}) CloseHandle(stream);
    EXPECT_EQ(ReadStream(db, kStream), Pattern(50));
    const HANDLE late = CeOpenStream(db, kStream, STREAM_WRITE);
    ASSERT_TRUE(CeStreamSetSize(late, 10));
    ASSERT_TRUE(CeDeleteRecord(db, oid));
    EXPECT_EQ(ErrorOf(CeStreamSaveChanges(late)), ERROR_KEY_DELETED);
    CloseHandle(late);
}

// --- Transactions and sessions ------------------------------------------------------------------------------------

class Transactions : public StoreTest {};

TEST_F(Transactions, CommitAndRollBack) {
    CreateAndOpen(u"t", {Order({{kNumber, 0}})});
    const auto order = Order({{kNumber, 0}});
    const HANDLE session = NewSession();
    const HANDLE inside = Open(u"t", &order, session);
    const HANDLE outside = Open(u"t", &order);
    ASSERT_TRUE(CeBeginTransaction(session, 1));
    EXPECT_FALSE(CeBeginTransaction(session, 1));
    Add(inside, Values().Int(1, 1));
    Add(inside, Values().Int(1, 2).Stream(3, Pattern(5000)));
    EXPECT_EQ(Walk(inside, kNumber), "1 2");
    EXPECT_EQ(Walk(outside, kNumber), "");
    EXPECT_EQ(ErrorOf(Add(outside, Values().Int(1, 3))),
              ERROR_SHARING_VIOLATION); // this thread holds the volume by the session
    ASSERT_TRUE(CeEndTransaction(session, FALSE));
    EXPECT_EQ(Walk(inside, kNumber), "");
    EXPECT_EQ(ErrorOf(CeEndTransaction(session, TRUE)), ERROR_INVALID_PARAMETER);
    ASSERT_TRUE(CeBeginTransaction(session, 1));
    Add(inside, Values().Int(1, 4));
    ASSERT_TRUE(CeEndTransaction(session, TRUE));
    EXPECT_EQ(Walk(outside, kNumber), "4");
}

TEST_F(Transactions, ClosingTheSessionRollsBackAndLeavesDatabasesOpen) {
    Create(u"t");
    const HANDLE session = NewSession();
    const HANDLE db = Open(u"t", nullptr, session);
    ASSERT_TRUE(Add(db, Values().Int(1, 1).Stream(3, {1})));
    ASSERT_TRUE(CeBeginTransaction(session, 1));
    ASSERT_TRUE(Add(db, Values().Int(1, 2)));
    First(db);
    const HANDLE stream = CeOpenStream(db, kStream, STREAM_WRITE);
    ASSERT_TRUE(CeStreamWrite(stream, Pattern(9).data(), 9, nullptr));
    EXPECT_TRUE(CloseHandle(session));
    EXPECT_EQ(ErrorOf(CloseHandle(session)), ERROR_INVALID_HANDLE);
    CloseHandle(stream); // written before the roll-back: nothing to save
    EXPECT_EQ(Walk(db, kNumber), "1");
    First(db);
    EXPECT_EQ(ReadStream(db, kStream), std::vector<BYTE>{1});
    EXPECT_TRUE(Add(db, Values().Int(1, 3)));
    EXPECT_EQ(Walk(db, kNumber), "1 3");
}

// --- Volumes and databases ----------------------------------------------------------------------------------------

class Volumes : public StoreTest {
protected:
    CEDBASEINFOEX InfoOf(CEOID oid) {
        CEOIDINFOEX info{};
        info.wVersion = 2;
        EXPECT_TRUE(CeOidGetInfoEx2(&m_guid, oid, &info));
        EXPECT_EQ(info.wObjType, OBJTYPE_DATABASE);
        return info.infDatabase;
    }
};

TEST_F(Volumes, ThePimVolumeIsSeededOnce) {
    ASSERT_TRUE(Mount(u"\\pim.vol"));
    const struct {
        const WCHAR* name;
        SORTORDERSPECEX order;
    } databases[] = {
        {u"Appointments Database", Order({{0x10420040, 0}})},
        {u"Appointments Database", Order({{0x10000066, 0}})},
        {u"Tasks Database", Order({{0x10000066, 0}})},
        {u"Contacts Database", Order({{0x0080001F, 0}})},
        {u"Contacts Database", Order({{0x10000066, 0}})},
        {u"CategoryMainDB", Order({{0x00010066, 0}})},
        {u"CategoryAssocDB", Order({{0x00010013, 0}, {0x00020003, 0}})},
        {u"CategoryAssocDB", Order({{0x00020003, 0}, {0x00010013, 0}})},
        {u"PIMNamedPropVals", Order({{0x00010013, 0}, {0x00020013, 0}})},
        {u"PIMNamedProps", Order({{0x0001001F, 0}})},
    };
    for (const auto& d : databases) EXPECT_NE(Open(d.name, &d.order), INVALID_HANDLE_VALUE);
    TearDown();
    CEOID oid = 0;
    const HANDLE db = CeOpenDatabaseEx2(&m_guid, &oid, u"CategoryAssocDB", nullptr, 0, nullptr);
    EXPECT_EQ(ErrorOf(CeDeleteDatabaseEx(&m_guid, oid)), ERROR_SHARING_VIOLATION); // it is open
    CloseHandle(db);
    ASSERT_TRUE(CeDeleteDatabaseEx(&m_guid, oid));
    PlatSetDeviceFolder(m_folder); // as a restart
    ASSERT_TRUE(Mount(u"\\pim.vol"));
    EXPECT_EQ(Open(u"CategoryAssocDB"), INVALID_HANDLE_VALUE);
    EXPECT_NE(Open(u"CategoryMainDB"), INVALID_HANDLE_VALUE);
    ASSERT_TRUE(Mount(u"\\other.vol"));
    EXPECT_EQ(Open(u"CategoryMainDB"), INVALID_HANDLE_VALUE);
}

TEST_F(Volumes, MountsCountAndIdsStay) {
    EXPECT_EQ(ErrorOf(Mount(u"\\x.vol", DBVOL_OPEN_EXISTING)), ERROR_FILE_NOT_FOUND);
    ASSERT_TRUE(Mount(u"\\x.vol", 0x80000004));
    const CEGUID first = m_guid;
    ASSERT_TRUE(Mount(u"X.VOL", DBVOL_OPEN_EXISTING));
    EXPECT_EQ(m_guid, first);
    const HANDLE db = CreateAndOpen(u"a");
    EXPECT_TRUE(CeUnmountDBVol(&m_guid));
    EXPECT_NE(Open(u"a"), INVALID_HANDLE_VALUE);
    EXPECT_TRUE(CeUnmountDBVol(&m_guid));
    EXPECT_FALSE(CeUnmountDBVol(&m_guid));
    EXPECT_EQ(ErrorOf(CeCreateSession(&m_guid)), ERROR_FILE_NOT_FOUND);
    EXPECT_TRUE(Add(db, Values().Int(1, 1))); // open handles stay usable
    ASSERT_TRUE(Mount(u"\\x.vol"));
    EXPECT_EQ(m_guid, first);
    EXPECT_EQ(Walk(Open(u"a"), kNumber), "1");
    EXPECT_FALSE(Mount(u"\\..\\x.vol"));
    // Whoever releases this one too often takes it from nobody.
    ASSERT_TRUE(Mount(u"\\pim.vol"));
    EXPECT_TRUE(CeUnmountDBVol(&m_guid));
    EXPECT_FALSE(CeUnmountDBVol(&m_guid));
    EXPECT_NE(Open(u"Tasks Database"), INVALID_HANDLE_VALUE);
}

TEST_F(Volumes, AFileReplacedBehindOurBackIsAnother) {
    CreateAndOpen(u"a");
    TearDown();
    for (const char* file : {"test.vol", "test.vol-wal", "test.vol-shm"})
        std::filesystem::remove(HostPath(file));
    ASSERT_TRUE(Mount());
    EXPECT_EQ(Open(u"a"), INVALID_HANDLE_VALUE);
    EXPECT_TRUE(Add(CreateAndOpen(u"b"), Values().Int(1, 1)));
}

TEST_F(Volumes, ObjectsTellWhatTheyAre) {
    const CEOID a = Create(u"First", {Order({{kNumber, 0}})});
    const CEOID b = Create(u"Second");
    EXPECT_EQ(ErrorOf(Create(u"FIRST")), ERROR_ALREADY_EXISTS);
    const HANDLE db = Open(u"First");
    const CEOID record = Add(db, Values().Int(1, 1));
    EXPECT_GE(std::min({a, b, record}), 0x00100000u);
    EXPECT_TRUE(a != b && b != record && record != a);
    EXPECT_EQ(InfoOf(a).dwNumRecords, 1u);
    EXPECT_EQ(std::u16string(InfoOf(a).szDbaseName), u"First");
    EXPECT_EQ(InfoOf(a).wNumSortOrder, 1);
    EXPECT_EQ(InfoOf(a).rgSortSpecs[0].rgPropID[0], kNumber);
    EXPECT_EQ(InfoOf(b).dwNumRecords, 0u);
    CEOIDINFO info{};
    ASSERT_TRUE(CeOidGetInfo(record, &info));
    EXPECT_EQ(info.wObjType, OBJTYPE_RECORD);
    EXPECT_EQ(info.infRecord.oidParent, a);
    EXPECT_EQ(ErrorOf(CeOidGetInfo(0x00200000, &info)), ERROR_FILE_NOT_FOUND);
    CeDeleteRecord(db, record);
    EXPECT_GT(Add(db, Values()), record); // never used again; a record without properties is one

    CEDBASEINFO old{}; // the form with orders of one property
    std::copy_n(u"old form", 9, old.szDbaseName);
    EXPECT_EQ(ErrorOf(CeCreateDatabaseEx(&m_guid, &old)), ERROR_INVALID_PARAMETER);
    old.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
    old.dwDbaseType = 42;
    old.wNumSortOrder = CEDB_MAXSORTORDER;
    for (WORD i = 0; i < CEDB_MAXSORTORDER; ++i) old.rgSortSpecs[i] = {Prop(i, CEVT_I4), 0};
    SetLastError(5);
    const CEOID oid = CeCreateDatabaseEx(&m_guid, &old);
    EXPECT_EQ(GetLastError(), 0u);
    EXPECT_EQ(InfoOf(oid).wNumSortOrder, 16);
    EXPECT_EQ(InfoOf(oid).dwDbaseType, 42u);
}

TEST_F(Volumes, NameTypeOrdersAndSchemaChange) {
    const CEOID oid = Create(u"old", {Order({{kNumber, 0}})});
    HANDLE db = Open(u"old");
    for (const LONG n : {2, 1}) Add(db, Values().Int(1, n).Text(2, n == 1 ? u"z" : u"y"));
    CEPROPSPEC specs[] = {{1, kNumber, 0, nullptr, 0}, {1, kText, 0, nullptr, 0}};
    EXPECT_EQ(ErrorOf(CeAddDatabaseProps(&m_guid, oid, 2, specs)), ERROR_SHARING_VIOLATION);
    Close(db);
    ASSERT_TRUE(CeAddDatabaseProps(&m_guid, oid, 2, specs));

    CEDBASEINFOEX info = InfoOf(oid);
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDSORTSPEC;
    std::copy_n(u"new", 4, info.szDbaseName);
    info.wNumSortOrder = 1;
    info.rgSortSpecs[0] = Order({{kText, 0}});
    ASSERT_TRUE(CeSetDatabaseInfoEx2(&m_guid, oid, &info));
    EXPECT_EQ(Open(u"old"), INVALID_HANDLE_VALUE);
    const auto byText = Order({{kText, 0}});
    db = Open(u"new", &byText);
    EXPECT_EQ(Walk(db, kText), "'y' 'z'");
    CEPROPSPEC read[4]{};
    WORD count = 1;
    EXPECT_EQ(ErrorOf(CeGetDatabaseProps(db, &count, nullptr, read)), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(count, 2);
    ASSERT_TRUE(CeGetDatabaseProps(db, &count, nullptr, read));
    EXPECT_EQ(read[1].propid, kText);
    Close(db);
    ASSERT_TRUE(CeRemoveDatabaseProps(&m_guid, oid, 1, &kText));
    db = Open(u"new", &byText);
    EXPECT_EQ(Walk(db, kText), "- -");
    EXPECT_EQ(Walk(db, kNumber), "2 1");
}

// --- Automatic numbers --------------------------------------------------------------------------------------------

class AutoNumbers : public StoreTest, public ::testing::WithParamInterface<bool> {};

// 65,535 are handed out before the lowest free one comes again; with and without an order that finds it.
TEST_P(AutoNumbers, AreUsedAgainOnlyWhenAllWereGiven) {
    const auto order = Order({{kAuto, 0}});
    Create(u"n", GetParam() ? std::vector{order} : std::vector<SORTORDERSPECEX>{});
    const HANDLE session = NewSession();
    const HANDLE db = Open(u"n", nullptr, session);
    ASSERT_TRUE(CeBeginTransaction(session, 1));
    const auto numberOf = [&](CEOID oid) {
        CeSeekDatabaseEx(db, CEDB_SEEK_CEOID, oid, 1, nullptr);
        return ReadOne(db, kAuto);
    };
    std::vector<CEOID> oids;
    for (int i = 0; i < 10; ++i) oids.push_back(Add(db, Values()));
    ASSERT_TRUE(CeDeleteRecord(db, oids[9]) && CeDeleteRecord(db, oids[4]));
    EXPECT_EQ(numberOf(Add(db, Values())), "11");
    for (int i = 11; i < 65535; ++i) ASSERT_TRUE(Add(db, Values()));
    const char* const expected[] = {"5", "10", "65536", "65537"};
    for (const char* number : expected) EXPECT_EQ(numberOf(Add(db, Values())), number);
    ASSERT_TRUE(CeDeleteRecord(db, oids[7]));
    EXPECT_EQ(numberOf(Add(db, Values())), "8");
    ASSERT_TRUE(CeEndTransaction(session, TRUE));
    const HANDLE other = CreateAndOpen(u"other");
    Add(other, Values());
    First(other);
    EXPECT_EQ(ReadOne(other, kAuto), "1"); // each database counts for itself
}
INSTANTIATE_TEST_SUITE_P(WithAndWithoutOrder, AutoNumbers, ::testing::Bool());

} // namespace
