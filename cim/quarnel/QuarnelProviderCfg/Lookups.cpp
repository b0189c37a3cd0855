// Finding records by key, the first in the list's order. CtrlMutex is held by the caller throughout.
//
// Lists are walked, but disks are looked up in an index: rendering the volumes of 1,000 disks takes three times as long
// without one, for each caption names its disks. The first look-up after a change of the list fills it.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

#include <string.h>

namespace {

struct Words_t {
    const char *Who, *Kind, *Key;
};

template <auto Key, class Record> Record *Walk(const List_t *list, const char *sought, const Words_t &words) {
    for (Record *record : Each<Record>(list)) {
        QLOG(LOG_DEBUG, "%s: checking %s %p (%s: %s)\n", words.Who, words.Kind, static_cast<void *>(record), words.Key,
             Shown(record->*Key));
        if (record->*Key != nullptr && strcmp(record->*Key, sought) == 0) return record;
    }
    return nullptr;
}

template <class Record> Record *Told(Record *record, const List_t *list, const char *sought, const Words_t &words) {
    if (record != nullptr)
        QLOG(LOG_DEBUG, "%s: found %s %p with %s in list %p\n", words.Who, words.Kind, static_cast<void *>(record),
             sought, static_cast<const void *>(list));
    else
        QLOG(LOG_INFO, "%s: can not find %s %s in list %p\n", words.Who, words.Kind, sought,
             static_cast<const void *>(list));
    return record;
}

template <auto Key, class Record> Record *Find(const List_t *list, const char *sought, const Words_t &words) {
    if (sought == nullptr) return nullptr;
    return Told(Walk<Key, Record>(list, sought, words), list, sought, words);
}

// The slot with the first disk of that ID, or the empty one where it would be: slots are tried one after the other from
// where the ID's hash (FNV-1a) points to.
DiskDrive_t *&SlotOf(const DiskIndex_t &index, const char *id) {
    uint32_t slot = 2166136261U;
    for (const char *at = id; *at != '\0'; ++at) slot = (slot ^ static_cast<unsigned char>(*at)) * 16777619U;
    while (true) {
        DiskDrive_t *&found = index.Slots[slot++ & (index.Count - 1)].Disk;
        if (found == nullptr || strcmp(found->DeviceID, id) == 0) return found;
    }
}

// False without memory.
bool BringUpToDate(DiskIndex_t &index, const List_t *list) {
    if (index.Slots != nullptr && index.Changes == list->Changes) return true;
    index.Changes = list->Changes;
    index.Count = 1;
    while (index.Count <= 2 * list->Size) index.Count *= 2; // at least half of them stay empty
    free(index.Slots);
    index.Slots = Allocate<DiskSlot_t>(index.Count);
    if (index.Slots == nullptr) return false;
    for (DiskDrive_t *disk : Each<DiskDrive_t>(list)) {
        if (disk->DeviceID == nullptr) continue;
        DiskDrive_t *&slot = SlotOf(index, disk->DeviceID);
        if (slot == nullptr) slot = disk;
    }
    return true;
}

} // namespace

StoragePool_t *FindStoragePoolByID(const RaidController_t *ctrl, const char *instanceID) {
    return Find<&StoragePool_t::InstanceID, StoragePool_t>(ctrl->PoolList, instanceID, {__func__, "pool", "ID"});
}

Chassis_t *FindChassisByTag(const RaidController_t *ctrl, const char *tag) {
    return Find<&Chassis_t::Tag, Chassis_t>(ctrl->ChassisList, tag, {__func__, "chassis", "tag"});
}

DiskDrive_t *FindDiskByDeviceID(const RaidController_t *ctrl, const char *deviceID) {
    if (deviceID == nullptr) return nullptr;
    const Words_t words = {__func__, "disk", "ID"};
    const bool indexed = BringUpToDate(ctrl->DiskIndex, ctrl->DiskList);
    DiskDrive_t *disk = nullptr;
    if (!indexed || LogWanted(LOG_DEBUG))
        disk = Walk<&DiskDrive_t::DeviceID, DiskDrive_t>(ctrl->DiskList, deviceID, words);
    if (indexed) disk = SlotOf(ctrl->DiskIndex, deviceID);
    return Told(disk, ctrl->DiskList, deviceID, words);
}
