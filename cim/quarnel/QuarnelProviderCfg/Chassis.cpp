// Chassis, from CIM_Chassis.
#include "cim/quarnel/QuarnelProviderCfg/Kind.h"

#include <string.h>

template <> struct KindOf<Chassis_t> : AnyKind<Chassis_t> {
    static constexpr int Action = CFG_ACTION_CHASSIS;
    static constexpr auto Op = &Chassis_t::ChassisOp;
    static constexpr auto Key = &Chassis_t::Tag;
    static constexpr const char *Noun = "chassis";
    static constexpr const char *TypeName = "Chassis_t";
    static constexpr const char *Builder = "BuildSingleChassisInfo";
    static constexpr const char *BuildEntry = "%s, enter...\n";
    static constexpr const char *Updater = "CheckAndUpdateChassisInfo";
    static constexpr const char *Required = "tag";

    static bool Read(const CMPIContext *, const RaidController_t *ctrl, Chassis_t *chassis, const CMPIInstance *) {
        chassis->InternalTag = StringClone(InternalPart(chassis->Tag, ctrl->DeviceID));
        return true;
    }

    // What follows the controller's DeviceID and any underscores at the start of the tag; null when that is nothing, or
    // when the tag starts otherwise. Lent: part of `tag`.
    static const char *InternalPart(const char *tag, const char *controllerID) {
        const size_t length = strlen(controllerID);
        if (strncmp(tag, controllerID, length) != 0) return nullptr;
        const char *rest = tag + length;
        rest += strspn(rest, "_");
        return *rest != '\0' ? rest : nullptr;
    }

    static void Dump(const Chassis_t &chassis) {
        QLOG(LOG_DEBUG,
             "\nChassisOp: %s\n\tTag               - %s\n\tInternalTag       - %s\n\tOperationalStatus - %d\n",
             PathText(chassis.ChassisOp).Text(), chassis.Tag, Shown(chassis.InternalTag), chassis.OperationalStatus);
    }

    static void LogUpdate(const Chassis_t *) { QLOG(LOG_DEBUG, "%s, enter...\n", Updater); }

    static void Release(Chassis_t *chassis) {
        QLOG(LOG_DEBUG, "Chassis %s deleted\n", Shown(chassis->Tag));
        DiscardAll(chassis->Tag, chassis->InternalTag, chassis->ChassisOp);
    }
};
template struct Kind<Chassis_t>;
