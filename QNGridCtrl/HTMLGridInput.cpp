// The pointer on a grid: one finger presses, taps, holds, scrolls, flings, swipes, draws a selection and drags.
#include "QNGridCtrl/HTMLGrid.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/clock.h"
#include "Platform/edit.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

constexpr ULONG_PTR kTapTimer = 84;
constexpr UINT kTapTime = 200; // milliseconds within which a second tap counts as double
constexpr int kRubberBandWidth = 6;
constexpr int kRubberBandWay = 12;    // pixels at 96 dots an inch
constexpr double kLongestStep = 0.75; // of the client area

SIZE Way(POINT from, POINT to) { return {std::abs(to.x - from.x), std::abs(to.y - from.y)}; }

} // namespace

LRESULT CHTMLGrid::OnCreate(CREATESTRUCTW*, bool&) {
    CNativeGestures::Enable(m_hWnd);
    return 0;
}

// Nothing of a drag outlives the window.
LRESULT CHTMLGrid::OnDestroy(bool& handled) {
    FinishDragOperation();
    m_pDragTip.reset();
    m_Press = {};
    return CHTMLGridScreen::OnDestroy(handled);
}

// --- Press --------------------------------------------------------------------------------------------------------

LRESULT CHTMLGrid::OnLButtonDown(WPARAM flags, POINT point, bool& handled) {
    handled = true;
    const HWND self = m_hWnd;
    const bool moving = m_Kinetic.IsMoving();
    m_Kinetic.Halt();
    if (m_hEdit || m_bShowFocus) SetFocus(); // the owner may change the grid by what was edited
    if (!::IsWindow(self)) return 0;
    BeginPress(point);
    const bool onCell = m_Press.row != GRID_NONE;
    if (!onCell)
        m_wCurCol = m_wCurRow = GRID_NONE;
    else if (!PressFloater(point))
        PressCell((flags & MK_SHIFT) != 0);
    if (!moving && m_Press.known && Hold(point)) return 0;
    if (!::IsWindow(self)) return 0;
    if (flags & MK_RBUTTON) { // the second press of the right button: a menu, or nothing
        m_Press.consumed = true;
        return 0;
    }
    CountTap();
    if (PressHotSpot(point)) return 0;
    Click(point);
    if (!onCell && ::IsWindow(self)) EmptySelection();
    return 0;
}

void CHTMLGrid::BeginPress(POINT point) {
    m_Press = {};
    m_Press.down = m_Press.last = m_Press.move = point;
    m_Press.time = GetTickCount();
    m_Press.button = true;
    m_Press.formerCol = m_wCurCol;
    m_Press.formerRow = m_wCurRow;
    GetCellFromPoint(point, m_Press.col, m_Press.row);
}

bool CHTMLGrid::PressFloater(POINT point) {
    tagFLOATERINFO* floater = GetFloaterFromPoint(point, m_Press.col, m_Press.row, m_Press.floaterMovable);
    if (!floater) return false;
    m_Press.floater = m_Press.known = true;
    m_Press.floaterID = floater->dwID;
    m_Press.floaterCol = m_Press.col;
    m_Press.floaterOffset = static_cast<WORD>(m_Press.row - m_Floaters.FirstRow(m_Press.col, floater->dwID));
    m_Press.selected = std::exchange(m_pCurFloater, floater) != floater;
    m_wCurCol = m_Press.col;
    m_wCurRow = m_Press.row;
    Repaint();
    return true;
}

// Selects at once, not at the release: that is what one sees first.
void CHTMLGrid::PressCell(bool bShift) {
    const WORD col = m_Press.col, row = m_Press.row;
    const bool stretch = bShift && m_bMultiSelect && m_wCurRow < GetRowCount();
    if (stretch) BeginExtension();
    if (std::exchange(m_pCurFloater, nullptr)) Repaint();
    m_Press.known = IsCellSelected(col, row);
    const bool current = col == m_Press.formerCol && row == m_Press.formerRow;
    const bool stays = !m_bMultiSelect && current;
    if (!stretch) {
        m_wAnchorCol = col;
        m_wAnchorRow = row;
    }
    if (!stays && (stretch || !m_Press.known)) m_Press.selected = SelectTo(col, row);
    m_wCurRow = row;
    m_wCurCol = SelectionRules().SelectsRows() ? m_wColInRowSelect : col;
}

// From the anchor to a cell, which becomes the current one; in mode 3 nothing.
bool CHTMLGrid::SelectTo(WORD col, WORD row) {
    const HTMLGridSelectionRules rules = SelectionRules();
    if (rules.mode == GRID_SELECT_NOTHING || rules.rows == 0 || rules.cols == 0) return false;
    const HTMLGridSelection former = m_Selection;
    pvt_SetSelection(m_bMultiSelect ? rules.Bounded({m_wAnchorCol, m_wAnchorRow, col, row})
                                    : HTMLGridSelection{col, row, col, row});
    m_wCurRow = row;
    if (!rules.SelectsRows()) m_wCurCol = col;
    if (m_Selection == former) return false;
    if (m_Selection.top >= m_wFixedRows)
        RequestUpdate(UPDATE_SELECTION);
    else
        Repaint();
    return true;
}

// The owner may say that it has nothing to show for a press that is held.
bool CHTMLGrid::Hold(POINT point) {
    const HWND self = m_hWnd;
    tagNM_GRIDVIEW view = ViewAt(point, GRIDM_HOLD_QUERY);
    const LRESULT none = ::SendMessageW(Owner(), GRIDM_HOLD_QUERY, reinterpret_cast<WPARAM>(self),
                                        reinterpret_cast<LPARAM>(&view));
    if (none != 0) return false;
    SHRGINFO info{sizeof(SHRGINFO), self, point, SHRG_RETURNCMD};
    if (SHRecognizeGesture(&info) != GN_CONTEXTMENU || !::IsWindow(self)) return false;
    m_Press.consumed = true;
    view.hdr.code = GRIDN_HOLD;
    NotifyOwner(view);
    return true;
}

void CHTMLGrid::CountTap() {
    m_nTapCount = m_nTapCount == 1 ? 2 : 1;
    if (m_nTapCount == 1) SetTimer(kTapTimer, kTapTime);
}

bool CHTMLGrid::PressHotSpot(POINT point) {
    const HWND self = m_hWnd;
    POINT inside = point;
    const HTMLHotSpots* spots = HotSpotsAt(inside);
    if (!spots || spots->empty()) return false;
    tagNM_GRIDVIEW view = ViewAt(point, GRIDN_TEST_HOT_SPOTS);
    if (NotifyOwner(view) == 0) return false;
    if (!::IsWindow(self)) return true;
    std::u16string text;
    if (!FindHotSpot(point, text)) return false;
    m_Press.consumed = true;
    view.hdr.code = GRIDN_HOT_SPOT_PRESS;
    view.pszHotSpot = text.c_str();
    NotifyOwner(view);
    return true;
}

// To itself, then to the owner.
void CHTMLGrid::Click(POINT point) {
    const HWND self = m_hWnd;
    tagNM_GRIDVIEW view = ViewAt(point, GRIDN_CLICK);
    ::SendMessageW(self, WM_NOTIFY, view.hdr.idFrom, reinterpret_cast<LPARAM>(&view));
    if (::IsWindow(self)) NotifyOwner(view);
}

// A double tap on what was the current cell opens it; where rows are selected, in any of its columns.
LRESULT CHTMLGrid::OnClick(tagNM_GRIDVIEW& view) {
    const bool sameCol = view.wCol == m_Press.formerCol || SelectionRules().SelectsRows();
    const bool same = view.wRow == m_Press.formerRow && sameCol;
    if (m_nTapCount != 2 || !same || view.wRow >= GetRowCount() || m_Press.floater) return 0;
    if (EnableCellEdit(view.wCol, view.wRow, false))
        m_Press.button = false; // its release goes to the text field
    return 0;
}

// --- Move ---------------------------------------------------------------------------------------------------------

// The order of the tests decides.
LRESULT CHTMLGrid::OnMouseMove(WPARAM flags, POINT point, bool& handled) {
    handled = true;
    if (m_Press.button && !(flags & MK_LBUTTON)) CancelPress(true); // outside
    if (!m_Press.button && !m_Drag.active) return 0;
    if (m_Press.floater && m_Press.floaterMovable) {
        DragFloater(point);
    } else if (IsSwipe(point)) {
        Swipe(point.x < m_Press.down.x);
    } else if (IsTouchStep(point)) {
        TouchStep(point);
    } else if (IsRubberBand(point)) {
        DragSelection(point);
    } else if (m_Drag.active || IsObjectDrag(point)) {
        DragObject(point);
    } else {
        m_Press.move = point;
    }
    return 0;
}

// Nothing but the press has come of it so far.
bool CHTMLGrid::IsPlainPress() const {
    return m_Press.button && !m_Press.swiped && !m_Press.consumed && !m_Press.rubberBand && !m_Press.touch &&
           !m_Drag.active;
}

bool CHTMLGrid::IsSwipe(POINT point) const {
    const SIZE way = Way(m_Press.down, point);
    return m_bTouchScrolling && IsPlainPress() && way.cx > m_nClientWidth / 2 && way.cy < m_nClientHeight / 4;
}

void CHTMLGrid::Swipe(bool bLeft) {
    m_Press.swiped = true;
    tagNM_GRIDVIEW view = ViewOf(m_wCurCol, m_wCurRow, 0);
    AskOwner(bLeft ? GRIDM_SWIPE_LEFT : GRIDM_SWIPE_RIGHT, view);
}

// However long it takes: the way alone tells a scroll from a tap.
bool CHTMLGrid::IsTouchStep(POINT point) const {
    if (m_Press.touch) return m_Press.button && !m_Press.swiped;
    const SIZE way = Way(m_Press.last, point);
    return m_bTouchScrolling && IsPlainPress() &&
           (way.cx > m_nScrollingSensitivity || way.cy > m_nScrollingSensitivity);
}

void CHTMLGrid::TouchStep(POINT point) {
    m_Press.touch = true;
    m_Kinetic.Touch();
    if (!m_Press.captured) {
        SetCapture();
        m_Press.captured = true;
    }
    const LONG dx = m_Press.last.x - point.x, dy = m_Press.last.y - point.y;
    const DWORD now = GetTickCount(), elapsed = std::max<DWORD>(now - m_Press.time, 1);
    m_Press.time = now;
    m_Press.last = m_Press.move = point;
    if (std::abs(dx) <= std::abs(dy))
        TouchVertically(dy, elapsed);
    else
        TouchHorizontally(dx, elapsed);
}

// A fling goes on as the last step went.
void CHTMLGrid::TouchVertically(LONG dy, DWORD elapsed) {
    dy = std::min(dy, static_cast<LONG>(m_nClientHeight * kLongestStep));
    if (std::abs(dy) > 1) m_Kinetic.Vertical(dy, static_cast<double>(std::abs(dy)) / elapsed);
    if (dy <= 0)
        ScrollByPixelUp(-dy, false, true);
    else
        ScrollByPixelDown(dy, false, true);
}

void CHTMLGrid::TouchHorizontally(LONG dx, DWORD elapsed) {
    m_Kinetic.ClearHorizontalSpeed();
    dx = std::min(dx, static_cast<LONG>(m_nClientWidth * kLongestStep));
    if (std::abs(dx) > 1) m_Kinetic.Horizontal(dx, static_cast<double>(std::abs(dx)) / elapsed);
    if (dx <= 0)
        ScrollByPixelLeft(-dx);
    else
        ScrollByPixelRight(dx);
}

bool CHTMLGrid::IsRubberBand(POINT point) {
    if (m_Press.rubberBand) return true;
    const bool onCell = m_Press.row != GRID_NONE && !m_Press.floater;
    if (!m_bMultiSelect || m_bTouchScrolling || !IsPlainPress() || !onCell) return false;
    const SIZE way = Way(m_Press.down, point);
    if (m_bDragAllowed)
        m_Press.rubberBand = way.cx >= kRubberBandWidth || way.cy > m_wMinRowHeight;
    else
        m_Press.rubberBand = way.cx > ScalePx(g_HIDPI_LogPixelsX, kRubberBandWay) ||
                             way.cy > ScalePx(g_HIDPI_LogPixelsY, kRubberBandWay);
    return m_Press.rubberBand;
}

// --- Release ------------------------------------------------------------------------------------------------------

LRESULT CHTMLGrid::OnLButtonUp(WPARAM, POINT point, bool& handled) {
    handled = true;
    const bool pressed = std::exchange(m_Press.button, false), touched = m_Press.touch;
    EndTouch();
    ScrollAtEdge(0);
    if (m_Drag.active) {
        Drop(point);
    } else if (m_Press.floaterMoved) {
        EndFloaterDrag();
    } else if (pressed && m_Press.rubberBand) {
        UpdateSelection(point);
        m_Press.rubberBand = false;
        HideDragTip();
    } else if (pressed && !touched && !m_Press.swiped && !m_Press.consumed) {
        Tap(point);
    }
    return 0;
}

// What the finger has flung goes on from here.
void CHTMLGrid::EndTouch() {
    if (!m_Press.touch) return;
    if (std::exchange(m_Press.captured, false)) ReleaseCapture();
    EndTouchScroll();
}

// The pointer was taken away: nothing is tapped, and a floater that was dragged goes back, unless the button was released.
void CHTMLGrid::CancelPress(bool released) {
    const bool moved = m_Press.floaterMoved;
    m_Press.button = m_Press.rubberBand = false;
    EndTouch();
    ScrollAtEdge(0);
    HideDragTip();
    FinishDragOperation();
    if (!moved) return;
    if (released) return EndFloaterDrag();
    MoveFloater(m_Press.col, m_Press.row);
    m_Press.floaterMoved = false;
}

// The release must lie on the cell that was pressed.
void CHTMLGrid::Tap(POINT point) {
    WORD col, row;
    if (!GetCellFromPoint(point, col, row) || col != m_Press.col || row != m_Press.row) return;
    tagNM_GRIDVIEW view = ViewAt(point, m_Press.selected ? GRIDN_TAP_SELECTED : GRIDN_TAP);
    std::u16string text;
    if (!FindHotSpot(point, text) && !FindDefaultHotSpot(text)) {
        NotifyOwner(view);
        return;
    }
    m_Press.consumed = true;
    SetSelection(col, row, col, row);
    view.hdr.code = GRIDN_HOT_SPOT;
    view.pszHotSpot = text.c_str();
    OnHotspotNotify(view);
}

// --- Hot spots ----------------------------------------------------------------------------------------------------

tagNM_GRIDVIEW CHTMLGrid::ViewAt(POINT point, UINT code) const {
    tagNM_GRIDVIEW view = ViewOf(m_Press.col, m_Press.row, code);
    view.x = point.x;
    view.y = point.y;
    view.dwData = m_Press.floater ? m_Press.floaterID : 0;
    return view;
}

// Those of the floater or cell that was pressed; the point is moved to where they are counted from.
const HTMLHotSpots* CHTMLGrid::HotSpotsAt(POINT& point) {
    const tagCELLINFO* cell = m_Cells.Find(m_Press.col, m_Press.row);
    RECT rect;
    if (!cell || !GetCellRect(m_Press.col, m_Press.row, rect)) return nullptr;
    if (m_Press.floater) return FloaterHotSpotsAt(rect, point);
    point.x -= rect.left + cell->rcMargins.left;
    point.y -= rect.top + cell->rcMargins.top;
    return &cell->HotSpots;
}

// A floater's text stands in its body, as it is painted; `cell` is the one that was pressed.
const HTMLHotSpots* CHTMLGrid::FloaterHotSpotsAt(const RECT& cell, POINT& point) {
    const tagFLOATERINFO* floater = m_Floaters.Find(m_Press.floaterCol, m_Press.floaterID);
    if (!floater || floater->nSlots == 0) return nullptr;
    const int width = cell.right - cell.left, bar = m_bFloaterBarOn ? m_wFloaterBarWidth : 1;
    const WORD first = m_Floaters.FirstRow(m_Press.floaterCol, m_Press.floaterID);
    const int rowsAbove = m_Rows.Before(m_Press.row) - m_Rows.Before(first);
    point.x -= cell.left + width * floater->nFirstSlot / floater->nSlots + bar + 2;
    point.y -= cell.top - rowsAbove + (floater->wRowSpan == 1 ? 1 : 3);
    return &floater->HotSpots;
}

// A copy: the next painting fills them anew.
bool CHTMLGrid::FindHotSpot(POINT point, std::u16string& text) {
    const HTMLHotSpots* spots = HotSpotsAt(point);
    if (!spots) return false;
    const auto hit =
        std::ranges::find_if(*spots, [&](const tagHOTSPOT& spot) { return PtInRect(&spot.rect, point); });
    if (hit == spots->end()) return false;
    text = hit->szText;
    return true;
}

bool CHTMLGrid::FindDefaultHotSpot(std::u16string& text) const {
    const tagCELLINFO* cell = m_Cells.Find(m_Press.col, m_Press.row);
    if (m_Press.floater || !cell || cell->nDefaultHotSpot >= cell->HotSpots.size()) return false;
    text = cell->HotSpots[cell->nDefaultHotSpot].szText;
    return true;
}

// --- Other messages of the pointer --------------------------------------------------------------------------------

bool CHTMLGrid::OnInputTimer(WPARAM id) {
    switch (id) {
    case kTapTimer:
        KillTimer(kTapTimer);
        m_nTapCount = 0;
        return true;
    case kHeldKeyTimer:
        EndHeldKey();
        return true;
    default:
        return false;
    }
}

LRESULT CHTMLGrid::OnInputMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    switch (msg) {
    case WM_GESTURE:
        handled = OnGesture(wParam, lParam);
        return 0;
    case WM_CAPTURECHANGED:
        if (reinterpret_cast<HWND>(lParam) != m_hWnd) OnCaptureLost();
        return 0;
    case WM_CANCELMODE:
        CancelPress();
        return 0;
    case WM_KILLFOCUS:
        return OnKillFocus(reinterpret_cast<HWND>(wParam), handled);
    case WM_GETDLGCODE:
        handled = m_bHandleDlgCode;
        return DLGC_WANTARROWS | DLGC_WANTALLKEYS | DLGC_WANTCHARS;
    case GRIDM_DROP_QUERY:
        // A grid accepts what its owner accepts.
        handled = true;
        return ::SendMessageW(Owner(), msg, wParam, lParam);
    default:
        return 0;
    }
}

// Capture that was given back doesn't count; what another window has taken is not the grid's to give back.
void CHTMLGrid::OnCaptureLost() {
    const bool atEdge = std::exchange(m_bAutoCapture, false), touch = std::exchange(m_Press.captured, false);
    if (m_Drag.active)
        FinishDragOperation();
    else if (atEdge || touch)
        CancelPress();
}

// --- Flicks -------------------------------------------------------------------------------------------------------

CNativeGestures::Flick CNativeGestures::Read(WPARAM wParam, LPARAM lParam) {
    GESTUREINFO info{};
    info.cbSize = sizeof info;
    if (wParam != GID_SCROLL || !GetGestureInfo(reinterpret_cast<HGESTUREINFO>(lParam), &info))
        return Flick::None;
    const ULONGLONG direction = info.ullArguments & 0xFFFF;
    if (direction == ARG_SCROLL_LEFT) return Flick::Left;
    return direction == ARG_SCROLL_RIGHT ? Flick::Right : Flick::Other;
}

// The rest of the touch comes to nothing, and no scroll is left behind.
bool CHTMLGrid::OnGesture(WPARAM wParam, LPARAM lParam) {
    const CNativeGestures::Flick flick = CNativeGestures::Read(wParam, lParam);
    if (flick == CNativeGestures::Flick::None) return false;
    const bool drags = m_Press.rubberBand || m_Press.floaterMoved || m_Drag.active;
    if (flick == CNativeGestures::Flick::Other || drags) return true;
    EmptySelection();
    m_Kinetic.Horizontal(0, 0);
    m_Kinetic.Vertical(0, 0);
    m_Press.touch = true;
    Swipe(flick == CNativeGestures::Flick::Left);
    return true;
}
