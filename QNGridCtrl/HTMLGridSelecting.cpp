// The selection of a grid and its current cell.
#include "QNGridCtrl/HTMLGridModel.h"

#include <algorithm>

HTMLGridSelectionRules CHTMLGridModel::SelectionRules() const {
    return {m_wSelectionMode, m_bMultiSelect, m_bRowSelect, GetColCount(),
            GetRowCount(),    m_wFixedCols,   m_wFixedRows};
}

bool CHTMLGridModel::SetSelection(WORD left, WORD top, WORD right, WORD bottom) {
    const HWND self = m_hWnd;
    if (m_hEdit) ::SendMessageW(m_hEdit, WM_CANCELMODE, 0, 0); // ends it
    if (self && !::IsWindow(self)) return false;               // the owner has ended the grid for it
    const HTMLGridSelectionRules rules = SelectionRules();
    if (rules.mode == GRID_SELECT_NOTHING || rules.rows == 0 || rules.cols == 0) return false;
    const HTMLGridSelection former = m_Selection;
    pvt_SetSelection(rules.Bounded({left, top, right, bottom}));
    if (m_Selection == former) return false;
    if (m_Selection.top >= m_wFixedRows)
        RequestUpdate(UPDATE_SELECTION);
    else
        Repaint();
    return true;
}

void CHTMLGridModel::pvt_SetSelection(const HTMLGridSelection& bounds) {
    const HTMLGridSelectionRules rules = SelectionRules();
    m_Selection = rules.Apply(bounds);
    m_wCurRow = m_Selection.bottom;
    m_wCurCol = rules.SelectsRows() ? m_wColInRowSelect : m_Selection.right;
}

void CHTMLGridModel::GetSelection(WORD& left, WORD& top, WORD& right, WORD& bottom) const {
    left = m_Selection.left;
    top = m_Selection.top;
    right = m_Selection.right;
    bottom = m_Selection.bottom;
}

void CHTMLGridModel::EmptySelection() {
    if (m_Selection.IsEmpty() && !m_pCurFloater) return;
    m_Selection = {};
    m_pCurFloater = nullptr;
    RequestUpdate(UPDATE_SELECTION);
}

void CHTMLGridModel::SetRow(WORD row) {
    const WORD col = m_wCurCol < GetColCount() ? m_wCurCol : m_wFixedCols;
    if (row < GetRowCount()) SetSelection(col, row, col, row);
}

void CHTMLGridModel::SetCol(WORD col) {
    const WORD row = m_wCurRow < GetRowCount() ? m_wCurRow : m_wFixedRows;
    if (col < GetColCount()) SetSelection(col, row, col, row);
}

void CHTMLGridModel::SetRowSelect(bool bRows) {
    m_bRowSelect = bRows;
    Repaint();
}

bool CHTMLGridModel::SetSelectionMode(WORD mode) {
    if (mode > GRID_SELECT_NOTHING) return false;
    m_wSelectionMode = mode;
    return true;
}
