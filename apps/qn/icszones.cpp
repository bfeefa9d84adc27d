#include "apps/qn/icszones.h"

#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/zonerules.h"
#include "apps/qn/icsfile.h"
#include "apps/qn/support.h"

#include <unicode/ucal.h>

#include <cctype>

namespace qn {

namespace {

constexpr int kLastWeek = 5;

TIME_ZONE_INFORMATION DeviceZone() {
    TIME_ZONE_INFORMATION zone{};
    GetTimeZoneInformation(&zone);
    return zone;
}

// Some programs write "/example.org/20050126_1/Europe/Berlin": the IANA name is a tail of it.
std::string IanaTail(const std::string& tzid) {
    for (std::size_t at = 0; at != std::string::npos; at = tzid.find('/', at + 1)) {
        const std::string tail = tzid.substr(at && tzid[at] == '/' ? at + 1 : at);
        TIME_ZONE_INFORMATION rules;
        if (!tail.empty() && tail[0] != '/' && PlatGetZoneByName(tail.c_str(), 2020, &rules)) return tail;
    }
    return {};
}

// The names of zones that desktop programs use, such as "W. Europe Standard Time".
std::string IanaOfDesktopName(const std::string& tzid) {
    UErrorCode status = U_ZERO_ERROR;
    UChar name[128];
    const std::u16string wanted = Utf16(tzid);
    const int length = ucal_getTimeZoneIDForWindowsID(wanted.c_str(), static_cast<int>(wanted.size()), nullptr, name,
                                                      128, &status);
    return U_SUCCESS(status) && length > 0 ? Utf8({name, static_cast<std::size_t>(length)}) : std::string();
}

SYSTEMTIME SubtractBias(const SYSTEMTIME& utc, int offsetSeconds) {
    return civil::SystemTimeFromTicks(civil::TicksOf(utc) + offsetSeconds * civil::kTicksPerSecond);
}

int OffsetAt(icaltimezone* zone, std::int64_t utcMinutes) {
    icaltimetype utc = ToIcal(civil::SystemTimeFromMinutes(utcMinutes), false);
    utc.zone = icaltimezone_get_utc_timezone();
    int daylight = 0;
    return icaltimezone_get_utc_offset_of_utc_time(zone, &utc, &daylight);
}

struct Change {
    std::int64_t utcMinutes;
    int before; // seconds east of UTC
    int after;
};

// The moments of a year at which the offset changes, to the minute.
std::vector<Change> ChangesOf(icaltimezone* zone, int year) {
    std::vector<Change> changes;
    const std::int64_t first = civil::DaysFromCivil(year, 1, 1) * civil::kMinutesPerDay;
    const std::int64_t end = civil::DaysFromCivil(year + 1, 1, 1) * civil::kMinutesPerDay;
    int offset = OffsetAt(zone, first);
    for (std::int64_t day = first; day < end; day += civil::kMinutesPerDay) {
        std::int64_t hi = day + civil::kMinutesPerDay;
        const int after = OffsetAt(zone, hi);
        if (after == offset) continue;
        for (std::int64_t lo = day; hi - lo > 1;) {
            const std::int64_t middle = (lo + hi) / 2;
            (OffsetAt(zone, middle) == offset ? lo : hi) = middle;
        }
        changes.push_back({hi, offset, after});
        offset = after;
    }
    return changes;
}

// The wall-clock moment of a change as a rule: month, weekday, and which of them. A fourth one that is also the last is
// told apart by the year that follows.
SYSTEMTIME RuleOf(const Change& change, const std::vector<Change>& nextYear, std::size_t index) {
    SYSTEMTIME wall = civil::SystemTimeFromMinutes(change.utcMinutes + change.before / 60);
    const int nth = (wall.wDay - 1) / 7 + 1;
    const bool last = wall.wDay + 7 > civil::DaysInMonth(wall.wYear, wall.wMonth);
    bool useLast = last;
    if (last && nth < kLastWeek && index < nextYear.size()) {
        const SYSTEMTIME next =
            civil::SystemTimeFromMinutes(nextYear[index].utcMinutes + nextYear[index].before / 60);
        useLast = next.wDay + 7 > civil::DaysInMonth(next.wYear, next.wMonth);
    }
    wall.wDay = static_cast<WORD>(useLast ? kLastWeek : nth);
    wall.wYear = 0;
    return wall;
}

TIME_ZONE_INFORMATION RulesFromDefinition(icaltimezone* zone, int year) {
    TIME_ZONE_INFORMATION rules{};
    const std::vector<Change> changes = ChangesOf(zone, year);
    const int newYear = OffsetAt(zone, civil::DaysFromCivil(year, 1, 1) * civil::kMinutesPerDay);
    rules.Bias = -newYear / 60;
    if (changes.size() != 2) {
        rules.Bias = -OffsetAt(zone, civil::DaysFromCivil(year + 1, 1, 1) * civil::kMinutesPerDay) / 60;
        return rules;
    }
    const std::vector<Change> next = ChangesOf(zone, year + 1);
    const std::size_t summer = changes[0].after > changes[0].before ? 0 : 1;
    const std::size_t winter = 1 - summer;
    rules.Bias = -changes[winter].after / 60;
    rules.DaylightBias = -changes[summer].after / 60 - rules.Bias;
    rules.DaylightDate = RuleOf(changes[summer], next, summer);
    rules.StandardDate = RuleOf(changes[winter], next, winter);
    return rules;
}

} // namespace

SYSTEMTIME FromIcal(const icaltimetype& time) {
    SYSTEMTIME date{};
    if (time.year < 1601 || time.year > 9999 || time.month < 1 || time.month > 12 || time.day < 1 || time.day > 31)
        return date;
    const std::int64_t minutes =
        civil::DaysFromCivil(time.year, time.month, time.day) * civil::kMinutesPerDay + time.hour * 60 + time.minute;
    date = civil::SystemTimeFromMinutes(minutes);
    date.wSecond = static_cast<WORD>(std::min(time.second, 59));
    return date;
}

icaltimetype ToIcal(const SYSTEMTIME& date, bool isDate) {
    icaltimetype time = icaltime_null_time();
    time.year = date.wYear;
    time.month = date.wMonth;
    time.day = date.wDay;
    time.is_date = isDate;
    if (isDate) return time;
    time.hour = date.wHour;
    time.minute = date.wMinute;
    time.second = date.wSecond;
    return time;
}

void ZoneTable::AddDefinition(const std::string& text) {
    icalcomponent* component = icalcomponent_new_from_string(text.c_str());
    if (!component) return;
    std::unique_ptr<icaltimezone, FreeZone> zone(icaltimezone_new());
    if (!icaltimezone_set_component(zone.get(), component)) {
        icalcomponent_free(component);
        return;
    }
    const char* tzid = icaltimezone_get_tzid(zone.get());
    if (tzid) m_definitions.try_emplace(tzid, std::move(zone));
}

auto ZoneTable::Resolve(const std::string& tzid) -> const Zone& {
    const auto known = m_zones.find(tzid);
    if (known != m_zones.end()) return known->second;
    Zone zone;
    const auto definition = m_definitions.find(tzid);
    zone.iana = IanaTail(tzid);
    if (zone.iana.empty() && definition == m_definitions.end()) zone.iana = IanaOfDesktopName(tzid);
    if (!zone.iana.empty()) zone.zone = icaltimezone_get_builtin_timezone(zone.iana.c_str());
    if (!zone.zone && definition != m_definitions.end()) {
        zone.zone = definition->second.get();
        zone.iana.clear();
    }
    if (!zone.zone) m_unknown.push_back(tzid);
    return m_zones.emplace(tzid, zone).first->second;
}

icaltimezone* ZoneTable::Find(const std::string& tzid) {
    return tzid.empty() ? nullptr : tzid == "UTC" ? icaltimezone_get_utc_timezone() : Resolve(tzid).zone;
}

std::optional<TIME_ZONE_INFORMATION> ZoneTable::Rules(const std::string& tzid, int year) {
    if (tzid == "UTC") return TIME_ZONE_INFORMATION{};
    const auto key = std::make_pair(tzid, year);
    const auto known = m_rules.find(key);
    if (known != m_rules.end()) return known->second;
    std::optional<TIME_ZONE_INFORMATION> rules;
    const Zone& zone = Resolve(tzid);
    TIME_ZONE_INFORMATION found{};
    if (!zone.iana.empty() && PlatGetZoneByName(zone.iana.c_str(), static_cast<WORD>(year), &found))
        rules = found;
    else if (zone.zone)
        rules = RulesFromDefinition(zone.zone, year);
    m_rules.emplace(key, rules);
    return rules;
}

SYSTEMTIME ZoneTable::ToUtc(const When& when) {
    const SYSTEMTIME wall = FromIcal(when.time);
    if (icaltime_is_utc(when.time)) return wall;
    if (icaltimezone* zone = Find(when.tzid)) {
        icaltimetype time = when.time;
        int daylight = 0;
        return SubtractBias(wall, -icaltimezone_get_utc_offset(zone, &time, &daylight));
    }
    const TIME_ZONE_INFORMATION device = DeviceZone();
    SYSTEMTIME utc{};
    CeTzSpecificLocalTimeToSystemTime(&device, &wall, IsInDST(wall.wYear, wall.wMonth, wall.wDay, &device), &utc);
    return utc;
}

DATE ZoneTable::ToDevice(const When& when) {
    const bool floating = when.IsDate() || (!icaltime_is_utc(when.time) && !Find(when.tzid));
    if (floating) return ToDate(FromIcal(when.time));
    const TIME_ZONE_INFORMATION device = DeviceZone();
    const SYSTEMTIME utc = ToUtc(when);
    SYSTEMTIME local{};
    bool daylight = false;
    CeSystemTimeToTzSpecificLocalTime(&device, &utc, &local, &daylight);
    return ToDate(local);
}

icaltimetype ZoneTable::ToZone(const When& when, const std::string& tzid) {
    const bool floating = when.IsDate() || (!icaltime_is_utc(when.time) && !Find(when.tzid));
    const bool sameZone = when.tzid == tzid && !icaltime_is_utc(when.time);
    if (floating || sameZone) {
        icaltimetype wall = when.time;
        wall.zone = nullptr;
        return wall;
    }
    if (tzid.empty()) return ToIcal(ToSystemTime(ToDevice(when)), false);
    const SYSTEMTIME utc = ToUtc(when);
    icaltimezone* zone = Find(tzid);
    if (!zone) return ToIcal(utc, false);
    icaltimetype time = ToIcal(utc, false);
    time.zone = icaltimezone_get_utc_timezone();
    int daylight = 0;
    return ToIcal(SubtractBias(utc, icaltimezone_get_utc_offset_of_utc_time(zone, &time, &daylight)), false);
}

} // namespace qn
