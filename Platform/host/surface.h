// Pixels in memory, and what is drawn on them row by row. Rows are handed out as 32-bit values 0x00RRGGBB whatever the
// memory holds; of 32-bit memory they are the memory itself.
#pragma once

#include "Platform/types.h"

#include <cstdint>
#include <new>
#include <vector>

namespace plat {

using Pixel = std::uint32_t; // 0xAARRGGBB; the high byte counts for pictures with transparency alone

constexpr Pixel PixelOf(COLORREF color) {
    return (color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF);
}
constexpr COLORREF ColorOf(Pixel pixel) { return PixelOf(pixel); }

constexpr int WidthOf(const RECT& rect) { return rect.right - rect.left; }
constexpr int HeightOf(const RECT& rect) { return rect.bottom - rect.top; }
// Coordinates come from texts and settings too: none leaves this range, so that no sum of two overflows.
constexpr int kFarthestPixel = 1 << 28;
constexpr int NearPixel(long long v) {
    return static_cast<int>(v < -kFarthestPixel ? -kFarthestPixel : v > kFarthestPixel ? kFarthestPixel : v);
}
constexpr RECT Moved(const RECT& r, long long x, long long y) {
    return {NearPixel(r.left + x), NearPixel(r.top + y), NearPixel(r.right + x), NearPixel(r.bottom + y)};
}
RECT Intersection(const RECT& a, const RECT& b);

// So many zeros; false without memory.
template<class T>
bool TryAssign(std::vector<T>& vector, std::size_t count) {
    try {
        vector.assign(count, T{});
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

class Surface {
public:
    static constexpr int kLargestSide = 16384;

    // Own memory, black; false for a size that is none or too large, or without memory.
    bool Make(int width, int height);
    // The memory of a section: 3 or 4 bytes a pixel, `stride` bytes from a row to the one below.
    void Attach(BYTE* topRow, int width, int height, int pixelBytes, std::ptrdiff_t stride);

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    RECT Bounds() const { return {0, 0, m_width, m_height}; }
    bool IsPlain() const { return m_pixelBytes == 4; } // rows are the memory itself
    Pixel Get(int x, int y) const;

    // The pixels [x, x + n) of a row that lie inside: read them (into `room` when the memory has another form), or change
    // them in place through `edit`.
    const Pixel* Read(int x, int y, int n, Pixel* room) const;
    template<class F>
    void Edit(int x, int y, int n, F&& edit) {
        BYTE* at = At(x, y);
        if (m_pixelBytes == 4) return edit(reinterpret_cast<Pixel*>(at), n);
        Pixel room[kChunk];
        for (; n > 0; at += kChunk * 3, n -= kChunk) {
            const int part = n < kChunk ? n : kChunk;
            Load(at, part, room);
            edit(room, part);
            Store(room, part, at);
            if (n <= kChunk) return;
        }
    }
    void Write(int x, int y, int n, const Pixel* pixels);
    void Fill(int x, int y, int n, Pixel pixel);

private:
    static constexpr int kChunk = 256;

    BYTE* At(int x, int y) const {
        return m_top + y * m_stride + static_cast<std::ptrdiff_t>(x) * m_pixelBytes;
    }
    static void Load(const BYTE* from, int n, Pixel* to);
    static void Store(const Pixel* from, int n, BYTE* to);

    std::vector<Pixel> m_own;
    BYTE* m_top = nullptr;
    std::ptrdiff_t m_stride = 0;
    int m_width = 0;
    int m_height = 0;
    int m_pixelBytes = 4;
};

} // namespace plat
