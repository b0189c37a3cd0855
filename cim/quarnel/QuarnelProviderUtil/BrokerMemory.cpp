#include "BrokerMemory.h"

#include "../QuarnelProvider.h"

#ifdef QUARNEL_CONTEXT_FLUSH
#include "../../include/cmpiflush.h"
#endif

namespace {

// Attaches, or gives the context back. Null when that failed.
CMPIContext *Attached(CMPIContext *prepared) {
    if (prepared == nullptr || Broker->bft->attachThread(Broker, prepared).rc == CMPI_RC_OK) return prepared;
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

BrokerScope::BrokerScope() : mark(nullptr) {
#ifndef QUARNEL_CONTEXT_FLUSH
    const CMPIBrokerMemFT *memory = Broker->mft;
    if (memory != nullptr && memory->mark != nullptr && memory->release != nullptr)
        mark = memory->mark(Broker, nullptr);
#endif
}

BrokerScope::~BrokerScope() {
    if (mark != nullptr) Broker->mft->release(Broker, mark);
}

AttachedContext::AttachedContext(CMPIContext *prepared) : context(Attached(prepared)) {}

AttachedContext::~AttachedContext() {
    if (context == nullptr) return;
    Flush(context);
    Broker->bft->detachThread(Broker, context);
}

void AttachedContext::Renew() {
#ifdef QUARNEL_CONTEXT_FLUSH
    Flush(context);
#else
    // Without a successor the old one stays, and what was lent on it waits for the next renewal.
    CMPIContext *successor = Broker->bft->prepareAttachThread(Broker, context);
    if (successor == nullptr) return;
    Broker->bft->detachThread(Broker, context);
    context = Attached(successor);
#endif
}
