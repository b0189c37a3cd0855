// A logical volume as an instance. Its caption lists the member disks by slot and enclosure and ends with a state word.
#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"

#include "cim/quarnel/QuarnelProviderIfc/Set.h"

namespace {

using VolumeCaption = TextBuffer<512>;

constexpr CMPIUint64 kBlockSize = 512; // bytes

// NameNameSpace of each NameFormat, 0 to 11 (CIM_StorageExtent); 0 (Unknown) of any other.
constexpr CMPIUint16 kNameNameSpaces[] = {
    0, // Unknown
    1, // Other
    2, // VPD83NAA6: VPD83Type3
    2, // VPD83NAA5: VPD83Type3
    3, // VPD83Type2
    4, // VPD83Type1
    1, // VPD83Type0: Other
    7, // SNVM
    7, // NodeWWN: SNVM
    2, // NAA: VPD83Type3
    1, // EUI64: Other
    1, // T10VID: Other
};

CMPIUint16 NameNameSpaceOf(CMPIUint16 nameFormat) {
    constexpr size_t known = sizeof kNameNameSpaces / sizeof *kNameNameSpaces;
    return nameFormat < known ? kNameNameSpaces[nameFormat] : CMPIUint16{0};
}

struct VolumeState_t {
    CMPIUint16 OperationalStatus;
    const char *Suffix;
    CMPIUint16 Health;
};
const VolumeState_t kVolumeStates[] = {
    {OPSTATUS_OK, " - OPTIMAL", HEALTHSTATE_OK},
    {OPSTATUS_DEGRADED, " - DEGRADED", HEALTHSTATE_WARNING},
    {OPSTATUS_ERROR, " - OFFLINE", HEALTHSTATE_FAILED},
};
const VolumeState_t kUndefinedState = {OPSTATUS_UNKNOWN, " - UNDEFINED", HEALTHSTATE_UNKNOWN};

const VolumeState_t &StateOf(const StorageVolume_t *volume) {
    for (const auto &state : kVolumeStates)
        if (state.OperationalStatus == volume->OperationalStatus) return state;
    return kUndefinedState;
}

void AppendMember(VolumeCaption &caption, const RaidController_t *ctrl, const DiskDrive_t *disk) {
    const Chassis_t *chassis = FindChassisByTag(ctrl, disk->Chassis);
    if (chassis != nullptr && chassis->InternalTag != nullptr)
        caption.Append(disk->SlotNumber, "e", chassis->InternalTag);
    else
        caption.Append(disk->DeviceID);
}

void AppendMembers(VolumeCaption &caption, const RaidController_t *ctrl, const StoragePool_t *pool) {
    const char *separator = "";
    caption.Append(", Drives(");
    for (const char *member : Each<char>(pool->Drives)) {
        if (caption.Full()) return; // further members are cut anyway
        const DiskDrive_t *disk = FindDiskByDeviceID(ctrl, member);
        if (disk == nullptr) continue;
        caption.Append(separator);
        AppendMember(caption, ctrl, disk);
        separator = ",";
    }
    caption.Append(")");
}

void Compose(VolumeCaption &caption, const RaidController_t *ctrl, const StorageVolume_t *volume) {
    for (const char *word : {volume->RaidLevel, volume->ElementName})
        if (word != nullptr && *word != '\0') caption.Append(word, " ");
    caption.Append("Logical Volume ", volume->DeviceID, " on controller ", ctrl->DeviceID);
    const StoragePool_t *pool = FindStoragePoolByID(ctrl, volume->FromPool);
    if (pool != nullptr && pool->Drives != nullptr)
        AppendMembers(caption, ctrl, pool);
    else
        QLOG(LOG_ERR, "%s: Cannot get physical drive info for logical volume %s\n", "FillVolumeInstance",
             volume->DeviceID);
    caption.Append(StateOf(volume).Suffix);
}

} // namespace

void FillVolumeInstance(CMPIInstance *inst, RaidController_t *ctrl, StorageVolume_t *volume) {
    VolumeCaption caption;
    Compose(caption, ctrl, volume);
    SetCaption(inst, caption);
    SetStatus(inst, volume->OperationalStatus, StateOf(volume).Health);
    SetUint16(inst, "NameFormat", volume->NameFormat);
    SetText(inst, "Name", volume->Name);
    SetUint16(inst, "NameNameSpace", NameNameSpaceOf(volume->NameFormat));
    SetUint64(inst, "BlockSize", kBlockSize);
    SetUint64(inst, "NumberOfBlocks", volume->NumberOfBlocks);
    SetUint64(inst, "ConsumableBlocks", volume->ConsumableBlocks);
    SetFlag(inst, "IsBasedOnUnderlyingRedundancy", volume->IsBasedOnUnderlyingRedundancy != 0);
    SetFlag(inst, "NoSinglePointOfFailure", true);
    SetUint16(inst, "DataRedundancy", volume->DataRedundancy);
    SetUint8(inst, "DeltaReservation", volume->DeltaReservation);
    SetFlag(inst, "Primordial", volume->Primordial != 0);
    SetArray(inst, "ExtentStatus", volume->ExtentStatus);
}
