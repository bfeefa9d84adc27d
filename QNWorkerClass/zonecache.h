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
    struct Year {
        LONGLONG firstDay = 0; // and endDay, one past the last: an empty span fits no day
        LONGLONG endDay = 0;
        LONGLONG summerDay = 0;
        LONGLONG standardDay = 0;
        LONGLONG summerChange = 0; // seconds: what is greater is later than the change
        LONGLONG standardChange = 0;
    };

    const Year& YearOf(LONGLONG day);
    bool ToLocalPlainly(LONGLONG utc, LONGLONG& local) const;

    TIME_ZONE_INFORMATION m_zone = {};
    Form m_form = Form::Fixed;
    std::array<Year, 4> m_years; // by year modulo their number, so that neighbours don't push each other out
    const Year* m_pLast = &m_years[0];
};
