#include "Platform/host/region.h"

#include "Platform/gdi.h"

namespace plat {
namespace {

RECT RectOf(const cairo_rectangle_int_t& r) { return {r.x, r.y, r.x + r.width, r.y + r.height}; }

} // namespace

Region::Region(const RECT& rect) {
    if (rect.left >= rect.right || rect.top >= rect.bottom) {
        m_region = cairo_region_create();
        return;
    }
    const cairo_rectangle_int_t r{rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
    m_region = cairo_region_create_rectangle(&r);
}

RECT Region::Box() const {
    cairo_rectangle_int_t r;
    cairo_region_get_extents(m_region, &r);
    return RectOf(r);
}

int Region::Kind() const {
    const int count = cairo_region_num_rectangles(m_region);
    return count == 0 ? NULLREGION : count == 1 ? SIMPLEREGION : COMPLEXREGION;
}

RECT Region::At(int index) const {
    cairo_rectangle_int_t r;
    cairo_region_get_rectangle(m_region, index, &r);
    return RectOf(r);
}

} // namespace plat
