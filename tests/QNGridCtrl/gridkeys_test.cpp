// Keys on a grid.
#include "tests/support/gridlog.h"

using namespace qntest;

namespace {

constexpr WCHAR kTwo[] = u"<A=one>first</A> and <A=two>second</A>";

class GridKeys : public InputTest {
protected:
    struct Case {
        const char *script, *result;
    };
    void Check(const std::function<void()>& make, std::initializer_list<Case> cases) {
        for (const Case& c : cases) {
            SCOPED_TRACE(c.script);
            make();
            EXPECT_EQ(Play(c.script), c.result);
        }
    }
};

TEST_F(GridKeys, MoveTheSelection) {
    const auto make = [this] { // row 3 has no height
        Make(6, 3).SetFixedRowCount(1);
        grid->SetRowHeight(3, 0);
    };
    Check(make, {
                    {"=1,2 Down", "key 1,4; =1,4"},
                    {"=1,4 Up", "key 1,2; =1,2"},
                    {"=1,5 Down", "key 1,1; =1,1"},
                    {"=1,1 Up", "key 1,5; =1,5"},
                    {"=1,2 Right", "key 2,2; =2,2"},
                    {"=2,2 Right", "key 0,2; =0,2"},
                    {"=0,2 Left", "key 2,2; =2,2"},
                    {"=1,4 Home", "key 1,1; =1,1"},
                    {"=1,2 End", "key 1,5; =1,5"},
                    {"=1,4 3Down", "key 1,5; =1,5"}, // repeats stay at the end
                });
    Check([this] { Make(6, 3).SetMultiSelect(true); },
          {
              {"=1,2 S-Down S-Down S-Down S-Down", "key 1,3; key 1,4; key 1,5; =1,2-1,5"},
              {"=1,2 S-Down S-Up S-Up S-Up S-Up", "key 1,3; key 1,2; key 1,1; key 1,0; =1,0-1,2"},
              {"=1,2 S-Up S-Right Down S-Left", "key 1,1; key 2,1; key 2,2; key 1,2; =1,2-2,2"},
              {"=1,1 Down { t10,65 }", "key 1,2; new tap 0,3; =0,2-1,3"}, // a press goes on from there
          });
}

TEST_F(GridKeys, OtherModesScroll) {
    Check([this] { Make(50).SetKeysScrollMode(GRID_SCROLL_ROW); }, {
                                                                       {"Down", "=none top 20"},
                                                                       {"Down Down Up", "=none top 20"},
                                                                       {"End", "=none top 799"},
                                                                       {"End Home", "=none"},
                                                                   });
    Make(50).SetKeysScrollMode(GRID_SCROLL_PAGE);
    Play("Down");
    const int page = grid->GetTopPixel();
    EXPECT_GE(page, 160);
    grid->SetKeysScrollMode(GRID_SCROLL_CURRENT);
    EXPECT_EQ(Play("PgUp"), "=none");
    Play("=0,9 Down"); // behind the last row in view
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
    Play("=0,0");
    std::vector<DWORD> floaters;
    for (const char* key : {"Down", "Down", "Down", "Up"}) {
        Play(key);
        floaters.push_back(grid->GetSelectedFloater() ? grid->GetSelectedFloater()->dwID : grid->GetRow());
    }
    EXPECT_EQ(floaters, std::vector<DWORD>({7, 8, 2, 8}));
}

TEST_F(GridKeys, WhatTheyDo) {
    Check([this] { Make(4); }, {
                                   {"Enter", "=none"},
                                   {"=0,2 Enter", "tap 0,2; =0,2"},
                                   {"=0,2 3Enter", "tap 0,2; =0,2"}, // once for each press
                                   {"A-Right A-Left", "swipe left; swipe right; =none"},
                                   {"=0,2 F2", "edit? 0,2; =0,2 editing"},
                                   {"=0,2 Del", "delete; =0,2"},
                               });
    Play("=0,2");
    const auto send = [this](UINT message) { SendMessageW(grid->GetHWnd(), message, VK_RETURN, 1); };
    send(WM_KEYDOWN); // a key without a character
    send(WM_KEYUP);
    EXPECT_EQ(Log(), "tap 0,2; ");
    send(WM_KEYUP); // pressed elsewhere
    EXPECT_EQ(Log(), "");
    PlatKey(VK_SPACE, true);
    PlatText(u" x");
    PlatKey(VK_SPACE, false);
    Pump();
    EXPECT_EQ(Play(""), "tap 0,2; char 120; =0,2");
    Text(0, 2, u"to be copied");
    Play("C-C");
    OpenClipboard(nullptr);
    const auto* copied = static_cast<const WCHAR*>(GetClipboardData(CF_UNICODETEXT));
    EXPECT_EQ(std::u16string(copied ? copied : u""), u"to be copied");
    CloseClipboard();
}

TEST_F(GridKeys, Links) {
    const auto inMode = [this](ELinkNavigationMode mode) {
        return [this, mode] {
            Make(3).SetLinkNavigationMode(mode);
            Text(0, 1, kTwo);
        };
    };
    Check(inMode(LINK_NAVIGATION_BY_REQUEST), {
                                                  {"=0,1 Enter Right", "=0,1 in links"},
                                                  {"=0,1 Enter Right Enter", "spot two 0,1; =0,1"},
                                                  {"=0,1 Enter Down", "key 0,2; =0,2"}, // leaves them
                                              });
    Check(inMode(LINK_NAVIGATION_ALWAYS),
          {{"=0,1 Enter Right Enter Enter", "spot one 0,1; spot two 0,1; spot two 0,1; =0,1 in links"}});
    const struct {
        const WCHAR* text;
        bool flagged;
        const char* result;
    } cases[] = {{u"<A=one>first</A>", true, "spot one 1,1; =0,1-1,1"},
                 {u"<A=one>first</A>", false, "tap 0,1; =0,1-1,1"},
                 {kTwo, true, "tap 1,1; =0,1-1,1"}};
    for (const auto& c : cases) { // the only one is taken at once
        Make(3, 2).SetRowSelect(true);
        Text(1, 1, c.text);
        grid->SetCellOnActionLinkNavigable(1, 1, c.flagged);
        EXPECT_EQ(Play("=0,1 Enter"), c.result);
    }
}

TEST_F(GridKeys, HeldArrowsAreSlowedDown) {
    Make(30).SetDelayedScrolling(500);
    Play("=0,0");
    const auto after = [this](DWORD milliseconds) {
        Wait(milliseconds);
        PlatKey(VK_DOWN, true);
        Pump();
        return Log();
    };
    const struct {
        DWORD milliseconds;
        const char* log;
    } repeats[] = {{0, "key 0,1; "},
                   {500, "key 0,2; "},
                   {1, "held 32 40 0,2; key 0,3; "},
                   {749, ""},
                   {1, "held 16 40 0,3; key 0,4; "},
                   {400, ""}};
    for (const auto& repeat : repeats)
        EXPECT_EQ(after(repeat.milliseconds), repeat.log) << repeat.milliseconds;
    PlatKey(VK_DOWN, false);
    Pump();
    SendMessageW(grid->GetHWnd(), WM_KEYDOWN, VK_DOWN, 1 | KF_KEY_REPEATED); // left in the queue
    Wait(849);
    EXPECT_EQ(Log(), "");
    Wait(1);
    EXPECT_EQ(Log(), "held 48 40 0,4; ");
    EXPECT_EQ(after(5000), "key 0,5; ");
}

} // namespace
