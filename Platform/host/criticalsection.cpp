#include "Platform/host/call.h"
#include "Platform/host/futex.h"
#include "Platform/threads.h"

namespace plat {
namespace {

enum Word : DWORD { kFree = 0, kHeld = 1, kWaitedFor = 2 };

// A blocked thread looks now and then whether it has been told to stop, should it miss the signal for it.
constexpr std::chrono::milliseconds kLook{200};

// The section is plain data, so that its bytes may be copied; the words are atomic for whoever looks at them here.
std::atomic_ref<DWORD> Owner(CRITICAL_SECTION& section) { return std::atomic_ref(section.owner); }
std::atomic_ref<DWORD> Depth(CRITICAL_SECTION& section) { return std::atomic_ref(section.depth); }
// The system wants the address of a word, which this is.
std::atomic<DWORD>& WordOf(CRITICAL_SECTION& section) {
    return reinterpret_cast<std::atomic<DWORD>&>(section.word);
}

bool EnterAgain(CRITICAL_SECTION& section, DWORD self) {
    if (Owner(section).load(std::memory_order_relaxed) != self) return false;
    if (Depth(section).load(std::memory_order_relaxed) == 0) return false; // left by another meanwhile
    Depth(section).fetch_add(1, std::memory_order_relaxed);
    return true;
}

void Own(CRITICAL_SECTION& section, DWORD self) {
    Owner(section).store(self, std::memory_order_relaxed);
    Depth(section).store(1, std::memory_order_release);
}

bool TryFresh(CRITICAL_SECTION& section) {
    DWORD expected = kFree;
    return WordOf(section).compare_exchange_strong(expected, kHeld, std::memory_order_acquire);
}

void Block(CRITICAL_SECTION& section) {
    auto& word = WordOf(section);
    while (word.exchange(kWaitedFor, std::memory_order_acquire) != kFree) {
        if (t_thread && t_thread->attention.load(std::memory_order_acquire) &&
            t_thread->noKillDepth.load(std::memory_order_relaxed) == 1)
            Attend(*t_thread);
        FutexWait(word, kWaitedFor, Clock::now() + kLook);
    }
}

// False when it was free.
bool LowerDepth(CRITICAL_SECTION& section, DWORD& left) {
    auto depth = Depth(section);
    DWORD now = depth.load(std::memory_order_acquire);
    do {
        if (now == 0) return false;
        // Nobody can own it from here on, so the owner goes first: it must not be taken for that of the next round.
        if (now == 1) Owner(section).store(0, std::memory_order_relaxed);
    } while (!depth.compare_exchange_weak(now, now - 1, std::memory_order_acq_rel));
    left = now - 1;
    return true;
}

} // namespace
} // namespace plat

void InitializeCriticalSection(CRITICAL_SECTION* section) { *section = {}; }
void DeleteCriticalSection(CRITICAL_SECTION* section) { *section = {}; }

void EnterCriticalSection(CRITICAL_SECTION* section) {
    plat::HostCall call;
    const DWORD self = GetCurrentThreadId();
    if (plat::EnterAgain(*section, self)) return;
    if (!plat::TryFresh(*section)) plat::Block(*section);
    plat::Own(*section, self);
}

BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) {
    plat::HostCall call;
    const DWORD self = GetCurrentThreadId();
    if (plat::EnterAgain(*section, self)) return TRUE;
    if (!plat::TryFresh(*section)) return FALSE;
    plat::Own(*section, self);
    return TRUE;
}

void LeaveCriticalSection(CRITICAL_SECTION* section) {
    plat::HostCall call;
    DWORD left = 0;
    if (!plat::LowerDepth(*section, left) || left > 0) return;
    auto& word = plat::WordOf(*section);
    if (word.exchange(plat::kFree, std::memory_order_release) == plat::kWaitedFor) plat::FutexWake(word, 1);
}
