// Batteries and SAS/SATA ports, from CIM_Battery and CIM_SASSATAPort.
#include "cim/quarnel/QuarnelProviderCfg/Kind.h"

template <> struct KindOf<Battery_t> : AnyKind<Battery_t> {
    static constexpr int Action = CFG_ACTION_BATTERY;
    static constexpr auto Op = &Battery_t::BatteryOp;
    static constexpr auto Key = &Battery_t::DeviceID;
    static constexpr auto Label = &Battery_t::DeviceID;
    static constexpr const char *Noun = "battery";
    static constexpr const char *TypeName = "Battery_t";
    static constexpr const char *Builder = "BuildBatteryInfo";
    static constexpr const char *Updater = "CheckAndUpdateBatteryInfo";

    static bool Read(const CMPIContext *, const RaidController_t *, Battery_t *battery, const CMPIInstance *instance) {
        Take(&battery->BatteryStatus, instance, "BatteryStatus");
        return true;
    }

    static void Dump(const Battery_t &battery) {
        QLOG(LOG_INFO,
             "\nBatteryOp: %s\n\tDeviceID          - %s\n\tBatteryStatus     - %d\n\tOperationalStatus - %d\n",
             PathText(battery.BatteryOp).Text(), battery.DeviceID, battery.BatteryStatus, battery.OperationalStatus);
    }

    static void Refresh(const CMPIContext *ctx, RaidController_t *ctrl, Battery_t *battery,
                        const CMPIInstance *matched) {
        const CMPIInstance *fresh = Fresh(matched, ctx, battery->BatteryOp);
        if (fresh == nullptr) return;
        const CMPIUint16 opStatus = GetOperationalStatus(fresh);
        const auto batteryStatus = NumberOf<CMPIUint16>(fresh, "BatteryStatus");
        if (battery->OperationalStatus == opStatus && battery->BatteryStatus == batteryStatus) return;
        const ControllerLock lock(ctrl->CtrlMutex);
        QLOG(LOG_ERR,
             "%s: battery %s status changed. Old OperationalStatus %d BatteryStatust %d, new OperationalStatus %d "
             "BatteryStatust %d\n",
             Updater, battery->DeviceID, battery->OperationalStatus, battery->BatteryStatus, opStatus, batteryStatus);
        battery->OperationalStatus = opStatus;
        battery->BatteryStatus = batteryStatus;
    }

    static void Release(Battery_t *battery) {
        QLOG(LOG_DEBUG, "Battery %s deleted\n", Shown(battery->DeviceID));
        DiscardAll(battery->DeviceID, battery->BatteryOp);
    }
};
template struct Kind<Battery_t>;

template <> struct KindOf<SASSATAPort_t> : AnyKind<SASSATAPort_t> {
    static constexpr int Action = CFG_ACTION_PORT;
    static constexpr auto Op = &SASSATAPort_t::PortOp;
    static constexpr auto Key = &SASSATAPort_t::DeviceID;
    static constexpr auto Label = &SASSATAPort_t::PortName;
    static constexpr const char *Noun = "port";
    static constexpr const char *TypeName = "SASSATAPort_t";
    static constexpr const char *Builder = "BuildPortInfo";
    static constexpr const char *Updater = "CheckAndUpdatePortInfo";

    static bool Read(const CMPIContext *, const RaidController_t *, SASSATAPort_t *port, const CMPIInstance *instance) {
        Take(&port->PortName, instance, "ElementName");
        Take(&port->PortType, instance, "PortType");
        Take(&port->UsageRestriction, instance, "UsageRestriction");
        return true;
    }

    static void Dump(const SASSATAPort_t &port) {
        QLOG(LOG_INFO,
             "\nPortOp: %s\n\tDeviceID          - %s\n\tPortName:         - %s\n\tPortType          - %d\n"
             "\tOperationalStatus - %d\n",
             PathText(port.PortOp).Text(), port.DeviceID, Shown(port.PortName), port.PortType, port.OperationalStatus);
    }

    static void LogRemoved(const RaidController_t *ctrl, const SASSATAPort_t *port) {
        LogRemovedFrom(ctrl, port->PortName);
    }

    static void Release(SASSATAPort_t *port) {
        QLOG(LOG_DEBUG, "%s deleted\n", Shown(port->PortName));
        DiscardAll(port->PortName, port->DeviceID, port->PortOp);
    }
};
template struct Kind<SASSATAPort_t>;
