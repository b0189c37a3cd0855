// A life is all that the provider's threads share, from the factory call that starts it to the clean-up that ends it.
// Lives share nothing: clean-up abandons a life in which an up-call does not return, and the last thread that leaves it
// frees its memory, however late.
#pragma once

#include "cim/quarnel/QuarnelProvider.h"

constexpr uint32_t kWorkers = 3;
constexpr uint32_t kMostLost = 3; // workers whose up-calls do not return, each with a replacement
constexpr uint32_t kQueuedJobs = 20;

struct Worker_t {
    pthread_t Thread;
    bool Started;       // there is a thread to join
    bool Left;          // it has left its life and can be joined at once
    bool Leaving;       // it is surplus and takes no more jobs
    bool Lost;          // its up-call has not returned for a long time: it does not count as a worker
    time_t UpcallSince; // in Seconds(); 0: not inside an up-call
    // What its job is about, for the log; may be null.
    const RaidController_t *Controller;
    const char *Devices;
    const Mutex_t *Kind; // the kind mutex that it holds, or null
    bool RunsFirstBuild;
};

struct Life_t {
    std::atomic<uint32_t> Holders; // the provider, each worker, each request; the last frees the life

    // The controllers in discovery order. Complete before requests and workers see it.
    List_t RaidControllerList;
    // The host system's identity; fixed as the list is.
    char *SystemName; // set: the identity is known
    char *HostName;
    char *SystemClassName;

    Fifo_t __FIFO;
    Mutex_t QuarnelThreadMutex;
    pthread_cond_t QuarnelThreadCond;   // wakes idle workers
    pthread_cond_t QuarnelProgressCond; // a worker took a job, fell idle or left, or a kind mutex is free
    Relaxed<uint32_t> TerminateThread;  // stop request; written under QuarnelThreadMutex

    Worker_t QuarnelThreads[kWorkers + kMostLost] GUARDED_BY(QuarnelThreadMutex);
    uint32_t RunningWorkers GUARDED_BY(QuarnelThreadMutex); // started and not left, the lost ones included
    uint32_t LostWorkers GUARDED_BY(QuarnelThreadMutex);
    uint32_t ActiveThreads GUARDED_BY(QuarnelThreadMutex); // workers that are not waiting for work
    uint32_t WaitingJobs GUARDED_BY(QuarnelThreadMutex);   // of active workers, those whose job waits for the queue,
    uint32_t DrainingJobs GUARDED_BY(QuarnelThreadMutex);  // and of those, until it is drained
    uint32_t WorkersNumbered GUARDED_BY(QuarnelThreadMutex);
    time_t WorkersStartedAt GUARDED_BY(QuarnelThreadMutex);     // when starting workers was last tried
    uint32_t ThreadActivityDone GUARDED_BY(QuarnelThreadMutex); // the first controller's devices are built

    // The first build. When its worker is lost, another one continues it.
    const CMPIInstanceMI *FirstBuildMi GUARDED_BY(QuarnelThreadMutex);
    uint32_t FirstBuildStep GUARDED_BY(QuarnelThreadMutex); // the one that is being run
    uint32_t FirstBuildTurn GUARDED_BY(QuarnelThreadMutex); // how often its worker was lost
    bool FirstBuildOwed GUARDED_BY(QuarnelThreadMutex);     // it is neither running nor queued
    bool FirstBuildDone GUARDED_BY(QuarnelThreadMutex);
    timespec Started; // CLOCK_MONOTONIC; fixed
};

// What this thread works in. Static thread-local storage: access never allocates.
struct Here_t {
    Life_t *Life;
    Worker_t *Worker;
};
extern __thread Here_t Here __attribute__((tls_model("initial-exec")));

// The current life, null between two. Seen by threads that are in none.
extern std::atomic<Life_t *> CurrentLife;
extern Life_t NoLife; // an empty one

// The life that this thread is in, else the current one, else an empty one.
inline Life_t &ThisLife() {
    if (Here.Life != nullptr) return *Here.Life;
    Life_t *current = CurrentLife.load(std::memory_order_acquire);
    return current != nullptr ? *current : NoLife;
}

// A life with no controllers and no workers, held once; null without memory.
Life_t *NewLife(const timespec &started);
// Ends a hold; the last one frees the life with all that it owns.
void LeaveLife(Life_t *life);

// This thread is in a life while this lasts, which takes over a hold on it. Null: in an empty life.
class InLife {
public:
    explicit InLife(Life_t *life, Worker_t *worker = nullptr);
    ~InLife();
    InLife(const InLife &) = delete;
    InLife &operator=(const InLife &) = delete;

private:
    Life_t *held;
    Here_t outer;
};

inline bool Stopping() { return ThisLife().TerminateThread != 0; }
