// The clock and the conversions of dates: see Platform/clock.h. Zones are in zones.cpp.
#include "Platform/clock.h"

#include "Platform/civil.h"
#include "Platform/host/call.h"
#include "Platform/host/clockstate.h"
#include "Platform/host/faults.h"
#include "Platform/threads.h"
#include "Platform/zonerules.h"

#include <atomic>
#include <cmath>
#include <mutex>
#include <time.h>
#include <vector>

using namespace civil;

// --- The clock, real or set -----------------------------------------------------------------------------------------

namespace {

struct SetClock {
    std::atomic<bool> active{false};
    std::atomic<std::int64_t> ticks{0};
    std::atomic<bool> movedBySleep{false};
};
SetClock g_setClock;

struct Listeners {
    std::mutex mutex;
    std::vector<void (*)()> all;
};

Listeners& TheListeners() {
    static auto* listeners = new Listeners; // registered into by static objects of other files, in any order
    return *listeners;
}

void TellListeners() {
    std::vector<void (*)()> all;
    {
        Listeners& listeners = TheListeners();
        std::lock_guard lock(listeners.mutex);
        all = listeners.all;
    }
    for (const auto changed : all) changed();
}

std::int64_t HostTicks(clockid_t clock) {
    timespec now;
    clock_gettime(clock, &now);
    return now.tv_sec * kTicksPerSecond + now.tv_nsec / 100;
}

const bool g_registered = (plat::AtReset([] { g_setClock.active = g_setClock.movedBySleep = false; }), true);

} // namespace

namespace plat {

bool ClockIsSet() { return g_setClock.active.load(std::memory_order_acquire); }

bool SleepMovesClock() { return ClockIsSet() && g_setClock.movedBySleep.load(std::memory_order_relaxed); }

std::int64_t NowTicks() {
    if (ClockIsSet()) return g_setClock.ticks.load(std::memory_order_relaxed);
    return HostTicks(CLOCK_REALTIME) + kDaysTo1970 * kTicksPerDay;
}

void AtClockChange(void (*changed)()) {
    std::lock_guard lock(TheListeners().mutex);
    TheListeners().all.push_back(changed);
}

} // namespace plat

void PlatSetClock(const SYSTEMTIME* utc) {
    if (utc) g_setClock.ticks = TicksOf(*utc);
    g_setClock.active = utc != nullptr;
    TellListeners();
}

void PlatAdvanceClock(DWORD milliseconds) {
    g_setClock.ticks += milliseconds * kTicksPerMillisecond;
    TellListeners();
}

void PlatLetSleepMoveClock(bool on) { g_setClock.movedBySleep = on; }

void GetSystemTime(SYSTEMTIME* utc) {
    plat::HostCall call;
    *utc = SystemTimeFromTicks(plat::NowTicks());
}

void GetLocalTime(SYSTEMTIME* local) {
    plat::HostCall call;
    TIME_ZONE_INFORMATION zone;
    GetTimeZoneInformation(&zone);
    const SYSTEMTIME utc = SystemTimeFromTicks(plat::NowTicks());
    bool summer;
    if (!CeSystemTimeToTzSpecificLocalTime(&zone, &utc, local, &summer)) *local = utc;
}

DWORD GetTickCount() {
    plat::HostCall call;
    const std::int64_t ticks = plat::ClockIsSet() ? plat::NowTicks() : HostTicks(CLOCK_MONOTONIC);
    return static_cast<DWORD>(ticks / kTicksPerMillisecond);
}

// --- Ticks ----------------------------------------------------------------------------------------------------------

namespace {

BOOL NoDate() {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}

BOOL StoreTicks(std::int64_t ticks, FILETIME* out) {
    if (ticks < 0 || ticks >= kEndOfTicks) return NoDate();
    *out = FileTimeFromTicks(static_cast<ULONGLONG>(ticks));
    return TRUE;
}

bool IsTickDate(const FILETIME& ticks) { return FileTimeTicks(ticks) < static_cast<ULONGLONG>(kEndOfTicks); }

// What is added to local time now for UTC.
std::int64_t BiasTicksNow() {
    TIME_ZONE_INFORMATION zone;
    const DWORD half = GetTimeZoneInformation(&zone);
    const LONG extra = half == TIME_ZONE_ID_DAYLIGHT   ? zone.DaylightBias
                       : half == TIME_ZONE_ID_STANDARD ? zone.StandardBias
                                                       : 0;
    return (std::int64_t{zone.Bias} + extra) * kTicksPerMinute;
}

} // namespace

BOOL SystemTimeToFileTime(const SYSTEMTIME* date, FILETIME* ticks) {
    plat::HostCall call;
    return IsValid(*date) ? StoreTicks(TicksOf(*date), ticks) : NoDate();
}

BOOL FileTimeToSystemTime(const FILETIME* ticks, SYSTEMTIME* date) {
    plat::HostCall call;
    if (!IsTickDate(*ticks)) return NoDate();
    *date = SystemTimeFromTicks(static_cast<std::int64_t>(FileTimeTicks(*ticks)));
    return TRUE;
}

BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local) {
    plat::HostCall call;
    if (!IsTickDate(*utc)) return NoDate();
    return StoreTicks(static_cast<std::int64_t>(FileTimeTicks(*utc)) - BiasTicksNow(), local);
}

BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* utc) {
    plat::HostCall call;
    if (!IsTickDate(*local)) return NoDate();
    return StoreTicks(static_cast<std::int64_t>(FileTimeTicks(*local)) + BiasTicksNow(), utc);
}

LONG CompareFileTime(const FILETIME* a, const FILETIME* b) {
    const ULONGLONG left = FileTimeTicks(*a);
    const ULONGLONG right = FileTimeTicks(*b);
    return left < right ? -1 : left > right;
}

// --- Variant time ---------------------------------------------------------------------------------------------------

namespace {

constexpr int kSecondsPerDay = 86'400;
constexpr int kFirstVariantYear = 100;
constexpr std::int64_t kFirstVariantDay = DaysFromCivil(kFirstVariantYear, 1, 1) - kDaysTo1899;
constexpr std::int64_t kEndOfVariantDays = DaysFromCivil(10'000, 1, 1) - kDaysTo1899;

bool IsVariantDate(const SYSTEMTIME& t) {
    return t.wYear >= kFirstVariantYear && t.wYear <= 9999 && t.wDay >= 1 &&
           t.wDay <= DaysInMonth(t.wYear, t.wMonth) && t.wHour < 24 && t.wMinute < 60 && t.wSecond < 60;
}

} // namespace

int SystemTimeToVariantTime(const SYSTEMTIME* date, double* days) {
    plat::HostCall call;
    if (!IsVariantDate(*date)) return NoDate();
    const auto whole = static_cast<double>(DaysOf(*date) - kDaysTo1899);
    const double time =
        (date->wHour * 3600 + date->wMinute * 60 + date->wSecond) / static_cast<double>(kSecondsPerDay);
    *days = whole < 0 ? whole - time : whole + time;
    return TRUE;
}

int VariantTimeToSystemTime(double days, SYSTEMTIME* date) {
    plat::HostCall call;
    if (!(days > static_cast<double>(kFirstVariantDay - 1) && days < static_cast<double>(kEndOfVariantDays)))
        return NoDate(); // also what is no number
    const double whole = std::trunc(days);
    auto day = static_cast<std::int64_t>(whole);
    auto second = static_cast<int>(std::lround(std::fabs(days - whole) * kSecondsPerDay));
    if (second == kSecondsPerDay) {
        second = 0;
        ++day;
    }
    if (day >= kEndOfVariantDays) return NoDate();
    *date = SystemTimeFromMinutes((day + kDaysTo1899) * kMinutesPerDay + second / 60);
    date->wSecond = static_cast<WORD>(second % 60);
    return TRUE;
}
