// The guard against crashes: a processor fault inside of it jumps back to it, on a stack of its own, since the thread's may
// be what ran out. Faults outside of every guard go to whoever handled them before.
#include "Platform/host/thread.h"
#include "Platform/threads.h"

#include <array>
#include <csetjmp>
#include <csignal>
#include <cxxabi.h>
#include <mutex>
#include <sys/mman.h>

namespace plat {
namespace {

constexpr std::array kFaults = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
constexpr std::size_t kStackSize = 64 * 1024;

struct Frame {
    sigjmp_buf back;
    Frame* outer;
    int noKillDepth; // of the thread, at the guard
};
thread_local Frame* t_innermost __attribute__((tls_model("initial-exec"))) = nullptr;

std::array<struct sigaction, kFaults.size()> g_former;

const struct sigaction& FormerOf(int fault) {
    std::size_t i = 0;
    while (i + 1 < kFaults.size() && kFaults[i] != fault) ++i;
    return g_former[i];
}

void OnFault(int fault, siginfo_t* info, void* context) {
    if (t_innermost) siglongjmp(t_innermost->back, 1);
    const struct sigaction& former = FormerOf(fault);
    if (former.sa_flags & SA_SIGINFO)
        former.sa_sigaction(fault, info, context);
    else if (former.sa_handler == SIG_DFL || former.sa_handler == SIG_IGN)
        sigaction(fault, &former, nullptr); // the instruction runs again, and this time the system acts
    else
        former.sa_handler(fault);
}

void InstallOnce() {
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction action = {};
        action.sa_sigaction = &OnFault;
        action.sa_flags =
            SA_SIGINFO | SA_ONSTACK | SA_NODEFER; // the jump leaves the signal as it was: not blocked
        sigemptyset(&action.sa_mask);
        for (std::size_t i = 0; i < kFaults.size(); ++i) sigaction(kFaults[i], &action, &g_former[i]);
    });
}

// The stack on which faults of one thread are handled, unless it has one already.
class FaultStack {
public:
    FaultStack() {
        stack_t present = {};
        if (sigaltstack(nullptr, &present) == 0 && !(present.ss_flags & SS_DISABLE)) return;
        void* memory = mmap(nullptr, kStackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) return;
        m_memory = memory;
        const stack_t stack = {memory, 0, kStackSize};
        sigaltstack(&stack, nullptr);
    }
    ~FaultStack() {
        if (!m_memory) return;
        const stack_t none = {nullptr, SS_DISABLE, 0};
        sigaltstack(&none, nullptr);
        munmap(m_memory, kStackSize);
    }
    FaultStack(const FaultStack&) = delete;
    FaultStack& operator=(const FaultStack&) = delete;

private:
    void* m_memory = nullptr;
};

void Prepare() {
    HostCall call;
    InstallOnce();
    static thread_local FaultStack stack;
    (void)stack;
}

int NoKillDepth() { return t_thread ? t_thread->noKillDepth.load(std::memory_order_relaxed) : 0; }

void RestoreNoKillDepth(int depth) {
    if (t_thread) t_thread->noKillDepth.store(depth, std::memory_order_relaxed);
}

// Apart from the jump, so that nothing of it lives in the frame that is jumped to.
__attribute__((noinline)) bool CallCatching(void (*body)(void*), void* context) {
    try {
        body(context);
        return true;
    } catch (const abi::__forced_unwind&) {
        throw; // the thread is going, not the body failing
    } catch (...) {
        return false;
    }
}

} // namespace

void LeaveGuards() { t_innermost = nullptr; }

} // namespace plat

bool GuardedCall(void (*body)(void*), void* context) {
    plat::Prepare();
    plat::Frame frame;
    frame.outer = plat::t_innermost;
    frame.noKillDepth = plat::NoKillDepth();
    bool whole = false;
    if (sigsetjmp(frame.back, 0) == 0) {
        plat::t_innermost = &frame;
        whole = plat::CallCatching(body, context);
    } else {
        whole = false;
        plat::RestoreNoKillDepth(frame.noKillDepth);
    }
    plat::t_innermost = frame.outer;
    return whole;
}
