// The day list behind a page: loaded by a calendar thread in the background, anew whenever the store changes.
//
// The lines of the last load stay while the next one runs. The thread that makes the object gets everything.
#pragma once

#include "NorvoTools/CeDb.h"
#include "QNWorkerClass/calendarthread.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qn {

class CalendarData {
public:
    // `changed` is called whenever the lines are others.
    explicit CalendarData(std::function<void()> changed);
    ~CalendarData();
    CalendarData(const CalendarData&) = delete;
    CalendarData& operator=(const CalendarData&) = delete;

    // The days from first to last.
    void Load(LONG first, LONG last);
    void Reload();
    // Dispatches messages until nothing is being loaded any more, the application ends, or so many milliseconds are
    // over (0: however long it takes).
    void Wait(UINT most = 0);
    // Called when a load begins and when it is over.
    std::function<void(bool loading)> busy;
    // Names of categories: only items that have one of them; none shows all. Counts from the next load on.
    void SetCategories(std::vector<std::u16string> names) { m_categories = std::move(names); }
    const std::vector<std::u16string>& Categories() const { return m_categories; }

    // Of the days that were asked for, sorted by day; headers are left out. Valid until the next `changed`.
    const std::vector<const DATACALENDAR*>& Lines() const { return m_lines; }
    LONG FirstDay() const { return m_shownFirst; } // of the lines
    LONG LastDay() const { return m_shownLast; }

private:
    static LRESULT Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void Watch();
    void Start();
    void Take();
    void Finished();
    void ChooseCategories(CCalendarThread& thread) const;

    std::function<void()> m_changed;
    HWND m_window = nullptr;
    std::unique_ptr<CeDb> m_watched; // tells the window of changes
    // One holds the lines that are shown, the other one loads.
    std::unique_ptr<CCalendarThread> m_threads[2];
    int m_shown = 0;
    bool m_loading = false;
    bool m_waitOver = false;
    bool m_taken = false; // the lines of this load are shown
    bool m_again = false; // something has changed meanwhile
    LONG m_first = 0;
    LONG m_last = -1;
    LONG m_loadingFirst = 0;
    LONG m_loadingLast = -1;
    LONG m_shownFirst = 0;
    LONG m_shownLast = -1;
    std::vector<std::u16string> m_categories;
    std::vector<const DATACALENDAR*> m_lines;
};

} // namespace qn
