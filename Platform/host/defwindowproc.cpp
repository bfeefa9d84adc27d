// What windows do with the messages that they don't handle themselves.
#include "Platform/host/desktop.h"
#include "Platform/host/scene.h"
#include "Platform/host/scrollbars.h"
#include "Platform/windows.h"

namespace plat {
namespace {

LRESULT KeepText(HWND window, LPCWSTR given) {
    HostCall call;
    std::u16string text(TextOf(given));
    return WithWindow(window, [&](Window& found) { return found.text.swap(text), LRESULT{1}; }).value_or(0);
}

LRESULT GiveText(HWND window, LPWSTR buffer, WPARAM count) {
    HostCall call;
    const auto text = WithWindow(window, [](Window& found) { return found.text; });
    return text ? CopyText(*text, buffer, static_cast<int>(count)) : 0;
}

LRESULT TextLength(HWND window) {
    HostCall call;
    return WithWindow(window, [](Window& found) { return static_cast<LRESULT>(found.text.size()); })
        .value_or(0);
}

void KeepFont(HWND window, HFONT font, bool redraw) {
    {
        HostCall call;
        WithWindow(window, [font](Window& found) { return found.font = font; });
    }
    if (redraw) InvalidateRect(window, nullptr, TRUE);
}

HFONT FontOf(HWND window) {
    HostCall call;
    return WithWindow(window, [](Window& found) { return found.font; }).value_or(nullptr);
}

// The class brush, or the brush of the system colour that its number stands for.
HBRUSH GroundOf(HWND window) {
    HostCall call;
    const HBRUSH brush = WithWindow(window, [](Window& found) {
                             return found.windowClass->data.hbrBackground;
                         }).value_or(nullptr);
    const auto number = reinterpret_cast<ULONG_PTR>(brush);
    return number > 0 && number < 0x10000 ? GetSysColorBrush(static_cast<int>(number) - 1) : brush;
}

LRESULT Erase(HWND window, HDC dc) {
    const HBRUSH brush = GroundOf(window);
    RECT box{};
    if (!brush || !GetClipBox(dc, &box)) return 0;
    return FillRect(dc, &box, brush) != 0;
}

void LetRedraw(HWND window, bool redraw) {
    {
        HostCall call;
        WithWindow(window, [redraw](Window& found) { return found.noRedraw = !redraw; });
    }
    if (redraw) InvalidateRect(window, nullptr, TRUE);
}

void TakeFocus(HWND window) {
    const HWND focus = GetFocus();
    if (focus != window && !IsChild(window, focus)) SetFocus(window);
}

void GiveUpPointer(HWND window) {
    bool dragging;
    {
        HostCall call;
        Desktop& desktop = TheDesktop();
        std::lock_guard lock(desktop.lock);
        dragging = desktop.drag.window == window;
    }
    if (dragging) ReleaseBar();
    if (GetCapture() == window) ReleaseCapture();
}

HBRUSH ControlGround(UINT message) {
    const bool field = message == WM_CTLCOLOREDIT || message == WM_CTLCOLORLISTBOX;
    return GetSysColorBrush(field ? COLOR_WINDOW : COLOR_BTNFACE);
}

} // namespace
} // namespace plat

using namespace plat;

LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_CLOSE:
        return DestroyWindow(window), 0;
    case WM_SETTEXT:
        return KeepText(window, reinterpret_cast<LPCWSTR>(lParam));
    case WM_GETTEXT:
        return GiveText(window, reinterpret_cast<LPWSTR>(lParam), wParam);
    case WM_GETTEXTLENGTH:
        return TextLength(window);
    case WM_SETFONT:
        return KeepFont(window, reinterpret_cast<HFONT>(wParam), LOWORD(static_cast<ULONG_PTR>(lParam)) != 0),
               0;
    case WM_GETFONT:
        return reinterpret_cast<LRESULT>(FontOf(window));
    case WM_PAINT: {
        PAINTSTRUCT paint;
        if (BeginPaint(window, &paint)) EndPaint(window, &paint);
        return 0;
    }
    case WM_ERASEBKGND:
        return Erase(window, reinterpret_cast<HDC>(wParam));
    case WM_SETREDRAW:
        return LetRedraw(window, wParam != 0), 0;
    case WM_ACTIVATE:
        if (LOWORD(wParam) != 0) TakeFocus(window);
        return 0;
    case WM_CANCELMODE:
        return GiveUpPointer(window), 0;
    case WM_MOUSEWHEEL:
        if (GetWindowLongW(window, GWL_STYLE) & static_cast<LONG_PTR>(WS_CHILD))
            return SendMessageW(GetParent(window), message, wParam, lParam);
        return 0;
    default:
        break;
    }
    if (message >= WM_CTLCOLORMSGBOX && message <= WM_CTLCOLORSTATIC)
        return reinterpret_cast<LRESULT>(ControlGround(message));
    HostCall call; // as every operation: a checkpoint
    return 0;
}
