#include "QNWorkerClass/calendaroverlays.h"

#include "QNWorkerClass/calendarthread.h"

namespace {

CalendarOverlays& Registered() {
    static CalendarOverlays overlays;
    return overlays;
}

} // namespace

void SetCalendarOverlays(const CalendarOverlays& overlays) { Registered() = overlays; }
const CalendarOverlays& GetCalendarOverlays() { return Registered(); }

void CCalendarThread::AddTasks(CeManualEvent* stop) {
    if (GetCalendarOverlays().pfnAddTasks) GetCalendarOverlays().pfnAddTasks(*this, stop);
}

void CCalendarThread::AddJournal(CeManualEvent* stop, CEOID oid) {
    if (GetCalendarOverlays().pfnAddJournal) GetCalendarOverlays().pfnAddJournal(*this, stop, oid);
}

void CCalendarThread::AddContactInfo(CeManualEvent* stop) {
    if (GetCalendarOverlays().pfnAddContacts) GetCalendarOverlays().pfnAddContacts(*this, stop);
}
