// Start-up, once; the idle timer; and clean-up.
//
// CIM object managers call these on any thread, side by side, and some meanwhile hold a lock that our own up-calls
// need. So every wait here has a limit: clean-up that need not succeed declines at once, clean-up that must succeed
// abandons what does not end, and a factory call waits a while for a clean-up.
#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"

#include "cim/quarnel/QuarnelProviderUtil/BrokerMemory.h"

#include <dlfcn.h>
#include <link.h>
#include <stdlib.h>
#include <unistd.h>

namespace {

constexpr unsigned kLongestIdleTime = 10; // minutes
constexpr int kTurnLimit = 5000;          // milliseconds; a clean-up takes less

Relaxed<unsigned> IdleTimeBeforeTerminating(5);
Relaxed<time_t> NextUnloadTime;

Mutex_t LifecycleMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t LifecycleCond = PTHREAD_COND_INITIALIZER; // a start or a clean-up has ended
// Held by the provider from the factory call to the clean-up. CurrentLife is the same one, without the lock.
Life_t *OwnLife GUARDED_BY(LifecycleMutex);
bool Starting GUARDED_BY(LifecycleMutex); // its controllers are not all known
bool CleaningUp GUARDED_BY(LifecycleMutex);

Relaxed<int> waitDebug; // cleared by a debugger

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

// False when there is nothing to serve.
bool BuildModel(const CMPIInstanceMI *mi, const CMPIContext *ctx) {
    const BrokerScope scope;
    int result = InitSystemInfo(mi, ctx);
    if (result < 0) {
        if (!Stopping()) QLOG(LOG_ERR, "Cannot get system info, rc %d\n", result);
        return false;
    }
    Array_t profiles = {};
    result = GetHHRCProfiles(mi, ctx, &profiles);
    if (Stopping()) return false; // abandoned meanwhile: nothing to log
    if (result <= 0) {
        QLOG(LOG_INFO, "No instance of Host Hard RAID Controller is found, rc %d\n", result);
        ReleaseSystemInfo();
        return false;
    }
    BuildControllerInfo(mi, ctx, &profiles);
    return true;
}

// A new life, held for this thread; null when there is one already.
Life_t *BeginLife() {
    LifeLock lock(LifecycleMutex);
    const timespec until = InMilliseconds(kTurnLimit);
    while (CleaningUp && lock.WaitUntil(LifecycleCond, until)) {}
    if (OwnLife != nullptr) return nullptr;
    Life_t *life = NewLife(InMilliseconds(0));
    if (life == nullptr) {
        QLOG(LOG_ERR, "%s: out of memory\n", __func__);
        return nullptr;
    }
    life->Holders += 1;
    OwnLife = life;
    CurrentLife.store(life, std::memory_order_release);
    Starting = true;
    return life;
}

// The provider's hold on its life is the caller's now.
Life_t *ForgetLife() REQUIRES(LifecycleMutex) {
    Life_t *life = OwnLife;
    OwnLife = nullptr;
    CurrentLife.store(nullptr, std::memory_order_release);
    Starting = false;
    return life;
}

// The life is served from now on, or forgotten when it has nothing to serve. A clean-up may have abandoned it
// meanwhile.
void EndStart(const Life_t *life, bool serves) {
    Life_t *forgotten = nullptr;
    {
        const LifeLock lock(LifecycleMutex);
        if (OwnLife != life) return;
        Starting = false;
        if (!serves && !CleaningUp) forgotten = ForgetLife();
        pthread_cond_broadcast(&LifecycleCond);
    }
    if (forgotten != nullptr) LeaveLife(forgotten);
}

void QuarnelInit(const CMPIInstanceMI *mi, const CMPIContext *ctx) {
    QLOG(LOG_DEBUG, "%s: ENTER...\n", __func__);
    WaitDebug();
    Life_t *life = BeginLife();
    if (life == nullptr) return;
    const InLife here(life);
    bool serves = false;
    {
        const AttachedContext attached(PrepareContext(ctx));
        if (attached.Get() == nullptr) QLOG(LOG_ERR, "%s: cannot attach to the broker\n", __func__);
        serves = attached.Get() != nullptr && BuildModel(mi, attached.Get());
        if (serves && !Stopping()) {
            InitQuarnelThreads(attached.Get());
            BuildDeviceInfoAsync(mi, attached.Get());
        }
    }
    EndStart(life, serves);
    QLOG(LOG_DEBUG, "%s: EXIT\n", __func__);
}

bool CanUnload() { return time(nullptr) >= NextUnloadTime; }

// Begins a clean-up and stops the workers, or logs why not. `life` is null when there is none.
bool BeginCleanup(bool terminating, Life_t **life) {
    const char *who = "QuarnelProviderCleanup";
    const LifeLock lock(LifecycleMutex);
    *life = OwnLife;
    if (CleaningUp) {
        QLOG(LOG_DEBUG, "%s: is running already, don't unload\n", who);
        return false;
    }
    const bool serves = OwnLife != nullptr && !Starting && IsListEmpty(&OwnLife->RaidControllerList) == 0;
    if (serves && !terminating && !CanUnload()) {
        QLOG(LOG_DEBUG, "%s: idle timer(%d) has not expired, don't unload\n", who,
             static_cast<int>(static_cast<unsigned>(IdleTimeBeforeTerminating)));
        return false;
    }
    const bool upcallSpared = !terminating;
    if (OwnLife != nullptr && ((Starting && upcallSpared) || !StopQuarnelThreads(OwnLife, upcallSpared))) {
        QLOG(LOG_DEBUG, "%s: an up-call is running, don't unload\n", who);
        return false;
    }
    CleaningUp = true;
    return true;
}

// Keeps this library mapped for a thread that will return into it.
void StayMapped() {
    Dl_info info = {};
    link_map *map = nullptr;
    const bool known = dladdr1(&OwnLife, &info, reinterpret_cast<void **>(&map), RTLD_DL_LINKMAP) != 0;
    const char *name = known && map->l_name[0] != '\0' ? map->l_name : nullptr; // null: the program itself
    if (dlopen(name, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE) == nullptr)
        QLOG(LOG_ERR, "%s: the library cannot be kept for a thread that is still in it\n", "QuarnelProviderCleanup");
}

// Ends the life: everything is freed with it, unless a thread is still in it at `until`.
void EndLife(Life_t *life, const timespec &until) {
    bool ended = false;
    {
        LifeLock lock(LifecycleMutex);
        while (Starting && lock.WaitUntil(LifecycleCond, until)) {}
        ended = !Starting;
    }
    ended = CleanupQuarnelThreads(life, until) && ended;
    if (!ended) {
        QLOG(LOG_ERR, "%s: an up-call has not returned, its thread and memory are left to it\n",
             "QuarnelProviderCleanup");
        StayMapped();
    }
    {
        const LifeLock lock(LifecycleMutex);
        ForgetLife();
    }
    LeaveLife(life);
}

} // namespace

Relaxed<int> CleanupLimit(3000);

Life_t *HoldServedLife() {
    const LifeLock lock(LifecycleMutex);
    if (OwnLife == nullptr || Starting) return nullptr;
    OwnLife->Holders += 1;
    return OwnLife;
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
    const timespec until = InMilliseconds(CleanupLimit);
    ReadLogMask();
    QLOG(LOG_DEBUG, "%s: ENTER...\n", __func__);
    Life_t *life = nullptr;
    if (!BeginCleanup(terminating != 0, &life)) return {CMPI_RC_DO_NOT_UNLOAD, nullptr};
    if (life != nullptr) EndLife(life, until);
    {
        // Last: a waiting factory call finds everything as before the first life.
        const LifeLock lock(LifecycleMutex);
        NextUnloadTime = 0;
        CleaningUp = false;
        pthread_cond_broadcast(&LifecycleCond);
    }
    QLOG(LOG_DEBUG, "%s: EXIT\n", __func__);
    return kOk;
}
