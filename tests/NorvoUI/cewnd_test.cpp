// Windows as objects: how they are joined to their handle, what their handlers hear, and what happens when one crashes.
#include "NorvoUI/CeWnd.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/testing.h"
#include "tests/support/helperprocess.h"

#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr UINT kTold = WM_USER + 1;

// Writes down what it hears; answers and marks as done what it is told to.
class Listener : public CeWnd {
public:
    bool m_done = false;
    bool m_deleteLast = false;
    bool m_crashesPainting = false;
    std::vector<std::string>* m_heard = nullptr;

    void Say(const std::string& what) const {
        if (m_heard) m_heard->push_back(what);
    }
    void OnFirstMessage(HWND hWnd) override {
        Say(m_hWnd ? "first with handle" : hWnd ? "first" : "first of none");
    }
    void OnFinalMessage(HWND hWnd) override {
        Say(m_hWnd || !hWnd ? "final with handle" : "final");
        if (m_deleteLast) delete this;
    }
    LRESULT OnCreate(CREATESTRUCTW*, bool&) override { return Say("create"), 0; }
    LRESULT OnDestroy(bool&) override { return Say("destroy"), 0; }
    LRESULT OnCommand(WPARAM wParam, LPARAM, bool& handled) override {
        handled = m_done;
        return Say("command " + std::to_string(wParam)), 7;
    }
    LRESULT OnKeyDown(WPARAM code, UINT repeat, UINT flags, bool& handled) override {
        handled = m_done;
        std::ostringstream out;
        out << "key " << code << " x" << repeat << " flags " << flags;
        return Say(out.str()), 7;
    }
    LRESULT OnMouseMove(WPARAM, POINT point, bool&) override {
        return Say("move " + std::to_string(point.x) + "," + std::to_string(point.y)), 0;
    }
    LRESULT OnMessage(UINT msg, WPARAM, LPARAM, bool& handled) override {
        handled = m_done;
        if (msg == kTold) Say("told");
        if (msg == kTold + 1) *reinterpret_cast<volatile int*>(8) = 1;
        if (msg == kTold + 2) DestroyWindow();
        if (msg == kTold + 3) Unsubclass();
        return 9;
    }
    LRESULT OnIMEHandler(UINT, WPARAM, LPARAM, bool&) override { return Say("input method"), 0; }
    LRESULT OnPaint(bool&) override {
        if (m_crashesPainting) *reinterpret_cast<volatile int*>(8) = 1;
        return 0;
    }
    LRESULT OnOrientationChange(int cx, int cy, bool&) override {
        return Say("turned " + std::to_string(cx) + "x" + std::to_string(cy)), 0;
    }
};

class CeWindows : public testing::Test {
protected:
    void TearDown() override {
        m_heard.clear();
        PlatResetForTests();
    }
    bool Open(Listener& window, LPCWSTR windowClass = nullptr) {
        window.m_heard = &m_heard;
        return window.Create(windowClass, nullptr, RECT{10, 20, 60, 50}, u"title", WS_POPUP);
    }
    std::string Heard() {
        std::string all;
        for (const std::string& line : m_heard) all += (all.empty() ? "" : ", ") + line;
        m_heard.clear();
        return all;
    }

    std::vector<std::string> m_heard;
};

TEST_F(CeWindows, AreJoinedToTheirHandleAndLeft) {
    Listener window;
    ASSERT_TRUE(Open(window));
    EXPECT_EQ(Heard().substr(0, 13), "first, create");
    RECT rect{};
    EXPECT_TRUE(window.GetWindowRect(&rect));
    EXPECT_EQ(rect.left, 10);
    EXPECT_EQ(rect.right, 60);
    WCHAR name[32];
    window.GetClassNameW(name, 32);
    EXPECT_EQ(std::u16string(name), u"CeWnd:GENERIC");
    EXPECT_TRUE(CeWnd::IsCeWndProc(u"CeWnd:GENERIC"));
    Listener second; // the class is made once and serves again
    EXPECT_TRUE(Open(second));
    second.DestroyWindow();
    Heard();
    window.DestroyWindow();
    EXPECT_EQ(Heard(), "destroy, final");
    EXPECT_EQ(window.GetHWnd(), nullptr);
    EXPECT_TRUE(Open(window)); // the object outlives its window
    window.DestroyWindow();

    auto* own = new Listener;
    ASSERT_TRUE(Open(*own));
    own->m_deleteLast = true;
    Heard();
    own->SendMessageW(kTold + 2); // ends itself in a handler
    EXPECT_EQ(Heard(), "destroy, final");
}

LRESULT OldProcedure(HWND window, UINT msg, WPARAM wParam, LPARAM lParam) {
    if (msg == kTold) return 100 + static_cast<LRESULT>(wParam);
    if (msg == WM_KEYDOWN) return 200;
    if (msg == kTold + 3) return 300;
    return DefWindowProcW(window, msg, wParam, lParam);
}

class OldClass {
public:
    OldClass() {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = &OldProcedure;
        windowClass.lpszClassName = u"Old";
        RegisterClassW(&windowClass);
    }
    ~OldClass() { UnregisterClassW(u"Old", nullptr); }
};

TEST_F(CeWindows, StandOnOtherClasses) {
    OldClass old;
    Listener window;
    ASSERT_TRUE(Open(window, u"Old"));
    WCHAR name[32];
    window.GetClassNameW(name, 32);
    EXPECT_EQ(std::u16string(name), u"CeWnd:Old");
    EXPECT_EQ(window.SendMessageW(kTold, 5), 105); // not handled: the class's own procedure answers
    EXPECT_EQ(window.SendMessageW(WM_KEYDOWN, 65, 3), 200);
    window.m_done = true;
    EXPECT_EQ(window.SendMessageW(kTold, 5), 9);
    EXPECT_EQ(window.SendMessageW(WM_KEYDOWN, 65, 3), 0); // the results of keys do not count
    EXPECT_EQ(window.SendMessageW(WM_COMMAND, 5), 7);
    window.DestroyWindow();
    Listener none;
    EXPECT_FALSE(Open(none, u"NoSuchClass"));
}

TEST_F(CeWindows, BelongToTheClassThatTheyWereMadeOfLast) {
    OldClass old;
    Listener window;
    ASSERT_TRUE(Open(window, u"Old"));
    window.DestroyWindow();
    ASSERT_TRUE(Open(window));
    EXPECT_EQ(window.SendMessageW(WM_KEYDOWN, 65, 3), 0); // no more of the former one
    window.DestroyWindow();
    WNDPROC procedure = nullptr;
    bool registered = true;
    for (const bool first : {true, false}) { // of a class of ours it is made once
        EXPECT_TRUE(CeWnd::RegisterWndSuperclass(u"CeWnd:GENERIC", &procedure, &registered));
        EXPECT_EQ(registered, first);
    }
    UnregisterClassW(u"CeWnd:CeWnd:GENERIC", nullptr);
}

TEST_F(CeWindows, TakeOverWindowsOfOthers) {
    OldClass old;
    const HWND plain =
        CreateWindowExW(0, u"Old", u"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    Listener window, second;
    window.m_heard = &m_heard;
    EXPECT_FALSE(window.Subclass(HWND{}));
    EXPECT_TRUE(window.Subclass(plain));
    EXPECT_FALSE(window.Subclass(plain)); // it has one
    EXPECT_FALSE(second.Subclass(plain)); // and that one an object
    EXPECT_EQ(SendMessageW(plain, kTold, 1, 0), 101);
    EXPECT_EQ(Heard(), "told");
    EXPECT_EQ(window.Unsubclass(), plain);
    EXPECT_EQ(SendMessageW(plain, kTold, 1, 0), 101);
    EXPECT_EQ(Heard(), "");
    {
        Listener third; // gives its window back when it goes
        EXPECT_TRUE(third.Subclass(plain));
        EXPECT_EQ(SendMessageW(plain, kTold + 3, 0, 0), 300); // or in a message, which the class gets then
        EXPECT_TRUE(third.Subclass(plain));
    }
    EXPECT_EQ(SendMessageW(plain, kTold, 1, 0), 101);
    EXPECT_TRUE(second.Subclass(plain));
    second.m_heard = &m_heard;
    ::DestroyWindow(plain);
    EXPECT_EQ(Heard(), "destroy, final");
}

// --- Windows that go in the middle --------------------------------------------------------------------------------

// Ends its window, or its parent's, at the first message of a number; the object goes with its window.
class Mortal : public CeWnd {
public:
    static inline int s_alive = 0;

    explicit Mortal(UINT fatal, bool wholeFamily = false) : m_fatal(fatal), m_wholeFamily(wholeFamily) {
        ++s_alive;
    }
    ~Mortal() override { --s_alive; }
    LRESULT ProcessMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override {
        if (msg != m_fatal) return CeWnd::ProcessMessage(msg, wParam, lParam, handled);
        return ::DestroyWindow(m_wholeFamily ? GetParent() : m_hMsgWnd);
    }
    void OnFinalMessage(HWND) override { delete this; }

private:
    const UINT m_fatal;
    const bool m_wholeFamily;
};

void Pump() {
    MSG message;
    for (int i = 0; i < 100 && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE); ++i)
        DispatchMessageW(&message);
}

// All that happens to a window; from any point on it may be gone.
void LiveOneLife(Mortal* parent, Mortal* child) {
    const SYSTEMTIME noon{2026, 11, 6, 21, 12, 0, 0, 0};
    PlatSetClock(&noon);
    using enum PlatPointerAction;
    const DWORD style = WS_VISIBLE | WS_VSCROLL | WS_BORDER;
    const bool made = parent->Create(nullptr, nullptr, RECT{0, 0, 90, 90}, u"", WS_POPUP | style);
    const HWND top = made ? parent->GetHWnd() : nullptr;
    const bool under = child->Create(nullptr, top, RECT{0, 0, 50, 50}, u"", WS_CHILD | style, 0, 7);
    const HWND window = under ? child->GetHWnd() : nullptr;
    if (!top) delete child; // without a parent it has never had a window
    SetTimer(window, 1, 10, nullptr);
    SetFocus(window);
    SetFocus(top);
    SetFocus(window);
    Pump();
    InvalidateRect(window, nullptr, TRUE);
    UpdateWindow(window);
    for (const auto& [action, x, y] :
         {std::tuple(Move, 9, 9), {Down, 9, 9}, {Up, 9, 9}, {Down, 45, 3}, {Up, 45, 3}})
        PlatPointer(action, x, y), Pump();
    PlatKey(VK_RETURN, true);
    PlatKey(VK_RETURN, false);
    PlatText(u"x");
    PlatAdvanceClock(500);
    Pump();
    SetCapture(window);
    PlatLoseInput();
    Pump();
    EnableWindow(window, FALSE);
    EnableWindow(window, TRUE);
    const SCROLLINFO range{sizeof range, SIF_RANGE | SIF_PAGE, 0, 5, 99, 0, 0};
    SetScrollInfo(window, SB_VERT, &range, TRUE);
    SetWindowPos(window, nullptr, 1, 1, 30, 30, SWP_FRAMECHANGED);
    SetWindowTextW(window, u"text");
    NMHDR header{window, 7, 1};
    SendMessageW(top, WM_NOTIFY, 7, reinterpret_cast<LPARAM>(&header));
    SendMessageW(window, WM_COMMAND, 7, 0);
    SendMessageW(HWND_BROADCAST, WM_SETTINGCHANGE, 0, 0);
    RedrawWindow(top, nullptr, nullptr,
                 RDW_INVALIDATE | RDW_ERASE | RDW_ERASENOW | RDW_UPDATENOW | RDW_ALLCHILDREN);
    ShowWindow(window, SW_HIDE);
    ShowWindow(top, SW_HIDE);
    SendMessageW(window, WM_CLOSE, 0, 0);
    SendMessageW(top, WM_CLOSE, 0, 0);
}

TEST_F(CeWindows, MayGoInAnyOfTheirMessages) {
    const UINT messages[] = {WM_CREATE,         WM_SIZE,        WM_MOVE,      WM_SHOWWINDOW,    WM_ACTIVATE,
                             WM_SETFOCUS,       WM_KILLFOCUS,   WM_PAINT,     WM_TIMER,         WM_ERASEBKGND,
                             WM_MOUSEMOVE,      WM_LBUTTONDOWN, WM_LBUTTONUP, WM_VSCROLL,       WM_KEYDOWN,
                             WM_CAPTURECHANGED, WM_CANCELMODE,  WM_KEYUP,     WM_CHAR,          WM_ENABLE,
                             WM_SETTEXT,        WM_NOTIFY,      WM_COMMAND,   WM_SETTINGCHANGE, WM_CLOSE,
                             WM_DESTROY};
    for (const char* who : {"the child", "both by the child", "the parent"})
        for (const UINT fatal : messages) {
            SCOPED_TRACE(testing::Message() << who << " at " << std::hex << fatal);
            const bool parent = who == std::string("the parent"),
                       both = who == std::string("both by the child");
            LiveOneLife(new Mortal(parent ? fatal : 0), new Mortal(parent ? 0 : fatal, both));
            EXPECT_EQ(Mortal::s_alive, 0);
            EXPECT_EQ(FindWindowW(u"CeWnd:GENERIC", nullptr), nullptr);
            Pump();
        }
}

TEST_F(CeWindows, HandlersHearTheirMessages) {
    Listener window;
    ASSERT_TRUE(Open(window));
    Heard();
    struct Case {
        UINT msg;
        WPARAM wParam;
        LPARAM lParam;
        const char* heard;
    };
    const Case cases[] = {
        {WM_KEYDOWN, 40, 0x40010002, "key 40 x2 flags 16385"},
        {WM_SYSKEYDOWN, 40, 0x20000000, ""}, // the bits that count are 0x1D
        {WM_SYSKEYDOWN, 40, 0x20000001, "key 40 x1 flags 8192"},
        {WM_SYSKEYDOWN, 40, 2, ""},
        {WM_MOUSEMOVE, 0, 0xFFFE0005, "move 5,-2"},
        {0x010D, 0, 0, "input method"},
        {0x0291, 0, 0, "input method"},
        {kTold, 0, 0, "told"},
    };
    for (const Case& c : cases) {
        window.SendMessageW(c.msg, c.wParam, c.lParam);
        EXPECT_EQ(Heard(), c.heard) << std::hex << c.msg << " " << c.lParam;
    }
    window.SetWindowPos(nullptr, 0, 0, 70, 80, SWP_NOMOVE);
    EXPECT_EQ(Heard(), "");
    PlatSetOrientation(1);
    window.SetWindowPos(nullptr, 0, 0, 90, 80, SWP_NOMOVE);
    EXPECT_EQ(Heard(), "turned 90x80");
    window.DestroyWindow();
}

TEST_F(CeWindows, ACrashEndsTheApplicationInOrder) {
    Listener window;
    ASSERT_TRUE(Open(window));
    EXPECT_EQ(window.SendMessageW(kTold + 1), 0);
    const auto boxes = PlatTakeMessageBoxes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].caption, u"Software Error");
    EXPECT_EQ(boxes[0].flags, 0x10u);
    EXPECT_EQ(boxes[0].text.substr(0, 25), u"CeWnd:: CeWnd:GENERIC at ");
    EXPECT_TRUE(boxes[0].text.ends_with(u" had an internal crash. Now closing program."));
    MSG message;
    EXPECT_FALSE(GetMessageW(&message, nullptr, 0, 0)); // WM_QUIT

    // One that crashes while the box is shown is told no second time; a painting one is not asked to paint for ever.
    struct Box final : PlatPromptProvider {
        explicit Box(HWND w) : window(w) {}
        int ShowMessageBox(HWND, LPCWSTR, LPCWSTR, UINT) override {
            SendMessageW(window, kTold + 1, 0, 0);
            return ++shown, IDOK;
        }
        UINT PickFromMenu(HWND, HMENU, int, int) override { return 0; }
        BOOL Beep(UINT) override { return TRUE; }
        const HWND window;
        int shown = 0;
    } box(window);
    PlatSetPromptProvider(&box);
    window.m_crashesPainting = true;
    window.ShowWindow(SW_SHOW);
    for (int i = 0; i < 20 && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE); ++i)
        DispatchMessageW(&message);
    EXPECT_EQ(box.shown, 1);
    EXPECT_FALSE(window.GetUpdateRect(nullptr));
    window.SendMessageW(kTold + 1);
    EXPECT_EQ(box.shown, 2);
    PlatSetPromptProvider(nullptr);
    window.DestroyWindow();
}

TEST_F(CeWindows, StylesAndCentering) {
    Listener window, child;
    ASSERT_TRUE(Open(window));
    EXPECT_FALSE(window.ModifyStyle(0, WS_POPUP));
    EXPECT_TRUE(window.ModifyStyle(0, WS_DISABLED));
    EXPECT_FALSE(window.IsWindowEnabled());
    window.ModifyStyle(WS_DISABLED, 0);
    window.ShowScrollBar(1);
    EXPECT_NE(window.GetStyle() & WS_VSCROLL, 0u);
    window.ShowScrollBar(1, FALSE);
    window.ShowScrollBar(0);
    EXPECT_EQ(window.GetStyle() & (WS_VSCROLL | WS_HSCROLL), WS_HSCROLL);
    window.ShowScrollBar(0, FALSE);

    ASSERT_TRUE(child.Create(nullptr, window, 0, 0, 10, 10, u"", WS_CHILD));
    EXPECT_TRUE(child.CenterWindow());
    POINT corner{0, 0};
    child.ClientToScreen(&corner);
    window.ScreenToClient(&corner);
    EXPECT_EQ(corner.x, 20); // (50 - 10) / 2
    EXPECT_EQ(corner.y, 10); // (30 - 10) / 2
    child.MoveWindow(0, 0, 10, 10);
    Listener other;
    ASSERT_TRUE(other.Create(nullptr, window, 30, 16, 20, 20, u"", WS_CHILD));
    EXPECT_TRUE(child.CenterWindow(other)); // where that reaches out of the parent, kept inside
    corner = {0, 0};
    child.MapWindowPoints(window, &corner, 1);
    EXPECT_EQ(corner.x, 35);
    EXPECT_EQ(corner.y, 20);
    RECT work{}, rect{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
    EXPECT_TRUE(window.CenterWindow());
    window.GetWindowRect(&rect);
    EXPECT_EQ(rect.left, (work.left + work.right - 50) / 2);
    window.MoveWindow(0, 0, work.right + 100, 30); // too wide: the left edge wins
    EXPECT_TRUE(window.CenterWindow());
    window.GetWindowRect(&rect);
    EXPECT_EQ(rect.left, work.left);
    window.DestroyWindow();
    EXPECT_FALSE(window.ModifyStyle(0, WS_BORDER));
}

// --- Slides -------------------------------------------------------------------------------------------------------

// A picture of 52 by 1, each column of a colour of its own.
HBITMAP Columns(COLORREF first) {
    const HDC dc = CreateCompatibleDC(nullptr);
    const HBITMAP picture = CreateBitmap(52, 1, 1, 24, nullptr);
    const HGDIOBJ former = SelectObject(dc, picture);
    for (int x = 0; x < 52; ++x) SetPixel(dc, x, 0, first + static_cast<COLORREF>(x));
    SelectObject(dc, former);
    DeleteDC(dc);
    return picture;
}

// Looks at the screen whenever something is going to be painted, on the thread that paints.
struct Watcher final : PlatPresenter {
    std::vector<std::vector<COLORREF>> rows;

    void Look() {
        const HDC dc = GetDC(nullptr);
        std::vector<COLORREF>& row = rows.emplace_back();
        for (int x = 0; x < 52; ++x) row.push_back(GetPixel(dc, x + 5, 3));
        ReleaseDC(nullptr, dc);
    }
    void ScreenPainted() override {
        Look();
        PlatTakeDirty([](void*, const RECT&, const BYTE*, int) {}, nullptr);
    }
    void ShowInputPanel(BOOL) override {}
};

TEST_F(CeWindows, PicturesSlideInFiveSteps) {
    constexpr COLORREF kFrom = 1000, kTo = 2000;
    const HBITMAP from = Columns(kFrom), to = Columns(kTo);
    const SYSTEMTIME noon{2026, 11, 6, 21, 12, 0, 0, 0};
    PlatSetClock(&noon);
    PlatLetSleepMoveClock(true);
    for (const bool forward : {true, false}) {
        Watcher watcher;
        PlatTakeDirty([](void*, const RECT&, const BYTE*, int) {}, nullptr);
        PlatSetPresenter(&watcher);
        const DWORD begin = GetTickCount();
        CeBaseWnd::SlideBitmaps({5, 3, 57, 4}, from, to, forward);
        PlatSetPresenter(nullptr);
        EXPECT_EQ(GetTickCount() - begin, 250u);
        watcher.Look();
        // 10 pixels, three times (52 - 20) / 3, and what is left; two pictures are painted in each step.
        const unsigned steps[] = {10, 20, 30, 40, 52};
        ASSERT_GE(watcher.rows.size(), 11u);
        const auto first = watcher.rows.end() - 11; // what is asked of the screen before counts too
        for (std::size_t i = 0; i < 5; ++i)
            for (unsigned x = 0; x < 52; ++x) {
                const unsigned done = steps[i], rest = 52 - done;
                const COLORREF wanted = forward ? (x < rest ? kFrom + done + x : kTo + x - rest)
                                                : (x < done ? kTo + rest + x : kFrom + x - done);
                ASSERT_EQ(first[static_cast<std::ptrdiff_t>(2 * i + 2)][x], wanted)
                    << forward << " " << done << " " << x;
            }
    }
    DeleteObject(from);
    DeleteObject(to);
}

// --- Languages without bold text ----------------------------------------------------------------------------------

TEST(LanguageHelper, DISABLED_SaysTheWeightOfABoldFont) {
    PlatSetSystemLanguage(static_cast<LCID>(std::stoul(HelperProcess::Job())));
    HIDPI_InitScaling();
    LOGFONTW made{};
    GetObjectW(CreateFontPoint(u"Tahoma", 9, FW_BOLD, 0, 0, 0, 0), sizeof made, &made);
    HelperProcess::Say(made.lfWeight);
}

TEST(Languages, SomeHaveNoBoldText) {
    const std::pair<const char*, LONG> cases[] = {
        {"1033", 700}, {"1031", 700}, {"1041", 400}, {"1042", 400}, {"3076", 400}};
    for (const auto& [language, weight] : cases) {
        HelperProcess helper("LanguageHelper.DISABLED_SaysTheWeightOfABoldFont", language);
        LONG said = 0;
        EXPECT_TRUE(helper.Hear(said));
        EXPECT_EQ(said, weight) << language;
    }
}

} // namespace
