// The order of a search's rows, and their headers.
#include "NorvoTools/StrFunctions.h"
#include "Platform/locale.h"
#include "Platform/strings.h"
#include "QNWorkerClass/DATACALENDAR.h"
#include "QNWorkerClass/searchthread.h"
#include "QNWorkerClass/sortkey.h"
#include "QNWorkerClass/texts.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <unordered_map>

namespace {

constexpr int kSameRow = 4;
constexpr UINT kFirstAgeText = 44750;
// The days from the beginning of the range on; what is later stands under a fourth header.
constexpr std::array<LONG, 3> kAges{7, 30, 90};

template<class T>
int Order(const T& a, const T& b) {
    return a < b ? -1 : b < a ? 1 : 0;
}
int Direction(CEUSER user) { return static_cast<int>(static_cast<std::intptr_t>(user)); }

std::u16string_view View(const WCHAR* text) { return text ? text : u""; }

int CompareKeys(DATAGENERAL& a, DATAGENERAL& b) {
    for (DATAGENERAL* row : {&a, &b})
        if (row->m_textKey.empty()) row->m_textKey = TextSortKey(View(row->m_szText), SORT_STRINGSORT);
    return Order(a.m_textKey.compare(b.m_textKey), 0);
}

// 0 when both are there.
int CompareNull(const DATAGENERAL* a, const DATAGENERAL* b) {
    if (a == b) return kSameRow;
    return !a ? 1 : !b ? -1 : 0;
}

} // namespace

// --- Orders -------------------------------------------------------------------------------------------------------

// By kind, whatever the direction.
int CSearchThread::CompareFuncBasic(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER) {
    if (const int order = CompareNull(a, b)) return order;
    const std::u16string_view first = View(a->m_szImage), second = View(b->m_szImage);
    if (first == second) return 0;
    return CompareStringW(LOCALE_USER_DEFAULT, 0, first.data(), -1, second.data(), -1) - CSTR_EQUAL;
}

int CSearchThread::CompareSubject(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER user) {
    if (const int order = CompareFuncBasic(a, b, user)) return order == kSameRow ? 0 : order;
    if (const int order = CompareKeys(*a, *b)) return order * Direction(user);
    return Order(a->m_oid, b->m_oid);
}

int CSearchThread::CompareCategories(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER user) {
    if (const int order = CompareFuncBasic(a, b, user)) return order == kSameRow ? 0 : order;
    const std::u16string_view first = View(a->m_szCategories), second = View(b->m_szCategories);
    if (first.empty() != second.empty()) return first.empty() ? 1 : -1;
    if (first != second) {
        const int order =
            CompareStringW(LOCALE_USER_DEFAULT, 0, first.data(), -1, second.data(), -1) - CSTR_EQUAL;
        if (order) return order * Direction(user);
    }
    return CompareSubject(a, b, user);
}

int CSearchThread::CompareSensitivity(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER user) {
    if (const int order = CompareFuncBasic(a, b, user)) return order == kSameRow ? 0 : order;
    if (const int order = Order(a->m_lSensitivity, b->m_lSensitivity)) return order * Direction(user);
    return CompareSubject(a, b, user);
}

int CSearchThread::CompareDate(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER user) {
    if (const int order = CompareFuncBasic(a, b, user)) return order == kSameRow ? 0 : order;
    return ComparePureDate(a, b, user);
}

int CSearchThread::ComparePureDate(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER user) {
    if (const int order = CompareNull(a, b)) return order == kSameRow ? 0 : order;
    if (const int order = Order(a->m_dtDate, b->m_dtDate)) return order * Direction(user);
    return CompareSubject(a, b, user);
}

int CSearchThread::CompareJournals(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER user) {
    if (const int order = CompareNull(a, b)) return order == kSameRow ? 0 : order;
    const auto& thread = *reinterpret_cast<const CSearchThread*>(user);
    if (const int order = thread.CompareJournalKey(*a, *b, thread.m_nJournalSort))
        return thread.m_bJournalSortDescending ? -order : order;
    const int order = thread.CompareJournalKey(*a, *b, thread.m_nJournalSort2);
    return thread.m_bJournalSortDescending2 ? -order : order;
}

int CSearchThread::CompareJournalKey(const DATAGENERAL& a, const DATAGENERAL& b, LONG key) const {
    switch (key) {
    case 0:
        if (!a.m_szText || !b.m_szText) return Order(a.m_szText != nullptr, b.m_szText != nullptr);
        return CompareKeys(const_cast<DATAGENERAL&>(a), const_cast<DATAGENERAL&>(b));
    case 1:
        return Order(a.m_dtStart, b.m_dtStart);
    case 2:
        return Order(a.m_dtEnd, b.m_dtEnd);
    default:
        return 0;
    }
}

int CSearchThread::CompareFuncParent(DATAPARENT* const& a, DATAPARENT* const& b, CEUSER) {
    if (a == b) return 0;
    const auto named = [](const DATAPARENT* row) { return row && row->m_szText && row->m_oid; };
    if (!named(a) || !named(b)) return Order(named(a), named(b));
    return CompareKeys(*a, *b);
}

void CSearchThread::SortDataList() {
    const DataHold hold(*this);
    if (hold.IsHeld()) SortAndGroup();
}

void CSearchThread::SortAndGroup() {
    Sort();
    EmptyGroups();
    if (m_query.bGroupByAge == 1)
        SetupEventsParents();
    else if (m_bParents)
        SetupJournalParents();
    else
        m_listGroups.Clear();
}

void CSearchThread::Sort() {
    if (m_query.bJournalSort) LoadJournalSortPrefs();
    const LONG callers = m_nCallerSort;
    const LONG key = callers ? callers : m_nSort;
    const bool descending = callers ? m_bCallerDescending.load() : m_bDescending != 0;
    m_listResults.SetUser(m_query.bJournalSort ? reinterpret_cast<CEUSER>(this)
                                               : static_cast<CEUSER>(descending ? -1 : 1));
    m_listResults.SetCompare(m_query.bJournalSort          ? &CompareJournals
                             : key == kSearchBySensitivity ? &CompareSensitivity
                             : key == kSearchByDate        ? &CompareDate
                             : key == kSearchByCategory    ? &CompareCategories
                             : key == kSearchByPureDate    ? &ComparePureDate
                                                           : &CompareSubject);
    m_listResults.Sort(true);
}

// --- Headers ------------------------------------------------------------------------------------------------------

// The rows are those of the list of results.
void CSearchThread::EmptyGroups() {
    for (DATAPARENT* header : m_listGroups) {
        header->m_listChildren.SetDelete(nullptr);
        header->m_listChildren.Clear();
        header->m_lCount = 0;
    }
}

void CSearchThread::SetupEventsParents() {
    std::array<std::unique_ptr<DATAPARENT>, kAges.size() + 1> headers;
    for (std::size_t i = 0; i < headers.size(); ++i) {
        headers[i] = std::make_unique<DATAPARENT>();
        headers[i]->m_listChildren.SetDelete(nullptr);
        headers[i]->m_szText = AllocLPWSTR(LoadText(kFirstAgeText + static_cast<UINT>(i)).c_str());
        for (const DATAPARENT* old : m_listGroups)
            if (View(old->m_szText) == View(headers[i]->m_szText)) headers[i]->m_bFlag = old->m_bFlag;
    }
    m_listGroups.Clear();
    // With an open range all rows are nearer than a week.
    const LONG from = m_bFrom ? m_range.first : kNoDay;
    for (DATAGENERAL* row : m_listResults) {
        const LONG age = static_cast<LONG>(row->m_dtDate) - from;
        const auto group = std::ranges::upper_bound(kAges, age) - kAges.begin();
        headers[static_cast<std::size_t>(group)]->m_listChildren.Add(row);
    }
    for (auto& header : headers) {
        header->m_lCount = header->m_listChildren.GetCount();
        if (header->m_lCount == 0) continue;
        DATAPARENT* added = header.release();
        added->m_oid = static_cast<DWORD>(m_listGroups.Add(added));
    }
}

// One header for each item; entries of none stand under one of their own.
void CSearchThread::SetupJournalParents() {
    const auto key = [](LONG type, DWORD oid) { return static_cast<ULONGLONG>(type) << 32 | oid; };
    std::unordered_map<ULONGLONG, DATAPARENT*> headers;
    for (DATAPARENT* header : m_listGroups) headers[key(header->m_nType, header->m_oid)] = header;
    for (DATAGENERAL* row : m_listResults) {
        if (row->m_nType != kLineJournal) continue;
        DATAPARENT*& header = headers[key(row->m_nLinkedType, row->m_oidLinked)];
        if (!header) {
            header = new DATAPARENT;
            header->m_listChildren.SetDelete(nullptr);
            header->m_nType = row->m_nLinkedType;
            header->m_oid = row->m_oidLinked;
            header->m_szText =
                AllocLPWSTR(row->m_oidLinked ? row->m_szLinkedTitle : LoadText(kTextNone).c_str());
            m_listGroups.Add(header);
        }
        header->m_listChildren.Add(row);
        ++header->m_lCount;
    }
    for (int i = m_listGroups.GetCount(); i >= 1; --i)
        if (m_listGroups.Get(i)->m_lCount == 0) m_listGroups.RemoveAt(i);
    m_listGroups.Sort(true);
}
