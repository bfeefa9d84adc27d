// The thread that the real window lives on: it waits for the window's events and for what others ask of it.
#pragma once

#include "Platform/host/sdl/sdlinput.h"
#include "Platform/host/sdl/sdlwindow.h"

#include <atomic>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

namespace plat {

class SdlThread {
public:
    // Called on this thread; they must not wait for the application.
    struct Listener {
        virtual ~Listener() = default;
        virtual void Resized(SIZE size) = 0;
        virtual void CloseWanted() = 0;
    };
    struct Opened {
        SIZE size;
        int dotsPerInch; // 0: the display doesn't tell
    };

    explicit SdlThread(Listener& listener) : m_listener(listener) {}
    // Empty when there is no display; then there is no thread either.
    std::optional<Opened> Start(const char* title, int width, int height);
    void Stop();

    // Any thread. Something was painted.
    void Painted();
    using Requests = std::deque<std::function<void(SdlWindow&)>>;
    // Runs it there, soon.
    void Post(Requests::value_type request);
    // Runs it there and waits, but not for ever: false when it has not been run by then.
    bool Call(std::function<void()> request);

private:
    void Run(std::promise<std::optional<Opened>>& opened, const std::string& title, SIZE wanted);
    std::optional<Opened> Open(const std::string& title, SIZE wanted);
    void Loop();
    int Patience() const;
    void Handle(const SDL_Event& event);
    void WindowEvent(const SDL_WindowEvent& event);
    void RunRequests();
    void PresentInTime();
    void Wake() const;

    Listener& m_listener;
    std::thread m_thread;
    SdlWindow m_window;
    SdlInput m_input{m_window};
    Uint32 m_wakeEvent = 0;
    Uint64 m_presented = 0; // SDL_GetTicks64
    std::atomic<bool> m_end{false};
    std::atomic<bool> m_painted{false};
    std::mutex m_lock;
    Requests m_requests;
};

} // namespace plat
