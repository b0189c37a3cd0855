// The embedded broker: loads CMPI providers, routes clients' requests and providers' up-calls to them, and keeps count.
//
// It knows nothing of any provider. Providers see a CMPI 1.0 broker with CMPI 2.0's memory table where the memory rules
// say so. All operations may be called from any number of threads at once.
#pragma once

#include "cim/broker/classes/ClassTree.h"
#include "cim/broker/faults/Faults.h"

#include <cmpift.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace cim {

// How the memory of threads that a provider attached is kept. A request thread's objects are freed when its request
// returns, whatever these say; clones live until they are released.
struct MemoryRules {
    bool memoryTable = false;    // mft is there, with mark and release
    bool freedAtDetach = true;   // else detach frees the context alone
    bool abortUndrained = false; // a thread that ends with up-call objects left on it ends the process
};
constexpr MemoryRules kFreedAtDetach{false, true, false};
constexpr MemoryRules kFreedByRelease{true, false, true};
constexpr MemoryRules kFreedByBoth{true, true, false};

// What real CIM servers have been seen to do to providers, each a switch of its own.
struct Unkindness {
    bool nullStateOfElements = false; // getNext sets type and value, but leaves the state at null
    bool strictArrays = false;        // an array made as CMPI_string refuses elements given as CMPI_chars
    bool keysOnlyInPaths = false;     // newInstance does not copy the path's keys into properties
    bool contextOnThread = false;     // prepareAttachThread leaves texts of the context lent to the calling thread
    bool shortPathText = false;       // toString of a path beyond 4,095 bytes ends the process
    bool lockOverCleanUp = false;     // a lock is held over clean-up that up-calls of providers' own threads need
    bool idleCheckAtRequest = false;  // a client's request first has every idle provider clean up, and unload
};
// All that a provider has to bear at any time: all but the idle check, which unloads what a test has just set up.
constexpr Unkindness kUnkind{true, true, true, true, true, true, false};

// A provider that is linked in instead of loaded. Either factory may be null.
struct BuiltinProvider {
    CMPIInstanceMI *(*createInstanceMI)(const CMPIBroker *, const CMPIContext *, CMPIStatus *) = nullptr;
    CMPIAssociationMI *(*createAssociationMI)(const CMPIBroker *, const CMPIContext *, CMPIStatus *) = nullptr;
};

// A text in place of a file; the name stands for the file in errors.
struct NamedText {
    std::string name;
    std::string text;
};

struct BrokerConfig {
    std::vector<std::string> mofFiles;               // read in this order
    std::vector<NamedText> mofTexts;                 // then these
    std::vector<std::string> registrationFiles;      // sfcb's stanza format
    std::vector<NamedText> registrationTexts;        // then these
    std::vector<std::string> libraryFolders;         // where lib<location>.so is looked for, in this order
    std::map<std::string, BuiltinProvider> builtins; // by location
    MemoryRules memory;
    Unkindness unkind;
    bool filterResults = true;    // association results by result class; else the provider's are handed on
    bool factoryPerClass = false; // call a factory once per registered class, as some CIMOMs do
};

struct Status {
    CMPIrc rc = CMPI_RC_OK;
    std::string message;
    bool Ok() const { return rc == CMPI_RC_OK; }
};

template <class T> struct Answer {
    Status status;
    T value{};
    bool Ok() const { return status.Ok(); }
};

// Objects that are alive. Lent: owned by an invocation, an attached thread or a mark. Clones: owned by providers.
struct LiveObjects {
    std::uint64_t lent = 0;
    std::uint64_t clones = 0;
    std::uint64_t contexts = 0;        // prepared for threads and not yet detached
    std::uint64_t attachedThreads = 0; // one that has detached is done with the broker when it no longer counts
};

class Core;

class Broker {
public:
    // Reads classes and registrations. Null, with one line of "FILE:LINE: reason" or the like in `error`, when that
    // fails. Providers are loaded at the first request or up-call that needs them.
    static std::unique_ptr<Broker> Create(const BrokerConfig &config, std::string *error);
    ~Broker(); // Shutdown, when that has not been called

    // A client's requests. A namespace or class without a provider answers CMPI_RC_ERR_INVALID_NAMESPACE,
    // CMPI_RC_ERR_INVALID_CLASS or CMPI_RC_ERR_NOT_SUPPORTED; a provider that cannot be loaded CMPI_RC_ERR_FAILED with
    // the loader's reason. Subclasses' providers are asked as well, except by GetInstance.
    Answer<std::vector<ObjectPath>> EnumerateInstanceNames(const std::string &nameSpace, const std::string &className);
    Answer<std::vector<Instance>> EnumerateInstances(const std::string &nameSpace, const std::string &className,
                                                     PropertyList properties = nullptr);
    Answer<Instance> GetInstance(const ObjectPath &path, PropertyList properties = nullptr);
    // A provider's answer to the next four is all there is to them: no provider of the project supports them.
    Answer<ObjectPath> CreateInstance(const std::string &nameSpace, const Instance &instance);
    Status ModifyInstance(const Instance &instance, PropertyList properties = nullptr);
    Status DeleteInstance(const ObjectPath &path);
    Answer<std::vector<Instance>> ExecQuery(const std::string &nameSpace, const std::string &className,
                                            const std::string &query, const std::string &language);
    // Empty class and role names: any.
    Answer<std::vector<Instance>> Associators(const ObjectPath &source, const std::string &associationClass = {},
                                              const std::string &resultClass = {}, const std::string &role = {},
                                              const std::string &resultRole = {}, PropertyList properties = nullptr);
    Answer<std::vector<ObjectPath>> AssociatorNames(const ObjectPath &source, const std::string &associationClass = {},
                                                    const std::string &resultClass = {}, const std::string &role = {},
                                                    const std::string &resultRole = {});
    Answer<std::vector<Instance>> References(const ObjectPath &source, const std::string &associationClass = {},
                                             const std::string &role = {}, PropertyList properties = nullptr);
    Answer<std::vector<ObjectPath>> ReferenceNames(const ObjectPath &source, const std::string &associationClass = {},
                                                   const std::string &role = {});

    const ClassTree &Classes() const;
    std::vector<std::string> NameSpaces() const; // that some provider is registered for, each once, sorted

    // Asks a loaded provider's MIs to clean up (not terminating) and unloads it when all agree. The answer is the first
    // that is not OK: CMPI_RC_DO_NOT_UNLOAD, or CMPI_RC_NEVER_UNLOAD, after which it is not asked again, also when it
    // is registered with `unload: never`. OK for a provider that is not loaded. One that is at work is not asked:
    // CMPI_RC_DO_NOT_UNLOAD. Requests that come meanwhile wait, and load it again when it has gone.
    CMPIrc AskToUnload(const std::string &providerName);
    bool IsLoaded(const std::string &providerName) const;
    // Loads a provider by calling its factories now, as a first request would.
    Status Load(const std::string &providerName);
    // Calls every factory of a loaded provider once more, as a CIMOM does for a further registered class.
    Status CallFactoryAgain(const std::string &providerName);
    // Has a loaded provider's MIs clean up, on the calling thread and at once, whatever other threads are doing in the
    // provider: also beside another clean-up or a factory call. Unloads nothing and waits for nobody. The answer is the
    // first that is not OK; OK for a provider that is not loaded.
    CMPIrc CallCleanUp(const std::string &providerName, bool terminating);
    // Cleans up (terminating) and unloads every provider. No request may be running or come later. Up-calls of
    // providers' own threads may be running, or lost: libraries are closed when clean-up returns, and such a call gets
    // an error from providers that have gone; the broker has to outlive it.
    void Shutdown();

    // True once no provider's background thread (one that serves no request) has an up-call running or has made one for
    // `quiet`, counted from this call on; false when that has not come to pass within `limit`. Up-calls that are lost
    // do not count as running.
    bool WaitForBackground(std::chrono::milliseconds quiet, std::chrono::milliseconds limit);

    LiveObjects Live() const;
    std::uint64_t UpcallCount() const; // by providers, since the start
    void LogCalls(bool on);            // the call log is off at first
    std::vector<Call> TakeCalls();     // the log so far, oldest first; empties it
    cim::Faults &Faults();

    // The broker and a context for a thread of the caller's own, for code that speaks CMPI itself: tests, benchmarks.
    // One invocation from Begin to End on one thread; what it obtained is freed at End.
    const CMPIBroker *Handle() const;
    const CMPIContext *BeginInvocation(const std::string &nameSpace);
    void EndInvocation(const CMPIContext *context);

private:
    explicit Broker(const BrokerConfig &config);
    const std::unique_ptr<Core> core;
};

} // namespace cim
