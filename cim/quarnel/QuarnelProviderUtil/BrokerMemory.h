// Giving back what up-calls returned. Objects that a broker lends belong to the thread, and brokers differ in when they
// free them: at detachThread, or only between mark and release of the memory table, or when the context's flush is
// called. A thread of ours that lives for months must suit all of them: it makes up-calls only on an attached context
// and within a scope, renews the context after each job, and ends with nothing of the broker's left on it. Preparing a
// context leaves objects on the calling thread, too, so that is done within a scope as well.
//
// What is begun with one broker ends with it, also when the factory has been given another one meanwhile.
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

// For a thread that is yet to be started; null when the broker has none.
CMPIContext *PrepareContext(const CMPIContext *from);

// A prepared context, attached to this thread from here to the end of the block.
class AttachedContext {
public:
    explicit AttachedContext(CMPIContext *prepared); // taken over; null: nothing is attached
    ~AttachedContext();
    AttachedContext(const AttachedContext &) = delete;
    AttachedContext &operator=(const AttachedContext &) = delete;

    CMPIContext *Get() const { return context; } // null: could not be attached
    // Frees what was lent on this context so far. The context may be another one afterwards.
    void Renew();

private:
    const CMPIBroker *broker;
    CMPIContext *context;
};
