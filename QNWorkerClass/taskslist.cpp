// The rows of a task view as a list: adding, finding, taking out, sorting.
#include "QNWorkerClass/tasksthread.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr SHORT kHeaderGone = -99; // the depth of a header that lost its last child

// The nodes alone, or what the list frees with them. True when there were any.
template<class Predicate>
bool RemoveIf(CePtrList<DATATASKS*>& list, Predicate predicate) {
    const int before = list.GetCount();
    for (int i = list.GetLast(); i >= list.GetBase(); --i)
        if (predicate(list.Get(i))) list.RemoveAt(i);
    return list.GetCount() != before;
}

} // namespace

// Children belong to the thread like all rows.
DATATASKS* CTasksThread::NewRow() {
    auto* row = new DATATASKS;
    row->m_listChildren.SetDelete(nullptr);
    return row;
}

void CTasksThread::IndexRows() {
    m_rowsByOid.clear();
    for (DATATASKS* row : m_listTasks)
        if (row->m_oid != 0) m_rowsByOid.emplace(row->m_oid, row);
    m_bIndexed = true;
}

DATATASKS* CTasksThread::FindRow(DWORD oid) const {
    if (!m_bIndexed) {
        const auto found = std::find_if(m_listTasks.begin(), m_listTasks.end(),
                                        [oid](const DATATASKS* row) { return row->m_oid == oid; });
        return found == m_listTasks.end() ? nullptr : *found;
    }
    const auto [first, last] = m_rowsByOid.equal_range(oid);
    const auto found =
        std::find_if(first, last, [this](const auto& entry) { return !IsErased(entry.second); });
    return found == last ? nullptr : found->second;
}

// Base - 1 when it is no row.
int CTasksThread::IndexOf(const DATATASKS* row) const {
    int index = m_listTasks.GetBase();
    for (const DATATASKS* other : m_listTasks) {
        if (other == row) return index;
        ++index;
    }
    return m_listTasks.GetBase() - 1;
}

void CTasksThread::AddRow(DATATASKS* row, int nIndex) {
    if (nIndex < 0)
        m_listTasks.Add(row);
    else
        m_listTasks.Insert(nIndex, row);
    if (m_bIndexed && row->m_oid != 0) m_rowsByOid.emplace(row->m_oid, row);
}

void CTasksThread::EraseRow(DATATASKS* row) {
    if (m_bIndexed) {
        m_erased.insert(row);
        return;
    }
    const int index = IndexOf(row);
    if (index < m_listTasks.GetBase()) return;
    for (DATATASKS* child : row->m_listChildren) child->m_pParent = nullptr;
    UpdateDepth(row->m_listChildren, nullptr);
    if (row->m_pParent)
        RemoveIf(row->m_pParent->m_listChildren, [row](const DATATASKS* child) { return child == row; });
    m_listTasks.RemoveAt(index);
    if (index <= m_lActiveDataCount) --m_lActiveDataCount;
    delete row;
}

void CTasksThread::EraseRowsOf(DWORD oid, const DATATASKS* but) {
    std::vector<DATATASKS*> rows;
    if (m_bIndexed) {
        const auto [first, last] = m_rowsByOid.equal_range(oid);
        for (auto entry = first; entry != last; ++entry) rows.push_back(entry->second);
    } else {
        std::copy_if(m_listTasks.begin(), m_listTasks.end(), std::back_inserter(rows),
                     [oid](const DATATASKS* row) { return row->m_oid == oid; });
    }
    for (DATATASKS* row : rows)
        if (row != but) EraseRow(row);
}

// Takes the erased rows out of all lists at once, and frees them.
void CTasksThread::SweepErased() {
    m_bIndexed = false;
    m_rowsByOid.clear();
    if (m_erased.empty()) return;
    const auto erased = [this](const DATATASKS* row) { return IsErased(row); };
    LONG visible = m_lActiveDataCount;
    for (const DATATASKS* row : m_listTasks) {
        if (visible-- == 0) break;
        m_lActiveDataCount -= erased(row);
    }
    RemoveIf(m_listTasks, erased);
    for (DATATASKS* row : m_listTasks) {
        if (RemoveIf(row->m_listChildren, erased) && row->m_oid == 0) MarkIfEmpty(row);
        if (IsErased(row->m_pParent)) row->m_pParent = nullptr;
    }
    for (const DATATASKS* row : m_erased) delete row;
    m_erased.clear();
}

void CTasksThread::ClearData() {
    m_bIndexed = false;
    m_rowsByOid.clear();
    m_erased.clear();
    std::vector<DATATASKS*> rows(m_listTasks.begin(), m_listTasks.end());
    m_listTasks.Clear();
    for (DATATASKS* row : rows)
        if (row->m_oid != 0) delete row; // headers belong to the list of the groups
    m_dropped.clear();
    m_lActiveDataCount = 0;
    m_lTreeCount = m_lDisplayedTreeCount = 0; // so the next row makes the fixed headers anew
    ClearGroups();
}

// --- Sorting ------------------------------------------------------------------------------------------------------

auto CTasksThread::GroupCompare() const -> TaskCompare {
    switch (m_nGroupBy) {
    case kGroupCategory:
        return &TasksCompareSubject;
    case kGroupImportance:
    case kGroupLetter:
    case kGroupManager:
        return &TasksComparePriority;
    case kGroupProgress:
    case kGroupDueDate:
        return &TasksCompareDueDate;
    case kGroupCompletion:
        return &TasksCompareCompletion;
    case kGroupGtdStatus:
        return &TasksCompareGtdStatus;
    default:
        return nullptr;
    }
}

void CTasksThread::SortDataList() {
    const DataHold hold(*this);
    if (hold.IsHeld()) SortRows();
}

void CTasksThread::SortRows() {
    LoadSortPrefs();
    if (m_nGroupBy == kGroupManager) {
        m_sort.nTaskSort = kSortManager;
        m_sort.nTaskSort2 = kSortSubject;
        m_sort.bDescending = m_sort.bDescending2 = false;
    }
    m_sort.bDescendingNow = m_sort.bDescending;
    m_sort.bInSecondSort = false;
    const bool empty = m_counts.lActive == 0 || m_listTasks.IsEmpty();
    if (IsGrouped() && empty) return ClearData();
    const TaskSortScope scope(m_sort);
    FillSortKeys();
    const TaskCompare compare = PrimaryCompare(m_sort.nTaskSort);
    if (m_lDisplayedTreeCount == 0 && !IsGrouped())
        SortFlat(compare);
    else
        SortShape(compare);
    PublishTaskSort(m_sort);
}

void CTasksThread::FillSortKeys() {
    const bool categories = m_sort.nTaskSort == kSortCategory || m_sort.nTaskSort2 == kSortCategory;
    for (DATATASKS* row : m_listTasks) FillTaskSortKeys(*row, categories);
}

void CTasksThread::SortFlat(TaskCompare compare) {
    m_listTasks.SetCompare(compare);
    m_listTasks.Sort(true);
    m_lActiveDataCount = m_listTasks.GetCount();
}

// A tree by its top rows, groups by their headers.
void CTasksThread::SortShape(TaskCompare compare) {
    CePtrList<DATATASKS*> work(0);
    if (IsGrouped()) {
        DropHeaders();
        for (DATATASKS* header : m_listGroups) work.Add(header);
    } else {
        for (DATATASKS* row : m_listTasks)
            if (row->m_nDepth == 0) work.Add(row);
    }
    if (work.IsEmpty()) return;
    if (const TaskCompare groupCompare = GroupCompare())
        SortGroupTasks(work, groupCompare, compare);
    else
        SortHierTasks(work, compare);
    LoadHierTasks(work);
}

// Those that lost their last child, or have no text.
void CTasksThread::DropHeaders() {
    std::unordered_set<const DATATASKS*> gone;
    for (const DATATASKS* header : m_listGroups)
        if (header->m_nDepth == kHeaderGone || !header->m_szSubject || !*header->m_szSubject)
            gone.insert(header);
    if (gone.empty()) return;
    const auto isGone = [&gone](const DATATASKS* row) { return gone.contains(row); };
    std::erase_if(m_headersByCategory, [&](const auto& entry) { return isGone(entry.second); });
    std::erase_if(m_headersByDate, [&](const auto& entry) { return isGone(entry.second); });
    RemoveIf(m_listTasks, isGone);
    RemoveIf(m_listGroups, isGone); // and frees them
}

// Children first, then the level; without recursion, as deep as the list is long.
void CTasksThread::SortHierTasks(CePtrList<DATATASKS*>& list, TaskCompare compare) {
    std::vector<CePtrList<DATATASKS*>*> lists{&list};
    for (std::size_t i = 0; i < lists.size(); ++i)
        for (DATATASKS* row : *lists[i])
            if (row->IsParentNode()) lists.push_back(&row->m_listChildren);
    for (auto level = lists.rbegin(); level != lists.rend(); ++level) {
        (*level)->SetCompare(compare);
        (*level)->Sort(true);
    }
}

// The headers sort without hidden rows and second key. The comparison and the sort both turn round when descending, which
// cancels out for all but the status and the completed dates: there the direction turns the groups.
void CTasksThread::SortGroupTasks(CePtrList<DATATASKS*>& list, TaskCompare groupCompare,
                                  TaskCompare compare) {
    for (DATATASKS* header : list) SortHierTasks(header->m_listChildren, compare);
    m_sort.bInSecondSort = true;
    list.SetCompare(groupCompare);
    list.Sort(!m_sort.bDescending);
}

// The tree depth first: visible rows in order, then the hidden ones in reverse. A row that stands nowhere in the tree any
// more is kept apart, since its owner may still hold it.
void CTasksThread::LoadHierTasks(const CePtrList<DATATASKS*>& list) {
    std::vector<DATATASKS*> visible, hidden, waiting;
    const auto push = [&waiting](const CePtrList<DATATASKS*>& rows) {
        const std::size_t first = waiting.size();
        waiting.insert(waiting.end(), rows.begin(), rows.end());
        std::reverse(waiting.begin() + static_cast<std::ptrdiff_t>(first), waiting.end());
    };
    std::unordered_set<const DATATASKS*> placed;
    push(list);
    while (!waiting.empty()) {
        DATATASKS* row = waiting.back();
        waiting.pop_back();
        if (!placed.insert(row).second) continue;
        (row->m_bHidden ? hidden : visible).push_back(row);
        push(row->m_listChildren);
    }
    for (DATATASKS* row : m_listTasks)
        if (!placed.contains(row) && row->m_oid != 0) m_dropped.emplace_back(row);
    m_listTasks.Clear();
    for (DATATASKS* row : visible) m_listTasks.Add(row);
    for (auto row = hidden.rbegin(); row != hidden.rend(); ++row) m_listTasks.Add(*row);
    m_lActiveDataCount = static_cast<LONG>(visible.size());
}

void CTasksThread::SortPriorityManager() {
    if (m_nGroupBy != kGroupManager) return;
    for (DATATASKS* header : m_listGroups) {
        LONG ordinal = 0;
        for (DATATASKS* child : header->m_listChildren) child->m_lManagerOrdinal = ++ordinal;
    }
}
