#include "NorvoUI/hidpi.h"

#include "NorvoTools/globals.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/gdi.h"
#include "Platform/locale.h"
#include "Platform/registry.h"
#include "Platform/windows.h"
#include "NorvoTools/StrFunctions.h"

namespace {

constexpr int kPointsPerInch = 72;
constexpr BYTE kAnyCharset = 0xFF;
constexpr LCID kPrimaryLanguage = 0x3FF, kChinese = 4, kJapanese = 17, kKorean = 18;

// Icons inside a line of text are a little smaller than the system's small icons.
DWORD IconInText(DWORD smallIcon) {
    switch (smallIcon) {
    case 32:
        return 24;
    case 16:
        return 13;
    default:
        return smallIcon;
    }
}

constexpr int kThemeColor = 0x40000000;
struct LabelColor {
    const WCHAR* name;
    COLORREF& color;
    COLORREF fallback;
};

} // namespace

bool LanguageHasBold() {
    static const bool hasBold = [] {
        const LCID language = GetSystemDefaultLCID() & kPrimaryLanguage;
        return language != kChinese && language != kJapanese && language != kKorean;
    }();
    return hasBold;
}

void HIDPI_InitScaling() {
    if (g_HIDPI_LogPixelsX != 0) return;
    const HDC screen = GetDC(nullptr);
    g_HIDPI_LogPixelsX = static_cast<DWORD>(GetDeviceCaps(screen, LOGPIXELSX));
    g_HIDPI_LogPixelsY = static_cast<DWORD>(GetDeviceCaps(screen, LOGPIXELSY));
    g_HIDPI_IconPixels = static_cast<DWORD>(GetSystemMetrics(SM_CXSMICON));
    g_HIDPI_BorderPixels = static_cast<DWORD>(GetSystemMetrics(SM_CXBORDER));
    g_HIDPI_QNFontScale = static_cast<DWORD>(g_HIDPI_LogPixelsY * (1.0 / kPointsPerInch) * 1000.0);
    g_bSquareScreen = GetDeviceCaps(screen, HORZRES) == GetDeviceCaps(screen, VERTRES);
    g_HIDPI_IconPixels_Special = IconInText(g_HIDPI_IconPixels);
    ReleaseDC(nullptr, screen);
}

HFONT CreateFontPoint(const WCHAR* face, int points, int weight, BYTE italic, BYTE underline, BYTE quality,
                      int escapement) {
    LOGFONTW font{};
    font.lfHeight = -(static_cast<LONG>(g_HIDPI_LogPixelsY) * points) / kPointsPerInch;
    font.lfEscapement = escapement;
    font.lfWeight = LanguageHasBold() ? weight : FW_NORMAL;
    font.lfItalic = italic;
    font.lfUnderline = underline;
    font.lfCharSet = kAnyCharset;
    font.lfQuality = quality;
    wstrncpy(font.lfFaceName, face, LF_FACESIZE - 1);
    return CreateFontIndirectW(&font);
}

void InitLabelColors(bool bForce) {
    constexpr const WCHAR* kColorsKey = u"Software\\Norvo\\Quillonary\\Colors";
    if (!bForce && (crTabSelColor1 || crTopBarColor || crTabColor1)) return;
    const LabelColor colors[] = {
        {u"crTabSelColor1", crTabSelColor1, 8444410},
        {u"crTabSelColor2", crTabSelColor2, 6342645},
        {u"crTabColor1", crTabColor1, GetSysColor(kThemeColor | 13)},
        {u"crTabColor2", crTabColor2, GetSysColor(kThemeColor | 14)},
        {u"crTabBorder", crTabBorder, 10248507},
        {u"crArrowSelColor1", crArrowSelColor1, 52736},
        {u"crArrowSelColor2", crArrowSelColor2, 10276508},
        {u"crTopBarColor", crTopBarColor, GetSysColor(kThemeColor | 9)},
    };
    for (const LabelColor& label : colors)
        label.color = ReadRegistryWithDefault(kColorsKey, label.name, label.fallback);
}
