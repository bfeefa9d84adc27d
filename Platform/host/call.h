// What every host operation does first: it is a checkpoint at which a thread that has been terminated or suspended
// from outside is held, and for its length the thread can't be ended (it may hold the host's own locks).
//
//     BOOL SomeOperation(...) {
//         plat::HostCall call;      // first local, so that it is destroyed last
//         ...
//     }
//
// A host function never calls another public operation while it holds a host lock.
#pragma once

#include "Platform/types.h"

#include <atomic>

namespace plat {

// Of a thread made by CreateThread; null on other threads, which can't be terminated.
struct ThreadState {
    std::atomic<bool> attention{false}; // doomed, or told to suspend: look closer at the next checkpoint
    std::atomic<int> noKillDepth{0}; // above 0: inside a host operation or another section that must finish
    DWORD threadId = 0;

    // Only the thread itself counts; others and its own signal handler look. So plain stores do, and the fences keep
    // what the section guards inside of it.
    void EnterNoKill() noexcept {
        noKillDepth.store(noKillDepth.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    void LeaveNoKill() noexcept {
        std::atomic_signal_fence(std::memory_order_seq_cst);
        noKillDepth.store(noKillDepth.load(std::memory_order_relaxed) - 1, std::memory_order_release);
    }
};

extern thread_local ThreadState* t_thread __attribute__((tls_model("initial-exec")));

// The slow half: parks a doomed thread for ever, waits while suspended, otherwise returns.
void Attend(ThreadState& thread);

// A section of library code in which the thread must not be ended: it holds a lock that others need.
class NoKill {
public:
    NoKill() noexcept : m_thread(t_thread) {
        if (m_thread) m_thread->EnterNoKill();
    }
    ~NoKill() {
        if (m_thread) m_thread->LeaveNoKill();
    }
    NoKill(const NoKill&) = delete;
    NoKill& operator=(const NoKill&) = delete;

private:
    ThreadState* m_thread;
};

class HostCall {
public:
    HostCall() : m_thread(t_thread) {
        if (!m_thread) return;
        if (m_thread->attention.load(std::memory_order_acquire) &&
            m_thread->noKillDepth.load(std::memory_order_relaxed) == 0)
            Attend(*m_thread);
        m_thread->EnterNoKill();
    }
    ~HostCall() {
        if (m_thread) m_thread->LeaveNoKill();
    }
    HostCall(const HostCall&) = delete;
    HostCall& operator=(const HostCall&) = delete;

private:
    ThreadState* m_thread;
};

// What the store does when a thread is ended from outside. `interrupt` may be called at any moment from the killer and
// only breaks off running statements; `recover` is called once the thread is parked: roll back, return connections.
struct StoreHooks {
    void (*interrupt)(DWORD threadId) = nullptr;
    void (*recover)(DWORD threadId) = nullptr;
};
void SetStoreHooks(const StoreHooks& hooks);

} // namespace plat
