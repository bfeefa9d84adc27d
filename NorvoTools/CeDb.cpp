#include "NorvoTools/CeDb.h"

#include "NorvoTools/errors.h"
#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/files.h"
#include "Platform/memory.h"
#include "Platform/process.h"
#include "Platform/strings.h"
#include "Platform/threads.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>

namespace {

constexpr DWORD kVolumeFlag = 0x80000000;
constexpr DWORD kNotifyRequestSize = 20; // as the device knows it
constexpr WORD kInfoVersion = 2;

bool IsHandle(HANDLE handle) { return handle && handle != INVALID_HANDLE_VALUE; }

// -1 and -2 both stand for no session.
bool IsSession(HANDLE session) {
    return IsHandle(session) && session != reinterpret_cast<HANDLE>(LONG_PTR{-2});
}

// False when the text doesn't fit: a cut name would be another one.
template<std::size_t N>
bool CopyName(WCHAR (&to)[N], const WCHAR* from) {
    const std::size_t length = wcslen(from);
    if (length >= N) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    std::copy_n(from, length + 1, to);
    return true;
}

} // namespace

CeDb::CeDb() = default;

CeDb::~CeDb() {
    Close();
    UnMountVolume();
}

// --- Volumes --------------------------------------------------------------------------------------------------------

bool CeDb::Mount(const WCHAR* path, bool bEDB, DWORD flags) {
    if (!path) return false;
    if (HasVolume() && lstrcmpW(m_szVolume, path) == 0) return true;
    if (HasVolume()) UnMountVolume();
    m_bEDB = false;
    if (wcslen(path) >= std::size(m_szVolume)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    if (!(bEDB ? CeMountDBVolEx(&m_guid, path, nullptr, flags) : CeMountDBVol(&m_guid, path, flags))) {
        HandleMountError();
        m_guid = {};
        return false;
    }
    CopyName(m_szVolume, path);
    m_bEDB = bEDB;
    return true;
}

bool CeDb::MountVolume(const WCHAR* path) { return Mount(path, false, DBVOL_OPEN_EXISTING); }

bool CeDb::MountVolumeEDB(const WCHAR* path, bool bFlag) {
    return Mount(path, true, DBVOL_OPEN_ALWAYS | (bFlag ? kVolumeFlag : 0));
}

bool CeDb::MountVolume(CeDb* other, const WCHAR* path, bool bEDB) {
    if (other) {
        m_guid = other->m_guid;
        m_bEDB = other->m_bEDB;
        std::copy(std::begin(other->m_szVolume), std::end(other->m_szVolume), m_szVolume);
        m_hSession = other->m_hSession;
        return true;
    }
    return bEDB ? MountVolumeEDB(path, false) : MountVolume(path);
}

bool CeDb::MountNorvoVolume() {
    std::array<WCHAR, kPathValueChars> path = {};
    if (GetFromRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, u"QNVOL", path.data(), kPathValueChars) == 0)
        return MountVolumeEDB(path.data(), false);
    std::u16string chosen = std::u16string(GetNorvoDirectory()) + u"\\Norvo\\Quillonary.vol";
    if (GetFileAttributesW(chosen.c_str()) == INVALID_FILE_ATTRIBUTES) chosen = u"\\Quillonary.vol";
    // Kept, so that the choice is made once: a folder that comes later must not hide the data.
    SetToRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, u"QNVOL", chosen.c_str());
    return MountVolumeEDB(chosen.c_str(), false);
}

bool CeDb::UnMountVolume() {
    if (!HasVolume()) return false;
    const bool done = CeUnmountDBVol(&m_guid) != FALSE;
    m_szVolume[0] = 0;
    m_guid = {};
    return done;
}

bool CeDb::MatchDatabaseGUID(const CEGUID& guid) const { return m_guid == guid; }

void CeDb::HandleMountError() {
    constexpr std::array<DWORD, 6> kExpected = {2, 5, 11, 87, 183, 1323};
    const DWORD error = GetLastError();
    if (std::find(kExpected.begin(), kExpected.end(), error) == kExpected.end())
        CeTrace(u"Mount: An error occured: %d\n", error);
}

// --- Sessions -------------------------------------------------------------------------------------------------------

bool CeDb::CreateSession() {
    CloseSession();
    m_hSession = CeCreateSession(&m_guid);
    return IsSession(m_hSession);
}

void CeDb::CloseSession() {
    if (IsSession(m_hSession)) CloseHandle(m_hSession);
    m_hSession = INVALID_HANDLE_VALUE;
}

bool CeDb::BeginTransaction() {
    if (!IsSession(m_hSession) && !CreateSession()) return false;
    return CeBeginTransaction(m_hSession, 1) != FALSE;
}

bool CeDb::Commit() { return !IsSession(m_hSession) || CeEndTransaction(m_hSession, TRUE); }
bool CeDb::RollBack() { return !IsSession(m_hSession) || CeEndTransaction(m_hSession, FALSE); }

// --- Opening and closing --------------------------------------------------------------------------------------------

bool CeDb::OpenBySort(CEOID oid, const WCHAR* name, CEPROPID sortProp, DWORD flags, HWND hwnd) {
    if (!HasVolume()) MountNorvoVolume();
    SORTORDERSPECEX sort = {};
    sort.wVersion = kInfoVersion;
    sort.wNumProps = 1;
    sort.rgPropID[0] = sortProp;
    const SORTORDERSPECEX* order = sortProp ? &sort : nullptr;
    if (m_bEDB)
        OpenEDB(oid, name, order, flags, hwnd);
    else
        OpenCEDB(oid, name, order, flags, hwnd);
    return IsOpen();
}

bool CeDb::Open(CEOID oid, CEPROPID sortProp, DWORD flags, HWND hwnd) {
    return OpenBySort(oid, nullptr, sortProp, flags, hwnd);
}

bool CeDb::Open(const WCHAR* name, CEPROPID sortProp, DWORD flags, HWND hwnd) {
    return OpenBySort(0, name, sortProp, flags, hwnd);
}

bool CeDb::PrepareOpen(CEOID oid, const WCHAR* name, HWND hwnd, CENOTIFYREQUEST* notify, ULONG_PTR param) {
    Close();
    m_pNotify = notify;
    SetLastError(ERROR_SUCCESS);
    m_oid = oid;
    if (name && !CopyName(m_szName, name)) return false;
    if (hwnd && !notify)
        m_pNotify = new CENOTIFYREQUEST{kNotifyRequestSize, hwnd, CEDB_EXNOTIFICATION, nullptr, param};
    return true;
}

bool CeDb::OpenEDB(CEOID oid, const WCHAR* name, const SORTORDERSPECEX* sort, DWORD flags, HWND hwnd,
                   CENOTIFYREQUEST* notify) {
    if (PrepareOpen(oid, name, hwnd, notify, reinterpret_cast<ULONG_PTR>(this)) &&
        (IsSession(m_hSession) || CreateSession()))
        m_hDb = CeOpenDatabaseInSession(m_hSession, &m_guid, &m_oid, name, sort, flags, m_pNotify);
    if (IsOpen()) {
        SeekBegin(0);
        return true;
    }
    HandleError(u"OpenEDB");
    return false;
}

bool CeDb::OpenCEDB(CEOID oid, const WCHAR* name, const SORTORDERSPECEX* sort, DWORD flags, HWND hwnd,
                    CENOTIFYREQUEST* notify) {
    if (PrepareOpen(oid, name, hwnd, notify, 0))
        m_hDb = CeOpenDatabaseEx2(&m_guid, &m_oid, name, sort, flags, m_pNotify);
    if (IsOpen()) return true;
    HandleError(u"OpenCEDB");
    return false;
}

void CeDb::Close() {
    if (IsOpen()) CloseHandle(m_hDb);
    m_hDb = INVALID_HANDLE_VALUE;
    m_oid = 0;
    delete m_pNotify;
    m_pNotify = nullptr;
    CloseSession();
}

// --- Making, changing, asking ---------------------------------------------------------------------------------------

bool CeDb::Create(const WCHAR* name, DWORD type, WORD count, const SORTORDERSPEC* orders) {
    CEDBASEINFO info = {};
    info.dwFlags = CEDB_VALIDNAME;
    if (!name || !CopyName(info.szDbaseName, name)) return false;
    if (type) info.dwFlags |= CEDB_VALIDTYPE;
    info.dwDbaseType = type;
    if (orders && count > 0) {
        info.dwFlags |= CEDB_VALIDSORTSPEC;
        info.wNumSortOrder = std::min<WORD>(count, CEDB_MAXSORTORDER);
        std::copy_n(orders, info.wNumSortOrder, info.rgSortSpecs);
    }
    SetLastError(ERROR_SUCCESS);
    const CEOID oid = CeCreateDatabaseEx(&m_guid, &info);
    CopyName(m_szName, name);
    HandleError(u"Create_CEDB"); // also on success: the trace tells of every database that is made
    return oid != 0;
}

bool CeDb::Create(const WCHAR* name, DWORD type, WORD count, const SORTORDERSPECEX* orders, WORD propCount,
                  const CEPROPSPEC* props) {
    if (!HasVolume()) MountNorvoVolume();
    CEDBASEINFOEX info = {};
    info.wVersion = kInfoVersion;
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE;
    if (!name || !CopyName(info.szDbaseName, name)) return false;
    info.dwDbaseType = type;
    if (orders && count > 0) {
        info.dwFlags |= CEDB_VALIDSORTSPEC;
        info.wNumSortOrder = std::min<WORD>(count, CEDB_MAXSORTORDER);
        std::copy_n(orders, info.wNumSortOrder, info.rgSortSpecs);
    }
    if (CeCreateDatabaseWithProps(&m_guid, &info, propCount, props)) return true;
    HandleError(u"Create");
    return false;
}

// The database that a change is for: the open one, which is closed for it, or the one that the caller names.
CEOID CeDb::CloseForChange(CEOID oid) {
    if (m_oid) oid = m_oid;
    if (IsOpen()) Close();
    SetLastError(ERROR_SUCCESS);
    return oid;
}

bool CeDb::Delete() {
    if (m_oid == 0) return false;
    const CEOID oid = m_oid;
    Close();
    return CeDeleteDatabaseEx(&m_guid, oid) != FALSE;
}

bool CeDb::SetInfo(CEOID oid, CEDBASEINFOEX* info) {
    if (!info) return false;
    oid = CloseForChange(oid);
    info->wVersion = kInfoVersion;
    return CeSetDatabaseInfoEx2(&m_guid, oid, info) != FALSE;
}

DWORD CeDb::AddDatabaseProps(CEOID oid, WORD count, const CEPROPSPEC* props) {
    oid = CloseForChange(oid);
    CeAddDatabaseProps(&m_guid, oid, count, props);
    return GetLastError();
}

DWORD CeDb::RemoveDatabaseProps(CEOID oid, WORD count, const CEPROPID* props) {
    oid = CloseForChange(oid);
    CeRemoveDatabaseProps(&m_guid, oid, count, props);
    return GetLastError();
}

bool CeDb::GetInfo(CEOID oid, CEOIDINFOEX* info) const {
    if (!info) return false;
    info->wVersion = kInfoVersion;
    return CeOidGetInfoEx2(&m_guid, oid, info) != FALSE;
}

DWORD CeDb::GetNumRecords() const {
    if (!HasVolume()) {
        CEOIDINFO info = {};
        return CeOidGetInfo(m_oid, &info) ? info.infDatabase.wNumRecords : 0;
    }
    CEOIDINFOEX info = {};
    info.wVersion = m_bEDB ? kInfoVersion : 1;
    return CeOidGetInfoEx2(&m_guid, m_oid, &info) ? info.infDatabase.dwNumRecords : 0;
}

BSTR CeDb::GetDatabaseNameFromOID(CEOID oid) const {
    CEOIDINFOEX info = {};
    if (!GetInfo(oid, &info) || info.wObjType != OBJTYPE_RECORD) return nullptr;
    const CEOID database = info.infRecord.oidParent;
    if (!GetInfo(database, &info) || info.wObjType != OBJTYPE_DATABASE) return nullptr;
    return SysAllocString(info.infDatabase.szDbaseName);
}

void CeDb::HandleError(const WCHAR* operation) const {
    struct Known {
        DWORD error;
        const WCHAR* text;
    };
    static constexpr std::array<Known, 9> kKnown = {{
        {5, u"%s DB(%s): ERROR_ACCESS_DENIED\n"},
        {6, u"%s DB(%s): Invalid Database Handle\n"},
        {24, u"%s DB(%s): Indicates that the data that is to be written exceeds the maximum record size\n"},
        {32, u"%s DB(%s): ERROR_SHARING_VIOLATION\n"},
        {52, u"%s DB(%s): ERROR_DUP_NAME\n"},
        {87, u"%s DB(%s): Invalid Parameter\n"},
        {122, u"%s DB(%s): ERROR_INSUFFICIENT_BUFFER\n"},
        {183, u"%s DB(%s): ERROR_ALREADY_EXISTS\n"},
        {1018, u"%s DB(%s): ERROR_KEY_DELETED\n"},
    }};
    const DWORD error = GetLastError();
    // The end of the data is no fault.
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_SEEK || error == ERROR_NOT_FOUND) return;
    if (error == ERROR_DISK_FULL) {
        SHShowOutOfMemory(nullptr, 0);
        return;
    }
    for (const Known& known : kKnown)
        if (known.error == error) return CeTrace(known.text, operation, m_szName);
    CeTrace(u"%s DB(%s): An error occured: %d\n", operation, m_szName, error);
}
