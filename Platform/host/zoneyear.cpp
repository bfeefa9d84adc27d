// A year of a zone's offsets as a TIME_ZONE_INFORMATION: the two changes are found by sampling, then expressed as
// "nth weekday of a month" in the way that holds for the following years too.
#include "Platform/host/zonedata.h"

#include "Platform/civil.h"
#include "Platform/zonerules.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace plat {

namespace {

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kSampleStep = 7 * kSecondsPerDay;

struct Change {
    std::int64_t moment; // the first second with the new offset
    int before;
    int after;
    std::int64_t Wall() const { return moment + before; } // the clock on the wall that would have shown it
};

// The change to summer time and the one back.
struct SummerTime {
    Change begin;
    Change end;
};

std::int64_t UnixDay(int year, int month, int day) {
    return civil::DaysFromCivil(year, month, day) - civil::kDaysTo1970;
}

std::int64_t StartOfYear(const ZoneData& data, int year) {
    const std::int64_t wall = UnixDay(year, 1, 1) * kSecondsPerDay;
    return wall - data.OffsetAt(wall - data.OffsetAt(wall));
}

// The change between two moments of different offsets.
Change Bisect(const ZoneData& data, std::int64_t low, std::int64_t high) {
    const int before = data.OffsetAt(low);
    while (high - low > 1) {
        const std::int64_t middle = low + (high - low) / 2;
        (data.OffsetAt(middle) == before ? low : high) = middle;
    }
    return {high, before, data.OffsetAt(high)};
}

std::vector<Change> ChangesOf(const ZoneData& data, std::int64_t first, std::int64_t end) {
    std::vector<Change> changes;
    std::int64_t low = first;
    while (low < end) {
        const std::int64_t high = low + kSampleStep < end ? low + kSampleStep : end;
        if (data.OffsetAt(low) != data.OffsetAt(high)) changes.push_back(Bisect(data, low, high));
        low = high;
    }
    return changes;
}

// A plain summer-time year goes up and comes down by the same step. Where a month of fasting interrupts the summer,
// the pair is the outer one, as only two transitions can be told.
std::optional<SummerTime> SummerTimeOf(const std::vector<Change>& changes) {
    const Change *firstUp = nullptr, *lastUp = nullptr, *firstDown = nullptr, *lastDown = nullptr;
    for (const Change& change : changes) {
        const bool up = change.after > change.before;
        const Change*& first = up ? firstUp : firstDown;
        if (!first) first = &change;
        (up ? lastUp : lastDown) = &change;
    }
    if (!firstUp || !firstDown) return std::nullopt;
    const bool northern = firstUp->moment < lastDown->moment;
    const SummerTime summer = northern ? SummerTime{*firstUp, *lastDown} : SummerTime{*lastUp, *firstDown};
    const bool closed = summer.begin.before == summer.end.after && summer.begin.after == summer.end.before;
    return closed ? std::optional(summer) : std::nullopt;
}

// --- A moment as a relative date ------------------------------------------------------------------------------------

// The wall clock of a transition in milliseconds since 1970, in the year given.
std::int64_t WallIn(int year, const SYSTEMTIME& relative) {
    SYSTEMTIME absolute;
    ConvertToAbsolute(static_cast<WORD>(year), &relative, &absolute);
    return civil::MillisecondsOf(absolute) - civil::kDaysTo1970 * kSecondsPerDay * 1000;
}

constexpr WORD kLast = 5;
constexpr int kYearsLookedAt = 6; // enough for every weekday to have met a month with five of them

// The same transition of the following years, where they have one.
struct Following {
    std::array<std::int64_t, kYearsLookedAt> wall;
    std::array<bool, kYearsLookedAt> known;
};

int Score(const SYSTEMTIME& rule, int year, const Following& following) {
    int score = 0;
    for (std::size_t i = 0; i < kYearsLookedAt; ++i) {
        if (!following.known[i]) continue;
        const std::int64_t distance = following.wall[i] * 1000 - WallIn(year + 1 + static_cast<int>(i), rule);
        score += distance == 0 || distance == 1; // 1: the midnight that ends the rule's day
    }
    return score;
}

void AddCandidates(std::int64_t day, std::int64_t millisecond, std::vector<SYSTEMTIME>& rules) {
    SYSTEMTIME rule = civil::SystemTimeFromDays(day + civil::kDaysTo1970);
    const int length = civil::DaysInMonth(rule.wYear, rule.wMonth);
    const WORD nth = static_cast<WORD>((rule.wDay - 1) / 7 + 1);
    const bool isLast = rule.wDay + 7 > length;
    rule.wYear = 0;
    rule.wHour = static_cast<WORD>(millisecond / 3'600'000);
    rule.wMinute = static_cast<WORD>(millisecond / 60'000 % 60);
    rule.wSecond = static_cast<WORD>(millisecond / 1000 % 60);
    rule.wMilliseconds = static_cast<WORD>(millisecond % 1000);
    rule.wDay = kLast;
    if (isLast) rules.push_back(rule);
    rule.wDay = nth;
    if (nth < kLast) rules.push_back(rule);
}

// All the ways to say the date of this year are right for it; the one that says most of the following years is taken.
SYSTEMTIME RelativeRule(std::int64_t wall, int year, const Following& following) {
    constexpr std::int64_t kLastMillisecond = kSecondsPerDay * 1000 - 1;
    const std::int64_t day = civil::FloorDiv(wall, kSecondsPerDay);
    const std::int64_t second = wall - day * kSecondsPerDay;
    std::vector<SYSTEMTIME> rules;
    AddCandidates(day, second * 1000, rules);
    // "The last Thursday at 24:00" is a Friday of next month in some years: a weekday alone can't say that.
    if (second == 0) AddCandidates(day - 1, kLastMillisecond, rules);
    return *std::ranges::max_element(rules, {},
                                     [&](const SYSTEMTIME& rule) { return Score(rule, year, following); });
}

LONG Minutes(int seconds) { return static_cast<LONG>(civil::FloorDiv(seconds + 30, 60)); }

void StoreRules(const ZoneData& data, int year, const SummerTime& summer, TIME_ZONE_INFORMATION& zone) {
    Following begins{};
    Following ends{};
    for (int i = 0; i < kYearsLookedAt; ++i) {
        const int next = year + 1 + i;
        const auto changes = ChangesOf(data, StartOfYear(data, next), StartOfYear(data, next + 1));
        const auto there = SummerTimeOf(changes);
        const auto at = static_cast<std::size_t>(i);
        begins.known[at] = ends.known[at] = there.has_value();
        if (!there) continue;
        begins.wall[at] = there->begin.Wall();
        ends.wall[at] = there->end.Wall();
    }
    zone.Bias = -Minutes(summer.begin.before);
    zone.DaylightBias = -Minutes(summer.begin.after - summer.begin.before);
    zone.DaylightDate = RelativeRule(summer.begin.Wall(), year, begins);
    zone.StandardDate = RelativeRule(summer.end.Wall(), year, ends);
}

} // namespace

ZoneYear BuildZoneYear(const ZoneData& data, int year, std::int64_t moment) {
    ZoneYear result{{}, StartOfYear(data, year), StartOfYear(data, year + 1)};
    const auto changes = ChangesOf(data, result.first, result.end);
    if (const auto summer = SummerTimeOf(changes)) {
        StoreRules(data, year, *summer, result.zone);
        return result;
    }
    result.zone.Bias = -Minutes(data.OffsetAt(moment));
    for (const Change& change : changes) {
        if (change.moment <= moment) result.first = change.moment;
        if (change.moment > moment && change.moment < result.end) result.end = change.moment;
    }
    return result;
}

} // namespace plat
