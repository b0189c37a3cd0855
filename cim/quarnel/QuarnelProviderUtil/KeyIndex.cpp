#include "cim/quarnel/QuarnelProviderUtil/KeyIndex.h"

#include "cim/quarnel/QuarnelProvider.h"

#include <string.h>

namespace {

constexpr uint32_t kFew = 8; // records that are walked as fast

// FNV-1a
uint32_t HashOf(const char *text) {
    uint32_t hash = 2166136261U;
    for (; *text != '\0'; ++text) hash = (hash ^ static_cast<unsigned char>(*text)) * 16777619U;
    return hash;
}

bool HasKey(const void *record, KeyOf_t *keyOf, const char *sought) {
    const char *key = keyOf(record);
    return key != nullptr && strcmp(key, sought) == 0;
}

void *Walk(const List_t *list, KeyOf_t *keyOf, const char *sought) {
    for (void *record : Each<void>(list))
        if (HasKey(record, keyOf, sought)) return record;
    return nullptr;
}

// Where the search for a key begins; it goes on slot by slot until it finds the key or a null.
uint32_t FirstSlot(const KeyIndex_t *index, const char *key) { return HashOf(key) & (index->Count - 1); }
uint32_t NextSlot(const KeyIndex_t *index, uint32_t slot) { return (slot + 1) & (index->Count - 1); }

// An empty index with room for so many records. False without memory.
bool MakeRoom(KeyIndex_t *index, uint32_t records) {
    if (index->Slots != nullptr && index->Count >= 2 * records) {
        memset(index->Slots, 0, index->Count * sizeof *index->Slots);
        return true;
    }
    uint32_t count = 1;
    while (count < 2 * records) count *= 2;
    free(index->Slots);
    index->Slots = Allocate<void *>(count);
    index->Count = index->Slots != nullptr ? count : 0;
    return index->Slots != nullptr;
}

// Records of the same key come one behind the other, in the list's order.
void Enter(KeyIndex_t *index, void *record, const char *key) {
    uint32_t slot = FirstSlot(index, key);
    while (index->Slots[slot] != nullptr) slot = NextSlot(index, slot);
    index->Slots[slot] = record;
}

bool BringUpToDate(KeyIndex_t *index, const List_t *list, KeyOf_t *keyOf) {
    if (index->Slots != nullptr && index->Changes == list->Changes) return true;
    if (!MakeRoom(index, list->Size)) return false;
    for (void *record : Each<void>(list))
        if (const char *key = keyOf(record)) Enter(index, record, key);
    index->Changes = list->Changes;
    return true;
}

} // namespace

void *FindByKey(KeyIndex_t *index, const List_t *list, KeyOf_t *keyOf, const char *sought) {
    if (list == nullptr) return nullptr;
    if (list->Size <= kFew || !BringUpToDate(index, list, keyOf)) return Walk(list, keyOf, sought);
    uint32_t slot = FirstSlot(index, sought);
    while (index->Slots[slot] != nullptr && !HasKey(index->Slots[slot], keyOf, sought)) slot = NextSlot(index, slot);
    return index->Slots[slot];
}
