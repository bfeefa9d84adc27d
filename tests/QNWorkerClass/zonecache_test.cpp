// The cached rules of a zone against the plain functions, hour by hour about every change and at random.
#include "QNWorkerClass/zonecache.h"
#include "tests/support/appointments.h"

#include <gtest/gtest.h>

#include <random>

namespace {

struct NamedZone {
    const char* name;
    TIME_ZONE_INFORMATION zone;
};

std::vector<NamedZone> Zones() {
    TIME_ZONE_INFORMATION fixed = {};
    fixed.Bias = -330;
    fixed.StandardBias = 15;
    TIME_ZONE_INFORMATION absolute = Eastern();
    absolute.StandardDate = {2010, 11, 0, 7, 2, 0, 0, 0};
    absolute.DaylightDate = {2010, 3, 0, 14, 2, 0, 0, 0};
    TIME_ZONE_INFORMATION negative = Berlin(); // summer is the time behind
    negative.DaylightBias = 60;
    TIME_ZONE_INFORMATION newYear = Berlin();
    newYear.StandardDate = {0, 12, 4, 5, 23, 59, 0, 0};
    TIME_ZONE_INFORMATION half = Berlin();
    half.StandardDate.wMonth = 0;
    return {{"New York", Eastern()}, {"Berlin", Berlin()},   {"Sydney", Sydney()},  {"fixed", fixed},
            {"absolute", absolute},  {"negative", negative}, {"new year", newYear}, {"half", half}};
}

void ExpectSame(const NamedZone& named, ZoneCache& cache, LONGLONG minutes, unsigned seed) {
    SYSTEMTIME moment = civil::SystemTimeFromMinutes(minutes);
    SYSTEMTIME local = {};
    bool summer = false;
    LONGLONG cached = 0;
    bool told = CeSystemTimeToTzSpecificLocalTime(&named.zone, &moment, &local, &summer) != 0;
    ASSERT_EQ(told, cache.ToLocal(minutes * 60, cached)) << named.name << " " << minutes << " seed " << seed;
    if (told) {
        ASSERT_EQ(civil::MinutesOf(local) * 60, cached)
            << named.name << " " << MomentText(VariantOfSeconds(minutes * 60)) << " seed " << seed;
    }
    bool byDay = IsInDST(moment.wYear, moment.wMonth, moment.wDay, &named.zone);
    ASSERT_EQ(byDay, cache.IsInDST(civil::DaysOf(moment)))
        << named.name << " " << minutes << " seed " << seed;
    SYSTEMTIME utc = {};
    if (CeTzSpecificLocalTimeToSystemTime(&named.zone, &moment, byDay, &utc)) {
        ASSERT_TRUE(cache.ToUtc(minutes * 60, cached));
        ASSERT_EQ(civil::MinutesOf(utc) * 60, cached) << named.name << " " << minutes << " seed " << seed;
    }
}

TEST(ZoneCache, GivesWhatThePlainFunctionsGive) {
    unsigned seed = std::random_device{}();
    std::mt19937 engine(seed);
    std::uniform_int_distribution<LONGLONG> anyMinute(Minutes("1601-01-03"), Minutes("9700-12-31"));
    ZoneCache cache; // one for all zones, so that a change of zone is tried too
    for (const NamedZone& named : Zones()) {
        cache.SetZone(named.zone);
        for (LONGLONG minutes = Minutes("2009-12-30"); minutes < Minutes("2012-01-03"); minutes += 30)
            ExpectSame(named, cache, minutes, seed);
        for (int i = 0; i < 3000; ++i) ExpectSame(named, cache, anyMinute(engine), seed);
        if (HasFatalFailure()) return;
    }
}

} // namespace
