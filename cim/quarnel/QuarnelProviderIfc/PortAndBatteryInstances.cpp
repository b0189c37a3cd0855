// SAS/SATA ports and batteries as instances.
#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"

#include "cim/quarnel/QuarnelProviderIfc/Set.h"

void FillPortInstance(CMPIInstance *inst, RaidController_t *ctrl, SASSATAPort_t *port) {
    Caption caption;
    caption.Append(port->PortName != nullptr ? port->PortName : port->DeviceID, " on Controller ", ctrl->DeviceID);
    SetCaption(inst, caption);
    SetStatus(inst, port->OperationalStatus, GetHealthStateByOpStatus(port->OperationalStatus));
    SetUint16(inst, "PortType", port->PortType);
    SetUint16(inst, "UsageRestriction", port->UsageRestriction);
}

void FillBatteryInstance(CMPIInstance *inst, RaidController_t *ctrl, Battery_t *battery) {
    Caption caption;
    caption.Append("Battery ", battery->DeviceID, " on Controller ", ctrl->DeviceID);
    SetCaption(inst, caption);
    SetStatus(inst, battery->OperationalStatus, GetHealthStateByOpStatus(battery->OperationalStatus));
    SetUint16(inst, "BatteryStatus", battery->BatteryStatus);
}
