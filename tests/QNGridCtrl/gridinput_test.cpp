// One finger on a grid: taps, holds, scrolls, flings, swipes, draws selections, drags.
#include "tests/support/gridlog.h"

#include "Platform/threads.h"

using namespace qntest;

namespace {

class GridInput : public InputTest {
protected:
    // Words of a case: how its grid is, and what its owner answers.
    void Prepare(const std::string& words) {
        std::istringstream list(words);
        for (std::string word; list >> word;) {
            SCOPED_TRACE(word);
            m_words.at(word)();
        }
        grid->ForcePaint();
        Log();
    }
    struct Case {
        const char* words;
        DWORD rows, cols;
        const char *script, *result;
    };
    void Check(std::initializer_list<Case> cases) {
        for (const Case& c : cases) {
            SCOPED_TRACE(c.script);
            Make(c.rows, c.cols);
            Prepare(c.words);
            EXPECT_EQ(Play(c.script), c.result) << c.words;
        }
    }
    // Number 7 over two rows, from row 1 on, and its marker bar at the left.
    void AddFloater(LRESULT answer, bool fixed = false) {
        grid->SetFixedRowCount(1);
        owner->floaters[7] = u"<A=party>float</A>";
        ASSERT_TRUE(grid->AddFloater(0, 1, 7, 2, 100, 0, 0, fixed));
        owner->answers[GRIDM_FLOATER_TO] = answer;
        owner->floaters[7] = u"asked for anew";
    }

    std::map<std::string, std::function<void()>> m_words = {
        {"touch", [this] { grid->SetTouchScrolling(true); }},
        {"multi", [this] { grid->SetMultiSelect(true); }},
        {"drag", [this] { grid->SetDragAllowed(true); }},
        {"unselectable", [this] { grid->SetSelectionMode(GRID_SELECT_NOTHING); }},
        {"scrolled", [this] { grid->ScrollByPixelDown(100); }},
        {"link", [this] { Text(0, 1, u"<A=there>a long link over all of it</A>"); }},
        {"partly", [this] { Text(0, 1, u"plain <A=there>link</A>"); }},
        {"default", [this] { grid->SetDefaultHotSpot(0, 1, 0); }},
        {"margins",
         [this] {
             grid->SetCellText(0, 3, u"<A=far>x</A>", RECT{20, 5, 0, 0});
         }},
        {"image",
         [this] { // the bitmap is the grid's from then on
             owner->answers[GRIDM_SWATCH] = reinterpret_cast<LRESULT>(CreateBitmap(8, 8, 1, 24, nullptr));
             Text(0, 0, u"<IMG SRC=\"S1\" NODRAW>text");
         }},
        {"spots-at-press", [this] { owner->answers[GRIDN_TEST_HOT_SPOTS] = 1; }},
        {"menu", [this] { owner->answers[GRIDM_HOLD_QUERY] = 0; }},
        {"accepts", [this] { owner->answers[GRIDM_DROP_QUERY] = 1; }},
        {"denies", [this] { owner->answers[GRIDM_DROP_ALLOWED] = 0; }},
        {"floater", [this] { AddFloater(3); }},
        {"floater-in-col", [this] { AddFloater(2); }},
        {"floater-in-row", [this] { AddFloater(1); }},
        {"floater-refused", [this] { AddFloater(0); }},
        {"floater-fixed", [this] { AddFloater(3, true); }},
    };
};

TEST_F(GridInput, Taps) {
    Check({
        // --- the way tells a scroll from a tap, the time doesn't
        {"touch link", 50, 1, "d20,26 w3000 m20,29 u20,29", "spot there 0,1; =0,1"},
        {"touch link", 50, 1, "d20,26 m20,22 u20,22", "spot there 0,1; =0,1"},
        {"touch link", 50, 1, "d20,26 w3000 m20,21", "=0,1 top 5 captured"},
        {"touch link", 50, 1, "d20,26 w3000 m20,21 u20,21", "=0,1 top 5"},
        {"touch link", 50, 1, "d20,26 w3000 m25,26 u25,26", "=0,1"},
        {"link", 50, 1, "d20,26 m20,21 u20,21", "spot there 0,1; =0,1"},
        // --- what they select
        {"", 5, 1, "t10,45 t10,45", "new tap 0,2; tap 0,2; =0,2"},
        {"", 5, 1, "d10,5 u10,85", "=0,0"},
        {"", 5, 1, "t10,45 t10,150 F2", "new tap 0,2; click nowhere; =none"},
        {"unselectable", 5, 1, "t10,5 F2", "tap 0,0; edit? 0,0; =none editing"},
        {"", 50, 1, "v20,60", "=none top 60"},
        // --- two on the current cell
        {"", 5, 1, "t10,45 w100 q10,45", "new tap 0,2; edit? 0,2; =0,2 editing"},
        {"", 5, 1, "t10,45 w201 q10,45", "new tap 0,2; tap 0,2; =0,2"},
        {"", 5, 1, "t10,45 w100 q10,65", "new tap 0,2; new tap 0,3; =0,3"},
        {"multi", 5, 1, "d60,25 m60,65 u60,65 t60,45 q60,45", "tap 0,2; edit? 0,2; =0,1-0,3 editing"},
        // --- held on what is selected; the right button selects first
        {"menu", 5, 1, "t10,45 d10,45", "new tap 0,2; hold 0,2; =0,2"},
        {"menu", 5, 1, "t10,45 d10,45 u10,45", "new tap 0,2; hold 0,2; =0,2"},
        {"menu", 5, 1, "r10,65", "new tap 0,3; hold 0,3; =0,3"},
        {"", 5, 1, "r10,65", "new tap 0,3; =0,3"},
        // --- hot spots
        {"partly", 5, 1, "t5,25", "new tap 0,1; =0,1"},
        {"partly", 5, 1, "t42,25", "spot there 0,1; =0,1"},
        {"partly default", 5, 1, "t5,25", "spot there 0,1; =0,1"},
        {"partly spots-at-press", 5, 1, "t42,25", "pressed spot there 0,1; =0,1"},
        {"margins", 5, 1, "t5,70", "new tap 0,3; =0,3"},
        {"margins", 5, 1, "t22,70", "spot far 0,3; =0,3"},
        {"image", 2, 1, "t3,3", "spot S1 0,0; =0,0"},
    });
}

// --- Fling and swipe ----------------------------------------------------------------------------------------------

TEST_F(GridInput, APressEndsTheFling) {
    Make(500).SetTouchScrolling(true);
    Play("d20,150 w10 m20,100");
    EXPECT_EQ(grid->GetTopPixel(), 50);
    EXPECT_TRUE(grid->IsScrolling());
    Play("u20,100 d20,100");
    EXPECT_FALSE(grid->IsScrolling());
    const int top = grid->GetTopPixel();
    for (int i = 0; i < 10; ++i) {
        Sleep(2);
        Wait(5);
    }
    EXPECT_EQ(grid->GetTopPixel(), top);
}

// Of a grid 187 wide, 200 high.
TEST_F(GridInput, OneLongMoveSwipes) {
    Check({
        {"touch scrolled", 50, 1, "d180,60 m68,80 m68,110 u68,110", "swipe left; =0,8 top 100"},
        {"touch scrolled", 50, 1, "d20,60 m132,80 m132,110 u132,110", "swipe right; =0,8 top 100"},
        {"touch scrolled", 50, 1, "d20,60 m132,40 u132,40", "swipe right; =0,8 top 100"},
        {"touch scrolled", 50, 1, "d20,60 m100,80 m100,110", "=0,8 top 70 captured"},
        {"touch scrolled", 50, 1, "d20,60 m132,120 m132,150", "=0,8 top 70 captured"},
    });
}

TEST_F(GridInput, TheHostMaySeeAFlickFirst) {
    PlatEnableGestures(true);
    Make(50).SetTouchScrolling(true);
    Play("t20,45 d150,50 m140,50");
    ASSERT_TRUE(PlatGesture(20, 50, ARG_SCROLL_LEFT));
    Pump();
    EXPECT_FALSE(grid->IsScrolling());
    EXPECT_EQ(Play("m20,90 u20,90"), "swipe left; =none");
    PlatGesture(20, 50, ARG_SCROLL_RIGHT);
    PlatGesture(20, 50, 1); // up: nothing
    Pump();
    EXPECT_EQ(Log(), "swipe right; ");
    Play("d193,20"); // the thumb of the bar
    EXPECT_FALSE(PlatGesture(193, 20, ARG_SCROLL_LEFT));
    Make(50).SetMultiSelect(true);
    Play("u193,20 d60,38 m60,98");
    PlatGesture(60, 38, ARG_SCROLL_LEFT);
    EXPECT_EQ(Play("u60,98"), "=0,1-0,4") << "it draws a selection";
}

// --- Selections that are drawn ------------------------------------------------------------------------------------

TEST_F(GridInput, RubberBand) {
    Check({
        {"multi", 8, 1, "d60,38 m60,50 u60,50", "=0,1"},
        {"multi", 8, 1, "d60,38 m60,58 u60,58", "=0,1-0,2"},
        {"multi", 8, 1, "d60,38 m73,38 m60,50 u60,50", "=0,1-0,2"},
        {"", 8, 1, "d60,38 m60,98 u60,98", "=0,1"},
        {"multi drag", 8, 1, "d60,38 m60,58 u60,58", "=0,1"},
        {"multi drag", 8, 1, "d60,38 m60,59 u60,59", "=0,1-0,2"},
        {"multi drag", 8, 1, "d60,38 m65,38 m60,58 u60,58", "=0,1"},
        {"multi drag", 8, 1, "d60,38 m66,38 m60,58 u60,58", "=0,1-0,2"},
        // --- at the edge it scrolls
        {"multi", 50, 1, "d60,150 m60,190", "=0,7-0,9 captured tip"},
        {"multi", 50, 1, "d60,150 m60,190 w300 w300", "=0,7-0,11 top 40 captured tip"},
        {"multi", 50, 1, "d60,150 m60,190 w300 w300 m60,100 w900", "=0,7 top 40 tip"},
        {"multi", 50, 1, "d60,150 m60,190 w300 w300 m60,100 u60,100 { t60,10 }",
         "new tap 0,2; =0,2-0,7 top 40"},
        // --- a release that wasn't seen, and input that is lost
        {"multi", 50, 1, "d60,45 u220,300 m60,105", "=0,2"},
        {"multi", 50, 1, "d60,45 m60,105 ! m60,145", "=0,2-0,5"},
    });
    Make(8).SetMultiSelect(true);
    EXPECT_EQ(Play("d60,38 m60,98"), "=0,1-0,4 tip");
    owner->answers[GRIDM_SELECTION_TIP] = 0; // nothing to say any more
    EXPECT_EQ(Play("m60,118"), "=0,1-0,5");
}

// --- Drags --------------------------------------------------------------------------------------------------------

TEST_F(GridInput, Floaters) {
    Check({
        {"floater", 8, 2, "d3,25 m130,85 u130,85", "to 0,1>1,4; moved 7 1,4; =none floater! 1,4 links 0"},
        {"floater-in-col", 8, 2, "d3,25 m130,85 u130,85",
         "to 0,1>1,4; moved 7 0,4; =none floater! 0,4 links 0"},
        {"floater-in-row", 8, 2, "d3,25 m130,85 u130,85",
         "to 0,1>1,4; moved 7 1,1; =none floater! 1,1 links 0"},
        {"floater-refused", 8, 2, "d3,25 m130,85 u130,85", "to 0,1>1,4; =none floater! 0,1 links 1"},
        {"floater-fixed", 8, 2, "d3,25 m130,85 u130,85", "=none floater! 0,1 links 1"},
        // --- it stays whole, and out of the fixed row
        {"floater", 8, 2, "d3,45 m3,105 m3,25 u3,25",
         "to 0,2>0,5; to 0,5>0,1; moved 7 0,4; =none floater! 0,4 links 0"},
        {"floater", 8, 2, "d3,25 m3,125 m3,145 u3,145",
         "to 0,1>0,6; to 0,6>0,7; moved 7 0,6; =none floater! 0,6 links 0"},
        // --- off its bar it is tapped, and draws no selection
        {"floater multi", 8, 2, "t12,28 d80,45 m80,125 u80,45",
         "spot party 0,1; tap 0,2; =0,1 floater! 0,1 links 1"},
    });
}

TEST_F(GridInput, Objects) {
    Check({
        {"drag", 8, 1, "d60,45 w301 m71,45", "drag? 0,2; =0,2 captured"},
        {"drag", 8, 1, "d60,45 w301 m71,45 u71,45", "drag? 0,2; dropped nowhere; =0,2"},
        {"drag", 8, 1, "d60,45 w300 m71,45 u71,45", "new tap 0,2; =0,2"},
        {"drag", 8, 1, "d60,45 w301 m70,45 u70,45", "new tap 0,2; =0,2"},
        // --- over the grid, which asks its owner
        {"drag accepts", 8, 1, "d60,45 w301 m80,45 u100,105", "drag? 0,2; drop 0,5; =0,2"},
        {"drag accepts denies", 8, 1, "d60,45 w301 m80,45 u100,105", "drag? 0,2; dropped nowhere; =0,2"},
        {"drag", 8, 1, "d60,45 w301 m80,45 Esc m120,45 u60,45", "drag? 0,2; char 27; =0,2"},
    });
}

// A box that comes up in the middle of a drag, say: nothing was dropped.
TEST_F(GridInput, AFloaterGoesBackWhenItsDragIsCancelled) {
    Make(8, 2);
    Prepare("floater");
    EXPECT_EQ(Play("d3,25 m130,85"), "to 0,1>1,4; =none tip floater! 1,4 links 1");
    SendMessageW(grid->GetHWnd(), WM_CANCELMODE, 0, 0);
    EXPECT_EQ(Play("u130,85"), "=none floater! 0,1 links 1");
}

TEST_F(GridInput, WhoeverTakesTheCaptureKeepsIt) {
    for (const char* words : {"drag", "touch"}) {
        Make(50);
        Prepare(words);
        Play("d60,45 w301 m80,45");
        SetCapture(owner->GetHWnd());
        EXPECT_EQ(GetCapture(), owner->GetHWnd()) << words;
        ReleaseCapture();
        EXPECT_EQ(Play("m100,45 u100,105"), "=0,2") << words;
    }
}

TEST_F(GridInput, APictureFollowsAnObject) {
    const auto drag = [this] {
        const HBITMAP bitmap = CreateBitmap(16, 16, 1, 24, nullptr);
        const HIMAGELIST images = ImageList_Create(16, 16, ILC_COLOR24, 1, 1);
        ImageList_Add(images, bitmap, nullptr);
        DeleteObject(bitmap);
        Make(8).SetDragAllowed(true);
        owner->answers[GRIDM_DRAG_IMAGES] = reinterpret_cast<LRESULT>(images);
        Play("d60,45 w301 m80,45");
        return images;
    };
    HIMAGELIST images = drag();
    PlatDragImage image{};
    ASSERT_TRUE(PlatGetDragImage(&image));
    EXPECT_EQ(image.position.x, 78);
    EXPECT_EQ(image.position.y, 37);
    Play("m100,65");
    ASSERT_TRUE(PlatGetDragImage(&image));
    EXPECT_EQ(image.position.x, 98);
    Play("u100,65");
    EXPECT_FALSE(PlatGetDragImage(&image));
    EXPECT_EQ(ImageList_GetImageCount(images), -1) << "it went with the drag";
    images = drag();
    grid.reset(); // with the button down
    EXPECT_FALSE(PlatGetDragImage(&image));
    EXPECT_EQ(ImageList_GetImageCount(images), -1);
}

} // namespace
