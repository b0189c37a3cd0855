// What threads wait for in a broker, besides a provider's own mutex.
#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

namespace cim {

class Provider;

// Knows whether providers' background threads are quiet.
class Background {
public:
    void Begin();
    void End();
    // True once nothing has run for `quiet`, counted from this call on; false when that takes longer than `limit`.
    bool Wait(std::chrono::milliseconds quiet, std::chrono::milliseconds limit);

private:
    using Clock = std::chrono::steady_clock;
    std::mutex mutex;
    std::condition_variable changed;
    int running = 0; // guarded by mutex, as the next
    Clock::time_point last;
};

// The lock that some CIM servers hold while a provider cleans up, and that up-calls of providers' own threads need.
// Not a mutex: providers lock theirs before and after it as they like, in no order that could be checked.
class ServerLock {
public:
    // Holds the lock until its end, when it is wanted; the thread that holds it already need not.
    class Hold {
    public:
        enum class When { Free, AtOnceOrNot }; // the latter does without when another thread holds it
        Hold(ServerLock &server, bool want, When when = When::Free);
        ~Hold();
        Hold(const Hold &) = delete;
        Hold &operator=(const Hold &) = delete;

    private:
        ServerLock &lock;
        bool holds = false;
    };

    void Pass(); // waits until no other thread holds the lock

private:
    bool OthersHold() const { return holder != std::thread::id() && holder != std::this_thread::get_id(); }

    std::mutex mutex;
    std::condition_variable changed;
    std::thread::id holder; // guarded by mutex
};

// Which thread is loading or unloading which provider, and who waits for that: so that a wait which could never end is
// refused.
class WaitGraph {
public:
    void BeginChange(const Provider &provider);
    void EndChange(const Provider &provider);
    // The calling thread is about to wait for the end of the provider's change. False, and it must not wait, when that
    // change waits for this thread.
    bool BeginWait(const Provider &provider);
    void EndWait();

private:
    std::mutex mutex;
    std::map<const Provider *, std::thread::id> changers; // guarded by mutex, as the next
    std::map<std::thread::id, const Provider *> waiting;
};

} // namespace cim
