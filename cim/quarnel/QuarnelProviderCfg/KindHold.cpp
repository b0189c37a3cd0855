// Holding a kind mutex: one pass at a time builds or refreshes one kind of device of one controller. The mutex is tried
// under the thread mutex, so that a waiter notices a stop and a holder whose up-call does not return.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

namespace {

constexpr time_t kPatienceOfRefreshes = 10; // seconds in one up-call

bool HolderIsStuck(const Life_t &life, const Mutex_t *kind, KindHold::Patience patience)
    REQUIRES(life.QuarnelThreadMutex) {
    for (const Worker_t &worker : life.QuarnelThreads) {
        if (worker.Kind != kind) continue;
        if (worker.Lost) return true;
        if (patience == KindHold::Patience::Refresh && UpcallAge(worker) >= kPatienceOfRefreshes) return true;
    }
    return false;
}

} // namespace

KindHold::KindHold(const CMPIContext *ctx, RaidController_t *ctrl, const ConfigAction_t &row, Patience patience)
    : kind(nullptr) {
    Life_t &life = ThisLife();
    Mutex_t *wanted = &(ctrl->*row.KindMutex);
    while (kind == nullptr) {
        {
            ThreadsLock lock(life.QuarnelThreadMutex);
            if (pthread_mutex_trylock(wanted) == 0) {
                kind = wanted;
                if (Here.Worker != nullptr) {
                    Here.Worker->Controller = ctrl;
                    Here.Worker->Devices = row.Devices;
                    Here.Worker->Kind = kind;
                }
            } else {
                if (Stopping() || HolderIsStuck(life, wanted, patience)) return;
                lock.WaitUntil(life.QuarnelProgressCond, InMilliseconds(1000));
            }
        }
        if (kind == nullptr) LookAfterWorkers(ctx);
    }
    NoteLocked(LockRank::Kind);
}

KindHold::~KindHold() {
    if (kind == nullptr) return;
    Life_t &life = ThisLife();
    NoteUnlocked(LockRank::Kind);
    const ThreadsLock lock(life.QuarnelThreadMutex);
    pthread_mutex_unlock(kind);
    if (Here.Worker != nullptr) Here.Worker->Kind = nullptr;
    pthread_cond_broadcast(&life.QuarnelProgressCond);
}
