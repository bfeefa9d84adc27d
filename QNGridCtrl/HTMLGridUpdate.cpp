// Paints that bring the retained picture up to date where something has changed: another selection, another place, one
// cell. Where that can't be told, all is painted.
#include "QNGridCtrl/HTMLGridScreen.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

// Where a row or column begins or ends in the client area; those that scroll stop at the fixed ones.
int EdgeOf(const HTMLGridAxis& axis, int edge, bool isFixed, int fixedSize, int scroll) {
    const int before = axis.Before(std::min(edge, axis.Count()));
    return isFixed ? before : std::max(before - scroll + fixedSize, fixedSize);
}

// What has nothing of a rectangle's picture once that has moved, up or left for positive distances.
RECT BareOf(const RECT& rect, int dx, int dy) {
    RECT bare = rect;
    if (dx > 0) bare.left = rect.right - dx;
    if (dx < 0) bare.right = rect.left - dx;
    if (dy > 0) bare.top = rect.bottom - dy;
    if (dy < 0) bare.bottom = rect.top - dy;
    return bare;
}

// Moves it, from `below` pixels further down.
void Shift(HDC hdc, const RECT& rect, int dx, int dy, int below = 0) {
    const int width = rect.right - rect.left - std::abs(dx), height = rect.bottom - rect.top - std::abs(dy);
    BitBlt(hdc, rect.left + std::max(-dx, 0), rect.top + std::max(-dy, 0), width, height, hdc,
           rect.left + std::max(dx, 0), rect.top + std::max(dy, 0) + below, SRCCOPY);
}

// What of `outer` isn't in `inner`, in up to four bands: above, below, left, right.
struct Bands {
    std::array<HTMLGridSelection, 4> band;
    int count = 0;

    void Add(int left, int top, int right, int bottom) {
        if (left > right || top > bottom) return;
        band[static_cast<std::size_t>(count++)] = {static_cast<WORD>(left), static_cast<WORD>(top),
                                                   static_cast<WORD>(right), static_cast<WORD>(bottom)};
    }
};

Bands Cep(const HTMLGridSelection& outer, const HTMLGridSelection& inner) {
    Bands bands;
    if (outer.IsEmpty()) return bands;
    const int left = std::max(outer.left, inner.left), right = std::min(outer.right, inner.right);
    const int top = std::max(outer.top, inner.top), bottom = std::min(outer.bottom, inner.bottom);
    if (inner.IsEmpty() || left > right || top > bottom) {
        bands.Add(outer.left, outer.top, outer.right, outer.bottom);
        return bands;
    }
    bands.Add(outer.left, outer.top, outer.right, top - 1);
    bands.Add(outer.left, bottom + 1, outer.right, outer.bottom);
    bands.Add(outer.left, top, left - 1, bottom);
    bands.Add(right + 1, top, outer.right, bottom);
    return bands;
}

} // namespace

// --- What has moved -----------------------------------------------------------------------------------------------

HTMLGridView CHTMLGridScreen::View() const {
    HTMLGridView view;
    if (!IsFloaterSelected()) view.selection = m_Selection;
    view.floater = m_pCurFloater;
    view.fixed = {GetFixedColsWidth(), GetFixedRowsHeight()};
    const int cols = m_Cols.Count(), rows = m_Rows.Count();
    if (m_wFixedCols >= cols || m_wFixedRows >= rows) return view;
    const int x = m_nLeftPixel, y = m_nTopPixel + m_nOverscroll;
    const RECT client = Client();
    view.cells.left = static_cast<WORD>(std::clamp<int>(m_Cols.At(x), m_wFixedCols, cols - 1));
    view.cells.top = static_cast<WORD>(std::clamp<int>(m_Rows.At(y), m_wFixedRows, rows - 1));
    view.cells.right = static_cast<WORD>(
        std::clamp<int>(m_Cols.At(x + client.right - view.fixed.cx), view.cells.left, cols - 1));
    view.cells.bottom = static_cast<WORD>(
        std::clamp<int>(m_Rows.At(y + client.bottom - view.fixed.cy), view.cells.top, rows - 1));
    view.place = {m_Cols.Before(view.cells.left) - x, m_Rows.Before(view.cells.top) - y,
                  m_Cols.Before(view.cells.right + 1) - x, m_Rows.Before(view.cells.bottom + 1) - y};
    return view;
}

// How far the cells in view have moved up and left since the last paint; false when they have changed in other ways, as
// rows of a virtual grid do that turn out to have another height.
bool CHTMLGridScreen::MovedBy(SIZE& moved) const {
    const HTMLGridSelection& cells = m_Painted.cells;
    if (cells.IsEmpty() || cells.bottom >= GetRowCount() || cells.right >= GetColCount()) return false;
    if (m_Painted.fixed.cx != GetFixedColsWidth() || m_Painted.fixed.cy != GetFixedRowsHeight()) return false;
    const int x = m_nLeftPixel, y = m_nTopPixel + m_nOverscroll;
    const RECT& former = m_Painted.place;
    moved = {former.left - (m_Cols.Before(cells.left) - x), former.top - (m_Rows.Before(cells.top) - y)};
    return former.right - (m_Cols.Before(cells.right + 1) - x) == moved.cx &&
           former.bottom - (m_Rows.Before(cells.bottom + 1) - y) == moved.cy;
}

// Whether a picture that is shifted so far is what a paint would give. A shaded ground stays where it is, the dots of a
// focus frame go by their place, and what an owner paints may begin at the edge of the client area.
bool CHTMLGridScreen::MayShift(SIZE moved) const {
    const RECT client = Client();
    if (std::abs(moved.cx) >= client.right - GetFixedColsWidth() ||
        std::abs(moved.cy) >= client.bottom - GetFixedRowsHeight())
        return false;
    if (HasGradientGround(m_crBack) || IsLinkNavigationActive()) return false;
    if (m_Floaters.Count() > 0 && (m_bVirtual || (m_pCurFloater && !m_bFloaterTextOn))) return false;
    return moved.cx == 0 || (!m_pfnDraw && !m_pfnFixedDraw);
}

// Where cells are seen, as one rectangle.
RECT CHTMLGridScreen::RangeRect(const HTMLGridSelection& range) const {
    const int width = GetFixedColsWidth(), height = GetFixedRowsHeight(), y = m_nTopPixel + m_nOverscroll;
    return {EdgeOf(m_Cols, range.left, range.left < m_wFixedCols, width, m_nLeftPixel),
            EdgeOf(m_Rows, range.top, range.top < m_wFixedRows, height, y),
            EdgeOf(m_Cols, range.right + 1, range.right < m_wFixedCols, width, m_nLeftPixel),
            EdgeOf(m_Rows, range.bottom + 1, range.bottom < m_wFixedRows, height, y)};
}

bool CHTMLGridScreen::IsCellUpdated(WORD col, WORD row) const {
    if (col >= GetColCount() || row >= GetRowCount()) return false;
    const RECT cell = RangeRect({col, row, col, row});
    RECT part;
    return IntersectRect(&part, &cell, &m_rcUpdated);
}

// --- Paints -------------------------------------------------------------------------------------------------------

void CHTMLGridScreen::UpdateSelection(HDC hdc) {
    const HTMLGridView now = View();
    SIZE moved;
    m_bBufferValid &= MovedBy(moved) && moved.cx == 0 && moved.cy == 0 && now.floater == m_Painted.floater;
    if (!m_bBufferValid) return UpdateScreen(hdc);
    for (const Bands& bands :
         {Cep(m_Painted.selection, now.selection), Cep(now.selection, m_Painted.selection)})
        for (int i = 0; i < bands.count; ++i)
            PaintPart(hdc, RangeRect(bands.band[static_cast<std::size_t>(i)]));
}

// The fixed rows keep their height and the fixed columns their place; each direction bares a strip.
void CHTMLGridScreen::UpdateScrolled(HDC hdc) {
    const HTMLGridView now = View();
    SIZE moved;
    const bool same = now.selection == m_Painted.selection && now.floater == m_Painted.floater;
    m_bBufferValid &= same && MovedBy(moved) && MayShift(moved);
    if (!m_bBufferValid) {
        InvalidateRect(nullptr, FALSE);
        return UpdateScreen(hdc);
    }
    RECT rows = Client(), cols = rows;
    rows.top = GetFixedRowsHeight();
    cols.left = GetFixedColsWidth();
    if (moved.cy) ShiftRows(hdc, rows, moved.cy);
    if (moved.cx) Shift(hdc, cols, moved.cx, 0);
    if (moved.cy) PaintPart(hdc, BareOf(rows, 0, moved.cy));
    if (moved.cx) PaintPart(hdc, BareOf(cols, moved.cx, 0));
    if (m_pfnCustomPaint) InvalidateRect(nullptr, FALSE); // it may have painted anywhere
    ScrollWindowEx(m_hWnd, 0, -moved.cy, &rows, &rows, nullptr, nullptr, SW_INVALIDATE);
    ScrollWindowEx(m_hWnd, -moved.cx, 0, &cols, &cols, nullptr, nullptr, SW_INVALIDATE);
}

// As long as there is room it is the whole picture that moves in its bitmap, and of it the fixed rows move back.
void CHTMLGridScreen::ShiftRows(HDC hdc, const RECT& rows, int dy) {
    const int top = m_nPictureTop + dy;
    const bool fits = top >= 0 && top <= m_nSpare;
    const int former = std::exchange(m_nPictureTop, fits ? top : dy > 0 ? 0 : m_nSpare);
    SetViewportOrgEx(hdc, 0, m_nPictureTop, nullptr);
    const int below = former - m_nPictureTop;
    const RECT fixed = {0, 0, rows.right, rows.top};
    // Neither copy is over what the next one reads.
    if (dy > 0) Shift(hdc, fixed, 0, 0, below);
    if (!fits) Shift(hdc, rows, 0, dy, below);
    if (dy < 0) Shift(hdc, fixed, 0, 0, below);
}

void CHTMLGridScreen::UpdateCell(HDC hdc) {
    SIZE moved;
    m_bBufferValid &= MovedBy(moved) && moved.cx == 0 && moved.cy == 0;
    if (!m_bBufferValid) return UpdateScreen(hdc);
    if (m_wUpdateCol >= GetColCount() || m_wUpdateRow >= GetRowCount()) return;
    PaintPart(hdc, RangeRect({m_wUpdateCol, m_wUpdateRow, m_wUpdateCol, m_wUpdateRow}));
}
