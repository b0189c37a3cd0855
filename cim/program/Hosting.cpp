#include "cim/program/Hosting.h"

#include "cim/program/Described.h"
#include "cim/simhhrc/Description.h"

#include <fmt/format.h>
#include <syslog.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <unistd.h>

namespace cim {

namespace fs = std::filesystem;

namespace {

// In this order: classes come after those that they derive from.
constexpr const char *kMofFiles[] = {"CIM_Subset.mof", "CIM_SASSATAPort.mof", "OMC_UnitaryComputerSystem.mof",
                                     "Zembra_Quarnel.mof", "Sim_HHRC.mof"};
constexpr const char *kRegistrations[] = {"QuarnelProvider.reg", "HostSystemProvider.reg", "SimHHRCProvider.reg"};

// Between two up-calls of a build a thread waits for nothing but a processor: the build is over after a quiet of this
// length at whose end no thread is ready to run.
constexpr std::chrono::milliseconds kQuiet{200};

void SetUpLog(int level) {
    // The lines of a provider that runs for one answer would be noise in the system's log; its failures are not.
    const int options = LOG_PID | (level >= 0 ? LOG_PERROR : 0);
    openlog("quarnel", options, LOG_USER);
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no provider is loaded yet.
    setlogmask(LOG_UPTO(level >= 0 ? level : LOG_ERR));
}

// The state stands behind the thread's name, which is in parentheses and may hold any character: proc(5).
bool IsAtRest(const std::filesystem::path &task) {
    std::string stat;
    if (!std::getline(std::ifstream(task / "stat"), stat)) return true; // it has ended
    const std::size_t name = stat.rfind(')');
    return name == std::string::npos || name + 2 >= stat.size() ||
           std::string("RD").find(stat[name + 2]) == std::string::npos;
}

// True when every other thread of the process waits for something; a thread that only lacks a processor does not.
// Linux's /proc/self/task tells; where it cannot be read, true.
bool OtherThreadsAreAtRest() {
    const std::string own = std::to_string(gettid());
    std::error_code unreadable;
    for (const auto &task : std::filesystem::directory_iterator("/proc/self/task", unreadable))
        if (task.path().filename() != own && !IsAtRest(task.path())) return false;
    return true;
}

// Where the files are: beside the program's folder in the build tree and in an installation alike.
struct Folders {
    fs::path share;                     // holds schema/ and hardware/
    std::vector<std::string> libraries; // searched in this order
};

Folders FindFolders() {
    std::error_code error;
    const fs::path top = fs::read_symlink("/proc/self/exe", error).parent_path().parent_path();
    return {top / "share/quarnel", {top / "lib", top / QUARNEL_INSTALL_LIBDIR / "cmpi"}};
}

} // namespace

std::string SampleHardware(const std::string &name) { return FindFolders().share / "hardware" / name; }

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
    const fs::path schema = folders.share / "schema";
    BrokerConfig config;
    for (const char *file : kMofFiles) config.mofFiles.push_back(schema / file);
    config.mofTexts = {{hardware, MofOf(description.graph)}};
    for (const char *file : kRegistrations) config.registrationFiles.push_back(schema / file);
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
