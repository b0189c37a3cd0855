// quarnel check: a plug-in for monitoring systems.
#include "cim/inventory/Check.h"
#include "cim/inventory/Verdict.h"
#include "cim/program/Command.h"
#include "cim/program/CommandLine.h"
#include "cim/program/Terminal.h"

#include <fmt/format.h>

#include <charconv>
#include <map>
#include <memory>

namespace cim {

namespace {

struct CheckOptions {
    SourceOptions source;
    CheckRules rules;
    Leniency leniency;
    Severity unreachable = Severity::Unknown;
};

std::string Trimmed(const std::string &text) {
    const auto first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

// "disks=8", also with blanks around each word.
void Expect(const std::string &text, CheckRules &rules) {
    const auto equals = std::min(text.find('='), text.size());
    const ServedClass *served = FindServedClass(Trimmed(text.substr(0, equals)));
    const std::string number = Trimmed(text.substr(std::min(equals + 1, text.size())));
    const char *last = number.data() + number.size();
    std::size_t count = 0;
    const auto [end, error] = std::from_chars(number.data(), last, count);
    if (served == nullptr || served->index == kSoftware || error != std::errc() || end != last) {
        throw CLI::ValidationError(
            "--expect",
            fmt::format("{} is not of the form KIND=NUMBER; kinds are controllers, volumes, disks, ports and batteries",
                        text));
    }
    if (rules.expected[served->index]) {
        throw CLI::ValidationError("--expect", fmt::format("{} are expected twice", served->kinds));
    }
    rules.expected[served->index] = count;
}

CheckResult ResultOf(const CheckOptions &options) {
    if (!options.source.IsNamed()) return CannotCheck("nothing to check: --url, --hardware or --sample must name it");
    Trouble trouble = Trouble::None;
    std::string error;
    const auto source = Source::Open(options.source, &trouble, &error);
    if (source == nullptr) return CannotCheck(error);
    auto instances = source->Read();
    if (!instances.Ok()) {
        const bool unreachable = instances.status.rc == kNoAnswer; // a CIM error is an answer
        return CannotCheck(instances.status.message, unreachable ? options.unreachable : Severity::Unknown);
    }
    CheckRules rules = options.rules;
    rules.sample = options.source.IsSample();
    return Check(Describe(std::move(instances.value), options.leniency), rules, source->Unread());
}

// --NAME VERDICT, one of those words.
void AddVerdict(CLI::App &command, const char *name, Severity &severity, const std::vector<Severity> &allowed,
                const char *help) {
    std::map<std::string, Severity> words;
    for (const Severity each : allowed) words[LowerCase(NameOf(each))] = each;
    CLI::Option *option =
        command
            .add_option_function<std::string>(
                name, [&severity, words](const std::string &word) { severity = words.at(word); }, help)
            ->check(CLI::IsMember(words).description(""))
            ->type_name("VERDICT");
    std::vector<std::string> names;
    names.reserve(words.size());
    for (const auto &each : words) names.push_back(each.first);
    SuggestWords(option, names);
}

int Tell(const CheckResult &result) { return ExitStatusOf(Print(result.output) ? result.severity : Severity::Unknown); }

} // namespace

int CheckMisused(const std::string &error) { return Tell(CannotCheck(error)); }

void AddCheck(CLI::App &program, Run &run) {
    auto options = std::make_shared<CheckOptions>();
    CLI::App *command = program.add_subcommand("check", "Judge the hardware for a monitoring system, as its plug-in");
    command->set_version_flag("-V,--version", "quarnel " QUARNEL_VERSION);
    command->add_flag("-v,--verbose", options->rules.verbose, "also a line for each thing that is fine");
    AddPlugInSourceOptions(*command, options->source);
    AddClassOption(*command, options->rules.only);
    command
        ->add_option("--ignore", options->rules.ignored,
                     "overlook what matches, by its name (\"disk c0/252:4\"), its key or its caption; "
                     "can be given again")
        ->type_name("PATTERN")
        ->allow_extra_args(false);
    command
        ->add_option_function<std::vector<std::string>>(
            "--expect",
            [options](const std::vector<std::string> &counts) {
                for (const std::string &count : counts) Expect(count, options->rules);
            },
            "as many there must be at least: volumes=2,disks=8")
        ->delimiter(',')
        ->type_name("COUNTS")
        ->allow_extra_args(false);
    AddVerdict(*command, "--rebuild", options->leniency.rebuild, {Severity::Ok, Severity::Warning},
               "what a disk that is being rebuilt is: ok or warning (default: warning)");
    AddVerdict(*command, "--unreachable", options->unreachable,
               {Severity::Warning, Severity::Critical, Severity::Unknown},
               "what a server is that gives no CIM answer: warning, critical or unknown (default: unknown)");
    command->footer(
        "The output is one line, VERDICT: TEXT | PERFORMANCE DATA, and then a line for each thing that is\n"
        "not fine or was overlooked. The exit status is 0 for OK, 1 for WARNING, 2 for CRITICAL and 3 for\n"
        "UNKNOWN; the worst decides. UNKNOWN is a command line that names neither a server nor hardware, a\n"
        "server that does not answer (--unreachable), one without controllers, and a controller whose devices\n"
        "have not been read yet. Missing what --expect says is CRITICAL.\n\n" +
        RulesTable());
    command->callback([&run, options] { run = [options] { return Tell(ResultOf(*options)); }; });
}

} // namespace cim
