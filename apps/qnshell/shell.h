// The window of the suite: its tabs below or at the left, the categories that are shown, the keys, and what is kept for the
// next start.
#pragma once

#include "apps/pages/calendarview.h"
#include "apps/pages/tabs.h"
#include "apps/qnshell/categorypage.h"

namespace qn {

// What the settings keep between two starts.
struct ShellState {
    TabKind tab = TabKind::Calendar;
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
    TabKind Tab() const { return m_tab; }
    TabView& View() { return *m_views[static_cast<std::size_t>(m_tab)]; } // of the tab in front
    CalendarView& Calendar() { return *m_calendar; }

private:
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnDestroy(bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;

    // The windows inside, in the colours of the scheme.
    bool Build(TabKind tab, PageKind page, LONG day);
    bool Add(TabKind tab); // a view that there is none of yet
    void ChangeScheme();
    bool IsWide() const;
    void Arrange();
    void FillTabs();
    void FillTools(TabView& view);
    void GoTo(TabKind tab);
    void ShowCategories(bool show);
    void UseCategories(const std::vector<std::u16string>& names);
    void ShowMenu();
    void MoveFocus(bool forward);
    bool CommandKey(WPARAM key);
    bool PlainKey(WPARAM key);
    void Keep();

    // By kind; a view is made when its tab is shown for the first time.
    std::array<std::unique_ptr<TabView>, kTabKinds> m_views;
    CalendarView* m_calendar = nullptr; // one of them
    std::unique_ptr<CategoryPage> m_categories;
    Bar m_tabs;
    TabKind m_tab = TabKind::Calendar;
    std::vector<std::u16string> m_names; // of the categories that are shown; none: all
    bool m_choosing = false;             // the categories are shown
};

} // namespace qn
