// Disks, from CIM_DiskDrive. A disk is more than its drive: a walk along six associations finds its extent, its
// firmware, the slot and the chassis that hold it, and the pool that its extent belongs to. Extent and pool it must
// have.
#include "cim/quarnel/QuarnelProviderCfg/Kind.h"

namespace {

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
    Take(&disk->NumberOfBlocks, extent, "NumberOfBlocks");
    Take(&disk->ConsumableBlocks, extent, "ConsumableBlocks");
    TakeFlag(&disk->Primordial, extent, "Primordial");
    disk->ExtentStatus = ExtentStatusOf(extent);
    return true;
}

void ReadFirmware(DiskDrive_t *disk, const CMPIContext *ctx) {
    const CMPIEnumeration *identities =
        Associators(ctx, disk->DiskOp, "CIM_ElementSoftwareIdentity", "CIM_SoftwareIdentity");
    if (identities == nullptr) return;
    const auto *firmware = FirstOf<CMPIInstance>(identities);
    if (firmware == nullptr) QLOG(LOG_ERR, "Disk %s firmware version no available\n", disk->DeviceID);
    Take(&disk->FwVersion, firmware, "VersionString");
}

// From the drive's package to the slot that it sits in, and to the chassis that holds the slot.
void ReadLocation(DiskDrive_t *disk, const CMPIContext *ctx) {
    const auto *package =
        FirstOf<CMPIObjectPath>(AssociatorNames(ctx, disk->DiskOp, "CIM_Realizes", "CIM_PhysicalPackage"));
    if (package == nullptr) return;
    QLOG(LOG_DEBUG, "CIM_PhysicalPackage(Physical Drive): %s\n", PathText(package).Text());

    const auto *slot = FirstOf<CMPIInstance>(Associators(ctx, package, "CIM_PackageInConnector", "CIM_Slot"));
    if (slot == nullptr) return;
    Take(&disk->SlotNumber, slot, "Number");

    const auto *chassis = FirstOf<CMPIObjectPath>(AssociatorNames(ctx, PathOf(slot), "CIM_Container", "CIM_Chassis"));
    disk->Chassis = StringClone(TextOf(chassis, "Tag"));
}

CMPIEnumeration *PoolsOf(const DiskDrive_t *disk, const CMPIContext *ctx) {
    return AssociatorNames(ctx, disk->ExtentOp, "CIM_ConcreteComponent", "CIM_StoragePool");
}

} // namespace

template <> struct KindOf<DiskDrive_t> : AnyKind<DiskDrive_t> {
    static constexpr int Action = CFG_ACTION_DISK;
    static constexpr auto Op = &DiskDrive_t::DiskOp;
    static constexpr auto Key = &DiskDrive_t::DeviceID;
    static constexpr auto Label = &DiskDrive_t::Name;
    static constexpr const char *Noun = "disk";
    static constexpr const char *TypeName = "DiskDrive_t";
    static constexpr const char *Builder = "BuildDiskInfo";
    static constexpr const char *Updater = "CheckAndUpdateDiskInfo";
    static constexpr const char *UpdateExit = "%s, exit\n";

    static bool Read(const CMPIContext *ctx, const RaidController_t *, DiskDrive_t *disk, const CMPIInstance *drive) {
        Take(&disk->Name, drive, "Name");
        Take(&disk->EnabledState, drive, "EnabledState");
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
        const CMPIEnumeration *pools = disk->ExtentOp != nullptr ? PoolsOf(disk, ctx) : nullptr;
        const int result = JoinPoolAndList(ctrl, disk, pools);
        if (disk->Pool == nullptr && !Stopping())
            QLOG(LOG_ERR, "No pool associated with disk %s\n", PathText(disk->DiskOp).Text());
        return result;
    }

    static int JoinPoolAndList(RaidController_t *ctrl, DiskDrive_t *disk, const CMPIEnumeration *pools) {
        const ControllerLock lock(ctrl->CtrlMutex);
        StoragePool_t *pool = JoinPool(ctrl, disk, pools);
        if (disk->Pool == nullptr) return RESULT_NULL;
        const int result = Append(ctrl, disk);
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
            Replace(&disk->Pool, TextOf(path, "InstanceID"));
            StoragePool_t *pool = FindStoragePoolByID(ctrl, disk->Pool);
            if (pool == nullptr) continue;
            QLOG(LOG_DEBUG, "%s: found a pool %p with ID %s\n", Builder, static_cast<void *>(pool), disk->Pool);
            AddDiskToPool(pool, disk->DeviceID);
            return pool;
        }
        return nullptr;
    }

    static void LogListed(const RaidController_t *ctrl, const void *disk) {
        QLOG(LOG_DEBUG, "%s: disk %p added to the list %p\n", Builder, disk, static_cast<void *>(ctrl->DiskList));
    }

    static void Refresh(const CMPIContext *ctx, RaidController_t *ctrl, DiskDrive_t *disk,
                        const CMPIInstance *matched) {
        const CMPIInstance *drive = Fresh(matched, ctx, disk->DiskOp);
        if (drive == nullptr || disk->ExtentOp == nullptr) return;
        if (const CMPIInstance *extent = GetInstance(ctx, disk->ExtentOp))
            RefreshStatus(ctrl, disk, GetOperationalStatus(drive), ExtentStatusOf(extent));
        if (const auto *pool = FirstOf<CMPIObjectPath>(PoolsOf(disk, ctx)))
            RefreshPool(ctrl, disk, TextOf(pool, "InstanceID"));
    }

    static void RefreshStatus(RaidController_t *ctrl, DiskDrive_t *disk, CMPIUint16 opStatus, CMPIUint16 extentStatus) {
        if (disk->OperationalStatus == opStatus && disk->ExtentStatus == extentStatus) return;
        const ControllerLock lock(ctrl->CtrlMutex);
        QLOG(LOG_INFO, "%s: disk %s status changed. Old opStat %d extStat %d, new opStat %d extStat %d\n", Updater,
             disk->DeviceID, disk->OperationalStatus, disk->ExtentStatus, opStatus, extentStatus);
        disk->OperationalStatus = opStatus;
        disk->ExtentStatus = extentStatus;
    }

    static void RefreshPool(RaidController_t *ctrl, DiskDrive_t *disk, const char *pool) {
        const bool moved = !SameText(disk->Pool, pool);
        if (moved)
            QLOG(LOG_DEBUG, "%s: disk %s pool changed, old %s, new %s\n", Updater, disk->DeviceID, Shown(disk->Pool),
                 Shown(pool));
        const ControllerLock lock(ctrl->CtrlMutex);
        if (moved) {
            RemoveDiskFromPool(FindStoragePoolByID(ctrl, disk->Pool), disk->DeviceID);
            Replace(&disk->Pool, pool);
        }
        // Also when nothing has changed: the pool's record may be newer than the disk's.
        AddDiskToPool(FindStoragePoolByID(ctrl, disk->Pool), disk->DeviceID);
    }

    static void Release(DiskDrive_t *disk) {
        QLOG(LOG_DEBUG, "%s deleted\n", Shown(disk->Name));
        DiscardAll(disk->FwVersion, disk->Name, disk->DeviceID, disk->Model, disk->Pool, disk->Chassis, disk->DiskOp,
                   disk->ExtentOp);
    }
};

// The disk leaves its list and its pool in one step, as readers see it.
template <> int Kind<DiskDrive_t>::Delete(RaidController_t *ctrl, void *device) {
    const ControllerLock lock(ctrl->CtrlMutex);
    const int result = RemoveEntryFromListByKey(ctrl->DiskList, device);
    if (result != RESULT_OK) return result;
    auto *disk = static_cast<DiskDrive_t *>(device);
    LogRemovedFrom(ctrl, disk->Name);
    if (StoragePool_t *pool = FindStoragePoolByID(ctrl, disk->Pool)) {
        RemoveDiskFromPool(pool, disk->DeviceID);
        QLOG(LOG_DEBUG, "%s removed from pool %s\n", Shown(disk->Name), disk->Pool);
    }
    Free(disk);
    return RESULT_OK;
}
template struct Kind<DiskDrive_t>;
