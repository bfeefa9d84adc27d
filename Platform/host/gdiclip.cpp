// Regions, and where a context may paint.
#include "Platform/host/gdiobjects.h"

namespace plat {

const Region& GdiContext::Paintable() {
    if (m_paintable) return *m_paintable;
    Region region(visible ? *visible : Region(Moved(Pixels().Bounds(), -origin.x, -origin.y)));
    if (state.clip) region.And(*state.clip);
    region.Offset(origin.x, origin.y);
    region.And(Region(Pixels().Bounds()));
    return m_paintable.emplace(std::move(region));
}

namespace {

// The clip with what there is to paint without one in its place.
Region ClipOf(const GdiContext& context) {
    if (context.state.clip) return *context.state.clip;
    if (context.visible) return *context.visible;
    return Region(Moved(context.Pixels().Bounds(), -context.origin.x, -context.origin.y));
}

template<class F>
int ChangeClip(HDC dc, F change) {
    const auto context = FindContext(dc);
    if (!context) return 0;
    Region clip = ClipOf(*context);
    change(clip);
    context->state.clip = std::move(clip);
    context->Changed();
    return context->Paintable().Kind();
}

RECT Ordered(int left, int top, int right, int bottom) {
    return Moved({std::min(left, right), std::min(top, bottom), std::max(left, right), std::max(top, bottom)},
                 0, 0);
}

} // namespace
} // namespace plat

using namespace plat;

HRGN CreateRectRgn(int left, int top, int right, int bottom) {
    HostCall call;
    auto region = std::make_shared<GdiRegion>();
    region->region = Region(Ordered(left, top, right, bottom));
    return static_cast<HRGN>(AddGdi(std::move(region)));
}

int CombineRgn(HRGN result, HRGN a, HRGN b, int mode) {
    HostCall call;
    const auto target = FindGdi<GdiRegion>(result);
    const auto first = FindGdi<GdiRegion>(a);
    const auto second = mode == RGN_COPY ? first : FindGdi<GdiRegion>(b);
    if (!target || !first || !second) return 0;
    Region combined = first->region;
    switch (mode) {
    case RGN_AND:
        combined.And(second->region);
        break;
    case RGN_OR:
        combined.Or(second->region);
        break;
    case RGN_XOR:
        combined.Xor(second->region);
        break;
    case RGN_DIFF:
        combined.Subtract(second->region);
        break;
    case RGN_COPY:
        break;
    default:
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    target->region = std::move(combined);
    return target->region.Kind();
}

int GetRgnBox(HRGN handle, RECT* box) {
    HostCall call;
    const auto region = FindGdi<GdiRegion>(handle);
    if (!region) return 0;
    *box = region->region.Box();
    return region->region.Kind();
}

int SelectClipRgn(HDC dc, HRGN handle) {
    HostCall call;
    const auto context = FindContext(dc);
    if (!context) return 0;
    if (!handle) {
        context->state.clip.reset();
    } else {
        const auto region = FindGdi<GdiRegion>(handle);
        if (!region) return 0;
        context->state.clip = region->region;
    }
    context->Changed();
    return context->Paintable().Kind();
}

int ExcludeClipRect(HDC dc, int left, int top, int right, int bottom) {
    HostCall call;
    return ChangeClip(dc, [&](Region& clip) { clip.Subtract(Region(Ordered(left, top, right, bottom))); });
}

int IntersectClipRect(HDC dc, int left, int top, int right, int bottom) {
    HostCall call;
    return ChangeClip(dc, [&](Region& clip) { clip.And(Region(Ordered(left, top, right, bottom))); });
}

int GetClipBox(HDC dc, RECT* box) {
    HostCall call;
    const auto context = FindContext(dc);
    if (!context) return 0;
    const Region& region = context->Paintable();
    *box = region.IsEmpty() ? RECT{} : Moved(region.Box(), -context->origin.x, -context->origin.y);
    return region.Kind();
}
