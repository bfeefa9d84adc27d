// Daylight-saving rules of a TIME_ZONE_INFORMATION, applied to dates of any year.
//
// The device's own calls know the current year only; an appointment carries a zone and recurs for decades. Pure
// arithmetic on whole numbers: no clock, no host, no allocation; any thread may call. A transition of year 0 is
// relative (nth weekday of a month, 5 the last), any other absolute. Transitions are wall-clock times before the change.
#pragma once

#include "Platform/types.h"

// A relative transition as the date it has in `year`; an absolute one is copied.
QN_API void ConvertToAbsolute(WORD year, const SYSTEMTIME* transition, SYSTEMTIME* out);

// Strictly later than the transition: by month first, in the same month by the moment itself.
QN_API bool LocalGreaterThanTransition(const SYSTEMTIME* date, const SYSTEMTIME* transition);

// The bias in minutes at the first moment of a day, and at its end with the day's 1,440 minutes added; whether the
// day is in summer time (the day of the change to it is, the day of the change back is not). Gives 1.
QN_API int GetDayOffsets(WORD year, WORD month, WORD day, const TIME_ZONE_INFORMATION* tz, int* first,
                         int* last, bool* bDST);
QN_API bool IsInDST(WORD year, WORD month, WORD day, const TIME_ZONE_INFORMATION* tz);

// Wall-clock time of a moment; `bDST` tells whether summer time holds. Gives 1; 0, and nothing written, when `utc` is
// no date of 1601 to 9999 or the result would be none. `local` may be `utc`.
QN_API int CeSystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* tz, const SYSTEMTIME* utc,
                                             SYSTEMTIME* local, bool* bDST);
// The moment of a wall-clock time of which the caller knows whether summer time holds. Results as above.
QN_API int CeTzSpecificLocalTimeToSystemTime(const TIME_ZONE_INFORMATION* tz, const SYSTEMTIME* local,
                                             bool bDST, SYSTEMTIME* utc);
