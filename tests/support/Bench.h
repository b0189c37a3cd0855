// A provider on the test bench: the embedded broker with the project's own classes and registrations, the simulated
// vendor with a description that the test changes at will, and at the end a look at what was left behind.
#pragma once

#include "cim/broker/Broker.h"
#include "tests/support/BuildTree.h"
#include "tests/support/Hardware.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace support {

constexpr const char *kController = "Zembra_QuarnelController";
constexpr const char *kSoftware = "Zembra_QuarnelSoftwareIdentity";
constexpr const char *kVolume = "Zembra_QuarnelStorageVolume";
constexpr const char *kExtent = "Zembra_QuarnelStorageExtent";
constexpr const char *kPort = "Zembra_QuarnelSASSATAPort";
constexpr const char *kBattery = "Zembra_QuarnelBattery";
constexpr const char *kServedClasses[] = {kController, kSoftware, kVolume, kExtent, kPort, kBattery};
constexpr const char *kProvider = "QuarnelProvider";
constexpr const char *kNameSpace = "root/cimv2";

// The environment asks for a broker that does all that real CIM servers were seen to do (QUARNEL_TEST_BROKER=unkind):
// every test of the provider passes with either.
bool UnkindWanted();

struct BenchOptions {
    cim::MemoryRules memory = UnkindWanted() ? cim::kFreedByRelease : cim::kFreedAtDetach;
    cim::Unkindness unkind = UnkindWanted() ? cim::kUnkind : cim::Unkindness{};
    bool filterResults = true;
    bool factoryPerClass = false;
    std::string classes, registrations; // more of them, as MOF and as stanzas
    cim::BuiltinProvider provider;      // when QuarnelProvider is linked in; otherwise its library is loaded
};

// Polls, for conditions that nothing signals.
bool Eventually(const std::function<bool()> &condition, std::chrono::milliseconds limit = std::chrono::seconds(60));

// One at a time: time, log and the vendor's description belong to the process.
class Bench {
public:
    // Nothing is loaded yet: the first request or Load does that.
    explicit Bench(Hardware description, const BenchOptions &options = {});
    // Ends the broker and fails the test when anything of the broker's is still alive when every thread has left it: a
    // clean-up may leave one behind, which comes back later.
    ~Bench();
    Bench(const Bench &) = delete;
    Bench &operator=(const Bench &) = delete;

    cim::Broker &Broker() { return *broker; }
    void Load(); // the provider, which finds its controllers and starts its first build
    void End();  // as the destructor does; for tests that look at what is there afterwards

    // Of the broker's, when every thread has left it that a clean-up may have left behind.
    void ExpectNothingAlive();

    // Changes the hardware, in one step for the vendor.
    void Change(const std::function<void(Hardware &)> &change);
    // What must not be changed but by Change.
    const Hardware &Description() const { return hardware; }

    // Requests that the test expects to succeed.
    std::vector<cim::Instance> Enumerate(const std::string &className);
    // One property of every instance, as text.
    std::vector<std::string> Column(const std::string &className, const std::string &property);
    // The identifiers that the class's instances go by (DeviceID, Name or InstanceID), from the names alone.
    std::vector<std::string> Identifiers(const std::string &className);
    cim::Answer<cim::Instance> Get(const std::string &className, const std::string &identifier,
                                   cim::PropertyList properties = nullptr);

    // Makes the matching calls of QuarnelProvider fail, hang, ... from now on; Faults().Remove takes it back.
    cim::Faults::Id Inject(cim::FaultRule rule);
    // The provider's up-calls since the last time, from when the broker logs calls: "associators CIM_Realizes
    // CIM_PhysicalPackage", "getInstance Sim_StorageExtent".
    std::vector<std::string> Upcalls();

private:
    void Save();

    const TemporaryFolder folder;
    Hardware hardware;
    std::unique_ptr<cim::Broker> broker;
};

// The key property that identifies an instance of a served class.
std::string IdentifyingKey(const std::string &className);

} // namespace support
