// Input as it comes, its way to a thread, and what message it becomes there.
#include "Platform/host/inputqueue.h"

#include "Platform/clock.h"
#include "Platform/host/scene.h"
#include "Platform/host/scrollbars.h"

#include <cstdlib>

namespace plat {
namespace {

constexpr std::size_t kMostInput = 10000;
constexpr DWORD kDoubleClickTime = 500; // milliseconds
constexpr int kDoubleClickWay = 4;      // pixels at 96 dots an inch

bool Inside(const RECT& rect, POINT point) {
    return point.x >= rect.left && point.x < rect.right && point.y >= rect.top && point.y < rect.bottom;
}

// `point` in the client area of `parent`. A disabled child is passed over; what stands behind it gets the pointer.
PointerPlace PlaceUnder(Desktop& desktop, const Window& parent, POINT point) {
    for (const HWND handle : parent.children) {
        const Window* child = desktop.Find(handle);
        if (!child->Is(WS_VISIBLE) || !Inside(child->rect, point)) continue;
        if (child->Is(WS_DISABLED)) {
            if (parent.handle == desktop.root) return {}; // a dialog above it keeps it shut
            continue;
        }
        const POINT own{point.x - child->rect.left, point.y - child->rect.top};
        if (!Inside(child->client, own)) return {handle, false};
        const PointerPlace deeper =
            PlaceUnder(desktop, *child, {own.x - child->client.left, own.y - child->client.top});
        return deeper.window ? deeper : PointerPlace{handle, true};
    }
    return {};
}

// Keys go to the focus of the active window's thread.
HWND KeyTarget(Desktop& desktop) {
    const Queue* queue = desktop.QueueOfWindow(desktop.foreground);
    if (!queue) return nullptr;
    return queue->focus ? queue->focus : queue->active;
}

struct Target {
    HWND window = nullptr;
    bool host = false; // a scroll bar of a window, or its border
};

Target TargetOf(Desktop& desktop, const InputRecord& input) {
    switch (input.kind) {
    case InputRecord::Kind::Message:
        return {desktop.Find(input.window) ? input.window : nullptr, false};
    case InputRecord::Kind::Key:
    case InputRecord::Kind::Character:
        return {KeyTarget(desktop), false};
    case InputRecord::Kind::Pointer:
        break;
    }
    if (desktop.drag.window && desktop.drag.bar != SB_CTL) return {desktop.drag.window, true};
    if (desktop.capture) return {desktop.capture, false};
    const PointerPlace place = PlaceOf(desktop, input.point);
    return {place.window, !place.client};
}

bool IsButton(const InputRecord& input) {
    return input.kind == InputRecord::Kind::Pointer && input.message != WM_MOUSEMOVE;
}

// Only the newest move within one window waits, unless the button was pressed or released behind it.
void DropOlderMove(Queue& queue, const InputRecord& input) {
    for (auto at = queue.input.rbegin(); at != queue.input.rend() && !IsButton(*at); ++at)
        if (at->message == WM_MOUSEMOVE && at->window == input.window) {
            queue.input.erase(std::next(at).base());
            return;
        }
}

void Push(Desktop& desktop, InputRecord input) {
    input.point = desktop.cursor;
    input.keys = desktop.keys;
    if (input.kind == InputRecord::Kind::Pointer) input.window = PlaceOf(desktop, input.point).window;
    Queue* queue = desktop.QueueOfWindow(TargetOf(desktop, input).window);
    if (!queue) return;
    if (input.message == WM_MOUSEMOVE) DropOlderMove(*queue, input);
    if (queue->input.size() >= kMostInput) return;
    queue->input.push_back(input);
    queue->thread->waker.Wake();
}

void PushPointer(Desktop& desktop, UINT message, DWORD time, bool held = false) {
    if (message != WM_MOUSEMOVE) desktop.keys.set(VK_LBUTTON, message == WM_LBUTTONDOWN);
    InputRecord input{InputRecord::Kind::Pointer, message};
    input.time = time;
    input.held = held;
    Push(desktop, input);
}

void PushCharacter(Desktop& desktop, WCHAR unit, DWORD time) {
    InputRecord input{InputRecord::Kind::Character, WM_CHAR, unit, 1};
    input.time = time;
    Push(desktop, input);
}

// A message as the window gets it.
MSG MessageOf(Desktop& desktop, const InputRecord& input, HWND window) {
    MSG message{window, input.message, input.wParam, input.lParam, input.time, input.point};
    if (input.kind != InputRecord::Kind::Pointer) return message;
    message.wParam = (input.keys[VK_LBUTTON] ? MK_LBUTTON : 0) | (input.held ? MK_RBUTTON : 0) |
                     (input.keys[VK_SHIFT] ? MK_SHIFT : 0) | (input.keys[VK_CONTROL] ? MK_CONTROL : 0);
    const Window* target = desktop.Find(window);
    const POINT origin = OriginOf(desktop, target);
    message.lParam = PairOf(input.point.x - origin.x, input.point.y - origin.y);
    const Press& last = desktop.lastPress;
    const int way = desktop.Scaled(kDoubleClickWay);
    if (input.message == WM_LBUTTONDOWN && !input.held && last.window == window &&
        (target->windowClass->data.style & CS_DBLCLKS) && input.time - last.time <= kDoubleClickTime &&
        std::abs(input.point.x - last.point.x) <= way && std::abs(input.point.y - last.point.y) <= way)
        message.message = WM_LBUTTONDBLCLK;
    return message;
}

// The thread's view of keys and pointer follows what it takes out.
void Follow(Desktop& desktop, Queue& queue, const InputRecord& input, const MSG& message) {
    queue.keys = input.keys;
    if (!IsButton(input)) return;
    queue.held = input.held;
    if (message.message == WM_LBUTTONDOWN)
        desktop.lastPress = {message.hwnd, input.point, input.time};
    else if (message.message == WM_LBUTTONDBLCLK)
        desktop.lastPress = {};
}

} // namespace

PointerPlace PlaceOf(Desktop& desktop, POINT onScreen) {
    return PlaceUnder(desktop, *desktop.Find(desktop.root), onScreen);
}

TakenInput TakeInput(Desktop& desktop, Queue& queue, const MessageFilter& filter, TakeMode mode, MSG& message,
                     InputRecord& host) {
    for (auto at = queue.input.begin(); at != queue.input.end();) {
        const Target target = TargetOf(desktop, *at);
        Queue* owner = desktop.QueueOfWindow(target.window);
        if (owner != &queue) {
            if (owner) {
                owner->input.push_back(*at);
                owner->thread->waker.Wake();
            }
            at = queue.input.erase(at);
            continue;
        }
        if (target.host) {
            host = *at;
            host.window = target.window;
            if (mode != TakeMode::Look) {
                queue.keys = at->keys;
                queue.input.erase(at);
            }
            return TakenInput::Host;
        }
        message = MessageOf(desktop, *at, target.window);
        if (filter.Fits(desktop, message)) {
            if (mode == TakeMode::Remove) {
                Follow(desktop, queue, *at, message);
                queue.input.erase(at);
            }
            return TakenInput::Message;
        }
        ++at;
    }
    return TakenInput::None;
}

void WorkScrollBar(const InputRecord& input) {
    if (input.message == WM_MOUSEMOVE) return DragBar(input.point);
    if (input.message == WM_LBUTTONUP) return ReleaseBar();
    int bar;
    {
        HostCall call;
        Desktop& desktop = TheDesktop();
        std::lock_guard lock(desktop.lock);
        const Window* window = desktop.Find(input.window);
        bar = window ? BarAt(desktop, *window, input.point) : -1;
    }
    ActivateByPress(input.window);
    if (bar >= 0) PressBar(input.window, bar, input.point);
}

void ActivateByPress(HWND window) {
    HWND top;
    {
        HostCall call;
        const DWORD self = GetCurrentThreadId();
        Desktop& desktop = TheDesktop();
        std::lock_guard lock(desktop.lock);
        top = desktop.TopLevelOf(window);
        const Window* found = desktop.Find(top);
        const Queue* queue = desktop.FindQueue(self);
        const bool active = queue && queue->active == top && desktop.foreground == top;
        if (!found || found->threadId != self || active || found->Is(WS_DISABLED) || found->dying) return;
    }
    SetActiveWindow(top);
}

} // namespace plat

using namespace plat;

// --- What the person does -----------------------------------------------------------------------------------------

void PlatPointer(PlatPointerAction action, int x, int y) {
    HostCall call;
    const DWORD now = GetTickCount();
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    desktop.cursor = {x, y};
    switch (action) {
    case PlatPointerAction::Move:
        return PushPointer(desktop, WM_MOUSEMOVE, now);
    case PlatPointerAction::Down:
        return PushPointer(desktop, WM_LBUTTONDOWN, now);
    case PlatPointerAction::HoldDown: // the first press selects what the second one is held on
        PushPointer(desktop, WM_LBUTTONDOWN, now);
        PushPointer(desktop, WM_LBUTTONUP, now);
        return PushPointer(desktop, WM_LBUTTONDOWN, now, true);
    case PlatPointerAction::Up:
    case PlatPointerAction::HoldUp:
        return PushPointer(desktop, WM_LBUTTONUP, now);
    }
}

void PlatWheel(int x, int y, int notches) {
    HostCall call;
    constexpr int kLinesEach = 3, kMostNotches = 100;
    const DWORD now = GetTickCount();
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    desktop.cursor = {x, y};
    notches = std::clamp(notches, -kMostNotches, kMostNotches);
    const HWND hit = PlaceOf(desktop, desktop.cursor).window;
    const Window* scrolled = desktop.Find(hit);
    while (scrolled && !scrolled->Is(WS_VSCROLL)) scrolled = desktop.Find(scrolled->parent);
    InputRecord input{InputRecord::Kind::Message, WM_MOUSEWHEEL};
    input.time = now;
    input.window = scrolled ? scrolled->handle : hit;
    if (!scrolled) {
        input.wParam = static_cast<WPARAM>(MAKELPARAM(0, static_cast<WORD>(notches * 120)) & 0xFFFFFFFF);
        input.lParam = PairOf(x, y);
        return Push(desktop, input);
    }
    input.message = WM_VSCROLL;
    input.wParam = static_cast<WPARAM>(notches > 0 ? SB_LINEUP : SB_LINEDOWN);
    for (int i = 0; i < std::abs(notches) * kLinesEach; ++i) Push(desktop, input);
}

void PlatKey(int key, bool down) {
    HostCall call;
    if (key < 0 || key > 255) return;
    const auto code = static_cast<std::size_t>(key);
    const DWORD now = GetTickCount();
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    const bool before = desktop.keys[code];
    desktop.keys.set(code, down);
    const bool alt = desktop.keys[VK_MENU], system = alt || key == VK_MENU;
    DWORD flags = 1 | (alt ? KF_KEY_ALTDOWN : 0);
    if (down)
        flags |= before ? KF_KEY_REPEATED : 0;
    else
        flags |= KF_KEY_REPEATED | KF_KEY_UP;
    const UINT message = down ? (system ? WM_SYSKEYDOWN : WM_KEYDOWN) : (system ? WM_SYSKEYUP : WM_KEYUP);
    InputRecord input{InputRecord::Kind::Key, message, code, static_cast<LPARAM>(flags)};
    input.time = now;
    Push(desktop, input);
    const bool makesCharacter = key == VK_BACK || key == VK_TAB || key == VK_RETURN || key == VK_ESCAPE;
    if (down && !system && makesCharacter) PushCharacter(desktop, static_cast<WCHAR>(key), now);
}

void PlatText(LPCWSTR text) {
    HostCall call;
    const DWORD now = GetTickCount();
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    for (const WCHAR unit : TextOf(text)) PushCharacter(desktop, unit, now);
}

void PlatLoseInput() {
    HostCall call;
    const DWORD now = GetTickCount();
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    desktop.keys.reset();
    InputRecord input{InputRecord::Kind::Message, WM_CANCELMODE};
    input.time = now;
    input.window = desktop.capture       ? desktop.capture
                   : desktop.drag.window ? desktop.drag.window
                                         : KeyTarget(desktop);
    Push(desktop, input);
}
