// The simulated vendor: an instance and an association provider that serves a hardware description through plain CMPI.
#include "cim/simhhrc/FollowedDescription.h"
#include "cim/simhhrc/Objects.h"
#include "cim/simhhrc/Query.h"

#include <cmpift.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <thread>

namespace sim {
namespace {

std::atomic<const CMPIBroker *> broker; // the process has one; every factory call names it

FollowedDescription &Hardware() {
    static FollowedDescription source;
    return source;
}

constexpr CMPIStatus kOk = {CMPI_RC_OK, nullptr};

// What a rule answers in place of the request, after the latency that it asks for.
CMPIStatus Behave(const Description &description, Request request, const ClassFilter &type, const ClassFilter &result) {
    const Behaviour *rule = BehaviourFor(description, request, type, result);
    if (rule == nullptr) return kOk;
    if (rule->latency.count() > 0) std::this_thread::sleep_for(rule->latency);
    CMPIStatus status = {rule->fault.value_or(CMPI_RC_OK), nullptr};
    if (status.rc != CMPI_RC_OK && rule->message) {
        status.msg = broker.load()->eft->newString(broker, rule->message->c_str(), nullptr);
    }
    return status;
}

// Returns an object or a link, or its path alone.
template <class... Described>
void Return(const CMPIResult *results, const ObjectMaker &make, bool names, const Described &...described) {
    if (names) {
        results->ft->returnObjectPath(results, make.PathOf(described...));
    } else {
        results->ft->returnInstance(results, make.InstanceOf(described...));
    }
}

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
        const Request request = names ? Request::EnumerateInstanceNames : Request::EnumerateInstances;
        const CMPIStatus status =
            Behave(snapshot.description, request, {graph.classes, className.c_str()}, {graph.classes, nullptr});
        if (status.rc != CMPI_RC_OK) return status;
        const ObjectMaker make(broker, snapshot, properties);
        for (const NodeId id : ObjectsOf(graph, nameSpace, className)) Return(results, make, names, graph.Nodes()[id]);
        for (const EdgeId id : LinksOf(graph, nameSpace, className))
            Return(results, make, names, graph.Edges()[id], nameSpace);
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
        CMPIStatus status = Behave(snapshot.description, Request::GetInstance, {graph.classes, className.c_str()},
                                   {graph.classes, nullptr});
        if (status.rc != CMPI_RC_OK) return status;
        const ObjectMaker make(broker, snapshot, properties);
        const std::vector<NodeId> objects = ObjectsAt(graph, path);
        if (!objects.empty()) {
            Return(results, make, false, graph.Nodes()[objects.front()]);
        } else if (const Edge *link = LinkAt(graph, path)) {
            Return(results, make, false, *link, NameSpaceOf(path));
        } else {
            status.rc = CMPI_RC_ERR_NOT_FOUND;
        }
        return status;
    });
}

template <class... Arguments> CMPIStatus NotSupported(CMPIInstanceMI *, Arguments...) {
    return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
}

// ---- associations ---------------------------------------------------------------------------------------------------

struct Walk {
    Request request;
    const char *association;
    const char *result;
    const char *role;
    const char *resultRole;
};

CMPIStatus Follow(const CMPIResult *results, const CMPIObjectPath *path, const char **properties, const Walk &walk) {
    return Serve(results, [&](const Snapshot &snapshot) {
        const Graph &graph = snapshot.description.graph;
        const AssociationFilter filter = {{graph.classes, walk.association},
                                          {graph.classes, walk.result},
                                          walk.role != nullptr ? walk.role : "",
                                          walk.resultRole != nullptr ? walk.resultRole : ""};
        const CMPIStatus status = Behave(snapshot.description, walk.request, filter.association, filter.result);
        if (status.rc != CMPI_RC_OK) return status;
        const ObjectMaker make(broker, snapshot, properties);
        const bool names = walk.request == Request::AssociatorNames || walk.request == Request::ReferenceNames;
        for (const Passage &step : StepsFrom(graph, ObjectsAt(graph, path), filter)) {
            if (walk.request == Request::Associators || walk.request == Request::AssociatorNames) {
                Return(results, make, names, graph.Nodes()[step.Target(graph).object]);
            } else {
                Return(results, make, names, graph.Edges()[step.link], NameSpaceOf(path));
            }
        }
        return kOk;
    });
}

CMPIStatus Associators(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *results, const CMPIObjectPath *path,
                       const char *association, const char *resultClass, const char *role, const char *resultRole,
                       const char **properties) {
    return Follow(results, path, properties, {Request::Associators, association, resultClass, role, resultRole});
}

CMPIStatus AssociatorNames(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *results,
                           const CMPIObjectPath *path, const char *association, const char *resultClass,
                           const char *role, const char *resultRole) {
    return Follow(results, path, nullptr, {Request::AssociatorNames, association, resultClass, role, resultRole});
}

CMPIStatus References(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *results, const CMPIObjectPath *path,
                      const char *association, const char *role, const char **properties) {
    return Follow(results, path, properties, {Request::References, association, nullptr, role, nullptr});
}

CMPIStatus ReferenceNames(CMPIAssociationMI *, const CMPIContext *, const CMPIResult *results,
                          const CMPIObjectPath *path, const char *association, const char *role) {
    return Follow(results, path, nullptr, {Request::ReferenceNames, association, nullptr, role, nullptr});
}

// ---- the two MIs ----------------------------------------------------------------------------------------------------

template <class MI> CMPIStatus Cleanup(MI *, const CMPIContext *, CMPIBoolean) { return kOk; }

const CMPIInstanceMIFT kInstanceTable = {
    100,
    100,
    "instanceSimHHRCProvider",
    Cleanup,
    EnumerateInstanceNames,
    EnumerateInstances,
    GetInstance,
    NotSupported,
    NotSupported,
    NotSupported,
    NotSupported,
};
const CMPIAssociationMIFT kAssociationTable = {
    100, 100, "associationSimHHRCProvider", Cleanup, Associators, AssociatorNames, References, ReferenceNames,
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
