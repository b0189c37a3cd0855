#include "cim/broker/Broker.h"

#include "cim/broker/classes/SourceText.h"
#include "cim/broker/routing/Dispatch.h"

#include <algorithm>

namespace cim {

namespace {

bool ReadConfiguration(const BrokerConfig &config, Core &core, std::string *error) {
    for (const std::string &file : config.mofFiles)
        if (!core.classes.ReadFile(file, error)) return false;
    for (const NamedText &mof : config.mofTexts)
        if (!core.classes.ReadText(mof.text, mof.name, error)) return false;
    for (const std::string &file : config.registrationFiles) {
        std::string text;
        if (!ReadWholeFile(file, &text, error) ||
            !ReadRegistrations(text, file, core.classes, &core.registrations, error))
            return false;
    }
    for (const NamedText &stanzas : config.registrationTexts)
        if (!ReadRegistrations(stanzas.text, stanzas.name, core.classes, &core.registrations, error)) return false;
    return true;
}

void MakeProviders(Core &core) {
    for (const Registration &registration : core.registrations) {
        Provider *provider = core.Find(registration.provider);
        if (provider == nullptr) {
            core.providers.push_back(std::make_unique<Provider>(core, registration));
            provider = core.providers.back().get();
        }
        provider->Serve(registration);
        core.servedBy.push_back(provider);
    }
}

ObjectPath ClassPath(const std::string &nameSpace, const std::string &className) {
    return {{}, nameSpace, className, {}};
}

const char *OrNull(const std::string &name) { return name.empty() ? nullptr : name.c_str(); }

// A property list as CMPI has it: ended by null, or null for all.
class CNames {
public:
    explicit CNames(PropertyList list) {
        if (list == nullptr) return;
        for (const std::string &name : *list) names.push_back(name.c_str());
        names.push_back(nullptr);
    }
    operator const char * const *() const { return names.empty() ? nullptr : names.data(); }

private:
    std::vector<const char *> names;
};

// Runs a client's request and answers with the one kind of result or the other.
template <class Element>
Answer<std::vector<Element>> Ask(Core &core, std::vector<Element> Results::*kind, const OperationRequest &request) {
    if (core.config.unkind.idleCheckAtRequest)
        for (const auto &provider : core.providers) provider->AskToUnload();
    Results results;
    Status status = Dispatch(core, CallFrame::Origin::Client, request, &results);
    if (!status.Ok()) return {std::move(status), {}};
    return {{}, std::move(results.*kind)};
}

template <class Element> Answer<Element> FirstOf(Answer<std::vector<Element>> answer) {
    if (answer.value.empty()) return {std::move(answer.status), {}};
    return {{}, std::move(answer.value[0])};
}

} // namespace

Broker::Broker(const BrokerConfig &config) : core(std::make_unique<Core>(config)) {}

std::unique_ptr<Broker> Broker::Create(const BrokerConfig &config, std::string *error) {
    std::unique_ptr<Broker> broker(new Broker(config));
    if (!ReadConfiguration(config, *broker->core, error)) return nullptr;
    MakeProviders(*broker->core);
    return broker;
}

Broker::~Broker() { Shutdown(); }

Answer<std::vector<ObjectPath>> Broker::EnumerateInstanceNames(const std::string &nameSpace,
                                                               const std::string &className) {
    const ObjectPath path = ClassPath(nameSpace, className);
    return Ask(*core, &Results::paths, {Operation::EnumerateInstanceNames, &path});
}

Answer<std::vector<Instance>> Broker::EnumerateInstances(const std::string &nameSpace, const std::string &className,
                                                         PropertyList properties) {
    const ObjectPath path = ClassPath(nameSpace, className);
    return Ask(*core, &Results::instances, {Operation::EnumerateInstances, &path, CNames(properties)});
}

Answer<Instance> Broker::GetInstance(const ObjectPath &path, PropertyList properties) {
    return FirstOf(Ask(*core, &Results::instances, {Operation::GetInstance, &path, CNames(properties)}));
}

Answer<ObjectPath> Broker::CreateInstance(const std::string &nameSpace, const Instance &instance) {
    const ObjectPath path = ClassPath(nameSpace, instance.path->className);
    OperationRequest request{Operation::CreateInstance, &path};
    request.instance = &instance;
    return FirstOf(Ask(*core, &Results::paths, request));
}

Status Broker::ModifyInstance(const Instance &instance, PropertyList properties) {
    const CNames names(properties);
    OperationRequest request{Operation::ModifyInstance, &*instance.path, names};
    request.instance = &instance;
    return Ask(*core, &Results::paths, request).status;
}

Status Broker::DeleteInstance(const ObjectPath &path) {
    return Ask(*core, &Results::paths, {Operation::DeleteInstance, &path}).status;
}

Answer<std::vector<Instance>> Broker::ExecQuery(const std::string &nameSpace, const std::string &className,
                                                const std::string &query, const std::string &language) {
    const ObjectPath path = ClassPath(nameSpace, className);
    OperationRequest request{Operation::ExecQuery, &path};
    request.query = query.c_str();
    request.language = language.c_str();
    return Ask(*core, &Results::instances, request);
}

Answer<std::vector<Instance>> Broker::Associators(const ObjectPath &source, const std::string &associationClass,
                                                  const std::string &resultClass, const std::string &role,
                                                  const std::string &resultRole, PropertyList properties) {
    return Ask(*core, &Results::instances,
               {Operation::Associators, &source, CNames(properties), OrNull(associationClass), OrNull(resultClass),
                OrNull(role), OrNull(resultRole)});
}

Answer<std::vector<ObjectPath>> Broker::AssociatorNames(const ObjectPath &source, const std::string &associationClass,
                                                        const std::string &resultClass, const std::string &role,
                                                        const std::string &resultRole) {
    return Ask(*core, &Results::paths,
               {Operation::AssociatorNames, &source, nullptr, OrNull(associationClass), OrNull(resultClass),
                OrNull(role), OrNull(resultRole)});
}

Answer<std::vector<Instance>> Broker::References(const ObjectPath &source, const std::string &associationClass,
                                                 const std::string &role, PropertyList properties) {
    return Ask(*core, &Results::instances,
               {Operation::References, &source, CNames(properties), OrNull(associationClass), nullptr, OrNull(role)});
}

Answer<std::vector<ObjectPath>> Broker::ReferenceNames(const ObjectPath &source, const std::string &associationClass,
                                                       const std::string &role) {
    return Ask(*core, &Results::paths,
               {Operation::ReferenceNames, &source, nullptr, OrNull(associationClass), nullptr, OrNull(role)});
}

const ClassTree &Broker::Classes() const { return core->classes; }

std::vector<std::string> Broker::NameSpaces() const {
    std::vector<std::string> names;
    for (const Registration &registration : core->registrations)
        for (const std::string &name : registration.nameSpaces)
            if (std::none_of(names.begin(), names.end(), [&](const auto &known) { return SameName(known, name); }))
                names.push_back(name);
    std::sort(names.begin(), names.end());
    return names;
}

CMPIrc Broker::AskToUnload(const std::string &providerName) {
    Provider *provider = core->Find(providerName);
    return provider != nullptr ? provider->AskToUnload() : CMPI_RC_OK;
}

bool Broker::IsLoaded(const std::string &providerName) const {
    const Provider *provider = core->Find(providerName);
    return provider != nullptr && provider->LoadedAs() != 0;
}

namespace {

// Of a provider by its name; one that nobody registered is an error.
Status OfProvider(const Core &core, const std::string &name, Status (Provider::*what)()) {
    Provider *provider = core.Find(name);
    return provider != nullptr ? (provider->*what)() : Status{CMPI_RC_ERR_FAILED, "unknown provider " + name};
}

} // namespace

Status Broker::Load(const std::string &providerName) { return OfProvider(*core, providerName, &Provider::Load); }

CMPIrc Broker::CallCleanUp(const std::string &providerName, bool terminating) {
    Provider *provider = core->Find(providerName);
    return provider != nullptr ? provider->CallCleanUp(terminating) : CMPI_RC_OK;
}

Status Broker::CallFactoryAgain(const std::string &providerName) {
    return OfProvider(*core, providerName, &Provider::CallFactoryAgain);
}

// The last loaded goes first: a provider that calls others was loaded for a request before they were for its up-calls,
// but finished after them.
void Broker::Shutdown() {
    std::vector<Provider *> order;
    for (const auto &provider : core->providers) order.push_back(provider.get());
    std::stable_sort(order.begin(), order.end(),
                     [](const Provider *a, const Provider *b) { return a->LoadedAs() > b->LoadedAs(); });
    for (Provider *provider : order) provider->Terminate();
}

bool Broker::WaitForBackground(std::chrono::milliseconds quiet, std::chrono::milliseconds limit) {
    return core->background.Wait(quiet, limit);
}

LiveObjects Broker::Live() const {
    const Counts &counts = core->counts;
    return {counts.lent.load(), counts.clones.load(), counts.contexts.load(), counts.attachedThreads.load()};
}

std::uint64_t Broker::UpcallCount() const { return core->counts.upcalls.load(); }
void Broker::LogCalls(bool on) { core->log.Switch(on); }
std::vector<Call> Broker::TakeCalls() { return core->log.Take(); }
cim::Faults &Broker::Faults() { return core->faults; }

const CMPIBroker *Broker::Handle() const { return &core->handle; }

const CMPIContext *Broker::BeginInvocation(const std::string &nameSpace) {
    return (new CallFrame(*core, nullptr, nameSpace, CallFrame::Origin::Client))->Context();
}

void Broker::EndInvocation(const CMPIContext *context) { delete CallFrame::Of(context); }

} // namespace cim
