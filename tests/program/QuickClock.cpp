// The program with a clock that runs a hundred times as fast: 20 seconds between two looks at the hardware are 0.2.
#include <ctime>

namespace {

time_t Seconds() {
    static const timespec start = [] {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        return now;
    }();
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return start.tv_sec + (now.tv_sec - start.tv_sec) * 100 + (now.tv_nsec - start.tv_nsec) / 10000000;
}

} // namespace

// Takes the C library's place, for the provider's library too.
extern "C" time_t time(time_t *out) noexcept {
    const time_t now = Seconds();
    if (out != nullptr) *out = now;
    return now;
}
