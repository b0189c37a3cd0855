#include "cim/broker/faults/FaultPoint.h"

#include "cim/broker/faults/FaultState.h"
#include "cim/broker/objects/Objects.h"
#include "cim/broker/routing/Provider.h"

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

bool Matches(const std::string &wanted, std::string_view actual) { return wanted.empty() || SameName(wanted, actual); }

std::string_view ClassOf(const CallFacts &facts) {
    return facts.path != nullptr ? std::string_view(facts.path->className) : facts.className;
}

bool Matches(const FaultRule &rule, const CallFacts &facts, const Provider *caller) {
    if (!rule.operations.empty() &&
        std::find(rule.operations.begin(), rule.operations.end(), facts.operation) == rule.operations.end())
        return false;
    if (!rule.provider.empty() && (caller == nullptr || caller->Name() != rule.provider)) return false;
    return Matches(rule.className, ClassOf(facts)) && Matches(rule.associationClass, facts.associationClass) &&
           Matches(rule.resultClass, facts.resultClass);
}

} // namespace

Call Describe(const Core &core, const CallFacts &facts) {
    Call call;
    const Layer *top = Threads::Mine().Top(core);
    call.operation = facts.operation;
    if (top != nullptr && top->running != nullptr) call.provider = top->running->Name();
    call.className = ClassOf(facts);
    call.associationClass = facts.associationClass;
    call.resultClass = facts.resultClass;
    if (facts.path != nullptr) {
        call.nameSpace = facts.path->nameSpace;
        call.path = facts.path->ToString();
    }
    call.background = top == nullptr || top->background;
    call.thread = std::this_thread::get_id();
    call.start = std::chrono::steady_clock::now();
    return call;
}

std::shared_ptr<const FaultRule> FaultPoint::FindRule(Core &core, const CallFacts &facts) {
    Faults::State &state = *core.faults.state;
    if (!state.armed.load(std::memory_order_acquire) || inHook) return nullptr;
    const Layer *top = Threads::Mine().Top(core);
    const Provider *caller = top != nullptr ? top->running : nullptr;
    const std::lock_guard<std::mutex> lock(state.mutex);
    for (auto &entry : state.entries) {
        if (!Matches(*entry.rule, facts, caller)) continue;
        if (++entry.matched <= entry.rule->skip || entry.hit >= entry.rule->count) continue;
        ++entry.hit;
        return entry.rule;
    }
    return nullptr;
}

FaultPoint::FaultPoint(Core &broker, const CallFacts &facts, bool inBackground)
    : core(broker), rule(FindRule(broker, facts)) {
    if (rule == nullptr) return;
    if (rule->hook) RunHook([&] { rule->hook(Describe(core, facts)); });
    if (rule->delay.count() > 0) std::this_thread::sleep_for(rule->delay);
    if (rule->effect != FaultRule::Effect::Lost) return;
    core.faults.state->Lose(
        rule.get(),
        [&] {
            if (inBackground) core.background.End();
        },
        [&] {
            if (inBackground) core.background.Begin();
        });
}

bool FaultPoint::Stop(CMPIStatus *status) const {
    if (rule->effect == FaultRule::Effect::None || rule->effect == FaultRule::Effect::Lost) return false;
    Set(status, CMPI_RC_OK);
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

LoggedCall::LoggedCall(Core &broker, Kind kind, const CallFacts &facts) : core(broker) {
    if (core.log.On()) call = std::make_unique<Call>(Describe(core, facts));
    if (kind == Kind::Upcall) {
        const Layer *top = Threads::Mine().Top(core);
        inBackground = top == nullptr || top->background;
        if (top == nullptr || top->running != nullptr) core.counts.upcalls.fetch_add(1, std::memory_order_relaxed);
        if (inBackground) core.background.Begin();
        if (core.config.unkind.lockOverCleanUp && !Threads::Mine().IsInCall(core)) core.serverLock.Pass();
    }
    fault.emplace(core, facts, inBackground);
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
