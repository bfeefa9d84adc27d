// What may go wrong: failing writes, damaged and foreign files, folders that can't be written.
#include "Platform/files.h"
#include "tests/support/store.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <random>
#include <sqlite3.h>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::atomic<int> g_syncs{0};
std::atomic<bool> g_syncsFail{false};

} // namespace

// In place of the C library's: counts how often something is put on disk for good, and fails when it is told to.
extern "C" __attribute__((visibility("default"))) int fdatasync(int file) {
    ++g_syncs;
    return g_syncsFail ? (errno = EIO, -1) : static_cast<int>(syscall(SYS_fdatasync, file));
}
extern "C" __attribute__((visibility("default"))) int fsync(int file) {
    ++g_syncs;
    return g_syncsFail ? (errno = EIO, -1) : static_cast<int>(syscall(SYS_fsync, file));
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
    EXPECT_EQ(ErrorOf(Add(db, Values().Stream(3, Pattern(500000)))), ERROR_WRITE_FAULT);
    ASSERT_TRUE(CeBeginTransaction(session, 1));
    bool good = true;
    for (int i = 0; i < 40 && good; ++i) good = Add(db, Values().Stream(3, Pattern(500000))) != 0;
    EXPECT_FALSE(good);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    // There is room again, but the transaction is lost, and nothing gets past it on its own.
    EXPECT_EQ(ErrorOf(Add(db, Values().Int(1, 7))), ERROR_WRITE_FAULT);
    EXPECT_FALSE(CeEndTransaction(session, TRUE));
    EXPECT_EQ(Walk(db, kNumber), "1");
    EXPECT_TRUE(Add(db, Values().Int(1, 2)));
    EXPECT_EQ(Walk(db, kNumber), "1 2");
}

// A write to a mapped file that has no place on a full disk would end the process.
TEST_F(Faults, TheCountersHaveTheirPlaceOnDisk) {
    struct stat info {};
    ASSERT_TRUE(Mount(u"\\fresh.vol")); // nothing has been written to them yet
    ASSERT_EQ(stat(HostPath("fresh.vol-gen").c_str(), &info), 0);
    EXPECT_GT(info.st_size, 0);
    EXPECT_GE(info.st_blocks * 512, info.st_size);

    m_guid = {};
    std::filesystem::create_directory(HostPath("test.vol-gen")); // for once they can't be had
    const HANDLE db = CreateAndOpen(u"d");
    for (const LONG n : {1, 2, 3}) ASSERT_TRUE(Add(db, Values().Int(1, n)));
    EXPECT_EQ(Walk(db, kNumber), "1 2 3");
    std::filesystem::remove(HostPath("test.vol-gen"));
    ASSERT_TRUE(CeDeleteRecord(db, First(db)));
    EXPECT_EQ(Walk(db, kNumber), "2 3");
    EXPECT_TRUE(std::filesystem::is_regular_file(HostPath("test.vol-gen")));
}

TEST_F(Faults, OperationsThatFailTellAndChangeNothing) {
    Create(u"f");
    const HANDLE session = NewSession();
    const HANDLE db = Open(u"f", nullptr, session);
    const CEOID oid = Add(db, Values().Int(1, 1).Stream(3, Pattern(10)));
    const std::function<bool()> changes[] = {[&] { return Add(db, Values().Int(1, 2)) != 0; },
                                             [&] { return Change(db, oid, Values().Int(1, 3)) != 0; },
                                             [&] { return CeDeleteRecord(db, oid) != FALSE; },
                                             [&] { return WriteStream(db, kStream, Pattern(20)); },
                                             [&] {
                                                 CeBeginTransaction(session, 1);
                                                 const bool good = Add(db, Values().Int(1, 4)) != 0;
                                                 return CeEndTransaction(session, good) && good;
                                             }};
    for (const int kind : {0, 1, 2}) // a write, a commit, what puts it on disk
        for (const auto& change : changes) {
            SCOPED_TRACE(testing::Message() << kind << " " << &change - changes);
            First(db);
            SetLastError(0);
            g_syncsFail = kind == 2;
            if (kind != 2) PlatInjectFault(kind ? PlatFault::StoreCommit : PlatFault::StoreWrite, 1, true);
            EXPECT_EQ(ErrorOf(change()), kind == 2 ? ERROR_WRITE_FAULT : ERROR_DISK_FULL);
            g_syncsFail = false;
            for (const PlatFault fault : {PlatFault::StoreCommit, PlatFault::StoreWrite})
                PlatInjectFault(fault, 0);
            EXPECT_EQ(Walk(db, kNumber), "1");
            First(db);
            EXPECT_EQ(ReadStream(db, kStream), Pattern(10));
        }
    EXPECT_TRUE(Add(db, Values().Int(1, 5)));
    TearDown();
    PlatSetDeviceFolder(m_folder); // as a restart
    m_guid = {};
    Mount();
    EXPECT_EQ(Walk(Open(u"f"), kNumber), "1 5");
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
        EXPECT_EQ(ErrorOf(Mount(u"\\bad.vol")), ERROR_BAD_FORMAT);
        ASSERT_EQ(PlatTakeDebugOutput().size(), 1u);
        EXPECT_EQ(Slurp(HostPath("bad.vol")), bytes);
    }
    mkdir(HostPath("folder.vol").c_str(), 0700);
    EXPECT_EQ(ErrorOf(Mount(u"\\folder.vol")), ERROR_ACCESS_DENIED);
}

class Damaged : public Faults {
protected:
    // Three records in two orders, then the volume closed and changed by a tool.
    void Make(const char* damage) {
        const auto orders = {Order({{kNumber, 0}}), Order({{kText, 0}})};
        const HANDLE db = CreateAndOpen(u"d", orders);
        for (const LONG n : {1, 2, 3})
            m_oids.push_back(Add(db, Values()
                                         .Int(1, n)
                                         .Text(2, std::u16string(1, static_cast<WCHAR>(u'a' + n)))
                                         .Stream(3, Pattern(70000))));
        Damage(damage);
    }
    void Damage(const char* damage) {
        TearDown();
        PlatSetDeviceFolder(m_folder);
        Ask(damage);
        m_guid = {};
        ASSERT_TRUE(Mount());
    }
    // A tool at work; ?1 is the second record, ?2 the third.
    int Ask(const char* sql) {
        sqlite3* file = nullptr;
        sqlite3_stmt* statement = nullptr;
        sqlite3_open(HostPath("test.vol").c_str(), &file);
        sqlite3_prepare_v2(file, sql, -1, &statement, nullptr);
        for (int i = 1; i <= sqlite3_bind_parameter_count(statement); ++i)
            sqlite3_bind_int64(statement, i, m_oids[static_cast<size_t>(i)]);
        const int answer = sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_int(statement, 0) : -1;
        EXPECT_EQ(sqlite3_finalize(statement), SQLITE_OK) << sql;
        sqlite3_close(file);
        return answer;
    }
    std::vector<CEOID> m_oids;
};

class DamagedRecord : public Damaged, public ::testing::WithParamInterface<const char*> {};

// A record that can't be read any more, or whose keys are wrong, is still walked over and can be deleted; its neighbours
// stay as they are.
TEST_P(DamagedRecord, CanBeDeletedAndTakesNothingWithIt) {
    Make(GetParam());
    const auto byNumber = Order({{kNumber, 0}});
    const auto byText = Order({{kText, 0}});
    for (const auto* order : {&byNumber, &byText}) {
        const HANDLE db = Open(u"d", order);
        std::vector<CEOID> walked;
        for (CEOID oid = First(db); oid; oid = Next(db)) walked.push_back(oid);
        std::sort(walked.begin(), walked.end());
        EXPECT_EQ(walked, m_oids);
    }
    const HANDLE db = Open(u"d", &byNumber);
    ASSERT_TRUE(CeDeleteRecord(db, m_oids[1])) << GetLastError();
    EXPECT_EQ(Walk(db, kNumber), "1 3");
    EXPECT_EQ(Walk(Open(u"d", &byText), kNumber), "1 3");
    EXPECT_EQ(Ask("SELECT count(*) FROM ix"), 4);
    EXPECT_EQ(Ask("SELECT max(records) FROM tally"), 2);
}
INSTANTIATE_TEST_SUITE_P(
    Of, DamagedRecord,
    ::testing::Values(
        "UPDATE rec SET data=x'FFFFFF7F00000000' WHERE id&0xFFFFFFFF=?1", // more properties than bytes
        "UPDATE rec SET data=x'' WHERE id&0xFFFFFFFF=?1",
        "UPDATE rec SET data=substr(data,1,12)||x'FF'||substr(data,14) WHERE id&0xFFFFFFFF=?1", // a value
        "UPDATE ix SET key=CAST(substr(key,1,length(key)-4)||(SELECT substr(i.key,-4) FROM ix i WHERE "
        "i.ord=ix.ord "
        "AND i.oid=?2) AS BLOB) WHERE oid=?1", // names its neighbour
        "UPDATE ix SET key=x'01' WHERE oid=?1"));

TEST_F(Damaged, StreamsCanBeWrittenOverAndCountersMakeNoIdsThatCantBe) {
    Make("DELETE FROM strm WHERE id&0xFFFF=1"); // the middle one of each three pieces
    HANDLE db = Open(u"d");
    First(db);
    EXPECT_EQ(ReadStream(db, kStream), std::vector<BYTE>{0xEE});
    ASSERT_TRUE(WriteStream(db, kStream, Pattern(40000, 5)));
    EXPECT_EQ(ReadStream(db, kStream), Pattern(40000, 5));
    Damage("UPDATE tally SET next_oid=0 WHERE db=0");
    db = Open(u"d");
    EXPECT_EQ(ErrorOf(Add(db, Values().Int(1, 4))), ERROR_BAD_FORMAT);
    EXPECT_EQ(Walk(db, kNumber), "1 2 3");
}

// A writer that died in its commit leaves the counters odd: nothing is read ahead until the next writer puts them right.
TEST_F(Damaged, OddCountersEndReadingAhead) {
    Make("PRAGMA journal_mode=DELETE");            // a tool's copy lost the mode, too
    EXPECT_EQ(Slurp(HostPath("test.vol"))[18], 2); // the header's mark of the write-ahead log
    const HANDLE db = Open(u"d");
    const std::string odd(1024, '\x07');
    const auto counters = [&] { return Slurp(HostPath("test.vol-gen")).substr(1024, 1024); };
    std::fstream(HostPath("test.vol-gen"), std::ios::in | std::ios::out | std::ios::binary)
        .seekp(1024)
        .write(odd.data(), 1024);
    ASSERT_EQ(counters(), odd);
    First(db);
    Next(db);
    EXPECT_EQ(ReadOne(db, kNumber), "2");
    Ask("DELETE FROM rec WHERE id&0xFFFFFFFF=max(?1,?2)"); // by the dead writer
    EXPECT_EQ(Next(db), 0u);
    ASSERT_TRUE(Add(db, Values().Int(1, 4)));
    EXPECT_EQ(Walk(db, kNumber), "1 2 4");
    EXPECT_NE(counters(), odd);
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

// SQLite's locks go when this process opens and closes one of its files in any other way.
TEST_F(Faults, NoFileOperationDropsTheLocksOfAVolume) {
    const HANDLE db = CreateAndOpen(u"d");
    ASSERT_TRUE(Add(db, Values().Int(1, 1)));
    const auto lockedFor = [&](const char* file) { // as another process sees it
        const pid_t child = fork();
        if (child == 0) {
            struct flock lock {};
            lock.l_type = F_WRLCK;
            const int opened = open(HostPath(file).c_str(), O_RDWR);
            _exit(fcntl(opened, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK ? 1 : 0);
        }
        int status = 0;
        return waitpid(child, &status, 0) == child && WEXITSTATUS(status) == 1;
    };
    for (const char* file : {"test.vol", "test.vol-shm"}) {
        SCOPED_TRACE(file);
        const std::u16string path = u"\\" + std::u16string(file, file + std::strlen(file));
        ASSERT_TRUE(lockedFor(file));
        EXPECT_EQ(GetFileAttributesW(path.c_str()), FILE_ATTRIBUTE_ARCHIVE);
        WIN32_FIND_DATAW found{};
        FindClose(FindFirstFileW(path.c_str(), &found));
        EXPECT_GT(found.nFileSizeLow, 0u);
        const HANDLE opened = CreateFileW(path.c_str(), GENERIC_READ, 3, nullptr, OPEN_EXISTING, 0, nullptr);
        EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
        CloseHandle(opened);
        EXPECT_FALSE(CopyFileW(path.c_str(), u"\\copy", FALSE));
        EXPECT_FALSE(MoveFileW(path.c_str(), u"\\moved"));
        EXPECT_EQ(ErrorOf(DeleteFileW(path.c_str())), ERROR_SHARING_VIOLATION);
        Spill(HostPath("new"), "content");
        EXPECT_FALSE(CopyFileW(u"\\new", path.c_str(), FALSE));
        EXPECT_FALSE(PlatReplaceFile(u"\\new", path.c_str()));
        EXPECT_TRUE(lockedFor(file));
    }
    EXPECT_EQ(Walk(db, kNumber), "1");
    TearDown();
    PlatSetDeviceFolder(m_folder);
    EXPECT_TRUE(CopyFileW(u"\\test.vol", u"\\copy", FALSE)); // nobody has it open
}

// A commit that finds a long log tidies it; that another process is at it is no failure of the commit.
TEST_F(Faults, ALogThatAnotherTidiesFailsNoCommit) {
    constexpr off_t kTidyingLock = 121; // of the log's index: who holds this byte tidies
    Create(u"d");
    const HANDLE session = NewSession();
    const HANDLE db = Open(u"d", nullptr, session);
    ASSERT_TRUE(Add(db, Values().Int(1, 1)));
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_start = kTidyingLock;
        lock.l_len = 1;
        const int index = open(HostPath("test.vol-shm").c_str(), O_RDWR);
        const bool locked = fcntl(index, F_SETLKW, &lock) == 0;
        if (write(ready[1], &locked, sizeof locked) < 0) _exit(1);
        for (;;) pause();
    }
    bool locked = false;
    EXPECT_EQ(read(ready[0], &locked, sizeof locked), static_cast<ssize_t>(sizeof locked));
    EXPECT_TRUE(locked);
    const std::vector<BYTE> much = Pattern(1 << 20);
    CeBeginTransaction(session, 1);
    for (LONG n = 2; n <= 41; ++n) EXPECT_TRUE(Add(db, Values().Int(1, n).Stream(3, much)));
    EXPECT_TRUE(CeEndTransaction(session, TRUE));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
}

TEST_F(Faults, AFolderThatCantBeWrittenIsTold) {
    Create(u"d");
    PlatSetDeviceFolder(m_folder);
    ASSERT_EQ(chmod(m_folder.c_str(), 0555), 0);
    const int owner = setfsuid(65534); // root may write anywhere
    EXPECT_EQ(ErrorOf(Mount(u"\\fresh.vol")), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ErrorOf(Mount(u"\\test.vol")), ERROR_ACCESS_DENIED);
    setfsuid(static_cast<uid_t>(owner));
    chmod(m_folder.c_str(), 0700);
    m_guid = {};
    EXPECT_TRUE(Mount());
    EXPECT_NE(Open(u"d"), INVALID_HANDLE_VALUE);
}

TEST_F(Faults, WrongHandlesAndArgumentsAreTold) {
    const HANDLE db = CreateAndOpen(u"d"), session = NewSession();
    WORD count = 1;
    BYTE* buffer = nullptr;
    DWORD size = 0;
    const CEGUID nowhere{};
    const HANDLE none = INVALID_HANDLE_VALUE;
    for (const DWORD error :
         {ErrorOf(CeSeekDatabaseEx(session, CEDB_SEEK_BEGINNING, 0, 1, nullptr)),
          ErrorOf(CeReadRecordPropsEx(none, 1, &count, nullptr, &buffer, &size, nullptr)),
          ErrorOf(CeWriteRecordProps(nullptr, 0, 0, nullptr)), ErrorOf(CeBeginTransaction(db, 0)),
          ErrorOf(CeOpenStream(session, kStream, STREAM_READ)), ErrorOf(CeStreamSaveChanges(db))})
        EXPECT_EQ(error, ERROR_INVALID_HANDLE);
    for (const DWORD type : {DWORD{3}, CEDB_SEEK_VALUEGREATER})
        EXPECT_EQ(ErrorOf(CeSeekDatabaseEx(db, type, 0, 1, nullptr)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ErrorOf(CeCreateSession(&nowhere)), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ReadOne(db, kNumber), "error 1168"); // no record
}

} // namespace
