#include "QNGridCtrl/BitmapBuffer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

namespace {

constexpr int kPixelBytes = 3;

std::size_t RowBytes(int width) {
    return (static_cast<std::size_t>(width) * kPixelBytes + 3) & ~std::size_t{3};
}

struct Channels {
    int blue, green, red;
};
Channels ChannelsOf(COLORREF color) {
    return {static_cast<int>(color >> 16 & 0xFF), static_cast<int>(color >> 8 & 0xFF),
            static_cast<int>(color & 0xFF)};
}

void Put(BYTE* pixel, const Channels& c) {
    pixel[0] = static_cast<BYTE>(c.blue);
    pixel[1] = static_cast<BYTE>(c.green);
    pixel[2] = static_cast<BYTE>(c.red);
}

BYTE Blended(int below, int above, int alpha) {
    const int v = below * (255 - alpha) + above * alpha + 128;
    return static_cast<BYTE>((v + (v >> 8)) >> 8);
}

} // namespace

// --- Filters ------------------------------------------------------------------------------------------------------

BYTE BitmapFilter::Kernel(const BYTE* source, std::ptrdiff_t rowStep) const {
    long long sum = 0;
    for (int i = 0; i < 9; ++i)
        sum += static_cast<long long>(m_Matrix.weights[i]) *
               source[(i / 3 - 1) * rowStep + (i % 3 - 1) * kPixelBytes];
    const long long value = sum / (m_Matrix.divisor ? m_Matrix.divisor : 1) + m_Matrix.offset;
    return static_cast<BYTE>(m_Matrix.clamp ? std::clamp(value, 0LL, 255LL) : value);
}

void BitmapFilter::Filter24bpp(BYTE* target, const BYTE* source, int width, std::ptrdiff_t rowStep) const {
    const int last = (width - 1) * kPixelBytes;
    std::memcpy(target, source, kPixelBytes);
    for (int i = kPixelBytes; i < last; ++i) target[i] = Kernel(source + i, rowStep);
    std::memcpy(target + last, source + last, kPixelBytes);
}

// --- The buffer ---------------------------------------------------------------------------------------------------

bool BitmapBuffer::CreateBuffer(int width, int height, bool bTopDown) {
    DestroyBuffer();
    if (width < 1 || height < 1) return false;
    m_Info = {};
    m_Info.bmiHeader.biSize = sizeof m_Info.bmiHeader;
    m_Info.bmiHeader.biWidth = width;
    m_Info.bmiHeader.biHeight = bTopDown ? -height : height;
    m_Info.bmiHeader.biPlanes = 1;
    m_Info.bmiHeader.biBitCount = 24;
    void* bits = nullptr;
    m_hBitmap = CreateDIBSection(nullptr, &m_Info, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!m_hBitmap) return false;
    m_pBits = static_cast<BYTE*>(bits);
    m_nWidth = width;
    m_nHeight = height;
    return true;
}

bool BitmapBuffer::CreateBufferFill(int width, int height, COLORREF color, bool bTopDown) {
    return CreateBuffer(width, height, bTopDown) && FillBackground(color);
}

void BitmapBuffer::DestroyBuffer() {
    ReleaseDC();
    if (m_hBitmap) DeleteObject(m_hBitmap);
    m_hBitmap = nullptr;
    m_pBits = nullptr;
    m_nWidth = m_nHeight = 0;
}

BYTE* BitmapBuffer::GetRow(int y) const {
    if (y < 0 || y >= m_nHeight) return nullptr;
    const int row = m_Info.bmiHeader.biHeight < 0 ? y : m_nHeight - 1 - y;
    return m_pBits + static_cast<std::size_t>(row) * RowBytes(m_nWidth);
}

bool BitmapBuffer::FillBackground(COLORREF color) { return FillRect({0, 0, m_nWidth, m_nHeight}, color); }

bool BitmapBuffer::FillRect(const RECT& rect, COLORREF color) {
    if (!m_hBitmap) return false;
    const Channels channels = ChannelsOf(color);
    const int left = std::max<int>(rect.left, 0), right = std::min<int>(rect.right, m_nWidth);
    for (int y = std::max<int>(rect.top, 0); y < std::min<int>(rect.bottom, m_nHeight); ++y)
        for (int x = left; x < right; ++x) Put(GetRow(y) + x * kPixelBytes, channels);
    return true;
}

HDC BitmapBuffer::GetDC(HDC hdc) {
    if (m_hDC || !m_hBitmap) return m_hDC;
    m_hDC = CreateCompatibleDC(hdc);
    if (m_hDC) m_hFormer = SelectObject(m_hDC, m_hBitmap);
    return m_hDC;
}

void BitmapBuffer::ReleaseDC() {
    if (!m_hDC) return;
    SelectObject(m_hDC, m_hFormer);
    DeleteDC(m_hDC);
    m_hDC = nullptr;
}

bool BitmapBuffer::Draw(HDC hdc, int x, int y) {
    const bool had = m_hDC != nullptr;
    const HDC memory = GetDC(hdc);
    const bool drawn = memory && ::BitBlt(hdc, x, y, m_nWidth, m_nHeight, memory, 0, 0, SRCCOPY);
    if (!had) ReleaseDC();
    return drawn;
}

bool BitmapBuffer::BitBlt(const BitmapBuffer& other) {
    if (!m_hBitmap || !other.m_hBitmap) return false;
    const auto bytes = static_cast<std::size_t>(std::min(m_nWidth, other.m_nWidth)) * kPixelBytes;
    for (int y = 0; y < std::min(m_nHeight, other.m_nHeight); ++y)
        std::memmove(GetRow(y), other.GetRow(y), bytes);
    return true;
}

bool BitmapBuffer::Alpha(const BitmapBuffer& other, BYTE alpha) {
    if (!m_hBitmap || m_nWidth != other.m_nWidth || m_nHeight != other.m_nHeight) return false;
    for (int y = 0; y < m_nHeight; ++y) {
        BYTE* mine = GetRow(y);
        const BYTE* others = other.GetRow(y);
        for (int i = 0; i < m_nWidth * kPixelBytes; ++i) mine[i] = Blended(mine[i], others[i], alpha);
    }
    return true;
}

bool BitmapBuffer::SpatialFilter(const BitmapFilter& filter) {
    if (!m_hBitmap) return false;
    try {
        const std::size_t rowBytes = RowBytes(m_nWidth);
        std::vector<BYTE> result(m_pBits, m_pBits + rowBytes * static_cast<std::size_t>(m_nHeight));
        const std::ptrdiff_t down = m_nHeight > 1 ? GetRow(1) - GetRow(0) : 0;
        for (int y = 1; y + 1 < m_nHeight; ++y)
            filter.Filter24bpp(result.data() + (GetRow(y) - m_pBits), GetRow(y), m_nWidth, down);
        std::ranges::copy(result, m_pBits);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool BitmapBuffer::GradientFill(TRIVERTEX* vertices, ULONG nVertices, void* mesh, ULONG nMesh, ULONG mode) {
    const bool had = m_hDC != nullptr;
    const HDC memory = GetDC(nullptr);
    const bool filled = memory && ::GradientFill(memory, vertices, nVertices, mesh, nMesh, mode);
    if (!had) ReleaseDC();
    return filled;
}

bool BitmapBuffer::RadialGradientFill(int x, int y, int radius, COLORREF inner, COLORREF outer) {
    if (!m_hBitmap || radius < 1) return false;
    const Channels from = ChannelsOf(inner), to = ChannelsOf(outer);
    for (int row = 0; row < m_nHeight; ++row)
        for (int column = 0; column < m_nWidth; ++column) {
            const double part =
                std::hypot(static_cast<double>(column) - x, static_cast<double>(row) - y) / radius;
            if (part > 1) continue;
            const auto at = [part](int a, int b) { return a + static_cast<int>((b - a) * part); };
            Put(GetRow(row) + column * kPixelBytes,
                {at(from.blue, to.blue), at(from.green, to.green), at(from.red, to.red)});
        }
    return true;
}
