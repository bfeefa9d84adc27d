#include "Platform/host/region.h"

#include "Platform/gdi.h"
#include "Platform/host/surface.h"

namespace plat {
namespace {

RECT RectOf(const cairo_rectangle_int_t& r) { return {r.x, r.y, r.x + r.width, r.y + r.height}; }
cairo_rectangle_int_t BoxOf(const RECT& r) { return {r.left, r.top, r.right - r.left, r.bottom - r.top}; }

bool Covers(const RECT& outer, const RECT& inner) {
    return outer.left <= inner.left && outer.top <= inner.top && outer.right >= inner.right &&
           outer.bottom >= inner.bottom;
}

// Cuts an end off the run from first to last, if that is all that is left out of it.
bool CutEnd(LONG& first, LONG& last, LONG outFirst, LONG outLast) {
    if (outFirst <= first)
        first = outLast;
    else if (outLast >= last)
        last = outFirst;
    else
        return false;
    return true;
}

} // namespace

Region::Region(const RECT& rect) {
    if (rect.left < rect.right && rect.top < rect.bottom) m_box = rect;
}

void Region::Combine(const Region& other, Operation operation, BoxOperation withBox) {
    const cairo_rectangle_int_t own = BoxOf(m_box), box = BoxOf(other.m_box);
    cairo_region_t* parts = m_parts ? m_parts : cairo_region_create_rectangle(&own);
    if (other.m_parts)
        operation(parts, other.m_parts);
    else
        withBox(parts, &box);
    m_parts = parts;
    const int count = cairo_region_num_rectangles(parts);
    if (count > 1) return;
    m_box = count == 1 ? At(0) : RECT{};
    cairo_region_destroy(std::exchange(m_parts, nullptr));
}

void Region::And(const Region& other) {
    if (!other.m_parts && Covers(other.m_box, Box())) return;
    if (m_parts || other.m_parts)
        return Combine(other, &cairo_region_intersect, &cairo_region_intersect_rectangle);
    *this = Region(Intersection(m_box, other.m_box));
}

void Region::Or(const Region& other) {
    if (other.IsEmpty() || (!m_parts && !IsEmpty() && Covers(m_box, other.Box()))) return;
    if (IsEmpty() || (!other.m_parts && Covers(other.m_box, Box()))) {
        *this = other;
        return;
    }
    Combine(other, &cairo_region_union, &cairo_region_union_rectangle);
}

void Region::Xor(const Region& other) { Combine(other, &cairo_region_xor, &cairo_region_xor_rectangle); }

void Region::Subtract(const Region& other) {
    const RECT common = Intersection(Box(), other.Box());
    if (IsEmpty() || other.IsEmpty() || common.left >= common.right || common.top >= common.bottom) return;
    if (!m_parts && !other.m_parts) {
        if (Covers(common, m_box)) {
            m_box = {};
            return;
        }
        const bool wide = common.left == m_box.left && common.right == m_box.right;
        const bool high = common.top == m_box.top && common.bottom == m_box.bottom;
        if (wide && CutEnd(m_box.top, m_box.bottom, common.top, common.bottom)) return;
        if (high && CutEnd(m_box.left, m_box.right, common.left, common.right)) return;
    }
    Combine(other, &cairo_region_subtract, &cairo_region_subtract_rectangle);
}

void Region::Offset(int x, int y) {
    if (m_parts)
        cairo_region_translate(m_parts, x, y);
    else if (!IsEmpty())
        m_box = {m_box.left + x, m_box.top + y, m_box.right + x, m_box.bottom + y};
}

bool Region::Holds(int x, int y) const {
    if (m_parts) return cairo_region_contains_point(m_parts, x, y) != 0;
    return x >= m_box.left && x < m_box.right && y >= m_box.top && y < m_box.bottom;
}

RECT Region::Box() const {
    if (!m_parts) return m_box;
    cairo_rectangle_int_t r;
    cairo_region_get_extents(m_parts, &r);
    return RectOf(r);
}

int Region::Kind() const { return m_parts ? COMPLEXREGION : IsEmpty() ? NULLREGION : SIMPLEREGION; }

RECT Region::At(int index) const {
    cairo_rectangle_int_t r;
    cairo_region_get_rectangle(m_parts, index, &r);
    return RectOf(r);
}

} // namespace plat
