// The search behind its page: what is found comes as it is found, and another question ends the search at once, without
// anybody waiting for that.
//
// The thread that makes the object gets everything.
#pragma once

#include "QNWorkerClass/searchthread.h"
#include "apps/pages/listdata.h"

namespace qn {

// The kinds of items that are searched, as bits.
enum SearchKind : DWORD {
    kFindAppointments = 1,
    kFindTasks = 2,
    kFindContacts = 4,
    kFindNotes = 8,
    kFindJournal = 16,
    kFindAll = 31,
};

struct SearchQuestion {
    std::u16string text;
    DWORD kinds = kFindAll;
    bool inNotes = false; // in the notes of items and the contents of files too
    bool bySound = false; // names that sound alike too
    LONG first = kNoDay;  // days, both included; kNoDay: open
    LONG last = kNoDay;   //
    bool byAge = false;   // under headers, by the distance from the first day

    bool operator==(const SearchQuestion&) const = default;
};

class SearchRun : public CSearchThread {
public:
    ~SearchRun() override { StopAnswering(); } // its ThreadProc goes with it
    void AskToEnd() { m_hStopEvent.Set(); }    // its end is told as that of any run
    void ForgetToEnd() { m_hStopEvent.Reset(); }

private:
    DWORD ThreadProc() override;
};

class SearchData : public ListData<SearchRun> {
public:
    explicit SearchData(std::function<void()> changed);

    // Without a text nothing is searched, and what is found no more wanted.
    void Ask(SearchQuestion question);
    const SearchQuestion& Question() const { return m_question; }
    // What is searched, or found by now, is the answer to the question.
    bool IsCurrent() const { return !m_ended && m_asked == m_question && !m_question.text.empty(); }

private:
    bool HasQuestion() const override { return !m_question.text.empty(); }
    void Prepare() override;
    bool Accept() override { return IsCurrent(); }

    SearchQuestion m_question;
    SearchQuestion m_asked;
    bool m_ended = false; // the run was asked to
};

} // namespace qn
