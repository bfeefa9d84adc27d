// Contacts under headers: by company or another key, and by category.
#include "QNWorkerClass/contactsthread.h"

#include "NorvoTools/CStr.h"
#include "Platform/locale.h"
#include "Platform/strings.h"
#include "QNWorkerClass/contactsfind.h"
#include "QNWorkerClass/contactssort.h"
#include "QNWorkerClass/quickfind.h"
#include "QNWorkerClass/texts.h"

#include <algorithm>

namespace {

constexpr DWORD kCategoryFlags = NORM_IGNORECASE | SORT_STRINGSORT; // how names of categories are equal
constexpr int kNoneChars = 26;                                      // with the terminator
constexpr DWORD kNoneGroup = 1; // of contacts without a key or a category, always the first

bool AreEqual(std::u16string_view a, std::u16string_view b, DWORD flags) {
    return CompareStringW(LOCALE_USER_DEFAULT, flags, a.data(), static_cast<int>(a.size()), b.data(),
                          static_cast<int>(b.size())) == CSTR_EQUAL;
}

} // namespace

// --- Headers ------------------------------------------------------------------------------------------------------

DATACONTACTS* CContactsThread::AddHeader(std::u16string_view label) {
    auto* header = new (m_hHeap) DATACONTACTS(m_hHeap);
    if (!header) return nullptr;
    m_listHeaders.Add(header);
    m_listContacts.Add(header);
    header->m_szFileAs = SharedText(label);
    header->m_bGroupHeader = 1;
    header->m_dwGroupId = header->m_dwSortGroupId = static_cast<DWORD>(m_listContacts.GetCount());
    header->m_bOpen = m_openGroups.contains(Capitals(CSTRView(header->m_szFileAs)));
    return header;
}

void CContactsThread::SetGroupHeaderOpen(DATACONTACTS* header, bool bOpen) {
    const CeSectionLock lock(m_csData);
    header->m_bOpen = bOpen;
    if (bOpen)
        m_openGroups.insert(Capitals(CSTRView(header->m_szFileAs)));
    else
        m_openGroups.erase(Capitals(CSTRView(header->m_szFileAs)));
}

bool CContactsThread::OpensOnCompare() const { return m_pCompare && m_bOpenOnCompare; }

void CContactsThread::ShowCount(DATACONTACTS& header) {
    WCHAR count[16];
    wsprintfW(count, u"(%d)", header.m_lCount);
    header.ClearExtraData();
    header.m_szExtraLine = NewText(count);
    header.m_bFilled = 1;
}

// Those without a row go, the others tell how many they have.
void CContactsThread::FinishHeaders() {
    for (int i = m_listContacts.GetLast(); i >= m_listContacts.GetBase(); --i) {
        const DATACONTACTS* row = m_listContacts.Get(i);
        if (row->m_bGroupHeader && row->m_lCount == 0) m_listContacts.RemoveAt(i);
    }
    for (int i = m_listHeaders.GetLast(); i >= m_listHeaders.GetBase(); --i) {
        DATACONTACTS* header = m_listHeaders.Get(i);
        if (header->m_lCount == 0)
            m_listHeaders.RemoveAt(i);
        else
            ShowCount(*header);
    }
    SortRows(false);
}

// --- By key -------------------------------------------------------------------------------------------------------

bool CContactsThread::CheckGroupByField(const DATACONTACTS* header, const DATACONTACTS* row) {
    return header->m_szFileAs == row->m_szGroupKey || // one text for all that have it
           AreEqual(CSTRView(header->m_szFileAs), CSTRView(row->m_szGroupKey), NORM_IGNORECASE);
}

// The cache stands in the order of the keys.
bool CContactsThread::ListGroups(CeManualEvent* stop) {
    DATACONTACTS* none = AddHeader(LoadText(kTextNone, kNoneChars));
    DATACONTACTS* current = none;
    const int length = m_pCompare ? m_pCompare->Length() : 0;
    for (DATACONTACTS* row : m_listCatCache) {
        if (StopRequested(stop)) return false;
        if (!row->m_bPasses || !SearchGroupByFieldNode(length, row)) continue;
        const bool without = CSTRView(row->m_szGroupKey).empty();
        if (!without && (current == none || !CheckGroupByField(current, row)))
            current = AddHeader(row->m_szGroupKey);
        DATACONTACTS* header = without ? none : current;
        if (!header) return true; // no memory
        ++header->m_lCount;
        header->m_bOpen = header->m_bOpen || OpensOnCompare();
        if (header->m_bOpen) PutUnder(header, row);
    }
    FinishHeaders();
    return true;
}

// A row that stands under another header already gets a twin, which goes by its names.
void CContactsThread::PutUnder(DATACONTACTS* header, DATACONTACTS* row) {
    if (row->m_dwGroupId != 0) {
        std::unique_ptr<DATACONTACTS> twin(new (m_hHeap) DATACONTACTS(m_hHeap));
        if (!twin) return;
        twin->m_oid = row->m_oid;
        twin->m_oidRecord = row->m_oidRecord;
        twin->m_szFirstName = row->m_szFirstName; // blocks of the private heap, which no row frees
        twin->m_szLastName = row->m_szLastName;
        twin->m_szGroupKey = row->m_szGroupKey;
        twin->m_szCompany = row->m_szCompany;
        twin->m_szFileAs = row->m_szFileAs;
        row = twin.get();
        m_twins.emplace(row, std::move(twin));
    }
    row->m_dwGroupId = row->m_dwSortGroupId = header->m_dwGroupId;
    m_listContacts.Add(row);
}

// --- By category --------------------------------------------------------------------------------------------------

// Sorted ones: a contact in two whose names are equal stands once below their header.
std::vector<CContactsThread::Category> CContactsThread::OnePerName(std::vector<Category> categories) {
    std::vector<Category> merged;
    for (Category& category : categories) {
        if (merged.empty() || !AreEqual(merged.back().name, category.name, kCategoryFlags)) {
            merged.push_back(std::move(category));
            continue;
        }
        Rows& rows = merged.back().rows;
        rows.insert(rows.end(), category.rows.begin(), category.rows.end());
        std::ranges::sort(rows);
        rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    }
    return merged;
}

// The contacts of each category that the filter lets through, by its name; names that differ in case alone are one.
std::vector<CContactsThread::Category> CContactsThread::NameCategories(std::map<LONG, Rows>& byId) {
    std::vector<Category> categories;
    for (auto& [id, rows] : byId) {
        const CategoryEntry* entry = FindCategory(id);
        if (entry && CategoryFilterHighLevel(entry->szName.c_str(), &m_CategoryFilter))
            categories.push_back({entry->szName, std::move(rows)});
    }
    std::ranges::stable_sort(categories, [](const Category& a, const Category& b) {
        return CompareStringW(LOCALE_USER_DEFAULT, kCategoryFlags, a.name.c_str(), -1, b.name.c_str(), -1) ==
               CSTR_LESS_THAN;
    });
    return OnePerName(std::move(categories));
}

// One walk over the contacts, and one look at what was typed for each.
bool CContactsThread::ListCategories(CeManualEvent* stop) {
    Rows without;
    std::map<LONG, Rows> byId;
    OpenContacts(); // a full search looks at the records then
    for (DATACONTACTS* row : m_listCatCache) {
        if (StopRequested(stop)) return false;
        if (!FindsListed(*row, kDisplayFileAs, true)) continue;
        const std::vector<LONG> ids = CategoriesOf(row->m_oid);
        if (ids.empty()) without.push_back(row);
        for (const LONG id : ids) byId[id].push_back(row);
    }
    if (!m_CategoryFilter.m_bIncludeNoCat && !CategoryFilterHighLevel(u"", &m_CategoryFilter))
        without.clear();
    AddBranch(AddHeader(LoadText(kTextNone, kNoneChars)), without, OpensOnCompare());
    for (const Category& category : NameCategories(byId))
        AddBranch(AddHeader(category.name), category.rows, OpensOnCompare());
    FinishHeaders();
    return true;
}

void CContactsThread::CollectByCategory(const DATACONTACTS& header, Rows& rows) {
    const ItemScan scan(*this, kOidContact);
    CCategoryFilterInfo filter;
    filter.bHideCategories =
        header.m_dwGroupId == kNoneGroup ? kCategoriesOnlyWithout : kCategoriesShowChosen;
    if (header.m_dwGroupId != kNoneGroup) {
        const std::u16string_view label = CSTRView(header.m_szFileAs);
        GetFullCategoryInfo(filter.m_list, false);
        for (int i = filter.m_list.GetLast(); i >= filter.m_list.GetBase(); --i)
            if (!AreEqual(filter.m_list.Get(i)->m_szName, label, kCategoryFlags)) filter.m_list.RemoveAt(i);
        if (filter.m_list.IsEmpty()) return;
    }
    for (DATACONTACTS* row : m_listCatCache)
        if (CategoryFilterEDB(row->m_oid, &filter) && FindsListed(*row, kDisplayFileAs, true))
            rows.push_back(row);
}

// --- Branches -----------------------------------------------------------------------------------------------------

// A key is told from its neighbours by its length too, but neither by accents nor by symbols.
void CContactsThread::CollectByKey(const DATACONTACTS& header, Rows& rows) {
    const std::u16string_view label = CSTRView(header.m_szFileAs);
    const bool none = header.m_dwGroupId == kNoneGroup;
    const int length = m_pCompare ? m_pCompare->Length() : 0;
    bool begun = false;
    for (DATACONTACTS* row : m_listCatCache) {
        const std::u16string_view key = CSTRView(row->m_szGroupKey);
        const bool equal =
            none ? key.empty() : key.size() == label.size() && AreEqual(key, label, kFindFlags);
        if (begun && !equal && !none) break; // they stand side by side
        begun = begun || equal;
        if (equal && row->m_bPasses && SearchGroupByFieldNode(length, row)) rows.push_back(row);
    }
}

// The rows count in any case, and are listed when the header is open or is to be opened.
void CContactsThread::AddBranch(DATACONTACTS* header, const Rows& rows, bool bOpen) {
    if (!header || rows.empty()) return;
    header->m_lCount += static_cast<LONG>(rows.size());
    header->m_bOpen = header->m_bOpen || bOpen;
    if (!header->m_bOpen) return;
    for (DATACONTACTS* row : rows) PutUnder(header, row);
}

LONG CContactsThread::TreeAddList(LONG id, LONG position, bool bBatch) {
    Rows rows;
    {
        const CeSectionLock lock(m_csData);
        DATACONTACTS* header = m_listContacts.Get(position);
        if (!header || !header->m_bGroupHeader || header->m_dwGroupId != static_cast<DWORD>(id)) return 0;
        RemoveBranch(header->m_dwGroupId); // it may be open already
        if (m_nFormat == kDisplayByCategory)
            CollectByCategory(*header, rows);
        else
            CollectByKey(*header, rows);
        header->m_lCount = 0;
        AddBranch(header, rows, !bBatch || m_bOpenOnCompare);
        ShowCount(*header);
        if (!bBatch && !rows.empty()) SortRows(false);
        m_lActiveDataCount = m_listContacts.GetCount();
    }
    if (!bBatch && !rows.empty()) SendCount(kTreeBranchChanged);
    return static_cast<LONG>(rows.size());
}

void CContactsThread::RemoveBranch(DWORD id) {
    for (int i = m_listContacts.GetLast(); i >= m_listContacts.GetBase(); --i) {
        DATACONTACTS* row = m_listContacts.Get(i);
        if (row->m_dwGroupId != id || row->m_bGroupHeader) continue;
        m_listContacts.RemoveAt(i);
        row->m_dwGroupId = row->m_dwSortGroupId = 0;
        m_twins.erase(row);
    }
}

void CContactsThread::TreeDeleteList(LONG id) {
    {
        const CeSectionLock lock(m_csData);
        RemoveBranch(static_cast<DWORD>(id));
        for (DATACONTACTS* header : m_listHeaders)
            if (header->m_dwGroupId == static_cast<DWORD>(id)) header->m_bOpen = 0;
        m_lActiveDataCount = m_listContacts.GetCount();
    }
    SendCount(1);
}
