// What the pages change in the store, through the object model. A line of a series stands for that one occurrence.
//
// Results are those of the object model; E_NOTFOUND: the item, or its occurrence, isn't there any more.
#pragma once

#include "Platform/poom.h"
#include "QNWorkerClass/DATACALENDAR.h"
#include "apps/qn/support.h"

namespace qn {

HRESULT OpenAppointment(const DATACALENDAR& line, Com<IAppointment>& item);
// To another beginning, by the clock of the device; the length stays.
HRESULT MoveAppointment(const DATACALENDAR& line, DATE start);
// `undo` is an unsaved twin of a single appointment: saving it brings the appointment back, as a new item. It is empty
// for an occurrence.
HRESULT DeleteAppointment(const DATACALENDAR& line, Com<IItem>& undo);
// A task or a contact, by its OID; `undo` as above.
HRESULT DeleteItem(DWORD oid, Com<IItem>& undo);

} // namespace qn
