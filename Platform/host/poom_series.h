// A series as the object model holds it, and its recurrence block in the record. No store, no locks.
#pragma once

#include "Platform/host/poom_values.h"
#include "Platform/rulewalk.h"

namespace plat::poom {

inline constexpr DWORD kMinutesOfDay = 1440;
inline constexpr DWORD kLargestDuration = kMinutesOfDay * 3660;
inline constexpr DWORD kEndOfEndless = 1525252319; // 31 December 4500 23:59
inline constexpr DWORD kFirstEndless = 1524726720; // 1 January 4500: an end from here on is none

// A changed occurrence. Times are minutes of the series' wall clock; what is null is as in the series.
struct ChangedOccurrence {
    DWORD start = 0;
    DWORD end = 0;
    DWORD original = 0;  // the rule's date with the series' start time
    WORD otherFlags = 0; // unknown ones, kept
    WORD reserved = 0;
    std::optional<std::u16string> subject;
    std::optional<std::u16string> location;
    std::optional<WORD> busyStatus;
    std::optional<bool> allDay;
    std::optional<DWORD> part8; // parts of other writers, kept byte for byte
    std::optional<DWORD> part4;
    std::optional<std::vector<BYTE>> note;

    DWORD OriginalDay() const { return original - original % kMinutesOfDay; }
};

enum class SeriesEnd { Never, AfterCount, ByDate };

struct Series {
    LONG type = 1; // RecurrenceType
    // Null follows the first date.
    std::optional<LONG> interval;
    std::optional<LONG> weekMask;
    std::optional<LONG> dayOfMonth;
    std::optional<LONG> instance;
    std::optional<LONG> month;
    DWORD startDate = 0; // a midnight
    DWORD startTime = 0; // minutes after midnight
    DWORD duration = 0;  // minutes
    SeriesEnd end = SeriesEnd::Never;
    DWORD count = 0;                        // AfterCount; else as counted
    DWORD endDate = 0;                      // ByDate; else as counted: a midnight
    bool endCounted = false;                // the one that the other gives stands
    std::vector<DWORD> deleted;             // rule dates of the deleted and the changed ones, ascending
    std::vector<ChangedOccurrence> changed; // by their new days, ascending

    // As the walks know it, with the values that were not set.
    PlatRule Rule() const;
    bool EveryWeekday() const { return type == 0 && interval == 0 && weekMask.value_or(0) != 0; }
    // Changed occurrences keep their own times, and go on naming the rule's date with the series' time.
    void SetStartTime(DWORD minutes);
    // The rule has changed: no occurrence is what it was.
    void ForgetOccurrences();
    const ChangedOccurrence* FindChanged(DWORD originalDay) const;
    bool IsDeleted(DWORD day) const; // or changed
    // Puts the record of a changed occurrence in its place, or takes the occurrence out.
    void Change(ChangedOccurrence occurrence);
    void DeleteOccurrence(DWORD day);
};

// Counts the rule's dates so that both ends stand. E_UNEXPECTED without a walk; E_INVALIDARG when the count leads past the
// year 4499.
HRESULT CountEnd(Series& series);
// The last day that the rule may have; CountEnd first.
DWORD LastDay(const Series& series);
// The first date of the rule, its start date when there is none or no walk.
DWORD FirstDate(const Series& series);
bool HasRuleDate(const Series& series, DWORD day);
// The first date behind `day`, 0 past the end.
DWORD NextDate(const Series& series, DWORD day);
// The dates from `first` through `last`, deleted and changed ones among them.
std::vector<DWORD> RuleDates(const Series& series, DWORD first, DWORD last);

// False for a block that is no series or ends in the middle; `series` is then not to be used.
bool DecodeSeries(std::span<const BYTE> block, Series& series);
// CountEnd first.
std::vector<BYTE> EncodeSeries(const Series& series);

constexpr DWORD WholeDays(DWORD minutes) {
    return minutes <= kMinutesOfDay ? kMinutesOfDay
                                    : (minutes + kMinutesOfDay - 1) / kMinutesOfDay * kMinutesOfDay;
}

} // namespace plat::poom
