// What the command line says of itself: its help, and the words in it that nobody expected.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace cim {

// Names and types of options; what goes with what is said in their descriptions.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_option_opts(const CLI::Option *option) const override;
};

// The known word that is spelt nearly like this one, or begins with it; empty when none is.
std::string Nearest(std::string_view word, const std::vector<std::string> &known);

// One line on what the parsed program did not expect, in its order; empty when it expected all of it.
std::string Unexpected(const CLI::App &program);
// ", did you mean NAME?" of a subcommand; empty when none is near.
std::string NearSubcommand(const CLI::App &program, const std::string &word);

} // namespace cim
