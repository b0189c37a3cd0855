// The bounded queue. It never waits and signals nobody: that is the business of its producers and of the workers.
#include "cim/quarnel/QuarnelProvider.h"

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
