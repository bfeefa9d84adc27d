// Drawing objects: the screen's context, fonts and brushes as descriptions.
//
// All operations may be called on any thread. An object belongs to whoever made it and ends in DeleteObject; stock
// objects and system brushes belong to the host, and deleting them does nothing.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

inline constexpr int HORZRES = 8;
inline constexpr int VERTRES = 10;
inline constexpr int BITSPIXEL = 12;
inline constexpr int LOGPIXELSX = 88;
inline constexpr int LOGPIXELSY = 90;

// The context of the screen (null) or of a window; null with error 1400 for a window that is none. Every GetDC is paired
// with a ReleaseDC, which gives 1, or 0 when it is no context.
HDC GetDC(HWND window);
int ReleaseDC(HWND window, HDC dc);
// 0 for a context that is none or an index that is not listed above.
int GetDeviceCaps(HDC dc, int index);

inline constexpr int LF_FACESIZE = 32;
inline constexpr LONG FW_NORMAL = 400;
inline constexpr LONG FW_BOLD = 700;
struct LOGFONTW {
    LONG lfHeight; // pixels; negative is the height of the letters without the leading
    LONG lfWidth;
    LONG lfEscapement; // tenths of a degree
    LONG lfOrientation;
    LONG lfWeight;
    BYTE lfItalic;
    BYTE lfUnderline;
    BYTE lfStrikeOut;
    BYTE lfCharSet;
    BYTE lfOutPrecision;
    BYTE lfClipPrecision;
    BYTE lfQuality;
    BYTE lfPitchAndFamily;
    WCHAR lfFaceName[LF_FACESIZE];
};
static_assert(sizeof(LOGFONTW) == 92);
struct LOGBRUSH {
    UINT lbStyle; // 0 solid, 1 none
    COLORREF lbColor;
    LONG_PTR lbHatch;
};

// Null with error 87 without a description.
HFONT CreateFontIndirectW(const LOGFONTW* description);
HBRUSH CreateSolidBrush(COLORREF color);
// Copies the LOGFONTW or LOGBRUSH, at most `size` bytes of it; gives the bytes copied, or with a null buffer the bytes
// there are; 0 with error 6.
int GetObjectW(HGDIOBJ object, int size, void* buffer);
BOOL DeleteObject(HGDIOBJ object);

inline constexpr int WHITE_BRUSH = 0;
inline constexpr int LTGRAY_BRUSH = 1;
inline constexpr int GRAY_BRUSH = 2;
inline constexpr int DKGRAY_BRUSH = 3;
inline constexpr int BLACK_BRUSH = 4;
inline constexpr int NULL_BRUSH = 5;
inline constexpr int SYSTEM_FONT = 13;
// Null for a number that is not listed above.
HGDIOBJ GetStockObject(int index);

// --- Host side ----------------------------------------------------------------------------------------------------

struct PlatScreen {
    int width = 240;
    int height = 320;
    int dotsPerInch = 96;
};
// The screen that metrics and contexts tell of from now on; values below 1 are refused.
bool PlatSetScreen(const PlatScreen& screen);
PlatScreen PlatGetScreen();

#pragma GCC visibility pop
