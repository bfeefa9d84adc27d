// Small helpers for tests with threads of the platform.
#pragma once

#include "Platform/threads.h"
#include "Platform/windows.h"

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace qntest {

using namespace std::chrono_literals;

// Until `condition` holds; false when it does not within ten seconds, which only a hang takes.
template<class F>
bool Eventually(F condition) {
    const auto end = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

inline constexpr DWORD kLong = 10000;

// A thread of the platform that runs a function; closed, not ended, with the object.
class TestThread {
public:
    explicit TestThread(std::function<DWORD()> body, DWORD flags = 0)
        : m_body(std::make_unique<std::function<DWORD()>>(std::move(body))),
          m_handle(CreateThread(nullptr, 0, &Run, m_body.get(), flags, &m_id)) {}
    // The body stays: a thread that was terminated stands in it for ever.
    ~TestThread() {
        CloseHandle(m_handle);
        static auto& kept = *new std::vector<std::unique_ptr<std::function<DWORD()>>>;
        kept.push_back(std::move(m_body));
    }
    HANDLE Handle() const { return m_handle; }
    DWORD Id() const { return m_id; }
    // The exit code; STILL_ACTIVE when it does not end.
    DWORD Join() const {
        if (WaitForSingleObject(m_handle, kLong) != WAIT_OBJECT_0) return STILL_ACTIVE;
        return Code();
    }
    DWORD Code() const {
        DWORD code = 0;
        return GetExitCodeThread(m_handle, &code) ? code : 0xDEAD;
    }

private:
    static DWORD Run(void* body) { return (*static_cast<std::function<DWORD()>*>(body))(); }

    std::unique_ptr<std::function<DWORD()>> m_body;
    DWORD m_id = 0;
    HANDLE m_handle;
};

} // namespace qntest
