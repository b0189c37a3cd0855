#include "cim/quarnel/QuarnelProviderUtil/BrokerMemory.h"

#include "cim/quarnel/QuarnelProvider.h"

#ifdef QUARNEL_CONTEXT_FLUSH
#include "cim/include/cmpiflush.h"
#endif

namespace {

// The context, attached; released, and null, when that fails.
CMPIContext *Attached(const CMPIBroker *broker, CMPIContext *prepared) {
    if (prepared == nullptr || broker->bft->attachThread(broker, prepared).rc == CMPI_RC_OK) return prepared;
    prepared->ft->release(prepared);
    return nullptr;
}

#ifdef QUARNEL_CONTEXT_FLUSH
void Flush(const CMPIContext *context) { reinterpret_cast<const CMPIContextFlushFT *>(context->ft)->flush(context); }
#else
// A standard context table ends before the word where other platforms have flush.
void Flush(const CMPIContext *) {}
#endif

} // namespace

CMPIContext *PrepareContext(const CMPIContext *from) {
    const BrokerScope scope;
    return Broker->bft->prepareAttachThread(Broker, from);
}

BrokerScope::BrokerScope() : broker(Broker), mark(nullptr) {
#ifndef QUARNEL_CONTEXT_FLUSH
    const CMPIBrokerMemFT *memory = broker->mft;
    if (memory != nullptr && memory->mark != nullptr && memory->release != nullptr)
        mark = memory->mark(broker, nullptr);
#endif
}

BrokerScope::~BrokerScope() {
    if (mark != nullptr) broker->mft->release(broker, mark);
}

AttachedContext::AttachedContext(CMPIContext *prepared) : broker(Broker), context(Attached(broker, prepared)) {}

AttachedContext::~AttachedContext() {
    if (context == nullptr) return;
    const BrokerScope scope;
    Flush(context);
    broker->bft->detachThread(broker, context);
}

void AttachedContext::Renew() {
#ifdef QUARNEL_CONTEXT_FLUSH
    Flush(context);
#else
    // Without a successor the old context stays, and what was lent on it is freed by the next renewal.
    const BrokerScope scope;
    CMPIContext *successor = broker->bft->prepareAttachThread(broker, context);
    if (successor == nullptr) return;
    broker->bft->detachThread(broker, context);
    context = Attached(broker, successor);
#endif
}
