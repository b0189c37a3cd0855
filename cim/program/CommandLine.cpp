#include "cim/program/CommandLine.h"

#include "cim/program/Command.h"
#include "cim/program/Terminal.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <utility>

namespace cim {

namespace {

// Letters to add, leave out, replace or exchange with their neighbours.
std::size_t Distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> beforeLast, last, row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        beforeLast = std::exchange(last, row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            const bool exchanged = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (exchanged) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row[b.size()];
}

std::vector<std::string> OptionsOf(const CLI::App &app) {
    std::vector<std::string> names;
    for (const CLI::Option *option : app.get_options()) {
        for (const std::string &name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
}

std::string Asked(const std::string &name) { return name.empty() ? "" : fmt::format("; did you mean {}?", name); }

// The known word that is spelt nearly like this one, or begins with it; empty when none is.
std::string Nearest(std::string_view word, const std::vector<std::string> &known) {
    const std::size_t dashes = std::min(word.find_first_not_of('-'), word.size());
    const std::size_t letters = word.size() - dashes;
    std::size_t limit = (letters + 1) / 3;
    std::string nearest;
    for (const std::string &each : known) {
        const bool begun = letters >= 3 && each.compare(0, word.size(), word) == 0;
        const std::size_t distance = begun ? 1 : Distance(word, each);
        if (distance > limit || (distance == limit && !nearest.empty())) continue;
        limit = distance;
        nearest = each;
    }
    return nearest;
}

// "; did you mean NAME?" of a subcommand; empty when none is near.
std::string NearSubcommand(const CLI::App &program, const std::string &word) {
    return Asked(Nearest(word, SubcommandsOf(program)));
}

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

std::string HelpFormatter::make_option_opts(const CLI::Option *option) const {
    if (option->get_type_size() == 0) return {};
    return fmt::format(" {}{}", option->get_type_name(), option->get_required() ? " (required)" : "");
}

std::string Unexpected(const CLI::App &program) {
    const std::vector<std::string> words = program.remaining(true);
    if (words.empty()) return {};
    const auto chosen = program.get_subcommands();
    std::string suggestion;
    for (const std::string &word : words) {
        if (!suggestion.empty()) break;
        if (word.compare(0, 1, "-") == 0) {
            suggestion =
                Asked(Nearest(word.substr(0, word.find('=')), OptionsOf(chosen.empty() ? program : *chosen.front())));
        } else if (chosen.empty()) {
            suggestion = NearSubcommand(program, word);
        }
    }
    return fmt::format("not expected: {}{}", fmt::join(words, " "), suggestion);
}

std::string NearKey(const CLI::App &command, const std::string &word) {
    const std::string nearest = Nearest("--" + word, OptionsOf(command));
    const bool allowed = !nearest.empty() && command.get_option(nearest)->get_configurable();
    return Asked(allowed ? nearest.substr(2) : "");
}

std::vector<std::string> SubcommandsOf(const CLI::App &program) {
    std::vector<std::string> names;
    for (const CLI::App *each : program.get_subcommands([](const CLI::App *) { return true; })) {
        names.push_back(each->get_name());
    }
    return names;
}

// A validator that refuses nothing carries them in its name: CLI11 has no other place for what belongs to an option.
constexpr std::string_view kWords = "words: ";

void SuggestWords(CLI::Option *option, const std::vector<std::string> &words) {
    option->check(
        {[](const std::string &) { return std::string(); }, "", fmt::format("{}{}", kWords, fmt::join(words, " "))});
}

std::vector<std::string> SuggestedWords(CLI::Option &option) {
    try {
        for (int i = 0;; ++i) {
            const std::string &name = option.get_validator(i)->get_name();
            if (name.compare(0, kWords.size(), kWords) == 0) {
                return CLI::detail::split(name.substr(kWords.size()), ' ');
            }
        }
    } catch (const CLI::OptionNotFound &) {
        return {}; // the last validator was the one before
    }
}

// quarnel help: what --help says, for those who ask in words.
void AddHelp(CLI::App &program, Run &run) {
    auto name = std::make_shared<std::string>();
    CLI::App *command = program.add_subcommand("help", "Say how the program or a subcommand is used");
    SuggestWords(command->add_option("SUBCOMMAND", *name, "the one to explain")->type_name(""), SubcommandsOf(program));
    command->callback([&program, &run, name] { run = [&program, name] { return Help(program, *name); }; });
}

} // namespace cim
