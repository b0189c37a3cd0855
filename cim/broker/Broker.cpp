#include "cim/broker/Broker.h"

#include "cim/broker/classes/TextFile.h"
#include "cim/broker/objects/Objects.h"
#include "cim/broker/routing/Dispatcher.h"
#include "cim/broker/routing/Provider.h"

#include <algorithm>

namespace cim {

struct Broker::Impl {
    explicit Impl(const BrokerConfig &config) : core(config) {}

    Core core;
    std::mutex mutex;
    std::map<const CMPIContext *, std::unique_ptr<CallFrame>> invocations; // guarded by mutex
};

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

// What a client's request goes through.
Dispatcher ForClient(Core &core) {
    if (core.config.unkind.idleCheckAtRequest)
        for (const auto &provider : core.providers) provider->AskToUnload();
    return {core, CallFrame::Origin::Client};
}

// Runs a request and answers with what `pick` takes from its results.
template <class Run, class Pick> auto AnswerOf(Core &core, const Run &run, const Pick &pick) {
    Results results;
    Answer<std::decay_t<decltype(pick(results))>> answer;
    answer.status = run(ForClient(core), &results);
    if (answer.Ok()) answer.value = pick(results);
    return answer;
}

std::vector<Instance> TakeInstances(Results &results) { return std::move(results.instances); }
std::vector<ObjectPath> TakePaths(Results &results) { return std::move(results.paths); }

} // namespace

Broker::Broker(std::unique_ptr<Impl> made) : impl(std::move(made)) {}

std::unique_ptr<Broker> Broker::Create(const BrokerConfig &config, std::string *error) {
    auto impl = std::make_unique<Impl>(config);
    if (!ReadConfiguration(config, impl->core, error)) return nullptr;
    MakeProviders(impl->core);
    return std::unique_ptr<Broker>(new Broker(std::move(impl)));
}

Broker::~Broker() { Shutdown(); }

Answer<std::vector<ObjectPath>> Broker::EnumerateInstanceNames(const std::string &nameSpace,
                                                               const std::string &className) {
    return AnswerOf(
        impl->core,
        [&](const Dispatcher &to, Results *results) {
            return to.EnumerateInstanceNames(ClassPath(nameSpace, className), results);
        },
        TakePaths);
}

Answer<std::vector<Instance>> Broker::EnumerateInstances(const std::string &nameSpace, const std::string &className,
                                                         PropertyList properties) {
    return AnswerOf(
        impl->core,
        [&](const Dispatcher &to, Results *results) {
            return to.EnumerateInstances(ClassPath(nameSpace, className), properties, results);
        },
        TakeInstances);
}

Answer<Instance> Broker::GetInstance(const ObjectPath &path, PropertyList properties) {
    return AnswerOf(
        impl->core, [&](const Dispatcher &to, Results *results) { return to.GetInstance(path, properties, results); },
        [](Results &results) { return std::move(results.instances[0]); });
}

Answer<ObjectPath> Broker::CreateInstance(const std::string &nameSpace, const Instance &instance) {
    return AnswerOf(
        impl->core,
        [&](const Dispatcher &to, Results *results) {
            return to.CreateInstance(ClassPath(nameSpace, instance.path->className), instance, results);
        },
        [](Results &results) { return std::move(results.paths[0]); });
}

Status Broker::ModifyInstance(const Instance &instance, PropertyList properties) {
    return ForClient(impl->core).ModifyInstance(instance.path, instance, properties);
}

Status Broker::DeleteInstance(const ObjectPath &path) { return ForClient(impl->core).DeleteInstance(path); }

Answer<std::vector<Instance>> Broker::ExecQuery(const std::string &nameSpace, const std::string &className,
                                                const std::string &query, const std::string &language) {
    return AnswerOf(
        impl->core,
        [&](const Dispatcher &to, Results *results) {
            return to.ExecQuery(ClassPath(nameSpace, className), query, language, results);
        },
        TakeInstances);
}

Answer<std::vector<Instance>> Broker::Associators(const ObjectPath &source, const std::string &associationClass,
                                                  const std::string &resultClass, const std::string &role,
                                                  const std::string &resultRole, PropertyList properties) {
    return AnswerOf(
        impl->core,
        [&](const Dispatcher &to, Results *results) {
            return to.Associators({source, associationClass, resultClass, role, resultRole}, properties, results);
        },
        TakeInstances);
}

Answer<std::vector<ObjectPath>> Broker::AssociatorNames(const ObjectPath &source, const std::string &associationClass,
                                                        const std::string &resultClass, const std::string &role,
                                                        const std::string &resultRole) {
    return AnswerOf(
        impl->core,
        [&](const Dispatcher &to, Results *results) {
            return to.AssociatorNames({source, associationClass, resultClass, role, resultRole}, results);
        },
        TakePaths);
}

Answer<std::vector<Instance>> Broker::References(const ObjectPath &source, const std::string &associationClass,
                                                 const std::string &role, PropertyList properties) {
    return AnswerOf(
        impl->core,
        [&](const Dispatcher &to, Results *results) {
            return to.References({source, associationClass, {}, role, {}}, properties, results);
        },
        TakeInstances);
}

Answer<std::vector<ObjectPath>> Broker::ReferenceNames(const ObjectPath &source, const std::string &associationClass,
                                                       const std::string &role) {
    return AnswerOf(
        impl->core,
        [&](const Dispatcher &to, Results *results) {
            return to.ReferenceNames({source, associationClass, {}, role, {}}, results);
        },
        TakePaths);
}

const ClassTree &Broker::Classes() const { return impl->core.classes; }

std::vector<std::string> Broker::NameSpaces() const {
    std::vector<std::string> names;
    for (const Registration &registration : impl->core.registrations)
        for (const std::string &name : registration.nameSpaces)
            if (std::none_of(names.begin(), names.end(), [&](const auto &known) { return SameName(known, name); }))
                names.push_back(name);
    std::sort(names.begin(), names.end());
    return names;
}

CMPIrc Broker::AskToUnload(const std::string &providerName) {
    Provider *provider = impl->core.Find(providerName);
    return provider != nullptr ? provider->AskToUnload() : CMPI_RC_OK;
}

bool Broker::IsLoaded(const std::string &providerName) const {
    const Provider *provider = impl->core.Find(providerName);
    return provider != nullptr && provider->LoadedAs() != 0;
}

namespace {

Status OfProvider(const Core &core, const std::string &name, Status (Provider::*what)()) {
    Provider *provider = core.Find(name);
    return provider != nullptr ? (provider->*what)() : Status{CMPI_RC_ERR_FAILED, "unknown provider " + name};
}

} // namespace

Status Broker::Load(const std::string &providerName) { return OfProvider(impl->core, providerName, &Provider::Load); }

CMPIrc Broker::CallCleanUp(const std::string &providerName, bool terminating) {
    Provider *provider = impl->core.Find(providerName);
    return provider != nullptr ? provider->CallCleanUp(terminating) : CMPI_RC_OK;
}

Status Broker::CallFactoryAgain(const std::string &providerName) {
    return OfProvider(impl->core, providerName, &Provider::CallFactoryAgain);
}

// The last loaded goes first: a provider that calls others was loaded for a request before they were for its up-calls,
// but finished after them.
void Broker::Shutdown() {
    std::vector<Provider *> order;
    for (const auto &provider : impl->core.providers) order.push_back(provider.get());
    std::stable_sort(order.begin(), order.end(),
                     [](const Provider *a, const Provider *b) { return a->LoadedAs() > b->LoadedAs(); });
    for (Provider *provider : order) provider->Terminate();
}

bool Broker::WaitForBackground(std::chrono::milliseconds quiet, std::chrono::milliseconds limit) {
    return impl->core.background.Wait(quiet, limit);
}

LiveObjects Broker::Live() const {
    const Counts &counts = impl->core.counts;
    return {counts.lent.load(), counts.clones.load(), counts.contexts.load(), counts.attachedThreads.load()};
}

std::uint64_t Broker::UpcallCount() const { return impl->core.counts.upcalls.load(); }
void Broker::LogCalls(bool on) { impl->core.log.Switch(on); }
std::vector<Call> Broker::TakeCalls() { return impl->core.log.Take(); }
cim::Faults &Broker::Faults() { return impl->core.faults; }

const CMPIBroker *Broker::Handle() const { return &impl->core.handle; }

const CMPIContext *Broker::BeginInvocation(const std::string &nameSpace) {
    auto frame = std::make_unique<CallFrame>(impl->core, nullptr, nameSpace, CallFrame::Origin::Client);
    const CMPIContext *context = frame->Context();
    const std::lock_guard<std::mutex> lock(impl->mutex);
    impl->invocations[context] = std::move(frame);
    return context;
}

void Broker::EndInvocation(const CMPIContext *context) {
    std::unique_ptr<CallFrame> ended;
    const std::lock_guard<std::mutex> lock(impl->mutex);
    const auto found = impl->invocations.find(context);
    if (found == impl->invocations.end()) return;
    ended = std::move(found->second);
    impl->invocations.erase(found);
}

} // namespace cim
