// Scrolling: by pixels, rows and pages, by the bars, by fingers, at the edges during a drag.
#include "QNGridCtrl/HTMLGrid.h"

#include <algorithm>
#include <climits>
#include <utility>

namespace {

constexpr WPARAM kAutoScrollTimer = 77;
constexpr UINT kAutoScrollPeriod = 300; // milliseconds
constexpr int kMostTries = 16; // of reaching the end of a virtual grid, whose rows are measured on the way

// From a pixel of an axis `count` rows or columns on, at least to the first that scrolls; one that is cut at the pixel
// counts on the way back, and those of no size never do.
int StepFrom(const HTMLGridAxis& axis, int pixel, int first, int count) {
    const int end = axis.Count();
    int index = std::clamp(axis.At(pixel), first, end);
    if (count < 0 && axis.Before(index) < pixel) ++count;
    for (; count < 0 && index > first; ++count) do
            --index;
        while (index > first && axis.Size(index) == 0);
    for (; count > 0 && index < end; --count) do
            ++index;
        while (index < end && axis.Size(index) == 0);
    return index;
}

} // namespace

// --- The position -------------------------------------------------------------------------------------------------

bool CHTMLGrid::MoveTo(int left, int top, int overscroll) {
    const int formerLeft = m_nLeftPixel, formerTop = m_nTopPixel, former = m_nOverscroll;
    if (left == formerLeft && top == formerTop && overscroll == former) return false;
    m_nLeftPixel = left;
    m_nTopPixel = top;
    m_nOverscroll = overscroll;
    m_Kinetic.SetOverscroll(overscroll);
    RecalcScreenCells();
    if (m_nLeftPixel == formerLeft && m_nTopPixel == formerTop && overscroll == former) return false;
    RequestUpdate(UPDATE_SCROLLED);
    if (m_nTopPixel != formerTop) UpdateScrollBars(GRID_BAR_VERTICAL);
    if (m_nLeftPixel != formerLeft) UpdateScrollBars(GRID_BAR_HORIZONTAL);
    UpdateParentWithScrollingPosition(true);
    UpdateParentWithScrollingPosition(false);
    return true;
}

void CHTMLGrid::UpdateParentWithScrollingPosition(bool bVertical) {
    const int position = bVertical ? m_nTopPixel + m_nOverscroll : m_nLeftPixel;
    int& told = bVertical ? m_nToldTop : m_nToldLeft;
    if (std::exchange(told, position) != position)
        ::PostMessageW(Owner(), GRIDM_SCROLLED, bVertical, position);
}

// --- Pixels -------------------------------------------------------------------------------------------------------

bool CHTMLGrid::ScrollByPixelUp(int pixels, bool bNoClamp, bool bTouch) {
    const int least = GetFixedRowsHeight();
    if (pixels <= 0 || (!bTouch && m_nTopPixel <= least && m_nOverscroll == 0)) return false;
    const int back = std::clamp(m_nOverscroll, 0, pixels);
    int overscroll = m_nOverscroll - back, top = m_nTopPixel - (pixels - back);
    if (top < least && !bNoClamp) {
        if (bTouch) overscroll -= (least - top) / 2;
        top = least;
    }
    return MoveTo(m_nLeftPixel, top, overscroll);
}

bool CHTMLGrid::ScrollByPixelDown(int pixels, bool bNoClamp, bool bTouch) {
    if (pixels <= 0 || (!bTouch && m_nTopPixel >= m_nMaxTop && m_nOverscroll == 0)) return false;
    const int back = std::clamp(-m_nOverscroll, 0, pixels);
    int overscroll = m_nOverscroll + back;
    const LONGLONG wanted = LONGLONG{m_nTopPixel} + (pixels - back);
    int top = static_cast<int>(std::min<LONGLONG>(wanted, INT_MAX));
    if (top > m_nMaxTop && !bNoClamp) {
        if (bTouch) overscroll += (top - m_nMaxTop) / 2;
        top = m_nMaxTop;
    }
    return MoveTo(m_nLeftPixel, top, overscroll);
}

bool CHTMLGrid::ScrollByPixelLeft(int pixels) {
    return pixels > 0 && MoveTo(std::max(m_nLeftPixel - pixels, GetFixedColsWidth()), m_nTopPixel);
}

bool CHTMLGrid::ScrollByPixelRight(int pixels) {
    const LONGLONG wanted = LONGLONG{m_nLeftPixel} + pixels;
    return pixels > 0 && MoveTo(static_cast<int>(std::min<LONGLONG>(wanted, m_nMaxLeft)), m_nTopPixel);
}

// --- Rows, columns, pages -----------------------------------------------------------------------------------------

bool CHTMLGrid::ScrollByRowUp(WORD rows, bool bSelect) {
    const int row = StepFrom(m_Rows, m_nTopPixel, m_wFixedRows, -rows);
    const bool moved = ScrollByPixelUp(m_nTopPixel - m_Rows.Before(row));
    if (moved && bSelect) SetRow(GetTopRow());
    return moved;
}

bool CHTMLGrid::ScrollByRowDown(WORD rows, bool bSelect) {
    const int row = StepFrom(m_Rows, m_nTopPixel, m_wFixedRows, rows);
    const bool moved = ScrollByPixelDown(m_Rows.Before(row) - m_nTopPixel);
    if (moved && bSelect) SetRow(GetTopRow());
    return moved;
}

bool CHTMLGrid::ScrollByColLeft(WORD cols) {
    return ScrollByPixelLeft(m_nLeftPixel -
                             m_Cols.Before(StepFrom(m_Cols, m_nLeftPixel, m_wFixedCols, -cols)));
}

bool CHTMLGrid::ScrollByColRight(WORD cols) {
    return ScrollByPixelRight(m_Cols.Before(StepFrom(m_Cols, m_nLeftPixel, m_wFixedCols, cols)) -
                              m_nLeftPixel);
}

bool CHTMLGrid::ScrollByPageUp() { return ScrollByPixelUp(m_nClientHeight - GetFixedRowsHeight()); }
bool CHTMLGrid::ScrollByPageDown() { return ScrollByPixelDown(m_nClientHeight - GetFixedRowsHeight()); }
bool CHTMLGrid::ScrollByPageLeft() { return ScrollByPixelLeft(m_nClientWidth - GetFixedColsWidth()); }
bool CHTMLGrid::ScrollByPageRight() { return ScrollByPixelRight(m_nClientWidth - GetFixedColsWidth()); }

bool CHTMLGrid::ScrollToTop() { return MoveTo(m_nLeftPixel, GetFixedRowsHeight(), 0); }

// Rows that are measured on the way move the end.
bool CHTMLGrid::ScrollToBottom() {
    bool moved = false;
    for (int i = 0; i < kMostTries && MoveTo(m_nLeftPixel, m_nMaxTop, 0); ++i) moved = true;
    return moved;
}

bool CHTMLGrid::ScrollToLeft() { return MoveTo(GetFixedColsWidth(), m_nTopPixel); }
bool CHTMLGrid::ScrollToRight() { return MoveTo(m_nMaxLeft, m_nTopPixel); }

// --- Bars ---------------------------------------------------------------------------------------------------------

// Where that bar is: the grid's own, or the window in its place. False when there is no such window.
bool CHTMLGrid::FindBar(int bar, HWND& hBar, int& number) const {
    hBar = HasOwnBars() ? m_hWnd : bar == SB_VERT ? m_hVerticalBar : m_hHorizontalBar;
    number = HasOwnBars() ? bar : SB_CTL;
    return hBar != nullptr;
}

bool CHTMLGrid::GetScrollInfoEx(int bar, SCROLLINFO& info) const {
    HWND hBar;
    int number;
    return FindBar(bar, hBar, number) && ::GetScrollInfo(hBar, number, &info);
}

int CHTMLGrid::SetScrollInfoEx(int bar, const SCROLLINFO& info) {
    HWND hBar;
    int number;
    return FindBar(bar, hBar, number) ? ::SetScrollInfo(hBar, number, &info, TRUE) : 0;
}

LRESULT CHTMLGrid::OnHScroll(UINT code, int) { return OnBar(SB_HORZ, code); }

LRESULT CHTMLGrid::OnVScroll(UINT code, int) {
    if (code == SB_THUMBTRACK || code == SB_THUMBPOSITION) ShowScrollTip();
    if (code == SB_ENDSCROLL && m_pScrollTip) m_pScrollTip->HideToolTip();
    return OnBar(SB_VERT, code);
}

bool CHTMLGrid::OnBar(int bar, UINT code) {
    const bool vertical = bar == SB_VERT;
    switch (code) {
    case SB_LINEUP:
        return ScrollByArrow(bar, -1);
    case SB_LINEDOWN:
        return ScrollByArrow(bar, 1);
    case SB_PAGEUP:
        return vertical ? ScrollByPageUp() : ScrollByPageLeft();
    case SB_PAGEDOWN:
        return vertical ? ScrollByPageDown() : ScrollByPageRight();
    case SB_THUMBTRACK:
        return m_bThumbTrack && ScrollToThumb(bar);
    case SB_THUMBPOSITION:
        return ScrollToThumb(bar);
    case SB_TOP:
        return vertical ? ScrollToTop() : ScrollToLeft();
    case SB_BOTTOM:
        return vertical ? ScrollToBottom() : ScrollToRight();
    default:
        return false;
    }
}

bool CHTMLGrid::ScrollByArrow(int bar, int step) {
    const bool page = m_nBarsScrollMode == GRID_SCROLL_PAGE;
    if (bar == SB_HORZ) {
        if (page) return step < 0 ? ScrollByPageLeft() : ScrollByPageRight();
        return step < 0 ? ScrollByColLeft(1) : ScrollByColRight(1);
    }
    if (m_nBarsScrollMode == GRID_SCROLL_CURRENT) return StepCurrentRow(step);
    if (page) return step < 0 ? ScrollByPageUp() : ScrollByPageDown();
    return step < 0 ? ScrollByRowUp(1) : ScrollByRowDown(1);
}

// The row that is current moves by one and comes into view; nothing is selected any more. At the ends it stays.
bool CHTMLGrid::StepCurrentRow(int step) {
    const int row = m_wCurRow == GRID_NONE ? m_wFixedRows : m_wCurRow + step;
    if (row < m_wFixedRows || row >= GetRowCount()) return false;
    EmptySelection();
    m_wCurRow = static_cast<WORD>(row);
    const WORD col = m_wCurCol < GetColCount() ? m_wCurCol : m_wFixedCols;
    return MakeCellVisible(col, m_wCurRow);
}

// The thumb at its end is the end; the last row doesn't leave the view upwards.
bool CHTMLGrid::ScrollToThumb(int bar) {
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_RANGE | SIF_TRACKPOS;
    if (!GetScrollInfoEx(bar, info)) return false;
    m_Kinetic.Halt();
    const int fixed = bar == SB_VERT ? GetFixedRowsHeight() : GetFixedColsWidth();
    if (info.nTrackPos > info.nMax) return bar == SB_VERT ? ScrollToBottom() : ScrollToRight();
    const LONGLONG wanted = LONGLONG{info.nTrackPos} + fixed;
    if (bar == SB_HORZ) return MoveTo(static_cast<int>(std::min<LONGLONG>(wanted, m_nMaxLeft)), m_nTopPixel);
    const int last = m_Rows.Before(std::max(m_Rows.Count() - 1, 0));
    return MoveTo(m_nLeftPixel, static_cast<int>(std::min<LONGLONG>(wanted, std::min(m_nMaxTop, last))), 0);
}

// --- The tip of the vertical bar ----------------------------------------------------------------------------------

void CHTMLGrid::SetScrollTip(bool bOn) {
    if (!bOn)
        m_pScrollTip.reset();
    else if (!m_pScrollTip)
        m_pScrollTip = std::make_unique<CHTMLToolTip>(GetToolTipParent());
}

// Over the right edge, as high as the thumb stands, with what the owner says of the row that it would bring to the top.
void CHTMLGrid::ShowScrollTip() {
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_RANGE | SIF_TRACKPOS;
    if (!m_pScrollTip || !GetScrollInfoEx(SB_VERT, info)) return;
    const WORD row = PixelToRow(std::min(info.nTrackPos, info.nMax) + GetFixedRowsHeight());
    if (row == GRID_NONE) return;
    tagNM_GRIDVIEW view = ViewOf(GRID_NONE, row, GRIDM_SCROLL_TIP);
    AskOwner(GRIDM_SCROLL_TIP, view);
    const LONGLONG along = LONGLONG{info.nTrackPos} * m_nClientHeight / std::max(info.nMax, 1);
    POINT point = {m_nClientWidth, static_cast<LONG>(along)};
    ::MapWindowPoints(m_hWnd, GetToolTipParent(), &point, 1);
    m_pScrollTip->ShowToolTip(point, TIP_TOP_RIGHT);
    m_pScrollTip->UpdateToolTip(view.pszText, false);
}

// --- Fingers ------------------------------------------------------------------------------------------------------

void CHTMLGrid::SetTouchScrolling(bool bOn) {
    m_bTouchScrolling = bOn;
    if (bOn)
        m_Kinetic.Start(m_hWnd);
    else
        m_Kinetic.Stop();
}

void CHTMLGrid::EndTouchScroll() {
    m_Kinetic.Release();
    if (!m_Kinetic.IsStarted()) MoveTo(m_nLeftPixel, m_nTopPixel, 0);
}

LRESULT CHTMLGrid::OnDestroy(bool&) {
    m_Kinetic.Stop();
    m_pScrollTip.reset();
    if (m_hSlideBitmap) DeleteObject(std::exchange(m_hSlideBitmap, nullptr));
    return 0;
}

LRESULT CHTMLGrid::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    handled = true;
    switch (msg) {
    case GRIDM_SCROLL_DOWN:
        return ScrollByPixelDown(LOWORD(lParam));
    case GRIDM_SCROLL_UP:
        return ScrollByPixelUp(LOWORD(lParam));
    case GRIDM_SCROLL_LEFT:
        return ScrollByPixelLeft(LOWORD(lParam));
    case GRIDM_SCROLL_RIGHT:
        return ScrollByPixelRight(LOWORD(lParam));
    case WM_HSCROLL:
        return OnHScroll(LOWORD(wParam), HIWORD(wParam));
    case WM_VSCROLL:
        return OnVScroll(LOWORD(wParam), HIWORD(wParam));
    default:
        handled = false;
        return OnInputMessage(msg, wParam, lParam, handled);
    }
}

// --- At the edges -------------------------------------------------------------------------------------------------

void CHTMLGrid::StartAutoScroll(DWORD directions) {
    if (!m_bAllowAutoScroll) return;
    if (std::exchange(m_dwAutoScroll, directions) == 0) SetTimer(kAutoScrollTimer, kAutoScrollPeriod);
}

void CHTMLGrid::StopAutoScroll() {
    if (std::exchange(m_dwAutoScroll, 0) != 0) KillTimer(kAutoScrollTimer);
}

void CHTMLGrid::AutoScroll() {
    if (m_dwAutoScroll & GRID_TO_TOP) ScrollByRowUp(1);
    if (m_dwAutoScroll & GRID_TO_BOTTOM) ScrollByRowDown(1);
    if (m_dwAutoScroll & GRID_TO_LEFT) ScrollByColLeft(1);
    if (m_dwAutoScroll & GRID_TO_RIGHT) ScrollByColRight(1);
}

LRESULT CHTMLGrid::OnTimer(WPARAM id, bool& handled) {
    handled = id == kAutoScrollTimer;
    if (handled) {
        AutoScroll();
        OnAutoScrolled();
    } else {
        handled = OnInputTimer(id);
    }
    return 0;
}
