// The first build: one job that reads every controller's pools and chassis and then, with one further job per device,
// its logical devices. Pools and chassis come first because disks and volumes link to them by key.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

#include <string.h>

namespace {

// A device's kind code is its place here, counted from 1. The first class that the device is of decides.
constexpr int kLogicalDevices[] = {CFG_ACTION_VOLUME, CFG_ACTION_PORT, CFG_ACTION_DISK, CFG_ACTION_BATTERY};
constexpr int kCodes = sizeof kLogicalDevices / sizeof *kLogicalDevices;
constexpr int kNoKind = 99;

bool Same(const char *a, const char *b) { return a != nullptr && b != nullptr && strcmp(a, b) == 0; }

// Asks the broker once for each class and not once for every device. The names are the broker's and live as long as
// the pass.
class KindMemory {
public:
    int KindOf(const CMPIObjectPath *device) {
        const char *name = ClassNameOf(device);
        if (device == nullptr || Same(other, name)) return kNoKind;
        other = nullptr;
        for (int i = 0; i < kCodes; ++i)
            if (Same(names[i], name)) return i + 1;
        for (int i = 0; i < kCodes; ++i) {
            const char *kind = FindAction(kLogicalDevices[i])->AssociatedClassName;
            if (!Broker->eft->classPathIsA(Broker, device, kind, nullptr)) continue;
            names[i] = name;
            return i + 1;
        }
        other = name;
        return kNoKind;
    }

private:
    const char *names[kCodes] = {}; // of each kind, the class last met
    const char *other = nullptr;    // the device before was of this class, which is of no kind
};

using JobHolder = Holder<Thread_Args_t, FreeJob>;

// The clones that a device's job owns.
void ReleaseDevice(Thread_Args_t *job) {
    Owned<CMPIObjectPath>(reinterpret_cast<CMPIObjectPath *>(job->Arg3)).reset();
    Owned<CMPIInstance>(reinterpret_cast<CMPIInstance *>(job->Arg4)).reset();
}

// Null when there is no memory for it, or the broker cannot make the clones.
JobHolder NewDeviceJob(const Pass_t &pass, const CMPIInstance *device, const CMPIObjectPath *op, int kind) {
    JobHolder job(Allocate<Thread_Args_t>());
    Owned<CMPIObjectPath> ownPath = CloneOf(op);
    Owned<CMPIInstance> ownDevice = CloneOf(device);
    if (job == nullptr || ownPath == nullptr || ownDevice == nullptr) return nullptr;
    *job = {ProcessBuildLogicalDeviceInfo,
            reinterpret_cast<uintptr_t>(pass.Controller),
            reinterpret_cast<uintptr_t>(pass.Mi),
            0,
            reinterpret_cast<uintptr_t>(ownPath.release()),
            reinterpret_cast<uintptr_t>(ownDevice.release()),
            static_cast<uintptr_t>(kind),
            ReleaseDevice};
    return job;
}

constexpr char kWho[] = "BuildLogicalDeviceInfo";

void QueueDevices(const Pass_t &pass) {
    const CMPIEnumeration *devices =
        Associators(pass.Context, pass.Controller->ControllerOp, "CIM_SystemDevice", nullptr);
    KindMemory kinds;
    OncePerSecond full;
    for (CMPIInstance *device = nullptr; !Stopping() && Next(devices, &device);) {
        const CMPIObjectPath *op = device != nullptr ? PathOf(device) : nullptr;
        const int kind = kinds.KindOf(op);
        QLOG(LOG_DEBUG, "%s: (%d)%s\n", kWho, kind, PathText(op).Text());
        if (kind == kNoKind) continue;
        JobHolder job = NewDeviceJob(pass, device, op, kind);
        if (job == nullptr) {
            QLOG(LOG_ERR, "%s, failed to allocate threadArgs\n", kWho);
            continue;
        }
        int result = QueueJob(job.get());
        for (; result == RESULT_FIFO_FULL && !Stopping(); result = QueueJob(job.get()))
            AwaitQueue(pass.Context, QueueState::HasRoom, &full,
                       [] { QLOG(LOG_ERR, "%s: FIFO full, waiting...\n", kWho); });
        if (result != RESULT_OK) {
            if (!Stopping()) QLOG(LOG_ERR, "%s, failed to put threadArgs in FIFO, rc %d\n", kWho, result);
            continue;
        }
        (void)job.release();
        QLOG(LOG_DEBUG, "Added to FIFO: %s\n", PathText(op).Text());
    }
}

// True when a refresh has listed a record of the same class and key before the first build came to it. Duplicates
// within one enumeration are all built, as a refresh does. The caller holds the kind's mutex, so the list cannot
// change.
bool IsListed(const RaidController_t *ctrl, const ConfigAction_t &row, const CMPIInstance *device,
              const CMPIObjectPath *op) {
    if (!ctrl->BuiltByRefresh[row.ConfigAction - CFG_ACTION_DISK]) return false;
    const char *key = TextOf(device, row.KeyName);
    for (void *record : Each<void>(ctrl->*row.List))
        if (Same(row.KeyOfFunc(record), key) && Same(ClassNameOf(row.GetOpFunc(record)), ClassNameOf(op))) return true;
    return false;
}

// Builds one device of the first build; the caller holds the kind's mutex.
int BuildOnce(const Pass_t &pass, const ConfigAction_t &row, const CMPIInstance *device, const CMPIObjectPath *op) {
    if (IsListed(pass.Controller, row, device, op)) {
        QLOG(LOG_DEBUG, "%s is in the model already\n", PathText(op).Text());
        return RESULT_OK;
    }
    // cppcheck-suppress CastAddressToIntegerAtReturn // it takes the function's type for its result
    return row.BuildFunc(pass.Mi, pass.Context, pass.Controller, device, op);
}

// Builds all devices of a kind that is not made of logical devices, in this job, up to the first that is refused.
int BuildAll(const char *who, const Pass_t &pass, const ConfigAction_t &row) {
    NoteJob(pass.Controller, row.Devices);
    const CMPIEnumeration *devices =
        Associators(pass.Context, pass.Controller->ControllerOp, row.AssociationClassName, row.AssociatedClassName);
    int result = RESULT_OK;
    const KindHold hold(pass.Context, pass.Controller, row, KindHold::Patience::FirstBuild);
    for (CMPIInstance *device = nullptr; hold && result == RESULT_OK && Next(devices, &device);) {
        const CMPIObjectPath *op = device != nullptr ? PathOf(device) : nullptr;
        if (op != nullptr) result = BuildOnce(pass, row, device, op); // else it could not be built
    }
    QLOG(LOG_DEBUG, "%s, EXIT(%d).\n", who, result);
    return result;
}

void LetRefreshesBegin() {
    Life_t &life = ThisLife();
    const ThreadsLock lock(life.QuarnelThreadMutex);
    life.ThreadActivityDone = 1;
    pthread_cond_broadcast(&life.QuarnelThreadCond);
}

// Three of each controller, counted through.
int (*const kSteps[])(const CMPIInstanceMI *, const CMPIContext *,
                      RaidController_t *) = {BuildPoolInfo, BuildChassisInfo, BuildLogicalDeviceInfo};

// The turn of the job that runs the first build. When its worker is lost, the next job begins after the lost one's
// step.
uint32_t TakeTurn(const CMPIInstanceMI *mi) {
    Life_t &life = ThisLife();
    const ThreadsLock lock(life.QuarnelThreadMutex);
    life.FirstBuildMi = mi;
    return life.FirstBuildTurn;
}

// False when the step has been run, the workers are being stopped, or the turn is over.
bool ClaimStep(uint32_t step, uint32_t turn) {
    Life_t &life = ThisLife();
    const ThreadsLock lock(life.QuarnelThreadMutex);
    if (Stopping() || turn != life.FirstBuildTurn || step < life.FirstBuildStep) return false;
    life.FirstBuildStep = step;
    if (Here.Worker != nullptr) Here.Worker->RunsFirstBuild = true;
    return true;
}

// The first build is done, unless the turn has passed to another job. False then.
bool EndFirstBuild(uint32_t turn) {
    Life_t &life = ThisLife();
    const ThreadsLock lock(life.QuarnelThreadMutex);
    if (turn != life.FirstBuildTurn) return false;
    if (Here.Worker != nullptr) Here.Worker->RunsFirstBuild = false;
    life.FirstBuildDone = true;
    pthread_cond_broadcast(&life.QuarnelProgressCond);
    return true;
}

int QueueFirstBuild(const CMPIInstanceMI *mi) {
    return QueueCopy("BuildDeviceInfoAsync", {DoBuildDeviceInfoAsync, reinterpret_cast<uintptr_t>(mi)});
}

} // namespace

int BuildPoolInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl) {
    QLOG(LOG_DEBUG, "%s, ENTER...\n", __func__);
    return BuildAll(__func__, {mi, ctx, ctrl}, *FindAction(CFG_ACTION_POOL));
}

int BuildChassisInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl) {
    QLOG(LOG_DEBUG, "%s, enter...\n", __func__);
    return BuildAll(__func__, {mi, ctx, ctrl}, *FindAction(CFG_ACTION_CHASSIS));
}

int BuildLogicalDeviceInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl) {
    QLOG(LOG_DEBUG, "%s, enter...\n", kWho);
    QLOG(LOG_DEBUG, "%s: %s\n", kWho, PathText(ctrl->ControllerOp).Text());
    NoteJob(ctrl, "logical devices");
    QueueDevices({mi, ctx, ctrl});
    OncePerSecond draining;
    AwaitQueue(ctx, QueueState::Drained, &draining, [] { QLOG(LOG_DEBUG, "%s: FIFO not empty, waiting...\n", kWho); });
    QLOG(LOG_DEBUG, "%s, DONE...\n", kWho);
    LetRefreshesBegin();
    QLOG(LOG_DEBUG, "%s, exit...\n", kWho);
    return RESULT_OK;
}

void ProcessBuildLogicalDeviceInfo(CMPIContext *ctx, void *args) {
    const Heap<Thread_Args_t> job(static_cast<Thread_Args_t *>(args));
    const Pass_t pass = {reinterpret_cast<const CMPIInstanceMI *>(job->Arg1), ctx,
                         reinterpret_cast<RaidController_t *>(job->Arg0)};
    const Owned<CMPIInstance> device(reinterpret_cast<CMPIInstance *>(job->Arg4));
    const Owned<CMPIObjectPath> op(reinterpret_cast<CMPIObjectPath *>(job->Arg3));
    const int kind = static_cast<int>(job->Arg5);
    if (kind < 1 || kind > kCodes) {
        QLOG(LOG_ERR, "%s: invalid type %d\n", __func__, kind);
        return;
    }
    const ConfigAction_t &row = *FindAction(kLogicalDevices[kind - 1]);
    const KindHold hold(pass.Context, pass.Controller, row, KindHold::Patience::FirstBuild);
    if (hold && !Stopping()) BuildOnce(pass, row, device.get(), op.get());
}

int BuildDeviceInfoAsync(const CMPIInstanceMI *mi, const CMPIContext *) {
    const int result = QueueFirstBuild(mi);
    if (result == RESULT_OK) return result;
    if (result != RESULT_NO_MEMORY) QLOG(LOG_ERR, "%s, failed to put threadArgs in FIFO\n", __func__);
    // Refreshes must not wait for it: they will find every device new.
    LetRefreshesBegin();
    EndFirstBuild(TakeTurn(mi));
    return result;
}

void GoOnWithFirstBuild() {
    Life_t &life = ThisLife();
    const CMPIInstanceMI *mi = nullptr;
    {
        const ThreadsLock lock(life.QuarnelThreadMutex);
        mi = life.FirstBuildMi;
    }
    if (QueueFirstBuild(mi) == RESULT_OK) return;
    const ThreadsLock lock(life.QuarnelThreadMutex);
    life.FirstBuildOwed = true;
}

void DoBuildDeviceInfoAsync(CMPIContext *ctx, void *args) {
    const Heap<Thread_Args_t> job(static_cast<Thread_Args_t *>(args));
    const auto *mi = reinterpret_cast<const CMPIInstanceMI *>(job->Arg0);
    const uint32_t turn = TakeTurn(mi);
    uint32_t step = 0;
    for (RaidController_t *ctrl : Each<RaidController_t>(&ThisLife().RaidControllerList))
        for (const auto build : kSteps)
            if (ClaimStep(step++, turn)) build(mi, ctx, ctrl);
    if (EndFirstBuild(turn)) QLOG(LOG_DEBUG, "%s done.", __func__);
}

Relaxed<int> FirstAnswerWait(QUARNEL_FIRST_ANSWER_WAIT);

void AwaitFirstBuild() {
    if (FirstAnswerWait == 0) return;
    Life_t &life = ThisLife();
    timespec until = life.Started;
    until.tv_sec += FirstAnswerWait;
    ThreadsLock lock(life.QuarnelThreadMutex);
    while (!life.FirstBuildDone && !Stopping() && lock.WaitUntil(life.QuarnelProgressCond, until)) {}
}
