// The search thread: looks through contacts, tasks, appointments, notes and journal entries for one text, and gives one list
// of rows with ready mark-up.
//
//     CSearchThread search;
//     search.m_hClientWnd = window;
//     _QNSEARCH query;
//     query.bstrText = text;                     // the caller's; SetParams copies it
//     query.bTasks = query.bNotes = 1;
//     search.SetParams(&query);
//     search.Start();                            // window: 32802, then 1274(0, n) for each fifth row, 1274(1, n), 32803
//     for (int i = 1; i <= search.GetActiveDataCount(); ++i) Show(search.GetList().Get(i));
//
// The object belongs to the thread that made it; the search runs on the worker. The list is the search's from Start to the
// last 1274. Within a 1274 of progress the client may read it, as the search waits for the answer; so it can't be stopped
// there. A search that is stopped leaves what it found so far, in order. Rows belong to the list, headers to theirs.
#pragma once

#include "QNWorkerClass/CQNDataThread.h"
#include "QNWorkerClass/DATAGENERAL.h"
#include "QNWorkerClass/searchmatch.h"

#include <atomic>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

// Which fields are looked at. The numbers are the commands of the applications' menus.
enum SearchField : LONG {
    kSearchAll = 42492,
    kSearchLocation = 42493, // of appointments; nothing else is found
    kSearchNames = 42494,    // of contacts; subject or title
    kSearchFirstName = 42495,
    kSearchLastName = 42496,
    kSearchCompany = 42497,
    kSearchMail = 42498,
    kSearchPhone = 42499,
};

class PropertyReader;
struct DATACALENDAR;

struct _QNSEARCH {
    BSTR bstrText = nullptr;   // "*" finds everything
    BSTR bstrSound = nullptr;  // of the thread's copy
    LONG bRecurrenceFirst = 0; // of old callers; nothing goes by it
    WORD wReserved[2] = {};    //
    LONG lLength = 0;          // of the thread's copy; 0: no search
    WORD bAnywhere = 1;        // else at the beginning of a field
    WORD bJournal = 0;         // where to look
    WORD bJournalSort = 0;     // by the journal's order
    WORD bTrackedOnly = 0;     // tasks and appointments that are tracked
    WORD bContacts = 0;        //
    WORD bTasks = 0;           //
    WORD bGroupByAge = 0;      // 1: rows stand under headers by their distance from dFrom
    WORD wReserved2 = 0;       //
    WORD bCalendar = 0;        //
    WORD bNotes = 0;           //
    LONG lPrivacy = -1;        // of CheckPrivacy; for tasks: which ones stay out
    LONG lCompleted = -1;      // of tasks: 0 open ones, 1 completed ones
    WORD bSearchNotes = 0;     // in the notes of items too
    WORD bUseSoundex = 0;      // names that sound alike too
    // Whole days, both included; kNoDate: open. Contacts go by them when dFrom is set, journal entries when both are.
    double dFrom = kNoDate;
    double dTo = kNoDate;
    LONG lField = kSearchAll; // SearchField
    WORD bJournalAll = 0;     // all entries of the category filter
    WORD bNoLinks = 0;        // without the marks of links
};

// Kinds of rows; other values as of a day list's lines.
inline constexpr LONG kRowNote = 5;

// Values of dwSort and SetSort; any other is by the text.
enum SearchSort : LONG {
    kSearchBySensitivity = 1,
    kSearchByDate = 2, // within a kind, as all but the next
    kSearchByCategory = 3,
    kSearchByPureDate = 4,
};

class CNotesThread;

class QN_API CSearchThread : public CQNDataThread {
public:
    // With bParents journal entries stand under headers by the item that they belong to.
    explicit CSearchThread(int bParents = 0);
    ~CSearchThread() override;

    // --- What to look for -----------------------------------------------------------------------------------------
    // Copies the query and its text. Nothing happens while a search runs.
    void SetParams(const _QNSEARCH* query);
    const _QNSEARCH& GetParams() const { return m_query; }
    // An order of the caller's, until 0 is set; also while a search runs.
    void SetSort(LONG sort, bool bDescending);
    void SetProgress(bool bProgress) { m_bProgress = bProgress; } // whether progress is told; at first it is
    void SettingChange();
    void LoadJournalSortPrefs(); // of bJournalSort; a sort does it by itself

    // --- Searching ------------------------------------------------------------------------------------------------
    // The search, on the caller's thread; gives 0. With a record's id only that one is tested anew: its old rows go, all
    // others stay.
    DWORD SearchThreadProc(LONG resumeOid);

    // --- The list -------------------------------------------------------------------------------------------------
    CePtrList<DATAGENERAL*>& GetList() { return m_listResults; } // first index 1
    // Headers with their rows, in order; m_bFlag says whether one is open.
    CePtrList<DATAPARENT*>& GetGroups() { return m_listGroups; } // first index 1
    LONG GetActiveDataCount() override { return m_lActiveDataCount; }
    void SortDataList(); // nothing while a search runs

    struct Counts { // of the last search
        LONG lTasks = 0;
        LONG lContacts = 0;
        LONG lNotes = 0;
        LONG lCompleted = 0; // of the tasks, as the next
        LONG lOverdue = 0;
        LONG lDueToday = 0;
        LONG lLow = 0;
        LONG lNormal = 0;
        LONG lHigh = 0;
    };
    const Counts& GetCounts() const { return m_counts; }
    void InitStatVars() { m_counts = {}; }

    // What is read of a record, into an array of at least 64; the number.
    static WORD SetPropIdsTasks(CEPROPID* ids);
    WORD SetPropIdsContacts(CEPROPID* ids) const; // as the query needs it

    // --- Orders. The user value is the direction, 1 or -1; of CompareJournals the thread object -------------------
    static int CompareFuncBasic(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER); // 4: the same row
    static int CompareSubject(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER user);
    static int CompareCategories(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER user);
    static int CompareSensitivity(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER user);
    static int CompareDate(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER user);
    static int ComparePureDate(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER user);
    static int CompareJournals(DATAGENERAL* const& a, DATAGENERAL* const& b, CEUSER user);
    static int CompareFuncParent(DATAPARENT* const& a, DATAPARENT* const& b, CEUSER);

    HWND m_hClientWnd = nullptr; // is told of a search

protected:
    DWORD ThreadProc() override;
    void PostKill() override;

private:
    class Occurrences; // reads those of one appointment
    struct Range {     // whole days, both included
        LONG first;
        LONG last;
        bool Holds(LONG day) const { return day >= first && day <= last; }
    };

    // --- The search (searchthread.cpp) ----------------------------------------------------------------------------
    void Search(CEOID resume);
    void PrepareSearch(CEOID resume);
    void RemoveRowsOf(CEOID record);
    bool HasRange() const { return m_bFrom || m_bTo; }
    bool OpenPim(const WCHAR* name);
    template<class Visit>
    void WalkRecords(CeDb& store, CEOID resume, Visit visit);
    void ReadNotes();
    bool NoteMatches(CeDb& store, CEPROPID stream);
    bool TextsMatch(std::span<const std::u16string_view> texts) const;
    bool NeedsItemScan() const;

    // --- Rows (searchrows.cpp) ------------------------------------------------------------------------------------
    static std::unique_ptr<DATAGENERAL> NewRow(LONG type, int image, DWORD oid, CEOID record);
    void FillFromStores(DATAGENERAL& row);
    void AddRow(std::unique_ptr<DATAGENERAL> row);

    // --- Each store ----------------------------------------------------------------------------------------------
    void ReadContacts(CEOID resume);
    bool ContactCheck(const PropertyReader& reader);
    bool ContactFieldsMatch(const PropertyReader& reader);
    bool ContactGroupMatches(const PropertyReader& reader, int first, int count, int kind);
    bool ContactDatesMatch(const PropertyReader& reader) const;
    void ReadTasks(CEOID resume);
    bool TaskCheck(const CeDbRecord& record, DWORD oid);
    void AddTask(const CeDbRecord& record, DWORD oid);
    void CountTask(const CeDbRecord& record, double due, bool completed);
    void ReadCalendar(CEOID resume);
    bool ApptCheck(const CeDbRecord& record, DWORD oid, CeDb& store);
    void AddOccurrences(const CeDbRecord& record, Occurrences& occurrences);
    std::u16string TextOf(const DATACALENDAR& line, bool series) const;
    std::u16string DurationText(LONG minutes) const;
    void ReadJournal(CEOID resume);
    bool JournalCheck(const CeDbRecord& record);
    void AddJournalEntry(const CeDbRecord& record);
    const std::u16string& TitleOfItem(DWORD oid);

    // --- Order and groups (searchsort.cpp) ------------------------------------------------------------------------
    void SortAndGroup();
    void Sort();
    int CompareJournalKey(const DATAGENERAL& a, const DATAGENERAL& b, LONG key) const;
    void EmptyGroups();
    void SetupEventsParents();
    void SetupJournalParents();

    CePtrList<DATAGENERAL*> m_listResults;
    CePtrList<DATAPARENT*> m_listGroups;
    std::atomic<LONG> m_lActiveDataCount{0};
    Counts m_counts;
    _QNSEARCH m_query; // its texts are this object's
    SearchPattern m_pattern;
    Range m_range{};
    bool m_bFrom = false;
    bool m_bTo = false;
    LONG m_nToday = 0;
    std::map<DWORD, std::u16string> m_titles; // of linked items
    std::unique_ptr<CNotesThread> m_pNotes;   // while notes are read
    int m_bParents;
    std::atomic<bool> m_bProgress{true};
    std::atomic<LONG> m_nCallerSort{0};
    std::atomic<bool> m_bCallerDescending{false};

    // Settings.
    LONG m_nSort = 0;
    LONG m_bDescending = 1;
    LONG m_bShowDuration = 1;
    LONG m_nJournalSort = 0;
    LONG m_bJournalSortDescending = 0;
    LONG m_nJournalSort2 = 2;
    LONG m_bJournalSortDescending2 = 0;
};

// The records of an open store, or the one of them; each until the search is stopped.
template<class Visit>
void CSearchThread::WalkRecords(CeDb& store, CEOID resume, Visit visit) {
    for (CEOID at = resume ? store.SeekTo(resume) : store.SeekFirst(); at && !StopRequested(&m_hStopEvent);
         at = resume ? 0 : store.SeekNext())
        visit();
}
