// A physical disk as a storage extent instance. Its caption names slot, enclosure, controller, firmware and a state
// word that is worked out from the disk's status, its extent's status and whether it belongs to a primordial pool.
#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"

#include "cim/quarnel/QuarnelProviderIfc/Set.h"

namespace {

constexpr CMPIUint16 kBlockSize = 512; // bytes; of 16 bits for this class

// Values of CIM_StorageExtent.ExtentStatus.
enum { EXTENT_BROKEN = 3, EXTENT_REBUILD = 11, EXTENT_SPARE = 13 };

bool IsPrimordial(const RaidController_t *ctrl, const DiskDrive_t *disk) {
    const StoragePool_t *pool = FindStoragePoolByID(ctrl, disk->Pool);
    return (pool != nullptr ? pool->Primordial : disk->Primordial) != 0;
}

void Compose(Caption &caption, const RaidController_t *ctrl, const DiskDrive_t *disk, const Chassis_t *chassis,
             const char *state) {
    caption.Append("Drive ");
    if (chassis != nullptr && chassis->InternalTag != nullptr)
        caption.Append(disk->SlotNumber, " in enclosure ", chassis->InternalTag);
    else
        caption.Append(disk->DeviceID);
    caption.Append(" on controller ", ctrl->DeviceID, " Fw: ", OrUnknown(disk->FwVersion), " - ", state);
}

} // namespace

const char *GetDiskPhysicalStatus(const RaidController_t *ctrl, const DiskDrive_t *disk, CMPIUint16 *health) {
    const bool primordial = IsPrimordial(ctrl, disk);
    switch (disk->OperationalStatus) {
    case OPSTATUS_OK:
        *health = HEALTHSTATE_OK;
        if (disk->ExtentStatus == EXTENT_SPARE) return "HOT SPARE";
        if (primordial) return "UNCONFIGURED GOOD";
        return disk->ExtentStatus == EXTENT_REBUILD ? "REBUILD" : "ONLINE";
    case OPSTATUS_ERROR:
        if (primordial && disk->ExtentStatus != EXTENT_BROKEN) {
            *health = HEALTHSTATE_WARNING;
            return "UNCONFIGURED BAD";
        }
        *health = HEALTHSTATE_FAILED;
        return "FAILED";
    case OPSTATUS_NO_CONTACT:
        *health = HEALTHSTATE_MAJOR;
        return "OFFLINE";
    case OPSTATUS_DORMANT:
        *health = HEALTHSTATE_OK;
        return "UNCONFIGURED GOOD";
    default:
        *health = HEALTHSTATE_WARNING;
        return "UNDEFINED";
    }
}

void FillExtentInstance(CMPIInstance *inst, RaidController_t *ctrl, DiskDrive_t *extent) {
    const Chassis_t *chassis = FindChassisByTag(ctrl, extent->Chassis);
    CMPIUint16 health = HEALTHSTATE_UNKNOWN;
    const char *state = GetDiskPhysicalStatus(ctrl, extent, &health);
    Caption caption;
    Compose(caption, ctrl, extent, chassis, state);
    SetCaption(inst, caption);
    SetStatus(inst, extent->OperationalStatus, health);
    SetUint16(inst, "BlockSize", kBlockSize);
    SetUint64(inst, "NumberOfBlocks", extent->NumberOfBlocks);
    SetFlag(inst, "Primordial", extent->Primordial != 0);
}
