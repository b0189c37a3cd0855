// The refresh trigger: lets through at most one refresh per controller and kind in twenty seconds, and none before the
// first controller's devices have been built. What is let through becomes a job.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

namespace {

bool FirstBuildDone() {
    Life_t &life = ThisLife();
    const ThreadsLock lock(life.QuarnelThreadMutex);
    return life.ThreadActivityDone != 0;
}

} // namespace

int HandleDeviceConfigChange(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, int action) {
    const time_t now = time(nullptr);
    QLOG(LOG_DEBUG, "%s: ENTER. ctrl %s, action %d\n", __func__, ctrl->DeviceID, action);
    LookAfterWorkers(ctx);
    if (!FirstBuildDone()) {
        QLOG(LOG_DEBUG, "%s: BuildDeviceInfoAsync is still running, skip action %d\n", __func__, action);
        return RESULT_OK;
    }
    const ConfigAction_t *row = FindAction(action);
    if (row == nullptr) {
        QLOG(LOG_ERR, "%s: wrong action %d, ignored\n", __func__, action);
        return RESULT_OK;
    }
    const time_t last = ctrl->*row->UpdateTime;
    if (now - last < StateUpdateInterval) {
        QLOG(LOG_DEBUG, "%s: ctrl %s, action %d, last %lu, now %lu, skip\n", __func__, ctrl->DeviceID, action,
             static_cast<unsigned long>(last), static_cast<unsigned long>(now));
        return RESULT_OK;
    }
    if (TooManyLost()) {
        QLOG(LOG_DEBUG, "%s: workers wait for up-calls that do not return, skip action %d\n", __func__, action);
        return RESULT_FIFO_FULL;
    }
    // One that finds no room is surplus: the next request asks again.
    const int result = QueueCopy(__func__, {DoDeviceConfigChange, reinterpret_cast<uintptr_t>(mi), 0,
                                            reinterpret_cast<uintptr_t>(ctrl), static_cast<uintptr_t>(action)});
    if (result == RESULT_NO_MEMORY) return result;
    QLOG(LOG_DEBUG, "%s, exit...\n", __func__);
    return result;
}

void DoDeviceConfigChange(CMPIContext *ctx, void *args) {
    Heap<Thread_Args_t> job(static_cast<Thread_Args_t *>(args));
    const auto *mi = reinterpret_cast<const CMPIInstanceMI *>(job->Arg0);
    auto *ctrl = reinterpret_cast<RaidController_t *>(job->Arg2);
    const int action = static_cast<int>(job->Arg3);
    job.reset();
    if (TooManyLost()) return; // queued before that was known
    ProcessDeviceConfigChange(mi, ctx, ctrl, action);
}
