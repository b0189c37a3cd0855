#include "tests/support/TestClock.h"

#include <atomic>
#include <sys/syscall.h>
#include <unistd.h>

namespace support {
namespace {

constexpr time_t kRunning = -1;
std::atomic<time_t> frozenAt{kRunning};
std::atomic<time_t> offset{0};
std::atomic<std::chrono::nanoseconds::rep> setBack{0};
std::atomic<time_t> advanced{0}; // in all, ever: what ages are measured by never goes back

} // namespace

time_t TestClock::Now() {
    const time_t frozen = frozenAt.load();
    if (frozen != kRunning) return frozen;
    timespec real{};
    clock_gettime(CLOCK_REALTIME, &real);
    return real.tv_sec + offset.load();
}

void TestClock::Freeze(time_t now) { frozenAt.store(now); }

void TestClock::Advance(time_t seconds) {
    advanced.fetch_add(seconds);
    if (frozenAt.load() != kRunning)
        frozenAt.fetch_add(seconds);
    else
        offset.fetch_add(seconds);
}

void TestClock::BringDeadlinesForward(std::chrono::nanoseconds by) { setBack.store(by.count()); }

void TestClock::Release() {
    setBack.store(0);
    frozenAt.store(kRunning);
    offset.store(0);
}

} // namespace support

// CLOCK_MONOTONIC is what deadlines are counted from, CLOCK_MONOTONIC_COARSE the clock of ages, which nothing waits by.
extern "C" int clock_gettime(clockid_t id, timespec *now) noexcept {
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, id, now));
    if (result == 0 && id == CLOCK_MONOTONIC_COARSE) now->tv_sec += support::advanced.load();
    if (result == 0 && id == CLOCK_MONOTONIC) {
        const auto nanoseconds = now->tv_sec * 1'000'000'000L + now->tv_nsec - support::setBack.load();
        *now = {nanoseconds / 1'000'000'000L, nanoseconds % 1'000'000'000L};
    }
    return result;
}

// Takes the C library's place: the program comes before every library in the search for symbols.
extern "C" time_t time(time_t *out) noexcept {
    const time_t now = support::TestClock::Now();
    if (out != nullptr) *out = now;
    return now;
}
