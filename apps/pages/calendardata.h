// The day list behind the pages of the calendar.
#pragma once

#include "QNWorkerClass/calendarthread.h"
#include "apps/pages/listdata.h"

namespace qn {

// The settings of the calendar's pages.
inline constexpr const WCHAR* kCalendarView = u"Software\\Norvo\\Quillonary\\CAV";
// Whether contacts' birthdays and anniversaries are lines.
inline constexpr const WCHAR* kShowBirthdays = u"ReadBirthdays";
// The names of the settings that tasks, or journal entries, are lines of a page by the letter of its kind.
std::u16string ShowTasksName(WCHAR page);
std::u16string ShowJournalName(WCHAR page);

class CalendarData : public ListData<CCalendarThread> {
public:
    explicit CalendarData(std::function<void()> changed);

    // The days from first to last.
    void Load(LONG first, LONG last);
    // The letter of the page that is to show them: D, W or A. The thread gives tasks and journal entries when any page has
    // them; each page shows what its own settings say.
    void SetPage(WCHAR letter) { m_page = letter; }

    // Of the days that were asked for, sorted by day; headers are left out. Valid until the next `changed`.
    const std::vector<const DATACALENDAR*>& Lines() const { return m_lines; }
    LONG FirstDay() const { return m_shownFirst; } // of the lines
    LONG LastDay() const { return m_shownLast; }

private:
    bool HasQuestion() const override { return m_last >= m_first; }
    void Prepare() override;
    bool Accept() override;
    void Turn() override;

    bool IsShown(const DATACALENDAR& line) const;

    WCHAR m_page = u'D';
    bool m_tasks = false; // of the load, as the next
    bool m_journal = false;
    LONG m_first = 0;
    LONG m_last = -1;
    LONG m_loadingFirst = 0;
    LONG m_loadingLast = -1;
    LONG m_shownFirst = 0;
    LONG m_shownLast = -1;
    std::vector<const DATACALENDAR*> m_lines;
};

} // namespace qn
