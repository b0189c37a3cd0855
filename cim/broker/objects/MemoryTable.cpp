// CMPI 2.0's memory table.
#include "cim/broker/objects/Objects.h"
#include "cim/broker/objects/Tables.h"

#include <cstdlib>
#include <cstring>

namespace cim {
namespace {

CMPIGcStat *Mark(const CMPIBroker *broker, CMPIStatus *status) {
    Core &core = CoreOf(broker);
    Threads &mine = Threads::Mine();
    const Layer *top = mine.Top(core);
    const std::shared_ptr<Layer> layer = mine.Push(core, Layer::Kind::Mark, top != nullptr ? top->running : nullptr);
    core.Keep(layer);
    Set(status, CMPI_RC_OK);
    return layer.get();
}

// Frees what was made since the mark, also between marks that are nested in it and were not released.
CMPIStatus Release(const CMPIBroker *, const CMPIGcStat *mark) {
    return {Threads::Mine().PopMark(mark) ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
}

void *Allocate(const CMPIBroker *, size_t size) { return std::malloc(size); }
void *AllocateZeroed(const CMPIBroker *, size_t count, size_t size) { return std::calloc(count, size); }
void *Reallocate(const CMPIBroker *, void *memory, size_t size) { return std::realloc(memory, size); }
char *Duplicate(const CMPIBroker *, const char *text) { return text != nullptr ? strdup(text) : nullptr; }
void Deallocate(const CMPIBroker *, void *memory) { std::free(memory); }

template <class Handle> void FreeObject(const CMPIBroker *, Handle *object) {
    if (object != nullptr) object->ft->release(object);
}

} // namespace

// Brokers leave out what they have not; here these are the ones for objects that cannot be made.
const CMPIBrokerMemFT kMemoryTable = {
    100,
    Mark,
    Release,
    Allocate,
    AllocateZeroed,
    Reallocate,
    Duplicate,
    Deallocate,
    FreeObject<CMPIInstance>,
    FreeObject<CMPIObjectPath>,
    nullptr,
    FreeObject<CMPIString>,
    FreeObject<CMPIArray>,
    nullptr,
    nullptr,
};

} // namespace cim
