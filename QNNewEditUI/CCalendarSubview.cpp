// The life and the settings of a calendar page.
#include "QNNewEditUI/CCalendarSubview.h"

#include "NorvoTools/globals.h"
#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "NorvoUI/hidpi.h"
#include "Platform/clock.h"
#include "Platform/registry.h"
#include "Platform/strings.h"
#include "QNNewEditUI/CalendarText.h"

#include <algorithm>
#include <cmath>
#include <string_view>

SHORT CCalendarSubview::nScale2;
SHORT CCalendarSubview::nScale5;
SHORT CCalendarSubview::nScale10;
SHORT CCalendarSubview::nScale15;

namespace {

constexpr WCHAR kViewKey[] = u"Software\\Norvo\\Quillonary\\CAV";
constexpr WCHAR kTaskViewKey[] = u"Software\\Norvo\\Quillonary\\TV";

struct OptionSetting {
    CalendarOption option;
    const WCHAR* name;
    DWORD defaultValue;
};
// Of the calendar's key, else of the suite's.
constexpr OptionSetting kSuiteSettings[] = {
    {kAppLayout, u"AppLayout", 0},
    {kShowTaskDates, u"ShowTaskDates", 1},
    {kShowTaskPriority, u"ShowTaskPriority", 1},
    {kShowTaskImportance, u"ShowTaskImportance", 1},
    {kShowTaskAlarmTime, u"ShowTaskAlarmTime", 1},
    {kShowTaskDaysToDue, u"ShowTaskDaysToDue", 1},
    {kClearType, u"ClearType", 0},
};
// Of the calendar's key.
constexpr OptionSetting kViewSettings[] = {
    {kOldAppointments, u"dwOldApptHandle", kPastItalic},
    {kBoldAllDay, u"UseBoldAllday", 1},
    {kReminderIcons, u"ShowReminderIcons", 1},
    {kRecurringIcons, u"ShowRecurringIcons", 1},
    {kRegeneratingIcons, u"ShowRegeneratingIcons", 1},
    {kPrivateIcons, u"ShowPrivateIcons", 1},
    {kMeetingIcons, u"ShowMeetingIcons", 1},
    {kLinkedIcons, u"ShowLinkedIcons", 1},
    {kJournalIcons, u"ShowJournalIcons", 1},
    {kNoteIcons, u"ShowHasNoteIcons", 1},
    {kQuickEntryIcons, u"ShowQEIcons", 1},
    {kScaleImages, u"dwScaleImages", 0},
    {kCategoryIcons, u"ShowCatIcons", 1},
    {kCategoryColors, u"ShowCatColorBackground", kCategoryToBack},
    {kStatusBar, u"ShowStatusBar", 1},
};

constexpr const WCHAR* kWorkNames[] = {u"HourStartWork_%d", u"HourEndWork_%d"};
constexpr DWORD kWorkDefaults[] = {800, 1700};
constexpr DWORD kEndOfDay = 2400;
constexpr int kDays = 7;

std::array<WCHAR, 24> WorkName(CCalendarSubview::WorkTime time, int day) {
    std::array<WCHAR, 24> name;
    wsprintfW(name.data(), kWorkNames[time], day);
    return name;
}

DWORD ReadWork(CCalendarSubview::WorkTime time, int day) {
    const DWORD value = ReadRegistryWithDefault(kViewKey, WorkName(time, day).data(), kWorkDefaults[time]);
    return value > kEndOfDay ? kWorkDefaults[time] : value;
}

// Whether two sets of names share one; a blank behind a comma doesn't count.
bool ShareName(std::u16string_view a, std::u16string_view b) {
    const auto next = [](std::u16string_view& rest) {
        const std::size_t end = std::min(rest.find(u','), rest.size());
        std::u16string_view name = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (name.starts_with(u' ')) name.remove_prefix(1);
        return name;
    };
    while (!a.empty()) {
        const std::u16string_view name = next(a);
        for (std::u16string_view rest = b; !rest.empty();)
            if (next(rest) == name) return true;
    }
    return false;
}

std::u16string_view View(const WCHAR* text) { return text ? text : std::u16string_view(); }

} // namespace

CCalendarSubview::CCalendarSubview()
    : m_szRow(new WCHAR[kRowChars]()), m_szTime(new WCHAR[kTimeChars]()),
      m_szSubject(new WCHAR[kTextChars]()), m_szImages(new WCHAR[kTextChars]()) {
    const auto scale = [](int pixels) { return static_cast<SHORT>(ScalePx(g_HIDPI_LogPixelsX, pixels)); };
    nScale2 = scale(2);
    nScale5 = scale(5);
    nScale10 = scale(10);
    nScale15 = scale(15);
    InitCalendarPatterns();
}

void CCalendarSubview::Init() {
    for (const OptionSetting& setting : kSuiteSettings)
        m_options[setting.option] = ReadRegistryWithDefault(
            kViewKey, setting.name, ReadRegistryWithDefault(kSuiteKey, setting.name, setting.defaultValue));
    ReadWorkDays();
}

void CCalendarSubview::InitColors(bool bCategories) {
    m_colors.Read();
    if (bCategories) CCategoryColorIcons::ClearInit();
    CCategoryColorIcons::InitCategoryColors();
    m_categories.Reset(); // they keep the colour of the last text
    m_barCategories.Reset();
}

void CCalendarSubview::InitOptionsSpecific() {
    for (const OptionSetting& setting : kViewSettings)
        m_options[setting.option] = ReadRegistryWithDefault(kViewKey, setting.name, setting.defaultValue);
    m_options[kTouchInterface] = ReadRegistryWithDefault(
        kViewKey, u"TouchInterface", ReadRegistryWithDefault(kSuiteKey, u"DefaultTouchMode", 1));
    m_options[kTaskCheckbox] = ReadRegistryWithDefault(kTaskViewKey, u"TV_ShowCheckbox", 1);
}

void CCalendarSubview::InitTabVars() {
    SetSelectedSpan(0, 0);
    m_categories.Reset();
}

void CCalendarSubview::SetSelectedSpan(double top, double bottom) {
    m_flDayTop = std::clamp(std::min(top, bottom), 0.0, 1.0);
    m_flDayBottom = std::clamp(std::max(top, bottom), 0.0, 1.0);
}

// --- Working hours ------------------------------------------------------------------------------------------------

void CCalendarSubview::ReadWorkDays() {
    for (int day = 0; day < kDays; ++day) {
        const DWORD start = ReadWork(kWorkStart, day);
        m_flWork[kWorkStart][day] = start * 0.01;
        m_flWork[kWorkEnd][day] = std::max(start, ReadWork(kWorkEnd, day)) * 0.01;
    }
}

bool CCalendarSubview::SetWorkDay(int day, WorkTime time, double& fraction, DWORD value) {
    if (day < 0 || day >= kDays || value > kEndOfDay) return false;
    if (SetToRegistry(HKEY_CURRENT_USER, kViewKey, WorkName(time, day).data(), value) != 0) return false;
    ReadWorkDays();
    fraction = m_flWork[time][day];
    return true;
}

int CCalendarSubview::WorkMinute(int day, WorkTime time) const {
    const int hhmm = static_cast<int>(std::lround(m_flWork[time][day] * 100));
    return std::min(hhmm / 100 * 60 + hhmm % 100, CDataMonth::kHours * 60);
}

// --- Categories ---------------------------------------------------------------------------------------------------

void CCalendarSubview::InitForCategory(const WCHAR* pszCategories, bool bColor, bool bIcons) {
    m_categories.ParseCategory(pszCategories, bColor, bIcons);
}

const WCHAR* CCalendarSubview::GetCategoryBasedBackground() const {
    return m_options[kCategoryColors] == kCategoryToBack ? m_categories.GetCategoryColorString() : nullptr;
}

bool CCalendarSubview::CreateIconString(WCHAR* pszBuffer, bool bNoneIcon) const {
    return m_categories.GetIconString(pszBuffer, bNoneIcon);
}

bool CCalendarSubview::FilterAgendaCategory(const WCHAR* pszCategories, const WCHAR* pszWanted,
                                            const WCHAR* pszUnwanted) const {
    if (m_pFilter && !CategoryFilterHighLevel(pszCategories, m_pFilter)) return false;
    const std::u16string_view categories = View(pszCategories), wanted = View(pszWanted);
    if (!wanted.empty() && !ShareName(categories, wanted)) return false;
    return !ShareName(categories, View(pszUnwanted));
}
