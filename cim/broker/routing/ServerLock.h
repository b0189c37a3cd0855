// The lock that some CIM servers hold while a provider cleans up, and that up-calls of providers' own threads need.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace cim {

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

} // namespace cim
