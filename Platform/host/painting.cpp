// Update regions, and painting what they hold.
#include "Platform/painting.h"

#include "Platform/host/gdiobjects.h"
#include "Platform/host/scene.h"

namespace plat {
namespace {

Region OnScreen(Desktop& desktop, const Window& window, const RECT& rect) {
    const POINT origin = OriginOf(desktop, &window);
    return Region(Moved(rect, origin.x, origin.y));
}

RECT ClientOf(const Window& window) { return {0, 0, WidthOf(window.client), HeightOf(window.client)}; }

// An asked part, in the client area.
Region PartOf(const Window& window, const RECT* rect, const std::optional<Region>& region) {
    Region part(ClientOf(window));
    if (rect)
        part.And(Region(Moved(*rect, 0, 0)));
    else if (region)
        part.And(*region);
    return part;
}

void TakeOut(Desktop& desktop, Window& window, const Region& onScreen, bool children) {
    const POINT origin = OriginOf(desktop, &window);
    Region own = onScreen;
    own.Offset(-origin.x, -origin.y);
    window.update.Subtract(own);
    if (window.update.IsEmpty()) window.erase = window.paintAsked = false;
    if (!children) return;
    for (const HWND child : window.children) TakeOut(desktop, *desktop.Find(child), onScreen, children);
}

Children ChildrenBy(UINT flags) {
    if (flags & RDW_NOCHILDREN) return Children::None;
    return flags & RDW_ALLCHILDREN ? Children::All : Children::Unclipped;
}

void ClearErase(Desktop& desktop, Window& window, bool children) {
    window.erase = false;
    if (!children) return;
    for (const HWND child : window.children) ClearErase(desktop, *desktop.Find(child), children);
}

// Under a SceneLock: regions and frames as the flags say.
void Redraw(Desktop& desktop, Window& window, const Region& part, UINT flags) {
    const POINT origin = OriginOf(desktop, &window);
    Region onScreen = part;
    onScreen.Offset(origin.x, origin.y);
    const bool all = (flags & RDW_ALLCHILDREN) != 0;
    if (flags & RDW_INVALIDATE)
        Invalidate(desktop, window, onScreen, (flags & RDW_ERASE) != 0, ChildrenBy(flags));
    else if (flags & RDW_VALIDATE)
        TakeOut(desktop, window, onScreen, all);
    if ((flags & RDW_INTERNALPAINT) && !window.noRedraw) {
        window.paintAsked = true;
        WakeOwner(desktop, window);
    }
    if (flags & RDW_NOERASE) ClearErase(desktop, window, all);
    if (flags & RDW_FRAME) PaintFrame(desktop, window, VisibleArea(desktop, window, Area::Window));
}

bool HasUpdate(HWND window, bool& clips, std::vector<HWND>& children) {
    HostCall call;
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    const Window* found = desktop.Find(window);
    if (!found) return false;
    clips = found->Is(WS_CLIPCHILDREN);
    children = found->children;
    return found->NeedsPaint() && !VisibleArea(desktop, *found, Area::Window).IsEmpty();
}

// Parents first, the lowest child first, so that what stands above is painted behind it.
void PaintNow(HWND window, UINT flags) {
    bool clips = false;
    std::vector<HWND> children;
    if (HasUpdate(window, clips, children)) SendMessageW(window, WM_PAINT, 0, 0);
    if ((flags & RDW_NOCHILDREN) || (clips && !(flags & RDW_ALLCHILDREN))) return;
    for (auto child = children.rbegin(); child != children.rend(); ++child) PaintNow(*child, flags);
}

// A context for the update region, which is empty from now on.
HDC TakeUpdate(HWND window, bool& erase) {
    HostCall call;
    auto context = MakeContext();
    context->window = window;
    context->onScreen = true;
    const auto taken = WithWindow(window, [&](Window& found) {
        erase = std::exchange(found.erase, false);
        found.paintAsked = false;
        return std::exchange(found.update, Region());
    });
    if (!taken) return nullptr;
    context->update = *taken;
    return static_cast<HDC>(AddGdi(std::move(context)));
}

// Erases without painting.
void EraseNow(HWND window) {
    HDC dc = nullptr;
    {
        HostCall call;
        auto context = MakeContext();
        context->window = window;
        context->onScreen = true;
        const auto update = WithWindow(window, [](Window& found) -> std::optional<Region> {
            if (!std::exchange(found.erase, false)) return std::nullopt;
            return found.update;
        });
        if (!update || !*update) return;
        context->update = **update;
        dc = static_cast<HDC>(AddGdi(std::move(context)));
    }
    const bool erased = SendMessageW(window, WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc), 0) != 0;
    HostCall call;
    RemoveContext(dc, false);
    if (!erased) WithWindow(window, [](Window& found) { return found.erase = !found.update.IsEmpty(); });
}

} // namespace
} // namespace plat

using namespace plat;

BOOL InvalidateRect(HWND window, const RECT* rect, BOOL erase) {
    return RedrawWindow(window, rect, nullptr, RDW_INVALIDATE | (erase ? RDW_ERASE : 0));
}

BOOL ValidateRect(HWND window, const RECT* rect) {
    return RedrawWindow(window, rect, nullptr, RDW_VALIDATE | RDW_NOCHILDREN);
}

BOOL GetUpdateRect(HWND window, RECT* rect, BOOL erase) {
    if (erase) EraseNow(window);
    HostCall call;
    const auto update = WithWindow(window, [](Window& found) { return found.update; });
    const RECT box = update ? update->Box() : RECT{};
    const bool empty = !update || update->IsEmpty();
    if (rect) *rect = empty ? RECT{} : box;
    return !empty;
}

BOOL UpdateWindow(HWND window) {
    if (!IsWindow(window)) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
    bool clips = false;
    std::vector<HWND> children;
    if (HasUpdate(window, clips, children)) SendMessageW(window, WM_PAINT, 0, 0);
    return TRUE;
}

BOOL RedrawWindow(HWND window, const RECT* rect, HRGN region, UINT flags) {
    {
        HostCall call;
        std::optional<Region> asked;
        if (region) {
            const auto found = FindGdi<GdiRegion>(region);
            if (!found) return FALSE;
            asked = found->region;
        }
        SceneLock lock;
        Desktop& desktop = TheDesktop();
        Window* found = desktop.Find(window);
        if (!found) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
        Redraw(desktop, *found, PartOf(*found, rect, asked), flags);
    }
    if (flags & RDW_ERASENOW) EraseNow(window);
    if (flags & RDW_UPDATENOW) PaintNow(window, flags);
    return TRUE;
}

HDC BeginPaint(HWND window, PAINTSTRUCT* paint) {
    if (!paint) return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
    *paint = {};
    bool erase = false;
    paint->hdc = TakeUpdate(window, erase);
    if (!paint->hdc) return nullptr;
    if (erase)
        paint->fErase = SendMessageW(window, WM_ERASEBKGND, reinterpret_cast<WPARAM>(paint->hdc), 0) == 0;
    GetClipBox(paint->hdc, &paint->rcPaint);
    return paint->hdc;
}

BOOL EndPaint(HWND window, const PAINTSTRUCT* paint) {
    HostCall call;
    if (!paint || !RemoveContext(paint->hdc, false)) return FALSE;
    SceneLock lock;
    Desktop& desktop = TheDesktop();
    const Window* found = desktop.Find(window);
    // It may have painted over the frames of its children.
    if (found && !found->Is(WS_CLIPCHILDREN) && !found->children.empty())
        PaintFramesBelow(desktop, *found, OnScreen(desktop, *found, ClientOf(*found)));
    return TRUE;
}
