// quarnel list: what a client sees, once.
#include "cim/inventory/Json.h"
#include "cim/inventory/Tables.h"
#include "cim/program/Command.h"
#include "cim/program/Terminal.h"

#include <fmt/format.h>

#include <cstdio>
#include <memory>

namespace cim {

namespace {

struct ListOptions {
    SourceOptions source;
    const ServedClass *only = nullptr;
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
    const Inventory inventory = Describe(std::move(instances.value));
    std::string text;
    if (options.json) {
        text = Dump(ToJson(inventory, {std::time(nullptr), options.source.IsSample()}, options.only), 2) + "\n";
    } else {
        TablesOptions tables;
        tables.sample = options.source.IsSample();
        tables.only = options.only;
        tables.text.colour = WantsColour();
        text = RenderTables(inventory, tables);
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
    command->add_flag("--json", options->json,
                      "one JSON object: time, host, version and verdict, and for each served class an array of "
                      "{\"path\": ..., \"properties\": {...}, \"facts\": {...}}");
    command
        ->add_flag("--stats", options->stats, "also count up-calls and live objects, on standard error; not with --url")
        ->excludes("--url");
    command->callback([&run, options] { run = [options] { return List(*options); }; });
}

} // namespace cim
