// The rules of one time zone with the changes of each year kept, for a load that converts thousands of times. It gives
// what the functions of Platform/zonerules.h give. Belongs to one thread at a time.
//
// Times are whole seconds since 1 January 1601, days count from there too.
#pragma once

#include "Platform/types.h"
#include "Platform/zonerules.h"

#include <array>

class ZoneCache {
public:
    // Takes the zone; the years are kept when its rules are the ones that are held.
    void SetZone(const TIME_ZONE_INFORMATION& zone);

    // Whether summer time holds on a day, by the rule of whole days.
    bool IsInDST(LONGLONG day);
    // The moment of a wall-clock time, summer time told by its day. False when the result is no date.
    bool ToUtc(LONGLONG local, LONGLONG& utc);
    // The wall-clock time of a moment. False when the result is no date.
    bool ToLocal(LONGLONG utc, LONGLONG& local);

private:
    enum class Form {
        Fixed,    // no summer time
        Northern, // summer time within a year
        Southern, // over the new year
        Other,    // told by the plain functions
    };
    // A stretch of time with one bias: what is added in it. An empty one holds nothing.
    struct Span {
        LONGLONG begin = 0;
        LONGLONG end = 0;
        LONGLONG shift = 0;
        bool Holds(LONGLONG time) const { return time >= begin && time < end; }
    };
    // A year falls into an inner part and the two outer ones about it, once by whole days and once by the moments of
    // the changes, on the clock without summer time.
    struct Year {
        LONGLONG firstDay = 0; // and endDay, one past the last: an empty span fits no day
        LONGLONG endDay = 0;
        LONGLONG dayFrom = 0;
        LONGLONG dayTo = 0;
        bool innerDaysAreSummer = false;
        LONGLONG secondFrom = 0;
        LONGLONG secondTo = 0;
    };

    const Year& YearOf(LONGLONG day);
    void FillYear(Year& year, int number);
    bool HoldsByDay(LONGLONG day, const Year& year) const;
    bool FindSpanToUtc(LONGLONG local);
    bool FindSpanToLocal(LONGLONG utc);
    bool ToLocalPlainly(LONGLONG utc, LONGLONG& local) const;
    LONGLONG Bias(bool summer) const;
    static Span PartOf(LONGLONG time, const Span& year, LONGLONG from, LONGLONG to, LONGLONG inner,
                       LONGLONG outer);

    TIME_ZONE_INFORMATION m_zone = {};
    Form m_form = Form::Fixed;
    Span m_toUtc; // where the last conversion was
    Span m_toLocal;
    std::array<Year, 4> m_years; // by year modulo their number, so that neighbours don't push each other out
    const Year* m_pLast = &m_years[0];
};
