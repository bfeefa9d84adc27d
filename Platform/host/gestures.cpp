// Press and hold, flicks, and what else phones have for input.
#include "Platform/clock.h"
#include "Platform/host/inputqueue.h"
#include "Platform/host/queues.h"
#include "Platform/host/scene.h"
#include "Platform/host/waits.h"
#include "Platform/threads.h"

#include <cstdlib>

namespace plat {
namespace {

constexpr DWORD kHoldTime = 500; // milliseconds
constexpr int kHoldWay = 4;      // pixels at 96 dots an inch

// Infos of the last gestures; an older one is not found any more.
struct Gestures {
    std::mutex lock;
    bool supported = false;
    SlotTable<GESTUREINFO> infos;
    std::deque<std::uint32_t> kept;
    DWORD last = 0;
};
Gestures& TheGestures() {
    static Gestures& gestures = *new Gestures;
    return gestures;
}

HGESTUREINFO Keep(GESTUREINFO info) {
    constexpr std::size_t kMost = 64;
    Gestures& gestures = TheGestures();
    std::lock_guard lock(gestures.lock);
    info.dwInstanceID = info.dwSequenceID = ++gestures.last;
    if (gestures.kept.size() == kMost) {
        gestures.infos.Remove(gestures.kept.front());
        gestures.kept.pop_front();
    }
    gestures.kept.push_back(gestures.infos.Add(info));
    return HandleOf<HGESTUREINFO>(gestures.kept.back());
}

enum class Hold { Held, Ended, Goes };

// Whether the press that the thread took out last still stands where it was.
Hold LookAtPress(POINT down) {
    Desktop& desktop = TheDesktop();
    const DWORD self = CurrentThread().threadId;
    std::lock_guard lock(desktop.lock);
    const Queue* queue = desktop.FindQueue(self);
    if (!queue || !queue->keys[VK_LBUTTON]) return Hold::Ended;
    if (queue->held) return Hold::Held;
    const int way = desktop.Scaled(kHoldWay);
    for (const InputRecord& input : queue->input) {
        if (input.kind != InputRecord::Kind::Pointer) continue;
        const bool far = std::abs(input.point.x - down.x) > way || std::abs(input.point.y - down.y) > way;
        if (input.message != WM_MOUSEMOVE || far) return Hold::Ended;
    }
    return Hold::Goes;
}

// Held as long as the device's clock says, or the real one where a test holds the other.
Hold AwaitHold(POINT down, DWORD begin, Clock::time_point end) {
    HostCall call;
    Hold result = Hold::Goes;
    Thread& self = CurrentThread();
    WaitScope scope(self, {});
    const bool told = scope.Hold(end, [&](Clock::time_point&) {
        result = LookAtPress(down);
        if (result == Hold::Goes && GetTickCount() - begin >= kHoldTime) result = Hold::Held;
        return result != Hold::Goes || HasSends(self.threadId);
    });
    return told ? result : Hold::Held;
}

} // namespace
} // namespace plat

using namespace plat;

DWORD SHRecognizeGesture(SHRGINFO* info) {
    if (!info || info->cbSize != sizeof *info) return SetLastError(ERROR_INVALID_PARAMETER), 0;
    POINT down = info->ptDown;
    if (!ClientToScreen(info->hwndClient, &down)) return 0;
    const DWORD begin = GetTickCount();
    const auto end = Clock::now() + std::chrono::milliseconds(kHoldTime);
    for (;;) {
        const Hold hold = AwaitHold(down, begin, end);
        if (hold != Hold::Goes) return hold == Hold::Held ? GN_CONTEXTMENU : 0;
        ServeOneSend();
    }
}

BOOL GesturesSupported() {
    HostCall call;
    Gestures& gestures = TheGestures();
    std::lock_guard lock(gestures.lock);
    return gestures.supported;
}

void PlatEnableGestures(bool supported) {
    HostCall call;
    Gestures& gestures = TheGestures();
    std::lock_guard lock(gestures.lock);
    gestures.supported = supported;
}

BOOL EnableGestures(HWND window, BOOL enable) {
    HostCall call;
    return WithWindow(window, [enable](Window& found) { return found.wantsGestures = enable != 0, TRUE; })
        .value_or(FALSE);
}

BOOL GetGestureInfo(HGESTUREINFO handle, GESTUREINFO* info) {
    HostCall call;
    if (!info || info->cbSize != sizeof *info) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    Gestures& gestures = TheGestures();
    std::lock_guard lock(gestures.lock);
    const GESTUREINFO* found = gestures.infos.Find(NumberOf(handle));
    if (!found) return SetLastError(ERROR_INVALID_HANDLE), FALSE;
    *info = *found;
    return TRUE;
}

bool PlatGesture(int x, int y, ULONGLONG direction) {
    HostCall call;
    const DWORD now = GetTickCount();
    if (!GesturesSupported()) return false;
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    if (desktop.drag.window) return false; // a scroll bar follows the pointer
    const HWND target = desktop.capture ? desktop.capture : PlaceOf(desktop, {x, y}).window;
    const Window* window = desktop.Find(target);
    Queue* queue = desktop.QueueOfWindow(target);
    if (!window || !queue || !window->wantsGestures) return false;
    InputRecord input{InputRecord::Kind::Message, WM_GESTURE, GID_SCROLL};
    input.lParam = reinterpret_cast<LPARAM>(
        Keep({sizeof(GESTUREINFO), 0, GID_SCROLL, target, {x, y}, 0, 0, direction, 0}));
    input.window = target;
    input.time = now;
    input.point = {x, y};
    input.keys = desktop.keys;
    queue->input.push_back(input);
    queue->thread->waker.Wake();
    return true;
}

BYTE SHGetAppKeyAssoc(LPCWSTR) {
    HostCall call;
    return 0;
}
