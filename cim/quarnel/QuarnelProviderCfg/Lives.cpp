// The beginning and the end of a life, and who is in it.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

// What outlives lives: what the factory was given, and which life is there.
Relaxed<const CMPIBroker *> Broker;
Relaxed<time_t> InitCompleteTime;
std::atomic<Life_t *> CurrentLife;
Life_t NoLife;
__thread Here_t Here;

Life_t *NewLife(const timespec &started) {
    auto *life = Allocate<Life_t>();
    if (life == nullptr) return nullptr;
    life->Holders = 1;
    life->Started = started;
    life->__FIFO.Size = kQueuedJobs;
    for (Mutex_t *mutex : {&life->__FIFO.Mutex, &life->QuarnelThreadMutex}) pthread_mutex_init(mutex, nullptr);
    for (pthread_cond_t *changed : {&life->QuarnelThreadCond, &life->QuarnelProgressCond})
        pthread_cond_init(changed, nullptr);
    return life;
}

namespace {

void FreeLife(Life_t *life) {
    const Here_t outer = Here;
    Here = {life, nullptr};
    while (void *job = GetItem(&life->__FIFO)) FreeJob(job);
    FreeList(&life->RaidControllerList, FreeController);
    ReleaseSystemInfo();
    Here = outer;
    for (pthread_cond_t *changed : {&life->QuarnelThreadCond, &life->QuarnelProgressCond})
        pthread_cond_destroy(changed);
    for (Mutex_t *mutex : {&life->__FIFO.Mutex, &life->QuarnelThreadMutex}) pthread_mutex_destroy(mutex);
    free(life);
}

} // namespace

// Orders what others did in the life before its end.
void LeaveLife(Life_t *life) {
    if (life->Holders.fetch_sub(1, std::memory_order_acq_rel) == 1) FreeLife(life);
}

InLife::InLife(Life_t *life, Worker_t *worker) : held(life), outer(Here) {
    Here = {life != nullptr ? life : &NoLife, worker};
}

InLife::~InLife() {
    Here = outer;
    if (held != nullptr) LeaveLife(held);
}
