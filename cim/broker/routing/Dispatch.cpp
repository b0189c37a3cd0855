#include "cim/broker/routing/Dispatch.h"

#include "cim/broker/objects/Convert.h"

#include <algorithm>
#include <unordered_set>

namespace cim {
namespace {

CMPIInstanceMI *MiOf(const Mis &mis, const CMPIInstanceMIFT *) { return mis.instance; }
CMPIAssociationMI *MiOf(const Mis &mis, const CMPIAssociationMIFT *) { return mis.association; }

// A request on its way into a provider. Called with an entry of an MI's table and the arguments behind the object path.
struct ProviderCall {
    const Mis &mis;
    const CMPIContext *context;
    const CMPIResult *result;
    const CMPIObjectPath *path;

    template <class Table, class Function, class... Arguments>
    CMPIStatus operator()(Function Table::*entry, Arguments... arguments) const {
        auto *mi = MiOf(mis, static_cast<const Table *>(nullptr));
        if (mi == nullptr || mi->ft->*entry == nullptr) return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
        return (mi->ft->*entry)(mi, context, result, path, arguments...);
    }
};

CMPIStatus Make(const ProviderCall &call, const OperationRequest &r, const CMPIInstance *instance) {
    const auto names = const_cast<const char **>(r.properties);
    switch (r.operation) {
    case Operation::EnumerateInstanceNames:
        return call(&CMPIInstanceMIFT::enumerateInstanceNames);
    case Operation::EnumerateInstances:
        return call(&CMPIInstanceMIFT::enumerateInstances, names);
    case Operation::GetInstance:
        return call(&CMPIInstanceMIFT::getInstance, names);
    case Operation::CreateInstance:
        return call(&CMPIInstanceMIFT::createInstance, instance);
    case Operation::ModifyInstance:
        return call(&CMPIInstanceMIFT::modifyInstance, instance, names);
    case Operation::DeleteInstance:
        return call(&CMPIInstanceMIFT::deleteInstance);
    case Operation::ExecQuery:
        return call(&CMPIInstanceMIFT::execQuery, r.query, r.language);
    case Operation::Associators:
        return call(&CMPIAssociationMIFT::associators, r.associationClass, r.resultClass, r.role, r.resultRole, names);
    case Operation::AssociatorNames:
        return call(&CMPIAssociationMIFT::associatorNames, r.associationClass, r.resultClass, r.role, r.resultRole);
    case Operation::References:
        return call(&CMPIAssociationMIFT::references, r.associationClass, r.role, names);
    case Operation::ReferenceNames:
        return call(&CMPIAssociationMIFT::referenceNames, r.associationClass, r.role);
    default:
        return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
    }
}

struct Leave {
    void operator()(Provider *entered) const { entered->Leave(); }
};

const ObjectPath &PathOf(const ObjectPath &path) { return path; }
const ObjectPath &PathOf(const Instance &instance) { return instance.path; }

void SetNameSpace(ObjectPath &path, const std::string &nameSpace) { path.nameSpace = nameSpace; }
void SetNameSpace(Instance &instance, const std::string &nameSpace) {
    ObjectPath path = instance.path;
    SetNameSpace(path, nameSpace);
    instance.path = std::move(path);
}

// What a provider returns without a namespace is in the one that it was asked in.
template <class Elements> void FillNameSpace(Elements &elements, const std::string &nameSpace) {
    for (auto &element : elements)
        if (PathOf(element).nameSpace.empty()) SetNameSpace(element, nameSpace);
}

// What nobody else has hold of any more is taken as it is.
Instance TakeOrCopy(const std::shared_ptr<const Instance> &instance) {
    // The count alone orders nothing: to release a second reference makes all earlier releases happen before this.
    std::shared_ptr<const Instance>(instance).reset();
    if (instance.use_count() > 1) return *instance;
    return std::move(const_cast<Instance &>(*instance)); // no value is made const
}

Status Ask(Core &core, CallFrame::Origin origin, const Target &target, const OperationRequest &request,
           Results *results) {
    Mis mis;
    Status status = target.provider->Enter(*target.registration, origin, &mis);
    if (!status.Ok()) return status;
    const std::unique_ptr<Provider, Leave> entered(target.provider);
    const std::string nameSpace = request.path->nameSpace;
    ResultObject result(core, *results);
    {
        ObjectPath path = *request.path;
        path.className = target.className;
        const CallFrame frame(core, target.provider, nameSpace, origin);
        const ObjectPathObject pathObject(core, Shared<ObjectPath>(std::move(path)));
        std::optional<InstanceObject> instance;
        if (request.instance != nullptr) instance.emplace(core, Shared<Instance>(Instance(*request.instance)));
        status = ToStatus(Make({mis, frame.Context(), &result.handle, &pathObject.handle}, request,
                               instance ? &instance->handle : nullptr));
    }
    results->instances.reserve(result.instances.size());
    for (const auto &returned : result.instances) results->instances.push_back(TakeOrCopy(returned));
    FillNameSpace(results->instances, nameSpace);
    FillNameSpace(results->paths, nameSpace);
    return status;
}

const Value *ValueIn(const Instance &association, const char *role) { return association.Property(role); }
const Value *ValueIn(const ObjectPath &association, const char *role) { return association.Key(role); }

// Whether an association's result is what was asked for. Of associators the result class alone shows; of references the
// association class, and that the source stands in the role.
template <class Element> bool Fits(const Core &core, const OperationRequest &request, const Element &element) {
    const bool isReference =
        request.operation == Operation::References || request.operation == Operation::ReferenceNames;
    const char *wanted = isReference ? request.associationClass : request.resultClass;
    if (wanted != nullptr && !core.classes.IsA(PathOf(element).className, wanted)) return false;
    if (!isReference || request.role == nullptr) return true;
    const Value *end = ValueIn(element, request.role);
    const auto *path = end != nullptr ? end->As<std::shared_ptr<const ObjectPath>>() : nullptr;
    return path != nullptr && **path == *request.path;
}

template <class Elements, class Keep> void AppendIf(Elements &all, Elements &more, const Keep &keep) {
    if (all.empty()) all.reserve(more.size());
    for (auto &element : more)
        if (keep(element)) all.push_back(std::move(element));
}

} // namespace

Status Dispatch(Core &core, CallFrame::Origin origin, const OperationRequest &request, Results *results) {
    const auto targets = TargetsOf(core, request);
    const bool isAssociation = IsAssociation(request.operation);
    // What CIMOMs answer to a provider that names an association class that they do not know.
    if (isAssociation && origin == CallFrame::Origin::Nested && targets.status.rc == CMPI_RC_ERR_INVALID_CLASS)
        return {CMPI_RC_ERR_FAILED, targets.status.message};
    if (!targets.Ok()) return targets.status;
    std::map<const Provider *, int> asked;
    for (const Target &target : targets.value) ++asked[target.provider];
    // A provider that is asked for a class and for its subclass may return the subclass's instances twice.
    std::map<const Provider *, std::unordered_set<std::string>> seen;
    // Several providers answer as one: with the first failure, where one that does not support the operation stands
    // back when another does.
    Status failure, unsupported;
    bool supported = isAssociation && targets.value.empty();
    for (const Target &target : targets.value) {
        Results own;
        const Status status = Ask(core, origin, target, request, &own);
        supported = supported || status.Ok();
        if (status.rc == CMPI_RC_ERR_NOT_SUPPORTED)
            unsupported = status;
        else if (failure.Ok())
            failure = status;
        const auto keep = [&](const auto &element) {
            if (isAssociation) return !core.config.filterResults || Fits(core, request, element);
            return asked[target.provider] == 1 || seen[target.provider].insert(PathOf(element).ToString()).second;
        };
        AppendIf(results->instances, own.instances, keep);
        AppendIf(results->paths, own.paths, keep);
    }
    if (!failure.Ok() || !supported) return failure.Ok() ? unsupported : failure;
    if (request.operation != Operation::GetInstance) return {};
    if (results->instances.empty()) return {CMPI_RC_ERR_NOT_FOUND, {}};
    results->instances.resize(1);
    return {};
}

} // namespace cim
