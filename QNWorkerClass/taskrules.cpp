#include "QNWorkerClass/taskrules.h"

#include "QNWorkerClass/dates.h"

bool ShowsByDate(LONG rule, const TaskDays& days, LONG today, LONG parameter) {
    const LONG due = days.due, start = days.start, completed = days.completed;
    const bool done = days.isCompleted;
    const bool undated = due == kNoDay && start == kNoDay;
    const bool doneOrDueToday = done && (due == today || completed == today);
    const auto isTodayOrTomorrow = [today](LONG day) { return day == today || day == today + 1; };
    const LONGLONG last = LONGLONG{today} + parameter; // a setting: any number
    switch (rule) {
    case kTasksDue:
        return (!done && due <= today) || doneOrDueToday || start == today || undated;
    case kTasksOverdue:
        return !done && due < today;
    case kTasksUndated:
        return undated;
    case kTasksActive:
        return (!done && (due <= today || start <= today)) || doneOrDueToday || start == today || undated;
    case kTasksDueTomorrow:
        return (!done && due <= today + 1) ||
               (done && (isTodayOrTomorrow(due) || isTodayOrTomorrow(completed))) ||
               isTodayOrTomorrow(start) || undated;
    case kTasksCompleted:
        return done;
    case kTasksNextDays:
        return (due <= last && start == kNoDay) || start <= last || due == kNoDay;
    case kTasksOnDate:
        return (!done && (due == parameter || (due >= parameter && start <= parameter))) ||
               (done && completed == parameter) || (!done && due < today && parameter == today);
    case kTasksMaster:
        return !done && undated;
    default:
        return true;
    }
}
