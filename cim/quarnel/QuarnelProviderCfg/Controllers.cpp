// Controller discovery: from the registered profiles along four associations to every RAID controller. Runs once, on
// the thread that starts the provider, before other threads see the list: it takes no lock.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

namespace {

using ControllerHolder = Holder<RaidController_t, FreeController>;

constexpr char kWho[] = "BuildControllerInfo";

// Which version a software identity carries, by its first classification (CIM_SoftwareIdentity.Classifications).
const struct {
    CMPIUint16 Classification;
    char *RaidController_t::*Version;
} kVersions[] = {
    {10, &RaidController_t::FirmwareVersion}, // Firmware
    {11, &RaidController_t::BiosVersion},     // BIOS/FCode
    {2, &RaidController_t::DriverVersion},    // Driver
    {13, &RaidController_t::BundleVersion},   // Software Bundle
    {0, &RaidController_t::BundleVersion},    // Unknown
};

// False when there is none: such a controller is not kept.
bool ReadComputerSystem(RaidController_t *ctrl, const CMPIContext *ctx) {
    const CMPIInstance *system =
        FirstOf<CMPIInstance>(Associators(ctx, ctrl->PortControllerOp, "CIM_LogicalIdentity", "CIM_ComputerSystem"));
    if (system == nullptr) return false;
    ctrl->ControllerOp = CloneOf(PathOf(system)).release();
    ctrl->OperationalStatus = GetOperationalStatus(system);
    return true;
}

void ReadPackage(RaidController_t *ctrl, const CMPIContext *ctx) {
    const CMPIInstance *package =
        FirstOf<CMPIInstance>(Associators(ctx, ctrl->PortControllerOp, "CIM_Realizes", "CIM_PhysicalPackage"));
    if (package == nullptr) return;
    ctrl->Model = StringClone(TextOf(package, "Model"));
    ctrl->HealthState = NumberOf<CMPIUint16>(package, "HealthState");
}

// The last identity of a class that has a version decides.
void KeepVersion(RaidController_t *ctrl, CMPIUint16 classification, const char *text) {
    for (const auto &row : kVersions) {
        if (row.Classification != classification || text == nullptr) continue;
        free(ctrl->*row.Version);
        ctrl->*row.Version = StringClone(text);
    }
}

void ReadVersions(RaidController_t *ctrl, const CMPIContext *ctx) {
    const CMPIEnumeration *identities =
        Associators(ctx, ctrl->ControllerOp, "CIM_ElementSoftwareIdentity", "CIM_SoftwareIdentity");
    for (CMPIInstance *identity = nullptr; Next(identities, &identity);) {
        if (identity == nullptr) continue;
        const CMPIUint16 classification = GetArrayProperty(identity, "Classifications").uint16;
        const char *version = TextOf(identity, "VersionString");
        QLOG(LOG_DEBUG, "%s: ctrl %s, swClass %d, versionStr %s\n", kWho, ctrl->DeviceID, classification,
             Shown(version));
        KeepVersion(ctrl, classification, version);
    }
}

void Dump(const RaidController_t *ctrl) {
    QLOG(LOG_INFO,
         "\nPortControllerOp: %s\nControllerOp:     %s\n\tDeviceID          - %s\n\tModel             - %s\n"
         "\tFirmwareVersion   - %s\n\tBiosVersion       - %s\n\tDriverVersion     - %s\n\tBundleVersion     - %s\n"
         "\tHealthState       - %d\n\tOperationalStatus - %d\n",
         PathText(ctrl->PortControllerOp).Text(), PathText(ctrl->ControllerOp).Text(), ctrl->DeviceID,
         Shown(ctrl->Model), Shown(ctrl->FirmwareVersion), Shown(ctrl->BiosVersion), Shown(ctrl->DriverVersion),
         Shown(ctrl->BundleVersion), ctrl->HealthState, ctrl->OperationalStatus);
}

int List(ControllerHolder ctrl) {
    const int result = AddEntryAtListTail(&ThisLife().RaidControllerList, ctrl.get());
    if (result != RESULT_OK) {
        QLOG(LOG_ERR, "%s: failed to add controller to list, rc %d.\n", kWho, result);
        return result;
    }
    const void *listed = ctrl.release(); // not in the line's arguments: those are not evaluated when it is masked
    QLOG(LOG_DEBUG, "%s: controller %p added to the list\n", kWho, listed);
    return RESULT_OK;
}

// 0 also for a port controller that is dropped; else what ends the discovery.
int BuildController(const CMPIContext *ctx, const CMPIInstance *portController) {
    ControllerHolder ctrl(NewController());
    if (ctrl == nullptr) {
        QLOG(LOG_ERR, "%s, failed to allocate memory for RaidController_t\n", kWho);
        return RESULT_NO_MEMORY;
    }
    ctrl->PortControllerOp = CloneOf(PathOf(portController)).release();
    ctrl->DeviceID = StringClone(TextOf(portController, "DeviceID"));
    if (ctrl->DeviceID == nullptr) {
        QLOG(LOG_ERR, "NULL DeviceID for PortController: %s\n", PathText(ctrl->PortControllerOp).Text());
        return RESULT_OK;
    }
    QLOG(LOG_DEBUG, "PortController: %s\n", PathText(ctrl->PortControllerOp).Text());
    if (!ReadComputerSystem(ctrl.get(), ctx)) return RESULT_OK;
    ReadPackage(ctrl.get(), ctx);
    ReadVersions(ctrl.get(), ctx);
    ctrl->ControllerUpdateTime = time(nullptr);
    Dump(ctrl.get());
    return List(std::move(ctrl));
}

int BuildControllers(const CMPIContext *ctx, const Array_t *profiles) {
    for (uint32_t i = 0; i < profiles->Count; ++i) {
        const CMPIObjectPath *profile = PathOf(static_cast<CMPIInstance *>(profiles->Array[i]));
        if (profile == nullptr) continue;
        const CMPIEnumeration *found = Associators(ctx, profile, "CIM_ElementConformsToProfile", "CIM_PortController");
        for (CMPIInstance *portController = nullptr; Next(found, &portController);) {
            if (portController == nullptr) continue;
            const int result = BuildController(ctx, portController);
            if (result == RESULT_OK) continue;
            FreeList(&ThisLife().RaidControllerList, FreeController);
            return result;
        }
    }
    return RESULT_OK;
}

} // namespace

int BuildControllerInfo(const CMPIInstanceMI *, const CMPIContext *ctx, const Array_t *profiles) {
    QLOG(LOG_DEBUG, "%s, enter...\n", kWho);
    const int result = BuildControllers(ctx, profiles);
    QLOG(LOG_DEBUG, "%s, EXIT(%d).\n", kWho, result);
    return result;
}
