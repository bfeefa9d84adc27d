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
typedef std::uint64_t Halves __attribute__((vector_size(16)));

Lanes LanesOf(std::uint64_t two) {
    Channels channels;
    std::memcpy(&channels, &two, sizeof channels);
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

// Two pixels with a coverage each. Nothing goes through memory in parts: the machine would wait for it.
std::uint64_t Mixed(std::uint64_t two, std::uint8_t first, std::uint8_t second, Lanes color) {
    std::uint64_t one = 0, other = 0;
    std::memcpy(&one, &kParts[first], sizeof one);
    std::memcpy(&other, &kParts[second], sizeof other);
    const Lanes part = reinterpret_cast<Lanes>(Halves{one, other});
    const Channels mixed =
        __builtin_convertvector((LanesOf(two) * (256 - part) + color * part) >> 8, Channels);
    std::memcpy(&two, &mixed, sizeof two);
    return two;
}

void PaintRow(Pixel* row, const std::uint8_t* coverage, int count, Lanes color) {
    std::uint64_t two = 0;
    int i = 0;
    for (; i + 1 < count; i += 2) {
        std::memcpy(&two, row + i, sizeof two);
        two = Mixed(two, coverage[i], coverage[i + 1], color);
        std::memcpy(row + i, &two, sizeof two);
    }
    if (i == count) return;
    two = 0;
    std::memcpy(&two, row + i, sizeof(Pixel));
    two = Mixed(two, coverage[i], 0, color);
    std::memcpy(row + i, &two, sizeof(Pixel));
}

// A coverage for each of red, green and blue.
Pixel MixedColumns(Pixel below, const std::uint8_t* coverage, Pixel color) {
    const auto channel = [&](int shift, std::uint8_t covered) {
        const Pixel part = covered + (covered >> 7U), under = below >> shift & 0xFF,
                    over = color >> shift & 0xFF;
        return (under * (256 - part) + over * part) >> 8 << shift;
    };
    return (below & 0xFF000000) | channel(16, coverage[0]) | channel(8, coverage[1]) |
           channel(0, coverage[2]);
}

// What the glyphs are painted in.
struct Ink {
    Pixel pixel;
    Lanes lanes;

    void Paint(Pixel* row, const std::uint8_t* coverage, int count, int parts) const {
        if (parts == 1) return PaintRow(row, coverage, count, lanes);
        for (int i = 0; i < count; ++i, coverage += parts) row[i] = MixedColumns(row[i], coverage, pixel);
    }
};

void PaintGlyph(Surface& surface, const RECT& part, const StandingGlyph& standing, const Ink& ink) {
    const GlyphBitmap& bitmap = Cache().Get(*standing.face, standing.glyph);
    const int left = standing.x + bitmap.left, top = standing.y - bitmap.top;
    const RECT r = Intersection(part, {left, top, left + bitmap.width, top + bitmap.height});
    if (r.left >= r.right || r.top >= r.bottom) return;
    const int parts = bitmap.parts, rowBytes = bitmap.width * parts;
    const std::uint8_t* coverage = bitmap.coverage.data() +
                                   static_cast<std::ptrdiff_t>(r.left - left) * parts +
                                   static_cast<std::ptrdiff_t>(r.top - top) * rowBytes;
    for (int y = r.top; y < r.bottom; ++y, coverage += rowBytes)
        surface.Edit(r.left, y, WidthOf(r), [&, from = coverage](Pixel* row, int count) mutable {
            ink.Paint(row, from, count, parts);
            from += static_cast<std::ptrdiff_t>(count) * parts;
        });
}

} // namespace

void PaintGlyphs(GdiContext& context, const RECT& clip, const std::vector<StandingGlyph>& glyphs,
                 Pixel color) {
    Surface& surface = context.Pixels();
    const Ink ink{color, LanesOf(std::uint64_t{color} << 32 | color)};
    context.Paintable().ForEach([&](const RECT& visible) {
        const RECT part = Intersection(visible, clip);
        if (part.left >= part.right || part.top >= part.bottom) return;
        for (const StandingGlyph& glyph : glyphs) PaintGlyph(surface, part, glyph, ink);
    });
}

} // namespace plat
