#include "NorvoUI/CeBaseWnd.h"

#include "NorvoTools/CeString.h"
#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/threads.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr UINT kFrameOnly = SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE;
constexpr DWORD kSlideStepWait = 50; // milliseconds

bool ModifyLong(HWND hWnd, int index, DWORD remove, DWORD add, UINT flags) {
    const auto old = static_cast<DWORD>(GetWindowLongW(hWnd, index));
    const DWORD style = (old & ~remove) | add;
    if (style == old || !IsWindow(hWnd)) return false;
    SetWindowLongW(hWnd, index, static_cast<LONG>(style));
    if (flags != 0) SetWindowPos(hWnd, nullptr, 0, 0, 0, 0, flags | kFrameOnly);
    return true;
}

int Width(const RECT& rect) { return rect.right - rect.left; }
int Height(const RECT& rect) { return rect.bottom - rect.top; }

// In the middle of `area`; where that leaves `limit`, moved back, the left and top edge first of all.
POINT Centered(const RECT& window, const RECT& area, const RECT& limit) {
    const LONG x = area.left + (Width(area) - Width(window)) / 2;
    const LONG y = area.top + (Height(area) - Height(window)) / 2;
    return {std::max(std::min(x, limit.right - Width(window)), limit.left),
            std::max(std::min(y, limit.bottom - Height(window)), limit.top)};
}

} // namespace

HWND CeBaseWnd::Detach() { return std::exchange(m_hWnd, nullptr); }

bool CeBaseWnd::GetWindowTextW(CeString& text) const { return text.GetWindowTextW(m_hWnd); }

bool CeBaseWnd::ModifyStyle(HWND hWnd, DWORD remove, DWORD add, UINT flags) {
    return ModifyLong(hWnd, GWL_STYLE, remove, add, flags);
}

bool CeBaseWnd::ModifyStyleEx(HWND hWnd, DWORD remove, DWORD add, UINT flags) {
    return ModifyLong(hWnd, GWL_EXSTYLE, remove, add, flags);
}

void CeBaseWnd::ClientToScreen(RECT* rect) const {
    ::MapWindowPoints(m_hWnd, nullptr, reinterpret_cast<POINT*>(rect), 2);
}
void CeBaseWnd::ScreenToClient(RECT* rect) const {
    ::MapWindowPoints(nullptr, m_hWnd, reinterpret_cast<POINT*>(rect), 2);
}

HWND CeBaseWnd::GetTopLevelParent() const {
    HWND top = m_hWnd;
    for (HWND parent = top; parent; parent = ::GetParent(parent)) top = parent;
    return top;
}

bool CeBaseWnd::CenterWindow(HWND over) {
    const bool child = (GetStyle() & WS_CHILD) != 0;
    const HWND parent = ::GetParent(m_hWnd); // or the owner
    if (!over) over = parent;
    RECT window{}, limit{};
    if (!GetWindowRect(&window)) return false;
    if (child ? !::GetClientRect(parent, &limit) : !SystemParametersInfoW(SPI_GETWORKAREA, 0, &limit, 0))
        return false;
    RECT area = limit;
    if (child && ::GetClientRect(over, &area))
        ::MapWindowPoints(over, parent, reinterpret_cast<POINT*>(&area), 2);
    else if (over && ::IsWindowVisible(over))
        ::GetWindowRect(over, &area);
    const POINT at = Centered(window, area, limit);
    return SetWindowPos(nullptr, at.x, at.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE) != 0;
}

void CeBaseWnd::ShowScrollBar(int bar, BOOL show) {
    const DWORD bit = bar != 0 ? WS_VSCROLL : WS_HSCROLL;
    const DWORD style = GetStyle();
    SetWindowLongW(GWL_STYLE, static_cast<LONG>(show ? style | bit : style & ~bit));
}

void CeBaseWnd::SlideBitmaps(const RECT& rect, HBITMAP from, HBITMAP to, bool bForward) {
    HIDPI_InitScaling();
    const int width = Width(rect), height = Height(rect);
    const int edge = ScalePx(g_HIDPI_LogPixelsX, 10);
    const int third = (width - 2 * edge) / 3;
    const std::array<int, 5> steps = {edge, third, third, third, width - 3 * third - edge};

    const HDC screen = ::GetDC(nullptr);
    const HDC out = CreateCompatibleDC(screen), in = CreateCompatibleDC(screen);
    const HGDIOBJ formerOut = SelectObject(out, from), formerIn = SelectObject(in, to);
    int done = 0;
    for (const int step : steps) {
        Sleep(kSlideStepWait);
        done += step;
        const int rest = width - done;
        const int outX = bForward ? rect.left : rect.left + done;
        const int inX = bForward ? rect.left + rest : rect.left;
        BitBlt(screen, outX, rect.top, rest, height, out, bForward ? done : 0, 0, SRCCOPY);
        BitBlt(screen, inX, rect.top, done, height, in, bForward ? 0 : rest, 0, SRCCOPY);
    }
    SelectObject(out, formerOut);
    SelectObject(in, formerIn);
    DeleteDC(out);
    DeleteDC(in);
    ::ReleaseDC(nullptr, screen);
}
