// Providers whose functions a test fills in, and brokers that have them linked in.
#pragma once

#include "cim/broker/Broker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cim::test {

// What a scripted provider was asked for. Lent for the call; names that were not given are null.
struct Asked {
    const CMPIBroker *broker;
    const CMPIContext *context;
    const CMPIResult *result;
    const CMPIObjectPath *path;
    const char **properties = nullptr;
    const CMPIInstance *instance = nullptr;
    const char *associationClass = nullptr;
    const char *resultClass = nullptr;
    const char *role = nullptr;
    const char *resultRole = nullptr;
    const char *query = nullptr;
};

constexpr CMPIStatus kOk{CMPI_RC_OK, nullptr};

// One scripted provider. A function that is not set answers CMPI_RC_ERR_NOT_SUPPORTED.
struct Script {
    using Function = std::function<CMPIStatus(const Asked &)>;
    Function enumerateInstanceNames, enumerateInstances, getInstance, createInstance, modifyInstance, deleteInstance,
        execQuery, associators, associatorNames, references, referenceNames;
    // Before the factory makes its MI; false: it makes none.
    std::function<bool(const CMPIBroker *, const CMPIContext *, CMPIStatus *)> factory;
    std::function<CMPIrc(const CMPIContext *, bool terminating)> cleanup;
    std::atomic<int> factoryCalls{0};
    std::atomic<int> cleanups{0};
    const CMPIBroker *broker = nullptr; // as the factory got it
};

// The tables of the Nth provider; C functions carry nothing, so each provider is a type of its own.
template <int N> struct Provider {
    static inline Script *script = nullptr;
    static const CMPIBroker *Broker() { return script->broker; }
    static CMPIStatus Run(const Script::Function &function, const Asked &asked) {
        return function ? function(asked) : CMPIStatus{CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
    }
    static CMPIStatus Cleanup(const CMPIContext *context, CMPIBoolean terminating) {
        ++script->cleanups;
        return {script->cleanup ? script->cleanup(context, terminating != 0) : CMPI_RC_OK, nullptr};
    }
    template <class Mi> static Mi *Make(const CMPIBroker *broker, const CMPIContext *context, CMPIStatus *rc, Mi *mi) {
        ++script->factoryCalls;
        script->broker = broker;
        return !script->factory || script->factory(broker, context, rc) ? mi : nullptr;
    }

    using Context = const CMPIContext *;
    using Result = const CMPIResult *;
    using Path = const CMPIObjectPath *;
    using Names = const char **;
    using Text = const char *;

    static inline const CMPIInstanceMIFT instanceTable = {
        100,
        100,
        "scripted",
        [](CMPIInstanceMI *, Context context, CMPIBoolean terminating) { return Cleanup(context, terminating); },
        [](CMPIInstanceMI *, Context c, Result r, Path p) {
            return Run(script->enumerateInstanceNames, {Broker(), c, r, p});
        },
        [](CMPIInstanceMI *, Context c, Result r, Path p, Names names) {
            return Run(script->enumerateInstances, {Broker(), c, r, p, names});
        },
        [](CMPIInstanceMI *, Context c, Result r, Path p, Names names) {
            return Run(script->getInstance, {Broker(), c, r, p, names});
        },
        [](CMPIInstanceMI *, Context c, Result r, Path p, const CMPIInstance *instance) {
            return Run(script->createInstance, {Broker(), c, r, p, nullptr, instance});
        },
        [](CMPIInstanceMI *, Context c, Result r, Path p, const CMPIInstance *instance, Names names) {
            return Run(script->modifyInstance, {Broker(), c, r, p, names, instance});
        },
        [](CMPIInstanceMI *, Context c, Result r, Path p) {
            return Run(script->deleteInstance, {Broker(), c, r, p});
        },
        [](CMPIInstanceMI *, Context c, Result r, Path p, Text query, Text) {
            Asked asked{Broker(), c, r, p};
            asked.query = query;
            return Run(script->execQuery, asked);
        },
    };
    static inline const CMPIAssociationMIFT associationTable = {
        100,
        100,
        "scripted",
        [](CMPIAssociationMI *, Context context, CMPIBoolean terminating) { return Cleanup(context, terminating); },
        [](CMPIAssociationMI *, Context c, Result r, Path p, Text association, Text resultClass, Text role,
           Text resultRole, Names names) {
            return Run(script->associators,
                       {Broker(), c, r, p, names, nullptr, association, resultClass, role, resultRole});
        },
        [](CMPIAssociationMI *, Context c, Result r, Path p, Text association, Text resultClass, Text role,
           Text resultRole) {
            return Run(script->associatorNames,
                       {Broker(), c, r, p, nullptr, nullptr, association, resultClass, role, resultRole});
        },
        [](CMPIAssociationMI *, Context c, Result r, Path p, Text association, Text role, Names names) {
            return Run(script->references, {Broker(), c, r, p, names, nullptr, association, nullptr, role});
        },
        [](CMPIAssociationMI *, Context c, Result r, Path p, Text association, Text role) {
            return Run(script->referenceNames, {Broker(), c, r, p, nullptr, nullptr, association, nullptr, role});
        },
    };
    static inline CMPIInstanceMI instanceMi{nullptr, &instanceTable};
    static inline CMPIAssociationMI associationMi{nullptr, &associationTable};

    static BuiltinProvider Builtin() {
        return {[](const CMPIBroker *broker, Context context, CMPIStatus *rc) {
                    return Make(broker, context, rc, &instanceMi);
                },
                [](const CMPIBroker *broker, Context context, CMPIStatus *rc) {
                    return Make(broker, context, rc, &associationMi);
                }};
    }
};

// The classes that the tests use.
extern const char *const kClasses;

// A file for the life of the object.
class TextFile {
public:
    explicit TextFile(const std::string &text);
    ~TextFile();
    TextFile(const TextFile &) = delete;
    TextFile &operator=(const TextFile &) = delete;
    const std::string &Name() const { return name; }

private:
    std::string name;
};

// Two scripted providers, Front and Back, in a broker. Front serves T_Front in root/front; Back serves T_Device and its
// subclasses, and the associations, in root/back. At the end nothing may be left alive.
class Scripted : public testing::Test {
protected:
    Scripted();
    void Start(); // as `config` and `registrations` say
    void Stop();
    void TearDown() override;

    // Code of a provider's on one of the broker's own contexts.
    template <class Code> auto Invoke(Code code) {
        const CMPIContext *context = broker->BeginInvocation("root/back");
        struct End {
            cim::Broker &broker;
            const CMPIContext *context;
            ~End() { broker.EndInvocation(context); }
        } end{*broker, context};
        return code(broker->Handle(), context);
    }

    Script front, back;
    BrokerConfig config;
    std::string registrations;
    std::unique_ptr<cim::Broker> broker;

private:
    std::vector<std::unique_ptr<TextFile>> files;
};

// Small steps that tests share.
CMPIObjectPath *NewPath(const CMPIBroker *broker, const std::string &nameSpace, const std::string &className,
                        const std::string &id = {});
// Returns an instance, or its path, of the class asked for in the path with ID `id`.
CMPIStatus ReturnInstance(const Asked &asked, const std::string &id, const std::string &className = {});
CMPIStatus ReturnPath(const Asked &asked, const std::string &id, const std::string &className = {});
std::string TextOf(const CMPIString *string);
std::string TextOf(const CMPIData &data);
std::vector<std::string> IdsOf(const CMPIEnumeration *enumeration);
std::vector<std::string> IdsOf(const std::vector<Instance> &instances);
std::vector<std::string> IdsOf(const std::vector<ObjectPath> &paths);

} // namespace cim::test
