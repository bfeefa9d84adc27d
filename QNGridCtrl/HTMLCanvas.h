// What the layout of mark-up asks of a text layer: seven questions. HTMLLayout stands on this alone.
#pragma once

#include "Platform/types.h"

class CHTMLImage;

class HTMLCanvas {
public:
    virtual ~HTMLCanvas() = default;

    // Selects a font and gives the one before.
    virtual HFONT SelectFont(HFONT font) = 0;
    // How many of the first characters fit in `width` pixels. The size of the whole text when all fit or `width` is
    // negative (no limit); the extent of a text is the sum of its characters.
    virtual int Fit(const WCHAR* text, int length, int width, SIZE& size) = 0;
    // Pixels below the base line in the selected font.
    virtual int Descent() = 0;
    // Paints a text with its top left at a point.
    virtual void TextOut(int x, int y, const RECT& clip, const WCHAR* text, int length) = 0;
    // Colours of the text that follows; a null ground leaves what is there.
    virtual void SetColors(const COLORREF* text, const COLORREF* ground) = 0;
    virtual void FocusFrame(const RECT& rect) = 0;
    // A rule, or a picture scaled to a rectangle.
    virtual void Edge(int left, int right, int y) = 0;
    virtual void Picture(CHTMLImage& image, const RECT& rect) = 0;
};
