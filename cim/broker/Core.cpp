#include "cim/broker/Core.h"

#include "cim/broker/routing/Provider.h"

namespace cim {

Core::Core(const BrokerConfig &given)
    : config(given), brokerTable(kBrokerTable), encapsulationTable(kEncapsulationTable),
      memoryTable(kMemoryTable), handle{this, &brokerTable, &encapsulationTable, nullptr, nullptr} {
    if (!config.memory.memoryTable) return;
    // As CIMOMs with such a table have been seen to say of themselves: a provider has to look at the pointers.
    brokerTable.brokerVersion = 0;
    memoryTable.ftVersion = 1;
    handle.mft = &memoryTable;
}

Core::~Core() {
    const std::lock_guard<std::mutex> lock(EndMutex());
    providers.clear();
    for (const auto &layer : layers) {
        layer->scope.Free();
        layer->core.store(nullptr);
    }
    for (ContextObject *context : contexts) delete context;
}

Provider *Core::Find(const std::string &providerName) const {
    for (const auto &provider : providers)
        if (provider->name == providerName) return provider.get();
    return nullptr;
}

void Core::Keep(std::shared_ptr<Layer> layer) {
    const std::lock_guard<std::mutex> lock(mutex);
    layers.insert(std::move(layer));
}

void Core::Forget(const std::shared_ptr<Layer> &layer) {
    const std::lock_guard<std::mutex> lock(mutex);
    layers.erase(layer);
}

void Core::Keep(ContextObject *prepared) {
    counts.contexts.fetch_add(1, std::memory_order_relaxed);
    const std::lock_guard<std::mutex> lock(mutex);
    contexts.insert(prepared);
}

bool Core::Forget(ContextObject *prepared) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (contexts.erase(prepared) == 0) return false;
    counts.contexts.fetch_sub(1, std::memory_order_relaxed);
    return true;
}

std::mutex &Core::EndMutex() {
    static std::mutex *mutex = new std::mutex; // never freed: threads may end after everything else
    return *mutex;
}

} // namespace cim
