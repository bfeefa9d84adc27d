#include "NorvoTools/CeWorkerThread.h"

#include "Platform/windows.h"

#include <algorithm>

namespace {

constexpr DWORD kNoExitCode = 0xFFFFFFFF;
// How long Stop lets a worker that is about to finish do so, before and after it is flagged.
constexpr DWORD kGraceMilliseconds = 1;

} // namespace

DWORD CeWorkerThread::RunFlag::TryEnter() {
    DWORD run = m_last.fetch_add(1, std::memory_order_relaxed) + 1;
    if (run == 0) run = m_last.fetch_add(1, std::memory_order_relaxed) + 1; // 0 means free
    DWORD free = 0;
    return m_run.compare_exchange_strong(free, run, std::memory_order_acq_rel) ? run : 0;
}

CeWorkerThread::CeWorkerThread(bool bAutoDelete, HWND hNotifyWnd, DWORD dwStopTimeout)
    : m_hNotifyWnd(hNotifyWnd), m_bAutoDelete(bAutoDelete), m_dwStopTimeout(dwStopTimeout) {}

CeWorkerThread::CeWorkerThread(const CeWorkerThread& other) { CopyState(other); }

CeWorkerThread& CeWorkerThread::operator=(const CeWorkerThread& other) {
    if (this != &other) CopyState(other);
    return *this;
}

// The busy flag stays free, and the stop event is a handle of its own on the same event: both destructors close theirs.
void CeWorkerThread::CopyState(const CeWorkerThread& other) {
    if (m_hThread.Get() != other.m_hThread.Get()) m_hThread.Attach(other.m_hThread.Get());
    m_csRun.Leave();
    m_bRunning = other.m_bRunning.load();
    m_bStopSet = other.m_bStopSet.load();
    m_hNotifyWnd = other.m_hNotifyWnd;
    std::copy(std::begin(other.m_szName), std::end(other.m_szName), m_szName);
    m_bAutoDelete = other.m_bAutoDelete;
    m_dwThreadId = other.m_dwThreadId.load();
    HANDLE event = nullptr;
    DuplicateHandle(nullptr, other.m_hStopEvent.Get(), nullptr, &event, 0, FALSE, DUPLICATE_SAME_ACCESS);
    m_hStopEvent.Attach(event);
    m_dwStopTimeout = other.m_dwStopTimeout;
    m_bUser = other.m_bUser;
    m_dwUser = other.m_dwUser;
}

CeWorkerThread::~CeWorkerThread() {
    if (IsRunning() || IsStopSet() || m_hThread.Get()) CeWorkerThread::Kill(1);
}

void CeWorkerThread::Delete() {
    if (m_bAutoDelete) delete this;
}

bool CeWorkerThread::IsOwnThread() const {
    return m_hThread.Get() && GetCurrentThreadId() == m_dwThreadId.load(std::memory_order_acquire);
}

// --- Starting -------------------------------------------------------------------------------------------------------

bool CeWorkerThread::Start(int priority, DWORD stackSize, DWORD creationFlags,
                           SECURITY_ATTRIBUTES* security) {
    if (IsOwnThread()) return false;
    DWORD run = 0;
    while (IsStopSet() || IsRunning() || m_hThread.Get() || (run = m_csRun.TryEnter()) == 0) Stop(true);
    m_dwRun.store(run, std::memory_order_release);
    // Suspended, so that handle and id stand before the run looks at them. When no thread can be made the busy flag
    // stays taken, and the next Start frees it through Stop.
    DWORD id = 0;
    HANDLE thread =
        CreateThread(security, stackSize, &StartThread, this, creationFlags | CREATE_SUSPENDED, &id);
    if (!thread) return false;
    m_dwThreadId.store(id, std::memory_order_release);
    m_hThread.Attach(thread);
    SetThreadPriority(thread, priority);
    if (creationFlags & CREATE_SUSPENDED) return true;
    const bool autoDelete = m_bAutoDelete;
    ResumeThread(thread);
    // An object that deletes itself may be gone already.
    return autoDelete || m_hThread.Get();
}

DWORD CeWorkerThread::StartThread(void* self) {
    auto* worker = static_cast<CeWorkerThread*>(self);
    return worker->Run(worker->m_dwRun.load(std::memory_order_acquire));
}

void CeWorkerThread::RunInline() { Run(0); }

DWORD CeWorkerThread::Run(DWORD run) {
    const DWORD id = GetId();
    if (id == 0) return 0;
    m_bRunning.store(true, std::memory_order_release);
    const DWORD code = ThreadProc();
    m_hStopEvent.Reset();
    m_bRunning.store(false, std::memory_order_release);
    PostWindowMessage(kMsgThreadEnded, code, static_cast<LPARAM>(id));
    EndRun(run);
    return code;
}

// Who sees the handle cleared may start the next run or destroy the object, so clearing it is the last thing that touches
// the object; one that deletes itself has nobody else to do so.
void CeWorkerThread::EndRun(DWORD run) {
    if (run == 0) return; // on a caller's thread: flag and handle, if any, are those of a worker
    const bool autoDelete = m_bAutoDelete;
    m_csRun.Leave(run);
    if (!autoDelete) Delete();
    HANDLE thread = m_hThread.Detach();
    if (thread) CloseHandle(thread);
    if (autoDelete) Delete();
}

void CeWorkerThread::Exit(DWORD code) {
    m_bRunning.store(false, std::memory_order_release);
    PostWindowMessage(kMsgThreadEnded, 0, 0);
    m_csRun.Leave(m_dwRun.load(std::memory_order_acquire));
    // The handle stays for Stop to find.
    Delete();
    ExitThread(code);
}

// --- Stopping -------------------------------------------------------------------------------------------------------

void CeWorkerThread::Stop(bool bPumpMessages) {
    if (IsOwnThread()) {
        m_hStopEvent.Set();
        return;
    }
    if (m_bAutoDelete && m_hThread.Get()) return AskToStop();
    m_hStopEvent.Set();
    Sleep(kGraceMilliseconds);
    if (m_hThread.Get()) {
        m_bStopSet.store(true, std::memory_order_release);
        Sleep(kGraceMilliseconds);
        if (m_hThread.Get()) {
            OnStop();
            WaitForEnd(bPumpMessages);
        }
    }
    if (!m_hThread.Get()) m_bRunning.store(false, std::memory_order_release);
    m_bStopSet.store(false, std::memory_order_release);
    m_hStopEvent.Reset();
    m_csRun.Leave();
}

void CeWorkerThread::WaitForEnd(bool bPumpMessages) {
    const HANDLE thread = m_hThread.Get();
    const DWORD result =
        bPumpMessages ? m_hThread.MsgWaitFor(m_dwStopTimeout) : m_hThread.WaitFor(m_dwStopTimeout);
    // Another handle is that of a run which a message handler has started meanwhile: not the one to end here.
    if (!thread || m_hThread.Get() != thread) return;
    if (result == WAIT_TIMEOUT) Kill(1);
    // A run that ended by Exit leaves its handle behind.
    if (result == WAIT_OBJECT_0) m_hThread.Close();
}

// An object that deletes itself may be gone as soon as its run sees the event, so that comes last.
void CeWorkerThread::AskToStop() {
    m_bStopSet.store(true, std::memory_order_release);
    OnStop();
    m_hStopEvent.Set();
}

BOOL CeWorkerThread::Kill(DWORD code) {
    OnKill();
    BOOL result = FALSE;
    HANDLE thread = m_hThread.Get();
    if (thread && thread != INVALID_HANDLE_VALUE && !IsOwnThread()) result = TerminateThread(thread, code);
    PostKill();
    m_bRunning.store(false, std::memory_order_release);
    m_hThread.Close();
    m_hStopEvent.Reset();
    m_csRun.Leave();
    return result;
}

// --- The rest -------------------------------------------------------------------------------------------------------

bool CeWorkerThread::PostThreadMessageW(UINT message, WPARAM wParam, LPARAM lParam) {
    return GetId() != 0 && ::PostThreadMessageW(GetId(), message, wParam, lParam);
}

bool CeWorkerThread::PostWindowMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    return m_hNotifyWnd && PostMessageW(m_hNotifyWnd, message, wParam, lParam);
}

DWORD CeWorkerThread::GetExitCode() const {
    DWORD code = 0;
    return m_hThread.Get() && GetExitCodeThread(m_hThread.Get(), &code) ? code : kNoExitCode;
}

int CeWorkerThread::GetPriority() const { return GetThreadPriority(m_hThread.Get()); }
BOOL CeWorkerThread::SetPriority(int priority) { return SetThreadPriority(m_hThread.Get(), priority); }

DWORD CeWorkerThread::Suspend() {
    OnSuspend();
    return SuspendThread(m_hThread.Get());
}

DWORD CeWorkerThread::Resume() {
    OnResume();
    return ResumeThread(m_hThread.Get());
}
