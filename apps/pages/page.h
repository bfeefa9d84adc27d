// A page of the calendar: a window filled by one grid, which the page owns and answers.
#pragma once

#include "QNGridCtrl/HTMLGrid.h"
#include "QNNewEditUI/CCalendarSubview.h"
#include "apps/pages/calendardata.h"

namespace qn {

// The window that pages stand in. A line belongs to the day list.
class PageHost {
public:
    virtual ~PageHost() = default;
    virtual void OpenItem(const DATACALENDAR& line) = 0;
    // The menu of an item, at a point of the screen.
    virtual void ShowItemMenu(const DATACALENDAR& line, POINT point) = 0;
    // Keys have selected another item, or none.
    virtual void SelectionMoved() = 0;
    virtual void OpenDay(LONG day) = 0;
    // A swipe: whole pages forward, negative backward.
    virtual void Turn(int pages) = 0;
    // The appointment of the line is to begin at another moment.
    virtual void MoveItem(const DATACALENDAR& line, DATE start) = 0;
    // The mark-up that stands in an empty list, and what a tap on it does.
    virtual std::u16string EmptyText() const = 0;
    virtual void FillEmpty() = 0;
};

struct DayRange {
    LONG first;
    LONG last;
};

class CalendarPage;

// The grid of a page; owner-draw functions find their page by it.
class PageGrid : public CHTMLGrid {
public:
    CalendarPage* page = nullptr;
};

class CalendarPage : public CeWnd {
public:
    explicit CalendarPage(PageHost& host) : m_host(host) {}

    bool Open(HWND parent, const RECT& rect);
    // Settings and colours, read afresh.
    void ReadSettings();
    virtual DayRange RangeOf(LONG day) const = 0;
    // What the date line tells of the page that shows a day; shorter where there is little room.
    virtual std::u16string Title(LONG day, bool narrow) const = 0;
    virtual LONG Turned(LONG day, int pages) const = 0;
    // Builds the grid anew from the lines; what was scrolled and selected stays while the day is the same.
    void Show(const CalendarData& data, LONG day);
    virtual void TakeFocus() { m_grid.SetFocus(); }
    // For arrow keys: when nothing is selected, what stands at the top is from now on. False when something was.
    virtual bool BeginSelection();
    // The windows that take the focus, from top to bottom.
    virtual std::vector<HWND> Lists() const { return {m_grid.GetHWnd()}; }
    // The item that is selected in one of them, or in the main one for any other window; null for none.
    virtual const DATACALENDAR* SelectedLine(HWND list) const = 0;

protected:
    virtual bool SetUpGrids() = 0;
    virtual void Fill(bool sameDay) = 0;
    virtual void Scroll() {} // once the new grid has its measures
    virtual void Tapped(const tagNM_GRIDVIEW& view) = 0;
    virtual void Selected(HWND) {} // in this of the lists, by pointer or keys
    virtual void Place(int cx, int cy) { m_grid.MoveWindow(0, 0, cx, cy); }
    bool OpenGrid(PageGrid& grid, bool isVirtual);
    static bool BeginSelection(PageGrid& grid);
    virtual LRESULT OnCellRequest(tagNM_GRIDCELL&) { return 0; }
    virtual LRESULT OnFloater(UINT, tagNM_GRIDVIEW&) { return 0; }

    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;
    LRESULT OnNotify(int id, NMHDR* header, bool& handled) override;
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;

    const DATACALENDAR* LineOf(std::size_t index) const {
        return m_data && index < m_data->Lines().size() ? m_data->Lines()[index] : nullptr;
    }

    PageHost& m_host;
    CCalendarSubview m_view;
    PageGrid m_grid;
    const CalendarData* m_data = nullptr;
    LONG m_day = 0;
};

} // namespace qn
