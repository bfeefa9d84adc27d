#include "Platform/host/glyphs.h"

#include <algorithm>
#include <utility>

namespace plat {
namespace {

// Two generations: when the young one is full it becomes the old one, and what was not asked for meanwhile goes.
class GlyphCache {
public:
    // Stays until the next call.
    const GlyphBitmap& Get(SizedFace& face, FT_UInt glyph) {
        const std::uint64_t key = std::uint64_t{face.Id()} << 32 | glyph;
        if (const auto known = m_young.find(key); known != m_young.end()) return known->second;
        if (m_bytes > kMostBytes) {
            m_old = std::exchange(m_young, {});
            m_bytes = 0;
        }
        const auto old = m_old.find(key);
        const auto place =
            m_young.emplace(key, old != m_old.end() ? std::move(old->second) : face.Render(glyph)).first;
        if (old != m_old.end()) m_old.erase(old);
        m_bytes += kOverhead + place->second.coverage.size();
        return place->second;
    }

private:
    static constexpr std::size_t kMostBytes = 4 << 20;
    static constexpr std::size_t kOverhead = 96; // of an entry

    using Map = std::unordered_map<std::uint64_t, GlyphBitmap>;
    Map m_young;
    Map m_old;
    std::size_t m_bytes = 0; // of the young ones
};

GlyphCache& Cache() {
    static GlyphCache& cache = *new GlyphCache;
    return cache;
}

// Two channels at a time, from what is there towards the colour; a coverage of 255 is the whole way.
Pixel Mixed(Pixel under, Pixel color, unsigned coverage) {
    const unsigned part = coverage + (coverage >> 7);
    const Pixel odd = under & 0xFF00FF, green = under & 0x00FF00;
    return (under & 0xFF000000) | ((odd + (((color & 0xFF00FF) - odd) * part >> 8)) & 0xFF00FF) |
           ((green + (((color & 0x00FF00) - green) * part >> 8)) & 0x00FF00);
}

void PaintRow(Pixel* row, const std::uint8_t* coverage, int count, Pixel color) {
    for (int i = 0; i < count; ++i) row[i] = Mixed(row[i], color, coverage[i]);
}

void PaintGlyph(Surface& surface, const RECT& part, const StandingGlyph& standing, Pixel color) {
    const GlyphBitmap& bitmap = Cache().Get(*standing.face, standing.glyph);
    const int left = standing.x + bitmap.left, top = standing.y - bitmap.top;
    const RECT r = Intersection(part, {left, top, left + bitmap.width, top + bitmap.height});
    if (r.left >= r.right) return;
    const std::uint8_t* coverage =
        bitmap.coverage.data() + (r.left - left) + static_cast<std::ptrdiff_t>(r.top - top) * bitmap.width;
    for (int y = r.top; y < r.bottom; ++y, coverage += bitmap.width)
        surface.Edit(r.left, y, WidthOf(r), [&, from = coverage](Pixel* row, int count) mutable {
            PaintRow(row, from, count, color);
            from += count;
        });
}

} // namespace

void PaintGlyphs(GdiContext& context, const RECT& clip, const std::vector<StandingGlyph>& glyphs,
                 Pixel color) {
    Surface& surface = context.Pixels();
    context.Paintable().ForEach([&](const RECT& visible) {
        const RECT part = Intersection(visible, clip);
        if (part.left >= part.right || part.top >= part.bottom) return;
        for (const StandingGlyph& glyph : glyphs) PaintGlyph(surface, part, glyph, color);
    });
}

} // namespace plat
