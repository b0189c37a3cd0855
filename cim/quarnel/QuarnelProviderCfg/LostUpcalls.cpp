// Up-calls that do not return. A CIM object manager never answers an up-call whose provider it has stopped or that was
// killed, and the worker in it is lost. Up-calls of workers are stamped, so that other threads notice one that takes
// too long: another worker replaces the lost one, and what it holds is left alone until it returns. When kMostLost
// workers are lost, no refresh is begun any more.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

#include <algorithm>

namespace {

constexpr time_t kLostAfter = 60; // seconds in one up-call

constexpr char kWho[] = "QuarnelThread";

// For ages only; never 0.
time_t Seconds() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return now.tv_sec + 1;
}

// What a worker's up-call was made for, as log lines name it.
struct Purpose_t {
    const char *Controller;
    const char *Devices;
    int Seconds;
};

// QuarnelThreadMutex is held.
Purpose_t PurposeOf(const Worker_t &worker) {
    return {worker.Controller != nullptr ? worker.Controller->DeviceID : "n/a",
            worker.Devices != nullptr ? worker.Devices : "devices", static_cast<int>(UpcallAge(worker))};
}

// Takes a worker whose up-call does not return out of the count, and says so. False when there is none.
bool ReportLost(Life_t &life) {
    Purpose_t purpose = {};
    bool most = false;
    {
        const ThreadsLock lock(life.QuarnelThreadMutex);
        Worker_t *lost = nullptr;
        for (Worker_t &worker : life.QuarnelThreads)
            if (!worker.Lost && UpcallAge(worker) >= kLostAfter) lost = &worker;
        if (lost == nullptr || Stopping()) return false;
        lost->Lost = true;
        life.LostWorkers += 1;
        life.WorkersStartedAt = 0; // its replacement need not wait
        if (lost->RunsFirstBuild) {
            life.FirstBuildTurn += 1;
            life.FirstBuildStep += 1;
            life.FirstBuildOwed = true;
            life.ThreadActivityDone = 1;
            lost->RunsFirstBuild = false;
        }
        pthread_cond_broadcast(&life.QuarnelProgressCond);
        purpose = PurposeOf(*lost);
        most = life.LostWorkers == kMostLost;
    }
    QLOG(LOG_ERR, "%s: controller %s, %s: an up-call has not returned for %d seconds\n", kWho, purpose.Controller,
         purpose.Devices, purpose.Seconds);
    if (most)
        QLOG(LOG_ERR, "%s: %d up-calls have not returned, nothing is refreshed until one does\n", kWho,
             static_cast<int>(kMostLost));
    return true;
}

// Claims a first build that is owed.
bool TakeOwedFirstBuild(Life_t &life) {
    const ThreadsLock lock(life.QuarnelThreadMutex);
    if (Stopping() || !life.FirstBuildOwed) return false;
    life.FirstBuildOwed = false;
    return true;
}

// How many workers to start: those missing, unless that was tried just before.
uint32_t WorkersToStart(Life_t &life) {
    const ThreadsLock lock(life.QuarnelThreadMutex);
    const uint32_t missing = kWorkers - std::min(kWorkers, AbleWorkers(life));
    const uint32_t count = std::min(missing, kWorkers + kMostLost - life.RunningWorkers);
    const time_t now = time(nullptr);
    if (Stopping() || count == 0 || now - life.WorkersStartedAt < StateUpdateInterval) return 0;
    life.WorkersStartedAt = now;
    return count;
}

} // namespace

time_t UpcallAge(const Worker_t &worker) { return worker.UpcallSince != 0 ? Seconds() - worker.UpcallSince : 0; }

bool TooManyLost() {
    Life_t &life = ThisLife();
    const ThreadsLock lock(life.QuarnelThreadMutex);
    return life.LostWorkers >= kMostLost;
}

void LookAfterWorkers(const CMPIContext *ctx) {
    Life_t &life = ThisLife();
    while (ReportLost(life)) {}
    if (TakeOwedFirstBuild(life)) GoOnWithFirstBuild();
    for (uint32_t missing = WorkersToStart(life); missing > 0; --missing) StartWorker(__func__, ctx);
}

Upcall::Upcall() : allowed(false), stamped(false) {
    NoteUpcall();
    if (Here.Worker == nullptr) {
        allowed = !Stopping();
        return;
    }
    // Under the lock with the test of the flag: a stop that spares running up-calls sees this one, or is seen here.
    const ThreadsLock lock(Here.Life->QuarnelThreadMutex);
    if (Stopping()) return;
    Here.Worker->UpcallSince = Seconds();
    allowed = stamped = true;
}

Upcall::~Upcall() {
    if (!stamped) return;
    Worker_t &worker = *Here.Worker;
    Life_t &life = *Here.Life;
    bool wasLost = false;
    Purpose_t purpose = {};
    {
        const ThreadsLock lock(life.QuarnelThreadMutex);
        wasLost = worker.Lost;
        if (wasLost) {
            life.LostWorkers -= 1;
            worker.Lost = false;
            purpose = PurposeOf(worker);
        }
        worker.UpcallSince = 0;
    }
    if (wasLost && !Stopping())
        QLOG(LOG_INFO, "%s: controller %s, %s: an up-call has returned after %d seconds\n", kWho, purpose.Controller,
             purpose.Devices, purpose.Seconds);
}
