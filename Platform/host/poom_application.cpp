// The application object: logon, items by OID, names, batches.
#include "Platform/host/poom_host.h"

#include "Platform/citydb.h"
#include "Platform/host/faults.h"
#include "Platform/modules.h"
#include "Platform/threads.h"

#include <algorithm>
#include <iterator>

namespace plat::poom {

namespace {

constexpr DefaultValue kAppointmentAlways[] = {
    {PIMPR_ALLDAY, 0},      {PIMPR_REMINDER_SET, 0},    {PIMPR_RECURRING, 0},
    {PIMPR_SENSITIVITY, 0}, {PIMPR_BUSYSTATUS, olBusy}, {PIMPR_MEETINGSTATUS, 0},
};
constexpr DefaultValue kTaskAlways[] = {
    {PIMPR_SENSITIVITY, 0},
    {PIMPR_REMINDER_SET, 0},
    {PIMPR_RECURRING, 0},
    {PIMPR_IMPORTANCE, olImportanceNormal},
};

constexpr ItemKind kKinds[] = {
    {olAppointmentItem, olFolderCalendar, kOidAppointment, Side::Appointments, kAppointmentAlways},
    {olContactItem, olFolderContacts, kOidContact, Side::Contacts, {}},
    {olTaskItem, olFolderTasks, kOidTask, Side::Tasks, kTaskAlways},
};

template<class M>
const ItemKind* FindKind(M ItemKind::*member, M value) {
    const auto at = std::ranges::find(kKinds, value, member);
    return at == std::end(kKinds) ? nullptr : &*at;
}

HRESULT MakeApplication(void** object) {
    auto* app = new (std::nothrow) PoomApplication;
    if (!app) return E_OUTOFMEMORY;
    *object = static_cast<IPOutlookApp2*>(app);
    return S_OK;
}

void RegisterApplication() {
    PlatRegisterClassObject(CLSID_Application, IID_IPOutlookApp2, &MakeApplication);
}

const struct Registration {
    Registration() {
        RegisterApplication();
        AtReset(&RegisterApplication); // after a test that put another in its place
    }
} g_registration;

} // namespace

const ItemKind* KindOf(int kind) { return FindKind(&ItemKind::kind, kind); }
const ItemKind* KindOfFolder(int folder) { return FindKind(&ItemKind::folder, folder); }
const ItemKind* KindOfOid(CEOID oid) { return FindKind(&ItemKind::bits, oid & kOidKindMask); }

HRESULT PoomApplication::Logon(HWND) {
    return Call([this] { return m_store.Open(); });
}

HRESULT PoomApplication::Logoff() {
    return Call([this] {
        m_indexes.clear();
        m_store.Close();
        return S_OK;
    });
}

HRESULT PoomApplication::GetDefaultFolder(int folder, IFolder** out) {
    return Give(out, [&]() -> HRESULT {
        const ItemKind* kind = KindOfFolder(folder);
        if (!kind && folder != olFolderInfrared) return E_INVALIDARG;
        // A dead session shows here, where the caller can still open another.
        if (kind && m_store.Get(kind->side) == INVALID_HANDLE_VALUE) return LastFailure();
        return MakeFolder(*this, folder, out);
    });
}

HRESULT PoomApplication::CreateItem(int kind, IDispatch** item) {
    return Give(item, [&]() -> HRESULT {
        const ItemKind* found = KindOf(kind);
        if (!found) return E_INVALIDARG;
        Ref<PoomItem> made = MakeItem(*found);
        made->InitNew();
        *item = made.Give()->AsDispatch();
        return S_OK;
    });
}

HRESULT PoomApplication::GetItemFromOid(LONG oid, IDispatch** item) {
    return Give(item, [&]() -> HRESULT {
        Ref<PoomItem> found;
        if (HRESULT hr = OpenItem(static_cast<CEOID>(oid), found); FAILED(hr)) return hr;
        *item = found.Give()->AsDispatch();
        return S_OK;
    });
}

HRESULT PoomApplication::GetItemFromOidEx(CEOID oid, DWORD, IItem** item) {
    return Give(item, [&]() -> HRESULT {
        Ref<PoomItem> found;
        if (HRESULT hr = OpenItem(oid, found); FAILED(hr)) return hr;
        *item = found.Give();
        return S_OK;
    });
}

HRESULT PoomApplication::GetIDsFromNames(ULONG count, const WCHAR* const* names, ULONG flags, CEPROPID* ids) {
    if (count && (!names || !ids)) return E_POINTER;
    return Call([&] {
        if (HRESULT hr = m_store.Open(); FAILED(hr)) return hr;
        for (ULONG i = 0; i < count; ++i)
            if (HRESULT hr = IdFromName(m_store, ViewOf(names[i]), flags, &ids[i]); FAILED(hr)) return hr;
        return S_OK;
    });
}

namespace {

template<class T>
T Entry(HMODULE module, const WCHAR* name) {
    return reinterpret_cast<T>(GetProcAddressW(module, name));
}

// The nth zone of the city database, if the device has one.
HRESULT CityZone(int index, TIME_ZONE_INFORMATION* zone) {
    const HMODULE module = LoadLibraryW(u"citydb.dll");
    if (!module) return E_INVALIDARG;
    const auto init = Entry<InitCityDbProc>(module, u"InitCityDb");
    const auto uninit = Entry<UninitCityDbProc>(module, u"UninitCityDb");
    const auto load = Entry<ClockLoadAllTimeZoneDataProc>(module, u"ClockLoadAllTimeZoneData");
    const auto drop = Entry<ClockFreeAllTimeZoneDataProc>(module, u"ClockFreeAllTimeZoneData");
    const auto byOffset = Entry<ClockGetTimeZoneDataByOffsetProc>(module, u"ClockGetTimeZoneDataByOffset");
    const auto rules = Entry<ClockGetTimeZoneDataProc>(module, u"ClockGetTimeZoneData");
    HRESULT result = E_INVALIDARG;
    if (init && uninit && load && drop && byOffset && rules && init()) {
        if (load()) {
            CITYTIMEZONE city{};
            if (byOffset(index, &city) && rules(city.dwValue, zone)) result = S_OK;
            drop();
        }
        uninit();
    }
    FreeLibrary(module);
    return result;
}

} // namespace

HRESULT PoomApplication::GetTimeZoneInformationFromIndex(int index, TIME_ZONE_INFORMATION* zone) {
    if (!zone) return E_POINTER;
    if (index < 0) return E_INVALIDARG;
    return Call([&]() -> HRESULT {
        if (index > 0) return CityZone(index - 1, zone);
        *zone = DeviceZone();
        return S_OK;
    });
}

HRESULT PoomApplication::get_OutlookCompatible(VARIANT_BOOL* compatible) {
    return Tell(compatible, [this] { return m_outlookCompatible; });
}

HRESULT PoomApplication::put_OutlookCompatible(VARIANT_BOOL compatible) {
    return Call([&] {
        m_outlookCompatible = compatible == VARIANT_FALSE ? VARIANT_FALSE : VARIANT_TRUE;
        return S_OK;
    });
}

// --- Items ----------------------------------------------------------------------------------------------------------

Ref<PoomItem> PoomApplication::MakeItem(const ItemKind& kind) {
    switch (kind.kind) {
    case olAppointmentItem:
        return MakeAppointment(*this, kind);
    case olTaskItem:
        return MakeTask(*this, kind);
    default:
        return MakeContact(*this, kind);
    }
}

HRESULT PoomApplication::OpenItem(CEOID oid, Ref<PoomItem>& item) {
    const ItemKind* kind = KindOfOid(oid);
    if (!kind) return E_NOTFOUND;
    if (m_store.Get(kind->side) == INVALID_HANDLE_VALUE) return LastFailure();
    const CEPROPVAL keys[] = {KeyOf(PIMPR_NUMBER, oid & ~kOidKindMask)};
    if (!m_store.Seek(kind->side, keys))
        return GetLastError() == ERROR_NOT_FOUND ? E_NOTFOUND : LastFailure();
    return ItemAtCursor(*kind, item);
}

HRESULT PoomApplication::ItemAtCursor(const ItemKind& kind, Ref<PoomItem>& item) {
    PropBag values;
    const CEOID record = m_store.Read(kind.side, values);
    if (!record) return LastFailure();
    item = MakeItem(kind);
    item->Adopt(record, std::move(values));
    return S_OK;
}

DWORD PoomApplication::NotificationMask(int folder) const {
    const auto at = m_notificationMasks.find(folder);
    return at == m_notificationMasks.end() ? 0 : at->second;
}

void PoomApplication::SetNotificationMask(int folder, DWORD mask) { m_notificationMasks[folder] = mask; }

// --- Batches --------------------------------------------------------------------------------------------------------

HRESULT PoomApplication::BeginBatch() {
    return Call([this] {
        m_indexes.clear();
        return m_store.BeginBatch();
    });
}

HRESULT PoomApplication::EndBatch(bool commit) {
    return Call([&] {
        m_indexes.clear();
        return m_store.EndBatch(commit);
    });
}

PoomApplication::TextIndex& PoomApplication::IndexOf(CEPROPID id) {
    const auto entry = m_indexes.try_emplace(id);
    TextIndex& index = entry.first->second;
    if (entry.second)
        WalkNamedText(m_store, id, [&](CEOID oid, std::u16string_view text) {
            index.Put(oid, text);
            return true;
        });
    return index;
}

HRESULT PoomApplication::FindByNamedText(LONG folder, CEPROPID id, std::u16string_view text, CEOID* oid) {
    const ItemKind* kind = KindOfFolder(folder);
    if (!kind || !IsNamed(id) || TypeFromPropID(id) != CEVT_LPWSTR) return E_INVALIDARG;
    if (HRESULT hr = m_store.Open(); FAILED(hr)) return hr;
    const auto take = [&](CEOID found) {
        if ((found & kOidKindMask) == kind->bits) *oid = found;
        return *oid == 0;
    };
    if (m_store.InBatch()) {
        const auto [first, last] = IndexOf(id).byText.equal_range(text);
        for (auto at = first; at != last && take(at->second);) ++at;
    } else {
        WalkNamedText(m_store, id,
                      [&](CEOID found, std::u16string_view other) { return other != text || take(found); });
    }
    return *oid ? S_OK : E_NOTFOUND;
}

void PoomApplication::NamedTextSaved(CEOID oid, const PropValue& value) {
    const auto index = m_indexes.find(value.id);
    if (index == m_indexes.end()) return;
    if (value.absent)
        index->second.Remove(oid);
    else
        index->second.Put(oid, value.text);
}

void PoomApplication::ItemDeleted(CEOID oid) {
    for (auto& [id, index] : m_indexes) index.Remove(oid);
}

void PoomApplication::TextIndex::Put(CEOID oid, std::u16string_view text) {
    Remove(oid);
    byItem[oid] = byText.emplace(text, oid);
}

void PoomApplication::TextIndex::Remove(CEOID oid) {
    const auto at = byItem.find(oid);
    if (at == byItem.end()) return;
    byText.erase(at->second);
    byItem.erase(at);
}

} // namespace plat::poom

namespace {

plat::poom::PoomApplication* Own(IPOutlookApp2* app) {
    return static_cast<plat::poom::PoomApplication*>(app);
}

} // namespace

HRESULT PlatBeginItemBatch(IPOutlookApp2* app) { return app ? Own(app)->BeginBatch() : E_POINTER; }
HRESULT PlatEndItemBatch(IPOutlookApp2* app, bool commit) {
    return app ? Own(app)->EndBatch(commit) : E_POINTER;
}

HRESULT PlatFindItemByNamedText(IPOutlookApp2* app, LONG folder, DWORD namedPropId, const WCHAR* text,
                                CEOID* oid) {
    if (!app || !text || !oid) return E_POINTER;
    *oid = 0;
    return Own(app)->Call([&] { return Own(app)->FindByNamedText(folder, namedPropId, text, oid); });
}
