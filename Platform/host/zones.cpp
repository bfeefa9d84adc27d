// The device's time zone: the system's, or one set by a test. See Platform/clock.h.
//
// The system's own localtime_r is asked, and not a library with zone data of its own, which goes stale with every law.
#include "Platform/clock.h"

#include "Platform/civil.h"
#include "Platform/host/call.h"
#include "Platform/host/clockstate.h"
#include "Platform/host/faults.h"
#include "Platform/host/localetables.h"
#include "Platform/host/text.h"
#include "Platform/host/zonedata.h"
#include "Platform/zonerules.h"

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <sys/stat.h>
#include <time.h>

namespace {

using plat::ZoneYear;

constexpr std::int64_t kSecondsPerDay = 86'400;

// --- The system's zone ----------------------------------------------------------------------------------------------

tm LocalTimeAt(std::int64_t moment) {
    const time_t t = moment;
    tm local{};
    localtime_r(&t, &local);
    return local;
}

class SystemZone final : public plat::ZoneData {
public:
    int OffsetAt(std::int64_t moment) const override {
        return static_cast<int>(LocalTimeAt(moment).tm_gmtoff);
    }
};

std::string EnvironmentZone() {
    const char* value = std::getenv("TZ");
    if (!value) return {};
    return value[0] == ':' ? value + 1 : value;
}

// The IANA name of the system's zone; empty when it has none.
std::string SystemZoneName() {
    constexpr std::string_view kDatabase = "/zoneinfo/";
    const std::string set = EnvironmentZone();
    if (std::getenv("TZ")) return plat::OpenZoneFile(set) ? set : std::string();
    std::error_code error;
    const std::string link = std::filesystem::read_symlink("/etc/localtime", error).string();
    const std::size_t at = link.rfind(kDatabase);
    if (at == std::string::npos) return {};
    const std::string name = link.substr(at + kDatabase.size());
    return plat::OpenZoneFile(name) ? name : std::string();
}

// What has to stay the same for the rules to be good: TZ, and the file behind it.
struct ZoneSource {
    std::string environment;
    bool set = false;
    dev_t device = 0;
    ino_t node = 0;
    std::int64_t changed = 0;
    friend bool operator==(const ZoneSource&, const ZoneSource&) = default;
};

ZoneSource SourceNow() {
    ZoneSource source{.environment = EnvironmentZone(), .set = std::getenv("TZ") != nullptr};
    const std::string path =
        source.set ? plat::ZoneFilePath(source.environment) : std::string("/etc/localtime");
    struct stat file {};
    if (!path.empty() && stat(path.c_str(), &file) == 0) {
        source.device = file.st_dev;
        source.node = file.st_ino;
        source.changed = file.st_mtim.tv_sec * 1'000'000'000 + file.st_mtim.tv_nsec;
    }
    return source;
}

// --- Names ----------------------------------------------------------------------------------------------------------

void StoreName(std::u16string_view name, WCHAR (&out)[32]) {
    const std::size_t length = std::min<std::size_t>(name.size(), 31);
    std::copy_n(name.begin(), length, out);
    out[length] = 0;
}

// In the user's language.
void StoreNames(const std::string& zoneName, TIME_ZONE_INFORMATION& zone) {
    const std::unique_ptr<icu::TimeZone> named(
        icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zoneName)));
    const icu::Locale locale(plat::CurrentTables().id.c_str());
    icu::UnicodeString standard;
    icu::UnicodeString summer;
    named->getDisplayName(false, icu::TimeZone::LONG, locale, standard);
    named->getDisplayName(true, icu::TimeZone::LONG, locale, summer);
    StoreName({standard.getBuffer(), static_cast<std::size_t>(standard.length())}, zone.StandardName);
    StoreName({summer.getBuffer(), static_cast<std::size_t>(summer.length())}, zone.DaylightName);
}

// A zone without a name in the database has the abbreviations of its TZ rule.
void StoreAbbreviations(const ZoneYear& year, TIME_ZONE_INFORMATION& zone) {
    for (std::int64_t moment = year.first; moment < year.end; moment += 14 * kSecondsPerDay) {
        const tm local = LocalTimeAt(moment);
        const bool summer = zone.DaylightDate.wMonth != 0 && -local.tm_gmtoff / 60 != zone.Bias;
        StoreName(plat::ToUtf16(local.tm_zone), summer ? zone.DaylightName : zone.StandardName);
    }
    if (!zone.DaylightName[0])
        std::copy(std::begin(zone.StandardName), std::end(zone.StandardName), zone.DaylightName);
}

// --- The zone in force ----------------------------------------------------------------------------------------------

std::int64_t UnixNow() {
    return civil::FloorDiv(plat::NowTicks(), civil::kTicksPerSecond) - civil::kDaysTo1970 * kSecondsPerDay;
}

int YearAt(const plat::ZoneData& data, std::int64_t moment) {
    const std::int64_t day = civil::FloorDiv(moment + data.OffsetAt(moment), kSecondsPerDay);
    return civil::CivilFromDays(day + civil::kDaysTo1970).year;
}

class CurrentZone {
public:
    TIME_ZONE_INFORMATION Get() {
        std::lock_guard lock(m_mutex);
        if (m_fixed) return *m_fixed;
        const std::int64_t now = UnixNow();
        if (!m_file) LookAtSource();
        if (!m_year || now < m_year->first || now >= m_year->end) Build(now);
        return m_year->zone;
    }
    std::string Name() {
        std::lock_guard lock(m_mutex);
        if (m_fixed) return {};
        return m_file ? m_name : SystemZoneName();
    }
    void Set(std::optional<TIME_ZONE_INFORMATION> fixed, std::unique_ptr<plat::ZoneData> file,
             const std::string& name) {
        std::lock_guard lock(m_mutex);
        m_fixed = fixed;
        m_file = std::move(file);
        m_name = name;
        m_year.reset();
    }

private:
    // TZ is compared at every call, the zone file looked at once a second.
    void LookAtSource() {
        timespec coarse;
        clock_gettime(CLOCK_MONOTONIC_COARSE, &coarse);
        const bool fresh = m_looked == coarse.tv_sec && m_source.set == (std::getenv("TZ") != nullptr) &&
                           m_source.environment == EnvironmentZone();
        if (fresh && m_year) return;
        m_looked = coarse.tv_sec;
        const ZoneSource source = SourceNow();
        if (source == m_source && m_year) return;
        m_source = source;
        m_year.reset();
        tzset();
    }
    void Build(std::int64_t now) {
        const SystemZone system;
        const plat::ZoneData& data = m_file ? *m_file : static_cast<const plat::ZoneData&>(system);
        m_year = plat::BuildZoneYear(data, YearAt(data, now), now);
        const std::string name = m_file ? m_name : SystemZoneName();
        if (name.empty())
            StoreAbbreviations(*m_year, m_year->zone);
        else
            StoreNames(name, m_year->zone);
    }

    std::mutex m_mutex;
    std::optional<TIME_ZONE_INFORMATION> m_fixed; // set by a test
    std::unique_ptr<plat::ZoneData> m_file;       // set by a test, by name
    std::string m_name;
    std::optional<ZoneYear> m_year;
    ZoneSource m_source;
    std::int64_t m_looked = -1;
};

CurrentZone& TheZone() {
    static auto* zone = new CurrentZone; // asked until the last thread ends
    return *zone;
}

const bool g_registered = (plat::AtReset([] { PlatSetTimeZone(nullptr); }), true);

DWORD HalfInForce(const TIME_ZONE_INFORMATION& zone) {
    if (zone.DaylightDate.wMonth == 0 || zone.StandardDate.wMonth == 0) return TIME_ZONE_ID_UNKNOWN;
    const SYSTEMTIME utc = civil::SystemTimeFromTicks(plat::NowTicks());
    SYSTEMTIME local;
    bool summer = false;
    CeSystemTimeToTzSpecificLocalTime(&zone, &utc, &local, &summer);
    return summer ? TIME_ZONE_ID_DAYLIGHT : TIME_ZONE_ID_STANDARD;
}

// --- Zones by name --------------------------------------------------------------------------------------------------

// Zones lately asked for by name and year: an import asks for the same one at every item.
class NamedZones {
public:
    bool Get(const std::string& name, WORD year, TIME_ZONE_INFORMATION& zone) {
        std::lock_guard lock(m_mutex);
        const auto key = std::pair(name, year);
        auto found = m_zones.find(key);
        if (found == m_zones.end()) {
            const auto data = plat::OpenZoneFile(name);
            if (!data) return false;
            if (m_zones.size() >= kMostZones) m_zones.clear();
            found = m_zones.emplace(key, Build(*data, name, year)).first;
        }
        zone = found->second;
        return true;
    }

private:
    static TIME_ZONE_INFORMATION Build(const plat::ZoneData& data, const std::string& name, WORD year) {
        const std::int64_t lastDay = civil::DaysFromCivil(year, 12, 31) - civil::kDaysTo1970;
        ZoneYear built = plat::BuildZoneYear(data, year, lastDay * kSecondsPerDay);
        StoreNames(name, built.zone);
        return built.zone;
    }

    static constexpr std::size_t kMostZones = 256;
    std::mutex m_mutex;
    std::map<std::pair<std::string, WORD>, TIME_ZONE_INFORMATION> m_zones;
};

NamedZones& TheNamedZones() {
    static auto* zones = new NamedZones;
    return *zones;
}

} // namespace

DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone) {
    plat::HostCall call;
    *zone = TheZone().Get();
    return HalfInForce(*zone);
}

bool PlatGetZoneByName(const char* name, WORD year, TIME_ZONE_INFORMATION* zone) {
    plat::HostCall call;
    return name && TheNamedZones().Get(name, year, *zone);
}

bool PlatGetZoneName(char* name, std::size_t size) {
    plat::HostCall call;
    const std::string known = TheZone().Name();
    if (known.empty() || known.size() >= size) return false;
    std::strcpy(name, known.c_str());
    return true;
}

void PlatSetTimeZone(const TIME_ZONE_INFORMATION* zone) {
    TheZone().Set(zone ? std::optional(*zone) : std::nullopt, nullptr, {});
}

bool PlatSetTimeZoneByName(const std::string& name) {
    auto file = plat::OpenZoneFile(name);
    if (!file) return false;
    TheZone().Set(std::nullopt, std::move(file), name);
    return true;
}
