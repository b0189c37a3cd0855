// Finding records by key. CtrlMutex is held by the caller throughout.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

#include <string.h>

namespace {

struct Words_t {
    const char *Who, *Kind, *Key;
};

template <class Record, char *Record::*Key> const char *KeyOf(const void *record) {
    return static_cast<const Record *>(record)->*Key;
}

// What a walk through the list up to the record would say; null: to its end.
template <class Record, char *Record::*Key> void LogWalk(const List_t *list, const Record *last, const Words_t &words) {
    for (Record *record : Each<Record>(list)) {
        QLOG(LOG_DEBUG, "%s: checking %s %p (%s: %s)\n", words.Who, words.Kind, static_cast<void *>(record), words.Key,
             Shown(record->*Key));
        if (record == last) return;
    }
}

template <class Record, char *Record::*Key>
Record *Find(KeyIndex_t *index, const List_t *list, const char *sought, const Words_t &words) {
    if (sought == nullptr) return nullptr;
    auto *record = static_cast<Record *>(FindByKey(index, list, KeyOf<Record, Key>, sought));
    if (LogWanted(LOG_DEBUG)) LogWalk<Record, Key>(list, record, words);
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
    return Find<StoragePool_t, &StoragePool_t::InstanceID>(&ctrl->PoolIndex, ctrl->PoolList, instanceID,
                                                           {__func__, "pool", "ID"});
}

DiskDrive_t *FindDiskByDeviceID(const RaidController_t *ctrl, const char *deviceID) {
    return Find<DiskDrive_t, &DiskDrive_t::DeviceID>(&ctrl->DiskIndex, ctrl->DiskList, deviceID,
                                                     {__func__, "disk", "ID"});
}

Chassis_t *FindChassisByTag(const RaidController_t *ctrl, const char *tag) {
    return Find<Chassis_t, &Chassis_t::Tag>(&ctrl->ChassisIndex, ctrl->ChassisList, tag, {__func__, "chassis", "tag"});
}
