// Up-calls that do not return. A CIM object manager never answers an up-call whose provider it has stopped or that was
// killed, and the worker in it is lost. Each up-call of a worker is stamped, so that whoever else runs or waits notices
// one that takes too long: the worker no longer counts, another one takes its place, and what it holds is left alone
// until it comes back. When kMostLost workers are lost, no refresh is begun any more: beyond them, only those can be
// lost that were in up-calls already.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

#include <algorithm>

namespace {

constexpr time_t kLostAfter = 60; // seconds in one up-call

constexpr char kWho[] = "QuarnelThread";

// For ages only. Its seconds are those of no other clock, and none is 0.
time_t Seconds() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return now.tv_sec + 1;
}

// What a worker's up-call was made for, as lines name it.
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

// What is to be done about the workers, one thing after the other.
enum class Care { Nothing, ReportLost, GoOnWithFirstBuild, StartWorkers };

struct Need_t {
    Care What = Care::Nothing;
    Purpose_t Lost = {};   // ReportLost
    bool MostLost = false; // ReportLost: no more are risked
    uint32_t Count = 0;    // StartWorkers
};

void TakeOutOfCount(Life_t &life, Worker_t &worker, Need_t *need) REQUIRES(life.QuarnelThreadMutex) {
    worker.Lost = true;
    life.LostWorkers += 1;
    life.WorkersStartedAt = 0; // whoever takes its place need not wait
    if (worker.RunsFirstBuild) {
        life.FirstBuildTurn += 1;
        life.FirstBuildStep += 1;
        life.FirstBuildOwed = true;
        life.ThreadActivityDone = 1;
        worker.RunsFirstBuild = false;
    }
    pthread_cond_broadcast(&life.QuarnelProgressCond);
    *need = {Care::ReportLost, PurposeOf(worker), life.LostWorkers == kMostLost, 0};
}

Need_t NextNeed(Life_t &life) {
    Need_t need;
    const ThreadsLock lock(life.QuarnelThreadMutex);
    if (Stopping()) return need;
    for (Worker_t &worker : life.QuarnelThreads) {
        if (worker.Lost || UpcallAge(worker) < kLostAfter) continue;
        TakeOutOfCount(life, worker, &need);
        return need;
    }
    const uint32_t able = AbleWorkers(life);
    const uint32_t most = kWorkers + kMostLost - life.RunningWorkers; // that can be started
    const time_t now = time(nullptr);
    if (life.FirstBuildOwed) {
        life.FirstBuildOwed = false;
        need.What = Care::GoOnWithFirstBuild;
    } else if (able < kWorkers && most > 0 && now - life.WorkersStartedAt >= StateUpdateInterval) {
        life.WorkersStartedAt = now;
        need.What = Care::StartWorkers;
        need.Count = std::min(kWorkers - able, most);
    }
    return need;
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
    for (Need_t need = NextNeed(life); need.What != Care::Nothing; need = NextNeed(life)) {
        switch (need.What) {
        case Care::ReportLost:
            QLOG(LOG_ERR, "%s: controller %s, %s: an up-call has not returned for %d seconds\n", kWho,
                 need.Lost.Controller, need.Lost.Devices, need.Lost.Seconds);
            if (need.MostLost)
                QLOG(LOG_ERR, "%s: %d up-calls have not returned, nothing is refreshed until one does\n", kWho,
                     static_cast<int>(kMostLost));
            break;
        case Care::GoOnWithFirstBuild:
            if (!GoOnWithFirstBuild()) return; // the queue is full: later
            break;
        case Care::StartWorkers:
            for (uint32_t i = 0; i < need.Count; ++i) StartWorker(__func__, ctx);
            break;
        case Care::Nothing:
            break;
        }
    }
}

Upcall::Upcall() : allowed(false), stamped(false) {
    NoteUpcall();
    if (Here.Worker == nullptr) {
        allowed = !Stopping();
        return;
    }
    // In one step with the look at the flag: a stop that spares running up-calls sees this one, or is seen here.
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
