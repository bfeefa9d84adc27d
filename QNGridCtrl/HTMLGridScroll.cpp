// Scrolling: by pixels, rows and pages, by the bars, by fingers, at the edges during a drag.
#include "QNGridCtrl/HTMLGridScreen.h"

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

// The scroll position that shows `size` pixels at `start` of a view that goes from `scroll` on, moved as little as
// it takes; the start wins.
int Shown(int scroll, int view, int start, int size) {
    if (start + size > scroll + view) scroll = start + size - view;
    return std::min(scroll, start);
}

} // namespace

// --- The position -------------------------------------------------------------------------------------------------

bool CHTMLGridScreen::MoveTo(int left, int top, int overscroll) {
    const int formerLeft = m_nLeftPixel, formerTop = m_nTopPixel, former = m_nOverscroll;
    if (left == formerLeft && top == formerTop && overscroll == former) return false;
    m_nLeftPixel = left;
    m_nTopPixel = top;
    m_nOverscroll = overscroll;
    m_Kinetic.SetOverscroll(overscroll);
    RecalcScreenCells();
    const bool upright = m_nTopPixel != formerTop || overscroll != former,
               sideways = m_nLeftPixel != formerLeft;
    if (!upright && !sideways) return false;
    RequestUpdate(UPDATE_SCROLLED);
    if (upright) {
        UpdateScrollBars(GRID_BAR_VERTICAL);
        UpdateParentWithScrollingPosition(true);
    }
    if (sideways) {
        UpdateScrollBars(GRID_BAR_HORIZONTAL);
        UpdateParentWithScrollingPosition(false);
    }
    return true;
}

void CHTMLGridScreen::UpdateParentWithScrollingPosition(bool bVertical) {
    const int position = bVertical ? m_nTopPixel + m_nOverscroll : m_nLeftPixel;
    int& told = bVertical ? m_nToldTop : m_nToldLeft;
    if (std::exchange(told, position) != position)
        ::PostMessageW(Owner(), GRIDM_SCROLLED, bVertical, position);
}

// --- Pixels -------------------------------------------------------------------------------------------------------

// The rows that a step up brings in are only estimated in a virtual grid. They are measured first, and what is seen keeps
// its place, so that it moves as far as it is told to. More than a screen is a jump, after which nobody sees a difference.
void CHTMLGridScreen::MeasureAbove(int pixels) {
    if (!m_bVirtual || IsInUpdate() || pixels > m_nClientHeight) return;
    for (int row = m_Rows.At(m_nTopPixel) - 1;
         row >= m_wFixedRows && row < m_Rows.Count() && m_Rows.Before(row + 1) > m_nTopPixel - pixels;
         --row) {
        const int former = m_Rows.Size(row);
        m_nTopPixel += GetRowHeight(static_cast<WORD>(row)) - former;
    }
}

bool CHTMLGridScreen::ScrollByPixelUp(int pixels, bool bNoClamp, bool bTouch) {
    const int least = GetFixedRowsHeight();
    if (pixels <= 0 || (!bTouch && m_nTopPixel <= least && m_nOverscroll == 0)) return false;
    const int back = std::clamp(m_nOverscroll, 0, pixels);
    MeasureAbove(pixels - back);
    int overscroll = m_nOverscroll - back, top = m_nTopPixel - (pixels - back);
    if (top < least && !bNoClamp) {
        if (bTouch) overscroll -= (least - top) / 2;
        top = least;
    }
    return MoveTo(m_nLeftPixel, top, overscroll);
}

bool CHTMLGridScreen::ScrollByPixelDown(int pixels, bool bNoClamp, bool bTouch) {
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

bool CHTMLGridScreen::ScrollByPixelLeft(int pixels) {
    return pixels > 0 && MoveTo(std::max(m_nLeftPixel - pixels, GetFixedColsWidth()), m_nTopPixel);
}

bool CHTMLGridScreen::ScrollByPixelRight(int pixels) {
    const LONGLONG wanted = LONGLONG{m_nLeftPixel} + pixels;
    return pixels > 0 && MoveTo(static_cast<int>(std::min<LONGLONG>(wanted, m_nMaxLeft)), m_nTopPixel);
}

// --- Rows, columns, pages -----------------------------------------------------------------------------------------

bool CHTMLGridScreen::ScrollByRowUp(WORD rows, bool bSelect) {
    const int row = StepFrom(m_Rows, m_nTopPixel, m_wFixedRows, -rows);
    MeasureAbove(m_nTopPixel - m_Rows.Before(row));
    const bool moved = ScrollByPixelUp(m_nTopPixel - m_Rows.Before(row));
    if (moved && bSelect) SetRow(GetTopRow());
    return moved;
}

bool CHTMLGridScreen::ScrollByRowDown(WORD rows, bool bSelect) {
    const int row = StepFrom(m_Rows, m_nTopPixel, m_wFixedRows, rows);
    const bool moved = ScrollByPixelDown(m_Rows.Before(row) - m_nTopPixel);
    if (moved && bSelect) SetRow(GetTopRow());
    return moved;
}

bool CHTMLGridScreen::ScrollByColLeft(WORD cols) {
    return ScrollByPixelLeft(m_nLeftPixel -
                             m_Cols.Before(StepFrom(m_Cols, m_nLeftPixel, m_wFixedCols, -cols)));
}

bool CHTMLGridScreen::ScrollByColRight(WORD cols) {
    return ScrollByPixelRight(m_Cols.Before(StepFrom(m_Cols, m_nLeftPixel, m_wFixedCols, cols)) -
                              m_nLeftPixel);
}

bool CHTMLGridScreen::ScrollByPageUp() { return ScrollByPixelUp(m_nClientHeight - GetFixedRowsHeight()); }
bool CHTMLGridScreen::ScrollByPageDown() { return ScrollByPixelDown(m_nClientHeight - GetFixedRowsHeight()); }
bool CHTMLGridScreen::ScrollByPageLeft() { return ScrollByPixelLeft(m_nClientWidth - GetFixedColsWidth()); }
bool CHTMLGridScreen::ScrollByPageRight() { return ScrollByPixelRight(m_nClientWidth - GetFixedColsWidth()); }

bool CHTMLGridScreen::ScrollToTop() { return MoveTo(m_nLeftPixel, GetFixedRowsHeight(), 0); }

// Rows that are measured on the way move the end.
bool CHTMLGridScreen::ScrollToBottom() {
    bool moved = false;
    for (int i = 0; i < kMostTries && MoveTo(m_nLeftPixel, m_nMaxTop, 0); ++i) moved = true;
    return moved;
}

bool CHTMLGridScreen::ScrollToLeft() { return MoveTo(GetFixedColsWidth(), m_nTopPixel); }
bool CHTMLGridScreen::ScrollToRight() { return MoveTo(m_nMaxLeft, m_nTopPixel); }

void CHTMLGridScreen::SetTopRow(WORD row) {
    if (row < GetRowCount()) MoveTo(m_nLeftPixel, RowToPixel(row));
}

void CHTMLGridScreen::SetLeftCol(WORD col) {
    if (col < GetColCount()) MoveTo(ColumnToPixel(col), m_nTopPixel);
}

bool CHTMLGridScreen::MakeCellVisible(WORD col, WORD row) {
    if (col >= GetColCount() || row >= GetRowCount()) return false;
    int left = m_nLeftPixel, top = m_nTopPixel;
    if (row >= m_wFixedRows) {
        const int height = GetRowHeight(row);
        top = Shown(top, m_nClientHeight - GetFixedRowsHeight(), RowToPixel(row), height);
    }
    if (col >= m_wFixedCols)
        left = Shown(left, m_nClientWidth - GetFixedColsWidth(), ColumnToPixel(col), GetColWidth(col));
    return MoveTo(left, top);
}

// --- Bars ---------------------------------------------------------------------------------------------------------

// Where that bar is: the grid's own, or the window in its place. False when there is no such window.
bool CHTMLGridScreen::FindBar(int bar, HWND& hBar, int& number) const {
    hBar = HasOwnBars() ? m_hWnd : bar == SB_VERT ? m_hVerticalBar : m_hHorizontalBar;
    number = HasOwnBars() ? bar : SB_CTL;
    return hBar != nullptr;
}

bool CHTMLGridScreen::GetScrollInfoEx(int bar, SCROLLINFO& info) const {
    HWND hBar;
    int number;
    return FindBar(bar, hBar, number) && ::GetScrollInfo(hBar, number, &info);
}

int CHTMLGridScreen::SetScrollInfoEx(int bar, const SCROLLINFO& info) {
    HWND hBar;
    int number;
    return FindBar(bar, hBar, number) ? ::SetScrollInfo(hBar, number, &info, TRUE) : 0;
}

bool CHTMLGridScreen::SetBarsScrollMode(WORD mode) {
    if (mode > GRID_SCROLL_CURRENT) return false;
    m_nBarsScrollMode = mode;
    return true;
}

bool CHTMLGridScreen::OnBar(int bar, UINT code) {
    const bool thumb = code == SB_THUMBTRACK || code == SB_THUMBPOSITION;
    if (bar == SB_VERT && thumb) ShowScrollTip();
    if (bar == SB_VERT && code == SB_ENDSCROLL && m_pScrollTip) m_pScrollTip->HideToolTip();
    return ScrollByBar(bar, code);
}

bool CHTMLGridScreen::ScrollByBar(int bar, UINT code) {
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

bool CHTMLGridScreen::ScrollByArrow(int bar, int step) {
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
bool CHTMLGridScreen::StepCurrentRow(int step) {
    const int row = m_wCurRow == GRID_NONE ? m_wFixedRows : m_wCurRow + step;
    if (row < m_wFixedRows || row >= GetRowCount()) return false;
    EmptySelection();
    m_wCurRow = static_cast<WORD>(row);
    const WORD col = m_wCurCol < GetColCount() ? m_wCurCol : m_wFixedCols;
    return MakeCellVisible(col, m_wCurRow);
}

// The thumb at its end is the end; the last row doesn't leave the view upwards.
bool CHTMLGridScreen::ScrollToThumb(int bar) {
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

void CHTMLGridScreen::SetScrollTip(bool bOn) {
    if (!bOn)
        m_pScrollTip.reset();
    else if (!m_pScrollTip)
        m_pScrollTip = std::make_unique<CHTMLToolTip>(GetToolTipParent());
}

// Over the right edge, as high as the thumb stands, with what the owner says of the row that it would bring to the top.
void CHTMLGridScreen::ShowScrollTip() {
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

void CHTMLGridScreen::SetTouchScrolling(bool bOn) {
    m_bTouchScrolling = bOn;
    if (bOn)
        m_Kinetic.Start(m_hWnd);
    else
        m_Kinetic.Stop();
}

void CHTMLGridScreen::EndTouchScroll() {
    m_Kinetic.Release();
    if (!m_Kinetic.IsStarted()) MoveTo(m_nLeftPixel, m_nTopPixel, 0);
}

LRESULT CHTMLGridScreen::OnDestroy(bool&) {
    m_Kinetic.Stop();
    m_pScrollTip.reset();
    if (m_hSlideBitmap) DeleteObject(std::exchange(m_hSlideBitmap, nullptr));
    return 0;
}

bool CHTMLGridScreen::OnScrollMessage(UINT msg, int pixels) {
    switch (msg) {
    case GRIDM_SCROLL_DOWN:
        ScrollByPixelDown(pixels);
        return true;
    case GRIDM_SCROLL_UP:
        ScrollByPixelUp(pixels);
        return true;
    case GRIDM_SCROLL_LEFT:
        ScrollByPixelLeft(pixels);
        return true;
    case GRIDM_SCROLL_RIGHT:
        ScrollByPixelRight(pixels);
        return true;
    default:
        return false;
    }
}

// --- At the edges -------------------------------------------------------------------------------------------------

void CHTMLGridScreen::StartAutoScroll(DWORD directions) {
    if (!m_bAllowAutoScroll) return;
    if (std::exchange(m_dwAutoScroll, directions) == 0) SetTimer(kAutoScrollTimer, kAutoScrollPeriod);
}

void CHTMLGridScreen::StopAutoScroll() {
    if (std::exchange(m_dwAutoScroll, 0) != 0) KillTimer(kAutoScrollTimer);
}

void CHTMLGridScreen::AutoScroll() {
    if (m_dwAutoScroll & GRID_TO_TOP) ScrollByRowUp(1);
    if (m_dwAutoScroll & GRID_TO_BOTTOM) ScrollByRowDown(1);
    if (m_dwAutoScroll & GRID_TO_LEFT) ScrollByColLeft(1);
    if (m_dwAutoScroll & GRID_TO_RIGHT) ScrollByColRight(1);
}

bool CHTMLGridScreen::OnScrollTimer(WPARAM id) {
    if (id != kAutoScrollTimer) return false;
    AutoScroll();
    return true;
}
