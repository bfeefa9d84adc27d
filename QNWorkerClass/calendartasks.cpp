// Tasks in the day list: which are shown, and on which days.
#include "QNWorkerClass/calendarthread.h"

#include "Platform/memory.h"
#include "QNWorkerClass/DATATASKS.h"
#include "QNWorkerClass/sidestores.h"
#include "QNWorkerClass/tasksrecord.h"

#include <algorithm>

namespace {

constexpr LONG kHigh = 2;
constexpr LONG kTodayToo = 1; // of bShowInProgressTasksToday; any other value: every day of the task

LONG WholeDay(double date) { return static_cast<LONG>(date); }

} // namespace

WORD CCalendarThread::SetTaskProps() {
    std::copy(kTaskIds.begin(), kTaskIds.end(), m_PropIds.begin());
    m_nPropIds = kTaskProps;
    return m_nPropIds;
}

void CCalendarThread::AddTasks(CeManualEvent* stop) {
    if (!m_bAddingOverlays) DeleteTasksInList();
    if (!m_bShowTasks || m_nFilter != kFilterAll || !m_bReadAppointments || StopRequested(stop)) return;
    SetTaskProps();
    InitiateLinksDB();
    const DWORD size = CeRecordBufferSize(kTaskReadBuffer, kTaskProps);
    const HLOCAL buffer = LocalAlloc(LPTR, size);
    m_pDbOverlay = std::make_unique<CeDb>();
    if (buffer && m_pDbOverlay->MountVolumeEDB(kPimVolume, false) && m_pDbOverlay->Open(kTasksDb)) {
        const ItemScan scan(*this, kOidTask);
        CeDbRecord record;
        for (CEOID oid = m_pDbOverlay->SeekBegin(0); oid && !StopRequested(stop);
             oid = m_pDbOverlay->SeekNext()) {
            bool show = false;
            if (m_pDbOverlay->ReadRec(record, buffer, size, m_nPropIds, m_PropIds.data()))
                AddNewTask(&record, &show, false);
        }
        record.DetachBuffer();
    }
    m_pDbOverlay.reset();
    LocalFree(buffer);
    CloseLinksDB();
}

LONG CCalendarThread::AddNewTask(CeDbRecord* record, bool* pbShow, bool bUpdate) {
    if (bUpdate) InitiateLinksDB();
    DATATASKS task;
    FillTaskFromRecord(*record, task);
    *pbShow = ShowsTask(task);
    if (!*pbShow) return 0;
    std::vector<LONG> days = DaysOfTask(task);
    std::erase_if(days, [&](LONG day) { return day < m_range.first || day > m_range.last; });
    if (days.empty()) return 0; // most tasks of a year: nothing else is read of them
    FillTaskFromStores(task, m_pDbOverlay ? m_pDbOverlay.get() : m_pDb.get());
    const LONG due = WholeDay(task.m_dtDue), today = WholeDay(m_dtToday);
    task.m_bOverdue = due < today && !task.m_bCompleted;
    task.m_bDueToday = due == today && !task.m_bCompleted;
    task.m_bStarred = GtdStarredFromOID(task.m_oid);
    for (const LONG day : days) AddTaskLine(task, day);
    return static_cast<LONG>(days.size());
}

bool CCalendarThread::ShowsTask(const DATATASKS& task) {
    if (m_nFilterPrivacy != -1 && !CheckPrivacy(m_nFilterPrivacy, task.m_lSensitivity)) return false;
    if (!FilterSpecialTask(task.m_oid) || !CategoryFilterEDB(task.m_oid, &m_CategoryFilter)) return false;
    if (IsInternalTask(task.m_dtDue)) return false;
    if (task.m_bCompleted) return m_bShowCompletedTasks != 0;
    const bool forced = m_bForceHighTasks && task.m_nImportance == kHigh;
    return task.m_dtDue != kNoDate || forced || m_bShowUndatedTasks;
}

// A task without a due day stands on today.
std::vector<LONG> CCalendarThread::DaysOfTask(const DATATASKS& task) const {
    const LONG due = WholeDay(task.m_dtDue), start = WholeDay(task.m_dtStart), today = WholeDay(m_dtToday);
    if (task.m_bCompleted) return {WholeDay(task.m_dtCompleted)};
    if (due < today && m_bShowOverDueToday) return {today, due};
    const LONG day = due == kNoDay ? today : due;
    if (start == kNoDay || start == day) return {day};
    std::vector<LONG> days{day, start};
    if (m_bShowInProgressTasksToday && due != kNoDay && start < due) CopyInProgressTasks(task, days);
    return days;
}

// Today too, when it lies between start and due; or each day of the task in place of these two.
void CCalendarThread::CopyInProgressTasks(const DATATASKS& task, std::vector<LONG>& days) const {
    const LONG start = WholeDay(task.m_dtStart), due = WholeDay(task.m_dtDue), today = WholeDay(m_dtToday);
    if (m_bShowInProgressTasksToday == kTodayToo) {
        if (today > start && today < due) days.push_back(today); // the ends have their lines
        return;
    }
    days.clear();
    const LONG last = std::min(due, m_range.last);
    for (LONG day = std::max(start, m_range.first); day <= last; ++day) days.push_back(day);
}

void CCalendarThread::AddTaskLine(const DATATASKS& task, LONG day) {
    auto line = std::make_unique<DATACALENDAR>();
    line->m_pTask = task.Copy(true);
    line->m_lDay = day;
    line->m_nType = kLineTask;
    line->m_bListed = 1;
    line->m_oid = task.m_oid;
    line->m_oidRecord = task.m_oidRecord;
    m_listData.Add(line.release());
}
