// Taking a record out of its controller's list and freeing it.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

namespace {

int Remove(RaidController_t *ctrl, List_t *RaidController_t::*list, void *record) {
    const ControllerLock lock(ctrl->CtrlMutex);
    return RemoveEntryFromListByKey(ctrl->*list, record);
}

void LogRemoved(const char *name, const RaidController_t *ctrl) {
    QLOG(LOG_DEBUG, "%s removed from controller %s(%s)\n", Shown(name), Shown(ctrl->DeviceID), Shown(ctrl->Model));
}

template <auto Free> int Delete(RaidController_t *ctrl, List_t *RaidController_t::*list, void *record) {
    const int result = Remove(ctrl, list, record);
    if (result == RESULT_OK) Free(record);
    return result;
}

} // namespace

int DeleteVolume(RaidController_t *ctrl, void *volume) {
    return Delete<FreeVolume>(ctrl, &RaidController_t::VolumeList, volume);
}
int DeletePool(RaidController_t *ctrl, void *pool) { return Delete<FreePool>(ctrl, &RaidController_t::PoolList, pool); }
int DeleteBattery(RaidController_t *ctrl, void *battery) {
    return Delete<FreeBattery>(ctrl, &RaidController_t::BatteryList, battery);
}
int DeleteChassis(RaidController_t *ctrl, void *chassis) {
    return Delete<FreeChassis>(ctrl, &RaidController_t::ChassisList, chassis);
}

int DeletePort(RaidController_t *ctrl, void *port) {
    const int result = Remove(ctrl, &RaidController_t::PortList, port);
    if (result != RESULT_OK) return result;
    LogRemoved(static_cast<SASSATAPort_t *>(port)->PortName, ctrl);
    FreePort(port);
    return RESULT_OK;
}

// The disk leaves its list and its pool in one step, as readers see it.
int DeleteDisk(RaidController_t *ctrl, void *record) {
    const ControllerLock lock(ctrl->CtrlMutex);
    const int result = RemoveEntryFromListByKey(ctrl->DiskList, record);
    if (result != RESULT_OK) return result;
    auto *disk = static_cast<DiskDrive_t *>(record);
    LogRemoved(disk->Name, ctrl);
    if (StoragePool_t *pool = FindStoragePoolByID(ctrl, disk->Pool)) {
        RemoveDiskFromPool(pool, disk->DeviceID);
        QLOG(LOG_DEBUG, "%s removed from pool %s\n", Shown(disk->Name), disk->Pool);
    }
    FreeDisk(disk);
    return RESULT_OK;
}
