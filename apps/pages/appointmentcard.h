// What the card tells of a line of the day list; the note and the reminder are read through the object model.
#pragma once

#include "QNWorkerClass/DATACALENDAR.h"
#include "apps/pages/card.h"

namespace qn {

CardText AppointmentCard(const DATACALENDAR& line);

} // namespace qn
