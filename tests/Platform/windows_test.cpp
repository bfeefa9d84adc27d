// Windows, messages between threads, timers, prompts, drawing objects. Run under the thread sanitizer too.
#include "Platform/com.h"
#include "Platform/databases.h"
#include "Platform/testing.h"
#include "Platform/threads.h"
#include "Platform/windows.h"
#include "tests/support/device.h"
#include "tests/support/waiting.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <vector>

using namespace qntest;

namespace {

struct Seen {
    HWND window;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD thread;
};
thread_local std::vector<Seen> t_seen; // of the windows of this thread

using Handler = std::function<LRESULT(HWND, UINT, WPARAM, LPARAM)>;

// Records every message; a handler in the user data answers.
LRESULT Recorder(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    t_seen.push_back({window, message, wParam, lParam, GetCurrentThreadId()});
    if (auto* handler = reinterpret_cast<Handler*>(GetWindowLongW(window, GWL_USERDATA)))
        return (*handler)(window, message, wParam, lParam);
    return DefWindowProcW(window, message, wParam, lParam);
}

constexpr WCHAR kClass[] = u"QN test window";

class ThreadsWindows : public DeviceTest {
protected:
    ThreadsWindows() {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = &Recorder;
        windowClass.lpszClassName = kClass;
        windowClass.cbWndExtra = 8;
        m_atom = RegisterClassW(&windowClass);
        t_seen.clear();
    }
    ~ThreadsWindows() override {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {}
        EXPECT_TRUE(UnregisterClassW(kClass, nullptr)) << "a window is left";
    }
    static HWND Make(HWND parent = HWND_MESSAGE, DWORD style = 0, int id = 0, RECT place = {0, 0, 0, 0}) {
        return CreateWindowExW(0, kClass, u"", style, place.left, place.top, place.right - place.left,
                               place.bottom - place.top, parent,
                               reinterpret_cast<HMENU>(static_cast<LONG_PTR>(id)), nullptr, nullptr);
    }
    static void Answer(HWND window, Handler& handler) {
        SetWindowLongW(window, GWL_USERDATA, reinterpret_cast<LONG_PTR>(&handler));
    }
    ATOM m_atom = 0;
};

void PumpUntilQuit() {
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
}

// --- Classes and windows ------------------------------------------------------------------------------------------

TEST_F(ThreadsWindows, ClassesByNameAndNumber) {
    WNDCLASSW info{};
    EXPECT_TRUE(GetClassInfoW(nullptr, u"qn TEST window", &info));
    EXPECT_EQ(info.lpfnWndProc, &Recorder);
    EXPECT_EQ(RegisterClassW(&info), 0);
    EXPECT_EQ(GetLastError(), 1410u);
    const HWND window = CreateWindowExW(0, reinterpret_cast<LPCWSTR>(static_cast<ULONG_PTR>(m_atom)), nullptr,
                                        0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_NE(window, nullptr);
    WCHAR name[8];
    EXPECT_EQ(GetClassNameW(window, name, 8), 7);
    EXPECT_EQ(std::u16string(name), u"QN test");
    EXPECT_EQ(ErrorOf(UnregisterClassW(kClass, nullptr)), 1412u);
    EXPECT_TRUE(DestroyWindow(window));
    info.lpszClassName = u"QN test again";
    for (int i = 0; i < 0x5000; ++i) // more than there are numbers
        ASSERT_TRUE(RegisterClassW(&info) && UnregisterClassW(info.lpszClassName, nullptr)) << i;
    EXPECT_EQ(
        ErrorOf(CreateWindowExW(0, u"no such", nullptr, 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr)),
        1407u);
}

TEST_F(ThreadsWindows, CreateComesFirstAndDestroyLast) {
    const HWND window = Make();
    ASSERT_EQ(t_seen.size(), 1u);
    EXPECT_EQ(t_seen[0].message, WM_CREATE);
    EXPECT_EQ(t_seen[0].window, window);
    TestThread other([&] { return ErrorOf(DestroyWindow(window)); }); // only the owner may
    EXPECT_EQ(other.Join(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(SendMessageW(window, WM_CLOSE, 0, 0), 0);
    EXPECT_EQ(t_seen.back().message, WM_DESTROY);
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(ErrorOf(PostMessageW(window, WM_USER, 0, 0)), ERROR_INVALID_WINDOW_HANDLE);
    EXPECT_EQ(ErrorOf(DestroyWindow(window)), ERROR_INVALID_WINDOW_HANDLE);
    EXPECT_GT(reinterpret_cast<ULONG_PTR>(window), 0xFFFFu); // smaller numbers stand for other things
    for (int i = 0; i < 1500; ++i) {                         // and it is nobody else's
        const HWND later = Make();
        ASSERT_NE(later, window);
        DestroyWindow(later);
    }
    EXPECT_FALSE(IsWindow(window));
}

LRESULT RefuseCreation(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_CREATE)
        return *static_cast<int*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams) = 1, -1;
    return DefWindowProcW(window, message, wParam, lParam);
}

TEST_F(ThreadsWindows, CreationCanBeRefused) {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &RefuseCreation;
    windowClass.lpszClassName = u"QN test refuser";
    ASSERT_NE(RegisterClassW(&windowClass), 0);
    int asked = 0;
    EXPECT_EQ(
        CreateWindowExW(0, u"QN test refuser", nullptr, 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, &asked),
        nullptr);
    EXPECT_EQ(asked, 1);
    EXPECT_TRUE(UnregisterClassW(u"QN test refuser", nullptr));
}

TEST_F(ThreadsWindows, LongsAndText) {
    const HWND window = Make();
    const LONG_PTR wide = static_cast<LONG_PTR>(0x123456789ABCDEF0);
    for (const int index : {GWL_USERDATA, 0, 4}) {
        if (index != GWL_USERDATA) SetWindowLongW(window, GWL_USERDATA, 0);
        EXPECT_EQ(SetWindowLongW(window, index, wide), 0) << index;
        EXPECT_EQ(GetWindowLongW(window, index), wide) << index;
        SetWindowLongW(window, index, 0);
    }
    EXPECT_EQ(SetWindowLongW(window, 8, 1), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(SetWindowLongW(window, GWL_WNDPROC, reinterpret_cast<LONG_PTR>(&DefWindowProcW)),
              reinterpret_cast<LONG_PTR>(&Recorder));
    EXPECT_TRUE(SetWindowTextW(window, u"Quillonary"));
    EXPECT_EQ(GetWindowTextLengthW(window), 10);
    WCHAR text[6];
    EXPECT_EQ(GetWindowTextW(window, text, 6), 5);
    EXPECT_EQ(std::u16string(text), u"Quill");
    DestroyWindow(window);
}

TEST_F(ThreadsWindows, ChildrenGoWithTheirParentAndOwnedWindowsWithTheirOwner) {
    const HWND top = Make(nullptr);
    const HWND child = Make(top, WS_CHILD, 7), grandchild = Make(child, WS_CHILD, 8);
    const HWND owned = Make(top, WS_POPUP), below = Make(grandchild, WS_POPUP);
    HWND late = top; // a child of a window that is going
    Handler make = [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_DESTROY) late = Make(top, WS_CHILD);
        return DefWindowProcW(window, message, wParam, lParam);
    };
    EXPECT_EQ(GetDlgItem(top, 7), child);
    EXPECT_EQ(GetDlgCtrlID(grandchild), 8);
    EXPECT_EQ(GetParent(owned), top);
    EXPECT_TRUE(IsChild(top, grandchild));
    EXPECT_FALSE(IsChild(top, owned));
    EXPECT_FALSE(IsChild(top, top));
    EXPECT_EQ(ErrorOf(SetParent(child, grandchild)), ERROR_INVALID_PARAMETER);
    Answer(child, make);
    t_seen.clear();
    EXPECT_TRUE(DestroyWindow(top));
    EXPECT_EQ(late, nullptr);
    std::vector<HWND> order;
    for (const Seen& seen : t_seen)
        if (seen.message == WM_DESTROY) order.push_back(seen.window);
    EXPECT_EQ(order, (std::vector<HWND>{owned, below, grandchild, child, top}));
    for (const HWND window : {top, child, grandchild, owned, below}) EXPECT_FALSE(IsWindow(window));
}

TEST_F(ThreadsWindows, PlacesOrderAndState) {
    const HWND top = Make(nullptr, WS_VISIBLE, 0, {10, 20, 110, 220});
    const HWND a = Make(top, WS_CHILD | WS_VISIBLE, 1, {5, 5, 25, 25}),
               b = Make(top, WS_CHILD, 2, {15, 15, 35, 35});
    RECT rect;
    EXPECT_TRUE(GetWindowRect(b, &rect));
    EXPECT_EQ(rect.left, 25);
    EXPECT_EQ(rect.bottom, 55);
    EXPECT_TRUE(GetClientRect(b, &rect));
    EXPECT_EQ(rect.right, 20);
    POINT points[] = {{0, 0}};
    EXPECT_EQ(MapWindowPoints(b, a, points, 1), MAKELPARAM(10, 10));
    EXPECT_EQ(points[0].x, 10);
    EXPECT_TRUE(ScreenToClient(b, points));
    EXPECT_EQ(points[0].y, 10 - 35);
    EXPECT_EQ(ErrorOf(ClientToScreen(nullptr, points)), ERROR_INVALID_WINDOW_HANDLE);
    const HWND hidden = Make(HWND_MESSAGE); // is not found
    SetWindowTextW(top, u"QN 9");
    for (const LPCWSTR name : {LPCWSTR{kClass}, LPCWSTR{}}) EXPECT_EQ(FindWindowW(name, u"QN 9"), top);
    EXPECT_EQ(FindWindowW(kClass, nullptr), top);
    EXPECT_EQ(FindWindowW(kClass, u"other"), nullptr);
    DestroyWindow(hidden);
    EXPECT_EQ(WindowFromPoint({30, 40}), a); // b lies above, but is hidden
    EXPECT_FALSE(ShowWindow(b, SW_SHOW));
    EXPECT_EQ(WindowFromPoint({30, 40}), b);
    EXPECT_TRUE(BringWindowToTop(a));
    EXPECT_EQ(WindowFromPoint({30, 40}), a);
    EXPECT_EQ(GetWindow(top, GW_CHILD), a);
    EXPECT_EQ(GetWindow(a, GW_HWNDNEXT), b);
    EXPECT_EQ(GetWindow(b, GW_HWNDNEXT), nullptr);
    t_seen.clear();
    EXPECT_TRUE(SetWindowPos(a, nullptr, 6, 5, 30, 30, SWP_NOZORDER));
    ASSERT_EQ(t_seen.size(), 2u);
    EXPECT_EQ(t_seen[0].message, WM_MOVE);
    EXPECT_EQ(t_seen[0].lParam, MAKELPARAM(6, 5));
    EXPECT_EQ(t_seen[1].message, WM_SIZE);
    EXPECT_EQ(t_seen[1].lParam, MAKELPARAM(30, 30));
    t_seen.clear();
    EXPECT_TRUE(SetWindowPos(a, nullptr, 6, 5, 30, 30, SWP_NOZORDER));
    EXPECT_FALSE(EnableWindow(a, FALSE));
    EXPECT_TRUE(EnableWindow(a, FALSE));
    ASSERT_EQ(t_seen.size(), 1u);
    EXPECT_EQ(t_seen[0].message, WM_ENABLE);
    SetCapture(a);
    EnableWindow(top, FALSE); // what is shut lets go of the pointer
    EXPECT_EQ(GetCapture(), nullptr);
    ShowWindow(top, SW_HIDE);
    EXPECT_FALSE(IsWindowVisible(a));
    constexpr int kMost = std::numeric_limits<int>::max(); // from a damaged setting
    EXPECT_TRUE(MoveWindow(top, kMost, -kMost, kMost, kMost, FALSE));
    EXPECT_TRUE(MoveWindow(a, kMost, kMost, -1, kMost, FALSE));
    EXPECT_TRUE(GetWindowRect(a, &rect));
    EXPECT_GT(rect.left, 100'000);
    EXPECT_EQ(rect.right, rect.left);
    DestroyWindow(top);
}

TEST_F(ThreadsWindows, WhoBecomesActiveInTheMiddleStaysSo) {
    const HWND a = Make(nullptr, WS_VISIBLE), b = Make(nullptr, WS_VISIBLE), c = Make(nullptr, WS_VISIBLE);
    Handler passOn = [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_ACTIVATE && wParam == 0) SetActiveWindow(b);
        return DefWindowProcW(window, message, wParam, lParam);
    };
    Answer(c, passOn);
    t_seen.clear();
    SetActiveWindow(a);
    EXPECT_EQ(GetActiveWindow(), b);
    EXPECT_EQ(GetFocus(), b);
    for (const Seen& seen : t_seen)
        EXPECT_FALSE(seen.window == a && seen.message == WM_ACTIVATE && seen.wParam == 1);
    for (const HWND window : {a, b, c}) DestroyWindow(window);
}

// --- Posting ------------------------------------------------------------------------------------------------------

TEST_F(ThreadsWindows, PostingKeepsTheOrder) {
    const HWND a = Make(), b = Make();
    PostQuitMessage(4);
    for (WPARAM i = 0; i < 100; ++i) EXPECT_TRUE(PostMessageW(i % 3 ? a : b, WM_USER, i, 0));
    MSG message;
    EXPECT_TRUE(PeekMessageW(&message, b, 0, 0, PM_NOREMOVE));
    EXPECT_EQ(message.wParam, 0u);
    EXPECT_TRUE(PeekMessageW(&message, a, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.wParam, 1u); // the first of that window
    EXPECT_FALSE(PeekMessageW(&message, nullptr, WM_USER + 1, WM_USER + 9, PM_REMOVE) &&
                 message.message != WM_QUIT);
    PostQuitMessage(4);
    std::vector<WPARAM> order;
    while (GetMessageW(&message, nullptr, 0, 0)) order.push_back(message.wParam);
    EXPECT_EQ(message.wParam, 4u); // the end comes behind all that was posted
    ASSERT_EQ(order.size(), 99u);
    EXPECT_TRUE(std::ranges::is_sorted(order));
    DestroyWindow(a);
    DestroyWindow(b);
}

TEST_F(ThreadsWindows, AQueueHasALimit) {
    const HWND window = Make();
    for (int i = 0; i < 10000; ++i) ASSERT_TRUE(PostMessageW(window, WM_USER, 0, 0));
    EXPECT_EQ(ErrorOf(PostMessageW(window, WM_USER, 0, 0)), ERROR_NOT_ENOUGH_MEMORY);
    DestroyWindow(window); // takes its messages along
    MSG message;
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
}

TEST_F(ThreadsWindows, PostsToAThreadWakeIt) {
    TestThread receiver([] {
        MSG message;
        return GetMessageW(&message, nullptr, 0, 0) == 1 && !message.hwnd ? static_cast<DWORD>(message.wParam)
                                                                          : 0u;
    });
    std::this_thread::sleep_for(5ms);
    EXPECT_TRUE(PostThreadMessageW(receiver.Id(), WM_USER, 31, 0));
    EXPECT_EQ(receiver.Join(), 31u);
    EXPECT_FALSE(PostThreadMessageW(receiver.Id(), WM_USER, 31, 0));
}

// --- Sending across threads ---------------------------------------------------------------------------------------

// A thread with one window and a way to wait for messages.
class WindowThread {
public:
    explicit WindowThread(std::function<void()> pump, Handler handler)
        : m_handler(std::move(handler)), m_thread([this, pump = std::move(pump)] {
              const HWND window =
                  CreateWindowExW(0, kClass, u"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
              SetWindowLongW(window, GWL_USERDATA, reinterpret_cast<LONG_PTR>(&m_handler));
              m_window = window;
              pump();
              SetWindowLongW(window, GWL_USERDATA, 0);
              DestroyWindow(window);
              return 0u;
          }) {
        EXPECT_TRUE(Eventually([this] { return m_window.load() != nullptr; }));
    }
    HWND Window() const { return m_window; }
    TestThread& Thread() { return m_thread; }

private:
    Handler m_handler;
    std::atomic<HWND> m_window{nullptr};
    TestThread m_thread;
};

TEST_F(ThreadsWindows, SendsAreServedInEveryWaitForMessages) {
    const HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    struct Place {
        const char* name;
        std::function<void()> pump;
        bool byEvent = false; // ended by the event, not by a message
    };
    const Place places[] = {
        {"GetMessage", [] { PumpUntilQuit(); }},
        {"PeekMessage",
         [] {
             for (MSG message;; Sleep(1))
                 if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) && message.message == WM_QUIT) return;
         }},
        {"MsgWait",
         [&] {
             EXPECT_EQ(MsgWaitForMultipleObjectsEx(1, &stop, kLong, QS_ALLINPUT, 0),
                       WAIT_OBJECT_0 + 1); // the end
         }},
        {"MsgWait without input",
         [&] { EXPECT_EQ(MsgWaitForMultipleObjectsEx(1, &stop, kLong, 0, 0), WAIT_OBJECT_0); }, true},
    };
    for (const Place& place : places) {
        SCOPED_TRACE(place.name);
        std::atomic<DWORD> servedOn{0};
        WindowThread receiver(place.pump, [&](HWND, UINT message, WPARAM wParam, LPARAM) -> LRESULT {
            if (message == WM_USER + 1) PostQuitMessage(0);
            servedOn = GetCurrentThreadId();
            return static_cast<LRESULT>(wParam * 2);
        });
        EXPECT_EQ(SendMessageW(receiver.Window(), WM_USER, 21, 0), 42);
        EXPECT_EQ(servedOn, receiver.Thread().Id());
        SendMessageW(receiver.Window(), WM_USER + 1, 0, 0);
        if (place.byEvent) SetEvent(stop);
        EXPECT_EQ(receiver.Thread().Join(), 0u);
    }
    CloseHandle(stop);
}

TEST_F(ThreadsWindows, ASendIsServedWhileItsSenderIsSentTo) {
    const HWND mine = Make();
    Handler back = [](HWND, UINT, WPARAM wParam, LPARAM) { return static_cast<LRESULT>(wParam + 1); };
    Answer(mine, back);
    WindowThread receiver(&PumpUntilQuit, [&](HWND, UINT message, WPARAM wParam, LPARAM) -> LRESULT {
        if (message == WM_USER + 1) return PostQuitMessage(0), 0;
        return SendMessageW(mine, WM_USER, wParam, 0) * 10; // its sender waits, and serves
    });
    EXPECT_EQ(SendMessageW(receiver.Window(), WM_USER, 4, 0), 50);
    SendMessageW(receiver.Window(), WM_USER + 1, 0, 0);
    EXPECT_EQ(receiver.Thread().Join(), 0u);
    SetWindowLongW(mine, GWL_USERDATA, 0);
    DestroyWindow(mine);
}

TEST_F(ThreadsWindows, ASenderIsFreedWhenTheReceiverDies) {
    std::atomic<bool> dying{false};
    struct Way {
        const char* name;
        std::function<void()> pump;
        bool kill;
    };
    const Way ways[] = {
        {"returns",
         [&] {
             while (!dying) Sleep(1);
         },
         false},
        {"is terminated in a wait", [] { Sleep(INFINITE); }, true},
        {"is terminated while it serves", &PumpUntilQuit, true},
    };
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        dying = false;
        WindowThread receiver(way.pump,
                              [](HWND, UINT, WPARAM, LPARAM) -> LRESULT { return Sleep(INFINITE), 1; });
        std::atomic<bool> sending{false};
        TestThread sender([&] {
            sending = true;
            return static_cast<DWORD>(SendMessageW(receiver.Window(), WM_USER, 1, 0));
        });
        ASSERT_TRUE(Eventually([&] { return sending.load(); }));
        std::this_thread::sleep_for(5ms);
        dying = true;
        if (way.kill) {
            EXPECT_TRUE(TerminateThread(receiver.Thread().Handle(), 1));
        }
        EXPECT_EQ(sender.Join(), 0u);
        EXPECT_TRUE(Eventually([&] { return !IsWindow(receiver.Window()); }));
        receiver.Thread().Join();
    }
}

TEST_F(ThreadsWindows, ASenderIsFreedWhenTheWindowGoes) {
    const HWND window = Make();
    std::atomic<bool> sending{false};
    TestThread sender(
        [&] { return sending = true, static_cast<DWORD>(SendMessageW(window, WM_USER, 1, 0)); });
    ASSERT_TRUE(Eventually([&] { return sending.load(); }));
    std::this_thread::sleep_for(5ms);
    DestroyWindow(window);
    EXPECT_EQ(sender.Join(), 0u); // though this thread serves nobody
}

TEST_F(ThreadsWindows, ATerminatedSenderHarmsNobody) {
    std::atomic<bool> go{false};
    WindowThread receiver(
        [&] {
            while (!go) Sleep(1);
            PumpUntilQuit();
        },
        [](HWND, UINT message, WPARAM, LPARAM) -> LRESULT {
            if (message == WM_USER + 1) PostQuitMessage(0);
            return 1;
        });
    std::atomic<bool> sending{false};
    TestThread sender(
        [&] { return sending = true, static_cast<DWORD>(SendMessageW(receiver.Window(), WM_USER, 0, 0)); });
    ASSERT_TRUE(Eventually([&] { return sending.load(); }));
    EXPECT_TRUE(TerminateThread(sender.Handle(), 8));
    EXPECT_EQ(sender.Join(), 8u);
    go = true;
    EXPECT_EQ(SendMessageW(receiver.Window(), WM_USER + 1, 0, 0), 1);
    EXPECT_EQ(receiver.Thread().Join(), 0u);
}

TEST_F(ThreadsWindows, ManyPostersAndSendersAtOnce) {
    constexpr DWORD kEach = 300;
    std::atomic<DWORD> posted{0}, sent{0};
    WindowThread receiver(&PumpUntilQuit, [&](HWND, UINT message, WPARAM, LPARAM) -> LRESULT {
        if (message == WM_USER) ++posted;
        if (message == WM_USER + 2) ++sent;
        if (message == WM_USER + 1) PostQuitMessage(0);
        return 1;
    });
    const auto work = [&] {
        for (DWORD i = 0; i < kEach; ++i) {
            PostMessageW(receiver.Window(), WM_USER, i, 0);
            SendMessageW(receiver.Window(), WM_USER + 2, i, 0);
        }
        return 0u;
    };
    TestThread a(work), b(work), c(work);
    EXPECT_EQ(a.Join() + b.Join() + c.Join(), 0u);
    PostMessageW(receiver.Window(), WM_USER + 1, 0, 0);
    EXPECT_EQ(receiver.Thread().Join(), 0u);
    EXPECT_EQ(posted, 3 * kEach);
    EXPECT_EQ(sent, 3 * kEach);
}

// --- Timers -------------------------------------------------------------------------------------------------------

TEST_F(ThreadsWindows, TimersFollowTheSetClock) {
    const SYSTEMTIME noon{2026, 11, 6, 21, 12, 0, 0, 0};
    PlatSetClock(&noon);
    const HWND window = Make();
    EXPECT_EQ(SetTimer(window, 5, 1000, nullptr), 5u);
    MSG message;
    PlatAdvanceClock(999);
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    PlatAdvanceClock(1);
    PostMessageW(window, WM_USER, 0, 0);
    EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, WM_USER); // timers stand behind
    EXPECT_TRUE(PeekMessageW(&message, window, WM_TIMER, WM_TIMER, PM_REMOVE));
    EXPECT_EQ(message.wParam, 5u);
    PlatLetSleepMoveClock(true);
    Sleep(10000); // late: told once
    EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_TRUE(KillTimer(window, 5));
    EXPECT_FALSE(KillTimer(window, 5));
    PlatAdvanceClock(10000);
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    DestroyWindow(window);
}

TEST_F(ThreadsWindows, MovingTheClockWakesAWaitForTimers) {
    const SYSTEMTIME noon{2026, 11, 6, 21, 12, 0, 0, 0};
    PlatSetClock(&noon);
    std::atomic<bool> set{false};
    TestThread waiter([&] {
        const ULONG_PTR id = SetTimer(nullptr, 0, 3600 * 1000, nullptr);
        set = true;
        MSG message;
        GetMessageW(&message, nullptr, 0, 0);
        return message.message == WM_TIMER && message.wParam == id ? 1u : 0u;
    });
    ASSERT_TRUE(Eventually([&] { return set.load(); }));
    std::this_thread::sleep_for(5ms);
    PlatAdvanceClock(3600 * 1000);
    EXPECT_EQ(waiter.Join(), 1u);
}

int g_timerCalls = 0;
void OnTimer(HWND, UINT, ULONG_PTR, DWORD) { ++g_timerCalls; }

TEST_F(ThreadsWindows, TimersOnTheRealClockCallTheirProcedure) {
    g_timerCalls = 0;
    const ULONG_PTR id = SetTimer(nullptr, 0, 5, &OnTimer);
    MSG message;
    while (g_timerCalls < 2 && GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
    EXPECT_TRUE(KillTimer(nullptr, id));
    DispatchMessageW(&message); // the timer is gone, so nobody is called
    EXPECT_EQ(g_timerCalls, 2);
}

// --- System and drawing objects -----------------------------------------------------------------------------------

TEST_F(ThreadsWindows, MeasuresFollowTheScreen) {
    EXPECT_EQ(GetSystemMetrics(SM_CXSMICON), 16);
    ASSERT_TRUE(PlatSetScreen({480, 640, 192}));
    EXPECT_FALSE(PlatSetScreen({480, 640, 0}));
    const HDC dc = GetDC(nullptr);
    EXPECT_EQ(GetDeviceCaps(dc, LOGPIXELSX), 192);
    EXPECT_EQ(GetDeviceCaps(dc, VERTRES), 640);
    EXPECT_EQ(ReleaseDC(nullptr, dc), 1);
    EXPECT_EQ(ReleaseDC(nullptr, dc), 0);
    EXPECT_EQ(GetDeviceCaps(dc, VERTRES), 0);
    const std::pair<int, int> metrics[] = {{SM_CXSCREEN, 480}, {SM_CYSCREEN, 640}, {SM_CXSMICON, 32},
                                           {SM_CXBORDER, 2},   {SM_CXICON, 64},    {999, 0}};
    for (const auto& [index, pixels] : metrics) EXPECT_EQ(GetSystemMetrics(index), pixels) << index;
    RECT area{};
    EXPECT_TRUE(SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0));
    EXPECT_EQ(area.bottom, 640);
    EXPECT_FALSE(SystemParametersInfoW(1, 0, &area, 0));
    const HBRUSH window = GetSysColorBrush(COLOR_WINDOW | static_cast<int>(SYS_COLOR_INDEX_FLAG));
    EXPECT_EQ(window, GetSysColorBrush(COLOR_WINDOW));
    EXPECT_TRUE(DeleteObject(window));
    LOGBRUSH brush{};
    EXPECT_EQ(GetObjectW(window, sizeof brush, &brush), static_cast<int>(sizeof brush)); // still there
    EXPECT_EQ(brush.lbColor, GetSysColor(COLOR_WINDOW));
}

// --- Object model -------------------------------------------------------------------------------------------------

struct Thing final : IUnknown {
    static inline int s_alive = 0;
    Thing() { ++s_alive; }
    ~Thing() override { --s_alive; }
    HRESULT QueryInterface(const IID& iid, void** object) override {
        *object = iid == IID_IUnknown ? this : nullptr;
        return *object ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++m_references; }
    ULONG Release() override {
        const ULONG left = --m_references;
        if (left == 0) delete this;
        return left;
    }
    ULONG m_references = 1;
};

TEST_F(ThreadsWindows, ClassesOfObjects) {
    constexpr CLSID kThing{1, 2, 3, {4}};
    constexpr IID kOwn{5, 6, 7, {8}};
    void* object = &object;
    EXPECT_EQ(CoCreateInstance(kThing, nullptr, 1, kOwn, &object), static_cast<HRESULT>(0x80040154));
    EXPECT_EQ(object, nullptr);
    PlatRegisterClassObject(kThing, kOwn, [](void** made) { return *made = new Thing, S_OK; });
    for (const IID& iid : {kOwn, IID_IUnknown}) {
        ASSERT_EQ(CoCreateInstance(kThing, nullptr, 1, iid, &object), S_OK);
        EXPECT_EQ(static_cast<IUnknown*>(object)->Release(), 0u);
    }
    EXPECT_EQ(CoCreateInstance(kThing, nullptr, 1, IID_IDispatch, &object), E_NOINTERFACE);
    EXPECT_EQ(Thing::s_alive, 0);
    PlatRegisterClassObject(kThing, kOwn, nullptr);
    EXPECT_EQ(CoCreateInstance(kThing, nullptr, 1, kOwn, &object), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(RegisterClipboardFormatW(u"ItemRefArray"), RegisterClipboardFormatW(u"itemrefarray"));
    EXPECT_GE(RegisterClipboardFormatW(u"ItemRefArray"), 0xC000u);
}

} // namespace
