// Widths and heights: what is measured, what is estimated, what the scroll bars leave.
#include "QNGridCtrl/HTMLGrid.h"

#include <algorithm>
#include <climits>

namespace {

// The context that text is measured with; none for a grid without a window.
class MeasureContext {
public:
    explicit MeasureContext(HWND hWnd) : m_hWnd(hWnd), m_hdc(hWnd ? GetDC(hWnd) : nullptr) {}
    ~MeasureContext() {
        if (m_hdc) ReleaseDC(m_hWnd, m_hdc);
    }
    MeasureContext(const MeasureContext&) = delete;
    MeasureContext& operator=(const MeasureContext&) = delete;
    operator HDC() const { return m_hdc; }

private:
    HWND m_hWnd;
    HDC m_hdc;
};

int MaxScroll(int total, int fixed, int client) {
    const LONGLONG most = LONGLONG{fixed} - client + total - 1;
    return static_cast<int>(std::clamp<LONGLONG>(most, fixed, INT_MAX));
}

// A client size with the room of a bar that takes some of the window now.
int WithBar(LONG window, LONG client, int bar) {
    return static_cast<int>(window - client >= bar ? client + bar : client);
}

} // namespace

// --- Setting ------------------------------------------------------------------------------------------------------

void CHTMLGridModel::SetColWidth(WORD col, WORD width) {
    if (col >= GetColCount()) return;
    m_Cols.GiveSize(col, width);
    UpdateGrid();
}

void CHTMLGridModel::SetRowHeight(WORD row, WORD height) {
    if (row >= GetRowCount()) return;
    m_Rows.GiveSize(row, height);
    RowChanged(row);
}

void CHTMLGridModel::SetMinRowHeight(WORD height) {
    m_wMinRowHeight = height;
    UpdateGrid();
}

void CHTMLGridModel::SetRowHeightFixed(bool bFixed) {
    m_bRowHeightFixed = bFixed;
    UpdateGrid();
}

void CHTMLGridModel::SetFixedColsFix(bool bFix) {
    m_bFixedColsFix = bFix;
    Repaint();
}

// --- Columns and rows ---------------------------------------------------------------------------------------------

int CHTMLGridModel::RecalcCols(int width) {
    int given = 0, automatic = 0;
    for (int col = 0; col < m_Cols.Count(); ++col) {
        if (m_Cols.IsAutomatic(col))
            ++automatic;
        else
            given += m_Cols.GivenSize(col);
    }
    const int left = std::max(width - given, 0);
    int remainder = automatic ? left % automatic : 0;
    for (int col = 0; col < m_Cols.Count(); ++col) {
        const bool share = m_Cols.IsAutomatic(col);
        m_Cols.Put(col, share ? left / automatic + (remainder-- > 0 ? 1 : 0) : m_Cols.GivenSize(col), true);
    }
    m_Cols.Sum();
    m_bColsOwed = false;
    return m_Cols.Total();
}

int CHTMLGridModel::RecalcRows() {
    m_nAverageRowHeight = 0;
    const MeasureContext hdc(m_hWnd);
    LONGLONG total = 0;
    // The owner, asked for cells, may change the dimensions.
    for (int row = 0; row < m_Rows.Count(); ++row) {
        bool measured = false;
        const int height =
            MeasureRow(hdc, static_cast<WORD>(row), !m_bVirtual || total <= m_nClientHeight, measured);
        if (row >= m_Rows.Count()) break;
        m_Rows.Put(row, height, measured);
        total += height;
        if (row < m_wFixedRows) continue;
        m_nAverageRowHeight = m_nAverageRowHeight && measured ? (m_nAverageRowHeight + height) / 2 : height;
    }
    m_Rows.Sum();
    return m_Rows.Total();
}

// Without bAsk the cells that aren't there count as the average.
int CHTMLGridModel::MeasureRow(HDC hdc, WORD row, bool bAsk, bool& bMeasured) {
    if (!m_Rows.IsAutomatic(row)) return m_Rows.GivenSize(row);
    if (m_bRowHeightFixed) return m_wMinRowHeight;
    const int estimate = m_nAverageRowHeight ? m_nAverageRowHeight : m_wMinRowHeight;
    int height = 0;
    for (int i = 0; i < m_Cols.Count() && row < m_Rows.Count(); ++i) {
        const auto col = static_cast<WORD>(i);
        const bool known = bAsk || m_Cells.Find(col, row);
        height = std::max(height, known ? GetCellHeight(hdc, row, col) : estimate);
        bMeasured |= known;
    }
    const bool given = row < m_Rows.Count() && !m_Rows.IsAutomatic(row); // meanwhile, by the owner
    return given ? m_Rows.GivenSize(row) : height;
}

int CHTMLGridModel::GetRowHeight(WORD row, bool bForce) {
    if (row >= GetRowCount()) return 0;
    const bool estimated =
        m_bVirtual && !m_Rows.IsMeasured(row) && m_Rows.IsAutomatic(row) && !m_bRowHeightFixed;
    if (bForce || estimated) RemeasureRow(row);
    return row < GetRowCount() ? m_Rows.Size(row) : 0;
}

void CHTMLGridModel::RemeasureRow(WORD row) {
    const MeasureContext hdc(m_hWnd);
    if (!hdc) return;
    bool measured = false;
    const int height = MeasureRow(hdc, row, true, measured);
    if (row < GetRowCount()) m_Rows.SetSize(row, height, measured);
}

// A row has other cells, or another height given: the rest keeps what it has, until a bar comes or goes by it.
void CHTMLGridModel::RowChanged(WORD row) {
    if (IsInUpdate()) {
        m_dwOwed |= kOwedRecalc;
    } else {
        const int total = m_Rows.Total();
        RemeasureRow(row);
        if ((total > m_nClientHeight) != (m_Rows.Total() > m_nClientHeight)) {
            RecalcGrid();
        } else if (m_Rows.Total() != total) {
            RecalcScreenCells();
            UpdateScrollBars(GRID_BAR_VERTICAL);
        }
    }
    Repaint();
}

// --- Cells --------------------------------------------------------------------------------------------------------

// What a cell's text has: from its margins to the right edge, which the line takes off.
RECT CHTMLGridModel::TextRect(WORD col, WORD row, const tagCELLINFO& cell) const {
    const LONG line = HasVLines(col, row) ? 1 : 0;
    const RECT& margins = cell.rcMargins;
    return {margins.left, margins.top, m_Cols.Size(col) - margins.right - line, margins.top};
}

int CHTMLGridModel::GetCellHeight(HDC hdc, WORD row, WORD col) {
    if (row >= GetRowCount() || col >= GetColCount()) return 0;
    tagCELLINFO* cell = RequestCell(col, row);
    if (row >= GetRowCount() || col >= GetColCount()) return 0;
    if (cell && !m_Rows.IsAutomatic(row)) return m_Rows.GivenSize(row);
    if (!cell || m_bRowHeightFixed) return m_wMinRowHeight;

    RECT rect = TextRect(col, row, *cell);
    tagDRAWITEMSTRUCT item = DrawItem(hdc, col, row, rect, *cell);
    const GRIDDRAWPROC ideal = row < m_wFixedRows ? m_pfnFixedIdealRect : m_pfnIdealRect;
    if (ideal && ideal(item, *cell) != 0)
        rect = item.rcItem;
    else
        DrawHTML(hdc, rect, cell->wWrapIndent, *cell, nullptr, HTML_MEASURE, HTML_NO_COLOR,
                 cell->bSingleLine != 0);
    cell->nTextHeight = rect.bottom - rect.top;
    const int height =
        cell->nTextHeight + (HasHLines(col, row) ? 1 : 0) + cell->rcMargins.top + cell->rcMargins.bottom;
    return std::max<int>(height, cell->wMinHeight ? cell->wMinHeight : m_wMinRowHeight);
}

tagDRAWITEMSTRUCT CHTMLGridModel::DrawItem(HDC hdc, WORD col, WORD row, const RECT& rect,
                                           const tagCELLINFO& cell) const {
    UINT state = IsCellSelected(col, row) ? GRID_ITEM_SELECTED : 0;
    if (IsLinkNavigationActive()) state |= GRID_ITEM_KEEP_COLORS;
    if (IsFloaterSelected()) state = 0;
    const auto id = static_cast<UINT>(GetDlgCtrlID());
    auto* grid = static_cast<CHTMLGrid*>(const_cast<CHTMLGridModel*>(this)); // every one is
    return {0, id, HTMLGridCells::Key(col, row), 0, state, grid, hdc, rect, cell.dwData};
}

// --- The whole ----------------------------------------------------------------------------------------------------

SIZE CHTMLGridModel::WholeClient() const {
    RECT window{}, client{};
    GetWindowRect(&window);
    GetClientRect(&client);
    return {WithBar(window.right - window.left, client.right, GetSystemMetrics(SM_CXVSCROLL)),
            WithBar(window.bottom - window.top, client.bottom, GetSystemMetrics(SM_CYHSCROLL))};
}

void CHTMLGridModel::TryClient(int width, int height) {
    m_nClientWidth = std::max(width, 0);
    m_nClientHeight = std::max(height, 0);
    RecalcCols(m_nClientWidth);
    RecalcRows();
    if (!m_bColsOwed) return;
    RecalcCols(m_nClientWidth); // the owner's answers gave widths
    RecalcRows();
}

void CHTMLGridModel::FitBars() {
    const SIZE whole = WholeClient();
    const bool own = HasOwnBars();
    const int bar = own && (m_dwShowBars & GRID_BAR_VERTICAL) ? GetSystemMetrics(SM_CXVSCROLL) : 0;
    const int flatBar = own && (m_dwShowBars & GRID_BAR_HORIZONTAL) ? GetSystemMetrics(SM_CYHSCROLL) : 0;
    const auto rowsFit = [&] { return m_Rows.Total() <= m_nClientHeight; };
    const auto colsFit = [&] { return m_Cols.Total() <= m_nClientWidth; };

    TryClient(whole.cx, whole.cy);
    if ((bar == 0 && flatBar == 0) || (rowsFit() && colsFit())) return;
    const bool rowsFirst = !rowsFit() || m_bVirtual;
    TryClient(whole.cx - (rowsFirst ? bar : 0), whole.cy - (rowsFirst ? 0 : flatBar));
    if (rowsFirst ? !colsFit() : !rowsFit()) TryClient(whole.cx - bar, whole.cy - flatBar);
}

void CHTMLGridModel::RecalcGrid() {
    if (IsInUpdate()) {
        m_dwOwed |= kOwedRecalc;
        return;
    }
    if (!m_hWnd || m_bInRecalc) return;
    m_bInRecalc = true; // bars that come and go size the window
    m_Cells.ForgetRefusals();
    FitBars();
    RecalcScreenCells();
    SetupScrollBars();
    m_bInRecalc = false;
}

void CHTMLGridModel::RecalcMaxScrolls() {
    m_nMaxTop = MaxScroll(m_Rows.Total(), GetFixedRowsHeight(), m_nClientHeight);
    m_nMaxLeft = MaxScroll(m_Cols.Total(), GetFixedColsWidth(), m_nClientWidth);
    m_nTopPixel = std::clamp(m_nTopPixel, GetFixedRowsHeight(), m_nMaxTop);
    m_nLeftPixel = std::clamp(m_nLeftPixel, GetFixedColsWidth(), m_nMaxLeft);
}

void CHTMLGridModel::RequestRow(WORD row) {
    for (int col = 0; col < m_Cols.Count(); ++col) RequestCell(static_cast<WORD>(col), row);
}

// All rows that can be seen from the top pixel on.
void CHTMLGridModel::RequestView() {
    for (WORD row = 0; row < m_wFixedRows; ++row) RequestRow(row);
    WORD row = GetTopRow();
    for (int y = RowToPixel(row); row < GetRowCount() && y < GetBottomPixel(); ++row) {
        RequestRow(row);
        y += GetRowHeight(row);
    }
}

void CHTMLGridModel::RecalcScreenCells() {
    if (IsInUpdate()) {
        m_dwOwed |= kOwedScreenCells;
        return;
    }
    RecalcMaxScrolls();
    if (!m_bVirtual) return;
    const int total = m_Rows.Total();
    // Rows that come out lower than they were taken for let the end of a list slip, and with it the top.
    for (int top = -1; top != m_nTopPixel;) {
        top = m_nTopPixel;
        RequestView();
        RecalcMaxScrolls();
    }
    if (m_bColsOwed && !m_bInRecalc)
        UpdateGrid(); // nothing that was painted has its place any more
    else if (m_Rows.Total() != total)
        UpdateScrollBars(GRID_BAR_VERTICAL);
}

// --- Scroll bars --------------------------------------------------------------------------------------------------

void CHTMLGridModel::SetShowScrollBars(DWORD bars) {
    m_dwShowBars = bars;
    OfferBars();
}

void CHTMLGridModel::SetExternalScrollBars(HWND hVertical, HWND hHorizontal) {
    m_hVerticalBar = hVertical;
    m_hHorizontalBar = hHorizontal;
    OfferBars();
}

void CHTMLGridModel::OfferBars() {
    const DWORD own = HasOwnBars() ? m_dwShowBars : 0;
    ShowScrollBar(SB_VERT, (own & GRID_BAR_VERTICAL) != 0);
    ShowScrollBar(SB_HORZ, (own & GRID_BAR_HORIZONTAL) != 0);
    SetWindowPos(nullptr, 0, 0, 0, 0,
                 SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
    UpdateGrid();
}

void CHTMLGridModel::UpdateScrollBars(DWORD bars) {
    if (bars & m_dwShowBars & GRID_BAR_VERTICAL)
        SetBar(m_hVerticalBar, SB_VERT, m_Rows.Total(), GetFixedRowsHeight(), m_nClientHeight, m_nTopPixel);
    if (bars & m_dwShowBars & GRID_BAR_HORIZONTAL)
        SetBar(m_hHorizontalBar, SB_HORZ, m_Cols.Total(), GetFixedColsWidth(), m_nClientWidth, m_nLeftPixel);
}

void CHTMLGridModel::SetBar(HWND hBar, int bar, int total, int fixed, int client, int position) {
    const bool own = HasOwnBars();
    if (!m_hWnd || (!own && !hBar)) return;
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
    info.nMax = std::max(total - fixed - 1, 0);
    info.nPage = static_cast<UINT>(std::max(client - fixed, 0));
    info.nPos = position - fixed;
    ::SetScrollInfo(own ? m_hWnd : hBar, own ? bar : SB_CTL, &info, TRUE);
}
