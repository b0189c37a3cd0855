// quarnel help: what --help says, for those who ask in words.
#include "cim/program/Command.h"
#include "cim/program/CommandLine.h"
#include "cim/program/Terminal.h"

#include <fmt/format.h>

#include <memory>

namespace cim {

namespace {

int Help(const CLI::App &program, const std::string &name) {
    std::string text;
    if (name.empty()) { // the program's own help() would be that of the subcommand in use
        text = program.get_formatter()->make_help(&program, program.get_name(), CLI::AppFormatMode::Normal);
    }
    for (const CLI::App *each :
         program.get_subcommands([&name](const CLI::App *app) { return app->get_name() == name; })) {
        text = each->help(program.get_name());
    }
    if (text.empty()) {
        return Fail(kExitUsage, fmt::format("help: there is no subcommand {}{}", name, NearSubcommand(program, name)));
    }
    return Print(text) ? kExitOk : kExitFailed;
}

} // namespace

void AddHelp(CLI::App &program, Run &run) {
    auto name = std::make_shared<std::string>();
    CLI::App *command = program.add_subcommand("help", "Say how the program or a subcommand is used");
    command->add_option("SUBCOMMAND", *name, "the one to explain")->type_name("");
    command->callback([&program, &run, name] { run = [&program, name] { return Help(program, *name); }; });
}

} // namespace cim
