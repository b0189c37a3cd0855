// Volumes, from CIM_StorageVolume: with its setting's name as its RAID level, and the pool that it is allocated from,
// which it must have.
#include "cim/quarnel/QuarnelProviderCfg/Kind.h"

template <> struct KindOf<StorageVolume_t> : AnyKind<StorageVolume_t> {
    static constexpr int Action = CFG_ACTION_VOLUME;
    static constexpr auto Op = &StorageVolume_t::VolumeOp;
    static constexpr auto Key = &StorageVolume_t::DeviceID;
    static constexpr auto Label = &StorageVolume_t::ElementName;
    static constexpr const char *Noun = "volume";
    static constexpr const char *TypeName = "StorageVolume_t";
    static constexpr const char *Builder = "BuildVolumeInfo";
    static constexpr const char *Updater = "CheckAndUpdateVolumeInfo";
    static constexpr const char *UpdateExit = "%s, exit\n";

    static bool Read(const CMPIContext *ctx, const RaidController_t *, StorageVolume_t *volume,
                     const CMPIInstance *instance) {
        Take(&volume->ElementName, instance, "ElementName");
        Take(&volume->NumberOfBlocks, instance, "NumberOfBlocks");
        Take(&volume->ConsumableBlocks, instance, "ConsumableBlocks");
        Take(&volume->DataRedundancy, instance, "DataRedundancy");
        Take(&volume->PackageRedundancy, instance, "PackageRedundancy");
        Take(&volume->Name, instance, "Name");
        Take(&volume->NameFormat, instance, "NameFormat");
        Take(&volume->NameNameSpace, instance, "NameNameSpace");
        Take(&volume->DeltaReservation, instance, "DeltaReservation");
        TakeFlag(&volume->IsBasedOnUnderlyingRedundancy, instance, "IsBasedOnUnderlyingRedundancy");
        TakeFlag(&volume->Primordial, instance, "Primordial");
        volume->ExtentStatus = ExtentStatusOf(instance);
        const auto *setting =
            FirstOf<CMPIInstance>(Associators(ctx, volume->VolumeOp, "CIM_ElementSettingData", "CIM_StorageSetting"));
        Take(&volume->RaidLevel, setting, "ElementName");
        return true;
    }

    static void Dump(const StorageVolume_t &volume) {
        QLOG(LOG_DEBUG,
             "\nVolumeOp: %s\n\tElementName       - %s\n\tDeviceID          - %s\n\tRaidLevel         - %s\n"
             "\tNumberOfBlocks    - %llu\n\tConsumableBlocks  - %llu\n\tDataRedundancy    - %d\n"
             "\tPackageRedundancy - %d\n\tNameFormat        - %d\n\tName              - %s\n"
             "\tNameNameSpace     - %d\n\tIsBasedOnUnderlyingRedundancy - %d\n\tDeltaReservation  - %d\n"
             "\tPrimordial        - %d\n\tOperationalStatus - %d\n",
             PathText(volume.VolumeOp).Text(), Shown(volume.ElementName), volume.DeviceID, Shown(volume.RaidLevel),
             volume.NumberOfBlocks, volume.ConsumableBlocks, volume.DataRedundancy, volume.PackageRedundancy,
             volume.NameFormat, Shown(volume.Name), volume.NameNameSpace, volume.IsBasedOnUnderlyingRedundancy,
             volume.DeltaReservation, volume.Primordial, volume.OperationalStatus);
    }

    static int Enter(const CMPIContext *ctx, RaidController_t *ctrl, StorageVolume_t *volume) {
        const auto *pool = FirstOf<CMPIObjectPath>(
            AssociatorNames(ctx, volume->VolumeOp, "CIM_AllocatedFromStoragePool", "CIM_StoragePool"));
        if (pool != nullptr) {
            QLOG(LOG_DEBUG, "%s: found a pool instance\n", Builder);
            volume->FromPool = StringClone(TextOf(pool, "InstanceID"));
        }
        if (volume->FromPool != nullptr) return AnyKind::Enter(ctx, ctrl, volume);
        if (!Stopping()) QLOG(LOG_ERR, "No pool associated with volume %s\n", PathText(volume->VolumeOp).Text());
        return RESULT_NULL;
    }

    // Everything is read before the lock, and taken under it: a reader sees a pair or a name either old or new.
    static void Refresh(const CMPIContext *ctx, RaidController_t *ctrl, StorageVolume_t *volume,
                        const CMPIInstance *matched) {
        const CMPIInstance *fresh = Fresh(matched, ctx, volume->VolumeOp);
        if (fresh == nullptr) return;
        const CMPIUint16 opStatus = GetOperationalStatus(fresh);
        const CMPIUint16 extentStatus = ExtentStatusOf(fresh);
        const auto total = NumberOf<CMPIUint64>(fresh, "NumberOfBlocks");
        const auto unused = NumberOf<CMPIUint64>(fresh, "ConsumableBlocks");
        const char *name = TextOf(fresh, "ElementName");
        const ControllerLock lock(ctrl->CtrlMutex);
        if (volume->OperationalStatus != opStatus || volume->ExtentStatus != extentStatus) {
            QLOG(LOG_DEBUG, "%s: volume %s status changed. Old opStat %d extStat %d, new opStat %d extStat %d\n",
                 Updater, volume->DeviceID, volume->OperationalStatus, volume->ExtentStatus, opStatus, extentStatus);
            volume->OperationalStatus = opStatus;
            volume->ExtentStatus = extentStatus;
        }
        if (volume->NumberOfBlocks != total || volume->ConsumableBlocks != unused) {
            QLOG(LOG_DEBUG,
                 "%s: volume %s capacity changed. Old total blocs %lld free blocks %lld, new total blocks %lld free "
                 "blocks %lld\n",
                 Updater, volume->DeviceID, static_cast<long long>(volume->NumberOfBlocks),
                 static_cast<long long>(volume->ConsumableBlocks), static_cast<long long>(total),
                 static_cast<long long>(unused));
            volume->NumberOfBlocks = total;
            volume->ConsumableBlocks = unused;
        }
        if (!SameText(volume->ElementName, name)) {
            QLOG(LOG_DEBUG, "%s: volume %s element name changed. Old name %s, new name %s\n", Updater, volume->DeviceID,
                 Shown(volume->ElementName), Shown(name));
            Replace(&volume->ElementName, name);
        }
    }

    static void Release(StorageVolume_t *volume) {
        QLOG(LOG_DEBUG, "Volume %s (%s) deleted\n", Shown(volume->Name), Shown(volume->ElementName));
        DiscardAll(volume->ElementName, volume->RaidLevel, volume->DeviceID, volume->Name, volume->FromPool,
                   volume->VolumeOp);
    }
};
template struct Kind<StorageVolume_t>;
