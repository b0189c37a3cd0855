// The life of the cached records: destructors, and the paths that tell records apart.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

namespace {

// Releases what a record owns; any of it may be null.
template <class... Texts> void FreeTexts(Texts *...texts) { (free(texts), ...); }
template <class... Paths> void ReleasePaths(Paths *...paths) { (Owned<CMPIObjectPath>(paths).reset(), ...); }

} // namespace

void FreeVolume(void *record) {
    auto *volume = static_cast<StorageVolume_t *>(record);
    if (volume == nullptr) return;
    QLOG(LOG_DEBUG, "Volume %s (%s) deleted\n", Shown(volume->Name), Shown(volume->ElementName));
    FreeTexts(volume->ElementName, volume->RaidLevel, volume->DeviceID, volume->Name, volume->FromPool);
    ReleasePaths(volume->VolumeOp);
    free(volume);
}

void FreeDisk(void *record) {
    auto *disk = static_cast<DiskDrive_t *>(record);
    if (disk == nullptr) return;
    QLOG(LOG_DEBUG, "%s deleted\n", Shown(disk->Name));
    FreeTexts(disk->FwVersion, disk->Name, disk->DeviceID, disk->Model, disk->Pool, disk->Chassis);
    ReleasePaths(disk->DiskOp, disk->ExtentOp);
    free(disk);
}

void FreePort(void *record) {
    auto *port = static_cast<SASSATAPort_t *>(record);
    if (port == nullptr) return;
    QLOG(LOG_DEBUG, "%s deleted\n", Shown(port->PortName));
    FreeTexts(port->PortName, port->DeviceID);
    ReleasePaths(port->PortOp);
    free(port);
}

void FreeBattery(void *record) {
    auto *battery = static_cast<Battery_t *>(record);
    if (battery == nullptr) return;
    QLOG(LOG_DEBUG, "Battery %s deleted\n", Shown(battery->DeviceID));
    FreeTexts(battery->DeviceID);
    ReleasePaths(battery->BatteryOp);
    free(battery);
}

void FreePool(void *record) {
    auto *pool = static_cast<StoragePool_t *>(record);
    if (pool == nullptr) return;
    QLOG(LOG_DEBUG, "Pool %s deleted\n", Shown(pool->PoolID));
    FreeList(pool->Drives, nullptr);
    FreeTexts(pool->PoolID, pool->InstanceID);
    ReleasePaths(pool->PoolOp);
    free(pool);
}

void FreeChassis(void *record) {
    auto *chassis = static_cast<Chassis_t *>(record);
    if (chassis == nullptr) return;
    QLOG(LOG_DEBUG, "Chassis %s deleted\n", Shown(chassis->Tag));
    FreeTexts(chassis->Tag, chassis->InternalTag);
    ReleasePaths(chassis->ChassisOp);
    free(chassis);
}

RaidController_t *NewController() {
    auto *ctrl = Allocate<RaidController_t>();
    if (ctrl == nullptr) return nullptr;
    for (Mutex_t *mutex : {&ctrl->CtrlMutex, &ctrl->DiskCfgMutex, &ctrl->VolumeCfgMutex, &ctrl->PortCfgMutex,
                           &ctrl->BatteryCfgMutex, &ctrl->PoolCfgMutex, &ctrl->ChassisCfgMutex})
        pthread_mutex_init(mutex, nullptr);
    ctrl->VolumeList = &ctrl->__VolumeList;
    ctrl->DiskList = &ctrl->__DiskList;
    ctrl->PoolList = &ctrl->__PoolList;
    ctrl->BatteryList = &ctrl->__BatteryList;
    ctrl->PortList = &ctrl->__PortList;
    ctrl->ChassisList = &ctrl->__ChassisList;
    return ctrl;
}

// Takes no lock: nothing else can reach the controller any more, or can reach it yet.
void FreeController(void *record) {
    auto *ctrl = static_cast<RaidController_t *>(record);
    if (ctrl == nullptr) return;
    FreeList(ctrl->VolumeList, FreeVolume);
    FreeList(ctrl->DiskList, FreeDisk);
    FreeList(ctrl->PoolList, FreePool);
    FreeList(ctrl->PortList, FreePort);
    FreeList(ctrl->BatteryList, FreeBattery);
    FreeList(ctrl->ChassisList, FreeChassis);
    QLOG(LOG_DEBUG, "Controller %s (%s) deleted\n", Shown(ctrl->Model), Shown(ctrl->DeviceID));
    FreeTexts(ctrl->BundleVersion, ctrl->DriverVersion, ctrl->BiosVersion, ctrl->FirmwareVersion, ctrl->Model,
              ctrl->DeviceID);
    ReleasePaths(ctrl->ControllerOp, ctrl->PortControllerOp);
    for (KeyIndex_t *index : {&ctrl->DiskIndex, &ctrl->PoolIndex, &ctrl->ChassisIndex}) free(index->Slots);
    for (Mutex_t *mutex : {&ctrl->DiskCfgMutex, &ctrl->VolumeCfgMutex, &ctrl->PortCfgMutex, &ctrl->BatteryCfgMutex,
                           &ctrl->PoolCfgMutex, &ctrl->ChassisCfgMutex, &ctrl->CtrlMutex})
        pthread_mutex_destroy(mutex);
    free(ctrl);
}

CMPIObjectPath *GetVolumeOp(void *volume) { return static_cast<StorageVolume_t *>(volume)->VolumeOp; }
CMPIObjectPath *GetDiskOp(void *disk) { return static_cast<DiskDrive_t *>(disk)->DiskOp; }
CMPIObjectPath *GetPortOp(void *port) { return static_cast<SASSATAPort_t *>(port)->PortOp; }
CMPIObjectPath *GetBatteryOp(void *battery) { return static_cast<Battery_t *>(battery)->BatteryOp; }
CMPIObjectPath *GetPoolOp(void *pool) { return static_cast<StoragePool_t *>(pool)->PoolOp; }
CMPIObjectPath *GetChassisOp(void *chassis) { return static_cast<Chassis_t *>(chassis)->ChassisOp; }
CMPIObjectPath *GetControllerOp(void *ctrl) { return static_cast<RaidController_t *>(ctrl)->ControllerOp; }

CMPIUint16 GetOperationalStatus(const CMPIInstance *instance) {
    return GetArrayProperty(instance, "OperationalStatus").uint16;
}
