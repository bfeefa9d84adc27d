// The settings of a calendar view.
#include "QNWorkerClass/calendarthread.h"

#include "NorvoTools/errors.h"
#include "Platform/clock.h"
#include "Platform/strings.h"
#include "QNWorkerClass/viewsettings.h"

#include <algorithm>

namespace {

constexpr WCHAR kSuiteViewKey[] = u"Software\\Norvo\\Quillonary\\CAV";
constexpr WCHAR kJournalViewKey[] = u"Software\\Norvo\\Quillonary\\JV";
constexpr WCHAR kTodayKey[] = u"Software\\Ostra\\QNToday";

constexpr WCHAR kBirthdays[] = u"Birthdays";
constexpr WCHAR kAnniversaries[] = u"Anniversaries";

// A name that belongs to the other kind is no setting: its own default stands in for it.
template<std::size_t N>
void CategoryName(const ViewSettings& settings, const WCHAR* name, WCHAR (&text)[N], const WCHAR* defaultText,
                  const WCHAR* otherText) {
    settings.Text(name, text, defaultText);
    if (wcscmp(text, otherText) == 0) std::copy_n(defaultText, wcslen(defaultText) + 1, text);
    _wcslwr(text);
}

} // namespace

void CCalendarThread::SettingChange() {
    if (m_bShowJournal) ReadJournalSort();
    ViewSettings(m_regSettings, kTodayKey).Text(u"FloatCat", m_szFloatCat, u"");
    ReadViewSettings();
    ReadSuiteSettings();
    if (GetTimeZoneInformation(&m_tzLocal) == TIME_ZONE_ID_UNKNOWN)
        CeTraceLog(u"TimeZone is in unknown mode");
    m_zoneLocal.SetZone(m_tzLocal);
    GetLocalTime(&m_stToday);
    SystemTimeToVariantTime(&m_stToday, &m_dtToday);
}

void CCalendarThread::ReadViewSettings() {
    ViewSettings view(m_regSettings, m_szSettingsKey);
    if (view.AnySet(
            {u"WV_ShowJournal", u"AV_ShowJournal", u"MV_ShowJournal", u"DV_ShowJournal", u"PV_ShowJournal"}))
        m_bShowJournal = 1; // nothing here turns it off
    bool tasks =
        view.AnySet({u"WV_ShowTasks", u"AV_ShowTasks", u"DV_ShowTasks", u"MV_ShowTasks", u"PV_ShowTasks"});
    m_bShowTasks = tasks;
    m_bGoalsToo = tasks;
    if (tasks) {
        m_bShowCompletedTasks = view.Number(u"CA_ShowCompletedTasks", 0);
        m_bShowUndatedTasks = view.Number(u"CAV_ShowUndatedTasks", 0);
        m_bForceHighTasks = view.Number(u"CAV_ForceHighTasks", 0);
        m_bShowTaskOnTop = view.Number(u"CAV_ShowTaskOnTop", 0);
        m_bShowOverDueToday = view.Number(u"ShowOverDueToday", 1);
    }
    m_bShowHasNote = view.Number(u"ShowHasNoteIcons", 1);
    m_bReadBirthdays = view.Number(u"ReadBirthdays", 0);
    m_nFilter = view.Number(u"CAV_AppointmentFilter", kFilterAll);
    if (m_nFilter < kFilterAll || m_nFilter >= kFilterMeetings) m_nFilter = kFilterAll;
    m_nApptStatusFilter = view.Number(u"ApptStatusFilter", 0);
    m_nFilterPrivacy = view.Number(u"FilterPrivacy", -1);
    m_CategoryFilter.bHideCategories = view.Number(u"bHideCategories", 0);
    m_CategoryFilter.m_bIncludeNoCat = view.Number(u"m_bIncludeNoCat", 0);
    m_CategoryFilter.CategoryANDOR = view.Number(u"CategoryANDOR", 0);
}

void CCalendarThread::ReadSuiteSettings() {
    ViewSettings suite(m_regSettings, kSuiteViewKey);
    m_bDisplayCompletedAppointments = suite.Number(u"DisplayCompletedAppointments", 1);
    CategoryName(suite, u"AnnCatName", m_szAnnCatName, kAnniversaries, kBirthdays);
    CategoryName(suite, u"BDayCatName", m_szBDayCatName, kBirthdays, kAnniversaries);
    suite.Text(u"HolidayCatName", m_szHolidayCatName, u"Holiday");
    suite.Text(u"HolidaySubName", m_szHolidaySubName, u" day");
    m_bShowInProgressTasksToday = suite.Number(u"bShowInProgressTasksToday", 0);
    m_nSingleIfEndsEarly = suite.Number(u"AppointmentSingleIfEndsEarly", 0);
}

void CCalendarThread::ReadJournalSort() {
    ViewSettings journal(m_regSettings, kJournalViewKey);
    m_nJournalSort = journal.Number(u"JournalSort", 0);
    m_bJournalSortDescending = journal.Number(u"JournalSortDescending", 0);
    m_nJournalSort2 = journal.Number(u"JournalSort2", 2);
    m_bJournalSortDescending2 = journal.Number(u"JournalSortDescending2", 0);
}

void CCalendarThread::LoadSortPrefs() {
    ViewSettings view(m_regSettings, m_szSettingsKey);
    m_nTaskSort = view.Number(u"TaskSort", 6);
    m_bTaskSortDescending = view.Number(u"TaskSortDescending", 0);
    m_nTaskSort2 = view.Number(u"TaskSort2", 3);
    m_bTaskSortDescending2 = view.Number(u"TaskSortDescending2", 0);
}
