// SAS/SATA ports and batteries as instances.
#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"

#include "cim/quarnel/QuarnelProviderIfc/Set.h"
#include "cim/quarnel/QuarnelProviderUtil/TextBuffer.h"

namespace {

using Caption = TextBuffer<128>;

// What both classes begin with.
void SetCommon(CMPIInstance *inst, const Caption &caption, CMPIArray *operationalStatus, CMPIUint16 opStatus) {
    SetText(inst, "ElementName", caption.Text());
    SetText(inst, "Caption", caption.Text());
    SetArray(inst, "OperationalStatus", operationalStatus, CMPI_uint16A);
    SetUint16(inst, "HealthState", GetHealthStateByOpStatus(opStatus));
}

} // namespace

void FillPortInstance(CMPIInstance *inst, RaidController_t *ctrl, SASSATAPort_t *port) {
    CMPIArray *operationalStatus = ArrayOf(port->OperationalStatus);
    Caption caption;
    caption.Append(port->PortName != nullptr ? port->PortName : port->DeviceID, " on Controller ", ctrl->DeviceID);
    SetCommon(inst, caption, operationalStatus, port->OperationalStatus);
    SetUint16(inst, "PortType", port->PortType);
    SetUint16(inst, "UsageRestriction", port->UsageRestriction);
}

void FillBatteryInstance(CMPIInstance *inst, RaidController_t *ctrl, Battery_t *battery) {
    CMPIArray *operationalStatus = ArrayOf(battery->OperationalStatus);
    Caption caption;
    caption.Append("Battery ", battery->DeviceID, " on Controller ", ctrl->DeviceID);
    SetCommon(inst, caption, operationalStatus, battery->OperationalStatus);
    SetUint16(inst, "BatteryStatus", battery->BatteryStatus);
}
