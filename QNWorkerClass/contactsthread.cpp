// A run of the contact list: the worker, the settings, what is made anew and what is still good.
#include "QNWorkerClass/contactsthread.h"

#include "NorvoTools/registryfunctions.h"
#include "Platform/memory.h"
#include "Platform/windows.h"
#include "QNWorkerClass/calllog.h"
#include "QNWorkerClass/contactsfind.h"
#include "QNWorkerClass/contactsrecord.h"
#include "QNWorkerClass/contactssort.h"
#include "QNWorkerClass/propertyreader.h"
#include "QNWorkerClass/sidestores.h"
#include "QNWorkerClass/viewsettings.h"

#include <optional>

namespace {

constexpr WCHAR kContactKey[] = u"Software\\Norvo\\Quillonary\\CV";
constexpr DWORD kIgnoreCase = 2;
constexpr DWORD kUnknownFirst = 4;

SORTORDERSPECEX ByFileAs(bool bSim) {
    SORTORDERSPECEX order{};
    order.wVersion = 2;
    order.wNumProps = bSim ? 2 : 1;
    order.rgPropID[0] = PIMPR_FILEAS;
    order.rgdwFlags[0] = kIgnoreCase;
    if (bSim) {
        order.rgPropID[1] = PIMPR_SOURCE_FLAGS;
        order.rgdwFlags[1] = kUnknownFirst;
    }
    return order;
}

// What the company style stands for.
LONG CompanyStyle(LONG company) {
    return company == 2 ? kDisplayFileAs : company == 1 ? kDisplayLastFirst : kDisplayFirstLast;
}

} // namespace

CContactsThread::CContactsThread()
    : m_listContacts(1, PTRLIST_KEEP, &CompareFunc), m_listCatCache(1, PTRLIST_DELETE, &CompareCatCacheItem),
      m_listHeaders(0, PTRLIST_DELETE) {
    Override(kContactKey);
    m_hHeap = HeapCreate(0, 0, 0);
    SettingChange();
}

CContactsThread::~CContactsThread() {
    StopAnswering();
    DropCache();
}

// --- Settings -----------------------------------------------------------------------------------------------------

void CContactsThread::SettingChange() {
    LONG format = kDisplayCompanyStyle;
    {
        const ViewSettings view(m_regSettings, m_szSettingsKey);
        m_bShowNamesOnly = view.Number(u"ShowNamesOnly", 0);
        m_bUseTwoPhases = view.Number(u"UseTwoPhases", 1);
        format = view.Number(u"DisplayFormat", kDisplayCompanyStyle);
        m_bShowHasNote = view.Number(u"ShowHasNoteIcons", -1);
        m_bShowSIM = view.Number(u"ShowSIM", 1);
        g_nDisplayFormatCompany = view.Number(u"CV_DisplayFormatCompany", g_nDisplayFormatCompany);
        m_bOpenOnCompare = view.Number(u"OpenOnCompare", 1);
        m_bSearchCompanySubNodes = view.Number(u"bSearchCompanySubNodes", 1);
        m_bSearchFullData = view.Number(u"bSearchFullData", 0);
        const LONG mode = view.Number(u"bHideCategories", 0), none = view.Number(u"m_bIncludeNoCat", 0),
                   all = view.Number(u"CategoryANDOR", 0);
        CCategoryFilterInfo& filter = m_CategoryFilter;
        if (mode != filter.bHideCategories || none != filter.m_bIncludeNoCat || all != filter.CategoryANDOR)
            m_bRefilter = true;
        filter.bHideCategories = mode;
        filter.m_bIncludeNoCat = none;
        filter.CategoryANDOR = all;
    }
    if (m_bShowHasNote == -1) {
        m_bShowHasNote = 0;
        SetToRegistry(HKEY_CURRENT_USER, m_szSettingsKey, u"ShowHasNoteIcons", 0);
    }
    m_bShowPicture = format == kDisplayCompanyStyle;
    if (m_bShowPicture) {
        format = CompanyStyle(g_nDisplayFormatCompany);
        m_bShowNamesOnly = 0;
    }
    m_nFormat = format;
}

void CContactsThread::SetCategoryRestrict(bool bSave) {
    CQNDataThread::SetCategoryRestrict(bSave);
    m_bRefilter = true;
}

// --- The run ------------------------------------------------------------------------------------------------------

DWORD CContactsThread::ThreadProc() {
    if (StopRequested(&m_hStopEvent)) return 0;
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgLoadBegins, 0, 0);
    LoadContacts(&m_hStopEvent);
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgThreadFinished, 0, 0);
    return 0;
}

// A cache that is half read goes; an order that is half made is made again.
void CContactsThread::PostKill() {
    LeaveForKilled();
    m_pCallLog.reset();
    CloseStores();
    if (!m_bCacheLoaded) DropCache();
    m_prepared = {};
    m_lActiveDataCount = m_listContacts.GetCount();
    m_bRunGoing = false;
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgThreadFinished, 0, 0);
}

void CContactsThread::LoadContacts(CeManualEvent* stop) {
    {
        const DataHold hold(*this);
        if (!hold.IsHeld()) return;
        m_bRunGoing = true;
        while (m_bDrawing) Sleep(0);
        const bool finished = Load(stop);
        m_bRunGoing = false;
        if (!finished) return;
    }
    SendCount(1);
}

void CContactsThread::SendCount(WPARAM kind) {
    if (m_hClientWnd) SendMessageW(m_hClientWnd, kMsgListChanged, kind, m_lActiveDataCount);
}

// False when it was stopped: nobody is told then.
bool CContactsThread::Load(CeManualEvent* stop) {
    SetupThreadResources();
    CloseStores();
    GetDatabaseClass();
    SettingChange();
    TakeCompare();
    ClearData();
    bool finished = PrepareCache(stop);
    if (finished) {
        std::optional<ItemScan> scan;
        if (m_nFormat == kDisplayByCategory || !m_bUseTwoPhases) scan.emplace(*this, kOidContact);
        finished = BuildList(stop) && FillContactInfoInOnePhase(stop) && !StopRequested(stop);
    }
    CloseStores();
    m_lActiveDataCount = m_listContacts.GetCount();
    return finished;
}

// What a run before has made is good while format, form of names and settings are the same.
bool CContactsThread::PrepareCache(CeManualEvent* stop) {
    if (!m_bCacheLoaded && !ReadCache(stop)) return false;
    const Prepared wanted{m_nFormat, DATACONTACTS::GroupNameFormat(), m_bShowNamesOnly};
    if (m_prepared != wanted) {
        const bool stale =
            m_prepared.nNameFormat != wanted.nNameFormat || m_prepared.bNamesOnly != wanted.bNamesOnly;
        m_prepared = {};
        if (IsGroupedByKey(m_nFormat) && m_nKeyFormat != m_nFormat && !UpdateCatCacheForGroupBy(stop))
            return false;
        if (stale) {
            for (DATACONTACTS* row : m_listCatCache) {
                row->ClearNameDisplay();
                row->ClearExtraData();
            }
        }
        SortCache();
        m_bRefilter = true;
        m_prepared = wanted;
    }
    if (m_bRefilter.exchange(false)) FilterCatCacheItems();
    // A full search looks at records that are at hand: a first run must not find more than the next.
    m_pDb->Close();
    m_listContacts.SetUser(static_cast<CEUSER>(m_nFormat.load()));
    return true;
}

bool CContactsThread::BuildList(CeManualEvent* stop) {
    switch (m_nFormat) {
    case kDisplayFirstLast:
    case kDisplayLastFirst:
    case kDisplayFileAs:
        return ListContacts(stop);
    case kDisplayByCategory:
        return ListCategories(stop);
    case kDisplayRecent:
        return ListRecent(stop);
    case kDisplayCallLog:
        return ListCalls(stop);
    default:
        return ListGroups(stop);
    }
}

// A store of a device with SIM contacts has no order by the file-as name alone.
bool CContactsThread::OpenContacts() {
    CeDb* db = GetDatabaseClass();
    if (db->IsOpen()) return true;
    if (!db->MountVolumeEDB(kPimVolume, false)) return false;
    m_bSimStore = false;
    for (const bool sim : {false, true}) {
        const SORTORDERSPECEX order = ByFileAs(sim);
        m_bSimStore = sim;
        if (db->OpenEDB(0, kContactsDb, &order, 0, nullptr)) return true;
    }
    return m_bSimStore = false;
}

void CContactsThread::CloseStores() {
    if (m_pDb) m_pDb->Close();
    m_pLineReader.reset();
    m_pSearchReader.reset();
    CloseLinksDB();
    m_bLinksTried = false;
}
