// The tree of tasks and sub-tasks: from the parents that the store tells, and its edits.
#include "QNWorkerClass/tasksthread.h"

#include "NorvoTools/registryfunctions.h"
#include "Platform/comref.h"
#include "Platform/memory.h"
#include "Platform/poom.h"
#include "QNWorkerClass/tasksrecord.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

constexpr WORD kComplete = 100;
constexpr double kExpandedHalf = 0.5; // of the stored parent: the task is expanded
constexpr SHORT kDeepest = 32767;

CEPROPID ParentProperty(COutlook& outlook) {
    return outlook.GetPOOM2Property(u"QN_ParentOID", CEVT_R8, true);
}

// The parents of many tasks become one change of the store.
class ParentBatch {
public:
    explicit ParentBatch(bool bStores) {
        COutlook* outlook = bStores ? GetOutlookObject() : nullptr;
        if (outlook && ParentProperty(*outlook) != 0) m_batch.emplace(*outlook);
    }

private:
    std::optional<COutlook::SaveBatch> m_batch;
};

bool IsTaskOid(DWORD oid) { return (oid & kOidKindMask) == kOidTask; }

SHORT DepthBelow(const DATATASKS* parent) {
    return parent->m_nDepth == kDeepest ? kDeepest : static_cast<SHORT>(parent->m_nDepth + 1);
}

// A row and all below it, parents first.
std::vector<DATATASKS*> Subtree(DATATASKS* task) {
    std::vector<DATATASKS*> rows{task};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto& children = rows[i]->m_listChildren;
        rows.insert(rows.end(), children.begin(), children.end());
    }
    return rows;
}

void RemoveChild(DATATASKS* parent, DWORD oid) {
    int index = parent->m_listChildren.GetBase();
    for (const DATATASKS* child : parent->m_listChildren) {
        if (child->m_oid == oid) {
            parent->m_listChildren.RemoveAt(index);
            return;
        }
        ++index;
    }
}

} // namespace

// --- From the store -----------------------------------------------------------------------------------------------

// One walk over all rows by a moving index. Rows go meanwhile, which moves the index, and parents join behind the end:
// the walk goes on from what the index then means.
class CTasksThread::ParentWalk {
public:
    // What a parent is read with; without bytes none is.
    struct Buffer {
        CEPROPVAL* pBytes;
        const CEPROPID* pPropIds;
        DWORD cb;
    };
    ParentWalk(CTasksThread& thread, const Buffer& buffer, bool bCheckDuplicate);
    void Run();

private:
    void Visit(DATATASKS* row);
    void VisitOrphan(DATATASKS* row);
    DATATASKS* ReadParent(DWORD oid);
    bool WouldClose(const DATATASKS* row, const DATATASKS* parent) const;
    void Attach(DATATASKS* row, DATATASKS* parent);
    void DeleteWithChildren(DATATASKS* row);
    void Forward(std::size_t rows = 1); // over rows that are still there
    void Back(std::size_t rows);
    bool IsBehind(const DATATASKS* row) const { return m_places.at(row) > m_at; }

    struct Pair {
        const DATATASKS* parent;
        DWORD oid;
        bool operator==(const Pair&) const = default;
    };
    struct PairHash {
        std::size_t operator()(const Pair& pair) const {
            return std::hash<const void*>()(pair.parent) ^ (std::size_t{pair.oid} * 0x9E3779B97F4A7C15u);
        }
    };

    CTasksThread& m_thread;
    const Buffer m_buffer;
    const bool m_bCheckDuplicate;
    std::vector<DATATASKS*> m_rows; // also those that are gone
    std::unordered_map<const DATATASKS*, std::size_t> m_places;
    std::unordered_set<Pair, PairHash> m_attached;
    std::size_t m_at = 0;
};

void CTasksThread::SetChildToParents(CEPROPVAL* buffer, const CEPROPID* propIds, DWORD bufferSize,
                                     bool bCheckDuplicate) {
    if (m_lTreeCount == 0 || m_bShowProjectName != 1) return;
    m_listTasks.SetCompare(&TasksCompareOID);
    const bool alone = !m_bIndexed;
    if (alone) IndexRows();
    ParentWalk(*this, {buffer, propIds, bufferSize}, bCheckDuplicate).Run();
    if (alone) SweepErased();
}

CTasksThread::ParentWalk::ParentWalk(CTasksThread& thread, const Buffer& buffer, bool bCheckDuplicate)
    : m_thread(thread), m_buffer(buffer), m_bCheckDuplicate(bCheckDuplicate) {
    for (DATATASKS* row : thread.m_listTasks) {
        if (thread.IsErased(row)) continue;
        m_places[row] = m_rows.size();
        m_rows.push_back(row);
        for (const DATATASKS* child : row->m_listChildren) m_attached.insert({row, child->m_oid});
    }
}

void CTasksThread::ParentWalk::Run() {
    while (m_at < m_rows.size()) {
        if (m_thread.IsErased(m_rows[m_at]))
            ++m_at;
        else
            Visit(m_rows[m_at]);
    }
}

void CTasksThread::ParentWalk::Visit(DATATASKS* row) {
    if (row->m_oid == 0) return Forward(); // a header
    if (row->m_oidParent == 0) {
        // A row below a header has its place, whatever its parent was.
        if (!m_thread.m_bProjectMode || m_thread.IsGrouped()) return Forward();
        m_thread.PreTaskUpdateCountChange(row);
        m_thread.EraseRow(row);
        // The row behind it takes its place, and the index steps on over that one: so it was, and lists rely on it.
        return Forward(2);
    }
    const bool onDate = IsOnDateRule(m_thread.m_nRule);
    if (onDate && m_thread.m_listExcluded.contains(row->m_oid)) {
        row->m_pParent = nullptr;
        ++m_thread.m_lDisplayedTreeCount;
        return DeleteWithChildren(row);
    }
    DATATASKS* parent = m_thread.FindRow(row->m_oidParent);
    if (!parent) return VisitOrphan(row);
    if (onDate) return DeleteWithChildren(row);
    Attach(row, parent);
    Forward();
}

// The parent is no row.
void CTasksThread::ParentWalk::VisitOrphan(DATATASKS* row) {
    if (m_thread.m_bProjectMode && row->m_oidParent != m_thread.m_oidProjectFilter)
        return DeleteWithChildren(row);
    if (!m_thread.m_bProjectMode && !IsOnDateRule(m_thread.m_nRule)) {
        if (!IsTaskOid(row->m_oidParent)) {
            row->m_oidParent = 0;
            row->m_nDepth = 0;
        } else if (!m_buffer.pBytes) {
            Attach(row, nullptr);
        } else if (DATATASKS* parent = ReadParent(row->m_oidParent)) {
            Attach(row, parent);
        } else {
            row->m_oidParent = 0;
            row->m_nDepth = 0;
            row->m_bHidden = row->m_bExpanded = 0;
        }
    }
    Forward();
}

// The parent becomes a row of its own, kept for its children; null when the store has no such task.
DATATASKS* CTasksThread::ParentWalk::ReadParent(DWORD oid) {
    CeDb* db = m_thread.GetDatabaseClass();
    CEPROPVAL key{};
    key.propid = PIMPR_NUMBER;
    key.val.ulVal = oid & ~kOidKindMask;
    if (!db->IsOpen() || !db->SeekRec(&key, 1)) return nullptr;
    CeDbRecord record;
    DATATASKS* parent = nullptr;
    if (db->ReadRec(record, m_buffer.pBytes, m_buffer.cb, kTaskProps, m_buffer.pPropIds)) {
        bool show = true;
        m_thread.AddNewTask(&record, &show, -1, true, true);
        parent = m_thread.FindRow(oid);
    }
    if (parent) {
        m_places[parent] = m_rows.size();
        m_rows.push_back(parent);
    }
    record.DetachBuffer();
    return parent;
}

// A circle. A load has found those of the store before, so that its walk needn't look up the tree from each row.
bool CTasksThread::ParentWalk::WouldClose(const DATATASKS* row, const DATATASKS* parent) const {
    return m_thread.m_nLoads == 0 && (parent == row || IsDescendant(row, parent));
}

void CTasksThread::ParentWalk::Attach(DATATASKS* row, DATATASKS* parent) {
    if (parent && WouldClose(row, parent)) return; // an ancestor of itself stays at the top
    if (row->m_pParent && row->m_pParent != parent) RemoveChild(row->m_pParent, row->m_oid);
    row->m_pParent = parent;
    ++m_thread.m_lDisplayedTreeCount;
    if (!parent) return;
    const bool isNew = m_attached.insert({parent, row->m_oid}).second;
    if (isNew || !m_bCheckDuplicate) parent->m_listChildren.Add(row);
}

// The row and all below it leave the list. The index goes back by its children and itself, wherever they stood.
void CTasksThread::ParentWalk::DeleteWithChildren(DATATASKS* row) {
    const auto children = static_cast<std::size_t>(row->NumChildren());
    std::size_t before = 0;
    for (const DATATASKS* child : row->m_listChildren)
        before += !m_thread.IsErased(child) && !IsBehind(child);
    for (DATATASKS* gone : Subtree(row)) {
        if (m_thread.IsErased(gone)) continue;
        if (gone == row) m_thread.PreTaskUpdateCountChange(gone);
        m_thread.EraseRow(gone);
    }
    m_thread.m_listExcluded.insert(row->m_oid);
    Forward();
    Back(children - before);
}

void CTasksThread::ParentWalk::Forward(std::size_t rows) {
    for (; rows > 0; --rows) {
        do ++m_at;
        while (m_at < m_rows.size() && m_thread.IsErased(m_rows[m_at]));
    }
}

void CTasksThread::ParentWalk::Back(std::size_t rows) {
    for (std::size_t at = m_at; rows > 0 && at > 0;) {
        if (m_thread.IsErased(m_rows[--at])) continue;
        m_at = at;
        --rows;
    }
}

// --- What the tree says of its rows -------------------------------------------------------------------------------

void CTasksThread::SetActiveCountFromTree() {
    if (IsOnDateRule(m_nRule)) return;
    if (m_lDisplayedTreeCount == 0 && !IsGrouped()) return;
    for (DATATASKS* row : m_listTasks) {
        const bool top = row->m_oidParent == 0 || (m_bProjectMode && row->m_oidParent == m_oidProjectFilter);
        if (!top || row->m_pParent || !row->IsParentNode()) continue;
        SetupChildren(row, row->m_wPercent);
        HTParentTaskRulesCheck(row);
    }
}

// Flags and depths go down the tree, percents come up: the mean of the children, whatever was stored.
void CTasksThread::SetupChildren(DATATASKS* task, WORD& percent) {
    if (!task->IsParentNode()) return;
    const bool tree = m_nGroupBy == kGroupTree;
    std::vector<DATATASKS*> parents{task};
    for (std::size_t i = 0; i < parents.size(); ++i) {
        DATATASKS* parent = parents[i];
        if (!tree) parent->m_bExpanded = (*parent->m_listChildren.begin())->m_bExpanded;
        for (DATATASKS* child : parent->m_listChildren) {
            child->m_nDepth = DepthBelow(parent);
            if (!tree) {
                child->m_bExpanded = parent->m_bExpanded;
                child->m_bHidden = !child->m_bExpanded;
            } else if (!parent->m_bExpanded) {
                child->m_bHidden = 1;
                if (child->IsParentNode()) child->m_bExpanded = 0;
            }
            if (child->IsParentNode()) parents.push_back(child);
        }
    }
    for (auto parent = parents.rbegin(); parent != parents.rend(); ++parent) {
        LONGLONG sum = 0;
        for (const DATATASKS* child : (*parent)->m_listChildren) sum += child->m_wPercent;
        const auto mean = static_cast<WORD>(sum / (*parent)->NumChildren());
        (*parent == task ? percent : (*parent)->m_wPercent) = mean;
        if (*parent != task) HTParentTaskRulesCheck(*parent);
    }
}

void CTasksThread::HTParentTaskRulesCheck(DATATASKS* task) {
    if (m_nGroupBy == kGroupTree) task->m_bCompleted = task->m_wPercent == kComplete;
}

void CTasksThread::UpdateDepth(CePtrList<DATATASKS*>& list, DATATASKS* parent) {
    for (DATATASKS* top : list) {
        top->m_nDepth = parent ? DepthBelow(parent) : SHORT{0};
        if (!parent) top->m_bHidden = 0;
        for (DATATASKS* row : Subtree(top))
            for (DATATASKS* child : row->m_listChildren) child->m_nDepth = DepthBelow(row);
    }
}

bool CTasksThread::IsDescendant(const DATATASKS* ancestor, const DATATASKS* task) {
    for (const DATATASKS* row = task; row; row = row->m_pParent)
        if (row->m_oidParent == ancestor->m_oid || row->m_pParent == ancestor) return true;
    return false;
}

// --- Edits --------------------------------------------------------------------------------------------------------

void CTasksThread::SetTaskHTField(DWORD oid, DWORD oidParent, bool bExpanded, bool bDelete) {
    COutlook* outlook = GetOutlookObject();
    if (!outlook) return;
    const CEPROPID property = ParentProperty(*outlook);
    ComRef<IItem> item;
    if (property == 0 || outlook->GetItemFromOidEx(oid, item.Out()) != S_OK || !item) return;
    double stored = 0;
    CEPROPVAL* values = nullptr;
    ULONG size = 0;
    if (item->GetProps(&property, CEDB_ALLOWREALLOC, 1, &values, &size, nullptr) == S_OK && values &&
        !(values->wFlags & CEDB_PROPNOTFOUND))
        stored = values->val.dblVal;
    LocalFree(values);
    const bool isOid = stored >= 0 && stored < 4294967296.0;
    const double parent = oidParent != 0 ? static_cast<double>(oidParent) : isOid ? std::floor(stored) : 0;
    CEPROPVAL value{};
    value.propid = property;
    value.val.dblVal = bDelete ? 0 : parent + (bExpanded ? kExpandedHalf : 0);
    if (value.val.dblVal == stored) return;
    item->SetProps(0, 1, &value);
    item->Save();
}

void CTasksThread::AddTreeNode(const _HIERSTRUCT* node, int childIndex, int parentIndex) {
    if (m_nGroupBy != kGroupTree) return;
    DATATASKS* child = childIndex > 0 ? m_listTasks.Get(childIndex) : nullptr;
    DATATASKS* parent = parentIndex > 0 ? m_listTasks.Get(parentIndex) : nullptr;
    if (child && parent && (child == parent || IsDescendant(child, parent)))
        return; // it would hang below itself
    if (child && child->m_oidParent != 0) {
        const bool goes = child->m_bKeptForChildren != 0;
        RemoveTreeNode(node, childIndex, false);
        if (goes) child = nullptr;
    }
    if (parent) parent->m_bExpanded = node->bExpanded != 0;
    if (child) {
        child->m_oidParent = child->m_oidParentStored = node->oidParent;
        child->m_bExpanded = node->bExpanded != 0;
        child->m_nDepth = parent ? DepthBelow(parent) : SHORT{0};
        child->m_bHidden = parent && !node->bExpanded;
        UpdateDepth(child->m_listChildren, child);
        child->m_pParent = parent;
        if (parent) parent->m_listChildren.Add(child);
        ++m_lTreeCount;
        ++m_lDisplayedTreeCount;
    }
    SetTaskHTField(node->oid, node->oidParent, node->bExpanded != 0, false);
}

void CTasksThread::RemoveTreeNode(const _HIERSTRUCT* node, int index, bool bMoveChildrenUp) {
    if (m_nGroupBy != kGroupTree) return;
    SetTaskHTField(node->oid, 0, false, true);
    DATATASKS* row = index > 0 ? m_listTasks.Get(index) : nullptr;
    if (!row) return;
    DATATASKS* parent = row->m_pParent;
    if (parent) RemoveChild(parent, row->m_oid);
    if (bMoveChildrenUp && row->IsParentNode()) GiveChildrenTo(row, parent, true);
    m_lTreeCount -= row->m_oidParent != 0;
    m_lDisplayedTreeCount -= parent != nullptr;
    row->m_pParent = nullptr;
    row->m_nDepth = 0;
    row->m_oidParent = row->m_oidParentStored = 0;
    if (row->m_bKeptForChildren) EraseRow(row);
}

// The children of a row that goes hang where it hung. With bForget those that come to the top lose their parent in the
// store too: the next load would hang them below the old one again. Without, what is stored stays.
void CTasksThread::GiveChildrenTo(DATATASKS* row, DATATASKS* parent, bool bForget) {
    const ParentBatch batch(m_nGroupBy == kGroupTree);
    UpdateDepth(row->m_listChildren, parent);
    for (DATATASKS* child : row->m_listChildren) {
        child->m_pParent = parent;
        child->m_oidParent = child->m_oidParentStored = row->m_oidParent;
        if (m_nGroupBy == kGroupTree)
            SetTaskHTField(child->m_oid, row->m_oidParent, row->m_bExpanded,
                           bForget && row->m_oidParent == 0);
        if (parent) parent->m_listChildren.Add(child);
    }
    row->m_listChildren.Clear();
}

void CTasksThread::DeleteTaskFromThread(int index) {
    DATATASKS* row = m_listTasks.Get(index);
    if (!row || row->m_oid == 0 || row->m_bKeptForChildren) return;
    DATATASKS* parent = row->m_pParent;
    DeleteRow(row);
    // A parent that was kept for this row alone goes with it.
    while (m_nGroupBy == kGroupTree && parent && parent->m_bKeptForChildren && !parent->IsParentNode()) {
        DATATASKS* kept = parent;
        parent = kept->m_pParent;
        EraseRow(kept);
    }
}

void CTasksThread::DeleteRow(DATATASKS* row) {
    if (row->m_oid == 0 || row->m_bKeptForChildren || IsErased(row)) return;
    PreTaskUpdateCountChange(row);
    if (m_bIndexed) {
        EraseRowsOf(row->m_oid, nullptr);
        return;
    }
    if (IsGrouped())
        AddToGroup(row, true, -1);
    else
        LeaveTree(row);
    if (m_nGroupBy == kGroupManager) {
        SortPriorityManager(); // the row stays in the list until the next load
        return;
    }
    if (m_nGroupBy == kGroupCategory)
        EraseRowsOf(row->m_oid, nullptr);
    else
        EraseRow(row);
}

void CTasksThread::LeaveTree(DATATASKS* row) {
    if (row->m_pParent) RemoveChild(row->m_pParent, row->m_oid);
    if (row->IsParentNode())
        GiveChildrenTo(row, row->m_pParent, false); // the task may only be hidden by a filter
}

LONG CTasksThread::ExpandTreeNode(bool bExpand, DATATASKS* task, bool bPersist) {
    const LONG hidden = ShowChildren(bExpand, task);
    if (bPersist) {
        SetGroupHeaderOpen(task, bExpand);
        SortDataList();
    }
    return hidden;
}

LONG CTasksThread::ShowChildren(bool bExpand, DATATASKS* task) {
    const bool tree = m_nGroupBy == kGroupTree;
    const ParentBatch batch(tree);
    LONG hidden = 0;
    task->m_bExpanded = bExpand;
    if (tree) SetTaskHTField(task->m_oid, task->m_oidParent, bExpand, false);
    for (DATATASKS* row : Subtree(task)) {
        for (DATATASKS* child : row->m_listChildren) {
            if (tree) SetTaskHTField(child->m_oid, row->m_oid, bExpand, false);
            if (child->m_bHidden == static_cast<BYTE>(bExpand)) hidden += bExpand ? -1 : 1;
            child->m_bHidden = !bExpand;
            child->m_bExpanded = bExpand;
        }
    }
    return hidden;
}

LONG CTasksThread::ExpandAll(bool bExpand) {
    SetToRegistry(HKEY_CURRENT_USER, m_szSettingsKey, u"bShowExpanded", bExpand);
    m_bShowExpanded = bExpand;
    bExpand ? OpenAll() : CloseAll();
    SortDataList();
    return 0;
}

// Also the rows that are no headers get a state, since their OIDs are negative as numbers: it was always so, and the values
// stand in the settings under the names that their fields give.
void CTasksThread::OpenAll() {
    for (DATATASKS* row : m_listTasks) {
        row->m_bExpanded = 1;
        row->m_bHidden = 0;
        if (static_cast<LONG>(row->m_oid) < 1) SetGroupHeaderOpen(row, true);
    }
}

void CTasksThread::CloseAll() {
    const ParentBatch batch(m_nGroupBy == kGroupTree);
    for (DATATASKS* row : m_listTasks) {
        if (row->m_nDepth != 0) continue;
        ShowChildren(false, row);
        if (row->m_oid == 0) SetGroupHeaderOpen(row, false);
    }
}
