#include "apps/pages/page.h"

#include "Platform/strings.h"
#include "apps/pages/pagetext.h"

namespace qn {

bool CalendarPage::Open(HWND parent, const RECT& rect) {
    ReadSettings();
    if (!Create(nullptr, parent, rect, u"", WS_CHILD | WS_CLIPCHILDREN | WS_CLIPSIBLINGS)) return false;
    m_grid.page = this;
    const RECT inside{0, 0, rect.right - rect.left, rect.bottom - rect.top};
    SetUpGrid();
    if (!m_grid.InitWindow(GetHWnd(), inside, IsVirtual(), u"")) return false;
    m_grid.SetTouchScrolling(true);
    m_grid.SetLinesColor(kLineColor);
    m_grid.SetBarsScrollMode(GRID_SCROLL_ROW);
    return true;
}

void CalendarPage::ReadSettings() {
    m_view.Init();
    m_view.InitColors(true);
    m_view.InitOptionsSpecific();
}

void CalendarPage::Show(const CalendarData& data, LONG day) {
    const bool sameDay = m_data && day == m_day;
    m_data = &data;
    m_day = day;
    m_grid.BeginUpdate();
    Fill(sameDay);
    m_grid.EndUpdate();
    Scroll();
}

bool CalendarPage::BeginSelection() {
    if (m_grid.GetRow() != GRID_NONE || m_grid.GetRowCount() == 0) return false;
    const WORD row = m_grid.GetTopRow();
    const auto col = static_cast<WORD>(m_grid.GetColCount() - 1);
    return m_grid.SetSelection(col, row, col, row);
}

LRESULT CalendarPage::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    m_grid.MoveWindow(0, 0, cx, cy);
    return CeWnd::OnSize(type, cx, cy, handled);
}

LRESULT CalendarPage::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    handled = true;
    switch (msg) {
    case GRIDM_CELL:
        return OnCellRequest(*reinterpret_cast<tagNM_GRIDCELL*>(lParam));
    case GRIDM_FLOATER_TIP:
    case GRIDM_FLOATER_TO:
    case GRIDM_FLOATER_TEXT:
    case GRIDM_FLOATER_MOVED:
        return OnFloater(msg, *reinterpret_cast<tagNM_GRIDVIEW*>(lParam));
    case GRIDM_SWATCH:
        return reinterpret_cast<LRESULT>(CCalendarSubview::CreateStatusBar(static_cast<COLORREF>(lParam)));
    case GRIDM_SWIPE_LEFT:
        return m_host.Turn(1), 1;
    case GRIDM_SWIPE_RIGHT:
        return m_host.Turn(-1), 1;
    default:
        handled = false;
        return CeWnd::OnMessage(msg, wParam, lParam, handled);
    }
}

LRESULT CalendarPage::OnNotify(int id, NMHDR* header, bool& handled) {
    const auto& view = *reinterpret_cast<const tagNM_GRIDVIEW*>(header);
    switch (header->code) {
    case GRIDN_TAP:
    case GRIDN_TAP_SELECTED:
    case GRIDN_HOT_SPOT:
        handled = true;
        Tapped(view);
        return 1;
    default:
        return CeWnd::OnNotify(id, header, handled);
    }
}

} // namespace qn
