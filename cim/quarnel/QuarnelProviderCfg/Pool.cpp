// Storage pools, from CIM_StoragePool, and the lists of their member disks.
#include "cim/quarnel/QuarnelProviderCfg/Kind.h"

#include <string.h>

template <> struct KindOf<StoragePool_t> : AnyKind<StoragePool_t> {
    static constexpr int Action = CFG_ACTION_POOL;
    static constexpr auto Op = &StoragePool_t::PoolOp;
    static constexpr auto Key = &StoragePool_t::InstanceID;
    static constexpr auto Label = &StoragePool_t::InstanceID;
    static constexpr const char *Noun = "pool";
    static constexpr const char *TypeName = "StoragePool_t";
    static constexpr const char *Builder = "BuildSinglePoolInfo";
    static constexpr const char *BuildEntry = "%s, enter...\n";
    static constexpr const char *Updater = "CheckAndUpdatePoolInfo";
    static constexpr const char *Required = "InstanceID or PoolID";

    static bool Prepare(StoragePool_t *pool, const CMPIInstance *instance) {
        pool->Drives = &pool->_Drives;
        Take(&pool->PoolID, instance, "PoolID");
        return pool->PoolID != nullptr;
    }

    static bool Read(const CMPIContext *, const RaidController_t *, StoragePool_t *pool, const CMPIInstance *instance) {
        Take(&pool->TotalManagedSpace, instance, "TotalManagedSpace");
        Take(&pool->RemainingManagedSpace, instance, "RemainingManagedSpace");
        TakeFlag(&pool->Primordial, instance, "Primordial");
        return true;
    }

    static void Dump(const StoragePool_t &pool) {
        QLOG(LOG_INFO,
             "\nPoolOp: %s\n\tInstanceID            - %s\n\tPoolId                - %s\n"
             "\tPrimordial            - %d\n\tTotalManagedSpace     - %llu\n\tRemainingManagedSpace - %llu\n"
             "\tOperationalStatus     - %d\n",
             PathText(pool.PoolOp).Text(), pool.InstanceID, pool.PoolID, pool.Primordial, pool.TotalManagedSpace,
             pool.RemainingManagedSpace, pool.OperationalStatus);
    }

    static void Release(StoragePool_t *pool) {
        QLOG(LOG_DEBUG, "Pool %s deleted\n", Shown(pool->PoolID));
        FreeList(pool->Drives, nullptr);
        DiscardAll(pool->PoolID, pool->InstanceID, pool->PoolOp);
    }
};
template struct Kind<StoragePool_t>;

namespace {

char *FindMember(const StoragePool_t *pool, const char *diskID) {
    NoteControllerNeeded();
    for (char *member : Each<char>(pool->Drives))
        if (strcmp(member, diskID) == 0) return member;
    return nullptr;
}

} // namespace

void AddDiskToPool(StoragePool_t *pool, const char *diskID) {
    if (pool == nullptr || diskID == nullptr || FindMember(pool, diskID) != nullptr) return;
    HeapText member(StringClone(diskID));
    if (AddEntryAtListTail(pool->Drives, member.get()) == RESULT_OK) (void)member.release();
}

void RemoveDiskFromPool(StoragePool_t *pool, const char *diskID) {
    if (pool == nullptr || diskID == nullptr) return;
    const HeapText member(FindMember(pool, diskID));
    if (member != nullptr) RemoveEntryFromListByKey(pool->Drives, member.get());
}
