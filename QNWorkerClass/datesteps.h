// The date steps of the recurrence walks: pure functions on civil dates and whole days, free for any thread.
//
// A whole day is a count from 30 December 1899 (a variant time without its fraction). A civil date may be one that the
// calendar doesn't have (31 June): the steps produce such dates, and the walks pass over them.
#pragma once

#include "Platform/civil.h"
#include "Platform/types.h"

struct CivilDate {
    LONG year;
    LONG month; // 1 to 12
    LONG day;

    friend bool operator==(const CivilDate&, const CivilDate&) = default;
};

// Masks of weekdays: bit 0 Sunday to bit 6 Saturday.
inline constexpr DWORD kEveryDayMask = 127;
inline constexpr DWORD kWorkDaysMask = 62;
inline constexpr DWORD kWeekendMask = 65;

inline constexpr LONG kSaturday = 6;
inline constexpr LONG kFriday = 5;
inline constexpr LONG kMonday = 1;
inline constexpr LONG kSunday = 0;

// --- Days and dates -----------------------------------------------------------------------------------------------

// From the minutes since 1 January 1601 of a recurrence block.
constexpr LONG DayOfMinutes(DWORD minutesSince1601) {
    return static_cast<LONG>(minutesSince1601 / civil::kMinutesPerDay) -
           static_cast<LONG>(civil::kDaysTo1899);
}
// The minutes of a day that such a block can hold: 1601 to 9766.
constexpr DWORD MinutesOfDay(LONG day) {
    return static_cast<DWORD>(day + static_cast<LONG>(civil::kDaysTo1899)) * civil::kMinutesPerDay;
}
// The day of a civil date; a day past the end of its month runs on into the next.
LONG DayOf(const CivilDate& date);
CivilDate CivilOf(LONG day);
// 0 Sunday; 30 December 1899 was a Saturday. The shift keeps all days of the calendar above zero.
constexpr LONG WeekdayOf(LONG day) {
    return static_cast<LONG>(static_cast<DWORD>(day + 6 + 7 * 1000000) % 7);
}
bool DateExists(const CivilDate& date);

// A moment by some clock: a day, and a minute of it.
struct DayTime {
    LONG day = 0;
    LONG minute = 0;
};
// Of minutes counted from 30 December 1899.
constexpr DayTime DayTimeOf(LONGLONG minutes) {
    LONGLONG day = civil::FloorDiv(minutes, civil::kMinutesPerDay);
    return {static_cast<LONG>(day), static_cast<LONG>(minutes - day * civil::kMinutesPerDay)};
}
// The fraction counts on before 1899 too.
constexpr double VariantOf(const DayTime& time) {
    return time.day < 0 ? time.day - time.minute / 1440.0 : time.day + time.minute / 1440.0;
}

// Variant times of whole seconds since 1601, and back, rounded to the second.
double VariantOfSeconds(LONGLONG seconds);
LONGLONG SecondsOfVariant(double variant);

// Months counted on from year 0, for stepping by any number of them.
constexpr LONG MonthIndex(const CivilDate& date) { return date.year * 12 + date.month - 1; }
constexpr CivilDate FirstOfMonth(LONG monthIndex) { return {monthIndex / 12, monthIndex % 12 + 1, 1}; }

// --- Steps --------------------------------------------------------------------------------------------------------

// The month's length by the table of the walks: February has 29 days in every year that divides by 4, centuries too. 0
// for a month that is none.
LONG TableMonthLength(const CivilDate& date);

// From the first of a month to the pattern's day. 29 to 31 become the month's last day where it is shorter; but a
// length of 29 is February's by the table, so 1900 and 2100 give a 29 February that doesn't exist. A number that is no
// day of any month counts on from the first.
CivilDate DateAdjust(const CivilDate& firstOfMonth, LONG patternDay);

// The step of a series on a day of the month. Not "the same day of the next month": the days that are stepped over are
// counted by the month that is left, so from 31 January a series on the 31st goes to 31 March, from a 30 April to 30 May
// and from there to a 31 June. Stored series show on these dates and on no others.
CivilDate IncrementMonth(const CivilDate& date, LONG patternDay);

// The step of a series on a day of the year; in February the 29th becomes the 28th and comes back in leap years.
CivilDate IncrementByYear(const CivilDate& date, LONG patternMonth, LONG patternDay);

// The month of a yearly rule from the minutes before it (of a year of 365 days); 1 to 12 for any number.
LONG MonthOfYearOffset(DWORD minutes);

// The nth (1 to 4, or 5 for the last) day of the mask in the month of `date`. 62 counts working days, 65 the days of
// weekends, 127 all days; any other mask counts weeks of its lowest day. The mask isn't 0.
LONG NthWeekday(const CivilDate& date, DWORD mask, LONG nth);

// The lowest day of a mask as 0 to 6, or 7 for none.
LONG LowestWeekday(DWORD mask);
// The first day of the mask that is after this weekday, or 7.
LONG NextWeekday(DWORD mask, LONG weekday);
