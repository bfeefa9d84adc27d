// Scroll bars under the pointer, and the windows of the class "SCROLLBAR".
#include "Platform/host/scene.h"
#include "Platform/host/scrollbars.h"

namespace plat {
namespace {

using Part = BarDrag::Part;

constexpr ULONG_PTR kRepeatTimer = 0xFFFFFFF0;
constexpr UINT kFirstRepeat = 400; // milliseconds
constexpr UINT kNextRepeat = 50;

// Whom a bar tells, and how.
struct Teller {
    HWND receiver = nullptr;
    UINT message = 0;
    HWND control = nullptr;

    void Tell(int code, int position = 0) const {
        if (receiver)
            SendMessageW(receiver, message, MAKELPARAM(static_cast<WORD>(code), static_cast<WORD>(position)),
                         reinterpret_cast<LPARAM>(control));
    }
};

// Under the desktop's lock.
Teller TellerOf(Desktop& desktop, HWND handle, int bar) {
    const Window* window = desktop.Find(handle);
    if (!window) return {};
    if (bar != SB_CTL) return {handle, bar == SB_VERT ? WM_VSCROLL : WM_HSCROLL, nullptr};
    return {window->parent, window->Is(SBS_VERT) ? WM_VSCROLL : WM_HSCROLL, handle};
}

int CodeOf(Part part) {
    switch (part) {
    case Part::LineUp:
        return SB_LINEUP;
    case Part::LineDown:
        return SB_LINEDOWN;
    case Part::PageUp:
        return SB_PAGEUP;
    default:
        return SB_PAGEDOWN;
    }
}

// Under a SceneLock.
void Repaint(Desktop& desktop, HWND handle, int bar) {
    if (const Window* window = desktop.Find(handle))
        PaintBar(desktop, *window, bar,
                 VisibleArea(desktop, *window, bar == SB_CTL ? Area::Client : Area::Window));
}

// What the pressed arrow or track says now; nothing while the pointer has left it.
std::optional<std::pair<Teller, int>> Repeated(HWND handle) {
    HostCall call;
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    const BarDrag& drag = desktop.drag;
    const Window* window = desktop.Find(drag.window);
    if (!window || drag.window != handle) return std::nullopt;
    const auto layout = LayoutOf(desktop, *window, drag.bar);
    if (!layout || !layout->Holds(desktop.cursor) || layout->PartAt(desktop.cursor) != drag.part)
        return std::nullopt;
    return std::pair(TellerOf(desktop, drag.window, drag.bar), CodeOf(drag.part));
}

bool IsPressed(HWND window) {
    HostCall call;
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    return desktop.drag.window == window && desktop.Find(window) != nullptr;
}

void Repeat(HWND window, UINT, ULONG_PTR id, DWORD) {
    const auto what = Repeated(window);
    if (what) what->first.Tell(what->second);
    if (IsPressed(window))
        SetTimer(window, id, kNextRepeat, &Repeat); // who was told may have ended the press
}

struct Pressed {
    Part part = Part::None;
    Teller teller;
};

Pressed BeginPress(HWND handle, int bar, POINT point) {
    HostCall call;
    SceneLock lock;
    Desktop& desktop = TheDesktop();
    const Window* window = desktop.Find(handle);
    const auto layout = window ? LayoutOf(desktop, *window, bar) : std::nullopt;
    if (!layout || layout->thumbLength == 0) return {};
    const Part part = layout->PartAt(point);
    const int position = window->bars[static_cast<std::size_t>(bar)].position;
    desktop.drag = {handle, bar, part, layout->Along(point) - layout->thumb, position};
    Repaint(desktop, handle, bar);
    return {part, TellerOf(desktop, handle, bar)};
}

// The new position of the thumb; nothing when it stays.
std::optional<std::pair<Teller, int>> MoveThumb(POINT point) {
    HostCall call;
    SceneLock lock;
    Desktop& desktop = TheDesktop();
    BarDrag& drag = desktop.drag;
    const Window* window = desktop.Find(drag.window);
    if (!window || drag.part != Part::Thumb) return std::nullopt;
    const auto layout = LayoutOf(desktop, *window, drag.bar);
    if (!layout) return std::nullopt;
    const int position = layout->PositionAt(window->bars[static_cast<std::size_t>(drag.bar)],
                                            layout->Along(point) - drag.grip);
    if (std::exchange(drag.track, position) == position) return std::nullopt;
    Repaint(desktop, drag.window, drag.bar);
    return std::pair(TellerOf(desktop, drag.window, drag.bar), position);
}

} // namespace

void PressBar(HWND window, int bar, POINT onScreen) {
    const Pressed pressed = BeginPress(window, bar, onScreen);
    if (pressed.part == Part::None || pressed.part == Part::Thumb) return;
    pressed.teller.Tell(CodeOf(pressed.part));
    if (IsPressed(window)) SetTimer(window, kRepeatTimer, kFirstRepeat, &Repeat);
}

void DragBar(POINT onScreen) {
    if (const auto moved = MoveThumb(onScreen)) moved->first.Tell(SB_THUMBTRACK, moved->second);
}

void ReleaseBar() {
    BarDrag drag;
    Teller teller;
    {
        HostCall call;
        Desktop& desktop = TheDesktop();
        std::lock_guard lock(desktop.lock);
        drag = desktop.drag;
        teller = TellerOf(desktop, drag.window, drag.bar);
    }
    if (!drag.window) return;
    KillTimer(drag.window, kRepeatTimer);
    // The position can still be asked for while it is told.
    if (drag.part == Part::Thumb) teller.Tell(SB_THUMBPOSITION, drag.track);
    {
        HostCall call;
        SceneLock lock;
        Desktop& desktop = TheDesktop();
        desktop.drag = {};
        Repaint(desktop, drag.window, drag.bar);
    }
    teller.Tell(SB_ENDSCROLL);
}

// --- Windows that are bars ----------------------------------------------------------------------------------------

namespace {

POINT ScreenPoint(HWND window, LPARAM lParam) {
    POINT point{static_cast<SHORT>(LOWORD(static_cast<ULONG_PTR>(lParam))),
                static_cast<SHORT>(HIWORD(static_cast<ULONG_PTR>(lParam)))};
    ClientToScreen(window, &point);
    return point;
}

void BecomeBar(HWND window) {
    HostCall call;
    WithWindow(window, [](Window& found) { return found.isScrollBar = true; });
}

void PaintControl(HWND window) {
    HostCall call;
    SceneLock lock;
    Desktop& desktop = TheDesktop();
    Window* found = desktop.Find(window);
    if (!found) return;
    Repaint(desktop, window, SB_CTL);
    found->update = Region();
}

} // namespace

LRESULT ScrollBarProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_CREATE:
        return BecomeBar(window), 0;
    case WM_PAINT:
        return PaintControl(window), 0;
    case WM_LBUTTONDOWN:
        SetCapture(window);
        return PressBar(window, SB_CTL, ScreenPoint(window, lParam)), 0;
    case WM_MOUSEMOVE:
        return DragBar(ScreenPoint(window, lParam)), 0;
    case WM_LBUTTONUP:
        if (GetCapture() == window) ReleaseCapture();
        return 0;
    case WM_CAPTURECHANGED:
        return ReleaseBar(), 0;
    default:
        return DefWindowProcW(window, message, wParam, lParam);
    }
}

} // namespace plat
