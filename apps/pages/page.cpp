#include "apps/pages/page.h"

#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/strings.h"
#include "apps/pages/menu.h"
#include "apps/pages/theme.h"

namespace qn {

bool CalendarPage::Open(HWND parent, const RECT& rect) {
    ReadSettings();
    return Create(nullptr, parent, rect, u"", WS_CHILD | WS_CLIPCHILDREN | WS_CLIPSIBLINGS) && SetUpGrids();
}

bool CalendarPage::OpenGrid(PageGrid& grid, bool isVirtual) {
    grid.page = this;
    RECT client{};
    GetClientRect(&client);
    if (!grid.InitWindow(GetHWnd(), client, isVirtual, u"")) return false;
    WCHAR icons[40 + 1] = {}; // of categories; the setting has at most so many characters
    GetFromRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, u"IconPath", icons, 40 + 1);
    grid.SetResourcesRootPath(icons);
    grid.SetTouchScrolling(true);
    grid.SetLinesColor(ColorOf(Paint::Line));
    grid.SetBarsScrollMode(GRID_SCROLL_ROW);
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

bool CalendarPage::BeginSelection() { return BeginSelection(m_grid); }

bool CalendarPage::BeginSelection(PageGrid& grid) {
    if (grid.GetRow() != GRID_NONE || grid.GetRowCount() == 0) return false;
    const WORD row = grid.GetTopRow();
    const auto col = static_cast<WORD>(grid.GetColCount() - 1);
    return grid.SetSelection(col, row, col, row);
}

LRESULT CalendarPage::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    Place(cx, cy);
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
    case GRIDM_HOLD_QUERY:
        return SelectedLine(reinterpret_cast<HWND>(wParam)) ? 0 : 1; // 0: there is a menu
    case GRIDM_KEY_SELECTED:
        Selected(reinterpret_cast<const tagNM_GRIDVIEW*>(lParam)->hdr.hwndFrom);
        return m_host.SelectionMoved(), 1;
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
    const HWND list = header->hwndFrom;
    switch (header->code) {
    case GRIDN_TAP:
    case GRIDN_TAP_SELECTED:
    case GRIDN_HOT_SPOT:
        handled = true;
        ::SetFocus(list);
        Selected(list);
        if (!IsHoldNext(list)) Tapped(view);
        return 1;
    case GRIDN_HOLD: {
        handled = true;
        ::SetFocus(list);
        POINT point{view.x, view.y};
        ::ClientToScreen(list, &point);
        if (const DATACALENDAR* line = SelectedLine(list)) m_host.ShowItemMenu(*line, point);
        return 1;
    }
    default:
        return CeWnd::OnNotify(id, header, handled);
    }
}

} // namespace qn
