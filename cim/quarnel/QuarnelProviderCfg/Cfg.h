// What the files of this module share: up-calls, the records' life, builders, refreshers, workers.
#pragma once

#include "cim/quarnel/QuarnelProvider.h"

// --- Up-calls --------------------------------------------------------------------------------------------------------
//
// A failed one is logged and gives null, as one does that brought nothing. No role, result role or property list is
// ever passed. Without a source there is nothing to ask: that is a failure, too. While the workers are being stopped
// nothing is asked any more, so that whatever runs ends with the up-call that it is in; what that one brings is
// dropped.

// From before an up-call until after it, no lock but a kind mutex held.
class Upcall {
public:
    Upcall();
    ~Upcall();
    Upcall(const Upcall &) = delete;
    Upcall &operator=(const Upcall &) = delete;
    bool Allowed() const { return allowed; } // false: the workers are being stopped

private:
    bool allowed;
    bool stamped;
};

CMPIEnumeration *Associators(const CMPIContext *ctx, const CMPIObjectPath *from, const char *association,
                             const char *result);
CMPIEnumeration *AssociatorNames(const CMPIContext *ctx, const CMPIObjectPath *from, const char *association,
                                 const char *result);
CMPIInstance *GetInstance(const CMPIContext *ctx, const CMPIObjectPath *path);

// --- Records ---------------------------------------------------------------------------------------------------------

// Destructors: null-safe, free everything that the record owns, any of which may be null.
void FreeVolume(void *volume);
void FreeDisk(void *disk);
void FreePort(void *port);
void FreeBattery(void *battery);
void FreePool(void *pool);
void FreeChassis(void *chassis);

// A record while it is being built.
template <class Record, auto Free> using Holder = std::unique_ptr<Record, FreeWith<Free>>;

CMPIObjectPath *GetVolumeOp(void *volume);
CMPIObjectPath *GetDiskOp(void *disk);
CMPIObjectPath *GetPortOp(void *port);
CMPIObjectPath *GetBatteryOp(void *battery);
CMPIObjectPath *GetPoolOp(void *pool);
CMPIObjectPath *GetChassisOp(void *chassis);
CMPIObjectPath *GetControllerOp(void *controller);

// Take a record out of its controller's list and free it: 0; -1 a null record, -3 not in the list, with nothing freed.
int DeleteVolume(RaidController_t *ctrl, void *volume);
int DeleteDisk(RaidController_t *ctrl, void *disk);
int DeletePort(RaidController_t *ctrl, void *port);
int DeleteBattery(RaidController_t *ctrl, void *battery);
int DeletePool(RaidController_t *ctrl, void *pool);
int DeleteChassis(RaidController_t *ctrl, void *chassis);

// A pool's list of member disks. Nothing happens when an argument is null. CtrlMutex is held by the caller.
void AddDiskToPool(StoragePool_t *pool, const char *diskID);
void RemoveDiskFromPool(StoragePool_t *pool, const char *diskID);

CMPIUint16 GetOperationalStatus(const CMPIInstance *instance);

// --- Builders --------------------------------------------------------------------------------------------------------
//
// Each makes one record of a vendor's instance and appends it to the controller's list: 0; -1 refused; -2 without
// memory; else the list's code. Nothing is left behind unless 0. The caller holds the kind's mutex and knows that the
// device is new.

int BuildSinglePoolInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl,
                        const CMPIInstance *instance, const CMPIObjectPath *op);
int BuildSingleChassisInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl,
                           const CMPIInstance *instance, const CMPIObjectPath *op);
int BuildDiskInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl,
                  const CMPIInstance *instance, const CMPIObjectPath *op);
int BuildVolumeInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl,
                    const CMPIInstance *instance, const CMPIObjectPath *op);
int BuildPortInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl,
                  const CMPIInstance *instance, const CMPIObjectPath *op);
int BuildBatteryInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl,
                     const CMPIInstance *instance, const CMPIObjectPath *op);

// A controller's pools and chassis, up to the first that a builder refuses: 0, or that builder's result.
int BuildPoolInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl);
int BuildChassisInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl);
// All logical devices of a controller, each in a job of its own; ends when all of them are built. Always 0.
int BuildLogicalDeviceInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl);

// --- Actions and refreshes -------------------------------------------------------------------------------------------

extern const ConfigAction_t actionTable[];
extern const int tableSize;
constexpr time_t StateUpdateInterval = 20; // seconds, at least, between two refreshes of one kind of one controller

// The row of an action, null for an unknown one.
const ConfigAction_t *FindAction(int action);

// What an action works on in each controller.
struct ActionTarget_t {
    int Action;
    List_t *RaidController_t::*List;
    Mutex_t RaidController_t::*KindMutex;
    Relaxed<time_t> RaidController_t::*UpdateTime;
    const char *(*KeyOf)(const void *record); // the record's own copy of its key
    const char *Devices;                      // what log lines call them
};
const ActionTarget_t *FindTarget(int action); // null for an unknown one

// Refresh a cached record from its fresh instance (null: fetched), and stamp the kind's update time. Always 0.
int CheckAndUpdateDiskInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                           const CMPIInstance *instance);
int CheckAndUpdateVolumeInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                             const CMPIInstance *instance);
int CheckAndUpdateBatteryInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                              const CMPIInstance *instance);
int CheckAndUpdatePortInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                           const CMPIInstance *instance);
int CheckAndUpdatePoolInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                           const CMPIInstance *instance);
int CheckAndUpdateChassisInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                              const CMPIInstance *instance);
int CheckAndUpdateControllerInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                                 const CMPIInstance *instance);
int NeedUpdate(time_t lastUpdateTime, unsigned char updateEnabled);

// A cached device: matched with its fresh instance (Flag 1), or gone (Flag 0).
struct UpdateInfo_t {
    void *Device;
    int Flag;
    CMPIInstance *Instance;
};

// A fresh instance; both null once it is matched.
struct NewInfo_t {
    CMPIObjectPath *Op;
    CMPIInstance *Instance;
};

// Pairs a cached list with a fresh enumeration by class name and key. 0 with two arrays for the caller to free (null
// and 0 when there is nothing in them); -100 an invalid parameter, -2 without memory, with none.
int CrossoutDuplicatedEntries(const List_t *list, const CMPIEnumeration *enums, CMPIObjectPath *(*getOp)(void *device),
                              const char *keyname, UpdateInfo_t **dataPtrs, NewInfo_t **opPtrs, int *datacount,
                              int *opcount);

// The body of a refresh. Always 0.
int ProcessDeviceConfigChange(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, int action);

// --- Workers ---------------------------------------------------------------------------------------------------------

// The mutex of one kind of device of one controller, held while it lasts. On a worker, or on a thread that is in a
// life.
class KindHold {
public:
    enum class Patience { Refresh, FirstBuild };
    // Waits; in vain when the workers are being stopped or the holder's up-call does not return: a refresh, which can
    // be left out, does not wait for one that takes longer than others. `ctx` is this thread's.
    KindHold(const CMPIContext *ctx, RaidController_t *ctrl, const ActionTarget_t &target, Patience patience);
    ~KindHold();
    KindHold(const KindHold &) = delete;
    KindHold &operator=(const KindHold &) = delete;
    explicit operator bool() const { return kind != nullptr; }

private:
    Mutex_t *kind; // null: not held
};

// How long the worker has been in its up-call, in seconds; 0 when it is in none. QuarnelThreadMutex is held.
time_t UpcallAge(const Worker_t &worker);
// Tells what this worker's job is about, for the log.
void NoteJob(const RaidController_t *ctrl, const char *devices);

// Workers that are neither lost nor leaving.
uint32_t AbleWorkers(const Life_t &life) REQUIRES(life.QuarnelThreadMutex);
// So many up-calls do not return that no further refresh is risked.
bool TooManyLost();

// Notices up-calls that do not return, and starts workers where some are missing, each in a context prepared from
// `ctx`. Called by whoever waits for a worker, by idle workers, and by requests; with no lock held.
void LookAfterWorkers(const CMPIContext *ctx);
// One more worker. `who` says so in the log.
void StartWorker(const char *who, const CMPIContext *ctx);

// Queues a job and wakes an idle worker. PutItem's result; the job stays the caller's unless that is 0.
int QueueJob(Thread_Args_t *job);
enum class QueueState { HasRoom, Drained }; // drained: empty, and no job runs but those that wait for that
// For the line of a wait: true at first, and then when a second has passed since it last was.
class OncePerSecond {
public:
    bool Due();

private:
    timespec said = {};
};
// Waits, on a worker and inside a job, until the queue is in that state or the workers are being stopped. Says so
// before it waits. Runs queued jobs itself when there is no other worker to do it.
void AwaitQueue(const CMPIContext *ctx, QueueState wanted, OncePerSecond *saying, void (*say)());
void FreeJob(void *job); // with what it owns

// Queues the rest of the first build, whose worker is lost. False when that must be tried again.
bool GoOnWithFirstBuild();

void DoBuildDeviceInfoAsync(CMPIContext *ctx, void *args);
void ProcessBuildLogicalDeviceInfo(CMPIContext *ctx, void *args);
void DoDeviceConfigChange(CMPIContext *ctx, void *args);
