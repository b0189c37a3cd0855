#include "cim/broker/routing/Changes.h"

namespace cim {

void Changes::Begin(const Provider &provider) {
    const std::lock_guard<std::mutex> lock(mutex);
    changers[&provider] = std::this_thread::get_id();
}

void Changes::End(const Provider &provider) {
    const std::lock_guard<std::mutex> lock(mutex);
    changers.erase(&provider);
}

bool Changes::BeginWait(const Provider &provider) {
    const std::lock_guard<std::mutex> lock(mutex);
    // From changer to what it waits for, and on; a circle can only close at this thread.
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

void Changes::EndWait() {
    const std::lock_guard<std::mutex> lock(mutex);
    waiting.erase(std::this_thread::get_id());
}

} // namespace cim
