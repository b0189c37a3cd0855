// Queueing jobs, and waiting for the queue.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

namespace {

bool Reached(Life_t &life, QueueState wanted) REQUIRES(life.QuarnelThreadMutex) {
    if (Stopping()) return true;
    const QueueLock queue(life.__FIFO.Mutex);
    if (wanted == QueueState::HasRoom) return life.__FIFO.List.Size < life.__FIFO.Size;
    return IsListEmpty(&life.__FIFO.List) != 0 && life.ActiveThreads <= life.LostWorkers + life.DrainingJobs;
}

// Some workers are neither lost nor waiting for the queue.
bool OthersWork(const Life_t &life) REQUIRES(life.QuarnelThreadMutex) { return AbleWorkers(life) > life.WaitingJobs; }

// Waits until the queue is in the state (true), until `until`, or until there is a job that no other worker would take:
// that one is `job`, and the caller's.
bool WaitFor(Life_t &life, QueueState wanted, const timespec &until, Thread_Args_t **job) {
    ThreadsLock lock(life.QuarnelThreadMutex);
    const uint32_t draining = wanted == QueueState::Drained ? 1 : 0;
    life.WaitingJobs += 1;
    life.DrainingJobs += draining;
    bool reached = Reached(life, wanted);
    while (!reached && OthersWork(life) && lock.WaitUntil(life.QuarnelProgressCond, until))
        reached = Reached(life, wanted);
    if (!reached && !OthersWork(life)) *job = static_cast<Thread_Args_t *>(GetItem(&life.__FIFO));
    life.WaitingJobs -= 1;
    life.DrainingJobs -= draining;
    return reached;
}

} // namespace

int QueueJob(Thread_Args_t *job) {
    Life_t &life = ThisLife();
    const int result = PutItem(&life.__FIFO, job);
    if (result != RESULT_OK) return result;
    const ThreadsLock lock(life.QuarnelThreadMutex);
    pthread_cond_signal(&life.QuarnelThreadCond);
    return RESULT_OK;
}

int QueueCopy(const char *who, const Thread_Args_t &job) {
    Heap<Thread_Args_t> copy(Allocate<Thread_Args_t>());
    if (copy == nullptr) {
        QLOG(LOG_ERR, "%s, failed to allocate threadArgs\n", who);
        return RESULT_NO_MEMORY;
    }
    *copy = job;
    const int result = QueueJob(copy.get());
    if (result == RESULT_OK) (void)copy.release();
    return result;
}

bool OncePerSecond::Due() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const int64_t milliseconds = now.tv_sec * int64_t{1000} + now.tv_nsec / 1'000'000;
    const bool due = said == 0 || milliseconds - said >= 1000;
    if (due) said = milliseconds;
    return due;
}

void AwaitQueue(const CMPIContext *ctx, QueueState wanted, OncePerSecond *saying, void (*say)()) {
    Life_t &life = ThisLife();
    Thread_Args_t *job = nullptr;
    timespec until = {}; // the first pass does not wait
    while (!WaitFor(life, wanted, until, &job)) {
        if (job != nullptr) {
            job->Func(const_cast<CMPIContext *>(ctx), job);
            job = nullptr;
        }
        LookAfterWorkers(ctx);
        if (saying->Due()) say();
        until = InMilliseconds(1000);
    }
}

void FreeJob(void *record) {
    const Heap<Thread_Args_t> job(static_cast<Thread_Args_t *>(record));
    if (job->Release != nullptr) job->Release(job.get());
}
