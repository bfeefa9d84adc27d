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
    FillTaskFromStores(task, m_pDbOverlay ? m_pDbOverlay.get() : m_pDb.get());
    return PlaceTask(task);
}

bool CCalendarThread::ShowsTask(const DATATASKS& task) {
    if (m_nFilterPrivacy != -1 && !CheckPrivacy(m_nFilterPrivacy, task.m_lSensitivity)) return false;
    if (!FilterSpecialTask(task.m_oid) || !CategoryFilterEDB(task.m_oid, &m_CategoryFilter)) return false;
    if (IsInternalTask(task.m_dtDue)) return false;
    if (task.m_bCompleted) return m_bShowCompletedTasks != 0;
    const bool forced = m_bForceHighTasks && task.m_nImportance == kHigh;
    return task.m_dtDue != kNoDate || forced || m_bShowUndatedTasks;
}

// A task without a day of its own stands on today.
LONG CCalendarThread::PlaceTask(const DATATASKS& task) {
    const LONG due = WholeDay(task.m_dtDue), start = WholeDay(task.m_dtStart), today = WholeDay(m_dtToday);
    if (task.m_bCompleted) return AddTaskLine(task, WholeDay(task.m_dtCompleted));
    if (due == kNoDay) return AddTaskLine(task, today);
    if (due < today && m_bShowOverDueToday) return AddTaskLine(task, today) + AddTaskLine(task, due);
    const bool spans = start != kNoDay && start != due;
    if (m_bShowInProgressTasksToday && m_bShowInProgressTasksToday != kTodayToo && spans)
        return CopyInProgressTasks(task);
    LONG lines = AddTaskLine(task, due);
    if (spans) lines += AddTaskLine(task, start);
    if (m_bShowInProgressTasksToday == kTodayToo && spans) lines += CopyInProgressTasks(task);
    return lines;
}

// One line on today, or one on each day from start to due.
LONG CCalendarThread::CopyInProgressTasks(const DATATASKS& task) {
    const LONG start = WholeDay(task.m_dtStart), due = WholeDay(task.m_dtDue), today = WholeDay(m_dtToday);
    if (m_bShowInProgressTasksToday == kTodayToo) {
        const bool inside = today > start && today < due; // the ends have their lines
        return inside ? AddTaskLine(task, today) : 0;
    }
    const LONG first = std::max(start, m_range.first), last = std::min(due, m_range.last);
    if (first == last && start == due) return 0;
    LONG lines = 0;
    for (LONG day = first; day <= last; ++day) lines += AddTaskLine(task, day);
    return lines;
}

LONG CCalendarThread::AddTaskLine(const DATATASKS& task, LONG day) {
    if (day < m_range.first || day > m_range.last) return 0;
    auto line = std::make_unique<DATACALENDAR>();
    line->m_pTask = task.Copy(true);
    line->m_lDay = day;
    line->m_nType = kLineTask;
    line->m_bListed = 1;
    line->m_oid = task.m_oid;
    line->m_oidRecord = task.m_oidRecord;
    m_listData.Add(line.release());
    return 1;
}
