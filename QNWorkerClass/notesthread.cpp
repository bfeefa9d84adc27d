// A load of the notes list: the worker, settings, the text stores, the order of the steps.
#include "QNWorkerClass/notesthread.h"

#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/strings.h"
#include "Platform/windows.h"
#include "QNWorkerClass/viewsettings.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr WCHAR kNotesKey[] = u"Software\\Norvo\\Quillonary\\AV";
constexpr DWORD kNoState = 0xFFFFFFFF; // counts as closed

} // namespace

CNotesThread::CNotesThread() : m_listNotes(1, PTRLIST_KEEP, &CompareFuncSubject) {
    m_listNotes.SetDelete(&DeleteRow);
    std::copy_n(kNotesKey, std::size(kNotesKey), m_szSettingsKey);
    SettingChange();
    CNotesThread::InitiateLinksDB(); // before the worker and the client could both find the stores missing
}

CNotesThread::~CNotesThread() { StopAnswering(); }

// --- Settings -----------------------------------------------------------------------------------------------------

void CNotesThread::SettingChange() {
    const ViewSettings settings(m_regSettings, m_szSettingsKey);
    m_CategoryFilter.bHideCategories = settings.Number(u"bHideCategories", 0);
    m_CategoryFilter.CategoryANDOR = settings.Number(u"CategoryANDOR", 0);
    m_CategoryFilter.m_bIncludeNoCat = settings.Number(u"m_bIncludeNoCat", 0);
    m_bShowAllFolders = settings.Number(u"ShowAllFolders", 0);
    m_nFilterPrivacy = settings.Number(u"FilterPrivacy", -1);
    // The whole day lands in the low half of the date alone, so after a restart the date is next to nothing. Views have
    // long stored it this way and none reads it back as a day.
    const LONG day = settings.Number(u"NV_Date", 0);
    std::memcpy(&m_dDateOn, &day, sizeof day);
    m_nAppLayout = static_cast<LONG>(ReadRegistryWithDefault(kSuiteKey, u"AppLayout", 3));
}

void CNotesThread::SetDateOn(double date) {
    m_dDateOn = date;
    SetToRegistry(HKEY_CURRENT_USER, kNotesKey, u"NV_Date", static_cast<DWORD>(static_cast<LONG>(date)));
}

void CNotesThread::SetCompareString(const WCHAR* text, bool bAnywhere, bool bContents, bool bWildcard) {
    m_szCompare = text ? text : u"";
    _wcsupr(m_szCompare.data());
    m_bCompareAnywhere = bAnywhere;
    m_bCompareContents = bContents;
    m_bCompareWildcard = bWildcard;
}

void CNotesThread::ClearCompareString() { SetCompareString(nullptr, false, false, false); }

// --- The run ------------------------------------------------------------------------------------------------------

DWORD CNotesThread::ThreadProc() {
    if (StopRequested(&m_hStopEvent)) return 0;
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgLoadBegins, 0, 0);
    NotesThreadProc(&m_hStopEvent, true);
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgThreadFinished, 0, 0);
    return 0;
}

void CNotesThread::PostKill() {
    CloseLinksDB();
    m_pStores.reset();
    LeaveForKilled();
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgThreadFinished, 0, 0);
}

DWORD CNotesThread::NotesThreadProc(CeManualEvent* stop, bool bFull) {
    LONG count = 0;
    {
        const DataHold hold(*this);
        if (!hold.IsHeld() || !Load(stop, bFull)) return 0;
        count = GetActiveDataCount();
    }
    Tell(count);
    return 0;
}

void CNotesThread::Tell(LONG count) {
    if (m_hClientWnd) SendMessageW(m_hClientWnd, kMsgListChanged, 1, count);
}

// False when it was stopped.
bool CNotesThread::Load(CeManualEvent* stop, bool bFull) {
    if (bFull) SettingChange();
    m_roots.clear();
    m_nRecordings = 0;
    m_listNotes.Clear();
    {
        const Reading reading(*this, stop);
        AddMyDocumentsRoot();
        AddStorageCards();
        AddHPCDatabases();
        if (IsStopped()) return false;
    }
    if (bFull) Sort();
    return true;
}

// --- The text stores ----------------------------------------------------------------------------------------------

int CNotesThread::InitiateLinksDB() {
    if (!m_pNoteData) m_pNoteData = std::make_unique<CRegistry>(u"%s\\Norvo\\NoteData.txt");
    if (m_pFolderStates) return 1;
    m_pFolderStates = std::make_unique<CRegistry>(u"%s\\Norvo\\NoteFolderState.txt");
    m_pFolderStates->OpenKey(HKEY_CURRENT_USER, kFolderStateKey);
    return 1;
}

CNotesThread::Reading::Reading(CNotesThread& thread, CeManualEvent* stop) : m_thread(thread) {
    thread.InitiateLinksDB();
    thread.m_pStores = std::make_unique<NoteStores>(*thread.m_pNoteData, *thread.m_pFolderStates);
    thread.m_chain.clear(); // what a run that was ended left
    thread.m_visits.clear();
    thread.m_pStop = stop;
    thread.m_bStopped = false;
}

bool CNotesThread::IsStopped() {
    m_bStopped = m_bStopped || (m_pStop && StopRequested(m_pStop));
    return m_bStopped;
}

CNotesThread::Reading::~Reading() {
    m_thread.m_pStores.reset();
    m_thread.m_pStop = nullptr;
}

// A search looks everywhere.
DWORD CNotesThread::StateFor(DWORD stored) const {
    const DWORD state = stored == kNoState ? kFolderClosed : stored;
    const bool closed = state == kFolderClosed || state == kFolderHidden;
    return closed && !m_szCompare.empty() ? state | kFolderOpen : state;
}

DWORD CNotesThread::IsFolderOpen(const WCHAR* path) {
    InitiateLinksDB();
    DWORD state = kFolderClosed;
    return StateFor(m_pFolderStates->QueryValue(path, &state) == 0 ? state : kFolderClosed);
}

void CNotesThread::SetFolderState(const WCHAR* path, DWORD state) {
    InitiateLinksDB();
    m_pFolderStates->SetValue(path, state);
}
