#include "apps/pages/searchcards.h"

#include "NorvoTools/StrFunctions.h"
#include "Platform/memory.h"
#include "Platform/notetext.h"
#include "QNWorkerClass/COutlook.h"
#include "QNWorkerClass/journalstore.h"
#include "QNWorkerClass/tasksubject.h"
#include "apps/pages/appointmentcard.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/taskchanges.h"
#include "apps/pages/taskrow.h"
#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

namespace {

template<class Interface, class Value>
Value ValueOf(Interface& item, HRESULT (Interface::*get)(Value*), Value missing = {}) {
    Value value = missing;
    return SUCCEEDED((item.*get)(&value)) ? value : missing;
}

template<class Interface>
std::u16string TextFrom(Interface& item, HRESULT (Interface::*get)(BSTR*)) {
    Bstr text;
    return SUCCEEDED((item.*get)(text.Out())) ? std::u16string(text.View()) : std::u16string();
}

} // namespace

CardText AppointmentCard(DWORD oid, DATE start, DATE end) {
    Com<IDispatch> found;
    if (!g_pOutlook || FAILED(g_pOutlook->GetItemFromOid(oid, found.Out()))) return {};
    const auto opened = found.As<IAppointment>(IID_IAppointment);
    if (!opened) return {};
    IAppointment& item = *opened.Get();
    DATACALENDAR line;
    line.m_oid = oid;
    line.m_dtStart = start;
    line.m_dtEnd = end;
    line.m_lDay = static_cast<LONG>(start);
    line.m_bstrSubject = SysAllocString(TextFrom(item, &IAppointment::get_Subject).c_str());
    line.m_bstrLocation = SysAllocString(TextFrom(item, &IAppointment::get_Location).c_str());
    line.m_szCategories = AllocLPWSTR(TextFrom(item, &IAppointment::get_Categories).c_str());
    line.m_lBusyStatus = ValueOf(item, &IAppointment::get_BusyStatus);
    line.m_bAllDay = ValueOf(item, &IAppointment::get_AllDayEvent) != VARIANT_FALSE;
    line.m_bRecurring = ValueOf(item, &IAppointment::get_IsRecurring) != VARIANT_FALSE;
    line.m_bPrivate = ValueOf(item, &IAppointment::get_Sensitivity) != 0;
    return AppointmentCard(line);
}

CardText TaskCard(DWORD oid) {
    Com<ITask> opened;
    if (FAILED(OpenTask(oid, opened))) return {};
    ITask& item = *opened.Get();
    DATATASKS row;
    const std::u16string whole = TextFrom(item, &ITask::get_Subject);
    const TaskSubject subject = ParseTaskSubject(whole);
    row.m_oid = oid;
    row.m_szSubject = AllocLPWSTR(std::u16string(subject.text).c_str());
    std::ranges::copy(subject.szLetter, row.m_szPriorityLetter);
    std::ranges::copy(subject.szNumber, row.m_szPriorityNumber);
    row.m_lPrioNumber = subject.nDays;
    row.m_szCategories = AllocLPWSTR(TextFrom(item, &ITask::get_Categories).c_str());
    row.m_dtStart = ValueOf(item, &ITask::get_StartDate, kNoDate);
    row.m_dtDue = ValueOf(item, &ITask::get_DueDate, kNoDate);
    row.m_dtCompleted = ValueOf(item, &ITask::get_DateCompleted, kNoDate);
    row.m_dtReminder = ValueOf(item, &ITask::get_ReminderTime, kNoDate);
    row.m_nImportance = ValueOf(item, &ITask::get_Importance, LONG{1});
    row.m_lSensitivity = ValueOf(item, &ITask::get_Sensitivity);
    row.m_bCompleted = ValueOf(item, &ITask::get_Complete) != VARIANT_FALSE;
    row.m_wFlag7 = ValueOf(item, &ITask::get_IsRecurring) != VARIANT_FALSE;
    row.m_wFlag8 = ValueOf(item, &ITask::get_ReminderSet) != VARIANT_FALSE;
    row.m_bOverdue = !row.m_bCompleted && row.m_dtDue != kNoDate && row.m_dtDue < Today();
    return TaskCard(row);
}

CardText JournalCard(DWORD record, const std::u16string& belongsTo) {
    CJournalData entry;
    if (!CJournal::ReadEntry(record, &entry)) return {};
    const auto text = [](const CeString& string) { return std::u16string(string.View()); };
    std::u16string note;
    PlatTextOfNote(entry.m_note.data(), static_cast<DWORD>(entry.m_note.size()), note);
    CardText card;
    card.titleLabel = u"Entry";
    card.title = text(entry.m_strTitle);
    card.Add(u"When", MomentText(ToDate(entry.m_stDate)));
    card.Add(u"Kind", text(entry.m_strType));
    if (entry.m_nFlags > 0) card.Add(u"Took", Utf16(Plural(entry.m_nFlags, "minute")));
    card.Add(u"Belongs to", belongsTo);
    card.Add(u"Categories", text(entry.m_strCategories));
    card.Add(u"Changed", MomentText(ToDate(entry.m_stModified)));
    card.Add(u"Note", LongText(note));
    return card;
}

} // namespace qn
