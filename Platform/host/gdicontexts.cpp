// Contexts: what is selected in them, their colours and modes.
#include "Platform/host/gdiobjects.h"

namespace plat {
namespace {

// Puts an object in the place of another; the former handle.
template<class T>
HGDIOBJ Exchange(Selected<T>& place, std::shared_ptr<GdiObject>& object, HGDIOBJ handle) {
    const HGDIOBJ former = place.handle;
    place = {std::static_pointer_cast<T>(std::move(object)), handle};
    return former;
}

} // namespace
} // namespace plat

using namespace plat;

HDC CreateCompatibleDC(HDC) {
    HostCall call;
    return static_cast<HDC>(AddGdi(MakeMemoryContext()));
}

BOOL DeleteDC(HDC dc) {
    HostCall call;
    if (RemoveContext(dc, true)) return TRUE;
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

int SaveDC(HDC dc) {
    HostCall call;
    constexpr std::size_t kDeepest = 1024;
    const auto context = FindContext(dc);
    if (!context || context->saved.size() >= kDeepest) return 0;
    context->saved.push_back({context->state, context->bitmap, context->origin});
    return static_cast<int>(context->saved.size());
}

BOOL RestoreDC(HDC dc, int level) {
    HostCall call;
    const auto context = FindContext(dc);
    if (!context) return FALSE;
    const int depth = static_cast<int>(context->saved.size());
    const int target = level < 0 ? depth + level + 1 : level;
    if (target < 1 || target > depth) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    GdiContext::Saved& kept = context->saved[static_cast<std::size_t>(target) - 1];
    context->state = std::move(kept.state);
    if (context->memory) { // the screen's may be others by now
        context->bitmap = std::move(kept.bitmap);
        context->origin = kept.origin;
    }
    context->saved.resize(static_cast<std::size_t>(target) - 1);
    context->Changed();
    return TRUE;
}

BOOL SetViewportOrgEx(HDC dc, int x, int y, POINT* former) {
    HostCall call;
    const auto context = FindContext(dc);
    if (!context) return FALSE;
    if (!context->memory) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    const POINT place{NearPixel(x), NearPixel(y)};
    const POINT before = std::exchange(context->origin, place);
    if (former) *former = before;
    if (context->state.clip) context->state.clip->Offset(before.x - place.x, before.y - place.y);
    context->Changed();
    return TRUE;
}

int GetDeviceCaps(HDC dc, int index) {
    HostCall call;
    if (!FindContext(dc)) return 0;
    const PlatScreen screen = PlatGetScreen();
    switch (index) {
    case HORZRES:
        return screen.width;
    case VERTRES:
        return screen.height;
    case BITSPIXEL:
        return 24;
    case LOGPIXELSX:
    case LOGPIXELSY:
        return screen.dotsPerInch;
    default:
        return 0;
    }
}

HGDIOBJ SelectObject(HDC dc, HGDIOBJ handle) {
    HostCall call;
    const auto context = FindContext(dc);
    std::shared_ptr<GdiObject> object = FindGdiObject(handle);
    if (!context || !object) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    switch (object->kind) {
    case GdiObject::Kind::Pen:
        return Exchange(context->state.pen, object, handle);
    case GdiObject::Kind::Brush:
        return Exchange(context->state.brush, object, handle);
    case GdiObject::Kind::Font:
        return Exchange(context->state.font, object, handle);
    case GdiObject::Kind::Bitmap:
        if (!context->memory) break;
        context->Changed();
        return Exchange(context->bitmap, object, handle);
    case GdiObject::Kind::Region:
        return reinterpret_cast<HGDIOBJ>(static_cast<LONG_PTR>(SelectClipRgn(dc, static_cast<HRGN>(handle))));
    case GdiObject::Kind::Context:
        break;
    }
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
}

int SetBkMode(HDC dc, int mode) {
    HostCall call;
    const auto context = FindContext(dc);
    return context ? std::exchange(context->state.backMode, mode) : 0;
}

namespace {
constexpr COLORREF kNoColor = 0xFFFFFFFF;
}

COLORREF SetBkColor(HDC dc, COLORREF color) {
    HostCall call;
    const auto context = FindContext(dc);
    return context ? std::exchange(context->state.backColor, color & 0xFFFFFF) : kNoColor;
}

COLORREF GetBkColor(HDC dc) {
    HostCall call;
    const auto context = FindContext(dc);
    return context ? context->state.backColor : kNoColor;
}

COLORREF SetTextColor(HDC dc, COLORREF color) {
    HostCall call;
    const auto context = FindContext(dc);
    return context ? std::exchange(context->state.textColor, color & 0xFFFFFF) : kNoColor;
}

COLORREF GetTextColor(HDC dc) {
    HostCall call;
    const auto context = FindContext(dc);
    return context ? context->state.textColor : kNoColor;
}
