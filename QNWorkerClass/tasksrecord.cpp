#include "QNWorkerClass/tasksrecord.h"

#include "NorvoTools/CeDbRecord.h"
#include "NorvoTools/StrFunctions.h"
#include "Platform/clock.h"
#include "Platform/strings.h"
#include "QNWorkerClass/DATATASKS.h"
#include "QNWorkerClass/tasksubject.h"

namespace {

constexpr int kFirstUnlistedYear = 4500;

bool FlagAt(const CeDbRecord& record, int index) {
    bool flag = false;
    return record.GetIndexVal(index, flag) && flag;
}

void FillSubject(const CeDbRecord& record, DATATASKS& row) {
    const TaskSubject subject = ParseTaskSubject(record.TextAt(kTaskSubject));
    row.m_szSubject = AllocLPWSTR(std::u16string(subject.text).c_str());
    wcscpy(row.m_szPriorityLetter, subject.szLetter);
    wcscpy(row.m_szPriorityNumber, subject.szNumber);
    row.m_lPrioNumber = subject.nDays;
}

} // namespace

double RecordDateAt(const CeDbRecord& record, int index, bool bToLocal) {
    FILETIME time;
    SYSTEMTIME date;
    double variant;
    if (!record.GetIndexVal(index, time)) return kNoDate;
    if (bToLocal && !FileTimeToLocalFileTime(&time, &time)) return kNoDate;
    if (!FileTimeToSystemTime(&time, &date) || date.wYear >= kFirstUnlistedYear) return kNoDate;
    return SystemTimeToVariantTime(&date, &variant) ? variant : kNoDate;
}

bool IsInternalTask(double due) { return due >= kFirstTemplateDate && due <= kLatestListDate; }

void FillTaskFromRecord(const CeDbRecord& record, DATATASKS& row) {
    DWORD number = 0;
    record.GetIndexVal(kTaskNumber, number);
    row.m_oid = number | kOidTask;
    row.m_oidRecord = record.m_oid;
    record.GetIndexVal(kTaskImportance, row.m_nImportance);
    record.GetIndexVal(kTaskSensitivity, row.m_lSensitivity);
    row.m_dtStart = RecordDateAt(record, kTaskStart);
    row.m_dtDue = RecordDateAt(record, kTaskDue);
    row.m_dtCompleted = RecordDateAt(record, kTaskCompleted);
    row.m_bCompleted = row.m_dtCompleted < kLatestListDate;
    row.m_dtReminder = RecordDateAt(record, kTaskReminderTime, true);
    row.m_wFlag7 = FlagAt(record, kTaskRecurring);
    row.m_wFlag8 = FlagAt(record, kTaskReminderSet);
    FillSubject(record, row);
}
