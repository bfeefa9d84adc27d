// The built-in city database: see Platform/citydb.h. One row for each zone that people tell apart, by its largest city.
// Which zones those are and what they are called is ICU's knowledge; the rules are those of the system's database.
#include "Platform/citydb.h"

#include "Platform/clock.h"
#include "Platform/host/localetables.h"
#include "Platform/host/text.h"
#include "Platform/modules.h"

#include <unicode/locid.h>
#include <unicode/strenum.h>
#include <unicode/timezone.h>
#include <unicode/tznames.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace {

struct City {
    std::string zoneName; // IANA
    std::u16string display;
    TIME_ZONE_INFORMATION zone;
    LONG Offset() const { return -zone.Bias; }
};

// Held between ClockLoadAllTimeZoneData and ClockFreeAllTimeZoneData; one thread at a time uses the module.
std::vector<City>& Cities() {
    static auto* cities = new std::vector<City>;
    return *cities;
}

WORD YearNow() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return now.wYear;
}

// One IANA name for each zone of the usual list of zones.
std::set<std::string> UsualZones() {
    std::set<std::string> zones;
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<icu::StringEnumeration> all(icu::TimeZone::createTimeZoneIDEnumeration(
        UCAL_ZONE_TYPE_CANONICAL_LOCATION, nullptr, nullptr, error));
    if (!all) return zones;
    while (const icu::UnicodeString* id = all->snext(error)) {
        icu::UnicodeString usual;
        icu::UnicodeString leading;
        icu::TimeZone::getWindowsID(*id, usual, error);
        if (U_FAILURE(error) || usual.isEmpty()) continue;
        icu::TimeZone::getIDForWindowsID(usual, "001", leading, error);
        std::string name;
        if (U_SUCCESS(error)) zones.insert(leading.toUTF8String(name));
    }
    zones.erase("");
    return zones;
}

std::u16string DisplayName(const icu::TimeZoneNames& names, const City& city) {
    icu::UnicodeString place;
    names.getExemplarLocationName(icu::UnicodeString::fromUTF8(city.zoneName), place);
    if (place.isEmpty()) place = icu::UnicodeString::fromUTF8(city.zoneName);
    const int minutes = std::abs(static_cast<int>(city.Offset()));
    char offset[24];
    std::snprintf(offset, sizeof offset, "(GMT%c%02d:%02d) ", city.Offset() < 0 ? '-' : '+', minutes / 60,
                  minutes % 60);
    return plat::ToUtf16(offset) +
           std::u16string(place.getBuffer(), static_cast<std::size_t>(place.length()));
}

BOOL InitCityDb() { return TRUE; }
void ClockFreeAllTimeZoneData() { Cities().clear(); }
void UninitCityDb() { ClockFreeAllTimeZoneData(); }

BOOL ClockLoadAllTimeZoneData() {
    std::vector<City>& cities = Cities();
    cities.clear();
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<icu::TimeZoneNames> names(
        icu::TimeZoneNames::createInstance(icu::Locale(plat::CurrentTables().id.c_str()), error));
    if (U_FAILURE(error)) return FALSE;
    const WORD year = YearNow();
    for (const std::string& name : UsualZones()) {
        City city{name, {}, {}};
        if (!PlatGetZoneByName(name.c_str(), year, &city.zone)) continue; // not in the system's database
        city.display = DisplayName(*names, city);
        cities.push_back(std::move(city));
    }
    std::sort(cities.begin(), cities.end(), [](const City& a, const City& b) {
        return std::tuple(a.Offset(), std::u16string_view(a.display)) <
               std::tuple(b.Offset(), std::u16string_view(b.display));
    });
    return !cities.empty();
}

int ClockGetNumTimezones() { return static_cast<int>(Cities().size()); }

BOOL ClockGetTimeZoneDataByOffset(int index, CITYTIMEZONE* zone) {
    if (index < 0 || index >= ClockGetNumTimezones()) return FALSE;
    const City& city = Cities()[static_cast<std::size_t>(index)];
    *zone = {city.display.c_str(), city.zone.StandardName, city.zone.DaylightName, static_cast<DWORD>(index),
             city.Offset()};
    return TRUE;
}

BOOL ClockGetTimeZoneData(DWORD value, TIME_ZONE_INFORMATION* zone) {
    if (value >= Cities().size()) return FALSE;
    *zone = Cities()[value].zone;
    return TRUE;
}

template<class Entry>
FARPROC Address(Entry entry) {
    return reinterpret_cast<FARPROC>(entry);
}

const PlatModuleEntry kEntries[] = {
    {"InitCityDb", 0, Address(InitCityDb)},
    {"UninitCityDb", 0, Address(UninitCityDb)},
    {"ClockLoadAllTimeZoneData", 0, Address(ClockLoadAllTimeZoneData)},
    {"ClockFreeAllTimeZoneData", 0, Address(ClockFreeAllTimeZoneData)},
    {"ClockGetNumTimezones", 0, Address(ClockGetNumTimezones)},
    {"ClockGetTimeZoneDataByOffset", 0, Address(ClockGetTimeZoneDataByOffset)},
    {"ClockGetTimeZoneData", 0, Address(ClockGetTimeZoneData)},
};

const HINSTANCE g_module =
    PlatRegisterModule({.name = u"citydb.dll", .entries = kEntries, .entryCount = std::size(kEntries)});

} // namespace
