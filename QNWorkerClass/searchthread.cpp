// A search: the worker, settings, the order of the stores; notes.
#include "QNWorkerClass/searchthread.h"

#include "NorvoTools/StrFunctions.h"
#include "Platform/clock.h"
#include "Platform/memory.h"
#include "Platform/poom.h"
#include "Platform/strings.h"
#include "Platform/windows.h"
#include "QNWorkerClass/datesteps.h"
#include "QNWorkerClass/notesthread.h"
#include "QNWorkerClass/sidestores.h"
#include "NorvoTools/HTMLEscape.h"
#include "QNWorkerClass/viewsettings.h"

#include <algorithm>
#include <optional>

namespace {

constexpr WCHAR kSearchKey[] = u"Software\\Norvo\\Quillonary\\SV";
constexpr WCHAR kCalendarKey[] = u"Software\\Norvo\\Quillonary\\CAV";
constexpr WCHAR kJournalKey[] = u"Software\\Norvo\\Quillonary\\JV";
constexpr CEOID kFirstItem = kOidAppointment;

constexpr int kImageNote = 207;

int ImageOfNote(LONG kind) {
    switch (kind) {
    case kNoteRecording:
        return 267;
    case kNotePmi:
        return 328;
    case kNoteDatabase:
        return 322;
    default:
        return kImageNote;
    }
}

constexpr LONG kFirstDay = DayOfMinutes(0); // no item is older

bool IsDay(double date) { return date < kLatestListDate; }
LONG WholeDay(double date) { return static_cast<LONG>(std::max<double>(date, kFirstDay)); }

double VariantOf(const FILETIME& time) {
    SYSTEMTIME date;
    double variant;
    return FileTimeToSystemTime(&time, &date) && SystemTimeToVariantTime(&date, &variant) ? variant : kNoDate;
}

} // namespace

CSearchThread::CSearchThread(int bParents)
    : m_listResults(1, PTRLIST_DELETE, &CompareSubject, 1),
      m_listGroups(1, PTRLIST_DELETE, &CompareFuncParent), m_bParents(bParents) {
    Override(kSearchKey);
    SettingChange();
}

CSearchThread::~CSearchThread() {
    StopAnswering();
    SysFreeString(m_query.bstrText);
    SysFreeString(m_query.bstrSound);
}

// --- What to look for ---------------------------------------------------------------------------------------------

void CSearchThread::SetParams(const _QNSEARCH* query) {
    const DataHold hold(*this);
    if (!hold.IsHeld() || !query) return;
    const std::u16string text(query->bstrText ? query->bstrText : u"");
    SysFreeString(m_query.bstrText);
    SysFreeString(m_query.bstrSound);
    m_query = *query;
    m_pattern = SearchPattern(text, query->bAnywhere != 0, query->bUseSoundex != 0);
    m_query.bstrText = SysAllocString(m_pattern.Text().c_str());
    m_query.bstrSound = SysAllocString(m_pattern.Sound().c_str());
    m_query.bUseSoundex = m_pattern.HasSound();
    m_query.lLength = static_cast<LONG>(m_pattern.Text().size());
    m_bFrom = IsDay(query->dFrom);
    m_bTo = IsDay(query->dTo);
    m_range.first = m_bFrom ? WholeDay(query->dFrom) : kFirstDay;
    m_range.last = m_bTo ? WholeDay(query->dTo) : kNoDay;
}

void CSearchThread::SetSort(LONG sort, bool bDescending) {
    m_nCallerSort = sort;
    m_bCallerDescending = bDescending;
}

void CSearchThread::SettingChange() {
    {
        const ViewSettings view(m_regSettings, m_szSettingsKey);
        m_CategoryFilter.bHideCategories = view.Number(u"bHideCategories", 0);
        m_CategoryFilter.m_bIncludeNoCat = view.Number(u"m_bIncludeNoCat", 0);
        m_CategoryFilter.CategoryANDOR = view.Number(u"CategoryANDOR", 0);
        m_bShowHasNote = view.Number(u"ShowHasNoteIcons", 1);
        m_nSort = view.Number(u"dwSort", 0);
        m_bDescending = view.Number(u"bDescending", 1);
    }
    m_bShowDuration = ViewSettings(m_regSettings, kCalendarKey).Number(u"ShowDuration", 1);
    LoadJournalSortPrefs();
}

void CSearchThread::LoadJournalSortPrefs() {
    const ViewSettings journal(m_regSettings, kJournalKey);
    m_nJournalSort = journal.Number(u"JournalSort", 0);
    m_bJournalSortDescending = journal.Number(u"JournalSortDescending", 0);
    m_nJournalSort2 = journal.Number(u"JournalSort2", 2);
    m_bJournalSortDescending2 = journal.Number(u"JournalSortDescending2", 0);
}

// --- The run ------------------------------------------------------------------------------------------------------

DWORD CSearchThread::ThreadProc() {
    if (StopRequested(&m_hStopEvent)) return 0;
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgLoadBegins, 0, 0);
    SearchThreadProc(0);
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgThreadFinished, 0, 0);
    return 0;
}

void CSearchThread::PostKill() {
    CloseLinksDB();
    if (m_pDb) m_pDb->Close();
    m_pNotes.reset(); // side files are saved when the last one goes who has them
    m_lActiveDataCount = 0;
    LeaveForKilled();
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgThreadFinished, 0, 0);
}

DWORD CSearchThread::SearchThreadProc(LONG resumeOid) {
    {
        const DataHold hold(*this);
        if (!hold.IsHeld() || m_query.lLength == 0) return 0;
        Search(static_cast<CEOID>(resumeOid));
    }
    if (!m_hClientWnd) return 0;
    // Who stops a search may wait for its end, and answers no message then.
    if (StopRequested(&m_hStopEvent))
        PostMessageW(m_hClientWnd, kMsgListChanged, 1, m_lActiveDataCount);
    else
        SendMessageW(m_hClientWnd, kMsgListChanged, 1, m_lActiveDataCount);
    return 0;
}

void CSearchThread::Search(CEOID resume) {
    PrepareSearch(resume);
    {
        std::optional<ItemScan> scan;
        if (!resume && NeedsItemScan()) scan.emplace(*this, kFirstItem);
        if (m_query.bContacts) ReadContacts(resume);
        if (m_query.bTasks) ReadTasks(resume);
        if (m_query.bCalendar) ReadCalendar(resume);
    }
    CloseLinksDB();
    if (m_query.bNotes && !resume) ReadNotes(); // a note is a file, and has no record
    if (m_query.bJournal) ReadJournal(resume);
    m_pDb->Close();
    SortAndGroup();
    m_lActiveDataCount = m_listResults.GetCount();
}

void CSearchThread::PrepareSearch(CEOID resume) {
    SetupThreadResources();
    GetDatabaseClass();
    if (m_hClientWnd) {
        SettingChange();
    } else {
        m_CategoryFilter.bHideCategories = kCategoriesShowChosen;
        m_CategoryFilter.m_list.Clear();
    }
    EmptyGroups();
    if (resume) {
        RemoveRowsOf(resume);
    } else {
        m_listResults.Clear();
        m_lActiveDataCount = 0;
    }
    InitStatVars();
    m_titles.clear();
    SYSTEMTIME now{};
    double today = 0;
    GetLocalTime(&now);
    SystemTimeToVariantTime(&now, &today);
    m_nToday = static_cast<LONG>(today);
    m_bGoalsToo = m_query.bTasks != 0;
    if (!m_query.bNoLinks || m_query.bTasks) InitiateLinksDB(); // the planning stores come with them
    if (m_query.bNoLinks) {
        m_pDbLinks.reset();
        m_pDbJournal.reset();
    }
}

void CSearchThread::RemoveRowsOf(CEOID record) {
    for (int i = m_listResults.GetCount(); i >= 1; --i)
        if (m_listResults.Get(i)->m_oidRecord == record) m_listResults.RemoveAt(i);
    m_lActiveDataCount = m_listResults.GetCount();
}

// Whether values of most items will be asked for.
bool CSearchThread::NeedsItemScan() const {
    return m_pattern.FindsAll() || m_query.bTrackedOnly || m_CategoryFilter.bHideCategories != 0 ||
           !m_CategoryFilter.m_list.IsEmpty();
}

bool CSearchThread::OpenPim(const WCHAR* name) {
    m_pDb->Close();
    return m_pDb->MountVolumeEDB(kPimVolume, false) && m_pDb->Open(name);
}

// Of the current record.
bool CSearchThread::NoteMatches(CeDb& store, CEPROPID stream) {
    CEBLOB note{};
    if (!store.ReadStream(stream, &note)) return false;
    const bool matches = m_pattern.MatchesNote(note.lpb, note.dwCount);
    LocalFree(note.lpb);
    return matches;
}

// All as one text, or, where only beginnings count, each by itself.
bool CSearchThread::TextsMatch(std::span<const std::u16string_view> texts) const {
    std::u16string fields;
    for (const std::u16string_view text : texts) {
        AppendField(fields, text);
        if (m_pattern.IsAnywhere()) continue;
        if (m_pattern.Matches(fields)) return true;
        fields.clear();
    }
    return m_pattern.Matches(fields);
}

// --- Notes --------------------------------------------------------------------------------------------------------

void CSearchThread::ReadNotes() {
    m_pNotes = std::make_unique<CNotesThread>();
    CNotesThread& notes = *m_pNotes;
    const bool pattern = m_pattern.IsPattern();
    notes.SetCompareString(m_pattern.Text().c_str(), m_pattern.IsAnywhere(),
                           m_query.bSearchNotes && !m_pattern.FindsAll(), pattern);
    notes.SetPrivacy(std::min(m_query.lPrivacy, LONG{1}));
    notes.NotesThreadProc(&m_hStopEvent, false);
    for (const DATANOTES* note : notes.GetList()) {
        if (note->m_bFolder || !note->m_bShown || !note->m_nKind) continue;
        auto row = NewRow(kRowNote, ImageOfNote(note->m_nKind), note->m_oid, 0);
        row->m_szSubject = AllocLPWSTR(note->m_bstrPath);
        row->m_szText = AllocLPWSTR(HTMLEscape(note->m_bstrTitle ? note->m_bstrTitle : u"").c_str());
        row->m_szCategories = AllocLPWSTR(note->m_bstrCategory);
        row->m_lSensitivity = note->m_bPrivate;
        row->m_dtDate = row->m_dtEnd = VariantOf(note->m_ftModified);
        row->m_dtStart = VariantOf(note->m_ftCreated);
        ++m_counts.lNotes;
        AddRow(std::move(row));
    }
    m_pNotes.reset();
}
