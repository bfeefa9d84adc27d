// Pointer, keys, focus, capture, gestures, the clipboard. Also run under the thread sanitizer.
#include "Platform/memory.h"
#include "tests/support/waiting.h"
#include "tests/support/windows.h"

#include <atomic>
#include <sstream>
#include <vector>

using namespace qntest;

namespace {

using enum PlatPointerAction;

// A and, in it, B and C beside each other; D above the right of the screen.
class Input : public WindowTest {
protected:
    Input() : WindowTest({40, 30, 96}) {
        const SYSTEMTIME noon{2026, 11, 6, 21, 12, 0, 0, 0};
        PlatSetClock(&noon);
        a = Make('A', {2, 2, 30, 30});
        b = Make('B', {0, 0, 10, 20}, a);
        c = Make('C', {10, 0, 20, 20}, a, 0, true);
        Pump();
        TakeLog();
    }
    HWND a, b, c;
};

// What the pointer does: "d14,6" presses there, m moves, u releases, c clicks, r clicks the right button.
void Hand(const char* script) {
    std::istringstream steps(script);
    for (std::string step; steps >> step;) {
        int x = 0, y = 0;
        ASSERT_EQ(std::sscanf(step.c_str() + 1, "%d,%d", &x, &y), 2) << step;
        const char kind = step[0];
        const bool right = kind == 'r', click = right || kind == 'c';
        if (kind == 'm') PlatPointer(Move, x, y);
        if (kind == 'd' || click) PlatPointer(right ? HoldDown : Down, x, y);
        if (kind == 'u' || click) PlatPointer(right ? HoldUp : Up, x, y);
    }
}

TEST_F(Input, ScriptsOfTheHand) {
    const struct {
        const char* name;
        std::function<void()> act;
        const char* log;
    } scripts[] = {
        {"to the deepest window, and none on bare ground", [] { Hand("c5,6 c13,6 c25,29 c39,0"); },
         "B down 3,4\nB up 3,4\nC down 1,4\nC up 1,4\nA down 23,27\nA up 23,27\n"},
        {"the newest move alone waits",
         [] { Hand("m3,3 m4,3 m5,3 m6,3 m7,3 m14,3 d14,4 m14,5 m14,6 u14,6"); },
         "B move 5,1\nC move 2,1\nC down 2,2\nC move 2,4\nC up 2,4\n"},
        {"C is told of double clicks, B is not; not of those too late, too far",
         [] {
             Hand("c14,6 c17,9 c17,9 c4,6 c4,6 c14,6");
             PlatAdvanceClock(501);
             Hand("c14,6");
             PlatAdvanceClock(100);
             Hand("c19,6");
         },
         "C down 2,4\nC up 2,4\nC double 5,7\nC up 5,7\nC down 5,7\nC up 5,7\n"
         "B down 2,4\nB up 2,4\nB down 2,4\nB up 2,4\n"
         "C down 2,4\nC up 2,4\nC down 2,4\nC up 2,4\nC down 7,4\nC up 7,4\n"},
        {"disabled windows let it through to their parent",
         [&] {
             EnableWindow(b, FALSE);
             Hand("m5,6");
             Pump();
             EnableWindow(b, TRUE);
             EnableWindow(a, FALSE);
             EXPECT_EQ(WindowFromPoint({5, 6}), nullptr);
             Hand("m14,6");
             Pump();
             EnableWindow(a, TRUE);
         },
         "A move 3,4\n"},
        {"captured, wherever it is",
         [&] {
             EXPECT_EQ(SetCapture(b), nullptr);
             Hand("m0,1 d14,6");
             Pump();
             EXPECT_EQ(SetCapture(c), b);
             EXPECT_EQ(GetCapture(), c);
             Hand("m0,1");
             Pump();
             ReleaseCapture();
             ReleaseCapture(); // nobody has it
             Hand("u14,6");
         },
         "B move -2,-1\nB down 12,4\nB lost to C\nC move -12,-1\nC lost to 0\nC up 2,4\n"},
        {"captured from before it is taken out",
         [&] {
             Hand("m14,6");
             SetCapture(b);
             Pump();
             ReleaseCapture();
         },
         "B move 12,4\nB lost to 0\n"},
        {"the input is lost",
         [&] {
             PlatKey(VK_SHIFT, true);
             SetCapture(b);
             PlatLoseInput();
             Pump();
             EXPECT_EQ(GetCapture(), nullptr);
             EXPECT_EQ(GetAsyncKeyState(VK_SHIFT), 0);
             EXPECT_EQ(GetKeyState(VK_SHIFT), 0);
         },
         "A key 16\nB cancel\nB lost to 0\n"},
        {"keys go to the focus",
         [&] {
             SetFocus(b);
             for (const bool down : {true, true, false}) PlatKey(VK_DOWN, down);
             PlatText(u"a\u00E9");
             PlatKey(VK_RETURN, true);
             Pump();
             EXPECT_EQ(SetFocus(c), b);
             PlatKey(VK_RETURN, false);
             Pump();
             SetFocus(nullptr);
             PlatKey('A', true); // to the active window
             Pump();
             SetFocus(a);
         },
         "A focus to B\nB focus from A\nB key 40\nB key 40 again\nB key-up 40\nB char 97\nB char 233\nB key "
         "13\n"
         "B char 13\nB focus to C\nC focus from B\nC key-up 13\nC focus to 0\nA key 65\nA focus from 0\n"},
        {"the wheel turns lines of the nearest bar",
         [&] {
             const LONG_PTR style = GetWindowLongW(a, GWL_STYLE);
             SetWindowLongW(a, GWL_STYLE, style | static_cast<LONG_PTR>(WS_VSCROLL));
             PlatWheel(5, 6, 1);
             PlatWheel(5, 6, -1);
             Pump();
             SetWindowLongW(a, GWL_STYLE, style);
             PlatWheel(5, 6, -2);
         },
         "A v0\nA v0\nA v0\nA v1\nA v1\nA v1\nB wheel -240\nA wheel -240\n"},
        {"the right button selects, then holds", [] { Hand("r14,6"); },
         "C down 2,4\nC up 2,4\nC down 2,4\nC up 2,4\n"},
    };
    for (const auto& script : scripts) {
        SCOPED_TRACE(script.name);
        PlatAdvanceClock(10000); // no double click across two scripts
        script.act();
        Pump();
        EXPECT_EQ(TakeLog(), script.log);
    }
}

TEST_F(Input, KeyStatesFollowWhatWasTakenOut) {
    PlatKey(VK_SHIFT, true);
    PlatKey(VK_LEFT, true);
    PlatKey(VK_SHIFT, false);
    EXPECT_EQ(GetAsyncKeyState(VK_SHIFT), 0);
    EXPECT_LT(GetAsyncKeyState(VK_LEFT), 0);
    std::vector<std::pair<LPARAM, bool>> seen; // flags, and whether Shift was down
    s_handler = [&](HWND, UINT message, WPARAM, LPARAM lParam) {
        if (message >= WM_KEYDOWN && message <= WM_SYSKEYUP)
            seen.emplace_back(lParam & 0xFFFFFFFF, GetKeyState(VK_SHIFT) < 0);
        return false;
    };
    Pump();
    PlatKey(VK_MENU, true);
    PlatKey(VK_LEFT, true);
    PlatKey(VK_MENU, false);
    Pump();
    EXPECT_EQ(seen, (std::vector<std::pair<LPARAM, bool>>{{0x00000001, true},
                                                          {0x00000001, true},
                                                          {0xC0000001, false},
                                                          {0x20000001, false},
                                                          {0x60000001, false}, // held since before
                                                          {0xC0000001, false}}));
    EXPECT_EQ(TakeLog(), "A key 16\nA key 37\nA key-up 16\nA key 18\nA key 37 again\nA key-up 18\n");
    EXPECT_EQ(GetKeyState(-1), 0);
    EXPECT_EQ(GetKeyState(256), 0);
}

TEST_F(Input, PlacesOfThePointer) {
    MSG message;
    PlatPointer(Move, 14, 6);
    PostMessageW(a, WM_USER, 0, 0);
    PlatPointer(Down, 15, 7);
    POINT now;
    GetCursorPos(&now);
    EXPECT_EQ(now.x, 15);
    for (const LPARAM at : {MAKELPARAM(14, 6), MAKELPARAM(14, 6), MAKELPARAM(15, 7)}) { // the post goes first
        ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
        EXPECT_EQ(static_cast<LPARAM>(GetMessagePos()), at);
    }
    EXPECT_EQ(message.wParam, MK_LBUTTON);
    EXPECT_EQ(message.pt.y, 7);
}

TEST_F(Input, APressActivatesAndAnEndGoesBack) {
    const HWND d = Make('D', {20, 0, 40, 10}); // shown: active, with the focus
    EXPECT_EQ(GetForegroundWindow(), d);
    TakeLog();
    Hand("c5,6");
    Pump();
    EXPECT_EQ(TakeLog(), "D active 0\nA active 1\nD focus to A\nA focus from D\nB down 3,4\nB up 3,4\n");
    EXPECT_EQ(WindowFromPoint({25, 5}), a); // and comes to the top
    SetActiveWindow(d);
    SetFocus(b); // activates the window above it
    EXPECT_EQ(GetActiveWindow(), a);
    SetActiveWindow(d);
    TakeLog();
    DestroyWindow(d);
    EXPECT_EQ(TakeLog(), "D gone\nA active 1\nA focus from 0\n");
    ShowWindow(a, SW_HIDE);
    ShowWindow(a, SW_SHOWNA);
    const HWND quiet = CreateWindowExW(WS_EX_NOACTIVATE, ClassOf(false), u"", WS_POPUP | WS_VISIBLE, 0, 0, 1,
                                       1, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(GetActiveWindow(), a);
    DestroyWindow(quiet);
}

TEST_F(Input, WhatGoesWithAWindow) {
    SetFocus(b);
    SetCapture(b);
    PlatPointer(Down, 5, 6);
    TakeLog();
    DestroyWindow(b);
    EXPECT_EQ(GetFocus(), nullptr);
    EXPECT_EQ(GetCapture(), nullptr);
    Pump();
    EXPECT_EQ(TakeLog(), "B gone\nA down 3,4\n"); // it meets what stands there now
    EXPECT_EQ(SetFocus(b), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
    EXPECT_EQ(SetCapture(b), nullptr);
}

// --- Gestures -----------------------------------------------------------------------------------------------------

TEST_F(Input, APressIsHeldOrNot) {
    std::vector<DWORD> results;
    WPARAM keys = 0;
    s_handler = [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message != WM_LBUTTONDOWN) return false;
        const auto pair = static_cast<ULONG_PTR>(lParam);
        SHRGINFO info{sizeof info, window, {LOWORD(pair), HIWORD(pair)}, SHRG_RETURNCMD};
        results.push_back(SHRecognizeGesture(&info));
        keys = wParam;
        return true;
    };
    const struct {
        const char* script;
        std::vector<DWORD> results;
    } cases[] = {{"d5,6 u5,6", {0}},
                 {"d5,6 m10,6", {0}},
                 {"d5,6 m9,2", {GN_CONTEXTMENU}}, // moved a little, until the real clock says so
                 {"r5,6", {0, GN_CONTEXTMENU}}};
    for (const auto& hold : cases) {
        TakeLog();
        Hand(hold.script);
        Pump();
        EXPECT_EQ(std::exchange(results, {}), hold.results) << hold.script;
        EXPECT_FALSE(TakeLog().empty()) << "the rest has stayed in the queue";
        Hand("u5,6");
        Pump();
    }
    EXPECT_EQ(keys, MK_LBUTTON | MK_RBUTTON);
    SHRGINFO none{};
    EXPECT_EQ(SHRecognizeGesture(&none), 0u);
}

TEST_F(Input, FlicksForThoseWhoAskForThem) {
    EXPECT_FALSE(GesturesSupported());
    EXPECT_FALSE(PlatGesture(5, 6, ARG_SCROLL_LEFT));
    PlatEnableGestures(true);
    EXPECT_FALSE(PlatGesture(5, 6, ARG_SCROLL_LEFT));
    EXPECT_TRUE(EnableGestures(b, TRUE));
    GESTUREINFO seen{};
    HGESTUREINFO handle = nullptr;
    s_handler = [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message != WM_GESTURE) return false;
        EXPECT_EQ(window, b);
        EXPECT_EQ(wParam, GID_SCROLL);
        seen.cbSize = sizeof seen;
        EXPECT_TRUE(GetGestureInfo(handle = reinterpret_cast<HGESTUREINFO>(lParam), &seen));
        return true;
    };
    EXPECT_TRUE(PlatGesture(5, 6, ARG_SCROLL_RIGHT));
    Pump();
    EXPECT_EQ(seen.dwID, GID_SCROLL);
    EXPECT_EQ(seen.ullArguments, ARG_SCROLL_RIGHT);
    EXPECT_EQ(seen.ptsLocation.x, 5);
    for (int i = 0; i < 64; ++i) PlatGesture(5, 6, ARG_SCROLL_LEFT);
    EXPECT_FALSE(GetGestureInfo(handle, &seen)); // old
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    Pump();
    EXPECT_EQ(seen.ullArguments, ARG_SCROLL_LEFT);
    PlatEnableGestures(false);
}

// --- Clipboard ----------------------------------------------------------------------------------------------------

HANDLE Block(std::u16string_view text) {
    auto* block = static_cast<WCHAR*>(LocalAlloc(LPTR, (text.size() + 1) * sizeof(WCHAR)));
    std::copy(text.begin(), text.end(), block);
    return block;
}
std::u16string Text(HANDLE block) { return block ? static_cast<const WCHAR*>(block) : u"(none)"; }

struct OtherClipboard final : PlatClipboardProvider {
    void PutText(const std::u16string& text) override { kept = text; }
    std::u16string GetText() override { return kept; }
    std::u16string kept = u"of the person";
};

TEST_F(Input, TheClipboardKeepsAText) {
    EXPECT_EQ(GetClipboardData(CF_UNICODETEXT), nullptr);
    EXPECT_EQ(GetLastError(), 1418u);
    ASSERT_TRUE(OpenClipboard(a));
    TestThread other([] { return OpenClipboard(nullptr) ? 0u : GetLastError(); });
    EXPECT_EQ(other.Join(), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(EmptyClipboard());
    EXPECT_FALSE(IsClipboardFormatAvailable(CF_UNICODETEXT));
    EXPECT_EQ(GetClipboardData(CF_UNICODETEXT), nullptr);
    const HANDLE block = Block(u"Quillonary");
    EXPECT_EQ(SetClipboardData(99, block), nullptr);
    EXPECT_EQ(SetClipboardData(CF_UNICODETEXT, nullptr), nullptr);
    EXPECT_EQ(SetClipboardData(CF_UNICODETEXT, block), block);
    const HANDLE given = GetClipboardData(CF_UNICODETEXT);
    EXPECT_EQ(Text(given), u"Quillonary");
    EXPECT_EQ(SetClipboardData(CF_UNICODETEXT, given), given); // what it gave out itself
    EXPECT_TRUE(CloseClipboard());
    EXPECT_FALSE(CloseClipboard());
    EXPECT_TRUE(IsClipboardFormatAvailable(CF_UNICODETEXT));
    OtherClipboard provider;
    PlatSetClipboardProvider(&provider);
    TestThread opener([] { return static_cast<DWORD>(OpenClipboard(nullptr)); }); // and ends with it open
    EXPECT_EQ(opener.Join(), 1u);
    ASSERT_TRUE(Eventually([] { return OpenClipboard(nullptr) != FALSE; }));
    EXPECT_EQ(Text(GetClipboardData(CF_UNICODETEXT)), u"of the person");
    SetClipboardData(CF_UNICODETEXT, Block(u"ours"));
    EXPECT_EQ(provider.kept, u"ours");
    CloseClipboard();
    EXPECT_EQ(PlatSetClipboardProvider(nullptr), &provider);
}

TEST_F(Input, SettingsOfTheDevice) {
    DEVMODEW mode{};
    mode.dmSize = sizeof mode;
    mode.dmFields = DM_DISPLAYORIENTATION;
    mode.dmDisplayOrientation = 9;
    EXPECT_EQ(ChangeDisplaySettingsEx(nullptr, &mode, nullptr, CDS_TEST, nullptr), DISP_CHANGE_SUCCESSFUL);
    EXPECT_EQ(mode.dmDisplayOrientation, 0u);
    PlatSetOrientation(1);
    ChangeDisplaySettingsEx(nullptr, &mode, nullptr, CDS_TEST, nullptr);
    EXPECT_EQ(mode.dmDisplayOrientation, 1u);
    EXPECT_EQ(ChangeDisplaySettingsEx(nullptr, &mode, nullptr, 0, nullptr), DISP_CHANGE_FAILED);
    mode.dmSize = 8;
    EXPECT_EQ(ChangeDisplaySettingsEx(nullptr, &mode, nullptr, CDS_TEST, nullptr), DISP_CHANGE_BADPARAM);
    WCHAR name[4] = u"???";
    EXPECT_TRUE(SystemParametersInfoW(SPI_GETOEMINFO, 3, name, 0));
    EXPECT_EQ(std::u16string(name), u"QN");
    setenv("QN_SCREEN", "320x200@192", 1);
    PlatResetForTests();
    EXPECT_EQ(GetSystemMetrics(SM_CXSCREEN), 320);
    EXPECT_EQ(GetSystemMetrics(SM_CXSMICON), 32);
    for (const char* bad : {"320", "0x5", "axb", "99999x99999", "320x200@0"}) {
        setenv("QN_SCREEN", bad, 1);
        PlatResetForTests();
        EXPECT_EQ(GetSystemMetrics(SM_CYSCREEN), 640) << bad;
    }
    unsetenv("QN_SCREEN");
    PlatResetForTests();
}

// --- Threads ------------------------------------------------------------------------------------------------------

class ThreadsInput : public WindowTest {
protected:
    ThreadsInput() : WindowTest({40, 30, 96}) {}
};

// The pointer meets the windows of two threads; each hears of its own alone, in order.
TEST_F(ThreadsInput, InputFindsTheThreadOfItsWindow) {
    std::atomic<int> ready{0};
    std::atomic<bool> rightOnly[2]{true, true};
    const auto listen = [&](std::size_t which, int left, char letter) {
        const HWND window = Make(letter, {left, 0, left + 20, 30});
        ++ready;
        MSG message;
        LONG last = -1;
        while (GetMessageW(&message, nullptr, 0, 0) > 0) {
            if (message.message == WM_MOUSEMOVE) {
                const bool right = message.pt.x >= left && message.pt.x < left + 20 && message.pt.y > last;
                if (!right) rightOnly[which] = false;
                last = message.pt.y;
            }
            DispatchMessageW(&message);
        }
        DestroyWindow(window);
        return 0u;
    };
    TestThread a([&] { return listen(0, 0, 'A'); }), b([&] { return listen(1, 20, 'B'); });
    ASSERT_TRUE(Eventually([&] { return ready == 2; }));
    for (int i = 1; i < 29; ++i) {
        PlatPointer(Move, i, i);
        PlatPointer(Move, 39 - i, i);
        PlatKey(VK_DOWN, i % 2 != 0);
        if (i % 8 == 0) std::this_thread::sleep_for(1ms);
    }
    for (const TestThread* thread : {&a, &b}) PostThreadMessageW(thread->Id(), WM_QUIT, 0, 0);
    for (const TestThread* thread : {&a, &b}) EXPECT_EQ(thread->Join(), 0u);
    EXPECT_TRUE(rightOnly[0]);
    EXPECT_TRUE(rightOnly[1]);
}

} // namespace
