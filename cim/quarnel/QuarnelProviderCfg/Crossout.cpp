// Pairing a cached list of devices with a fresh enumeration of them. Paths, instances and texts are borrowed.
#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"

#include <string.h>

namespace {

constexpr char kWho[] = "CrossoutDuplicatedEntries";

// Who a device is. Lent by its path; with either missing it is unlike any other.
struct Identity_t {
    const char *ClassName;
    const char *Key;
};

Identity_t IdentityOf(const CMPIObjectPath *path, const char *keyname) {
    return {ClassNameOf(path), TextOf(path, keyname)};
}

bool Same(const Identity_t &a, const Identity_t &b) {
    return a.ClassName != nullptr && a.Key != nullptr && b.ClassName != nullptr && b.Key != nullptr &&
           strcmp(a.ClassName, b.ClassName) == 0 && strcmp(a.Key, b.Key) == 0;
}

// An array that is being filled.
template <class Entry> struct Entries_t {
    Heap<Entry> Array;
    int Count = 0;
    int Unmatched = 0;

    Entry &operator[](int i) { return Array.get()[i]; }
    // Room for so many; false, having said so, without memory.
    bool Reserve(uint32_t size, const char *what) {
        Array.reset(Allocate<Entry>(size));
        if (Array == nullptr) QLOG(LOG_ERR, "%s, failed to allocate memory for %s\n", kWho, what);
        return Array != nullptr;
    }
    void Append(const Entry &entry) {
        Array.get()[Count] = entry;
        Unmatched = ++Count;
    }
};

int ReadFresh(const CMPIEnumeration *enums, Entries_t<NewInfo_t> &fresh) {
    const CMPIArray *array = enums->ft->toArray(enums, nullptr);
    QLOG(LOG_DEBUG, "arrPtr %p\n", static_cast<const void *>(array));
    if (array == nullptr) {
        QLOG(LOG_ERR, "%s, failed to get array from enum\n", kWho);
        return RESULT_INVALID;
    }
    const CMPICount size = array->ft->getSize(array, nullptr);
    QLOG(LOG_DEBUG, "Enum array size %d\n", static_cast<int>(size));
    if (size == 0) return RESULT_OK;
    if (!fresh.Reserve(size, "enum")) return RESULT_NO_MEMORY;
    for (CMPIInstance *instance = nullptr; fresh.Count < static_cast<int>(size) && Next(enums, &instance);) {
        CMPIObjectPath *op = instance != nullptr ? PathOf(instance) : nullptr;
        if (op == nullptr) continue; // it could not be built
        QLOG(LOG_DEBUG, "OP %p added to opArr[%d]\n", static_cast<void *>(op), fresh.Count);
        fresh.Append({op, instance});
    }
    return RESULT_OK;
}

int ReadCached(const List_t *list, Entries_t<UpdateInfo_t> &cached) {
    const uint32_t size = list != nullptr ? list->Size : 0;
    QLOG(LOG_DEBUG, "List %p, size %d\n", static_cast<const void *>(list), static_cast<int>(size));
    if (size == 0) return RESULT_OK;
    if (!cached.Reserve(size, "list")) return RESULT_NO_MEMORY;
    for (void *record : Each<void>(list)) {
        QLOG(LOG_DEBUG, "data %p added to dataArr[%d]\n", record, cached.Count);
        cached.Append({record, 0, nullptr});
    }
    return RESULT_OK;
}

// Each fresh entry's identity is read once, and matched entries at the front are not looked at again: a list that comes
// back in its own order is paired in one walk.
int Match(Entries_t<UpdateInfo_t> &cached, Entries_t<NewInfo_t> &fresh, GetOp_t *getOp, const char *keyname) {
    if (cached.Count == 0 || fresh.Count == 0) return RESULT_OK;
    Entries_t<Identity_t> identities;
    if (!identities.Reserve(static_cast<uint32_t>(fresh.Count), "enum")) return RESULT_NO_MEMORY;
    for (int j = 0; j < fresh.Count; ++j) identities.Append(IdentityOf(fresh[j].Op, keyname));

    int first = 0;
    for (int i = 0; i < cached.Count; ++i) {
        const Identity_t sought = IdentityOf(getOp(cached[i].Device), keyname);
        QLOG(LOG_DEBUG, "dataArr[%d]: class name %s, key %s\n", i, Shown(sought.ClassName), Shown(sought.Key));
        while (first < fresh.Count && fresh[first].Op == nullptr) ++first;
        for (int j = first; j < fresh.Count; ++j) {
            if (fresh[j].Op == nullptr) continue;
            const Identity_t &found = identities[j];
            QLOG(LOG_DEBUG, "opArr[%d]: class name %s, key %s\n", j, Shown(found.ClassName), Shown(found.Key));
            if (!Same(sought, found)) continue;
            cached[i].Instance = fresh[j].Instance;
            cached[i].Flag = 1;
            fresh[j] = {};
            fresh.Unmatched -= 1;
            cached.Unmatched -= 1;
            QLOG(LOG_DEBUG, "%s,%s duplicated, candidate for update. ci %d, cj %d\n", found.ClassName, found.Key,
                 fresh.Unmatched, cached.Unmatched);
            break;
        }
    }
    return RESULT_OK;
}

} // namespace

int CrossoutDuplicatedEntries(const List_t *list, const CMPIEnumeration *enums, GetOp_t *getOp, const char *keyname,
                              UpdateInfo_t **dataPtrs, NewInfo_t **opPtrs, int *datacount, int *opcount) {
    QLOG(LOG_DEBUG, "%s: ENTER...\n", kWho);
    Entries_t<UpdateInfo_t> cached;
    Entries_t<NewInfo_t> fresh;
    int result = RESULT_INVALID;
    if (dataPtrs == nullptr || keyname == nullptr || datacount == nullptr || opPtrs == nullptr || opcount == nullptr) {
        QLOG(LOG_ERR, "%s: invalid parameter\n", kWho);
    } else {
        *dataPtrs = nullptr;
        *opPtrs = nullptr;
        *datacount = 0;
        *opcount = 0;
        result = ReadFresh(enums, fresh);
        if (result == RESULT_OK) result = ReadCached(list, cached);
        if (result == RESULT_OK) result = Match(cached, fresh, getOp, keyname);
    }
    if (result == RESULT_OK) {
        *datacount = cached.Count;
        *dataPtrs = cached.Array.release();
        if (fresh.Unmatched > 0) {
            *opcount = fresh.Count;
            *opPtrs = fresh.Array.release();
        }
    }
    QLOG(LOG_DEBUG, "%s EXITED, rc %d, remove %d, add %d\n", kWho, result, cached.Unmatched, fresh.Unmatched);
    return result;
}
