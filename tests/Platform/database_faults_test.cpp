// What may go wrong: failing writes, damaged and foreign files, folders that can't be written.
#include "tests/support/store.h"

#include <atomic>
#include <csignal>
#include <fstream>
#include <random>
#include <sqlite3.h>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<int> g_syncs{0};

} // namespace

// In place of the C library's: counts how often something is put on disk for good.
extern "C" __attribute__((visibility("default"))) int fdatasync(int file) {
    ++g_syncs;
    return static_cast<int>(syscall(SYS_fdatasync, file));
}
extern "C" __attribute__((visibility("default"))) int fsync(int file) {
    ++g_syncs;
    return static_cast<int>(syscall(SYS_fsync, file));
}

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kText = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kStream = Prop(3, CEVT_STREAM);

class Faults : public StoreTest {};

std::string Slurp(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
void Spill(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// The same save with the first, second, third ... operation failing: it is there as a whole, or not at all.
TEST_F(Faults, ASaveIsWholeOrNotThereWhateverFails) {
    const auto order = Order({{kNumber, 0}});
    Create(u"f", {order});
    const HANDLE session = NewSession();
    const HANDLE db = Open(u"f", &order, session);
    const CEOID old = Add(db, Values().Int(1, 1).Text(2, u"old"));
    for (const PlatFault fault : {PlatFault::StoreWrite, PlatFault::StoreCommit, PlatFault::StoreLocked}) {
        bool failed = true;
        for (unsigned n = 1; failed; ++n) {
            PlatInjectFault(fault, n);
            SetLastError(0);
            bool good = CeBeginTransaction(session, 1) != FALSE;
            if (good) {
                good = Change(db, old, Values().Text(2, u"new")) &&
                       Add(db, Values().Int(1, 2).Stream(3, Pattern(3000)));
                good = CeEndTransaction(session, good) && good;
            }
            const DWORD error = GetLastError();
            failed = PlatFaultCount(fault) >= n;
            PlatInjectFault(fault, 0);
            EXPECT_EQ(good, !failed);
            if (failed) {
                EXPECT_EQ(error, fault == PlatFault::StoreLocked ? ERROR_SHARING_VIOLATION : ERROR_DISK_FULL);
            }
            EXPECT_EQ(Walk(db, kText), failed ? "'old'" : "'new' -");
            ASSERT_LT(n, 20u);
        }
        while (CeSeekDatabaseEx(db, CEDB_SEEK_BEGINNING, 1, 1, nullptr))
            CeDeleteRecord(db, Read(db, {kNumber}).Oid());
        Change(db, old, Values().Text(2, u"old"));
    }
}

TEST_F(Faults, WhatWasReportedAsDoneIsOnDisk) {
    CreateAndOpen(u"d");
    const HANDLE session = NewSession();
    const HANDLE db = Open(u"d", nullptr, session);
    const auto expectSyncs = [](int atLeast, int atMost, auto change) {
        const int before = g_syncs;
        EXPECT_TRUE(change());
        EXPECT_GE(g_syncs - before, atLeast);
        EXPECT_LE(g_syncs - before, atMost);
    };
    CEOID oid = 0;
    expectSyncs(1, 2, [&] { return (oid = Add(db, Values().Int(1, 1))) != 0; });
    expectSyncs(1, 1, [&] { return Change(db, oid, Values().Int(1, 2)) != 0; });
    First(db);
    expectSyncs(1, 1, [&] { return WriteStream(db, kStream, Pattern(5000)); });
    expectSyncs(0, 0,
                [&] { return CeBeginTransaction(session, 1) && Add(db, Values()) && Add(db, Values()); });
    expectSyncs(1, 1, [&] { return CeEndTransaction(session, TRUE) != FALSE; });
    expectSyncs(1, 1, [&] { return CeDeleteRecord(db, oid) != FALSE; });
}

TEST_F(Faults, SingleOperationsTellAndChangeNothing) {
    const HANDLE db = CreateAndOpen(u"f");
    const CEOID oid = Add(db, Values().Int(1, 1).Stream(3, Pattern(10)));
    for (const PlatFault fault : {PlatFault::StoreWrite, PlatFault::StoreCommit}) {
        PlatInjectFault(fault, 1, true);
        First(db);
        EXPECT_EQ(Add(db, Values().Int(1, 2)), 0u);
        EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
        EXPECT_EQ(Change(db, oid, Values().Int(1, 3)), 0u);
        EXPECT_FALSE(CeDeleteRecord(db, oid));
        EXPECT_FALSE(WriteStream(db, kStream, Pattern(20)));
        EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
        PlatInjectFault(fault, 0);
        EXPECT_EQ(Walk(db, kNumber), "1");
        First(db);
        EXPECT_EQ(ReadStream(db, kStream), Pattern(10));
    }
}

// No place for the write-ahead log to grow: the real failure of a write, in the middle of a transaction.
TEST_F(Faults, AWriteThatFailsMidwayIsTold) {
    Create(u"f");
    const HANDLE session = NewSession();
    const HANDLE db = Open(u"f", nullptr, session);
    ASSERT_TRUE(Add(db, Values().Int(1, 1)));
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    const rlimit small{std::filesystem::file_size(HostPath("test.vol-wal")) + 20000, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_EQ(Add(db, Values().Stream(3, Pattern(500000))), 0u);
    EXPECT_EQ(GetLastError(), ERROR_WRITE_FAULT);
    ASSERT_TRUE(CeBeginTransaction(session, 1));
    bool good = true;
    for (int i = 0; i < 20; ++i) good = Add(db, Values().Stream(3, Pattern(500000))) && good;
    EXPECT_FALSE(CeEndTransaction(session, TRUE) && good);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    EXPECT_EQ(Walk(db, kNumber), "1");
    EXPECT_TRUE(Add(db, Values().Int(1, 2)));
    EXPECT_EQ(Walk(db, kNumber), "1 2");
}

TEST_F(Faults, ForeignFilesAreLeftAsTheyAre) {
    sqlite3* foreign = nullptr;
    ASSERT_EQ(sqlite3_open(HostPath("foreign.db").c_str(), &foreign), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(foreign, "CREATE TABLE t(a); INSERT INTO t VALUES(1)", nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(foreign);
    Create(u"d");
    PlatSetDeviceFolder(m_folder);
    const std::string volume = Slurp(HostPath("test.vol"));
    ASSERT_GT(volume.size(), 8192u);
    std::string newer = volume;
    newer[63] = 99; // the format number, the last byte of four at 60
    const std::pair<const char*, std::string> cases[] = {
        {"text",
         "This is a letter and not a volume. It is long enough to be looked at by anyone who reads it."},
        {"foreign", Slurp(HostPath("foreign.db"))},
        {"half", volume.substr(0, volume.size() / 2 + 100)},
        {"head", volume.substr(0, 50)},
        {"newer", newer},
    };
    for (const auto& [name, bytes] : cases) {
        SCOPED_TRACE(name);
        Spill(HostPath("bad.vol"), bytes);
        PlatTakeDebugOutput();
        EXPECT_FALSE(Mount(u"\\bad.vol"));
        EXPECT_EQ(GetLastError(), ERROR_BAD_FORMAT);
        ASSERT_EQ(PlatTakeDebugOutput().size(), 1u);
        EXPECT_EQ(Slurp(HostPath("bad.vol")), bytes);
    }
    mkdir(HostPath("folder.vol").c_str(), 0700);
    EXPECT_FALSE(Mount(u"\\folder.vol"));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
}

// Damage anywhere gives errors or absent values, and never a crash; reading stays within its bytes.
TEST_F(Faults, DamagedBytesNeverCrash) {
    const auto order = Order({{kText, CEDB_SORT_CASEINSENSITIVE}});
    HANDLE db = CreateAndOpen(u"d", {order});
    for (int i = 0; i < 60; ++i)
        Add(db, Values()
                    .Int(1, i)
                    .Text(2, std::u16string(static_cast<size_t>(i), u'a'))
                    .Stream(3, Pattern(static_cast<size_t>(i) * 60)));
    TearDown();
    CeUnmountDBVol(&m_guid);
    PlatSetDeviceFolder(m_folder);
    const std::string volume = Slurp(HostPath("test.vol"));
    std::mt19937 random(20240611);
    size_t walked = 0;
    for (int round = 0; round < 150; ++round) {
        std::string bytes = volume;
        for (int i = 0; i < 1 + round % 40; ++i) bytes[random() % bytes.size()] = static_cast<char>(random());
        Spill(HostPath("hurt.vol"), bytes);
        if (!Mount(u"\\hurt.vol")) continue;
        db = Open(u"d", &order);
        int records = 0;
        for (CEOID oid = First(db); oid && records < 1000; oid = Next(db), ++records) {
            const Read all(db);
            const Read some(db, {kNumber, kText, kStream});
            ReadStream(db, kStream);
        }
        walked += static_cast<size_t>(records);
        const CEOID added = Add(db, Values().Int(1, 5));
        if (added) CeDeleteRecord(db, added);
        TearDown();
        PlatSetDeviceFolder(m_folder);
        for (const char* file : {"hurt.vol", "hurt.vol-wal", "hurt.vol-shm", "hurt.vol-gen"})
            std::filesystem::remove(HostPath(file));
    }
    EXPECT_GT(walked, 1000u); // the damage didn't simply stop everything at the mount
}

TEST_F(Faults, AFolderThatCantBeWrittenIsTold) {
    Create(u"d");
    PlatSetDeviceFolder(m_folder);
    ASSERT_EQ(chmod(m_folder.c_str(), 0555), 0);
    const int owner = setfsuid(65534); // root may write anywhere
    EXPECT_FALSE(Mount(u"\\fresh.vol"));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(Mount(u"\\test.vol"));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    setfsuid(static_cast<uid_t>(owner));
    chmod(m_folder.c_str(), 0700);
    m_guid = {};
    EXPECT_TRUE(Mount());
    EXPECT_NE(Open(u"d"), INVALID_HANDLE_VALUE);
}

TEST_F(Faults, WrongHandlesAndArgumentsAreTold) {
    const HANDLE db = CreateAndOpen(u"d");
    const HANDLE session = NewSession();
    WORD count = 1;
    BYTE* buffer = nullptr;
    DWORD size = 0;
    const CEGUID nowhere{};
    const struct {
        bool failed;
        DWORD error;
    } results[] = {
        {CeSeekDatabaseEx(session, CEDB_SEEK_BEGINNING, 0, 1, nullptr) == 0, GetLastError()},
        {CeReadRecordPropsEx(INVALID_HANDLE_VALUE, 1, &count, nullptr, &buffer, &size, nullptr) == 0,
         GetLastError()},
        {CeWriteRecordProps(nullptr, 0, 0, nullptr) == 0, GetLastError()},
        {!CeBeginTransaction(db, 0), GetLastError()},
        {CeOpenStream(session, kStream, STREAM_READ) == INVALID_HANDLE_VALUE, GetLastError()},
        {!CeStreamSaveChanges(db), GetLastError()},
    };
    for (const auto& result : results) {
        EXPECT_TRUE(result.failed);
        EXPECT_EQ(result.error, ERROR_INVALID_HANDLE);
    }
    EXPECT_EQ(CeSeekDatabaseEx(db, 3, 0, 1, nullptr), 0u);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(CeSeekDatabaseEx(db, CEDB_SEEK_VALUEGREATER, 0, 1, nullptr), 0u);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(CeCreateSession(&nowhere), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ReadOne(db, kNumber), "error 1168"); // no record
}

} // namespace
