// What providers ask of other providers through the broker.
#include "cim/broker/faults/FaultPoint.h"
#include "cim/broker/objects/Convert.h"
#include "cim/broker/objects/Tables.h"
#include "cim/broker/routing/Dispatcher.h"

namespace cim {
namespace {

constexpr CMPIStatus kNotSupported{CMPI_RC_ERR_NOT_SUPPORTED, nullptr};

const ObjectPath *PathOf(const CMPIObjectPath *path) {
    return path != nullptr ? &*ObjectOf<ObjectPathObject>(path).value : nullptr;
}

std::string OrEmpty(const char *name) { return name != nullptr ? name : ""; }

// Runs `ask` in the caller's name unless a fault stops it; its results go to `answer`. Without results it answers null.
template <class Ask, class MakeAnswer>
auto Run(const CMPIBroker *broker, const CMPIContext *context, const CallFacts &facts, CMPIStatus *rc, const Ask &ask,
         const MakeAnswer &answer) -> decltype(answer(std::declval<Core &>(), std::declval<Results>())) {
    Core &core = CoreOf(broker);
    LoggedCall call(core, LoggedCall::Kind::Upcall, facts);
    CMPIStatus ours{CMPI_RC_OK, nullptr};
    CMPIStatus &status = rc != nullptr ? *rc : ours;
    if (call.Fault().Stops(&status)) {
        call.End(status.rc);
        return call.Fault().WantsEmpty() ? answer(core, Results()) : nullptr;
    }
    Results results;
    status = context != nullptr && facts.path != nullptr
                 ? FromStatus(core, ask(Dispatcher(core, CallFrame::Origin::Nested), &results))
                 : CMPIStatus{CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    call.End(status.rc, results.Size());
    return status.rc == CMPI_RC_OK ? answer(core, std::move(results)) : nullptr;
}

template <class T> CMPIEnumeration *EnumerationOf(Core &core, CMPIType type, std::vector<T> results) {
    Value::Elements elements;
    elements.reserve(results.size());
    for (T &result : results) elements.push_back({type, std::make_shared<T>(std::move(result))});
    return Lend(std::make_unique<EnumerationObject>(core, type, std::move(elements)), true);
}

CMPIEnumeration *InstancesOf(Core &core, Results results) {
    return EnumerationOf(core, CMPI_instance, std::move(results.instances));
}

CMPIEnumeration *PathsOf(Core &core, Results results) {
    return EnumerationOf(core, CMPI_ref, std::move(results.paths));
}

CMPIEnumeration *EnumerateInstanceNames(const CMPIBroker *broker, const CMPIContext *context,
                                        const CMPIObjectPath *path, CMPIStatus *rc) {
    const ObjectPath *of = PathOf(path);
    return Run(
        broker, context, {Operation::EnumerateInstanceNames, of}, rc,
        [&](const Dispatcher &to, Results *results) { return to.EnumerateInstanceNames(*of, results); }, PathsOf);
}

// A provider's property list, as requests have it.
class Properties {
public:
    explicit Properties(const char **names) : list(ListOf(names)) {}
    PropertyList Get() const { return list ? &*list : nullptr; }

private:
    const std::optional<std::vector<std::string>> list;
};

CMPIEnumeration *EnumerateInstances(const CMPIBroker *broker, const CMPIContext *context, const CMPIObjectPath *path,
                                    const char **properties, CMPIStatus *rc) {
    const ObjectPath *of = PathOf(path);
    const Properties list(properties);
    return Run(
        broker, context, {Operation::EnumerateInstances, of}, rc,
        [&](const Dispatcher &to, Results *results) { return to.EnumerateInstances(*of, list.Get(), results); },
        InstancesOf);
}

CMPIInstance *GetInstance(const CMPIBroker *broker, const CMPIContext *context, const CMPIObjectPath *path,
                          const char **properties, CMPIStatus *rc) {
    const ObjectPath *of = PathOf(path);
    const Properties list(properties);
    return Run(
        broker, context, {Operation::GetInstance, of}, rc,
        [&](const Dispatcher &to, Results *results) { return to.GetInstance(*of, list.Get(), results); },
        [](Core &core, Results results) -> CMPIInstance * {
            if (results.instances.empty()) return nullptr;
            return Lend(std::make_unique<InstanceObject>(core, Shared<Instance>(std::move(results.instances[0]))),
                        true);
        });
}

// The four that follow associations share a shape; the names' twins have no property list.
AssociationQuery QueryOf(const ObjectPath &source, const char *associationClass, const char *resultClass,
                         const char *role, const char *resultRole) {
    return {source, OrEmpty(associationClass), OrEmpty(resultClass), OrEmpty(role), OrEmpty(resultRole)};
}

CallFacts FactsOf(Operation operation, const ObjectPath *source, const char *associationClass,
                  const char *resultClass) {
    return {operation, source, associationClass != nullptr ? associationClass : std::string_view{},
            resultClass != nullptr ? resultClass : std::string_view{}};
}

CMPIEnumeration *Associators(const CMPIBroker *broker, const CMPIContext *context, const CMPIObjectPath *path,
                             const char *associationClass, const char *resultClass, const char *role,
                             const char *resultRole, const char **properties, CMPIStatus *rc) {
    const ObjectPath *of = PathOf(path);
    const Properties list(properties);
    return Run(
        broker, context, FactsOf(Operation::Associators, of, associationClass, resultClass), rc,
        [&](const Dispatcher &to, Results *results) {
            return to.Associators(QueryOf(*of, associationClass, resultClass, role, resultRole), list.Get(), results);
        },
        InstancesOf);
}

CMPIEnumeration *AssociatorNames(const CMPIBroker *broker, const CMPIContext *context, const CMPIObjectPath *path,
                                 const char *associationClass, const char *resultClass, const char *role,
                                 const char *resultRole, CMPIStatus *rc) {
    const ObjectPath *of = PathOf(path);
    return Run(
        broker, context, FactsOf(Operation::AssociatorNames, of, associationClass, resultClass), rc,
        [&](const Dispatcher &to, Results *results) {
            return to.AssociatorNames(QueryOf(*of, associationClass, resultClass, role, resultRole), results);
        },
        PathsOf);
}

CMPIEnumeration *References(const CMPIBroker *broker, const CMPIContext *context, const CMPIObjectPath *path,
                            const char *associationClass, const char *role, const char **properties, CMPIStatus *rc) {
    const ObjectPath *of = PathOf(path);
    const Properties list(properties);
    return Run(
        broker, context, FactsOf(Operation::References, of, associationClass, nullptr), rc,
        [&](const Dispatcher &to, Results *results) {
            return to.References(QueryOf(*of, associationClass, nullptr, role, nullptr), list.Get(), results);
        },
        InstancesOf);
}

CMPIEnumeration *ReferenceNames(const CMPIBroker *broker, const CMPIContext *context, const CMPIObjectPath *path,
                                const char *associationClass, const char *role, CMPIStatus *rc) {
    const ObjectPath *of = PathOf(path);
    return Run(
        broker, context, FactsOf(Operation::ReferenceNames, of, associationClass, nullptr), rc,
        [&](const Dispatcher &to, Results *results) {
            return to.ReferenceNames(QueryOf(*of, associationClass, nullptr, role, nullptr), results);
        },
        PathsOf);
}

// The rest is neither logged nor open to faults: providers of devices that are only read do not call it.

CMPIObjectPath *CreateInstance(const CMPIBroker *broker, const CMPIContext *context, const CMPIObjectPath *path,
                               const CMPIInstance *instance, CMPIStatus *rc) {
    if (context == nullptr || path == nullptr || instance == nullptr) {
        Set(rc, CMPI_RC_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    Core &core = CoreOf(broker);
    Results results;
    const Status status = Dispatcher(core, CallFrame::Origin::Nested)
                              .CreateInstance(*PathOf(path), *ObjectOf<InstanceObject>(instance).value, &results);
    if (rc != nullptr) *rc = FromStatus(core, status);
    if (!status.Ok()) return nullptr;
    return Lend(std::make_unique<ObjectPathObject>(core, Shared<ObjectPath>(std::move(results.paths[0]))), true);
}

CMPIStatus ModifyInstance(const CMPIBroker *broker, const CMPIContext *context, const CMPIObjectPath *path,
                          const CMPIInstance *instance, const char **properties) {
    if (context == nullptr || path == nullptr || instance == nullptr) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    Core &core = CoreOf(broker);
    const Properties list(properties);
    return FromStatus(core, Dispatcher(core, CallFrame::Origin::Nested)
                                .ModifyInstance(*PathOf(path), *ObjectOf<InstanceObject>(instance).value, list.Get()));
}

CMPIStatus DeleteInstance(const CMPIBroker *broker, const CMPIContext *context, const CMPIObjectPath *path) {
    if (context == nullptr || path == nullptr) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    Core &core = CoreOf(broker);
    return FromStatus(core, Dispatcher(core, CallFrame::Origin::Nested).DeleteInstance(*PathOf(path)));
}

CMPIEnumeration *ExecQuery(const CMPIBroker *broker, const CMPIContext *context, const CMPIObjectPath *path,
                           const char *query, const char *language, CMPIStatus *rc) {
    if (context == nullptr || path == nullptr) {
        Set(rc, CMPI_RC_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    Core &core = CoreOf(broker);
    Results results;
    const Status status = Dispatcher(core, CallFrame::Origin::Nested)
                              .ExecQuery(*PathOf(path), OrEmpty(query), OrEmpty(language), &results);
    if (rc != nullptr) *rc = FromStatus(core, status);
    return status.Ok() ? InstancesOf(core, std::move(results)) : nullptr;
}

CMPIData GetProperty(const CMPIBroker *broker, const CMPIContext *context, const CMPIObjectPath *path, const char *name,
                     CMPIStatus *rc) {
    const char *names[] = {name, nullptr};
    CMPIStatus status{CMPI_RC_OK, nullptr};
    const CMPIInstance *instance = GetInstance(broker, context, path, names, &status);
    if (instance != nullptr) return instance->ft->getProperty(instance, name, rc);
    if (rc != nullptr) *rc = status;
    return Blank(CMPI_null, CMPI_badValue);
}

CMPIStatus SetProperty(const CMPIBroker *broker, const CMPIContext *context, const CMPIObjectPath *path,
                       const char *name, const CMPIValue *value, CMPIType type) {
    CMPIStatus status{CMPI_RC_OK, nullptr};
    const CMPIInstance *instance = GetInstance(broker, context, path, nullptr, &status);
    if (instance == nullptr) return status;
    status = instance->ft->setProperty(instance, name, value, type);
    const char *names[] = {name, nullptr};
    return status.rc == CMPI_RC_OK ? ModifyInstance(broker, context, path, instance, names) : status;
}

CMPIStatus DeliverIndication(const CMPIBroker *, const CMPIContext *, const char *, const CMPIInstance *) {
    return kNotSupported;
}

CMPIData InvokeMethod(const CMPIBroker *, const CMPIContext *, const CMPIObjectPath *, const char *, const CMPIArgs *,
                      CMPIArgs *, CMPIStatus *rc) {
    return Missing(rc, CMPI_RC_ERR_NOT_SUPPORTED, CMPI_badValue);
}

} // namespace

const CMPIBrokerFT kBrokerTable = {
    0, // capabilities: real brokers' do not tell the truth either
    100,
    "quarnel",
    PrepareAttachThread,
    AttachThread,
    DetachThread,
    DeliverIndication,
    EnumerateInstanceNames,
    GetInstance,
    CreateInstance,
    ModifyInstance,
    DeleteInstance,
    ExecQuery,
    EnumerateInstances,
    Associators,
    AssociatorNames,
    References,
    ReferenceNames,
    InvokeMethod,
    SetProperty,
    GetProperty,
};

} // namespace cim
