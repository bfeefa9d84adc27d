// The inner side of fault injection: host operations ask here whether this call is the one to fail.
#pragma once

#include "Platform/testing.h"

#include <atomic>

namespace plat {

// A bit for each kind of fault that is injected.
extern std::atomic<unsigned> g_injectedFaults;
bool InjectedFaultStrikes(PlatFault fault);

// True when the call has to fail. Costs one relaxed load while nothing is injected.
inline bool FaultStrikes(PlatFault fault) {
    const unsigned bit = 1U << static_cast<unsigned>(fault);
    return (g_injectedFaults.load(std::memory_order_relaxed) & bit) != 0 && InjectedFaultStrikes(fault);
}

// Called by PlatResetForTests, in the order of registration; registered once, by a static object of the host file.
void AtReset(void (*reset)());
// Called before the device folder changes (PlatSetDeviceFolder): close everything that is open there.
void AtFolderChange(void (*close)());

} // namespace plat
