// One day: a row each half hour, appointments as floaters over them, all-day items in a fixed row above.
#pragma once

#include "apps/pages/page.h"

namespace qn {

class DayPage : public CalendarPage {
public:
    using CalendarPage::CalendarPage;

    DayRange RangeOf(LONG day) const override { return {day, day}; }
    std::u16string Title(LONG day, bool narrow) const override;
    LONG Turned(LONG day, int pages) const override { return day + pages; }

private:
    // Where an appointment stands on the page.
    struct Place {
        int row; // half hour of the day
        int rows;
        int startMinute; // of the day, 0 for one that began before
        int endMinute;   // 1440 for one that goes on
        bool begins;     // on this day
    };
    Place PlaceOf(const DATACALENDAR& line) const;

    bool IsVirtual() const override { return false; }
    void SetUpGrid() override;
    void Fill(bool sameDay) override;
    void FillHours();
    void FillAllDay();
    void AddAppointments();
    void Scroll() override;
    void Tapped(const tagNM_GRIDVIEW& view) override;
    LRESULT OnFloater(UINT message, tagNM_GRIDVIEW& view) override;
    DATE StartAt(const DATACALENDAR& line, int row) const; // when it is dropped on a half hour

    std::vector<std::size_t> m_allDay; // lines, by index
    int m_scrolled = -1;               // pixels, before the grid was built anew; -1: another day
    int m_top = 0;                     // rows above the first half hour
    std::u16string m_text;             // lent to the grid
};

} // namespace qn
