// Refreshing one cached device: what may change is read from its fresh instance, and the controller's update time of
// the kind is stamped, which is what throttles the next refresh. Up-calls and reads are made without a lock; every
// change is made under CtrlMutex, so that a reader sees a status pair, a capacity pair or a name either old or new.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

#include <string.h>

namespace {

void Stamp(RaidController_t *ctrl, Relaxed<time_t> RaidController_t::*updateTime) {
    const ControllerLock lock(ctrl->CtrlMutex);
    ctrl->*updateTime = time(nullptr);
}

bool SameText(const char *a, const char *b) { return a == nullptr || b == nullptr ? a == b : strcmp(a, b) == 0; }

// The new text may be absent; when it cannot be copied, the field is.
void Replace(char **field, const char *text) {
    free(*field);
    *field = StringClone(text);
}

// The instance that the pass has matched, or one fetched now; null when there is none to be had.
const CMPIInstance *Fresh(const CMPIInstance *matched, const CMPIContext *ctx, const CMPIObjectPath *op) {
    return matched != nullptr ? matched : GetInstance(ctx, op);
}

CMPIUint16 ExtentStatusOf(const CMPIInstance *extent) { return GetArrayProperty(extent, "ExtentStatus").uint16; }

// --- Disks

void RefreshDiskStatus(DiskDrive_t *disk, RaidController_t *ctrl, const CMPIInstance *drive,
                       const CMPIInstance *extent) {
    const CMPIUint16 opStatus = GetOperationalStatus(drive);
    const CMPIUint16 extentStatus = ExtentStatusOf(extent);
    if (disk->OperationalStatus == opStatus && disk->ExtentStatus == extentStatus) return;
    const ControllerLock lock(ctrl->CtrlMutex);
    QLOG(LOG_INFO, "%s: disk %s status changed. Old opStat %d extStat %d, new opStat %d extStat %d\n",
         "CheckAndUpdateDiskInfo", disk->DeviceID, disk->OperationalStatus, disk->ExtentStatus, opStatus, extentStatus);
    disk->OperationalStatus = opStatus;
    disk->ExtentStatus = extentStatus;
}

void MoveDisk(DiskDrive_t *disk, RaidController_t *ctrl, const char *pool) {
    QLOG(LOG_DEBUG, "%s: disk %s pool changed, old %s, new %s\n", "CheckAndUpdateDiskInfo", disk->DeviceID,
         Shown(disk->Pool), Shown(pool));
    const ControllerLock lock(ctrl->CtrlMutex);
    RemoveDiskFromPool(FindStoragePoolByID(ctrl, disk->Pool), disk->DeviceID);
    Replace(&disk->Pool, pool);
}

void RefreshDiskPool(DiskDrive_t *disk, RaidController_t *ctrl, const CMPIContext *ctx) {
    const auto *found =
        FirstOf<CMPIObjectPath>(AssociatorNames(ctx, disk->ExtentOp, "CIM_ConcreteComponent", "CIM_StoragePool"));
    if (found == nullptr) return;
    const char *pool = TextOf(found, "InstanceID");
    if (!SameText(disk->Pool, pool)) MoveDisk(disk, ctrl, pool);
    // Also when nothing changed: the pool's record may be newer than the disk's.
    const ControllerLock lock(ctrl->CtrlMutex);
    AddDiskToPool(FindStoragePoolByID(ctrl, disk->Pool), disk->DeviceID);
}

void RefreshDisk(DiskDrive_t *disk, RaidController_t *ctrl, const CMPIContext *ctx, const CMPIInstance *matched) {
    const CMPIInstance *drive = Fresh(matched, ctx, disk->DiskOp);
    if (drive == nullptr || disk->ExtentOp == nullptr) return;
    if (const CMPIInstance *extent = GetInstance(ctx, disk->ExtentOp)) RefreshDiskStatus(disk, ctrl, drive, extent);
    RefreshDiskPool(disk, ctrl, ctx);
}

// --- Volumes

struct VolumeState_t {
    CMPIUint16 OperationalStatus, ExtentStatus;
    CMPIUint64 NumberOfBlocks, ConsumableBlocks;
    const char *ElementName;
};

void TakeVolumeState(StorageVolume_t *volume, const VolumeState_t &now) {
    const char *who = "CheckAndUpdateVolumeInfo";
    if (volume->OperationalStatus != now.OperationalStatus || volume->ExtentStatus != now.ExtentStatus) {
        QLOG(LOG_DEBUG, "%s: volume %s status changed. Old opStat %d extStat %d, new opStat %d extStat %d\n", who,
             volume->DeviceID, volume->OperationalStatus, volume->ExtentStatus, now.OperationalStatus,
             now.ExtentStatus);
        volume->OperationalStatus = now.OperationalStatus;
        volume->ExtentStatus = now.ExtentStatus;
    }
    if (volume->NumberOfBlocks != now.NumberOfBlocks || volume->ConsumableBlocks != now.ConsumableBlocks) {
        QLOG(LOG_DEBUG,
             "%s: volume %s capacity changed. Old total blocs %lld free blocks %lld, new total blocks %lld free blocks "
             "%lld\n",
             who, volume->DeviceID, static_cast<long long>(volume->NumberOfBlocks),
             static_cast<long long>(volume->ConsumableBlocks), static_cast<long long>(now.NumberOfBlocks),
             static_cast<long long>(now.ConsumableBlocks));
        volume->NumberOfBlocks = now.NumberOfBlocks;
        volume->ConsumableBlocks = now.ConsumableBlocks;
    }
    if (!SameText(volume->ElementName, now.ElementName)) {
        QLOG(LOG_DEBUG, "%s: volume %s element name changed. Old name %s, new name %s\n", who, volume->DeviceID,
             Shown(volume->ElementName), Shown(now.ElementName));
        Replace(&volume->ElementName, now.ElementName);
    }
}

void RefreshVolume(StorageVolume_t *volume, RaidController_t *ctrl, const CMPIContext *ctx,
                   const CMPIInstance *matched) {
    const CMPIInstance *fresh = Fresh(matched, ctx, volume->VolumeOp);
    if (fresh == nullptr) return;
    const VolumeState_t now = {GetOperationalStatus(fresh), ExtentStatusOf(fresh),
                               NumberOf<CMPIUint64>(fresh, "NumberOfBlocks"),
                               NumberOf<CMPIUint64>(fresh, "ConsumableBlocks"), TextOf(fresh, "ElementName")};
    const ControllerLock lock(ctrl->CtrlMutex);
    TakeVolumeState(volume, now);
}

// --- Batteries

void RefreshBattery(Battery_t *battery, RaidController_t *ctrl, const CMPIContext *ctx, const CMPIInstance *matched) {
    const CMPIInstance *fresh = Fresh(matched, ctx, battery->BatteryOp);
    if (fresh == nullptr) return;
    const CMPIUint16 opStatus = GetOperationalStatus(fresh);
    const auto batteryStatus = NumberOf<CMPIUint16>(fresh, "BatteryStatus");
    if (battery->OperationalStatus == opStatus && battery->BatteryStatus == batteryStatus) return;
    const ControllerLock lock(ctrl->CtrlMutex);
    QLOG(LOG_ERR,
         "%s: battery %s status changed. Old OperationalStatus %d BatteryStatust %d, new OperationalStatus %d "
         "BatteryStatust %d\n",
         "CheckAndUpdateBatteryInfo", battery->DeviceID, battery->OperationalStatus, battery->BatteryStatus, opStatus,
         batteryStatus);
    battery->OperationalStatus = opStatus;
    battery->BatteryStatus = batteryStatus;
}

template <class Record> bool Due(const Record *record) {
    return NeedUpdate(record->LastUpdateTime, record->UpdateEnabled) != 0;
}

} // namespace

// Every refresh goes ahead: the throttle is the update time of the kind.
int NeedUpdate(time_t, unsigned char) { return 1; }

int CheckAndUpdateDiskInfo(const CMPIInstanceMI *, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                           const CMPIInstance *instance) {
    auto *disk = static_cast<DiskDrive_t *>(device);
    QLOG(LOG_DEBUG, "%s: ENTER. disk - %s\n", __func__, Shown(disk->Name));
    if (Due(disk)) {
        RefreshDisk(disk, ctrl, ctx, instance);
        Stamp(ctrl, &RaidController_t::DiskUpdateTime);
    }
    QLOG(LOG_DEBUG, "%s, exit\n", __func__);
    return RESULT_OK;
}

int CheckAndUpdateVolumeInfo(const CMPIInstanceMI *, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                             const CMPIInstance *instance) {
    auto *volume = static_cast<StorageVolume_t *>(device);
    QLOG(LOG_DEBUG, "%s: ENTER. volume - %s\n", __func__, Shown(volume->ElementName));
    if (Due(volume)) {
        RefreshVolume(volume, ctrl, ctx, instance);
        Stamp(ctrl, &RaidController_t::VolumeUpdateTime);
    }
    QLOG(LOG_DEBUG, "%s, exit\n", __func__);
    return RESULT_OK;
}

int CheckAndUpdateBatteryInfo(const CMPIInstanceMI *, const CMPIContext *ctx, RaidController_t *ctrl, void *device,
                              const CMPIInstance *instance) {
    auto *battery = static_cast<Battery_t *>(device);
    QLOG(LOG_DEBUG, "%s: ENTER. battery - %s\n", __func__, battery->DeviceID);
    if (Due(battery)) {
        RefreshBattery(battery, ctrl, ctx, instance);
        Stamp(ctrl, &RaidController_t::BatteryUpdateTime);
    }
    QLOG(LOG_DEBUG, "%s, exit.\n", __func__);
    return RESULT_OK;
}

int CheckAndUpdatePortInfo(const CMPIInstanceMI *, const CMPIContext *, RaidController_t *ctrl, void *device,
                           const CMPIInstance *) {
    auto *port = static_cast<SASSATAPort_t *>(device);
    QLOG(LOG_DEBUG, "%s: ENTER. port - %s\n", __func__, Shown(port->PortName));
    if (Due(port)) Stamp(ctrl, &RaidController_t::PortUpdateTime);
    QLOG(LOG_DEBUG, "%s, exit.\n", __func__);
    return RESULT_OK;
}

int CheckAndUpdatePoolInfo(const CMPIInstanceMI *, const CMPIContext *, RaidController_t *ctrl, void *device,
                           const CMPIInstance *) {
    auto *pool = static_cast<StoragePool_t *>(device);
    QLOG(LOG_DEBUG, "%s: ENTER. pool - %s\n", __func__, pool->InstanceID);
    if (Due(pool)) Stamp(ctrl, &RaidController_t::PoolUpdateTime);
    QLOG(LOG_DEBUG, "%s, exit.\n", __func__);
    return RESULT_OK;
}

int CheckAndUpdateChassisInfo(const CMPIInstanceMI *, const CMPIContext *, RaidController_t *ctrl, void *device,
                              const CMPIInstance *) {
    QLOG(LOG_DEBUG, "%s, enter...\n", __func__);
    if (Due(static_cast<Chassis_t *>(device))) Stamp(ctrl, &RaidController_t::ChassisUpdateTime);
    QLOG(LOG_DEBUG, "%s, exit.\n", __func__);
    return RESULT_OK;
}

int CheckAndUpdateControllerInfo(const CMPIInstanceMI *, const CMPIContext *, RaidController_t *ctrl, void *,
                                 const CMPIInstance *) {
    QLOG(LOG_DEBUG, "%s, enter...\n", __func__);
    if (NeedUpdate(ctrl->ControllerUpdateTime, ctrl->UpdateEnabled) != 0)
        Stamp(ctrl, &RaidController_t::ControllerUpdateTime);
    QLOG(LOG_DEBUG, "%s, exit.\n", __func__);
    return RESULT_OK;
}
