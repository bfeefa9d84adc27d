#include "apps/pages/theme.h"

#include "NorvoTools/registryfunctions.h"
#include "NorvoUI/chrome.h"
#include "Platform/registry.h"
#include "Platform/strings.h"
#include "Platform/system.h"
#include "QNGridCtrl/HTMLParser.h"
#include "QNNewEditUI/CalendarColors.h"

#include <utility>

namespace qn {

namespace {

constexpr const WCHAR* kKey = u"Software\\Norvo\\Quillonary\\Colors";
constexpr const WCHAR* kName = u"Scheme";
constexpr int kSchemes = 2;

struct Row {
    const WCHAR* markup[kSchemes]; // light, dark
};
// In the order of Paint.
constexpr Row kColors[static_cast<int>(Paint::Count)] = {
    {{u"#336699", u"#1F3A55"}}, // Bar
    {{u"#FFFFFF", u"#E6EAEF"}}, // BarText
    {{u"#224A77", u"#152A40"}}, // Pressed
    {{u"#E8EEF6", u"#38597C"}}, // Active
    {{u"#224A77", u"#FFFFFF"}}, // ActiveText
    {{u"#F2B33D", u"#F2B33D"}}, // Busy
    {{u"#FFFFFF", u"#1D2126"}}, // Window
    {{u"#000000", u"#E6EAEF"}}, // Text
    {{u"#6D6D6D", u"#A3ABB5"}}, // Quiet
    {{u"#0000FF", u"#8AB4F8"}}, // Link
    {{u"#CCC8C7", u"#3B434D"}}, // Line
    {{u"#E8EEF6", u"#2A333D"}}, // Heading
    {{u"#336699", u"#38597C"}}, // Today
    {{u"#FFFFFF", u"#FFFFFF"}}, // TodayText
    {{u"#F0F0F0", u"#262B31"}}, // Hours
    {{u"#C00000", u"#FF8F85"}}, // Alert
    {{u"#336699", u"#6F9DD0"}}, // Progress
    {{u"#336699", u"#8AB4F8"}}, // Focus
};

struct SystemRow {
    int index;
    COLORREF color[kSchemes];
};
constexpr SystemRow kSystemColors[] = {
    {COLOR_WINDOW, {0xFFFFFF, 0x26211D}},     {COLOR_WINDOWFRAME, {0x000000, 0x6E635A}},
    {COLOR_WINDOWTEXT, {0x000000, 0xEFEAE6}}, {COLOR_BTNFACE, {0xF0F0F0, 0x312B26}},
    {COLOR_BTNSHADOW, {0xA0A0A0, 0x6E635A}},  {COLOR_GRAYTEXT, {0x6D6D6D, 0xB5ABA3}},
    {COLOR_BTNTEXT, {0x000000, 0xEFEAE6}},    {COLOR_HOTLIGHT, {0xCC6600, 0xF8B48A}},
};

// Menus, dialogs and boxes of the library take theirs from the same table.
constexpr std::pair<EChromeColor, Paint> kChrome[] = {
    {CHROME_BAR, Paint::Bar},
    {CHROME_BAR_TEXT, Paint::BarText},
    {CHROME_BAR_PRESSED, Paint::Pressed},
    {CHROME_ACTIVE, Paint::Active},
    {CHROME_ACTIVE_TEXT, Paint::ActiveText},
    {CHROME_LINE, Paint::Line},
    {CHROME_FOCUS, Paint::Busy},
};

int g_column = 0;

const WCHAR* MarkupOf(Paint paint) { return kColors[static_cast<int>(paint)].markup[g_column]; }

} // namespace

Scheme ReadScheme() { return ReadRegistryWithDefault(kKey, kName, 0) == 1 ? Scheme::Dark : Scheme::Light; }

void KeepScheme(Scheme scheme) { SetToRegistry(HKEY_CURRENT_USER, kKey, kName, static_cast<DWORD>(scheme)); }

void UseScheme(Scheme scheme) {
    g_column = static_cast<int>(scheme);
    CalendarColors::SetDark(scheme == Scheme::Dark);
    for (const SystemRow& row : kSystemColors) PlatSetSysColor(row.index, row.color[g_column]);
    for (const auto& [chrome, paint] : kChrome) SetChromeColor(chrome, ColorOf(paint));
}

std::u16string GroundTag(Paint paint) { return std::u16string(u"<BODY BGCOLOR=") + MarkupOf(paint) + u">"; }

std::u16string FontTag(Paint paint) {
    return std::u16string(u"<FONT SIZE=2 NAME=\"Tahoma\" COLOR=") + MarkupOf(paint) + u">";
}

std::u16string SmallFontTag(Paint paint) {
    return std::u16string(u"<FONT SIZE=1 NAME=\"Tahoma\" COLOR=") + MarkupOf(paint) + u">";
}

std::u16string FilledFontTag(Paint ink, Paint ground) {
    return std::u16string(u"<FONT SIZE=2 NAME=\"Tahoma\" COLOR=") + MarkupOf(ink) + u" BGCOLOR=" +
           MarkupOf(ground) + u">";
}

std::u16string PictureTag(WORD picture) {
    WCHAR tag[24] = {};
    wsprintfW(tag, u"<IMG SRC=%u>", UINT{picture});
    return tag;
}

COLORREF ColorOf(Paint paint) {
    COLORREF color = 0;
    HTMLToColorRef(MarkupOf(paint), &color);
    return color & 0xFFFFFF;
}

} // namespace qn
