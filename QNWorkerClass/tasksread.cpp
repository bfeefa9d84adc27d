// One task on its way from the store to a row: tallied, tested by the view's filters, counted, filled in.
#include "QNWorkerClass/tasksthread.h"

#include "NorvoTools/CeString.h"
#include "QNWorkerClass/tasksrecord.h"

#include <cstring>

namespace {

constexpr LONG kLastPriorityFilter = 2; // above it the importance is no filter
constexpr DWORD kStatusOne = 1;
constexpr WORD kComplete = 100;
constexpr LONG kDaysFutureUnset = 949998;
constexpr LONG kDaysFutureDefault = 14;

LONG WholeDay(double date) { return static_cast<LONG>(date); }

} // namespace

struct CTasksThread::Draft {
    DWORD oid = 0;
    double completed = kNoDate;
    bool bCompleted = false;
    bool bStarred = false;
    DWORD parent = 0;
    bool bExpanded = false;
    DWORD project = 0;
    std::u16string context;
    DWORD status = 0;
    double start = kNoDate;
    double due = kNoDate;
    LONG sensitivity = 0;
    LONG importance = 1;
    bool bShow = true;
    bool bKeep = false;   // as a parent
    bool bActive = false; // passed all filters but the one of completed tasks
};

int CTasksThread::AddNewTask(CeDbRecord* record, bool* pbShow, int nIndex, bool bUpdate, bool bAsParent) {
    Draft draft;
    const bool alone = bUpdate && m_nLoads == 0; // a load has done this for all of its tasks
    if (alone) {
        InitiateLinksDB();
        SetupThreadResources();
        ForceRuleSettings();
        RefreshToday();
    }
    const DATATASKS* former = nIndex < 0 ? nullptr : m_listTasks.Get(nIndex);
    draft.bKeep =
        bAsParent || (bUpdate && former && nIndex < m_listTasks.GetCount() && former->IsParentNode());
    ReadIdentity(*record, draft);
    Tally(draft);
    NoteParent(draft);
    if (former) nIndex = IndexOf(former); // a parent that went may have stood before it
    int shown = 0;
    if (PassesFilters(*record, draft, bUpdate)) {
        LONG position = -1;
        DATATASKS* row = TakeRow(draft, nIndex, bUpdate, position);
        FillRow(*row, *record, draft);
        AddToGroup(row, false, position);
        if (bUpdate && m_nGroupBy == kGroupManager) SortPriorityManager();
        draft.bShow = draft.bShow || draft.bKeep;
        shown = !row->m_bHidden;
    } else {
        draft.bShow = false;
        Reject(draft, nIndex);
    }
    if (alone) CloseLinksDB();
    *pbShow = draft.bShow;
    return shown;
}

// --- What a task is -----------------------------------------------------------------------------------------------

void CTasksThread::GtdContextFromOID(CEOID oid, CeString& context) {
    CEBLOB value{};
    std::u16string text;
    if (ReadNamedProperty(oid, ms_ContextProperty, value)) {
        text.resize(value.dwCount / sizeof(WCHAR));
        std::memcpy(text.data(), value.lpb, text.size() * sizeof(WCHAR));
    }
    context = CeString(std::u16string_view(text).substr(0, text.find(u'\0')));
}

DWORD CTasksThread::GtdStatusFromOID(CEOID oid) {
    return static_cast<DWORD>(NamedScalar(oid, ms_StatusProperty, sizeof(WORD)));
}

void CTasksThread::ReadIdentity(const CeDbRecord& record, Draft& draft) {
    DWORD number = 0;
    record.GetIndexVal(kTaskNumber, number);
    draft.oid = number | kOidTask;
    draft.completed = RecordDateAt(record, kTaskCompleted);
    draft.bCompleted = draft.completed < kLatestListDate;
    draft.bStarred = GtdStarredFromOID(draft.oid);
    draft.parent = ParentFromOID(draft.oid, draft.bExpanded);
    if (m_nLoads > 0 ? m_cyclic.contains(draft.oid) : IsOwnAncestor(draft.oid)) draft.parent = 0;
    draft.project = GtdProjectFromOID(draft.oid);
    CeString context;
    GtdContextFromOID(draft.oid, context);
    draft.context = context.View();
    draft.status = GtdStatusFromOID(draft.oid);
}

// By the parents that the store tells.
bool CTasksThread::IsOwnAncestor(DWORD oid) {
    std::unordered_set<DWORD> seen;
    bool fraction;
    DWORD at = ParentFromOID(oid, fraction);
    while (at != 0 && at != oid && seen.insert(at).second) at = ParentFromOID(at, fraction);
    return at == oid;
}

// Before any filter. An update tallies its task again.
void CTasksThread::Tally(const Draft& draft) {
    const bool open = !draft.bCompleted;
    if (!draft.context.empty()) {
        const auto [entry, isNew] = m_contextIndex.try_emplace(draft.context, m_listContexts.size());
        if (isNew) m_listContexts.push_back({draft.context, 0});
        m_listContexts[entry->second].nOpen += open;
    }
    if (!open) return;
    m_counts.lUnfiled += draft.project == 0 && draft.context.empty() && draft.status == 0;
    m_counts.lStarred += draft.bStarred;
    m_counts.lStatusOne += draft.status == kStatusOne;
}

// Views other than the tree show leaves only: the row of a task that turns out to be a parent goes.
void CTasksThread::NoteParent(const Draft& draft) {
    if (m_nGroupBy == kGroupTree || draft.parent == 0) return;
    if (!m_listParentsSeen.insert(draft.parent).second) return;
    if (DATATASKS* row = FindRow(draft.parent)) DeleteRow(row);
}

// --- The filters --------------------------------------------------------------------------------------------------

// False when the task becomes no row. draft.bShow says whether a rule shows it; a parent is kept without.
bool CTasksThread::PassesFilters(const CeDbRecord& record, Draft& draft, bool bUpdate) {
    if (bUpdate) {
        draft.bShow = CategoryFilterEDB(draft.oid, &m_CategoryFilter);
        if (!draft.bShow && !draft.bKeep) return false;
    }
    if (m_nGroupBy != kGroupTree && m_listParentsSeen.contains(draft.oid)) draft.bShow = false;
    if (!FilterSpecialTask(draft.oid)) return false;

    draft.start = RecordDateAt(record, kTaskStart);
    draft.due = RecordDateAt(record, kTaskDue);
    record.GetIndexVal(kTaskSensitivity, draft.sensitivity);
    bool hidden = draft.bShow && m_nFilterPrivacy != -1 && !CheckPrivacy(m_nFilterPrivacy, draft.sensitivity);
    hidden |= !m_bShowUndated && draft.due == kNoDate && draft.start == kNoDate;
    hidden |= !m_bShowOverDue && m_iToday > WholeDay(draft.due) && !draft.bCompleted;
    if (hidden) draft.bShow = false;
    if (hidden && !draft.bKeep) return false;

    record.GetIndexVal(kTaskImportance, draft.importance);
    if (m_nFilterPriority <= kLastPriorityFilter && m_nFilterPriority != draft.importance) {
        draft.bShow = false;
        if (!draft.bKeep) return false;
    }
    if (IsInternalTask(draft.due)) {
        draft.bShow = false;
        --m_counts.lTotal;
    } else {
        draft.bShow = PassesRule(draft, draft.bShow);
    }
    draft.bActive = draft.bShow;
    m_counts.lActive += draft.bActive;
    m_counts.lCompleted += draft.bActive && draft.bCompleted;
    if (draft.bCompleted && !m_bShowCompleted) draft.bShow = false;
    return draft.bShow || draft.bKeep;
}

bool CTasksThread::PassesRule(const Draft& draft, bool shown) {
    switch (m_nRule) {
    case kTasksOfGoal:
        return PassesProject(draft, draft.parent, shown);
    case kTasksOfProject:
        return PassesProject(draft, draft.project, shown);
    case kTasksUnfiled:
        return shown && draft.project == 0 && draft.context.empty() && draft.status == 0;
    case kTasksOfContext:
        return shown && draft.context == m_strContextFilter;
    case kTasksStarred:
        return shown && draft.bStarred;
    case kTasksNextAction:
        return shown && draft.status == kStatusOne;
    default:
        break;
    }
    if (m_nDaysFuture == kDaysFutureUnset && m_nRule == kTasksNextDays) m_nDaysFuture = kDaysFutureDefault;
    const TaskDays days{WholeDay(draft.due), WholeDay(draft.start), WholeDay(draft.completed),
                        draft.bCompleted};
    const LONG parameter = m_nRule == kTasksOnDate ? WholeDay(m_dDateOn) : m_nDaysFuture;
    return shown && ShowsByDate(m_nRule, days, m_iToday, parameter);
}

// A task that points at the project is shown, also one that something before has hidden.
bool CTasksThread::PassesProject(const Draft& draft, DWORD project, bool shown) {
    if (m_oidProjectFilter == 0) return shown && m_nRule == kTasksOfProject;
    if (project == m_oidProjectFilter) return true;
    const bool isTask = (project & kOidKindMask) == kOidTask;
    if (isTask && !m_listExcluded.contains(project)) return shown;
    m_listExcluded.insert(draft.oid);
    return false;
}

void CTasksThread::Reject(const Draft& draft, int nIndex) {
    if (nIndex >= 0) {
        const LONG total = m_counts.lTotal; // of records, and this one stays
        DeleteTaskFromThread(nIndex);
        m_counts.lTotal = total;
    }
    if (IsOnDateRule(m_nRule) && draft.parent != 0) m_listExcluded.insert(draft.parent);
}

// --- The row ------------------------------------------------------------------------------------------------------

// A new row, or the old one of the task, out of the counts and its group; `position` is where it stood there.
DATATASKS* CTasksThread::TakeRow(const Draft& draft, int nIndex, bool bUpdate, LONG& position) {
    DATATASKS* row = nIndex < 0 ? nullptr : m_listTasks.Get(nIndex);
    if (!row || row->m_oid == 0) { // none, or a header
        row = NewRow();
        row->m_oid = draft.oid; // what rows are found by
        AddRow(row, nIndex);
        return row;
    }
    PreTaskUpdateCountChange(row);
    ++m_counts.lTotal; // of records: this one is there as before
    m_lTreeCount -= row->m_oidParentStored != 0;
    position = AddToGroup(row, true, -1);
    if (m_nGroupBy == kGroupCategory) EraseRowsOf(row->m_oid, row);
    const LONG ordinal = row->m_lManagerOrdinal;
    row->NullData(false);
    if (bUpdate && m_nGroupBy == kGroupManager) row->m_lManagerOrdinal = ordinal;
    return row;
}

void CTasksThread::FillRow(DATATASKS& row, const CeDbRecord& record, const Draft& draft) {
    FillTaskFromRecord(record, row);
    row.m_bStarred = draft.bStarred;
    row.m_oidProject = draft.project;
    row.m_lGtdStatus = static_cast<LONG>(draft.status);
    row.m_oidParent = row.m_oidParentStored = draft.parent;
    row.m_bExpanded = draft.bExpanded;
    row.m_bLoaded = 1;
    row.m_bKeptForChildren = draft.bKeep && !draft.bShow;
    FillTaskFromStores(row, GetDatabaseClass());
    row.m_bCountedActive = draft.bActive;
    row.m_bCountedCompleted = draft.bActive && draft.bCompleted;
    row.m_bCountedPercent = row.m_wPercent > 0 && row.m_wPercent < kComplete;
    CountRow(row);
}

void CTasksThread::CountRow(DATATASKS& row) {
    const LONG due = WholeDay(row.m_dtDue);
    row.m_bOverdue = due < m_iToday && !row.m_bCompleted;
    row.m_bDueToday = due == m_iToday && !row.m_bCompleted;
    m_counts.lOverdue += row.m_bOverdue;
    m_counts.lDueToday += row.m_bDueToday;
    m_counts.lHigh += row.m_nImportance == 2;
    m_counts.lNormal += row.m_nImportance == 1;
    m_counts.lLow += row.m_nImportance == 0;
    m_counts.lPercent += row.m_bCountedPercent;
    m_lTreeCount += row.m_oidParent != 0;
}

void CTasksThread::PreTaskUpdateCountChange(const DATATASKS* row) {
    if (row->m_oid == 0) return;
    --m_counts.lTotal;
    m_counts.lActive -= row->m_bCountedActive;
    m_counts.lCompleted -= row->m_bCountedCompleted;
    m_counts.lOverdue -= row->m_bOverdue;
    m_counts.lDueToday -= row->m_bDueToday;
    m_counts.lPercent -= row->m_bCountedPercent;
    m_counts.lHigh -= row->m_nImportance == 2;
    m_counts.lNormal -= row->m_nImportance == 1;
    m_counts.lLow -= row->m_nImportance == 0;
}
