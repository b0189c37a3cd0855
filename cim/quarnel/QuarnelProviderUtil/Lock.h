// Mutexes that clang's thread-safety analysis checks, and scoped locks.
//
// The order of locks: the lifecycle's mutex or a controller's kind mutex, then the thread mutex, then the queue's; a
// kind mutex, then its controller's CtrlMutex. No call into a vendor's provider is made under any but a kind mutex.
// QUARNEL_LOCK_CHECKS makes every lock assert that.
#pragma once

#include <pthread.h>
#include <stdint.h>
#include <time.h>

#ifdef __clang__
#define TS(attribute) __attribute__((attribute))
#else
#define TS(attribute)
#endif
#define GUARDED_BY(mutex) TS(guarded_by(mutex))
#define REQUIRES(mutex) TS(requires_capability(mutex))

typedef pthread_mutex_t TS(capability("mutex")) Mutex_t;

enum class LockRank { Life, Kind, Controller, Threads, Queue };

#ifdef QUARNEL_LOCK_CHECKS
// Each aborts when the order of locks is broken.
void NoteLocked(LockRank rank);
void NoteUnlocked(LockRank rank);
void NoteUpcall();
// Ends it as well when the calling thread holds no controller's CtrlMutex.
void NoteControllerNeeded();
#else
inline void NoteLocked(LockRank) {}
inline void NoteUnlocked(LockRank) {}
inline void NoteUpcall() {}
inline void NoteControllerNeeded() {}
#endif

template <LockRank Rank> class TS(scoped_lockable) ScopedLock {
public:
    explicit ScopedLock(Mutex_t &m) TS(acquire_capability(m)) : mutex(m) {
        NoteLocked(Rank);
        pthread_mutex_lock(&mutex);
    }
    ~ScopedLock() TS(release_capability()) {
        pthread_mutex_unlock(&mutex);
        NoteUnlocked(Rank);
    }
    ScopedLock(const ScopedLock &) = delete;
    ScopedLock &operator=(const ScopedLock &) = delete;

    void Wait(pthread_cond_t &changed) { pthread_cond_wait(&changed, &mutex); }
    // False when `until` (CLOCK_MONOTONIC) has passed.
    bool WaitUntil(pthread_cond_t &changed, const timespec &until) {
        return pthread_cond_clockwait(&changed, &mutex, CLOCK_MONOTONIC, &until) == 0;
    }

private:
    Mutex_t &mutex;
};

using LifeLock = ScopedLock<LockRank::Life>;
using ControllerLock = ScopedLock<LockRank::Controller>;
using ThreadsLock = ScopedLock<LockRank::Threads>;
using QueueLock = ScopedLock<LockRank::Queue>;

// From now, on CLOCK_MONOTONIC.
inline timespec InMilliseconds(int wait) {
    timespec then = {};
    clock_gettime(CLOCK_MONOTONIC, &then);
    then.tv_sec += wait / 1000;
    then.tv_nsec += wait % 1000 * 1'000'000L;
    if (then.tv_nsec >= 1'000'000'000L) {
        then.tv_sec += 1;
        then.tv_nsec -= 1'000'000'000L;
    }
    return then;
}
