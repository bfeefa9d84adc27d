// The dates that carry meaning in every record and filter of the data engine: doubles of variant time, that is days
// since 30 December 1899 with the fraction as the time of day.
#pragma once

#include "Platform/types.h"

// kNoDate, the null value of every date field, is one of the base types.
inline constexpr double kLatestListDate =
    401768.0; // a date beyond it is a no-date of some other form: not listed
inline constexpr double kFirstTemplateDate =
    401734.0;                          // from here to kLatestListDate: the suite's internal items
inline constexpr LONG kNoDay = 949998; // kNoDate as a whole day

inline constexpr LONG kMinutesPerDay = 1440;
