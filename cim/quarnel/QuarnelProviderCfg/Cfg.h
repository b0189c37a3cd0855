// What the files of this module share: up-calls, the records' life, builders, refreshers, workers.
#pragma once

#include "cim/quarnel/Life.h"

// --- Up-calls --------------------------------------------------------------------------------------------------------
//
// A failed one is logged and gives null, as does one without a source. No role, result role or property list is ever
// passed. While the workers are being stopped no up-call is begun, and the result of a running one is dropped.

// Spans an up-call. No lock but a kind mutex is held.
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

// --- Kinds of devices ------------------------------------------------------------------------------------------------

// What is done with a device of any kind. Records are freed with all that they own, any of which may be null;
// null-safe. Build makes a record of a vendor's instance and lists it: 0; -1 refused; -2 without memory; else the
// list's code, and nothing is left behind unless 0. The caller holds the kind's mutex and knows that the device is new.
// CheckAndUpdate refreshes a record from its fresh instance (null: fetched) and stamps the kind's update time; always
// 0. Delete takes a record out of its list and frees it: 0; -1 a null record, -3 not in the list, with nothing freed.
template <class Record> struct Kind {
    static void Free(void *device);
    static CMPIObjectPath *GetOp(void *device);
    static const char *KeyOf(const void *device);
    static int Build(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl,
                     const CMPIInstance *instance, const CMPIObjectPath *op);
    static int CheckAndUpdate(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                              const CMPIInstance *instance);
    static int Delete(RaidController_t *ctrl, void *device);
};
template <> int Kind<DiskDrive_t>::Delete(RaidController_t *ctrl, void *device);
extern template struct Kind<StorageVolume_t>; // each in its kind's file
extern template struct Kind<DiskDrive_t>;
extern template struct Kind<SASSATAPort_t>;
extern template struct Kind<Battery_t>;
extern template struct Kind<StoragePool_t>;
extern template struct Kind<Chassis_t>;

// Their given names.
constexpr Free_t *FreeVolume = Kind<StorageVolume_t>::Free;
constexpr Free_t *FreeDisk = Kind<DiskDrive_t>::Free;
constexpr Free_t *FreePort = Kind<SASSATAPort_t>::Free;
constexpr Free_t *FreeBattery = Kind<Battery_t>::Free;
constexpr Free_t *FreePool = Kind<StoragePool_t>::Free;
constexpr Free_t *FreeChassis = Kind<Chassis_t>::Free;

constexpr GetOp_t *GetVolumeOp = Kind<StorageVolume_t>::GetOp;
constexpr GetOp_t *GetDiskOp = Kind<DiskDrive_t>::GetOp;
constexpr GetOp_t *GetPortOp = Kind<SASSATAPort_t>::GetOp;
constexpr GetOp_t *GetBatteryOp = Kind<Battery_t>::GetOp;
constexpr GetOp_t *GetPoolOp = Kind<StoragePool_t>::GetOp;
constexpr GetOp_t *GetChassisOp = Kind<Chassis_t>::GetOp;

constexpr Build_t *BuildVolumeInfo = Kind<StorageVolume_t>::Build;
constexpr Build_t *BuildDiskInfo = Kind<DiskDrive_t>::Build;
constexpr Build_t *BuildPortInfo = Kind<SASSATAPort_t>::Build;
constexpr Build_t *BuildBatteryInfo = Kind<Battery_t>::Build;
constexpr Build_t *BuildSinglePoolInfo = Kind<StoragePool_t>::Build;
constexpr Build_t *BuildSingleChassisInfo = Kind<Chassis_t>::Build;

constexpr Update_t *CheckAndUpdateVolumeInfo = Kind<StorageVolume_t>::CheckAndUpdate;
constexpr Update_t *CheckAndUpdateDiskInfo = Kind<DiskDrive_t>::CheckAndUpdate;
constexpr Update_t *CheckAndUpdatePortInfo = Kind<SASSATAPort_t>::CheckAndUpdate;
constexpr Update_t *CheckAndUpdateBatteryInfo = Kind<Battery_t>::CheckAndUpdate;
constexpr Update_t *CheckAndUpdatePoolInfo = Kind<StoragePool_t>::CheckAndUpdate;
constexpr Update_t *CheckAndUpdateChassisInfo = Kind<Chassis_t>::CheckAndUpdate;

constexpr Delete_t *DeleteVolume = Kind<StorageVolume_t>::Delete;
constexpr Delete_t *DeleteDisk = Kind<DiskDrive_t>::Delete;
constexpr Delete_t *DeletePort = Kind<SASSATAPort_t>::Delete;
constexpr Delete_t *DeleteBattery = Kind<Battery_t>::Delete;
constexpr Delete_t *DeletePool = Kind<StoragePool_t>::Delete;
constexpr Delete_t *DeleteChassis = Kind<Chassis_t>::Delete;

constexpr int tableSize = kKinds;
constexpr time_t StateUpdateInterval = 20; // seconds, at least, between two refreshes of one kind of one controller

// Of controllers.
CMPIObjectPath *GetControllerOp(void *controller);
int CheckAndUpdateControllerInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                                 const CMPIInstance *instance);
void Stamp(RaidController_t *ctrl, Relaxed<time_t> RaidController_t::*updateTime);
int NeedUpdate(time_t lastUpdateTime, unsigned char updateEnabled);
CMPIUint16 GetOperationalStatus(const CMPIInstance *instance);

// Releases what a record owns: texts, and clones of paths. Any of it may be null.
inline void Discard(char *text) { free(text); }
inline void Discard(CMPIObjectPath *path) { Owned<CMPIObjectPath>(path).reset(); }
template <class... Fields> void DiscardAll(Fields *...fields) { (Discard(fields), ...); }

// A record while it is being built.
template <class Record, auto Free> using Holder = std::unique_ptr<Record, FreeWith<Free>>;

// A pool's list of member disks. Nothing happens when an argument is null. CtrlMutex is held by the caller.
void AddDiskToPool(StoragePool_t *pool, const char *diskID);
void RemoveDiskFromPool(StoragePool_t *pool, const char *diskID);

// --- Passes ----------------------------------------------------------------------------------------------------------

// What builds and refreshes are about.
struct Pass_t {
    const CMPIInstanceMI *Mi;
    const CMPIContext *Context;
    RaidController_t *Controller;
};

// A controller's pools and chassis, up to the first that a builder refuses: 0, or that builder's result.
int BuildPoolInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl);
int BuildChassisInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl);
// All logical devices of a controller, each in a job of its own; ends when all of them are built. Always 0.
int BuildLogicalDeviceInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl);

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
int CrossoutDuplicatedEntries(const List_t *list, const CMPIEnumeration *enums, GetOp_t *getOp, const char *keyname,
                              UpdateInfo_t **dataPtrs, NewInfo_t **opPtrs, int *datacount, int *opcount);

// The body of a refresh. Always 0.
int ProcessDeviceConfigChange(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, int action);

// --- Workers ---------------------------------------------------------------------------------------------------------

// The mutex of one kind of device of one controller, held while it lasts. On a thread that is in a life.
class KindHold {
public:
    enum class Patience { Refresh, FirstBuild };
    // Waits, and gives up when the workers are being stopped or the holder's up-call does not return. A refresh, which
    // can be left out, gives up sooner. `ctx` is this thread's.
    KindHold(const CMPIContext *ctx, RaidController_t *ctrl, const ConfigAction_t &row, Patience patience);
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
// So many up-calls do not return that no refresh is begun.
bool TooManyLost();

// Notices up-calls that do not return, and starts the workers that are missing in contexts prepared from `ctx`. Called
// by whoever waits for a worker, by idle workers, and by requests; with no lock held.
void LookAfterWorkers(const CMPIContext *ctx);
// One more worker. `who` says so in the log.
void StartWorker(const char *who, const CMPIContext *ctx);

// Queues a job and wakes an idle worker. PutItem's result; the job stays the caller's unless that is 0.
int QueueJob(Thread_Args_t *job);
// The same with a copy of a job that owns nothing; -2, said in the name of `who`, without memory for it.
int QueueCopy(const char *who, const Thread_Args_t &job);
enum class QueueState { HasRoom, Drained }; // drained: empty, and only jobs that wait for this are running
// For the log line of a wait: due at first, and then a second after it last was.
class OncePerSecond {
public:
    bool Due();

private:
    int64_t said = 0; // milliseconds
};
// Waits, on a worker and inside a job, until the queue is in that state or the workers are being stopped. Says so
// before it waits. Runs queued jobs itself when there is no other worker to do it.
void AwaitQueue(const CMPIContext *ctx, QueueState wanted, OncePerSecond *saying, void (*say)());
void FreeJob(void *job); // with what it owns

// Queues the rest of the first build, whose worker is lost, or leaves it owed.
void GoOnWithFirstBuild();

void DoBuildDeviceInfoAsync(CMPIContext *ctx, void *args);
void ProcessBuildLogicalDeviceInfo(CMPIContext *ctx, void *args);
void DoDeviceConfigChange(CMPIContext *ctx, void *args);
