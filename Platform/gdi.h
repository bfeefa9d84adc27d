// Drawing: contexts, bitmaps, pens, brushes, fonts, regions, text. Everything paints into memory.
//
// A context draws on a bitmap (CreateCompatibleDC, SelectObject) or on a window (GetDC, BeginPaint in windows.h); it
// belongs to the thread that uses it, two threads may draw with two contexts at once. An object belongs to whoever made
// it and ends in DeleteObject, once it is selected in no context: deleting one that still is takes effect when it is
// selected out. Stock objects and system brushes belong to the host, and deleting them does nothing.
//
// Coordinates are whole pixels of the window's client area or of the bitmap. A rectangle has its right and bottom edge
// outside. Nothing is antialiased but text and alpha. Colours are 0x00BBGGRR. An operation on a handle that is none
// fails with error 6 and draws nothing.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

// --- Contexts -----------------------------------------------------------------------------------------------------

inline constexpr int HORZRES = 8;
inline constexpr int VERTRES = 10;
inline constexpr int BITSPIXEL = 12;
inline constexpr int LOGPIXELSX = 88;
inline constexpr int LOGPIXELSY = 90;

// The context of the screen (null) or of a window's client area; null with error 1400 for a window that is none. Every
// GetDC is paired with a ReleaseDC, which gives 1, or 0 when it is no context.
HDC GetDC(HWND window);
int ReleaseDC(HWND window, HDC dc);
// A context in memory: one pixel, until a bitmap is selected.
HDC CreateCompatibleDC(HDC dc);
BOOL DeleteDC(HDC dc);
// Where on its bitmap the coordinates of a context in memory begin; the clip stays where it is on the bitmap. False with
// error 87 for any other.
BOOL SetViewportOrgEx(HDC dc, int x, int y, POINT* former);
// Keeps the objects, colours, clip and origin of a context (the bitmap too); gives a level. RestoreDC goes back to a level, -1 is the last.
int SaveDC(HDC dc);
BOOL RestoreDC(HDC dc, int level);
// 0 for a context that is none or an index that is not listed above.
int GetDeviceCaps(HDC dc, int index);
// Selects a bitmap (contexts in memory alone), pen, brush, font or region; gives the object of that kind that was
// selected before, null on failure. Of a region the clip is a copy, and the result is its kind.
HGDIOBJ SelectObject(HDC dc, HGDIOBJ object);

inline constexpr int TRANSPARENT = 1;
inline constexpr int OPAQUE = 2;
// Each gives the former value, 0 (a colour 0xFFFFFFFF) on failure.
int SetBkMode(HDC dc, int mode);
COLORREF SetBkColor(HDC dc, COLORREF color);
COLORREF GetBkColor(HDC dc);
COLORREF SetTextColor(HDC dc, COLORREF color);
COLORREF GetTextColor(HDC dc);

// --- Objects ------------------------------------------------------------------------------------------------------

inline constexpr int LF_FACESIZE = 32;
inline constexpr LONG FW_NORMAL = 400;
inline constexpr LONG FW_BOLD = 700;
struct LOGFONTW {
    LONG
        lfHeight; // pixels: positive from the top of the tallest letter to the bottom of the deepest, negative the em
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
    BYTE
        lfQuality; // 3: edges without greys; 5, 6: finer than a pixel where the screen can (PlatUsePixelColumns)
    BYTE lfPitchAndFamily;
    WCHAR lfFaceName[LF_FACESIZE];
};
static_assert(sizeof(LOGFONTW) == 92);
inline constexpr UINT BS_SOLID = 0;
inline constexpr UINT BS_HOLLOW = 1;
inline constexpr UINT BS_PATTERN = 3;
struct LOGBRUSH {
    UINT lbStyle;
    COLORREF lbColor;
    LONG_PTR lbHatch; // the bitmap of a pattern
};
inline constexpr UINT PS_SOLID = 0;
inline constexpr UINT PS_NULL = 5;
struct LOGPEN {
    UINT lopnStyle;
    POINT lopnWidth; // x alone
    COLORREF lopnColor;
};

// Null with error 87 without a description.
HFONT CreateFontIndirectW(const LOGFONTW* description);
HBRUSH CreateSolidBrush(COLORREF color);
// Tiles the bitmap from the context's origin; the bitmap may go afterwards.
HBRUSH CreatePatternBrush(HBITMAP bitmap);
// PS_SOLID or PS_NULL; a width of 0 is 1.
HPEN CreatePen(int style, int width, COLORREF color);
// Copies the LOGFONTW, LOGBRUSH, LOGPEN, BITMAP or DIBSECTION, at most `size` bytes of it; gives the bytes copied, or
// with a null buffer the bytes there are; 0 with error 6.
int GetObjectW(HGDIOBJ object, int size, void* buffer);
BOOL DeleteObject(HGDIOBJ object);

inline constexpr int WHITE_BRUSH = 0;
inline constexpr int LTGRAY_BRUSH = 1;
inline constexpr int GRAY_BRUSH = 2;
inline constexpr int DKGRAY_BRUSH = 3;
inline constexpr int BLACK_BRUSH = 4;
inline constexpr int NULL_BRUSH = 5;
inline constexpr int WHITE_PEN = 6;
inline constexpr int BLACK_PEN = 7;
inline constexpr int NULL_PEN = 8;
inline constexpr int SYSTEM_FONT = 13;
// Null for a number that is not listed above.
HGDIOBJ GetStockObject(int index);

// --- Bitmaps ------------------------------------------------------------------------------------------------------

struct BITMAP {
    LONG bmType; // 0
    LONG bmWidth;
    LONG bmHeight;
    LONG bmWidthBytes; // of a row
    WORD bmPlanes;
    WORD bmBitsPixel;
    void* bmBits; // of a section, null otherwise
};
struct BITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight; // negative: the first row is the top one
    WORD biPlanes;
    WORD biBitCount;     // 24 or 32
    DWORD biCompression; // BI_RGB
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
};
struct RGBQUAD {
    BYTE rgbBlue;
    BYTE rgbGreen;
    BYTE rgbRed;
    BYTE rgbReserved;
};
struct BITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
};
struct DIBSECTION {
    BITMAP dsBm;
    BITMAPINFOHEADER dsBmih;
};
inline constexpr DWORD BI_RGB = 0;
inline constexpr UINT DIB_RGB_COLORS = 0;

// 24 bits a pixel, black. Null with error 87 for a side below 1, 8 for one that memory can't hold (over 16,384, or
// 2^28 pixels).
HBITMAP CreateCompatibleBitmap(HDC dc, int width, int height);
// 24 or 32 bits; `bits` as for SetBitmapBits, or null.
HBITMAP CreateBitmap(int width, int height, UINT planes, UINT bitsPixel, const void* bits);
// Rows from the top, each of B, G, R (and one byte more at 32 bits) and padded to an even number of bytes. Gives the
// bytes taken.
LONG SetBitmapBits(HBITMAP bitmap, DWORD bytes, const void* bits);
// A bitmap whose pixels the caller reads and writes at *bits while it lives: B, G, R (and one byte at 32 bits), rows
// padded to four bytes, from the bottom unless biHeight is negative. The context is not looked at, nor the last two.
HBITMAP CreateDIBSection(HDC dc, const BITMAPINFO* info, UINT usage, void** bits, HANDLE section,
                         DWORD offset);
// Copies rows from `start` counted from the bottom in the form that info asks for: 24 or 32 bits, rows of biWidth pixels
// of which those beyond the bitmap stay as they are, from the top when biHeight is negative. Null bits fill info alone.
// Gives the rows; 0 with error 87 for another form.
int GetDIBits(HDC dc, HBITMAP bitmap, UINT start, UINT rows, void* bits, BITMAPINFO* info, UINT usage);

inline constexpr DWORD SRCCOPY = 0x00CC0020;
inline constexpr DWORD PATCOPY = 0x00F00021;
inline constexpr DWORD PATINVERT = 0x005A0049;
inline constexpr DWORD BLACKNESS = 0x00000042;
inline constexpr DWORD WHITENESS = 0x00FF0062;
// Within one bitmap the copy acts as if through another. PATCOPY and PATINVERT use the brush and need no source. What
// lies outside the source is not copied. False with error 87 for another operation.
BOOL BitBlt(HDC to, int x, int y, int width, int height, HDC from, int fromX, int fromY, DWORD operation);
BOOL PatBlt(HDC dc, int x, int y, int width, int height, DWORD operation);
// Nearest pixel.
BOOL StretchBlt(HDC to, int x, int y, int width, int height, HDC from, int fromX, int fromY, int fromWidth,
                int fromHeight, DWORD operation);
// Nearest pixel; pixels of the colour `key` are left out.
BOOL TransparentImage(HDC to, int x, int y, int width, int height, HDC from, int fromX, int fromY,
                      int fromWidth, int fromHeight, COLORREF key);
inline constexpr BYTE AC_SRC_OVER = 0;
inline constexpr BYTE AC_SRC_ALPHA = 1;
struct BLENDFUNCTION {
    BYTE BlendOp; // AC_SRC_OVER
    BYTE BlendFlags;
    BYTE SourceConstantAlpha; // 255 is opaque
    BYTE AlphaFormat;         // AC_SRC_ALPHA: the source has 32 bits, its colours multiplied with its alpha
};
// False with error 87 for another operation, or for transparency of a source of 24 bits.
BOOL AlphaBlend(HDC to, int x, int y, int width, int height, HDC from, int fromX, int fromY, int fromWidth,
                int fromHeight, BLENDFUNCTION blend);

// --- Shapes -------------------------------------------------------------------------------------------------------

int FillRect(HDC dc, const RECT* rect, HBRUSH brush);
// The pen inside the edges, the brush within.
BOOL Rectangle(HDC dc, int left, int top, int right, int bottom);
// Pen lines one pixel wide or more, without the last point; Polygon goes back to the first one and fills with the brush.
BOOL Polyline(HDC dc, const POINT* points, int count);
BOOL Polygon(HDC dc, const POINT* points, int count);
// The colour there was set, 0xFFFFFFFF outside of the bitmap or the clip.
COLORREF SetPixel(HDC dc, int x, int y, COLORREF color);
COLORREF GetPixel(HDC dc, int x, int y);
// A dotted frame; drawn twice it is gone.
BOOL DrawFocusRect(HDC dc, const RECT* rect);
BOOL InvertRect(HDC dc, const RECT* rect);

struct TRIVERTEX {
    LONG x;
    LONG y;
    WORD Red; // 0xFF00 is full
    WORD Green;
    WORD Blue;
    WORD Alpha;
};
struct GRADIENT_RECT {
    ULONG UpperLeft; // indexes of vertices
    ULONG LowerRight;
};
inline constexpr ULONG GRADIENT_FILL_RECT_H = 0;
inline constexpr ULONG GRADIENT_FILL_RECT_V = 1;
// From the first vertex's colour at the first pixel towards the second one's, which is reached behind the last.
BOOL GradientFill(HDC dc, TRIVERTEX* vertices, ULONG vertexCount, void* mesh, ULONG meshCount, ULONG mode);

// --- Clip ---------------------------------------------------------------------------------------------------------

inline constexpr int NULLREGION = 1;
inline constexpr int SIMPLEREGION = 2;
inline constexpr int COMPLEXREGION = 3;
inline constexpr int RGN_AND = 1;
inline constexpr int RGN_OR = 2;
inline constexpr int RGN_XOR = 3;
inline constexpr int RGN_DIFF = 4;
inline constexpr int RGN_COPY = 5;

HRGN CreateRectRgn(int left, int top, int right, int bottom);
// Each gives the kind of the region that comes of it, 0 on failure.
int CombineRgn(HRGN result, HRGN a, HRGN b, int mode);
int GetRgnBox(HRGN region, RECT* box);
// A copy; null takes the clip off.
int SelectClipRgn(HDC dc, HRGN region);
int ExcludeClipRect(HDC dc, int left, int top, int right, int bottom);
int IntersectClipRect(HDC dc, int left, int top, int right, int bottom);
// The box round all that can be painted.
int GetClipBox(HDC dc, RECT* box);

// --- Text ---------------------------------------------------------------------------------------------------------

struct TEXTMETRICW {
    LONG tmHeight; // tmAscent + tmDescent; of a font of positive height exactly that
    LONG tmAscent;
    LONG tmDescent;
    LONG tmInternalLeading;
    LONG tmExternalLeading;
    LONG tmAveCharWidth;
    LONG tmMaxCharWidth;
    LONG tmWeight;
};
BOOL GetTextMetricsW(HDC dc, TEXTMETRICW* metrics);
// Characters have whole-pixel widths and neither kerning nor ligatures: the width of a text is the sum of its parts.
// *fit: how many of the first characters are no wider than `extent` together, never half of a surrogate pair;
// `widths`[i]: the width of the first i + 1. Either may be null. *size: of the whole text.
BOOL GetTextExtentExPointW(HDC dc, LPCWSTR text, int count, int extent, int* fit, int* widths, SIZE* size);
BOOL GetTextExtentPoint32W(HDC dc, LPCWSTR text, int count, SIZE* size);

inline constexpr UINT ETO_OPAQUE = 2; // fill the rectangle with the ground first, also under an empty text
inline constexpr UINT ETO_CLIPPED = 4;
// The text with its top left at x, y, in its reading order. In mode OPAQUE its box is filled with the ground.
BOOL ExtTextOutW(HDC dc, int x, int y, UINT options, const RECT* rect, LPCWSTR text, UINT count,
                 const int* spacing);

inline constexpr UINT DT_LEFT = 0;
inline constexpr UINT DT_CENTER = 1;
inline constexpr UINT DT_RIGHT = 2;
inline constexpr UINT DT_VCENTER = 4;
inline constexpr UINT DT_WORDBREAK = 0x10;
inline constexpr UINT DT_SINGLELINE = 0x20;
inline constexpr UINT DT_NOCLIP = 0x100;
inline constexpr UINT DT_CALCRECT = 0x400;
inline constexpr UINT DT_NOPREFIX = 0x800;
inline constexpr UINT DT_END_ELLIPSIS = 0x8000;
// Gives the height of the text. With DT_CALCRECT nothing is drawn and the rectangle takes its size. A count of -1 is a
// text that ends with zero.
int DrawTextW(HDC dc, LPCWSTR text, int count, RECT* rect, UINT flags);

// --- Rectangles ---------------------------------------------------------------------------------------------------

BOOL SetRect(RECT* rect, int left, int top, int right, int bottom);
BOOL SetRectEmpty(RECT* rect);
BOOL InflateRect(RECT* rect, int x, int y);
BOOL OffsetRect(RECT* rect, int x, int y);
// True when something is left; an empty result is all zero.
BOOL IntersectRect(RECT* result, const RECT* a, const RECT* b);
BOOL UnionRect(RECT* result, const RECT* a, const RECT* b);
BOOL IsRectEmpty(const RECT* rect);
BOOL EqualRect(const RECT* a, const RECT* b);
BOOL PtInRect(const RECT* rect, POINT point);

// --- Host side ----------------------------------------------------------------------------------------------------

struct PlatScreen {
    int width = 480;
    int height = 640;
    int dotsPerInch = 96;
};
// The screen that metrics and contexts tell of from now on; all windows are painted anew, and the top-level ones hear of it
// by WM_SETTINGCHANGE (SPI_SETWORKAREA). Values below 1 or beyond what memory holds are refused. The first one is that of
// the environment, QN_SCREEN=WIDTHxHEIGHT or WIDTHxHEIGHT@DPI.
bool PlatSetScreen(const PlatScreen& screen);
PlatScreen PlatGetScreen();
// The pixels of the real screen are columns of red, green and blue, from the left: fonts of quality 5 and 6 that are first
// used from now on make use of them. Off at first, so that pictures are the same everywhere.
void PlatUsePixelColumns(bool on);

#pragma GCC visibility pop
