// Sets of pixels, as rectangles. Most are none or one, which costs no memory.
#pragma once

#include "Platform/types.h"

#include <cairo.h>
#include <memory>
#include <utility>

namespace plat {

class Region {
public:
    Region() = default;
    explicit Region(const RECT& rect);
    Region(const Region& other)
        : m_box(other.m_box), m_parts(other.m_parts ? cairo_region_copy(other.m_parts) : nullptr) {}
    Region(Region&& other) noexcept
        : m_box(std::exchange(other.m_box, {})), m_parts(std::exchange(other.m_parts, nullptr)) {}
    Region& operator=(Region other) noexcept {
        std::swap(m_box, other.m_box);
        std::swap(m_parts, other.m_parts);
        return *this;
    }
    ~Region() {
        if (m_parts) cairo_region_destroy(m_parts);
    }

    void And(const Region& other);
    void Or(const Region& other);
    void Xor(const Region& other);
    void Subtract(const Region& other);
    void Offset(int x, int y);

    bool IsEmpty() const { return !m_parts && m_box.left >= m_box.right; }
    bool Holds(int x, int y) const;
    RECT Box() const; // all zero of an empty one
    int Kind() const; // NULLREGION, SIMPLEREGION, COMPLEXREGION

    // The rectangles, from the top, none touching another from the side.
    template<class F>
    void ForEach(F&& visit) const {
        if (!m_parts) {
            if (!IsEmpty()) visit(m_box);
            return;
        }
        const int count = cairo_region_num_rectangles(m_parts);
        for (int i = 0; i < count; ++i) visit(At(i));
    }

private:
    using Operation = cairo_status_t (*)(cairo_region_t*, const cairo_region_t*);
    using BoxOperation = cairo_status_t (*)(cairo_region_t*, const cairo_rectangle_int_t*);

    RECT At(int index) const;
    void Combine(const Region& other, Operation operation, BoxOperation withBox);

    RECT m_box{};                      // the whole of it, all zero when empty
    cairo_region_t* m_parts = nullptr; // instead: of two rectangles or more
};

} // namespace plat
