// One volume, many users: threads, processes, killed writers, ended threads, notification.
#include "Platform/windows.h"
#include "tests/support/helperprocess.h"
#include "tests/support/store.h"
#include "tests/support/waiting.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <random>
#include <thread>
#include <unistd.h>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kText = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kStream = Prop(3, CEVT_STREAM);
constexpr CEPROPID kAuto = Prop(0x1000, CEVT_RECID);
const SORTORDERSPECEX kByNumber = Order({{kNumber, 0}});

std::u16string TextOf(LONG n) {
    const std::string digits = std::to_string(n);
    return u"number " + std::u16string(digits.begin(), digits.end());
}
CEOID Save(HANDLE db, LONG n) {
    return Add(db, Values().Int(1, n).Text(2, TextOf(n)).Stream(3, Pattern(2000, static_cast<BYTE>(n))));
}
bool IsWhole(HANDLE db, LONG n) {
    const Read read(db, {kNumber, kText});
    return read.Oid() && read[0].val.lVal == n && !read[1].wFlags && TextOf(n) == read[1].val.lpwstr &&
           ReadStream(db, kStream) == Pattern(2000, static_cast<BYTE>(n));
}

// --- The other process ---------------------------------------------------------------------------------------------

class Child : public HelperProcess {
public:
    Child(const std::string& folder, const std::string& job, LONG first)
        : HelperProcess("StoreChild.DISABLED_Run", job + " " + std::to_string(first) + " " + folder) {}
};

TEST(StoreChild, DISABLED_Run) {
    const std::string given = HelperProcess::Job();
    char job[20], folder[300];
    LONG first = 0;
    ASSERT_EQ(sscanf(given.c_str(), "%19s %d %299s", job, &first, folder), 3);
    PlatSetDeviceFolder(folder);
    CEGUID guid{};
    CEOID oid = 0;
    const bool mounted = CeMountDBVolEx(&guid, u"\\test.vol", nullptr, DBVOL_OPEN_ALWAYS) != FALSE;
    if (job == std::string("mounts"))
        return HelperProcess::Say(mounted ? 0 : static_cast<LONG>(GetLastError()));
    ASSERT_TRUE(mounted);
    const HANDLE db = CeOpenDatabaseEx2(&guid, &oid, u"shared", &kByNumber, 0, nullptr);
    ASSERT_NE(db, INVALID_HANDLE_VALUE);
    const std::string what = job;
    if (what == "saves") {
        for (LONG n = first;; ++n) {
            if (!Save(db, n)) _exit(1);
            HelperProcess::Say(n);
        }
    }
    if (what == "hundred")
        for (LONG n = first; n < first + 100; ++n) HelperProcess::Say(Save(db, n) ? n : -1);
    if (what == "change") {
        ASSERT_TRUE(SeekValues(db, CEDB_SEEK_VALUEFIRSTEQUAL, Values().Int(1, first)));
        HelperProcess::Say(Change(db, Read(db, {kNumber}).Oid(), Values().Text(2, u"changed")) ? 1 : -1);
    }
}

class Shared : public StoreTest {
protected:
    HANDLE OpenShared() {
        Create(u"shared", {kByNumber, Order({{kAuto, 0}})});
        return Open(u"shared", &kByNumber);
    }
};

// Every acknowledged save is there, and none is half, however often the writer is killed.
TEST_F(Shared, KilledWritersLoseNothingAcknowledged) {
    const HANDLE db = OpenShared();
    std::mt19937 random(42);
    LONG acknowledged = 0;
    for (LONG round = 0; round < 200; ++round) {
        const LONG first = round * 1000;
        LONG last = first - 1;
        {
            Child child(m_folder, "saves", first);
            ASSERT_TRUE(child.Hear(last));
            usleep(random() % 4000);
            child.Kill();
            LONG n = 0;
            while (child.Hear(n)) last = n;
        }
        LONG expected = first;
        for (CEOID oid = SeekValues(db, CEDB_SEEK_VALUEFIRSTEQUAL, Values().Int(1, first)); oid;
             oid = Next(db))
            ASSERT_TRUE(IsWhole(db, expected++)) << round;
        // One more than was told may be there: it was killed between the save and its word.
        ASSERT_TRUE(expected == last + 1 || expected == last + 2)
            << round << ": " << expected << " of " << last;
        acknowledged += last - first + 1;
    }
    EXPECT_GE(acknowledged, 200);
    EXPECT_TRUE(Save(db, 1000000)); // nobody left a lock behind
}

TEST_F(Shared, TwoProcessesWriteAtOnce) {
    const HANDLE db = OpenShared();
    Child one(m_folder, "hundred", 1000), two(m_folder, "hundred", 2000);
    for (LONG n = 0; n < 100; ++n) ASSERT_TRUE(Save(db, n)) << GetLastError();
    LONG told = 0;
    for (Child* child : {&one, &two}) {
        int saved = 0;
        while (child->Hear(told)) saved += told >= 0;
        EXPECT_EQ(saved, 100);
        child->Wait();
    }
    std::vector<std::string> numbers;
    for (CEOID oid = First(db); oid; oid = Next(db)) numbers.push_back(ReadOne(db, kAuto));
    EXPECT_EQ(numbers.size(), 300u);
    std::sort(numbers.begin(), numbers.end());
    EXPECT_EQ(std::unique(numbers.begin(), numbers.end()), numbers.end()); // each its own
}

TEST_F(Shared, ProcessesThatComeAtOnceFindOneVolume) {
    for (int round = 0; round < 8; ++round) {
        std::deque<Child> children;
        for (int i = 0; i < 4; ++i) children.emplace_back(m_folder, "mounts", 0);
        for (Child& child : children) {
            LONG error = -1;
            EXPECT_TRUE(child.Hear(error));
            EXPECT_EQ(error, 0);
            child.Wait();
        }
        for (const char* file : {"test.vol", "test.vol-wal", "test.vol-shm", "test.vol-gen"})
            std::filesystem::remove(HostPath(file));
    }
}

TEST_F(Shared, AnotherProcessEndsWhatWasReadAhead) {
    const HANDLE db = OpenShared();
    for (LONG n = 0; n < 40; ++n) Save(db, n);
    for (int i = 0; i < 10; ++i) i ? Next(db) : First(db); // 9; more is read ahead by now
    Child child(m_folder, "change", 10);
    LONG told = 0;
    ASSERT_TRUE(child.Hear(told));
    ASSERT_EQ(told, 1);
    Next(db);
    EXPECT_EQ(ReadOne(db, kText), "'changed'");
}

// --- Threads ------------------------------------------------------------------------------------------------------

TEST_F(Shared, ThreadsWriteAndWalkAtOnce) {
    OpenShared();
    constexpr LONG kEach = 150;
    std::atomic<int> failures{0};
    std::atomic<int> running{2};
    const auto write = [&](LONG first) {
        CEOID oid = 0;
        const HANDLE db = CeOpenDatabaseEx2(&m_guid, &oid, u"shared", &kByNumber, 0, nullptr);
        for (LONG n = first; n < first + kEach; ++n) failures += Save(db, n) == 0;
        CloseHandle(db);
        --running;
    };
    std::thread one(write, 0), two(write, kEach);
    const HANDLE walker = Open(u"shared", &kByNumber);
    while (running > 0) {
        LONG before = -1;
        for (CEOID oid = First(walker); oid; oid = Next(walker)) {
            const Read read(walker, {kNumber});
            ASSERT_TRUE(read.Oid());
            ASSERT_LT(before, read[0].val.lVal); // each once, in order, whatever comes in between
            before = read[0].val.lVal;
        }
    }
    one.join();
    two.join();
    EXPECT_EQ(failures, 0);
    LONG n = 0;
    for (CEOID oid = First(walker); oid; oid = Next(walker)) ASSERT_TRUE(IsWhole(walker, n++));
    EXPECT_EQ(n, 2 * kEach);
}

TEST_F(Shared, ATransactionOfAnotherThreadIsWaitedFor) {
    const HANDLE db = OpenShared();
    const HANDLE session = NewSession();
    const HANDLE inside = Open(u"shared", &kByNumber, session);
    ASSERT_TRUE(CeBeginTransaction(session, 1));
    Save(inside, 1);
    std::thread other([&] { EXPECT_TRUE(Save(db, 2)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ASSERT_TRUE(CeEndTransaction(session, TRUE));
    other.join();
    EXPECT_EQ(Walk(db, kNumber), "1 2");
    std::thread([&] { Close(db); }).join(); // a handle closed there is none here
    EXPECT_EQ(ErrorOf(First(db)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf(CeOpenStream(db, kStream, STREAM_READ)), ERROR_INVALID_HANDLE);
}

TEST_F(Shared, AnEndedThreadsTransactionIsRolledBack) {
    const HANDLE db = OpenShared();
    std::atomic<bool> begun{false};
    const qntest::TestThread doomed([&]() -> DWORD {
        const HANDLE session = CeCreateSession(&m_guid);
        CEOID oid = 0;
        CeBeginTransaction(session, 1);
        Save(CeOpenDatabaseInSession(session, &m_guid, &oid, u"shared", &kByNumber, 0, nullptr), 13);
        for (begun = true;;) Sleep(1);
    });
    while (!begun) Sleep(1);
    ASSERT_TRUE(TerminateThread(doomed.Handle(), 9));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(Save(db, 1));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(Walk(db, kNumber), "1");
}

// --- Notification -------------------------------------------------------------------------------------------------

std::vector<CENOTIFICATION> g_heard;

LRESULT Hear(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != WM_DBNOTIFICATION) return DefWindowProcW(window, message, wParam, lParam);
    g_heard.push_back(*reinterpret_cast<CENOTIFICATION*>(lParam));
    return 0;
}

class Notification : public Shared {
protected:
    HANDLE OpenHearing() {
        WNDCLASSW listener{};
        listener.lpfnWndProc = Hear;
        listener.lpszClassName = u"StoreListener";
        RegisterClassW(&listener);
        m_window =
            CreateWindowExW(0, u"StoreListener", u"", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
        g_heard.clear();
        CENOTIFYREQUEST request{20, m_window, CEDB_EXNOTIFICATION, nullptr, 0x123456789ABCull};
        m_oid = 0;
        return CeOpenDatabaseEx2(&m_guid, &m_oid, u"shared", &kByNumber, 0, &request);
    }
    // Until so many have come, or a while has passed.
    void Pump(size_t count) {
        MSG message;
        for (int i = 0; i < 2000 && g_heard.size() < count; ++i) {
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
            if (g_heard.size() < count) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    HWND m_window = nullptr;
    CEOID m_oid = 0;
};

TEST_F(Notification, TellsWhatHappenedToWhichRecord) {
    const HANDLE db = OpenShared();
    Save(db, 0); // before anyone listens
    const HANDLE hearing = OpenHearing();
    ASSERT_NE(hearing, INVALID_HANDLE_VALUE);
    const CEOID oid = Save(db, 1);
    Change(db, oid, Values().Int(1, 2));
    Change(db, oid, Values().Int(1, 2)); // nothing changes
    CeDeleteRecord(db, oid);
    Pump(3);
    ASSERT_EQ(g_heard.size(), 3u);
    const UINT types[] = {DB_CEOID_CREATED, DB_CEOID_CHANGED, DB_CEOID_RECORD_DELETED};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(g_heard[i].uType, types[i]);
        EXPECT_EQ(g_heard[i].oid, oid);
        EXPECT_EQ(g_heard[i].oidParent, m_oid);
        EXPECT_EQ(g_heard[i].guid, m_guid);
        EXPECT_EQ(g_heard[i].dwParam, 0x123456789ABCull);
    }
    CloseHandle(hearing);
    Save(db, 3);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    Pump(0);
    EXPECT_EQ(g_heard.size(), 3u);
    DestroyWindow(m_window);
}

TEST_F(Notification, RollBacksAreSilentAndBulkIsToldAsOneAndOthersAreHeard) {
    OpenShared();
    const HANDLE hearing = OpenHearing();
    const HANDLE session = NewSession();
    const HANDLE db = Open(u"shared", &kByNumber, session);
    for (const BOOL commit : {FALSE, TRUE}) {
        CeBeginTransaction(session, 1);
        for (LONG n = 0; n < 500; ++n) Add(db, Values().Int(1, n));
        CeEndTransaction(session, commit);
    }
    Pump(1);
    ASSERT_EQ(g_heard.size(), 1u);
    EXPECT_EQ(g_heard[0].oid, 0u);
    EXPECT_EQ(g_heard[0].oidParent, m_oid);
    Child child(m_folder, "hundred", 1);
    Pump(101);
    EXPECT_EQ(g_heard.size(), 101u);
    CloseHandle(hearing);
    DestroyWindow(m_window);
}

} // namespace
