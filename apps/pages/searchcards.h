// The cards of items that are known by their id alone, read through the object model. A card without a title: the item
// isn't there any more.
#pragma once

#include "apps/pages/card.h"

namespace qn {

// Of a series: the occurrence that begins then.
CardText AppointmentCard(DWORD oid, DATE start, DATE end);
CardText TaskCard(DWORD oid);
// `belongsTo` is the title of its item.
CardText JournalCard(DWORD record, const std::u16string& belongsTo);

} // namespace qn
