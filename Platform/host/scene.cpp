#include "Platform/host/scene.h"

#include "Platform/host/gdiobjects.h"
#include "Platform/host/scrollbars.h"

namespace plat {

std::atomic<unsigned> g_scene{1};

std::recursive_mutex& ScreenLock() {
    static std::recursive_mutex& lock = *new std::recursive_mutex;
    return lock;
}

POINT OriginOf(Desktop& desktop, const Window* window) {
    POINT origin{0, 0};
    for (; window; window = desktop.Find(window->parent)) {
        origin.x += window->rect.left + window->client.left;
        origin.y += window->rect.top + window->client.top;
    }
    return origin;
}

RECT WindowOnScreen(Desktop& desktop, const Window& window) {
    const POINT origin = OriginOf(desktop, desktop.Find(window.parent));
    return Moved(window.rect, origin.x, origin.y);
}

RECT ClientInside(const Desktop& desktop, const Window& window) {
    RECT inside{0, 0, WidthOf(window.rect), HeightOf(window.rect)};
    if (window.Is(WS_BORDER)) {
        const int border = desktop.Scaled(1);
        inside = {border, border, inside.right - border, inside.bottom - border};
    }
    if (window.Is(WS_VSCROLL)) inside.right -= desktop.Scaled(kBarPixels);
    if (window.Is(WS_HSCROLL)) inside.bottom -= desktop.Scaled(kBarPixels);
    inside.right = std::max(inside.left, inside.right);
    inside.bottom = std::max(inside.top, inside.bottom);
    return inside;
}

namespace {

RECT ClientOnScreen(Desktop& desktop, const Window& window) {
    const POINT origin = OriginOf(desktop, &window);
    return {origin.x, origin.y, origin.x + WidthOf(window.client), origin.y + HeightOf(window.client)};
}

bool ClipsSiblings(const Desktop& desktop, const Window& window) {
    return window.Is(WS_CLIPSIBLINGS) || window.parent == desktop.root;
}

// What stands above a window among its siblings, on the screen; `origin` is that of the parent's client area.
void SubtractAbove(Desktop& desktop, const Window& parent, const Window& window, POINT origin, Region& area) {
    if (!ClipsSiblings(desktop, window)) return;
    for (const HWND handle : parent.children) {
        if (handle == window.handle) return;
        const Window* above = desktop.Find(handle);
        if (above->Is(WS_VISIBLE)) area.Subtract(Region(Moved(above->rect, origin.x, origin.y)));
    }
}

void SubtractChildren(Desktop& desktop, const Window& window, Region& area) {
    const POINT origin = OriginOf(desktop, &window);
    for (const HWND handle : window.children) {
        const Window* child = desktop.Find(handle);
        if (child->Is(WS_VISIBLE)) area.Subtract(Region(Moved(child->rect, origin.x, origin.y)));
    }
}

// Those of its siblings that its pixels may be of, on the screen.
void SubtractSiblings(Desktop& desktop, const Window& parent, const Window& window, Region& area) {
    const POINT origin = OriginOf(desktop, &parent);
    bool isAbove = true;
    for (const HWND handle : parent.children) {
        const Window* sibling = desktop.Find(handle);
        if (sibling == &window)
            isAbove = false;
        else if (sibling->Is(WS_VISIBLE) && (isAbove || !ClipsSiblings(desktop, *sibling)))
            area.Subtract(Region(Moved(sibling->rect, origin.x, origin.y)));
    }
}

// The bare ground of the screen, where no window stands.
void PaintGround(Desktop& desktop, const Window& root, Region area) {
    SubtractChildren(desktop, root, area);
    FillScreen(area, GetSysColor(COLOR_BACKGROUND));
}

void AddUpdate(Desktop& desktop, Window& window, Region area, bool erase) {
    if (window.Is(WS_CLIPCHILDREN)) SubtractChildren(desktop, window, area);
    if (area.IsEmpty() || window.noRedraw) return;
    const POINT origin = OriginOf(desktop, &window);
    area.Offset(-origin.x, -origin.y);
    window.update.Or(area);
    window.erase |= erase;
    WakeOwner(desktop, window);
}

} // namespace

Region VisibleArea(Desktop& desktop, const Window& window, Area area) {
    Region visible(area == Area::Window ? WindowOnScreen(desktop, window) : ClientOnScreen(desktop, window));
    const Window* at = &window;
    while (at->handle != desktop.root) {
        const Window* parent = desktop.ParentOf(*at);
        if (!parent || !at->Is(WS_VISIBLE)) return Region();
        SubtractAbove(desktop, *parent, *at, OriginOf(desktop, parent), visible);
        visible.And(Region(ClientOnScreen(desktop, *parent)));
        at = parent;
    }
    if (area == Area::Client && window.Is(WS_CLIPCHILDREN)) SubtractChildren(desktop, window, visible);
    return visible;
}

Region OwnArea(Desktop& desktop, const Window& window) {
    Region own = VisibleArea(desktop, window, Area::Client);
    SubtractChildren(desktop, window, own);
    const Window* at = &window;
    while (const Window* parent = desktop.ParentOf(*at)) {
        SubtractSiblings(desktop, *parent, *at, own);
        at = parent;
    }
    return own;
}

void WakeOwner(Desktop& desktop, const Window& window) {
    if (const Queue* queue = desktop.FindQueue(window.threadId)) queue->thread->waker.Wake();
}

void Invalidate(Desktop& desktop, Window& window, const Region& onScreen, bool erase, Children children) {
    Region area = VisibleArea(desktop, window, Area::Client);
    area.And(onScreen);
    AddUpdate(desktop, window, std::move(area), erase);
    if (children == Children::None || (children == Children::Unclipped && window.Is(WS_CLIPCHILDREN))) return;
    for (const HWND child : window.children)
        Invalidate(desktop, *desktop.Find(child), onScreen, erase, children);
}

void Expose(Desktop& desktop, Window& window, Region onScreen) {
    if (onScreen.IsEmpty() || !window.Is(WS_VISIBLE)) return;
    onScreen.And(Region(WindowOnScreen(desktop, window)));
    if (window.handle == desktop.root)
        PaintGround(desktop, window, onScreen);
    else
        PaintFrame(desktop, window, onScreen);
    onScreen.And(Region(ClientOnScreen(desktop, window)));
    if (onScreen.IsEmpty()) return;
    const POINT origin = OriginOf(desktop, &window);
    for (const HWND handle : window.children) {
        Window* child = desktop.Find(handle);
        Region part = onScreen;
        SubtractAbove(desktop, window, *child, origin, part);
        Expose(desktop, *child, std::move(part));
    }
    if (window.handle != desktop.root) AddUpdate(desktop, window, std::move(onScreen), true);
}

void PaintFrame(Desktop& desktop, const Window& window, const Region& onScreen) {
    const RECT whole = WindowOnScreen(desktop, window);
    Region frame(whole);
    const RECT inside = Moved(window.client, whole.left, whole.top);
    frame.Subtract(Region(inside));
    frame.And(onScreen);
    if (frame.IsEmpty()) return;
    if (window.Is(WS_BORDER)) FillScreen(frame, GetSysColor(COLOR_WINDOWFRAME));
    PaintWindowBars(desktop, window, whole, frame);
}

void PaintFramesBelow(Desktop& desktop, const Window& window, const Region& onScreen) {
    for (const HWND handle : window.children) {
        const Window& child = *desktop.Find(handle);
        Region part = VisibleArea(desktop, child, Area::Window);
        part.And(onScreen);
        if (part.IsEmpty()) continue;
        PaintFrame(desktop, child, part);
        PaintFramesBelow(desktop, child, part);
    }
}

void FillScreen(const Region& onScreen, COLORREF color) {
    if (onScreen.IsEmpty()) return;
    const auto bitmap = ScreenBitmap();
    Surface& surface = bitmap->surface;
    Region inside(surface.Bounds());
    inside.And(onScreen);
    inside.ForEach([&](const RECT& part) {
        for (int y = part.top; y < part.bottom; ++y)
            surface.Fill(part.left, y, WidthOf(part), PixelOf(color));
    });
    MarkPainted(inside);
}

void RedrawEverything() {
    SceneLock lock;
    Desktop& desktop = TheDesktop();
    Window& root = *desktop.Find(desktop.root);
    ++g_scene;
    Expose(desktop, root, Region(root.rect));
}

void ScreenChanged() {
    const PlatScreen screen = PlatGetScreen();
    {
        SceneLock lock;
        Desktop& desktop = TheDesktop();
        Window& root = *desktop.Find(desktop.root);
        root.rect = root.client = {0, 0, screen.width, screen.height};
        if (std::exchange(desktop.dotsPerInch, screen.dotsPerInch) != screen.dotsPerInch)
            desktop.windows.ForEach([&](std::uint32_t, const std::unique_ptr<Window>& window) {
                if (window->handle != desktop.root) window->client = ClientInside(desktop, *window);
            });
    }
    RedrawEverything();
}

} // namespace plat
