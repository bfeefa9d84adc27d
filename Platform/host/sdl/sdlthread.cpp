// The loop of the real window's thread.
#include "Platform/host/sdl/sdlthread.h"

#include "Platform/input.h"

#include <chrono>
#include <string>

namespace plat {
namespace {

// The screen is shown at most this often; scrolling paints in shorter steps.
constexpr Uint64 kFrame = 8; // milliseconds
constexpr int kLongestWait = 1000;

} // namespace

std::optional<SdlThread::Opened> SdlThread::Start(const char* title, int width, int height) {
    std::promise<std::optional<Opened>>
        promise; // the thread's, which may be in it still when the answer is here
    auto opened = promise.get_future();
    m_end = m_painted = false;
    m_thread = std::thread([this, promise = std::move(promise), name = std::string(title),
                            wanted = SIZE{width, height}]() mutable { Run(promise, name, wanted); });
    const auto result = opened.get();
    if (!result) m_thread.join();
    return result;
}

void SdlThread::Stop() {
    if (!m_thread.joinable()) return;
    m_end = true;
    Wake();
    m_thread.join();
}

void SdlThread::Run(std::promise<std::optional<Opened>>& opened, const std::string& title, SIZE wanted) {
    const auto result = Open(title, wanted);
    opened.set_value(result);
    if (result) {
        Loop();
        RunRequests(); // nobody waits for one in vain
        m_window.Close();
    }
    SDL_TLSCleanup(); // what SDL keeps for a thread that it didn't make
}

std::optional<SdlThread::Opened> SdlThread::Open(const std::string& title, SIZE wanted) {
    if (!m_window.Open(title.c_str(), wanted.cx, wanted.cy)) return std::nullopt;
    m_input.Forget();
    m_wakeEvent = SDL_RegisterEvents(1);
    // Without a keyboard of the screen's own, text is always welcome.
    SDL_HasScreenKeyboardSupport() ? SDL_StopTextInput() : SDL_StartTextInput();
    return Opened{m_window.Size(), m_window.DotsPerInch()};
}

void SdlThread::Loop() {
    while (!m_end) {
        SDL_Event event;
        if (SDL_WaitEventTimeout(&event, Patience())) do
                Handle(event);
            while (SDL_PollEvent(&event));
        RunRequests();
        PresentInTime();
    }
}

// How long to wait for an event: to the next frame when something is to be shown.
int SdlThread::Patience() const {
    if (!m_painted) return kLongestWait;
    const Uint64 passed = SDL_GetTicks64() - m_presented;
    return passed >= kFrame ? 1 : static_cast<int>(kFrame - passed);
}

void SdlThread::PresentInTime() {
    if (!m_painted || SDL_GetTicks64() - m_presented < kFrame) return;
    m_painted = false;
    m_window.Present();
    m_presented = SDL_GetTicks64();
}

void SdlThread::Handle(const SDL_Event& event) {
    if (m_input.Handle(event)) return;
    switch (event.type) {
    case SDL_WINDOWEVENT:
        return WindowEvent(event.window);
    case SDL_QUIT:
        return m_listener.CloseWanted();
    case SDL_RENDER_TARGETS_RESET:
    case SDL_RENDER_DEVICE_RESET:
        m_window.Forget();
        return m_window.Present();
    default:
        return;
    }
}

void SdlThread::WindowEvent(const SDL_WindowEvent& event) {
    switch (event.event) {
    case SDL_WINDOWEVENT_SIZE_CHANGED:
        m_listener.Resized(m_window.Size());
        return m_window.Repeat();
    case SDL_WINDOWEVENT_EXPOSED:
        return m_window.Repeat();
    case SDL_WINDOWEVENT_FOCUS_LOST:
        m_input.Forget(); // a finger that goes up elsewhere is not waited for
        return PlatLoseInput();
    default:
        return;
    }
}

void SdlThread::RunRequests() {
    Requests requests;
    {
        std::lock_guard lock(m_lock);
        requests.swap(m_requests);
    }
    for (const auto& request : requests) request(m_window);
}

void SdlThread::Wake() const {
    SDL_Event event{};
    event.type = m_wakeEvent;
    SDL_PushEvent(&event);
}

void SdlThread::Painted() {
    m_painted = true;
    Wake();
}

void SdlThread::Post(Requests::value_type request) {
    {
        std::lock_guard lock(m_lock);
        m_requests.push_back(std::move(request));
    }
    Wake();
}

bool SdlThread::Call(std::function<void()> request) {
    const auto done = std::make_shared<std::promise<void>>();
    auto finished = done->get_future();
    Post([done, request = std::move(request)](SdlWindow&) {
        request();
        done->set_value();
    });
    return finished.wait_for(std::chrono::seconds(1)) == std::future_status::ready;
}

} // namespace plat
