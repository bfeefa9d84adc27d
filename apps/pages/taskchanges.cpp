#include "apps/pages/taskchanges.h"

#include "NorvoTools/registryfunctions.h"
#include "QNWorkerClass/COutlook.h"
#include "QNWorkerClass/tasksubject.h"

#include <cmath>
#include <memory>
#include <utility>

namespace qn {

namespace {

constexpr const WCHAR* kTaskView = u"Software\\Norvo\\Quillonary\\TV";
constexpr const WCHAR* kPercent = u"QN_TaskPercentStatus";
constexpr const WCHAR* kParent = u"QN_ParentOID";
constexpr const WCHAR* kUid = u"QN_ICalendarUID";
constexpr DWORD kComplete = 100;

DWORD PropertyId(const WCHAR* name) { return g_pOutlook ? g_pOutlook->GetPOOM2Property(name, 0, false) : 0; }

// Values without texts and blobs, in the order of their ids; empty when they can't be read.
std::vector<CEPROPVAL> ReadValues(IItem& item, const std::vector<CEPROPID>& ids) {
    CEPROPVAL* block = nullptr;
    ULONG size = 0;
    const auto count = static_cast<WORD>(ids.size());
    if (FAILED(item.GetProps(ids.data(), CEDB_ALLOWREALLOC, count, &block, &size, nullptr))) return {};
    std::vector<CEPROPVAL> values(block, block + count);
    LocalFree(block);
    return values;
}

bool IsThere(const CEPROPVAL& value) { return (value.wFlags & CEDB_PROPNOTFOUND) == 0; }

// What completing and skipping change of a task.
class TaskState {
public:
    explicit TaskState(Com<IItem> item) : m_item(std::move(item)) {
        std::vector<CEPROPID> ids{PIMPR_TASK_START, PIMPR_TASK_DUE, PIMPR_TASK_COMPLETED, PIMPR_REMINDER_SET,
                                  PIMPR_REMINDER_TIME};
        if (const DWORD percent = PropertyId(kPercent)) ids.push_back(percent);
        m_values = ReadValues(*m_item.Get(), ids);
        for (CEPROPVAL& value : m_values) value.wFlags = IsThere(value) ? 0 : CEDB_PROPDELETE;
    }
    HRESULT Restore() const {
        const HRESULT result = m_item->SetProps(0, static_cast<ULONG>(m_values.size()), m_values.data());
        return SUCCEEDED(result) ? m_item->Save() : result;
    }

private:
    Com<IItem> m_item;
    std::vector<CEPROPVAL> m_values;
};

// Of a task that has one: it is whole when the task is done, and begins anew.
void SetPercent(IItem& item, bool done) {
    const DWORD property = PropertyId(kPercent);
    if (property == 0) return;
    std::vector<CEPROPVAL> values = ReadValues(item, {property});
    if (values.empty() || !IsThere(values[0])) return;
    values[0].wFlags = done ? 0 : CEDB_PROPDELETE;
    values[0].val.ulVal = kComplete;
    item.SetProps(0, 1, values.data());
}

// A twin that is done, and is no longer what an imported file speaks of.
HRESULT LeaveTwin(const Com<ITask>& task, std::u16string_view bareSubject, Com<ITask>& twin) {
    HRESULT result = task->Copy(twin.Out());
    if (FAILED(result)) return result;
    if (ReadRegistryWithDefault(kTaskView, u"RegenTaskCompleteStripPriority", 0) != 0)
        twin->put_Subject(Bstr(bareSubject));
    if (const DWORD uid = PropertyId(kUid)) {
        CEPROPVAL value{};
        value.propid = uid;
        value.wFlags = CEDB_PROPDELETE;
        twin.As<IItem>(IID_IItem)->SetProps(0, 1, &value);
    }
    twin->put_Complete(VARIANT_TRUE);
    return twin->Save();
}

// Start and reminder keep their distance to the due date.
HRESULT MoveOn(ITask& task, LONG days) {
    DATE due = kNoDate, start = kNoDate, reminder = kNoDate;
    VARIANT_BOOL reminds = VARIANT_FALSE;
    task.get_DueDate(&due);
    task.get_StartDate(&start);
    task.get_ReminderSet(&reminds);
    task.get_ReminderTime(&reminder);
    const DATE next = Today() + days;
    task.put_DueDate(next);
    if (due != kNoDate && start != kNoDate) task.put_StartDate(start + (next - due));
    if (due != kNoDate && reminds != VARIANT_FALSE && reminder != kNoDate)
        task.put_ReminderTime(reminder + (next - due));
    return task.Save();
}

HRESULT Regenerate(const Com<ITask>& task, const TaskSubject& subject, Com<ITask>& twin) {
    HRESULT result = LeaveTwin(task, subject.text, twin);
    if (FAILED(result)) return result;
    result = MoveOn(*task.Get(), subject.nDays);
    if (FAILED(result)) twin->Delete();
    return result;
}

// --- Parents ------------------------------------------------------------------------------------------------------

// The half beside the number of the parent says whether the task shows its own children.
void SetParent(IItem& item, DWORD property, DWORD parent) {
    std::vector<CEPROPVAL> values = ReadValues(item, {property});
    if (values.empty()) return;
    const double stored = IsThere(values[0]) ? values[0].val.dblVal : 0;
    values[0].wFlags = 0;
    values[0].val.dblVal = parent + (stored - std::floor(stored));
    item.SetProps(0, 1, values.data());
}

void SetParents(const std::vector<DWORD>& children, DWORD parent) {
    const DWORD property = PropertyId(kParent);
    if (property == 0) return;
    const TaskBatch batch;
    for (const DWORD child : children) {
        Com<IItem> item;
        if (SUCCEEDED(g_pOutlook->GetItemFromOidEx(child, item.Out())))
            SetParent(*item.Get(), property, parent);
    }
}

// Lists that a rule or a category narrows don't have all children.
std::vector<DWORD> FindChildren(DWORD parent, DWORD property) {
    std::vector<DWORD> children;
    Com<IFolder> folder;
    Com<IPOutlookItemCollection> tasks;
    int count = 0;
    if (FAILED(g_pOutlook->GetDefaultFolder(olFolderTasks, folder.Out())) ||
        FAILED(folder->get_Items(tasks.Out())) || FAILED(tasks->get_Count(&count)))
        return children;
    for (int i = 1; i <= count; ++i) {
        Com<IDispatch> found;
        if (FAILED(tasks->Item(i, found.Out()))) continue;
        const auto item = found.As<IItem>(IID_IItem);
        const std::vector<CEPROPVAL> values = ReadValues(*item.Get(), {property});
        CEOID oid = 0;
        if (!values.empty() && IsThere(values[0]) && std::floor(values[0].val.dblVal) == parent &&
            SUCCEEDED(item->get_Oid(&oid)))
            children.push_back(oid);
    }
    return children;
}

HRESULT BringBack(IItem& twin, DWORD formerOid, const std::vector<DWORD>& moved) {
    const HRESULT result = twin.Save();
    CEOID oid = 0;
    const DWORD property = PropertyId(kParent);
    if (FAILED(result) || property == 0 || FAILED(twin.get_Oid(&oid))) return result;
    SetParents(moved, oid);
    SetParents(FindChildren(formerOid, property), oid);
    return result;
}

} // namespace

TaskBatch::TaskBatch() : m_open(g_pOutlook && SUCCEEDED(g_pOutlook->BeginBatch())) {}

HRESULT TaskBatch::End() { return std::exchange(m_open, false) ? g_pOutlook->EndBatch(true) : S_OK; }

HRESULT OpenTask(DWORD oid, Com<ITask>& task) {
    Com<IDispatch> found;
    if (!g_pOutlook) return E_FAIL;
    const HRESULT result = g_pOutlook->GetItemFromOid(oid, found.Out());
    if (FAILED(result)) return result;
    task = found.As<ITask>(IID_ITask);
    return task ? S_OK : E_NOTFOUND;
}

HRESULT MarkTask(DWORD oid, bool done, UndoChange& undo) {
    Com<ITask> task, twin;
    Bstr text;
    HRESULT result = OpenTask(oid, task);
    if (SUCCEEDED(result)) result = task->get_Subject(text.Out());
    if (FAILED(result)) return result;
    const auto item = task.As<IItem>(IID_IItem);
    const auto state = std::make_shared<TaskState>(task.As<IItem>(IID_IItem));
    const TaskSubject subject = ParseTaskSubject(text.View());
    const bool comesAgain = done && subject.nDays > 0;
    if (comesAgain) {
        result = Regenerate(task, subject, twin);
    } else {
        task->put_Complete(done ? VARIANT_TRUE : VARIANT_FALSE);
        result = task->Save();
    }
    if (FAILED(result)) return result;
    SetPercent(*item.Get(), done && !comesAgain);
    undo = [state, left = std::make_shared<Com<ITask>>(std::move(twin))] {
        const HRESULT restored = state->Restore();
        return SUCCEEDED(restored) && *left ? (*left)->Delete() : restored;
    };
    return result;
}

HRESULT SkipTask(DWORD oid, UndoChange& undo) {
    Com<ITask> task;
    HRESULT result = OpenTask(oid, task);
    if (FAILED(result)) return result;
    const auto state = std::make_shared<TaskState>(task.As<IItem>(IID_IItem));
    result = task->SkipRecurrence();
    if (SUCCEEDED(result)) undo = [state] { return state->Restore(); };
    return result;
}

HRESULT DeleteTask(DWORD oid, DWORD parent, std::vector<DWORD> children, UndoChange& undo) {
    Com<ITask> task;
    const auto twin = std::make_shared<Com<IItem>>();
    HRESULT result = OpenTask(oid, task);
    if (SUCCEEDED(result)) result = task.As<IItem>(IID_IItem)->Copy(twin->Out());
    if (SUCCEEDED(result)) result = task->Delete();
    if (FAILED(result)) return result;
    SetParents(children, parent);
    undo = [twin, oid, moved = std::move(children)] { return BringBack(*twin->Get(), oid, moved); };
    return result;
}

std::u16string NamedText(const Com<ITask>& task, const WCHAR* name) {
    const CEPROPID property = PropertyId(name);
    const auto item = task.As<IItem>(IID_IItem);
    CEPROPVAL* value = nullptr;
    ULONG size = 0;
    if (property == 0 || FAILED(item->GetProps(&property, CEDB_ALLOWREALLOC, 1, &value, &size, nullptr)))
        return {};
    std::u16string text = IsThere(*value) && value->val.lpwstr ? value->val.lpwstr : u"";
    LocalFree(value);
    return text;
}

} // namespace qn
