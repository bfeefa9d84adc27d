// Tests of what waits for the person: input is laid into the queue before, or step by step while it waits.
#pragma once

#include "NorvoTools/globals.h"
#include "NorvoUI/CeWnd.h"
#include "NorvoUI/hidpi.h"
#include "tests/support/device.h"

#include <deque>
#include <functional>
#include <string>

namespace qntest {

inline void Press(int key) {
    PlatKey(key, true);
    PlatKey(key, false);
}
inline void Tap(int x, int y) {
    PlatPointer(PlatPointerAction::Down, x, y);
    PlatPointer(PlatPointerAction::Up, x, y);
}

// Each step runs when everything before it is worked off and painted.
class Script {
public:
    explicit Script(std::deque<std::function<void()>> steps) {
        s_steps = std::move(steps);
        m_timer = SetTimer(nullptr, 0, 1, &Next);
    }
    ~Script() {
        KillTimer(nullptr, m_timer);
        EXPECT_TRUE(s_steps.empty()) << "steps left: nothing waited for them";
        s_steps.clear();
    }
    Script(const Script&) = delete;
    Script& operator=(const Script&) = delete;

private:
    static void Next(HWND, UINT, ULONG_PTR, DWORD) {
        if (s_steps.empty()) return;
        const auto step = std::move(s_steps.front());
        s_steps.pop_front();
        step();
    }
    static inline std::deque<std::function<void()>> s_steps;
    ULONG_PTR m_timer;
};

// One window over the whole screen; every character is 6 pixels wide.
class ModalTest : public DeviceTest {
protected:
    class TopWindow : public CeWnd {
    public:
        ~TopWindow() override {
            if (m_hWnd) DestroyWindow();
        }
        LRESULT OnCommand(WPARAM wParam, LPARAM, bool& handled) override {
            handled = true;
            commands += std::to_string(LOWORD(wParam)) + ":" + std::to_string(HIWORD(wParam)) + " ";
            return 0;
        }
        std::string commands; // "id:code " each
    };

    explicit ModalTest(PlatScreen screen = {240, 320, 96}) {
        PlatUseFixedWidthText(true);
        Show(screen);
    }
    ~ModalTest() override {
        if (top.GetHWnd()) top.DestroyWindow();
        Pump();
        Measure({});
    }
    void Show(const PlatScreen& screen) {
        if (top.GetHWnd()) top.DestroyWindow();
        Measure(screen);
        top.Create(nullptr, nullptr, RECT{0, 0, screen.width, screen.height}, u"", WS_POPUP | WS_VISIBLE);
        Pump();
    }
    static void Measure(const PlatScreen& screen) {
        PlatSetScreen(screen);
        g_HIDPI_LogPixelsX = 0; // read anew
        HIDPI_InitScaling();
    }
    static void Pump() {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    }
    std::string TakeCommands() { return std::exchange(top.commands, {}); }
    static COLORREF PixelAt(int x, int y) {
        const HDC dc = GetDC(nullptr);
        const COLORREF color = GetPixel(dc, x, y);
        ReleaseDC(nullptr, dc);
        return color;
    }
    static bool IsOnScreen(HWND window) {
        const PlatScreen screen = PlatGetScreen();
        RECT rect{};
        GetWindowRect(window, &rect);
        return rect.left >= 0 && rect.top >= 0 && rect.right <= screen.width && rect.bottom <= screen.height;
    }
    // How many top-level windows are shown; each must lie on the screen.
    static int ShownOnScreen() {
        int count = 0;
        for (HWND at = GetWindow(GetDesktopWindow(), GW_CHILD); at; at = GetWindow(at, GW_HWNDNEXT)) {
            if (!IsWindowVisible(at)) continue;
            ++count;
            EXPECT_TRUE(IsOnScreen(at));
        }
        return count;
    }

    TopWindow top;
};

} // namespace qntest
