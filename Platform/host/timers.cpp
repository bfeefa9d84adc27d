// Timers. Nothing is queued for them: a thread that asks for messages looks which are due.
#include "Platform/clock.h"
#include "Platform/host/clockstate.h"
#include "Platform/host/desktop.h"
#include "Platform/host/messages.h"
#include "Platform/threads.h"

#include <algorithm>

namespace plat {
namespace {

// Tick counts wrap around; a period keeps within half of their range.
constexpr UINT kLongestPeriod = 0x7FFFFFFF;

[[maybe_unused]] const bool g_listening = (AtClockChange(&WakeTimers), true);

bool Due(const Timer& timer, DWORD now) { return static_cast<std::int32_t>(now - timer.due) >= 0; }

auto FindTimer(Desktop& desktop, DWORD threadId, HWND window, ULONG_PTR id) {
    return std::ranges::find_if(desktop.timers, [&](const Timer& timer) {
        return timer.window == window && timer.id == id && (window || timer.threadId == threadId);
    });
}

ULONG_PTR PutTimer(Desktop& desktop, const Timer& timer) {
    const auto present = FindTimer(desktop, timer.threadId, timer.window, timer.id);
    if (present != desktop.timers.end())
        *present = timer;
    else
        desktop.timers.push_back(timer);
    return timer.id;
}

} // namespace

std::optional<DWORD> UntilTimer(const Desktop& desktop, DWORD threadId, DWORD now) {
    std::optional<DWORD> least;
    for (const Timer& timer : desktop.timers)
        if (timer.threadId == threadId)
            least = std::min(least.value_or(kLongestPeriod), Due(timer, now) ? 0 : timer.due - now);
    return least;
}

bool TakeTimer(Desktop& desktop, DWORD threadId, const MessageFilter& filter, DWORD now, bool remove,
               MSG& message) {
    if (!filter.Numbers(WM_TIMER)) return false;
    const HWND window = filter.window;
    Timer* found = nullptr; // the one that has been due for longest
    for (Timer& timer : desktop.timers) {
        const bool fits = !window || timer.window == window || desktop.StandsUnder(timer.window, window);
        if (timer.threadId != threadId || !fits || !Due(timer, now)) continue;
        if (!found || now - timer.due > now - found->due) found = &timer;
    }
    if (!found) return false;
    message = {found->window, WM_TIMER, found->id, reinterpret_cast<LPARAM>(found->procedure), now, {0, 0}};
    if (remove) found->due = now + found->period;
    return true;
}

void WakeTimers() {
    std::vector<std::shared_ptr<Thread>> threads;
    {
        Desktop& desktop = TheDesktop();
        std::lock_guard lock(desktop.lock);
        for (const Timer& timer : desktop.timers)
            if (const Queue* queue = desktop.FindQueue(timer.threadId)) threads.push_back(queue->thread);
    }
    for (const auto& thread : threads) thread->waker.Wake();
}

} // namespace plat

ULONG_PTR SetTimer(HWND window, ULONG_PTR id, UINT milliseconds, TIMERPROC procedure) {
    plat::HostCall call;
    const UINT period = std::clamp<UINT>(milliseconds, 1, plat::kLongestPeriod);
    const DWORD due = GetTickCount() + period;
    const auto self = plat::CurrentThreadObject();
    std::shared_ptr<plat::Thread> owner;
    {
        plat::Desktop& desktop = plat::TheDesktop();
        std::lock_guard lock(desktop.lock);
        const plat::Window* found = desktop.Find(window);
        plat::Queue* queue =
            window ? (found ? desktop.FindQueue(found->threadId) : nullptr) : &desktop.QueueOf(self);
        if (!queue) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), 0;
        owner = queue->thread;
        const bool replaces = plat::FindTimer(desktop, owner->threadId, window, id) !=
                              desktop.timers.end(); // known id of the thread's own
        if (!window && !replaces) id = ++desktop.lastTimer;
        id = plat::PutTimer(desktop, {owner->threadId, window, id, period, due, procedure});
    }
    if (owner != self) owner->waker.Wake();
    return id;
}

BOOL KillTimer(HWND window, ULONG_PTR id) {
    plat::HostCall call;
    const DWORD self = GetCurrentThreadId();
    plat::Desktop& desktop = plat::TheDesktop();
    std::lock_guard lock(desktop.lock);
    const auto found = plat::FindTimer(desktop, self, window, id);
    if (found == desktop.timers.end()) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    desktop.timers.erase(found);
    return TRUE;
}
