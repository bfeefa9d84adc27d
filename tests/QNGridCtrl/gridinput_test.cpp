// One finger on a grid: taps, holds, scrolls, flings, swipes, draws selections, drags.
#include "tests/support/gridlog.h"

#include "Platform/threads.h"

using namespace qntest;

namespace {

constexpr WCHAR kLink[] = u"<A=there>a long link over all of it</A>";

class GridInput : public InputTest {};

// --- Tap or scroll ------------------------------------------------------------------------------------------------

TEST_F(GridInput, TheWayTellsAScrollFromATap) {
    const struct {
        bool touch;
        int x, y;
        const char* log;
        int scrolled;
    } cases[] = {
        {true, 0, 3, "spot there 0,1\n", 0},
        {true, 0, -4, "spot there 0,1\n", 0},
        {true, 0, -5, "", 5},
        {true, 5, 0, "", 0},
        {false, 0, -5, "spot there 0,1\n", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.x) + "," + std::to_string(c.y));
        Make(50).SetTouchScrolling(c.touch);
        Text(0, 1, kLink);
        Down(20, 26);
        Wait(3000); // the time doesn't count
        Move(20 + c.x, 26 + c.y);
        EXPECT_EQ(grid->GetTopPixel(), c.scrolled);
        Up(20 + c.x, 26 + c.y);
        EXPECT_EQ(Log(), c.log);
    }
}

TEST_F(GridInput, TapsTellWhetherTheySelected) {
    Make(5);
    Tap(10, 45);
    Tap(10, 45);
    EXPECT_EQ(Log(), "new tap 0,2\ntap 0,2\n");
    Down(10, 5); // released on another cell
    Up(10, 85);
    EXPECT_EQ(Log(), "");
    EXPECT_EQ(Selected(), "0,0");
    Tap(10, 150); // below the last row
    EXPECT_EQ(Selected(), "none");
    EXPECT_EQ(grid->GetRow(), GRID_NONE);
    EXPECT_EQ(Log(), "");
    grid->SetSelectionMode(GRID_SELECT_NOTHING);
    Tap(10, 5);
    EXPECT_EQ(Selected(), "none");
}

TEST_F(GridInput, ADoubleTapOnTheCurrentCellEdits) {
    const struct {
        DWORD between;
        int row; // of the second tap
        bool edits;
    } cases[] = {{100, 2, true}, {201, 2, false}, {100, 3, false}};
    for (const auto& c : cases) {
        Make(5);
        Tap(10, 45);
        Wait(c.between);
        Point(PlatPointerAction::Down, 10, 20 * c.row + 5);
        EXPECT_EQ(grid->GetEditMode(), c.edits) << c.between << " " << c.row;
        Point(PlatPointerAction::Up, 10, 20 * c.row + 5);
    }
}

// --- Hold ---------------------------------------------------------------------------------------------------------

TEST_F(GridInput, APressThatIsHeldOnWhatIsSelected) {
    Make(5);
    Tap(10, 45);
    Log();
    owner->answers[GRIDM_HOLD_QUERY] = 0;
    Down(10, 45); // waits
    EXPECT_EQ(Log(), "hold 0,2\n");
    Up(10, 45);
    EXPECT_EQ(Log(), "") << "no tap comes of it";
    PlatPointer(PlatPointerAction::HoldDown, 10, 65); // selects, then holds
    Pump();
    PlatPointer(PlatPointerAction::HoldUp, 10, 65);
    Pump();
    EXPECT_EQ(Log(), "new tap 0,3\nhold 0,3\n");
    owner->answers[GRIDM_HOLD_QUERY] = 1;
    PlatPointer(PlatPointerAction::HoldDown, 10, 65);
    PlatPointer(PlatPointerAction::HoldUp, 10, 65);
    Pump();
    EXPECT_EQ(Log().find("hold"), std::string::npos);
}

// --- Hot spots ----------------------------------------------------------------------------------------------------

TEST_F(GridInput, HotSpots) {
    Make(5);
    Text(0, 1, u"plain <A=there>link</A>");
    Tap(5, 25);
    EXPECT_EQ(Log(), "new tap 0,1\n");
    Tap(6 * 7, 25);
    EXPECT_EQ(Log(), "spot there 0,1\n");
    grid->SetDefaultHotSpot(0, 1, 0);
    Tap(5, 25);
    EXPECT_EQ(Log(), "spot there 0,1\n");
    owner->answers[GRIDN_TEST_HOT_SPOTS] = 1;
    Tap(6 * 7, 25);
    EXPECT_EQ(Log(), "pressed spot there 0,1\n");
    const RECT margins = {20, 5, 0, 0};
    grid->SetCellText(0, 3, u"<A=far>x</A>", margins);
    grid->ForcePaint();
    Tap(5, 70);
    EXPECT_EQ(Log(), "new tap 0,3\n");
    Tap(22, 70);
    EXPECT_EQ(Log(), "pressed spot far 0,3\n");
}

TEST_F(GridInput, AnImageThatIsNotDrawnIsAHotSpot) {
    const HBITMAP bitmap = CreateBitmap(8, 8, 1, 24, nullptr);
    Make(2);
    owner->answers[GRIDM_SWATCH] = reinterpret_cast<LRESULT>(bitmap); // the grid's from then on
    Text(0, 0, u"<IMG SRC=\"S1\" NODRAW>text");
    Tap(3, 3);
    EXPECT_EQ(Log(), "spot S1 0,0\n");
}

// --- Fling and swipe ----------------------------------------------------------------------------------------------

TEST_F(GridInput, APressEndsTheFling) {
    Make(500).SetTouchScrolling(true);
    Down(20, 150);
    Wait(10);
    Move(20, 100);
    EXPECT_EQ(grid->GetTopPixel(), 50);
    EXPECT_TRUE(grid->IsScrolling());
    Up(20, 100);
    Down(20, 100);
    EXPECT_FALSE(grid->IsScrolling());
    const int top = grid->GetTopPixel();
    for (int i = 0; i < 10; ++i) {
        Sleep(2);
        Wait(5);
    }
    EXPECT_EQ(grid->GetTopPixel(), top);
    Up(20, 100);
    grid->SetTouchScrolling(false);
}

TEST_F(GridInput, OneLongMoveSwipes) {
    const struct {
        int x, y; // from 20,20 or 180,20; the grid is 187 wide, 200 high
        const char* log;
    } cases[] = {{-112, 20, "swipe left\n"},
                 {112, 20, "swipe right\n"},
                 {112, -20, "swipe right\n"},
                 {80, 20, ""},
                 {112, 60, ""}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.x) + "," + std::to_string(c.y));
        Make(50).SetTouchScrolling(true);
        grid->ScrollByPixelDown(100);
        const int x = c.x < 0 ? 180 : 20, top = grid->GetTopPixel();
        Down(x, 60);
        Move(x + c.x, 60 + c.y);
        Move(x + c.x, 60 + c.y + 30);
        const bool swiped = *c.log != 0;
        EXPECT_EQ(grid->IsScrolling(), !swiped);
        EXPECT_EQ(grid->GetTopPixel() == top, swiped);
        Up(x + c.x, 60 + c.y + 30);
        EXPECT_EQ(Log(), c.log);
        grid->SetTouchScrolling(false);
    }
}

TEST_F(GridInput, TheHostMaySeeAFlickFirst) {
    PlatEnableGestures(true);
    Make(50).SetTouchScrolling(true);
    Tap(20, 45);
    Log();
    Down(150, 50);
    Move(140, 50);
    ASSERT_TRUE(PlatGesture(20, 50, ARG_SCROLL_LEFT));
    Pump();
    EXPECT_EQ(Log(), "swipe left\n");
    EXPECT_EQ(Selected(), "none");
    EXPECT_FALSE(grid->IsScrolling());
    Move(20, 90);
    Up(20, 90);
    EXPECT_EQ(grid->GetTopPixel(), 0);
    EXPECT_EQ(Log(), "");
    PlatGesture(20, 50, ARG_SCROLL_RIGHT);
    PlatGesture(20, 50, 1); // up: nothing
    Pump();
    EXPECT_EQ(Log(), "swipe right\n");
}

// --- Selections that are drawn ------------------------------------------------------------------------------------

TEST_F(GridInput, RubberBand) {
    const struct {
        bool drag, multi;
        int x, y;
        const char* selected;
    } cases[] = {
        {false, true, 0, 12, "0,1"},  {false, true, 0, 20, "0,1-0,2"}, {false, true, 13, 0, "0,1"},
        {false, false, 0, 60, "0,1"}, {true, true, 0, 20, "0,1"},      {true, true, 0, 21, "0,1-0,2"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.x) + "," + std::to_string(c.y));
        Make(8).SetMultiSelect(c.multi);
        grid->SetDragAllowed(c.drag);
        Down(60, 38);
        Move(60 + c.x, 38 + c.y);
        EXPECT_EQ(Selected(), c.selected);
        Up(60 + c.x, 38 + c.y);
        EXPECT_EQ(Selected(), c.selected);
    }
}

TEST_F(GridInput, ARubberBandAtTheEdgeScrolls) {
    Make(50).SetMultiSelect(true);
    Down(60, 150);
    Move(60, 190); // in the band
    EXPECT_EQ(Selected(), "0,7-0,9");
    EXPECT_EQ(GetCapture(), grid->GetHWnd());
    Wait(300);
    Wait(300);
    EXPECT_EQ(grid->GetTopPixel(), 40);
    EXPECT_EQ(Selected(), "0,7-0,11");
    Move(60, 100);
    EXPECT_EQ(GetCapture(), nullptr);
    Wait(900);
    EXPECT_EQ(grid->GetTopPixel(), 40);
    EXPECT_EQ(Selected(), "0,7");
    Up(60, 100);
    PlatKey(VK_SHIFT, true);
    Tap(60, 10);
    PlatKey(VK_SHIFT, false);
    EXPECT_EQ(Selected(), "0,2-0,7");
}

// --- Floaters -----------------------------------------------------------------------------------------------------

class GridFloaterDrag : public InputTest {
protected:
    // Number 7 over two rows, from row 1 on, and its marker bar at the left.
    void MakeFloater(bool fixed = false) {
        Make(8, 2).SetFixedRowCount(1);
        owner->floaters[7] = u"<A=party>float</A>";
        ASSERT_TRUE(grid->AddFloater(0, 1, 7, 2, 100, 0, 0, fixed));
        grid->ForcePaint();
        Log();
    }
    std::string Place() {
        for (WORD col = 0; col < 2; ++col)
            for (WORD row = 0; row < 8; ++row)
                if (grid->CellHasFloaters(col, row)) return std::to_string(col) + "," + std::to_string(row);
        return "none";
    }
};

TEST_F(GridFloaterDrag, GoesWhereItsOwnerLetsIt) {
    const struct {
        LRESULT answer;
        bool fixed;
        const char *asked, *place;
    } cases[] = {{3, false, "to 0,1>1,4\n", "1,4"},
                 {2, false, "to 0,1>1,4\n", "0,4"},
                 {1, false, "to 0,1>1,4\n", "1,1"},
                 {0, false, "to 0,1>1,4\n", "0,1"},
                 {3, true, "", "0,1"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.place);
        MakeFloater(c.fixed);
        owner->answers[GRIDM_FLOATER_TO] = c.answer;
        Down(3, 25);
        Move(130, 85);
        EXPECT_EQ(Place(), c.place);
        EXPECT_EQ(Log(), c.asked);
        owner->floaters[7] = u"other";
        Up(130, 85);
        const bool moved = std::string(c.place) != "0,1";
        EXPECT_EQ(Log(), moved ? "moved 7 " + std::string(c.place) + "\n" : "");
        const WORD col = static_cast<WORD>(c.place[0] - '0'), row = static_cast<WORD>(c.place[2] - '0');
        EXPECT_EQ(grid->FindCell(col, row)->Floaters.at(7)->Text.CountNavigableTokens(), moved ? 0 : 1);
    }
}

TEST_F(GridFloaterDrag, StaysWhole) {
    MakeFloater();
    Down(3, 45); // its second row
    Move(3, 105);
    EXPECT_EQ(Place(), "0,4");
    Move(3, 25); // it would begin in the fixed row
    EXPECT_EQ(Place(), "0,4");
    Move(3, 145);
    EXPECT_EQ(Place(), "0,6");
    Up(3, 145);
    Down(3, 125); // its first one
    Move(3, 145); // it would end behind the last row
    EXPECT_EQ(Place(), "0,6");
    Up(3, 145);
}

TEST_F(GridFloaterDrag, OffItsBarItIsTapped) {
    MakeFloater();
    grid->SetMultiSelect(true);
    Tap(12, 28);
    EXPECT_EQ(Log(), "spot party 0,1\n");
    Down(80, 45);
    Move(80, 125);
    Up(80, 45);
    EXPECT_EQ(Place(), "0,1");
    EXPECT_TRUE(grid->IsFloaterSelected());
    EXPECT_EQ(Selected(), "0,1") << "it draws no selection";
    EXPECT_EQ(Log(), "tap 0,2\n");
}

// --- Objects ------------------------------------------------------------------------------------------------------

TEST_F(GridInput, AnObjectIsDraggedSideways) {
    const struct {
        DWORD after;
        int x;
        bool drags;
    } cases[] = {{301, 11, true}, {300, 11, false}, {301, 10, false}};
    for (const auto& c : cases) {
        Make(8).SetDragAllowed(true);
        Down(60, 45);
        Wait(c.after);
        Move(60 + c.x, 45);
        EXPECT_EQ(Log(), c.drags ? "drag? 0,2\n" : "") << c.after << " " << c.x;
        EXPECT_EQ(GetCapture() == grid->GetHWnd(), c.drags);
        Up(60 + c.x, 45);
        EXPECT_EQ(Log(), c.drags ? "dropped nowhere\n" : "new tap 0,2\n");
        EXPECT_EQ(GetCapture(), nullptr);
    }
}

TEST_F(GridInput, WhereAnObjectMayBeDropped) {
    const auto drag = [this] {
        Make(8).SetDragAllowed(true);
        Down(60, 45);
        Wait(301);
        Move(80, 45);
        Log();
    };
    drag();
    owner->answers[GRIDM_DROP_QUERY] = 1; // over the grid: it asks its owner
    Up(100, 105);
    EXPECT_EQ(Log(), "drop 0,5\n");
    drag();
    owner->answers[GRIDM_DROP_ALLOWED] = 0;
    Up(100, 105);
    EXPECT_EQ(Log(), "dropped nowhere\n");
    drag();
    Key(VK_ESCAPE);
    EXPECT_EQ(GetCapture(), nullptr);
    Up(100, 105);
    EXPECT_EQ(Log().find("drop"), std::string::npos);
    drag();
    SetCapture(owner->GetHWnd());
    ReleaseCapture();
    Up(100, 105);
    EXPECT_EQ(Log().find("drop"), std::string::npos);
}

TEST_F(GridInput, APictureFollowsAnObject) {
    const HBITMAP bitmap = CreateBitmap(16, 16, 1, 24, nullptr);
    const HIMAGELIST images = ImageList_Create(16, 16, ILC_COLOR24, 1, 1);
    ImageList_Add(images, bitmap, nullptr);
    DeleteObject(bitmap);
    Make(8).SetDragAllowed(true);
    owner->answers[GRIDM_DRAG_IMAGES] = reinterpret_cast<LRESULT>(images);
    Down(60, 45);
    Wait(301);
    Move(80, 45);
    PlatDragImage image{};
    ASSERT_TRUE(PlatGetDragImage(&image));
    EXPECT_EQ(image.position.x, 78);
    EXPECT_EQ(image.position.y, 37);
    Move(100, 65);
    ASSERT_TRUE(PlatGetDragImage(&image));
    EXPECT_EQ(image.position.x, 98);
    Up(100, 65);
    EXPECT_FALSE(PlatGetDragImage(&image));
    EXPECT_EQ(ImageList_GetImageCount(images), -1) << "it went with the drag";
}

TEST_F(GridInput, AReleaseThatWasNotSeenEndsThePress) {
    Make(50).SetMultiSelect(true);
    Down(60, 45);
    PlatPointer(PlatPointerAction::Up, 220, 300); // over the owner
    Pump();
    Log();
    Move(60, 105);
    EXPECT_EQ(Selected(), "0,2");
    Down(60, 45);
    Move(60, 105);
    PlatLoseInput();
    Pump();
    Move(60, 145);
    EXPECT_EQ(Selected(), "0,2-0,5");
}

} // namespace
