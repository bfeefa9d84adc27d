// Sleeping on a 32-bit word, and the word that a thread of the device sleeps on.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace plat {

using Clock = std::chrono::steady_clock;

// Until the word differs from `seen`, someone wakes it, a signal comes, or that time; may return early for no reason.
void FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t seen, Clock::time_point until);
void FutexWake(std::atomic<std::uint32_t>& word, int count);

// What one thread sleeps on: it takes a ticket, looks whether it has reason to sleep, and sleeps. A wake in between is
// not lost, because the ticket is old then.
class Waker {
public:
    std::uint32_t Ticket() const { return m_word.load(std::memory_order_acquire); }
    void Sleep(std::uint32_t ticket, Clock::time_point until) { FutexWait(m_word, ticket, until); }
    void Wake() {
        m_word.fetch_add(1, std::memory_order_release);
        FutexWake(m_word, 1);
    }

private:
    std::atomic<std::uint32_t> m_word{0};
};

} // namespace plat
