#include "cim/program/Command.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <type_traits>

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

// "db7" as https://db7, "::1" as https://[::1].
CLI::Validator HostAsUrl() {
    return {[](std::string &value) {
                if (value.empty() || value.find("://") != std::string::npos) return std::string();
                const bool v6 = std::count(value.begin(), value.end(), ':') > 1 && value.front() != '[';
                value = fmt::format(v6 ? "https://[{}]" : "https://{}", value);
                return std::string();
            },
            ""};
}

using Milliseconds = std::chrono::milliseconds;

Milliseconds InMilliseconds(double seconds) { return Milliseconds(static_cast<long long>(seconds * 1000)); }

CLI::Option *AddTime(CLI::App &command, const char *names, double shortest, const char *help,
                     const std::function<void(Milliseconds)> &set) {
    return AddNumber<double>(
               command, names, shortest, 86400, [set](double seconds) { set(InMilliseconds(seconds)); }, help)
        ->type_name("SECONDS");
}

CLI::Option *AddUrl(CLI::App &command, ClientOptions &options, const char *names, const char *help) {
    CLI::Option *url = command.add_option(names, options.url, help)->check(NotEmpty())->type_name("URL");
    command
        .add_option("--cacert", options.caFile,
                    "with --url: trust the certificates of these authorities, in PEM (default: the system's)")
        ->check(CLI::ExistingFile.description(""))
        ->type_name("FILE")
        ->needs(url);
    return url;
}

// Where a server elsewhere may be asked instead of hosting the providers.
void ExcludeHosting(CLI::App &command, CLI::Option *url) {
    url->description(url->get_description() + "; not with --hardware, --sample, --log or --wait");
    for (const char *hosting : {"--hardware", "--sample", "--log", "--wait"})
        url->excludes(command.get_option(hosting));
}

std::string UnknownClass(const std::string &name) {
    std::string known;
    for (const auto &served : kServedClasses) known += fmt::format("{}{}", known.empty() ? "" : ", ", served.name);
    return fmt::format("unknown class {}; there are {}", name, known);
}

} // namespace

CLI::Validator NotEmpty() {
    return {[](const std::string &value) { return value.empty() ? "the value is empty" : std::string(); }, ""};
}

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
    AddTime(command, "--wait", 0, "wait at most so long for the hardware to be read (default: 30)",
            [&options](auto time) { options.buildLimit = time; });
}

CLI::Option *AddServerOptions(CLI::App &command, ClientOptions &options) {
    CLI::Option *url = AddUrl(command, options, "--url", "ask this CIM server: http(s)://host[:port]");
    AddTime(command, "--timeout", 0.001, "with --url: wait at most so long for each answer (default: 10)",
            [&options](auto time) { options.timeout = time; })
        ->needs(url);
    return url;
}

void AddSourceOptions(CLI::App &command, SourceOptions &options) {
    AddHostingOptions(command, options.hosting);
    ExcludeHosting(command, AddServerOptions(command, options.server));
}

void AddPlugInSourceOptions(CLI::App &command, SourceOptions &options) {
    AddHostingOptions(command, options.hosting);
    command.get_option("--hardware")->description("hardware description (default: what SIM_HHRC_HARDWARE names)");
    CLI::Option *url = AddUrl(command, options.server, "-H,--url,--hostname",
                              "ask this CIM server: http(s)://host[:port]; a host alone is for https://host");
    url->transform(HostAsUrl());
    ExcludeHosting(command, url);
    options.server.total = options.server.timeout;
    AddTime(command, "-t,--timeout", 0.001,
            "be done after so long at most (default: 10; with --hardware what --wait says)", [&options](auto time) {
                options.server.timeout = time;
                options.server.total = time;
                options.hosting.buildLimit = std::min(options.hosting.buildLimit, time);
            });
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

void AddTexts(CLI::App &command, const std::string &name, std::vector<std::string> &texts, const std::string &help) {
    command.add_option(name, texts, help)->check(NotEmpty())->type_name("ID")->allow_extra_args(false);
}

template <class Number>
CLI::Option *AddNumber(CLI::App &command, const std::string &names, Number first, Number last,
                       const std::function<void(Number)> &set, const std::string &help) {
    const std::string name = names.substr(names.find("--"));
    const auto read = [=](const std::string &text) {
        Number number{};
        const char *end = text.data() + text.size();
        const auto [stopped, error] = std::from_chars(text.data(), end, number);
        // The comparisons fail for what is not a number, too.
        if (error != std::errc() || stopped != end || !(number >= first && number <= last)) {
            constexpr const char *kind = std::is_integral_v<Number> ? "whole number" : "number";
            throw CLI::ValidationError(name, fmt::format("{} is not a {} from {} to {}", text, kind, first, last));
        }
        set(number);
    };
    return command.add_option_function<std::string>(names, read, help)->check(NotEmpty());
}

template CLI::Option *AddNumber(CLI::App &, const std::string &, std::uint16_t, std::uint16_t,
                                const std::function<void(std::uint16_t)> &, const std::string &);
template CLI::Option *AddNumber(CLI::App &, const std::string &, double, double, const std::function<void(double)> &,
                                const std::string &);

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
