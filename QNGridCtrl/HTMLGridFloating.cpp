// The floaters of a grid, as its owner sees them.
#include "QNGridCtrl/HTMLGridModel.h"

#include <algorithm>
#include <iterator>
#include <utility>

bool CHTMLGridModel::AddFloater(WORD col, WORD row, DWORD id, WORD rowSpan, WORD barPercent,
                                WORD barTopPercent, COLORREF color, bool bNoDrag) {
    CHTMLParser text;
    if (!m_Cells.Find(col, row) || !ReadFloaterText(col, row, id, text)) return false;
    const int rows = std::min<int>(std::max<int>(rowSpan, 1), GetRowCount() - row);
    tagFLOATERINFO* floater = m_Floaters.Add(col, row, id, static_cast<WORD>(rows));
    if (!floater) return false;
    floater->bNoDrag = bNoDrag;
    floater->wBarPercent = barPercent;
    floater->wBarTopPercent = barTopPercent;
    floater->crBar = color;
    floater->Text = std::move(text);
    Repaint();
    return true;
}

bool CHTMLGridModel::DeleteFloater(WORD col, DWORD id) {
    if (m_pCurFloater && m_pCurFloater == m_Floaters.Find(col, id)) m_pCurFloater = nullptr;
    if (!m_Floaters.Delete(col, id)) return false;
    Repaint();
    return true;
}

bool CHTMLGridModel::CellHasFloaters(WORD col, WORD row) const {
    const tagCELLINFO* cell = m_Cells.Find(col, row);
    return cell && !cell->Floaters.empty();
}

int CHTMLGridModel::GetFloaterBlockBounds(WORD row, WORD col, WORD& first, WORD& last) const {
    return m_Floaters.BlockBounds(row, col, first, last);
}

tagFLOATERINFO* CHTMLGridModel::GetFloaterFromPoint(POINT point, bool& bMovable) {
    WORD col, row;
    bMovable = false;
    return GetCellFromPoint(point, col, row) ? GetFloaterFromPoint(point, col, row, bMovable) : nullptr;
}

tagFLOATERINFO* CHTMLGridModel::GetFloaterFromPoint(POINT point, WORD col, WORD row, bool& bMovable) {
    bMovable = false;
    const tagCELLINFO* cell = m_Cells.Find(col, row);
    RECT rect;
    if (!cell || cell->Floaters.empty() || !GetCellRect(col, row, rect)) return nullptr;
    if (!cell->bFloatersValid) m_Floaters.Validate(row, col);
    const int x = point.x - rect.left, width = rect.right - rect.left;
    tagFLOATERINFO* floater = HTMLGridFloaters::Hit(*cell, x, width);
    if (floater && m_bFloaterBarOn)
        bMovable = x - floater->nFirstSlot * (width / floater->nSlots) < m_wFloaterBarWidth;
    return floater;
}

void CHTMLGridModel::SetFloaterOptions(bool bText, bool bBar) {
    m_bFloaterTextOn = bText;
    m_bFloaterBarOn = bBar;
    Repaint();
}

// --- Selection ----------------------------------------------------------------------------------------------------

void CHTMLGridModel::UpdateSelectionForFloaters(bool bForward) {
    const tagCELLINFO* cell = m_Cells.Find(m_wCurCol, m_wCurRow);
    const bool none = !cell || cell->Floaters.empty();
    if (!none && m_pCurFloater && cell->Floaters.contains(m_pCurFloater->dwID)) return;
    m_pCurFloater = none       ? nullptr
                    : bForward ? cell->Floaters.begin()->second
                               : cell->Floaters.rbegin()->second;
    Repaint();
}

bool CHTMLGridModel::MoveFloaterSelection(bool bForward) {
    const tagCELLINFO* cell = m_Cells.Find(m_wCurCol, m_wCurRow);
    if (!cell || !m_pCurFloater) return false;
    auto at = cell->Floaters.find(m_pCurFloater->dwID);
    if (at == cell->Floaters.end()) return false;
    const bool last = bForward ? std::next(at) == cell->Floaters.end() : at == cell->Floaters.begin();
    m_pCurFloater = last ? nullptr : (bForward ? ++at : --at)->second;
    Repaint();
    return !last;
}
