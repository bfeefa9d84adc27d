// Where windows stand: parents, order, places, and which of them is shown, enabled and active.
#include "Platform/host/desktop.h"
#include "Platform/host/scene.h"
#include "Platform/host/surface.h"
#include "Platform/threads.h"

#include <algorithm>

namespace plat {
namespace {

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

// What is hidden is not painted; when it shows again, all of it is.
void DropUpdates(Desktop& desktop, Window& window) {
    window.update = Region();
    window.erase = window.paintAsked = false;
    for (const HWND child : window.children) DropUpdates(desktop, *desktop.Find(child));
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
    RECT client{}; // in the parent's
};

RECT ClientInParent(const Window& window) { return Moved(window.client, window.rect.left, window.rect.top); }

std::optional<Change> Place(HWND handle, HWND after, const RECT& asked, UINT flags) {
    HostCall call;
    SceneLock lock;
    Desktop& desktop = TheDesktop();
    Window* window = desktop.Find(handle);
    if (!window) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), std::nullopt;
    const RECT old = window->rect, oldClient = ClientInParent(*window);
    ChangeScene(desktop, *window, !(flags & SWP_NOREDRAW), [&](Window& changed) {
        if (!(flags & SWP_NOZORDER)) PlaceBehind(desktop, changed, after);
        const bool keepPlace = flags & SWP_NOMOVE, keepSize = flags & SWP_NOSIZE;
        changed.rect = RectAt(keepPlace ? old.left : asked.left, keepPlace ? old.top : asked.top,
                              keepSize ? WidthOf(old) : asked.right, keepSize ? HeightOf(old) : asked.bottom);
        const bool sized = WidthOf(changed.rect) != WidthOf(old) || HeightOf(changed.rect) != HeightOf(old);
        if (sized || (flags & SWP_FRAMECHANGED)) changed.client = ClientInside(desktop, changed);
        return !EqualRect(&changed.rect, &old) || (flags & SWP_FRAMECHANGED) != 0;
    });
    const RECT client = ClientInParent(*window);
    return Change{client.left != oldClient.left || client.top != oldClient.top,
                  WidthOf(client) != WidthOf(oldClient) || HeightOf(client) != HeightOf(oldClient), client};
}

// Whether a window was shown before; nothing for no window.
std::optional<bool> SetShown(HWND handle, bool show) {
    HostCall call;
    SceneLock lock;
    Desktop& desktop = TheDesktop();
    Window* window = desktop.Find(handle);
    if (!window) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), std::nullopt;
    const bool before = window->Is(WS_VISIBLE);
    ChangeScene(desktop, *window, true, [show](Window& changed) {
        changed.style = show ? changed.style | WS_VISIBLE : changed.style & ~WS_VISIBLE;
        return false;
    });
    if (!show) DropUpdates(desktop, *window);
    return before;
}

// Shown or hidden, told, and whoever is to be active made so.
bool Show(HWND window, bool show, bool activate) {
    const HWND next = show ? nullptr : NextActive(window);
    const auto before = SetShown(window, show);
    if (before && *before != show) SendMessageW(window, WM_SHOWWINDOW, show, 0);
    if (before && show && activate) ActivateShown(window);
    if (before && next) SetActiveWindow(next);
    return before.value_or(false);
}

// A window that is shut lets go of the pointer, or a prompt over it would never get it.
void CancelCaptureIn(HWND window) {
    const HWND capture = GetCapture();
    if (capture && (capture == window || IsChild(window, capture)))
        SendMessageW(capture, WM_CANCELMODE, 0, 0);
}

bool CanBeActive(const Window& window, DWORD threadId) {
    return window.threadId == threadId && window.Is(WS_VISIBLE) && !window.Is(WS_DISABLED) && !window.dying &&
           !(window.exStyle & WS_EX_NOACTIVATE);
}

} // namespace

void ActivateShown(HWND handle) {
    {
        HostCall call;
        const DWORD self = GetCurrentThreadId();
        Desktop& desktop = TheDesktop();
        std::lock_guard lock(desktop.lock);
        const Window* window = desktop.Find(handle);
        if (!window || window->parent != desktop.root || !CanBeActive(*window, self)) return;
    }
    SetActiveWindow(handle);
}

HWND NextActive(HWND handle) {
    HostCall call;
    const DWORD self = GetCurrentThreadId();
    return WithDesktop([&](Desktop& desktop) -> HWND {
        const Window* window = desktop.Find(handle);
        const Queue* queue = desktop.FindQueue(self);
        if (!window || !queue || queue->active != handle) return nullptr;
        if (const Window* owner = desktop.Find(window->owner))
            if (const HWND top = desktop.TopLevelOf(owner->handle); CanBeActive(*desktop.Find(top), self))
                return top;
        for (const HWND other : desktop.Find(desktop.root)->children)
            if (other != handle && CanBeActive(*desktop.Find(other), self)) return other;
        return nullptr;
    });
}

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
    plat::SceneLock lock;
    plat::Desktop& desktop = plat::TheDesktop();
    plat::Window* child = desktop.Find(window);
    const HWND target = parent ? parent : desktop.root;
    plat::Window* above = desktop.Find(target);
    if (!child || !above || above->dying) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), nullptr;
    if (target == window || window == desktop.root || desktop.StandsUnder(target, window))
        return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
    const HWND former = child->parent;
    plat::ChangeScene(desktop, *child, true, [&](plat::Window& changed) {
        if (plat::Window* old = desktop.ParentOf(changed)) std::erase(old->children, window);
        changed.parent = target;
        above->children.insert(above->children.begin(), window);
        return true;
    });
    return former;
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
    if (window) SetWindowPos(window, HWND_TOP, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE);
    if (former) SendMessageW(former, WM_ACTIVATE, 0, reinterpret_cast<LPARAM>(window));
    // The one that lost it may have given it to a third.
    if (window && GetActiveWindow() == window)
        SendMessageW(window, WM_ACTIVATE, 1, reinterpret_cast<LPARAM>(former));
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
    if (!enable) plat::CancelCaptureIn(window);
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
    return plat::Show(window, command != SW_HIDE, command != SW_SHOWNA);
}

// --- Places -------------------------------------------------------------------------------------------------------

BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags) {
    const auto change = plat::Place(window, after, {x, y, width, height}, flags);
    if (!change) return FALSE;
    const RECT& client = change->client;
    if (change->moved) SendMessageW(window, WM_MOVE, 0, plat::PairOf(client.left, client.top));
    if (change->sized)
        SendMessageW(window, WM_SIZE, 0, plat::PairOf(plat::WidthOf(client), plat::HeightOf(client)));
    if (flags & (SWP_SHOWWINDOW | SWP_HIDEWINDOW))
        plat::Show(window, (flags & SWP_SHOWWINDOW) != 0, !(flags & SWP_NOACTIVATE));
    return TRUE;
}

BOOL MoveWindow(HWND window, int x, int y, int width, int height, BOOL repaint) {
    const UINT flags = SWP_NOZORDER | SWP_NOACTIVATE | (repaint ? 0 : SWP_NOREDRAW);
    return SetWindowPos(window, nullptr, x, y, width, height, flags);
}

BOOL BringWindowToTop(HWND window) {
    return SetWindowPos(window, HWND_TOP, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE);
}

BOOL GetWindowRect(HWND window, RECT* rect) {
    plat::HostCall call;
    if (!rect) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    return plat::WithDesktop([&](plat::Desktop& desktop) -> BOOL {
        const plat::Window* found = desktop.Find(window);
        if (!found) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
        return *rect = plat::WindowOnScreen(desktop, *found), TRUE;
    });
}

BOOL GetClientRect(HWND window, RECT* rect) {
    plat::HostCall call;
    if (!rect) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    const auto client = plat::WithWindow(window, [](plat::Window& found) { return found.client; });
    if (!client) return FALSE;
    *rect = {0, 0, plat::WidthOf(*client), plat::HeightOf(*client)};
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
