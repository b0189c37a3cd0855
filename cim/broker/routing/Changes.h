// Which thread is loading or unloading which provider, and who waits for that: so that a wait which could never end is
// refused.
#pragma once

#include <map>
#include <mutex>
#include <thread>

namespace cim {

class Provider;

class Changes {
public:
    void Begin(const Provider &provider);
    void End(const Provider &provider);
    // The calling thread is going to wait for the end of the provider's change. False, and it must not, when that
    // change waits for this thread.
    bool BeginWait(const Provider &provider);
    void EndWait();

private:
    std::mutex mutex;
    std::map<const Provider *, std::thread::id> changers; // guarded by mutex, as the next
    std::map<std::thread::id, const Provider *> waiting;
};

} // namespace cim
