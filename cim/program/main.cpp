// quarnel: hosts the provider with the simulated vendor in the embedded broker, for people and programs to look at.
#include "cim/program/Command.h"
#include "cim/program/CommandLine.h"

#include <cstdio>
#include <exception>
#include <memory>

namespace {

const cim::Command kCommands[] = {cim::AddList,  cim::AddWatch,  cim::AddCheck,      cim::AddMetrics,
                                  cim::AddServe, cim::AddRecord, cim::AddCompletion, cim::AddHelp};

int Refuse(const CLI::App &program, cim::ExitStatus status, const std::string &error) {
    return program.got_subcommand("check") ? cim::CheckMisused(error) : cim::Fail(status, error);
}

int Main(int argc, char **argv) {
    CLI::App program("A uniform view of a server's hardware RAID controllers", "quarnel");
    program.formatter(std::make_shared<cim::HelpFormatter>());
    program.set_version_flag("-V,--version", "quarnel " QUARNEL_VERSION);
    program.require_subcommand(0, 1);
    cim::Run run;
    for (const auto add : kCommands) add(program, run);
    try {
        program.parse(argc, argv);
        if (!run) return cim::Fail(cim::kExitUsage, "a subcommand is missing; quarnel --help lists them");
        return run();
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) { // --help, --version
            const int status = program.exit(error);
            return program.got_subcommand("check") ? cim::kCheckNothing : status;
        }
        // A misspelt option is also one that is missing: the spelling is the mistake.
        const std::string unexpected = cim::Unexpected(program);
        return Refuse(program, cim::kExitUsage, unexpected.empty() ? error.what() : unexpected);
    } catch (const std::exception &error) {
        return Refuse(program, cim::kExitFailed, error.what());
    }
}

} // namespace

int main(int argc, char **argv) {
    try {
        return Main(argc, argv);
    } catch (...) {
        std::fputs("quarnel: there is not even memory to say what went wrong\n", stderr);
        return cim::kExitFailed;
    }
}
