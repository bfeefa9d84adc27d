// The joints between a calendar load and the records of other stores that share its day list: tasks, journal entries,
// contact dates, and the recognition of birthdays among the appointments.
//
// Whoever owns such records registers here, before the first load; a joint that nobody took adds nothing. The functions
// run on the thread of the load, with its lock held.
#pragma once

#include "Platform/types.h"

class CCalendarThread;
class CeManualEvent;
struct DATACALENDAR;
struct DATACALENDARDB;
struct DATATASKS;

struct CalendarOverlays {
    // Add their lines to the thread's list. `oid` not 0: that one entry alone.
    void (*pfnAddTasks)(CCalendarThread& thread, CeManualEvent* stop) = nullptr;
    void (*pfnAddJournal)(CCalendarThread& thread, CeManualEvent* stop, CEOID oid) = nullptr;
    void (*pfnAddContacts)(CCalendarThread& thread, CeManualEvent* stop) = nullptr;
    // Fills the year of a yearly all-day series that is a birthday or an anniversary.
    void (*pfnRecognise)(const CCalendarThread& thread, DATACALENDARDB& record) = nullptr;
    // Puts the age before the subject of a line with such a year.
    void (*pfnAddAge)(const CCalendarThread& thread, DATACALENDAR& line) = nullptr;
    // The order of two tasks by one key of the task list, ascending.
    int (*pfnCompareTasks)(const DATATASKS& a, const DATATASKS& b, LONG key) = nullptr;
    // The order of two journal lines by their first (1) or second (2) extra date.
    int (*pfnCompareJournalDates)(const DATACALENDAR& a, const DATACALENDAR& b, LONG key) = nullptr;
};

// Not while a load runs.
QN_API void SetCalendarOverlays(const CalendarOverlays& overlays);
const CalendarOverlays& GetCalendarOverlays();
