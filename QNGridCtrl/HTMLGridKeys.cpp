// Keys on a grid: moving the selection and the view, links, what Enter and Space do, keys that are held.
#include "QNGridCtrl/HTMLGrid.h"

#include "Platform/clock.h"
#include "Platform/edit.h"

#include <algorithm>
#include <utility>

namespace {

constexpr UINT kRepeated = KF_KEY_REPEATED >> 16; // in the flags of key messages
constexpr UINT kAltDown = KF_KEY_ALTDOWN >> 16;
constexpr UINT kHeldEndTime = 1250; // milliseconds
constexpr DWORD kHeldStepTime = 750;

bool IsArrow(WPARAM vk) { return vk == VK_LEFT || vk == VK_RIGHT || vk == VK_UP || vk == VK_DOWN; }
bool IsForward(WPARAM vk) { return vk == VK_RIGHT || vk == VK_DOWN; }
bool IsUpright(WPARAM vk) { return vk == VK_UP || vk == VK_DOWN; }
bool IsDown(int vk) { return GetKeyState(vk) < 0; }

// The next one that has a size, from `from` on; GRID_NONE behind the last.
WORD NextOf(const HTMLGridAxis& axis, int from, int first, bool bForward) {
    for (int i = from; i >= first && i < axis.Count(); i += bForward ? 1 : -1)
        if (axis.Size(i) > 0) return static_cast<WORD>(i);
    return GRID_NONE;
}

} // namespace

// --- Messages -----------------------------------------------------------------------------------------------------

LRESULT CHTMLGrid::OnKeyDown(WPARAM code, UINT repeat, UINT flags, bool& handled) {
    if (!IsWindowVisible() || (repeat > 1 && m_HeldKey.wait == 0)) return 0;
    const bool repeated = (flags & kRepeated) != 0;
    if (code == VK_RETURN) {
        if (!repeated) m_bEnterDone = false;
        m_bEnterDown = handled = true;
    } else if (code == VK_SPACE) {
        handled = true;
        if (!repeated) OnActionButton();
    } else if ((flags & kAltDown) && IsArrow(code)) {
        handled = !IsUpright(code);
        if (handled) Swipe(code == VK_RIGHT); // to the left is onward
    } else if (IsArrow(code)) {
        handled = OnArrow(code, repeated);
    } else {
        handled = OnOtherKey(code);
    }
    return 0;
}

bool CHTMLGrid::OnOtherKey(WPARAM vk) {
    const bool selects = m_nKeysScrollMode == GRID_SCROLL_CURRENT;
    switch (vk) {
    case VK_ESCAPE:
        if (!m_Drag.active) return false;
        FinishDragOperation();
        return true;
    case VK_PRIOR:
        ScrollByPageUp();
        return true;
    case VK_NEXT:
        ScrollByPageDown();
        return true;
    case VK_HOME:
        if (selects)
            SelectRow(NextOf(m_Rows, m_wFixedRows, m_wFixedRows, true));
        else
            ScrollToTop();
        return true;
    case VK_END:
        if (selects)
            SelectRow(NextOf(m_Rows, m_Rows.Count() - 1, m_wFixedRows, false));
        else
            ScrollToBottom();
        return true;
    case VK_F1 + 1: // F2
        return m_wCurRow < GetRowCount() && EnableCellEdit(m_wCurCol, m_wCurRow, false);
    case VK_DELETE: // the owner's to do
        ::SendMessageW(Owner(), WM_KEYDOWN, vk, 1);
        return true;
    case 'C':
        return IsDown(VK_CONTROL) && CopySelectedCellsToClipBoard();
    default:
        return false;
    }
}

// Enter acts once for each press, by its character; where none comes, when it is released.
LRESULT CHTMLGrid::OnChar(WPARAM code, UINT repeat, UINT flags, bool& handled) {
    handled = true;
    if (code == VK_RETURN) {
        if (!std::exchange(m_bEnterDone, true)) OnActionButton();
    } else if (code != VK_SPACE) {
        ::SendMessageW(Owner(), WM_CHAR, code,
                       MAKELPARAM(static_cast<WORD>(repeat), static_cast<WORD>(flags)));
    }
    return 0;
}

LRESULT CHTMLGrid::OnKeyUp(WPARAM code, UINT, UINT, bool& handled) {
    if (code != VK_RETURN || !m_bEnterDown) return 0;
    handled = true;
    m_bEnterDown = false;
    if (!std::exchange(m_bEnterDone, false)) OnActionButton();
    return 0;
}

LRESULT CHTMLGrid::OnKillFocus(HWND, bool&) {
    m_bEnterDown = m_bEnterDone = false;
    if (m_bShowFocus) Repaint();
    return 0;
}

// --- Arrows -------------------------------------------------------------------------------------------------------

bool CHTMLGrid::OnArrow(WPARAM vk, bool bRepeated) {
    const HWND self = m_hWnd;
    if (DropsHeldKey(vk, bRepeated)) return true;
    if (!::IsWindow(self)) return true;
    if (IsLinkNavigationActive() && MoveLink(vk)) return true;
    switch (m_nKeysScrollMode) {
    case GRID_SCROLL_ROW:
        ScrollByKey(vk);
        return true;
    case GRID_SCROLL_PAGE:
        PageByKey(vk);
        return true;
    default:
        return MoveSelection(vk, bRepeated);
    }
}

void CHTMLGrid::ScrollByKey(WPARAM vk) {
    if (vk == VK_UP) ScrollByRowUp(1);
    if (vk == VK_DOWN) ScrollByRowDown(1);
    if (vk == VK_LEFT) ScrollByColLeft(1);
    if (vk == VK_RIGHT) ScrollByColRight(1);
}

void CHTMLGrid::PageByKey(WPARAM vk) {
    if (vk == VK_UP) ScrollByPageUp();
    if (vk == VK_DOWN) ScrollByPageDown();
    if (vk == VK_LEFT) ScrollByPageLeft();
    if (vk == VK_RIGHT) ScrollByPageRight();
}

// The links of the cell; when there is no further one the key does what it does otherwise.
bool CHTMLGrid::MoveLink(WPARAM vk) {
    tagCELLINFO* cell = m_Cells.Find(m_wCurCol, m_wCurRow);
    if (!cell) return false;
    if (!IsUpright(vk) && cell->OnNavigationButton(vk)) {
        RequestCellUpdate(m_wCurCol, m_wCurRow);
        return true;
    }
    EndLinkNavigation(*cell);
    return false;
}

void CHTMLGrid::EndLinkNavigation(tagCELLINFO& cell) {
    if (m_eLinkNavigationMode != LINK_NAVIGATION_ALWAYS) {
        m_bLinkNavigationOn = false;
        cell.SetNavigatable(false);
    }
    cell.ClearFocusedState();
    Repaint();
}

bool CHTMLGrid::MoveSelection(WPARAM vk, bool bRepeated) {
    const bool forward = IsForward(vk), upright = IsUpright(vk);
    if (!upright && SelectionRules().SelectsRows()) return false;
    if (upright && MoveFloaterSelection(forward)) {
        TellKeySelection();
        return true;
    }
    const bool extend = m_bMultiSelect && IsDown(VK_SHIFT);
    const WORD target = ArrowTarget(upright, forward, !extend && !bRepeated);
    if (target == GRID_NONE) return true;
    if (extend) {
        BeginExtension();
    } else {
        m_wAnchorCol = m_wAnchorRow = GRID_NONE;
    }
    SelectByKey(upright ? m_wCurCol : target, upright ? target : m_wCurRow, forward, upright);
    return true;
}

// The row or column that the key leads to; behind the last one the first, if it may go round.
WORD CHTMLGrid::ArrowTarget(bool bUpright, bool bForward, bool bWrap) const {
    const HTMLGridAxis& axis = bUpright ? m_Rows : m_Cols;
    const int first = bUpright ? m_wFixedRows : m_wFixedCols, last = axis.Count() - 1;
    const WORD current = bUpright ? m_wCurRow : m_wCurCol;
    const int step = bForward ? 1 : -1, start = bForward ? first : last;
    if (current > last) return NextOf(axis, start, first, bForward);
    const WORD next = NextOf(axis, current + step, first, bForward);
    return next == GRID_NONE && bWrap ? NextOf(axis, start, first, bForward) : next;
}

void CHTMLGrid::BeginExtension() {
    if (m_wAnchorRow < GetRowCount() && m_wAnchorCol < GetColCount()) return;
    m_wAnchorRow = m_wCurRow < GetRowCount() ? m_wCurRow : m_wFixedRows;
    m_wAnchorCol = m_wCurCol < GetColCount() ? m_wCurCol : m_wFixedCols;
}

// A cell beyond the page brings the next page first.
void CHTMLGrid::SelectByKey(WORD col, WORD row, bool bForward, bool bUpright) {
    if (row >= GetRowCount()) row = m_wFixedRows;
    if (col >= GetColCount()) col = m_wFixedCols;
    if (!IsCellVisible(col, row)) {
        if (bUpright) bForward ? ScrollByPageDown() : ScrollByPageUp();
        if (!bUpright) bForward ? ScrollByPageRight() : ScrollByPageLeft();
    }
    if (m_wAnchorRow == GRID_NONE)
        SetSelection(col, row, col, row);
    else
        SelectTo(col, row);
    MakeCellVisible(col, row);
    UpdateSelectionForFloaters(bForward);
    TellKeySelection();
}

void CHTMLGrid::SelectRow(WORD row) {
    if (row == GRID_NONE) return;
    m_wAnchorCol = m_wAnchorRow = GRID_NONE;
    SetRow(row);
    MakeCellVisible(m_wCurCol, row);
    TellKeySelection();
}

void CHTMLGrid::TellKeySelection() {
    tagNM_GRIDVIEW view = ViewOf(m_wCurCol, m_wCurRow, GRIDM_KEY_SELECTED);
    AskOwner(GRIDM_KEY_SELECTED, view);
}

// --- Keys that are held -------------------------------------------------------------------------------------------

// Repeats between the told states come to nothing, and those that were left in the queue when the key went up.
bool CHTMLGrid::DropsHeldKey(WPARAM vk, bool bRepeated) {
    if (m_HeldKey.wait == 0) return false;
    const DWORD now = GetTickCount();
    if (!bRepeated || vk != m_HeldKey.key) {
        if (m_HeldKey.state == 0) m_HeldKey.tick = now;
        m_HeldKey.key = vk;
        return false;
    }
    if (GetAsyncKeyState(static_cast<int>(vk)) >= 0) return true;
    const DWORD held = now - m_HeldKey.tick;
    if (m_HeldKey.state == 0 && held <= m_HeldKey.wait) return false;
    if (m_HeldKey.state != 0 && held < kHeldStepTime) return true;
    m_HeldKey.tick = now;
    TellHeldKey(m_HeldKey.state == 0 ? GRID_HELD_BEGIN : GRID_HELD_GOES_ON);
    return false;
}

void CHTMLGrid::TellHeldKey(DWORD state) {
    m_HeldKey.state = state;
    if (state != GRID_HELD_END) SetTimer(kHeldKeyTimer, kHeldEndTime);
    tagNM_GRIDVIEW view = ViewOf(m_wCurCol, m_wCurRow, GRIDN_KEY_HELD);
    view.x = static_cast<LONG>(m_HeldKey.key);
    view.dwData = state;
    NotifyOwner(view);
}

void CHTMLGrid::EndHeldKey() {
    KillTimer(kHeldKeyTimer);
    const HWND self = m_hWnd;
    TellHeldKey(GRID_HELD_END);
    if (!::IsWindow(self)) return;
    m_HeldKey.state = 0;
    m_HeldKey.key = 0;
}

// --- Enter and Space ----------------------------------------------------------------------------------------------

// Of the selected row: the cell at the left, or in row selection the first one whose links the key leads to.
WORD CHTMLGrid::ActionCol() const {
    if (m_bRowSelect)
        for (int col = m_Selection.left; col <= m_Selection.right; ++col) {
            const tagCELLINFO* cell = m_Cells.Find(static_cast<WORD>(col), m_Selection.top);
            if (cell && cell->bOnActionLinkNavigable) return static_cast<WORD>(col);
        }
    return m_Selection.left;
}

bool CHTMLGrid::OnActionButton() {
    if (m_Selection.IsEmpty()) return false;
    const WORD col = ActionCol(), row = m_Selection.top;
    tagCELLINFO* cell = m_Cells.Find(col, row);
    const int links = cell ? cell->CountNavigableTokens() : 0;
    if (links == 0) return HoldOrActivate(col, row);
    const bool active = IsLinkNavigationActive(), single = links == 1 && cell->bOnActionLinkNavigable;
    const bool enters = !active && (single || m_eLinkNavigationMode == LINK_NAVIGATION_BY_REQUEST);
    if (!active && !enters) return ActivateCell(col, row, cell->dwData, 0);
    if (enters) EnterLinks(*cell, col, row);
    // With several links the key leads to the first of them; the next time it takes the one that is focused.
    return enters && !single ? true : ActivateLink(*cell, col, row);
}

void CHTMLGrid::EnterLinks(tagCELLINFO& cell, WORD col, WORD row) {
    cell.SetNavigatable(true);
    cell.OnNavigationButton(VK_RIGHT);
    m_bLinkNavigationOn = true;
    m_wCurCol = col;
    m_wCurRow = row;
    Repaint();
}

bool CHTMLGrid::ActivateLink(tagCELLINFO& cell, WORD col, WORD row) {
    CeString target;
    if (!cell.OnActionButton(target)) {
        cell.OnNavigationButton(VK_RIGHT);
        Repaint();
        if (!cell.OnActionButton(target)) return false;
    }
    if (m_eLinkNavigationMode != LINK_NAVIGATION_ALWAYS) EndLinkNavigation(cell);
    tagNM_GRIDVIEW view = ViewOf(col, row, GRIDN_HOT_SPOT);
    view.pszHotSpot = target;
    OnHotspotNotify(view);
    return true;
}

bool CHTMLGrid::HoldOrActivate(WORD col, WORD row) {
    const HWND self = m_hWnd;
    RECT rect{};
    GetCellRect(col, row, rect);
    SHRGINFO info{
        sizeof(SHRGINFO), self, {(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2}, SHRG_RETURNCMD};
    const bool held = SHRecognizeGesture(&info) == GN_CONTEXTMENU;
    if (!::IsWindow(self)) return true;
    if (!held) return ActivateCell(col, row, GetCellData(col, row), 0);
    tagNM_GRIDVIEW view = ViewOf(col, row, GRIDN_HOLD);
    view.x = info.ptDown.x;
    view.y = info.ptDown.y;
    NotifyOwner(view);
    return true;
}

bool CHTMLGrid::ActivateCell(WORD col, WORD row, DWORD data, DWORD) {
    if (col >= GetColCount() || row >= GetRowCount()) return false;
    RECT rect{};
    GetCellRect(col, row, rect);
    tagNM_GRIDVIEW view = ViewOf(col, row, GRIDN_TAP);
    view.x = rect.left;
    view.y = rect.top;
    view.dwData = data;
    NotifyOwner(view);
    return true;
}
