#include "QNWorkerClass/tasksort.h"

#include "Platform/locale.h"
#include "Platform/strings.h"
#include "QNWorkerClass/sortkey.h"
#include "QNWorkerClass/tasksthread.h"

#include <mutex>
#include <string_view>

namespace {

using Compare = int (*)(DATATASKS* const&, DATATASKS* const&, CEUSER);

// What the last LoadSortPrefs read.
struct LastSort {
    TaskSortState state;
    ULONGLONG number = 0; // counts those of the process
    bool bOwn = false;    // read by this thread
};

thread_local TaskSortState* t_running = nullptr;
thread_local LastSort t_last;
std::mutex g_lock;
LastSort g_last; // of the process; under g_lock

template<class T>
int Order(T a, T b) {
    return a < b ? -1 : a > b;
}

const WCHAR* Text(const WCHAR* text) { return text ? text : u""; }

// With keys on both sides no language is asked; equal texts need none either.
int CompareTexts(const WCHAR* a, const std::string& aKey, const WCHAR* b, const std::string& bKey) {
    if (!aKey.empty() && !bKey.empty()) {
        const int order = aKey.compare(bKey);
        return Order(order, 0);
    }
    if (wcscmp(Text(a), Text(b)) == 0) return 0;
    return CompareStringW(LOCALE_USER_DEFAULT, 0, Text(a), -1, Text(b), -1) - CSTR_EQUAL;
}

int CompareSubjects(const DATATASKS& a, const DATATASKS& b) {
    return CompareTexts(a.m_szSubject, a.m_keys.subject, b.m_szSubject, b.m_keys.subject);
}

int Directed(int order, const TaskSortState& state) { return state.bDescendingNow ? -order : order; }

// A hidden row stands behind a visible one, but not in a second sort.
int CompareHidden(const DATATASKS& a, const DATATASKS& b, const TaskSortState& state) {
    return state.bInSecondSort ? 0 : Order(a.m_bHidden != 0, b.m_bHidden != 0);
}

// The header of rows without a value stands before everything.
bool IsNoneHeader(const DATATASKS& row) { return row.m_oid == 0 && row.m_nImportance == kImportanceNone; }

LONG WholeDay(double date) { return static_cast<LONG>(date); }

int CompareDates(double a, double b, const TaskSortState& state) {
    const bool undatedA = a == kNoDate, undatedB = b == kNoDate;
    if (undatedA != undatedB) return undatedB ? state.nUndated : Order(0, state.nUndated); // any number
    return Directed(Order(WholeDay(a), WholeDay(b)), state);
}

// A row without a letter stands behind one with a letter, and the other way round when descending.
int CompareLetters(const DATATASKS& a, const DATATASKS& b, const TaskSortState& state) {
    const WCHAR *first = a.m_szPriorityLetter, *second = b.m_szPriorityLetter;
    if (!*first || !*second) return Directed(Order(!*first, !*second), state);
    if (wcscmp(first, second) == 0) return 0;
    return Directed(lstrcmpW(first, second), state);
}

// With numbers it is the opposite: a row without one stands first.
int CompareNumbers(const DATATASKS& a, const DATATASKS& b, const TaskSortState& state) {
    const WCHAR *first = a.m_szPriorityNumber, *second = b.m_szPriorityNumber;
    if (!*first || !*second) return Directed(Order(*first != 0, *second != 0), state);
    return Directed(Order(_wtol(first), _wtol(second)), state);
}

Compare SecondCompare(LONG key) {
    switch (key) {
    case kSortSubject:
        return &CTasksThread::TasksCompareSubject;
    case kSortDue:
        return &CTasksThread::TasksCompareDueDate;
    case kSortPriority:
    case kSortPriorityOnly:
        return &CTasksThread::TasksComparePriority;
    case kSortCompletion:
        return &CTasksThread::TasksCompareCompletion;
    case kSortCategory:
        return &CTasksThread::TasksCompareCategory;
    default:
        return &CTasksThread::TasksCompareStartDate;
    }
}

} // namespace

TaskSortScope::TaskSortScope(TaskSortState& state) : m_pFormer(t_running) { t_running = &state; }
TaskSortScope::~TaskSortScope() { t_running = m_pFormer; }

void PublishTaskSort(const TaskSortState& state) {
    std::lock_guard lock(g_lock);
    g_last.state = state;
    ++g_last.number;
    t_last = g_last;
    t_last.bOwn = true;
}

TaskSortState& CurrentTaskSort() {
    if (t_running) return *t_running;
    if (!t_last.bOwn) {
        std::lock_guard lock(g_lock);
        if (t_last.number != g_last.number) t_last = g_last; // else it stays as the last comparison left it
    }
    return t_last.state;
}

void FillTaskSortKeys(DATATASKS& row, bool bCategories) {
    if (row.m_keys.subject.empty()) row.m_keys.subject = TextSortKey(Text(row.m_szSubject));
    if (bCategories && row.m_keys.categories.empty())
        row.m_keys.categories = TextSortKey(Text(row.m_szCategories));
}

int CompareTasksByKey(const DATATASKS& a, const DATATASKS& b, LONG key) {
    TaskSortState state;
    state.nTaskSort2 = key;
    state.bInSecondSort = true;
    state.nUndated = CurrentTaskSort().nUndated;
    const TaskSortScope scope(state);
    return SecondCompare(key)(const_cast<DATATASKS*>(&a), const_cast<DATATASKS*>(&b), 0);
}

// --- The orders ---------------------------------------------------------------------------------------------------

auto CTasksThread::PrimaryCompare(LONG key) -> TaskCompare {
    return key == kSortManager ? &TasksCompareTPM : SecondCompare(key);
}

int CTasksThread::TasksCompareOID(DATATASKS* const& a, DATATASKS* const& b, CEUSER) {
    return Order(static_cast<LONG>(a->m_oid), static_cast<LONG>(b->m_oid));
}

int CTasksThread::TasksCompareGtdStatus(DATATASKS* const& a, DATATASKS* const& b, CEUSER) {
    return Order(a->m_lGtdStatus, b->m_lGtdStatus);
}

int CTasksThread::TasksCompareParentOID(DATATASKS* const& a, DATATASKS* const& b, CEUSER) {
    return Order(static_cast<LONG>(a->m_oidParent), static_cast<LONG>(b->m_oidParent));
}

int CTasksThread::TasksCompareSubject(DATATASKS* const& a, DATATASKS* const& b, CEUSER user) {
    if (a == b) return 0;
    const TaskSortState& state = CurrentTaskSort();
    if (const int order = CompareHidden(*a, *b, state)) return order;
    if (IsNoneHeader(*a)) return -1;
    if (IsNoneHeader(*b)) return 1;
    if (const int order = Directed(CompareSubjects(*a, *b), state)) return order;
    return TasksCompareSecond(a, b, user);
}

int CTasksThread::TasksCompareCategory(DATATASKS* const& a, DATATASKS* const& b, CEUSER user) {
    if (a == b) return 0;
    const TaskSortState& state = CurrentTaskSort();
    if (const int order = CompareHidden(*a, *b, state)) return order;
    const int order =
        CompareTexts(a->m_szCategories, a->m_keys.categories, b->m_szCategories, b->m_keys.categories);
    return order ? Directed(order, state) : TasksCompareSecond(a, b, user);
}

int CTasksThread::TasksCompareStartDate(DATATASKS* const& a, DATATASKS* const& b, CEUSER user) {
    if (a == b) return 0;
    const TaskSortState& state = CurrentTaskSort();
    if (const int order = CompareHidden(*a, *b, state)) return order;
    if (const int order = CompareDates(a->m_dtStart, b->m_dtStart, state)) return order;
    return TasksCompareSecond(a, b, user);
}

int CTasksThread::TasksCompareDueDate(DATATASKS* const& a, DATATASKS* const& b, CEUSER user) {
    if (a == b) return 0;
    const TaskSortState& state = CurrentTaskSort();
    if (const int order = CompareHidden(*a, *b, state)) return order;
    if (const int order = CompareDates(a->m_dtDue, b->m_dtDue, state)) return order;
    return TasksCompareSecond(a, b, user);
}

// Of two completed rows the one that was completed later stands first, in both directions: it is meant so.
int CTasksThread::TasksCompareCompletion(DATATASKS* const& a, DATATASKS* const& b, CEUSER user) {
    if (a == b) return 0;
    const TaskSortState& state = CurrentTaskSort();
    if (const int order = CompareHidden(*a, *b, state)) return order;
    if (!a->m_bCompleted != !b->m_bCompleted) return Directed(a->m_bCompleted ? 1 : -1, state);
    if (a->m_bCompleted)
        if (const int order = Order(WholeDay(b->m_dtCompleted), WholeDay(a->m_dtCompleted))) return order;
    return TasksCompareSecond(a, b, user);
}

int CTasksThread::TasksComparePriority(DATATASKS* const& a, DATATASKS* const& b, CEUSER user) {
    if (a == b) return 0;
    const TaskSortState& state = CurrentTaskSort();
    if (const int order = CompareHidden(*a, *b, state)) return order;
    const LONG activeKey = state.bInSecondSort ? state.nTaskSort2 : state.nTaskSort;
    if (a->m_oid == 0 || activeKey == kSortPriority)
        if (const int order = Directed(Order(b->m_nImportance, a->m_nImportance), state)) return order;
    if (const int order = CompareLetters(*a, *b, state)) return order;
    if (const int order = CompareNumbers(*a, *b, state)) return order;
    return TasksCompareSecond(a, b, user);
}

// The order of the priority manager has neither direction nor second key.
int CTasksThread::TasksCompareTPM(DATATASKS* const& a, DATATASKS* const& b, CEUSER) {
    if (a == b) return 0;
    if (!a || !b) return -1; // a null first operand stands first, a null second one last
    if (const int order = CompareHidden(*a, *b, CurrentTaskSort())) return order;
    if (const int order = Order(a->m_lManagerOrdinal, b->m_lManagerOrdinal)) return order;
    const TaskSortState ascending;
    if (const int order = CompareNumbers(*a, *b, ascending)) return order;
    return TasksCompareOID(a, b, 0);
}

// Leaves the direction of the first key and no second sort behind, also for a caller outside of a sort.
int CTasksThread::TasksCompareSecond(DATATASKS* a, DATATASKS* b, CEUSER user) {
    TaskSortState& state = CurrentTaskSort();
    if (state.bInSecondSort || state.nTaskSort == state.nTaskSort2) return 0;
    state.bInSecondSort = true;
    state.bDescendingNow = state.bDescending2;
    int order = SecondCompare(state.nTaskSort2)(a, b, user);
    if (order == 0 && state.nTaskSort != kSortSubject && state.nTaskSort2 != kSortSubject)
        order = TasksCompareSubject(a, b, user);
    if (order == 0) order = TasksCompareOID(a, b, user);
    state.bDescendingNow = state.bDescending;
    state.bInSecondSort = false;
    return order;
}
