// Freeing what up-calls returned. Brokers free the objects that they lend to a thread at detachThread, or only between
// mark and release of the memory table, or when the context's flush is called. A thread that lives for months must not
// leak with any of them: it makes up-calls only on an attached context and within a scope, and renews the context after
// each job. Preparing a context leaves objects on the calling thread, too.
//
// Each of these ends with the broker that it began with, even if the factory has been given another one meanwhile.
#pragma once

#include <cmpift.h>

// Between mark and release, where the broker has them. On the thread that made it.
class BrokerScope {
public:
    BrokerScope();
    ~BrokerScope();
    BrokerScope(const BrokerScope &) = delete;
    BrokerScope &operator=(const BrokerScope &) = delete;

private:
    const CMPIBroker *broker;
    CMPIGcStat *mark;
};

// For a thread that is yet to be started; null when the broker fails.
CMPIContext *PrepareContext(const CMPIContext *from);

// A prepared context, attached to this thread from here to the end of the block.
class AttachedContext {
public:
    explicit AttachedContext(CMPIContext *prepared); // taken over; null: nothing is attached
    ~AttachedContext();
    AttachedContext(const AttachedContext &) = delete;
    AttachedContext &operator=(const AttachedContext &) = delete;

    CMPIContext *Get() const { return context; } // null: could not be attached
    // Frees what was lent on this context. Get may answer another one afterwards.
    void Renew();

private:
    const CMPIBroker *broker;
    CMPIContext *context;
};
