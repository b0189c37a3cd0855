// What the subcommands of `quarnel` share: how they register themselves, common options, exit statuses, error lines.
#pragma once

#include "cim/inventory/Inventory.h"
#include "cim/program/Source.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace cim {

enum ExitStatus { kExitOk = 0, kExitFailed = 1, kExitUsage = 2, kExitNoAnswer = 3 };

// Adds one subcommand with its options to the program. When the command line chooses it, its CLI11 callback stores what
// is to be done, with the options read, in `run`; main calls that and exits with its result.
using Run = std::function<int()>;
using Command = void (*)(CLI::App &program, Run &run);

void AddCheck(CLI::App &program, Run &run);
void AddHelp(CLI::App &program, Run &run);
void AddList(CLI::App &program, Run &run);
void AddMetrics(CLI::App &program, Run &run);
void AddRecord(CLI::App &program, Run &run);
void AddWatch(CLI::App &program, Run &run);
void AddServe(CLI::App &program, Run &run);

// That nothing was checked: plug-ins for monitoring systems end so after --help and --version, too.
constexpr int kCheckNothing = 3;
// What keeps `check` from checking is told in the way of its answers. The exit status.
int CheckMisused(const std::string &error);

// --hardware FILE, which SIM_HHRC_HARDWARE stands in for, --sample, --log LEVEL (a syslog name or a number from 0 to 7)
// and --wait SECONDS.
void AddHostingOptions(CLI::App &command, HostingOptions &options);

// --url URL, --cacert FILE and --timeout SECONDS. Answers the first of them.
CLI::Option *AddServerOptions(CLI::App &command, ClientOptions &options);

// Both, one excluding the other.
void AddSourceOptions(CLI::App &command, SourceOptions &options);

// The same by the rules for plug-ins of monitoring systems: the URL is also -H, --hostname, where a host will do, and
// -t, --timeout is for all answers together, or limits --wait.
void AddPlugInSourceOptions(CLI::App &command, SourceOptions &options);

// --class NAME, one of the served classes; null without the option.
void AddClassOption(CLI::App &command, const ServedClass *&only);

// For an option whose empty value is a mistake: it is what an unset variable of a script or of a monitoring system
// leaves.
CLI::Validator NotEmpty();

// An option that can be given again; its values, which are IDs, are not empty.
void AddTexts(CLI::App &command, const std::string &name, std::vector<std::string> &texts, const std::string &help);

// An option whose value is a decimal number from `first` to `last`: std::uint16_t for whole ones, or double.
template <class Number>
CLI::Option *AddNumber(CLI::App &command, const std::string &names, Number first, Number last,
                       const std::function<void(Number)> &set, const std::string &help);

// Prints "quarnel: MESSAGE" on standard error.
void Say(const std::string &message);
// The same, and answers `status`.
int Fail(ExitStatus status, const std::string &message);
int Fail(Trouble trouble, const std::string &message);

} // namespace cim
