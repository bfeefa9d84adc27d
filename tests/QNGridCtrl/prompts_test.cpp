// Popup menus and message boxes on the screen, worked by keys and pointer.
#include "NorvoUI/CNorvoMBox.h"
#include "NorvoTools/HTMLEscape.h"
#include "QNGridCtrl/Prompts.h"
#include "tests/support/modal.h"
#include "Platform/threads.h"
#include "tests/support/narrow.h"

#include <atomic>
#include <thread>
#include <vector>

namespace {

using namespace qntest;

class PopupMenus : public ModalTest {
protected:
    // At 0,0 rows are 40 high behind a border of one pixel: 10 from 1, 11 from 41, a rule from 81, the sub-menu from 88,
    // 12 (gray) from 128, 13 from 168 to 208.
    PopupMenus() {
        AppendMenuW(m_sub, MF_STRING, 20, u"&Small");
        AppendMenuW(m_sub, MF_STRING, 21, u"&Medium");
        AppendMenuW(m_menu, MF_STRING, 10, u"&New && old");
        AppendMenuW(m_menu, MF_STRING | MF_CHECKED, 11, u"&Tasks");
        AppendMenuW(m_menu, MF_SEPARATOR, 0, nullptr);
        AppendMenuW(m_menu, MF_POPUP, reinterpret_cast<ULONG_PTR>(m_sub), u"Si&ze");
        AppendMenuW(m_menu, MF_STRING | MF_GRAYED, 12, u"&Delete");
        AppendMenuW(m_menu, MF_STRING, 13, u"<B>last");
    }
    ~PopupMenus() override { DestroyMenu(m_menu); }
    int Track(int x = 0, int y = 0) {
        return TrackPopupMenuEx(m_menu, TPM_RETURNCMD, x, y, top.GetHWnd(), nullptr);
    }
    // d, u, r, l: arrows; h, n: Home, End; e: Enter, x: Escape; a capital is typed.
    static void Type(const char* keys) {
        for (; *keys; ++keys) {
            const WCHAR letter[] = {static_cast<WCHAR>(*keys), 0};
            switch (*keys) {
            case 'd':
                Press(VK_DOWN);
                break;
            case 'u':
                Press(VK_UP);
                break;
            case 'r':
                Press(VK_RIGHT);
                break;
            case 'l':
                Press(VK_LEFT);
                break;
            case 'h':
                Press(VK_HOME);
                break;
            case 'n':
                Press(VK_END);
                break;
            case 'e':
                Press(VK_RETURN);
                break;
            case 'x':
                Press(VK_ESCAPE);
                break;
            default:
                PlatText(letter);
            }
        }
    }

    Prompts m_prompts;
    HMENU m_sub = CreatePopupMenu();
    HMENU m_menu = CreatePopupMenu();
};

TEST_F(PopupMenus, ByKeys) {
    const std::pair<const char*, int> cases[] = {
        {"ex", 0},                                       // nothing to choose yet
        {"de", 10},     {"dde", 11},      {"dddee", 20}, // Enter opens the sub-menu too, at its first row
        {"dddrde", 21}, {"dddrldde", 10},                // left closes it; 13 follows, then round the end
        {"dddrxx", 0},                                   // Escape closes one at a time
        {"ue", 13},     {"uure", 20},                    // upwards past the gray one
        {"nhe", 10},    {"N", 10},        {"ZM", 21},    {"ne", 13}, {"Dx", 0}, // of a gray one
        {"<e", 13}, // nothing marks it: it begins so
        {"rlx", 0},
    };
    for (const auto& [keys, chosen] : cases) {
        Type(keys);
        EXPECT_EQ(Track(), chosen) << keys;
        EXPECT_EQ(ShownOnScreen(), 1) << keys;
    }
    EXPECT_EQ(GetActiveWindow(), top.GetHWnd());
    MSG left{};
    EXPECT_FALSE(PeekMessageW(&left, nullptr, WM_CHAR, WM_CHAR, PM_REMOVE)); // Enter and Escape are done with
}

TEST_F(PopupMenus, TheEnterThatOpenedItChoosesNothing) {
    PlatKey(VK_RETURN, true);
    Pump();
    PlatKey(VK_RETURN, true); // it repeats
    Type("d");
    PlatKey(VK_RETURN, true);
    PlatKey(VK_RETURN, false);
    Type("x");
    EXPECT_EQ(Track(), 0);
}

TEST_F(PopupMenus, ByPointer) {
    using Act = PlatPointerAction;
    struct Step {
        Act act;
        int x, y;
    };
    const struct {
        const char* what;
        std::vector<Step> steps;
        int chosen;
    } cases[] = {
        {"tap", {{Act::Down, 30, 60}, {Act::Up, 30, 60}}, 11},
        {"outside", {{Act::Down, 30, 300}, {Act::Up, 30, 300}}, 0},
        {"rule and gray row do nothing, the next press chooses",
         {{Act::Down, 9, 84},
          {Act::Up, 9, 84},
          {Act::Down, 9, 150},
          {Act::Up, 9, 150},
          {Act::Down, 9, 170},
          {Act::Up, 9, 170}},
         13},
        {"moved off before the release",
         {{Act::Down, 30, 60},
          {Act::Move, 30, 300},
          {Act::Up, 30, 300},
          {Act::Down, 30, 20},
          {Act::Up, 30, 20}},
         10},
        {"pressed on one row, released on another",
         {{Act::Down, 30, 60}, {Act::Move, 30, 20}, {Act::Up, 30, 20}},
         10},
        // The sub-menu opens at the press, beside its row: its own rows are from 89 and from 129.
        {"sub-menu",
         {{Act::Down, 30, 100}, {Act::Up, 30, 100}, {Act::Down, 140, 140}, {Act::Up, 140, 140}},
         21},
    };
    for (const auto& [what, steps, chosen] : cases) {
        for (const Step& step : steps) PlatPointer(step.act, step.x, step.y);
        EXPECT_EQ(Track(), chosen) << what;
    }
}

TEST_F(PopupMenus, APressThatOpenedItChoosesOnlyWhereItWasDraggedTo) {
    PlatPointer(PlatPointerAction::Down, 20, 20);
    Pump();
    PlatPointer(PlatPointerAction::Up, 20, 20);
    Type("x");
    EXPECT_EQ(Track(), 0); // released where it was
    PlatPointer(PlatPointerAction::Down, 20, 20);
    Pump();
    PlatPointer(PlatPointerAction::Move, 30, 60);
    PlatPointer(PlatPointerAction::Up, 30, 60);
    EXPECT_EQ(Track(), 11);
}

TEST_F(PopupMenus, ShowsWhereItIsAndOpensWhatThePointerRestsOn) {
    PlatPointer(PlatPointerAction::Move, 30, 100);
    const Script script({[] {
                             EXPECT_EQ(PixelAt(3, 90), GetSysColor(COLOR_HIGHLIGHT));
                             EXPECT_EQ(PixelAt(3, 60), GetSysColor(COLOR_WINDOW));
                             EXPECT_EQ(PixelAt(0, 60), GetSysColor(COLOR_GRAYTEXT)); // the border
                             EXPECT_NE(PixelAt(12, 63), GetSysColor(COLOR_WINDOW));  // the check
                             EXPECT_LT(PixelAt(60, 209) & 0xFF, 0xFFU);              // the shadow
                             EXPECT_EQ(ShownOnScreen(), 2);
                         },
                         [] { Sleep(350); }, [] {}, [] { EXPECT_EQ(ShownOnScreen(), 3); },
                         [] { PlatLoseInput(); }});
    EXPECT_EQ(Track(), 0);
    EXPECT_EQ(GetCapture(), nullptr);
}

TEST_F(PopupMenus, NeverLeavesTheScreen) {
    for (const PlatScreen& screen :
         {PlatScreen{240, 320, 96}, {480, 640, 192}, {1280, 800, 96}, {160, 160, 96}})
        for (const POINT at :
             {POINT{-50, -50}, POINT{screen.width - 1, 0}, POINT{screen.width / 2, screen.height - 1}}) {
            Show(screen);
            Type("dddr");
            const Script script({[] { EXPECT_EQ(ShownOnScreen(), 3); }, [] { Type("xx"); }});
            EXPECT_EQ(Track(at.x, at.y), 0);
        }
}

// Its first row is at 15 to 55, below a strip of 14. A finger that moves the rows chooses nothing.
TEST_F(PopupMenus, ATallOneScrolls) {
    for (UINT id = 100; id < 154; ++id) AppendMenuW(m_menu, MF_STRING, id, u"Row");
    Type("ne");
    EXPECT_EQ(Track(), 153);
    PlatPointer(PlatPointerAction::Down, 30, 200);
    PlatPointer(PlatPointerAction::Move, 30, 140);
    PlatPointer(PlatPointerAction::Up, 30, 140);
    const Script script({[] { EXPECT_EQ(ShownOnScreen(), 2); }, [] { Tap(30, 30); }});
    EXPECT_EQ(Track(), 11); // 60 further
    PlatPointer(PlatPointerAction::Move, 30, 140);
    Pump();
    const Script wheel({[] { PlatWheel(30, 140, -1); }, [] { Tap(30, 30); }});
    EXPECT_EQ(Track(), 11); // one row
}

// The column of texts is as wide as the longest, that of keys beside it: 26 + 10 * 6 + 1, 16 + 6 * 6 + 1, an edge of 6.
TEST_F(PopupMenus, AsWideAsTextsAndKeys) {
    const HMENU menu = CreatePopupMenu();
    AppendMenuW(menu, MF_STRING, 1, u"Undo\tCtrl+Z");
    AppendMenuW(menu, MF_STRING, 2, u"Read again");
    const Script script({[] {
                             EXPECT_EQ(PixelAt(146, 2), GetSysColor(COLOR_WINDOW));
                             EXPECT_EQ(PixelAt(147, 2), GetSysColor(COLOR_GRAYTEXT)); // the border
                         },
                         [] { PlatText(u"R"), Press(VK_RETURN); }});
    EXPECT_EQ(TrackPopupMenuEx(menu, TPM_RETURNCMD, 0, 0, top, nullptr), 2);
    DestroyMenu(menu);
}

// Across another row into the sub-menu that is open: it stays.
TEST_F(PopupMenus, TheWayToASubMenuDoesNotCloseIt) {
    Type("dddr");
    const Script script({[] {
                             PlatPointer(PlatPointerAction::Move, 80, 180),
                                 PlatPointer(PlatPointerAction::Move, 140, 110);
                         },
                         [] { Sleep(350); }, [] {},
                         [] {
                             EXPECT_EQ(ShownOnScreen(), 3);
                             EXPECT_EQ(PixelAt(3, 100), GetSysColor(COLOR_HIGHLIGHT));
                             Tap(140, 140);
                         }});
    EXPECT_EQ(Track(), 21);
}

TEST_F(PopupMenus, SubMenusAreFilledWhenTheyOpen) {
    class Filler : public CeWnd {
    public:
        LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM, bool&) override {
            const auto menu = reinterpret_cast<HMENU>(wParam);
            if (msg == WM_INITMENUPOPUP && menu == sub) AppendMenuW(menu, MF_STRING, 77, u"Fresh");
            return 0;
        }
        HMENU sub = nullptr;
    } owner;
    owner.sub = m_sub;
    owner.Create(nullptr, nullptr, RECT{0, 0, 9, 9}, u"", WS_POPUP);
    RemoveMenu(m_sub, 1, MF_BYPOSITION);
    Type("dddrde");
    EXPECT_EQ(TrackPopupMenuEx(m_menu, TPM_RETURNCMD, 0, 0, owner, nullptr), 77);
    owner.DestroyWindow();
}

TEST_F(PopupMenus, TheEndOfTheApplicationOrTheOwnerEndsItAndAnotherScreen) {
    MSG message{};
    {
        const Script script({[] { PlatSetScreen({320, 240, 96}); }});
        EXPECT_EQ(Track(), 0);
    }
    {
        const Script script({[] { PostQuitMessage(7); }});
        EXPECT_EQ(Track(), 0);
        EXPECT_EQ(GetMessageW(&message, nullptr, 0, 0), 0);
        EXPECT_EQ(message.wParam, 7U);
    }
    const Script script({[this] { top.DestroyWindow(); }});
    EXPECT_EQ(Track(), 0);
}

// --- Message boxes ------------------------------------------------------------------------------------------------

class MessageBoxes : public ModalTest {
protected:
    Prompts m_prompts;
};

TEST_F(MessageBoxes, ByKeys) {
    const struct {
        UINT type;
        std::vector<int> keys;
        const char16_t* typed;
        int answer;
    } cases[] = {
        {MB_OK, {VK_RETURN}, u"", IDOK},
        {MB_OK, {VK_ESCAPE}, u"", IDOK},
        {MB_YESNO, {VK_ESCAPE}, u"", IDNO},
        {MB_YESNOCANCEL, {VK_ESCAPE}, u"", IDCANCEL},
        {MB_YESNOCANCEL, {}, u"n", IDNO},
        {MB_YESNOCANCEL, {VK_TAB, VK_TAB, VK_RETURN}, u"", IDCANCEL},
        {MB_YESNOCANCEL, {VK_RIGHT, VK_SPACE}, u"", IDNO},
        {MB_YESNO | 0x100, {VK_RETURN}, u"", IDNO}, // the second one acts by default
        {MB_ABORTRETRYIGNORE, {}, u"R", IDRETRY},
        {MB_ABORTRETRYIGNORE, {VK_ESCAPE}, u"", IDABORT},
        {MB_RETRYCANCEL, {VK_TAB, VK_LEFT, VK_RETURN}, u"", IDRETRY},
    };
    for (const auto& [type, keys, typed, answer] : cases) {
        const Script script({[] { EXPECT_EQ(ShownOnScreen(), 2); },
                             [&] {
                                 EXPECT_FALSE(top.IsWindowEnabled());
                                 for (const int key : keys) Press(key);
                                 PlatText(typed);
                             }});
        EXPECT_EQ(MessageBoxW(top, u"Save it?\r\n\r\n<B>No</B> way back", u"Title", type | MB_ICONQUESTION),
                  answer)
            << type;
        EXPECT_TRUE(top.IsWindowEnabled());
        EXPECT_EQ(GetActiveWindow(), top.GetHWnd());
    }
}

TEST_F(MessageBoxes, StandOnEveryScreenAndScrollWhatIsTooLong) {
    const std::u16string text(9000, u'x');
    for (const PlatScreen& screen :
         {PlatScreen{240, 320, 96}, {480, 640, 192}, {1280, 800, 96}, {200, 160, 96}})
        for (const LPCWSTR shown : {u"Short", text.c_str(), LPCWSTR{}}) {
            Show(screen);
            const Script script({[] { EXPECT_EQ(ShownOnScreen(), 2); }, [] { Press(VK_ESCAPE); }});
            EXPECT_EQ(MessageBoxW(top, shown,
                                  u"A title that is far longer than the box is wide, or the screen",
                                  MB_OKCANCEL),
                      IDCANCEL);
        }
}

// The check stands above the bar: Shift+Tab from the first button.
TEST_F(MessageBoxes, RememberTheAnswerWhenToldTo) {
    const auto ask = [this](LPCWSTR key) {
        CNorvoMBox box(key);
        box.SetButtonText(IDYES, u"&Surely");
        return box.Ask(top, u"Delete?", u"", MB_YESNO);
    };
    const auto check = [] {
        PlatKey(VK_SHIFT, true);
        Press(VK_TAB);
        PlatKey(VK_SHIFT, false);
        Press(VK_SPACE);
    };
    {
        const Script script({check, [] { PlatText(u"s"); }});
        EXPECT_EQ(ask(nullptr), IDNO); // without a key there is no check: that pressed the last button
        EXPECT_EQ(ask(u"Delete_Appt"), IDYES); // not told to
    }
    {
        const Script script({check, [] { PlatText(u"s"); }});
        EXPECT_EQ(ask(u"Delete_Appt"), IDYES);
    }
    EXPECT_EQ(ask(u"Delete_Appt"), IDYES); // nobody is there to ask
    EXPECT_EQ(CNorvoMBox::GetRemembered(u"Delete_Appt"), IDYES);
}

class ThreadsMessageBoxes : public MessageBoxes {};

// Over a window of another thread, which goes on meanwhile.
TEST_F(ThreadsMessageBoxes, AskOnAnyThread) {
    int answer = 0;
    std::atomic<bool> done = false;
    std::thread worker([&] {
        answer = MessageBoxW(top, u"Go on?", u"", MB_YESNO);
        done = true;
    });
    while (GetForegroundWindow() == top.GetHWnd()) Pump(), Sleep(1);
    EXPECT_FALSE(top.IsWindowEnabled());
    Press(VK_ESCAPE);
    while (!done) Pump(), Sleep(1);
    worker.join();
    EXPECT_EQ(answer, IDNO);
    EXPECT_TRUE(top.IsWindowEnabled());
    EXPECT_EQ(GetForegroundWindow(), top.GetHWnd());
}

TEST_F(MessageBoxes, TheTextIsShownAsItIs) {
    EXPECT_EQ(Narrow(HTMLEscapeLines(u"a<B>\r\n\n\tb\rc<<").c_str()),
              "a<</BODY>B><BR> <BR> b<BR>c<</BODY><</BODY>");
}

} // namespace
