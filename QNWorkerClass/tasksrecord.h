// What is read of a record of the "Tasks Database", in which order, and what a row takes from it.
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
inline constexpr const WCHAR* kTasksDb = u"Tasks Database";
inline constexpr DWORD kTaskReadBuffer = 25600;

class CeDbRecord;
struct DATATASKS;

// A date of a record as a variant time; kNoDate when it is absent, no date, or of the year 4500 and later. `bToLocal`: the
// record holds universal time.
double RecordDateAt(const CeDbRecord& record, int index, bool bToLocal = false);
// The fields that the record itself holds; OIDs, dates, subject and the fields in front of it. Not the percentage.
void FillTaskFromRecord(const CeDbRecord& record, DATATASKS& row);
bool IsInternalTask(double due); // a template of the suite: no row of any list
