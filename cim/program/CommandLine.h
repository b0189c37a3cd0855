// What the command line says of itself: its help, and unexpected words in it.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace cim {

// Names and types of options; their descriptions say which exclude or need each other.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_option_opts(const CLI::Option *option) const override;
};

// One line naming the unexpected words, in their order; empty when there were none.
std::string Unexpected(const CLI::App &program);

} // namespace cim
