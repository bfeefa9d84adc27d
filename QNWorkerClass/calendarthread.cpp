#include "QNWorkerClass/calendarthread.h"

#include "NorvoTools/globals.h"
#include "Platform/clock.h"
#include "Platform/memory.h"
#include "Platform/modules.h"
#include "Platform/strings.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

#include <algorithm>

namespace {

constexpr WCHAR kCalendarKey[] = u"Software\\Norvo\\Quillonary\\CAV";
constexpr UINT kYearsText = 44038;
// Series are looked at when they come this near to the range: zones and long occurrences reach into it.
constexpr double kWindowMargin = 3.0;

FILETIME FileTimeOfVariant(double variant) {
    LONGLONG seconds = std::max(SecondsOfVariant(variant), LONGLONG{0});
    return FileTimeFromTicks(static_cast<ULONGLONG>(seconds * civil::kTicksPerSecond));
}

} // namespace

CCalendarThread::CCalendarThread(const WCHAR* settingsKey, int bReadAppointments, int bShowJournal,
                                 int bJournalBody)
    : m_listData(1, PTRLIST_DELETE, &CompareFunc, reinterpret_cast<CEUSER>(this)),
      m_pRecurParser(std::make_unique<CRecurrenceParser>()), m_pDbRecord(std::make_unique<CeDbRecord>()),
      m_bReadAppointments(bReadAppointments), m_bShowJournal(bShowJournal), m_bJournalOrder(bShowJournal),
      m_bJournalBody(bJournalBody != 0) {
    SetSettingsKey(settingsKey);
    LoadStringW(g_hResources, kYearsText, m_szYears, static_cast<int>(std::size(m_szYears)));
    SettingChange();
}

CCalendarThread::~CCalendarThread() {
    Stop(false);
    FreePattern();
    m_pDbRecord->DetachBuffer();
    LocalFree(m_pReadBuffer);
}

// --- What to load -------------------------------------------------------------------------------------------------

void CCalendarThread::SetSettingsKey(const WCHAR* key) { Override(key ? key : kCalendarKey); }

void CCalendarThread::SetRestrict(const SYSTEMTIME* start, const SYSTEMTIME* end, bool bWholeDays) {
    double first;
    double last;
    if (!SystemTimeToVariantTime(start, &first) || !SystemTimeToVariantTime(end, &last)) return;
    m_dtRestrictStart = bWholeDays ? static_cast<LONG>(first) : first;
    m_dtRestrictEnd = bWholeDays ? static_cast<LONG>(last) : last;
}

bool CCalendarThread::IsInCache(const SYSTEMTIME* date) const {
    double variant;
    return SystemTimeToVariantTime(date, &variant) && IsInCache(variant);
}

bool CCalendarThread::IsInCache(double date) const {
    double start = m_dtRestrictStart;
    if (start == kNoDate) return false;
    LONG day = static_cast<LONG>(date);
    return day >= static_cast<LONG>(start) && day <= static_cast<LONG>(m_dtRestrictEnd.load());
}

bool CCalendarThread::IsInCache(const SYSTEMTIME* date, int days) const {
    double variant;
    if (!SystemTimeToVariantTime(date, &variant)) return false;
    return variant >= m_dtRestrictStart && variant + days <= m_dtRestrictEnd;
}

// --- The run ------------------------------------------------------------------------------------------------------

DWORD CCalendarThread::ThreadProc() {
    if (StopRequested(&m_hStopEvent)) return 0;
    if (m_dtRestrictStart == kNoDate) return 0;
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgLoadBegins, 0, 0);
    CalendarThreadProc(&m_hStopEvent, 0);
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgThreadFinished, 0, 0);
    return 0;
}

void CCalendarThread::PostKill() {
    m_bAddingOverlays = 0;
    CloseLinksDB();
    m_pDbOverlay.reset();
    if (m_pDb) m_pDb->Close();
    m_pDeletedDates.reset();
    m_lActiveCount = m_listData.GetCount();
    LeaveForKilled();
    if (m_hClientWnd) PostMessageW(m_hClientWnd, kMsgThreadFinished, 0, 0);
}

DWORD CCalendarThread::CalendarThreadProc(CeManualEvent* stop, CEOID oid) {
    {
        DataHold hold(*this);
        if (!hold.IsHeld() || !Load(stop, oid)) return 0;
    }
    if (m_hClientWnd && IsRunning()) PostMessageW(m_hClientWnd, kMsgListChanged, 1, m_lActiveCount);
    return 0;
}

// True when the list is complete and its client is to be told.
bool CCalendarThread::Load(CeManualEvent* stop, CEOID oid) {
    SetupThreadResources();
    if (m_bReadAppointments) {
        SetPropIdsAppts();
        InitiateLinksDB();
    }
    if (oid == 0) {
        m_listData.Clear();
        m_lActiveCount = 0;
        m_listData.SetCompare(&CompareFunc);
        SettingChange();
    }
    bool stopped = false;
    if (m_bReadAppointments) {
        ChooseMode();
        SetLoadRange();
        stopped = !ReadAppointments(stop, oid);
    } else {
        SetLoadRange();
    }
    CloseLinksDB();
    m_lActiveCount = m_listData.GetCount();
    if (stopped) return false;
    if (oid == 0) {
        AddEverythingElse(stop);
    } else {
        if (m_bReadAppointments) return false; // lines of one record were added, that is all
        m_bAddingOverlays = 1;
        AddJournal(stop, oid);
        m_bAddingOverlays = 0;
    }
    m_lActiveCount = m_listData.GetCount();
    return true;
}

void CCalendarThread::ChooseMode() {
    m_bExpandInRange = m_nFilter == kFilterAll || m_nFilter >= kFilterMeetings;
    m_bFilterCategoryStatus =
        m_bExpandInRange && (!m_CategoryFilter.m_list.IsEmpty() || m_nApptStatusFilter != 0 ||
                             m_CategoryFilter.bHideCategories != 0);
    if (m_nFilter == kFilterBirthdays || m_nFilter == kFilterAnniversaries)
        m_listData.SetCompare(&CompareFuncBirthday);
}

// The worker goes by the range as it is now; a SetRestrict behind this is for the next load.
void CCalendarThread::SetLoadRange() {
    double start = m_dtRestrictStart;
    double end = m_dtRestrictEnd;
    m_range.first = std::max(static_cast<LONG>(start), DayOfMinutes(0));
    m_range.last = static_cast<LONG>(end);
    // Without a range of its own a load takes series of any time.
    if (m_bExpandInRange)
        m_pRecurParser->SetRestrict(FileTimeOfVariant(start - kWindowMargin),
                                    FileTimeOfVariant(end + kWindowMargin));
    else
        m_pRecurParser->SetRestrictOpen();
}

void CCalendarThread::AddEverythingElse(CeManualEvent* stop) {
    m_bAddingOverlays = 1;
    AddTasks(stop);
    AddJournal(stop, 0);
    AddContactInfo(stop);
    AddCalendarDate();
    m_bAddingOverlays = 0;
}
