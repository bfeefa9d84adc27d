// How lines come into the day list and leave it.
#include "QNWorkerClass/calendarthread.h"

#include <algorithm>

namespace {

constexpr LONGLONG kSecondsPerDay = 86400;

// The end of an item, rounded to the second: the sums behind it rarely meet midnight exactly.
struct EndOfItem {
    explicit EndOfItem(double variant) {
        LONGLONG seconds = SecondsOfVariant(variant);
        LONGLONG days = civil::FloorDiv(seconds, kSecondsPerDay);
        day = static_cast<LONG>(days - civil::kDaysTo1899);
        second = static_cast<LONG>(seconds - days * kSecondsPerDay);
    }
    bool IsMidnight() const { return second == 0; }
    // Up to the full hour.
    bool IsBefore(LONG hour) const {
        return second / 3600 < hour || (second / 3600 == hour && second % 3600 < 60);
    }

    LONG day;
    LONG second;
};

// Most items: told without rounding, but for an end within the last second of a day.
bool EndsOnItsDay(const DATACALENDAR& line) { return line.m_dtEnd + 1.0 / kSecondsPerDay < line.m_lDay + 1; }

bool IsSameLine(const DATACALENDAR& a, const DATACALENDAR& b) {
    return a.m_oid == b.m_oid && a.m_lDay == b.m_lDay && a.m_dtStart == b.m_dtStart &&
           a.m_lDuration == b.m_lDuration;
}

} // namespace

// The one way of an appointment into the list: its line, and a copy for each further day that it touches.
void CCalendarThread::AddCalendarItemToList(std::unique_ptr<DATACALENDAR> line) {
    line->m_bListed = 1;
    if (line->m_wAnniversaryYear || line->m_wBirthdayYear) AddAge(*line);
    DATACALENDAR* listed = line.release();
    m_listData.Add(listed);
    if (m_nFilter != kFilterSingleSeries && !EndsOnItsDay(*listed)) AddFurtherDays(listed);
}

void CCalendarThread::AddFurtherDays(DATACALENDAR* listed) {
    EndOfItem end(listed->m_dtEnd);
    bool timed = !listed->m_bAllDay;
    LONG last = std::min(end.day, static_cast<LONG>(kLatestListDate));
    if (end.IsMidnight() && timed && m_nSingleIfEndsEarly == 0)
        --last; // it doesn't touch the day that it ends on
    bool cut = m_nFilter == kFilterAll && last > m_range.last;
    if (cut) last = m_range.last;
    for (LONG day = listed->m_lDay + 1; day <= last; ++day) {
        if (day == last && timed && !cut && m_nSingleIfEndsEarly != 0 && end.IsBefore(m_nSingleIfEndsEarly)) {
            listed->m_bEndsEarlier = 1;
            break;
        }
        DATACALENDAR* copy = listed->Copy();
        copy->m_lDay = day;
        m_listData.InsertAfterCached(copy);
        listed = copy;
    }
}

// --- Headers ------------------------------------------------------------------------------------------------------

void CCalendarThread::AddCalendarDate() {
    if (m_bNoHeaderDates) return;
    if (m_nFilter == kFilterAll) AddCalendarDatesForRange();
    LoadSortPrefs();
    m_listData.Sort(true);
    if (m_nFilter != kFilterAll) AddCalendarDatesForData();
}

void CCalendarThread::InsertHeader(int index, LONG day) {
    auto header = std::make_unique<DATACALENDAR>();
    header->m_bListed = 1;
    header->m_lDay = day;
    m_listData.Insert(index, header.release());
}

void CCalendarThread::AddCalendarDatesForRange() {
    for (LONG day = m_range.first; day <= m_range.last; ++day) InsertHeader(m_listData.GetLast() + 1, day);
}

// From the end to the start: a line that repeats the one before it goes, and each day gets its header.
void CCalendarThread::AddCalendarDatesForData() {
    for (int i = m_listData.GetCount(); i >= 1; --i) {
        const DATACALENDAR& line = *m_listData.Get(i);
        const DATACALENDAR* before = i > 1 ? m_listData.Get(i - 1) : nullptr;
        if (before && line.m_oid != 0 && !line.m_bSortLast && !line.m_pTask && IsSameLine(line, *before))
            m_listData.RemoveAt(i);
        else if (!before || before->m_lDay != line.m_lDay)
            InsertHeader(i, line.m_lDay);
    }
}

// --- One overlay without a new load -------------------------------------------------------------------------------

template<class Add>
void CCalendarThread::AddToThread(Add add) {
    if (!m_csData.TryLock()) return;
    SettingChange();
    SetLoadRange();
    add();
    LoadSortPrefs();
    m_listData.Sort(true);
    m_lActiveCount = m_listData.GetCount();
    m_csData.Leave();
}

void CCalendarThread::AddTasksToThread(CeManualEvent* stop) {
    AddToThread([&] { AddTasks(stop); });
}

void CCalendarThread::AddJournalToThread(CeManualEvent* stop) {
    AddToThread([&] { AddJournal(stop, 0); });
}

void CCalendarThread::RemoveFromThread(LONG nType) {
    if (!m_csData.TryLock()) return;
    RemoveLines(nType);
    m_listData.Sort(true);
    m_lActiveCount = m_listData.GetCount();
    m_csData.Leave();
}

void CCalendarThread::RemoveTasksFromThread() { RemoveFromThread(kLineTask); }
void CCalendarThread::RemoveJournalFromThread() { RemoveFromThread(kLineJournal); }

void CCalendarThread::RemoveLines(LONG nType) {
    for (int i = m_listData.GetCount(); i >= 1; --i)
        if (m_listData.Get(i)->m_nType == nType) m_listData.RemoveAt(i);
    m_lActiveCount = m_listData.GetCount();
}
