// A thread that can be started again and again and cancelled at any time: everything slow runs on one. A run is
// cancelled by starting anew: Start on a busy object stops the old run first.
//
// The object belongs to the thread that made it: that thread calls Start, Stop and the destructor. The run itself is
// ThreadProc, on the worker; it looks at IsStopSet or the stop event between its steps. A derived class calls Stop in
// its own destructor, before its members go. The window is told of the end of a run by kMsgThreadEnded.
#pragma once

#include "NorvoTools/waitables.h"
#include "Platform/threads.h"
#include "Platform/types.h"

#include <atomic>

// Posted when a run has ended by itself: wParam the exit code, lParam the thread id (both 0 after Exit).
inline constexpr UINT kMsgThreadEnded = 2048;

inline constexpr int kThreadPriorityNormal = THREAD_PRIORITY_NORMAL; // of 0, the highest, to 7

class QN_API CeWorkerThread {
public:
    explicit CeWorkerThread(bool bAutoDelete = false, HWND hNotifyWnd = nullptr, DWORD dwStopTimeout = 6000);
    // Two objects then share one thread handle, which is safe for a stopped object only.
    CeWorkerThread(const CeWorkerThread& other);
    CeWorkerThread& operator=(const CeWorkerThread& other);

    // Destroys and frees an auto-deleting object; otherwise nothing.
    virtual void Delete();
    // Ends the run from inside ThreadProc. Doesn't return.
    virtual void Exit(DWORD code);
    // Stops a run that is going, for as long as that takes, and starts a new one. False when no thread could be made,
    // and on the object's own thread; it may also be false for a run that is over already, which is no error. An
    // auto-deleting object is started once and not touched afterwards.
    virtual bool Start(int priority = kThreadPriorityNormal, DWORD stackSize = 0, DWORD creationFlags = 0,
                       SECURITY_ATTRIBUTES* security = nullptr);
    // Asks the run to end and waits for it at most the stop time-out, then terminates it. On the object's own thread it
    // only asks. Doesn't wait for an auto-deleting object, which the caller must not touch any more.
    virtual void Stop(bool bPumpMessages);
    // Posts to the thread; false when there has been none.
    virtual bool PostThreadMessageW(UINT message, WPARAM wParam, LPARAM lParam);
    // Posts to the notify window; false when there is none.
    virtual bool PostWindowMessage(UINT message, WPARAM wParam, LPARAM lParam);
    // Terminates the run. Gives TerminateThread's result, 0 without a thread.
    virtual BOOL Kill(DWORD code);

protected:
    // The work of a run; its result is the exit code.
    virtual DWORD ThreadProc() = 0;
    virtual void OnStop() {}    // by Stop, with the thread still running
    virtual void OnSuspend() {} // by Suspend
    virtual void OnResume() {}  // by Resume
    virtual void OnKill() {}    // by Kill, before the thread is ended
    virtual void PostKill() {}  // by Kill, afterwards: puts right what the thread left

public:
    virtual ~CeWorkerThread();

    bool IsRunning() const { return m_bRunning.load(std::memory_order_acquire); }
    bool IsStopSet() const { return m_bStopSet.load(std::memory_order_acquire); }
    // Waits for the end of the run, dispatching messages.
    DWORD WaitForComplete() { return m_hThread.MsgWaitFor(INFINITE); }
    // 0xFFFFFFFF when there is no thread to ask.
    DWORD GetExitCode() const;
    int GetPriority() const;
    BOOL SetPriority(int priority);
    DWORD GetId() const { return m_dwThreadId.load(std::memory_order_acquire); }
    // Gives SuspendThread's result: the count before, 0xFFFFFFFF on failure.
    DWORD Suspend();
    DWORD Pause() { return Suspend(); }
    DWORD Resume();
    // A run on the caller's thread, with the message at its end. Does nothing before the first Start.
    void RunInline();

protected:
    // Sets and tells that a run is going, whichever thread ends it. Not a lock of data: it holds the number of the run,
    // so that a worker that is late can't free the flag of the run after its own.
    class RunFlag {
    public:
        // The number of the new run; 0 when one is going.
        DWORD TryEnter();
        void Leave() { m_run.store(0, std::memory_order_release); }
        void Leave(DWORD run) { m_run.compare_exchange_strong(run, 0, std::memory_order_acq_rel); }

    private:
        std::atomic<DWORD> m_run{0};
        std::atomic<DWORD> m_last{0};
    };

    CeWaitableHandle m_hThread; // null between runs
    RunFlag m_csRun;
    std::atomic<bool> m_bRunning{false}; // ThreadProc is in progress
    std::atomic<bool> m_bStopSet{false}; // a stop is in progress
    HWND m_hNotifyWnd;                   // may be null
    WCHAR m_szName[25] = {};
    bool m_bAutoDelete;
    std::atomic<DWORD> m_dwThreadId{0}; // 0: never started
    CeManualEvent m_hStopEvent;         // signalled for the time of a stop
    DWORD m_dwStopTimeout;              // milliseconds
    BYTE m_bUser = 0;                   // free for derived classes
    DWORD m_dwUser = 0;

private:
    static DWORD StartThread(void* self);
    DWORD Run(DWORD run);
    void EndRun(DWORD run);
    bool IsOwnThread() const;
    void CopyState(const CeWorkerThread& other);
    void AskToStop();
    void WaitForEnd(bool bPumpMessages);

    std::atomic<DWORD> m_dwRun{0}; // the number of the run that was started last
};
