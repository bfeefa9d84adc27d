// Views that slide in: the picture of before goes out as the new one comes in.
#include "QNGridCtrl/HTMLGridScreen.h"

#include <algorithm>
#include <utility>

namespace {

RECT OnScreen(HWND hWnd) {
    RECT rect{};
    ::GetClientRect(hWnd, &rect);
    ::MapWindowPoints(hWnd, nullptr, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

LONG HeightOf(HBITMAP bitmap) {
    BITMAP info{};
    GetObjectW(bitmap, sizeof info, &info);
    return info.bmHeight;
}

// What is on the screen there; null without memory.
HBITMAP CopyOfScreen(const RECT& rect) {
    const HDC screen = GetDC(nullptr);
    const HDC memory = CreateCompatibleDC(screen);
    const int width = rect.right - rect.left, height = rect.bottom - rect.top;
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
    if (bitmap) {
        const HGDIOBJ former = SelectObject(memory, bitmap);
        BitBlt(memory, 0, 0, width, height, screen, rect.left, rect.top, SRCCOPY);
        SelectObject(memory, former);
    }
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    return bitmap;
}

// The higher of both pictures is cut.
void SlideOver(RECT rect, HBITMAP from, HBITMAP to, bool bForward) {
    rect.bottom -= std::max<LONG>(HeightOf(from) - HeightOf(to), 0);
    if (from && to) CeBaseWnd::SlideBitmaps(rect, from, to, bForward);
}

} // namespace

void CHTMLGridScreen::SlideViewBefore() {
    if (m_hSlideBitmap) DeleteObject(m_hSlideBitmap);
    m_hSlideBitmap = CopyOfScreen(OnScreen(m_hWnd));
    ShowWindow(SW_HIDE);
}

void CHTMLGridScreen::SlideViewAfter(bool bForward) {
    if (PrepareBuffer()) SlideOver(OnScreen(m_hWnd), m_hSlideBitmap, m_hBackBitmap, bForward);
    if (m_hSlideBitmap) DeleteObject(std::exchange(m_hSlideBitmap, nullptr));
    DestroyBitmapBuffer(); // the next one has room to scroll
    ShowWindow(SW_SHOW);
}

void CHTMLGridScreen::Slide(CHTMLGridScreen& other, bool bForward) {
    const bool painted = PrepareBuffer() && other.PrepareBuffer();
    ShowWindow(SW_HIDE);
    if (painted) SlideOver(OnScreen(m_hWnd), m_hBackBitmap, other.m_hBackBitmap, bForward);
    for (CHTMLGridScreen* grid : {this, &other}) grid->DestroyBitmapBuffer(); // as above
    other.ShowWindow(SW_SHOW);
}
