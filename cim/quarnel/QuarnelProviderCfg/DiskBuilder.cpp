// A vendor's CIM_DiskDrive becomes a disk record. A disk is more than its drive: a walk along six associations finds
// its extent, its firmware, the slot and the chassis that hold it, and the pool that its extent belongs to. Extent and
// pool it must have.
#include "cim/quarnel/QuarnelProviderCfg/Builder.h"

namespace {

const PropertyRow_t<DiskDrive_t> kDriveProperties[] = {
    {"Name", Text<&DiskDrive_t::Name>},
    {"EnabledState", Number<&DiskDrive_t::EnabledState>},
};

const PropertyRow_t<DiskDrive_t> kExtentProperties[] = {
    {"NumberOfBlocks", Number<&DiskDrive_t::NumberOfBlocks>},
    {"ConsumableBlocks", Number<&DiskDrive_t::ConsumableBlocks>},
    {"Primordial", Flag<&DiskDrive_t::Primordial>},
    {"ExtentStatus", FirstNumber<&DiskDrive_t::ExtentStatus>},
};

// False when the drive has no media: such a disk is not kept.
bool ReadMedia(DiskDrive_t *disk, const CMPIContext *ctx) {
    const CMPIEnumeration *media = Associators(ctx, disk->DiskOp, "CIM_MediaPresent", nullptr);
    if (media == nullptr) return false;
    const auto *extent = FirstOf<CMPIInstance>(media);
    if (extent == nullptr) {
        QLOG(LOG_ERR, "Disk %s no media present\n", disk->DeviceID);
        return false;
    }
    disk->ExtentOp = CloneOf(PathOf(extent)).release();
    ReadProperties(disk, extent, kExtentProperties);
    return true;
}

void ReadFirmware(DiskDrive_t *disk, const CMPIContext *ctx) {
    const CMPIEnumeration *identities =
        Associators(ctx, disk->DiskOp, "CIM_ElementSoftwareIdentity", "CIM_SoftwareIdentity");
    if (identities == nullptr) return;
    const auto *firmware = FirstOf<CMPIInstance>(identities);
    if (firmware == nullptr) QLOG(LOG_ERR, "Disk %s firmware version no available\n", disk->DeviceID);
    disk->FwVersion = StringClone(TextOf(firmware, "VersionString"));
}

// From the drive's package to the slot that it sits in, and to the chassis that holds the slot.
void ReadLocation(DiskDrive_t *disk, const CMPIContext *ctx) {
    const auto *package =
        FirstOf<CMPIObjectPath>(AssociatorNames(ctx, disk->DiskOp, "CIM_Realizes", "CIM_PhysicalPackage"));
    if (package == nullptr) return;
    QLOG(LOG_DEBUG, "CIM_PhysicalPackage(Physical Drive): %s\n", PathText(package).Text());

    const auto *slot = FirstOf<CMPIInstance>(Associators(ctx, package, "CIM_PackageInConnector", "CIM_Slot"));
    if (slot == nullptr) return;
    disk->SlotNumber = NumberOf<CMPIUint16>(slot, "Number");

    const auto *chassis = FirstOf<CMPIObjectPath>(AssociatorNames(ctx, PathOf(slot), "CIM_Container", "CIM_Chassis"));
    disk->Chassis = StringClone(TextOf(chassis, "Tag"));
}

struct DiskKind : KindDefaults<DiskKind> {
    using Record = DiskDrive_t;
    static constexpr const char *Builder = "BuildDiskInfo";
    static constexpr const char *Noun = "disk";
    static constexpr const char *TypeName = "DiskDrive_t";
    static constexpr auto Free = FreeDisk;
    static constexpr auto Op = &DiskDrive_t::DiskOp;
    static constexpr auto Key = &DiskDrive_t::DeviceID;
    static constexpr auto List = &RaidController_t::DiskList;
    static constexpr auto UpdateTime = &RaidController_t::DiskUpdateTime;
    static constexpr auto &Properties = kDriveProperties;

    static bool Walk(const CMPIContext *ctx, const RaidController_t *, DiskDrive_t *disk) {
        if (!ReadMedia(disk, ctx)) return false;
        ReadFirmware(disk, ctx);
        ReadLocation(disk, ctx);
        return true;
    }

    static void Dump(const DiskDrive_t &disk) {
        QLOG(LOG_INFO,
             "\nDiskOp: %s\nExtentOp: %s\n\tDeviceID          - %s\n\tName              - %s\n"
             "\tFirmwareVersion   - %s\n\tNumberOfBlocks    - %llu\n\tConsumableBlocks  - %llu\n"
             "\tPrimordial        - %d\n\tEnabledState      - %d\n\tOperationalStatus - %d\n"
             "\tSlot              - %d\n\tChassis           - %s\n",
             PathText(disk.DiskOp).Text(), PathText(disk.ExtentOp).Text(), disk.DeviceID, Shown(disk.Name),
             Shown(disk.FwVersion), disk.NumberOfBlocks, disk.ConsumableBlocks, disk.Primordial, disk.EnabledState,
             disk.OperationalStatus, disk.SlotNumber, disk.Chassis != nullptr ? disk.Chassis : "No Chassis");
    }

    // The pool and the list are joined in one hold of CtrlMutex: nobody sees a pool with a disk that is not listed.
    static int Enter(const CMPIContext *ctx, RaidController_t *ctrl, DiskDrive_t *disk) {
        const CMPIEnumeration *pools =
            disk->ExtentOp != nullptr ? AssociatorNames(ctx, disk->ExtentOp, "CIM_ConcreteComponent", "CIM_StoragePool")
                                      : nullptr;
        const int result = JoinPoolAndList(ctrl, disk, pools);
        if (disk->Pool == nullptr && !Stopping())
            QLOG(LOG_ERR, "No pool associated with disk %s\n", PathText(disk->DiskOp).Text());
        return result;
    }

    static int JoinPoolAndList(RaidController_t *ctrl, DiskDrive_t *disk, const CMPIEnumeration *pools) {
        const ControllerLock lock(ctrl->CtrlMutex);
        StoragePool_t *pool = JoinPool(ctrl, disk, pools);
        if (disk->Pool == nullptr) return RESULT_NULL;
        const int result = Append<DiskKind>(ctrl, disk);
        if (result == RESULT_OK) return result;
        QLOG(LOG_ERR, "%s: failed to add disk %p to list %p, rc %d.\n", Builder, static_cast<void *>(disk),
             static_cast<void *>(ctrl->DiskList), result);
        if (pool == nullptr) return result;
        QLOG(LOG_DEBUG, "%s: remove disk %s from pool %p\n", Builder, disk->DeviceID, static_cast<void *>(pool));
        RemoveDiskFromPool(pool, disk->DeviceID);
        return result;
    }

    // Joins the first pool of the extent that is in the model. When none is, the disk keeps the last one's name, and no
    // pool lists it until a refresh finds that pool in the model.
    static StoragePool_t *JoinPool(RaidController_t *ctrl, DiskDrive_t *disk, const CMPIEnumeration *pools)
        REQUIRES(ctrl->CtrlMutex) {
        for (CMPIObjectPath *path = nullptr; Next(pools, &path);) {
            free(disk->Pool);
            disk->Pool = StringClone(TextOf(path, "InstanceID"));
            StoragePool_t *pool = FindStoragePoolByID(ctrl, disk->Pool);
            if (pool == nullptr) continue;
            QLOG(LOG_DEBUG, "%s: found a pool %p with ID %s\n", Builder, static_cast<void *>(pool), disk->Pool);
            AddDiskToPool(pool, disk->DeviceID);
            return pool;
        }
        return nullptr;
    }

    static void LogListed(const RaidController_t *ctrl, const DiskDrive_t *disk) {
        QLOG(LOG_DEBUG, "%s: disk %p added to the list %p\n", Builder, static_cast<const void *>(disk),
             static_cast<void *>(ctrl->DiskList));
    }
};

} // namespace

int BuildDiskInfo(const CMPIInstanceMI *, const CMPIContext *ctx, RaidController_t *ctrl, const CMPIInstance *instance,
                  const CMPIObjectPath *op) {
    if (op == nullptr || instance == nullptr || ctrl == nullptr) {
        QLOG(LOG_DEBUG, "%s, ENTER...\n", __func__);
        QLOG(LOG_DEBUG, "%s, EXIT(%d).\n", __func__, RESULT_NULL);
        return RESULT_NULL;
    }
    return Build<DiskKind>(ctx, ctrl, instance, op);
}
