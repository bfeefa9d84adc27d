// The joint between the object model of items and the calendar engine: the object model counts the dates of a
// recurrence rule, the engine owns the walks that produce them. The engine registers its walk here at start-up.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

// A rule as it stands in the recurrence block of a record. Dates are minutes since 1 January 1601 00:00.
struct PlatRule {
    WORD wRecurType;    // 8202 daily, 8203 weekly, 8204 monthly, 8205 yearly
    WORD wPatternType;  // 0 every n days, 1 by weekdays, 2 by day of the month, 3 by nth weekday
    DWORD dwYearOffset; // yearly: minutes of the 365-day year before the month
    DWORD dwPeriod;     // minutes, weeks or months
    DWORD dwWeekMask;   // bit 0 Sunday to bit 6 Saturday
    DWORD dwDay;        // day of the month
    DWORD dwNth;        // 1 to 4, 5 the last
    DWORD dwStartDate;  // whole day of the first date
};

// Gives the rule's dates (midnights) in ascending order, from `first` through `last`, none before rule.dwStartDate;
// ends early when `visit` gives false. No deleted or changed occurrence is considered.
using PlatRuleWalk = void (*)(const PlatRule& rule, DWORD first, DWORD last,
                              bool (*visit)(void* user, DWORD date), void* user);

void PlatSetRuleWalk(PlatRuleWalk walk);
PlatRuleWalk PlatGetRuleWalk();

#pragma GCC visibility pop
