// The tasks thread: turns the "Tasks Database" into the rows of a task view. A load reads each task, decides by the view's
// filter rule whether it is a row, tallies what the filter menus show, gives the rows the shape of a list, of a tree of
// tasks and sub-tasks, or of groups under headers, and sorts them: visible rows first, then the hidden ones.
//
//     CTasksThread tasks;                       // the constructor reads the view's settings
//     tasks.m_hClientWnd = window;
//     tasks.Start();                            // window: 32802, then 1274 with the count, then 32803
//     for (int i = 1; i <= tasks.GetActiveDataCount(); ++i) Show(tasks.GetList().Get(i));
//
// The object belongs to the thread that made it; the load runs on the worker. The list is the load's from Start to 1274,
// the client's afterwards, who may then change the tree and single rows (AddNewTask with bUpdate, AddTreeNode,
// ExpandTreeNode ...), but not while a load runs. Rows belong to the thread object. Two objects may load at once.
#pragma once

#include "QNWorkerClass/CQNDataThread.h"
#include "QNWorkerClass/CTaskProjects.h"
#include "QNWorkerClass/DATATASKS.h"
#include "QNWorkerClass/taskrules.h"
#include "QNWorkerClass/tasksort.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

// Values of GroupBy.
enum TaskGroupBy : LONG {
    kGroupNone = 0, // a list, or a tree when there are parents
    kGroupCategory = 1,
    kGroupImportance = 2,
    kGroupLetter = 3,
    kGroupProgress = 4,
    kGroupCompletion = 5,
    kGroupDueDate = 6,
    kGroupManager = 7,
    kGroupGtdStatus = 8,
    kGroupTree = 9,
};

inline constexpr LONG kImportanceNone = 3; // of the header of rows without a value

// The argument of the edits of the tree. OIDs of tasks have both top bits set.
struct _HIERSTRUCT {
    DWORD oid;
    DWORD oidParent;
    DWORD bExpanded;
};

struct TaskContext {
    std::u16string name;
    LONG nOpen; // tasks in it that aren't completed
};

class QN_API CTasksThread : public CQNDataThread {
public:
    CTasksThread();
    ~CTasksThread() override;

    // --- What to load ---------------------------------------------------------------------------------------------
    // Both are read afresh by each load, settings not under SetManualSettings.
    void SettingChange();
    void LoadSortPrefs();
    void SetManualSettings(bool bManual) { m_bManualSettings = bManual; }
    void SetFilterRule(LONG rule) { m_nRule = rule; } // until the next SettingChange
    LONG GetFilterRule() const { return m_nRule; }
    LONG GetGroupBy() const { return m_nGroupBy; }
    void SetDateOn(double date) { m_dDateOn = date; } // of the rule by date
    double GetOnDate() const { return m_dDateOn; }
    void SetToday(LONG day) { m_iToday = day; }
    LONG GetToday() const { return m_iToday; }
    DWORD GetProjectFilterOID() const { return m_oidProjectFilter; }
    bool IsTreeExpanded() const { return m_bTreeExpanded; }
    WORD SetPropIds(CEPROPID* ids); // fills in what is read of a record, and gives how many (10)

    // --- Loading --------------------------------------------------------------------------------------------------
    // The load, on the caller's thread. Gives 0; the window is sent 1274 when the list is complete.
    DWORD TasksThreadProc(CeManualEvent* stop);
    DWORD LoadMasterList() { return 0; }
    // Takes up the task of the current record: a new row (nIndex below 0), or one in the place of the row at nIndex.
    // bUpdate: a single task after the load. bAsParent: kept even when no rule shows it, since it has children.
    // *pbShow: whether a rule shows it. Gives 1 for a row that is visible.
    int AddNewTask(CeDbRecord* record, bool* pbShow, int nIndex, bool bUpdate, bool bAsParent);

    // --- The list -------------------------------------------------------------------------------------------------
    CePtrList<DATATASKS*>& GetList() { return m_listTasks; } // first index 1; hidden rows behind the others
    const CePtrList<DATATASKS*>& GetGroups() const { return m_listGroups; } // first index 0
    LONG GetActiveDataCount() override { return m_lActiveDataCount; }
    void
    SortDataList(); // by the settings as they are stored now; nothing while a load runs, which sorts by itself
    void SortPriorityManager();
    void ClearData();

    // What the filter menus show. All but the last three are undone when a row goes.
    struct Counts {
        LONG lActive;    // passed all filters but the one of completed tasks
        LONG lCompleted; // of these
        LONG lOverdue, lDueToday;
        LONG lHigh, lNormal, lLow;
        LONG lTotal;
        LONG lPercent; // begun, not completed
        LONG lUnfiled, lStarred, lStatusOne;
    };
    const Counts& GetCounts() const { return m_counts; }
    LONG GetPercentageCount() const { return m_counts.lPercent; }
    const std::vector<TaskContext>& GetContexts() const { return m_listContexts; }
    CTaskProjects* GetProjects() { return m_pProjects.get(); } // of the last load by project; null before
    LONG GetTreeCount() const { return m_nGroupBy == kGroupTree ? m_lTreeCount : 0; }
    LONG GetDisplayedTreeCount() const { return m_nGroupBy == kGroupTree ? m_lDisplayedTreeCount : 0; }

    void GtdContextFromOID(CEOID oid, CeString& context);
    DWORD GtdStatusFromOID(CEOID oid);

    // --- The tree -------------------------------------------------------------------------------------------------
    // Gives each row its parent; a parent that is no row yet is read from the store, with a buffer for a record.
    void SetChildToParents(CEPROPVAL* buffer, const CEPROPID* propIds, DWORD bufferSize,
                           bool bCheckDuplicate);
    void SetActiveCountFromTree();
    void SetupChildren(DATATASKS* task, WORD& percent); // percent: the mean of the children's
    void HTParentTaskRulesCheck(DATATASKS* task);
    static void UpdateDepth(CePtrList<DATATASKS*>& list, DATATASKS* parent);
    static bool IsDescendant(const DATATASKS* ancestor, const DATATASKS* task);
    // Both under kGroupTree alone; indices of the list, 0 for none.
    void AddTreeNode(const _HIERSTRUCT* node, int childIndex, int parentIndex);
    void RemoveTreeNode(const _HIERSTRUCT* node, int index, bool bMoveChildrenUp);
    // Writes the parent of a task into the store; oidParent 0 keeps the one that is stored.
    void SetTaskHTField(DWORD oid, DWORD oidParent, bool bExpanded, bool bDelete);
    // The rows that it hid less those that it showed.
    LONG ExpandTreeNode(bool bExpand, DATATASKS* task, bool bPersist);
    LONG ExpandAll(bool bExpand); // 0
    void DeleteTaskFromThread(int index);
    void PreTaskUpdateCountChange(const DATATASKS* task); // takes a row out of the counts

    // --- Groups ---------------------------------------------------------------------------------------------------
    // With bRemove the place that the task had under its header, -1 for none; otherwise puts it there (-1: last).
    LONG AddToGroup(DATATASKS* task, bool bRemove, LONG position);
    void ClearGroups();
    bool IsGroupHeaderOpen(const DATATASKS* header) const;
    void SetGroupHeaderOpen(const DATATASKS* header, bool bOpen);

    // --- Orders: see tasksort.h -----------------------------------------------------------------------------------
    static int TasksCompareOID(DATATASKS* const& a, DATATASKS* const& b, CEUSER);
    static int TasksCompareGtdStatus(DATATASKS* const& a, DATATASKS* const& b, CEUSER);
    static int TasksCompareParentOID(DATATASKS* const& a, DATATASKS* const& b, CEUSER);
    static int TasksCompareSubject(DATATASKS* const& a, DATATASKS* const& b, CEUSER user);
    static int TasksCompareCategory(DATATASKS* const& a, DATATASKS* const& b, CEUSER user);
    static int TasksCompareStartDate(DATATASKS* const& a, DATATASKS* const& b, CEUSER user);
    static int TasksCompareDueDate(DATATASKS* const& a, DATATASKS* const& b, CEUSER user);
    static int TasksCompareCompletion(DATATASKS* const& a, DATATASKS* const& b, CEUSER user);
    static int TasksComparePriority(DATATASKS* const& a, DATATASKS* const& b, CEUSER user);
    static int TasksCompareTPM(DATATASKS* const& a, DATATASKS* const& b, CEUSER user);
    static int TasksCompareSecond(DATATASKS* a, DATATASKS* b, CEUSER user);

    HWND m_hClientWnd = nullptr; // is told of a load

protected:
    DWORD ThreadProc() override;
    void PostKill() override;

private:
    using TaskCompare = int (*)(DATATASKS* const&, DATATASKS* const&, CEUSER);
    struct Draft; // a task on its way to a row

    // --- Settings (taskssettings.cpp) -----------------------------------------------------------------------------
    std::u16string RuleKey() const;
    void ReadRootSettings();
    void ReadRuleSettings();
    void ForceRuleSettings();
    void ApplyForcedSettings();
    void RefreshToday();

    // --- The load (tasksthread.cpp) -------------------------------------------------------------------------------
    class RecordBuffer;
    bool Load(CeManualEvent* stop);
    void PrepareLoad();
    bool OpenTasks();
    void FindCycles();
    void FindBookmarks(RecordBuffer& buffer); // of the records that pass the category filter
    bool ReadAll(CeManualEvent* stop, RecordBuffer& buffer);
    void ReadCurrent(RecordBuffer& buffer);

    // --- A record (tasksread.cpp) ---------------------------------------------------------------------------------
    void ReadIdentity(const CeDbRecord& record, Draft& draft);
    bool IsOwnAncestor(DWORD oid);
    void Tally(const Draft& draft);
    void NoteParent(const Draft& draft);
    bool PassesFilters(const CeDbRecord& record, Draft& draft, bool bUpdate);
    bool PassesRule(const Draft& draft, bool shown);
    bool PassesProject(const Draft& draft, DWORD project, bool shown);
    void Reject(const Draft& draft, int nIndex);
    DATATASKS* TakeRow(const Draft& draft, int nIndex, bool bUpdate, LONG& position);
    void FillRow(DATATASKS& row, const CeDbRecord& record, const Draft& draft);
    void CountRow(DATATASKS& row);

    // --- Rows (taskslist.cpp) -------------------------------------------------------------------------------------
    static DATATASKS* NewRow();
    void IndexRows();
    DATATASKS* FindRow(DWORD oid) const; // null when there is none
    int IndexOf(const DATATASKS* row) const;
    void AddRow(DATATASKS* row, int nIndex); // below 0: at the end
    // Out of the list, and freed. While rows are indexed the row only becomes an erased one, until SweepErased.
    void EraseRow(DATATASKS* row);
    void EraseRowsOf(DWORD oid, const DATATASKS* but);
    void SweepErased();
    bool IsErased(const DATATASKS* row) const { return m_erased.contains(row); }
    void DeleteRow(DATATASKS* row);
    void LeaveTree(DATATASKS* row);
    bool IsGrouped() const { return m_nGroupBy >= kGroupCategory && m_nGroupBy <= kGroupGtdStatus; }
    static TaskCompare PrimaryCompare(LONG key);
    TaskCompare GroupCompare() const; // null without groups
    void SortRows();
    void SortHierTasks(CePtrList<DATATASKS*>& list, TaskCompare compare);
    void SortGroupTasks(CePtrList<DATATASKS*>& list, TaskCompare groupCompare, TaskCompare compare);
    void LoadHierTasks(const CePtrList<DATATASKS*>& list);
    void SortFlat(TaskCompare compare);
    void SortShape(TaskCompare compare);
    void DropHeaders();
    void FillSortKeys();

    // --- The tree (taskstree.cpp) ---------------------------------------------------------------------------------
    class ParentWalk;
    void GiveChildrenTo(DATATASKS* row, DATATASKS* parent, bool bForget);
    LONG ShowChildren(bool bExpand, DATATASKS* task);
    void OpenAll();
    void CloseAll();

    // --- Groups (tasksgroups.cpp) ---------------------------------------------------------------------------------
    LONG RemoveFromGroups(const DATATASKS* task);
    void MarkIfEmpty(DATATASKS* header);
    void CreateFixedHeaders();
    void CreateLetterHeaders();
    DATATASKS* NewHeader(const WCHAR* subject);
    DATATASKS* NewHeader(UINT text);
    void CreateGroup(DATATASKS* header);
    void OpenByState(DATATASKS* header);
    bool AddGroupHeader(DATATASKS* header);
    void AddGroupChild(DATATASKS* task, DATATASKS* header, LONG position);
    void AddToImportanceGroup(DATATASKS* task, LONG position);
    void AddToGtdStatusGroup(DATATASKS* task, LONG position);
    void AddToCompletionGroup(DATATASKS* task, LONG position);
    void AddToProgressGroup(DATATASKS* task, LONG position);
    void AddToPriorityGroup(DATATASKS* task, LONG position);
    void AddToDateGroup(DATATASKS* task, LONG position);
    void AddToCategoryGroup(DATATASKS* task, LONG position);
    DATATASKS* CategoryHeader(const std::u16string& category);
    DATATASKS* FindHeader(LONG importance);
    std::u16string StateName(const DATATASKS& header) const;

    CePtrList<DATATASKS*> m_listTasks;  // all rows, headers too
    CePtrList<DATATASKS*> m_listGroups; // the headers, in the order in which they were made; owned
    LONG m_lActiveDataCount = 0;        // visible rows
    Counts m_counts{};
    std::vector<TaskContext> m_listContexts;
    std::unordered_map<std::u16string, std::size_t> m_contextIndex;
    LONG m_lTreeCount = 0; // rows with a parent
    // Rows under a parent, and under headers; with groups 0 until the fixed headers are made.
    LONG m_lDisplayedTreeCount = 0;
    std::unordered_set<DWORD> m_listParentsSeen;
    std::unordered_set<DWORD> m_listExcluded;
    std::vector<CEOID> m_listBookmarks;
    std::unique_ptr<CTaskProjects> m_pProjects;
    LONG m_nLoads = 0; // under way

    // While a load runs, rows are found by their OID, and those that go are swept out at its end.
    std::unordered_multimap<DWORD, DATATASKS*> m_rowsByOid;
    std::unordered_set<const DATATASKS*> m_erased;
    bool m_bIndexed = false;
    std::unordered_set<DWORD> m_cyclic;                // tasks that are ancestors of themselves
    std::vector<std::unique_ptr<DATATASKS>> m_dropped; // rows without a place, until ClearData
    std::unordered_map<std::u16string, DATATASKS*> m_headersByCategory;
    std::unordered_map<double, DATATASKS*> m_headersByDate;

    // Settings.
    LONG m_nRule = kTasksAll;
    LONG m_nGroupBy = kGroupNone;
    LONG m_nDaysFuture = 0;
    LONG m_nFilterPrivacy = -1;
    LONG m_nFilterPriority = 4;
    LONG m_bShowCompleted = 0;
    LONG m_bShowUndated = 1;
    LONG m_bShowOverDue = 1;
    LONG m_bShowExpanded = 0;
    LONG m_bAlwaysShowNamedHeaders = 0;
    LONG m_bShowProjectName = 1;
    LONG m_bFeatureFC = 0;
    LONG m_bFeatureGTD = 1;
    bool m_bGroupHeadings = false;
    bool m_bManualSettings = false;
    bool m_bProjectMode = false;
    bool m_bContextMode = false;
    bool m_bTreeExpanded = false;
    DWORD m_oidProjectFilter = 0;
    std::u16string m_strContextFilter;
    double m_dDateOn = kNoDate;
    LONG m_iToday = 0;
    TaskSortState m_sort;
};
