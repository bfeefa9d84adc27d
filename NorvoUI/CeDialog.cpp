#include "NorvoUI/CeDialog.h"

#include "Platform/threads.h"

int CeDialog::DoModal(HWND hOwner) {
    const HWND formerFocus = GetFocus();
    if (!CreateFrame(hOwner)) return m_nResult;
    const HWND owner = ::GetWindow(m_hWnd, GW_OWNER);
    const bool disabled = owner && !::EnableWindow(owner, FALSE); // it took input until now
    m_modal = true;
    ShowFrame();
    RunLoop();
    m_modal = false;
    if (disabled) ::EnableWindow(owner, TRUE); // before the window goes, so that the owner becomes active
    if (m_hWnd) DestroyWindow();
    if (owner && ::GetWindowThreadProcessId(owner, nullptr) != GetCurrentThreadId())
        ::SetForegroundWindow(owner);
    if (::IsWindow(formerFocus)) ::SetFocus(formerFocus);
    return m_nResult;
}

// Until EndDialog, or the window or the application goes.
void CeDialog::RunLoop() {
    MSG message{};
    while (m_modal && m_hWnd) {
        const BOOL got = GetMessageW(&message, nullptr, 0, 0);
        if (got == 0) PostQuitMessage(static_cast<int>(message.wParam)); // for the loop outside
        if (got <= 0) {
            m_nResult = IDCANCEL;
            return;
        }
        if (!TakeKey(message)) DispatchMessageW(&message);
    }
}

void CeDialog::EndDialog(int result) {
    if (!m_modal) return CeBaseDialog::EndDialog(result);
    m_nResult = result;
    m_modal = false;
    WakeLoop();
}

LRESULT CeDialog::OnDestroy(bool& handled) {
    if (m_modal) WakeLoop();
    return CeBaseDialog::OnDestroy(handled);
}

// What another thread has sent is worked off within the wait for a message, which goes on behind it.
void CeDialog::WakeLoop() { ::PostMessageW(nullptr, WM_NULL, 0, 0); }
