// The three operations through which clients see the model. All are one walk over the controllers and, for a device
// class, over one list of each; they differ in which records they take and in what they return of them.
//
// Requests run on the CIM object manager's threads, any number at once, each holding the life that it began in.
// Controllers are read without a lock; devices under their controller's CtrlMutex, one controller at a time. After each
// controller's devices its refresh is asked for, which this request does not wait for: the next one sees its result.
#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"

#include "cim/quarnel/QuarnelProviderIfc/Set.h"

#include <string.h>

namespace {

struct ServedClass_t {
    const char *ClassName;
    const char *KeyName; // of the key that tells instances apart
    const char *Prefix;  // of that key's value
    // For a class of controllers.
    Keys_t (*FillPath)(CMPIObjectPath *path, const RaidController_t *ctrl, const char *identifier);
    void (*FillController)(CMPIInstance *inst, RaidController_t *ctrl);
    // For a class of devices; a null list tells that it is none.
    List_t *RaidController_t::*Devices;
    int Action; // that refreshes them
    const char *(*DeviceIDOf)(const void *device);
    void (*FillDevice)(CMPIInstance *inst, RaidController_t *ctrl, void *device);
};

template <class Device> const char *DeviceIDOf(const void *device) {
    return static_cast<const Device *>(device)->DeviceID;
}

template <auto Fill, class Device> void FillDevice(CMPIInstance *inst, RaidController_t *ctrl, void *device) {
    Fill(inst, ctrl, static_cast<Device *>(device));
}

template <auto Fill, class Device>
constexpr ServedClass_t DeviceClass(const char *className, const char *prefix, List_t *RaidController_t::*list,
                                    int action) {
    return {
        className, "DeviceID", prefix, nullptr, nullptr, list, action, DeviceIDOf<Device>, FillDevice<Fill, Device>};
}

constexpr ServedClass_t ControllerClass(const char *className, const char *keyName, const char *prefix,
                                        Keys_t (*fillPath)(CMPIObjectPath *, const RaidController_t *, const char *),
                                        void (*fill)(CMPIInstance *, RaidController_t *)) {
    return {className, keyName, prefix, fillPath, fill, nullptr, 0, nullptr, nullptr};
}

// The first match wins.
const ServedClass_t kServedClasses[] = {
    ControllerClass(kControllerClass, "Name", kControllerPrefix, FillControllerObjectPath, FillControllerInstance),
    ControllerClass(kSoftwareIdentityClass, "InstanceID", kSoftwareIdentityPrefix, FillSoftwareIdentityObjectPath,
                    FillSoftwareIdentityInstance),
    DeviceClass<FillVolumeInstance, StorageVolume_t>("Zembra_QuarnelStorageVolume", "zbrStorageVolume",
                                                     &RaidController_t::VolumeList, CFG_ACTION_VOLUME),
    DeviceClass<FillExtentInstance, DiskDrive_t>("Zembra_QuarnelStorageExtent", "zbrStorageExt",
                                                 &RaidController_t::DiskList, CFG_ACTION_DISK),
    DeviceClass<FillPortInstance, SASSATAPort_t>("Zembra_QuarnelSASSATAPort", "zbrPort", &RaidController_t::PortList,
                                                 CFG_ACTION_PORT),
    DeviceClass<FillBatteryInstance, Battery_t>("Zembra_QuarnelBattery", "zbrControllerBattery",
                                                &RaidController_t::BatteryList, CFG_ACTION_BATTERY),
};

struct Request_t {
    const char *Who;
    const CMPIInstanceMI *Mi;
    const CMPIContext *Context;
    const CMPIResult *Result;
    const CMPIObjectPath *Path;
    const char **Properties; // null: all
    bool NamesOnly;

    const ServedClass_t *Class = nullptr;
    const char *NameSpace = nullptr;
    const char *ControllerID = nullptr; // of the records wanted; null: any
    const char *DeviceID = nullptr;
    bool Found = false;
};

// The opening that all three share. False when the class is not served.
bool Open(Request_t &request) {
    ReadLogMask();
    QLOG(LOG_DEBUG, "%s: ObjectPath - %s\n", request.Who, PathText(request.Path).Text());
    ResetNextUnloadTime();
    if (request.Path == nullptr) return false;
    const CMPIString *className = request.Path->ft->getClassName(request.Path, nullptr);
    request.NameSpace = TextOf(request.Path->ft->getNameSpace(request.Path, nullptr));
    for (const auto &served : kServedClasses) {
        if (CMStringCmp(className, served.ClassName) != 0) continue;
        QLOG(LOG_DEBUG, "%s: %s\n", request.Who, served.ClassName);
        request.Class = &served;
        return true;
    }
    QLOG(LOG_ERR, "%s: unsupported class %s\n", request.Who, CutText(Shown(TextOf(className))).Text());
    return false;
}

// What tells the record, a controller when `device` is null, from others of its class; null without memory.
HeapText IdentifierOf(const ServedClass_t &served, const RaidController_t *ctrl, const void *device) {
    return HeapText(device == nullptr ? MakeDeviceID(ctrl->DeviceID, served.Prefix)
                                      : MakeLogicalDeviceID(ctrl->DeviceID, served.DeviceIDOf(device), served.Prefix));
}

// One record, a controller when `device` is null. Left out when the broker or the heap has no room for it.
void Return(Request_t &request, RaidController_t *ctrl, void *device) {
    const ServedClass_t &served = *request.Class;
    CMPIObjectPath *path = Broker->eft->newObjectPath(Broker, request.NameSpace, served.ClassName, nullptr);
    if (path == nullptr) return;
    const HeapText identifier = IdentifierOf(served, ctrl, device);
    if (identifier == nullptr) return;
    const Keys_t keys = device == nullptr ? served.FillPath(path, ctrl, identifier.get())
                                          : FillLogicalDeviceObjectPath(path, identifier.get(), served.ClassName);
    if (request.NamesOnly) {
        request.Result->ft->returnObjectPath(request.Result, path);
        return;
    }
    CMPIInstance *instance = Broker->eft->newInstance(Broker, path, nullptr);
    if (instance == nullptr) return;
    if (request.Properties != nullptr) instance->ft->setPropertyFilter(instance, request.Properties, nullptr);
    for (const KeyText_t &key : keys) // brokers differ in whether an instance has those of its path
        if (key.Name != nullptr) SetText(instance, key.Name, key.Text);
    if (device != nullptr)
        served.FillDevice(instance, ctrl, device);
    else
        served.FillController(instance, ctrl);
    request.Result->ft->returnInstance(request.Result, instance);
    request.Found = true;
}

bool Wanted(const char *id, const char *wanted) { return wanted == nullptr || strcmp(id, wanted) == 0; }

void ReturnDevices(Request_t &request, RaidController_t *ctrl) {
    const ServedClass_t &served = *request.Class;
    const ControllerLock lock(ctrl->CtrlMutex);
    for (void *device : Each<void>(ctrl->*served.Devices))
        if (Wanted(served.DeviceIDOf(device), request.DeviceID)) Return(request, ctrl, device);
}

void ReturnAll(Request_t &request) {
    const InLife here(HoldServedLife());
    if (request.Class->Devices != nullptr) AwaitFirstBuild();
    for (RaidController_t *ctrl : Each<RaidController_t>(&ThisLife().RaidControllerList)) {
        if (!Wanted(ctrl->DeviceID, request.ControllerID)) continue;
        if (request.Class->Devices == nullptr) {
            Return(request, ctrl, nullptr);
            continue;
        }
        ReturnDevices(request, ctrl);
        HandleDeviceConfigChange(request.Mi, request.Context, ctrl, request.Class->Action);
    }
}

CMPIStatus Enumerate(Request_t request) {
    const bool served = Open(request);
    if (request.Path == nullptr) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    if (served) ReturnAll(request);
    QLOG(LOG_DEBUG, "%s: exiting\n", request.Who);
    request.Result->ft->returnDone(request.Result);
    return kOk;
}

// Takes the key of the request's path apart.
int ParseKey(const Request_t &request, HeapText *controllerID, HeapText *deviceID) {
    const ServedClass_t &served = *request.Class;
    char *controller = nullptr;
    char *device = nullptr;
    const int result = served.Devices != nullptr
                           ? RetrieveControllerAndDeviceIDs(request.Path, served.Prefix, &controller, &device)
                           : RetrieveDeviceID(request.Path, served.KeyName, served.Prefix, &controller);
    controllerID->reset(controller);
    deviceID->reset(device);
    return result;
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
    if (!Open(request)) return {cop == nullptr ? CMPI_RC_ERR_INVALID_PARAMETER : CMPI_RC_ERR_INVALID_CLASS, nullptr};
    HeapText controllerID;
    HeapText deviceID;
    if (ParseKey(request, &controllerID, &deviceID) != RESULT_OK) {
        QLOG(LOG_ERR, "Object path %s invalid\n", PathText(cop).Text());
    } else {
        request.ControllerID = controllerID.get();
        request.DeviceID = deviceID.get();
        ReturnAll(request);
    }
    QLOG(LOG_DEBUG, "%s: exiting\n", request.Who);
    if (!request.Found) return {CMPI_RC_ERR_NOT_FOUND, nullptr};
    rslt->ft->returnDone(rslt);
    return kOk;
}
