#include "Platform/host/glyphs.h"

#include <algorithm>
#include <array>
#include <cstring>
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

// The channels of two pixels, 16 bits each.
typedef std::uint16_t Lanes __attribute__((vector_size(16)));
typedef std::uint8_t Channels __attribute__((vector_size(8)));

Lanes LanesOf(const Pixel* two) {
    Channels channels;
    std::memcpy(&channels, two, sizeof channels);
    return __builtin_convertvector(channels, Lanes);
}

// How far each channel of a pixel goes towards the colour, of 256, by its coverage; the highest one stays.
constexpr std::array<std::array<std::uint16_t, 4>, 256> kParts = [] {
    std::array<std::array<std::uint16_t, 4>, 256> parts{};
    for (unsigned c = 0; c < parts.size(); ++c) {
        const auto part = static_cast<std::uint16_t>(c + (c >> 7));
        parts[c] = {part, part, part, 0};
    }
    return parts;
}();

// Both pixels at `row`, and nothing behind them.
void PaintTwo(Pixel* row, std::uint8_t first, std::uint8_t second, Lanes color) {
    Lanes part;
    std::memcpy(&part, &kParts[first], 8);
    std::memcpy(reinterpret_cast<char*>(&part) + 8, &kParts[second], 8);
    const Lanes mixed = (LanesOf(row) * (256 - part) + color * part) >> 8;
    const Channels channels = __builtin_convertvector(mixed, Channels);
    std::memcpy(row, &channels, sizeof channels);
}

void PaintRow(Pixel* row, const std::uint8_t* coverage, int count, Lanes color) {
    int i = 0;
    for (; i + 1 < count; i += 2) PaintTwo(row + i, coverage[i], coverage[i + 1], color);
    if (i == count) return;
    Pixel last[2] = {row[i], 0};
    PaintTwo(last, coverage[i], 0, color);
    row[i] = last[0];
}

void PaintGlyph(Surface& surface, const RECT& part, const StandingGlyph& standing, Lanes color) {
    const GlyphBitmap& bitmap = Cache().Get(*standing.face, standing.glyph);
    const int left = standing.x + bitmap.left, top = standing.y - bitmap.top;
    const RECT r = Intersection(part, {left, top, left + bitmap.width, top + bitmap.height});
    if (r.left >= r.right || r.top >= r.bottom) return;
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
    const Pixel both[2] = {color, color};
    const Lanes lanes = LanesOf(both);
    context.Paintable().ForEach([&](const RECT& visible) {
        const RECT part = Intersection(visible, clip);
        if (part.left >= part.right || part.top >= part.bottom) return;
        for (const StandingGlyph& glyph : glyphs) PaintGlyph(surface, part, glyph, lanes);
    });
}

} // namespace plat
