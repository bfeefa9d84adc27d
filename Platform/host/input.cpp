// Focus, capture, keys and pointer as windows ask for them.
#include "Platform/host/faults.h"
#include "Platform/host/inputqueue.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

namespace plat {
namespace {

void Reset() {
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    desktop.cursor = {};
    desktop.keys.reset();
    desktop.lastPress = {};
}
[[maybe_unused]] const bool g_registered = (AtReset(&Reset), true);

// The queue of the calling thread; null when it has none yet.
template<class F>
auto WithOwnQueue(F read) {
    HostCall call;
    const DWORD self = GetCurrentThreadId();
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    return read(desktop, desktop.FindQueue(self));
}

// Under the desktop's lock: a window of the calling thread.
bool IsOwn(Desktop& desktop, HWND window, const Queue* queue) {
    return queue && desktop.QueueOfWindow(window) == queue;
}

SHORT StateOf(const KeySet& keys, int key) {
    const bool down = key >= 0 && key < static_cast<int>(keys.size()) && keys[static_cast<std::size_t>(key)];
    return down ? static_cast<SHORT>(0x8000) : SHORT{0};
}

struct FocusChange {
    bool done = false;
    HWND former = nullptr;
    HWND activate = nullptr; // the top-level window, when it is not active
};

FocusChange ChangeFocus(HWND window) {
    return WithOwnQueue([window](Desktop& desktop, Queue* queue) -> FocusChange {
        if (!window && !queue) return {};
        if (window && !IsOwn(desktop, window, queue))
            return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FocusChange{};
        FocusChange change{true, std::exchange(queue->focus, window), nullptr};
        const HWND top = desktop.TopLevelOf(window);
        if (window && queue->active != top) change.activate = top;
        return change;
    });
}

} // namespace
} // namespace plat

using namespace plat;

HWND SetFocus(HWND window) {
    const FocusChange change = ChangeFocus(window);
    if (!change.done) return nullptr;
    if (change.activate) SetActiveWindow(change.activate);
    if (change.former == window) return window;
    if (change.former) SendMessageW(change.former, WM_KILLFOCUS, reinterpret_cast<WPARAM>(window), 0);
    // The one that lost it may have given it to a third.
    if (window && GetFocus() == window)
        SendMessageW(window, WM_SETFOCUS, reinterpret_cast<WPARAM>(change.former), 0);
    return change.former;
}

HWND GetFocus() {
    return WithOwnQueue([](Desktop&, const Queue* queue) { return queue ? queue->focus : nullptr; });
}

HWND SetCapture(HWND window) {
    bool done = false;
    const HWND former = WithOwnQueue([&](Desktop& desktop, const Queue* queue) -> HWND {
        if (!IsOwn(desktop, window, queue)) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), nullptr;
        done = true;
        return std::exchange(desktop.capture, window);
    });
    if (done && former && former != window)
        SendMessageW(former, WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(window));
    return former;
}

HWND GetCapture() {
    return WithOwnQueue([](Desktop& desktop, const Queue* queue) {
        return IsOwn(desktop, desktop.capture, queue) ? desktop.capture : nullptr;
    });
}

BOOL ReleaseCapture() {
    const HWND former = WithOwnQueue([](Desktop& desktop, const Queue* queue) {
        return IsOwn(desktop, desktop.capture, queue) ? std::exchange(desktop.capture, nullptr) : nullptr;
    });
    if (former) SendMessageW(former, WM_CAPTURECHANGED, 0, 0);
    return TRUE;
}

SHORT GetKeyState(int key) {
    return WithOwnQueue([key](Desktop& desktop, const Queue* queue) {
        return StateOf(queue ? queue->keys : desktop.keys, key);
    });
}

SHORT GetAsyncKeyState(int key) {
    return WithOwnQueue([key](const Desktop& desktop, const Queue*) { return StateOf(desktop.keys, key); });
}

BOOL GetCursorPos(POINT* point) {
    if (!point) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    return WithOwnQueue(
        [point](const Desktop& desktop, const Queue*) { return *point = desktop.cursor, TRUE; });
}

DWORD GetMessagePos() {
    return WithOwnQueue([](const Desktop&, const Queue* queue) {
        return queue ? static_cast<DWORD>(PairOf(queue->lastPoint.x, queue->lastPoint.y)) : 0;
    });
}

HWND WindowFromPoint(POINT point) {
    HostCall call;
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    return PlaceOf(desktop, point).window;
}
