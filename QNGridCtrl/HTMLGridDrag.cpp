// What is dragged over a grid: a selection, a floater by its bar, an object to any window.
#include "QNGridCtrl/HTMLGrid.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/clock.h"
#include "Platform/imagelist.h"
#include "QNGridCtrl/HTMLToolTip.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

constexpr DWORD kDragTime = 300; // milliseconds
constexpr int kDragWay = 10;     // pixels sideways: up and down means scrolling
constexpr int kImageHotSpot = 2;
constexpr POINT kTipOffset = {5, 5};
constexpr int kFarthest = 32000; // beyond, it is a negative number of 16 bits

constexpr LRESULT kKeepCol = 2; // answers to GRIDM_FLOATER_TO
constexpr LRESULT kKeepRow = 1;
constexpr LRESULT kNoTip = 1; // answer to GRIDM_DRAG_TIP

LONG Repaired(LONG coordinate, LONG most) { return coordinate < 0 || coordinate > most ? 0 : coordinate; }

bool IsOnScreen(POINT point) {
    return point.x >= 0 && point.y >= 0 && point.x < GetSystemMetrics(SM_CXSCREEN) &&
           point.y < GetSystemMetrics(SM_CYSCREEN);
}

} // namespace

// --- Scrolling at the edges ---------------------------------------------------------------------------------------

// 0 in the middle.
DWORD CHTMLGrid::EdgeAt(POINT point) const {
    const int region = m_wScrollRegion;
    if (point.y < region) return GRID_TO_TOP;
    if (point.y >= m_nClientHeight - region) return GRID_TO_BOTTOM;
    if (point.x < GetFixedColsWidth() + region) return GRID_TO_LEFT;
    return point.x >= m_nClientWidth - region ? GRID_TO_RIGHT : 0;
}

void CHTMLGrid::CheckDragScroll(POINT point) {
    POINT onScreen = point;
    ClientToScreen(&onScreen);
    if (IsOnScreen(onScreen)) ScrollAtEdge(EdgeAt(point));
}

// The capture goes with the timer only if it came with it.
void CHTMLGrid::ScrollAtEdge(DWORD direction) {
    if (direction == 0) {
        StopAutoScroll();
        if (std::exchange(m_bAutoCapture, false)) ReleaseCapture();
        return;
    }
    if (m_bAllowAutoScroll && GetCapture() != m_hWnd) {
        SetCapture();
        m_bAutoCapture = true;
    }
    StartAutoScroll(direction);
}

// The view has moved under the pointer.
void CHTMLGrid::OnAutoScrolled() {
    bool handled;
    if (m_Press.floater)
        OnMouseMove(MK_LBUTTON, m_Press.move, handled);
    else if (m_Press.rubberBand)
        UpdateSelection(m_Press.move);
}

// --- Selection ----------------------------------------------------------------------------------------------------

void CHTMLGrid::DragSelection(POINT point) {
    constexpr LONG kMost = 32767;
    point = {Repaired(point.x, kMost), Repaired(point.y, kMost)};
    m_Press.move = point;
    ScrollAtEdge(EdgeAt(point));
    UpdateSelection(point);
}

void CHTMLGrid::UpdateSelection(POINT point) {
    const POINT inside = {
        std::clamp<LONG>(point.x, GetFixedColsWidth(), std::max(m_nClientWidth - 1, GetFixedColsWidth())),
        std::clamp<LONG>(point.y, GetFixedRowsHeight(), std::max(m_nClientHeight - 1, GetFixedRowsHeight()))};
    const WORD col = std::min<WORD>(PixelToColumn(inside.x - GetFixedColsWidth() + m_nLeftPixel),
                                    static_cast<WORD>(GetColCount() - 1));
    const WORD row = std::min<WORD>(PixelToRow(inside.y - GetFixedRowsHeight() + m_nTopPixel + m_nOverscroll),
                                    static_cast<WORD>(GetRowCount() - 1));
    SelectTo(col, row);
    tagNM_GRIDVIEW view = ViewOf(col, row, GRIDM_SELECTION_TIP);
    AskOwner(GRIDM_SELECTION_TIP, view);
    if (view.pszText)
        ShowDragTip(point, TIP_BOTTOM_RIGHT, view.pszText);
    else
        HideDragTip();
}

// --- Floaters -----------------------------------------------------------------------------------------------------

void CHTMLGrid::DragFloater(POINT point) {
    constexpr LONG kMost = 32767;
    point = {Repaired(point.x, kMost), Repaired(point.y, kMost)};
    m_Press.move = point;
    CheckDragScroll(point);
    WORD col, row;
    if (!GetCellFromPoint(point, col, row) || IsFixed(col, row)) return;
    if (col == m_wCurCol && row == m_wCurRow) return;
    if (!FloaterMayGo(col, row)) return;
    BeginUpdate();
    if (MoveFloater(col, row)) ShowFloaterTip(point);
    EndUpdate();
}

// Asks the owner; both become what it allows.
bool CHTMLGrid::FloaterMayGo(WORD& col, WORD& row) const {
    if (!m_pCurFloater || m_pCurFloater->bNoDrag) return false;
    tagNM_GRIDVIEW view = ViewOf(col, row, GRIDM_FLOATER_TO);
    view.dwData = m_Press.floaterID;
    const LRESULT answer = ::SendMessageW(Owner(), GRIDM_FLOATER_TO, HTMLGridCells::Key(m_wCurCol, m_wCurRow),
                                          reinterpret_cast<LPARAM>(&view));
    if (answer == kKeepCol) col = m_wCurCol;
    if (answer == kKeepRow) row = m_wCurRow;
    return answer != 0 && (col != m_wCurCol || row != m_wCurRow);
}

// So that the row which was pressed lies in `row`; it stays whole, and out of the fixed rows.
bool CHTMLGrid::MoveFloater(WORD col, WORD row) {
    const tagFLOATERINFO* floater = m_Floaters.Find(m_Press.floaterCol, m_Press.floaterID);
    if (!floater) return false;
    const int first = row - m_Press.floaterOffset;
    const WORD span = floater->wRowSpan;
    if (first < m_wFixedRows || first + span > GetRowCount()) return false;
    if (!m_Floaters.Move(m_Press.floaterCol, m_Press.floaterID, col, static_cast<WORD>(first), span))
        return false;
    m_Press.floaterCol = m_wCurCol = col;
    m_wCurRow = row;
    m_Press.floaterMoved = true;
    m_pCurFloater = m_Floaters.Find(col, m_Press.floaterID);
    Repaint();
    return true;
}

void CHTMLGrid::ShowFloaterTip(POINT point) {
    tagNM_GRIDVIEW view = FloaterView();
    AskOwner(GRIDM_FLOATER_TIP, view);
    ShowDragTip(point, TIP_BOTTOM_RIGHT, view.pszText);
}

tagNM_GRIDVIEW CHTMLGrid::FloaterView() const {
    tagNM_GRIDVIEW view =
        ViewOf(m_Press.floaterCol, m_Floaters.FirstRow(m_Press.floaterCol, m_Press.floaterID), 0);
    view.dwData = m_Press.floaterID;
    return view;
}

// Where it lies now, its text may be another.
void CHTMLGrid::EndFloaterDrag() {
    m_Press.floaterMoved = false;
    HideDragTip();
    const HWND self = m_hWnd;
    tagNM_GRIDVIEW view = FloaterView();
    AskOwner(GRIDM_FLOATER_MOVED, view);
    if (!::IsWindow(self)) return;
    CHTMLParser text;
    const WORD row = m_Floaters.FirstRow(m_Press.floaterCol, m_Press.floaterID);
    if (row == GRID_NONE || !ReadFloaterText(m_Press.floaterCol, row, m_Press.floaterID, text)) return;
    tagFLOATERINFO* floater = m_Floaters.Find(m_Press.floaterCol, m_Press.floaterID);
    if (!floater) return;
    floater->Text = std::move(text);
    m_Floaters.Invalidate(row, m_Press.floaterCol);
    Repaint();
}

// --- Objects ------------------------------------------------------------------------------------------------------

bool CHTMLGrid::IsObjectDrag(POINT point) {
    const bool wanted = m_bDragAllowed && IsPlainPress() && GetTickCount() - m_Press.time > kDragTime &&
                        std::abs(point.x - m_Press.down.x) > kDragWay;
    return wanted && OnDragStart(point) && BeginObjectDrag(point);
}

bool CHTMLGrid::OnDragStart(POINT point) {
    tagGRIDDRAG drag{};
    OnDragQuery(point, drag);
    drag.hdr.code = GRIDM_DRAG_BEGIN;
    return ::SendMessageW(Owner(), GRIDM_DRAG_BEGIN, 0, reinterpret_cast<LPARAM>(&drag)) != 0;
}

// The picture hangs at the pointer by its left edge; an owner without one drags without.
bool CHTMLGrid::BeginObjectDrag(POINT point) {
    tagNM_GRIDVIEW view = ViewOf(m_Press.col, m_Press.row, GRIDM_DRAG_IMAGES);
    m_Drag.hImages = reinterpret_cast<HIMAGELIST>(AskOwner(GRIDM_DRAG_IMAGES, view));
    int width = 0, height = 0;
    ImageList_GetIconSize(m_Drag.hImages, &width, &height);
    POINT onScreen = point;
    ClientToScreen(&onScreen);
    if (m_Drag.hImages && ImageList_BeginDrag(m_Drag.hImages, static_cast<int>(view.dwData),
                                              ScalePx(g_HIDPI_LogPixelsX, kImageHotSpot), height / 2)) {
        ImageList_DragShowNolock(TRUE);
        ImageList_DragMove(onScreen.x, onScreen.y);
    }
    m_Drag.hFormerCapture = SetCapture();
    m_Drag.active = true;
    return true;
}

void CHTMLGrid::DragObject(POINT point) {
    m_Press.move = point;
    CheckDragScroll(point);
    tagGRIDDRAG drag{};
    HWND hTarget = nullptr;
    bool accepted = false;
    OnDragQuery(point, drag);
    OnDragOver(point, hTarget, drag, accepted);
}

bool CHTMLGrid::OnDragQuery(POINT point, tagGRIDDRAG& drag) {
    drag = {};
    drag.hdr = {m_hWnd, static_cast<ULONG_PTR>(GetDlgCtrlID()), 0};
    drag.wRowCount = GetRowCount();
    drag.wColCount = GetColCount();
    drag.point = point;
    drag.wSelLeft = m_Selection.left;
    drag.wSelTop = m_Selection.top;
    drag.wSelRight = m_Selection.right;
    drag.wSelBottom = m_Selection.bottom;
    return GetCellFromPoint(point, drag.wCol, drag.wRow);
}

// The window there, when it accepts and the owner agrees; null otherwise.
LRESULT CHTMLGrid::OnDragOver(POINT point, HWND& hTarget, tagGRIDDRAG& drag, bool& handled) {
    ClientToScreen(&point);
    point = {Repaired(point.x, kFarthest), Repaired(point.y, kFarthest)};
    const HWND under = ::WindowFromPoint(point);
    const auto ask = [&](HWND window, UINT message) {
        drag.hdr.code = message;
        return ::SendMessageW(window, message, reinterpret_cast<WPARAM>(under),
                              reinterpret_cast<LPARAM>(&drag));
    };
    handled = under && ask(under, GRIDM_DROP_QUERY) != 0 && ask(Owner(), GRIDM_DROP_ALLOWED) != 0;
    hTarget = handled ? under : nullptr;
    drag.pszTip = nullptr;
    if (handled && ask(Owner(), GRIDM_DRAG_TIP) != kNoTip && drag.pszTip)
        ShowDragTip({m_nClientWidth - kTipOffset.x, kTipOffset.y}, TIP_TOP_RIGHT, drag.pszTip);
    else
        HideDragTip();
    ImageList_DragMove(point.x, point.y);
    return 0;
}

// The drag is over before the owner hears of it: whatever it shows then is free of capture and picture.
void CHTMLGrid::Drop(POINT point) {
    HideDragTip();
    tagGRIDDRAG drag{};
    HWND hTarget = nullptr;
    bool accepted = false;
    OnDragQuery(point, drag);
    OnDragOver(point, hTarget, drag, accepted);
    FinishDragOperation();
    drag.hdr.code = GRIDM_DROP;
    ::SendMessageW(Owner(), GRIDM_DROP, reinterpret_cast<WPARAM>(hTarget), reinterpret_cast<LPARAM>(&drag));
}

void CHTMLGrid::FinishDragOperation() {
    if (!std::exchange(m_Drag.active, false)) return;
    m_Press.consumed = true; // no other one begins while the button is down
    ScrollAtEdge(0);
    m_pDragTip.reset();
    ImageList_EndDrag();
    if (m_Drag.hImages) ImageList_Destroy(std::exchange(m_Drag.hImages, nullptr));
    const HWND former = std::exchange(m_Drag.hFormerCapture, nullptr);
    if (GetCapture() != m_hWnd) return;
    if (former && former != m_hWnd)
        ::SetCapture(former);
    else
        ReleaseCapture();
}

// --- The tip of all drags -----------------------------------------------------------------------------------------

void CHTMLGrid::ShowDragTip(POINT point, int position, LPCWSTR pszText) {
    const HWND parent = GetToolTipParent();
    if (!m_pDragTip) m_pDragTip = std::make_unique<CHTMLToolTip>(parent);
    MapWindowPoints(parent, &point, 1);
    m_pDragTip->ShowToolTip(point, position);
    m_pDragTip->UpdateToolTip(pszText, false);
}

void CHTMLGrid::HideDragTip() {
    if (m_pDragTip) m_pDragTip->HideToolTip();
}
