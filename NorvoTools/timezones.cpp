// All zones of the device's city database.
#include "NorvoTools/datetime.h"
#include "NorvoTools/StrFunctions.h"

#include "Platform/citydb.h"
#include "Platform/modules.h"

#include <memory>

namespace {

template<class Proc>
Proc Resolve(HINSTANCE module, const WCHAR* name) {
    return reinterpret_cast<Proc>(GetProcAddressW(module, name));
}

// The module with its entries, loaded and initialised for as long as this lives.
class CityDb {
public:
    CityDb() : m_module(LoadLibraryW(u"citydb.dll")) {
        if (!m_module || !ResolveAll()) return;
        m_open = m_pfnInit() != FALSE;
        m_loaded = m_open && m_pfnLoad() != FALSE;
    }
    ~CityDb() {
        if (m_loaded) m_pfnFree();
        if (m_open) m_pfnUninit();
        if (m_module) FreeLibrary(m_module);
    }
    CityDb(const CityDb&) = delete;
    CityDb& operator=(const CityDb&) = delete;

    int Count() const { return m_loaded ? m_pfnCount() : 0; }
    bool Zone(int index, CITYTIMEZONE& zone) const { return m_pfnByOffset(index, &zone) != FALSE; }

private:
    bool ResolveAll() {
        m_pfnInit = Resolve<InitCityDbProc>(m_module, u"InitCityDb");
        m_pfnUninit = Resolve<UninitCityDbProc>(m_module, u"UninitCityDb");
        m_pfnLoad = Resolve<ClockLoadAllTimeZoneDataProc>(m_module, u"ClockLoadAllTimeZoneData");
        m_pfnFree = Resolve<ClockFreeAllTimeZoneDataProc>(m_module, u"ClockFreeAllTimeZoneData");
        m_pfnCount = Resolve<ClockGetNumTimezonesProc>(m_module, u"ClockGetNumTimezones");
        m_pfnByOffset = Resolve<ClockGetTimeZoneDataByOffsetProc>(m_module, u"ClockGetTimeZoneDataByOffset");
        auto byValue =
            Resolve<ClockGetTimeZoneDataProc>(m_module, u"ClockGetTimeZoneData"); // a whole database has it
        return m_pfnInit && m_pfnUninit && m_pfnLoad && m_pfnFree && m_pfnCount && m_pfnByOffset && byValue;
    }

    HINSTANCE m_module;
    InitCityDbProc m_pfnInit = nullptr;
    UninitCityDbProc m_pfnUninit = nullptr;
    ClockLoadAllTimeZoneDataProc m_pfnLoad = nullptr;
    ClockFreeAllTimeZoneDataProc m_pfnFree = nullptr;
    ClockGetNumTimezonesProc m_pfnCount = nullptr;
    ClockGetTimeZoneDataByOffsetProc m_pfnByOffset = nullptr;
    bool m_open = false;
    bool m_loaded = false;
};

template<std::size_t N>
void CopyName(WCHAR (&to)[N], const WCHAR* from) {
    wstrncpy(to, from, static_cast<int>(N) - 1);
}

} // namespace

TZData* GetAllTimeZones(int& nCount) {
    nCount = 0;
    const CityDb db;
    const int available = db.Count();
    if (available <= 0) return nullptr;
    auto rows = std::make_unique<TZData[]>(static_cast<std::size_t>(available));
    for (int i = 0; i < available; ++i) {
        CITYTIMEZONE zone{};
        if (!db.Zone(i, zone)) continue;
        TZData& row = rows[static_cast<std::size_t>(nCount++)];
        CopyName(row.szDisplayName, zone.pszDisplayName);
        CopyName(row.szStandardName, zone.pszStandardName);
        CopyName(row.szDaylightName, zone.pszDaylightName);
        row.dwValue = zone.dwValue;
        row.lOffset = zone.lOffset;
    }
    return rows.release();
}
