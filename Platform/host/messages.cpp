// Queues: posting, sending across threads, and the loop that takes messages out.
#include "Platform/host/messages.h"
#include "Platform/host/desktop.h"
#include "Platform/host/inputqueue.h"
#include "Platform/host/queues.h"
#include "Platform/host/store.h"
#include "Platform/host/waits.h"
#include "Platform/clock.h"
#include "Platform/databases.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

#include <algorithm>

namespace plat {

namespace {

constexpr std::size_t kMostPosted = 10000;
const HWND kThreadMessages = reinterpret_cast<HWND>(static_cast<LONG_PTR>(-1));

bool TakePosted(Desktop& desktop, Queue& queue, const MessageFilter& filter, bool remove, MSG& message) {
    const auto found =
        std::ranges::find_if(queue.posted, [&](const MSG& posted) { return filter.Fits(desktop, posted); });
    if (found == queue.posted.end()) return false;
    message = *found;
    if (remove) queue.posted.erase(found);
    return true;
}

bool TakeQuit(Queue& queue, bool remove, DWORD now, MSG& message) {
    if (!queue.quit) return false;
    message = {nullptr, WM_QUIT, static_cast<WPARAM>(queue.exitCode), 0, now, queue.lastPoint};
    if (remove) queue.quit = false;
    return true;
}

// A window of the thread with something to paint: parents first, and of its children the lowest.
const Window* Unpainted(Desktop& desktop, const Window& window, const MessageFilter& filter, DWORD threadId) {
    if (!window.Is(WS_VISIBLE)) return nullptr;
    const MSG message{window.handle, WM_PAINT, 0, 0, 0, {0, 0}};
    if (window.threadId == threadId && window.NeedsPaint() && filter.Fits(desktop, message)) return &window;
    for (auto child = window.children.rbegin(); child != window.children.rend(); ++child)
        if (const Window* found = Unpainted(desktop, *desktop.Find(*child), filter, threadId)) return found;
    return nullptr;
}

bool TakePaint(Desktop& desktop, DWORD threadId, const MessageFilter& filter, DWORD now, MSG& message) {
    if (!filter.Numbers(WM_PAINT)) return false;
    const Window* window = Unpainted(desktop, *desktop.Find(desktop.root), filter, threadId);
    if (!window) return false;
    message = {window->handle, WM_PAINT, 0, 0, now, desktop.cursor};
    return true;
}

// The order in which a thread hears of things: what was posted, input, the end, what is to be painted, timers. Input that
// the host works off by itself comes out in `host`.
TakenInput TakeNext(Desktop& desktop, DWORD threadId, const MessageFilter& filter, TakeMode mode, DWORD now,
                    MSG& message, InputRecord& host) {
    const bool remove = mode == TakeMode::Remove;
    Queue* queue = desktop.FindQueue(threadId);
    bool found = queue && TakePosted(desktop, *queue, filter, remove, message);
    if (queue && !found) {
        const TakenInput taken = TakeInput(desktop, *queue, filter, mode, message, host);
        if (taken != TakenInput::None) {
            if (remove) queue->lastPoint = message.pt;
            return taken;
        }
        found = TakeQuit(*queue, remove, now, message) || TakePaint(desktop, threadId, filter, now, message);
    }
    if (!found) found = TakeTimer(desktop, threadId, filter, now, remove, message);
    if (found && queue && remove) queue->lastPoint = message.pt;
    return found ? TakenInput::Message : TakenInput::None;
}

// The same, looking only; brings `next` forward to the first timer.
bool HasNext(DWORD threadId, const MessageFilter& filter, Clock::time_point& next) {
    const DWORD now = GetTickCount();
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    MSG ignored;
    InputRecord host;
    if (TakeNext(desktop, threadId, filter, TakeMode::Look, now, ignored, host) != TakenInput::None)
        return true;
    if (const auto wait = UntilTimer(desktop, threadId, now))
        next = std::min(next, Clock::now() + std::chrono::milliseconds(std::max<DWORD>(*wait, 1)));
    return false;
}

TakenInput ReadNext(const MessageFilter& filter, TakeMode mode, MSG& message, InputRecord& host) {
    const DWORD now = GetTickCount();
    Desktop& desktop = TheDesktop();
    const DWORD self = CurrentThread().threadId;
    std::lock_guard lock(desktop.lock);
    return TakeNext(desktop, self, filter, mode, now, message, host);
}

bool IsPress(const MSG& message) {
    return message.message == WM_LBUTTONDOWN || message.message == WM_LBUTTONDBLCLK;
}

// The next message, with what goes before it done: sends are served, scroll bars are worked, a pressed window is activated.
bool NextMessage(const MessageFilter& filter, TakeMode mode, MSG& message) {
    for (;;) {
        while (ServeOneSend()) {}
        InputRecord host;
        TakenInput taken;
        {
            HostCall call;
            taken = ReadNext(filter, mode, message, host);
        }
        if (taken == TakenInput::None) return false;
        if (taken == TakenInput::Message) break;
        WorkScrollBar(host);
    }
    if (mode == TakeMode::Remove && IsPress(message)) ActivateByPress(message.hwnd);
    return true;
}

// --- Sending ------------------------------------------------------------------------------------------------------

// Where a message goes: a procedure to call on this thread, or a thread that has been asked.
struct Route {
    WNDPROC procedure = nullptr;
    SentPointer sent;
};

Route RouteOf(HWND window, const MSG& message) {
    HostCall call;
    Route route;
    std::shared_ptr<Thread> receiver;
    const auto self = CurrentThreadObject();
    Desktop& desktop = TheDesktop();
    {
        std::lock_guard lock(desktop.lock);
        const Window* found = desktop.Find(window);
        if (!found) {
            SetLastError(ERROR_INVALID_WINDOW_HANDLE);
            return route;
        }
        if (found->threadId == self->threadId) {
            route.procedure = found->procedure;
            return route;
        }
        Queue* queue = desktop.FindQueue(found->threadId);
        if (!queue) return route;
        route.sent = std::make_shared<SentMessage>();
        route.sent->message = message;
        route.sent->sender = self;
        queue->sent.push_back(route.sent);
        receiver = queue->thread;
    }
    receiver->waker.Wake();
    return route;
}

bool Done(const SentMessage& sent) {
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    return sent.done;
}

// Serves what others send meanwhile: two threads that send to each other don't wait for ever.
LRESULT Await(const SentPointer& sent) {
    for (;;) {
        bool done = false;
        {
            HostCall call;
            Thread& self = CurrentThread();
            WaitScope scope(self, {});
            scope.Hold(std::nullopt, [&](Clock::time_point&) {
                done = Done(*sent);
                return done || HasSends(self.threadId);
            });
        }
        if (done) return sent->result;
        ServeOneSend();
    }
}

SentPointer TakeSent(WNDPROC& procedure) {
    HostCall call;
    Desktop& desktop = TheDesktop();
    const DWORD self = CurrentThread().threadId;
    std::lock_guard lock(desktop.lock);
    Queue* queue = desktop.FindQueue(self);
    if (!queue || queue->sent.empty()) return nullptr;
    SentPointer sent = std::move(queue->sent.front());
    queue->sent.pop_front();
    queue->serving.push_back(sent);
    const Window* window = desktop.Find(sent->message.hwnd);
    procedure = window ? window->procedure : nullptr;
    return sent;
}

void Answer(const SentPointer& sent, LRESULT result) {
    HostCall call;
    Desktop& desktop = TheDesktop();
    const DWORD self = CurrentThread().threadId;
    {
        std::lock_guard lock(desktop.lock);
        if (Queue* queue = desktop.FindQueue(self)) std::erase(queue->serving, sent);
        sent->result = result;
        sent->done = true;
    }
    sent->sender->waker.Wake();
}

std::vector<HWND> TopLevelWindows() {
    HostCall call;
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    return desktop.Find(desktop.root)->children;
}

// Under the desktop's lock.
bool Enqueue(Queue& queue, const MSG& message, std::shared_ptr<Thread>& receiver) {
    if (queue.posted.size() >= kMostPosted) return SetLastError(ERROR_NOT_ENOUGH_MEMORY), false;
    queue.posted.push_back(message);
    receiver = queue.thread;
    return true;
}

bool PostToWindow(const MSG& message) {
    std::shared_ptr<Thread> receiver;
    {
        Desktop& desktop = TheDesktop();
        std::lock_guard lock(desktop.lock);
        const Window* window = desktop.Find(message.hwnd);
        Queue* queue = window ? desktop.FindQueue(window->threadId) : nullptr;
        if (!queue) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), false;
        if (!Enqueue(*queue, message, receiver)) return false;
    }
    receiver->waker.Wake();
    return true;
}

bool PostToThread(const std::shared_ptr<Thread>& thread, const MSG& message) {
    std::shared_ptr<Thread> receiver;
    {
        Desktop& desktop = TheDesktop();
        std::lock_guard lock(desktop.lock);
        // Its queue may have gone since the thread was found; a new one would stay for ever.
        if (thread->Ended()) return SetLastError(ERROR_INVALID_PARAMETER), false;
        if (!Enqueue(desktop.QueueOf(thread), message, receiver)) return false;
    }
    receiver->waker.Wake();
    return true;
}

// --- Dispatching --------------------------------------------------------------------------------------------------

WNDPROC ProcedureHere(HWND window) {
    HostCall call;
    const DWORD self = CurrentThread().threadId;
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    const Window* found = desktop.Find(window);
    return found && found->threadId == self ? found->procedure : nullptr;
}

// Only a procedure that a timer of this thread has: the message may have been posted by anybody.
TIMERPROC TimerProcedure(const MSG& message) {
    HostCall call;
    const DWORD self = CurrentThread().threadId;
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    for (const Timer& timer : desktop.timers)
        if (timer.threadId == self && timer.window == message.hwnd && timer.id == message.wParam &&
            reinterpret_cast<LPARAM>(timer.procedure) == message.lParam)
            return timer.procedure;
    return nullptr;
}

} // namespace

bool MessageFilter::Fits(Desktop& desktop, const MSG& message) const {
    if (!Numbers(message.message)) return false;
    if (!window) return true;
    if (window == kThreadMessages) return message.hwnd == nullptr;
    return message.hwnd == window || desktop.StandsUnder(message.hwnd, window);
}

// --- Queues -------------------------------------------------------------------------------------------------------

Queue& Desktop::QueueOf(const std::shared_ptr<Thread>& thread) {
    Queue& queue = queues[thread->threadId];
    queue.thread = thread;
    return queue;
}

Queue* Desktop::FindQueue(DWORD threadId) {
    const auto found = queues.find(threadId);
    return found == queues.end() ? nullptr : &found->second;
}

Queue* Desktop::QueueOfWindow(HWND window) {
    const Window* found = Find(window);
    return found ? FindQueue(found->threadId) : nullptr;
}

bool HasSends(DWORD threadId) {
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    const Queue* queue = desktop.FindQueue(threadId);
    return queue && !queue->sent.empty();
}

bool HasInput(DWORD threadId, Clock::time_point& next) { return HasNext(threadId, {nullptr, 0, 0}, next); }

bool ServeOneSend() {
    WNDPROC procedure = nullptr;
    const SentPointer sent = TakeSent(procedure);
    if (!sent) return false;
    const MSG& message = sent->message;
    const LRESULT result =
        procedure ? procedure(message.hwnd, message.message, message.wParam, message.lParam) : 0;
    Answer(sent, result);
    return true;
}

} // namespace plat

// --- Operations ---------------------------------------------------------------------------------------------------

LRESULT SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (window == HWND_BROADCAST) {
        for (const HWND each : plat::TopLevelWindows()) SendMessageW(each, message, wParam, lParam);
        return 1;
    }
    const plat::Route route = plat::RouteOf(window, {window, message, wParam, lParam, 0, {0, 0}});
    if (route.procedure) return route.procedure(window, message, wParam, lParam);
    return route.sent ? plat::Await(route.sent) : 0;
}

LRESULT SendDlgItemMessageW(HWND parent, int id, UINT message, WPARAM wParam, LPARAM lParam) {
    const HWND item = GetDlgItem(parent, id);
    return item ? SendMessageW(item, message, wParam, lParam) : 0;
}

BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    plat::HostCall call;
    MSG posted{window, message, wParam, lParam, GetTickCount(), {0, 0}};
    GetCursorPos(&posted.pt);
    if (!window) return plat::PostToThread(plat::CurrentThreadObject(), posted);
    if (window != HWND_BROADCAST) return plat::PostToWindow(posted);
    for (const HWND each : plat::TopLevelWindows()) {
        posted.hwnd = each;
        plat::PostToWindow(posted);
    }
    return TRUE;
}

BOOL PostThreadMessageW(DWORD threadId, UINT message, WPARAM wParam, LPARAM lParam) {
    plat::HostCall call;
    const auto thread = plat::FindThread(threadId);
    if (!thread) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    MSG posted{nullptr, message, wParam, lParam, GetTickCount(), {0, 0}};
    GetCursorPos(&posted.pt);
    return plat::PostToThread(thread, posted);
}

BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT remove) {
    { plat::HostCall call; }
    if (!message) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    const auto mode = remove & PM_REMOVE ? plat::TakeMode::Remove : plat::TakeMode::Keep;
    return plat::NextMessage({window, first, last}, mode, *message);
}

BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last) {
    const plat::MessageFilter filter{window, first, last};
    for (;;) {
        if (!message || (window && window != plat::kThreadMessages && !IsWindow(window)))
            return SetLastError(message ? ERROR_INVALID_WINDOW_HANDLE : ERROR_INVALID_PARAMETER), -1;
        if (plat::NextMessage(filter, plat::TakeMode::Remove, *message)) return message->message != WM_QUIT;
        plat::HostCall call;
        plat::Thread& self = plat::CurrentThread();
        plat::WaitScope scope(self, {});
        scope.Hold(std::nullopt, [&](plat::Clock::time_point& next) {
            return plat::HasSends(self.threadId) || plat::HasNext(self.threadId, filter, next);
        });
    }
}

LRESULT DispatchMessageW(const MSG* message) {
    if (!message) return 0;
    LRESULT result = 0;
    if (message->message == WM_TIMER && message->lParam != 0) {
        if (const TIMERPROC procedure = plat::TimerProcedure(*message))
            procedure(message->hwnd, WM_TIMER, message->wParam, GetTickCount());
    } else if (const WNDPROC procedure = plat::ProcedureHere(message->hwnd)) {
        result = procedure(message->hwnd, message->message, message->wParam, message->lParam);
    }
    if (message->message == WM_DBNOTIFICATION) {
        plat::HostCall call;
        plat::FreeNotification(message->lParam);
    }
    return result;
}

BOOL TranslateMessage(const MSG*) { return FALSE; }

void PostQuitMessage(int exitCode) {
    plat::HostCall call;
    const auto self = plat::CurrentThreadObject();
    plat::Desktop& desktop = plat::TheDesktop();
    std::lock_guard lock(desktop.lock);
    plat::Queue& queue = desktop.QueueOf(self);
    queue.quit = true;
    queue.exitCode = exitCode;
}
