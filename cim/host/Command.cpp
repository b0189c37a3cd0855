#include "Command.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace cim {

namespace {

constexpr std::array<const char *, 8> kLevels{"emerg", "alert", "crit", "err", "warning", "notice", "info", "debug"};

// Also takes the numbers, 0 to 7.
int LevelOf(const std::string &text) {
    for (std::size_t i = 0; i < kLevels.size(); ++i) {
        if (text == kLevels[i] || text == std::to_string(i)) return static_cast<int>(i);
    }
    throw CLI::ValidationError(
        "--log", fmt::format("unknown level {}; there are {}, or 0 to 7", text, fmt::join(kLevels, ", ")));
}

// What an unset variable of a script or of a monitoring system leaves.
CLI::Validator NotEmpty() {
    return {[](const std::string &value) { return value.empty() ? "the value is empty" : std::string(); }, ""};
}

std::string UnknownClass(const std::string &name) {
    std::string known;
    for (const auto &served : kServedClasses) known += fmt::format("{}{}", known.empty() ? "" : ", ", served.name);
    return fmt::format("unknown class {}; there are {}", name, known);
}

} // namespace

void AddHostingOptions(CLI::App &command, HostingOptions &options) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread yet.
    if (const char *named = std::getenv("SIM_HHRC_HARDWARE")) options.hardwareFile = named;
    CLI::Option *hardware =
        command
            .add_option("--hardware", options.hardwareFile,
                        "hardware description (default: what SIM_HHRC_HARDWARE names, else the sample)")
            ->check(NotEmpty())
            ->type_name("FILE");
    command
        .add_flag_callback(
            "--sample",
            [&options] {
                options.hardwareFile.clear();
                options.sampleNamed = true;
            },
            "the sample hardware that comes with the program, rack-server.json")
        ->excludes(hardware);
    command
        .add_option_function<std::string>(
            "--log", [&options](const std::string &level) { options.logLevel = LevelOf(level); },
            "show the providers' log lines up to LEVEL (debug, info, ..., or 0 to 7) on standard error")
        ->type_name("LEVEL");
    command
        .add_option_function<double>(
            "--wait",
            [&options](double seconds) {
                options.buildLimit = std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
            },
            "wait at most so long for the hardware to be read (default: 30)")
        ->check(CLI::Range(0.0, 86400.0).description(""))
        ->type_name("SECONDS");
}

CLI::Option *AddServerOptions(CLI::App &command, ClientOptions &options) {
    CLI::Option *url = command.add_option("--url", options.url, "ask this CIM server: http(s)://host[:port]")
                           ->check(NotEmpty())
                           ->type_name("URL");
    command
        .add_option("--cacert", options.caFile,
                    "trust the certificates of these authorities, in PEM (default: the system's)")
        ->check(CLI::ExistingFile.description(""))
        ->type_name("FILE")
        ->needs(url);
    command
        .add_option_function<double>(
            "--timeout",
            [&options](double seconds) {
                options.timeout = std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
            },
            "wait at most so long for each answer (default: 10)")
        ->check(CLI::Range(0.001, 86400.0).description(""))
        ->type_name("SECONDS")
        ->needs(url);
    return url;
}

void AddSourceOptions(CLI::App &command, SourceOptions &options) {
    AddHostingOptions(command, options.hosting);
    CLI::Option *url = AddServerOptions(command, options.server);
    for (const char *hosting : {"--hardware", "--sample", "--log", "--wait"})
        url->excludes(command.get_option(hosting));
}

void AddClassOption(CLI::App &command, const ServedClass *&only) {
    command
        .add_option_function<std::string>(
            "--class",
            [&only](const std::string &name) {
                only = FindServedClass(name);
                if (only == nullptr) throw CLI::ValidationError("--class", UnknownClass(name));
            },
            "only this served class, by its name or as controller, software, volume, disk, port or battery")
        ->type_name("NAME");
}

void Say(const std::string &message) { std::fputs(fmt::format("quarnel: {}\n", message).c_str(), stderr); }

int Fail(ExitStatus status, const std::string &message) {
    Say(message);
    return status;
}

int Fail(Trouble trouble, const std::string &message) {
    constexpr ExitStatus statuses[] = {kExitOk, kExitUsage, kExitFailed, kExitNoAnswer};
    return Fail(statuses[static_cast<std::size_t>(trouble)], message);
}

} // namespace cim
