// Small windows for tests. Each has a letter and a colour, fills itself with it, and writes what it hears into a log; the
// screen is read back as rows of letters.
#pragma once

#include "Platform/threads.h"
#include "Platform/windows.h"
#include "tests/support/device.h"

#include <functional>
#include <map>
#include <string>

namespace qntest {

// Messages of the windows of this thread, a line each.
inline thread_local std::string t_log;
inline std::string TakeLog() { return std::exchange(t_log, {}); }

inline char LetterOf(HWND window) { return window ? static_cast<char>(GetDlgCtrlID(window)) : '0'; }
// A colour that tells its letter, and no system colour does.
inline COLORREF ColorOfLetter(char letter) { return 0x010200 | static_cast<COLORREF>(letter); }

inline std::string PointText(LPARAM lParam) {
    const auto pair = static_cast<ULONG_PTR>(lParam);
    return std::to_string(static_cast<SHORT>(LOWORD(pair))) + "," +
           std::to_string(static_cast<SHORT>(HIWORD(pair)));
}

// The line of a message; empty for one that is not told.
inline std::string Told(UINT message, WPARAM wParam, LPARAM lParam) {
    const auto number = [&](const char* name) { return name + std::to_string(LOWORD(wParam)); };
    const auto scroll = [&](const char* name) {
        const bool thumb = LOWORD(wParam) == SB_THUMBPOSITION || LOWORD(wParam) == SB_THUMBTRACK;
        return number(name) + (thumb ? "@" + std::to_string(HIWORD(wParam)) : "");
    };
    switch (message) {
    case WM_LBUTTONDOWN:
        return "down " + PointText(lParam);
    case WM_LBUTTONUP:
        return "up " + PointText(lParam);
    case WM_LBUTTONDBLCLK:
        return "double " + PointText(lParam);
    case WM_MOUSEMOVE:
        return "move " + PointText(lParam);
    case WM_MOUSEWHEEL:
        return "wheel " + std::to_string(static_cast<SHORT>(HIWORD(wParam)));
    case WM_CAPTURECHANGED:
        return std::string("lost to ") + LetterOf(reinterpret_cast<HWND>(lParam));
    case WM_SETFOCUS:
        return std::string("focus from ") + LetterOf(reinterpret_cast<HWND>(wParam));
    case WM_KILLFOCUS:
        return std::string("focus to ") + LetterOf(reinterpret_cast<HWND>(wParam));
    case WM_ACTIVATE:
        return number("active ");
    case WM_KEYDOWN:
    case WM_SYSKEYDOWN:
        return number("key ") + (lParam & KF_KEY_REPEATED ? " again" : "");
    case WM_KEYUP:
    case WM_SYSKEYUP:
        return number("key-up ");
    case WM_CHAR:
        return number("char ");
    case WM_VSCROLL:
        return scroll("v");
    case WM_HSCROLL:
        return scroll("h");
    case WM_SIZE:
        return "size " + PointText(lParam);
    case WM_MOVE:
        return "place " + PointText(lParam);
    case WM_SHOWWINDOW:
        return number("shown ");
    case WM_DESTROY:
        return "gone";
    case WM_CANCELMODE:
        return "cancel";
    case WM_TIMER:
        return "timer";
    default:
        return message >= WM_USER ? "user" : "";
    }
}

class WindowTest : public DeviceTest {
protected:
    // What a window does before it is logged and DefWindowProcW is called; true: that was all.
    using Handler = std::function<bool(HWND, UINT, WPARAM, LPARAM)>;

    explicit WindowTest(PlatScreen screen = {}) {
        PlatSetScreen(screen);
        for (const UINT style : {0U, CS_DBLCLKS}) {
            WNDCLASSW windowClass{};
            windowClass.style = style;
            windowClass.lpfnWndProc = &Procedure;
            windowClass.lpszClassName = ClassOf(style != 0);
            RegisterClassW(&windowClass);
        }
        t_log.clear();
        s_handler = nullptr;
    }
    ~WindowTest() override {
        s_handler = nullptr;
        while (const HWND left = FindWindowW(ClassOf(false), nullptr)) DestroyWindow(left);
        while (const HWND left = FindWindowW(ClassOf(true), nullptr)) DestroyWindow(left);
        for (const bool clicks : {false, true}) EXPECT_TRUE(UnregisterClassW(ClassOf(clicks), nullptr));
    }

    static LPCWSTR ClassOf(bool doubleClicks) { return doubleClicks ? u"QN clicks" : u"QN letters"; }
    static HWND Make(char letter, const RECT& r, HWND parent = nullptr, DWORD style = 0,
                     bool doubleClicks = false) {
        const DWORD kind = parent ? WS_CHILD : WS_POPUP;
        const HWND window = CreateWindowExW(0, ClassOf(doubleClicks), u"", kind | WS_VISIBLE | style, r.left,
                                            r.top, r.right - r.left, r.bottom - r.top, parent, nullptr,
                                            nullptr, reinterpret_cast<void*>(static_cast<LONG_PTR>(letter)));
        return window;
    }
    // Every message there is now.
    static void Pump() {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    }
    static COLORREF ScreenPixel(int x, int y) {
        const HDC dc = GetDC(nullptr);
        const COLORREF color = GetPixel(dc, x, y);
        ReleaseDC(nullptr, dc);
        return color;
    }
    // The screen in letters: '.' bare ground, '#' a frame, '?' anything else.
    static std::string Picture() {
        std::string rows;
        const PlatScreen screen = PlatGetScreen();
        for (int y = 0; y < screen.height; ++y, rows += '\n')
            for (int x = 0; x < screen.width; ++x) rows += PixelLetter(ScreenPixel(x, y));
        return rows;
    }

    static inline Handler s_handler;

private:
    static char PixelLetter(COLORREF color) {
        if (color == GetSysColor(COLOR_BACKGROUND)) return '.';
        if (color == GetSysColor(COLOR_WINDOWFRAME)) return '#';
        return (color & 0xFFFF00) == 0x010200 ? static_cast<char>(color & 0xFF) : '?';
    }
    static void Paint(HWND window) {
        PAINTSTRUCT paint;
        const HDC dc = BeginPaint(window, &paint);
        const HBRUSH brush = CreateSolidBrush(ColorOfLetter(LetterOf(window)));
        FillRect(dc, &paint.rcPaint, brush);
        DeleteObject(brush);
        EndPaint(window, &paint);
    }
    static LRESULT Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_CREATE)
            SetWindowLongW(
                window, GWL_ID,
                reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams));
        if (s_handler && s_handler(window, message, wParam, lParam)) return 0;
        if (const std::string line = Told(message, wParam, lParam); !line.empty())
            t_log += std::string(1, LetterOf(window)) + " " + line + "\n";
        if (message == WM_PAINT) return Paint(window), 0;
        return DefWindowProcW(window, message, wParam, lParam);
    }
};

} // namespace qntest
