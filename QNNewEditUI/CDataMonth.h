// One day of a calendar page: what the bar of its 24 hours and its square in the month show.
//
// A plain record, filled on the main thread while a page is built (CCalendarSubview::SetupBarDataStruct) and read while it
// is painted.
#pragma once

#include "Platform/types.h"

#include <vector>

struct QN_API CDataMonth : SYSTEMTIME { // the date of the square
    static constexpr int kHours = 24;
    static constexpr LONG kNoStatus = -1;
    static constexpr LONG kNoFlags = static_cast<LONG>(0xFFFF0000); // the second word is -1

    struct Interval {
        double start; // fractions of the day
        double end;
        bool operator==(const Interval&) const = default;
    };

    CDataMonth() : SYSTEMTIME{} { Init(); }
    void Init();

    bool bHalfUsed[kHours][2]; // the half hour holds something
    COLORREF crHalf[kHours][2];
    LONG nHalfStatus[kHours][2]; // the highest busy status so far
    LONG nCount;
    LONG nTasks;
    LONG nFlags;
    BYTE bHasAM; // something in the morning
    BYTE bHasPM;
    BYTE bHasBar; // the bar shows something
    // What is free, in order; the whole day until an item comes.
    std::vector<Interval> FreeTime;
};
