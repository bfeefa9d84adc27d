// Zones with and without summer time.
#pragma once

#include "Platform/types.h"

inline TIME_ZONE_INFORMATION ZoneWith(LONG bias, LONG daylightBias, SYSTEMTIME toStandard,
                                      SYSTEMTIME toSummer) {
    TIME_ZONE_INFORMATION zone{};
    zone.Bias = bias;
    zone.DaylightBias = daylightBias;
    zone.StandardDate = toStandard;
    zone.DaylightDate = toSummer;
    return zone;
}
constexpr SYSTEMTIME Nth(WORD month, WORD nth, WORD weekday, WORD hour) {
    return {0, month, weekday, nth, hour, 0, 0, 0};
}
inline TIME_ZONE_INFORMATION Eastern() { return ZoneWith(300, -60, Nth(11, 1, 0, 2), Nth(3, 2, 0, 2)); }
inline TIME_ZONE_INFORMATION Berlin() { return ZoneWith(-60, -60, Nth(10, 5, 0, 3), Nth(3, 5, 0, 2)); }
inline TIME_ZONE_INFORMATION Sydney() { return ZoneWith(-600, -60, Nth(4, 1, 0, 3), Nth(10, 1, 0, 2)); }
inline TIME_ZONE_INFORMATION Kolkata() { return ZoneWith(-330, 0, {}, {}); }
inline TIME_ZONE_INFORMATION Newfoundland() { return ZoneWith(210, -60, Nth(11, 1, 0, 2), Nth(3, 2, 0, 2)); }
