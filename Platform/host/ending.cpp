// Ending a thread from outside.
//
// Nothing may unwind a thread that did not ask for it, and a thread stopped in the middle of the allocator or of a
// commit stops everybody else. So it is parked, at a place where it can hold nothing of the host's: at its next checkpoint,
// or, when a signal finds it there, in this library's own code outside of every host section. The store is told first,
// so that a long statement breaks off. A thread that is not caught within the time stays the business of the reaper.
#include "Platform/host/call.h"
#include "Platform/host/messages.h"
#include "Platform/host/thread.h"
#include "Platform/threads.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <link.h>
#include <poll.h>
#include <signal.h>
#include <span>
#include <sys/syscall.h>
#include <thread>
#include <ucontext.h>
#include <unistd.h>

namespace plat {
namespace {

using std::chrono::milliseconds;
// Of the own time of the thread on a processor. Nearly all are held within a few; one that is given up runs on for a while
// beside PostKill, so giving up is the last resort.
constexpr milliseconds kPatience{500};
constexpr milliseconds kLongPatience{2000}; // for one that waits for something itself, or for a processor
// Short, since a thread that allocates much is often outside of its own code; not shorter, since it must get on between
// two signals, or they find it at the same instruction again and again.
constexpr std::chrono::microseconds kBetweenProds{100};
constexpr milliseconds kBetweenReaps{20};

std::mutex g_hooksLock;
StoreHooks g_hooks;

StoreHooks Hooks() {
    std::lock_guard lock(g_hooksLock);
    return g_hooks;
}

// --- Where own code lies ------------------------------------------------------------------------------------------

struct CodeRange {
    std::uintptr_t begin;
    std::uintptr_t end;
};
struct OwnCode {
    std::array<CodeRange, 8> ranges{};
    std::size_t count = 0;

    bool Holds(std::uintptr_t address) const {
        for (std::size_t i = 0; i < count; ++i)
            if (address >= ranges[i].begin && address < ranges[i].end) return true;
        return false;
    }
};
OwnCode g_ownCode; // written once, before the signal can come

bool IsCode(const ElfW(Phdr) & segment) { return segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0; }

// Takes the segments of the object that holds this very function: the library, or the program it is linked into.
int CollectOwnCode(dl_phdr_info* object, std::size_t, void* result) {
    OwnCode found;
    for (const auto& segment : std::span(object->dlpi_phdr, object->dlpi_phnum)) {
        if (!IsCode(segment) || found.count == found.ranges.size()) continue;
        const std::uintptr_t begin = object->dlpi_addr + segment.p_vaddr;
        found.ranges[found.count++] = {begin, begin + segment.p_memsz};
    }
    if (!found.Holds(reinterpret_cast<std::uintptr_t>(&CollectOwnCode))) return 0;
    *static_cast<OwnCode*>(result) = found;
    return 1;
}

std::uintptr_t ProgramCounter(const ucontext_t& context) {
#if defined(__x86_64__)
    return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RIP]);
#elif defined(__aarch64__)
    return context.uc_mcontext.pc;
#else
    (void)context;
    return 0; // never own code: threads are held at checkpoints alone
#endif
}

// --- The signal ---------------------------------------------------------------------------------------------------

int EndingSignal() { return SIGRTMIN + 7; }

void OnEndingSignal(int, siginfo_t*, void* context) {
    if (!t_thread) return;
    const int error = errno;
    Thread& self = *static_cast<Thread*>(t_thread);
    if (self.Doomed() && self.noKillDepth.load(std::memory_order_acquire) == 0 &&
        g_ownCode.Holds(ProgramCounter(*static_cast<const ucontext_t*>(context))))
        self.Park();
    errno = error;
}

void InstallOnce() {
    static const bool installed = [] {
        dl_iterate_phdr(&CollectOwnCode, &g_ownCode);
        struct sigaction action = {};
        action.sa_sigaction = &OnEndingSignal;
        action.sa_flags =
            SA_SIGINFO | SA_RESTART; // reads and writes of the host go on as if nothing had been
        sigemptyset(&action.sa_mask);
        return sigaction(EndingSignal(), &action, nullptr) == 0;
    }();
    (void)installed;
}

// --- The reaper ---------------------------------------------------------------------------------------------------

void AfterParking(const std::shared_ptr<Thread>& thread) {
    if (const auto recover = Hooks().recover) recover(thread->threadId);
    DropThreadWindows(thread->threadId); // what it made after it was given up
}

// Threads that were not caught in time. The thread that goes after them runs while there are any.
struct Reaper {
    std::mutex lock;
    std::vector<std::shared_ptr<Thread>> runaways;
    bool running = false;

    void Add(const std::shared_ptr<Thread>& thread) {
        std::lock_guard guard(lock);
        runaways.push_back(thread);
        if (running) return;
        running = true;
        std::thread([this] { Run(); }).detach();
    }

private:
    std::vector<std::shared_ptr<Thread>> Left() {
        std::lock_guard guard(lock);
        std::erase_if(runaways, [](const auto& thread) { return thread->Parked(); });
        running = !runaways.empty();
        return runaways;
    }
    void Run() {
        for (auto left = Left(); !left.empty(); left = Left())
            for (const auto& thread : left) {
                thread->Prod();
                thread->WaitParked(Clock::now() + kBetweenReaps);
                if (thread->Parked()) AfterParking(thread);
            }
    }
};
Reaper& TheReaper() {
    static Reaper& reaper = *new Reaper;
    return reaper;
}

// True when the thread is held.
bool Catch(Thread& thread) {
    const auto begin = Clock::now();
    const auto used = thread.ProcessorTime();
    while (!thread.Parked()) {
        const auto now = Clock::now();
        const bool inHost = thread.noKillDepth.load(std::memory_order_relaxed) > 0;
        if (!inHost && thread.ProcessorTime() - used > kPatience) return false;
        if (now - begin > kLongPatience) return false;
        thread.Prod();
        thread.WaitParked(now + kBetweenProds);
    }
    return true;
}

// Held threads keep their objects: their stacks refer to them for ever.
void KeepForEver(const std::shared_ptr<Thread>& thread) {
    static std::mutex lock;
    static auto& kept = *new std::vector<std::shared_ptr<Thread>>;
    std::lock_guard guard(lock);
    kept.push_back(thread);
}

} // namespace

// --- Parts of the thread object -----------------------------------------------------------------------------------

void Thread::Park() {
    // Also in a signal handler: nothing here may take a lock or memory.
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    m_parked.store(1, std::memory_order_release);
    FutexWake(m_parked, 1);
    for (;;) syscall(SYS_ppoll, nullptr, 0, nullptr, nullptr, 0);
}

void Thread::WaitParked(Clock::time_point until) const {
    if (!Parked()) FutexWait(m_parked, 0, until);
}

std::chrono::nanoseconds Thread::ProcessorTime() const {
    std::lock_guard lock(m_lock);
    clockid_t clock;
    timespec used = {};
    if (hostId == 0 || pthread_getcpuclockid(hostThread, &clock) != 0 || clock_gettime(clock, &used) != 0)
        return {};
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

void Thread::Prod() {
    std::lock_guard lock(m_lock);
    if (hostId != 0 && !Parked()) syscall(SYS_tgkill, getpid(), hostId, EndingSignal());
}

// --- The checkpoint -----------------------------------------------------------------------------------------------

void Attend(ThreadState& state) {
    Thread& self = static_cast<Thread&>(state);
    for (;;) {
        const auto ticket = self.waker.Ticket();
        if (self.Doomed()) self.Park();
        if (!self.Suspended()) return;
        self.waker.Sleep(ticket, Clock::time_point::max());
    }
}

void SetStoreHooks(const StoreHooks& hooks) {
    std::lock_guard lock(g_hooksLock);
    g_hooks = hooks;
}

void AdmitEndingSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, EndingSignal());
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

// --- Ending -------------------------------------------------------------------------------------------------------

bool EndThread(const std::shared_ptr<Thread>& thread, DWORD code) {
    InstallOnce();
    if (!thread->Doom(code)) return true; // it has ended already, and keeps its code
    KeepForEver(thread);
    const bool self = thread.get() == t_thread;
    bool caught = self;
    if (!self) {
        if (const auto interrupt = Hooks().interrupt) interrupt(thread->threadId);
        caught = Catch(*thread);
    }
    if (caught)
        if (const auto recover = Hooks().recover) recover(thread->threadId);
    ForgetThread(thread->threadId);
    DropThreadWindows(thread->threadId);
    thread->AbandonMutexes();
    thread->Signal();
    if (self) thread->Park();
    if (!caught) TheReaper().Add(thread);
    return true;
}

} // namespace plat

// A checkpoint like any other: a thread that goes from one section to the next would else never be held.
PlatUnended::PlatUnended() : m_thread(plat::t_thread) {
    plat::HostCall call;
    if (m_thread) static_cast<plat::ThreadState*>(m_thread)->EnterNoKill();
}

PlatUnended::~PlatUnended() {
    if (m_thread) static_cast<plat::ThreadState*>(m_thread)->LeaveNoKill();
}
