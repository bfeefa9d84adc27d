// Measures and colours of the system.
#include "Platform/host/call.h"
#include "Platform/host/messages.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

#include <array>

namespace {

struct Metric {
    int index;
    int pixels; // at 96 dots an inch
};
constexpr std::array kMetrics = {
    Metric{SM_CXVSCROLL, 13}, Metric{SM_CYHSCROLL, 13}, Metric{SM_CXBORDER, 1},  Metric{SM_CYBORDER, 1},
    Metric{SM_CXICON, 32},    Metric{SM_CYICON, 32},    Metric{SM_CXSMICON, 16}, Metric{SM_CYSMICON, 16},
};

constexpr COLORREF Rgb(COLORREF red, COLORREF green, COLORREF blue) { return red | green << 8 | blue << 16; }

constexpr std::array<COLORREF, 27> kColors = {
    Rgb(0xE0, 0xE0, 0xE0), // 0 scroll bar
    Rgb(0x33, 0x66, 0x99), // 1 desktop
    Rgb(0x33, 0x66, 0x99), // 2 active caption
    Rgb(0x80, 0x80, 0x80), // 3 inactive caption
    Rgb(0xFF, 0xFF, 0xFF), // 4 menu
    Rgb(0xFF, 0xFF, 0xFF), // 5 window
    Rgb(0x00, 0x00, 0x00), // 6 window frame
    Rgb(0x00, 0x00, 0x00), // 7 menu text
    Rgb(0x00, 0x00, 0x00), // 8 window text
    Rgb(0xFF, 0xFF, 0xFF), // 9 caption text
    Rgb(0xC0, 0xC0, 0xC0), // 10 active border
    Rgb(0xC0, 0xC0, 0xC0), // 11 inactive border
    Rgb(0x80, 0x80, 0x80), // 12 application work space
    Rgb(0x00, 0x78, 0xD7), // 13 highlight
    Rgb(0xFF, 0xFF, 0xFF), // 14 highlighted text
    Rgb(0xF0, 0xF0, 0xF0), // 15 button face
    Rgb(0xA0, 0xA0, 0xA0), // 16 button shadow
    Rgb(0x6D, 0x6D, 0x6D), // 17 grey text
    Rgb(0x00, 0x00, 0x00), // 18 button text
    Rgb(0xC0, 0xC0, 0xC0), // 19 inactive caption text
    Rgb(0xFF, 0xFF, 0xFF), // 20 button highlight
    Rgb(0x00, 0x00, 0x00), // 21 dark shadow
    Rgb(0xE0, 0xE0, 0xE0), // 22 light
    Rgb(0x00, 0x00, 0x00), // 23 tip text
    Rgb(0xFF, 0xFF, 0xCE), // 24 tip
    Rgb(0xFF, 0xFF, 0xFF), // 25 static
    Rgb(0x00, 0x66, 0xCC), // 26 link
};

const COLORREF* FindColor(int index) {
    const auto plain = static_cast<DWORD>(index) & ~SYS_COLOR_INDEX_FLAG;
    return plain < kColors.size() ? &kColors[plain] : nullptr;
}

} // namespace

int GetSystemMetrics(int index) {
    plat::HostCall call;
    const PlatScreen screen = PlatGetScreen();
    if (index == SM_CXSCREEN) return screen.width;
    if (index == SM_CYSCREEN) return screen.height;
    for (const Metric& metric : kMetrics)
        if (metric.index == index) return (metric.pixels * screen.dotsPerInch + 48) / 96;
    return 0;
}

COLORREF GetSysColor(int index) {
    const COLORREF* color = FindColor(index);
    return color ? *color : 0;
}

HBRUSH GetSysColorBrush(int index) {
    plat::HostCall call;
    const COLORREF* color = FindColor(index);
    return color ? plat::SystemBrush(*color) : nullptr;
}

BOOL SystemParametersInfoW(UINT action, UINT, void* data, UINT) {
    plat::HostCall call;
    if (action != SPI_GETWORKAREA || !data) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const PlatScreen screen = PlatGetScreen();
    *static_cast<RECT*>(data) = {0, 0, screen.width, screen.height};
    return TRUE;
}

BOOL InitCommonControlsEx(const INITCOMMONCONTROLSEX* classes) {
    plat::HostCall call;
    return classes && classes->dwSize == sizeof *classes;
}
