// Dates and times as the rows of calendar pages show them: in patterns of the locale, read once a process.
#pragma once

#include "Platform/types.h"
#include "QNWorkerClass/dates.h"

#include <array>
#include <cmath>

using CalendarShortText = std::array<WCHAR, 40>;

void InitCalendarPatterns();                       // reads them, if that hasn't happened yet
CalendarShortText CalendarTimeText(double moment); // lower-cased; both are empty for what is no date
CalendarShortText CalendarDateText(double moment);

inline bool IsListDate(double date) { return date < kLatestListDate; }

// The whole day; what is far from any date, or no number, gives a day far away.
inline LONG CalendarDay(double date) {
    constexpr double kFar = 1e6;
    return static_cast<LONG>(date > -kFar && date < kFar ? std::floor(date) : kFar);
}
