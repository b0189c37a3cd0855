#include "cim/broker/Waiting.h"

#include <algorithm>

namespace cim {

using Guard = std::lock_guard<std::mutex>;

void Background::Begin() {
    const Guard guard(mutex);
    ++running;
}

void Background::End() {
    const Guard guard(mutex);
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

ServerLock::Hold::Hold(ServerLock &server, bool want, When when) : lock(server) {
    if (!want) return;
    std::unique_lock<std::mutex> guard(lock.mutex);
    if (when == When::AtOnceOrNot && lock.OthersHold()) return;
    lock.changed.wait(guard, [&] { return !lock.OthersHold(); });
    holds = lock.holder == std::thread::id();
    lock.holder = std::this_thread::get_id();
}

ServerLock::Hold::~Hold() {
    if (!holds) return;
    const Guard guard(lock.mutex);
    lock.holder = std::thread::id();
    lock.changed.notify_all();
}

void ServerLock::Pass() {
    std::unique_lock<std::mutex> guard(mutex);
    changed.wait(guard, [&] { return !OthersHold(); });
}

void WaitGraph::BeginChange(const Provider &provider) {
    const Guard guard(mutex);
    changers[&provider] = std::this_thread::get_id();
}

void WaitGraph::EndChange(const Provider &provider) {
    const Guard guard(mutex);
    changers.erase(&provider);
}

bool WaitGraph::BeginWait(const Provider &provider) {
    const Guard guard(mutex);
    // From each changer to what it waits for; a circle can only close at this thread.
    for (const Provider *next = &provider; next != nullptr;) {
        const auto changer = changers.find(next);
        if (changer == changers.end()) break;
        if (changer->second == std::this_thread::get_id()) return false;
        const auto waits = waiting.find(changer->second);
        next = waits != waiting.end() ? waits->second : nullptr;
    }
    waiting[std::this_thread::get_id()] = &provider;
    return true;
}

void WaitGraph::EndWait() {
    const Guard guard(mutex);
    waiting.erase(std::this_thread::get_id());
}

} // namespace cim
