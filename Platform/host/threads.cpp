#include "Platform/threads.h"
#include "Platform/host/faults.h"
#include "Platform/host/messages.h"
#include "Platform/host/syncobjects.h"
#include "Platform/host/thread.h"

#include <algorithm>
#include <climits>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace plat {

thread_local ThreadState* t_thread __attribute__((tls_model("initial-exec"))) = nullptr;

namespace {

constexpr int kMaximumSuspendCount = 127;
// What the device asks for was measured on 32-bit code; sanitizers need more again.
constexpr std::size_t kLeastStack = 1024 * 1024;

struct Threads {
    std::mutex lock;
    std::unordered_map<DWORD, std::shared_ptr<Thread>> byId;
    DWORD lastId = 0;
};
Threads& TheThreads() {
    static Threads& threads = *new Threads;
    return threads;
}

// A plain pointer, because it must be readable after the thread's own static objects are gone.
thread_local std::shared_ptr<Thread>* t_self = nullptr;

DWORD Enrol(const std::shared_ptr<Thread>& thread) {
    Threads& threads = TheThreads();
    std::lock_guard lock(threads.lock);
    const DWORD id = ++threads.lastId;
    threads.byId.emplace(id, thread);
    return id;
}

// Clears up when a thread that CreateThread didn't make goes.
struct ForeignThreadEnd {
    bool armed = false;
    void End(DWORD code) {
        if (!armed || !t_self) return;
        armed = false;
        FinishThread(**t_self, code);
        delete std::exchange(t_self, nullptr);
    }
    ~ForeignThreadEnd() { End(0); }
};
thread_local ForeignThreadEnd t_foreignEnd;

void AdoptCallingThread() {
    NoKill section;
    auto thread = std::make_shared<Thread>(false);
    thread->threadId = Enrol(thread);
    t_self = new std::shared_ptr<Thread>(std::move(thread));
    t_foreignEnd.armed = true;
}

} // namespace

// --- The object ---------------------------------------------------------------------------------------------------

Thread::Thread(bool made)
    : Waitable(Kind::Thread), m_made(made), m_exitCode(STILL_ACTIVE), m_priority(THREAD_PRIORITY_NORMAL) {}

bool Thread::Ended() const {
    std::lock_guard lock(m_lock);
    return m_ended;
}

DWORD Thread::ExitCode() const {
    std::lock_guard lock(m_lock);
    return m_exitCode;
}

int Thread::Priority() const {
    std::lock_guard lock(m_lock);
    return m_priority;
}

void Thread::SetPriority(int priority) {
    std::lock_guard lock(m_lock);
    m_priority = priority;
}

int Thread::Suspend() {
    std::lock_guard lock(m_lock);
    if (m_ended || m_suspendCount == kMaximumSuspendCount) return -1;
    const int former = m_suspendCount++;
    UpdateAttention();
    return former;
}

int Thread::Resume() {
    int former;
    {
        std::lock_guard lock(m_lock);
        former = m_suspendCount;
        if (former == 0) return 0;
        --m_suspendCount;
        UpdateAttention();
    }
    if (former == 1) waker.Wake();
    return former;
}

bool Thread::Suspended() const {
    std::lock_guard lock(m_lock);
    return m_suspendCount > 0;
}

void Thread::UpdateAttention() {
    attention.store(m_suspendCount > 0 || m_doomed.load(std::memory_order_relaxed),
                    std::memory_order_release);
}

bool Thread::Doom(DWORD code) {
    {
        std::lock_guard lock(m_lock);
        if (m_ended) return false;
        m_ended = true;
        m_exitCode = code;
        m_doomed.store(true, std::memory_order_release);
        UpdateAttention();
    }
    waker.Wake();
    return true;
}

bool Thread::BeginEnding(DWORD code) {
    std::lock_guard lock(m_lock);
    if (m_ended) return false;
    m_ended = true;
    m_exitCode = code;
    m_suspendCount = 0;
    hostId = 0;
    UpdateAttention();
    return true;
}

void Thread::Signal() {
    std::lock_guard lock(m_lock);
    m_signalled = true;
    WakeWaiters();
}

Taken Thread::Take(Thread&) { return m_signalled ? Taken::Yes : Taken::No; }

void Thread::OwnMutex(const std::shared_ptr<Mutex>& mutex) {
    std::lock_guard lock(m_lock);
    m_mutexes.push_back(mutex);
}

void Thread::DisownMutex(const Mutex* mutex) {
    std::lock_guard lock(m_lock);
    std::erase_if(m_mutexes, [mutex](const auto& owned) {
        const auto alive = owned.lock();
        return !alive || alive.get() == mutex;
    });
}

void Thread::AbandonMutexes() {
    std::vector<std::weak_ptr<Mutex>> mutexes;
    {
        std::lock_guard lock(m_lock);
        mutexes.swap(m_mutexes);
    }
    for (const auto& mutex : mutexes)
        if (const auto alive = mutex.lock()) alive->Abandon(threadId);
}

// --- Who runs -----------------------------------------------------------------------------------------------------

Thread& CurrentThread() {
    if (!t_self) AdoptCallingThread();
    return **t_self;
}

std::shared_ptr<Thread> CurrentThreadObject() {
    if (!t_self) AdoptCallingThread();
    return *t_self;
}

std::shared_ptr<Thread> FindThread(DWORD threadId) {
    Threads& threads = TheThreads();
    std::lock_guard lock(threads.lock);
    const auto found = threads.byId.find(threadId);
    return found == threads.byId.end() ? nullptr : found->second;
}

void ForgetThread(DWORD threadId) {
    std::shared_ptr<Thread> last; // ends outside of the lock
    Threads& threads = TheThreads();
    std::lock_guard lock(threads.lock);
    const auto found = threads.byId.find(threadId);
    if (found == threads.byId.end()) return;
    last = std::move(found->second);
    threads.byId.erase(found);
}

void FinishThread(Thread& self, DWORD code) {
    HostCall call;
    if (!self.BeginEnding(code)) self.Park();
    ForgetThread(self.threadId);
    DropThreadWindows(self.threadId);
    self.AbandonMutexes();
    self.Signal();
}

// --- Starting -----------------------------------------------------------------------------------------------------

namespace {

struct StartOrder {
    std::shared_ptr<Thread> thread;
    LPTHREAD_START_ROUTINE start;
    void* parameter;
};

// The bottom of a thread. ExitThread comes back here with a jump, so nothing with a destructor may live across the call.
void RunThread(Thread& self, LPTHREAD_START_ROUTINE start, void* parameter) {
    static thread_local DWORD code;
    if (setjmp(self.exitPoint) == 0) {
        { HostCall heldWhileSuspended; }
        code = start(parameter);
    } else {
        self.noKillDepth.store(0, std::memory_order_relaxed);
        LeaveGuards();
        code = self.askedExitCode;
    }
    FinishThread(self, code);
}

void* ThreadMain(void* argument) {
    std::unique_ptr<StartOrder> order(static_cast<StartOrder*>(argument));
    const auto start = order->start;
    const auto parameter = order->parameter;
    t_self = new std::shared_ptr<Thread>(std::move(order->thread));
    order.reset();
    Thread& self = **t_self;
    {
        std::lock_guard lock(self.Lock());
        self.hostThread = pthread_self();
        self.hostId = static_cast<pid_t>(syscall(SYS_gettid));
    }
    AdmitEndingSignal();
    t_thread = &self;
    RunThread(self, start, parameter);
    // What static objects of this thread still call at its end finds a thread that can't be ended.
    t_thread = nullptr;
    t_foreignEnd.armed = false;
    delete std::exchange(t_self, nullptr);
    return nullptr;
}

std::size_t StackSize(DWORD asked) {
    constexpr std::size_t kPage = 4096;
    return (std::max<std::size_t>(asked, kLeastStack) + kPage - 1) / kPage * kPage;
}

bool StartHostThread(StartOrder* order, DWORD stackSize) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if (stackSize != 0) pthread_attr_setstacksize(&attributes, StackSize(stackSize));
    pthread_t ignored;
    const int result = pthread_create(&ignored, &attributes, &ThreadMain, order);
    pthread_attr_destroy(&attributes);
    return result == 0;
}

// Handles of other kinds and of threads that can't be told what to do give null and the error.
std::shared_ptr<Thread> ThreadOf(HANDLE handle) {
    auto thread = FindObject<Thread>(handle);
    if (!thread) SetLastError(ERROR_INVALID_HANDLE);
    return thread;
}

std::shared_ptr<Thread> MadeThreadOf(HANDLE handle) {
    auto thread = ThreadOf(handle);
    if (!thread || thread->Made()) return thread;
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

} // namespace
} // namespace plat

// --- Operations ---------------------------------------------------------------------------------------------------

HANDLE CreateThread(const SECURITY_ATTRIBUTES*, DWORD stackSize, LPTHREAD_START_ROUTINE start,
                    void* parameter, DWORD flags, DWORD* threadId) {
    plat::HostCall call;
    if (!start) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (plat::FaultStrikes(PlatFault::ThreadCreate)) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    auto thread = std::make_shared<plat::Thread>(true);
    thread->threadId = plat::Enrol(thread);
    if (flags & CREATE_SUSPENDED) thread->Suspend();
    const HANDLE handle = plat::AddHandle(thread);
    if (threadId) *threadId = thread->threadId;
    auto order = std::make_unique<plat::StartOrder>(plat::StartOrder{thread, start, parameter});
    if (!handle || !plat::StartHostThread(order.get(), stackSize)) {
        plat::ForgetThread(thread->threadId);
        plat::RemoveHandle(handle);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    (void)order.release(); // the thread's own now
    return handle;
}

void ExitThread(DWORD code) {
    { plat::HostCall call; }
    plat::Thread& self = plat::CurrentThread();
    if (!self.Made()) {
        plat::t_foreignEnd.End(code);
        pthread_exit(nullptr);
    }
    self.EnterNoKill(); // the jump must not be caught half-way
    self.askedExitCode = code;
    longjmp(self.exitPoint, 1);
}

BOOL TerminateThread(HANDLE handle, DWORD code) {
    plat::HostCall call;
    const auto thread = plat::MadeThreadOf(handle);
    return thread && plat::EndThread(thread, code);
}

DWORD SuspendThread(HANDLE handle) {
    plat::HostCall call;
    const auto thread = plat::MadeThreadOf(handle);
    if (!thread) return 0xFFFFFFFF;
    const int former = thread->Suspend();
    if (former < 0) SetLastError(ERROR_INVALID_HANDLE);
    if (thread.get() == plat::t_thread) plat::Attend(*thread);
    return static_cast<DWORD>(former);
}

DWORD ResumeThread(HANDLE handle) {
    plat::HostCall call;
    const auto thread = plat::MadeThreadOf(handle);
    return thread ? static_cast<DWORD>(thread->Resume()) : 0xFFFFFFFF;
}

BOOL SetThreadPriority(HANDLE handle, int priority) {
    plat::HostCall call;
    const auto thread = plat::ThreadOf(handle);
    if (!thread) return FALSE;
    if (priority < THREAD_PRIORITY_TIME_CRITICAL || priority > THREAD_PRIORITY_IDLE) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    thread->SetPriority(priority);
    return TRUE;
}

int GetThreadPriority(HANDLE handle) {
    plat::HostCall call;
    const auto thread = plat::ThreadOf(handle);
    return thread ? thread->Priority() : THREAD_PRIORITY_ERROR_RETURN;
}

BOOL GetExitCodeThread(HANDLE handle, DWORD* code) {
    plat::HostCall call;
    const auto thread = plat::ThreadOf(handle);
    if (!thread) return FALSE;
    if (!code) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *code = thread->ExitCode();
    return TRUE;
}

DWORD GetCurrentThreadId() { return plat::CurrentThread().threadId; }

// --- Interlocked --------------------------------------------------------------------------------------------------

LONG InterlockedIncrement(LONG* value) { return std::atomic_ref(*value).fetch_add(1) + 1; }
LONG InterlockedDecrement(LONG* value) { return std::atomic_ref(*value).fetch_sub(1) - 1; }
