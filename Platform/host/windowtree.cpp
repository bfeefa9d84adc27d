// Where windows stand: parents, order, places, and which of them is shown, enabled and active.
#include "Platform/host/desktop.h"
#include "Platform/threads.h"

#include <algorithm>

namespace plat {
namespace {

// Under the desktop's lock: the place of a window's client area on the screen.
POINT OriginOf(Desktop& desktop, const Window* window) {
    POINT origin{0, 0};
    for (; window; window = desktop.Find(window->parent)) {
        origin.x += window->rect.left;
        origin.y += window->rect.top;
    }
    return origin;
}

// The siblings of a window, itself included; null for a message-only one.
std::vector<HWND>* SiblingsOf(Desktop& desktop, const Window& window) {
    Window* parent = desktop.ParentOf(window);
    return parent ? &parent->children : nullptr;
}

void PlaceBehind(Desktop& desktop, const Window& window, HWND after) {
    auto* siblings = SiblingsOf(desktop, window);
    if (!siblings) return;
    std::erase(*siblings, window.handle);
    auto place = siblings->begin();
    if (after == HWND_BOTTOM)
        place = siblings->end();
    else if (const auto found = std::ranges::find(*siblings, after); found != siblings->end())
        place = found + 1;
    siblings->insert(place, window.handle);
}

HWND AtStep(const std::vector<HWND>& siblings, HWND window, int step) {
    const auto at = std::ranges::find(siblings, window);
    if (at == siblings.end()) return nullptr;
    const auto index = at - siblings.begin() + step;
    return index >= 0 && index < std::ssize(siblings) ? siblings[static_cast<std::size_t>(index)] : nullptr;
}

bool Inside(const RECT& rect, POINT point) {
    return point.x >= rect.left && point.x < rect.right && point.y >= rect.top && point.y < rect.bottom;
}

// `point` in the client area of `parent`.
HWND Topmost(Desktop& desktop, const Window& parent, POINT point) {
    for (const HWND handle : parent.children) {
        const Window* child = desktop.Find(handle);
        if (!child || !child->Is(WS_VISIBLE) || !Inside(child->rect, point)) continue;
        const HWND deeper = Topmost(desktop, *child, {point.x - child->rect.left, point.y - child->rect.top});
        return deeper ? deeper : handle;
    }
    return nullptr;
}

template<class F>
auto WithDesktop(F read) {
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    return read(desktop);
}

// The shift from the client area of one window to that of another.
std::optional<POINT> ShiftBetween(HWND from, HWND to) {
    return WithDesktop([&](Desktop& desktop) -> std::optional<POINT> {
        const Window* source = desktop.Find(from);
        const Window* target = desktop.Find(to);
        if ((from && !source) || (to && !target))
            return SetLastError(ERROR_INVALID_WINDOW_HANDLE), std::nullopt;
        const POINT a = OriginOf(desktop, source), b = OriginOf(desktop, target);
        return POINT{a.x - b.x, a.y - b.y};
    });
}

// A style bit set or cleared: whether it was set before; nothing for no window.
std::optional<bool> ChangeStyle(HWND window, DWORD bit, bool set) {
    HostCall call;
    return WithWindow(window, [&](Window& found) {
        const bool before = found.Is(bit);
        found.style = set ? found.style | bit : found.style & ~bit;
        return before;
    });
}

// `point` of one client area in that of another; false when `asked`, which may not be the screen, is no window.
bool MovePoint(HWND from, HWND to, HWND asked, POINT* point) {
    HostCall call;
    const auto shift = ShiftBetween(from, to);
    if (!asked) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    if (!asked || !shift || !point) return false;
    *point = {point->x + shift->x, point->y + shift->y};
    return true;
}

struct Change {
    bool moved = false;
    bool sized = false;
    RECT rect{};
};

std::optional<Change> Place(HWND window, HWND after, const RECT& asked, UINT flags) {
    HostCall call;
    return WithDesktop([&](Desktop& desktop) -> std::optional<Change> {
        Window* found = desktop.Find(window);
        if (!found) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), std::nullopt;
        if (!(flags & SWP_NOZORDER)) PlaceBehind(desktop, *found, after);
        const RECT old = found->rect;
        const bool keepPlace = flags & SWP_NOMOVE, keepSize = flags & SWP_NOSIZE;
        const LONG oldWidth = old.right - old.left, oldHeight = old.bottom - old.top;
        const RECT now = RectAt(keepPlace ? old.left : asked.left, keepPlace ? old.top : asked.top,
                                keepSize ? oldWidth : asked.right, keepSize ? oldHeight : asked.bottom);
        found->rect = now;
        return Change{now.left != old.left || now.top != old.top,
                      now.right - now.left != oldWidth || now.bottom - now.top != oldHeight, now};
    });
}

LPARAM PairOf(LONG low, LONG high) { return MAKELPARAM(static_cast<WORD>(low), static_cast<WORD>(high)); }

} // namespace
} // namespace plat

// --- Parents and order --------------------------------------------------------------------------------------------

BOOL IsChild(HWND parent, HWND window) {
    plat::HostCall call;
    return plat::WithDesktop([&](plat::Desktop& desktop) { return desktop.StandsUnder(window, parent); });
}

HWND GetParent(HWND window) {
    plat::HostCall call;
    return plat::WithWindow(
               window, [](plat::Window& found) { return found.Is(WS_CHILD) ? found.parent : found.owner; })
        .value_or(nullptr);
}

HWND SetParent(HWND window, HWND parent) {
    plat::HostCall call;
    return plat::WithDesktop([&](plat::Desktop& desktop) -> HWND {
        plat::Window* child = desktop.Find(window);
        const HWND target = parent ? parent : desktop.root;
        plat::Window* above = desktop.Find(target);
        if (!child || !above) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), nullptr;
        if (target == window || window == desktop.root || desktop.StandsUnder(target, window))
            return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
        const HWND former = child->parent;
        if (plat::Window* old = desktop.ParentOf(*child)) std::erase(old->children, window);
        child->parent = target;
        above->children.insert(above->children.begin(), window);
        return former;
    });
}

HWND GetWindow(HWND window, UINT relation) {
    plat::HostCall call;
    return plat::WithDesktop([&](plat::Desktop& desktop) -> HWND {
        const plat::Window* found = desktop.Find(window);
        if (!found) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), nullptr;
        if (relation == GW_OWNER) return found->owner;
        if (relation == GW_CHILD) return found->children.empty() ? nullptr : found->children.front();
        const auto* siblings = plat::SiblingsOf(desktop, *found);
        if (!siblings) return nullptr;
        switch (relation) {
        case GW_HWNDFIRST:
            return siblings->front();
        case GW_HWNDLAST:
            return siblings->back();
        case GW_HWNDNEXT:
            return plat::AtStep(*siblings, window, 1);
        case GW_HWNDPREV:
            return plat::AtStep(*siblings, window, -1);
        default:
            return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
        }
    });
}

HWND GetDesktopWindow() {
    plat::HostCall call;
    return plat::WithDesktop([](plat::Desktop& desktop) { return desktop.root; });
}

HWND GetDlgItem(HWND parent, int id) {
    plat::HostCall call;
    return plat::WithDesktop([&](plat::Desktop& desktop) -> HWND {
        const plat::Window* found = desktop.Find(parent);
        if (!found) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), nullptr;
        for (const HWND child : found->children)
            if (desktop.Find(child)->id == id) return child;
        return nullptr;
    });
}

int GetDlgCtrlID(HWND window) {
    plat::HostCall call;
    return plat::WithWindow(window, [](plat::Window& found) { return static_cast<int>(found.id); })
        .value_or(0);
}

// --- Active -------------------------------------------------------------------------------------------------------

HWND GetActiveWindow() {
    plat::HostCall call;
    const DWORD self = GetCurrentThreadId();
    return plat::WithDesktop([&](plat::Desktop& desktop) -> HWND {
        const plat::Queue* queue = desktop.FindQueue(self);
        return queue ? queue->active : nullptr;
    });
}

HWND SetActiveWindow(HWND window) {
    HWND former = nullptr;
    {
        plat::HostCall call;
        const auto self = plat::CurrentThreadObject();
        plat::Desktop& desktop = plat::TheDesktop();
        std::lock_guard lock(desktop.lock);
        const plat::Window* found = desktop.Find(window);
        if (window && (!found || found->threadId != self->threadId))
            return SetLastError(ERROR_INVALID_WINDOW_HANDLE), nullptr;
        former = std::exchange(desktop.QueueOf(self).active, window);
        if (window) desktop.foreground = window;
    }
    if (former == window) return former;
    if (former) SendMessageW(former, WM_ACTIVATE, 0, reinterpret_cast<LPARAM>(window));
    if (window) SendMessageW(window, WM_ACTIVATE, 1, reinterpret_cast<LPARAM>(former));
    return former;
}

HWND GetForegroundWindow() {
    plat::HostCall call;
    return plat::WithDesktop([](plat::Desktop& desktop) { return desktop.foreground; });
}

BOOL SetForegroundWindow(HWND window) {
    if (GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId()) {
        SetActiveWindow(window);
        return TRUE;
    }
    plat::HostCall call;
    return plat::WithDesktop([&](plat::Desktop& desktop) -> BOOL {
        if (!desktop.Find(window)) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
        desktop.foreground = window;
        return TRUE;
    });
}

// --- Shown and enabled --------------------------------------------------------------------------------------------

BOOL EnableWindow(HWND window, BOOL enable) {
    const auto wasDisabled = plat::ChangeStyle(window, WS_DISABLED, !enable);
    if (wasDisabled && *wasDisabled == (enable != 0)) SendMessageW(window, WM_ENABLE, enable != 0, 0);
    return wasDisabled.value_or(false);
}

BOOL IsWindowEnabled(HWND window) {
    plat::HostCall call;
    return plat::WithWindow(window, [](plat::Window& found) { return !found.Is(WS_DISABLED); })
        .value_or(false);
}

BOOL IsWindowVisible(HWND window) {
    plat::HostCall call;
    return plat::WithDesktop([&](plat::Desktop& desktop) {
        const plat::Window* found = desktop.Find(window);
        if (!found) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        while (found && found->Is(WS_VISIBLE) && found->handle != desktop.root)
            found = desktop.Find(found->parent);
        return found && found->handle == desktop.root;
    });
}

BOOL ShowWindow(HWND window, int command) {
    const bool show = command != SW_HIDE;
    const auto before = plat::ChangeStyle(window, WS_VISIBLE, show);
    if (before && *before != show) SendMessageW(window, WM_SHOWWINDOW, show, 0);
    return before.value_or(false);
}

// --- Places -------------------------------------------------------------------------------------------------------

BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags) {
    const auto change = plat::Place(window, after, {x, y, width, height}, flags);
    if (!change) return FALSE;
    const RECT& rect = change->rect;
    if (change->moved) SendMessageW(window, WM_MOVE, 0, plat::PairOf(rect.left, rect.top));
    if (change->sized)
        SendMessageW(window, WM_SIZE, 0, plat::PairOf(rect.right - rect.left, rect.bottom - rect.top));
    if (flags & (SWP_SHOWWINDOW | SWP_HIDEWINDOW))
        ShowWindow(window, flags & SWP_SHOWWINDOW ? SW_SHOW : SW_HIDE);
    return TRUE;
}

BOOL MoveWindow(HWND window, int x, int y, int width, int height, BOOL) {
    return SetWindowPos(window, nullptr, x, y, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

BOOL BringWindowToTop(HWND window) {
    return SetWindowPos(window, HWND_TOP, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE);
}

BOOL GetWindowRect(HWND window, RECT* rect) {
    plat::HostCall call;
    if (!rect) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    const PlatScreen screen = PlatGetScreen();
    return plat::WithDesktop([&](plat::Desktop& desktop) -> BOOL {
        const plat::Window* found = desktop.Find(window);
        if (!found) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
        if (window == desktop.root) return *rect = {0, 0, screen.width, screen.height}, TRUE;
        const POINT origin = plat::OriginOf(desktop, found);
        *rect = {origin.x, origin.y, origin.x + found->rect.right - found->rect.left,
                 origin.y + found->rect.bottom - found->rect.top};
        return TRUE;
    });
}

BOOL GetClientRect(HWND window, RECT* rect) {
    if (!GetWindowRect(window, rect)) return FALSE;
    *rect = {0, 0, rect->right - rect->left, rect->bottom - rect->top};
    return TRUE;
}

BOOL ClientToScreen(HWND window, POINT* point) { return plat::MovePoint(window, nullptr, window, point); }
BOOL ScreenToClient(HWND window, POINT* point) { return plat::MovePoint(nullptr, window, window, point); }

int MapWindowPoints(HWND from, HWND to, POINT* points, UINT count) {
    plat::HostCall call;
    const auto shift = plat::ShiftBetween(from, to);
    if (!shift || !points) return 0;
    for (UINT i = 0; i < count; ++i) points[i] = {points[i].x + shift->x, points[i].y + shift->y};
    return static_cast<int>(plat::PairOf(shift->x, shift->y));
}

HWND WindowFromPoint(POINT point) {
    plat::HostCall call;
    return plat::WithDesktop([&](plat::Desktop& desktop) -> HWND {
        return plat::Topmost(desktop, *desktop.Find(desktop.root), point);
    });
}
