// The window of a command that lets a data thread load: it hears the thread's messages until the thread is done.
#pragma once

#include "NorvoTools/CeWorkerThread.h"
#include "Platform/types.h"

#include <functional>

namespace qn {

class Client {
public:
    // Called for each message that the list has changed: what of it (1 final, 0 progress), and how many rows.
    explicit Client(std::function<void(WPARAM what, LPARAM rows)> changed);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    HWND Window() const { return m_window; }
    // Starts the thread, whose client this is, and serves messages until it has finished.
    void Run(CeWorkerThread& thread);

private:
    static LRESULT Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    std::function<void(WPARAM, LPARAM)> m_changed;
    HWND m_window = nullptr;
    bool m_finished = false;
};

} // namespace qn
