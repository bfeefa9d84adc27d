// The thread object: what a handle of a thread stands for, and what its thread carries with it.
#pragma once

#include "Platform/host/call.h"
#include "Platform/host/waitable.h"

#include <csetjmp>
#include <pthread.h>
#include <sys/types.h>

namespace plat {

class Mutex;

class Thread final : public Waitable, public ThreadState {
public:
    static constexpr Kind kKind = Kind::Thread;

    // A thread that CreateThread made, or one that came from elsewhere and only uses the platform.
    explicit Thread(bool made);

    bool Made() const { return m_made; }
    bool Doomed() const { return m_doomed.load(std::memory_order_acquire); }
    bool Parked() const { return m_parked.load(std::memory_order_acquire) != 0; }
    bool Ended() const;
    DWORD ExitCode() const;
    int Priority() const;
    void SetPriority(int priority);

    // The former suspend count; -1 when it is at its limit, or the thread has ended.
    int Suspend();
    int Resume();
    bool Suspended() const;

    // The first of these to come decides; the others are told false.
    bool Doom(DWORD code);        // from outside; from now on the thread is held at every checkpoint
    bool BeginEnding(DWORD code); // by the thread itself; false: it is doomed and must park
    void Signal();                // the last step of both ways: the handle is signalled

    // Holds the calling thread, which this is, for ever.
    [[noreturn]] void Park();
    void WaitParked(Clock::time_point until) const;
    // What it has used of a processor since its start.
    std::chrono::nanoseconds ProcessorTime() const;
    // Sends the ending signal, unless the thread has gone.
    void Prod();

    void OwnMutex(const std::shared_ptr<Mutex>& mutex);
    void DisownMutex(const Mutex* mutex);
    void AbandonMutexes();

    Waker waker;             // what it sleeps on in every wait of the platform
    jmp_buf exitPoint;       // where ExitThread goes: the bottom of its stack
    DWORD askedExitCode = 0; // of ExitThread
    pthread_t hostThread{};  // good while hostId is not 0
    pid_t hostId = 0;        // under Lock(); 0 before its start and after its end

    std::mutex& Lock() const { return m_lock; }

private:
    Taken Take(Thread& self) override;
    void UpdateAttention();

    const bool m_made;
    std::atomic<bool> m_doomed{false};
    mutable std::atomic<std::uint32_t> m_parked{0};
    bool m_ended = false;
    bool m_signalled = false;
    DWORD m_exitCode;
    int m_suspendCount = 0;
    int m_priority;
    std::vector<std::weak_ptr<Mutex>> m_mutexes;
};

// The object of the calling thread; made at the first need on a thread from elsewhere.
Thread& CurrentThread();
std::shared_ptr<Thread> CurrentThreadObject();
// By id, among those that run; null for none.
std::shared_ptr<Thread> FindThread(DWORD threadId);
void ForgetThread(DWORD threadId);

// Clears up behind a thread that ran to its end: windows, mutexes, handle. Parks when it was doomed meanwhile.
void FinishThread(Thread& self, DWORD code);

// The signal that holds a doomed thread gets through to the calling one, whatever mask it inherited (ending.cpp).
void AdmitEndingSignal();
// The calling thread has left all its guards by a jump (guard.cpp).
void LeaveGuards();

// Ends `thread` from outside and clears up behind it (ending.cpp).
bool EndThread(const std::shared_ptr<Thread>& thread, DWORD code);

} // namespace plat
