// The order of task rows: which keys, which direction, and the state of a sort that is under way.
//
// A sort of CTasksThread takes the state of its object. A comparison that is called outside of a sort goes by what the last
// LoadSortPrefs of this thread read, or of the process when this thread has read none.
#pragma once

#include "Platform/types.h"
#include "QNWorkerClass/DATATASKS.h"

// Values of TaskSort and TaskSort2; any other is by start date.
enum TaskSortKey : LONG {
    kSortManager = 0, // of the priority manager; as second key the start date
    kSortSubject = 1,
    kSortDue = 2,
    kSortPriority = 4,
    kSortCompletion = 5,
    kSortPriorityOnly = 6, // without the importance
    kSortCategory = 7,
};

struct TaskSortState {
    LONG nTaskSort = kSortPriority;
    LONG nTaskSort2 = kSortSubject;
    bool bDescending = false;
    bool bDescending2 = false;
    bool bDescendingNow = false;
    bool bInSecondSort = false; // neither the rule of hidden rows nor the second key holds
    LONG nUndated = -1;         // the order of a dated row before an undated one
};

// The state of the object whose sort runs on this thread; null: none runs.
class TaskSortScope {
public:
    explicit TaskSortScope(TaskSortState& state);
    ~TaskSortScope();
    TaskSortScope(const TaskSortScope&) = delete;
    TaskSortScope& operator=(const TaskSortScope&) = delete;

private:
    TaskSortState* m_pFormer;
};

// What comparisons outside of a sort go by from now on, on this thread and on those that have read nothing themselves.
void PublishTaskSort(const TaskSortState& state);
TaskSortState& CurrentTaskSort();

// Fills the keys that are missing in the row: of its subject, and with bCategories of its categories.
void FillTaskSortKeys(DATATASKS& row, bool bCategories);

// The order by one key alone: ascending, hidden rows like any, no second key.
int CompareTasksByKey(const DATATASKS& a, const DATATASKS& b, LONG key);
