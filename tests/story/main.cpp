// Tells the story on standard output.
#include "cim/inventory/Changes.h"
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
    Inventory before = Describe(stage.See());
    Print(Styled("At first all is well", kBold, options.text) + "\n\n" + RenderTables(before, options));

    int number = 0;
    for (const auto &step : kStory) {
        stage.Play(step);
        Inventory after = Describe(stage.See());
        std::string text = Styled(fmt::format("\n{}. {}", ++number, step.title), kBold, options.text) + "\n\n";
        std::set<std::string> changed;
        std::set<const ServedClass *> kinds;
        const std::string time = TimeText(std::time(nullptr));
        for (const auto &change : Compare(before, after, nullptr)) {
            text += ToText(change, time);
            changed.insert(change.Subject().path);
            kinds.insert(change.Subject().served);
        }
        for (const auto *kind : kinds) {
            options.only = kind;
            options.changed = &changed;
            text += "\n" + RenderTables(after, options);
        }
        Print(text);
        before = std::move(after);
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
