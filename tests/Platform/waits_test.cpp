// Waits, events, semaphores, mutexes, handles, texts of errors.
#include "Platform/memory.h"
#include "Platform/testing.h"
#include "Platform/threads.h"
#include "Platform/windows.h"
#include "tests/support/device.h"
#include "tests/support/helperprocess.h"
#include "tests/support/waiting.h"

#include <atomic>
#include <cstdlib>
#include <optional>
#include <unistd.h>

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
    EXPECT_EQ(ErrorOf(EventModify(automatic, 4)), ERROR_INVALID_PARAMETER);
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
        EXPECT_EQ(ErrorOf(ReleaseMutex(mutex)), ERROR_NOT_OWNER);
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
    const auto make = [](BOOL set) { return CreateEventW(nullptr, TRUE, set, u"QN test event"); };
    for (int round = 0; round < 2; ++round) { // after the last handle on it the name is free again
        const HANDLE first = make(FALSE);
        EXPECT_EQ(GetLastError(), 0u);
        const HANDLE second = make(TRUE);
        EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
        EXPECT_EQ(WaitForSingleObject(second, 0), WAIT_TIMEOUT); // it is the first one, which was not set
        EXPECT_TRUE(SetEvent(first));
        EXPECT_EQ(WaitForSingleObject(second, 0), WAIT_OBJECT_0);
        EXPECT_EQ(ErrorOf(CreateSemaphoreW(nullptr, 0, 1, u"QN test event")), ERROR_INVALID_HANDLE);
        CloseHandle(first);
        CloseHandle(second);
    }
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

TEST_F(ThreadsWaits, ADuplicateKeepsTheObjectAndClosingLeavesAWaitAlone) {
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE twin = nullptr, self = nullptr;
    ASSERT_TRUE(DuplicateHandle(nullptr, event, nullptr, &twin, 0, FALSE, DUPLICATE_SAME_ACCESS));
    EXPECT_NE(twin, event);
    std::atomic<bool> waiting{false};
    TestThread waiter([&] { return waiting = true, WaitForSingleObject(event, INFINITE); });
    ASSERT_TRUE(Eventually([&] { return waiting.load(); }));
    std::this_thread::sleep_for(10ms);
    EXPECT_TRUE(CloseHandle(event));
    EXPECT_EQ(WaitForSingleObject(waiter.Handle(), 20), WAIT_TIMEOUT); // it still waits
    EXPECT_TRUE(SetEvent(twin));
    EXPECT_EQ(waiter.Join(), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(twin, 0), WAIT_OBJECT_0);
    CloseHandle(twin);
    EXPECT_EQ(ErrorOf(DuplicateHandle(nullptr, event, nullptr, &twin, 0, FALSE, 0)), ERROR_INVALID_HANDLE);
    EXPECT_TRUE(DuplicateHandle(nullptr, GetCurrentThread(), nullptr, &self, 0, FALSE, 0));
    TestThread other([&] { return WaitForSingleObject(self, 5); }); // this thread, not that one
    EXPECT_EQ(other.Join(), WAIT_TIMEOUT);
    CloseHandle(self);
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

constexpr WCHAR kMutexName[] = u"QN test mutex";
constexpr char kMutexHelper[] = "MutexHelper.DISABLED_HoldsUntilItIsKilled";

TEST(MutexHelper, DISABLED_HoldsUntilItIsKilled) {
    PlatSetDeviceFolder(HelperProcess::Job());
    HelperProcess::Say(CreateMutexW(nullptr, TRUE, kMutexName) && GetLastError() == 0);
    for (;;) pause();
}

TEST_F(ThreadsWaits, ADeadOwnersMutexGoesToTheWaiter) {
    LONG mine = 0;
    HelperProcess other(kMutexHelper, m_folder);
    ASSERT_TRUE(other.Hear(mine) && mine);
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
    HelperProcess late(kMutexHelper, m_folder), elsewhere(kMutexHelper, m_folder + "/another");
    EXPECT_TRUE(late.Hear(mine) && !mine);
    EXPECT_TRUE(elsewhere.Hear(mine) && mine); // it holds for one device folder
    EXPECT_TRUE(ReleaseMutex(again));
    CloseHandle(again);
}

// --- Errors -------------------------------------------------------------------------------------------------------

TEST_F(ThreadsWaits, TextsOfErrorsAndDebugOutput) {
    WCHAR* text = nullptr;
    const auto ask = [&](DWORD error) {
        return FormatMessageW(4352, nullptr, error, 2048, reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    };
    EXPECT_EQ(ask(ERROR_FILE_NOT_FOUND), 42u);
    EXPECT_EQ(std::u16string(text), u"The system cannot find the file specified.");
    EXPECT_EQ(LocalFree(text), nullptr);
    EXPECT_EQ(ask(54321), 0u);
    WCHAR small[5] = {};
    EXPECT_EQ(ErrorOf(FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 5, 0, small, 5, nullptr)),
              ERROR_INSUFFICIENT_BUFFER);
    for (const LPCWSTR line : {LPCWSTR{u"one\n"}, LPCWSTR{}, LPCWSTR{u"two"}}) OutputDebugStringW(line);
    EXPECT_EQ(PlatTakeDebugOutput(), (std::vector<std::u16string>{u"one\n", u"two"}));
    EXPECT_TRUE(PlatTakeDebugOutput().empty());
}

} // namespace
