// Scroll bars: their values, how they show and hide, and the hand on them.
#include "tests/support/windows.h"

#include <vector>

using namespace qntest;

namespace {

using enum PlatPointerAction;

// A window of 60 x 113 pixels at the left top of the screen; bars are 13 pixels wide.
class Scrolling : public WindowTest {
protected:
    Scrolling() : WindowTest({100, 120, 96}) {
        const SYSTEMTIME noon{2026, 11, 6, 21, 12, 0, 0, 0};
        PlatSetClock(&noon);
        a = Make('A', {0, 0, 60, 113}, nullptr, WS_VSCROLL);
        Pump();
        TakeLog();
    }
    static SCROLLINFO Info(HWND window, int bar = SB_VERT) {
        SCROLLINFO info{sizeof info, SIF_ALL, 0, 0, 0, 0, 0};
        EXPECT_TRUE(GetScrollInfo(window, bar, &info));
        return info;
    }
    static int Set(HWND window, int bar, UINT mask, int least, int most, UINT page, int position) {
        const SCROLLINFO info{sizeof info, mask, least, most, page, position, 0};
        return SetScrollInfo(window, bar, &info, TRUE);
    }
    static SIZE ClientOf(HWND window) {
        RECT client{};
        GetClientRect(window, &client);
        return {client.right, client.bottom};
    }
    HWND a;
};

TEST_F(Scrolling, ValuesStayInTheRange) {
    const struct {
        const char* name;
        UINT mask;
        int least, most;
        UINT page;
        int position;
        SCROLLINFO now; // and the result is its position
    } steps[] = {
        {"all", SIF_RANGE | SIF_PAGE | SIF_POS, 0, 99, 10, 50, {0, 0, 0, 99, 10, 50, 50}},
        {"the last page", SIF_POS, 0, 0, 0, 1000, {0, 0, 0, 99, 10, 90, 90}},
        {"before the first", SIF_POS, 0, 0, 0, -1, {0, 0, 0, 99, 10, 0, 0}},
        {"range alone", SIF_RANGE, 5, 20, 0, 0, {0, 0, 5, 20, 10, 5, 5}},
        {"a page beyond the range", SIF_PAGE, 0, 0, 1000, 0, {0, 0, 5, 20, 16, 5, 5}},
        {"the widest",
         SIF_RANGE | SIF_PAGE | SIF_POS,
         -0x7FFFFFFF - 1,
         0x7FFFFFFF,
         7,
         0x7FFFFFFF,
         {0, 0, -0x7FFFFFFF - 1, 0x7FFFFFFF, 7, 0x7FFFFFF9, 0x7FFFFFF9}},
        {"upside down", SIF_RANGE, 9, 3, 0, 0, {0, 0, 9, 9, 1, 9, 9}},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        EXPECT_EQ(Set(a, SB_VERT, step.mask, step.least, step.most, step.page, step.position), step.now.nPos);
        const SCROLLINFO info = Info(a);
        EXPECT_EQ(info.nMin, step.now.nMin);
        EXPECT_EQ(info.nMax, step.now.nMax);
        EXPECT_EQ(info.nPage, step.now.nPage);
        EXPECT_EQ(info.nPos, step.now.nPos);
        EXPECT_EQ(info.nTrackPos, step.now.nTrackPos);
    }
    EXPECT_TRUE(SetScrollRange(a, SB_HORZ, 0, 9, TRUE));
    EXPECT_EQ(SetScrollPos(a, SB_HORZ, 4, TRUE), 0);
    EXPECT_EQ(GetScrollPos(a, SB_HORZ), 4);
    SCROLLINFO part{sizeof part, SIF_POS, 77, 77, 77, 77, 77};
    EXPECT_TRUE(GetScrollInfo(a, SB_HORZ, &part));
    EXPECT_EQ(part.nMax, 77); // not asked for
    EXPECT_FALSE(GetScrollInfo(a, 3, &part));
    part.cbSize = 4;
    EXPECT_EQ(ErrorOf(GetScrollInfo(a, SB_HORZ, &part)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ErrorOf(SetScrollRange(nullptr, SB_HORZ, 0, 9, TRUE)), ERROR_INVALID_WINDOW_HANDLE);
}

TEST_F(Scrolling, BarsShowWhenThereIsSomethingToScroll) {
    EXPECT_EQ(ClientOf(a).cx, 47); // with its style
    const struct {
        const char* name;
        int bar;
        UINT mask;
        int most;
        UINT page;
        SIZE client;
        const char* log;
    } steps[] = {
        {"both", SB_HORZ, SIF_RANGE | SIF_PAGE, 99, 10, {47, 100}, "A size 47,100\n"},
        {"a page that takes all but one", SB_VERT, SIF_RANGE | SIF_PAGE, 99, 99, {47, 100}, ""},
        {"a page that takes all", SB_VERT, SIF_PAGE, 0, 100, {60, 100}, "A size 60,100\n"},
        {"the position shows nothing", SB_VERT, SIF_POS, 0, 0, {60, 100}, ""},
        {"disabled instead", SB_VERT, SIF_PAGE | SIF_DISABLENOSCROLL, 0, 100, {47, 100}, "A size 47,100\n"},
        {"gone", SB_HORZ, SIF_RANGE, 0, 0, {47, 113}, "A size 47,113\n"},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        Set(a, step.bar, step.mask, 0, step.most, step.page, 0);
        EXPECT_EQ(TakeLog(), step.log);
        EXPECT_EQ(ClientOf(a).cx, step.client.cx);
        EXPECT_EQ(ClientOf(a).cy, step.client.cy);
        Pump();
        EXPECT_EQ(ScreenPixel(step.client.cx - 1, step.client.cy - 1), ColorOfLetter('A'));
        EXPECT_EQ(ScreenPixel(step.client.cx, 1) == GetSysColor(COLOR_BTNFACE), step.client.cx < 60);
    }
}

// The track of the upright bar runs from 13 to 100, 87 pixels. With a range of 0 to 86 and a page of 29 the thumb has 29
// pixels, and a pixel is a position: at 20 it stands from 33 to 62.
TEST_F(Scrolling, TheHandOnABar) {
    constexpr int kX = 52; // over the bar, which begins at 47
    const struct {
        const char* name;
        std::function<void()> act;
        const char* log;
    } scripts[] = {
        {"arrows",
         [] {
             PlatPointer(Down, kX, 5), PlatPointer(Up, kX, 5), PlatPointer(Down, kX, 105),
                 PlatPointer(Up, kX, 5);
         },
         "A v0\nA v8\nA v1\nA v8\n"},
        {"the track",
         [] {
             PlatPointer(Down, kX, 32), PlatPointer(Up, kX, 32), PlatPointer(Down, kX, 62),
                 PlatPointer(Up, 0, 0);
         },
         "A v2\nA v8\nA v3\nA v8\n"},
        {"repeats while the pointer is there",
         [] {
             PlatPointer(Down, kX, 5);
             Pump();
             for (const DWORD time : {400, 50, 50}) PlatAdvanceClock(time), Pump();
             PlatPointer(Move, 1, 1);
             PlatAdvanceClock(50), Pump();
             PlatPointer(Move, kX, 1);
             PlatAdvanceClock(50), Pump();
             PlatPointer(Up, kX, 1);
             Pump();
             PlatAdvanceClock(1000);
         },
         "A v0\nA v0\nA v0\nA v0\nA v0\nA v8\n"},
        {"the thumb",
         [] {
             PlatPointer(Down, kX, 40);
             PlatPointer(Move, kX, 41);
             Pump();
             PlatPointer(Move, 0, 41); // beside the bar
             Pump();
             PlatPointer(Move, kX, 119); // beyond its end
             Pump();
             EXPECT_EQ(ScreenPixel(kX, 98), GetSysColor(COLOR_GRAYTEXT)); // it follows
             PlatPointer(Move, kX, -50);
             PlatPointer(Up, kX, -50);
         },
         "A v5@21\nA v5@58\nA v5@0\nA v4@0\nA v8\n"},
        {"beside it the client area has the pointer", [] { PlatPointer(Move, 46, 5); }, "A move 46,5\n"},
    };
    Set(a, SB_VERT, SIF_RANGE | SIF_PAGE | SIF_POS, 0, 86, 29, 20);
    for (const auto& script : scripts) {
        SCOPED_TRACE(script.name);
        script.act();
        Pump();
        EXPECT_EQ(TakeLog(), script.log);
    }
    EXPECT_EQ(ScreenPixel(kX, 33), GetSysColor(COLOR_BTNSHADOW)); // back where the window says
    EXPECT_EQ(ScreenPixel(kX, 61), GetSysColor(COLOR_BTNSHADOW));
    EXPECT_EQ(ScreenPixel(kX, 32), GetSysColor(COLOR_BTNFACE));
    EXPECT_EQ(ScreenPixel(kX, 62), GetSysColor(COLOR_BTNFACE));
}

TEST_F(Scrolling, TheTrackedPositionCanBeAskedForAndLost) {
    std::vector<int> tracked;
    s_handler = [&](HWND window, UINT message, WPARAM, LPARAM) {
        if (message == WM_VSCROLL) tracked.push_back(Info(window).nTrackPos);
        return false;
    };
    Set(a, SB_VERT, SIF_RANGE | SIF_PAGE | SIF_POS, 0, 86, 29, 20);
    PlatPointer(Down, 52, 40);
    PlatPointer(Move, 52, 50);
    Pump();
    PlatLoseInput();
    Pump();
    EXPECT_EQ(TakeLog(), "A v5@30\nA cancel\nA v4@30\nA v8\n");
    EXPECT_EQ(tracked, (std::vector<int>{30, 30, 20})); // the window took no notice
    s_handler = [&](HWND, UINT message, WPARAM wParam, LPARAM) {
        if (message == WM_VSCROLL && LOWORD(wParam) == SB_LINEUP) PlatLoseInput(), Pump(); // ends the press
        return false;
    };
    PlatPointer(Down, 52, 5);
    Pump();
    PlatAdvanceClock(1000);
    MSG repeated;
    EXPECT_FALSE(PeekMessageW(&repeated, nullptr, 0, 0, PM_REMOVE)) << "it repeats";
    PlatPointer(Down, 52, 5);
    s_handler = [&](HWND window, UINT message, WPARAM, LPARAM) {
        return message == WM_VSCROLL && DestroyWindow(window); // in the middle of the press
    };
    Pump();
    EXPECT_FALSE(IsWindow(a));
    PlatPointer(Up, 52, 5);
    Pump();
}

TEST_F(Scrolling, AWindowThatIsABar) {
    const HWND bar = CreateWindowExW(0, u"SCROLLBAR", u"", WS_CHILD | WS_VISIBLE, 0, 0, 40, 10, a, nullptr,
                                     nullptr, nullptr);
    ASSERT_NE(bar, nullptr);
    Set(bar, SB_CTL, SIF_RANGE | SIF_PAGE | SIF_POS, 0, 13, 0, 2); // 14 pixels of track between two arrows
    Pump();
    EXPECT_EQ(ScreenPixel(1, 1), GetSysColor(COLOR_BTNFACE));
    LPARAM from = 0;
    s_handler = [&](HWND, UINT message, WPARAM, LPARAM lParam) {
        if (message == WM_HSCROLL) from = lParam;
        return false;
    };
    PlatPointer(Down, 2, 5);
    Pump();
    EXPECT_EQ(GetCapture(), bar);
    PlatPointer(Up, 99, 99);
    PlatPointer(Down, 38, 5);
    PlatPointer(Up, 99, 99);
    Pump();
    EXPECT_EQ(TakeLog(), "A h0\nA h8\nA h1\nA h8\n");
    EXPECT_EQ(from, reinterpret_cast<LPARAM>(bar));
    EXPECT_EQ(ClientOf(bar).cx, 40);
    Set(bar, SB_CTL, SIF_RANGE, 0, 0, 0, 0); // nothing to scroll: it stays, and is dead
    PlatPointer(Down, 2, 5);
    PlatPointer(Up, 2, 5);
    Pump();
    EXPECT_EQ(TakeLog(), "");
}

} // namespace
