// One refresh: a kind of device of one controller, and the kinds that it depends on, are read again from the vendor and
// the cache is brought in line. Devices that are gone are deleted, those still there are refreshed, new ones are built.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

namespace {

constexpr char kWho[] = "ProcessDeviceConfigChange";
constexpr time_t kGraceAfterStart = 3; // seconds
constexpr int kLongestChain = 10;

// The action's row first, then what must run before it. Returns the length.
int ChainOf(int requested, const ConfigAction_t *(&chain)[kLongestChain]) {
    int length = 0;
    int wanted = requested;
    do {
        const ConfigAction_t *row = FindAction(wanted);
        if (row == nullptr) break;
        chain[length++] = row;
        wanted = row->PreConfigAction;
    } while (wanted != CFG_ACTION_NONE && wanted != CFG_ACTION_END && wanted != requested && length < kLongestChain);
    return length;
}

void RefreshCached(const Pass_t &pass, const ConfigAction_t &row, const UpdateInfo_t *devices, int count) {
    for (int j = 0; j < count && !Stopping(); ++j) {
        const UpdateInfo_t &entry = devices[j];
        if (entry.Flag == 1) {
            QLOG(LOG_DEBUG, "Updating devices[%d]: %p\n", j, entry.Device);
            row.UpdateFunc(pass.Mi, pass.Context, pass.Controller, entry.Device, entry.Instance);
        } else {
            QLOG(LOG_DEBUG, "Deleting devices[%d]: %p\n", j, entry.Device);
            row.DeleteFunc(pass.Controller, entry.Device);
        }
    }
}

void BuildNew(const Pass_t &pass, const ConfigAction_t &row, const NewInfo_t *ops, int count) {
    for (int k = 0; k < count && !Stopping(); ++k) {
        if (ops[k].Op == nullptr) continue;
        QLOG(LOG_DEBUG, "Adding device ops[%d]: %p\n", k, static_cast<void *>(ops[k].Op));
        pass.Controller->BuiltByRefresh[row.ConfigAction - CFG_ACTION_DISK] = true;
        row.BuildFunc(pass.Mi, pass.Context, pass.Controller, ops[k].Instance, ops[k].Op);
    }
}

void ReconcileKind(const Pass_t &pass, const ConfigAction_t &row) {
    RaidController_t *ctrl = pass.Controller;
    const KindHold hold(pass.Context, ctrl, row, KindHold::Patience::Refresh);
    if (!hold) return;
    const time_t last = ctrl->*row.UpdateTime;
    if (time(nullptr) < last + StateUpdateInterval) {
        QLOG(LOG_DEBUG, "Action %d, last %lu, now %lu, skip\n", row.ConfigAction, static_cast<unsigned long>(last),
             static_cast<unsigned long>(time(nullptr)));
        return;
    }
    const CMPIEnumeration *fresh =
        Associators(pass.Context, ctrl->ControllerOp, row.AssociationClassName, row.AssociatedClassName);
    if (fresh == nullptr) return;

    UpdateInfo_t *devices = nullptr;
    NewInfo_t *ops = nullptr;
    int removeCount = 0;
    int addCount = 0;
    if (CrossoutDuplicatedEntries(ctrl->*row.List, fresh, row.GetOpFunc, row.KeyName, &devices, &ops, &removeCount,
                                  &addCount) != RESULT_OK)
        return;
    const Heap<UpdateInfo_t> ownDevices(devices);
    const Heap<NewInfo_t> ownOps(ops);
    QLOG(LOG_DEBUG, "%s, removecount %d, addcount %d\n", kWho, removeCount, addCount);
    RefreshCached(pass, row, devices, removeCount);
    BuildNew(pass, row, ops, addCount);
}

} // namespace

int ProcessDeviceConfigChange(const CMPIInstanceMI *mi, const CMPIContext *ctx, RaidController_t *ctrl, int action) {
    QLOG(LOG_DEBUG, "%s, ENTER(%d)...\n", kWho, action);
    if (time(nullptr) >= InitCompleteTime + kGraceAfterStart) {
        const ConfigAction_t *chain[kLongestChain];
        for (int i = ChainOf(action, chain); i > 0; --i) ReconcileKind({mi, ctx, ctrl}, *chain[i - 1]);
    }
    QLOG(LOG_DEBUG, "%s, EXIT\n", kWho);
    return RESULT_OK;
}
