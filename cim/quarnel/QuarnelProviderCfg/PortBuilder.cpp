// A vendor's CIM_SASSATAPort becomes a port record.
#include "cim/quarnel/QuarnelProviderCfg/Builder.h"

namespace {

const PropertyRow_t<SASSATAPort_t> kProperties[] = {
    {"ElementName", Text<&SASSATAPort_t::PortName>},
    {"PortType", Number<&SASSATAPort_t::PortType>},
    {"UsageRestriction", Number<&SASSATAPort_t::UsageRestriction>},
};

struct PortKind : KindDefaults<PortKind> {
    using Record = SASSATAPort_t;
    static constexpr const char *Builder = "BuildPortInfo";
    static constexpr const char *Noun = "port";
    static constexpr const char *TypeName = "SASSATAPort_t";
    static constexpr auto Free = FreePort;
    static constexpr auto Op = &SASSATAPort_t::PortOp;
    static constexpr auto Key = &SASSATAPort_t::DeviceID;
    static constexpr auto List = &RaidController_t::PortList;
    static constexpr auto UpdateTime = &RaidController_t::PortUpdateTime;
    static constexpr auto &Properties = kProperties;

    static void Dump(const SASSATAPort_t &port) {
        QLOG(LOG_INFO,
             "\nPortOp: %s\n\tDeviceID          - %s\n\tPortName:         - %s\n\tPortType          - %d\n"
             "\tOperationalStatus - %d\n",
             PathText(port.PortOp).Text(), port.DeviceID, Shown(port.PortName), port.PortType, port.OperationalStatus);
    }
};

} // namespace

int BuildPortInfo(const CMPIInstanceMI *, const CMPIContext *ctx, RaidController_t *ctrl, const CMPIInstance *instance,
                  const CMPIObjectPath *op) {
    return Build<PortKind>(ctx, ctrl, instance, op);
}
