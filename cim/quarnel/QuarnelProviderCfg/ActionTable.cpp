// What is done for each kind of device, and what it is done to.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

const ConfigAction_t actionTable[] = {
    {CFG_ACTION_DISK, CFG_ACTION_POOL, "CIM_SystemDevice", "CIM_DiskDrive", "DeviceID", GetDiskOp, BuildDiskInfo,
     CheckAndUpdateDiskInfo, DeleteDisk},
    {CFG_ACTION_VOLUME, CFG_ACTION_DISK, "CIM_SystemDevice", "CIM_StorageVolume", "DeviceID", GetVolumeOp,
     BuildVolumeInfo, CheckAndUpdateVolumeInfo, DeleteVolume},
    {CFG_ACTION_PORT, CFG_ACTION_NONE, "CIM_SystemDevice", "CIM_SASSATAPort", "DeviceID", GetPortOp, BuildPortInfo,
     CheckAndUpdatePortInfo, DeletePort},
    {CFG_ACTION_BATTERY, CFG_ACTION_NONE, "CIM_SystemDevice", "CIM_Battery", "DeviceID", GetBatteryOp, BuildBatteryInfo,
     CheckAndUpdateBatteryInfo, DeleteBattery},
    {CFG_ACTION_POOL, CFG_ACTION_NONE, "CIM_HostedStoragePool", "CIM_StoragePool", "InstanceID", GetPoolOp,
     BuildSinglePoolInfo, CheckAndUpdatePoolInfo, DeletePool},
    {CFG_ACTION_CHASSIS, CFG_ACTION_NONE, "CIM_SystemPackaging", "CIM_Chassis", "Tag", GetChassisOp,
     BuildSingleChassisInfo, CheckAndUpdateChassisInfo, DeleteChassis},
};

const int tableSize = sizeof actionTable / sizeof *actionTable;

namespace {

template <class Record, char *Record::*Key> const char *KeyOf(const void *record) {
    return static_cast<const Record *>(record)->*Key;
}

using Ctrl = RaidController_t;

const ActionTarget_t kTargets[] = {
    {CFG_ACTION_DISK, &Ctrl::DiskList, &Ctrl::DiskCfgMutex, &Ctrl::DiskUpdateTime,
     KeyOf<DiskDrive_t, &DiskDrive_t::DeviceID>, "disks"},
    {CFG_ACTION_VOLUME, &Ctrl::VolumeList, &Ctrl::VolumeCfgMutex, &Ctrl::VolumeUpdateTime,
     KeyOf<StorageVolume_t, &StorageVolume_t::DeviceID>, "volumes"},
    {CFG_ACTION_PORT, &Ctrl::PortList, &Ctrl::PortCfgMutex, &Ctrl::PortUpdateTime,
     KeyOf<SASSATAPort_t, &SASSATAPort_t::DeviceID>, "ports"},
    {CFG_ACTION_BATTERY, &Ctrl::BatteryList, &Ctrl::BatteryCfgMutex, &Ctrl::BatteryUpdateTime,
     KeyOf<Battery_t, &Battery_t::DeviceID>, "batteries"},
    {CFG_ACTION_POOL, &Ctrl::PoolList, &Ctrl::PoolCfgMutex, &Ctrl::PoolUpdateTime,
     KeyOf<StoragePool_t, &StoragePool_t::InstanceID>, "pools"},
    {CFG_ACTION_CHASSIS, &Ctrl::ChassisList, &Ctrl::ChassisCfgMutex, &Ctrl::ChassisUpdateTime,
     KeyOf<Chassis_t, &Chassis_t::Tag>, "chassis"},
};

} // namespace

const ConfigAction_t *FindAction(int action) {
    for (const auto &row : actionTable)
        if (row.ConfigAction == action) return &row;
    return nullptr;
}

const ActionTarget_t *FindTarget(int action) {
    for (const auto &target : kTargets)
        if (target.Action == action) return &target;
    return nullptr;
}
