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

    // A VTIMEZONE of the file; the text is one whole component.
    void AddDefinition(const std::string& text);

    // The zone of a name; null for an unknown one, which is then taken as the device's and told of once.
    icaltimezone* Find(const std::string& tzid);
    const std::vector<std::string>& Unknown() const { return m_unknown; }

    // The rules of a zone in a year, as items keep them. Empty for an unknown zone.
    std::optional<TIME_ZONE_INFORMATION> Rules(const std::string& tzid, int year);

    // A moment as UTC: of its zone, or of the device's zone when it has none.
    SYSTEMTIME ToUtc(const When& when);
    // A moment on the wall clock of the device, as a variant date.
    DATE ToDevice(const When& when);
    // The same on the wall clock of the zone of that name; empty is the device's, "UTC" is UTC.
    icaltimetype ToZone(const When& when, const std::string& tzid);

private:
    struct Zone {
        icaltimezone* zone = nullptr; // libical's own, or one of m_definitions
        std::string iana;             // empty when the file's definition is all that is known
    };
    struct FreeZone {
        void operator()(icaltimezone* zone) const { icaltimezone_free(zone, 1); }
    };
    const Zone& Resolve(const std::string& tzid);

    std::map<std::string, std::unique_ptr<icaltimezone, FreeZone>> m_definitions;
    std::map<std::string, Zone> m_zones;
    std::map<std::pair<std::string, int>, std::optional<TIME_ZONE_INFORMATION>> m_rules;
    std::vector<std::string> m_unknown;
};

// Date fields of libical and of the device; `ToIcal` gives a floating time.
SYSTEMTIME FromIcal(const icaltimetype& time);
icaltimetype ToIcal(const SYSTEMTIME& date, bool isDate);

} // namespace qn
