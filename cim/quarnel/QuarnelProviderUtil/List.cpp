// The singly linked list: nodes are the list's, elements the caller's. The bounded queue made of it never waits and
// signals nobody.
#include "cim/quarnel/QuarnelProvider.h"

namespace {

enum class End { Head, Tail };

int AddEntry(List_t *list, void *data, End end) {
    QLOG(LOG_DEBUG, "Adding data %p to the list %p at the %s\n", data, static_cast<void *>(list),
         end == End::Head ? "head" : "tail");
    if (data == nullptr) return RESULT_OK;
    if (list == nullptr) return RESULT_NULL;
    auto *node = Allocate<List_Entry_t>();
    if (node == nullptr) return RESULT_NO_MEMORY;
    node->Data = data;
    if (list->Head == nullptr) {
        list->Head = list->Tail = node;
    } else if (end == End::Head) {
        node->Next = list->Head;
        list->Head = node;
    } else {
        list->Tail->Next = node;
        list->Tail = node;
    }
    list->Size += 1;
    list->Changes += 1;
    QLOG(LOG_DEBUG, "Data %p added to the list %p, size %d\n", data, static_cast<void *>(list),
         static_cast<int>(list->Size));
    return RESULT_OK;
}

// Takes out the node behind `before`, the head when that is null.
void *Unlink(List_t *list, List_Entry_t *before) {
    const Heap<List_Entry_t> node(before != nullptr ? before->Next : list->Head);
    (before != nullptr ? before->Next : list->Head) = node->Next;
    if (list->Tail == node.get()) list->Tail = before;
    list->Size -= 1;
    list->Changes += 1;
    QLOG(LOG_DEBUG, "Data %p removed from list %p, size %d\n", node->Data, static_cast<void *>(list),
         static_cast<int>(list->Size));
    return node->Data;
}

} // namespace

int AddEntryAtListHead(List_t *list, void *data) { return AddEntry(list, data, End::Head); }
int AddEntryAtListTail(List_t *list, void *data) { return AddEntry(list, data, End::Tail); }

int RemoveEntryFromList(List_t *list, void **data) {
    QLOG(LOG_DEBUG, "Removing data %p from list %p\n", *data, static_cast<void *>(list));
    if (list == nullptr) {
        QLOG(LOG_ERR, "%s: list is NULL\n", __func__);
        return RESULT_NULL;
    }
    *data = list->Head != nullptr ? Unlink(list, nullptr) : nullptr;
    return RESULT_OK;
}

int RemoveEntryFromListByKey(List_t *list, const void *data) {
    QLOG(LOG_DEBUG, "Removing data %p from list %p\n", data, static_cast<void *>(list));
    if (list == nullptr || data == nullptr) return RESULT_NULL;
    List_Entry_t *before = nullptr;
    for (List_Entry_t *node = list->Head; node != nullptr; before = node, node = node->Next) {
        if (node->Data != data) continue;
        Unlink(list, before);
        return RESULT_OK;
    }
    return RESULT_NOT_FOUND;
}

int IsListEmpty(const List_t *list) { return list->Size == 0 ? 1 : 0; }

void FreeList(List_t *list, void (*release)(void *)) {
    QLOG(LOG_DEBUG, "Freeing list %p, release function %p\n", static_cast<void *>(list),
         reinterpret_cast<void *>(release));
    if (list == nullptr) return;
    if (list->Head == nullptr) {
        QLOG(LOG_DEBUG, "List %p is empty\n", static_cast<void *>(list));
        return;
    }
    while (list->Head != nullptr) {
        void *element = nullptr;
        RemoveEntryFromList(list, &element);
        if (release == nullptr) QLOG(LOG_DEBUG, "%s: node %p freed from list\n", __func__, element);
        (release != nullptr ? release : free)(element);
    }
}

int PutItem(Fifo_t *fifo, void *data) {
    const QueueLock lock(fifo->Mutex);
    if (fifo->List.Size >= fifo->Size) {
        QLOG(LOG_DEBUG, "%s: Fifo(%p) is full, limit %d\n", __func__, static_cast<void *>(fifo),
             static_cast<int>(fifo->Size));
        return RESULT_FIFO_FULL;
    }
    return AddEntryAtListTail(&fifo->List, data);
}

void *GetItem(Fifo_t *fifo) {
    const QueueLock lock(fifo->Mutex);
    void *item = nullptr;
    RemoveEntryFromList(&fifo->List, &item);
    return item;
}

int IsFifoEmpty(Fifo_t *fifo) {
    const QueueLock lock(fifo->Mutex);
    return IsListEmpty(&fifo->List);
}
