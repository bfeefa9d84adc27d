// Slots with one pointer a thread.
#include "Platform/host/call.h"
#include "Platform/threads.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>

namespace {

// A slot's turn tells its present use from former ones, whose values other threads still carry.
struct TlsSlots {
    std::mutex lock;
    std::array<std::atomic<DWORD>, TLS_MINIMUM_AVAILABLE> turns{}; // odd while allocated
};
TlsSlots& TheSlots() {
    static TlsSlots& slots = *new TlsSlots;
    return slots;
}
struct TlsValue {
    DWORD turn;
    void* value;
};
thread_local std::array<TlsValue, TLS_MINIMUM_AVAILABLE> t_values{};

// 0, which is never odd, for a slot that is not allocated.
DWORD TurnOf(DWORD slot) {
    if (slot >= TLS_MINIMUM_AVAILABLE) return 0;
    const DWORD turn = TheSlots().turns[slot].load(std::memory_order_acquire);
    return turn % 2 == 1 ? turn : 0;
}

} // namespace

DWORD TlsAlloc() {
    plat::HostCall call;
    TlsSlots& slots = TheSlots();
    std::lock_guard lock(slots.lock);
    const auto free =
        std::ranges::find_if(slots.turns, [](const auto& turn) { return turn.load() % 2 == 0; });
    if (free == slots.turns.end()) {
        SetLastError(ERROR_NO_MORE_ITEMS);
        return TLS_OUT_OF_INDEXES;
    }
    free->fetch_add(1);
    return static_cast<DWORD>(free - slots.turns.begin());
}

BOOL TlsFree(DWORD slot) {
    plat::HostCall call;
    TlsSlots& slots = TheSlots();
    std::lock_guard lock(slots.lock);
    if (!TurnOf(slot)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    slots.turns[slot].fetch_add(1);
    return TRUE;
}

void* TlsGetValue(DWORD slot) {
    plat::HostCall call;
    const DWORD turn = TurnOf(slot);
    SetLastError(turn ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER);
    return turn && t_values[slot].turn == turn ? t_values[slot].value : nullptr;
}

BOOL TlsSetValue(DWORD slot, void* value) {
    plat::HostCall call;
    const DWORD turn = TurnOf(slot);
    if (!turn) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    t_values[slot] = {turn, value};
    return TRUE;
}
