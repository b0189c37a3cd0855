// The three operations through which clients see the model: one walk over the controllers and, for a device class, over
// one list of each.
//
// Requests run on the CIM object manager's threads, any number at once, each holding the life that it began in.
// Controllers are read without a lock; devices under their controller's CtrlMutex, one controller at a time. After each
// controller's devices a refresh is asked for, whose result the next request sees.
#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"

#include "cim/quarnel/QuarnelProviderIfc/Set.h"

#include <string.h>

namespace {

struct ControllerClass_t {
    const char *ClassName;
    const char *KeyName; // of the key that tells instances apart
    const char *Prefix;  // of that key's value
    Keys_t (*FillPath)(CMPIObjectPath *path, const RaidController_t *ctrl, const char *identifier);
    void (*Fill)(CMPIInstance *inst, RaidController_t *ctrl);
};

const ControllerClass_t kControllerClasses[] = {
    {kControllerClass, "Name", kControllerPrefix, FillControllerObjectPath, FillControllerInstance},
    {kSoftwareIdentityClass, "InstanceID", kSoftwareIdentityPrefix, FillSoftwareIdentityObjectPath,
     FillSoftwareIdentityInstance},
};

// The key that tells instances apart is the DeviceID.
struct DeviceClass_t {
    const char *ClassName;
    const char *Prefix; // of the DeviceID
    int Action;         // the kind of the devices
    void (*Fill)(CMPIInstance *inst, RaidController_t *ctrl, void *device);
};

template <class Device, void (*Fill)(CMPIInstance *, RaidController_t *, Device *)>
void FillDevice(CMPIInstance *inst, RaidController_t *ctrl, void *device) {
    Fill(inst, ctrl, static_cast<Device *>(device));
}

const DeviceClass_t kDeviceClasses[] = {
    {"Zembra_QuarnelStorageVolume", "zbrStorageVolume", CFG_ACTION_VOLUME,
     FillDevice<StorageVolume_t, FillVolumeInstance>},
    {"Zembra_QuarnelStorageExtent", "zbrStorageExt", CFG_ACTION_DISK, FillDevice<DiskDrive_t, FillExtentInstance>},
    {"Zembra_QuarnelSASSATAPort", "zbrPort", CFG_ACTION_PORT, FillDevice<SASSATAPort_t, FillPortInstance>},
    {"Zembra_QuarnelBattery", "zbrControllerBattery", CFG_ACTION_BATTERY, FillDevice<Battery_t, FillBatteryInstance>},
};

struct Request_t {
    const char *Who;
    const CMPIInstanceMI *Mi;
    const CMPIContext *Context;
    const CMPIResult *Result;
    const CMPIObjectPath *Path;
    const char **Properties; // null: all
    bool NamesOnly;

    const char *NameSpace = nullptr;
    const char *ControllerID = nullptr; // of the records wanted; null: any
    const char *DeviceID = nullptr;
    bool Found = false;
};

// What all three begin with: finds the class that is asked for. False when it is not served.
template <class Serve> bool Open(Request_t &request, Serve serve) {
    ReadLogMask();
    QLOG(LOG_DEBUG, "%s: ObjectPath - %s\n", request.Who, PathText(request.Path).Text());
    ResetNextUnloadTime();
    if (request.Path == nullptr) return false;
    const CMPIString *className = request.Path->ft->getClassName(request.Path, nullptr);
    request.NameSpace = TextOf(request.Path->ft->getNameSpace(request.Path, nullptr));
    const auto serveOneOf = [&](const auto &classes) {
        for (const auto &served : classes) {
            if (CMStringCmp(className, served.ClassName) != 0) continue;
            QLOG(LOG_DEBUG, "%s: %s\n", request.Who, served.ClassName);
            serve(served);
            return true;
        }
        return false;
    };
    if (serveOneOf(kControllerClasses) || serveOneOf(kDeviceClasses)) return true;
    QLOG(LOG_ERR, "%s: unsupported class %s\n", request.Who, CutText(Shown(TextOf(className))).Text());
    return false;
}

// Returns one record under the identifier, which is taken over. Left out when the broker or the heap is out of memory.
template <class Class, class FillPath, class Fill>
void Return(Request_t &request, const Class &served, char *made, FillPath fillPath, Fill fill) {
    const HeapText identifier(made);
    CMPIObjectPath *path = Broker->eft->newObjectPath(Broker, request.NameSpace, served.ClassName, nullptr);
    if (path == nullptr || identifier == nullptr) return;
    const Keys_t keys = fillPath(path, identifier.get());
    if (request.NamesOnly) {
        request.Result->ft->returnObjectPath(request.Result, path);
        return;
    }
    CMPIInstance *instance = Broker->eft->newInstance(Broker, path, nullptr);
    if (instance == nullptr) return;
    if (request.Properties != nullptr) instance->ft->setPropertyFilter(instance, request.Properties, nullptr);
    for (const KeyText_t &key : keys) // brokers differ in whether an instance has those of its path
        if (key.Name != nullptr) SetText(instance, key.Name, key.Text);
    fill(instance);
    request.Result->ft->returnInstance(request.Result, instance);
    request.Found = true;
}

bool Wanted(const char *id, const char *wanted) { return wanted == nullptr || strcmp(id, wanted) == 0; }

void ReturnFrom(RaidController_t *ctrl, Request_t &request, const ControllerClass_t &served) {
    Return(
        request, served, MakeDeviceID(ctrl->DeviceID, served.Prefix),
        [&](CMPIObjectPath *path, const char *identifier) { return served.FillPath(path, ctrl, identifier); },
        [&](CMPIInstance *instance) { served.Fill(instance, ctrl); });
}

void ReturnFrom(RaidController_t *ctrl, Request_t &request, const DeviceClass_t &served) {
    const ConfigAction_t &kind = *FindAction(served.Action);
    {
        const ControllerLock lock(ctrl->CtrlMutex);
        for (void *device : Each<void>(ctrl->*kind.List)) {
            const char *id = kind.KeyOfFunc(device);
            if (!Wanted(id, request.DeviceID)) continue;
            Return(
                request, served, MakeLogicalDeviceID(ctrl->DeviceID, id, served.Prefix),
                [&](CMPIObjectPath *path, const char *identifier) {
                    return FillLogicalDeviceObjectPath(path, identifier, served.ClassName);
                },
                [&](CMPIInstance *instance) { served.Fill(instance, ctrl, device); });
        }
    }
    HandleDeviceConfigChange(request.Mi, request.Context, ctrl, served.Action);
}

void AwaitModel(const ControllerClass_t &) {} // controllers are complete
void AwaitModel(const DeviceClass_t &) { AwaitFirstBuild(); }

template <class Class> void ReturnAll(Request_t &request, const Class &served) {
    const InLife here(HoldServedLife());
    AwaitModel(served);
    for (RaidController_t *ctrl : Each<RaidController_t>(&ThisLife().RaidControllerList))
        if (Wanted(ctrl->DeviceID, request.ControllerID)) ReturnFrom(ctrl, request, served);
}

CMPIStatus Enumerate(Request_t request) {
    Open(request, [&](const auto &served) { ReturnAll(request, served); });
    if (request.Path == nullptr) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    QLOG(LOG_DEBUG, "%s: exiting\n", request.Who);
    request.Result->ft->returnDone(request.Result);
    return kOk;
}

// Take the key of the request's path apart.
int ParseKey(const CMPIObjectPath *path, const ControllerClass_t &served, char **controllerID, char **) {
    return RetrieveDeviceID(path, served.KeyName, served.Prefix, controllerID);
}
int ParseKey(const CMPIObjectPath *path, const DeviceClass_t &served, char **controllerID, char **deviceID) {
    return RetrieveControllerAndDeviceIDs(path, served.Prefix, controllerID, deviceID);
}

template <class Class> void ReturnNamed(Request_t &request, const Class &served) {
    char *controllerID = nullptr;
    char *deviceID = nullptr;
    if (ParseKey(request.Path, served, &controllerID, &deviceID) != RESULT_OK) {
        QLOG(LOG_ERR, "Object path %s invalid\n", PathText(request.Path).Text());
        return;
    }
    const HeapText ownController(controllerID);
    const HeapText ownDevice(deviceID);
    request.ControllerID = controllerID;
    request.DeviceID = deviceID;
    ReturnAll(request, served);
}

} // namespace

CMPIStatus QuarnelProviderEnumInstanceNames(CMPIInstanceMI *mi, const CMPIContext *ctx, const CMPIResult *rslt,
                                            const CMPIObjectPath *cop) {
    return Enumerate({__func__, mi, ctx, rslt, cop, nullptr, true});
}

CMPIStatus QuarnelProviderEnumInstances(CMPIInstanceMI *mi, const CMPIContext *ctx, const CMPIResult *rslt,
                                        const CMPIObjectPath *cop, const char **properties) {
    return Enumerate({__func__, mi, ctx, rslt, cop, properties, false});
}

CMPIStatus QuarnelProviderGetInstance(CMPIInstanceMI *mi, const CMPIContext *ctx, const CMPIResult *rslt,
                                      const CMPIObjectPath *cop, const char **properties) {
    Request_t request = {__func__, mi, ctx, rslt, cop, properties, false};
    if (!Open(request, [&](const auto &served) { ReturnNamed(request, served); }))
        return {cop == nullptr ? CMPI_RC_ERR_INVALID_PARAMETER : CMPI_RC_ERR_INVALID_CLASS, nullptr};
    QLOG(LOG_DEBUG, "%s: exiting\n", request.Who);
    if (!request.Found) return {CMPI_RC_ERR_NOT_FOUND, nullptr};
    rslt->ft->returnDone(rslt);
    return kOk;
}
