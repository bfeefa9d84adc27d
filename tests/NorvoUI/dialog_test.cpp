// Dialogs, rows of buttons, label fields, built menus, boxes that remember: worked by keys and pointer.
#include "NorvoUI/CNorvoMBox.h"
#include "NorvoUI/CeDialog.h"
#include "NorvoUI/CeLabelEdit.h"
#include "Platform/threads.h"
#include "tests/support/modal.h"
#include "tests/support/narrow.h"
#include "tests/support/waiting.h"

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace {

using namespace qntest;

constexpr UINT kName = 1001, kNote = 1002, kMore = 10, kItem = 11;

// A field, a field of several lines, a menu.
class Form : public CeDialog {
public:
    explicit Form(SIZE size = {150, 100}) : CeDialog(u"Form", size) {}

    bool OnInitDialog() override {
        m_Menus.AddButton(kMore, u"&More");
        m_Menus.AddItem(kMore, kItem, u"Item");
        EXPECT_TRUE(name.Create(m_hWnd, RECT{}, u"Name", u"", kName));
        EXPECT_TRUE(note.Create(m_hWnd, RECT{}, u"Note", u"", kNote, 0, ES_MULTILINE));
        if (endAtOnce) EndDialog(9);
        m_Menus.EnableItem(IDCANCEL, !mustAnswer);
        return content;
    }
    void OnLayout(const RECT& r) override {
        const LONG middle = (r.top + r.bottom) / 2;
        name.MoveWindow({r.left, r.top, r.right, middle});
        note.MoveWindow({r.left, middle, r.right, r.bottom});
    }
    LRESULT OnCommand(WPARAM wParam, LPARAM lParam, bool& handled) override {
        if (LOWORD(wParam) == kItem) EndDialog(kItem);
        return CeDialog::OnCommand(wParam, lParam, handled);
    }
    void OnOK() override {
        text = Narrow(name.GetText().c_str()) + "|" + Narrow(note.GetText().c_str());
        if (text != "!|") CeDialog::OnOK();
    }
    // Which window has the focus: name, note, bar, or 0.
    char Focus() {
        const HWND focus = GetFocus();
        return focus == name.Edit().GetHWnd()   ? 'n'
               : focus == note.Edit().GetHWnd() ? 't'
               : focus == m_Bar.GetHWnd()       ? 'b'
                                                : '0';
    }

    CeLabelEdit name, note;
    std::string text;
    bool content = true;
    bool endAtOnce = false;
    bool mustAnswer = false;
};

class Dialogs : public ModalTest {
protected:
    // Shift+Tab.
    static void Back() {
        PlatKey(VK_SHIFT, true);
        Press(VK_TAB);
        PlatKey(VK_SHIFT, false);
    }
};

TEST_F(Dialogs, TakeTextAndEndWithOK) {
    Form form;
    top.SetFocus();
    const Script script({[&] {
                             EXPECT_FALSE(top.IsWindowEnabled());
                             EXPECT_EQ(GetActiveWindow(), form.GetHWnd());
                             PlatText(u"!");
                             Press(VK_RETURN); // OnOK refuses it
                         },
                         [&] {
                             PlatText(u"Ada");
                             Press(VK_TAB);
                             Press(VK_RETURN); // a line of the note
                             PlatText(u"x");
                             Back();
                             Press(VK_RETURN);
                         }});
    EXPECT_EQ(form.DoModal(top), IDOK);
    EXPECT_EQ(form.text, "!Ada|\r\nx");
    EXPECT_TRUE(top.IsWindowEnabled());
    EXPECT_EQ(GetFocus(), top.GetHWnd());
    EXPECT_FALSE(form.IsWindow());
}

TEST_F(Dialogs, TabGoesRoundFieldsAndBar) {
    Form form;
    std::string seen;
    std::deque<std::function<void()>> steps;
    for (int i = 0; i < 6; ++i) // name, note, three buttons, name
        steps.push_back([&] { seen += form.Focus(), Press(VK_TAB); });
    for (int i = 0; i < 3; ++i) steps.push_back([&] { seen += form.Focus(), Back(); });
    steps.push_back([] { Press(VK_ESCAPE); });
    const Script script(steps);
    EXPECT_EQ(form.DoModal(top), IDCANCEL);
    EXPECT_EQ(seen, "ntbbbntnb");
}

TEST_F(Dialogs, EndInTheirOwnWay) {
    const std::pair<std::function<void()>, int> cases[] = {
        {[] { Press(VK_ESCAPE); }, IDCANCEL},
        {[] { Press(VK_TAB), Press(VK_ESCAPE); }, IDCANCEL}, // out of several lines too
        {[] {
             PlatPointer(PlatPointerAction::Down, 0, 0);
             PostQuitMessage(3);
         },
         IDCANCEL},
        {[this] { top.DestroyWindow(); }, IDCANCEL},
        {[] { PlatAnswerMenu(kItem), PlatKey(VK_MENU, true), Press('M'), PlatKey(VK_MENU, false); }, kItem},
    };
    for (const auto& [act, result] : cases) {
        Show({240, 320, 96});
        Form form;
        const Script script({act});
        EXPECT_EQ(form.DoModal(top), result);
        MSG message{};
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) && message.message != WM_QUIT)
            DispatchMessageW(&message);
    }
    EXPECT_EQ(PlatTakeMenus().size(), 1U);
}

TEST_F(Dialogs, ACrashEndsThemAndTheApplication) {
    class Broken : public Form {
        LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override {
            if (msg == WM_USER + 9) *reinterpret_cast<volatile int*>(8) = 1;
            return Form::OnMessage(msg, wParam, lParam, handled);
        }
    } form;
    const Script script({[&] { form.PostMessageW(WM_USER + 9); }});
    EXPECT_EQ(form.DoModal(top), IDCANCEL);
    const auto boxes = PlatTakeMessageBoxes();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_TRUE(boxes[0].text.starts_with(u"CeDialog:: CeDialog:FRAME at "));
    MSG message{};
    EXPECT_FALSE(GetMessageW(&message, nullptr, 0, 0)); // WM_QUIT
}

// One over the other: the one below takes no input, and gets the focus back.
TEST_F(Dialogs, Nest) {
    Form below, above;
    const Script script({[&] { above.DoModal(top); },
                         [&] {
                             EXPECT_FALSE(below.IsWindowEnabled());
                             EXPECT_EQ(ShownOnScreen(), 3);
                             PlatSetScreen({480, 640, 96});
                         },
                         [&] {
                             EXPECT_EQ(GetActiveWindow(), above.GetHWnd());
                             EXPECT_EQ(GetWindow(GetDesktopWindow(), GW_CHILD), above.GetHWnd()); // topmost
                             Press(VK_ESCAPE);
                         },
                         [&] {
                             EXPECT_EQ(below.Focus(), 'n');
                             EXPECT_FALSE(top.IsWindowEnabled());
                             Press(VK_RETURN);
                         }});
    EXPECT_EQ(below.DoModal(top), IDOK);
}

TEST_F(Dialogs, StandOnEveryScreen) {
    for (const PlatScreen& screen : {PlatScreen{240, 320, 96}, {480, 640, 192}, {1280, 800, 96}})
        for (const SIZE size : {SIZE{0, 0}, SIZE{2000, 20}, SIZE{20, 2000}}) {
            Show(screen);
            Form form(size);
            const Script script({[] { EXPECT_EQ(ShownOnScreen(), 2); },
                                 [&] {
                                     PlatSetScreen({screen.height, screen.width, screen.dotsPerInch});
                                 }, // turned
                                 [&] {
                                     EXPECT_TRUE(form.IsWindowVisible());
                                     EXPECT_TRUE(IsOnScreen(form));
                                     EXPECT_EQ(form.Focus(), 'n');
                                 },
                                 [] { Press(VK_ESCAPE); }});
            EXPECT_EQ(form.DoModal(top), IDCANCEL);
        }
}

TEST_F(Dialogs, MayEndBeforeTheyShow) {
    Form form;
    form.endAtOnce = true;
    EXPECT_EQ(form.DoModal(top), 9);
    EXPECT_TRUE(top.IsWindowEnabled());
    form.endAtOnce = false; // once more
    form.mustAnswer = true;
    const Script script({[] { Press(VK_ESCAPE), Press(VK_RETURN); }});
    EXPECT_EQ(form.DoModal(top), IDOK);
}

TEST_F(Dialogs, WithoutALoopEndWithTheirWindow) {
    Form form;
    form.content = false; // the default command has the focus
    ASSERT_TRUE(form.Create(top));
    EXPECT_EQ(form.Focus(), 'b');
    EXPECT_TRUE(top.IsWindowEnabled());
    SetActiveWindow(top);
    PlatSetScreen({480, 640, 96}); // it settles, and takes nothing from the active window
    Pump();
    EXPECT_EQ(GetActiveWindow(), top.GetHWnd());
    form.SendMessageW(WM_CLOSE);
    EXPECT_FALSE(form.IsWindow());
    EXPECT_EQ(form.GetResult(), IDCANCEL);
}

class ThreadsDialogs : public Dialogs {};

// The message comes within the wait for the next one.
TEST_F(ThreadsDialogs, EndBySentMessages) {
    for (const UINT message : {WM_COMMAND, WM_CLOSE}) {
        Form form;
        top.SetFocus();
        std::atomic<bool> ended = false;
        bool inTime = false;
        std::thread worker([&] {
            while (GetForegroundWindow() == top.GetHWnd()) Sleep(1);
            Sleep(30); // it waits by then
            SendMessageW(GetForegroundWindow(), message, IDCANCEL, 0);
            inTime = Eventually([&] { return ended.load(); });
            PostMessageW(top, WM_NULL, 0, 0);
        });
        EXPECT_EQ(form.DoModal(top), IDCANCEL);
        ended = true;
        worker.join();
        EXPECT_TRUE(inTime);
    }
}

// --- Rows of buttons ----------------------------------------------------------------------------------------------

class IconButtons : public ModalTest {
protected:
    // 40 pixels wide 1 and 3; the others share the rest: 2 from 40 to 120, 4 from 160 to 240.
    IconButtons() {
        row.Create(top, RECT{0, 0, 240, 30});
        row.AddButton(1, u"<", 0, ICONBUTTON_REPEAT, 40);
        row.AddButton(2, u"&Day", 0, ICONBUTTON_DROPDOWN);
        row.AddButton(3, u"off", 0, 0, 40);
        row.AddButton(4, u"All", 0, ICONBUTTON_CHECK);
        row.EnableButton(3, false);
        row.SetFocus();
        Pump();
    }
    CeIconButton row;
};

TEST_F(IconButtons, ActAtTheReleaseAndByKeys) {
    using Act = PlatPointerAction;
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[] { Tap(20, 10); }, "1:0 "},
        {[] { Tap(60, 10); }, "2:256 "},
        {[] { Tap(130, 10); }, ""},
        {[] { PlatPointer(Act::Down, 60, 10), PlatPointer(Act::Move, 60, 90), PlatPointer(Act::Up, 60, 90); },
         ""},
        {[] {
             PlatPointer(Act::Down, 60, 10), PlatPointer(Act::Move, 60, 90), PlatPointer(Act::Move, 50, 9),
                 PlatPointer(Act::Up, 50, 9);
         },
         "2:256 "},
        {[] { PlatPointer(Act::Down, 60, 10), PlatLoseInput(), PlatPointer(Act::Up, 60, 10); }, ""},
        {[] { Press(VK_LEFT), Press(VK_RETURN); }, "1:0 "},
        {[] { PlatKey(VK_RETURN, true), PlatKey(VK_RETURN, true), PlatKey(VK_RETURN, false); }, "1:0 1:512 "},
        {[] { Press(VK_RIGHT), Press(VK_RIGHT), Press(VK_RIGHT), Press(VK_SPACE); },
         "4:0 "}, // past the disabled one
    };
    for (const auto& [act, told] : cases) {
        act();
        Pump();
        EXPECT_EQ(TakeCommands(), told);
    }
    EXPECT_TRUE(row.IsDepressed(4)); // a check box changes by itself
    EXPECT_TRUE(row.PressLetter(u'd'));
    EXPECT_FALSE(row.PressLetter(u'x'));
    EXPECT_EQ(TakeCommands(), "2:256 ");
}

TEST_F(IconButtons, RepeatWhileHeld) {
    SYSTEMTIME now{2026, 11, 6, 21, 12, 0, 0, 0};
    PlatSetClock(&now);
    PlatPointer(PlatPointerAction::Down, 20, 10);
    for (const DWORD wait : {399U, 1U, 100U, 100U}) {
        Pump();
        PlatAdvanceClock(wait);
    }
    Pump();
    PlatPointer(PlatPointerAction::Up, 20, 10);
    Pump();
    EXPECT_EQ(TakeCommands(), "1:512 1:512 1:512 "); // the release is no click then
}

TEST_F(IconButtons, ShowThePressAtOnce) {
    const COLORREF ground = PixelAt(50, 2);
    PlatPointer(PlatPointerAction::Down, 60, 10);
    Pump();
    EXPECT_NE(PixelAt(50, 2), ground);
    RECT place{};
    ASSERT_TRUE(row.GetButtonRect(4, place));
    EXPECT_EQ(place.left, 160);
    EXPECT_EQ(place.right, 240);
}

TEST_F(IconButtons, FilledAnewWhileOneIsHeldActNotByItsRelease) {
    PlatPointer(PlatPointerAction::Down, 60, 10);
    Pump();
    row.RemoveAll();
    for (const UINT id : {7U, 8U, 9U}) row.AddButton(id, u"New"); // the second from 80 to 160
    PlatPointer(PlatPointerAction::Up, 100, 10);
    Pump();
    EXPECT_EQ(TakeCommands(), "");
    EXPECT_EQ(GetCapture(), nullptr);
}

// --- Label fields -------------------------------------------------------------------------------------------------

TEST_F(Dialogs, ALabelFieldTellsAndTidiesItsText) {
    class Phone : public CeLabelEdit {
        void OnLeave() override { SetText((u"+" + GetText()).c_str()); }
    } phone;
    ASSERT_TRUE(phone.Create(top, RECT{0, 0, 200, 20}, u"Phone", u"", 7));
    phone.SetFocus();
    PlatText(u"49");
    Pump();
    EXPECT_EQ(TakeCommands(), "7:256 7:1024 7:768 7:1024 7:768 ");
    top.SetFocus();
    WCHAR text[8];
    phone.GetWindowTextW(text, 8);
    EXPECT_EQ(Narrow(text), "+49");
    RECT field{};
    phone.Edit().GetWindowRect(&field);
    EXPECT_EQ(field.left, 36); // five letters of 6 pixels, a margin of 6
}

// --- Built menus --------------------------------------------------------------------------------------------------

TEST_F(Dialogs, MenusAreBuiltAndStatedByCommand) {
    CeMenus menus;
    EXPECT_TRUE(menus.AddButton(1, u"View"));
    EXPECT_FALSE(menus.AddButton(1, u"Again"));
    EXPECT_TRUE(menus.AddItem(1, 10, u"Small"));
    EXPECT_TRUE(menus.AddPopup(1, 20, u"Sort"));
    EXPECT_TRUE(menus.AddItem(20, 21, u"Name"));
    EXPECT_FALSE(menus.AddItem(99, 30, u"Nowhere"));
    EXPECT_FALSE(menus.AddPopup(1, 20, u"Again"));
    menus.EnableItem(21, false);
    EXPECT_TRUE(menus.CheckItem(10, true));
    EXPECT_FALSE(menus.CheckItem(99, true));
    EXPECT_EQ(GetMenuState(menus.GetPopup(1), 21, MF_BYCOMMAND), MF_GRAYED);
    EXPECT_EQ(GetMenuState(menus.GetPopup(1), 10, MF_BYCOMMAND), MF_CHECKED);
    menus.EnableItem(21, true);
    menus.EnableItem(20, false); // the whole sub-menu
    for (const UINT answer : {21U, 10U}) {
        PlatAnswerMenu(answer);
        EXPECT_EQ(menus.Track(1, top, 0, 0), answer == 10 ? 10U : 0U);
    }
    EXPECT_EQ(menus.Track(99, top, 0, 0), 0U);
}

// --- Boxes that remember ------------------------------------------------------------------------------------------

// Answers, and remembers where it may.
struct Answering : PlatPromptProvider {
    int ShowMessageBox(HWND, LPCWSTR, LPCWSTR, UINT) override {
        ++shown;
        if (CNorvoMBox* const box = CNorvoMBox::TakeCurrent()) box->SetRemember(true);
        return answer;
    }
    UINT PickFromMenu(HWND, HMENU, int, int) override { return 0; }
    BOOL Beep(UINT) override { return TRUE; }
    int answer = 0;
    int shown = 0;
};

TEST_F(Dialogs, AnswersAreRememberedByKey) {
    Answering prompts;
    PlatSetPromptProvider(&prompts);
    const auto ask = [&](LPCWSTR key, int answer, UINT type = MB_YESNOCANCEL) {
        prompts.answer = answer;
        prompts.shown = 0;
        const int given = CNorvoMBox(key).Ask(top, u"?", u"", type);
        return std::to_string(given) + (prompts.shown ? "" : " unasked");
    };
    EXPECT_EQ(ask(u"A", IDCANCEL), "2");
    EXPECT_EQ(ask(u"A", IDNO), "7"); // Cancel was not remembered
    EXPECT_EQ(ask(u"A", IDYES), "7 unasked");
    EXPECT_EQ(ask(u"B", IDYES), "6");             // each key by itself
    EXPECT_EQ(ask(u"A", IDOK, MB_OKCANCEL), "1"); // it has no such button
    EXPECT_EQ(ask(nullptr, IDYES), "6");
    EXPECT_EQ(ask(u"", IDNO), "7");
    CNorvoMBox::Forget(u"A");
    EXPECT_EQ(ask(u"A", IDYES), "6");
    CNorvoMBox::ForgetAll();
    EXPECT_EQ(ask(u"B", IDNO), "7");
    PlatSetPromptProvider(nullptr);
}

} // namespace
