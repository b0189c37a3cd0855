// The broker's inside: what all its parts share.
#pragma once

#include "cim/broker/Broker.h"
#include "cim/broker/Waiting.h"
#include "cim/broker/classes/Registration.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <set>

namespace cim {

class Provider;
struct ContextObject;
struct Layer;

// Alive now. On cache lines of their own: every thread counts.
struct Counts {
    alignas(64) std::atomic<std::uint64_t> lent{0};
    alignas(64) std::atomic<std::uint64_t> clones{0};
    alignas(64) std::atomic<std::uint64_t> contexts{0};
    alignas(64) std::atomic<std::uint64_t> attachedThreads{0};
    alignas(64) std::atomic<std::uint64_t> upcalls{0};
};

class Core {
public:
    explicit Core(const BrokerConfig &given);
    ~Core();

    // These guard themselves. The counts come first, where their alignment costs no room.
    Counts counts;
    Faults faults;
    CallLog log;
    Background background;
    WaitGraph waits;
    ServerLock serverLock; // held over clean-up, where the broker is unkind
    std::atomic<std::uint64_t> loads{0};

    // Fixed once the broker is made.
    const BrokerConfig config;
    ClassTree classes;
    std::vector<Registration> registrations;
    std::vector<std::unique_ptr<Provider>> providers; // in the order of their first registrations
    std::vector<Provider *> servedBy;                 // of each registration
    CMPIBrokerFT brokerTable;
    CMPIBrokerEncFT encapsulationTable;
    CMPIBrokerMemFT memoryTable;
    CMPIBroker handle;

    Provider *Find(const std::string &providerName) const;

    // Layers that own objects past the call that made them, and contexts that were prepared: until they are taken back,
    // or the broker ends.
    void Keep(std::shared_ptr<Layer> layer);
    void Forget(const std::shared_ptr<Layer> &layer);
    void Keep(ContextObject *prepared);
    bool Forget(ContextObject *prepared); // false when it is none of ours, or no more

    // Held while a broker or a thread that met it ends, so that neither looks at what the other has freed.
    static std::mutex &EndMutex();

private:
    std::mutex mutex;
    std::set<std::shared_ptr<Layer>> layers; // guarded by mutex, as the next
    std::set<ContextObject *> contexts;
};

// The tables that a broker's handle leads to, as a new broker copies them.
extern const CMPIBrokerFT kBrokerTable;
extern const CMPIBrokerEncFT kEncapsulationTable;
extern const CMPIBrokerMemFT kMemoryTable;

inline void Set(CMPIStatus *status, CMPIrc rc) {
    if (status != nullptr) *status = {rc, nullptr};
}

inline CMPIData Blank(CMPIType type, CMPIValueState state) {
    CMPIData data = CMPIData(); // all of the union, which {} does not promise
    data.type = type;
    data.state = state;
    return data;
}

inline Core &CoreOf(const CMPIBroker *broker) { return *static_cast<Core *>(const_cast<void *>(broker->hdl)); }

} // namespace cim
