// A vendor's CIM_StoragePool becomes a pool record.
#include "cim/quarnel/QuarnelProviderCfg/Builder.h"

namespace {

const PropertyRow_t<StoragePool_t> kProperties[] = {
    {"TotalManagedSpace", Number<&StoragePool_t::TotalManagedSpace>},
    {"RemainingManagedSpace", Number<&StoragePool_t::RemainingManagedSpace>},
    {"Primordial", Flag<&StoragePool_t::Primordial>},
};

struct PoolKind : KindDefaults<PoolKind> {
    using Record = StoragePool_t;
    static constexpr const char *Builder = "BuildSinglePoolInfo";
    static constexpr const char *Entry = "%s, enter...\n";
    static constexpr const char *Noun = "pool";
    static constexpr const char *TypeName = "StoragePool_t";
    static constexpr const char *Required = "InstanceID or PoolID";
    static constexpr auto Free = FreePool;
    static constexpr auto Op = &StoragePool_t::PoolOp;
    static constexpr auto List = &RaidController_t::PoolList;
    static constexpr auto UpdateTime = &RaidController_t::PoolUpdateTime;
    static constexpr auto &Properties = kProperties;

    static bool ReadKey(StoragePool_t *pool, const CMPIInstance *instance) {
        pool->Drives = &pool->_Drives;
        pool->InstanceID = StringClone(TextOf(instance, "InstanceID"));
        pool->PoolID = StringClone(TextOf(instance, "PoolID"));
        return pool->InstanceID != nullptr && pool->PoolID != nullptr;
    }

    static void Dump(const StoragePool_t &pool) {
        QLOG(LOG_INFO,
             "\nPoolOp: %s\n\tInstanceID            - %s\n\tPoolId                - %s\n"
             "\tPrimordial            - %d\n\tTotalManagedSpace     - %llu\n\tRemainingManagedSpace - %llu\n"
             "\tOperationalStatus     - %d\n",
             PathText(pool.PoolOp).Text(), pool.InstanceID, pool.PoolID, pool.Primordial, pool.TotalManagedSpace,
             pool.RemainingManagedSpace, pool.OperationalStatus);
    }
};

} // namespace

int BuildSinglePoolInfo(const CMPIInstanceMI *, const CMPIContext *ctx, RaidController_t *ctrl,
                        const CMPIInstance *instance, const CMPIObjectPath *op) {
    return Build<PoolKind>(ctx, ctrl, instance, op);
}
