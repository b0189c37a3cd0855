#include "cim/broker/routing/Background.h"

#include <algorithm>

namespace cim {

void Background::Begin() {
    const std::lock_guard<std::mutex> lock(mutex);
    ++running;
}

void Background::End() {
    const std::lock_guard<std::mutex> lock(mutex);
    last = Clock::now();
    if (--running == 0) changed.notify_all();
}

bool Background::Wait(std::chrono::milliseconds quiet, std::chrono::milliseconds limit) {
    const Clock::time_point start = Clock::now();
    const Clock::time_point deadline = start + limit;
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        const Clock::time_point now = Clock::now();
        const Clock::time_point due = std::max(start, last) + quiet;
        if (running == 0 && now >= due) return true;
        if (now >= deadline) return false;
        changed.wait_until(lock, running == 0 ? std::min(deadline, due) : deadline);
    }
}

} // namespace cim
