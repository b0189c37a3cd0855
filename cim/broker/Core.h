// The broker's inside: what all its parts share.
#pragma once

#include "cim/broker/Broker.h"
#include "cim/broker/classes/Registration.h"
#include "cim/broker/faults/CallLog.h"
#include "cim/broker/objects/Scope.h"
#include "cim/broker/routing/Background.h"
#include "cim/broker/routing/Changes.h"
#include "cim/broker/routing/ServerLock.h"

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
    Changes changes;
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

inline Core &CoreOf(const CMPIBroker *broker) { return *static_cast<Core *>(const_cast<void *>(broker->hdl)); }

} // namespace cim
