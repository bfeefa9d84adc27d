// Where a grid scrolls to, what it tells of it, and the motion that goes on without a finger.
#include "tests/support/gridwindow.h"
#include "tests/support/waiting.h"

#include "Platform/clock.h"

using namespace qntest;

namespace {

// 100 rows of 20 pixels and ten columns of 40, with no bars: the ends are at 100*20 - 100 - 1 and 10*40 - 120 - 1.
class GridScroll : public GridTest {
protected:
    OpenGrid& MakeRows(WORD fixed = 0) {
        Make(100, 10, {0, 0, 120, 100});
        grid->BeginUpdate();
        grid->SetShowScrollBars(0);
        grid->SetMinRowHeight(20);
        grid->SetRowHeightFixed(true);
        for (WORD col = 0; col < 10; ++col) grid->SetColWidth(col, 40);
        grid->SetFixedRowCount(fixed);
        grid->EndUpdate();
        return *grid;
    }
    POINT Place(WORD row) {
        POINT place{};
        EXPECT_TRUE(grid->GetPointFromCell(0, row, place));
        return place;
    }
};

struct Step {
    const char* what;
    std::function<bool(OpenGrid&)> scroll;
    int top, overscroll;
    bool moved = true;
};

void Follow(OpenGrid& grid, std::initializer_list<Step> steps) {
    for (const Step& step : steps) {
        EXPECT_EQ(step.scroll(grid), step.moved) << step.what;
        EXPECT_EQ(grid.GetTopPixel(), step.top) << step.what;
        EXPECT_EQ(grid.m_nOverscroll, step.overscroll) << step.what;
    }
}

TEST_F(GridScroll, UpAndDownByPixels) {
    Follow(
        MakeRows(1),
        {{"up at the top", [](auto& g) { return g.ScrollByPixelUp(5); }, 20, 0, false},
         {"a finger goes half as far", [](auto& g) { return g.ScrollByPixelUp(31, false, true); }, 20, -15},
         {"and on", [](auto& g) { return g.ScrollByPixelUp(10, false, true); }, 20, -20},
         {"the way back comes first", [](auto& g) { return g.ScrollByPixelDown(12, false, true); }, 20, -8},
         {"then the rows", [](auto& g) { return g.ScrollByPixelDown(18); }, 30, 0},
         {"not beyond without a finger", [](auto& g) { return g.ScrollByPixelUp(500); }, 20, 0},
         {"nor when that is barred", [](auto& g) { return g.ScrollByPixelUp(30, true, true); }, 20, 0, false},
         {"to the end", [](auto& g) { return g.ScrollByPixelDown(0xFFFF); }, 1919, 0},
         {"down at the end", [](auto& g) { return g.ScrollByPixelDown(5); }, 1919, 0, false},
         {"beyond it", [](auto& g) { return g.ScrollByPixelDown(40, false, true); }, 1919, 20},
         {"less than what is beyond", [](auto& g) { return g.ScrollByPixelUp(15); }, 1919, 5},
         {"more than that", [](auto& g) { return g.ScrollByPixelUp(15); }, 1909, 0},
         {"nothing", [](auto& g) { return g.ScrollByPixelDown(0); }, 1909, 0, false},
         {"backwards", [](auto& g) { return g.ScrollByPixelDown(-7); }, 1909, 0, false}});
}

TEST_F(GridScroll, ByRowsAndPages) {
    MakeRows(1).SetRowHeight(3, 0); // rows at 20, 40, (60), 60, 80 ...
    Follow(*grid,
           {{"a row", [](auto& g) { return g.ScrollByRowDown(1); }, 40, 0},
            {"over one of no height", [](auto& g) { return g.ScrollByRowDown(1); }, 60, 0},
            {"into the next", [](auto& g) { return g.ScrollByPixelDown(7); }, 67, 0},
            {"a cut row counts", [](auto& g) { return g.ScrollByRowUp(1); }, 60, 0},
            {"two rows", [](auto& g) { return g.ScrollByRowUp(2); }, 20, 0},
            {"further than there is", [](auto& g) { return g.ScrollByRowUp(9); }, 20, 0, false},
            {"a page is what the fixed rows leave", [](auto& g) { return g.ScrollByPageDown(); }, 100, 0},
            {"back", [](auto& g) { return g.ScrollByPageUp(); }, 20, 0},
            {"the end", [](auto& g) { return g.ScrollToBottom(); }, 1899, 0},
            {"again", [](auto& g) { return g.ScrollToBottom(); }, 1899, 0, false},
            {"the top", [](auto& g) { return g.ScrollToTop(); }, 20, 0}});
    EXPECT_TRUE(grid->ScrollByRowDown(4, true));
    EXPECT_EQ(grid->GetRow(), 6);

    EXPECT_TRUE(grid->ScrollByColRight(2));
    EXPECT_EQ(grid->GetLeftPixel(), 80);
    EXPECT_TRUE(grid->ScrollByPageRight());
    EXPECT_EQ(grid->GetLeftPixel(), 200);
    EXPECT_TRUE(grid->ScrollToRight());
    EXPECT_EQ(grid->GetLeftPixel(), 279);
    EXPECT_TRUE(grid->ScrollByColLeft(1));
    EXPECT_EQ(grid->GetLeftPixel(), 240);
    EXPECT_TRUE(grid->ScrollToLeft());
    EXPECT_FALSE(grid->ScrollByPixelLeft(1));
}

// Rows of a virtual grid are estimated until they come into view: the end is where the last one is, whatever they are.
TEST_F(GridScroll, TheEndOfAVirtualGrid) {
    owner->cells = [](WORD, WORD row) {
        std::u16string text;
        for (int line = 0; line <= row % 5; ++line) text += u"line<BR>";
        return text;
    };
    Make(300, 1, {0, 0, 120, 100}, true);
    EXPECT_LT(owner->requests, 30) << "no more than the first screen";
    EXPECT_TRUE(grid->ScrollToBottom());
    EXPECT_EQ(grid->GetTopPixel(), grid->m_nMaxTop);
    EXPECT_EQ(grid->GetBottomRow(), 299);
    EXPECT_LT(owner->requests, 90);
    EXPECT_EQ(Shown().Against(PaintedAnew()), "");
}

// Rows of one to five lines; those above the view were never measured, and what comes in above moves nothing below.
TEST_F(GridScroll, UpwardsAVirtualGridFollowsToThePixel) {
    owner->cells = [](WORD, WORD row) {
        std::u16string text = u"line";
        for (int line = 0; line < row % 5; ++line) text += u"<BR>line";
        return text;
    };
    Make(300, 1, {0, 0, 120, 100}, true).SetTopRow(100);
    Shown();
    for (int moved = 7; moved < 98; moved += 7) {
        EXPECT_TRUE(grid->ScrollByPixelUp(7));
        EXPECT_EQ(Place(100).y, moved);
    }
    EXPECT_EQ(Shown().Against(PaintedAnew()), "");
    EXPECT_TRUE(grid->ScrollByRowUp(1));
    EXPECT_EQ(Place(grid->GetTopRow()).y, 0);
    EXPECT_EQ(Shown().Against(PaintedAnew()), "");
}

TEST_F(GridScroll, TheOwnerIsToldOnce) {
    MakeRows();
    grid->ScrollByPixelDown(10);
    grid->ScrollByPixelDown(10);
    grid->ScrollByPixelUp(20);
    grid->ScrollByPixelUp(20, false, true);
    grid->ScrollByPixelRight(30);
    Pump();
    EXPECT_EQ(owner->tops, (std::vector<int>{10, 20, 0, -10}));
    EXPECT_EQ(owner->lefts, std::vector<int>{30});
}

// --- Bars ---------------------------------------------------------------------------------------------------------

int ThumbAt(OpenGrid& grid, int position) {
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_POS;
    info.nPos = position;
    grid.SetScrollInfoEx(SB_VERT, info);
    grid.SendMessageW(WM_VSCROLL, SB_THUMBPOSITION);
    return grid.GetTopPixel();
}

TEST_F(GridScroll, Bars) {
    MakeRows(1).SetShowScrollBars(GRID_BAR_VERTICAL | GRID_BAR_HORIZONTAL);
    RECT client{};
    grid->GetClientRect(&client);
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_ALL;
    ASSERT_TRUE(grid->GetScrollInfoEx(SB_VERT, info));
    EXPECT_EQ(info.nMin, 0);
    EXPECT_EQ(info.nMax, 1979) << "the rows that scroll, but for one pixel";
    EXPECT_EQ(static_cast<LONG>(info.nPage), client.bottom - 20);
    EXPECT_EQ(ThumbAt(*grid, 33), 53);
    EXPECT_EQ(ThumbAt(*grid, 1979), grid->m_nMaxTop)
        << "the thumb stops a page before, which is a pixel too far";
    grid->SendMessageW(WM_VSCROLL, SB_TOP);

    struct Arrow {
        WORD mode;
        UINT code;
        int top;
    };
    for (const Arrow& arrow : {Arrow{GRID_SCROLL_ROW, SB_LINEDOWN, 40}, Arrow{GRID_SCROLL_ROW, SB_LINEUP, 20},
                               Arrow{GRID_SCROLL_PAGE, SB_LINEDOWN, static_cast<int>(client.bottom)},
                               Arrow{GRID_SCROLL_PAGE, SB_LINEUP, 20},
                               Arrow{GRID_SCROLL_ROW, SB_PAGEDOWN, static_cast<int>(client.bottom)},
                               Arrow{GRID_SCROLL_ROW, SB_PAGEUP, 20}}) {
        EXPECT_TRUE(grid->SetBarsScrollMode(arrow.mode));
        grid->SendMessageW(WM_VSCROLL, arrow.code);
        EXPECT_EQ(grid->GetTopPixel(), arrow.top) << arrow.mode << " " << arrow.code;
    }
    grid->SetBarsScrollMode(GRID_SCROLL_CURRENT);
    grid->SetSelection(0, 98, 0, 98);
    grid->SendMessageW(WM_VSCROLL, SB_LINEDOWN);
    grid->SendMessageW(WM_VSCROLL, SB_LINEDOWN);
    EXPECT_EQ(grid->GetRow(), 99) << "at the end it stays";
    EXPECT_FALSE(grid->IsCellSelected(0, 98));
    EXPECT_TRUE(grid->IsCellVisible(0, 99));
    grid->SendMessageW(WM_HSCROLL, SB_LINERIGHT);
    EXPECT_EQ(grid->GetLeftPixel(), 40);
}

TEST_F(GridScroll, ABarOfAnotherWindow) {
    MakeRows();
    const HWND bar = CreateWindowExW(0, u"SCROLLBAR", u"", WS_CHILD | WS_VISIBLE | SBS_VERT, 130, 0, 13, 100,
                                     owner->GetHWnd(), nullptr, nullptr, nullptr);
    grid->SetShowScrollBars(GRID_BAR_VERTICAL);
    grid->SetExternalScrollBars(bar, nullptr);
    RECT client{};
    grid->GetClientRect(&client);
    EXPECT_EQ(client.right, 120) << "its own takes no room";
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_RANGE | SIF_POS;
    grid->ScrollByPixelDown(77);
    ASSERT_TRUE(GetScrollInfo(bar, SB_CTL, &info));
    EXPECT_EQ(info.nMax, 1999);
    EXPECT_EQ(info.nPos, 77);
    EXPECT_EQ(ThumbAt(*grid, 200), 200);
}

// Without thumb tracking only the tip follows the thumb; the position comes when it is let go.
TEST_F(GridScroll, TheTipFollowsTheThumb) {
    MakeRows().SetShowScrollBars(GRID_BAR_VERTICAL);
    grid->SetScrollTip(true);
    grid->SetThumbTrack(false);
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_POS;
    info.nPos = 210;
    grid->SetScrollInfoEx(SB_VERT, info);
    owner->tips.clear();
    grid->SendMessageW(WM_VSCROLL, SB_THUMBTRACK);
    EXPECT_EQ(owner->tips, std::vector<WORD>{10});
    EXPECT_EQ(grid->GetTopPixel(), 0);
    const HWND tip = GetWindow(grid->GetHWnd(), GW_CHILD);
    EXPECT_TRUE(IsWindowVisible(tip));
    grid->SendMessageW(WM_VSCROLL, SB_THUMBPOSITION);
    EXPECT_EQ(grid->GetTopPixel(), 210);
    grid->SendMessageW(WM_VSCROLL, SB_ENDSCROLL);
    EXPECT_FALSE(IsWindowVisible(tip));
}

// --- Motion -------------------------------------------------------------------------------------------------------

// 2 pixels a millisecond under the finger are 6 at the release; after 5 ms 3 * 2 * (1 - ln 6 / ln 1001) = 4.444.
TEST(GridFling, FallsToNothingWithinASecond) {
    HTMLFling fling(0, 2, 100);
    EXPECT_EQ(fling.Step(105).cy, 22);
    EXPECT_EQ(fling.Step(110).cy, 19);
    EXPECT_EQ(fling.Step(110).cy, 0) << "no time has gone by";
    EXPECT_EQ(fling.Step(200).cy, 179) << "a late step goes as far as it is late, at 1.992";
    fling.Step(1099);
    EXPECT_TRUE(fling.IsMoving());
    EXPECT_EQ(fling.Step(1100).cy, 0);
    EXPECT_FALSE(fling.IsMoving());

    HTMLFling wrapped(1, 0, 0xFFFFFFFE); // the count of ticks begins anew
    EXPECT_EQ(wrapped.Step(3).cx, 11);
    EXPECT_EQ(wrapped.Step(3).cy, 0);
    EXPECT_FALSE(HTMLFling(0, 0, 5).IsMoving());
    EXPECT_EQ(HTMLFling(1e9, 0, 0).Step(10).cx, 65535) << "what a message can carry";
}

// The scrolling thread waits by moving the clock: motion takes no time.
class ThreadsGrid : public GridScroll {
protected:
    ThreadsGrid() {
        const SYSTEMTIME start = {2026, 3, 0, 14, 12, 0, 0, 0};
        PlatSetClock(&start);
        PlatLetSleepMoveClock(true);
    }
    ~ThreadsGrid() override { grid.reset(); }
    // Serves the scrolling thread until that holds.
    bool PumpUntil(const std::function<bool()>& done) {
        return Eventually([&] { return Pump(), done(); });
    }
    // One step of the finger and its release.
    void Fling(int direction, double speed) {
        grid->m_Kinetic.Halt();
        grid->m_Kinetic.Touch();
        grid->m_Kinetic.Vertical(direction, speed);
        grid->EndTouchScroll();
    }
};

// 10 pixels a step at 96 dots an inch.
TEST_F(ThreadsGrid, BouncesBackInSteps) {
    MakeRows().SetTouchScrolling(true);
    grid->m_Kinetic.Touch();
    EXPECT_TRUE(grid->IsTouchScrollingDown());
    grid->ScrollByPixelUp(60, false, true);
    const DWORD before = GetTickCount();
    Pump();
    EXPECT_EQ(owner->tops, (std::vector<int>{-30})) << "the finger holds it";
    grid->EndTouchScroll();
    EXPECT_FALSE(grid->IsTouchScrollingDown());
    EXPECT_TRUE(PumpUntil([&] { return owner->tops.back() == 0; }));
    EXPECT_EQ(owner->tops, (std::vector<int>{-30, -20, -10, 0}));
    EXPECT_EQ(GetTickCount() - before, 15u);
}

// The sum of trunc(5 * 6 * (1 - ln(5k + 1) / ln 1001)) for k from 1 to 200 is 752.
TEST_F(ThreadsGrid, AFlingGoesOnForASecond) {
    MakeRows().SetTouchScrolling(true);
    const DWORD before = GetTickCount();
    Fling(7, 2.0);
    EXPECT_TRUE(PumpUntil([&] { return !grid->IsScrolling(); }));
    EXPECT_EQ(grid->GetTopPixel(), 752);
    EXPECT_EQ(GetTickCount() - before, 1000u);
    Fling(-7, 2.0);
    EXPECT_TRUE(PumpUntil([&] { return !grid->IsScrolling(); }));
    EXPECT_EQ(grid->GetTopPixel(), 0);
    Pump();
    EXPECT_EQ(owner->tops.back(), 0);
}

TEST_F(ThreadsGrid, APressHaltsAFling) {
    MakeRows().SetTouchScrolling(true);
    Fling(7, 2.0);
    EXPECT_TRUE(PumpUntil([&] { return grid->GetTopPixel() > 50; }));
    grid->m_Kinetic.Halt();
    const int top = grid->GetTopPixel();
    // Its second runs out without a move; the next fling starts behind it.
    Fling(7, 2.0);
    EXPECT_TRUE(PumpUntil([&] { return !grid->IsScrolling(); }));
    EXPECT_GE(grid->GetTopPixel(), top + 752);
    EXPECT_LE(grid->GetTopPixel(), top + 752 + 22) << "one step of the old one may still go out";
}

// Off, or the window's end, while all of it is under way.
TEST_F(ThreadsGrid, EndsAtAnyTime) {
    for (int i = 0; i < 20; ++i) {
        MakeRows().SetTouchScrolling(true);
        grid->ScrollByPixelUp(400, false, true);
        Fling(7, 2.0);
        if (i % 4 != 0) PumpUntil([&] { return grid->m_nOverscroll > -200 + i; });
        if (i % 2 != 0) {
            grid->SetTouchScrolling(false);
            EXPECT_EQ(grid->m_nOverscroll, 0) << "what is left goes back at once";
        }
        grid.reset();
    }
}

} // namespace
