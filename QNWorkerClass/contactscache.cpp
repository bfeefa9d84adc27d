// The cache of the contact list: a small row for each contact, with its names and the key of its group.
#include "QNWorkerClass/contactsthread.h"

#include "NorvoTools/CStr.h"
#include "NorvoTools/errors.h"
#include "Platform/memory.h"
#include "QNWorkerClass/contactsrecord.h"
#include "QNWorkerClass/contactssort.h"
#include "QNWorkerClass/propertyreader.h"

#include <algorithm>
#include <optional>

namespace {

// The first of the reader's texts from `first` to before `last` that is there.
std::u16string_view FirstText(const PropertyReader& reader, int first, int last) {
    for (int i = first; i < last; ++i)
        if (!reader.Text(i).empty()) return reader.Text(i);
    return {};
}

void ForgetWhatWasShown(DATACONTACTS& row) {
    row.ClearNameDisplay();
    row.ClearExtraData();
    row.DropKeys();
}

} // namespace

// --- Reading ------------------------------------------------------------------------------------------------------

// Names, then the keys of the format's groups, and last the SIM mark where SIM contacts are left out.
PropertyReader CContactsThread::NamesReader() const {
    std::vector<CEPROPID> ids(kContactNameIds.begin(), kContactNameIds.end());
    const auto keys = GroupKeyIds(m_nKeyFormat);
    ids.insert(ids.end(), keys.begin(), keys.end());
    if (m_bSimStore && !m_bShowSIM) ids.push_back(PIMPR_SOURCE_FLAGS);
    return PropertyReader(std::move(ids));
}

bool CContactsThread::IsHiddenSim(const PropertyReader& reader) const {
    return m_bSimStore && !m_bShowSIM && reader.Number(reader.Count() - 1) != 0;
}

// A record that is too large for the buffer is passed over; what fails otherwise ends the walk.
bool CContactsThread::ReadCache(CeManualEvent* stop) {
    DropCache();
    if (!m_hHeap || !OpenContacts()) return true;
    m_nKeyFormat = m_nFormat;
    PropertyReader reader = NamesReader();
    LONG index = 0;
    for (CEOID oid = m_pDb->SeekFirst(); oid; oid = m_pDb->SeekNext(), ++index) {
        if (stop && StopRequested(stop)) {
            DropCache();
            return false;
        }
        if (!reader.Read(*m_pDb)) {
            const DWORD error = GetLastError();
            if (error == ERROR_INSUFFICIENT_BUFFER) continue;
            CeTraceLog(u"LoadCatCache: Found error (%d) in Contacts database at record: %d", error, index);
            break;
        }
        if (IsHiddenSim(reader)) continue;
        DATACONTACTS* row = NewCacheRow(reader, oid);
        if (!row) break;
        m_listCatCache.Add(row);
    }
    const PlatUnended unended; // a run that was terminated has not read everything, and stays here
    m_lTotalNumRecords = m_listCatCache.GetCount();
    m_bCacheLoaded = !m_listCatCache.IsEmpty();
    return true;
}

DATACONTACTS* CContactsThread::NewCacheRow(const PropertyReader& reader, CEOID oidRecord) {
    auto* row = new (m_hHeap) DATACONTACTS(m_hHeap);
    if (row) FillNames(*row, reader, oidRecord);
    return row;
}

void CContactsThread::FillNames(DATACONTACTS& row, const PropertyReader& reader, CEOID oidRecord) {
    const auto own = [&](int index) -> WCHAR* {
        const std::u16string_view text = reader.Text(index);
        return text.empty() ? nullptr : AllocCSTRLen(text.data(), static_cast<int>(text.size()), m_hHeap);
    };
    row.m_oid = (reader.Number(kContactNumber) & ~kOidKindMask) | kOidContact;
    row.m_oidRecord = oidRecord;
    row.m_szFileAs = own(kContactFileAs);
    row.m_szFirstName = own(kContactFirstName);
    row.m_szLastName = own(kContactLastName);
    row.m_szCompany = SharedText(reader.Text(kContactCompany));
    const int keys = static_cast<int>(GroupKeyIds(m_nKeyFormat).size());
    row.m_szGroupKey = m_nKeyFormat == kDisplayByCompany
                           ? row.m_szCompany
                           : SharedText(FirstText(reader, kContactNames, kContactNames + keys));
}

// One block of the heap for all rows with this text; null for an empty one. Blocks of the heap stay until it goes, so keys
// that are read again and again must not be made again.
WCHAR* CContactsThread::SharedText(std::u16string_view text) {
    if (text.empty()) return nullptr;
    const auto found = m_sharedTexts.find(text);
    if (found != m_sharedTexts.end()) return found->second;
    WCHAR* block = AllocCSTRLen(text.data(), static_cast<int>(text.size()), m_hHeap);
    if (block) m_sharedTexts.emplace(std::u16string_view(block, text.size()), block);
    return block;
}

void CContactsThread::LoadCatCache() {
    const CeSectionLock lock(m_csData);
    GetDatabaseClass();
    ReadCache(nullptr);
    m_prepared = {};
    CloseStores();
}

void CContactsThread::ClearCatCache() {
    const CeSectionLock lock(m_csData);
    DropCache();
}

// The heap goes with all of its texts, and a new one comes.
void CContactsThread::DropCache() {
    ClearData();
    m_listCatCache.Clear();
    m_sharedTexts.clear();
    m_bCacheLoaded = false;
    m_lTotalNumRecords = 0;
    m_prepared = {};
    m_nKeyFormat = -1;
    if (m_hHeap) HeapDestroy(m_hHeap);
    m_hHeap = HeapCreate(0, 0, 0);
}

// --- Order and filter ---------------------------------------------------------------------------------------------

// Groups want the rows of one key side by side; all other lists go by the names they show.
LONG CContactsThread::CacheOrder() const {
    const LONG format = m_nFormat;
    return IsByNames(format) || IsGroupedByKey(format) ? format : DATACONTACTS::GroupNameFormat();
}

void CContactsThread::SortCache() {
    const LONG order = CacheOrder();
    const bool joined = std::ranges::any_of(
        m_listCatCache, [order](const DATACONTACTS* row) { return LacksFirstName(*row, order); });
    for (DATACONTACTS* row : m_listCatCache) FillOrderKeys(*row, order, joined);
    m_listCatCache.SetUser(static_cast<CEUSER>(order));
    m_listCatCache.Sort();
}

// In one walk, since a seek for each contact would cost more; the company is in the cache already.
bool CContactsThread::UpdateCatCacheForGroupBy(CeManualEvent* stop) {
    const bool company = m_nFormat == kDisplayByCompany;
    std::unordered_map<CEOID, DATACONTACTS*> rows;
    m_nKeyFormat = -1; // until all have theirs
    for (DATACONTACTS* row : m_listCatCache) {
        row->DropKeys();
        row->m_szGroupKey = company ? row->m_szCompany : nullptr;
        if (!company) rows.emplace(row->m_oidRecord, row);
    }
    if (!company && OpenContacts()) {
        const auto ids = GroupKeyIds(m_nFormat);
        PropertyReader reader({ids.begin(), ids.end()});
        for (CEOID oid = m_pDb->SeekFirst(); oid; oid = m_pDb->SeekNext()) {
            if (StopRequested(stop)) return false;
            const auto row = rows.find(oid);
            if (row != rows.end() && reader.Read(*m_pDb))
                row->second->m_szGroupKey = SharedText(FirstText(reader, 0, reader.Count()));
        }
    }
    const PlatUnended unended; // as above
    m_nKeyFormat = m_nFormat;
    return true;
}

bool CContactsThread::IsFiltered() const {
    return m_CategoryFilter.bHideCategories != kCategoriesShowChosen || !m_CategoryFilter.m_list.IsEmpty();
}

void CContactsThread::FilterCatCacheItems() {
    const bool filtered = IsFiltered();
    std::optional<ItemScan> scan;
    if (filtered) scan.emplace(*this, kOidContact);
    for (DATACONTACTS* row : m_listCatCache)
        row->m_bPasses = !filtered || CategoryFilterEDB(row->m_oid, &m_CategoryFilter);
}

// --- Edits --------------------------------------------------------------------------------------------------------

int CContactsThread::IndexOfRecord(CEOID oidRecord) {
    int index = m_listCatCache.GetBase();
    for (const DATACONTACTS* row : m_listCatCache) {
        if (row->m_oidRecord == oidRecord) return index;
        ++index;
    }
    return m_listCatCache.GetBase() - 1;
}

void CContactsThread::AddCatCacheItem(CEOID oidRecord) {
    const CeSectionLock lock(m_csData);
    if (!m_bCacheLoaded || !OpenContacts()) return;
    PropertyReader reader = NamesReader();
    if (!m_pDb->SeekTo(oidRecord) || !reader.Read(*m_pDb) || IsHiddenSim(reader)) return;
    DATACONTACTS* row = NewCacheRow(reader, oidRecord);
    if (!row) return;
    row->m_bPasses = !IsFiltered() || CategoryFilterEDB(row->m_oid, &m_CategoryFilter);
    m_listCatCache.Add(row);
    ++m_lTotalNumRecords;
}

void CContactsThread::UpdateCatCacheItem(CEOID oidRecord) {
    const CeSectionLock lock(m_csData);
    DATACONTACTS* row = m_listCatCache.Get(IndexOfRecord(oidRecord));
    if (!row || !OpenContacts()) return;
    PropertyReader reader = NamesReader();
    if (!m_pDb->SeekTo(oidRecord) || !reader.Read(*m_pDb)) return;
    ForgetWhatWasShown(*row);
    FillNames(*row, reader, oidRecord);
    row->m_bPasses = !IsFiltered() || CategoryFilterEDB(row->m_oid, &m_CategoryFilter);
}

void CContactsThread::DeleteCatCacheItem(CEOID oidRecord) {
    const CeSectionLock lock(m_csData);
    const int index = IndexOfRecord(oidRecord);
    if (index < m_listCatCache.GetBase()) return;
    m_dropped.emplace_back(m_listCatCache.Detach(index));
    --m_lTotalNumRecords;
    m_bCacheLoaded = !m_listCatCache.IsEmpty();
}

void CContactsThread::FinishUpdatingCatCacheItem() {
    const CeSectionLock lock(m_csData);
    SortCache();
}

int CContactsThread::MatchCacheToDataThread(int cacheIndex) {
    const CeSectionLock lock(m_csData);
    if (!m_bCompare && !IsFiltered()) return cacheIndex;
    const DATACONTACTS* wanted = m_listCatCache.Get(cacheIndex);
    int index = m_listContacts.GetBase();
    for (const DATACONTACTS* row : m_listContacts) {
        if (wanted && row == wanted) return index;
        ++index;
    }
    return -1;
}
