// Writes the contacts as cards.
#pragma once

#include "apps/qn/output.h"
#include "apps/qn/store.h"

namespace qn {

struct ExportTally {
    unsigned written = 0;
    unsigned failed = 0; // items that are not there, or not wholly
};

// All contacts as vCard 4.0, in the order of their numbers. One without a UID gets one and keeps it.
ExportTally ExportCards(Store& store, Output& output);

} // namespace qn
