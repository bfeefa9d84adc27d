// Fills of one colour, from colour to colour, and the looks of the suite's headers. Nothing is painted where the context
// is none. Colours are 0x00BBGGRR.
#pragma once

#include "NorvoTools/globals.h"
#include "Platform/gdi.h"

// The colour less `delta` in each channel, not below 0; the channels go out as well. A delta of 0 is 66 at 96 dots an inch
// and 50 otherwise. Black becomes lighter instead, each channel modulo 256.
QN_API COLORREF SetGradientColor(COLORREF color, int& r, int& g, int& b, int delta);

// The quickest solid fill; cx and cy are sizes. The context keeps its ground colour.
QN_API void PaintRect(HDC hdc, int x, int y, int cx, int cy, COLORREF color);
// Lays a colour, or the brush when there is one, over what is there: alpha 0 is nothing, 255 hides it.
QN_API bool ShadeRect(HDC hdc, const RECT& rect, COLORREF color, HBRUSH brush, BYTE alpha);

// By the platform; where that fails, in at most `steps` bands over five sixths of the way, the rest in `to`.
QN_API void GradientFillRectEx(HDC hdc, const RECT& rect, COLORREF from, COLORREF to, int steps,
                               bool bHorizontal);
QN_API void GradientFillRect(HDC hdc, const RECT& rect, COLORREF from, COLORREF to); // horizontal, 32 steps

// Fades over the upper three quarters.
QN_API void DrawSubtleGradient(const RECT& rect, HDC hdc, COLORREF from, COLORREF to);
// A shine on the upper half; rectangles less than twice as wide as high shine from a corner.
QN_API void DrawGlassGradient(const RECT& rect, HDC hdc, COLORREF color);
// How headers are filled, the value of `SystemHeaderStyle` in the suite's settings.
inline constexpr DWORD HEADER_SUBTLE = 1;
inline constexpr DWORD HEADER_GLASS = 2;
inline constexpr DWORD HEADER_SOLID = 3;
QN_API void DrawHeaderGradient(DWORD style, const RECT& rect, HDC hdc, COLORREF from, COLORREF to);
// In the style of the settings, read at the first call and then kept; glass is written there when none is set.
QN_API void DrawSystemGradient(const RECT& rect, HDC hdc, COLORREF from, COLORREF to);

// A brush that fills a rectangle of that size from a darker colour at the left to the colour; plain on devices whose
// pattern brushes are broken. The caller's; null on failure.
QN_API HBRUSH CreateGradientPatternBrush(const RECT& rect, HDC hdc, COLORREF color);
