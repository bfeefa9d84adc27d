// Threads, their ending, critical sections, slots. Run under the thread sanitizer too.
#include "Platform/security.h"
#include "Platform/testing.h"
#include "Platform/threads.h"
#include "tests/support/device.h"
#include "tests/support/waiting.h"

#include <array>
#include <atomic>
#include <vector>

using namespace qntest;

namespace {

class Threads : public DeviceTest {};

TEST_F(Threads, RunsAndGivesItsCode) {
    DWORD seenId = 0;
    SetLastError(5);
    TestThread thread([&] { return seenId = GetCurrentThreadId(), SetLastError(6), 42u; });
    EXPECT_EQ(thread.Join(), 42u);
    EXPECT_EQ(GetLastError(), 5u); // each thread has its own
    EXPECT_EQ(seenId, thread.Id());
    EXPECT_NE(thread.Id(), GetCurrentThreadId());
    EXPECT_TRUE(TerminateThread(thread.Handle(), 7)); // too late
    EXPECT_EQ(thread.Code(), 42u);
    EXPECT_EQ(ErrorOf(TerminateThread(GetCurrentThread(), 1)), ERROR_ACCESS_DENIED); // made elsewhere
    EXPECT_EQ(ErrorOf(TerminateThread(nullptr, 1)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf(CreateThread(nullptr, 0, nullptr, nullptr, 0, nullptr)), ERROR_INVALID_PARAMETER);
    PlatInjectFault(PlatFault::ThreadCreate, 1);
    EXPECT_EQ(TestThread([] { return 0u; }).Handle(), nullptr);
}

TEST_F(Threads, ExitThreadEndsFromDeepDownWithoutDestructors) {
    static std::atomic<int> destroyed{0};
    struct Counter {
        ~Counter() { ++destroyed; }
    };
    TestThread thread([]() -> DWORD {
        Counter onTheStack;
        ExitThread(5);
    });
    EXPECT_EQ(thread.Join(), 5u);
    EXPECT_EQ(destroyed, 0);
}

TEST_F(Threads, AThreadFromElsewhereLeavesByExitThreadToo) {
    HANDLE self = nullptr;
    std::thread([&] {
        DuplicateHandle(nullptr, GetCurrentThread(), nullptr, &self, 0, FALSE, 0);
        ExitThread(6);
    }).join();
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeThread(self, &code));
    EXPECT_EQ(code, 6u);
    EXPECT_EQ(WaitForSingleObject(self, 0), WAIT_OBJECT_0);
    CloseHandle(self);
}

TEST_F(Threads, SuspensionCountsAndAResumeAtZeroIsLost) {
    std::atomic<int> stage{0};
    TestThread thread(
        [&] {
            stage = 1;
            const DWORD former = SuspendThread(GetCurrentThread());
            stage = 2;
            return former;
        },
        CREATE_SUSPENDED);
    EXPECT_EQ(SuspendThread(thread.Handle()), 1u);
    EXPECT_EQ(ResumeThread(thread.Handle()), 2u);
    EXPECT_EQ(WaitForSingleObject(thread.Handle(), 30), WAIT_TIMEOUT);
    EXPECT_EQ(stage, 0);
    EXPECT_EQ(ResumeThread(thread.Handle()), 1u);
    ASSERT_TRUE(
        Eventually([&] { return ResumeThread(thread.Handle()) == 1; })); // at 0 until it suspends itself
    EXPECT_EQ(thread.Join(), 0u);
    EXPECT_EQ(stage, 2);
}

TEST_F(Threads, RemoteSuspensionHoldsAtTheNextCheckpoint) {
    std::atomic<unsigned> rounds{0};
    std::atomic<bool> stop{false};
    TestThread thread([&] {
        for (; !stop; Sleep(0)) ++rounds;
        return 0u;
    });
    ASSERT_TRUE(Eventually([&] { return rounds > 10; }));
    EXPECT_EQ(SuspendThread(thread.Handle()), 0u);
    std::this_thread::sleep_for(30ms);
    const unsigned held = rounds;
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(rounds, held);
    EXPECT_EQ(ResumeThread(thread.Handle()), 1u);
    EXPECT_TRUE(Eventually([&] { return rounds > held; }));
    stop = true;
    EXPECT_EQ(thread.Join(), 0u);
}

TEST_F(Threads, PriorityIsKept) {
    EXPECT_EQ(GetThreadPriority(GetCurrentThread()), 3);
    for (const int priority : {6, 3}) {
        EXPECT_TRUE(SetThreadPriority(GetCurrentThread(), priority));
        EXPECT_FALSE(SetThreadPriority(GetCurrentThread(), 8));
        EXPECT_EQ(GetThreadPriority(GetCurrentThread()), priority);
    }
    EXPECT_EQ(GetThreadPriority(nullptr), THREAD_PRIORITY_ERROR_RETURN);
}

// Work in own code, without a call.
void Compute() {
    volatile unsigned sum = 0;
    for (unsigned i = 0; i < 1000; ++i) sum = sum * 31 + i;
}

// --- Ending from outside ------------------------------------------------------------------------------------------

TEST_F(Threads, TerminatesAThreadWhereverItIs) {
    CRITICAL_SECTION taken;
    InitializeCriticalSection(&taken);
    EnterCriticalSection(&taken);
    const HANDLE never = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    static std::atomic<unsigned> alive{0}; // outlives a thread that would not end
    const auto forever = [](auto step) -> std::function<void()> {
        return [step]() mutable {
            for (;;) ++alive, step();
        };
    };
    PlatSetLockProvider([](void*, HWND, LPCWSTR) { return ++alive, Sleep(INFINITE), true; }, nullptr);
    struct Place {
        const char* name;
        std::function<void()> stay; // never comes back
    };
    const Place places[] = {
        {"spinning in own code", forever([] { Compute(); })},
        {"a wait", forever([&] { WaitForSingleObject(never, INFINITE); })},
        {"a sliced wait", forever([&] { WaitForSingleObject(never, 5); })},
        {"a wait for messages",
         forever([&] { MsgWaitForMultipleObjectsEx(1, &never, INFINITE, QS_ALLINPUT, 0); })},
        {"GetMessage", forever([&, message = MSG{}]() mutable { GetMessageW(&message, nullptr, 0, 0); })},
        {"Sleep", forever([] { Sleep(INFINITE); })},
        {"a taken critical section", forever([&] { EnterCriticalSection(&taken); })},
        {"short host calls", forever([&] { EventModify(never, EVENT_RESET); })},
        {"suspension", forever([] { SuspendThread(GetCurrentThread()); })},
        {"a prompt of a provider", [] { SHDeviceLockAndPrompt(); }},
    };
    for (const Place& place : places) {
        SCOPED_TRACE(place.name);
        alive = 0;
        TestThread thread([&] { return place.stay(), 1u; });
        ASSERT_TRUE(Eventually([&] { return alive > 0; }));
        std::this_thread::sleep_for(3ms);
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_TRUE(TerminateThread(thread.Handle(), 77));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
        EXPECT_EQ(thread.Join(), 77u);
        const unsigned stopped = alive;
        std::this_thread::sleep_for(10ms);
        EXPECT_EQ(alive, stopped);
        EXPECT_EQ(ResumeThread(thread.Handle()) > 1, false);
    }
    LeaveCriticalSection(&taken);
    EXPECT_TRUE(TryEnterCriticalSection(&taken)); // nobody who was ended took it
    CloseHandle(never);
}

TEST_F(Threads, WhatATerminatedThreadHeldCanBePutRight) {
    CRITICAL_SECTION held;
    InitializeCriticalSection(&held);
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, nullptr);
    std::atomic<bool> ready{false};
    TestThread thread([&]() -> DWORD {
        EnterCriticalSection(&held);
        EnterCriticalSection(&held);
        WaitForSingleObject(mutex, INFINITE);
        ready = true;
        for (;;) Sleep(1);
    });
    ASSERT_TRUE(Eventually([&] { return ready.load(); }));
    EXPECT_TRUE(TerminateThread(thread.Handle(), 1));
    EXPECT_FALSE(TryEnterCriticalSection(&held));
    LeaveCriticalSection(&held);
    EXPECT_FALSE(TryEnterCriticalSection(&held)); // it was taken twice
    LeaveCriticalSection(&held);
    EXPECT_TRUE(TryEnterCriticalSection(&held));
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_ABANDONED);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0); // told once
    CloseHandle(mutex);
}

TEST_F(Threads, AllocatingThreadsCanBeTerminatedWithoutHarm) {
    for (int round = 0; round < 30; ++round) {
        static std::atomic<unsigned> alive{0};
        alive = 0;
        TestThread thread([]() -> DWORD {
            for (;;) {
                std::vector<unsigned> block(100 + alive % 1000, 1);
                for (unsigned& number : block) number += alive;
                ++alive;
            }
        });
        ASSERT_TRUE(Eventually([&] { return alive > 100; }));
        EXPECT_TRUE(TerminateThread(thread.Handle(), 9));
        EXPECT_EQ(thread.Join(), 9u);
        const unsigned stopped = alive;
        std::vector<std::vector<int>> more(200,
                                           std::vector<int>(200)); // hangs if the allocator was left locked
        EXPECT_EQ(more.back().size(), 200u);
        EXPECT_EQ(alive, stopped);
    }
}

TEST_F(Threads, StartedAndEndedManyTimes) {
    const HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    for (DWORD round = 0; round < 200; ++round) {
        EventModify(stop, EVENT_RESET);
        TestThread thread([&] { return WaitForSingleObject(stop, INFINITE), GetCurrentThreadId(); });
        if (round % 4 == 3) {
            EXPECT_TRUE(TerminateThread(thread.Handle(), thread.Id()));
        } else {
            EventModify(stop, EVENT_SET);
        }
        EXPECT_EQ(thread.Join(), thread.Id());
    }
    CloseHandle(stop);
}

// --- Critical sections --------------------------------------------------------------------------------------------

TEST_F(Threads, CriticalSectionKeepsOthersOutAndIsLeftByAnyone) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    int count = 0; // plain: the sanitizer sees a race when the section lets two in
    constexpr int kRounds = 2000;
    const auto work = [&] {
        for (int i = 0; i < kRounds; ++i) {
            EnterCriticalSection(&section);
            EnterCriticalSection(&section);
            ++count;
            LeaveCriticalSection(&section);
            LeaveCriticalSection(&section);
        }
        return 0u;
    };
    TestThread a(work), b(work), c(work);
    EXPECT_EQ(a.Join() + b.Join() + c.Join(), 0u);
    EXPECT_EQ(count, 3 * kRounds);
    LeaveCriticalSection(&section); // free: nothing
    TestThread taker([&] { return EnterCriticalSection(&section), 0u; });
    EXPECT_EQ(taker.Join(), 0u);
    CRITICAL_SECTION copy = section; // of the bytes of a taken one
    for (CRITICAL_SECTION* taken : {&section, &copy}) {
        EXPECT_FALSE(TryEnterCriticalSection(taken));
        LeaveCriticalSection(taken); // anyone may
        EXPECT_TRUE(TryEnterCriticalSection(taken));
        LeaveCriticalSection(taken);
    }
}

// --- Slots, counters, errors --------------------------------------------------------------------------------------

TEST_F(Threads, SlotsAreEmptyForEveryThreadAndEveryUse) {
    const DWORD slot = TlsAlloc();
    ASSERT_NE(slot, TLS_OUT_OF_INDEXES);
    int value = 0;
    EXPECT_TRUE(TlsSetValue(slot, &value));
    EXPECT_EQ(TlsGetValue(slot), &value);
    TestThread other([&] { return TlsGetValue(slot) == nullptr ? 1u : 0u; });
    EXPECT_EQ(other.Join(), 1u);
    EXPECT_TRUE(TlsFree(slot));
    EXPECT_FALSE(TlsFree(slot));
    EXPECT_EQ(TlsAlloc(), slot);
    EXPECT_EQ(TlsGetValue(slot), nullptr);
    EXPECT_TRUE(TlsFree(slot));
    EXPECT_FALSE(TlsSetValue(TLS_MINIMUM_AVAILABLE, &value));
}

// --- Guard --------------------------------------------------------------------------------------------------------

#if !defined(__SANITIZE_THREAD__)
__attribute__((noinline, no_sanitize("undefined", "address"))) void WriteTo(volatile int* place) {
    *place = 1;
}

TEST_F(Threads, GuardHoldsFaultsAndExceptions) {
    volatile int* nowhere = nullptr;
    EXPECT_TRUE(GuardedCall([] {}));
    EXPECT_FALSE(GuardedCall([] { throw 1; }));
    EXPECT_FALSE(GuardedCall([&] { WriteTo(nowhere); }));
    bool inner = true, after = false;
    EXPECT_TRUE(GuardedCall([&] {
        inner = GuardedCall([&] { WriteTo(nowhere); });
        after = true;
    }));
    EXPECT_FALSE(inner);
    EXPECT_TRUE(after);
    EXPECT_FALSE(GuardedCall([&] {
        GuardedCall([] {});
        WriteTo(nowhere); // the outer guard is the one in force again
    }));
    TestThread thread([&] { return GuardedCall([&] { WriteTo(nowhere); }) ? 1u : 2u; });
    EXPECT_EQ(thread.Join(), 2u);
}

__attribute__((noinline, no_sanitize("undefined", "address"))) int Descend(const volatile char* above) {
    volatile char frame[4096];
    frame[0] = *above;
    return *above ? 1 : Descend(frame) + frame[0];
}

TEST_F(Threads, GuardHoldsAnExhaustedStack) {
    TestThread thread([] {
        const bool first = GuardedCall([] { Descend(""); });
        const bool again = GuardedCall([] { Descend(""); });
        return first || again ? 1u : 2u;
    });
    EXPECT_EQ(thread.Join(), 2u);
}

TEST_F(Threads, GuardLetsThreadsEnd) {
    TestThread leaver([]() -> DWORD {
        GuardedCall([] { ExitThread(3); });
        return 4;
    });
    EXPECT_EQ(leaver.Join(), 3u);
    std::atomic<bool> inside{false};
    TestThread killed([&]() -> DWORD {
        GuardedCall([&] {
            inside = true;
            Sleep(INFINITE);
        });
        return 4;
    });
    ASSERT_TRUE(Eventually([&] { return inside.load(); }));
    EXPECT_TRUE(TerminateThread(killed.Handle(), 5));
    EXPECT_EQ(killed.Join(), 5u);
}

using ThreadsDeathTest = Threads;

TEST_F(ThreadsDeathTest, AFaultOutsideOfEveryGuardEndsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            GuardedCall([] {});
            WriteTo(nullptr);
        },
        "");
}
#endif

} // namespace
