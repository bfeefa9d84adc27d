// The real window, on a display that is only pretended: events as the window system makes them reach the windows.
#include "Platform/present.h"

#include "Platform/memory.h"
#include "tests/support/waiting.h"
#include "tests/support/windows.h"

#include <SDL.h>

#include <cstdlib>

namespace {

using namespace qntest;

class ThreadsPresent : public WindowTest {
protected:
    ThreadsPresent() { setenv("SDL_VIDEODRIVER", "dummy", 1); }
    ~ThreadsPresent() override {
        PlatStopPresenting();
        unsetenv("SDL_VIDEODRIVER");
    }
    // A window over the whole of a real one.
    HWND Show(int width, int height) {
        PlatWindow real;
        real.title = "Test";
        real.width = width;
        real.height = height;
        real.dotsPerInch = 96;
        EXPECT_TRUE(PlatStartPresenting(real));
        m_top = Make('a', {0, 0, 10, 10});
        PlatPresentWindow(m_top);
        Pump();
        TakeLog();
        return m_top;
    }
    static SDL_Window* RealWindow() {
        SDL_Window* window = nullptr;
        for (Uint32 id = 1; !window && id < 100; ++id) window = SDL_GetWindowFromID(id);
        return window;
    }
    static void Push(SDL_Event event) { EXPECT_EQ(SDL_PushEvent(&event), 1); }
    static SDL_Event Button(Uint32 type, Uint8 button, int x, int y, Uint32 which = 0) {
        SDL_Event event{};
        event.button.type = type;
        event.button.which = which;
        event.button.button = button;
        event.button.x = x;
        event.button.y = y;
        return event;
    }
    static SDL_Event Finger(Uint32 type, SDL_FingerID id, float x, float y) {
        SDL_Event event{};
        event.tfinger.type = type;
        event.tfinger.fingerId = id;
        event.tfinger.x = x;
        event.tfinger.y = y;
        return event;
    }
    static SDL_Event Key(Uint32 type, SDL_Keycode key, Uint16 modifiers = 0) {
        SDL_Event event{};
        event.key.type = type;
        event.key.keysym.sym = key;
        event.key.keysym.mod = modifiers;
        return event;
    }
    static SDL_Event Text(const char* utf8) {
        SDL_Event event{};
        event.text.type = SDL_TEXTINPUT;
        SDL_strlcpy(event.text.text, utf8, sizeof(event.text.text));
        return event;
    }
    // What the windows hear up to the line that tells of the last event.
    static std::string HeardUntil(const std::string& last) {
        std::string heard;
        for (int i = 0; i < 500 && heard.find(last) == std::string::npos; ++i) {
            Pump();
            heard += TakeLog();
            if (i > 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return heard;
    }

    HWND m_top = nullptr;
};

TEST_F(ThreadsPresent, NoDisplayIsTold) {
    setenv("SDL_VIDEODRIVER", "no such driver", 1);
    EXPECT_FALSE(PlatStartPresenting({}));
    setenv("SDL_VIDEODRIVER", "dummy", 1);
    EXPECT_TRUE(PlatStartPresenting({}));
    EXPECT_FALSE(PlatStartPresenting({})); // one is shown already
}

TEST_F(ThreadsPresent, TheWindowFillsTheRealOne) {
    Show(300, 200);
    RECT rect{};
    GetWindowRect(m_top, &rect);
    EXPECT_EQ(rect.right, 300);
    EXPECT_EQ(rect.bottom, 200);
    EXPECT_EQ(PlatGetScreen().width, 300);
    // It appears with the first picture, also of what was painted before it was there, and so does a second one.
    const auto isShown = [] { return (SDL_GetWindowFlags(RealWindow()) & SDL_WINDOW_SHOWN) != 0; };
    EXPECT_TRUE(Eventually(isShown));
    PlatStopPresenting();
    DestroyWindow(m_top);
    Show(300, 200);
    EXPECT_TRUE(Eventually(isShown));
}

TEST_F(ThreadsPresent, MouseAndFirstFingerAreThePointer) {
    Show(300, 200);
    Push(Button(SDL_MOUSEBUTTONDOWN, SDL_BUTTON_LEFT, 20, 30));
    Push(Button(SDL_MOUSEBUTTONUP, SDL_BUTTON_LEFT, 20, 30));
    Push(Button(SDL_MOUSEBUTTONDOWN, SDL_BUTTON_LEFT, 40, 50, SDL_TOUCH_MOUSEID)); // a finger tells of itself
    Push(Button(SDL_MOUSEBUTTONUP, SDL_BUTTON_LEFT, 40, 50, SDL_TOUCH_MOUSEID));
    Push(Finger(SDL_FINGERDOWN, 7, 0.5F, 0.25F));
    Push(Finger(SDL_FINGERDOWN, 8, 0.1F, 0.1F)); // a second one does nothing
    Push(Finger(SDL_FINGERUP, 8, 0.1F, 0.1F));
    Push(Finger(SDL_FINGERUP, 7, 0.5F, 0.25F));
    const std::string heard = HeardUntil("a up 150,50");
    EXPECT_NE(heard.find("a down 20,30\na up 20,30\n"), std::string::npos) << heard;
    EXPECT_NE(heard.find("a down 150,50\na up 150,50\n"), std::string::npos) << heard;
    EXPECT_EQ(heard.find("40,50"), std::string::npos) << heard;
    EXPECT_EQ(heard.find("30,20"), std::string::npos) << heard;
}

TEST_F(ThreadsPresent, KeysAndTypedText) {
    Show(300, 200);
    SetFocus(m_top);
    Pump();
    TakeLog();
    Push(Key(SDL_KEYDOWN, SDLK_F2));
    Push(Key(SDL_KEYUP, SDLK_F2));
    Push(Key(SDL_KEYDOWN, SDLK_q));
    Push(Text("q"));
    Push(Key(SDL_KEYUP, SDLK_q));
    Push(Text("\xC3\xA4\xF0\x9F\x98\x80")); // an a umlaut and a face, which takes two units
    EXPECT_EQ(HeardUntil("char 56832"), "a key 113\na key-up 113\na key 81\na char 113\na key-up 81\n"
                                        "a char 228\na char 55357\na char 56832\n");

    Push(Key(SDL_KEYDOWN, SDLK_1, KMOD_LCTRL)); // a command types nothing
    Push(Text("1"));
    Push(Key(SDL_KEYDOWN, SDLK_e, KMOD_RALT));
    Push(Text("\xE2\x82\xAC")); // the right Alt key does: a euro
    Push(Key(SDL_KEYDOWN, SDLK_KP_4));
    Push(Key(SDL_KEYDOWN, SDLK_KP_4, KMOD_NUM)); // the number pad goes left, or types
    Push(Text("4"));
    EXPECT_EQ(HeardUntil("char 52"), "a key 49\na key 69\na char 8364\na key 37\na char 52\n");
}

// What was held when the real window loses the focus is not held any more, and its release need not come.
TEST_F(ThreadsPresent, LosingTheFocusEndsWhatIsHeld) {
    Show(300, 200);
    Push(Finger(SDL_FINGERDOWN, 7, 0.5F, 0.25F));
    HeardUntil("down 150,50");
    SetCapture(m_top);
    SDL_Event lost{};
    lost.window.type = SDL_WINDOWEVENT;
    lost.window.event = SDL_WINDOWEVENT_FOCUS_LOST;
    Push(lost);
    EXPECT_NE(HeardUntil("cancel").find("a cancel"), std::string::npos);
    Push(Finger(SDL_FINGERDOWN, 8, 1, 1)); // the far corner is a pixel of the window
    EXPECT_NE(HeardUntil("down 299,199").find("a down 299,199"), std::string::npos);
}

TEST_F(ThreadsPresent, TheWindowFollowsTheRealOne) {
    Show(300, 200);
    for (const int width : {310, 320, 330}) SDL_SetWindowSize(RealWindow(), width, 240);
    EXPECT_NE(HeardUntil("size 330,240").find("a size 330,240\n"), std::string::npos);
    EXPECT_EQ(PlatGetScreen().width, 330);
    EXPECT_EQ(PlatGetScreen().height, 240);
}

TEST_F(ThreadsPresent, TheWheelHasTheDirectionOfTheDevice) {
    Show(300, 200);
    SDL_Event event{};
    event.wheel.type = SDL_MOUSEWHEEL;
    event.wheel.y = 1;
    event.wheel.mouseX = 5;
    event.wheel.mouseY = 5;
    Push(event);
    event.wheel.direction = SDL_MOUSEWHEEL_FLIPPED;
    Push(event);
    EXPECT_EQ(HeardUntil("wheel -120"), "a wheel 120\na wheel -120\n");
}

// A fast level move over more than half the width is told before the release; a short one is none.
TEST_F(ThreadsPresent, Flicks) {
    Show(300, 200);
    ASSERT_TRUE(EnableGestures(m_top, TRUE));
    std::string told;
    s_handler = [&](HWND, UINT message, WPARAM wParam, LPARAM lParam) {
        GESTUREINFO info{};
        info.cbSize = sizeof(info);
        if (message == WM_GESTURE && GetGestureInfo(reinterpret_cast<HGESTUREINFO>(lParam), &info))
            told += std::to_string(wParam) + ":" + std::to_string(info.ullArguments & 0xF) + " ";
        if (message == WM_LBUTTONUP) told += "up ";
        return false;
    };
    const auto flick = [&](float from, float to) {
        Push(Finger(SDL_FINGERDOWN, 1, from, 0.5F));
        Push(Finger(SDL_FINGERMOTION, 1, to, 0.5F));
        Push(Finger(SDL_FINGERUP, 1, to, 0.5F));
    };
    flick(0.9F, 0.2F);
    HeardUntil("a up 60,100");
    flick(0.1F, 0.7F);
    HeardUntil("a up 210,100");
    flick(0.1F, 0.5F);
    HeardUntil("a up 150,100");
    EXPECT_EQ(told, "8:2 up 8:4 up up ");
}

TEST_F(ThreadsPresent, TheClipboardIsTheDesktops) {
    Show(300, 200);
    const auto put = [](const std::u16string& text) {
        auto* block = static_cast<WCHAR*>(LocalAlloc(LMEM_FIXED, (text.size() + 1) * sizeof(WCHAR)));
        std::copy_n(text.c_str(), text.size() + 1, block);
        OpenClipboard(nullptr);
        EmptyClipboard();
        SetClipboardData(CF_UNICODETEXT, block);
        CloseClipboard();
    };
    put(u"Grüße \U0001F600");
    OpenClipboard(nullptr);
    const auto* text = static_cast<const WCHAR*>(GetClipboardData(CF_UNICODETEXT));
    EXPECT_EQ(text ? std::u16string(text) : u"", u"Grüße \U0001F600");
    CloseClipboard();
}

TEST_F(ThreadsPresent, ClosingTheRealWindowAsksTheWindow) {
    Show(300, 200);
    SDL_Event event{};
    event.type = SDL_QUIT;
    Push(event);
    EXPECT_NE(HeardUntil("a gone").find("a gone"), std::string::npos);
    EXPECT_FALSE(IsWindow(m_top));
}

} // namespace
