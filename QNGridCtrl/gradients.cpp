#include "QNGridCtrl/gradients.h"

#include "NorvoTools/StrFunctions.h"
#include "NorvoTools/registryfunctions.h"
#include "NorvoUI/hidpi.h"
#include "Platform/memorycontext.h"
#include "Platform/strings.h"
#include "Platform/windows.h"

#include <algorithm>
#include <memory>

namespace {

constexpr int kSteps = 32;
constexpr const WCHAR* kSettings = u"Software\\Norvo\\Quillonary";
constexpr const WCHAR* kHeaderStyle = u"SystemHeaderStyle";

int Red(COLORREF c) { return static_cast<int>(c & 0xFF); }
int Green(COLORREF c) { return static_cast<int>(c >> 8 & 0xFF); }
int Blue(COLORREF c) { return static_cast<int>(c >> 16 & 0xFF); }

COLORREF ColorOf(int r, int g, int b) {
    const auto byte = [](int v) { return static_cast<COLORREF>(v) & 0xFF; };
    return byte(r) | byte(g) << 8 | byte(b) << 16;
}

COLORREF Moved(COLORREF color, int by) {
    const auto moved = [by](int channel) { return std::clamp(channel + by, 0, 255); };
    return ColorOf(moved(Red(color)), moved(Green(color)), moved(Blue(color)));
}

TRIVERTEX Corner(LONG x, LONG y, COLORREF color) {
    const auto wide = [](int channel) { return static_cast<WORD>(channel << 8); };
    return {x, y, wide(Red(color)), wide(Green(color)), wide(Blue(color)), 0};
}

bool FillByPlatform(HDC hdc, const RECT& rect, COLORREF from, COLORREF to, bool bHorizontal) {
    TRIVERTEX corners[] = {Corner(rect.left, rect.top, from), Corner(rect.right, rect.bottom, to)};
    GRADIENT_RECT whole{0, 1};
    return GradientFill(hdc, corners, 2, &whole, 1,
                        bHorizontal ? GRADIENT_FILL_RECT_H : GRADIENT_FILL_RECT_V);
}

// `distance` of `span` pixels before the place where `to` is reached.
COLORREF BandColor(COLORREF from, COLORREF to, int distance, int span) {
    const auto at = [&](int a, int b) { return b + (a - b) * distance / span; };
    return ColorOf(at(Red(from), Red(to)), at(Green(from), Green(to)), at(Blue(from), Blue(to)));
}

// The part [start, end) of the rectangle in the gradient's direction.
void FillPart(HDC hdc, const RECT& rect, bool bHorizontal, int start, int end, COLORREF color) {
    if (start >= end) return;
    if (bHorizontal)
        PaintRect(hdc, rect.left + start, rect.top, end - start, rect.bottom - rect.top, color);
    else
        PaintRect(hdc, rect.left, rect.top + start, rect.right - rect.left, end - start, color);
}

void FillInBands(HDC hdc, const RECT& rect, COLORREF from, COLORREF to, int steps, bool bHorizontal) {
    const int length = bHorizontal ? rect.right - rect.left : rect.bottom - rect.top;
    const int span = length * 5 / 6;
    const int band = std::max(span / std::max(steps, 1), 1);
    FillPart(hdc, rect, bHorizontal, span, length, to);
    int front = span;
    if (span > band)
        for (; front >= band; front -= band)
            FillPart(hdc, rect, bHorizontal, front - band, front,
                     BandColor(from, to, span - front + band, span));
    FillPart(hdc, rect, bHorizontal, 0, front, from);
}

struct DeleteBitmap {
    using pointer = HBITMAP;
    void operator()(HBITMAP bitmap) const { DeleteObject(bitmap); }
};
using Bitmap = std::unique_ptr<HBITMAP, DeleteBitmap>;

Bitmap SameSize(HDC hdc, const RECT& rect) {
    return Bitmap(CreateCompatibleBitmap(hdc, rect.right - rect.left, rect.bottom - rect.top));
}

bool Blend(HDC hdc, const RECT& rect, HDC picture, BYTE alpha) {
    const int width = rect.right - rect.left, height = rect.bottom - rect.top;
    return AlphaBlend(hdc, rect.left, rect.top, width, height, picture, 0, 0, width, height,
                      {AC_SRC_OVER, 0, alpha, 0});
}

// Two halves that run against each other: pale to the colour, dark to the colour.
void DrawShine(const RECT& rect, HDC hdc, COLORREF color) {
    const int pale = std::min((Red(color) + Green(color) + Blue(color)) / 3 + 80, 255);
    const int middle = (rect.top + rect.bottom) / 2;
    GradientFillRectEx(hdc, {rect.left, rect.top, rect.right, middle}, ColorOf(pale, pale, pale),
                       Moved(color, 5), kSteps, false);
    GradientFillRectEx(hdc, {rect.left, middle, rect.right, rect.bottom}, Moved(color, -69), color, kSteps,
                       false);
}

// Equal shares of a fall from black and of a run from white.
void DrawCornerShine(const RECT& rect, HDC hdc, COLORREF color) {
    const Bitmap bitmap = SameSize(hdc, rect);
    if (!bitmap) return;
    const MemoryContext picture(bitmap.get());
    GradientFillRectEx(picture, {0, 0, rect.right - rect.left, rect.bottom - rect.top}, 0x000000, color,
                       kSteps, false);
    GradientFillRectEx(hdc, rect, 0xFFFFFF, color, kSteps, true);
    Blend(hdc, rect, picture, 128);
}

DWORD HeaderStyle() {
    static const DWORD style = [] {
        DWORD set = HEADER_GLASS;
        if (GetFromRegistry(HKEY_CURRENT_USER, kSettings, kHeaderStyle, &set) != 0)
            SetToRegistry(HKEY_CURRENT_USER, kSettings, kHeaderStyle, set);
        return set;
    }();
    return style;
}

// Two devices can't paint with patterns.
bool HasPatternBrushes() {
    static const bool has = [] {
        WCHAR name[128] = {};
        constexpr UINT kRoom = 127;
        if (!SystemParametersInfoW(SPI_GETOEMINFO, kRoom, name, 0)) return true;
        return wcscmp(name, u"Kaiser") != 0 && _wcsicmp(name, u"TYTN II") != 0;
    }();
    return has;
}

} // namespace

COLORREF SetGradientColor(COLORREF color, int& r, int& g, int& b, int delta) {
    HIDPI_InitScaling();
    if (delta == 0) delta = g_HIDPI_LogPixelsX == 96 ? 66 : 50;
    const bool black = (color & 0xFFFFFF) == 0;
    const auto twin = [&](int channel) { return black ? delta & 0xFF : std::max(channel - delta, 0) & 0xFF; };
    r = twin(Red(color));
    g = twin(Green(color));
    b = twin(Blue(color));
    return ColorOf(r, g, b);
}

void PaintRect(HDC hdc, int x, int y, int cx, int cy, COLORREF color) {
    const RECT rect{x, y, x + cx, y + cy};
    const COLORREF former = SetBkColor(hdc, color);
    ExtTextOutW(hdc, x, y, ETO_OPAQUE, &rect, u"", 0, nullptr);
    SetBkColor(hdc, former);
}

bool ShadeRect(HDC hdc, const RECT& rect, COLORREF color, HBRUSH brush, BYTE alpha) {
    const RECT inside{0, 0, rect.right - rect.left, rect.bottom - rect.top};
    const Bitmap bitmap = SameSize(hdc, rect);
    if (!bitmap) return false;
    const MemoryContext picture(bitmap.get());
    if (!brush && color == 0xFFFFFF) brush = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
    if (brush)
        FillRect(picture, &inside, brush);
    else
        PaintRect(picture, 0, 0, inside.right, inside.bottom, color);
    return Blend(hdc, rect, picture, alpha);
}

void GradientFillRectEx(HDC hdc, const RECT& rect, COLORREF from, COLORREF to, int steps, bool bHorizontal) {
    if (!FillByPlatform(hdc, rect, from, to, bHorizontal))
        FillInBands(hdc, rect, from, to, steps, bHorizontal);
}

void GradientFillRect(HDC hdc, const RECT& rect, COLORREF from, COLORREF to) {
    GradientFillRectEx(hdc, rect, from, to, kSteps, true);
}

void DrawSubtleGradient(const RECT& rect, HDC hdc, COLORREF from, COLORREF to) {
    const int fades = (rect.bottom - rect.top) * 3 / 4;
    const int end = rect.top + fades;
    GradientFillRectEx(hdc, {rect.left, rect.top, rect.right, end}, from, to, fades, false);
    PaintRect(hdc, rect.left, end, rect.right - rect.left, rect.bottom - end, to);
}

void DrawGlassGradient(const RECT& rect, HDC hdc, COLORREF color) {
    const bool wide = rect.right - rect.left >= (rect.bottom - rect.top) * 2;
    (wide ? DrawShine : DrawCornerShine)(rect, hdc, color);
}

void DrawHeaderGradient(DWORD style, const RECT& rect, HDC hdc, COLORREF from, COLORREF to) {
    if (style == HEADER_SUBTLE) return DrawSubtleGradient(rect, hdc, from, to);
    if (style == HEADER_GLASS) return DrawGlassGradient(rect, hdc, to);
    PaintRect(hdc, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top, to);
}

void DrawSystemGradient(const RECT& rect, HDC hdc, COLORREF from, COLORREF to) {
    DrawHeaderGradient(HeaderStyle(), rect, hdc, from, to);
}

HBRUSH CreateGradientPatternBrush(const RECT& rect, HDC hdc, COLORREF color) {
    if (!HasPatternBrushes()) return CreateSolidBrush(color);
    const RECT inside{0, 0, rect.right - rect.left, rect.bottom - rect.top};
    const Bitmap bitmap = SameSize(hdc, rect);
    if (!bitmap) return nullptr;
    int r, g, b;
    GradientFillRectEx(MemoryContext(bitmap.get()), inside, SetGradientColor(color, r, g, b, 0), color,
                       kSteps, true);
    return CreatePatternBrush(bitmap.get());
}
