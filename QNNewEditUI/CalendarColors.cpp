#include "QNNewEditUI/CalendarColors.h"

#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/strings.h"
#include "QNGridCtrl/HTMLParser.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr WCHAR kColorsKey[] = u"Software\\Norvo\\Quillonary\\Colors";
constexpr WCHAR kFontsKey[] = u"Software\\Norvo\\Quillonary\\Fonts";
constexpr COLORREF kHighestColor = 0xFFFFFF;
constexpr COLORREF kAlmostBlack = 0x010101; // stands for 0 where 0 would read as "not set"

struct ColorSetting {
    const WCHAR* name;
    const WCHAR* defaults[2]; // in the light and in the dark scheme
    bool neverZero = false;
};
// In the order of CalendarColor.
constexpr ColorSetting kColorSettings[kCalendarColors] = {
    {u"JournalBackground", {u"#CDCDCD", u"#3A3F45"}},
    {u"CAV_OldAppointmentColor", {u"#A7A29D", u"#A7A29D"}},
    {u"CAV_TodayColor", {u"#F6FFA6", u"#3A3B1E"}, true},
    {u"CAV_DVNoWorkBackground", {u"#FFFFFF", u"#1D2126"}},
    {u"CAV_BackGround", {u"#FFFFFF", u"#1D2126"}, true},
    {u"CAV_DVWorkBackground", {u"#ffffce", u"#2B2D1F"}},
    {u"CAV_FontColor", {u"#000000", u"#E6EAEF"}},
    {u"CAV_TaskBackgroundColor", {u"#FFFFFF", u"#1D2126"}},
    {u"CAV_TaskFontColor", {u"#000000", u"#E6EAEF"}},
    {u"CAV_TaskOverdueBackground", {u"#FFCCCC", u"#4A2427"}},
    {u"CAV_TaskOverdueColor", {u"#FF0000", u"#FF9A94"}},
    {u"CAV_TaskCompletedBackground", {u"#AAAAAA", u"#3A3F45"}},
    {u"CAV_TaskCompletedColor", {u"#3f3f3f", u"#C2C7CD"}},
    {u"CAV_TaskDueTodayBackground", {u"#CCFFCC", u"#234229"}},
    {u"CAV_TaskDueTodayColor", {u"#000000", u"#E6EAEF"}},
    {u"CAV_TaskUndatedBackground", {u"#bdc4fe", u"#2C3158"}},
    {u"CAV_TaskUndatedColor", {u"#000000", u"#E6EAEF"}},
    {u"CAV_TaskHighPriorityBackGround", {u"#FFFF74", u"#4A451B"}},
    {u"CAV_TaskHighPriorityColor", {u"#000000", u"#E6EAEF"}},
    {u"CAV_TaskLowPriorityBackGround", {u"#93B5F0", u"#233B63"}},
    {u"CAV_TaskLowPriorityColor", {u"#000000", u"#E6EAEF"}},
};

struct StatusSetting {
    const WCHAR* name;
    COLORREF defaults[2];
};
// In the order of the busy status.
constexpr StatusSetting kStatusSettings[] = {{u"crMVFree", {0x5FFF74, 0x4FB75B}},
                                             {u"crMVTentative", {0xFEA26C, 0xFEA26C}},
                                             {u"crMVBusy", {0xFF0000, 0xFF8D4F}},
                                             {u"crMVOutofoffice", {0x82051B, 0xE07B9A}}};
constexpr LONG kStatusBusy = 2;

struct LookSetting {
    const WCHAR* use; // null: always
    const WCHAR* style;
    const WCHAR* defaultStyle;
    CalendarColor back;
    CalendarColor text;
};
// In the order of TaskLook.
constexpr LookSetting kLookSettings[kTaskLooks] = {
    {nullptr, u"CAV_TaskDefaultStyle", u"", kColorTaskBack, kColorTaskText},
    {u"CAV_TaskUseOverdueColors", u"CAV_TaskOverdueStyle", u"", kColorOverdueBack, kColorOverdueText},
    {u"CAV_TaskUseCompletedColors", u"CAV_TaskCompletedStyle", u"<S>", kColorCompletedBack,
     kColorCompletedText},
    {u"CAV_TaskUseDueTodayColors", u"CAV_TaskDueTodayStyle", u"", kColorDueTodayBack, kColorDueTodayText},
    {u"CAV_TaskUseUndatedColors", u"CAV_TaskUndatedStyle", u"", kColorUndatedBack, kColorUndatedText},
    {u"CAV_TaskUseImportanceColors", u"CAV_TaskImportanceStyle", u"", kColorHighBack, kColorHighText},
    {u"CAV_TaskUseImportanceColors", u"CAV_TaskImportanceStyle", u"", kColorLowBack, kColorLowText},
};

int g_scheme = 0; // the column of the defaults

// "#RRGGBB" stays as it is written; a shorter form is written out, since BODY takes the last six characters.
bool ParseColor(const WCHAR* text, HTMLColor& color) {
    COLORREF value;
    if (!HTMLToColorRef(text, &value)) return false;
    color.cr = value & kHighestColor;
    if (text[0] == u'#' && wcslen(text) + 1 == std::size(color.szText))
        wcscpy(color.szText, text);
    else
        ColorRefToHTML(color.cr, color.szText, static_cast<int>(std::size(color.szText)));
    return true;
}

HTMLColor ReadColor(const ColorSetting& setting) {
    WCHAR text[32] = {};
    HTMLColor color{};
    if (GetFromRegistrySZ(HKEY_CURRENT_USER, kColorsKey, setting.name, text,
                          static_cast<int>(std::size(text))) ||
        !ParseColor(text, color))
        ParseColor(setting.defaults[g_scheme], color);
    if (setting.neverZero && color.cr == 0) color.cr = kAlmostBlack;
    return color;
}

// Whole tags without quotes: anything else could swallow the text behind it.
bool IsStyle(std::u16string_view text) {
    while (!text.empty()) {
        const std::size_t end = text.find(u'>');
        if (text.front() != u'<' || end == std::u16string_view::npos) return false;
        const std::u16string_view name = text.substr(1, end - 1);
        if (name.empty() || name.find_first_of(u"<\"") != std::u16string_view::npos) return false;
        text.remove_prefix(end + 1);
    }
    return true;
}

} // namespace

void CalendarColors::SetDark(bool bDark) { g_scheme = bDark ? 1 : 0; }

void CalendarColors::Read() {
    ReadColors();
    ReadStatusColors();
    ReadLooks();
    ReadFont();
    m_dwHeaderStyle = ReadRegistryWithDefault(kSuiteKey, u"HeaderStyle", 0);
}

void CalendarColors::ReadColors() {
    std::transform(std::begin(kColorSettings), std::end(kColorSettings), m_colors, ReadColor);
}

void CalendarColors::ReadStatusColors() {
    for (int status = 0; status < kStatuses; ++status) {
        const StatusSetting& setting = kStatusSettings[status];
        HTMLColor& color = m_statuses[status];
        color.cr = ReadRegistryWithDefault(kColorsKey, setting.name, setting.defaults[g_scheme]);
        if (color.cr > kHighestColor) color.cr = setting.defaults[g_scheme];
        ColorRefToHTML(color.cr, color.szText, static_cast<int>(std::size(color.szText)));
    }
}

void CalendarColors::ReadLooks() {
    for (int look = 0; look < kTaskLooks; ++look) {
        const LookSetting& setting = kLookSettings[look];
        Look& result = m_looks[look];
        result.bUsed = !setting.use || ReadRegistryWithDefault(kColorsKey, setting.use, 1) != 0;
        if (GetFromRegistrySZ(HKEY_CURRENT_USER, kFontsKey, setting.style, result.szStyle, kStyleChars) ||
            !IsStyle(result.szStyle))
            wcscpy(result.szStyle, setting.defaultStyle);
    }
}

void CalendarColors::ReadFont() {
    if (GetFromRegistrySZ(HKEY_CURRENT_USER, kFontsKey, u"CAV_Font", m_szFont, kFaceChars) || !*m_szFont ||
        wcschr(m_szFont, u'"'))
        wcscpy(m_szFont, u"Tahoma");
}

const HTMLColor& CalendarColors::OfStatus(LONG busyStatus) const {
    return m_statuses[busyStatus < 0 ? 0 : busyStatus < kStatuses ? busyStatus : kStatusBusy];
}

CalendarColor CalendarColors::BackOf(TaskLook look) { return kLookSettings[look].back; }

CalendarColor CalendarColors::TextOf(TaskLook look) { return kLookSettings[look].text; }
