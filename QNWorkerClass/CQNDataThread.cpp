#include "QNWorkerClass/CQNDataThread.h"

#include "NorvoTools/CStr.h"
#include "Platform/databases.h"
#include "Platform/files.h"
#include "Platform/memory.h"
#include "Platform/notetext.h"
#include "Platform/poom.h"
#include "Platform/registry.h"
#include "Platform/strings.h"
#include "Platform/windows.h"
#include "QNWorkerClass/DATATASKS.h"
#include "QNWorkerClass/sidestores.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr DWORD kCategoryBuffer = 256;
constexpr DWORD kNamedReadSize = 2055; // for one value
constexpr DWORD kNamedKeys = 2 * 16;   // the two keys of a value that is read with them
constexpr DWORD kLeastPicture = 101;
constexpr DWORD kNoteHead = 8;
constexpr DWORD kLeastForm = 5; // bytes of a note that may be rich text or ink
constexpr CEPROPID kPropLinkItem = 0x00010003;
constexpr CEPROPID kPropJournalItem = 0x002E0003;
constexpr CEPROPID kPropPlanItem = 0x00010013;
constexpr CEPROPID kPropCompassItem = 0x00030013;

SORTORDERSPECEX TwoKeySort(CEPROPID first, CEPROPID second) {
    SORTORDERSPECEX sort{};
    sort.wVersion = 2;
    sort.wNumProps = 2;
    sort.wKeyFlags = 0x0200;
    sort.rgPropID[0] = first;
    sort.rgPropID[1] = second;
    return sort;
}

CEPROPVAL Key(CEPROPID propid, DWORD value) {
    CEPROPVAL key{};
    key.propid = propid;
    key.val.ulVal = value;
    return key;
}

bool IsListEmpty(const CCategoryFilterInfo* filter) { return !filter || filter->m_list.Count() == 0; }

bool Holds(const std::vector<LONG>& ids, const CFullCategory* category) {
    return std::find(ids.begin(), ids.end(), category->m_lId) != ids.end();
}
bool HoldsAll(const std::vector<LONG>& ids, const CFullCategoryList& list) {
    return std::all_of(list.begin(), list.end(), [&](const CFullCategory* c) { return Holds(ids, c); });
}
bool HoldsAny(const std::vector<LONG>& ids, const CFullCategoryList& list) {
    return std::any_of(list.begin(), list.end(), [&](const CFullCategory* c) { return Holds(ids, c); });
}

} // namespace

CQNDataThread::CQNDataThread() : CeWorkerThread(false, nullptr, 6000), m_pDb(std::make_unique<CeDb>()) {}

// The databases go in this order: the main one, associations, named properties, then links and journal.
CQNDataThread::~CQNDataThread() {
    m_recNamed.DetachBuffer();
    m_recCategory.DetachBuffer();
    m_pDb.reset();
    m_pDbCategoryAssoc.reset();
    m_pDbNamedProps.reset();
    CQNDataThread::CloseLinksDB();
    LocalFree(m_pNamedBuffer);
    LocalFree(m_pCategoryBuffer);
    if (m_hHeap) HeapDestroy(m_hHeap);
}

CeDb* CQNDataThread::GetDatabaseClass() {
    if (!m_pDb) m_pDb = std::make_unique<CeDb>();
    return m_pDb.get();
}

LONG CQNDataThread::GetActiveDataCount() { return 0; }

bool CQNDataThread::StopRequested(CeManualEvent* stop) { return !stop || stop->IsSet(); }

void CQNDataThread::StopAnswering() {
    m_hStopEvent.Set();
    MSG message;
    for (DWORD waited = 0; IsRunning() && waited < m_dwStopTimeout; ++waited) {
        PeekMessageW(&message, nullptr, kMsgListChanged, kMsgListChanged, PM_NOREMOVE);
        Sleep(1);
    }
    Stop(false);
}

void CQNDataThread::Override(const WCHAR* key) {
    const std::size_t length = std::min(wcslen(key), std::size(m_szSettingsKey) - 1);
    std::copy_n(key, length, m_szSettingsKey);
    m_szSettingsKey[length] = 0;
}

void CQNDataThread::SetCategoryRestrict(bool bSave) {
    if (!bSave || m_regSettings.OpenKey(HKEY_CURRENT_USER, m_szSettingsKey) != 0) return;
    m_regSettings.SetValue(u"m_bIncludeNoCat", m_CategoryFilter.m_bIncludeNoCat);
    m_regSettings.SetValue(u"bHideCategories", m_CategoryFilter.bHideCategories);
    m_regSettings.SetValue(u"CategoryANDOR", m_CategoryFilter.CategoryANDOR);
}

// --- The lock of a load -----------------------------------------------------------------------------------------------

CQNDataThread::DataHold::DataHold(CQNDataThread& thread) : m_thread(thread) {
    PlatUnended unended; // held and known to be, or neither
    m_bHeld = thread.m_csData.TryLock();
    if (m_bHeld && GetCurrentThreadId() == thread.GetId()) thread.m_bHoldsData = true;
}

CQNDataThread::DataHold::~DataHold() {
    if (!m_bHeld) return;
    PlatUnended unended;
    m_thread.m_bHoldsData = false;
    m_thread.m_csData.Leave();
}

void CQNDataThread::LeaveForKilled() {
    m_pScanned.reset();
    if (m_bHoldsData.exchange(false)) m_csData.Leave();
}

// --- Bringing up the side databases -----------------------------------------------------------------------------------

void CQNDataThread::SetupThreadResources() {
    CoInitializeEx(nullptr, 0); // each thread for itself
    OpenCategoryAssociations();
    ResolveNamedProperties();
    OpenNamedProperties();
    m_categories = TakeCategorySnapshot();
    if (m_nSizeNoteCheck != -1) {
        LONG check = 0;
        if (m_regSettings.Exists(HKEY_CURRENT_USER, u"Software\\Norvo\\Quillonary"))
            m_regSettings.QueryValue(u"SizeNoteCheck", &check);
        m_nSizeNoteCheck = check;
    }
}

// Each side database has a mount of its own: one that two objects share would be given back twice, and somebody else's
// volume would go with it.
void CQNDataThread::OpenCategoryAssociations() {
    if (m_pDbCategoryAssoc) return;
    if (!m_pCategoryBuffer)
        m_pCategoryBuffer = static_cast<BYTE*>(LocalAlloc(LPTR, CeRecordBufferSize(kCategoryBuffer, 2)));
    auto db = std::make_unique<CeDb>();
    const SORTORDERSPECEX sort = TwoKeySort(kPropAssocItem, kPropAssocCategory);
    if (db->MountVolumeEDB(kPimVolume, false) && db->OpenEDB(0, kCategoryAssocDb, &sort, 0, nullptr))
        m_pDbCategoryAssoc = std::move(db); // without it every category test passes
}

void CQNDataThread::ResolveNamedProperties() {
    struct Named {
        const WCHAR* name;
        WORD type;
        std::atomic<DWORD>& number;
    };
    const Named properties[] = {
        {u"QN_IconName", CEVT_LPWSTR, ms_IconProperty},
        {u"QN_ParentOID", CEVT_R8, ms_ParentProperty},
        {u"QN_Tracked", CEVT_BOOL, ms_TrackedProperty},
        {u"QN_TaskPercentStatus", CEVT_UI4, ms_PercentProperty},
        {u"QN_GTDProject", CEVT_UI4, ms_GtdProjectProperty},
        {u"QN_GTDStarred", CEVT_BOOL, ms_StarredProperty},
        {u"QN_GTDContext", CEVT_LPWSTR, ms_ContextProperty},
        {u"QN_GTDStatus", CEVT_UI2, ms_StatusProperty},
    };
    COutlook* outlook = GetOutlookObject();
    if (!outlook) return;
    for (const Named& property : properties)
        if (property.number.load() == 0)
            property.number.store(outlook->GetPOOM2Property(property.name, property.type, false));
}

void CQNDataThread::OpenNamedProperties() {
    const bool resolved = ms_IconProperty || ms_ParentProperty || ms_TrackedProperty || ms_PercentProperty ||
                          ms_GtdProjectProperty || ms_StarredProperty || ms_ContextProperty ||
                          ms_StatusProperty;
    if (m_pDbNamedProps || !resolved) return;
    auto db = std::make_unique<CeDb>();
    const SORTORDERSPECEX sort = TwoKeySort(kPropNamedItem, kPropNamedNumber);
    if (db->MountVolumeEDB(kPimVolume, false) && db->OpenEDB(0, kNamedPropValsDb, &sort, 0, nullptr)) {
        m_pDbNamedProps = std::move(db);
        if (!m_pNamedBuffer)
            m_pNamedBuffer =
                static_cast<BYTE*>(LocalAlloc(LPTR, CeRecordBufferSize(kNamedReadSize + kNamedKeys, 3)));
        return;
    }
    // The next thread resolves these two again, and tries again.
    ms_IconProperty = 0;
    ms_ParentProperty = 0;
}

std::unique_ptr<CeDb> CQNDataThread::OpenLinkStore(const WCHAR* name, DWORD sortProp) {
    auto db = std::make_unique<CeDb>();
    return db->Open(name, sortProp) ? std::move(db) : nullptr;
}

std::unique_ptr<CeDb> CQNDataThread::OpenPlanningStore(const WCHAR* name, DWORD sortProp) {
    auto db = OpenLinkStore(name, sortProp);
    return db && db->GetNumRecords() != 0 ? std::move(db) : nullptr;
}

int CQNDataThread::InitiateLinksDB() {
    if (m_bLinksOpen) return 0;
    m_pDbLinks = OpenLinkStore(u"QuillonaryLinks", kPropLinkItem);
    m_pDbJournal = OpenLinkStore(u"QuillonaryJournal_2", kPropJournalItem);
    m_bLinksOpen = m_pDbLinks || m_pDbJournal;
    if (m_bGoalsToo) {
        m_pDbMission = OpenPlanningStore(u"QN_MissionStatements", kPropPlanItem);
        m_pDbGoals = OpenPlanningStore(u"QN_Goals", kPropPlanItem);
        m_pDbCompass = OpenPlanningStore(u"QN_Compass", kPropCompassItem);
    }
    return 1;
}

void CQNDataThread::CloseLinksDB() {
    m_pDbLinks.reset();
    m_pDbJournal.reset();
    m_pDbMission.reset();
    m_pDbGoals.reset();
    m_pDbCompass.reset();
    m_bLinksOpen = 0;
}

bool CQNDataThread::SeekKey(CeDb* db, DWORD propid, DWORD value) {
    const CEPROPVAL key = Key(propid, value);
    return db->SeekRec(&key, 1) != 0;
}

bool CQNDataThread::HasLink(CEOID oid) { return m_pDbLinks && SeekKey(m_pDbLinks.get(), kPropLinkItem, oid); }

bool CQNDataThread::HasJournalLink(CEOID oid) {
    return m_pDbJournal && SeekKey(m_pDbJournal.get(), kPropJournalItem, oid);
}

// --- Filters ----------------------------------------------------------------------------------------------------------

bool CQNDataThread::CategoryFilterEDB(CEOID oid, CCategoryFilterInfo* filter) {
    if (!m_pDbCategoryAssoc) return true;
    const bool noList = IsListEmpty(filter);
    const LONG mode = filter ? filter->bHideCategories : kCategoriesShowChosen;
    if (mode == kCategoriesShowChosen && noList) return true;
    const std::vector<LONG> ids = CategoriesOf(oid);
    const bool hasCategory = !ids.empty();
    const auto test = [&] {
        return filter->CategoryANDOR ? HoldsAll(ids, filter->m_list) : HoldsAny(ids, filter->m_list);
    };
    switch (mode) {
    case kCategoriesOnlyWithout:
    case kCategoriesOnlyWithout - 1: // an older form of the same mode
        return !hasCategory;
    case kCategoriesShowChosen:
        return hasCategory ? test() : filter->m_bIncludeNoCat != 0;
    case kCategoriesHideChosen:
        if (!hasCategory) return true;
        return !noList && !test();
    default:
        return true;
    }
}

// An item has few categories, and a filter may have many: one walk costs less than a seek for each of the filter's.
std::vector<LONG> CQNDataThread::CategoriesOf(CEOID oid) {
    std::vector<LONG> ids;
    if (!m_pDbCategoryAssoc || !m_pCategoryBuffer) return ids;
    if (m_pScanned && m_pScanned->bCategories && oid >= m_pScanned->first) {
        const auto item = [](const auto& entry) { return entry.first; };
        auto entry = std::ranges::lower_bound(m_pScanned->categories, oid, {}, item);
        for (; entry != m_pScanned->categories.end() && entry->first == oid; ++entry)
            ids.push_back(entry->second);
        return ids;
    }
    const CEPROPVAL key = Key(kPropAssocItem, oid);
    CEPROPID wanted = kPropAssocCategory;
    for (CEOID found = m_pDbCategoryAssoc->SeekRec(&key, 1); found;
         found = m_pDbCategoryAssoc->SeekNextRec(&key, 1)) {
        LONG& id = ids.emplace_back(0);
        if (m_pDbCategoryAssoc->ReadRec(m_recCategory, m_pCategoryBuffer,
                                        CeRecordBufferSize(kCategoryBuffer, 2), 1, &wanted))
            m_recCategory.GetIndexVal(0, id);
    }
    return ids;
}

bool CQNDataThread::CategoryAndFilterEDB(CEOID oid, CFullCategoryList& list) {
    return HoldsAll(CategoriesOf(oid), list);
}

bool CQNDataThread::CategoryOrFilterEDB(CEOID oid, CFullCategoryList& list) {
    return HoldsAny(CategoriesOf(oid), list);
}

bool CQNDataThread::CheckPrivacy(LONG mode, LONG sensitivity) {
    switch (mode) {
    case 0:
        return sensitivity == 0;
    case 1:
        return sensitivity != 0;
    case 11:
    case 12:
    case 13:
        return sensitivity == mode - 10;
    default:
        return true;
    }
}

bool CQNDataThread::FilterSpecialTask(CEOID oid) {
    const auto holds = [&](const std::unique_ptr<CeDb>& db, CEPROPID key) {
        return db && SeekKey(db.get(), key, oid);
    };
    return !holds(m_pDbMission, kPropPlanItem) && !holds(m_pDbGoals, kPropPlanItem) &&
           !holds(m_pDbCompass, kPropCompassItem);
}

bool CQNDataThread::IsNoteEmpty(CeDb* db, DWORD propid) {
    const HANDLE stream = CeOpenStream(db->m_hDb, propid, STREAM_READ);
    if (stream == INVALID_HANDLE_VALUE) return true;
    DWORD size = 0;
    bool empty = true;
    if (CeStreamSeek(stream, 0, STREAM_SEEK_END, &size)) {
        if (propid == PIMPR_PICTURE)
            empty = size < kLeastPicture;
        else if (m_nSizeNoteCheck != 0)
            empty = size == 0 || size == kEmptyInkNote;
        else
            empty = NoteHeadIsEmpty(stream, size);
    }
    CloseHandle(stream);
    return empty;
}

bool CQNDataThread::NoteHeadIsEmpty(HANDLE stream, DWORD size) {
    DWORD read = 0;
    if (size == 0 || !CeStreamSeek(stream, 0, STREAM_SEEK_SET, nullptr) ||
        !CeStreamRead(stream, m_abNoteHead, kNoteHead, &read) || read == 0)
        return true;
    const auto headIs = [&](const char* text) {
        const std::size_t length = std::strlen(text);
        return read >= length && std::memcmp(m_abNoteHead, text, length) == 0;
    };
    if (size == kEmptyInkNote && headIs("{\\p")) return true;
    if (size >= kLeastForm && headIs("{\\")) return false;
    return m_abNoteHead[0] == 0;
}

// --- Values of an item by its OID -------------------------------------------------------------------------------------

WCHAR* CQNDataThread::NewText(std::u16string_view text) { return AllocHeapText(text, m_hHeap); }

// The category's name by its id, from where the last one was found on: associations come in ascending order.
const CategoryEntry* CQNDataThread::FindCategory(LONG id) {
    if (!m_categories) return nullptr;
    const auto& entries = *m_categories;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::size_t at = (m_nLastCategory + i) % entries.size();
        if (entries[at].lId != id) continue;
        m_nLastCategory = at;
        return &entries[at];
    }
    return nullptr;
}

WCHAR* CQNDataThread::CategoryFromEDB(CEOID oid) {
    m_szCategoryBuffer.clear();
    for (LONG id : CategoriesOf(oid)) {
        const CategoryEntry* category = FindCategory(id);
        if (!category) continue;
        if (!m_szCategoryBuffer.empty()) m_szCategoryBuffer += u", ";
        m_szCategoryBuffer += category->szName;
    }
    return NewText(m_szCategoryBuffer);
}

bool CQNDataThread::ReadNamedProperty(CEOID oid, DWORD property, CEBLOB& value) {
    if (m_pScanned && oid >= m_pScanned->first) return FindNamedValue(oid, property, value);
    if (!m_pDbNamedProps || !m_pNamedBuffer || property == 0) return false;
    const CEPROPVAL keys[2] = {Key(kPropNamedItem, oid), Key(kPropNamedNumber, property)};
    if (!m_pDbNamedProps->SeekRec(keys, 2)) return false;
    const CEPROPID ids[] = {kPropNamedValue};
    if (!m_pDbNamedProps->ReadRec(m_recNamed, m_pNamedBuffer, CeRecordBufferSize(kNamedReadSize, 1), 1, ids))
        return false;
    const CEBLOB* blob = m_recNamed.BlobAt(0);
    if (!blob || !blob->lpb || blob->dwCount == 0) return false;
    value = *blob;
    return true;
}

CQNDataThread::ItemScan::ItemScan(CQNDataThread& thread, CEOID first) : m_thread(thread) {
    auto items = std::make_unique<ScannedItems>();
    items->first = first;
    thread.ScanNamedValues(*items);
    thread.ScanCategories(*items);
    thread.m_pScanned = std::move(items);
}

CQNDataThread::ItemScan::~ItemScan() { m_thread.m_pScanned.reset(); }

// In the order of the store, which is that of the item, then the category.
void CQNDataThread::ScanCategories(ScannedItems& items) {
    if (!m_pDbCategoryAssoc || !m_pCategoryBuffer) return;
    const CEPROPVAL before = Key(kPropAssocItem, items.first - 1);
    const CEPROPID ids[] = {kPropAssocItem, kPropAssocCategory};
    const DWORD size = CeRecordBufferSize(kCategoryBuffer, 2);
    for (CEOID found = m_pDbCategoryAssoc->SeekGreaterRec(&before, 1); found;
         found = m_pDbCategoryAssoc->SeekNext()) {
        CEOID item = 0;
        LONG id = 0;
        if (m_pDbCategoryAssoc->ReadRec(m_recCategory, m_pCategoryBuffer, size, 2, ids) &&
            m_recCategory.GetIndexVal(0, item) && m_recCategory.GetIndexVal(1, id))
            items.categories.emplace_back(item, id);
    }
    items.bCategories = true;
}

void CQNDataThread::ScanNamedValues(ScannedItems& values) {
    if (!m_pDbNamedProps || !m_pNamedBuffer) return;
    const CEPROPVAL before = Key(kPropNamedItem, values.first - 1);
    const CEPROPID ids[] = {kPropNamedItem, kPropNamedNumber, kPropNamedValue};
    const DWORD size = CeRecordBufferSize(kNamedReadSize + kNamedKeys, 3);
    for (CEOID found = m_pDbNamedProps->SeekGreaterRec(&before, 1); found;
         found = m_pDbNamedProps->SeekNext()) {
        if (!m_pDbNamedProps->ReadRec(m_recNamed, m_pNamedBuffer, size, 3, ids)) continue;
        NamedEntry entry{};
        const CEBLOB* blob = m_recNamed.BlobAt(2);
        if (!blob || !blob->lpb || !m_recNamed.GetIndexVal(0, entry.oid) ||
            !m_recNamed.GetIndexVal(1, entry.property))
            continue;
        entry.offset = static_cast<DWORD>(values.bytes.size());
        entry.size = blob->dwCount;
        values.bytes.insert(values.bytes.end(), blob->lpb, blob->lpb + blob->dwCount);
        values.entries.push_back(entry);
    }
}

std::vector<CEOID> CQNDataThread::ItemsWithNamed(DWORD property) const {
    std::vector<CEOID> items;
    if (!m_pScanned || property == 0) return items;
    for (const NamedEntry& entry : m_pScanned->entries)
        if (entry.property == property) items.push_back(entry.oid);
    return items;
}

bool CQNDataThread::FindNamedValue(CEOID oid, DWORD property, CEBLOB& value) {
    if (property == 0) return false;
    const auto key = [](const NamedEntry& entry) { return std::pair(entry.oid, entry.property); };
    const auto found = std::ranges::lower_bound(m_pScanned->entries, std::pair(oid, property), {}, key);
    if (found == m_pScanned->entries.end() || key(*found) != std::pair(oid, property) || found->size == 0)
        return false;
    value = {found->size, m_pScanned->bytes.data() + found->offset};
    return true;
}

ULONGLONG CQNDataThread::NamedScalar(CEOID oid, DWORD property, unsigned width) {
    CEBLOB value{};
    BYTE bytes[8] = {};
    if (!ReadNamedProperty(oid, property, value)) return 0;
    std::memcpy(bytes, value.lpb, std::min<std::size_t>(value.dwCount, width));
    ULONGLONG number = 0;
    for (unsigned i = 0; i < width; ++i) number |= static_cast<ULONGLONG>(bytes[i]) << (8 * i);
    return number;
}

WCHAR* CQNDataThread::IconStrFromEDB(CEOID oid) {
    CEBLOB value{};
    if (!ReadNamedProperty(oid, ms_IconProperty, value)) return nullptr;
    std::u16string text(value.dwCount / sizeof(WCHAR), u'\0');
    std::memcpy(text.data(), value.lpb, text.size() * sizeof(WCHAR));
    return NewText(std::u16string_view(text).substr(0, text.find(u'\0')));
}

DWORD CQNDataThread::TaskPercentFromOID(CEOID oid) {
    return static_cast<DWORD>(NamedScalar(oid, ms_PercentProperty, 4));
}

DWORD CQNDataThread::GtdProjectFromOID(CEOID oid) {
    return static_cast<DWORD>(NamedScalar(oid, ms_GtdProjectProperty, 4));
}

// A completed task is at 100, and one that isn't never.
void CQNDataThread::FillTaskFromStores(DATATASKS& row, CeDb* db) {
    constexpr WORD kComplete = 100;
    row.m_szCategories = CategoryFromEDB(row.m_oid);
    row.m_szIcon = IconStrFromEDB(row.m_oid);
    const auto percent = static_cast<WORD>(TaskPercentFromOID(row.m_oid));
    row.m_wPercent = row.m_bCompleted ? kComplete : percent == kComplete ? WORD{0} : percent;
    row.m_bHasNote = m_bShowHasNote && !IsNoteEmpty(db, PIMPR_NOTE);
    row.m_bHasLink = HasLink(row.m_oid);
    row.m_bHasJournalLink = HasJournalLink(row.m_oid);
}

bool CQNDataThread::GtdStarredFromOID(CEOID oid) { return NamedScalar(oid, ms_StarredProperty, 4) != 0; }

bool CQNDataThread::TrackedFromOID(CEOID oid) { return NamedScalar(oid, ms_TrackedProperty, 4) != 0; }

DWORD CQNDataThread::ParentFromOID(CEOID oid, bool& bFraction) {
    bFraction = false;
    const ULONGLONG bits = NamedScalar(oid, ms_ParentProperty, 8);
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    if (!(value > 0 && value < 4294967296.0)) return 0;
    const auto parent = static_cast<DWORD>(value);
    bFraction = static_cast<double>(parent) != value;
    return parent;
}

std::atomic<DWORD> CQNDataThread::ms_IconProperty{0};
std::atomic<DWORD> CQNDataThread::ms_ParentProperty{0};
std::atomic<DWORD> CQNDataThread::ms_PercentProperty{0};
std::atomic<DWORD> CQNDataThread::ms_TrackedProperty{0};
std::atomic<DWORD> CQNDataThread::ms_GtdProjectProperty{0};
std::atomic<DWORD> CQNDataThread::ms_StarredProperty{0};
std::atomic<DWORD> CQNDataThread::ms_ContextProperty{0};
std::atomic<DWORD> CQNDataThread::ms_StatusProperty{0};
