#include "bench/Rig.h"

#include "bench/BareProvider.h"
#include "tests/support/TestClock.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace bench {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr time_t kMoreThanTheInterval = 21;
constexpr time_t kMoreThanIdle = 601;
constexpr char kProvider[] = "QuarnelProvider";

void CopyLibraries(const std::string &folder, Library library) {
    const std::string own = BuildFolder() + "/lib/";
    const std::string provider = library == Library::AsInstalled ? own : own + "bench/";
    fs::copy_file(provider + "libQuarnelProvider.so", folder + "/libQuarnelProvider.so");
    for (const char *name : {"libSimHHRCProvider.so", "libHostSystemProvider.so"})
        fs::copy_file(own + name, folder + "/" + name);
}

// The bare provider's stanzas: the same classes in a namespace of its own.
std::string BareRegistrations(const std::string &folder) {
    std::string file = folder + "/Bare.reg";
    std::ofstream text(file);
    for (const Kind &kind : {kExtents, kVolumes, kPorts})
        text << fmt::format("[{}]\n provider: {}\n location: {}\n type: instance\n namespace: {}\n", kind.className,
                            kBareProvider, kBareProvider, kBareNameSpace);
    return file;
}

cim::BrokerConfig Configuration(const std::string &folder) {
    cim::BrokerConfig config = support::ServerConfig(folder);
    config.registrationFiles.push_back(BareRegistrations(folder));
    config.builtins[kBareProvider] = {CreateBareInstanceMI, nullptr};
    return config;
}

// An entry is one disk, or one for each slot of a range.
std::size_t CountOf(const Json &entry) {
    unsigned first = 0, last = 0;
    const std::string slots = entry.value("slots", "");
    return std::sscanf(slots.c_str(), "%u-%u", &first, &last) == 2 ? last - first + 1 : 1;
}

std::size_t DisksOf(const Json &hardware) {
    std::size_t disks = 0;
    for (const Json &controller : hardware["controllers"])
        for (const Json &entry : controller["disks"]) disks += CountOf(entry);
    return disks;
}

// Polls, for conditions that nothing signals.
template <class Condition> void Await(const char *what, const Condition &condition) {
    const auto deadline = std::chrono::steady_clock::now() + 120s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error(fmt::format("{} does not end", what));
        std::this_thread::sleep_for(500us);
    }
}

} // namespace

void MakeRefreshesDue() { support::TestClock::Advance(kMoreThanTheInterval); }

Rig::Rig(Json hardware, Library library) : disks(DisksOf(hardware)) {
    CopyLibraries(folder.Path(), library);
    Describe(hardware);
    std::string error;
    broker = cim::Broker::Create(Configuration(folder.Path()), &error);
    if (broker == nullptr) throw std::runtime_error(error);
}

Rig::~Rig() {
    broker->Shutdown();
    Forget(broker->Handle());
    broker.reset();
}

void Rig::Load() {
    setenv("SIM_HHRC_HARDWARE", (folder / "hardware.json").c_str(), 1);
    const cim::Status status = broker->Load(kProvider);
    if (!status.Ok()) throw std::runtime_error(status.message);
}

// The job that builds all devices keeps what its up-calls returned until it ends.
void Rig::Start() {
    Load();
    Await("the first build", [this] {
        return broker->Live().lent == 0 &&
               broker->EnumerateInstanceNames(kNameSpace, kExtents.className).value.size() == disks &&
               broker->Live().lent == 0;
    });
}

void Rig::Unload() {
    support::TestClock::Advance(kMoreThanIdle);
    // Declined while a refresh is inside an up-call.
    Await("the provider's unloading", [this] { return broker->AskToUnload(kProvider) == CMPI_RC_OK; });
}

// Dated back, so that the vendor need not look at the file's text again.
void Rig::Describe(const Json &hardware) {
    const std::string file = folder / "hardware.json";
    std::ofstream(file + ".new") << hardware << '\n';
    fs::last_write_time(file + ".new", fs::file_time_type::clock::now() - 1h);
    fs::rename(file + ".new", file);
}

std::vector<cim::Instance> Rig::Enumerate(const Kind &kind, const char *nameSpace) {
    auto answer = broker->EnumerateInstances(nameSpace, kind.className);
    if (!answer.Ok()) throw std::runtime_error(answer.status.message);
    return std::move(answer.value);
}

void Rig::Trigger(const Kind &kind) {
    const std::string nobody = std::string(kind.prefix) + "c0_none";
    broker->GetInstance({{}, kNameSpace, kind.className, {{"DeviceID", cim::Value::Text(nobody)}}});
}

void Rig::WaitForUpcalls(std::uint64_t before, std::uint64_t count) {
    // A call that is counted runs already; once it has ended, its job keeps the results until it ends itself.
    Await("a refresh", [&] {
        return broker->UpcallCount() >= before + count && broker->WaitForBackground(0ms, 120s) &&
               broker->Live().lent == 0;
    });
    if (broker->UpcallCount() != before + count)
        throw std::runtime_error(fmt::format("{} up-calls instead of {}", broker->UpcallCount() - before, count));
}

void Rig::RefreshDisks() {
    MakeRefreshesDue();
    const std::uint64_t before = broker->UpcallCount();
    Trigger(kExtents);
    WaitForUpcalls(before, RefreshUpcalls());
}

} // namespace bench
