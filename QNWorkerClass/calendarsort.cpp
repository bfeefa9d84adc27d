// The orders of the day list. The first test that tells two lines apart decides.
#include "QNWorkerClass/calendarthread.h"
#include "QNWorkerClass/tasksort.h"

#include "Platform/locale.h"
#include "Platform/memory.h"

#include <cstring>

namespace {

template<class T>
int Order(T a, T b) {
    return a < b ? -1 : a > b;
}

// Equal texts are common (the copies of one item, its occurrences at one time) and need no words of a language.
bool IsSameText(BSTR a, BSTR b) {
    UINT length = SysStringLen(a);
    return length == SysStringLen(b) && (length == 0 || std::memcmp(a, b, length * sizeof(WCHAR)) == 0);
}

int CompareTexts(BSTR a, BSTR b, DWORD flags) {
    if (IsSameText(a, b)) return 0;
    return CompareStringW(LOCALE_USER_DEFAULT, flags, a ? a : u"", -1, b ? b : u"", -1) - CSTR_EQUAL;
}

// Lines that sort behind all others: 0 when neither of the two is one, and for two of them. `decided` says the last.
int CompareSortLast(const DATACALENDAR& a, const DATACALENDAR& b, bool& decided) {
    decided = a.m_bSortLast || b.m_bSortLast;
    if (!decided || (a.m_bSortLast && b.m_bSortLast)) return 0;
    return a.m_bSortLast ? 1 : -1;
}

int CompareHeaders(const DATACALENDAR& a, const DATACALENDAR& b) {
    return Order(!a.IsHeader(), !b.IsHeader());
}

// The day of the year as a number, whatever the year.
LONG MonthAndDay(const DATACALENDAR& line) {
    CivilDate date = CivilOf(line.m_lDay);
    return date.day + 100 * date.month;
}

int CompareSameKind(const DATACALENDAR& a, const DATACALENDAR& b) {
    if (int order = Order(!a.m_bAllDay, !b.m_bAllDay)) return order;
    if (int order = Order(a.m_dtStart, b.m_dtStart)) return order;
    if (int order = CompareTexts(a.m_bstrSubject, b.m_bstrSubject, 0)) return order;
    return Order(a.m_oid, b.m_oid);
}

} // namespace

int CCalendarThread::CompareFunc(DATACALENDAR* const& first, DATACALENDAR* const& second, CEUSER user) {
    if (first == second) return 0;
    if (!second) return -1;
    const DATACALENDAR& a = *first;
    const DATACALENDAR& b = *second;
    const auto& thread = *reinterpret_cast<const CCalendarThread*>(user);
    bool decided;
    int order = CompareSortLast(a, b, decided);
    if (decided) return order;
    if (a.m_lDay != b.m_lDay)
        return thread.m_bJournalOrder ? Order(b.m_lDay, a.m_lDay) : Order(a.m_lDay, b.m_lDay);
    if ((order = CompareHeaders(a, b)) != 0) return order;
    if (a.m_pTask && b.m_pTask) return thread.CompareTasks(a, b);
    if (a.m_nType == kLineJournal && b.m_nType == kLineJournal) {
        if ((order = Order(a.m_dtStart, b.m_dtStart)) != 0) return order;
        if (thread.m_bJournalOrder && (order = thread.CompareJournals(a, b)) != 0) return order;
    }
    if (a.m_nType == b.m_nType) return CompareSameKind(a, b);
    if (thread.m_bShowTaskOnTop) {
        if (a.m_nType == kLineTask && b.m_nType == kLineAppointment) return -1;
        if (a.m_nType == kLineAppointment && b.m_nType == kLineTask) return 1;
    }
    return Order(a.m_nType, b.m_nType);
}

int CCalendarThread::CompareFuncBirthday(DATACALENDAR* const& first, DATACALENDAR* const& second, CEUSER) {
    if (first == second) return 0;
    if (!second) return -1;
    const DATACALENDAR& a = *first;
    const DATACALENDAR& b = *second;
    bool decided;
    int order = CompareSortLast(a, b, decided);
    if (decided) return order;
    if ((order = Order(MonthAndDay(a), MonthAndDay(b))) != 0) return order;
    if ((order = CompareHeaders(a, b)) != 0) return order;
    if ((order = CompareTexts(a.m_bstrSubject, b.m_bstrSubject, 0)) != 0) return order;
    return Order(a.m_oid, b.m_oid);
}

int CCalendarThread::CompareFuncDate(DATACALENDAR* const& a, DATACALENDAR* const& b, CEUSER) {
    return Order(a->m_dtStart, b->m_dtStart);
}

// --- Tasks and journal entries by their own keys ------------------------------------------------------------------

int CCalendarThread::CompareTasks(const DATACALENDAR& a, const DATACALENDAR& b) const {
    if (int order = CompareTasksByKey(*a.m_pTask, *b.m_pTask, m_nTaskSort))
        return m_bTaskSortDescending ? -order : order;
    if (int order = CompareTasksByKey(*a.m_pTask, *b.m_pTask, m_nTaskSort2))
        return m_bTaskSortDescending2 ? -order : order;
    return Order(a.m_oid, b.m_oid);
}

int CCalendarThread::CompareJournals(const DATACALENDAR& a, const DATACALENDAR& b) const {
    if (int order = CompareJournalsPrv(a, b, m_nJournalSort))
        return m_bJournalSortDescending ? -order : order;
    int order = CompareJournalsPrv(a, b, m_nJournalSort2);
    return m_bJournalSortDescending2 ? -order : order;
}

int CCalendarThread::CompareJournalsPrv(const DATACALENDAR& a, const DATACALENDAR& b, LONG key) {
    if (key == 0) {
        if (!a.m_bstrSubject || !b.m_bstrSubject)
            return Order(a.m_bstrSubject != nullptr, b.m_bstrSubject != nullptr);
        return CompareTexts(a.m_bstrSubject, b.m_bstrSubject, SORT_STRINGSORT);
    }
    if (key == 1) return Order(a.m_dtJournalCreated, b.m_dtJournalCreated);
    return key == 2 ? Order(a.m_dtJournalModified, b.m_dtJournalModified) : 0;
}

// --- Sorting ------------------------------------------------------------------------------------------------------

void CCalendarThread::SetCompareByFilter() {
    bool byDayOfYear = m_nFilter == kFilterBirthdays || m_nFilter == kFilterAnniversaries;
    m_listData.SetCompare(byDayOfYear ? &CompareFuncBirthday : &CompareFunc);
}

void CCalendarThread::SortDataList(bool bAscending) {
    if (!m_csData.TryLock()) return;
    SettingChange();
    SetCompareByFilter();
    SortDataListWithSettings(bAscending);
    m_csData.Leave();
}

void CCalendarThread::SortDataListWithSettings(bool bAscending) {
    LoadSortPrefs();
    m_listData.Sort(bAscending);
}
