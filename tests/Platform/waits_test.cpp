// Waits, events, semaphores, mutexes, handles, texts of errors.
#include "Platform/memory.h"
#include "Platform/testing.h"
#include "Platform/threads.h"
#include "Platform/windows.h"
#include "tests/support/device.h"
#include "tests/support/waiting.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

using namespace qntest;

namespace {

class ThreadsWaits : public DeviceTest {
protected:
    // Files of named mutexes go with the test.
    ThreadsWaits() {
        if (const char* folder = getenv("XDG_RUNTIME_DIR")) m_runtime = folder;
        setenv("XDG_RUNTIME_DIR", m_folder.c_str(), 1);
    }
    ~ThreadsWaits() override {
        if (m_runtime)
            setenv("XDG_RUNTIME_DIR", m_runtime->c_str(), 1);
        else
            unsetenv("XDG_RUNTIME_DIR");
    }
    std::optional<std::string> m_runtime;
};

TEST_F(ThreadsWaits, EventsByKind) {
    const HANDLE manual = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(EventModify(manual, EVENT_RESET));
    EXPECT_EQ(WaitForSingleObject(manual, 1), WAIT_TIMEOUT);
    const HANDLE automatic = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    EXPECT_TRUE(EventModify(automatic, EVENT_SET));
    EXPECT_EQ(WaitForSingleObject(automatic, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(automatic, 0), WAIT_TIMEOUT);
    EXPECT_FALSE(EventModify(automatic, 4));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    CloseHandle(manual);
    CloseHandle(automatic);
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(CloseHandle(manual));
}

// How many of three waiting threads a pulse lets go.
int Released(bool manualReset) {
    const HANDLE event = CreateEventW(nullptr, manualReset, FALSE, nullptr);
    std::atomic<int> waiting{0}, released{0};
    const auto wait = [&] {
        ++waiting;
        if (WaitForSingleObject(event, 300) == WAIT_OBJECT_0) ++released;
        return 0u;
    };
    TestThread a(wait), b(wait), c(wait);
    EXPECT_TRUE(Eventually([&] { return waiting == 3; }));
    std::this_thread::sleep_for(50ms); // from the count into the wait
    EXPECT_TRUE(EventModify(event, EVENT_PULSE));
    EXPECT_EQ(a.Join() + b.Join() + c.Join(), 0u);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    CloseHandle(event);
    return released;
}

TEST_F(ThreadsWaits, APulseReleasesThoseThatWaitNow) {
    EXPECT_EQ(Released(true), 3);
    EXPECT_EQ(Released(false), 1);
}

TEST_F(ThreadsWaits, SemaphoreCounts) {
    const HANDLE semaphore = CreateSemaphoreW(nullptr, 0, 3, nullptr);
    LONG previous = -1;
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 2, &previous));
    EXPECT_EQ(previous, 0);
    EXPECT_FALSE(ReleaseSemaphore(semaphore, 2, &previous)); // past the maximum: nothing is added
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 1, &previous));
    EXPECT_EQ(previous, 2);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_TIMEOUT);
    CloseHandle(semaphore);
    EXPECT_EQ(CreateSemaphoreW(nullptr, 2, 1, nullptr), nullptr);
}

TEST_F(ThreadsWaits, MutexBelongsToAThread) {
    const HANDLE mutex = CreateMutexW(nullptr, TRUE, nullptr);
    EXPECT_EQ(GetLastError(), 0u);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0); // again
    TestThread other([&] {
        EXPECT_FALSE(ReleaseMutex(mutex));
        EXPECT_EQ(GetLastError(), ERROR_NOT_OWNER);
        return WaitForSingleObject(mutex, 10);
    });
    EXPECT_EQ(other.Join(), WAIT_TIMEOUT);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_FALSE(ReleaseMutex(mutex));
    TestThread leaver([&] { return WaitForSingleObject(mutex, INFINITE); });
    EXPECT_EQ(leaver.Join(), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(mutex, 1000), WAIT_ABANDONED);
    CloseHandle(mutex);
}

TEST_F(ThreadsWaits, NamesWithinTheProcess) {
    const HANDLE first = CreateEventW(nullptr, TRUE, FALSE, u"QN test event");
    EXPECT_EQ(GetLastError(), 0u);
    const HANDLE second = CreateEventW(nullptr, TRUE, TRUE, u"QN test event");
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(WaitForSingleObject(second, 0), WAIT_TIMEOUT); // it is the first one, which was not set
    EXPECT_TRUE(SetEvent(first));
    EXPECT_EQ(WaitForSingleObject(second, 0), WAIT_OBJECT_0);
    EXPECT_EQ(CreateSemaphoreW(nullptr, 0, 1, u"QN test event"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    CloseHandle(first);
    CloseHandle(second);
    const HANDLE third = CreateEventW(nullptr, TRUE, FALSE, u"QN test event");
    EXPECT_EQ(GetLastError(), 0u);
    CloseHandle(third);
}

// --- Handles ------------------------------------------------------------------------------------------------------

TEST_F(ThreadsWaits, HandlesAreNumbersThatAreNotSoonUsedAgain) {
    std::vector<HANDLE> seen;
    for (int i = 0; i < 1000; ++i) {
        const HANDLE handle = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        const auto number = reinterpret_cast<ULONG_PTR>(handle);
        EXPECT_GT(number, 0xFFFFu);
        EXPECT_LT(number, 0x80000000u);
        for (const HANDLE earlier : seen) EXPECT_NE(handle, earlier);
        seen.push_back(handle);
        CloseHandle(handle);
    }
    for (const HANDLE stale : seen) EXPECT_FALSE(SetEvent(stale));
}

TEST_F(ThreadsWaits, ADuplicateKeepsTheObject) {
    const HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    HANDLE twin = nullptr;
    EXPECT_TRUE(DuplicateHandle(nullptr, event, nullptr, &twin, 0, FALSE, DUPLICATE_SAME_ACCESS));
    EXPECT_NE(twin, event);
    EXPECT_TRUE(CloseHandle(event));
    EXPECT_EQ(WaitForSingleObject(twin, 0), WAIT_OBJECT_0);
    EXPECT_FALSE(DuplicateHandle(nullptr, event, nullptr, &twin, 0, FALSE, 0));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    HANDLE self = nullptr;
    EXPECT_TRUE(DuplicateHandle(nullptr, GetCurrentThread(), nullptr, &self, 0, FALSE, 0));
    TestThread other([&] { return WaitForSingleObject(self, 5); });
    EXPECT_EQ(other.Join(), WAIT_TIMEOUT);
    CloseHandle(self);
}

TEST_F(ThreadsWaits, ClosingDuringAWaitIsSafe) {
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE twin = nullptr;
    ASSERT_TRUE(DuplicateHandle(nullptr, event, nullptr, &twin, 0, FALSE, 0));
    std::atomic<bool> waiting{false};
    TestThread waiter([&] { return waiting = true, WaitForSingleObject(event, INFINITE); });
    ASSERT_TRUE(Eventually([&] { return waiting.load(); }));
    std::this_thread::sleep_for(10ms);
    EXPECT_TRUE(CloseHandle(event));
    EXPECT_EQ(WaitForSingleObject(waiter.Handle(), 20), WAIT_TIMEOUT); // it still waits
    EXPECT_TRUE(SetEvent(twin));
    EXPECT_EQ(waiter.Join(), WAIT_OBJECT_0);
    CloseHandle(twin);
}

TEST_F(ThreadsWaits, SeveralObjectsOrInput) {
    const HANDLE handles[] = {CreateEventW(nullptr, TRUE, FALSE, nullptr),
                              CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    const auto wait = [&](DWORD mask) { return MsgWaitForMultipleObjectsEx(2, handles, 10, mask, 0); };
    EXPECT_EQ(wait(QS_ALLINPUT), WAIT_TIMEOUT);
    SetEvent(handles[1]);
    EXPECT_EQ(wait(QS_ALLINPUT), WAIT_OBJECT_0 + 1);
    PostMessageW(nullptr, WM_USER, 0, 0);
    EXPECT_EQ(wait(QS_ALLINPUT), WAIT_OBJECT_0 + 2);
    EXPECT_EQ(wait(0), WAIT_TIMEOUT);
    SetEvent(handles[0]);
    EXPECT_EQ(wait(QS_ALLINPUT), WAIT_OBJECT_0); // objects before input
    MSG message;
    EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(MsgWaitForMultipleObjectsEx(2, handles, 0, QS_ALLINPUT, 1), WAIT_FAILED);
    CloseHandle(handles[1]);
    EXPECT_EQ(wait(QS_ALLINPUT), WAIT_FAILED);
    CloseHandle(handles[0]);
}

// --- Mutexes between processes ------------------------------------------------------------------------------------

// The part of the other process: this program again, with the name of a test and of a device folder.
class OtherProcess {
public:
    OtherProcess(const char* test, const std::string& folder) {
        int ends[2];
        if (pipe(ends) != 0) return;
        setenv("QN_TEST_CHILD_FOLDER", folder.c_str(), 1);
        const std::string filter = std::string("--gtest_filter=") + test;
        const char* arguments[] = {"/proc/self/exe", filter.c_str(), "--gtest_also_run_disabled_tests",
                                   nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, ends[0]);
        const int result =
            posix_spawn(&m_process, arguments[0], &actions, nullptr, const_cast<char**>(arguments), environ);
        posix_spawn_file_actions_destroy(&actions);
        unsetenv("QN_TEST_CHILD_FOLDER");
        close(ends[1]);
        m_output = ends[0];
        if (result != 0) m_process = -1;
    }
    ~OtherProcess() {
        Kill();
        close(m_output);
    }
    // Until it says so.
    bool Says(const std::string& word) {
        char bytes[256];
        while (m_said.find(word) == std::string::npos) {
            const ssize_t got = read(m_output, bytes, sizeof bytes);
            if (got <= 0) return false;
            m_said.append(bytes, static_cast<std::size_t>(got));
        }
        return true;
    }
    void Kill() {
        if (m_process <= 0) return;
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
        m_process = -1;
    }

private:
    pid_t m_process = -1;
    int m_output = -1;
    std::string m_said;
};

constexpr WCHAR kMutexName[] = u"QN test mutex";

TEST(DISABLED_MutexChild, HoldsUntilItIsKilled) {
    const char* folder = getenv("QN_TEST_CHILD_FOLDER");
    ASSERT_NE(folder, nullptr);
    PlatSetDeviceFolder(folder);
    const HANDLE mutex = CreateMutexW(nullptr, TRUE, kMutexName);
    const char* word = mutex && GetLastError() == 0 ? "mine\n" : "taken\n";
    (void)!write(STDOUT_FILENO, word, 6);
    for (;;) pause();
}

TEST_F(ThreadsWaits, ADeadOwnersMutexGoesToTheWaiter) {
    OtherProcess other("DISABLED_MutexChild.HoldsUntilItIsKilled", m_folder);
    ASSERT_TRUE(other.Says("mine"));
    const HANDLE mutex = CreateMutexW(nullptr, TRUE, kMutexName);
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_TIMEOUT);
    EXPECT_EQ(WaitForSingleObject(mutex, 30), WAIT_TIMEOUT);
    std::atomic<bool> waiting{false};
    TestThread waiter([&] { return waiting = true, WaitForSingleObject(mutex, kLong); });
    ASSERT_TRUE(Eventually([&] { return waiting.load(); }));
    other.Kill();
    EXPECT_EQ(waiter.Join(), WAIT_ABANDONED);
    EXPECT_TRUE(CloseHandle(mutex));
    const HANDLE again = CreateMutexW(nullptr, TRUE, kMutexName);
    EXPECT_EQ(GetLastError(), 0u); // nobody had a handle left
    OtherProcess late("DISABLED_MutexChild.HoldsUntilItIsKilled", m_folder);
    EXPECT_TRUE(late.Says("taken"));
    EXPECT_TRUE(ReleaseMutex(again));
    CloseHandle(again);
}

TEST_F(ThreadsWaits, AMutexHoldsForOneDeviceFolder) {
    OtherProcess other("DISABLED_MutexChild.HoldsUntilItIsKilled", m_folder + "/another");
    ASSERT_TRUE(other.Says("mine"));
    const HANDLE mutex = CreateMutexW(nullptr, TRUE, kMutexName);
    EXPECT_EQ(GetLastError(), 0u);
    CloseHandle(mutex);
}

// --- Errors -------------------------------------------------------------------------------------------------------

TEST_F(ThreadsWaits, SystemTextOfAnError) {
    WCHAR* text = nullptr;
    const DWORD length = FormatMessageW(4352, nullptr, ERROR_FILE_NOT_FOUND, 2048,
                                        reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::u16string(text), u"The system cannot find the file specified.");
    EXPECT_EQ(length, 42u);
    EXPECT_EQ(LocalFree(text), nullptr);
    EXPECT_EQ(FormatMessageW(4352, nullptr, 54321, 0, reinterpret_cast<LPWSTR>(&text), 0, nullptr), 0u);
    WCHAR small[5] = {};
    EXPECT_EQ(FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 5, 0, small, 5, nullptr), 0u);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
}

TEST_F(ThreadsWaits, DebugOutputIsKeptForTests) {
    OutputDebugStringW(u"one\n");
    OutputDebugStringW(nullptr);
    OutputDebugStringW(u"two");
    EXPECT_EQ(PlatTakeDebugOutput(), (std::vector<std::u16string>{u"one\n", u"two"}));
    EXPECT_TRUE(PlatTakeDebugOutput().empty());
}

} // namespace
