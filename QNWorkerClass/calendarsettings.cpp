// The settings of a calendar view.
#include "QNWorkerClass/calendarthread.h"

#include "NorvoTools/errors.h"
#include "Platform/clock.h"
#include "Platform/strings.h"

#include <algorithm>
#include <initializer_list>

namespace {

constexpr WCHAR kSuiteViewKey[] = u"Software\\Norvo\\Quillonary\\CAV";
constexpr WCHAR kJournalViewKey[] = u"Software\\Norvo\\Quillonary\\JV";
constexpr WCHAR kTodayKey[] = u"Software\\Ostra\\QNToday";

constexpr WCHAR kBirthdays[] = u"Birthdays";
constexpr WCHAR kAnniversaries[] = u"Anniversaries";

// A key that is open for reading, if it is there: reading settings never makes a key.
class OpenSettings {
public:
    OpenSettings(CRegistry& registry, const WCHAR* key)
        : m_registry(registry), m_bOpen(registry.Exists(HKEY_CURRENT_USER, key)) {}
    ~OpenSettings() {
        if (m_bOpen) m_registry.CloseKey();
    }
    OpenSettings(const OpenSettings&) = delete;
    OpenSettings& operator=(const OpenSettings&) = delete;

    LONG Number(const WCHAR* name, LONG defaultValue) const {
        LONG value;
        return m_bOpen && m_registry.QueryValue(name, &value) == 0 ? value : defaultValue;
    }
    bool AnySet(std::initializer_list<const WCHAR*> names) const {
        return std::any_of(names.begin(), names.end(),
                           [this](const WCHAR* name) { return Number(name, 0) != 0; });
    }
    template<std::size_t N>
    void Text(const WCHAR* name, WCHAR (&text)[N], const WCHAR* defaultText) const {
        if (m_bOpen && m_registry.QueryValue(name, text, static_cast<DWORD>(N)) == 0) return;
        std::copy_n(defaultText, wcslen(defaultText) + 1, text);
    }

private:
    CRegistry& m_registry;
    bool m_bOpen;
};

// A name that belongs to the other kind is no setting: its own default stands in for it.
template<std::size_t N>
void CategoryName(const OpenSettings& settings, const WCHAR* name, WCHAR (&text)[N], const WCHAR* defaultText,
                  const WCHAR* otherText) {
    settings.Text(name, text, defaultText);
    if (wcscmp(text, otherText) == 0) std::copy_n(defaultText, wcslen(defaultText) + 1, text);
    _wcslwr(text);
}

} // namespace

void CCalendarThread::SettingChange() {
    if (m_bShowJournal) ReadJournalSort();
    OpenSettings(m_regSettings, kTodayKey).Text(u"FloatCat", m_szFloatCat, u"");
    ReadViewSettings();
    ReadSuiteSettings();
    if (GetTimeZoneInformation(&m_tzLocal) == TIME_ZONE_ID_UNKNOWN)
        CeTraceLog(u"TimeZone is in unknown mode");
    m_zoneLocal.SetZone(m_tzLocal);
    GetLocalTime(&m_stToday);
    SystemTimeToVariantTime(&m_stToday, &m_dtToday);
}

void CCalendarThread::ReadViewSettings() {
    OpenSettings view(m_regSettings, m_szSettingsKey);
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
    OpenSettings suite(m_regSettings, kSuiteViewKey);
    m_bDisplayCompletedAppointments = suite.Number(u"DisplayCompletedAppointments", 1);
    CategoryName(suite, u"AnnCatName", m_szAnnCatName, kAnniversaries, kBirthdays);
    CategoryName(suite, u"BDayCatName", m_szBDayCatName, kBirthdays, kAnniversaries);
    suite.Text(u"HolidayCatName", m_szHolidayCatName, u"Holiday");
    suite.Text(u"HolidaySubName", m_szHolidaySubName, u" day");
    m_bShowInProgressTasksToday = suite.Number(u"bShowInProgressTasksToday", 0);
    m_nSingleIfEndsEarly = suite.Number(u"AppointmentSingleIfEndsEarly", 0);
}

void CCalendarThread::ReadJournalSort() {
    OpenSettings journal(m_regSettings, kJournalViewKey);
    m_nJournalSort = journal.Number(u"JournalSort", 0);
    m_bJournalSortDescending = journal.Number(u"JournalSortDescending", 0);
    m_nJournalSort2 = journal.Number(u"JournalSort2", 2);
    m_bJournalSortDescending2 = journal.Number(u"JournalSortDescending2", 0);
}

void CCalendarThread::LoadSortPrefs() {
    OpenSettings view(m_regSettings, m_szSettingsKey);
    m_nTaskSort = view.Number(u"TaskSort", 6);
    m_bTaskSortDescending = view.Number(u"TaskSortDescending", 0);
    m_nTaskSort2 = view.Number(u"TaskSort2", 3);
    m_bTaskSortDescending2 = view.Number(u"TaskSortDescending2", 0);
}
