#include "cim/broker/routing/Dispatcher.h"

#include "cim/broker/objects/Convert.h"
#include "cim/broker/routing/Provider.h"

#include <algorithm>
#include <unordered_set>

namespace cim {
namespace {

CMPIInstanceMI *MiOf(const Mis &mis, const CMPIInstanceMIFT *) { return mis.instance; }
CMPIAssociationMI *MiOf(const Mis &mis, const CMPIAssociationMIFT *) { return mis.association; }

// A call of one function of an MI's table with the arguments that follow the object path.
template <class Table, class Function, class... Arguments> auto SlotOf(Function Table::*slot, Arguments... arguments) {
    return [=](const Mis &mis, const CMPIContext *context, const CMPIResult *result, const CMPIObjectPath *path) {
        auto *mi = MiOf(mis, static_cast<const Table *>(nullptr));
        if (mi == nullptr || mi->ft->*slot == nullptr) return CMPIStatus{CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
        return (mi->ft->*slot)(mi, context, result, path, arguments...);
    };
}

const char *OrNull(const std::string &name) { return name.empty() ? nullptr : name.c_str(); }

// A property list as providers get it: ended by null, or null for all.
class CNames {
public:
    explicit CNames(PropertyList list) : all(list == nullptr) {
        if (list == nullptr) return;
        for (const std::string &name : *list) names.push_back(name.c_str());
        names.push_back(nullptr);
    }
    const char **Get() { return all ? nullptr : names.data(); }

private:
    const bool all;
    std::vector<const char *> names;
};

class Visit { // of a provider that was entered
public:
    explicit Visit(Provider &entered) : provider(entered) {}
    ~Visit() { provider.Leave(); }
    Visit(const Visit &) = delete;
    Visit &operator=(const Visit &) = delete;

private:
    Provider &provider;
};

const ObjectPath &PathOf(const ObjectPath &path) { return path; }
const ObjectPath &PathOf(const Instance &instance) { return instance.path; }
void SetNameSpace(ObjectPath &path, const std::string &nameSpace) { path.nameSpace = nameSpace; }
void SetNameSpace(Instance &instance, const std::string &nameSpace) {
    ObjectPath path = instance.path;
    SetNameSpace(path, nameSpace);
    instance.path = std::move(path);
}

// What a provider returns without a namespace, from the element `from` on, is in the one that it was asked in.
template <class Elements> void FillNameSpace(Elements &elements, std::size_t from, const std::string &nameSpace) {
    for (std::size_t i = from; i < elements.size(); ++i)
        if (PathOf(elements[i]).nameSpace.empty()) SetNameSpace(elements[i], nameSpace);
}

// Drops of the elements from `from` on those that `keep` does not want.
template <class Elements, class Keep> void Filter(Elements &elements, std::size_t from, const Keep &keep) {
    elements.erase(std::remove_if(elements.begin() + static_cast<std::ptrdiff_t>(from), elements.end(),
                                  [&](const auto &element) { return !keep(element); }),
                   elements.end());
}

// A provider that is asked for a class and for its subclass may return the subclass's instances twice.
class Duplicates {
public:
    template <class Elements> void Drop(Elements &elements, std::size_t from) {
        Filter(elements, from, [&](const auto &element) { return seen.insert(PathOf(element).ToString()).second; });
    }

private:
    std::unordered_set<std::string> seen;
};

// What nobody else has hold of any more is taken as it is.
Instance TakeOrCopy(const std::shared_ptr<const Instance> &instance) {
    // Letting go of a second hold orders this thread behind all who have let go before, which a look at the count alone
    // does not.
    std::shared_ptr<const Instance>(instance).reset();
    if (instance.use_count() > 1) return *instance;
    return std::move(const_cast<Instance &>(*instance)); // no value is made const
}

// Several providers answer as one: with the first failure, where one that does not support the operation stands back
// when another does.
class Verdict {
public:
    void Add(const Status &status) {
        if (status.rc == CMPI_RC_ERR_NOT_SUPPORTED)
            unsupported = status;
        else if (status.Ok())
            supported = true;
        else if (failure.Ok())
            failure = status;
    }
    Status Get() const { return !failure.Ok() || supported ? failure : unsupported; }

private:
    Status failure;
    Status unsupported;
    bool supported = false;
};

} // namespace

template <class Slot>
Status Dispatcher::Ask(const Target &target, ObjectPath path, const Slot &slot, Results *results) const {
    Mis mis;
    Status entered = target.provider->Enter(*target.registration, origin, &mis);
    if (!entered.Ok()) return entered;
    const Visit visit(*target.provider);
    const std::size_t instances = results->instances.size();
    const std::size_t paths = results->paths.size();
    const std::string nameSpace = path.nameSpace;
    Status status;
    ResultObject result(core, *results);
    {
        const CallFrame frame(core, target.provider, nameSpace, origin);
        const ObjectPathObject pathObject(core, Shared<ObjectPath>(std::move(path)));
        status = ToStatus(slot(mis, frame.Context(), &result.handle, &pathObject.handle));
    }
    results->instances.reserve(instances + result.instances.size());
    for (const auto &returned : result.instances) {
        Instance &instance = results->instances.emplace_back(TakeOrCopy(returned));
        const ClassDeclaration *declaration = core.classes.Find(instance.path->className);
        if (declaration != nullptr) CopyKeys(instance, *declaration, results->listed);
    }
    FillNameSpace(results->instances, instances, nameSpace);
    FillNameSpace(results->paths, paths, nameSpace);
    return status;
}

template <class Slot> Status Dispatcher::AskAll(const ObjectPath &path, const Slot &slot, Results *results) const {
    const auto targets = InstanceTargets(core, path.nameSpace, path.className, true);
    if (!targets.Ok()) return targets.status;
    std::map<const Provider *, int> asked;
    for (const Target &target : targets.value) ++asked[target.provider];
    std::map<const Provider *, Duplicates> duplicates;
    Verdict verdict;
    for (const Target &target : targets.value) {
        ObjectPath own = path;
        own.className = target.className;
        const std::size_t instances = results->instances.size();
        const std::size_t paths = results->paths.size();
        verdict.Add(Ask(target, std::move(own), slot, results));
        if (asked[target.provider] == 1) continue;
        duplicates[target.provider].Drop(results->instances, instances);
        duplicates[target.provider].Drop(results->paths, paths);
    }
    return verdict.Get();
}

template <class Slot> Status Dispatcher::AskOne(const ObjectPath &path, const Slot &slot, Results *results) const {
    const auto targets = InstanceTargets(core, path.nameSpace, path.className, false);
    return targets.Ok() ? Ask(targets.value.front(), path, slot, results) : targets.status;
}

template <class Slot, class Keep>
Status Dispatcher::AskAssociations(const AssociationQuery &query, const Slot &slot, const Keep &keep,
                                   Results *results) const {
    const auto targets = AssociationTargets(core, query.source.nameSpace, query.associationClass);
    // What CIMOMs answer to a provider that names an association class that they do not know.
    if (targets.status.rc == CMPI_RC_ERR_INVALID_CLASS && origin == CallFrame::Origin::Nested)
        return {CMPI_RC_ERR_FAILED, targets.status.message};
    if (!targets.Ok()) return targets.status;
    Verdict verdict;
    for (const Target &target : targets.value) {
        const std::size_t instances = results->instances.size();
        const std::size_t paths = results->paths.size();
        verdict.Add(Ask(target, query.source, slot, results));
        if (!core.config.filterResults) continue;
        Filter(results->instances, instances, keep);
        Filter(results->paths, paths, keep);
    }
    return verdict.Get();
}

Status Dispatcher::EnumerateInstanceNames(const ObjectPath &path, Results *results) const {
    return AskAll(path, SlotOf(&CMPIInstanceMIFT::enumerateInstanceNames), results);
}

Status Dispatcher::EnumerateInstances(const ObjectPath &path, PropertyList properties, Results *results) const {
    CNames names(properties);
    results->listed = properties;
    return AskAll(path, SlotOf(&CMPIInstanceMIFT::enumerateInstances, names.Get()), results);
}

Status Dispatcher::ExecQuery(const ObjectPath &path, const std::string &query, const std::string &language,
                             Results *results) const {
    return AskAll(path, SlotOf(&CMPIInstanceMIFT::execQuery, query.c_str(), language.c_str()), results);
}

Status Dispatcher::GetInstance(const ObjectPath &path, PropertyList properties, Results *results) const {
    CNames names(properties);
    results->listed = properties;
    Status status = AskOne(path, SlotOf(&CMPIInstanceMIFT::getInstance, names.Get()), results);
    if (!status.Ok()) return status;
    if (results->instances.empty()) return {CMPI_RC_ERR_NOT_FOUND, {}};
    results->instances.resize(1);
    return status;
}

Status Dispatcher::CreateInstance(const ObjectPath &path, const Instance &instance, Results *results) const {
    const InstanceObject object(core, Shared<Instance>(Instance(instance)));
    Status status = AskOne(path, SlotOf(&CMPIInstanceMIFT::createInstance, &object.handle), results);
    if (status.Ok() && results->paths.empty())
        return {CMPI_RC_ERR_FAILED, "the provider returned no path of the instance created"};
    if (status.Ok()) results->paths.resize(1);
    return status;
}

Status Dispatcher::ModifyInstance(const ObjectPath &path, const Instance &instance, PropertyList properties) const {
    CNames names(properties);
    const InstanceObject object(core, Shared<Instance>(Instance(instance)));
    Results none;
    return AskOne(path, SlotOf(&CMPIInstanceMIFT::modifyInstance, &object.handle, names.Get()), &none);
}

Status Dispatcher::DeleteInstance(const ObjectPath &path) const {
    Results none;
    return AskOne(path, SlotOf(&CMPIInstanceMIFT::deleteInstance), &none);
}

namespace {

// Associators: the result class alone shows in what comes back.
auto ResultClassOf(const Core &core, const AssociationQuery &query) {
    return [&](const auto &element) {
        return query.resultClass.empty() || core.classes.IsA(PathOf(element).className, query.resultClass);
    };
}

const Value *ReferenceIn(const Instance &association, const std::string &role) { return association.Property(role); }
const Value *ReferenceIn(const ObjectPath &association, const std::string &role) { return association.Key(role); }

// References: the class of the association, and that the source stands in the role.
auto AssociationOf(const Core &core, const AssociationQuery &query) {
    return [&](const auto &element) {
        if (!query.associationClass.empty() && !core.classes.IsA(PathOf(element).className, query.associationClass))
            return false;
        if (query.role.empty()) return true;
        const Value *reference = ReferenceIn(element, query.role);
        const auto *path = reference != nullptr ? reference->As<std::shared_ptr<const ObjectPath>>() : nullptr;
        return path != nullptr && **path == query.source;
    };
}

} // namespace

Status Dispatcher::Associators(const AssociationQuery &query, PropertyList properties, Results *results) const {
    CNames names(properties);
    results->listed = properties;
    return AskAssociations(query,
                           SlotOf(&CMPIAssociationMIFT::associators, OrNull(query.associationClass),
                                  OrNull(query.resultClass), OrNull(query.role), OrNull(query.resultRole), names.Get()),
                           ResultClassOf(core, query), results);
}

Status Dispatcher::AssociatorNames(const AssociationQuery &query, Results *results) const {
    return AskAssociations(query,
                           SlotOf(&CMPIAssociationMIFT::associatorNames, OrNull(query.associationClass),
                                  OrNull(query.resultClass), OrNull(query.role), OrNull(query.resultRole)),
                           ResultClassOf(core, query), results);
}

Status Dispatcher::References(const AssociationQuery &query, PropertyList properties, Results *results) const {
    CNames names(properties);
    results->listed = properties;
    return AskAssociations(
        query,
        SlotOf(&CMPIAssociationMIFT::references, OrNull(query.associationClass), OrNull(query.role), names.Get()),
        AssociationOf(core, query), results);
}

Status Dispatcher::ReferenceNames(const AssociationQuery &query, Results *results) const {
    return AskAssociations(
        query, SlotOf(&CMPIAssociationMIFT::referenceNames, OrNull(query.associationClass), OrNull(query.role)),
        AssociationOf(core, query), results);
}

} // namespace cim
