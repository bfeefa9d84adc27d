// One day: a row each half hour with the appointments as floaters over them, and above it a list of what has no hours:
// all-day appointments, birthdays, tasks and journal entries.
#pragma once

#include "apps/pages/page.h"

namespace qn {

class DayPage : public CalendarPage {
public:
    using CalendarPage::CalendarPage;

    DayRange RangeOf(LONG day) const override { return {day, day}; }
    std::u16string Title(LONG day, bool narrow) const override;
    LONG Turned(LONG day, int pages) const override { return day + pages; }
    void TakeFocus() override { (m_onAllDay ? m_allDayGrid : m_grid).SetFocus(); }
    bool BeginSelection() override;
    std::vector<HWND> Lists() const override;
    const DATACALENDAR* SelectedLine(HWND list) const override;

private:
    // Where an appointment stands on the page.
    struct Span {
        int row; // half hour of the day
        int rows;
        int startMinute; // of the day, 0 for one that began before
        int endMinute;   // 1440 for one that goes on
        bool begins;     // on this day
    };
    Span SpanOf(const DATACALENDAR& line) const;

    bool SetUpGrids() override;
    void Place(int cx, int cy) override;
    void Fill(bool sameDay) override;
    void FillHours();
    void AddAppointments();
    void Scroll() override;
    void Select(DWORD id); // of a floater
    bool IsOnHours(const DATACALENDAR& line) const {
        return line.m_lDay == m_day && !line.m_bAllDay && line.m_nType == kLineAppointment;
    }
    void Tapped(const tagNM_GRIDVIEW& view) override;
    void Selected(HWND list) override;
    LRESULT OnCellRequest(tagNM_GRIDCELL& cell) override;
    DWORD FactsOf(const DATACALENDAR& line) const;
    LRESULT OnFloater(UINT message, tagNM_GRIDVIEW& view) override;
    DATE StartAt(const DATACALENDAR& line, int row) const; // when it is dropped on a half hour

    PageGrid m_allDayGrid;
    std::vector<std::size_t> m_allDay; // its lines, by index
    bool m_onAllDay = false;           // what is selected is there
    std::vector<DWORD> m_oids;         // of all lines
    // Before the grid was built anew: pixels (-1: another day), and the selected item.
    int m_scrolled = -1;
    DWORD m_selectedOid = 0;
    std::u16string m_text; // lent to a grid
};

} // namespace qn
