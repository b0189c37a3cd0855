// Finds the records of a list by their keys without walking it: a volume's caption names dozens of disks out of
// hundreds. The index is filled by the first look-up after the list has changed. Whoever guards the list guards its
// index.
#pragma once

#include <stdint.h>

struct List_t;

struct KeyIndex_t {
    void **Slots; // hashed by key, the next free one taken; at least half of them null
    uint32_t Count;
    uint32_t Changes; // of the list when it was filled
};

// The key of a record; null: it cannot be found.
using KeyOf_t = const char *(const void *record);

// The first record of the list with that key, or null. A list that is too short to be worth it, or for whose index
// there is no memory, is walked.
void *FindByKey(KeyIndex_t *index, const List_t *list, KeyOf_t *keyOf, const char *sought);
