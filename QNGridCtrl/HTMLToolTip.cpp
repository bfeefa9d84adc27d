#include "QNGridCtrl/HTMLToolTip.h"

#include "QNGridCtrl/HTMLGridRecords.h"

#include <algorithm>

namespace {

const WCHAR kClass[] = u"HTMLTOOLTIPCLASS";
constexpr double kScreenShare = 0.75; // the widest tip

// What the tip has around its text. The text starts where it does with the small margin, whatever the size.
constexpr SIZE kMargin = {5, 1};
constexpr SIZE kBigMargin = {8, 3};
constexpr POINT kTextStart = {5, 2};

// The left or top edge of `size` pixels that lie within `room`; when they can't, the start wins.
LONG Within(LONG start, LONG size, LONG room) { return std::max<LONG>(std::min(start, room - size), 0); }

} // namespace

CHTMLToolTip::CHTMLToolTip(HWND hParent) { Create(hParent); }

CHTMLToolTip::~CHTMLToolTip() {
    if (m_hWnd) DestroyWindow();
}

bool CHTMLToolTip::Create(HWND hParent) {
    static const bool registered = RegisterClassW(kClass);
    return registered && !m_hWnd && CeWnd::Create(kClass, hParent, RECT{}, nullptr, WS_CHILD);
}

void CHTMLToolTip::ShowToolTip(POINT point, int position) {
    m_ptAnchor = point;
    m_nPosition = position;
    ShowWindow(SW_SHOW);
    BringWindowToTop();
}

void CHTMLToolTip::UpdateToolTip(LPCWSTR pszText, bool bBigMargin) {
    if (!pszText) {
        HideToolTip();
        return;
    }
    m_Text.SetHTML(pszText);
    m_Text.ParseHTML(m_hWnd);
    m_HotSpots.clear();
    const SIZE text = TextSize(), margin = bBigMargin ? kBigMargin : kMargin;
    Place({text.cx + 2 * margin.cx, text.cy + 2 * margin.cy});
    MoveWindow(m_rcWindow, FALSE);
    InvalidateRect(nullptr, FALSE);
}

SIZE CHTMLToolTip::TextSize() {
    RECT rect = {0, 0, static_cast<LONG>(GetSystemMetrics(SM_CXSCREEN) * kScreenShare), 0};
    const HDC hdc = GetDC();
    DrawHTML(hdc, rect, 0, m_Text, nullptr, HTML_MEASURE, HTML_NO_COLOR, false);
    ReleaseDC(hdc);
    return {rect.right, rect.bottom};
}

void CHTMLToolTip::Place(SIZE size) {
    const bool right = m_nPosition == TIP_TOP_RIGHT || m_nPosition == TIP_BOTTOM_RIGHT;
    const bool bottom = m_nPosition == TIP_BOTTOM_LEFT || m_nPosition == TIP_BOTTOM_RIGHT;
    RECT parent{};
    ::GetClientRect(GetParent(), &parent);
    m_rcWindow.left = Within(m_ptAnchor.x - (right ? size.cx : 0), size.cx, parent.right);
    m_rcWindow.top = Within(m_ptAnchor.y - (bottom ? size.cy : 0), size.cy, parent.bottom);
    m_rcWindow.right = m_rcWindow.left + size.cx;
    m_rcWindow.bottom = m_rcWindow.top + size.cy;
}

LRESULT CHTMLToolTip::OnPaint(bool& handled) {
    handled = true;
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(&paint);
    RECT rect{};
    GetClientRect(&rect);
    SelectObject(hdc, GetStockObject(BLACK_PEN));
    SelectObject(hdc, GetStockObject(WHITE_BRUSH));
    Rectangle(hdc, rect.left, rect.top, rect.right, rect.bottom);
    rect = {kTextStart.x, kTextStart.y, rect.right - kTextStart.x, rect.bottom};
    DrawHTML(hdc, rect, 0, m_Text, &m_HotSpots, 0, HTML_NO_COLOR, false);
    EndPaint(&paint);
    return 0;
}

// Of its text's images the parent knows.
LRESULT CHTMLToolTip::OnNotify(int id, NMHDR* header, bool& handled) {
    handled = true;
    return ::SendMessageW(GetParent(), WM_NOTIFY, static_cast<WPARAM>(id), reinterpret_cast<LPARAM>(header));
}

LRESULT CHTMLToolTip::OnLButtonDown(WPARAM, POINT point, bool& handled) {
    handled = true;
    if (m_HotSpots.empty()) return 0;
    tagNM_GRIDVIEW view{};
    view.hdr = {m_hWnd, static_cast<ULONG_PTR>(GetDlgCtrlID()), GRIDN_HOT_SPOT};
    view.x = point.x - kTextStart.x;
    view.y = point.y - kTextStart.y;
    const tagHOTSPOT spot = m_HotSpots.front(); // the parent may give the tip another text
    view.pszHotSpot = spot.szText;
    view.wRow = view.wCol = GRID_NONE;
    ::SendMessageW(GetParent(), WM_NOTIFY, view.hdr.idFrom, reinterpret_cast<LPARAM>(&view));
    return 0;
}

// A press that began on the parent may end over the tip.
LRESULT CHTMLToolTip::OnLButtonUp(WPARAM flags, POINT point, bool& handled) {
    handled = true;
    const LPARAM at = MAKELPARAM(static_cast<WORD>(point.x), static_cast<WORD>(point.y));
    ::SendMessageW(GetParent(), WM_LBUTTONUP, flags, at);
    return 0;
}
