// What the command line says of itself: its help, and unexpected words in it.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace cim {

// Names and types of options; their descriptions say which exclude or need each other.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_option_opts(const CLI::Option *option) const override;
};

// One line naming the unexpected words, in their order; empty when there were none.
std::string Unexpected(const CLI::App &program);

// "; did you mean port?" of a word that is spelt nearly like --port; empty when no key of a configuration file is.
std::string NearKey(const CLI::App &command, const std::string &word);

std::vector<std::string> SubcommandsOf(const CLI::App &program);

// Words that the option's value may be, for the shells to complete. Nothing else is refused.
void SuggestWords(CLI::Option *option, const std::vector<std::string> &words);
std::vector<std::string> SuggestedWords(CLI::Option &option); // empty: nothing was suggested

} // namespace cim
