// Life of a grid, its look, and what is owed to the screen.
#include "QNGridCtrl/HTMLGrid.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"

#include <algorithm>
#include <utility>

namespace {

const WCHAR kClass[] = u"HTMLGRIDCLASS";
constexpr DWORD kStyle = 0x52310000; // child, visible, clip children, both scroll bars, tab stop

int ScaleX(int pixels) { return ScalePx(g_HIDPI_LogPixelsX, pixels); }

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

bool CHTMLGrid::s_bGradient = false;

CHTMLGrid::CHTMLGrid() {
    HIDPI_InitScaling();
    m_wMinRowHeight = static_cast<WORD>(ScalePx(g_HIDPI_LogPixelsY, 15));
    m_wFloaterBarWidth = static_cast<WORD>(ScaleX(7));
    m_wScrollRegion = static_cast<WORD>(ScaleX(20));
    m_nScrollingSensitivity = ScaleX(4);
    m_crLines = GetSysColor(COLOR_WINDOWFRAME);
    m_crBack = GetSysColor(COLOR_WINDOW);
    m_crFixedBack = GetSysColor(COLOR_BTNFACE);
    m_crSelText = GetSysColor(COLOR_HIGHLIGHTTEXT);
    m_hBackBrush = CreateSolidBrush(m_crBack);
    m_hSelBrush = CreateSolidBrush(GetSysColor(COLOR_HIGHLIGHT));
}

CHTMLGrid::CHTMLGrid(HWND hParent, const RECT& rect, bool bVirtual, LPCWSTR pszName) : CHTMLGrid() {
    InitWindow(hParent, rect, bVirtual, pszName);
}

CHTMLGrid::~CHTMLGrid() {
    if (m_hWnd) DestroyWindow();
    DestroyBitmapBuffer();
    DeleteObject(m_hBackBrush);
    DeleteObject(m_hSelBrush);
}

bool CHTMLGrid::InitWindow(HWND hParent, const RECT& rect, bool bVirtual, LPCWSTR pszName) {
    static const bool registered = RegisterClassW(kClass);
    if (!registered || m_hWnd) return false;
    m_bVirtual = bVirtual;
    if (!Create(kClass, hParent, rect, pszName, kStyle)) return false;
    RecalcGrid();
    return true;
}

LRESULT CHTMLGrid::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    CeWnd::OnSize(type, cx, cy, handled);
    DestroyBitmapBuffer();
    RecalcGrid();
    Repaint();
    return 0;
}

// --- Rows and columns ---------------------------------------------------------------------------------------------

void CHTMLGrid::SetDimensions(DWORD rows, DWORD cols) {
    Resize(static_cast<int>(std::min<DWORD>(rows, GRID_NONE)),
           static_cast<int>(std::min<DWORD>(cols, GRID_NONE)));
    Reset();
}

// The cells and floaters beyond go first.
void CHTMLGrid::Resize(int rows, int cols) {
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
void CHTMLGrid::Reset() {
    if (!m_Selection.IsEmpty()) {
        const bool gone = m_Selection.top >= GetRowCount() || m_Selection.left >= GetColCount();
        m_Selection = gone ? HTMLGridSelection() : SelectionRules().Bounded(m_Selection);
    }
    if (m_wCurRow >= GetRowCount()) m_wCurRow = GRID_NONE;
    if (m_wCurCol >= GetColCount()) m_wCurCol = GRID_NONE;
    UpdateGrid();
}

void CHTMLGrid::SetFixedRowCount(WORD count) {
    m_wFixedRows = std::min(count, GetRowCount());
    UpdateGrid();
}

void CHTMLGrid::SetFixedColCount(WORD count) {
    m_wFixedCols = std::min(count, GetColCount());
    UpdateGrid();
}

void CHTMLGrid::CreateCells() {
    for (int row = 0; row < m_Rows.Count(); ++row)
        for (int col = 0; col < m_Cols.Count(); ++col)
            if (!m_Cells.Make(static_cast<WORD>(col), static_cast<WORD>(row))) return;
    UpdateGrid();
}

void CHTMLGrid::DestroyCells() {
    m_pCurFloater = nullptr;
    m_Floaters.Clear();
    m_Cells.Clear();
    UpdateGrid();
}

void CHTMLGrid::InsertRow(WORD index) {
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

void CHTMLGrid::DeleteRows(WORD first, WORD count) {
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

void CHTMLGrid::DeleteCols(WORD first, WORD count) {
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

void CHTMLGrid::EndUpdate() {
    if (m_nUpdates == 0 || --m_nUpdates > 0) return;
    const DWORD owed = std::exchange(m_dwOwed, 0);
    if (owed & kOwedRecalc)
        RecalcGrid();
    else if (owed & kOwedScreenCells)
        RecalcScreenCells();
    if (owed & kOwedRepaint) Invalidate();
}

void CHTMLGrid::UpdateGrid() {
    RecalcGrid();
    Repaint();
}

void CHTMLGrid::ForcePaint() { UpdateWindow(); }

void CHTMLGrid::Invalidate(const RECT* rect) {
    if (m_eUpdateKind == UPDATE_ALL) m_bBufferValid = false;
    if (IsInUpdate())
        m_dwOwed |= kOwedRepaint;
    else if (m_hWnd)
        InvalidateRect(rect, FALSE);
}

void CHTMLGrid::Repaint() {
    m_eUpdateKind = UPDATE_ALL;
    Invalidate();
}

void CHTMLGrid::RequestUpdate(UpdateKind kind) {
    const bool other = m_eUpdateKind == UPDATE_ALL ? !m_bBufferValid : m_eUpdateKind != kind;
    m_eUpdateKind = other ? UPDATE_ALL : kind;
    Invalidate();
}

void CHTMLGrid::RequestCellUpdate(WORD col, WORD row) {
    const bool another = m_eUpdateKind == UPDATE_CELL && (col != m_wUpdateCol || row != m_wUpdateRow);
    m_wUpdateCol = col;
    m_wUpdateRow = row;
    if (another)
        Repaint();
    else
        RequestUpdate(UPDATE_CELL);
}

void CHTMLGrid::DestroyBitmapBuffer() {
    if (m_hBuffer) DeleteDC(std::exchange(m_hBuffer, nullptr));
    if (m_hBackBitmap) DeleteObject(std::exchange(m_hBackBitmap, nullptr));
    m_bBufferValid = false;
}

// --- Look ---------------------------------------------------------------------------------------------------------

void CHTMLGrid::SetBackColor(COLORREF color) {
    m_crBack = color;
    Replace(m_hBackBrush, color);
    Repaint();
}

void CHTMLGrid::SetLinesColor(COLORREF color) {
    m_crLines = color;
    Repaint();
}

// Lines take room.
void CHTMLGrid::SetShowHLines(bool bShow) {
    m_bShowHLines = bShow;
    UpdateGrid();
}

void CHTMLGrid::SetShowVLines(bool bShow) {
    m_bShowVLines = bShow;
    UpdateGrid();
}

void CHTMLGrid::SetShowFixedHLines(bool bShow) {
    m_bShowFixedHLines = bShow;
    UpdateGrid();
}

void CHTMLGrid::SetShowFixedVLines(bool bShow) {
    m_bShowFixedVLines = bShow;
    UpdateGrid();
}

void CHTMLGrid::SetBorder(bool bBorder) {
    ModifyStyle(bBorder ? 0 : WS_BORDER, bBorder ? WS_BORDER : 0, SWP_FRAMECHANGED);
    UpdateGrid();
}

void CHTMLGrid::SetShowFocus(bool bShow) {
    m_bShowFocus = bShow;
    Repaint();
}

void CHTMLGrid::SetSelectionColor(COLORREF ground, COLORREF text) {
    Replace(m_hSelBrush, ground);
    m_crSelText = text;
    Repaint();
}

GRIDDRAWPROC CHTMLGrid::SetCellOwnerDrawProc(GRIDDRAWPROC draw, GRIDDRAWPROC idealRect) {
    m_pfnIdealRect = idealRect;
    const GRIDDRAWPROC former = std::exchange(m_pfnDraw, draw);
    UpdateGrid();
    return former;
}

GRIDDRAWPROC CHTMLGrid::SetFixedCellOwnerDrawProc(GRIDDRAWPROC draw, GRIDDRAWPROC idealRect) {
    m_pfnFixedIdealRect = idealRect;
    const GRIDDRAWPROC former = std::exchange(m_pfnFixedDraw, draw);
    UpdateGrid();
    return former;
}

// --- Modes --------------------------------------------------------------------------------------------------------

bool CHTMLGrid::SetBarsScrollMode(WORD mode) {
    if (mode > GRID_SCROLL_CURRENT) return false;
    m_nBarsScrollMode = mode;
    return true;
}

bool CHTMLGrid::SetKeysScrollMode(WORD mode) {
    if (mode > GRID_SCROLL_CURRENT) return false;
    m_nKeysScrollMode = mode;
    return true;
}

void CHTMLGrid::SetLinkNavigationMode(ELinkNavigationMode mode) {
    m_eLinkNavigationMode = mode;
    Repaint();
}

void CHTMLGrid::SetLinkNavigationOn(bool bOn) {
    m_bLinkNavigationOn = bOn;
    Repaint();
}

bool CHTMLGrid::IsLinkNavigationActive() const {
    if (m_eLinkNavigationMode == LINK_NAVIGATION_BY_REQUEST) return m_bLinkNavigationOn;
    return m_eLinkNavigationMode == LINK_NAVIGATION_ALWAYS;
}
