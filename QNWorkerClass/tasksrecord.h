// What is read of a record of the "Tasks Database", and in which order.
#pragma once

#include "Platform/poom.h"

#include <array>

enum TaskProperty : int {
    kTaskSensitivity,
    kTaskNumber,
    kTaskStart,
    kTaskDue,
    kTaskImportance,
    kTaskReminderTime,
    kTaskSubject,
    kTaskRecurring,
    kTaskReminderSet,
    kTaskCompleted,
    kTaskProps,
};
inline constexpr std::array<CEPROPID, kTaskProps> kTaskIds{
    PIMPR_SENSITIVITY,   PIMPR_NUMBER,  PIMPR_TASK_START, PIMPR_TASK_DUE,     PIMPR_IMPORTANCE,
    PIMPR_REMINDER_TIME, PIMPR_SUBJECT, PIMPR_RECURRING,  PIMPR_REMINDER_SET, PIMPR_TASK_COMPLETED,
};

class CeDbRecord;
// A date of the record as a variant time; kNoDate when it is absent, no date, or of the year 4500 and later.
double TaskDateAt(const CeDbRecord& record, int index);
