#include "apps/pages/calendardata.h"

#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

namespace {

// A thread finds an occurrence that was moved by the day that it was moved from.
constexpr LONG kMargin = 31;
constexpr LONG kFirstLoadedDay = 1;

} // namespace

CalendarData::CalendarData(std::function<void()> changed)
    : ListData(std::move(changed), {u"Appointments Database", u"Contacts Database", u"Tasks Database"}) {}

void CalendarData::Load(LONG first, LONG last) {
    m_first = first;
    m_last = last;
    Reload();
}

void CalendarData::Prepare() {
    const SYSTEMTIME first = ToSystemTime(std::max(m_first - kMargin, kFirstLoadedDay));
    const SYSTEMTIME last = ToSystemTime(m_last + kMargin);
    Loading().SetRestrict(&first, &last, true);
    m_loadingFirst = m_first;
    m_loadingLast = m_last;
}

// Those of other days than are asked for by now aren't.
bool CalendarData::Accept() { return m_first == m_loadingFirst && m_last == m_loadingLast; }

void CalendarData::Turn() {
    ListData::Turn();
    m_shownFirst = m_loadingFirst;
    m_shownLast = m_loadingLast;
    m_lines.clear();
    for (const DATACALENDAR* line : Shown().GetList())
        if (!line->IsHeader() && line->m_lDay >= m_first && line->m_lDay <= m_last) m_lines.push_back(line);
}

} // namespace qn
