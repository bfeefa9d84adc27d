#include "NorvoUI/chrome.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/system.h"

#include <algorithm>
#include <array>
#include <atomic>

namespace {

constexpr int kHandheldWidth = 600; // pixels at 96 dots an inch, as below
constexpr int kTapTouched = 40;
constexpr int kTap = 32;
constexpr int kMargin = 6;

// In the order of EChromeColor.
std::array<std::atomic<COLORREF>, CHROME_COLORS> g_colors = {
    0x996633, // CHROME_BAR
    0xFFFFFF, // CHROME_BAR_TEXT
    0x774A22, // CHROME_BAR_PRESSED
    0xF6EEE8, // CHROME_ACTIVE
    0x774A22, // CHROME_ACTIVE_TEXT
    0xC7C8CC, // CHROME_LINE
    0x3DB3F2, // CHROME_FOCUS
};

// A hook, column by column: down the short leg, up the long one, both by whole pixels, which looks even without grey edges.
void DrawCheck(HDC hdc, POINT middle, int size, COLORREF color) {
    const LONG leg = std::max(size / 4, 2), thick = std::max(size / 5, 2);
    const LONG left = middle.x - 3 * leg / 2, top = middle.y - thick / 2;
    for (LONG i = 0; i <= 3 * leg; ++i) {
        const LONG y = top + (i <= leg ? i : 2 * leg - i);
        FillColor(hdc, {left + i, y, left + i + 1, y + thick}, color);
    }
}

// A disc, row by row.
void DrawDot(HDC hdc, POINT middle, int size, COLORREF color) {
    const int radius = std::max(size / 4, 2);
    for (int y = -radius; y <= radius; ++y) {
        int x = 0;
        while ((x + 1) * (x + 1) + y * y <= radius * radius + radius) ++x;
        FillColor(hdc, {middle.x - x, middle.y + y, middle.x + x + 1, middle.y + y + 1}, color);
    }
}

// A triangle, line by line from its tip.
void DrawArrow(HDC hdc, POINT middle, int size, EChromeMark mark, COLORREF color) {
    const int rows = std::max(size / 3, 3);
    const bool upright = mark == MARK_UP || mark == MARK_DOWN;
    const bool tipFirst = mark == MARK_UP || mark == MARK_LEFT;
    for (int i = 0; i < rows; ++i) {
        const int along = tipFirst ? i - rows / 2 : rows / 2 - i;
        const RECT line = upright
                              ? RECT{middle.x - i, middle.y + along, middle.x + i + 1, middle.y + along + 1}
                              : RECT{middle.x + along, middle.y - i, middle.x + along + 1, middle.y + i + 1};
        FillColor(hdc, line, color);
    }
}

} // namespace

COLORREF ChromeColor(EChromeColor color) { return g_colors[color]; }
void SetChromeColor(EChromeColor color, COLORREF value) { g_colors[color] = value; }

int ChromePx(int pixels) {
    HIDPI_InitScaling();
    return ScalePx(g_HIDPI_LogPixelsX, pixels);
}

int ChromeTapHeight() {
    return ChromePx(GetSystemMetrics(SM_CXSCREEN) < ChromePx(kHandheldWidth) ? kTapTouched : kTap);
}

int ChromeMargin() { return ChromePx(kMargin); }

HFONT ChromeFont::Make(int points, int weight) {
    HIDPI_InitScaling();
    return CreateFontPoint(u"Tahoma", points, weight, 0, 0, 0, 0);
}

void FillColor(HDC hdc, const RECT& rect, COLORREF color) {
    const HBRUSH brush = CreateSolidBrush(color);
    FillRect(hdc, &rect, brush);
    DeleteObject(brush);
}

void FrameColor(HDC hdc, const RECT& rect, COLORREF color, int thick) {
    FillColor(hdc, {rect.left, rect.top, rect.right, rect.top + thick}, color);
    FillColor(hdc, {rect.left, rect.bottom - thick, rect.right, rect.bottom}, color);
    FillColor(hdc, {rect.left, rect.top, rect.left + thick, rect.bottom}, color);
    FillColor(hdc, {rect.right - thick, rect.top, rect.right, rect.bottom}, color);
}

void DrawMark(HDC hdc, const RECT& box, EChromeMark mark, COLORREF color) {
    const POINT middle = {(box.left + box.right) / 2, (box.top + box.bottom) / 2};
    const int size = static_cast<int>(std::min(box.right - box.left, box.bottom - box.top));
    switch (mark) {
    case MARK_CHECK:
        return DrawCheck(hdc, middle, size, color);
    case MARK_RADIO:
        return DrawDot(hdc, middle, size, color);
    default:
        return DrawArrow(hdc, middle, size, mark, color);
    }
}
