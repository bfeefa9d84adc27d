#include "apps/qn/icszones.h"

#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/zonerules.h"
#include "apps/qn/icsfile.h"
#include "apps/qn/support.h"

#include <unicode/ucal.h>

#include <algorithm>

namespace qn {

namespace {

constexpr int kLastWeek = 5;

// Some programs write "/example.org/20050126_1/Europe/Berlin": the IANA name is a tail of it.
std::string IanaTail(const std::string& tzid) {
    for (std::size_t at = 0; at != std::string::npos; at = tzid.find('/', at + 1)) {
        std::string tail = tzid.substr(at && tzid[at] == '/' ? at + 1 : at);
        TIME_ZONE_INFORMATION rules;
        if (Upper(tail) == "UTC") return "UTC";
        if (!tail.empty() && tail[0] != '/' && PlatGetZoneByName(tail.c_str(), 2020, &rules)) return tail;
    }
    return {};
}

// The names of zones that desktop programs use, such as "W. Europe Standard Time".
std::string IanaOfDesktopName(const std::string& tzid) {
    UErrorCode status = U_ZERO_ERROR;
    UChar name[128];
    const std::u16string wanted = Utf16(tzid);
    const int length = ucal_getTimeZoneIDForWindowsID(wanted.c_str(), static_cast<int>(wanted.size()),
                                                      nullptr, name, 128, &status);
    return U_SUCCESS(status) && length > 0 ? Utf8({name, static_cast<std::size_t>(length)}) : std::string();
}

int LibraryOffset(icaltimezone* zone, std::int64_t utcMinutes) {
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
    int offset = LibraryOffset(zone, first);
    for (std::int64_t day = first; day < end; day += civil::kMinutesPerDay) {
        std::int64_t hi = day + civil::kMinutesPerDay;
        const int after = LibraryOffset(zone, hi);
        if (after == offset) continue;
        for (std::int64_t lo = day; hi - lo > 1;) {
            const std::int64_t middle = (lo + hi) / 2;
            (LibraryOffset(zone, middle) == offset ? lo : hi) = middle;
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
    const int newYear = LibraryOffset(zone, civil::DaysFromCivil(year, 1, 1) * civil::kMinutesPerDay);
    rules.Bias = -newYear / 60;
    if (changes.size() != 2) {
        rules.Bias = -LibraryOffset(zone, civil::DaysFromCivil(year + 1, 1, 1) * civil::kMinutesPerDay) / 60;
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

// One day of each year, as the rules of zones are. The library writes out all their changes, whatever they are.
bool IsYearly(icalproperty* property) {
    const icalrecurrencetype rule = icalproperty_get_rrule(property);
    const auto atMost = [](const short* list, std::size_t count) {
        return std::find(list, list + count + 1, short{ICAL_RECURRENCE_ARRAY_MAX}) != list + count + 1;
    };
    constexpr std::size_t kDaysOfMonth = 31;
    return rule.freq == ICAL_YEARLY_RECURRENCE && !rule.rscale && atMost(rule.by_month, 1) &&
           atMost(rule.by_day, 1) &&
           atMost(rule.by_month_day, rule.by_day[0] == ICAL_RECURRENCE_ARRAY_MAX ? 1 : kDaysOfMonth) &&
           atMost(rule.by_year_day, 1) && atMost(rule.by_week_no, 0) && atMost(rule.by_hour, 1) &&
           atMost(rule.by_minute, 1) && atMost(rule.by_second, 1);
}

// Whether the definition says what the offset is, in changes that can be counted.
bool IsSane(icalcomponent* definition) {
    constexpr int kMostParts = 400;
    if (icalcomponent_count_components(definition, ICAL_ANY_COMPONENT) > kMostParts) return false;
    bool hasOffset = false;
    for (icalcomponent* part = icalcomponent_get_first_component(definition, ICAL_ANY_COMPONENT); part;
         part = icalcomponent_get_next_component(definition, ICAL_ANY_COMPONENT)) {
        hasOffset = hasOffset || icalcomponent_get_first_property(part, ICAL_TZOFFSETTO_PROPERTY);
        for (icalproperty* rule = icalcomponent_get_first_property(part, ICAL_RRULE_PROPERTY); rule;
             rule = icalcomponent_get_next_property(part, ICAL_RRULE_PROPERTY))
            if (!IsYearly(rule)) return false;
    }
    return hasOffset;
}

} // namespace

SYSTEMTIME FromIcal(const icaltimetype& time) {
    SYSTEMTIME date{};
    if (time.year < 1601 || time.year > 9999 || time.month < 1 || time.month > 12 || time.day < 1 ||
        time.day > 31)
        return date;
    const std::int64_t minutes =
        civil::DaysFromCivil(time.year, time.month, time.day) * civil::kMinutesPerDay + time.hour * 60 +
        time.minute;
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

bool ZoneTable::AddDefinition(const std::string& text) {
    icalcomponent* component = icalcomponent_new_from_string(text.c_str());
    if (!component) return false;
    std::unique_ptr<icaltimezone, FreeZone> zone(icaltimezone_new());
    if (!icaltimezone_set_component(zone.get(), component)) {
        icalcomponent_free(component);
        return false;
    }
    const char* tzid = icaltimezone_get_tzid(zone.get());
    if (!tzid) return false;
    // One that defines nothing would count as UTC, one of other rules than zones have may take for ever: then its name must
    // say what it is.
    if (IsSane(component)) m_definitions.try_emplace(tzid, std::move(zone));
    return true;
}

// --- Names --------------------------------------------------------------------------------------------------------

auto ZoneTable::Resolve(const std::string& tzid) -> const Zone& {
    const auto known = m_zones.find(tzid);
    if (known != m_zones.end()) return known->second;
    Zone zone;
    const auto definition = m_definitions.find(tzid);
    if (tzid == "UTC") {
        zone.zone = icaltimezone_get_utc_timezone();
    } else {
        zone.iana = IanaTail(tzid);
        if (zone.iana.empty() && definition == m_definitions.end()) zone.iana = IanaOfDesktopName(tzid);
        if (!zone.iana.empty()) zone.zone = icaltimezone_get_builtin_timezone(zone.iana.c_str());
        if (zone.iana.empty() && definition != m_definitions.end()) zone.zone = definition->second.get();
    }
    if (!zone.IsKnown()) m_unknown.push_back(tzid);
    return m_zones.emplace(tzid, zone).first->second;
}

auto ZoneTable::Device() -> const Zone& {
    if (m_device) return *m_device;
    Zone zone;
    char name[128];
    TIME_ZONE_INFORMATION rules{};
    if (PlatGetZoneName(name, sizeof name) && PlatGetZoneByName(name, 2020, &rules)) {
        zone.iana = name;
        zone.zone = icaltimezone_get_builtin_timezone(name);
    } else {
        GetTimeZoneInformation(&rules);
        zone.fixed = rules;
    }
    return m_device.emplace(zone);
}

bool ZoneTable::Knows(const std::string& tzid) { return !tzid.empty() && Resolve(tzid).IsKnown(); }

auto ZoneTable::ZoneOf(const When& when) -> const Zone* {
    if (when.IsDate()) return nullptr;
    if (icaltime_is_utc(when.time)) return &Resolve("UTC");
    return Knows(when.tzid) ? &Resolve(when.tzid) : nullptr;
}

// --- Rules --------------------------------------------------------------------------------------------------------

std::optional<TIME_ZONE_INFORMATION> ZoneTable::RulesOf(const Zone& zone, int year) {
    if (zone.fixed) return zone.fixed;
    TIME_ZONE_INFORMATION found{};
    if (!zone.iana.empty() && PlatGetZoneByName(zone.iana.c_str(), static_cast<WORD>(year), &found))
        return found;
    if (zone.zone) return RulesFromDefinition(zone.zone, year);
    return std::nullopt;
}

std::optional<TIME_ZONE_INFORMATION> ZoneTable::Rules(const std::string& tzid, int year) {
    if (tzid == "UTC") return TIME_ZONE_INFORMATION{};
    const auto key = std::make_pair(tzid, year);
    const auto known = m_rules.find(key);
    if (known != m_rules.end()) return known->second;
    return m_rules.emplace(key, RulesOf(Resolve(tzid), year)).first->second;
}

// --- Moments ------------------------------------------------------------------------------------------------------

// Minutes east of UTC. The library knows each change that there was; rules know the year's, for zones that it lacks.
int ZoneTable::OffsetAt(const Zone& zone, std::int64_t utcMinutes) {
    if (zone.zone) return LibraryOffset(zone.zone, utcMinutes) / 60;
    const SYSTEMTIME utc = civil::SystemTimeFromMinutes(utcMinutes);
    const auto rules = zone.fixed ? zone.fixed : Rules(zone.iana, utc.wYear);
    SYSTEMTIME wall{};
    bool daylight = false;
    if (!rules || !CeSystemTimeToTzSpecificLocalTime(&*rules, &utc, &wall, &daylight)) return 0;
    return static_cast<int>(civil::MinutesOf(wall) - utcMinutes);
}

SYSTEMTIME ZoneTable::FromWall(const Zone& zone, const SYSTEMTIME& wall) {
    const std::int64_t minutes = civil::MinutesOf(wall);
    const int before = OffsetAt(zone, minutes - civil::kMinutesPerDay);
    const int after = OffsetAt(zone, minutes + civil::kMinutesPerDay);
    const bool changed = before != after && OffsetAt(zone, minutes - before) != before &&
                         OffsetAt(zone, minutes - after) == after;
    SYSTEMTIME utc = civil::SystemTimeFromMinutes(minutes - (changed ? after : before));
    utc.wSecond = wall.wSecond;
    return utc;
}

SYSTEMTIME ZoneTable::ToWall(const Zone& zone, const SYSTEMTIME& utc) {
    const std::int64_t minutes = civil::MinutesOf(utc);
    SYSTEMTIME wall = civil::SystemTimeFromMinutes(minutes + OffsetAt(zone, minutes));
    wall.wSecond = utc.wSecond;
    return wall;
}

SYSTEMTIME ZoneTable::ToUtc(const When& when) {
    const SYSTEMTIME wall = FromIcal(when.time);
    if (icaltime_is_utc(when.time)) return wall;
    const Zone* zone = ZoneOf(when);
    return FromWall(zone ? *zone : Device(), wall);
}

DATE ZoneTable::ToDevice(const When& when) { return ToDate(FromIcal(ToZone(when, {}))); }

icaltimetype ZoneTable::ToZone(const When& when, const std::string& tzid) {
    const bool sameZone = when.tzid == tzid && !icaltime_is_utc(when.time);
    const Zone* zone = sameZone ? nullptr : ZoneOf(when);
    icaltimetype wall = when.time;
    wall.zone = nullptr;
    if (!zone) return wall;
    const Zone& wanted = Knows(tzid) ? Resolve(tzid) : Device();
    if (zone == &wanted || (!zone->iana.empty() && zone->iana == wanted.iana)) return wall;
    return ToIcal(ToWall(wanted, ToUtc(when)), false);
}

icaltimetype ZoneTable::ToRules(const When& when, const TIME_ZONE_INFORMATION& rules) {
    Zone zone;
    zone.fixed = rules;
    if (ZoneOf(when)) return ToIcal(ToWall(zone, ToUtc(when)), false);
    icaltimetype wall = when.time;
    wall.zone = nullptr;
    return wall;
}

} // namespace qn
