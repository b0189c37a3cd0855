// Finding records by key, the first in the list's order, through an index: rendering the volumes of 1,000 disks takes
// three times as long without one, for each caption names its disks. The first look-up after a change of the list fills
// it. CtrlMutex is held by the caller throughout.
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

// The slot with the first record of that key, or the empty one where it would be: slots are tried one after the other
// from where the key's hash (FNV-1a) points to.
template <auto Key, class Record> void *&SlotOf(const KeyIndex_t &index, const char *key) {
    uint32_t slot = 2166136261U;
    for (const char *at = key; *at != '\0'; ++at) slot = (slot ^ static_cast<unsigned char>(*at)) * 16777619U;
    while (true) {
        void *&found = index.Slots[slot++ & (index.Count - 1)];
        if (found == nullptr || strcmp(static_cast<Record *>(found)->*Key, key) == 0) return found;
    }
}

// False without memory.
template <auto Key, class Record> bool BringUpToDate(KeyIndex_t &index, const List_t *list) {
    if (index.Slots != nullptr && index.Changes == list->Changes) return true;
    index.Changes = list->Changes;
    index.Count = 1;
    while (index.Count <= 2 * list->Size) index.Count *= 2; // at least half of them stay empty
    free(index.Slots);
    index.Slots = Allocate<void *>(index.Count);
    if (index.Slots == nullptr) return false;
    for (Record *record : Each<Record>(list)) {
        if (record->*Key == nullptr) continue;
        void *&slot = SlotOf<Key, Record>(index, record->*Key);
        if (slot == nullptr) slot = record;
    }
    return true;
}

template <auto Key, class Record>
Record *Find(KeyIndex_t &index, const List_t *list, const char *sought, const Words_t &words) {
    if (sought == nullptr) return nullptr;
    const bool indexed = BringUpToDate<Key, Record>(index, list);
    Record *record = nullptr;
    if (!indexed || LogWanted(LOG_DEBUG)) record = Walk<Key, Record>(list, sought, words);
    if (indexed) record = static_cast<Record *>(SlotOf<Key, Record>(index, sought));
    if (record != nullptr)
        QLOG(LOG_DEBUG, "%s: found %s %p with %s in list %p\n", words.Who, words.Kind, static_cast<void *>(record),
             sought, static_cast<const void *>(list));
    else
        QLOG(LOG_INFO, "%s: can not find %s %s in list %p\n", words.Who, words.Kind, sought,
             static_cast<const void *>(list));
    return record;
}

} // namespace

StoragePool_t *FindStoragePoolByID(const RaidController_t *ctrl, const char *instanceID) {
    return Find<&StoragePool_t::InstanceID, StoragePool_t>(ctrl->PoolIndex, ctrl->PoolList, instanceID,
                                                           {__func__, "pool", "ID"});
}

Chassis_t *FindChassisByTag(const RaidController_t *ctrl, const char *tag) {
    return Find<&Chassis_t::Tag, Chassis_t>(ctrl->ChassisIndex, ctrl->ChassisList, tag, {__func__, "chassis", "tag"});
}

DiskDrive_t *FindDiskByDeviceID(const RaidController_t *ctrl, const char *deviceID) {
    return Find<&DiskDrive_t::DeviceID, DiskDrive_t>(ctrl->DiskIndex, ctrl->DiskList, deviceID,
                                                     {__func__, "disk", "ID"});
}
