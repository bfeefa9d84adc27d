// One picture of the mark-up: a bitmap whose pure green pixels are left out, or a PNG picture with transparency of its
// own. It records its size when it is made and keeps it, however it is drawn.
#pragma once

#include "Platform/gdi.h"

class PNGPicture;

inline constexpr COLORREF HTML_IMAGE_KEY = 0x00FF00; // left out of bitmaps

// Neither the bitmap nor the picture is owned: the cache that makes these does.
class QN_API CHTMLImage {
public:
    explicit CHTMLImage(HBITMAP bitmap);
    explicit CHTMLImage(PNGPicture* picture);

    bool IsValid() const; // there is something to draw
    int GetWidth() const { return m_nWidth; }
    int GetHeight() const { return m_nHeight; }
    bool IsOf(HBITMAP bitmap) const { return m_pPicture == nullptr && m_hBitmap == bitmap; }
    bool IsOf(const PNGPicture* picture) const { return m_pPicture == picture; }

    // Scales to cx by cy pixels; a PNG picture stays scaled.
    void DrawTransparent(HDC hdc, int x, int y, int cx, int cy) const;

private:
    HBITMAP m_hBitmap = nullptr;
    PNGPicture* m_pPicture = nullptr; // when not null, the bitmap is
    int m_nWidth = 0;
    int m_nHeight = 0;
};
