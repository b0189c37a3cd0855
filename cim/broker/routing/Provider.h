// A registered provider: loaded by the first call that needs it, unloaded when it agrees.
#pragma once

#include "cim/broker/objects/Objects.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

namespace cim {

// prepareAttachThread, attachThread, detachThread.
CMPIContext *PrepareAttachThread(const CMPIBroker *broker, const CMPIContext *context);
CMPIStatus AttachThread(const CMPIBroker *broker, const CMPIContext *context);
CMPIStatus DetachThread(const CMPIBroker *broker, const CMPIContext *context);

// A provider's function, or the client's own code, at work on the calling thread. Ends with all that was lent to it.
class CallFrame : private ContextObject {
public:
    enum class Origin {
        Client, // a request, or the broker's own doing
        Nested, // whatever the thread is doing
    };
    CallFrame(Core &broker, const Provider *whose, const std::string &nameSpace, Origin origin);
    ~CallFrame() override;

    const CMPIContext *Context() const { return &handle; }
    static CallFrame *Of(const CMPIContext *context) {
        return static_cast<CallFrame *>(&ObjectOf<ContextObject>(context));
    }

private:
    std::shared_ptr<Layer> layer;
};

// What the factories made. Either may be null where the provider is not registered for it.
struct Mis {
    CMPIInstanceMI *instance = nullptr;
    CMPIAssociationMI *association = nullptr;
};

class Provider : public Runner {
public:
    // `first`, and every registration served, outlives the provider.
    Provider(Core &broker, const Registration &first);
    void Serve(const Registration &registration); // while the broker is being made

    // The MIs for a registered class, for one call that ends with Leave. Loads the library and calls the factories
    // where that has not been done; waits while another thread does so or has the provider clean up.
    Status Enter(const Registration &registration, CallFrame::Origin origin, Mis *mis);
    void Leave();

    Status Load();
    Status CallFactoryAgain();
    CMPIrc AskToUnload();
    CMPIrc CallCleanUp(bool terminating); // at once, whatever the state; changes nothing
    void Terminate();                     // waits for its running calls; it is not loaded again
    std::uint64_t LoadedAs() const;       // grows with each loading, of whatever provider; 0: not loaded

private:
    enum class State {
        Unloaded,
        Loaded,
        Changing, // one thread, without the mutex, loads it, makes further MIs or has it clean up
        Terminated,
    };

    // All that was made, for clean-up, and what keeps it there for whoever is calling it.
    struct Callable {
        std::vector<Mis> mis;
        std::shared_ptr<void> library;
    };

    using Lock = std::unique_lock<std::mutex>;
    Status Enter(Lock &lock, const Registration &registration, CallFrame::Origin origin);
    Status WaitUntilSteady(Lock &lock);
    void Change(Lock &lock, const std::function<State()> &change);
    const Registration *KeyOf(const Registration &registration) const;
    Status Make(const Registration *key, CallFrame::Origin origin);
    Status OpenLibrary();
    Status CallFactories(CallFrame::Origin origin, Mis *mis);
    CMPIrc CleanUp(bool terminating);
    CMPIrc AskMis(bool terminating);
    ServerLock::Hold HoldServerLock(ServerLock::Hold::When when = ServerLock::Hold::When::Free);

    Core &core;
    const Registration &firstRegistration;
    const std::string location;
    bool needsInstance = false; // fixed once the broker is made, as the next
    bool needsAssociation = false;

    // While the state is Changing these are the changing thread's; else they stay as they are.
    bool opened = false;
    std::shared_ptr<void> library; // null for one that is linked in
    BuiltinProvider factories;
    std::multimap<const Registration *, Mis> made; // by registered class, when each has MIs of its own

    mutable std::mutex mutex;
    std::condition_variable changed;
    State state = State::Unloaded; // guarded by mutex, as the next three
    bool neverUnload = false;
    int running = 0;
    std::uint64_t loadedAs = 0;
    Callable callable; // guarded by mutex, also while the state is Changing
};

} // namespace cim
