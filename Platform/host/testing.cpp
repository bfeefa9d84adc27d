// The core of the test door: resetting, changing the device folder, injected faults.
#include "Platform/testing.h"

#include "Platform/host/devicefolder.h"
#include "Platform/host/faults.h"

#include <array>
#include <atomic>
#include <mutex>
#include <vector>

namespace plat {
namespace {

// Both lists fill while static objects of other files are made, whatever their order.
std::vector<void (*)()>& Resets() {
    static auto* resets = new std::vector<void (*)()>;
    return *resets;
}
std::vector<void (*)()>& FolderChanges() {
    static auto* changes = new std::vector<void (*)()>;
    return *changes;
}

struct Fault {
    unsigned nth = 0; // 0: not injected
    bool always = false;
    unsigned count = 0;
};
constexpr std::size_t kFaultKinds = static_cast<std::size_t>(PlatFault::Gradient) + 1;

std::mutex g_mutex;
std::array<Fault, kFaultKinds> g_faults;

constexpr unsigned Bit(PlatFault fault) { return 1u << static_cast<unsigned>(fault); }
Fault& Of(PlatFault fault) { return g_faults[static_cast<std::size_t>(fault)]; }

} // namespace

std::atomic<unsigned> g_injectedFaults{0};

void AtReset(void (*reset)()) { Resets().push_back(reset); }
void AtFolderChange(void (*close)()) { FolderChanges().push_back(close); }

bool InjectedFaultStrikes(PlatFault fault) {
    std::lock_guard lock(g_mutex);
    Fault& injected = Of(fault);
    if (injected.nth == 0) return false;
    ++injected.count;
    return injected.count == injected.nth || (injected.always && injected.count > injected.nth);
}

} // namespace plat

void PlatInjectFault(PlatFault fault, unsigned nth, bool always) {
    std::lock_guard lock(plat::g_mutex);
    plat::Of(fault) = {nth, always, 0};
    if (nth)
        plat::g_injectedFaults.fetch_or(plat::Bit(fault), std::memory_order_relaxed);
    else
        plat::g_injectedFaults.fetch_and(~plat::Bit(fault), std::memory_order_relaxed);
}

unsigned PlatFaultCount(PlatFault fault) {
    std::lock_guard lock(plat::g_mutex);
    return plat::Of(fault).count;
}

void PlatResetForTests() {
    {
        std::lock_guard lock(plat::g_mutex);
        plat::g_faults = {};
        plat::g_injectedFaults.store(0, std::memory_order_relaxed);
    }
    for (const auto reset : plat::Resets()) reset();
}

void PlatSetDeviceFolder(const std::string& hostFolder) {
    for (const auto close : plat::FolderChanges()) close();
    plat::SetDeviceFolder(hostFolder);
}
