// The worker threads: reading a vendor is slow, so it is never done on a request's thread. Three workers take jobs from
// one bounded queue, each in a broker context of its own.
//
// Idle workers sleep on QuarnelThreadCond. Whoever waits for the queue or for a kind mutex, on a worker and inside a
// job, sleeps on QuarnelProgressCond, so that a signal for a worker never reaches a waiter that has no use for it. All
// signals are given under QuarnelThreadMutex.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

#include "cim/quarnel/QuarnelProviderUtil/BrokerMemory.h"

namespace {

constexpr char kWho[] = "QuarnelThread";
constexpr int kIdleLook = 10'000; // milliseconds between an idle worker's checks on the others' up-calls

// The next job, active from here on; null when the worker shall leave.
Thread_Args_t *NextJob(long tid, const CMPIContext *ctx) {
    Life_t &life = ThisLife();
    while (true) {
        {
            ThreadsLock lock(life.QuarnelThreadMutex);
            if (Stopping()) return nullptr;
            if (AbleWorkers(life) > kWorkers) {
                Here.Worker->Leaving = true;
                return nullptr;
            }
            life.ActiveThreads += 1;
            auto *job = static_cast<Thread_Args_t *>(GetItem(&life.__FIFO));
            pthread_cond_broadcast(&life.QuarnelProgressCond);
            if (job != nullptr) return job;
            life.ActiveThreads -= 1;
            QLOG(LOG_DEBUG, "%s(%ld): no item to process, wait...\n", kWho, tid);
            bool woken = true;
            if (life.ActiveThreads == 0)
                lock.Wait(life.QuarnelThreadCond);
            else
                woken = lock.WaitUntil(life.QuarnelThreadCond, InMilliseconds(kIdleLook));
            if (woken) continue;
        }
        const BrokerScope scope;
        LookAfterWorkers(ctx);
    }
}

void JobDone() {
    Life_t &life = ThisLife();
    const ThreadsLock lock(life.QuarnelThreadMutex);
    life.ActiveThreads -= 1;
    Here.Worker->Controller = nullptr;
    Here.Worker->Devices = nullptr;
    Here.Worker->RunsFirstBuild = false;
    pthread_cond_broadcast(&life.QuarnelProgressCond);
}

void WorkerLeaves() {
    Life_t &life = ThisLife();
    const ThreadsLock lock(life.QuarnelThreadMutex);
    life.RunningWorkers -= 1;
    Here.Worker->Left = true;
    pthread_cond_broadcast(&life.QuarnelProgressCond);
}

void RunJobs(long tid, AttachedContext &context) {
    while (context.Get() != nullptr) {
        Thread_Args_t *job = NextJob(tid, context.Get());
        if (job == nullptr) return;
        ReadLogMask();
        QLOG(LOG_DEBUG, "%s(%ld): running...\n", kWho, tid);
        if (job->Func != nullptr) {
            const BrokerScope scope;
            job->Func(context.Get(), job);
        }
        if (!Stopping()) context.Renew();
        JobDone();
    }
    QLOG(LOG_ERR, "%s(%ld): cannot attach to the broker\n", kWho, tid);
}

void *QuarnelThread(void *record) {
    Heap<Thread_Args_t> args(static_cast<Thread_Args_t *>(record));
    const auto tid = static_cast<long>(args->Arg0);
    auto *context = reinterpret_cast<CMPIContext *>(args->Arg1);
    const InLife here(reinterpret_cast<Life_t *>(args->Arg2), reinterpret_cast<Worker_t *>(args->Arg3));
    args.reset();
    {
        AttachedContext attached(context);
        RunJobs(tid, attached);
    }
    QLOG(LOG_DEBUG, "Thread %ld exiting...\n", tid);
    WorkerLeaves();
    return nullptr;
}

// A slot without a thread, null when there is none.
Worker_t *FreeSlot(Life_t &life) REQUIRES(life.QuarnelThreadMutex) {
    for (Worker_t &slot : life.QuarnelThreads) {
        if (slot.Started && !slot.Left) continue;
        if (slot.Started) pthread_join(slot.Thread, nullptr); // it takes no lock any more
        slot = {};
        return &slot;
    }
    return nullptr;
}

// False when there is no slot, or the system has no more threads.
bool CreateThread(Life_t &life, Heap<Thread_Args_t> args, int tid) {
    const ThreadsLock lock(life.QuarnelThreadMutex);
    Worker_t *slot = Stopping() ? nullptr : FreeSlot(life);
    if (slot == nullptr) return false;
    args->Arg0 = static_cast<uintptr_t>(tid);
    args->Arg2 = reinterpret_cast<uintptr_t>(&life);
    args->Arg3 = reinterpret_cast<uintptr_t>(slot);
    if (pthread_create(&slot->Thread, nullptr, QuarnelThread, args.get()) != 0) return false;
    (void)args.release();
    slot->Started = true;
    life.Holders += 1; // the worker's
    life.RunningWorkers += 1;
    return true;
}

bool Start(const CMPIContext *ctx, int tid) {
    Heap<Thread_Args_t> args(Allocate<Thread_Args_t>());
    CMPIContext *context = args != nullptr ? PrepareContext(ctx) : nullptr;
    if (context == nullptr) return false;
    args->Arg1 = reinterpret_cast<uintptr_t>(context);
    if (CreateThread(ThisLife(), std::move(args), tid)) return true;
    context->ft->release(context);
    return false;
}

} // namespace

void NoteJob(const RaidController_t *ctrl, const char *devices) {
    if (Here.Worker == nullptr) return;
    const ThreadsLock lock(ThisLife().QuarnelThreadMutex);
    Here.Worker->Controller = ctrl;
    Here.Worker->Devices = devices;
}

uint32_t AbleWorkers(const Life_t &life) {
    uint32_t able = 0;
    for (const Worker_t &worker : life.QuarnelThreads)
        if (worker.Started && !worker.Left && !worker.Leaving && !worker.Lost) able += 1;
    return able;
}

void StartWorker(const char *who, const CMPIContext *ctx) {
    Life_t &life = ThisLife();
    int tid = 0;
    {
        const ThreadsLock lock(life.QuarnelThreadMutex);
        tid = static_cast<int>(life.WorkersNumbered++);
    }
    if (Start(ctx, tid))
        QLOG(LOG_DEBUG, "%s: thread %d created\n", who, tid);
    else if (!Stopping())
        QLOG(LOG_ERR, "%s: thread %d could not be started\n", who, tid);
}

void InitQuarnelThreads(const CMPIContext *ctx) {
    Life_t &life = ThisLife();
    {
        const ThreadsLock lock(life.QuarnelThreadMutex);
        life.WorkersStartedAt = time(nullptr);
    }
    for (uint32_t i = 0; i < kWorkers; ++i) StartWorker(__func__, ctx);
}

bool StopQuarnelThreads(Life_t *life, bool unlessInUpcall) {
    const ThreadsLock lock(life->QuarnelThreadMutex);
    if (unlessInUpcall)
        for (const Worker_t &worker : life->QuarnelThreads)
            if (worker.UpcallSince != 0) return false;
    life->TerminateThread = 1;
    pthread_cond_broadcast(&life->QuarnelThreadCond);
    pthread_cond_broadcast(&life->QuarnelProgressCond);
    return true;
}

bool CleanupQuarnelThreads(Life_t *life, const timespec &until) {
    bool left = true;
    {
        ThreadsLock lock(life->QuarnelThreadMutex);
        while (life->RunningWorkers > 0 && lock.WaitUntil(life->QuarnelProgressCond, until)) {}
        for (Worker_t &worker : life->QuarnelThreads) {
            if (!worker.Started) continue;
            if (worker.Left)
                pthread_join(worker.Thread, nullptr); // it takes no lock any more
            else
                pthread_detach(worker.Thread);
            left = left && worker.Left;
            worker.Started = false;
        }
    }
    while (void *job = GetItem(&life->__FIFO)) FreeJob(job);
    return left;
}
