#include "cim/program/ConfigurationFile.h"

#include "cim/program/CommandLine.h"

#include <fmt/format.h>

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace cim {

namespace {

// Gives the options themselves what the file says, so that a refusal of theirs can be told with the file's name.
class OptionsFile : public CLI::ConfigTOML {
public:
    OptionsFile(CLI::App &subcommand, std::string name) : command(subcommand), file(std::move(name)) {}

    std::vector<CLI::ConfigItem> from_config(std::istream &input) const override {
        std::set<std::string> seen;
        for (const CLI::ConfigItem &item : CLI::ConfigTOML::from_config(input)) {
            try {
                if (!seen.insert(item.fullname()).second) throw CLI::ConfigError(item.name + " is there twice");
                Set(item);
            } catch (const CLI::ParseError &error) {
                throw CLI::ConfigError(fmt::format("{}: {}", file, error.what()));
            }
        }
        return {};
    }

private:
    void Set(const CLI::ConfigItem &item) const {
        if (!item.parents.empty()) throw CLI::ConfigError("sections are not expected: " + item.parents.front());
        CLI::Option *option = command.get_option_no_throw("--" + item.name);
        if (option == nullptr || !option->get_configurable()) {
            throw CLI::ConfigError(fmt::format("unknown key {}{}", item.name, NearKey(command, item.name)));
        }
        if (item.inputs.size() != 1) {
            throw CLI::ConfigError(item.name + " has more than one value; one with blanks or commas wants quotes");
        }
        if (!option->empty()) return; // the command line has it
        const bool flag = option->get_expected_min() == 0;
        option->add_result(flag ? option->get_flag_value(item.name, to_flag(item)) : item.inputs.front());
        option->run_callback();
    }

    CLI::App &command;
    const std::string file;
};

} // namespace

void AddConfigurationFile(CLI::App &program, CLI::App &command) {
    const auto read = [&program, &command](const std::string &file) {
        // CLI11 reads a file for the program as a whole: when the command line is known, and before it is judged.
        program.config_formatter(std::make_shared<OptionsFile>(command, file));
        program.set_config("--config", file, "", true);
    };
    command
        .add_option_function<std::string>("--config", read,
                                          "read options from this file, each as a line: url = https://host")
        ->check(CLI::ExistingFile.description(""))
        ->type_name("FILE")
        ->configurable(false)
        ->trigger_on_parse();
}

} // namespace cim
