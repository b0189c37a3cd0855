// The life of a controller's record.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

RaidController_t *NewController() {
    auto *ctrl = Allocate<RaidController_t>();
    if (ctrl == nullptr) return nullptr;
    pthread_mutex_init(&ctrl->CtrlMutex, nullptr);
    for (const ConfigAction_t &row : actionTable) {
        pthread_mutex_init(&(ctrl->*row.KindMutex), nullptr);
        ctrl->*row.List = &(ctrl->*row.ListItself);
    }
    return ctrl;
}

// Takes no lock: nothing else can reach the controller any more, or can reach it yet.
void FreeController(void *record) {
    auto *ctrl = static_cast<RaidController_t *>(record);
    if (ctrl == nullptr) return;
    for (const ConfigAction_t &row : actionTable) FreeList(ctrl->*row.List, row.FreeFunc);
    QLOG(LOG_DEBUG, "Controller %s (%s) deleted\n", Shown(ctrl->Model), Shown(ctrl->DeviceID));
    DiscardAll(ctrl->BundleVersion, ctrl->DriverVersion, ctrl->BiosVersion, ctrl->FirmwareVersion, ctrl->Model,
               ctrl->DeviceID, ctrl->ControllerOp, ctrl->PortControllerOp);
    for (const KeyIndex_t &index : {ctrl->DiskIndex, ctrl->PoolIndex, ctrl->ChassisIndex}) free(index.Slots);
    for (const ConfigAction_t &row : actionTable) pthread_mutex_destroy(&(ctrl->*row.KindMutex));
    pthread_mutex_destroy(&ctrl->CtrlMutex);
    free(ctrl);
}

CMPIObjectPath *GetControllerOp(void *ctrl) { return static_cast<RaidController_t *>(ctrl)->ControllerOp; }

int CheckAndUpdateControllerInfo(const CMPIInstanceMI *, const CMPIContext *, RaidController_t *ctrl, void *,
                                 const CMPIInstance *) {
    QLOG(LOG_DEBUG, "%s, enter...\n", __func__);
    if (NeedUpdate(ctrl->ControllerUpdateTime, ctrl->UpdateEnabled) != 0)
        Stamp(ctrl, &RaidController_t::ControllerUpdateTime);
    QLOG(LOG_DEBUG, "%s, exit.\n", __func__);
    return RESULT_OK;
}
