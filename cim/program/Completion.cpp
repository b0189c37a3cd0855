// quarnel completion: what shells complete of the command line, made from its definition.
#include "cim/program/Command.h"
#include "cim/program/CommandLine.h"
#include "cim/program/Terminal.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <map>
#include <memory>
#include <utility>

namespace cim {

namespace {

using Words = std::vector<std::string>;

std::string Replaced(std::string text, const std::string &what, const std::string &by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
    return text;
}

// With a backslash before each of the characters.
std::string Escaped(const std::string &text, std::string_view special) {
    std::string escaped;
    for (const char each : text) {
        if (special.find(each) != std::string_view::npos) escaped += '\\';
        escaped += each;
    }
    return escaped;
}

// "-o", "--output"
Words NamesOf(const CLI::Option &option) {
    Words names;
    for (const std::string &name : option.get_snames()) names.push_back("-" + name);
    for (const std::string &name : option.get_lnames()) names.push_back("--" + name);
    return names;
}

bool IsFlag(const CLI::Option &option) { return option.get_expected_min() == 0; }
bool IsFile(const CLI::Option &option) { return option.get_type_name() == "FILE"; }

// --- bash
// -------------------------------------------------------------------------------------------------------------

constexpr const char *kBash = R"(# Completion of quarnel's command line, as `quarnel completion bash` prints it.
_quarnel() {{
    local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD - 1]}} command='' words='' each
    [[ $word != = ]] || word=''
    [[ $before != = ]] || before=${{COMP_WORDS[COMP_CWORD - 2]}}
    for each in "${{COMP_WORDS[@]:1:COMP_CWORD - 1}}"; do
        [[ $each == -* ]] || {{ command=$each; break; }}
    done
    case "$command $before" in
{}    *)
        case $command in
{}        esac
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}}
complete -F _quarnel quarnel
)";

std::string ForBash(CLI::App &program) {
    std::map<std::string, Words> values; // what is to be done, by the words that it is to be done behind
    std::string words;
    const auto add = [&](CLI::App &app, const std::string &name, Words known) {
        for (CLI::Option *option : app.get_options()) {
            const Words names = NamesOf(*option), suggested = SuggestedWords(*option);
            known.insert(known.end(), names.begin(), names.end());
            if (names.empty()) known.insert(known.end(), suggested.begin(), suggested.end());
            if (names.empty() || IsFlag(*option)) continue;
            Words &behind =
                values[IsFile(*option)
                           ? "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$word\"); return"
                       : suggested.empty() ? "return"
                                           : fmt::format("words='{}'", fmt::join(suggested, " "))];
            for (const std::string &each : names) behind.push_back(fmt::format("'{} {}'", name, each));
        }
        words += fmt::format("        '{}') words='{}' ;;\n", name, fmt::join(known, " "));
    };
    add(program, "", SubcommandsOf(program));
    for (CLI::App *each : program.get_subcommands({})) add(*each, each->get_name(), {});
    std::string cases;
    for (const auto &[what, behind] : values) cases += fmt::format("    {}) {} ;;\n", fmt::join(behind, " | "), what);
    return fmt::format(kBash, cases, words);
}

// --- zsh
// --------------------------------------------------------------------------------------------------------------

constexpr const char *kZsh = R"(#compdef quarnel
# Completion of quarnel's command line, as `quarnel completion zsh` prints it.
_quarnel() {{
    local context state state_descr line
    typeset -A opt_args
    _arguments -C {} '1: :->subcommand' '*:: :->rest'
    case $state in
    subcommand)
        local -a subcommands=(
{}        )
        _describe subcommand subcommands
        ;;
    rest)
        case $words[1] in
{}        esac
        ;;
    esac
}}
if [[ $funcstack[1] == _quarnel ]]; then _quarnel "$@"; else compdef _quarnel quarnel; fi
)";

// Between single quotes, where shells take everything as it is but zsh's functions do not.
std::string Quoted(const std::string &text, std::string_view special) {
    return Replaced(Escaped(text, special), "'", "'\\''");
}

std::string ForZsh(CLI::App &program) {
    const auto arguments = [](CLI::App &app) {
        Words all;
        for (CLI::Option *option : app.get_options()) {
            const Words names = NamesOf(*option), suggested = SuggestedWords(*option);
            const std::string value = IsFile(*option)     ? "_files"
                                      : suggested.empty() ? ""
                                                          : fmt::format("({})", fmt::join(suggested, " "));
            if (names.empty()) all.push_back(fmt::format("'1::{}:{}'", Quoted(option->get_name(true), "\\:"), value));
            Words excluded = names;
            for (const CLI::Option *other : option->get_excludes()) excluded.push_back(other->get_name());
            for (const std::string &name : names) {
                all.push_back(fmt::format(
                    "'({}){}[{}]{}'", fmt::join(excluded, " "), name, Quoted(option->get_description(), "\\[]"),
                    IsFlag(*option) ? "" : fmt::format(":{}:{}", option->get_type_name(), value)));
            }
        }
        return fmt::format("{}", fmt::join(all, " \\\n                "));
    };
    std::string subcommands, rest;
    for (CLI::App *each : program.get_subcommands({})) {
        subcommands += fmt::format("            '{}:{}'\n", each->get_name(), Quoted(each->get_description(), "\\:"));
        rest +=
            fmt::format("        {})\n            _arguments {}\n            ;;\n", each->get_name(), arguments(*each));
    }
    return fmt::format(kZsh, arguments(program), subcommands, rest);
}

// --- fish
// -------------------------------------------------------------------------------------------------------------

std::string ForFish(CLI::App &program) {
    std::string text = "# Completion of quarnel's command line, as `quarnel completion fish` prints it.\n"
                       "complete -c quarnel -f\n";
    const auto add = [&](CLI::App &app, const std::string &when) {
        for (CLI::Option *option : app.get_options()) {
            std::string line = fmt::format("complete -c quarnel -n '{}'", when);
            for (const std::string &name : option->get_snames()) line += " -s " + name;
            for (const std::string &name : option->get_lnames()) line += " -l " + name;
            const Words suggested = SuggestedWords(*option);
            if (IsFile(*option))
                line += " -r -F";
            else if (!NamesOf(*option).empty() && !IsFlag(*option))
                line += " -x";
            if (!suggested.empty()) line += fmt::format(" -a '{}'", fmt::join(suggested, " "));
            text += fmt::format("{} -d '{}'\n", line, Escaped(option->get_description(), "\\'"));
        }
    };
    add(program, "__fish_use_subcommand");
    for (CLI::App *each : program.get_subcommands({})) {
        text += fmt::format("complete -c quarnel -n __fish_use_subcommand -a {} -d '{}'\n", each->get_name(),
                            Escaped(each->get_description(), "\\'"));
        add(*each, "__fish_seen_subcommand_from " + each->get_name());
    }
    return text;
}

const std::map<std::string, std::string (*)(CLI::App &)> kShells{{"bash", ForBash}, {"fish", ForFish}, {"zsh", ForZsh}};

} // namespace

void AddCompletion(CLI::App &program, Run &run) {
    auto shell = std::make_shared<std::string>();
    CLI::App *command = program.add_subcommand("completion", "Print what a shell needs to complete this command line");
    CLI::Option *option = command->add_option("SHELL", *shell, "bash, fish or zsh")
                              ->required()
                              ->check(CLI::IsMember(kShells).description(""))
                              ->type_name("");
    SuggestWords(option, {"bash", "fish", "zsh"});
    command->callback([&program, &run, shell] {
        run = [&program, shell] { return Print(kShells.at(*shell)(program)) ? kExitOk : kExitFailed; };
    });
}

} // namespace cim
