// The window of the suite: the calendar, the tabs of its pages below it or at its left, the categories that are shown,
// the keys, and what is kept for the next start.
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
    CalendarView& Calendar() { return *m_calendar; }

private:
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnDestroy(bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;

    // The windows inside, in the colours of the scheme.
    bool Build(PageKind page, LONG day, std::vector<std::u16string> categories);
    void ChangeScheme();
    bool IsWide() const;
    void Arrange();
    void FillTabs();
    void FillTools();
    void GoTo(PageKind page);
    void ShowCategories(bool show);
    void ShowMenu();
    void MoveFocus(bool forward);
    bool CommandKey(WPARAM key);
    bool PlainKey(WPARAM key);
    void Keep();

    std::unique_ptr<CalendarView> m_calendar;
    std::unique_ptr<CategoryPage> m_categories;
    Bar m_tabs;
    bool m_choosing = false; // the categories are shown
};

} // namespace qn
