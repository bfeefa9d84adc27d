// Life of a grid, its look, and what is owed to the screen.
#include "QNGridCtrl/HTMLGridModel.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"

#include <algorithm>
#include <utility>

namespace {

const WCHAR kClass[] = u"HTMLGRIDCLASS";
constexpr DWORD kStyle = 0x52310000; // child, visible, clip children, both scroll bars, tab stop

// How many of the fixed rows or columns are left once `count` from `first` on are gone.
WORD FixedLeft(WORD fixed, WORD first, WORD count) {
    const int gone = std::clamp(fixed - first, 0, int{count});
    return static_cast<WORD>(fixed - gone);
}

void Replace(HBRUSH& brush, COLORREF color) {
    if (brush) DeleteObject(brush);
    brush = CreateSolidBrush(color);
}

} // namespace

bool CHTMLGridModel::s_bGradient = false;

CHTMLGridModel::CHTMLGridModel() {
    HIDPI_InitScaling();
    m_wMinRowHeight = static_cast<WORD>(ScalePx(g_HIDPI_LogPixelsY, 15));
    m_wFloaterBarWidth = static_cast<WORD>(ScalePx(g_HIDPI_LogPixelsX, 7));
    m_crLines = GetSysColor(COLOR_WINDOWFRAME);
    m_crBack = GetSysColor(COLOR_WINDOW);
    m_crFixedBack = GetSysColor(COLOR_BTNFACE);
    m_crSelText = GetSysColor(COLOR_HIGHLIGHTTEXT);
    m_hBackBrush = CreateSolidBrush(m_crBack);
    m_hSelBrush = CreateSolidBrush(GetSysColor(COLOR_HIGHLIGHT));
}

CHTMLGridModel::~CHTMLGridModel() {
    DeleteObject(m_hBackBrush);
    DeleteObject(m_hSelBrush);
}

bool CHTMLGridModel::InitWindow(HWND hParent, const RECT& rect, bool bVirtual, LPCWSTR pszName) {
    static const bool registered = RegisterClassW(kClass);
    if (!registered || m_hWnd) return false;
    m_bVirtual = bVirtual;
    if (!Create(kClass, hParent, rect, pszName, kStyle)) return false;
    RecalcGrid();
    return true;
}

// --- Rows and columns ---------------------------------------------------------------------------------------------

void CHTMLGridModel::SetDimensions(DWORD rows, DWORD cols) {
    Resize(static_cast<int>(std::min<DWORD>(rows, GRID_NONE)),
           static_cast<int>(std::min<DWORD>(cols, GRID_NONE)));
    Reset();
}

// The cells and floaters beyond go first.
void CHTMLGridModel::Resize(int rows, int cols) {
    m_pCurFloater = nullptr;
    const int goneRows = m_Rows.Count() - rows, goneCols = m_Cols.Count() - cols;
    if (goneRows > 0) m_Floaters.DeleteRows(static_cast<WORD>(rows), static_cast<WORD>(goneRows));
    if (goneCols > 0) m_Floaters.DeleteCols(static_cast<WORD>(cols), static_cast<WORD>(goneCols));
    m_Rows.SetCount(rows);
    m_Cols.SetCount(cols);
    m_RowUserIDs.resize(static_cast<std::size_t>(rows));
    m_wFixedRows = std::min(m_wFixedRows, GetRowCount());
    m_wFixedCols = std::min(m_wFixedCols, GetColCount());
}

// Selection and current cell may lie where nothing is any more.
void CHTMLGridModel::Reset() {
    if (!m_Selection.IsEmpty()) {
        const bool gone = m_Selection.top >= GetRowCount() || m_Selection.left >= GetColCount();
        m_Selection = gone ? HTMLGridSelection() : SelectionRules().Bounded(m_Selection);
    }
    if (m_wCurRow >= GetRowCount()) m_wCurRow = GRID_NONE;
    if (m_wCurCol >= GetColCount()) m_wCurCol = GRID_NONE;
    UpdateGrid();
}

void CHTMLGridModel::SetFixedRowCount(WORD count) {
    m_wFixedRows = std::min(count, GetRowCount());
    UpdateGrid();
}

void CHTMLGridModel::SetFixedColCount(WORD count) {
    m_wFixedCols = std::min(count, GetColCount());
    UpdateGrid();
}

void CHTMLGridModel::CreateCells() {
    for (int row = 0; row < m_Rows.Count(); ++row)
        for (int col = 0; col < m_Cols.Count(); ++col)
            if (!m_Cells.Make(static_cast<WORD>(col), static_cast<WORD>(row))) return;
    UpdateGrid();
}

void CHTMLGridModel::DestroyCells() {
    m_pCurFloater = nullptr;
    m_Floaters.Clear();
    m_Cells.Clear();
    UpdateGrid();
}

void CHTMLGridModel::InsertRow(WORD index) {
    const WORD row = std::min(index, GetRowCount());
    if (m_Rows.Count() >= GRID_NONE) return;
    m_Floaters.InsertRow(row);
    m_Rows.Insert(row);
    m_RowUserIDs.insert(m_RowUserIDs.begin() + row, 0);
    if (!m_bVirtual)
        for (int col = 0; col < m_Cols.Count(); ++col) m_Cells.Make(static_cast<WORD>(col), row);
    if (!m_Selection.IsEmpty() && m_Selection.top >= row) ++m_Selection.top;
    if (!m_Selection.IsEmpty() && m_Selection.bottom >= row) ++m_Selection.bottom;
    if (m_wCurRow != GRID_NONE && m_wCurRow >= row) ++m_wCurRow;
    if (row < m_wFixedRows) ++m_wFixedRows;
    UpdateGrid();
}

void CHTMLGridModel::DeleteRows(WORD first, WORD count) {
    if (first >= GetRowCount() || count == 0) return;
    count = std::min<WORD>(count, static_cast<WORD>(GetRowCount() - first));
    m_pCurFloater = nullptr;
    m_Floaters.DeleteRows(first, count);
    m_Rows.Remove(first, count);
    m_RowUserIDs.erase(m_RowUserIDs.begin() + first, m_RowUserIDs.begin() + first + count);
    m_wFixedRows = FixedLeft(m_wFixedRows, first, count);
    m_Selection.CloseRows(first, count);
    m_wCurRow = GridClosedUp(m_wCurRow, first, count);
    Reset();
}

void CHTMLGridModel::DeleteCols(WORD first, WORD count) {
    if (first >= GetColCount() || count == 0) return;
    count = std::min<WORD>(count, static_cast<WORD>(GetColCount() - first));
    m_pCurFloater = nullptr;
    m_Floaters.DeleteCols(first, count);
    m_Cols.Remove(first, count);
    m_wFixedCols = FixedLeft(m_wFixedCols, first, count);
    m_Selection.CloseCols(first, count);
    m_wCurCol = GridClosedUp(m_wCurCol, first, count);
    Reset();
}

// --- Updates ------------------------------------------------------------------------------------------------------

void CHTMLGridModel::EndUpdate() {
    if (m_nUpdates == 0 || --m_nUpdates > 0) return;
    const DWORD owed = std::exchange(m_dwOwed, 0);
    if (owed & kOwedRecalc)
        RecalcGrid();
    else if (owed & kOwedScreenCells)
        RecalcScreenCells();
    if (owed & kOwedRepaint) Invalidate();
}

void CHTMLGridModel::UpdateGrid() {
    RecalcGrid();
    Repaint();
}

void CHTMLGridModel::ForcePaint() { UpdateWindow(); }

void CHTMLGridModel::Invalidate(const RECT* rect) {
    if (m_eUpdateKind == UPDATE_ALL) m_bBufferValid = false;
    if (IsInUpdate())
        m_dwOwed |= kOwedRepaint;
    else if (m_hWnd)
        InvalidateRect(rect, FALSE);
}

void CHTMLGridModel::Repaint() {
    m_eUpdateKind = UPDATE_ALL;
    Invalidate();
}

void CHTMLGridModel::RequestUpdate(UpdateKind kind) {
    const bool other = m_eUpdateKind == UPDATE_ALL ? !m_bBufferValid : m_eUpdateKind != kind;
    m_eUpdateKind = other ? UPDATE_ALL : kind;
    // What has scrolled is moved on the screen when it is painted.
    if (m_eUpdateKind == UPDATE_SCROLLED && !IsInUpdate())
        RedrawWindow(nullptr, nullptr, RDW_INTERNALPAINT | RDW_NOCHILDREN);
    else
        Invalidate();
}

void CHTMLGridModel::RequestCellUpdate(WORD col, WORD row) {
    const bool another = m_eUpdateKind == UPDATE_CELL && (col != m_wUpdateCol || row != m_wUpdateRow);
    m_wUpdateCol = col;
    m_wUpdateRow = row;
    if (another)
        Repaint();
    else
        RequestUpdate(UPDATE_CELL);
}

// --- Look ---------------------------------------------------------------------------------------------------------

void CHTMLGridModel::SetBackColor(COLORREF color) {
    m_crBack = color;
    Replace(m_hBackBrush, color);
    Repaint();
}

void CHTMLGridModel::SetLinesColor(COLORREF color) {
    m_crLines = color;
    Repaint();
}

// Lines take room.
void CHTMLGridModel::SetShowHLines(bool bShow) {
    m_bShowHLines = bShow;
    UpdateGrid();
}

void CHTMLGridModel::SetShowVLines(bool bShow) {
    m_bShowVLines = bShow;
    UpdateGrid();
}

void CHTMLGridModel::SetShowFixedHLines(bool bShow) {
    m_bShowFixedHLines = bShow;
    UpdateGrid();
}

void CHTMLGridModel::SetShowFixedVLines(bool bShow) {
    m_bShowFixedVLines = bShow;
    UpdateGrid();
}

void CHTMLGridModel::SetBorder(bool bBorder) {
    ModifyStyle(bBorder ? 0 : WS_BORDER, bBorder ? WS_BORDER : 0, SWP_FRAMECHANGED);
    UpdateGrid();
}

void CHTMLGridModel::SetShowFocus(bool bShow) {
    m_bShowFocus = bShow;
    Repaint();
}

void CHTMLGridModel::SetSelectionColor(COLORREF ground, COLORREF text) {
    Replace(m_hSelBrush, ground);
    m_crSelText = text;
    Repaint();
}

GRIDDRAWPROC CHTMLGridModel::SetCellOwnerDrawProc(GRIDDRAWPROC draw, GRIDDRAWPROC idealRect) {
    m_pfnIdealRect = idealRect;
    const GRIDDRAWPROC former = std::exchange(m_pfnDraw, draw);
    UpdateGrid();
    return former;
}

GRIDDRAWPROC CHTMLGridModel::SetFixedCellOwnerDrawProc(GRIDDRAWPROC draw, GRIDDRAWPROC idealRect) {
    m_pfnFixedIdealRect = idealRect;
    const GRIDDRAWPROC former = std::exchange(m_pfnFixedDraw, draw);
    UpdateGrid();
    return former;
}

// --- Links --------------------------------------------------------------------------------------------------------

void CHTMLGridModel::SetLinkNavigationMode(ELinkNavigationMode mode) {
    m_eLinkNavigationMode = mode;
    Repaint();
}

void CHTMLGridModel::SetLinkNavigationOn(bool bOn) {
    m_bLinkNavigationOn = bOn;
    Repaint();
}

bool CHTMLGridModel::IsLinkNavigationActive() const {
    if (m_eLinkNavigationMode == LINK_NAVIGATION_BY_REQUEST) return m_bLinkNavigationOn;
    return m_eLinkNavigationMode == LINK_NAVIGATION_ALWAYS;
}
