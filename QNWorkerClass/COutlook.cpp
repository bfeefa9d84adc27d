#include "QNWorkerClass/COutlook.h"

#include "NorvoTools/CeDb.h"
#include "NorvoTools/CeDbRecord.h"
#include "NorvoTools/CeString.h"
#include "NorvoTools/CRegistry.h"
#include "NorvoTools/errors.h"
#include "NorvoTools/globals.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/registry.h"
#include "Platform/strings.h"
#include "Platform/threads.h"
#include "Platform/windows.h"
#include "QNWorkerClass/sidestores.h"

#include <string>

COutlook* g_pOutlook = nullptr;

namespace {

constexpr HRESULT kNoSession = -1;
constexpr WORD kAutoIdMask = 0xFFFF;

// Save errors with a text of their own.
struct SaveError {
    DWORD code;
    WORD text;
};
constexpr SaveError kSaveErrors[] = {
    {0x80040064, 40442}, {0x80040066, 40433}, {0x80040067, 40434}, {0x80040068, 40435}, {0x80040069, 40440},
    {0x8004006A, 40436}, {0x8004006B, 40437}, {0x8004006C, 40438}, {0x8004006D, 40439},
};
constexpr WORD kTextOtherSaveError = 40443; // the code follows in decimal

void ShowPlainError(const WCHAR* text) { MessageBoxW(nullptr, text, nullptr, kErrorBoxFlags); }

} // namespace

COutlook* GetOutlookObject() { return g_pOutlook; }

COutlook::~COutlook() { Close(); }

void COutlook::Open() {
    if (!m_csOpen.TryLock()) return; // somebody else is logging on
    struct Leave {
        CeCriticalSection& section;
        ~Leave() { section.Leave(); }
    } leave{m_csOpen};
    if (m_bOpening || Current()) return; // a logon may show boxes, and windows that run under them may call
    m_bOpening = true;
    const Session session = LogOn();
    m_bOpening = false;
    PlatUnended unended;
    std::lock_guard guard(m_lockApp);
    m_pApp = session;
}

COutlook::Session COutlook::LogOn() const {
    const HWND owner = IsWindow(m_hOwner) ? m_hOwner : GetForegroundWindow();
    void* app = nullptr;
    if (FAILED(CoCreateInstance(CLSID_Application, nullptr, 0, IID_IPOutlookApp2, &app))) {
        ShowError(u"%s", u"Cannot create the object");
        return nullptr;
    }
    Session session(static_cast<IPOutlookApp2*>(app), [](IPOutlookApp2* made) { made->Release(); });
    // The object stays: a failed logon does not read as no session, later calls give what the platform gives.
    if (FAILED(session->Logon(owner))) ShowError(u"%s", u"Cannot logon to the Pocket Outlook Database.");
    return session;
}

void COutlook::Close() {
    Session session;
    {
        PlatUnended unended;
        std::lock_guard guard(m_lockApp);
        session.swap(m_pApp);
    }
    if (session) session->Logoff();
}

COutlook::Session COutlook::Current() const {
    PlatUnended unended;
    std::lock_guard guard(m_lockApp);
    return m_pApp;
}

COutlook::Session COutlook::EnsureOpen() {
    if (Session session = Current()) return session;
    Open();
    return Current();
}

COutlook::SaveBatch::SaveBatch(COutlook& outlook)
    : m_pApp(outlook.EnsureOpen()), m_bOpen(m_pApp && PlatBeginItemBatch(m_pApp.get()) == S_OK) {}

COutlook::SaveBatch::~SaveBatch() {
    if (m_bOpen) PlatEndItemBatch(m_pApp.get(), true);
}

HRESULT COutlook::GetItemFromOid(CEOID oid, IDispatch** item) {
    const Session session = EnsureOpen();
    return session ? session->GetItemFromOid(static_cast<LONG>(oid), item) : kNoSession;
}

HRESULT COutlook::GetItemFromOidEx(CEOID oid, IItem** item) {
    const Session session = EnsureOpen();
    return session ? session->GetItemFromOidEx(oid, 0, item) : E_FAIL;
}

HRESULT COutlook::CreateItem(LONG type, IDispatch** item) {
    const Session session = EnsureOpen();
    return session ? session->CreateItem(type, item) : kNoSession;
}

// The one place where a dead session is healed: the caller never sees the first failure.
HRESULT COutlook::GetDefaultFolder(LONG folder, IFolder** out) {
    const Session session = EnsureOpen();
    if (!session) return kNoSession;
    if (SUCCEEDED(session->GetDefaultFolder(folder, out))) return 0;
    Close();
    const Session healed = EnsureOpen();
    return healed ? healed->GetDefaultFolder(folder, out) : kNoSession;
}

DWORD COutlook::GetPOOM2Property(const WCHAR* name, WORD type, bool create) {
    const Session session = EnsureOpen();
    if (!session) return 0;
    CEPROPID id = 0;
    const ULONG flags = create ? type | kCreateNamedProperty : 0;
    if (FAILED(session->GetIDsFromNames(1, &name, flags, &id))) return 0;
    return id == kUnknownNamedProperty ? 0 : id;
}

HRESULT COutlook::BeginBatch() {
    const Session session = EnsureOpen();
    return session ? PlatBeginItemBatch(session.get()) : E_FAIL;
}

HRESULT COutlook::EndBatch(bool commit) {
    const Session session = Current();
    return session ? PlatEndItemBatch(session.get(), commit) : E_FAIL;
}

HRESULT COutlook::SubscribeToNotifications(LONG folder, DWORD flags) {
    if (!EnsureOpen()) return E_FAIL;
    IFolder* target = nullptr;
    HRESULT result = GetDefaultFolder(folder, &target);
    if (result != 0) return result;
    void* found = nullptr;
    result = target->QueryInterface(IID_IItem, &found);
    if (auto* item = static_cast<IItem*>(found)) {
        CEPROPVAL mask{};
        mask.propid = PIMPR_FOLDERNOTIFICATIONS;
        mask.val.ulVal = flags;
        result = item->SetProps(0, 1, &mask);
        item->Release();
    }
    target->Release();
    return result;
}

HRESULT COutlook::FindMatchingContact(const WCHAR* text, DWORD flags, IItem** item, DWORD* property) {
    return EnsureOpen() ? ::FindMatchingContact(text, flags, item, property) : E_FAIL;
}

HRESULT COutlook::GetTimeZoneInformationFromIndex(LONG index, TIME_ZONE_INFORMATION* zone) {
    const Session session = EnsureOpen();
    return session ? session->GetTimeZoneInformationFromIndex(index, zone) : E_FAIL;
}

DataType COutlook::GetQNItemType(CEOID oid) {
    switch (oid & kOidKindMask) {
    case kOidTask:
        return kDataTask;
    case kOidContact:
        return kDataContact;
    case kOidAppointment:
        return kDataAppointment;
    default:
        return kDataNone;
    }
}

bool COutlook::DisplayPIMSaveError(HRESULT code) {
    if (code == 0 || code == E_OUTOFMEMORY) return false; // of low memory the platform has told already
    for (const SaveError& error : kSaveErrors) {
        if (static_cast<DWORD>(code) != error.code) continue;
        CShowError(error.text, g_hResources, kErrorBoxFlags);
        return true;
    }
    if (code == E_UNEXPECTED) {
        ShowPlainError(u"Pocket Outlook API: Catastrophic failure.");
    } else if (code == E_INVALIDARG) {
        ShowPlainError(u"Pocket Outlook subsystem returns that data may be corrupted.");
    } else {
        CeString text;
        text.LoadStringW(kTextOtherSaveError, g_hResources);
        text += CeString(static_cast<LONG>(code));
        ShowPlainError(text);
    }
    return true;
}

CEOID COutlook::OpenAndSeekInEDB(CeDb* db, const WCHAR* name, WORD autoId) {
    if (!db || !name || !*name || autoId == 0) return 0;
    if (!db->MountVolumeEDB(kPimVolume, false) || !db->Open(name, PIMPR_NUMBER, 0, nullptr)) return 0;
    CEPROPVAL key{};
    key.propid = PIMPR_NUMBER;
    key.val.ulVal = autoId;
    return db->SeekRec(&key, 1);
}

WORD COutlook::GetAutoIDFromEDBID(const WCHAR* name, CEOID oid) {
    CeDb db;
    if (!name || !db.MountVolumeEDB(kPimVolume, false) || !db.Open(name, 0, 0, nullptr) || !db.SeekTo(oid))
        return 0;
    CeDbRecord record;
    const CEPROPID id = PIMPR_NUMBER;
    DWORD number = 0;
    if (!db.ReadRec(record, 1, &id) || !record.GetIndexVal(0, number)) return 0;
    return static_cast<WORD>(number & kAutoIdMask); // an automatic number counts as a 16-bit quantity here
}

HRESULT NorvoChooseContact(tagCHOOSECONTACT* choice) { return ChooseContact(choice); }

bool IsExchangeSync() {
    constexpr const WCHAR* kPartners = u"Software\\Microsoft\\ActiveSync\\Partners";
    constexpr const WCHAR* kExchangeEngine = u"{22C7DA12-F3FD-4875-8344-7786454F6534}";
    WCHAR partner[kRegistryKeyNameChars];
    for (DWORD i = 0; EnumRegistryKeysSZ(HKEY_CURRENT_USER, kPartners, partner, i) == 0; ++i) {
        WCHAR engine[64] = {};
        const std::u16string key = std::u16string(kPartners) + u"\\" + partner;
        if (GetFromRegistrySZ(HKEY_CURRENT_USER, key.c_str(), u"Engine", engine, 64) == 0 &&
            _wcsicmp(engine, kExchangeEngine) == 0)
            return true;
    }
    return false;
}
