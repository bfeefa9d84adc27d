// Sets of pixels, as rectangles.
#pragma once

#include "Platform/types.h"

#include <cairo.h>
#include <memory>
#include <utility>

namespace plat {

class Region {
public:
    Region() : m_region(cairo_region_create()) {}
    explicit Region(const RECT& rect);
    Region(const Region& other) : m_region(cairo_region_copy(other.m_region)) {}
    Region(Region&& other) noexcept : m_region(std::exchange(other.m_region, cairo_region_create())) {}
    Region& operator=(Region other) noexcept {
        std::swap(m_region, other.m_region);
        return *this;
    }
    ~Region() { cairo_region_destroy(m_region); }

    void And(const Region& other) { cairo_region_intersect(m_region, other.m_region); }
    void Or(const Region& other) { cairo_region_union(m_region, other.m_region); }
    void Xor(const Region& other) { cairo_region_xor(m_region, other.m_region); }
    void Subtract(const Region& other) { cairo_region_subtract(m_region, other.m_region); }
    void Offset(int x, int y) { cairo_region_translate(m_region, x, y); }

    bool IsEmpty() const { return cairo_region_is_empty(m_region); }
    bool Holds(int x, int y) const { return cairo_region_contains_point(m_region, x, y); }
    RECT Box() const;
    int Kind() const; // NULLREGION, SIMPLEREGION, COMPLEXREGION

    // The rectangles, from the top, none touching another from the side.
    template<class F>
    void ForEach(F&& visit) const {
        const int count = cairo_region_num_rectangles(m_region);
        for (int i = 0; i < count; ++i) visit(At(i));
    }

private:
    RECT At(int index) const;

    cairo_region_t* m_region;
};

} // namespace plat
