// What `quarnel completion` prints, in the hands of the shells that it is for.
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace cim {
namespace {

struct Shell {
    const char *name;
    std::vector<std::string> arguments; // of one that is at a prompt and has nobody's settings
    const char *setUp;
};

std::ostream &operator<<(std::ostream &out, const Shell &shell) { return out << shell.name; }

class Completion : public testing::TestWithParam<Shell> {};

TEST_P(Completion, CompletesAtAPrompt) {
    const support::TemporaryFolder home; // shells write there
    Process::Options options;
    options.terminal = true;
    options.environment = {
        {"PATH", BinFolder() + ":" + std::getenv("PATH")}, {"HOME", home.Path()}, {"XDG_RUNTIME_DIR", home.Path()}};
    Process shell(GetParam().name, GetParam().arguments, options);
    // In place of the program comes what shows how it would be called.
    shell.Type(std::string(GetParam().setUp) + "echo set'' up\r");
    ASSERT_TRUE(shell.WaitFor("set up")) << shell.Out() << shell.Err();
    constexpr std::pair<const char *, const char *> kTyped[] = {
        {"ser", "<serve>"},
        {"list --ha", "<list><--hardware>"},
        {"check --class dis", "<check><--class><disk>"},
        {"check --rebuild w", "<check><--rebuild><warning>"},
        {"help wat", "<help><watch>"},
        {"serve --config /etc/passw", "<serve><--config></etc/passwd>"},
    };
    for (const auto &[typed, called] : kTyped) {
        shell.Type(std::string("quarnel ") + typed + "\t\r");
        EXPECT_TRUE(shell.WaitFor(called)) << typed << shell.Out() << shell.Err();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Shells, Completion,
    testing::Values(Shell{"bash",
                          {"--norc", "--noprofile", "-i"},
                          "source <(quarnel completion bash); quarnel() { printf '<%s>' \"$@\"; echo; }; "},
                    Shell{"zsh",
                          {"-f", "-i"},
                          "autoload -U compinit; compinit -D; source <(quarnel completion zsh); "
                          "quarnel() { printf '<%s>' \"$@\"; echo; }; "},
                    Shell{"fish",
                          {"--no-config", "-i"},
                          "quarnel completion fish | source; function quarnel; printf '<%s>' $argv; echo; end; "}),
    [](const auto &shell) { return shell.param.name; });

} // namespace
} // namespace cim
