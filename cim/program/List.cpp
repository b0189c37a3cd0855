// quarnel list: what a client sees, once.
#include "cim/inventory/Json.h"
#include "cim/inventory/Selection.h"
#include "cim/inventory/Tables.h"
#include "cim/program/Command.h"
#include "cim/program/Terminal.h"

#include <fmt/format.h>

#include <cstdio>
#include <memory>
#include <optional>

namespace cim {

namespace {

struct ListOptions {
    SourceOptions source;
    const ServedClass *only = nullptr;
    Selection selection;
    std::optional<bool> byPlace; // none: as JSON, so that dumps can be compared
    bool json = false;
    bool stats = false;
};

void PrintStats(const Broker &broker) {
    const LiveObjects live = broker.Live();
    std::fputs(fmt::format("up-calls: {}; live objects: {} lent, {} cloned; contexts: {}; attached threads: {}\n",
                           broker.UpcallCount(), live.lent, live.clones, live.contexts, live.attachedThreads)
                   .c_str(),
               stderr);
}

int List(const ListOptions &options) {
    Trouble trouble = Trouble::None;
    std::string error;
    const auto source = Source::Open(options.source, &trouble, &error);
    if (source == nullptr) return Fail(trouble, error);
    auto instances = source->Read();
    if (!instances.Ok()) return Fail(source->TroubleInReading(), instances.status.message);

    if (instances.value[kController].empty() && source->Unread().empty()) {
        const bool hosted = source->Hosts() != nullptr;
        Say(std::string("no controller was found") + (hosted ? "; --log info tells how far the search came" : ""));
    }
    Inventory inventory = Describe(std::move(instances.value));
    const std::string mistake = MistakeIn(options.selection, inventory);
    if (!mistake.empty()) {
        if (source->Unread().empty()) return Fail(kExitUsage, mistake);
        return Fail(kExitFailed, fmt::format("{}; {}", mistake, source->Unread())); // it may yet turn up
    }
    if (options.byPlace.value_or(options.json)) SortByPlace(inventory);
    const Inventory part = Select(inventory, options.selection);
    std::string text;
    if (options.json) {
        text =
            Dump(ToJson(part, {std::time(nullptr), options.source.IsSample(), 0, &inventory}, options.only), 2) + "\n";
    } else {
        TablesOptions tables;
        tables.sample = options.source.IsSample();
        tables.only = options.only;
        if (!options.selection.IsAll()) tables.whole = &inventory;
        tables.text.colour = WantsColour();
        text = RenderTables(part, tables);
    }
    if (!Print(text)) return Fail(kExitFailed, "cannot write to standard output");
    if (options.stats) PrintStats(*source->Hosts());
    // What could be read has been shown; that it is not all is worth a status.
    return source->Unread().empty() ? kExitOk : Fail(kExitFailed, source->Unread());
}

} // namespace

void AddList(CLI::App &program, Run &run) {
    auto options = std::make_shared<ListOptions>();
    CLI::App *command = program.add_subcommand("list", "Show the controllers and everything that belongs to them");
    AddSourceOptions(*command, options->source);
    AddClassOption(*command, options->only);
    command->add_flag("--problems", options->selection.problems, "only what is not OK");
    AddTexts(*command, "--controller", options->selection.controllers,
             "only this controller and what belongs to it; can be given again");
    AddTexts(*command, "--enclosure", options->selection.enclosures,
             "only the disks in this enclosure and the volumes on them; can be given again");
    command
        ->add_option_function<std::string>(
            "--sort", [options](const std::string &order) { options->byPlace = order == "place"; },
            "verdict: the worst first; place: by controller, enclosure and slot (default: verdict; with --json place)")
        ->check(CLI::IsMember({"verdict", "place"}).description(""))
        ->type_name("ORDER");
    command->add_flag("--json", options->json,
                      "one JSON object: time, host, version and verdict, and for each served class an array of "
                      "{\"path\": ..., \"properties\": {...}, \"facts\": {...}}");
    command
        ->add_flag("--stats", options->stats, "also count up-calls and live objects, on standard error; not with --url")
        ->excludes("--url");
    command->callback([&run, options] { run = [options] { return List(*options); }; });
}

} // namespace cim
