// Kernel objects that a thread can wait for. A kind of object derives from Waitable, says how a wait takes it, and wakes
// the waiting threads when that may have changed.
#pragma once

#include "Platform/host/futex.h"
#include "Platform/host/handles.h"

#include <mutex>
#include <vector>

namespace plat {

class Thread;

enum class Taken { No, Yes, Abandoned };

class Waitable : public KernelObject {
public:
    using KernelObject::KernelObject;

    // Is it signalled, for this thread? Then the wait takes what there is to take.
    Taken TryTake(Thread& self) {
        std::lock_guard lock(m_lock);
        return Take(self);
    }
    // For an object that changes without anyone here noticing: look again after so many milliseconds; 0 for never.
    virtual unsigned PollMilliseconds() const { return 0; }

    // One waiting thread, for as long as it waits.
    struct Entry {
        Waker* waker = nullptr;
        bool granted = false; // a pulse released it
    };
    void Join(Entry& entry);
    void Leave(Entry& entry);
    bool Granted(const Entry& entry) const {
        std::lock_guard lock(m_lock);
        return entry.granted;
    }

protected:
    // Both under m_lock.
    virtual Taken Take(Thread& self) = 0;
    void WakeWaiters();

    mutable std::mutex m_lock;
    std::vector<Entry*> m_waiters;
};

// The object behind a handle of any kind that can be waited for; null otherwise.
std::shared_ptr<Waitable> FindWaitable(HANDLE handle);

} // namespace plat
