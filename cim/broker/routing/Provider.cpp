#include "cim/broker/routing/Provider.h"

#include "cim/broker/objects/Convert.h"

#include <dlfcn.h>
#include <set>
#include <unistd.h>

namespace cim {
namespace {

Status Failed(const std::string &reason) { return {CMPI_RC_ERR_FAILED, reason}; }

// lib<location>.so from the first of the folders that has it. Null, with the reason in `error`.
std::shared_ptr<void> Open(const std::string &location, const std::vector<std::string> &folders, std::string *error) {
    const std::string name = "lib" + location + ".so";
    std::string searched;
    for (const std::string &folder : folders) {
        const std::string file = folder + "/" + name;
        if (access(file.c_str(), F_OK) == 0) {
            void *library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
            if (library != nullptr) return {library, dlclose};
            *error = dlerror();
            return nullptr;
        }
        searched += (searched.empty() ? "" : ", ") + folder;
    }
    *error = name + " is not in " + (searched.empty() ? "any folder: none was named" : searched);
    return nullptr;
}

} // namespace

CallFrame::CallFrame(Core &broker, const Provider *whose, const std::string &nameSpace, Origin origin)
    : ContextObject(broker, whose,
                    {{CMPIInvocationFlags, Value::Unsigned(CMPI_uint32, 0)},
                     {CMPIInitNameSpace, Value::Text(nameSpace)},
                     {CMPIPrincipal, Value::Text("")}}),
      layer(Threads::Mine().Push(core, Layer::Kind::Call, whose)) {
    if (origin == Origin::Client) layer->background = false;
    layer->context = this;
}

CallFrame::~CallFrame() {
    Threads::Mine().PopCall(layer.get());
    layer->scope.Free();
}

Provider::Provider(Core &broker, const Registration &first)
    : Runner{first.provider}, core(broker), firstRegistration(first), location(first.location) {}

void Provider::Serve(const Registration &registration) {
    needsInstance = needsInstance || registration.instance;
    needsAssociation = needsAssociation || registration.association;
    neverUnload = neverUnload || registration.neverUnload;
}

const Registration *Provider::KeyOf(const Registration &registration) const {
    return core.config.factoryPerClass ? &registration : nullptr;
}

Status Provider::WaitUntilSteady(Lock &lock) {
    while (state == State::Changing) {
        // A provider's own threads must not wait for its factory or clean-up, which may wait for them.
        if (Threads::Mine().Runs(core, *this) || !core.waits.BeginWait(*this))
            return Failed(name + " is being loaded or unloaded");
        changed.wait(lock);
        core.waits.EndWait();
    }
    return state == State::Terminated ? Failed(name + " has been shut down") : Status{};
}

// Runs `change` without the mutex, with everybody else kept out; it answers the state that follows.
void Provider::Change(Lock &lock, const std::function<State()> &change) {
    state = State::Changing;
    core.waits.BeginChange(*this);
    lock.unlock();
    const State next = change();
    core.waits.EndChange(*this);
    lock.lock();
    if (next == State::Loaded && loadedAs == 0) loadedAs = ++core.loads;
    if (next != State::Loaded) loadedAs = 0;
    state = next;
    changed.notify_all();
}

Status Provider::Enter(Lock &lock, const Registration &registration, CallFrame::Origin origin) {
    Status status = WaitUntilSteady(lock);
    const Registration *key = KeyOf(registration);
    if (status.Ok() && made.find(key) == made.end())
        Change(lock, [&] {
            status = Make(key, origin);
            return made.empty() ? State::Unloaded : State::Loaded;
        });
    return status;
}

Status Provider::Enter(const Registration &registration, CallFrame::Origin origin, Mis *mis) {
    Lock lock(mutex);
    Status status = Enter(lock, registration, origin);
    if (!status.Ok()) return status;
    ++running;
    *mis = made.find(KeyOf(registration))->second;
    return status;
}

void Provider::Leave() {
    const Lock lock(mutex);
    if (--running == 0) changed.notify_all();
}

Status Provider::Load() {
    Lock lock(mutex);
    return Enter(lock, firstRegistration, CallFrame::Origin::Client);
}

Status Provider::CallFactoryAgain() {
    Lock lock(mutex);
    Status status = WaitUntilSteady(lock);
    if (!status.Ok()) return status;
    if (state == State::Unloaded) return Failed(name + " is not loaded");
    Change(lock, [&] {
        status = Make(KeyOf(firstRegistration), CallFrame::Origin::Client);
        return State::Loaded;
    });
    return status;
}

ServerLock::Hold Provider::HoldServerLock(ServerLock::Hold::When when) {
    return {core.serverLock, core.config.unkind.lockOverCleanUp, when};
}

CMPIrc Provider::AskToUnload() {
    {
        Lock lock(mutex); // for a factory, which may be in need of the server's lock
        WaitUntilSteady(lock);
    }
    const ServerLock::Hold hold = HoldServerLock();
    Lock lock(mutex);
    if (!WaitUntilSteady(lock).Ok()) return state == State::Terminated ? CMPI_RC_OK : CMPI_RC_DO_NOT_UNLOAD;
    if (state == State::Unloaded) return CMPI_RC_OK;
    if (neverUnload) return CMPI_RC_NEVER_UNLOAD;
    if (running > 0) return CMPI_RC_DO_NOT_UNLOAD;
    CMPIrc answer = CMPI_RC_OK;
    Change(lock, [&] {
        answer = CleanUp(false);
        return answer == CMPI_RC_OK ? State::Unloaded : State::Loaded;
    });
    if (answer == CMPI_RC_NEVER_UNLOAD) neverUnload = true;
    return answer;
}

CMPIrc Provider::CallCleanUp(bool terminating) {
    const ServerLock::Hold hold = HoldServerLock(ServerLock::Hold::When::AtOnceOrNot);
    return AskMis(terminating);
}

void Provider::Terminate() {
    const auto isIdle = [&] { return state != State::Changing && running == 0; };
    {
        Lock lock(mutex); // for requests as well
        changed.wait(lock, isIdle);
    }
    const ServerLock::Hold hold = HoldServerLock();
    Lock lock(mutex);
    changed.wait(lock, isIdle);
    if (state == State::Loaded)
        Change(lock, [&] {
            CleanUp(true);
            return State::Terminated;
        });
    state = State::Terminated;
}

std::uint64_t Provider::LoadedAs() const {
    const Lock lock(mutex);
    return loadedAs;
}

Status Provider::OpenLibrary() {
    const auto builtin = core.config.builtins.find(location);
    if (builtin != core.config.builtins.end()) {
        factories = builtin->second;
        if (needsInstance && factories.createInstanceMI == nullptr)
            return Failed("provider " + name + " has no factory for its instance MI");
        if (needsAssociation && factories.createAssociationMI == nullptr)
            return Failed("provider " + name + " has no factory for its association MI");
        return {};
    }
    std::string reason;
    library = Open(location, core.config.libraryFolders, &reason);
    const auto find = [&](bool needed, const char *suffix, auto *factory) {
        if (!needed || library == nullptr) return;
        void *symbol = dlsym(library.get(), (name + suffix).c_str());
        *factory = reinterpret_cast<std::remove_pointer_t<decltype(factory)>>(symbol);
        if (symbol != nullptr) return;
        reason = "lib" + location + ".so has no " + name + suffix;
        library.reset();
    };
    find(needsInstance, "_Create_InstanceMI", &factories.createInstanceMI);
    find(needsAssociation, "_Create_AssociationMI", &factories.createAssociationMI);
    return library != nullptr ? Status{} : Failed("provider " + name + ": " + reason);
}

// Calls the factories, after opening the library where that has not been done. Leaves nothing behind when it fails.
Status Provider::Make(const Registration *key, CallFrame::Origin origin) {
    Status status = opened ? Status{} : OpenLibrary();
    if (!status.Ok()) return status;
    opened = true;
    Mis mis;
    status = CallFactories(origin, &mis);
    if (status.Ok()) {
        made.emplace(key, mis);
        const Lock lock(mutex);
        callable.library = library;
        callable.mis.push_back(mis);
    }
    if (made.empty()) {
        library.reset();
        opened = false;
    }
    return status;
}

Status Provider::CallFactories(CallFrame::Origin origin, Mis *mis) {
    CallFrame frame(core, this, firstRegistration.nameSpaces.at(0), origin);
    const auto call = [&](auto factory, auto **made_, const char *what) {
        CMPIStatus answer{CMPI_RC_OK, nullptr};
        *made_ = factory(&core.handle, frame.Context(), &answer);
        if (*made_ != nullptr) return Status{};
        answer.rc = CMPI_RC_ERR_FAILED; // whatever it says, it has failed
        const std::string text = ToStatus(answer).message;
        return Failed("provider " + name + ": its factory made no " + what + " MI" + (text.empty() ? "" : ": " + text));
    };
    Status status;
    if (needsInstance) status = call(factories.createInstanceMI, &mis->instance, "instance");
    if (needsAssociation && status.Ok()) status = call(factories.createAssociationMI, &mis->association, "association");
    // The half that was made goes with the library, unless others use it, too.
    if (!status.Ok() && mis->instance != nullptr && made.empty())
        mis->instance->ft->cleanup(mis->instance, frame.Context(), 1);
    return status;
}

// Each MI is asked once, whatever the number of classes it serves.
CMPIrc Provider::AskMis(bool terminating) {
    Lock lock(mutex);
    const Callable called = callable;
    lock.unlock();
    CMPIrc answer = CMPI_RC_OK;
    CallFrame frame(core, this, firstRegistration.nameSpaces.at(0), CallFrame::Origin::Client);
    std::set<const void *> asked;
    const auto ask = [&](auto *mi) {
        if (mi == nullptr || mi->ft->cleanup == nullptr || (answer != CMPI_RC_OK && !terminating)) return;
        if (!asked.insert(mi).second) return;
        const CMPIrc rc = mi->ft->cleanup(mi, frame.Context(), terminating ? 1 : 0).rc;
        if (answer == CMPI_RC_OK) answer = rc;
    };
    for (const Mis &mis : called.mis) {
        ask(mis.instance);
        ask(mis.association);
    }
    return answer;
}

// When all agree, or must, the library goes. A thread of the provider's that is inside of an up-call does not keep it.
CMPIrc Provider::CleanUp(bool terminating) {
    const CMPIrc answer = AskMis(terminating);
    if (answer != CMPI_RC_OK && !terminating) return answer;
    {
        const Lock lock(mutex);
        callable = {};
    }
    made.clear();
    library.reset();
    opened = false;
    return answer;
}

} // namespace cim
