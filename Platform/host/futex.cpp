#include "Platform/host/futex.h"

#include <climits>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace plat {
namespace {

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

// Long sleeps end now and then. A wait with a limit is broken off by a signal, one without is taken up again, so every
// wait has a limit.
constexpr std::chrono::hours kLongest{1};

timespec Remaining(Clock::time_point until) {
    const auto now = Clock::now();
    if (until <= now) return {0, 0};
    const auto left = until - now > kLongest ? Clock::duration(kLongest) : until - now;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    return {static_cast<time_t>(seconds.count()), static_cast<long>((left - seconds).count())};
}

} // namespace

void FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t seen, Clock::time_point until) {
    const timespec left = Remaining(until);
    syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, seen, &left, nullptr, 0);
}

void FutexWake(std::atomic<std::uint32_t>& word, int count) {
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, count, nullptr, nullptr, 0);
}

} // namespace plat
