#include "cim/broker/routing/Provider.h"

namespace cim {
namespace {

// Null unless it was prepared for a thread.
ContextObject *PreparedOf(const CMPIContext *context) {
    return context != nullptr && ObjectOf<ContextObject>(context).prepared ? &ObjectOf<ContextObject>(context)
                                                                           : nullptr;
}

CMPIrc Attach(Core &core, ContextObject *object) {
    if (object == nullptr) return CMPI_RC_ERR_INVALID_PARAMETER;
    if (object->attached != nullptr) return CMPI_RC_ERR_FAILED;
    object->attached = Threads::Mine().Push(core, Layer::Kind::Attached, object->provider);
    object->attached->owns = core.config.memory.freedAtDetach;
    object->attached->context = object;
    core.Keep(object->attached);
    core.counts.attachedThreads.fetch_add(1, std::memory_order_relaxed);
    return CMPI_RC_OK;
}

// Frees the context, also one that was never attached; with it what was lent to the thread, where detaching does that.
CMPIrc Detach(Core &core, ContextObject *object) {
    if (object == nullptr) return CMPI_RC_ERR_INVALID_PARAMETER;
    if (object->attached != nullptr) {
        if (!Threads::Mine().PopAttached(object->attached.get())) return CMPI_RC_ERR_FAILED; // another thread's
        core.Forget(object->attached);
    }
    core.Forget(object);
    delete object;
    return CMPI_RC_OK;
}

template <class Change>
CMPIStatus Run(Core &core, Operation operation, const CMPIContext *context, const Change &change) {
    LoggedCall call(core, LoggedCall::Kind::ThreadCall, {operation});
    CMPIStatus status;
    if (!call.Fault().Stops(&status)) status.rc = change(core, PreparedOf(context));
    call.End(status.rc);
    return status;
}

} // namespace

CMPIContext *PrepareAttachThread(const CMPIBroker *broker, const CMPIContext *context) {
    Core &core = CoreOf(broker);
    LoggedCall call(core, LoggedCall::Kind::ThreadCall, {Operation::PrepareAttachThread});
    CMPIStatus status;
    if (call.Fault().Stops(&status) || context == nullptr) {
        call.End(status.rc);
        return nullptr;
    }
    const auto &from = ObjectOf<ContextObject>(context);
    auto prepared = std::make_unique<ContextObject>(core, from.provider, from.entries);
    prepared->prepared = true;
    core.Keep(prepared.get());
    if (core.config.unkind.contextOnThread)
        for (const NamedValue &entry : from.entries)
            if (const auto *text = entry.value.As<std::string>()) LendString(core, *text);
    call.End(CMPI_RC_OK, 1);
    return &prepared.release()->handle;
}

CMPIStatus AttachThread(const CMPIBroker *broker, const CMPIContext *context) {
    return Run(CoreOf(broker), Operation::AttachThread, context, Attach);
}

CMPIStatus DetachThread(const CMPIBroker *broker, const CMPIContext *context) {
    bool detached = false;
    const auto detach = [&](Core &core, ContextObject *object) {
        const bool wasAttached = object != nullptr && object->attached != nullptr;
        const CMPIrc rc = Detach(core, object);
        detached = wasAttached && rc == CMPI_RC_OK;
        return rc;
    };
    const CMPIStatus status = Run(CoreOf(broker), Operation::DetachThread, context, detach);
    // The last: who waits for it may end the broker.
    if (detached) CoreOf(broker).counts.attachedThreads.fetch_sub(1, std::memory_order_release);
    return status;
}

} // namespace cim
