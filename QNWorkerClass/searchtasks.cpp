// Tasks that a search finds.
#include "NorvoTools/StrFunctions.h"
#include "Platform/memory.h"
#include "QNWorkerClass/datesteps.h"
#include "QNWorkerClass/propertyreader.h"
#include "QNWorkerClass/searchrows.h"
#include "QNWorkerClass/searchthread.h"
#include "QNWorkerClass/tasksrecord.h"
#include "QNWorkerClass/tasksubject.h"
#include "NorvoTools/HTMLEscape.h"

#include <algorithm>

namespace {

enum Field : int {
    kSensitivity,
    kCompleted,
    kStart,
    kDue,
    kImportance,
    kSubject,
    kReminderSet,
    kRecurring,
    kNumber,
    kFields
};
constexpr std::array<CEPROPID, kFields> kIds{PIMPR_SENSITIVITY,  PIMPR_TASK_COMPLETED, PIMPR_TASK_START,
                                             PIMPR_TASK_DUE,     PIMPR_IMPORTANCE,     PIMPR_SUBJECT,
                                             PIMPR_REMINDER_SET, PIMPR_RECURRING,      PIMPR_NUMBER};
constexpr int kImage = 10;
constexpr LONG kTemplateYear = 2999; // of the suite's internal tasks
constexpr LONG kHigh = 2;

LONG NumberAt(const CeDbRecord& record, int index, LONG missing = 0) {
    LONG value = missing;
    record.GetIndexVal(index, value);
    return value;
}

bool IsCompleted(const CeDbRecord& record) { return RecordDateAt(record, kCompleted) < kLatestListDate; }

} // namespace

WORD CSearchThread::SetPropIdsTasks(CEPROPID* ids) {
    std::copy(kIds.begin(), kIds.end(), ids);
    return kFields;
}

void CSearchThread::ReadTasks(CEOID resume) {
    if (!OpenPim(kTasksDb)) return;
    PropertyReader reader({kIds.begin(), kIds.end()});
    WalkRecords(*m_pDb, resume, [&] {
        if (!reader.Read(*m_pDb)) return;
        const DWORD oid = reader.Number(kNumber) | kOidTask;
        if (TaskCheck(reader.Record(), oid)) AddTask(reader.Record(), oid);
    });
}

bool CSearchThread::TaskCheck(const CeDbRecord& record, DWORD oid) {
    if (m_query.bTrackedOnly && !TrackedFromOID(oid)) return false;
    if (!FilterSpecialTask(oid)) return false;
    const double start = RecordDateAt(record, kStart), due = RecordDateAt(record, kDue);
    if (HasRange()) {
        if (start == kNoDate && due == kNoDate) return false;
        const LONG begins = static_cast<LONG>(start == kNoDate || due == kNoDate ? due : start);
        if (begins > m_range.last || static_cast<LONG>(due) < m_range.first) return false;
    }
    if (!CategoryFilterEDB(oid, &m_CategoryFilter)) return false;
    if (m_query.lCompleted >= 0 && (m_query.lCompleted != 0) != IsCompleted(record)) return false;
    // The other way round than in the list of tasks: what the mode tells of stays out. Saved searches count on it.
    if (m_query.lPrivacy >= 0 && CheckPrivacy(m_query.lPrivacy, NumberAt(record, kSensitivity))) return false;
    if (m_pattern.FindsAll()) return true;
    if (m_query.lField != kSearchAll && m_query.lField != kSearchNames) return false;
    std::u16string fields;
    AppendField(fields, ParseTaskSubject(record.TextAt(kSubject)).text);
    return m_pattern.Matches(fields) || (m_query.bSearchNotes && NoteMatches(*m_pDb, PIMPR_NOTE));
}

void CSearchThread::AddTask(const CeDbRecord& record, DWORD oid) {
    const double due = RecordDateAt(record, kDue);
    if (due != kNoDate && CivilOf(static_cast<LONG>(due)).year == kTemplateYear) return;
    auto row = NewRow(kDataTask, kImage, oid, record.m_oid);
    const std::u16string subject(ParseTaskSubject(record.TextAt(kSubject)).text);
    std::u16string text = u"<B>" + HTMLEscape(subject) + u"</B>";
    if (due != kNoDate) text += u"<BR>[" + ShortDateText(due) + u"]  ";
    row->m_szSubject = AllocLPWSTR(subject.c_str());
    row->m_szText = AllocLPWSTR(text.c_str());
    row->m_dtDate = row->m_dtEnd = due;
    row->m_dtStart = RecordDateAt(record, kStart);
    row->m_lSensitivity = NumberAt(record, kSensitivity);
    FillFromStores(*row);
    CountTask(record, due, IsCompleted(record));
    AddRow(std::move(row));
}

void CSearchThread::CountTask(const CeDbRecord& record, double due, bool completed) {
    const LONG importance = NumberAt(record, kImportance, 1);
    const LONG day = static_cast<LONG>(due);
    ++m_counts.lTasks;
    ++(importance == 0 ? m_counts.lLow : importance == kHigh ? m_counts.lHigh : m_counts.lNormal);
    if (completed)
        ++m_counts.lCompleted;
    else if (day < m_nToday)
        ++m_counts.lOverdue;
    else if (day == m_nToday)
        ++m_counts.lDueToday;
}
