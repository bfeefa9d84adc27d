// The time zones of an iCalendar file: by IANA name, by the file's own definition, or by the names that desktop programs
// write.
#pragma once

#include "Platform/types.h"

#include <libical/ical.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qn {

struct When;

class ZoneTable {
public:
    ZoneTable() = default;
    ZoneTable(ZoneTable&&) = default;
    ZoneTable& operator=(ZoneTable&&) = default;

    // A VTIMEZONE of the file; the text is one whole component. False when it can't be read.
    bool AddDefinition(const std::string& text);

    // Whether a name is known; an unknown one is taken as the device's zone and told of once.
    bool Knows(const std::string& tzid);
    const std::vector<std::string>& Unknown() const { return m_unknown; }

    // The rules of a zone in a year, as items keep them. Empty for an unknown zone.
    std::optional<TIME_ZONE_INFORMATION> Rules(const std::string& tzid, int year);

    // A moment as UTC: of its zone, or of the device's when it has none. A wall-clock time that comes twice is the first of
    // the two, one that a change leaves out counts by the offset before it.
    SYSTEMTIME ToUtc(const When& when);
    // A moment on the wall clock of the device, as a variant date; by the rules that held at the time.
    DATE ToDevice(const When& when);
    // The same on the wall clock of the zone of that name; empty is the device's, "UTC" is UTC.
    icaltimetype ToZone(const When& when, const std::string& tzid);
    // The same by rules alone.
    icaltimetype ToRules(const When& when, const TIME_ZONE_INFORMATION& rules);

private:
    struct Zone {
        icaltimezone* zone = nullptr;               // libical's own, or one of m_definitions
        std::string iana;                           // empty when the file's definition is all that is known
        std::optional<TIME_ZONE_INFORMATION> fixed; // of a device whose zone has no name
        bool IsKnown() const { return zone || !iana.empty() || fixed; }
    };
    struct FreeZone {
        void operator()(icaltimezone* zone) const { icaltimezone_free(zone, 1); }
    };
    const Zone& Resolve(const std::string& tzid);
    const Zone& Device();
    // The zone that a time is in; null when it floats.
    const Zone* ZoneOf(const When& when);
    std::optional<TIME_ZONE_INFORMATION> RulesOf(const Zone& zone, int year);
    int OffsetAt(const Zone& zone, std::int64_t utcMinutes);
    SYSTEMTIME FromWall(const Zone& zone, const SYSTEMTIME& wall);
    SYSTEMTIME ToWall(const Zone& zone, const SYSTEMTIME& utc);

    std::map<std::string, std::unique_ptr<icaltimezone, FreeZone>> m_definitions;
    std::map<std::string, Zone> m_zones;
    std::map<std::pair<std::string, int>, std::optional<TIME_ZONE_INFORMATION>> m_rules;
    std::vector<std::string> m_unknown;
    std::optional<Zone> m_device;
};

// Date fields of libical and of the device; `ToIcal` gives a floating time.
SYSTEMTIME FromIcal(const icaltimetype& time);
icaltimetype ToIcal(const SYSTEMTIME& date, bool isDate);

} // namespace qn
