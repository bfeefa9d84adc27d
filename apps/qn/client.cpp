#include "apps/qn/client.h"

#include "Platform/windows.h"
#include "QNWorkerClass/CQNDataThread.h"
#include "apps/qn/support.h"

namespace qn {

Client::Client(std::function<void(WPARAM, LPARAM)> changed) : m_changed(std::move(changed)) {
    WNDCLASSW cls{};
    cls.lpfnWndProc = &Proc;
    cls.lpszClassName = u"qn:client";
    RegisterClassW(&cls);
    m_window =
        CreateWindowExW(0, cls.lpszClassName, u"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (!m_window) throw Failure("no window for the list");
    SetWindowLongW(m_window, GWL_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

Client::~Client() { DestroyWindow(m_window); }

LRESULT Client::Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* client = reinterpret_cast<Client*>(GetWindowLongW(window, GWL_USERDATA));
    if (client && message == kMsgListChanged) return client->m_changed(wParam, lParam), 0;
    if (client && message == kMsgThreadFinished) client->m_finished = true;
    return DefWindowProcW(window, message, wParam, lParam);
}

void Client::Run(CeWorkerThread& thread) {
    m_finished = false;
    thread.Start();
    MSG message;
    while (!m_finished && GetMessageW(&message, nullptr, 0, 0)) DispatchMessageW(&message);
    thread.Stop(true);
}

} // namespace qn
