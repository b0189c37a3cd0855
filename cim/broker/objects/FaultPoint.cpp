#include "cim/broker/objects/FaultPoint.h"

#include "cim/broker/objects/Objects.h"

#include <thread>

namespace cim {
namespace {

// Hooks may speak to the broker themselves; rules do not hit what they do.
thread_local bool inHook = false;

template <class Hook> void RunHook(const Hook &hook) {
    inHook = true;
    hook();
    inHook = false;
}

Call Describe(const Core &core, const OperationRequest &request) {
    Call call;
    const Layer *top = Threads::Mine().Top(core);
    call.operation = request.operation;
    if (top != nullptr && top->running != nullptr) call.provider = top->running->name;
    if (request.associationClass != nullptr) call.associationClass = request.associationClass;
    if (request.resultClass != nullptr) call.resultClass = request.resultClass;
    if (request.path != nullptr) {
        call.className = request.path->className;
        call.nameSpace = request.path->nameSpace;
        call.path = request.path->ToString();
    }
    call.background = top == nullptr || top->background;
    call.thread = std::this_thread::get_id();
    call.start = std::chrono::steady_clock::now();
    return call;
}

Faults::Rule RuleFor(Core &core, const OperationRequest &request) {
    if (inHook) return nullptr;
    const Layer *top = Threads::Mine().Top(core);
    const bool known = top != nullptr && top->running != nullptr;
    return core.faults.Find(request, known ? &top->running->name : nullptr);
}

} // namespace

void FaultPoint::Meet(const OperationRequest &request, bool inBackground) {
    rule = RuleFor(core, request);
    if (rule == nullptr) return;
    if (rule->hook) RunHook([&] { rule->hook(Describe(core, request)); });
    if (rule->delay.count() > 0) std::this_thread::sleep_for(rule->delay);
    if (rule->effect != FaultRule::Effect::Lost) return;
    core.faults.Lose(
        rule.get(), [&] { inBackground ? core.background.End() : void(); },
        [&] { inBackground ? core.background.Begin() : void(); });
}

bool FaultPoint::Stop(CMPIStatus *status) const {
    if (rule->effect == FaultRule::Effect::None || rule->effect == FaultRule::Effect::Lost) return false;
    if (rule->effect == FaultRule::Effect::Fail && status != nullptr) {
        status->rc = rule->rc;
        if (rule->message) status->msg = LendString(core, rule->message);
    }
    return true;
}

void FaultPoint::Rewrite(const char *name, CMPIData *answer, CMPIStatus *status) const {
    if (rule == nullptr || !rule->rewrite) return;
    CMPIStatus ours{CMPI_RC_OK, nullptr};
    CMPIStatus *told = status != nullptr ? status : &ours;
    RunHook([&] { rule->rewrite(name != nullptr ? name : "", *answer, *told); });
}

LoggedCall::LoggedCall(Core &broker, Kind kind, const OperationRequest &request) : core(broker) {
    if (core.log.On()) call = std::make_unique<Call>(Describe(core, request));
    if (kind == Kind::Upcall) {
        const Layer *top = Threads::Mine().Top(core);
        inBackground = top == nullptr || top->background;
        if (top == nullptr || top->running != nullptr) core.counts.upcalls.fetch_add(1, std::memory_order_relaxed);
        if (inBackground) core.background.Begin();
        if (core.config.unkind.lockOverCleanUp && !Threads::Mine().IsInCall(core)) core.serverLock.Pass();
    }
    fault.emplace(core, request, inBackground);
}

LoggedCall::~LoggedCall() {
    if (call != nullptr) {
        call->end = std::chrono::steady_clock::now();
        call->rc = rc;
        call->results = results;
        core.log.Add(std::move(*call));
    }
    if (inBackground) core.background.End(); // the last: who waited for it may end the broker
}

} // namespace cim
