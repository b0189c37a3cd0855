// Start-up, once; the idle timer; and clean-up, which ends with no worker running and everything freed.
#include "Ifc.h"

#include "../QuarnelProviderUtil/BrokerMemory.h"

#include <stdlib.h>
#include <unistd.h>

namespace {

constexpr unsigned kLongestIdleTime = 10; // minutes

Relaxed<int> _ProviderInitialized; // a model is there, or is being built
Relaxed<unsigned> IdleTimeBeforeTerminating(5);
Relaxed<time_t> NextUnloadTime;

// Raised once RaidControllerList and the host's identity are complete: what was written before it, a request that sees
// it can read without a lock.
std::atomic<bool> ControllersListed;

Relaxed<int> waitDebug; // cleared by a debugger, from outside: read from memory on every pass

void WaitDebug() {
    waitDebug = getenv("WAIT_PROC") != nullptr ? 1 : 0;
    if (waitDebug == 0) {
        QLOG(LOG_DEBUG, "Current process:pid=%d, ppid=%d\n", getpid(), getppid());
        return;
    }
    do {
        sleep(1); // NOLINT(concurrency-mt-unsafe): nothing else of the process matters meanwhile
        QLOG(LOG_DEBUG, "Waiting for dbgattachd attach:pid=%d, ppid=%d\n", getpid(), getppid());
    } while (waitDebug != 0);
}

// False when there is nothing to serve. Its up-calls' results are given back at its end.
bool BuildModel(const CMPIInstanceMI *mi, const CMPIContext *ctx) {
    const BrokerScope scope;
    int result = InitSystemInfo(mi, ctx);
    if (result < 0) {
        QLOG(LOG_ERR, "Cannot get system info, rc %d\n", result);
        return false;
    }
    Array_t profiles = {};
    result = GetHHRCProfiles(mi, ctx, &profiles);
    if (result <= 0) {
        QLOG(LOG_INFO, "No instance of Host Hard RAID Controller is found, rc %d\n", result);
        ReleaseSystemInfo();
        return false;
    }
    BuildControllerInfo(mi, ctx, &profiles);
    ControllersListed.store(true, std::memory_order_release);
    return true;
}

void QuarnelInit(const CMPIInstanceMI *mi, const CMPIContext *ctx) {
    QLOG(LOG_DEBUG, "%s: ENTER...\n", __func__);
    WaitDebug();
    if (_ProviderInitialized.Exchange(1) != 0) return;
    {
        const AttachedContext attached(Broker->bft->prepareAttachThread(Broker, ctx));
        if (attached.Get() == nullptr) QLOG(LOG_ERR, "%s: cannot attach to the broker\n", __func__);
        if (attached.Get() != nullptr && BuildModel(mi, attached.Get())) {
            InitQuarnelThreads(attached.Get());
            BuildDeviceInfoAsync(mi, attached.Get());
        } else {
            _ProviderInitialized = 0;
        }
    }
    QLOG(LOG_DEBUG, "%s: EXIT\n", __func__);
}

bool CanUnload() { return time(nullptr) >= NextUnloadTime; }

} // namespace

const List_t *ListedControllers() {
    static const List_t none = {};
    return ControllersListed.load(std::memory_order_acquire) ? RaidControllerList : &none;
}

void QuarnelProviderInit(const CMPIInstanceMI *mi, const CMPIContext *ctx) {
    QLOG(LOG_DEBUG, "%s\n", __func__);
    QLOG(LOG_DEBUG, "QuarnelProvider: built on %s\n", QUARNEL_BUILD_STAMP);
    QuarnelInit(mi, ctx);
}

void ResetNextUnloadTime() {
    if (IdleTimeBeforeTerminating > kLongestIdleTime) IdleTimeBeforeTerminating = kLongestIdleTime;
    NextUnloadTime = time(nullptr) + static_cast<time_t>(IdleTimeBeforeTerminating) * 60;
}

CMPIStatus QuarnelProviderCleanup(CMPIInstanceMI *, const CMPIContext *, CMPIBoolean terminating) {
    ReadLogMask();
    QLOG(LOG_DEBUG, "%s: ENTER...\n", __func__);
    if (IsListEmpty(ListedControllers()) == 0 && !terminating && !CanUnload()) {
        QLOG(LOG_DEBUG, "%s: idle timer(%d) has not expired, don't unload\n", __func__,
             static_cast<int>(static_cast<unsigned>(IdleTimeBeforeTerminating)));
        return {CMPI_RC_DO_NOT_UNLOAD, nullptr};
    }
    // Jobs hold pointers to controllers, so the workers end first.
    CleanupQuarnelThreads();
    ControllersListed.store(false, std::memory_order_relaxed);
    FreeList(RaidControllerList, FreeController);
    ReleaseSystemInfo();
    NextUnloadTime = 0;
    _ProviderInitialized = 0;
    QLOG(LOG_DEBUG, "%s: EXIT\n", __func__);
    return kOk;
}
