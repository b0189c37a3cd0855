// What the provider's three modules share: the records of the cached model, the lists and the queue, the job record,
// the rows of the action table, and the functions that one module calls in another.
//
// Dependencies go one way: QuarnelProviderIfc -> QuarnelProviderCfg -> QuarnelProviderUtil.
#pragma once

#include "cim/quarnel/QuarnelProviderUtil/Handles.h"
#include "cim/quarnel/QuarnelProviderUtil/Lock.h"
#include "cim/quarnel/QuarnelProviderUtil/Log.h"
#include "cim/quarnel/QuarnelProviderUtil/Read.h"
#include "cim/quarnel/QuarnelProviderUtil/Relaxed.h"

#include <cmpift.h>

#include <atomic>
#include <initializer_list>
#include <stdint.h>
#include <time.h>
#include <type_traits>

// Results of the provider's own functions.
enum {
    RESULT_OK = 0,
    RESULT_NULL = -1,      // a null argument, or a device that is refused
    RESULT_NO_MEMORY = -2, // or a broker object that could not be made
    RESULT_NOT_FOUND = -3, // not in a list, or a malformed key
    RESULT_ARRAY_FULL = -5,
    RESULT_FIFO_FULL = -6,
    RESULT_INVALID = -100, // an invalid parameter, or no host instance
};

// Values of CIM_ManagedSystemElement.OperationalStatus.
enum OpStatus {
    OPSTATUS_UNKNOWN = 0,
    OPSTATUS_OTHER = 1,
    OPSTATUS_OK = 2,
    OPSTATUS_DEGRADED = 3,
    OPSTATUS_STRESSED = 4,
    OPSTATUS_PREDICTIVE_FAILURE = 5,
    OPSTATUS_ERROR = 6,
    OPSTATUS_NON_RECOVERABLE = 7,
    OPSTATUS_STARTING = 8,
    OPSTATUS_STOPPING = 9,
    OPSTATUS_STOPPED = 10,
    OPSTATUS_IN_SERVICE = 11,
    OPSTATUS_NO_CONTACT = 12,
    OPSTATUS_LOST_COM = 13,
    OPSTATUS_ABORTED = 14,
    OPSTATUS_DORMANT = 15,
    OPSTATUS_SUP_ENT_ERR = 16,
    OPSTATUS_COMPLETED = 17,
    OPSTATUS_POWER_MODE = 18,
};

// Values of CIM_ManagedSystemElement.HealthState.
enum HealthState {
    HEALTHSTATE_UNKNOWN = 0,
    HEALTHSTATE_OK = 5,
    HEALTHSTATE_WARNING = 10,
    HEALTHSTATE_MINOR = 15,
    HEALTHSTATE_MAJOR = 20,
    HEALTHSTATE_CRIT = 25,
    HEALTHSTATE_FAILED = 30,
};

// The kinds of devices, by what refreshes them.
enum {
    CFG_ACTION_NONE = 0,
    CFG_ACTION_DISK = 100,
    CFG_ACTION_VOLUME = 101,
    CFG_ACTION_PORT = 102,
    CFG_ACTION_BATTERY = 103,
    CFG_ACTION_POOL = 104,
    CFG_ACTION_CHASSIS = 105,
    CFG_ACTION_END = 106,
};
constexpr int kKinds = CFG_ACTION_END - CFG_ACTION_DISK;

// --- Lists and the queue ---------------------------------------------------------------------------------------------

struct List_Entry_t {
    List_Entry_t *Next; // null at the end
    void *Data;         // never null
};

// Holds the caller's pointers. Whoever owns a list guards it. Head and Tail are null exactly when Size is 0.
struct List_t {
    List_Entry_t *Head;
    List_Entry_t *Tail;
    uint32_t Size;
    uint32_t Changes; // counts additions and removals
};

struct Fifo_t {
    Mutex_t Mutex;
    uint32_t Size; // capacity
    List_t List GUARDED_BY(Mutex);
};

// 0; also for null data, which adds nothing; -1 for a null list; -2 without memory for a node.
int AddEntryAtListHead(List_t *list, void *data);
int AddEntryAtListTail(List_t *list, void *data);
// Takes the head out; null when the list is empty. 0, or -1 for a null list with `data` untouched.
int RemoveEntryFromList(List_t *list, void **data);
// Takes out the first entry with this pointer. 0; -1 for a null argument; -3 when it is not there.
int RemoveEntryFromListByKey(List_t *list, const void *data);
int IsListEmpty(const List_t *list);
// Empties the list; each element goes to `release`, or to free() when that is null.
void FreeList(List_t *list, void (*release)(void *));

// 0: the queue owns it; -6 full, -2 without memory: the caller does. Never waits.
int PutItem(Fifo_t *fifo, void *data);
// The oldest item, now the caller's; null when the queue is empty.
void *GetItem(Fifo_t *fifo);
int IsFifoEmpty(Fifo_t *fifo);

// A typed walk: for (DiskDrive_t *disk : Each<DiskDrive_t>(list)). The list must not change meanwhile. A null list is
// empty.
template <class Element> class Each {
public:
    explicit Each(const List_t *list) : first(list != nullptr ? list->Head : nullptr) {}
    struct Iterator {
        const List_Entry_t *at;
        Element *operator*() const { return static_cast<Element *>(at->Data); }
        Iterator &operator++() {
            at = at->Next;
            return *this;
        }
        bool operator!=(const Iterator &other) const { return at != other.at; }
    };
    Iterator begin() const { return {first}; }
    Iterator end() const { return {nullptr}; }

private:
    const List_Entry_t *first;
};

// --- The model -------------------------------------------------------------------------------------------------------
//
// Plain structures, allocated zero-filled; strings are heap copies and paths are clones, both the record's own, and any
// of them may be null unless noted otherwise. A record's path is its first field. Records name each other by key
// text, never by pointer, so deleting one leaves nothing dangling. A device record belongs to the one list that it is
// in, and its fields are guarded by its controller's CtrlMutex from then on.

struct StorageVolume_t {
    CMPIObjectPath *VolumeOp;
    char *DeviceID; // never null in the list
    char *RaidLevel;
    char *ElementName;
    char *Name;
    CMPIUint16 NameFormat;
    CMPIUint16 NameNameSpace;
    CMPIUint16 ExtentStripeLength;
    CMPIUint16 ExtentStatus;
    CMPIUint16 OperationalStatus;
    CMPIUint64 NumberOfBlocks;
    CMPIUint64 ConsumableBlocks;
    CMPIUint16 DataRedundancy;
    CMPIUint16 PackageRedundancy;
    CMPIBoolean IsBasedOnUnderlyingRedundancy;
    CMPIUint8 DeltaReservation;
    CMPIBoolean Primordial;
    time_t LastUpdateTime; // when it was built
    CMPIUint8 UpdateEnabled;
    char *FromPool; // a pool's InstanceID
};

struct DiskDrive_t {
    CMPIObjectPath *DiskOp;
    CMPIObjectPath *ExtentOp;
    char *DeviceID; // never null in the list
    char *Name;
    char *FwVersion;
    char *Model; // always null
    CMPIUint16 EnabledState;
    CMPIUint16 OperationalStatus;
    CMPIUint16 ExtentStatus;
    CMPIUint64 NumberOfBlocks;
    CMPIUint64 ConsumableBlocks;
    CMPIBoolean Primordial;
    time_t LastUpdateTime;
    CMPIUint8 UpdateEnabled;
    CMPIUint16 SlotNumber;
    char *Chassis; // a chassis's Tag
    char *Pool;    // a pool's InstanceID
};

struct StoragePool_t {
    CMPIObjectPath *PoolOp;
    char *InstanceID; // never null in the list
    char *PoolID;
    CMPIBoolean Primordial;
    CMPIUint16 OperationalStatus;
    CMPIUint64 TotalManagedSpace;
    CMPIUint64 RemainingManagedSpace;
    time_t LastUpdateTime;
    CMPIUint8 UpdateEnabled;
    List_t *Drives; // points at _Drives: own copies of the member disks' DeviceIDs, each once, in order of addition
    List_t _Drives;
};

struct Battery_t {
    CMPIObjectPath *BatteryOp;
    time_t LastUpdateTime;
    CMPIUint8 UpdateEnabled;
    char *DeviceID; // never null in the list
    CMPIUint16 BatteryStatus;
    CMPIUint16 OperationalStatus;
};

struct SASSATAPort_t {
    CMPIObjectPath *PortOp;
    time_t LastUpdateTime;
    CMPIUint8 UpdateEnabled;
    char *DeviceID; // never null in the list
    char *PortName;
    CMPIUint16 PortType;
    CMPIUint16 OperationalStatus;
    CMPIUint16 UsageRestriction;
};

struct Chassis_t {
    CMPIObjectPath *ChassisOp;
    char *Tag;         // never null in the list
    char *InternalTag; // the part of Tag after the controller's ID
    CMPIUint16 OperationalStatus;
    time_t LastUpdateTime;
    CMPIUint8 UpdateEnabled;
};

static_assert(std::is_trivial_v<StorageVolume_t> && std::is_trivial_v<DiskDrive_t> &&
                  std::is_trivial_v<StoragePool_t> && std::is_trivial_v<Battery_t> &&
                  std::is_trivial_v<SASSATAPort_t> && std::is_trivial_v<Chassis_t>,
              "records are allocated zero-filled");

// The records of a list by their keys. Look-ups fill it.
struct KeyIndex_t {
    void **Slots;
    uint32_t Count;   // a power of 2
    uint32_t Changes; // of the list when it was filled
};

struct RaidController_t {
    // Guards the seven lists below, the fields of their records, and writes of the update times. Innermost.
    Mutex_t CtrlMutex;

    // Fixed once the controller is listed.
    CMPIObjectPath *PortControllerOp;
    CMPIObjectPath *ControllerOp; // where every walk to the controller's devices starts
    char *DeviceID;               // never null in the list
    char *Model;
    char *FirmwareVersion;
    char *BiosVersion;
    char *DriverVersion;
    char *BundleVersion;
    CMPIUint16 HealthState;
    CMPIUint16 OperationalStatus;
    Relaxed<time_t> ControllerUpdateTime;

    // When a record of the kind was last listed or refreshed. Read without a lock: a stale time only lets a surplus
    // refresh through.
    Relaxed<time_t> ChassisUpdateTime;
    Relaxed<time_t> PoolUpdateTime;
    Relaxed<time_t> VolumeUpdateTime;
    Relaxed<time_t> DiskUpdateTime;
    Relaxed<time_t> PortUpdateTime;
    Relaxed<time_t> BatteryUpdateTime;
    CMPIUint8 UpdateEnabled;

    // Each serialises passes over one kind. Taken before CtrlMutex, one at a time, never by requests.
    Mutex_t DiskCfgMutex;
    Mutex_t VolumeCfgMutex;
    Mutex_t PortCfgMutex;
    Mutex_t BatteryCfgMutex;
    Mutex_t PoolCfgMutex;
    Mutex_t ChassisCfgMutex;

    // By kind: a refresh has built records. Each guarded by its kind's mutex.
    bool BuiltByRefresh[kKinds];

    // All code reaches the lists through these pointers, which are fixed.
    List_t *VolumeList;
    List_t *ExtentList; // always null: disks stand for their extents
    List_t *DiskList;
    List_t *PoolList;
    List_t *BatteryList;
    List_t *PortList;
    List_t *ChassisList;
    List_t __VolumeList;
    List_t __ExtentList;
    List_t __DiskList;
    List_t __PoolList;
    List_t __BatteryList;
    List_t __PortList;
    List_t __ChassisList;

    mutable KeyIndex_t DiskIndex, PoolIndex, ChassisIndex; // guarded with their lists
};

constexpr size_t kMaxProfiles = 8;

// Slots at and beyond Count are undefined.
struct Array_t {
    uint32_t Count;
    void *Array[kMaxProfiles];
};

// --- Jobs and actions ------------------------------------------------------------------------------------------------

// One job. Owned by the queue, then by the worker; Func frees it before it works.
struct Thread_Args_t {
    void (*Func)(CMPIContext *context, void *args) = nullptr;
    uintptr_t Arg0 = 0;
    uintptr_t Arg1 = 0;
    uintptr_t Arg2 = 0;
    uintptr_t Arg3 = 0;
    uintptr_t Arg4 = 0;
    uintptr_t Arg5 = 0;
    void (*Release)(Thread_Args_t *job) = nullptr; // of what a job owns that is not run; may be null
};

using GetOp_t = CMPIObjectPath *(void *device);
using Build_t = int(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl,
                    const CMPIInstance *instance, const CMPIObjectPath *op);
using Update_t = int(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                     const CMPIInstance *instance);
using Delete_t = int(RaidController_t *ctrl, void *device);
using Free_t = void(void *device);
using KeyOf_t = const char *(const void *device);

// How one kind of device is found under a controller, told apart, built, refreshed and deleted, and where each
// controller has it.
struct ConfigAction_t {
    int ConfigAction;
    int PreConfigAction; // run before this one
    const char *AssociationClassName;
    const char *AssociatedClassName;
    const char *KeyName; // of the device's path, and of its instance
    GetOp_t *GetOpFunc;
    Build_t *BuildFunc;
    Update_t *UpdateFunc;
    Delete_t *DeleteFunc;
    Free_t *FreeFunc;
    KeyOf_t *KeyOfFunc;  // the record's own copy of its key
    const char *Devices; // what log lines call them
    List_t *RaidController_t::*List;
    List_t RaidController_t::*ListItself;
    Mutex_t RaidController_t::*KindMutex;
    Relaxed<time_t> RaidController_t::*UpdateTime;
};
extern const ConfigAction_t actionTable[kKinds];
const ConfigAction_t *FindAction(int action); // the row of an action, null for an unknown one

// --- QuarnelProviderCfg ----------------------------------------------------------------------------------------------

// The number of HHRC profile registrations found (0 to 8); -1 a null argument, -2 no path, -5 more than eight. The
// instances are the broker's and live as long as the invocation.
int GetHHRCProfiles(const CMPIInstanceMI *mi, const CMPIContext *ctx, Array_t *profiles);
// Lists one controller per port controller of the profiles. 0; -2 or the list's code, with nothing listed.
int BuildControllerInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx, const Array_t *profiles);
// An empty record with its locks and lists; null without memory.
RaidController_t *NewController();
void FreeController(void *controller);

struct Life_t; // in Life.h

// Starts this life's workers, each in a context prepared from `ctx`.
void InitQuarnelThreads(const CMPIContext *ctx);
// Tells the workers to stop: no up-call is begun any more. With `unlessInUpcall`, false and no change while a job is
// inside an up-call.
bool StopQuarnelThreads(Life_t *life, bool unlessInUpcall);
// Waits for the stopped workers to end, until `until` (CLOCK_MONOTONIC) at most, and frees queued jobs. False: one is
// still inside an up-call and keeps its life.
bool CleanupQuarnelThreads(Life_t *life, const timespec &until);
// Queues the first build of every controller's devices: 0, -2 or -6.
int BuildDeviceInfoAsync(const CMPIInstanceMI *mi, const CMPIContext *ctx);
// Waits for the end of the first build, until FirstAnswerWait seconds after the start of this life at most.
void AwaitFirstBuild();
extern Relaxed<int> FirstAnswerWait; // seconds; 0: requests are answered at once from what is known

// Asks for a background refresh of one kind of device of one controller: 0 when it is queued or not due, -2 without
// memory, -6 when the queue is full or too many up-calls do not return. Called with no lock held; `ctx` is this
// thread's.
int HandleDeviceConfigChange(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, int action);

// The first record with that key, or null. CtrlMutex is held by the caller.
StoragePool_t *FindStoragePoolByID(const RaidController_t *ctrl, const char *instanceID);
DiskDrive_t *FindDiskByDeviceID(const RaidController_t *ctrl, const char *deviceID);
Chassis_t *FindChassisByTag(const RaidController_t *ctrl, const char *tag);

// --- QuarnelProviderUtil ---------------------------------------------------------------------------------------------

extern Relaxed<const CMPIBroker *> Broker; // handed to the factory
extern Relaxed<time_t> InitCompleteTime;   // when the factory last returned

// Reads the host system's identity from OMC_UnitaryComputerSystem: 0, -2 without a path, -100 without an instance.
int InitSystemInfo(const CMPIInstanceMI *mi, const CMPIContext *ctx);
void ReleaseSystemInfo();
// Lent until ReleaseSystemInfo; null when not known.
const char *GetHostName();
const char *GetSystemName();
const char *GetSystemClassName();

// Element 0 of an array property, as uint16; zero when there is none or it does not fit.
CMPIValue GetArrayProperty(const CMPIInstance *instance, const char *property);
// As strcasecmp; a string without characters counts as empty.
int CMStringCmp(const CMPIString *str1, const char *str2);
// A heap copy, the caller's; null for null, and, after a warning, without memory.
char *StringClone(const char *text);

using HeapText = Heap<char>;
