// The window of a data thread's client.
#pragma once

#include "Platform/windows.h"
#include "QNWorkerClass/CQNDataThread.h"

#include <chrono>
#include <string>
#include <thread>
#include <utility>

// A message-only window of this thread that keeps what it is told, posted or sent. One at a time.
class ClientWindow {
public:
    ClientWindow() {
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = &Receive;
        windowClass.lpszClassName = u"DataClient";
        RegisterClassW(&windowClass);
        m_window =
            CreateWindowExW(0, u"DataClient", u"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        s_told.clear();
    }
    ~ClientWindow() { DestroyWindow(m_window); }
    ClientWindow(const ClientWindow&) = delete;
    ClientWindow& operator=(const ClientWindow&) = delete;
    operator HWND() const { return m_window; }

    // "32802 1274(1,5) 32803 ", up to and with the next end of a run.
    std::string UntilFinished() {
        MSG message;
        for (;;) {
            if (!PeekMessageW(&message, m_window, 0, 0, PM_REMOVE)) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                continue;
            }
            Keep(message.message, message.wParam, message.lParam);
            if (message.message == kMsgThreadFinished) return std::exchange(s_told, {});
        }
    }
    std::string Pending() {
        MSG message;
        while (PeekMessageW(&message, m_window, 0, 0, PM_REMOVE))
            Keep(message.message, message.wParam, message.lParam);
        return std::exchange(s_told, {});
    }

private:
    static LRESULT Receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == kMsgListChanged) Keep(message, wParam, lParam);
        return DefWindowProcW(window, message, wParam, lParam);
    }
    static void Keep(UINT message, WPARAM wParam, LPARAM lParam) {
        s_told += std::to_string(message);
        if (message == kMsgListChanged)
            s_told += "(" + std::to_string(wParam) + "," + std::to_string(lParam) + ")";
        s_told += " ";
    }
    HWND m_window;
    static inline std::string s_told;
};
