// Windows as objects: how they are joined to their handle, what their handlers hear, and what happens when one crashes.
#include "NorvoUI/CeWnd.h"

#include "Platform/testing.h"

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
        return 9;
    }
    LRESULT OnIMEHandler(UINT, WPARAM, LPARAM, bool&) override { return Say("input method"), 0; }
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

TEST_F(CeWindows, TakeOverWindowsOfOthers) {
    OldClass old;
    const HWND plain =
        CreateWindowExW(0, u"Old", u"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    Listener window, second;
    window.m_heard = &m_heard;
    EXPECT_FALSE(window.Subclass(HWND{}));
    EXPECT_TRUE(window.Subclass(plain));
    EXPECT_FALSE(window.Subclass(plain)); // it has one
    EXPECT_EQ(SendMessageW(plain, kTold, 1, 0), 101);
    EXPECT_EQ(Heard(), "told");
    EXPECT_EQ(window.Unsubclass(), plain);
    EXPECT_EQ(SendMessageW(plain, kTold, 1, 0), 101);
    EXPECT_EQ(Heard(), "");
    EXPECT_TRUE(second.Subclass(plain));
    second.m_heard = &m_heard;
    ::DestroyWindow(plain);
    EXPECT_EQ(Heard(), "destroy, final");
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
}

} // namespace
