#include "apps/pages/calendardata.h"

#include "NorvoTools/registryfunctions.h"
#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

namespace {

// A thread finds an occurrence that was moved by the day that it was moved from.
constexpr LONG kMargin = 31;
constexpr LONG kFirstLoadedDay = 1;

bool IsSet(const std::u16string& name) {
    return ReadRegistryWithDefault(kCalendarView, name.c_str(), 0) != 0;
}

} // namespace

std::u16string ShowTasksName(WCHAR page) { return page + std::u16string(u"V_ShowTasks"); }
std::u16string ShowJournalName(WCHAR page) { return page + std::u16string(u"V_ShowJournal"); }

CalendarData::CalendarData(std::function<void()> changed)
    : ListData(std::move(changed),
               {u"Appointments Database", u"Contacts Database", u"Tasks Database", u"QuillonaryJournal_2"}) {}

void CalendarData::Load(LONG first, LONG last) {
    m_first = first;
    m_last = last;
    Reload();
}

void CalendarData::Prepare() {
    const SYSTEMTIME first = ToSystemTime(std::max(m_first - kMargin, kFirstLoadedDay));
    const SYSTEMTIME last = ToSystemTime(m_last + kMargin);
    Loading().SetRestrict(&first, &last, true);
    m_tasks = IsSet(ShowTasksName(m_page));
    m_journal = IsSet(ShowJournalName(m_page));
    m_loadingFirst = m_first;
    m_loadingLast = m_last;
}

// Those of other days than are asked for by now aren't.
bool CalendarData::Accept() { return m_first == m_loadingFirst && m_last == m_loadingLast; }

bool CalendarData::IsShown(const DATACALENDAR& line) const {
    if (line.IsHeader() || line.m_lDay < m_first || line.m_lDay > m_last) return false;
    return line.m_nType == kLineTask ? m_tasks : line.m_nType != kLineJournal || m_journal;
}

void CalendarData::Turn() {
    ListData::Turn();
    m_shownFirst = m_loadingFirst;
    m_shownLast = m_loadingLast;
    m_lines.clear();
    for (const DATACALENDAR* line : Shown().GetList())
        if (IsShown(*line)) m_lines.push_back(line);
}

} // namespace qn
