// What the files of this module share: lifecycle, object paths, instances, requests.
#pragma once

#include "cim/quarnel/Life.h"

#include <array>

// --- Lifecycle -------------------------------------------------------------------------------------------------------

void QuarnelProviderInit(const CMPIInstanceMI *mi, const CMPIContext *ctx);
// Moves the time before which clean-up declines. Called by every request.
void ResetNextUnloadTime();
extern Relaxed<int> CleanupLimit; // milliseconds that clean-up waits for the workers
CMPIStatus QuarnelProviderCleanup(CMPIInstanceMI *mi, const CMPIContext *ctx, CMPIBoolean terminating);

// The life that requests are answered from, held for the caller: null while its controllers are not all known.
Life_t *HoldServedLife();

// --- Object paths ----------------------------------------------------------------------------------------------------

constexpr char kControllerClass[] = "Zembra_QuarnelController";
constexpr char kSoftwareIdentityClass[] = "Zembra_QuarnelSoftwareIdentity";
constexpr char kControllerPrefix[] = "zbrController";
constexpr char kSoftwareIdentityPrefix[] = "zembra:ControllerSoftware";

// Identifiers, the caller's to free; null after a warning when there is no memory.
char *MakeDeviceID(const char *controllerID, const char *prefix);
char *MakeLogicalDeviceID(const char *controllerID, const char *deviceID, const char *prefix);

struct KeyText_t {
    const char *Name; // null: no further key
    const char *Text; // never null otherwise
};
using Keys_t = std::array<KeyText_t, 4>;

// Add the keys to a path and return them: the instance has them as properties, too. Borrowed from identifier and life.
Keys_t FillControllerObjectPath(CMPIObjectPath *path, const RaidController_t *ctrl, const char *identifier);
Keys_t FillSoftwareIdentityObjectPath(CMPIObjectPath *path, const RaidController_t *ctrl, const char *identifier);
Keys_t FillLogicalDeviceObjectPath(CMPIObjectPath *path, const char *identifier, const char *className);

// Take an identifier apart: 0 with heap copies for the caller; -3 the key is missing or malformed, -2 without memory,
// with nothing allocated.
int RetrieveDeviceID(const CMPIObjectPath *path, const char *keyName, const char *prefix, char **deviceID);
int RetrieveControllerAndDeviceIDs(const CMPIObjectPath *path, const char *prefix, char **controllerID,
                                   char **deviceID);

// --- Instances -------------------------------------------------------------------------------------------------------
//
// Each sets the properties of a served instance from a record; the broker's answers are ignored. For a device the
// caller holds the controller's CtrlMutex.

void FillControllerInstance(CMPIInstance *inst, RaidController_t *ctrl);
void FillSoftwareIdentityInstance(CMPIInstance *inst, RaidController_t *ctrl);
void FillVolumeInstance(CMPIInstance *inst, RaidController_t *ctrl, StorageVolume_t *volume);
void FillExtentInstance(CMPIInstance *inst, RaidController_t *ctrl, DiskDrive_t *extent);
void FillPortInstance(CMPIInstance *inst, RaidController_t *ctrl, SASSATAPort_t *port);
void FillBatteryInstance(CMPIInstance *inst, RaidController_t *ctrl, Battery_t *battery);

CMPIUint16 GetHealthStateByOpStatus(CMPIUint16 opStatus);
// The state word of a disk, a constant, and the HealthState that goes with it. CtrlMutex is held by the caller.
const char *GetDiskPhysicalStatus(const RaidController_t *ctrl, const DiskDrive_t *disk, CMPIUint16 *health);

// --- Requests --------------------------------------------------------------------------------------------------------

CMPIStatus QuarnelProviderEnumInstanceNames(CMPIInstanceMI *mi, const CMPIContext *ctx, const CMPIResult *rslt,
                                            const CMPIObjectPath *cop);
CMPIStatus QuarnelProviderEnumInstances(CMPIInstanceMI *mi, const CMPIContext *ctx, const CMPIResult *rslt,
                                        const CMPIObjectPath *cop, const char **properties);
CMPIStatus QuarnelProviderGetInstance(CMPIInstanceMI *mi, const CMPIContext *ctx, const CMPIResult *rslt,
                                      const CMPIObjectPath *cop, const char **properties);
