// What the page of tasks changes in the store, through the object model.
//
// Results are those of the object model; E_NOTFOUND: the task isn't there any more. What undoes a change is set when it
// succeeded, is called at most once, and gives the result of the store.
#pragma once

#include "Platform/poom.h"
#include "apps/qn/support.h"

#include <functional>
#include <vector>

namespace qn {

using UndoChange = std::function<HRESULT()>;

// Changes of many tasks in one transaction; where none can begin, each is saved by itself.
class TaskBatch {
public:
    TaskBatch();
    ~TaskBatch() { End(); }
    TaskBatch(const TaskBatch&) = delete;
    TaskBatch& operator=(const TaskBatch&) = delete;
    HRESULT End(); // the result of the store: with a failure nothing was changed

private:
    bool m_open;
};

HRESULT OpenTask(DWORD oid, Com<ITask>& task);
// Done, or open again. A task with an interval before its subject ("|7: Water the plants") never ends: done, it leaves a
// finished twin behind and is due again so many days from today.
HRESULT MarkTask(DWORD oid, bool done, UndoChange& undo);
// To the next date of its rule; E_FAIL past the last.
HRESULT SkipTask(DWORD oid, UndoChange& undo);
// `children` move to its parent (0: to the top). The undo brings it back, as a new task, above them and above all others
// that were below it.
HRESULT DeleteTask(DWORD oid, DWORD parent, std::vector<DWORD> children, UndoChange& undo);

// A named value of a task, as text; empty without one.
std::u16string NamedText(const Com<ITask>& task, const WCHAR* name);

} // namespace qn
