#include "NorvoUI/CePopupFrame.h"

#include "NorvoUI/chrome.h"
#include "Platform/threads.h"

#include <utility>
#include <vector>

namespace {

constexpr int kBorder = 1; // pixels at 96 dots an inch, as the next
constexpr int kShadow = 2;
constexpr int kDarkest = 96; // of 255, next to the border; none beyond the edge

HBITMAP Copy(HDC from, const RECT& part) {
    const HBITMAP bitmap = CreateCompatibleBitmap(from, part.right - part.left, part.bottom - part.top);
    const HDC hdc = CreateCompatibleDC(from);
    if (bitmap) {
        const HGDIOBJ former = SelectObject(hdc, bitmap);
        BitBlt(hdc, 0, 0, part.right - part.left, part.bottom - part.top, from, part.left, part.top, SRCCOPY);
        SelectObject(hdc, former);
    }
    DeleteDC(hdc);
    return bitmap;
}

void PutBack(HDC to, HBITMAP bitmap, const RECT& part) {
    const HDC hdc = CreateCompatibleDC(to);
    const HGDIOBJ former = SelectObject(hdc, bitmap);
    BitBlt(to, part.left, part.top, part.right - part.left, part.bottom - part.top, hdc, 0, 0, SRCCOPY);
    SelectObject(hdc, former);
    DeleteDC(hdc);
}

// A strip of black of which so much covers what is there.
void Darken(HDC hdc, const RECT& strip, int alpha) {
    const HDC black = CreateCompatibleDC(hdc);
    const HBITMAP pixel = CreateCompatibleBitmap(hdc, 1, 1);
    const HGDIOBJ former = SelectObject(black, pixel);
    AlphaBlend(hdc, strip.left, strip.top, strip.right - strip.left, strip.bottom - strip.top, black, 0, 0, 1,
               1, {AC_SRC_OVER, 0, static_cast<BYTE>(alpha), 0});
    SelectObject(black, former);
    DeleteObject(pixel);
    DeleteDC(black);
}

void PaintBelow(HWND window) {
    if (GetWindowThreadProcessId(window, nullptr) != GetCurrentThreadId() || !IsWindowVisible(window)) return;
    RedrawWindow(window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
}

} // namespace

int CePopupFrame::Border() { return ChromePx(kBorder); }
int CePopupFrame::Shadow() { return ChromePx(kShadow); }

RECT CePopupFrame::Inside(const RECT& client) {
    return {client.left + Border(), client.top + Border(), client.right - Border() - Shadow(),
            client.bottom - Border() - Shadow()};
}

SIZE CePopupFrame::Around(SIZE inside) {
    const LONG more = 2 * Border() + Shadow();
    return {inside.cx + more, inside.cy + more};
}

void CePopupFrame::SettleBelow() {
    std::vector<HWND> windows; // topmost first
    for (HWND window = GetWindow(GetDesktopWindow(), GW_CHILD); window;
         window = GetWindow(window, GW_HWNDNEXT))
        windows.push_back(window);
    for (auto window = windows.rbegin(); window != windows.rend(); ++window) PaintBelow(*window);
}

void CePopupFrame::Forget() {
    for (HBITMAP* bitmap : {&m_hRight, &m_hBottom})
        if (const HBITMAP former = std::exchange(*bitmap, nullptr)) DeleteObject(former);
}

void CePopupFrame::Paint(HWND hWnd, HDC hdc) {
    RECT client{};
    GetClientRect(hWnd, &client);
    const LONG shadow = Shadow();
    const RECT box = {0, 0, client.right - shadow, client.bottom - shadow};
    const RECT right = {box.right, 0, client.right, client.bottom},
               bottom = {0, box.bottom, box.right, client.bottom};
    if (!m_hRight) m_hRight = Copy(hdc, right);
    if (!m_hBottom) m_hBottom = Copy(hdc, bottom);
    PutBack(hdc, m_hRight, right);
    PutBack(hdc, m_hBottom, bottom);
    for (LONG i = 0; i < shadow; ++i) {
        const int alpha = kDarkest * static_cast<int>(shadow - i) / static_cast<int>(shadow + 1);
        Darken(hdc, {box.right + i, shadow, box.right + i + 1, box.bottom + i + 1}, alpha);
        Darken(hdc, {shadow, box.bottom + i, box.right + i, box.bottom + i + 1}, alpha);
    }
    FrameColor(hdc, box, GetSysColor(COLOR_GRAYTEXT), Border());
}
