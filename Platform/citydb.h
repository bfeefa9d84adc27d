// The entries of the city database ("citydb.dll"), the module that answers with all time zones of the world.
//
// It is loaded at run time through Platform/modules.h, and a device may be without it; these are the types of its
// entries, resolved by name. One thread at a time uses it, between InitCityDb and UninitCityDb.
#pragma once

#include "Platform/types.h"

// One zone. The texts belong to the module and end with ClockFreeAllTimeZoneData.
struct CITYTIMEZONE {
    const WCHAR* pszDisplayName; // "(GMT+01:00) Berlin"
    const WCHAR* pszStandardName;
    const WCHAR* pszDaylightName;
    DWORD dwValue; // the zone's number, from 0 in the order of offsets
    LONG lOffset;  // minutes east of Greenwich, without summer time
};

using InitCityDbProc = BOOL (*)();
using UninitCityDbProc = void (*)();
using ClockLoadAllTimeZoneDataProc = BOOL (*)();
using ClockFreeAllTimeZoneDataProc = void (*)();
using ClockGetNumTimezonesProc = int (*)();
// By position in the order of offsets, west first; FALSE past the end.
using ClockGetTimeZoneDataByOffsetProc = BOOL (*)(int index, CITYTIMEZONE* zone);
// The rules of a zone by its number, for the year of the clock.
using ClockGetTimeZoneDataProc = BOOL (*)(DWORD value, TIME_ZONE_INFORMATION* zone);
