// Keys on a grid.
#include "tests/support/gridlog.h"

using namespace qntest;

namespace {

class GridKeys : public InputTest {
protected:
    void Shift(int key) {
        PlatKey(VK_SHIFT, true);
        Key(key);
        PlatKey(VK_SHIFT, false);
    }
};

TEST_F(GridKeys, ArrowsMoveTheSelection) {
    const struct {
        const char* from;
        int key;
        const char *to, *log;
    } cases[] = {
        {"1,2", VK_DOWN, "1,4", "key 1,4\n"}, // row 3 has no height
        {"1,4", VK_UP, "1,2", "key 1,2\n"},    {"1,5", VK_DOWN, "1,1", "key 1,1\n"},
        {"1,1", VK_UP, "1,5", "key 1,5\n"},    {"1,2", VK_RIGHT, "2,2", "key 2,2\n"},
        {"2,2", VK_RIGHT, "0,2", "key 0,2\n"}, {"0,2", VK_LEFT, "2,2", "key 2,2\n"},
        {"1,4", VK_HOME, "1,1", "key 1,1\n"},  {"1,2", VK_END, "1,5", "key 1,5\n"},
    };
    Make(6, 3).SetFixedRowCount(1);
    grid->SetRowHeight(3, 0);
    for (const auto& c : cases) {
        const WORD col = static_cast<WORD>(c.from[0] - '0'), row = static_cast<WORD>(c.from[2] - '0');
        grid->SetSelection(col, row, col, row);
        Key(c.key);
        EXPECT_EQ(Selected(), c.to) << c.from << " by " << c.key;
        EXPECT_EQ(Log(), c.log);
    }
    grid->EmptySelection();
    grid->SetSelection(1, 4, 1, 4);
    Key(VK_DOWN, 3); // repeats stay at the end
    EXPECT_EQ(Selected(), "1,5");
}

TEST_F(GridKeys, ShiftStretches) {
    Make(6, 3).SetMultiSelect(true);
    grid->SetSelection(1, 2, 1, 2);
    Shift(VK_DOWN);
    Shift(VK_DOWN);
    EXPECT_EQ(Selected(), "1,2-1,4");
    Shift(VK_DOWN);
    Shift(VK_DOWN); // the end: it stays
    EXPECT_EQ(Selected(), "1,2-1,5");
    for (int i = 0; i < 5; ++i) Shift(VK_UP);
    EXPECT_EQ(Selected(), "1,0-1,2");
    Shift(VK_RIGHT);
    EXPECT_EQ(Selected(), "1,0-2,2");
    Key(VK_DOWN);
    EXPECT_EQ(Selected(), "2,1");
    Shift(VK_LEFT);
    EXPECT_EQ(Selected(), "1,1-2,1");
    Key(VK_DOWN);
    PlatKey(VK_SHIFT, true);
    Tap(10, 65);
    PlatKey(VK_SHIFT, false);
    EXPECT_EQ(Selected(), "0,2-1,3") << "a press goes on from there";
}

TEST_F(GridKeys, OtherModesScroll) {
    Make(50).SetKeysScrollMode(GRID_SCROLL_ROW);
    Key(VK_DOWN);
    EXPECT_EQ(grid->GetTopPixel(), 20);
    Key(VK_UP);
    EXPECT_EQ(grid->GetTopPixel(), 0);
    Key(VK_END);
    EXPECT_EQ(grid->GetTopPixel(), grid->m_nMaxTop);
    Key(VK_HOME);
    grid->SetKeysScrollMode(GRID_SCROLL_PAGE);
    Key(VK_DOWN);
    const int page = grid->GetTopPixel();
    EXPECT_GE(page, 160);
    EXPECT_EQ(Selected(), "none");
    EXPECT_EQ(Log(), "");
    grid->SetKeysScrollMode(GRID_SCROLL_CURRENT);
    Key(VK_PRIOR);
    EXPECT_EQ(grid->GetTopPixel(), 0);
    grid->SetSelection(0, 9, 0, 9); // the last row in view
    Key(VK_DOWN);
    EXPECT_EQ(Selected(), "0,10");
    EXPECT_EQ(grid->GetTopPixel(), page) << "the next page";
    ShowWindow(grid->GetHWnd(), SW_HIDE);
    SendMessageW(grid->GetHWnd(), WM_KEYDOWN, VK_DOWN, 1);
    EXPECT_EQ(Selected(), "0,10");
}

TEST_F(GridKeys, FloatersOfACellFirst) {
    Make(4);
    owner->floaters = {{7, u"a"}, {8, u"b"}};
    grid->AddFloater(0, 1, 7, 1, 100, 0, 0, false);
    grid->AddFloater(0, 1, 8, 1, 100, 0, 0, false);
    grid->SetSelection(0, 0, 0, 0);
    const auto floater = [this] { return grid->GetSelectedFloater() ? grid->GetSelectedFloater()->dwID : 0; };
    std::vector<DWORD> floaters;
    for (int i = 0; i < 3; ++i) {
        Key(VK_DOWN);
        floaters.push_back(floater());
    }
    EXPECT_EQ(floaters, std::vector<DWORD>({7, 8, 0}));
    EXPECT_EQ(grid->GetRow(), 2);
    Key(VK_UP);
    EXPECT_EQ(floater(), 8u);
}

TEST_F(GridKeys, EnterAndSpaceActOnce) {
    Make(4);
    Key(VK_RETURN);
    EXPECT_EQ(Log(), "") << "nothing is selected";
    grid->SetSelection(0, 2, 0, 2);
    Key(VK_RETURN);
    EXPECT_EQ(Log(), "tap 0,2\n");
    Key(VK_RETURN, 3);
    EXPECT_EQ(Log(), "tap 0,2\n") << "it was held";
    SendMessageW(grid->GetHWnd(), WM_KEYDOWN, VK_RETURN, 1); // a key without a character
    SendMessageW(grid->GetHWnd(), WM_KEYUP, VK_RETURN, 1);
    SendMessageW(grid->GetHWnd(), WM_KEYUP, VK_RETURN, 1); // pressed elsewhere
    EXPECT_EQ(Log(), "tap 0,2\n");
    PlatKey(VK_SPACE, true);
    PlatText(u" x");
    PlatKey(VK_SPACE, false);
    Pump();
    EXPECT_EQ(Log(), "tap 0,2\nchar 120\n");
}

TEST_F(GridKeys, AltAndArrowsSwipe) {
    Make(4);
    PlatKey(VK_MENU, true);
    Key(VK_RIGHT);
    Key(VK_LEFT);
    PlatKey(VK_MENU, false);
    EXPECT_EQ(Log(), "swipe left\nswipe right\n");
}

// --- Links --------------------------------------------------------------------------------------------------------

constexpr WCHAR kTwo[] = u"<A=one>first</A> and <A=two>second</A>";

TEST_F(GridKeys, LinksByRequest) {
    Make(3).SetLinkNavigationMode(LINK_NAVIGATION_BY_REQUEST);
    Text(0, 1, kTwo);
    grid->SetSelection(0, 1, 0, 1);
    Key(VK_RETURN);
    EXPECT_EQ(Log(), "");
    EXPECT_TRUE(grid->IsLinkNavigationActive());
    Key(VK_RIGHT);
    EXPECT_EQ(Selected(), "0,1");
    Key(VK_RETURN);
    EXPECT_EQ(Log(), "spot two 0,1\n");
    EXPECT_FALSE(grid->IsLinkNavigationActive());
    Key(VK_RETURN);
    Key(VK_DOWN); // leaves them
    EXPECT_EQ(Log(), "key 0,2\n");
    EXPECT_FALSE(grid->IsLinkNavigationActive());
    EXPECT_EQ(Selected(), "0,2");
}

TEST_F(GridKeys, LinksAlways) {
    Make(3).SetLinkNavigationMode(LINK_NAVIGATION_ALWAYS);
    Text(0, 1, kTwo);
    grid->SetSelection(0, 1, 0, 1);
    Key(VK_RETURN); // goes to the first one, and takes it
    Key(VK_RIGHT);
    Key(VK_RETURN);
    Key(VK_RETURN);
    EXPECT_EQ(Log(), "spot one 0,1\nspot two 0,1\nspot two 0,1\n");
}

TEST_F(GridKeys, TheOnlyLinkIsTakenAtOnce) {
    const struct {
        const WCHAR* text;
        bool flagged;
        const char* log;
    } cases[] = {{u"<A=one>first</A>", true, "spot one 1,1\n"},
                 {u"<A=one>first</A>", false, "tap 0,1\n"},
                 {kTwo, true, "tap 1,1\n"}};
    for (const auto& c : cases) {
        Make(3, 2).SetRowSelect(true);
        Text(1, 1, c.text);
        grid->SetCellOnActionLinkNavigable(1, 1, c.flagged);
        grid->SetSelection(0, 1, 0, 1);
        Key(VK_RETURN);
        EXPECT_EQ(Log(), c.log);
    }
}

// --- Keys that are held -------------------------------------------------------------------------------------------

TEST_F(GridKeys, HeldArrowsAreSlowedDown) {
    Make(30).SetDelayedScrolling(500);
    grid->SetSelection(0, 0, 0, 0);
    const auto after = [this](DWORD milliseconds) {
        Wait(milliseconds);
        PlatKey(VK_DOWN, true);
        Pump();
        return Log();
    };
    EXPECT_EQ(after(0), "key 0,1\n");
    EXPECT_EQ(after(500), "key 0,2\n");
    EXPECT_EQ(after(1), "held 32 40 0,2\nkey 0,3\n");
    EXPECT_EQ(after(749), "");
    EXPECT_EQ(after(1), "held 16 40 0,3\nkey 0,4\n");
    EXPECT_EQ(after(400), "");
    SendMessageW(grid->GetHWnd(), WM_KEYDOWN, VK_DOWN, 1 | KF_KEY_REPEATED);
    PlatKey(VK_DOWN, false);
    Pump();
    SendMessageW(grid->GetHWnd(), WM_KEYDOWN, VK_DOWN, 1 | KF_KEY_REPEATED); // left in the queue
    EXPECT_EQ(Log(), "");
    Wait(849);
    EXPECT_EQ(Log(), "");
    Wait(1);
    EXPECT_EQ(Log(), "held 48 40 0,4\n");
    EXPECT_EQ(after(5000), "key 0,5\n");
}

} // namespace
