// The window of the suite: the calendar, the tabs of its pages below it or at its left, the categories that are shown, the
// keys, and what is kept for the next start.
#pragma once

#include "apps/pages/calendarview.h"
#include "apps/qnshell/categorypage.h"

namespace qn {

// What the settings keep between two starts.
struct ShellState {
    PageKind page = PageKind::Day;
    int width = 480;
    int height = 640;
    std::vector<std::u16string> categories;

    static ShellState Read();
    void Write() const;
};

class Shell : public CeWnd {
public:
    // As large as the screen.
    bool Open(const ShellState& state, LONG day);
    // A key before any window gets it; true when it was one of the shell's.
    bool TakeKey(const MSG& message);

private:
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnDestroy(bool& handled) override;

    bool IsWide() const;
    void Arrange();
    void FillTabs();
    void GoTo(PageKind page);
    void ShowCategories(bool show);
    bool CommandKey(WPARAM key);
    void Keep();

    CalendarView m_calendar;
    CategoryPage m_categories;
    Bar m_tabs;
    bool m_choosing = false; // the categories are shown
};

} // namespace qn
