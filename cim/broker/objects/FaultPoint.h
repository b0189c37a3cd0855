// The broker's side of fault control: each operation that a rule can hit passes one of these.
#pragma once

#include "cim/broker/Core.h"

#include <memory>
#include <optional>

namespace cim {

class FaultPoint {
public:
    // Finds the rule that hits, runs its hook, waits out its delay and, when it has the call lost, for the answer. One
    // that is `inBackground` does not count as running meanwhile.
    FaultPoint(Core &broker, const OperationRequest &request, bool inBackground = false) : core(broker) {
        if (core.faults.Armed()) Meet(request, inBackground);
    }

    // True: the call must not run. The status is set either way.
    bool Stops(CMPIStatus *status) const {
        Set(status, CMPI_RC_OK);
        return rule != nullptr && Stop(status);
    }
    bool WantsEmpty() const { return rule != nullptr && rule->effect == FaultRule::Effect::Empty; }
    void Rewrite(const char *name, CMPIData *answer, CMPIStatus *status) const;

private:
    void Meet(const OperationRequest &request, bool inBackground);
    bool Stop(CMPIStatus *status) const;

    Core &core;
    std::shared_ptr<const FaultRule> rule; // null: none hit
};

// An up-call or a thread call, from beginning to end: counted, logged and open to faults.
class LoggedCall {
public:
    enum class Kind { Upcall, ThreadCall };
    LoggedCall(Core &broker, Kind kind, const OperationRequest &request);
    ~LoggedCall();
    LoggedCall(const LoggedCall &) = delete;
    LoggedCall &operator=(const LoggedCall &) = delete;

    const FaultPoint &Fault() const { return *fault; }
    void End(CMPIrc answer, std::size_t resultCount = 0) { rc = answer, results = resultCount; }

private:
    Core &core;
    std::unique_ptr<Call> call; // null while the log is off
    bool inBackground = false;
    CMPIrc rc = CMPI_RC_OK;
    std::size_t results = 0;
    std::optional<FaultPoint> fault;
};

} // namespace cim
