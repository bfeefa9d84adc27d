// The one loop in which a thread of the device waits, whatever it waits for.
#pragma once

#include "Platform/host/thread.h"

#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace plat {

// Null for INFINITE.
std::optional<Clock::time_point> DeadlineOf(DWORD milliseconds);

// The calling thread's entries in the lists of what it waits for. They are taken out while it is suspended, and for good
// when it is ended: then the objects go too, since nobody else could ever let go of them.
class WaitScope {
public:
    WaitScope(Thread& self, std::vector<std::shared_ptr<Waitable>> objects);
    ~WaitScope() { LeaveAll(); }
    WaitScope(const WaitScope&) = delete;
    WaitScope& operator=(const WaitScope&) = delete;

    // Waits until `ready(next)` gives true, or the deadline: false. `ready` may bring `next` forward, the time at which it
    // wants to be asked again at the latest; otherwise it is asked whenever the thread's waker is woken.
    template<class Ready>
    bool Hold(std::optional<Clock::time_point> deadline, Ready ready) {
        for (;;) {
            const auto ticket = m_self.waker.Ticket();
            AttendIfTold();
            auto next = deadline.value_or(Clock::time_point::max());
            if (ready(next)) return true;
            if (deadline && Clock::now() >= *deadline) return false;
            m_self.waker.Sleep(ticket, next);
        }
    }

    // The first object that the thread could take: its index, and whether it had been abandoned.
    struct Hit {
        std::size_t index;
        bool abandoned;
    };
    std::optional<Hit> TakeOne(Clock::time_point& next);

private:
    void AttendIfTold();
    void JoinAll();
    void LeaveAll();

    Thread& m_self;
    std::vector<std::shared_ptr<Waitable>> m_objects;
    std::vector<Waitable::Entry> m_entries;
};

} // namespace plat
