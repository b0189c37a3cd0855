#include "cim/broker/faults/FaultPoint.h"
#include "cim/broker/objects/Objects.h"
#include "cim/broker/objects/Tables.h"

namespace cim {
namespace {

// Counts a thread as attached until all else that detaching does is done: who waits for it may end the broker.
struct CountedOut {
    Core &core;
    bool wasAttached = false;
    ~CountedOut() {
        if (wasAttached) core.counts.attachedThreads.fetch_sub(1, std::memory_order_release);
    }
};

} // namespace

CMPIContext *PrepareAttachThread(const CMPIBroker *broker, const CMPIContext *context) {
    Core &core = CoreOf(broker);
    LoggedCall call(core, LoggedCall::Kind::ThreadCall, {Operation::PrepareAttachThread});
    CMPIStatus status{CMPI_RC_OK, nullptr};
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
    Core &core = CoreOf(broker);
    LoggedCall call(core, LoggedCall::Kind::ThreadCall, {Operation::AttachThread});
    CMPIStatus status{CMPI_RC_OK, nullptr};
    if (!call.Fault().Stops(&status)) {
        if (context == nullptr || !ObjectOf<ContextObject>(context).prepared) {
            status.rc = CMPI_RC_ERR_INVALID_PARAMETER;
        } else if (auto &object = ObjectOf<ContextObject>(context); object.attached != nullptr) {
            status.rc = CMPI_RC_ERR_FAILED;
        } else {
            object.attached = Threads::Mine().Push(core, Layer::Kind::Attached, object.provider);
            object.attached->owns = core.config.memory.freedAtDetach;
            object.attached->context = &object;
            core.Keep(object.attached);
            core.counts.attachedThreads.fetch_add(1, std::memory_order_relaxed);
        }
    }
    call.End(status.rc);
    return status;
}

// Frees the context, also one that was never attached; with it what was lent to the thread, where detaching does that.
CMPIStatus DetachThread(const CMPIBroker *broker, const CMPIContext *context) {
    Core &core = CoreOf(broker);
    CountedOut leaving{core};
    LoggedCall call(core, LoggedCall::Kind::ThreadCall, {Operation::DetachThread});
    CMPIStatus status{CMPI_RC_OK, nullptr};
    if (!call.Fault().Stops(&status)) {
        if (context == nullptr || !ObjectOf<ContextObject>(context).prepared) {
            status.rc = CMPI_RC_ERR_INVALID_PARAMETER;
        } else if (auto &object = ObjectOf<ContextObject>(context);
                   object.attached != nullptr && !Threads::Mine().PopAttached(object.attached.get())) {
            status.rc = CMPI_RC_ERR_FAILED; // another thread's
        } else {
            if (object.attached != nullptr) {
                core.Forget(object.attached);
                leaving.wasAttached = true;
            }
            core.Forget(&object);
            delete &object;
        }
    }
    call.End(status.rc);
    return status;
}

} // namespace cim
