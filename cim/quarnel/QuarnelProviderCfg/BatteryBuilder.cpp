// A vendor's CIM_Battery becomes a battery record.
#include "cim/quarnel/QuarnelProviderCfg/Builder.h"

namespace {

const PropertyRow_t<Battery_t> kProperties[] = {
    {"BatteryStatus", Number<&Battery_t::BatteryStatus>},
};

struct BatteryKind : KindDefaults<BatteryKind> {
    using Record = Battery_t;
    static constexpr const char *Builder = "BuildBatteryInfo";
    static constexpr const char *Noun = "battery";
    static constexpr const char *TypeName = "Battery_t";
    static constexpr auto Free = FreeBattery;
    static constexpr auto Op = &Battery_t::BatteryOp;
    static constexpr auto Key = &Battery_t::DeviceID;
    static constexpr auto List = &RaidController_t::BatteryList;
    static constexpr auto UpdateTime = &RaidController_t::BatteryUpdateTime;
    static constexpr auto &Properties = kProperties;

    static void Dump(const Battery_t &battery) {
        QLOG(LOG_INFO,
             "\nBatteryOp: %s\n\tDeviceID          - %s\n\tBatteryStatus     - %d\n\tOperationalStatus - %d\n",
             PathText(battery.BatteryOp).Text(), battery.DeviceID, battery.BatteryStatus, battery.OperationalStatus);
    }
};

} // namespace

int BuildBatteryInfo(const CMPIInstanceMI *, const CMPIContext *ctx, RaidController_t *ctrl,
                     const CMPIInstance *instance, const CMPIObjectPath *op) {
    return Build<BatteryKind>(ctx, ctrl, instance, op);
}
