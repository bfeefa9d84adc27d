// The window of the suite on a screen without a display, 480x640, on Tuesday, 24 November 2026, driven by pointer and keys.
#pragma once

#include "QNTools/QNTools.h"
#include "QNWorkerClass/COutlook.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"
#include "apps/qnshell/shell.h"
#include "tests/support/device.h"

#include <memory>

inline constexpr LONG kTuesday = 46350;

class ShellWindowTest : public DeviceTest {
protected:
    ShellWindowTest() {
        PlatUseFixedWidthText(true);
        PlatSetTimeZoneByName("Europe/Berlin");
        PlatSetLocale("en_US");
        const SYSTEMTIME now{2026, 11, 2, 24, 7, 0, 0, 0};
        PlatSetClock(&now);
        PlatSetScreen({480, 640, 96});
        InitQNTools(nullptr, true);
        qn::UseScheme(qn::Scheme::Light);
    }
    ~ShellWindowTest() override {
        Close();
        UnInitQNTools();
        PlatUseFixedWidthText(false);
    }

    void Open(qn::TabKind tab) {
        qn::ShellState state;
        state.tab = tab;
        Open(state);
    }
    void Open(const qn::ShellState& state, LONG day = kTuesday) {
        Close();
        shell = std::make_unique<qn::Shell>();
        ASSERT_TRUE(shell->Open(state, day));
        Settle();
    }
    void Close() {
        if (shell && shell->GetHWnd()) shell->DestroyWindow();
        shell.reset();
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) quit |= message.message == WM_QUIT;
    }
    // All that is queued, and the load that it started.
    void Settle() {
        for (int round = 0; round < 2; ++round) {
            MSG message;
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
                quit |= message.message == WM_QUIT;
                if (!shell->TakeKey(message)) DispatchMessageW(&message);
            }
            if (shell->GetHWnd()) shell->View().Wait();
        }
    }
    void Key(int key, bool control = false) {
        if (control) PlatKey(VK_CONTROL, true);
        PlatKey(key, true);
        PlatKey(key, false);
        if (control) PlatKey(VK_CONTROL, false);
        Settle();
    }
    void Point(PlatPointerAction action, int x, int y) {
        PlatPointer(action, x, y);
        Settle();
    }
    void Tap(int x, int y) {
        Point(PlatPointerAction::Down, x, y);
        Point(PlatPointerAction::Up, x, y);
    }
    void Drag(int x, int fromY, int toY) {
        Point(PlatPointerAction::Down, x, fromY);
        for (int step = 1; step <= 4; ++step)
            Point(PlatPointerAction::Move, x, fromY + (toY - fromY) * step / 4);
        Point(PlatPointerAction::Up, x, toY);
    }
    COLORREF PixelAt(int x, int y) {
        const HDC dc = GetDC(nullptr);
        const COLORREF color = GetPixel(dc, x, y);
        ReleaseDC(nullptr, dc);
        return color;
    }

    std::unique_ptr<qn::Shell> shell;
    bool quit = false;
};
