#include "Platform/host/surface.h"

#include <algorithm>
#include <cstring>

namespace plat {

RECT Intersection(const RECT& a, const RECT& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

bool Surface::Make(int width, int height) {
    constexpr long long kMostPixels = 1LL << 28;
    if (width < 1 || height < 1 || width > kLargestSide || height > kLargestSide) return false;
    if (static_cast<long long>(width) * height > kMostPixels) return false;
    if (!TryAssign(m_own, static_cast<std::size_t>(width) * static_cast<std::size_t>(height))) return false;
    Attach(reinterpret_cast<BYTE*>(m_own.data()), width, height, 4, std::ptrdiff_t{width} * 4);
    return true;
}

void Surface::Attach(BYTE* topRow, int width, int height, int pixelBytes, std::ptrdiff_t stride) {
    m_top = topRow;
    m_width = width;
    m_height = height;
    m_pixelBytes = pixelBytes;
    m_stride = stride;
}

Pixel Surface::Get(int x, int y) const {
    Pixel room;
    return *Read(x, y, 1, &room);
}

const Pixel* Surface::Read(int x, int y, int n, Pixel* room) const {
    const BYTE* at = At(x, y);
    if (m_pixelBytes == 4) return reinterpret_cast<const Pixel*>(at);
    Load(at, n, room);
    return room;
}

void Surface::Write(int x, int y, int n, const Pixel* pixels) {
    if (m_pixelBytes == 4)
        std::memmove(At(x, y), pixels, static_cast<std::size_t>(n) * 4);
    else
        Store(pixels, n, At(x, y));
}

void Surface::Fill(int x, int y, int n, Pixel pixel) {
    // Some pixels, then copies of what is filled already: the copying is what the machine does fastest.
    Edit(x, y, n, [pixel](Pixel* row, int count) {
        int done = std::min(count, 16);
        std::fill_n(row, done, pixel);
        for (; done < count; done += std::min(done, count - done))
            std::memcpy(row + done, row,
                        sizeof(Pixel) * static_cast<std::size_t>(std::min(done, count - done)));
    });
}

void Surface::Load(const BYTE* from, int n, Pixel* to) {
    for (int i = 0; i < n; ++i, from += 3) to[i] = Pixel{from[2]} << 16 | Pixel{from[1]} << 8 | from[0];
}

void Surface::Store(const Pixel* from, int n, BYTE* to) {
    for (int i = 0; i < n; ++i, to += 3) {
        to[0] = static_cast<BYTE>(from[i]);
        to[1] = static_cast<BYTE>(from[i] >> 8);
        to[2] = static_cast<BYTE>(from[i] >> 16);
    }
}

} // namespace plat
