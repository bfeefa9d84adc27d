#include "apps/pages/searchdata.h"

#include "Platform/windows.h"
#include "QNWorkerClass/contactsrecord.h"
#include "QNWorkerClass/journalstore.h"
#include "QNWorkerClass/tasksrecord.h"
#include "apps/qn/support.h"

namespace qn {

// One that was asked to end before it began tells of its end too.
DWORD SearchRun::ThreadProc() {
    if (!StopRequested(&m_hStopEvent)) SearchThreadProc(0);
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgThreadFinished, 0, 0);
    return 0;
}

SearchData::SearchData(std::function<void()> changed)
    : ListData(std::move(changed), {u"Appointments Database", kTasksDb, kContactsDb, kJournalStore}) {}

void SearchData::Ask(SearchQuestion question) {
    m_question = std::move(question);
    if (IsLoading()) {
        m_ended = true;
        Loading().AskToEnd();
    }
    Reload();
}

// The run before may have been asked to end when it had ended.
void SearchData::Prepare() {
    m_asked = m_question;
    m_ended = false;
    const Bstr text(m_asked.text);
    const auto date = [](LONG day) { return day == kNoDay ? kNoDate : DATE(day); };
    _QNSEARCH query;
    query.bstrText = text;
    query.bCalendar = (m_asked.kinds & kFindAppointments) != 0;
    query.bTasks = (m_asked.kinds & kFindTasks) != 0;
    query.bContacts = (m_asked.kinds & kFindContacts) != 0;
    query.bNotes = (m_asked.kinds & kFindNotes) != 0;
    query.bJournal = (m_asked.kinds & kFindJournal) != 0;
    query.bSearchNotes = m_asked.inNotes;
    query.bUseSoundex = m_asked.bySound;
    query.dFrom = date(m_asked.first);
    query.dTo = date(m_asked.last);
    query.bGroupByAge = m_asked.byAge;
    Loading().ForgetToEnd();
    Loading().SetParams(&query);
}

} // namespace qn
