// A controller, and the bundle of firmware that runs on it, as instances. What is read of the record is fixed once the
// controller is listed: no lock is taken.
#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"

#include "cim/quarnel/QuarnelProviderIfc/Set.h"

namespace {

constexpr CMPIUint16 kDedicatedToStorage = 3; // CIM_ComputerSystem.Dedicated

void SetControllerCaption(CMPIInstance *inst, const RaidController_t *ctrl) {
    Caption caption;
    caption.Append("Controller ", ctrl->DeviceID, " (", ctrl->Model != nullptr ? ctrl->Model : "n/a", ")");
    SetCaption(inst, caption);
}

} // namespace

void FillControllerInstance(CMPIInstance *inst, RaidController_t *ctrl) {
    QLOG(LOG_DEBUG, "%s(ENTER): ID %s\n", __func__, ctrl->DeviceID);
    SetControllerCaption(inst, ctrl);
    SetStatus(inst, ctrl->OperationalStatus, HEALTHSTATE_OK);
    SetArray(inst, "IdentifyingDescriptions", "Serial Number");
    SetArray(inst, "OtherIdentifyingInfo", ctrl->DeviceID);
    SetArray(inst, "Dedicated", kDedicatedToStorage);
    SetText(inst, "NameFormat", "Other");
    QLOG(LOG_DEBUG, "%s(EXIT)\n", __func__);
}

void FillSoftwareIdentityInstance(CMPIInstance *inst, RaidController_t *ctrl) {
    QLOG(LOG_DEBUG, "%s(ENTER): ID %s\n", __func__, ctrl->DeviceID);
    SetFlag(inst, "IsEntity", true);
    Caption versions;
    versions.Append(OrUnknown(ctrl->BundleVersion), " (Package); ");
    versions.Append(OrUnknown(ctrl->FirmwareVersion), " (Fw)");
    SetText(inst, "VersionString", versions.Text());
    SetControllerCaption(inst, ctrl);
    QLOG(LOG_DEBUG, "%s(EXIT)\n", __func__);
}

CMPIUint16 GetHealthStateByOpStatus(CMPIUint16 opStatus) {
    switch (opStatus) {
    case OPSTATUS_OK:
    case OPSTATUS_DORMANT:
        return HEALTHSTATE_OK;
    case OPSTATUS_ERROR:
        return HEALTHSTATE_FAILED;
    case OPSTATUS_NO_CONTACT:
        return HEALTHSTATE_MAJOR;
    default:
        return HEALTHSTATE_UNKNOWN;
    }
}
