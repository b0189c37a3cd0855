// Tells the story on standard output.
#include "cim/inventory/Tables.h"
#include "cim/program/Terminal.h"
#include "tests/story/Story.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <set>

namespace cim {
namespace {

void Tell() {
    TablesOptions options;
    options.text.colour = WantsColour();
    Stage stage;
    Print(Styled("At first all is well", kBold, options.text) + "\n\n" + RenderTables(stage.Seen(), options));

    int number = 0;
    for (const Step &step : TheStory()) {
        std::string text = Styled(fmt::format("\n{}. {}", ++number, step.title), kBold, options.text) + "\n\n";
        std::set<std::string> changed;
        std::set<const ServedClass *> kinds;
        for (const Change &change : stage.Play(step)) {
            text += ToText(change, TimeWithOffset(std::time(nullptr)));
            changed.insert(change.Subject().path);
            kinds.insert(change.Subject().served);
        }
        for (const auto *kind : kinds) {
            options.only = kind;
            options.changed = &changed;
            text += "\n" + RenderTables(stage.Seen(), options);
        }
        Print(text);
    }
}

} // namespace
} // namespace cim

int main() {
    try {
        cim::Tell();
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "story: %s\n", error.what());
        return 1;
    }
}
