// The simulated vendor: an instance and an association provider that serves a hardware description through plain CMPI.
#include "cim/simhhrc/Objects.h"
#include "cim/simhhrc/Query.h"
#include "cim/simhhrc/Source.h"

#include <cmpift.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <thread>

namespace sim {
namespace {

std::atomic<const CMPIBroker *> broker; // the process has one; every factory call names it

Source &Hardware() {
    static Source source;
    return source;
}

constexpr CMPIStatus kOk = {CMPI_RC_OK, nullptr};

// What a rule answers in place of the request, after the latency that it asks for.
CMPIStatus Behave(const Description &description, Operation operation, const ClassFilter &type,
                  const ClassFilter &result) {
    const Rule *rule = RuleFor(description, operation, type, result);
    if (rule == nullptr) return kOk;
    if (rule->latency.count() > 0) std::this_thread::sleep_for(rule->latency);
    CMPIStatus status = {rule->fault.value_or(CMPI_RC_OK), nullptr};
    if (status.rc != CMPI_RC_OK && rule->message) {
        status.msg = broker.load()->eft->newString(broker, rule->message->c_str(), nullptr);
    }
    return status;
}

void Return(const CMPIResult *results, CMPIInstance *instance) { results->ft->returnInstance(results, instance); }
void Return(const CMPIResult *results, CMPIObjectPath *path) { results->ft->returnObjectPath(results, path); }

// Runs one request on one snapshot; nothing may unwind into the broker.
template <class Request> CMPIStatus Serve(const CMPIResult *results, Request request) {
    try {
        const std::shared_ptr<const Snapshot> snapshot = Hardware().Current();
        const CMPIStatus status = request(*snapshot);
        if (status.rc == CMPI_RC_OK) results->ft->returnDone(results);
        return status;
    } catch (const BrokerRefused &refused) {
        return refused.status;
    } catch (const std::exception &) {
        return {CMPI_RC_ERR_FAILED, nullptr};
    }
}

// ---- instances ------------------------------------------------------------------------------------------------------

CMPIStatus Enumerate(const CMPIResult *results, const CMPIObjectPath *path, const char **properties, bool names) {
    return Serve(results, [&](const Snapshot &snapshot) {
        const Graph &graph = snapshot.description.graph;
        const std::string nameSpace = NameSpaceOf(path), className = ClassNameOf(path);
        const Operation operation = names ? Operation::EnumerateInstanceNames : Operation::EnumerateInstances;
        const CMPIStatus status =
            Behave(snapshot.description, operation, {graph.classes, className.c_str()}, {graph.classes, nullptr});
        if (status.rc != CMPI_RC_OK) return status;
        const ObjectMaker make(broker, snapshot, properties);
        for (const ObjectId id : ObjectsOf(graph, nameSpace, className)) {
            const Object &object = graph.Objects()[id];
            names ? Return(results, make.PathOf(object)) : Return(results, make.InstanceOf(object));
        }
        for (const LinkId id : LinksOf(graph, nameSpace, className)) {
            const Link &link = graph.Links()[id];
            names ? Return(results, make.PathOf(link, nameSpace)) : Return(results, make.InstanceOf(link, nameSpace));
        }
        return kOk;
    });
}

CMPIStatus EnumerateInstanceNames(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *results,
                                  const CMPIObjectPath *path) {
    return Enumerate(results, path, nullptr, true);
}

CMPIStatus EnumerateInstances(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *results,
                              const CMPIObjectPath *path, const char **properties) {
    return Enumerate(results, path, properties, false);
}

CMPIStatus GetInstance(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *results, const CMPIObjectPath *path,
                       const char **properties) {
    return Serve(results, [&](const Snapshot &snapshot) {
        const Graph &graph = snapshot.description.graph;
        const std::string className = ClassNameOf(path);
        CMPIStatus status = Behave(snapshot.description, Operation::GetInstance, {graph.classes, className.c_str()},
                                   {graph.classes, nullptr});
        if (status.rc != CMPI_RC_OK) return status;
        const ObjectMaker make(broker, snapshot, properties);
        const std::vector<ObjectId> objects = ObjectsAt(graph, path);
        if (!objects.empty()) {
            Return(results, make.InstanceOf(graph.Objects()[objects.front()]));
        } else if (const Link *link = LinkAt(graph, path)) {
            Return(results, make.InstanceOf(*link, NameSpaceOf(path)));
        } else {
            status.rc = CMPI_RC_ERR_NOT_FOUND;
        }
        return status;
    });
}

CMPIStatus CreateInstance(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                          const CMPIInstance *) {
    return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
}

CMPIStatus ModifyInstance(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *,
                          const CMPIInstance *, const char **) {
    return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
}

CMPIStatus DeleteInstance(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *) {
    return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
}

CMPIStatus ExecQuery(CMPIInstanceMI *, const CMPIContext *, const CMPIResult *, const CMPIObjectPath *, const char *,
                     const char *) {
    return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
}

// ---- associations ---------------------------------------------------------------------------------------------------

struct Walk {
    Operation operation;
    const char *association;
    const char *result;
    const char *role;
    const char *resultRole;
};

// Finds what a request's links are and hands each to `give`.
template <class Give>
CMPIStatus Follow(const CMPIResult *results, const CMPIObjectPath *path, const char **properties, const Walk &walk,
                  Give give) {
    return Serve(results, [&](const Snapshot &snapshot) {
        const Graph &graph = snapshot.description.graph;
        const AssociationFilter filter = {{graph.classes, walk.association},
                                          {graph.classes, walk.result},
                                          walk.role != nullptr ? walk.role : "",
                                          walk.resultRole != nullptr ? walk.resultRole : ""};
        const CMPIStatus status = Behave(snapshot.description, walk.operation, filter.association, filter.result);
        if (status.rc != CMPI_RC_OK) return status;
        const ObjectMaker make(broker, snapshot, properties);
        for (const Step &step : StepsFrom(graph, ObjectsAt(graph, path), filter)) give(graph, make, step);
        return kOk;
    });
}

CMPIStatus Associators(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *results, const CMPIObjectPath *path,
                       const char *association, const char *resultClass, const char *role, const char *resultRole,
                       const char **properties) {
    return Follow(results, path, properties, {Operation::Associators, association, resultClass, role, resultRole},
                  [&](const Graph &graph, const ObjectMaker &make, const Step &step) {
                      Return(results, make.InstanceOf(graph.Objects()[step.Target(graph).object]));
                  });
}

CMPIStatus AssociatorNames(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *results,
                           const CMPIObjectPath *path, const char *association, const char *resultClass,
                           const char *role, const char *resultRole) {
    return Follow(results, path, nullptr, {Operation::AssociatorNames, association, resultClass, role, resultRole},
                  [&](const Graph &graph, const ObjectMaker &make, const Step &step) {
                      Return(results, make.PathOf(graph.Objects()[step.Target(graph).object]));
                  });
}

// What references call their result class is the association's.
CMPIStatus References(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *results, const CMPIObjectPath *path,
                      const char *association, const char *role, const char **properties) {
    return Follow(results, path, properties, {Operation::References, association, nullptr, role, nullptr},
                  [&](const Graph &graph, const ObjectMaker &make, const Step &step) {
                      Return(results, make.InstanceOf(graph.Links()[step.link], NameSpaceOf(path)));
                  });
}

CMPIStatus ReferenceNames(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *results,
                          const CMPIObjectPath *path, const char *association, const char *role) {
    return Follow(results, path, nullptr, {Operation::ReferenceNames, association, nullptr, role, nullptr},
                  [&](const Graph &graph, const ObjectMaker &make, const Step &step) {
                      Return(results, make.PathOf(graph.Links()[step.link], NameSpaceOf(path)));
                  });
}

// ---- the two MIs ----------------------------------------------------------------------------------------------------

CMPIStatus CleanupInstances(CMPIInstanceMI *, const CMPIContext *, CMPIBoolean) { return kOk; }
CMPIStatus CleanupAssociations(CMPIAssociationMI *, const CMPIContext *, CMPIBoolean) { return kOk; }

const CMPIInstanceMIFT kInstanceTable = {
    100,
    100,
    "instanceSimHHRCProvider",
    CleanupInstances,
    EnumerateInstanceNames,
    EnumerateInstances,
    GetInstance,
    CreateInstance,
    ModifyInstance,
    DeleteInstance,
    ExecQuery,
};
const CMPIAssociationMIFT kAssociationTable = {
    100,
    100,
    "associationSimHHRCProvider",
    CleanupAssociations,
    Associators,
    AssociatorNames,
    References,
    ReferenceNames,
};

// Every factory call looks: a library can outlive what its broker calls unloading.
void Begin(const CMPIBroker *given) {
    broker = given;
    const char *file = std::getenv("SIM_HHRC_HARDWARE");
    Hardware().Follow(file != nullptr ? file : "");
}

} // namespace
} // namespace sim

extern "C" {

__attribute__((visibility("default"))) CMPIInstanceMI *
SimHHRCProvider_Create_InstanceMI(const CMPIBroker *broker, const CMPIContext *, CMPIStatus *) {
    static CMPIInstanceMI mi = {nullptr, &sim::kInstanceTable};
    sim::Begin(broker);
    return &mi;
}

__attribute__((visibility("default"))) CMPIAssociationMI *
SimHHRCProvider_Create_AssociationMI(const CMPIBroker *broker, const CMPIContext *, CMPIStatus *) {
    static CMPIAssociationMI mi = {nullptr, &sim::kAssociationTable};
    sim::Begin(broker);
    return &mi;
}
}
