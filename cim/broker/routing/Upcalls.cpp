// What providers ask of other providers through the broker.
#include "cim/broker/objects/Convert.h"
#include "cim/broker/routing/Dispatch.h"

namespace cim {
namespace {

// Answers a request in the caller's name unless a fault stops it. None: null is the answer.
std::optional<Results> Ask(Core &core, const CMPIContext *context, const OperationRequest &request, CMPIStatus *rc) {
    LoggedCall call(core, LoggedCall::Kind::Upcall, request);
    CMPIStatus ours{CMPI_RC_OK, nullptr};
    CMPIStatus &status = rc != nullptr ? *rc : ours;
    Results results;
    if (call.Fault().Stops(&status)) {
        call.End(status.rc);
        return call.Fault().WantsEmpty() ? std::make_optional(results) : std::nullopt;
    }
    if (context == nullptr || request.path == nullptr)
        status.rc = CMPI_RC_ERR_INVALID_PARAMETER;
    else
        status = FromStatus(core, Dispatch(core, CallFrame::Origin::Nested, request, &results));
    call.End(status.rc, results.Size());
    return status.rc == CMPI_RC_OK ? std::make_optional(std::move(results)) : std::nullopt;
}

const ObjectPath *PathOf(const CMPIObjectPath *path) {
    return path != nullptr ? ObjectOf<ObjectPathObject>(path).Path() : nullptr;
}

// An enumeration of the results of one kind.
template <class T>
CMPIEnumeration *Enumerate(const CMPIBroker *broker, CMPIType type, std::vector<T> Results::*kind,
                           const CMPIContext *context, const OperationRequest &request, CMPIStatus *rc) {
    Core &core = CoreOf(broker);
    std::optional<Results> results = Ask(core, context, request, rc);
    if (!results) return nullptr;
    Value::Elements elements;
    elements.reserve(((*results).*kind).size());
    for (T &result : (*results).*kind) elements.push_back({type, std::make_shared<T>(std::move(result))});
    return Lend(std::make_unique<EnumerationObject>(core, type, std::move(elements)), true);
}

CMPIEnumeration *Instances(const CMPIBroker *broker, const CMPIContext *context, const OperationRequest &request,
                           CMPIStatus *rc) {
    return Enumerate(broker, CMPI_instance, &Results::instances, context, request, rc);
}

CMPIEnumeration *Paths(const CMPIBroker *broker, const CMPIContext *context, const OperationRequest &request,
                       CMPIStatus *rc) {
    return Enumerate(broker, CMPI_ref, &Results::paths, context, request, rc);
}

using Context = const CMPIContext *;
using Path = const CMPIObjectPath *;

CMPIEnumeration *EnumerateInstanceNames(const CMPIBroker *broker, Context context, Path path, CMPIStatus *rc) {
    return Paths(broker, context, {Operation::EnumerateInstanceNames, PathOf(path)}, rc);
}

CMPIEnumeration *EnumerateInstances(const CMPIBroker *broker, Context context, Path path, const char **properties,
                                    CMPIStatus *rc) {
    return Instances(broker, context, {Operation::EnumerateInstances, PathOf(path), properties}, rc);
}

CMPIInstance *GetInstance(const CMPIBroker *broker, Context context, Path path, const char **properties,
                          CMPIStatus *rc) {
    Core &core = CoreOf(broker);
    std::optional<Results> results = Ask(core, context, {Operation::GetInstance, PathOf(path), properties}, rc);
    if (!results || results->instances.empty()) return nullptr;
    return Lend(std::make_unique<InstanceObject>(core, Shared<Instance>(std::move(results->instances[0]))), true);
}

CMPIEnumeration *Associators(const CMPIBroker *broker, Context context, Path path, const char *associationClass,
                             const char *resultClass, const char *role, const char *resultRole, const char **properties,
                             CMPIStatus *rc) {
    return Instances(
        broker, context,
        {Operation::Associators, PathOf(path), properties, associationClass, resultClass, role, resultRole}, rc);
}

CMPIEnumeration *AssociatorNames(const CMPIBroker *broker, Context context, Path path, const char *associationClass,
                                 const char *resultClass, const char *role, const char *resultRole, CMPIStatus *rc) {
    return Paths(broker, context,
                 {Operation::AssociatorNames, PathOf(path), nullptr, associationClass, resultClass, role, resultRole},
                 rc);
}

CMPIEnumeration *References(const CMPIBroker *broker, Context context, Path path, const char *associationClass,
                            const char *role, const char **properties, CMPIStatus *rc) {
    return Instances(broker, context,
                     {Operation::References, PathOf(path), properties, associationClass, nullptr, role}, rc);
}

CMPIEnumeration *ReferenceNames(const CMPIBroker *broker, Context context, Path path, const char *associationClass,
                                const char *role, CMPIStatus *rc) {
    return Paths(broker, context, {Operation::ReferenceNames, PathOf(path), nullptr, associationClass, nullptr, role},
                 rc);
}

} // namespace

const CMPIBrokerFT kBrokerTable = {
    0, // capabilities: real brokers' do not tell the truth either
    100,
    "quarnel",
    PrepareAttachThread,
    AttachThread,
    DetachThread,
    kNotSupported, // deliverIndication
    EnumerateInstanceNames,
    GetInstance,
    kNotSupported, // createInstance
    kNotSupported, // modifyInstance
    kNotSupported, // deleteInstance
    kNotSupported, // execQuery
    EnumerateInstances,
    Associators,
    AssociatorNames,
    References,
    ReferenceNames,
    kNotSupported, // invokeMethod
    kNotSupported, // setProperty
    kNotSupported, // getProperty
};

} // namespace cim
