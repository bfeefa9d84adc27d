// The day list behind the pages of the calendar.
#pragma once

#include "QNWorkerClass/calendarthread.h"
#include "apps/pages/listdata.h"

namespace qn {

class CalendarData : public ListData<CCalendarThread> {
public:
    explicit CalendarData(std::function<void()> changed);

    // The days from first to last.
    void Load(LONG first, LONG last);

    // Of the days that were asked for, sorted by day; headers are left out. Valid until the next `changed`.
    const std::vector<const DATACALENDAR*>& Lines() const { return m_lines; }
    LONG FirstDay() const { return m_shownFirst; } // of the lines
    LONG LastDay() const { return m_shownLast; }

private:
    bool HasQuestion() const override { return m_last >= m_first; }
    void Prepare() override;
    bool Accept() override;
    void Turn() override;

    LONG m_first = 0;
    LONG m_last = -1;
    LONG m_loadingFirst = 0;
    LONG m_loadingLast = -1;
    LONG m_shownFirst = 0;
    LONG m_shownLast = -1;
    std::vector<const DATACALENDAR*> m_lines;
};

} // namespace qn
