// Thin owners of what can be waited for: events, semaphores, mutexes, threads. Any thread may wait on, set and close
// one; destroying it is its owner's business.
#pragma once

#include "Platform/threads.h"
#include "Platform/types.h"

#include <atomic>

// One handle, null when there is none; the destructor closes it. Results of waits are the system's: 0 signalled,
// WAIT_TIMEOUT, WAIT_FAILED. A wait that ends because another thread cleared the handle gives 0.
class QN_API CeWaitableHandle {
public:
    CeWaitableHandle() = default;
    explicit CeWaitableHandle(HANDLE handle) : m_handle(handle) {}
    ~CeWaitableHandle() { Close(); }
    CeWaitableHandle(const CeWaitableHandle&) = delete;
    CeWaitableHandle& operator=(const CeWaitableHandle&) = delete;

    HANDLE Get() const { return m_handle.load(std::memory_order_acquire); }
    operator HANDLE() const { return Get(); }
    // Takes the handle over; the former one is closed.
    void Attach(HANDLE handle);
    // Hands the handle out; the object has none afterwards. One of several callers gets it.
    HANDLE Detach() { return m_handle.exchange(nullptr, std::memory_order_acq_rel); }

    // An infinite wait goes in slices of 150 ms, so that it ends when another thread closes the handle.
    DWORD WaitFor(DWORD milliseconds) const;
    // The same, while the messages of the calling thread are dispatched. The time-out starts over with each message.
    DWORD MsgWaitFor(DWORD milliseconds) const;
    // Closes and clears; 0 without a handle.
    BOOL Close();

private:
    std::atomic<HANDLE> m_handle{nullptr};
};

// What the two kinds of events share.
class QN_API CeEvent : public CeWaitableHandle {
public:
    BOOL Set() const { return EventModify(Get(), EVENT_SET); }
    BOOL Reset() const { return EventModify(Get(), EVENT_RESET); }
    BOOL Pulse() const { return EventModify(Get(), EVENT_PULSE); }

protected:
    using CeWaitableHandle::CeWaitableHandle;
};

// Stays signalled until it is reset.
class QN_API CeManualEvent : public CeEvent {
public:
    explicit CeManualEvent(bool bInitial = false);
    CeManualEvent(const WCHAR* name, bool bInitial, SECURITY_ATTRIBUTES* security = nullptr);
    explicit CeManualEvent(const WCHAR*) = delete; // a name alone would be taken for a truth value

    // True when signalled, and when there is no event: a missing event counts as set.
    bool IsSet() const { return !Get() || WaitFor(0) == WAIT_OBJECT_0; }
};

// Lets one waiter through and resets itself.
class QN_API CeAutoEvent : public CeEvent {
public:
    explicit CeAutoEvent(bool bInitial = false);
    CeAutoEvent(const WCHAR* name, bool bInitial, SECURITY_ATTRIBUTES* security = nullptr);
    explicit CeAutoEvent(const WCHAR*) = delete;
};

// Starts at 0.
class QN_API CeSemaphore : public CeWaitableHandle {
public:
    explicit CeSemaphore(LONG maximum);
    BOOL Release();       // adds 1
    LONG Release(LONG n); // adds n and gives the count before; -1 when it can't
};

// A mutex that lives while it is held: Release closes it, a later Create makes it again.
class QN_API CeMutex : public CeWaitableHandle {
public:
    CeMutex() = default;
    ~CeMutex() { Release(); }

    // Takes the mutex of that name (null: nameless), waiting for its holder at most the time given. 0 when it is held
    // now; otherwise the result of the wait: WAIT_TIMEOUT, or WAIT_ABANDONED, with which it is held as well.
    DWORD Create(const WCHAR* name, DWORD milliseconds, bool bPump);
    // Gives it up and closes it; nothing without a handle.
    void Release();

private:
    DWORD Wait(DWORD milliseconds, bool bPump);

    std::atomic<DWORD> m_dwHolder{0}; // the thread that holds it
};
