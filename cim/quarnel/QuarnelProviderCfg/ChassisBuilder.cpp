// A vendor's CIM_Chassis becomes a chassis record.
#include "cim/quarnel/QuarnelProviderCfg/Builder.h"

#include <array>
#include <string.h>

namespace {

// What follows the controller's DeviceID and any underscores at the start of the tag; null when that is nothing, or
// when the tag starts otherwise. Lent: part of `tag`.
const char *InternalPart(const char *tag, const char *controllerID) {
    const size_t length = strlen(controllerID);
    if (strncmp(tag, controllerID, length) != 0) return nullptr;
    const char *rest = tag + length;
    rest += strspn(rest, "_");
    return *rest != '\0' ? rest : nullptr;
}

struct ChassisKind : KindDefaults<ChassisKind> {
    using Record = Chassis_t;
    static constexpr const char *Builder = "BuildSingleChassisInfo";
    static constexpr const char *Entry = "%s, enter...\n";
    static constexpr const char *Noun = "chassis";
    static constexpr const char *TypeName = "Chassis_t";
    static constexpr const char *Required = "tag";
    static constexpr auto Free = FreeChassis;
    static constexpr auto Op = &Chassis_t::ChassisOp;
    static constexpr auto List = &RaidController_t::ChassisList;
    static constexpr auto UpdateTime = &RaidController_t::ChassisUpdateTime;
    static constexpr std::array<PropertyRow_t<Chassis_t>, 0> Properties = {};

    static bool ReadKey(Chassis_t *chassis, const CMPIInstance *instance) {
        chassis->Tag = StringClone(TextOf(instance, "Tag"));
        return chassis->Tag != nullptr;
    }

    static bool Walk(const CMPIContext *, const RaidController_t *ctrl, Chassis_t *chassis) {
        chassis->InternalTag = StringClone(InternalPart(chassis->Tag, ctrl->DeviceID));
        return true;
    }

    static void Dump(const Chassis_t &chassis) {
        QLOG(LOG_DEBUG,
             "\nChassisOp: %s\n\tTag               - %s\n\tInternalTag       - %s\n\tOperationalStatus - %d\n",
             PathText(chassis.ChassisOp).Text(), chassis.Tag, Shown(chassis.InternalTag), chassis.OperationalStatus);
    }
};

} // namespace

int BuildSingleChassisInfo(const CMPIInstanceMI *, const CMPIContext *ctx, RaidController_t *ctrl,
                           const CMPIInstance *instance, const CMPIObjectPath *op) {
    return Build<ChassisKind>(ctx, ctrl, instance, op);
}
