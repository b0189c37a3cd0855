// Providers whose functions a test fills in, and brokers that have them linked in.
#pragma once

#include "cim/broker/Broker.h"
#include "tests/support/Rule.h"
#include "tests/support/Values.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace cim::test {

using Ids = std::vector<std::string>;
using support::Rule;
using Effect = FaultRule::Effect;

// What a scripted provider was asked for, lent for the call.
struct Asked {
    const CMPIBroker *broker;
    const CMPIContext *context;
    const CMPIResult *result;
    const CMPIObjectPath *path;
    const char **properties = nullptr;
    const CMPIInstance *instance = nullptr;
    Ids names = {}; // classes and roles, or query and language, in CMPI's order; "-" for one not given

    void Take(const char *name) { names.emplace_back(name != nullptr ? name : "-"); }
    void Take(const char **list) { properties = list; }
    void Take(const CMPIInstance *given) { instance = given; }
};

constexpr CMPIStatus kOk{CMPI_RC_OK, nullptr};

// One scripted provider. A function that is not set answers CMPI_RC_ERR_NOT_SUPPORTED.
struct Script {
    using Function = std::function<CMPIStatus(const Asked &)>;
    std::map<Operation, Function> on;
    // Before the factory makes its MI; false: it makes none.
    std::function<bool(const CMPIBroker *, const CMPIContext *, CMPIStatus *)> factory;
    std::function<CMPIrc(const CMPIContext *, bool terminating)> cleanup;
    std::atomic<int> factoryCalls{0};
    std::atomic<int> cleanups{0};
    const CMPIBroker *broker = nullptr; // as the factory got it
};

// The tables of the Nth provider; C functions carry nothing, so each provider is a type of its own.
template <int N> struct ScriptedProvider {
    static inline Script *script = nullptr;

    template <Operation O, class Mi, class... More>
    static CMPIStatus Serve(Mi *, const CMPIContext *context, const CMPIResult *result, const CMPIObjectPath *path,
                            More... more) {
        Asked asked{script->broker, context, result, path};
        (asked.Take(more), ...);
        const auto function = script->on.find(O);
        return function != script->on.end() ? function->second(asked) : CMPIStatus{CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
    }
    template <class Mi> static CMPIStatus Cleanup(Mi *, const CMPIContext *context, CMPIBoolean terminating) {
        ++script->cleanups;
        return {script->cleanup ? script->cleanup(context, terminating != 0) : CMPI_RC_OK, nullptr};
    }
    template <class Mi, Mi *Made>
    static Mi *Make(const CMPIBroker *broker, const CMPIContext *context, CMPIStatus *rc) {
        ++script->factoryCalls;
        script->broker = broker;
        return !script->factory || script->factory(broker, context, rc) ? Made : nullptr;
    }

    static inline const CMPIInstanceMIFT instanceTable = {100,
                                                          100,
                                                          "scripted",
                                                          Cleanup, //
                                                          Serve<Operation::EnumerateInstanceNames>,
                                                          Serve<Operation::EnumerateInstances>,
                                                          Serve<Operation::GetInstance>,
                                                          Serve<Operation::CreateInstance>,
                                                          Serve<Operation::ModifyInstance>,
                                                          Serve<Operation::DeleteInstance>,
                                                          Serve<Operation::ExecQuery>};
    static inline const CMPIAssociationMIFT associationTable = {100,
                                                                100,
                                                                "scripted",
                                                                Cleanup, //
                                                                Serve<Operation::Associators>,
                                                                Serve<Operation::AssociatorNames>,
                                                                Serve<Operation::References>,
                                                                Serve<Operation::ReferenceNames>};
    static inline CMPIInstanceMI instanceMi{nullptr, &instanceTable};
    static inline CMPIAssociationMI associationMi{nullptr, &associationTable};
    static inline const BuiltinProvider builtin{Make<CMPIInstanceMI, &instanceMi>,
                                                Make<CMPIAssociationMI, &associationMi>};
};

// Two scripted providers, Front and Back, in a broker with the classes and registrations of data/. Front serves T_Front
// in root/front, Back T_Device and its subclasses, and the associations, in root/back. At the end nothing may be left
// alive.
class Scripted : public testing::Test {
protected:
    Scripted();
    void Start(); // as `config` and `registrations` say
    void Stop();
    void TearDown() override;

    // Front prepares a context for a thread of its own.
    const CMPIContext *Prepare();
    void StartWith(const MemoryRules &rules);
    // As a thread of Front's, with its context attached.
    template <class Code> void OnThread(const Code &code) {
        std::thread([&] {
            EXPECT_EQ(front.broker->bft->attachThread(front.broker, prepared).rc, CMPI_RC_OK);
            code(front.broker, prepared);
            EXPECT_EQ(front.broker->bft->detachThread(front.broker, prepared).rc, CMPI_RC_OK);
        }).join();
    }
    Ids Fans(); // as a client hears of them

    Script front, back;
    BrokerConfig config;
    std::string registrations; // besides those of data/
    std::unique_ptr<cim::Broker> broker;
    const CMPIContext *prepared = nullptr; // last
};

// The same, with code of a provider's on one of the broker's own contexts.
class Invoked : public Scripted {
protected:
    Invoked();
    void TearDown() override;

    const CMPIContext *context;
    const CMPIBroker *cmpi;
    CMPIStatus status{CMPI_RC_ERROR, nullptr};
};

// Small steps that tests share.
inline const CMPIValue *Chars(const char *text) { return reinterpret_cast<const CMPIValue *>(text); }
template <class T, class Given> CMPIValue ValueWith(T CMPIValue::*member, Given given) {
    CMPIValue value = CMPIValue();
    value.*member = static_cast<T>(given);
    return value;
}
CMPIObjectPath *NewPath(const CMPIBroker *broker, const std::string &nameSpace, const std::string &className,
                        const std::string &id = {});
CMPIEnumeration *Enumerate(const CMPIBroker *broker, const CMPIContext *context, CMPIStatus *status = nullptr,
                           const std::string &nameSpace = "root/back", const std::string &className = "T_Fan");
// Returns an instance, or its path, of the class asked for in the path with ID `id`.
CMPIStatus ReturnInstance(const Asked &asked, const std::string &id, const std::string &className = {});
CMPIStatus ReturnPath(const Asked &asked, const std::string &id, const std::string &className = {});
Script::Function Returning(const Ids &ids, const std::string &className = {}); // instances
std::string TextOf(const CMPIString *string);
std::string TextOf(const CMPIData &data);
std::string TextOf(const CMPIInstance *instance, const char *property);
Ids IdsOf(const CMPIEnumeration *enumeration);
Ids IdsOf(const std::vector<Instance> &instances);
Ids IdsOf(const std::vector<ObjectPath> &paths);

} // namespace cim::test
