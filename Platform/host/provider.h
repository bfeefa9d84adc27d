// The slot of a replaceable service: a function of the host or of a test, with what it was registered with.
//
// A provider is called outside of every host call: it may show a dialog and pump messages, and its thread may be ended.
#pragma once

#include "Platform/host/call.h"
#include "Platform/host/faults.h"

#include <mutex>
#include <utility>

namespace plat {

template<class Function>
class ProviderSlot {
public:
    void Set(Function function, void* user) {
        HostCall call;
        std::lock_guard lock(m_mutex);
        m_provider = {function, user};
    }
    // A copy: the provider is called without the lock.
    std::pair<Function, void*> Get() {
        HostCall call;
        std::lock_guard lock(m_mutex);
        return m_provider;
    }

private:
    std::mutex m_mutex;
    std::pair<Function, void*> m_provider{};
};

} // namespace plat
