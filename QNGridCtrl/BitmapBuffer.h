// A picture whose pixels lie open: a section of 24 bits a pixel, rows of B, G, R padded to four bytes. And what works on
// pixels alone: filters of three by three, blending, fills from colour to colour.
//
// Used by one thread at a time. Nothing here changes a buffer when it gives false.
#pragma once

#include "NorvoTools/globals.h"
#include "Platform/gdi.h"

#include <cstddef>

// What becomes of a channel: the sum of weight x neighbour, divided (cut toward zero, 0 is 1), plus the offset.
struct BITMAPFILTER_MATRIX {
    int weights[9]; // rows from the top, each from the left
    int divisor;
    int offset;
    bool clamp; // to 0..255, else the low byte counts
};

class QN_API BitmapFilter {
public:
    explicit BitmapFilter(const BITMAPFILTER_MATRIX& matrix) : m_Matrix(matrix) {}
    virtual ~BitmapFilter() = default;

    // One row of `width` pixels with a row above and one below; `rowStep` bytes lead to the one below. The first and the
    // last pixel are copied.
    virtual void Filter24bpp(BYTE* target, const BYTE* source, int width, std::ptrdiff_t rowStep) const;

protected:
    // Of one channel, with its neighbours three bytes to the left and right.
    BYTE Kernel(const BYTE* source, std::ptrdiff_t rowStep) const;

    BITMAPFILTER_MATRIX m_Matrix;
};

class QN_API BitmapBuffer {
public:
    BitmapBuffer() = default;
    ~BitmapBuffer() { DestroyBuffer(); }
    BitmapBuffer(const BitmapBuffer&) = delete;
    BitmapBuffer& operator=(const BitmapBuffer&) = delete;

    // Black. What was there before goes, also on failure.
    bool CreateBuffer(int width, int height, bool bTopDown);
    bool CreateBufferFill(int width, int height, COLORREF color, bool bTopDown);
    void DestroyBuffer();

    int GetWidth() const { return m_nWidth; }
    int GetHeight() const { return m_nHeight; }
    HBITMAP GetBitmap() const { return m_hBitmap; } // belongs to the buffer
    // B, G, R of the row's pixels; y from the top whatever the order in memory. Null outside.
    BYTE* GetRow(int y) const;

    bool FillBackground(COLORREF color);
    bool FillRect(const RECT& rect, COLORREF color);

    // A context on the buffer, kept until ReleaseDC; null without a buffer.
    HDC GetDC(HDC hdc);
    void ReleaseDC();
    bool Draw(HDC hdc, int x, int y);
    // As much of the other as there is room for, at the top left.
    bool BitBlt(const BitmapBuffer& other);

    // 0 leaves all as it is, 255 takes the other; each byte is rounded. The sizes must be equal.
    bool Alpha(const BitmapBuffer& other, BYTE alpha);
    // The first and the last row stay. False without memory.
    bool SpatialFilter(const BitmapFilter& filter);
    // As the platform's GradientFill.
    bool GradientFill(TRIVERTEX* vertices, ULONG nVertices, void* mesh, ULONG nMesh, ULONG mode);
    // From `inner` at the centre to `outer` at the radius in pixels, linear by the distance; beyond it nothing changes.
    bool RadialGradientFill(int x, int y, int radius, COLORREF inner, COLORREF outer);

private:
    HBITMAP m_hBitmap = nullptr;
    BYTE* m_pBits = nullptr;
    BITMAPINFO m_Info{};
    int m_nWidth = 0;
    int m_nHeight = 0;
    HDC m_hDC = nullptr;
    HGDIOBJ m_hFormer = nullptr;
};
