#include "cim/program/Hosting.h"

#include "cim/program/AtRest.h"
#include "cim/program/Described.h"
#include "cim/simhhrc/Description.h"

#include <fmt/format.h>
#include <syslog.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace cim {

namespace fs = std::filesystem;

namespace {

// In this order: classes come after those that they derive from.
constexpr const char *kMofFiles[] = {"CIM_Subset.mof", "CIM_SASSATAPort.mof", "OMC_UnitaryComputerSystem.mof",
                                     "Zembra_Quarnel.mof", "Sim_HHRC.mof"};
constexpr const char *kRegistrations[] = {"QuarnelProvider.reg", "HostSystemProvider.reg", "SimHHRCProvider.reg"};

// Between two up-calls of a build nothing is waited for but the processor: a quiet that long, with no thread that would
// go on if it were let, is its end.
constexpr std::chrono::milliseconds kQuiet{200};

void SetUpLog(int level) {
    // The lines of a provider that runs for one answer would be noise in the system's log; its failures are not.
    const int options = LOG_PID | (level >= 0 ? LOG_PERROR : 0);
    openlog("quarnel", options, LOG_USER);
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no provider is loaded yet.
    setlogmask(LOG_UPTO(level >= 0 ? level : LOG_ERR));
}

} // namespace

Folders FindFolders() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path top = program.parent_path().parent_path();
    return {(top / "share/quarnel").string(),
            {(top / "lib").string(), (top / QUARNEL_INSTALL_LIBDIR / "cmpi").string()}};
}

std::string SampleHardware(const std::string &name) {
    return (fs::path(FindFolders().share) / "hardware" / name).string();
}

std::string HardwareOf(const HostingOptions &options) {
    return options.IsSample() ? SampleHardware("rack-server.json") : options.hardwareFile;
}

std::unique_ptr<Broker> StartHosting(const HostingOptions &options, std::string *error) {
    const std::string hardware = HardwareOf(options);
    sim::Description description;
    if (!sim::LoadDescription(hardware, &description, error)) return nullptr;

    std::error_code failed;
    const fs::path absolute = fs::absolute(hardware, failed);
    // NOLINTNEXTLINE(concurrency-mt-unsafe): as above.
    setenv("SIM_HHRC_HARDWARE", failed ? hardware.c_str() : absolute.c_str(), 1);
    SetUpLog(options.logLevel);

    const Folders folders = FindFolders();
    const fs::path schema = fs::path(folders.share) / "schema";
    BrokerConfig config;
    for (const char *file : kMofFiles) config.mofFiles.push_back((schema / file).string());
    config.mofTexts = {{hardware, MofOf(description.graph)}};
    for (const char *file : kRegistrations) config.registrationFiles.push_back((schema / file).string());
    config.registrationTexts = {{hardware, RegistrationsOf(description.graph)}};
    config.libraryFolders = folders.libraries;
    config.memory = options.memory;
    return Broker::Create(config, error);
}

FirstBuild WaitForFirstBuild(Broker &broker, const HostingOptions &options, std::string *error) {
    const Status loaded = broker.Load("QuarnelProvider");
    if (!loaded.Ok()) {
        *error = loaded.message;
        return FirstBuild::Failed;
    }
    const auto deadline = std::chrono::steady_clock::now() + options.buildLimit;
    const auto left = [&] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    };
    while (broker.WaitForBackground(kQuiet, left()))
        if (OtherThreadsAreAtRest()) return FirstBuild::Done;
    *error = fmt::format("the hardware is still being read after {} s",
                         static_cast<double>(options.buildLimit.count()) / 1000);
    return FirstBuild::Running;
}

} // namespace cim
