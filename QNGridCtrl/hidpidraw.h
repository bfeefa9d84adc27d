// Drawing that is scaled from 96 dots an inch to the screen's. A size of 0 is the thing's own size, scaled. What is made
// belongs to the caller; null on failure.
#pragma once

#include "NorvoTools/globals.h"
#include "Platform/gdi.h"
#include "Platform/imagelist.h"

extern "C" {
// A new bitmap, nearest pixel; the old one stays.
QN_API HBITMAP HIDPI_StretchBitmap(HBITMAP bitmap, int width, int height);
// The same with all pixels of the key, and those alone, of the key.
QN_API HBITMAP HIDPI_StretchBitmap_Transparent(HBITMAP bitmap, int width, int height, COLORREF key);
// A new icon; the old one stays.
QN_API HICON HIDPI_StretchIcon(HICON icon, int width, int height);
// In the size of the screen's small icons.
QN_API HICON HIDPI_LoadIcon(HINSTANCE instance, WORD id);
// A bitmap resource as a list of pictures, each of them `width` pixels wide at 96 dots an inch and as high as the bitmap;
// pixels of the colour `key` are transparent.
QN_API HIMAGELIST HIDPI_ImageList_LoadImage(HINSTANCE instance, WORD id, int width, int grow, COLORREF key);
// The dots an inch that a bitmap was made for: what its section says, else 96.
QN_API int HIDPI_GetBitmapLogPixels(HBITMAP bitmap);

// With the pen's width scaled; with a border pen, as wide as the borders of the screen.
QN_API BOOL HIDPI_Rectangle(HDC hdc, int left, int top, int right, int bottom);
QN_API BOOL HIDPI_BorderRectangle(HDC hdc, int left, int top, int right, int bottom);
QN_API BOOL HIDPI_Polyline(HDC hdc, const POINT* points, int count);
QN_API BOOL HIDPI_BorderPolyline(HDC hdc, const POINT* points, int count);
}
