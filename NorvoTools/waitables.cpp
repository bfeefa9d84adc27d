#include "NorvoTools/waitables.h"

#include "Platform/windows.h"

namespace {

constexpr DWORD kWaitSlice = 150;
constexpr DWORD kMessageArrived = WAIT_OBJECT_0 + 1;

bool IsValid(HANDLE handle) { return handle && handle != INVALID_HANDLE_VALUE; }

} // namespace

void CeWaitableHandle::Attach(HANDLE handle) {
    HANDLE old = m_handle.exchange(handle, std::memory_order_acq_rel);
    if (IsValid(old)) CloseHandle(old);
}

DWORD CeWaitableHandle::WaitFor(DWORD milliseconds) const {
    if (milliseconds != INFINITE) return WaitForSingleObject(Get(), milliseconds);
    // In slices: the handle is read anew each time, so the waiter goes when another thread has closed it.
    while (HANDLE handle = Get()) {
        const DWORD result = WaitForSingleObject(handle, kWaitSlice);
        if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED)
            return result;                                           // an abandoned mutex is held now
        if (result == WAIT_FAILED && Get() == handle) return result; // it can't ever be signalled
    }
    return WAIT_OBJECT_0;
}

DWORD CeWaitableHandle::MsgWaitFor(DWORD milliseconds) const {
    MSG quit = {};
    DWORD result = WAIT_OBJECT_0;
    const HANDLE handle = Get();
    // Until it is cleared: a handler may close it, and even start something new under it.
    while (handle && Get() == handle) {
        result = MsgWaitForMultipleObjectsEx(1, &handle, milliseconds, QS_ALLINPUT, 0);
        if (result != kMessageArrived) break;
        MSG message = {};
        if (!PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) continue;
        if (message.message == WM_QUIT) quit = message;
        DispatchMessageW(&message);
    }
    // The end of the application was asked for during the wait: its own loop has to see that.
    if (quit.message == WM_QUIT) PostQuitMessage(static_cast<int>(quit.wParam));
    return handle && Get() == handle ? result : WAIT_OBJECT_0;
}

BOOL CeWaitableHandle::Close() {
    HANDLE handle = Detach();
    return IsValid(handle) ? CloseHandle(handle) : FALSE;
}

CeManualEvent::CeManualEvent(bool bInitial) : CeManualEvent(nullptr, bInitial) {}
CeManualEvent::CeManualEvent(const WCHAR* name, bool bInitial, SECURITY_ATTRIBUTES* security)
    : CeEvent(CreateEventW(security, TRUE, bInitial, name)) {}

CeAutoEvent::CeAutoEvent(bool bInitial) : CeAutoEvent(nullptr, bInitial) {}
CeAutoEvent::CeAutoEvent(const WCHAR* name, bool bInitial, SECURITY_ATTRIBUTES* security)
    : CeEvent(CreateEventW(security, FALSE, bInitial, name)) {}

CeSemaphore::CeSemaphore(LONG maximum) : CeWaitableHandle(CreateSemaphoreW(nullptr, 0, maximum, nullptr)) {}

BOOL CeSemaphore::Release() { return ReleaseSemaphore(Get(), 1, nullptr); }

LONG CeSemaphore::Release(LONG n) {
    LONG before = -1;
    return ReleaseSemaphore(Get(), n, &before) ? before : -1;
}

DWORD CeMutex::Wait(DWORD milliseconds, bool bPump) {
    const DWORD result = bPump ? MsgWaitFor(milliseconds) : WaitFor(milliseconds);
    if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) m_dwHolder = GetCurrentThreadId();
    return result;
}

DWORD CeMutex::Create(const WCHAR* name, DWORD milliseconds, bool bPump) {
    if (Get()) {
        const bool heldBefore = m_dwHolder == GetCurrentThreadId();
        if (DWORD result = Wait(milliseconds, bPump)) return result;
        // The old one goes whole before the new one comes: the name may be another, and a hold must not stay behind.
        if (heldBefore) ReleaseMutex(Get());
        Release();
    }
    HANDLE mutex = CreateMutexW(nullptr, TRUE, name);
    const DWORD error = GetLastError();
    Attach(mutex);
    if (error == ERROR_INVALID_HANDLE || error == ERROR_ALREADY_EXISTS) return Wait(milliseconds, bPump);
    m_dwHolder = GetCurrentThreadId();
    return WAIT_OBJECT_0;
}

void CeMutex::Release() {
    HANDLE mutex = Detach();
    if (!IsValid(mutex)) return;
    m_dwHolder = 0;
    ReleaseMutex(mutex);
    CloseHandle(mutex);
}
