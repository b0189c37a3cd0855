// The provider under measurement: an embedded broker with the project's providers over a hardware description.
//
// Every rig loads copies of the libraries of its own, so that rigs of different sizes stand side by side in one process
// and are measured in turns. The providers' clock stands still until a rig moves it on: nothing is refreshed by itself.
#pragma once

#include "bench/Hardware.h"
#include "cim/broker/Broker.h"
#include "tests/support/BuildTree.h"
#include "tests/support/TemporaryFolder.h"

#include <memory>
#include <string>
#include <vector>

namespace bench {

constexpr char kNameSpace[] = "root/cimv2";
constexpr char kVendorNameSpace[] = "root/sim";
constexpr char kBareNameSpace[] = "root/bare"; // where the bare provider serves the same classes

struct Kind {
    const char *className;
    const char *prefix; // of the identifying key
};
constexpr Kind kExtents = {"Zembra_QuarnelStorageExtent", "zbrStorageExt"};
constexpr Kind kVolumes = {"Zembra_QuarnelStorageVolume", "zbrStorageVolume"};
constexpr Kind kPorts = {"Zembra_QuarnelSASSATAPort", "zbrPort"};
constexpr Kind kBatteries = {"Zembra_QuarnelBattery", "zbrControllerBattery"};
constexpr Kind kDevices[] = {kExtents, kVolumes, kPorts, kBatteries};

// The provider as it is, or the same code linked with a heap that counts.
enum class Library { AsInstalled, CountedHeap };

class Rig {
public:
    explicit Rig(Json hardware, Library library = Library::AsInstalled);
    ~Rig();
    Rig(const Rig &) = delete;
    Rig &operator=(const Rig &) = delete;

    // Loads the provider: its factory is called, and its first build begins.
    void Load();
    // The same, and waits until all devices are there.
    void Start();
    // Cleans the provider up and lets go of it, as after a long idle time.
    void Unload();

    // Replaces the hardware, in one step for the vendor.
    void Describe(const Json &hardware);

    std::vector<cim::Instance> Enumerate(const Kind &kind, const char *nameSpace = kNameSpace);
    // A request for one device that is not there: cheap, and asks for a refresh of its kind.
    void Trigger(const Kind &kind);
    // Waits until the provider has made so many up-calls since `before`, and has given all back that they returned.
    void WaitForUpcalls(std::uint64_t before, std::uint64_t count);
    // One unchanged refresh of the disks: moves the clock, asks for it and waits for its end.
    void RefreshDisks();
    // A refresh of the disks makes this many up-calls: pools, disks, and two for each disk.
    std::uint64_t RefreshUpcalls() const { return 2 + 2 * disks; }

    cim::Broker &Broker() { return *broker; }
    std::size_t Disks() const { return disks; }
    std::string ProviderFile() const { return folder / "libQuarnelProvider.so"; }

private:
    const support::TemporaryFolder folder;
    std::size_t disks = 0;
    std::unique_ptr<cim::Broker> broker;
};

// Moves the providers' clock by more than the time for which a kind is not refreshed again.
void MakeRefreshesDue();

// One invocation of a client that speaks CMPI itself.
class Invocation {
public:
    explicit Invocation(Rig &rig) : broker(rig.Broker()), context(broker.BeginInvocation(kVendorNameSpace)) {}
    ~Invocation() { broker.EndInvocation(context); }
    Invocation(const Invocation &) = delete;
    Invocation &operator=(const Invocation &) = delete;

    const CMPIBroker *Handle() const { return broker.Handle(); }
    const CMPIContext *Context() const { return context; }

private:
    cim::Broker &broker;
    const CMPIContext *context;
};

// Where bin/, lib/ and share/ are.
using support::BuildFolder;

} // namespace bench
