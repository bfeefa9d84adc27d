// Measures, colours and settings of the system.
#include "Platform/host/faults.h"
#include "Platform/host/messages.h"
#include "Platform/host/scene.h"
#include "Platform/host/text.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

#include <array>
#include <atomic>

namespace {

struct Metric {
    int index;
    int pixels; // at 96 dots an inch
};
constexpr std::array kMetrics = {
    Metric{SM_CXVSCROLL, 13}, Metric{SM_CYHSCROLL, 13}, Metric{SM_CYCAPTION, 20},
    Metric{SM_CXBORDER, 1},   Metric{SM_CYBORDER, 1},   Metric{SM_CXICON, 32},
    Metric{SM_CYICON, 32},    Metric{SM_CXSMICON, 16},  Metric{SM_CYSMICON, 16},
};

constexpr COLORREF Rgb(COLORREF red, COLORREF green, COLORREF blue) { return red | green << 8 | blue << 16; }

constexpr std::array<COLORREF, 27> kFirstColors = {
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

std::array<std::atomic<COLORREF>, kFirstColors.size()> g_colors;
std::atomic<DWORD> g_orientation{0};

void Reset() {
    for (std::size_t i = 0; i < kFirstColors.size(); ++i) g_colors[i] = kFirstColors[i];
    g_orientation = 0;
}
[[maybe_unused]] const bool g_registered = (Reset(), plat::AtReset(&Reset), true);

std::atomic<COLORREF>* FindColor(int index) {
    const auto plain = static_cast<DWORD>(index) & ~SYS_COLOR_INDEX_FLAG;
    return plain < g_colors.size() ? &g_colors[plain] : nullptr;
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
    const auto* color = FindColor(index);
    return color ? color->load() : 0;
}

HBRUSH GetSysColorBrush(int index) {
    plat::HostCall call;
    const auto* color = FindColor(index);
    return color ? plat::SystemBrush(*color) : nullptr;
}

bool PlatSetSysColor(int index, COLORREF color) {
    plat::HostCall call;
    auto* place = FindColor(index);
    if (!place) return false;
    *place = color & 0xFFFFFF;
    plat::RedrawEverything();
    return true;
}

BOOL SystemParametersInfoW(UINT action, UINT parameter, void* data, UINT) {
    plat::HostCall call;
    constexpr std::u16string_view kDeviceName = u"QNTools";
    if (action == SPI_GETWORKAREA && data) {
        const PlatScreen screen = PlatGetScreen();
        *static_cast<RECT*>(data) = {0, 0, screen.width, screen.height};
        return TRUE;
    }
    if (action == SPI_GETOEMINFO && data && parameter > 0) {
        const int room = static_cast<int>(std::min<UINT>(parameter, 1024));
        plat::CopyText(std::u16string(kDeviceName), static_cast<LPWSTR>(data), room);
        return TRUE;
    }
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
}

LONG ChangeDisplaySettingsEx(LPCWSTR, DEVMODEW* mode, HWND, DWORD flags, void*) {
    plat::HostCall call;
    if (!mode || mode->dmSize != sizeof *mode) return DISP_CHANGE_BADPARAM;
    if (!(flags & CDS_TEST) || !(mode->dmFields & DM_DISPLAYORIENTATION)) return DISP_CHANGE_FAILED;
    mode->dmDisplayOrientation = g_orientation;
    return DISP_CHANGE_SUCCESSFUL;
}

void PlatSetOrientation(DWORD orientation) {
    plat::HostCall call;
    g_orientation = orientation;
}

BOOL InitCommonControlsEx(const INITCOMMONCONTROLSEX* classes) {
    plat::HostCall call;
    return classes && classes->dwSize == sizeof *classes;
}
