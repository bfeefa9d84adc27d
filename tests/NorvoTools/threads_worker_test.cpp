#include "NorvoTools/CeCriticalSection.h"
#include "NorvoTools/CeWorkerThread.h"
#include "NorvoTools/waitables.h"
#include "Platform/clock.h"
#include "tests/support/device.h"
#include "tests/support/plainwindow.h"

#include <atomic>
#include <functional>
#include <thread>

namespace {

class ThreadsTest : public DeviceTest {};

// A worker whose run is a function of the test.
class Worker : public CeWorkerThread {
public:
    using Body = std::function<DWORD(Worker&)>;
    explicit Worker(Body body, HWND window = nullptr, DWORD timeout = 6000, bool autoDelete = false)
        : CeWorkerThread(autoDelete, window, timeout), m_body(std::move(body)) {}
    ~Worker() override {
        if (!m_bAutoDelete) Stop(false);
        if (m_gone) m_gone->store(true);
    }

    CeManualEvent& StopEvent() { return m_hStopEvent; }
    bool WaitUntilIdle() {
        for (int i = 0; i < 5000 && (m_hThread.Get() || IsRunning()); ++i) Sleep(1);
        return !m_hThread.Get() && !IsRunning();
    }
    bool WaitForStop() { return m_hStopEvent.WaitFor(10000) == WAIT_OBJECT_0; }

    std::atomic<int> m_runs{0}, m_ended{0}, m_postKills{0}, m_stops{0};
    DWORD m_codeBeforeKill = 0, m_codeAfterKill = 0;
    std::atomic<bool>* m_gone = nullptr;

protected:
    DWORD ThreadProc() override {
        ++m_runs;
        const DWORD code = m_body(*this);
        ++m_ended;
        return code;
    }
    void OnStop() override { ++m_stops; }
    void OnKill() override { m_codeBeforeKill = GetExitCode(); }
    void PostKill() override {
        ++m_postKills;
        m_codeAfterKill = GetExitCode();
    }

private:
    Body m_body;
};

TEST_F(ThreadsTest, FiveHundredRoundsOfStartAndStop) {
    Worker worker([](Worker& w) -> DWORD { return w.WaitForStop() ? 0 : 1; });
    for (int i = 0; i < 500; ++i) {
        ASSERT_TRUE(worker.Start() || worker.m_runs > 0);
        if (i % 3 != 0) worker.Stop(i % 2 == 0); // otherwise the next Start stops it
    }
    worker.Stop(false);
    EXPECT_EQ(worker.m_ended, worker.m_runs.load()); // none was killed
    EXPECT_EQ(worker.m_postKills, 0);
    EXPECT_GT(worker.m_runs, 300); // a run may be stopped before it has begun
    EXPECT_FALSE(worker.IsRunning() || worker.IsStopSet() || worker.StopEvent().IsSet());
}

TEST_F(ThreadsTest, RunsThatEndByThemselvesLeaveNothing) {
    for (int i = 0; i < 300; ++i) {
        auto worker = std::make_unique<Worker>([](Worker&) -> DWORD { return 7; });
        worker->Start();
        if (i % 2) {
            ASSERT_TRUE(worker->WaitUntilIdle());
        }
        worker->Stop(false);
        worker.reset(); // the worker thread may still be on its way out
    }
}

TEST_F(ThreadsTest, StartOnARunningThreadEndsTheOldRunFirst) {
    std::atomic<int> inside{0}, most{0};
    Worker worker([&](Worker& w) -> DWORD {
        most = std::max(most.load(), ++inside);
        w.WaitForStop();
        --inside;
        return 0;
    });
    for (int i = 0; i < 20; ++i) worker.Start();
    worker.Stop(false);
    EXPECT_LE(most, 1);
    EXPECT_EQ(inside, 0);
}

TEST_F(ThreadsTest, AWorkerThatIgnoresTheStopIsTerminated) {
    Worker worker(
        [](Worker&) -> DWORD {
            for (;;) Sleep(10);
        },
        nullptr, 100);
    worker.Start();
    while (worker.m_runs == 0) Sleep(1);
    worker.Stop(false);
    EXPECT_EQ(worker.m_stops, 1);
    EXPECT_EQ(worker.m_postKills, 1);
    EXPECT_EQ(worker.m_codeBeforeKill, 259u); // still going
    EXPECT_EQ(worker.m_codeAfterKill, 1u);
    EXPECT_EQ(worker.m_ended, 0);
    EXPECT_FALSE(worker.IsRunning());
    worker.Start(); // and the object works on
    while (worker.m_runs == 1) Sleep(1);
    EXPECT_TRUE(worker.IsRunning());
    EXPECT_TRUE(worker.Kill(5));
    EXPECT_FALSE(worker.Kill(5)); // nothing left
}

// A lock that a scope holds is never left behind by a terminated run, wherever in the scope the end finds it.
TEST_F(ThreadsTest, ATerminatedRunLeavesNoScopeLocked) {
    CeCriticalSection section;
    Worker worker([&](Worker&) -> DWORD {
        for (;;) {
            CeSectionLock lock(section);
            for (int i = 0; i < 50; ++i) GetTickCount();
        }
    });
    for (int round = 0; round < 20; ++round) {
        worker.Start();
        while (worker.m_runs <= round) Sleep(1);
        Sleep(static_cast<DWORD>(round % 3));
        worker.Kill(1);
        for (int i = 0; i < 3000 && !section.TryLock(); ++i) Sleep(1);
        EXPECT_TRUE(section.TryLock()); // once more: it is ours
        section.Leave();
        section.Leave();
    }
}

TEST_F(ThreadsTest, StopAndStartFromInsideTheRun) {
    std::atomic<int> started{-1};
    Worker worker([&](Worker& w) -> DWORD {
        started = w.Start();
        w.Stop(false); // only asks
        return w.StopEvent().IsSet() ? 3 : 4;
    });
    worker.Start();
    EXPECT_TRUE(worker.WaitUntilIdle());
    EXPECT_EQ(started, 0);
    EXPECT_EQ(worker.m_ended, 1);
    EXPECT_FALSE(worker.StopEvent().IsSet());
}

TEST_F(ThreadsTest, ExitLeavesAnObjectThatStartsAgain) {
    Worker worker([](Worker& w) -> DWORD {
        w.Exit(9);
        return 0;
    });
    worker.Start();
    while (worker.m_runs == 0 || worker.IsRunning()) Sleep(1);
    worker.WaitForComplete();
    EXPECT_EQ(worker.GetExitCode(), 9u);
    worker.Start();
    EXPECT_TRUE(worker.m_runs >= 1);
    while (worker.m_runs < 2) Sleep(1);
    worker.Stop(false);
    EXPECT_EQ(worker.m_ended, 0);
    EXPECT_EQ(worker.m_postKills, 0);
}

TEST_F(ThreadsTest, AutoDeletingObjectsGoAtTheEndOfTheirRun) {
    for (bool byExit : {false, true}) {
        std::atomic<bool> gone{false};
        std::atomic<bool> stopped{false};
        auto* worker = new Worker(
            [&stopped, byExit](Worker& w) -> DWORD {
                stopped = w.WaitForStop();
                if (byExit) w.Exit(1);
                return 0;
            },
            nullptr, 6000, true);
        worker->m_gone = &gone;
        EXPECT_TRUE(worker->Start());
        worker->Stop(false); // doesn't wait; not touched afterwards
        for (int i = 0; i < 5000 && !gone; ++i) Sleep(1);
        EXPECT_TRUE(gone);
        EXPECT_TRUE(stopped);
        if (byExit) Sleep(20); // ExitThread is behind the destruction
    }
}

TEST_F(ThreadsTest, RunsOfEveryKind) {
    Worker worker([](Worker&) -> DWORD { return 0; });
    worker.Stop(false); // of an idle one: nothing
    EXPECT_EQ(worker.m_stops, 0);
    worker.RunInline(); // nothing before the first Start
    EXPECT_EQ(worker.m_runs, 0);
    PlatInjectFault(PlatFault::ThreadCreate, 1);
    EXPECT_FALSE(worker.Start());
    PlatInjectFault(PlatFault::ThreadCreate, 0);
    EXPECT_TRUE(worker.Start(5, 0, CREATE_SUSPENDED)); // the failure leaves nothing taken
    Sleep(20);
    EXPECT_EQ(worker.m_runs, 0);
    EXPECT_EQ(worker.GetPriority(), 5);
    EXPECT_EQ(worker.Resume(), 1u);
    EXPECT_TRUE(worker.WaitUntilIdle());
    EXPECT_EQ(worker.GetExitCode(), 0xFFFFFFFFu); // no thread to ask
    worker.RunInline();
    EXPECT_EQ(worker.m_runs, 2);
}

TEST_F(ThreadsTest, MessagesToTheThread) {
    std::atomic<UINT> got{0};
    Worker worker([&](Worker&) -> DWORD {
        MSG message = {};
        GetMessageW(&message, nullptr, 0, 0);
        got = message.message;
        return 0;
    });
    EXPECT_FALSE(worker.PostThreadMessageW(1500, 0, 0)); // it has never been started
    worker.Start();
    while (!worker.PostThreadMessageW(1500, 0, 0)) Sleep(1);
    EXPECT_TRUE(worker.WaitUntilIdle());
    EXPECT_EQ(got, 1500u);
}

// Of a stopped object: the copy runs by itself and ends by itself.
TEST_F(ThreadsTest, CopiesAreObjectsOfTheirOwn) {
    struct Plain : CeWorkerThread {
        explicit Plain(std::atomic<int>& runs) : m_runs(runs) {}
        DWORD ThreadProc() override { return ++m_runs, m_hStopEvent.WaitFor(10000); }
        std::atomic<int>& m_runs;
    };
    std::atomic<int> runs{0};
    Plain first(runs);
    Plain second(first);
    static_cast<CeWorkerThread&>(second) = first;
    second.Start();
    while (runs == 0) Sleep(1);
    EXPECT_FALSE(first.IsRunning());
    second.Stop(false);
    EXPECT_FALSE(second.IsRunning());
    first.Start();
    while (runs == 1) Sleep(1);
    first.Stop(false);
}

TEST_F(ThreadsTest, TheClientIsToldOfTheEnd) {
    const HWND window = PlainWindow();
    Worker worker([](Worker&) -> DWORD { return 42; }, window);
    worker.Start();
    EXPECT_TRUE(worker.WaitUntilIdle());
    MSG message = {};
    ASSERT_TRUE(PeekMessageW(&message, window, kMsgThreadEnded, kMsgThreadEnded, PM_REMOVE));
    EXPECT_EQ(message.wParam, 42u);
    EXPECT_EQ(static_cast<DWORD>(message.lParam), worker.GetId());
    Worker restarted([](Worker& w) -> DWORD { return w.WaitForStop(); }, window);
    for (int runs = 1; runs <= 3; ++runs) {
        restarted.Start();
        while (restarted.m_runs < runs) Sleep(1);
    }
    restarted.Stop(false);
    int told = 0;
    while (PeekMessageW(&message, window, kMsgThreadEnded, kMsgThreadEnded, PM_REMOVE)) ++told;
    EXPECT_EQ(told, 3); // of the runs that a start has ended too
    DestroyWindow(window);
}

TEST_F(ThreadsTest, AnInfiniteWaitEndsWithItsHandle) {
    for (bool pump : {false, true}) {
        CeManualEvent event;
        std::thread other([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            if (pump) event.Set(); // a pumping wait keeps its object until it is signalled
            event.Close();
        });
        EXPECT_EQ(pump ? event.MsgWaitFor(INFINITE) : event.WaitFor(INFINITE), WAIT_OBJECT_0);
        other.join();
        EXPECT_TRUE(event.IsSet()); // a missing event counts as set
        EXPECT_EQ(event.Close(), 0);
    }
}

TEST_F(ThreadsTest, Events) {
    PlatInjectFault(PlatFault::EventCreate, 1);
    CeManualEvent missing;
    PlatInjectFault(PlatFault::EventCreate, 0);
    EXPECT_TRUE(missing.IsSet());
    CeManualEvent manual(true);
    EXPECT_TRUE(manual.IsSet());
    EXPECT_TRUE(manual.IsSet());
    EXPECT_TRUE(manual.Reset());
    EXPECT_EQ(manual.WaitFor(0), WAIT_TIMEOUT);
    CeAutoEvent once(true);
    EXPECT_EQ(once.WaitFor(0), WAIT_OBJECT_0);
    EXPECT_EQ(once.WaitFor(0), WAIT_TIMEOUT);
    CeSemaphore semaphore(3);
    EXPECT_EQ(semaphore.WaitFor(0), WAIT_TIMEOUT);
    EXPECT_TRUE(semaphore.Release());
    EXPECT_EQ(semaphore.Release(2), 1);
    EXPECT_EQ(semaphore.Release(1), -1); // past the maximum
    EXPECT_EQ(semaphore.WaitFor(0), WAIT_OBJECT_0);
}

// What another thread gets that wants a mutex and doesn't wait.
DWORD TakenElsewhere(const WCHAR* name) {
    DWORD result = 0;
    std::thread([&] {
        CeMutex theirs;
        result = theirs.Create(name, 0, false);
    }).join();
    return result;
}

TEST_F(ThreadsTest, AMutexIsHeldByOneThread) {
    CeMutex mine;
    EXPECT_EQ(mine.Create(u"WorkerTestMutex", 0, false), WAIT_OBJECT_0);
    EXPECT_EQ(TakenElsewhere(u"WorkerTestMutex"), WAIT_TIMEOUT);
    EXPECT_EQ(mine.Create(u"WorkerTestMutex", 0, false), WAIT_OBJECT_0); // again, by its holder
    mine.Release();
    EXPECT_EQ(TakenElsewhere(u"WorkerTestMutex"), WAIT_OBJECT_0); // one release was enough
}

TEST_F(ThreadsTest, AMutexThatItsHolderLeftBehindIsHeldOnce) {
    for (DWORD timeout : {INFINITE, DWORD{10000}}) {
        CeMutex left;
        std::thread([&] { EXPECT_EQ(left.Create(u"WorkerTestLeft", 0, false), WAIT_OBJECT_0); }).join();
        CeMutex mine;
        EXPECT_EQ(mine.Create(u"WorkerTestLeft", timeout, false), WAIT_ABANDONED);
        mine.Release();
        EXPECT_EQ(TakenElsewhere(u"WorkerTestLeft"), WAIT_OBJECT_0);
    }
    const CeWaitableHandle none(INVALID_HANDLE_VALUE);
    EXPECT_EQ(none.WaitFor(INFINITE), WAIT_FAILED); // and doesn't wait for ever
}

TEST_F(ThreadsTest, SectionsAreRecursiveAndLeftByAnyone) {
    CeCriticalSection section;
    EXPECT_TRUE(section.TryLock());
    EXPECT_TRUE(section.TryLock());
    std::thread([&] {
        EXPECT_FALSE(section.TryLock());
        for (int i = 0; i < 3; ++i) section.Leave(); // the third of a free one: nothing
        EXPECT_TRUE(section.TryLock());
        section.Leave();
    }).join();
}

} // namespace
