// The worker threads and the one queue of jobs that they share.
//
// Reading a vendor is slow, so it is never done on a request's thread: three workers take jobs from a bounded queue,
// each in a broker context of its own. Idle workers sleep on QuarnelThreadCond. Whoever waits for the queue to move, on
// a worker and inside a job, sleeps on QuarnelProgressCond, so that a signal for a worker never reaches a waiter that
// has no use for it. All signals are given under QuarnelThreadMutex.
#include "Cfg.h"

#include "../QuarnelProviderUtil/BrokerMemory.h"

namespace {

Fifo_t __FIFO = {PTHREAD_MUTEX_INITIALIZER, kQueuedJobs, {}};

pthread_t QuarnelThreads[kWorkers];
uint32_t StartedThreads; // this and the next two: only start-up and clean-up touch them
pthread_attr_t QuarnelThreadAttr;

uint32_t RunningWorkers GUARDED_BY(QuarnelThreadMutex); // started, and attached to the broker
// A worker took a job, fell idle or left. On the monotonic clock, since it is waited for with a limit.
pthread_cond_t QuarnelProgressCond;

// What the workers need, from the start-up to the clean-up; the second of two clean-ups finds nothing to do.
bool Prepared;

void Prepare() {
    pthread_attr_init(&QuarnelThreadAttr);
    pthread_attr_setdetachstate(&QuarnelThreadAttr, PTHREAD_CREATE_JOINABLE);
    pthread_condattr_t monotonic;
    pthread_condattr_init(&monotonic);
    pthread_condattr_setclock(&monotonic, CLOCK_MONOTONIC);
    pthread_cond_init(&QuarnelProgressCond, &monotonic);
    pthread_condattr_destroy(&monotonic);
    Prepared = true;
}

// The next job, which counts as active from here on; null when the worker shall leave.
Thread_Args_t *NextJob(long tid) {
    ThreadsLock lock(QuarnelThreadMutex);
    while (!Stopping()) {
        ActiveThreads += 1;
        auto *job = static_cast<Thread_Args_t *>(GetItem(FIFO));
        pthread_cond_broadcast(&QuarnelProgressCond);
        if (job != nullptr) return job;
        ActiveThreads -= 1;
        QLOG(LOG_DEBUG, "%s(%ld): no item to process, wait...\n", "QuarnelThread", tid);
        lock.Wait(QuarnelThreadCond);
    }
    return nullptr;
}

void JobDone() {
    const ThreadsLock lock(QuarnelThreadMutex);
    ActiveThreads -= 1;
    pthread_cond_broadcast(&QuarnelProgressCond);
}

void WorkerLeaves() {
    const ThreadsLock lock(QuarnelThreadMutex);
    RunningWorkers -= 1;
    pthread_cond_broadcast(&QuarnelProgressCond);
}

void RunJobs(long tid, AttachedContext &context) {
    while (context.Get() != nullptr) {
        Thread_Args_t *job = NextJob(tid);
        if (job == nullptr) return;
        ReadLogMask();
        QLOG(LOG_DEBUG, "%s(%ld): running...\n", "QuarnelThread", tid);
        if (job->Func != nullptr) {
            const BrokerScope scope;
            job->Func(context.Get(), job);
        }
        context.Renew();
        JobDone();
    }
    QLOG(LOG_ERR, "%s(%ld): cannot attach to the broker\n", "QuarnelThread", tid);
}

void *QuarnelThread(void *record) {
    const Heap<Thread_Args_t> args(static_cast<Thread_Args_t *>(record));
    const auto tid = static_cast<long>(args->Arg0);
    {
        AttachedContext context(reinterpret_cast<CMPIContext *>(args->Arg1));
        RunJobs(tid, context);
    }
    QLOG(LOG_DEBUG, "Thread %ld exiting...\n", tid);
    WorkerLeaves();
    return nullptr;
}

// False when the system or the broker has no means for another thread.
bool StartWorker(uint32_t index, const CMPIContext *ctx) {
    Heap<Thread_Args_t> args(Allocate<Thread_Args_t>());
    if (args == nullptr) return false;
    CMPIContext *context = Broker->bft->prepareAttachThread(Broker, ctx);
    if (context == nullptr) return false;
    args->Arg0 = index;
    args->Arg1 = reinterpret_cast<uintptr_t>(context);
    const ThreadsLock lock(QuarnelThreadMutex);
    if (pthread_create(&QuarnelThreads[StartedThreads], &QuarnelThreadAttr, QuarnelThread, args.get()) != 0) {
        context->ft->release(context);
        return false;
    }
    (void)args.release();
    RunningWorkers += 1;
    StartedThreads += 1;
    return true;
}

} // namespace

Fifo_t *const FIFO = &__FIFO;

Mutex_t QuarnelThreadMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t QuarnelThreadCond = PTHREAD_COND_INITIALIZER;
Relaxed<uint32_t> TerminateThread;
uint32_t ActiveThreads;
uint32_t ThreadActivityDone;

void InitQuarnelThreads(const CMPIContext *ctx) {
    {
        const ThreadsLock lock(QuarnelThreadMutex);
        ThreadActivityDone = 0;
    }
    Prepare();
    for (uint32_t i = 0; i < kWorkers; ++i) {
        if (StartWorker(i, ctx))
            QLOG(LOG_DEBUG, "%s: thread %d created\n", __func__, static_cast<int>(i));
        else
            QLOG(LOG_ERR, "%s: thread %d could not be started\n", __func__, static_cast<int>(i));
    }
}

void CleanupQuarnelThreads() {
    if (!Prepared) return;
    {
        const ThreadsLock lock(QuarnelThreadMutex);
        TerminateThread = 1;
        pthread_cond_broadcast(&QuarnelThreadCond);
        pthread_cond_broadcast(&QuarnelProgressCond);
    }
    for (; StartedThreads > 0; --StartedThreads) pthread_join(QuarnelThreads[StartedThreads - 1], nullptr);
    while (void *job = GetItem(FIFO)) FreeJob(job);
    TerminateThread = 0; // the next life's discovery makes up-calls before it starts its workers
    pthread_cond_destroy(&QuarnelProgressCond);
    pthread_attr_destroy(&QuarnelThreadAttr);
    Prepared = false;
}

int QueueJob(Thread_Args_t *job) {
    const int result = PutItem(FIFO, job);
    if (result != RESULT_OK) return result;
    const ThreadsLock lock(QuarnelThreadMutex);
    pthread_cond_signal(&QuarnelThreadCond);
    return RESULT_OK;
}

bool AwaitQueue(const CMPIContext *ctx, QueueState wanted) {
    timespec until = {};
    clock_gettime(CLOCK_MONOTONIC, &until);
    until.tv_sec += 1;

    Thread_Args_t *job = nullptr;
    {
        ThreadsLock lock(QuarnelThreadMutex);
        const auto reached = [wanted]() TS(no_thread_safety_analysis) {
            if (Stopping()) return true;
            if (wanted == QueueState::Drained) return IsFifoEmpty(FIFO) == 1 && ActiveThreads <= 1;
            const QueueLock queue(FIFO->Mutex);
            return FIFO->List.Size < FIFO->Size;
        };
        while (!reached() && RunningWorkers > 1)
            if (!lock.WaitUntil(QuarnelProgressCond, until)) return reached();
        if (reached()) return true;
        job = static_cast<Thread_Args_t *>(GetItem(FIFO));
    }
    if (job != nullptr) job->Func(const_cast<CMPIContext *>(ctx), job);
    return false;
}

void FreeJob(void *record) {
    const Heap<Thread_Args_t> job(static_cast<Thread_Args_t *>(record));
    if (job->Func != ProcessBuildLogicalDeviceInfo) return;
    Owned<CMPIObjectPath>(reinterpret_cast<CMPIObjectPath *>(job->Arg3)).reset();
    Owned<CMPIInstance>(reinterpret_cast<CMPIInstance *>(job->Arg4)).reset();
}
