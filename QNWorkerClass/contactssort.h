// The orders of contacts: that of the cache, by the names a format shows or by its group key, and that of the rows of the
// display list, group by group.
#pragma once

#include "QNWorkerClass/DATACONTACTS.h"

constexpr bool IsByNames(LONG format) {
    return format == kDisplayFirstLast || format == kDisplayLastFirst || format == kDisplayFileAs;
}
// Whether rows stand in groups by their group key: whatever is no other form.
constexpr bool IsGroupedByKey(LONG format) {
    return !IsByNames(format) && format != kDisplayByCategory && format != kDisplayRecent &&
           format != kDisplayCallLog;
}

// Below, equal to or above 0. Rows with keys (FillOrderKeys, FillShownKey) of the same format ask no language.
int CompareCachedContacts(const DATACONTACTS* a, const DATACONTACTS* b, LONG format);
int CompareShownContacts(const DATACONTACTS* a, const DATACONTACTS* b, LONG format);
int CompareContactsByFileAs(const DATACONTACTS* a, const DATACONTACTS* b);

// Makes the keys of the order that the row lacks. bJoined: also the one for lists in which a first key is missing.
void FillOrderKeys(DATACONTACTS& row, LONG format, bool bJoined);
void FillShownKey(DATACONTACTS& row, LONG format);
bool LacksFirstName(const DATACONTACTS& row, LONG format); // the first key of a format by names
