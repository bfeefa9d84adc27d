// The screen in a real window: the device's providers, and the hidden window by which the application's thread hears.
#include "Platform/present.h"

#include "Platform/gdi.h"
#include "Platform/host/fontfaces.h"
#include "Platform/host/fonts.h"
#include "Platform/host/sdl/sdlthread.h"
#include "Platform/strings.h"
#include "Platform/windows.h"

#include <atomic>
#include <bit>
#include <cstdint>
#include <algorithm>
#include <cstdlib>
#include <string>

namespace plat {
namespace {

constexpr const WCHAR* kBridgeClass = u"Plat:Present";
constexpr UINT kMsgResized = WM_USER + 1;
constexpr UINT kMsgClose = WM_USER + 2;

std::string Narrow(const std::u16string& text) {
    std::string utf8(text.size() * 3 + 1, '\0');
    const int length = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()),
                                           utf8.data(), static_cast<int>(utf8.size()), nullptr, nullptr);
    utf8.resize(static_cast<std::size_t>(std::max(length, 0)));
    return utf8;
}

std::u16string Wide(const std::string& utf8) {
    std::u16string text(utf8.size(), u'\0');
    const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()),
                                           text.data(), static_cast<int>(text.size()));
    text.resize(static_cast<std::size_t>(std::max(length, 0)));
    return text;
}

class Presentation : public PlatPresenter, public PlatClipboardProvider, private SdlThread::Listener {
public:
    bool Start(const PlatWindow& window);
    void Stop();
    void SetTop(HWND top);

    // --- PlatPresenter
    void ScreenPainted() override { m_thread.Painted(); }
    void ShowInputPanel(BOOL show) override;
    void CaretAt(const RECT& place) override {
        m_thread.Post([place](SdlWindow& window) { window.SetTextPlace(place); });
    }
    // --- PlatClipboardProvider
    void PutText(const std::u16string& text) override;
    std::u16string GetText() override;

private:
    // --- SdlThread::Listener
    void Resized(SIZE size) override;
    void CloseWanted() override { PostMessageW(m_bridge, kMsgClose, 0, 0); }

    static LRESULT BridgeProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    bool MakeBridge();
    void FollowSize(SIZE size) const;

    SdlThread m_thread{*this};
    std::atomic<HWND> m_bridge{nullptr};
    std::atomic<std::uint64_t> m_size{0}; // a SIZE: of the real window, by the last word of it
    std::atomic<bool> m_sized{false};     // the application was told, and has not looked yet
    HWND m_top = nullptr;
    int m_dots = 96;
};

Presentation& ThePresentation() {
    static Presentation& presentation = *new Presentation; // never ends: its thread may still run at exit
    return presentation;
}

void UseColumns() {
    HostCall call;
    std::lock_guard lock(TextLock());
    PlatUsePixelColumns(DesktopHasPixelColumns());
}

bool Presentation::MakeBridge() {
    WNDCLASSW cls{};
    cls.lpfnWndProc = &Presentation::BridgeProc;
    cls.lpszClassName = kBridgeClass;
    RegisterClassW(&cls);
    m_bridge = CreateWindowExW(0, kBridgeClass, u"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    return m_bridge != nullptr;
}

bool Presentation::Start(const PlatWindow& window) {
    if (m_bridge || !MakeBridge()) return false;
    PlatScreen screen = PlatGetScreen();
    const auto opened = m_thread.Start(window.title, window.width > 0 ? window.width : screen.width,
                                       window.height > 0 ? window.height : screen.height);
    if (!opened) {
        DestroyWindow(m_bridge.exchange(nullptr));
        return false;
    }
    const bool told = std::getenv("QN_SCREEN") != nullptr;
    m_dots = window.dotsPerInch > 0             ? window.dotsPerInch
             : told || opened->dotsPerInch == 0 ? screen.dotsPerInch
                                                : opened->dotsPerInch;
    PlatSetScreen({opened->size.cx, opened->size.cy, m_dots});
    UseColumns();
    PlatEnableGestures(true);
    PlatSetClipboardProvider(this);
    PlatSetPresenter(this);
    return true;
}

void Presentation::Stop() {
    if (!m_bridge) return;
    PlatSetPresenter(nullptr);
    PlatSetClipboardProvider(nullptr);
    PlatEnableGestures(false);
    PlatUsePixelColumns(false);
    m_thread.Stop();
    m_top = nullptr;
    m_sized = false;
    DestroyWindow(m_bridge.exchange(nullptr));
}

void Presentation::SetTop(HWND top) {
    m_top = top;
    if (!m_bridge || !top) return;
    std::u16string title(static_cast<std::size_t>(GetWindowTextLengthW(top)) + 1, u'\0');
    title.resize(static_cast<std::size_t>(GetWindowTextW(top, title.data(), static_cast<int>(title.size()))));
    if (!title.empty())
        m_thread.Post([name = Narrow(title)](SdlWindow& window) { window.SetTitle(name.c_str()); });
    const PlatScreen screen = PlatGetScreen();
    FollowSize({screen.width, screen.height});
    m_thread.Painted(); // what was painted so far was told to nobody
}

// A keyboard on the screen comes and goes; with a real one nothing changes.
void Presentation::ShowInputPanel(BOOL show) {
    m_thread.Post([show](SdlWindow&) {
        if (SDL_HasScreenKeyboardSupport()) show ? SDL_StartTextInput() : SDL_StopTextInput();
    });
}

void Presentation::PutText(const std::u16string& text) {
    m_thread.Post([utf8 = Narrow(text)](SdlWindow&) { SDL_SetClipboardText(utf8.c_str()); });
}

std::u16string Presentation::GetText() {
    const auto text = std::make_shared<std::string>();
    const bool done = m_thread.Call([text] {
        char* const given = SDL_GetClipboardText();
        if (given) *text = given;
        SDL_free(given);
    });
    return done ? Wide(*text) : std::u16string();
}

// While the person drags a corner there are more sizes than can be laid out: the newest counts.
void Presentation::Resized(SIZE size) {
    m_size = std::bit_cast<std::uint64_t>(size);
    if (!m_sized.exchange(true) && !PostMessageW(m_bridge, kMsgResized, 0, 0)) m_sized = false;
}

void Presentation::FollowSize(SIZE size) const {
    const PlatScreen screen = PlatGetScreen();
    if ((screen.width != size.cx || screen.height != size.cy) && !PlatSetScreen({size.cx, size.cy, m_dots}))
        return;
    if (m_top) SetWindowPos(m_top, nullptr, 0, 0, size.cx, size.cy, SWP_NOZORDER | SWP_NOACTIVATE);
}

LRESULT Presentation::BridgeProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    Presentation& self = ThePresentation();
    switch (message) {
    case kMsgResized:
        self.m_sized = false;
        self.FollowSize(std::bit_cast<SIZE>(self.m_size.load()));
        return 0;
    case kMsgClose:
        return self.m_top ? SendMessageW(self.m_top, WM_CLOSE, 0, 0) : 0;
    default:
        return DefWindowProcW(window, message, wParam, lParam);
    }
}

} // namespace
} // namespace plat

using namespace plat;

bool PlatStartPresenting(const PlatWindow& window) { return ThePresentation().Start(window); }

void PlatPresentWindow(HWND top) { ThePresentation().SetTop(top); }

int PlatRunMessages() {
    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
    return static_cast<int>(message.wParam);
}

void PlatStopPresenting() { ThePresentation().Stop(); }
