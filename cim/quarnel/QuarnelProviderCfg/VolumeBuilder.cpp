// A vendor's CIM_StorageVolume becomes a volume record, with its setting's name as its RAID level and the pool that it
// is allocated from, which it must have.
#include "cim/quarnel/QuarnelProviderCfg/Builder.h"

namespace {

const PropertyRow_t<StorageVolume_t> kProperties[] = {
    {"ElementName", Text<&StorageVolume_t::ElementName>},
    {"NumberOfBlocks", Number<&StorageVolume_t::NumberOfBlocks>},
    {"ConsumableBlocks", Number<&StorageVolume_t::ConsumableBlocks>},
    {"DataRedundancy", Number<&StorageVolume_t::DataRedundancy>},
    {"PackageRedundancy", Number<&StorageVolume_t::PackageRedundancy>},
    {"Name", Text<&StorageVolume_t::Name>},
    {"NameFormat", Number<&StorageVolume_t::NameFormat>},
    {"NameNameSpace", Number<&StorageVolume_t::NameNameSpace>},
    {"IsBasedOnUnderlyingRedundancy", Flag<&StorageVolume_t::IsBasedOnUnderlyingRedundancy>},
    {"DeltaReservation", Number<&StorageVolume_t::DeltaReservation>},
    {"Primordial", Flag<&StorageVolume_t::Primordial>},
    {"ExtentStatus", FirstNumber<&StorageVolume_t::ExtentStatus>},
};

struct VolumeKind : KindDefaults<VolumeKind> {
    using Record = StorageVolume_t;
    static constexpr const char *Builder = "BuildVolumeInfo";
    static constexpr const char *Noun = "volume";
    static constexpr const char *TypeName = "StorageVolume_t";
    static constexpr auto Free = FreeVolume;
    static constexpr auto Op = &StorageVolume_t::VolumeOp;
    static constexpr auto Key = &StorageVolume_t::DeviceID;
    static constexpr auto List = &RaidController_t::VolumeList;
    static constexpr auto UpdateTime = &RaidController_t::VolumeUpdateTime;
    static constexpr auto &Properties = kProperties;

    static bool Walk(const CMPIContext *ctx, const RaidController_t *, StorageVolume_t *volume) {
        const auto *setting =
            FirstOf<CMPIInstance>(Associators(ctx, volume->VolumeOp, "CIM_ElementSettingData", "CIM_StorageSetting"));
        volume->RaidLevel = StringClone(TextOf(setting, "ElementName"));
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
        if (volume->FromPool != nullptr) return KindDefaults::Enter(ctx, ctrl, volume);
        if (!Stopping()) QLOG(LOG_ERR, "No pool associated with volume %s\n", PathText(volume->VolumeOp).Text());
        return RESULT_NULL;
    }
};

} // namespace

int BuildVolumeInfo(const CMPIInstanceMI *, const CMPIContext *ctx, RaidController_t *ctrl,
                    const CMPIInstance *instance, const CMPIObjectPath *op) {
    return Build<VolumeKind>(ctx, ctrl, instance, op);
}
