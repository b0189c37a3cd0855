// The kinds of devices, one row each, and what their functions share.
#include "cim/quarnel/QuarnelProviderCfg/Kind.h"

#include <string.h>

using Ctrl = RaidController_t;

// In the order in which a controller's records are freed: volumes before the disks and pools that they name.
const ConfigAction_t actionTable[] = {
    {CFG_ACTION_VOLUME, CFG_ACTION_DISK, "CIM_SystemDevice", "CIM_StorageVolume", "DeviceID", GetVolumeOp,
     BuildVolumeInfo, CheckAndUpdateVolumeInfo, DeleteVolume, FreeVolume, Kind<StorageVolume_t>::KeyOf, "volumes",
     &Ctrl::VolumeList, &Ctrl::__VolumeList, &Ctrl::VolumeCfgMutex, &Ctrl::VolumeUpdateTime},
    {CFG_ACTION_DISK, CFG_ACTION_POOL, "CIM_SystemDevice", "CIM_DiskDrive", "DeviceID", GetDiskOp, BuildDiskInfo,
     CheckAndUpdateDiskInfo, DeleteDisk, FreeDisk, Kind<DiskDrive_t>::KeyOf, "disks", &Ctrl::DiskList,
     &Ctrl::__DiskList, &Ctrl::DiskCfgMutex, &Ctrl::DiskUpdateTime},
    {CFG_ACTION_POOL, CFG_ACTION_NONE, "CIM_HostedStoragePool", "CIM_StoragePool", "InstanceID", GetPoolOp,
     BuildSinglePoolInfo, CheckAndUpdatePoolInfo, DeletePool, FreePool, Kind<StoragePool_t>::KeyOf, "pools",
     &Ctrl::PoolList, &Ctrl::__PoolList, &Ctrl::PoolCfgMutex, &Ctrl::PoolUpdateTime},
    {CFG_ACTION_PORT, CFG_ACTION_NONE, "CIM_SystemDevice", "CIM_SASSATAPort", "DeviceID", GetPortOp, BuildPortInfo,
     CheckAndUpdatePortInfo, DeletePort, FreePort, Kind<SASSATAPort_t>::KeyOf, "ports", &Ctrl::PortList,
     &Ctrl::__PortList, &Ctrl::PortCfgMutex, &Ctrl::PortUpdateTime},
    {CFG_ACTION_BATTERY, CFG_ACTION_NONE, "CIM_SystemDevice", "CIM_Battery", "DeviceID", GetBatteryOp, BuildBatteryInfo,
     CheckAndUpdateBatteryInfo, DeleteBattery, FreeBattery, Kind<Battery_t>::KeyOf, "batteries", &Ctrl::BatteryList,
     &Ctrl::__BatteryList, &Ctrl::BatteryCfgMutex, &Ctrl::BatteryUpdateTime},
    {CFG_ACTION_CHASSIS, CFG_ACTION_NONE, "CIM_SystemPackaging", "CIM_Chassis", "Tag", GetChassisOp,
     BuildSingleChassisInfo, CheckAndUpdateChassisInfo, DeleteChassis, FreeChassis, Kind<Chassis_t>::KeyOf, "chassis",
     &Ctrl::ChassisList, &Ctrl::__ChassisList, &Ctrl::ChassisCfgMutex, &Ctrl::ChassisUpdateTime},
};

const ConfigAction_t *FindAction(int action) {
    for (const auto &row : actionTable)
        if (row.ConfigAction == action) return &row;
    return nullptr;
}

bool SameText(const char *a, const char *b) { return a == nullptr || b == nullptr ? a == b : strcmp(a, b) == 0; }

void Replace(char **field, const char *text) {
    free(*field);
    *field = StringClone(text);
}

const CMPIInstance *Fresh(const CMPIInstance *matched, const CMPIContext *ctx, const CMPIObjectPath *op) {
    return matched != nullptr ? matched : GetInstance(ctx, op);
}

void LogRemovedFrom(const RaidController_t *ctrl, const char *name) {
    QLOG(LOG_DEBUG, "%s removed from controller %s(%s)\n", Shown(name), Shown(ctrl->DeviceID), Shown(ctrl->Model));
}

void Stamp(RaidController_t *ctrl, Relaxed<time_t> RaidController_t::*updateTime) {
    const ControllerLock lock(ctrl->CtrlMutex);
    ctrl->*updateTime = time(nullptr);
}

// Every refresh goes ahead: the throttle is the update time of the kind.
int NeedUpdate(time_t, unsigned char) { return 1; }

CMPIUint16 GetOperationalStatus(const CMPIInstance *instance) {
    return GetArrayProperty(instance, "OperationalStatus").uint16;
}
