// What the command line says of itself: its help, and the words in it that nobody expected.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace cim {

// Names and types of options; what goes with what is said in their descriptions.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_option_opts(const CLI::Option *option) const override;
};

// One line on what the parsed program did not expect, in its order; empty when it expected all of it.
std::string Unexpected(const CLI::App &program);

} // namespace cim
