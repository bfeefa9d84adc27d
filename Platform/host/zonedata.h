// Offsets from UTC over time, from wherever the host knows them, and a year of them as a TIME_ZONE_INFORMATION.
//
// Moments are Unix seconds, offsets seconds east of Greenwich.
#pragma once

#include "Platform/types.h"

#include <memory>
#include <string>

namespace plat {

class ZoneData {
public:
    virtual ~ZoneData() = default;
    virtual int OffsetAt(std::int64_t moment) const = 0;
};

// A zone of the system's database by its IANA name; null when there is none or the file is damaged.
std::unique_ptr<ZoneData> OpenZoneFile(const std::string& name);
// The same from the bytes of such a file (TZif, RFC 8536).
std::unique_ptr<ZoneData> ParseZoneFile(const std::string& bytes);
// The host path of a zone's file; empty for a name that could lead out of the database.
std::string ZoneFilePath(const std::string& name);

// A zone as one year sees it, good for the moments from `first` to before `end`.
struct ZoneYear {
    TIME_ZONE_INFORMATION zone; // without names
    std::int64_t first;
    std::int64_t end;
};
// The rules of `year`. A year that is no plain summer-time year (a change of the standard offset, say) gives the
// offset in force at `moment`, without summer time.
ZoneYear BuildZoneYear(const ZoneData& data, int year, std::int64_t moment);

} // namespace plat
