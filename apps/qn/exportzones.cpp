// The zones of items as an iCalendar file tells them.
#include "Platform/civil.h"
#include "Platform/clock.h"
#include "apps/qn/exportzones.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace qn {

namespace {

std::string OffsetText(LONG minutesEast) {
    char text[16];
    std::snprintf(text, sizeof text, "%c%02d%02d", minutesEast < 0 ? '-' : '+', std::abs(minutesEast) / 60,
                  std::abs(minutesEast) % 60);
    return text;
}

std::string RuleName(const SYSTEMTIME& rule) {
    return std::to_string(rule.wMonth) + "." + std::to_string(rule.wDay) + "." +
           std::to_string(rule.wDayOfWeek) + "." + std::to_string(rule.wHour * 60 + rule.wMinute);
}

} // namespace

std::string ZoneName(const TIME_ZONE_INFORMATION& zone) {
    TIME_ZONE_INFORMATION device{};
    GetTimeZoneInformation(&device);
    char name[128];
    const bool same = device.Bias == zone.Bias && device.DaylightBias == zone.DaylightBias &&
                      device.StandardBias == zone.StandardBias &&
                      !std::memcmp(&device.DaylightDate, &zone.DaylightDate, sizeof zone.DaylightDate) &&
                      !std::memcmp(&device.StandardDate, &zone.StandardDate, sizeof zone.StandardDate);
    if (same && PlatGetZoneName(name, sizeof name)) return name;
    std::string text = "QN" + OffsetText(-zone.Bias - zone.StandardBias);
    if (zone.DaylightDate.wMonth)
        text += OffsetText(-zone.Bias - zone.DaylightBias) + "_" + RuleName(zone.DaylightDate) + "_" +
                RuleName(zone.StandardDate);
    return text;
}

namespace {

// STANDARD or DAYLIGHT of a definition: from 1970 on, by its rule each year.
void AddObservance(std::string& text, const char* kind, const SYSTEMTIME& rule, LONG eastBefore,
                   LONG eastAfter) {
    constexpr const char* kDays[] = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};
    char start[64] = "DTSTART:19700101T000000\r\n";
    char repeat[96] = "";
    if (rule.wMonth) {
        const bool last = rule.wDay == 5;
        const std::int64_t first = civil::DaysFromCivil(1970, rule.wMonth, 1);
        int day = 1 + (rule.wDayOfWeek - civil::WeekdayOfDays(first) + 7) % 7 + 7 * (rule.wDay - 1);
        while (day > civil::DaysInMonth(1970, rule.wMonth)) day -= 7;
        std::snprintf(start, sizeof start, "DTSTART:1970%02u%02dT%02u%02u00\r\n", rule.wMonth, day,
                      rule.wHour, rule.wMinute);
        std::snprintf(repeat, sizeof repeat, "RRULE:FREQ=YEARLY;BYMONTH=%u;BYDAY=%d%s\r\n", rule.wMonth,
                      last ? -1 : rule.wDay, kDays[rule.wDayOfWeek % 7]);
    }
    text += std::string("BEGIN:") + kind + "\r\n" + start + repeat +
            "TZOFFSETFROM:" + OffsetText(eastBefore) + "\r\nTZOFFSETTO:" + OffsetText(eastAfter) +
            "\r\nEND:" + kind + "\r\n";
}

} // namespace

std::string ZoneDefinition(const std::string& name, const TIME_ZONE_INFORMATION& zone) {
    const LONG standard = -zone.Bias - zone.StandardBias;
    const bool summer = zone.DaylightDate.wMonth != 0;
    const LONG daylight = summer ? -zone.Bias - zone.DaylightBias : standard;
    std::string text = "BEGIN:VTIMEZONE\r\nTZID:" + name + "\r\n";
    AddObservance(text, "STANDARD", zone.StandardDate, daylight, standard);
    if (summer) AddObservance(text, "DAYLIGHT", zone.DaylightDate, standard, daylight);
    text += "END:VTIMEZONE\r\n";
    return text;
}

} // namespace qn
