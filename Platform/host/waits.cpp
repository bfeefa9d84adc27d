#include "Platform/host/waits.h"
#include "Platform/host/clockstate.h"
#include "Platform/host/queues.h"
#include "Platform/testing.h"
#include "Platform/threads.h"

#include <sched.h>

namespace plat {

std::optional<Clock::time_point> DeadlineOf(DWORD milliseconds) {
    if (milliseconds == INFINITE) return std::nullopt;
    return Clock::now() + std::chrono::milliseconds(milliseconds);
}

WaitScope::WaitScope(Thread& self, std::vector<std::shared_ptr<Waitable>> objects)
    : m_self(self), m_objects(std::move(objects)), m_entries(m_objects.size()) {
    for (auto& entry : m_entries) entry.waker = &m_self.waker;
    JoinAll();
}

void WaitScope::JoinAll() {
    for (std::size_t i = 0; i < m_objects.size(); ++i) m_objects[i]->Join(m_entries[i]);
}

void WaitScope::LeaveAll() {
    for (std::size_t i = 0; i < m_objects.size(); ++i) m_objects[i]->Leave(m_entries[i]);
}

// The wait is itself a host operation, so the thread is at depth 1; deeper down it holds something that others need.
void WaitScope::AttendIfTold() {
    if (!t_thread || !t_thread->attention.load(std::memory_order_acquire)) return;
    if (t_thread->noKillDepth.load(std::memory_order_relaxed) > 1) return;
    LeaveAll();
    if (m_self.Doomed()) {
        m_objects.clear();
        m_self.Park();
    }
    Attend(*t_thread);
    JoinAll();
}

std::optional<WaitScope::Hit> WaitScope::TakeOne(Clock::time_point& next) {
    for (std::size_t i = 0; i < m_objects.size(); ++i) {
        Waitable& object = *m_objects[i];
        const Taken taken = object.Granted(m_entries[i]) ? Taken::Yes : object.TryTake(m_self);
        if (taken != Taken::No) return Hit{i, taken == Taken::Abandoned};
        if (const unsigned poll = object.PollMilliseconds())
            next = std::min(next, Clock::now() + std::chrono::milliseconds(poll));
    }
    return std::nullopt;
}

namespace {

std::vector<std::shared_ptr<Waitable>> ObjectsOf(std::span<const HANDLE> handles) {
    std::vector<std::shared_ptr<Waitable>> objects;
    objects.reserve(handles.size());
    for (const HANDLE handle : handles) {
        auto object = FindWaitable(handle);
        if (!object) return {};
        objects.push_back(std::move(object));
    }
    return objects;
}

DWORD Fail(DWORD error) {
    SetLastError(error);
    return WAIT_FAILED;
}

DWORD ResultOf(const WaitScope::Hit& hit) {
    return (hit.abandoned ? WAIT_ABANDONED : WAIT_OBJECT_0) + static_cast<DWORD>(hit.index);
}

constexpr DWORD kSendsWait = 0xFFFFFFFE; // inner result: serve what was sent, then wait on

DWORD WaitForObjectsOrInput(const std::vector<std::shared_ptr<Waitable>>& objects,
                            std::optional<Clock::time_point> deadline, bool wantMessages) {
    Thread& self = CurrentThread();
    WaitScope scope(self, objects);
    DWORD result = WAIT_TIMEOUT;
    scope.Hold(deadline, [&](Clock::time_point& next) {
        if (const auto hit = scope.TakeOne(next))
            result = ResultOf(*hit);
        else if (HasSends(self.threadId))
            result = kSendsWait;
        else if (wantMessages && HasInput(self.threadId, next))
            result = static_cast<DWORD>(objects.size());
        return result != WAIT_TIMEOUT;
    });
    return result;
}

} // namespace
} // namespace plat

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    plat::HostCall call;
    auto object = plat::FindWaitable(handle);
    if (!object) return plat::Fail(ERROR_INVALID_HANDLE);
    // Workers ask like this between two records whether they should stop.
    plat::Thread& self = plat::CurrentThread();
    const plat::Taken taken = object->TryTake(self);
    if (taken != plat::Taken::No) return taken == plat::Taken::Abandoned ? WAIT_ABANDONED : WAIT_OBJECT_0;
    if (milliseconds == 0) return WAIT_TIMEOUT;
    const auto deadline = plat::DeadlineOf(milliseconds);
    plat::WaitScope scope(self, {std::move(object)});
    DWORD result = WAIT_TIMEOUT;
    scope.Hold(deadline, [&](plat::Clock::time_point& next) {
        const auto hit = scope.TakeOne(next);
        if (hit) result = plat::ResultOf(*hit);
        return hit.has_value();
    });
    return result;
}

DWORD MsgWaitForMultipleObjectsEx(DWORD count, const HANDLE* handles, DWORD milliseconds, DWORD wakeMask,
                                  DWORD flags) {
    constexpr DWORD kWaitForAll = 1;
    std::vector<std::shared_ptr<plat::Waitable>> objects;
    {
        plat::HostCall call;
        if (count >= MAXIMUM_WAIT_OBJECTS || (count > 0 && !handles) || (flags & kWaitForAll))
            return plat::Fail(ERROR_INVALID_PARAMETER);
        objects = plat::ObjectsOf({handles, count});
        if (objects.size() != count) return plat::Fail(ERROR_INVALID_HANDLE);
    }
    const auto deadline = plat::DeadlineOf(milliseconds);
    for (;;) {
        DWORD result;
        {
            plat::HostCall call;
            result = plat::WaitForObjectsOrInput(objects, deadline, wakeMask != 0);
        }
        if (result != plat::kSendsWait) return result;
        plat::ServeOneSend(); // outside of the host call: a window's procedure is the application's code
    }
}

void Sleep(DWORD milliseconds) {
    plat::HostCall call;
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    if (milliseconds != INFINITE && plat::SleepMovesClock()) return PlatAdvanceClock(milliseconds);
    plat::WaitScope scope(plat::CurrentThread(), {});
    scope.Hold(plat::DeadlineOf(milliseconds), [](plat::Clock::time_point&) { return false; });
}
