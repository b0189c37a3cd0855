#include "cim/broker/routing/ServerLock.h"

namespace cim {

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
    const std::lock_guard<std::mutex> guard(lock.mutex);
    lock.holder = std::thread::id();
    lock.changed.notify_all();
}

void ServerLock::Pass() {
    std::unique_lock<std::mutex> guard(mutex);
    changed.wait(guard, [&] { return !OthersHold(); });
}

} // namespace cim
