// Painting of a grid into its retained picture, and from there to the screen: panes, cells, what lies behind them.
#include "QNGridCtrl/HTMLGridScreen.h"
#include "QNGridCtrl/gradients.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int kGroundShade = 16; // how much darker the lower end of the shaded ground is
constexpr int kGroundSteps = 32;
constexpr int kSpareShare = 4; // of the height of the client area: how much the picture moves in its bitmap

// Of the rows or columns `from` to `end`, moved by `shift`, the one at a pixel of the client area or the next one.
int IndexAt(const HTMLGridAxis& axis, int from, int end, int shift, int pixel) {
    return std::clamp(axis.At(pixel - shift), from, end);
}

} // namespace

// --- The retained picture -----------------------------------------------------------------------------------------

RECT CHTMLGridScreen::Client() const {
    RECT client{};
    GetClientRect(&client);
    return client;
}

LRESULT CHTMLGridScreen::OnEraseBkgnd(HDC, bool& handled) {
    handled = true; // the picture covers all
    return 1;
}

LRESULT CHTMLGridScreen::OnPaint(bool& handled) {
    handled = true;
    const bool held = HoldBuffer(Client().bottom / kSpareShare);
    if (held) PaintBuffer(m_hBuffer); // what this moves on the screen need not be copied there
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(&paint);
    if (!hdc) return 0;
    if (held) CopyOut(hdc);
    EndPaint(&paint);
    if (held && m_pfnCustomPaint) m_pfnCustomPaint(nullptr);
    return 0;
}

LRESULT CHTMLGridScreen::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    CeWnd::OnSize(type, cx, cy, handled);
    DestroyBitmapBuffer();
    RecalcGrid();
    Repaint();
    return 0;
}

// `spare` is how many rows of pixels the bitmap has beyond the picture. False without memory, or without a client area.
bool CHTMLGridScreen::HoldBuffer(int spare) {
    if (m_hBackBitmap) return true;
    const RECT client = Client();
    m_hBuffer = IsRectEmpty(&client) ? nullptr : CreateCompatibleDC(nullptr);
    if (m_hBuffer) m_hBackBitmap = CreateCompatibleBitmap(m_hBuffer, client.right, client.bottom + spare);
    if (!m_hBackBitmap) return DestroyBitmapBuffer(), spare > 0 && HoldBuffer(0);
    SelectObject(m_hBuffer, m_hBackBitmap);
    m_nSpare = spare;
    m_nPictureTop = 0;
    m_eUpdateKind = UPDATE_ALL;
    m_bBufferValid = false;
    return true;
}

void CHTMLGridScreen::DestroyBitmapBuffer() {
    if (m_hBuffer) DeleteDC(std::exchange(m_hBuffer, nullptr));
    if (m_hBackBitmap) DeleteObject(std::exchange(m_hBackBitmap, nullptr));
    m_bBufferValid = false;
}

void CHTMLGridScreen::PaintBuffer(HDC hdc) {
    if (m_pfnCustomPaint) m_pfnCustomPaint(hdc);
    switch (m_eUpdateKind) {
    case UPDATE_ALL:
        UpdateScreen(hdc);
        break;
    case UPDATE_SELECTION:
        UpdateSelection(hdc);
        break;
    case UPDATE_SCROLLED:
        UpdateScrolled(hdc);
        break;
    case UPDATE_CELL:
        UpdateCell(hdc);
        break;
    }
    m_eUpdateKind = UPDATE_ALL;
    m_bBufferValid = true;
    m_Painted = View();
}

// Brings the picture up to date without showing it; the bitmap is as large as the picture.
bool CHTMLGridScreen::PrepareBuffer() {
    if (m_nSpare > 0) DestroyBitmapBuffer();
    if (!HoldBuffer(0)) return false;
    PaintBuffer(m_hBuffer);
    if (m_pfnCustomPaint) m_pfnCustomPaint(nullptr);
    return true;
}

void CHTMLGridScreen::CopyOut(HDC hdc) const {
    const RECT client = Client();
    RECT box{}, part;
    const bool simple = GetClipBox(hdc, &box) == SIMPLEREGION && IntersectRect(&part, &box, &client);
    if (!simple) part = client;
    BitBlt(hdc, part.left, part.top, part.right - part.left, part.bottom - part.top, m_hBuffer, part.left,
           part.top, SRCCOPY);
}

// --- Panes --------------------------------------------------------------------------------------------------------

void CHTMLGridScreen::UpdateScreen(HDC hdc) {
    if (m_bBufferValid) return; // an exposed part is only copied
    RecalcMaxScrolls();
    PaintPart(hdc, Client());
}

std::array<HTMLGridPane, 4> CHTMLGridScreen::Panes() const {
    const RECT client = Client();
    const int x = std::min<int>(GetFixedColsWidth(), client.right),
              y = std::min<int>(GetFixedRowsHeight(), client.bottom);
    const int dx = GetFixedColsWidth() - m_nLeftPixel,
              dy = GetFixedRowsHeight() - m_nTopPixel - m_nOverscroll;
    const WORD rows = GetRowCount(), cols = GetColCount();
    return {{{{0, 0, x, y}, 0, m_wFixedRows, 0, m_wFixedCols, {0, 0}, false},
             {{x, 0, client.right, y}, 0, m_wFixedRows, m_wFixedCols, cols, {dx, 0}, false},
             {{0, y, x, client.bottom}, m_wFixedRows, rows, 0, m_wFixedCols, {0, dy}, m_bFixedColsFix},
             {{x, y, client.right, client.bottom}, m_wFixedRows, rows, m_wFixedCols, cols, {dx, dy}, true}}};
}

void CHTMLGridScreen::ClipToPane(HDC hdc) const {
    SelectClipRgn(hdc, nullptr);
    IntersectClipRect(hdc, m_rcPane.left, m_rcPane.top, m_rcPane.right, m_rcPane.bottom);
}

// What comes out is what a paint of the whole would give there.
void CHTMLGridScreen::PaintPart(HDC hdc, const RECT& part) {
    m_rcUpdated = part;
    for (const HTMLGridPane& pane : Panes()) {
        if (!IntersectRect(&m_rcPane, &pane.rect, &part)) continue;
        ClipToPane(hdc);
        DrawBackground(hdc, m_rcPane);
        PaintPane(hdc, pane, m_rcPane);
    }
    SelectClipRgn(hdc, nullptr);
    m_rcUpdated = {};
}

// Cells from the left edge of the pane on, since one may reach over its neighbours. Floaters come behind all of them.
void CHTMLGridScreen::PaintPane(HDC hdc, const HTMLGridPane& pane, const RECT& box) {
    const int firstRow = IndexAt(m_Rows, pane.firstRow, pane.endRow, pane.shift.cy, box.top);
    const int firstCol = IndexAt(m_Cols, pane.firstCol, pane.endCol, pane.shift.cx, pane.rect.left);
    const bool floaters = pane.floaters && m_Floaters.Count() > 0;
    for (const bool second : {false, true}) {
        if (second && !floaters) return;
        RECT cell;
        cell.top = m_Rows.Before(firstRow) + pane.shift.cy;
        for (int row = firstRow; row < pane.endRow && cell.top < box.bottom; ++row, cell.top = cell.bottom) {
            cell.bottom = cell.top + m_Rows.Size(row);
            cell.left = m_Cols.Before(firstCol) + pane.shift.cx;
            for (int col = firstCol; col < pane.endCol && cell.left < box.right;
                 ++col, cell.left = cell.right) {
                cell.right = cell.left + m_Cols.Size(col);
                if (IsRectEmpty(&cell)) continue;
                if (second)
                    OnCellFloatersDraw(hdc, static_cast<WORD>(row), static_cast<WORD>(col), cell);
                else
                    OnCellDraw(hdc, static_cast<WORD>(row), static_cast<WORD>(col), cell);
            }
        }
    }
}

void CHTMLGridScreen::DrawBackground(HDC hdc, const RECT& box) const {
    if (HasGradientGround(m_crBack))
        DrawWindowGradient(hdc);
    else
        FillRect(hdc, &box, m_hBackBrush);
}

// From white on top to a shade at the bottom of the client area.
void CHTMLGridScreen::DrawWindowGradient(HDC hdc) const {
    int r, g, b;
    const COLORREF shade = SetGradientColor(m_crBack, r, g, b, kGroundShade);
    GradientFillRectEx(hdc, Client(), m_crBack, shade, kGroundSteps, false);
}

// --- Cells --------------------------------------------------------------------------------------------------------

// What the owner hasn't painted: ground, lines, text. A negative right margin reaches over the next cells.
void CHTMLGridScreen::OnCellDraw(HDC hdc, WORD row, WORD col, const RECT& rect) {
    tagCELLINFO* cell = m_Cells.Find(col, row);
    if (!cell) return DrawNoCell(hdc, row, col, rect);
    const bool fixed = IsFixed(col, row);
    tagDRAWITEMSTRUCT item = DrawItem(hdc, col, row, rect, *cell);
    const UINT state = item.itemState;
    const GRIDDRAWPROC draw = fixed ? m_pfnFixedDraw : m_pfnDraw;
    const int done = draw ? draw(item, *cell) : GRID_DRAW_ALL;
    if (done == GRID_DRAW_NOTHING) return;

    RECT box = rect;
    if (cell->rcMargins.right < 0) box.right += 1 - cell->rcMargins.right;
    const COLORREF ground = fixed ? m_crFixedBack : cell->GetBackColor(true);
    if (done == GRID_DRAW_ALL) DrawGround(hdc, box, state == GRID_ITEM_SELECTED, ground);
    DrawLines(hdc, row, col, box);
    if (done == GRID_DRAW_LINES) return;
    RECT text = TextRect(col, row, *cell); // as it was measured
    text.bottom = box.bottom - rect.top - cell->rcMargins.bottom;
    OffsetRect(&text, rect.left, rect.top);
    // A text that is longer than its rows let it be would run over the next ones.
    IntersectClipRect(hdc, box.left, box.top, box.right, box.bottom);
    DrawHTML(hdc, text, cell->wWrapIndent, *cell, &cell->HotSpots, state, m_crSelText,
             cell->bSingleLine != 0);
    ClipToPane(hdc);
}

void CHTMLGridScreen::DrawNoCell(HDC hdc, WORD row, WORD col, RECT rect) const {
    const bool selected = IsCellSelected(col, row) && !IsFloaterSelected() && !IsLinkNavigationActive();
    DrawGround(hdc, rect, selected, IsFixed(col, row) ? m_crFixedBack : m_crBack);
    DrawLines(hdc, row, col, rect);
}

void CHTMLGridScreen::DrawGround(HDC hdc, const RECT& rect, bool bSelected, COLORREF color) const {
    if (bSelected)
        FillRect(hdc, &rect, m_hSelBrush);
    else if (!HasGradientGround(color))
        PaintRect(hdc, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top, color);
}

// Along the right and the bottom edge; the rectangle is left without them.
void CHTMLGridScreen::DrawLines(HDC hdc, WORD row, WORD col, RECT& rect) const {
    const int width = rect.right - rect.left, height = rect.bottom - rect.top;
    if (HasVLines(col, row)) PaintRect(hdc, --rect.right, rect.top, 1, height, m_crLines);
    if (HasHLines(col, row)) PaintRect(hdc, rect.left, --rect.bottom, width, 1, m_crLines);
}
