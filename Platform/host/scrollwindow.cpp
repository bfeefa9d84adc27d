// Windows that move what they show.
#include "Platform/painting.h"

#include "Platform/host/gdiobjects.h"
#include "Platform/host/scene.h"

namespace plat {
namespace {

// What a caller wants moved, in the client area.
struct Scroll {
    Scroll(const Window& window, int dx, int dy, const RECT* scroll, const RECT* clipped)
        : by{NearPixel(dx), NearPixel(dy)} {
        const RECT client{0, 0, WidthOf(window.client), HeightOf(window.client)};
        part = Region(scroll ? Intersection(*scroll, client) : client);
        clip = Region(clipped ? Intersection(*clipped, client) : client);
    }
    // Where it comes to.
    Region Target(Region from) const {
        from.And(part);
        from.Offset(by.x, by.y);
        from.And(clip);
        return from;
    }

    POINT by;
    Region part;
    Region clip;
};

Region InClient(Region onScreen, POINT origin) {
    onScreen.Offset(-origin.x, -origin.y);
    return onScreen;
}

// Moves pixels of the screen, and gives where they are now in the client area.
Region MovePixels(Desktop& desktop, const Window& window, const Scroll& scroll) {
    const POINT origin = OriginOf(desktop, &window);
    Surface& surface = ScreenBitmap()->surface;
    Region seen = OwnArea(desktop, window);
    seen.And(Region(surface.Bounds()));
    const Region own = InClient(std::move(seen), origin);
    Region valid = own;
    valid.Subtract(window.update);
    Region arrived = scroll.Target(std::move(valid));
    arrived.And(own);
    Region onScreen = arrived;
    onScreen.Offset(origin.x, origin.y);
    MoveWithin(surface, onScreen, {-scroll.by.x, -scroll.by.y});
    MarkPainted(onScreen);
    return arrived;
}

// Under a SceneLock: what of the client area has none of its pixels now.
Region ScrollPixels(Desktop& desktop, Window& window, const Scroll& scroll, UINT flags) {
    const POINT origin = OriginOf(desktop, &window);
    const Region visible = InClient(VisibleArea(desktop, window, Area::Client), origin);
    const Region arrived = MovePixels(desktop, window, scroll);
    Region pending = scroll.Target(window.update);
    pending.And(visible);
    window.update.Subtract(arrived);
    window.update.Or(pending);
    Region bare = scroll.Target(scroll.part), left = scroll.part;
    left.And(scroll.clip);
    for (Region* part : {&bare, &left}) {
        part->And(visible);
        part->Subtract(arrived);
    }
    bare.Or(left);
    Region onScreen = bare;
    onScreen.Offset(origin.x, origin.y);
    if (flags & SW_INVALIDATE)
        Invalidate(desktop, window, onScreen, (flags & SW_ERASE) != 0, Children::Unclipped);
    if (window.update.IsEmpty()) window.erase = false;
    return bare;
}

// The children that a scroll takes along, and where to.
std::vector<std::pair<HWND, POINT>> ChildrenToMove(Desktop& desktop, const Window& window,
                                                   const Scroll& scroll) {
    std::vector<std::pair<HWND, POINT>> moved;
    for (const HWND handle : window.children) {
        const RECT& rect = desktop.Find(handle)->rect;
        Region met(rect);
        met.And(scroll.part);
        if (!met.IsEmpty()) moved.push_back({handle, {rect.left + scroll.by.x, rect.top + scroll.by.y}});
    }
    return moved;
}

} // namespace
} // namespace plat

using namespace plat;

int ScrollWindowEx(HWND window, int dx, int dy, const RECT* scroll, const RECT* clip, HRGN update, RECT* box,
                   UINT flags) {
    Region bare;
    std::vector<std::pair<HWND, POINT>> children;
    {
        HostCall call;
        const auto told = update ? FindGdi<GdiRegion>(update) : nullptr;
        if (update && !told) return 0;
        SceneLock lock;
        Desktop& desktop = TheDesktop();
        Window* found = desktop.Find(window);
        if (!found) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), 0;
        const Scroll asked(*found, dx, dy, scroll, clip);
        if (dx != 0 || dy != 0) {
            bare = ScrollPixels(desktop, *found, asked, flags);
            if (flags & SW_SCROLLCHILDREN) children = ChildrenToMove(desktop, *found, asked);
        }
        if (told) told->region = bare;
    }
    for (const auto& [child, place] : children)
        SetWindowPos(child, nullptr, place.x, place.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    if (box) *box = bare.IsEmpty() ? RECT{} : bare.Box();
    return bare.Kind();
}
