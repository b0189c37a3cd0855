// Knows whether providers' background threads are quiet.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace cim {

class Background {
public:
    void Begin();
    void End();
    // True once nothing has run for `quiet`, from now on; false when that has not come to pass within `limit`.
    bool Wait(std::chrono::milliseconds quiet, std::chrono::milliseconds limit);

private:
    using Clock = std::chrono::steady_clock;
    std::mutex mutex;
    std::condition_variable changed;
    int running = 0; // guarded by mutex, as the next
    Clock::time_point last;
};

} // namespace cim
