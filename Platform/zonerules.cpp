#include "Platform/zonerules.h"

#include "Platform/civil.h"

using namespace civil;

namespace {

constexpr int kDaysInWeek = 7;

bool HasRelativeDate(const SYSTEMTIME& transition) { return transition.wYear == 0; }

SYSTEMTIME AbsoluteTransition(WORD year, const SYSTEMTIME& transition) {
    SYSTEMTIME absolute = transition;
    if (!HasRelativeDate(transition)) return absolute;
    absolute.wYear = year;
    const int weekdayOfFirst = Weekday(year, transition.wMonth, 1);
    const int firstSuch = (transition.wDayOfWeek - weekdayOfFirst + kDaysInWeek) % kDaysInWeek + 1;
    int day = firstSuch + kDaysInWeek * (transition.wDay - 1);
    if (day > DaysInMonth(year, transition.wMonth)) day -= kDaysInWeek;
    absolute.wDay = static_cast<WORD>(day);
    return absolute;
}

std::int64_t TransitionDay(WORD year, const SYSTEMTIME& transition) {
    return DaysOf(AbsoluteTransition(year, transition));
}

constexpr std::int64_t BiasTicks(std::int64_t minutes) { return minutes * kTicksPerMinute; }

bool IsTickDate(std::int64_t ticks) { return ticks >= 0 && ticks < kEndOfTicks; }

// Summer time by the two candidates for the wall clock: `standard` without, `summer` with the summer bias.
bool HoldsSummerTime(const TIME_ZONE_INFORMATION& tz, const SYSTEMTIME& standard, const SYSTEMTIME& summer) {
    const bool begun = LocalGreaterThanTransition(&standard, &tz.DaylightDate);
    const bool ended = LocalGreaterThanTransition(&summer, &tz.StandardDate);
    const bool northern = tz.DaylightDate.wMonth < tz.StandardDate.wMonth;
    // At the end of December the summer clock already shows January, which would look like a time before the change.
    if (northern) return summer.wMonth >= standard.wMonth && begun && !ended;
    return !ended || begun;
}

// Zones come from records too, so any number may stand in them.
void StoreOffsets(const TIME_ZONE_INFORMATION& tz, LONG atFirst, LONG atLast, int* first, int* last) {
    *first = static_cast<int>(std::int64_t{tz.Bias} + atFirst);
    *last = static_cast<int>(std::int64_t{tz.Bias} + kMinutesPerDay + atLast);
}

} // namespace

void ConvertToAbsolute(WORD year, const SYSTEMTIME* transition, SYSTEMTIME* out) {
    *out = AbsoluteTransition(year, *transition);
}

bool LocalGreaterThanTransition(const SYSTEMTIME* date, const SYSTEMTIME* transition) {
    if (date->wMonth != transition->wMonth) return date->wMonth > transition->wMonth;
    return MillisecondsOf(*date) > MillisecondsOf(AbsoluteTransition(date->wYear, *transition));
}

int GetDayOffsets(WORD year, WORD month, WORD day, const TIME_ZONE_INFORMATION* tz, int* first, int* last,
                  bool* bDST) {
    *bDST = false;
    if (tz->DaylightDate.wMonth == 0) { // the standard bias does not count either
        StoreOffsets(*tz, 0, 0, first, last);
        return 1;
    }
    const std::int64_t today = DaysFromCivil(year, month, day);
    const std::int64_t summerDay = TransitionDay(year, tz->DaylightDate);
    const std::int64_t standardDay = TransitionDay(year, tz->StandardDate);
    if (today == summerDay) {
        *bDST = true;
        StoreOffsets(*tz, tz->StandardBias, tz->DaylightBias, first, last);
    } else if (today == standardDay) {
        StoreOffsets(*tz, tz->DaylightBias, tz->StandardBias, first, last);
    } else {
        const bool northern = summerDay < standardDay;
        *bDST =
            northern ? today > summerDay && today < standardDay : !(today > standardDay && today < summerDay);
        const LONG bias = *bDST ? tz->DaylightBias : tz->StandardBias;
        StoreOffsets(*tz, bias, bias, first, last);
    }
    return 1;
}

bool IsInDST(WORD year, WORD month, WORD day, const TIME_ZONE_INFORMATION* tz) {
    int first;
    int last;
    bool summer;
    GetDayOffsets(year, month, day, tz, &first, &last, &summer);
    return summer;
}

int CeSystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* tz, const SYSTEMTIME* utc,
                                      SYSTEMTIME* local, bool* bDST) {
    if (!IsValid(*utc)) return 0;
    const std::int64_t standardTicks = TicksOf(*utc) - BiasTicks(tz->Bias);
    const std::int64_t summerTicks = standardTicks - BiasTicks(tz->DaylightBias);
    if (!IsTickDate(standardTicks)) return 0;
    const SYSTEMTIME standard = SystemTimeFromTicks(standardTicks);
    if (tz->StandardDate.wMonth == 0) {
        *local = standard;
        *bDST = false;
        return 1;
    }
    if (!IsTickDate(summerTicks)) return 0;
    const SYSTEMTIME summer = SystemTimeFromTicks(summerTicks);
    const bool summerHolds = HoldsSummerTime(*tz, standard, summer);
    const std::int64_t standardWall = standardTicks - BiasTicks(tz->StandardBias);
    if (!summerHolds && !IsTickDate(standardWall)) return 0;
    const bool plain = tz->StandardBias == 0; // nearly always
    *local = summerHolds ? summer : plain ? standard : SystemTimeFromTicks(standardWall);
    *bDST = summerHolds;
    return 1;
}

int CeTzSpecificLocalTimeToSystemTime(const TIME_ZONE_INFORMATION* tz, const SYSTEMTIME* local, bool bDST,
                                      SYSTEMTIME* utc) {
    if (!IsValid(*local)) return 0;
    const std::int64_t bias = std::int64_t{tz->Bias} + (bDST ? tz->DaylightBias : tz->StandardBias);
    const std::int64_t ticks = TicksOf(*local) + BiasTicks(bias);
    if (!IsTickDate(ticks)) return 0;
    *utc = SystemTimeFromTicks(ticks);
    return 1;
}
