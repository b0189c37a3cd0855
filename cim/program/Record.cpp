// quarnel record: a real server's hardware as a description that the simulated vendor serves.
#include "cim/inventory/ShownText.h"
#include "cim/program/Command.h"
#include "cim/program/Terminal.h"
#include "cim/recording/Anonymise.h"
#include "cim/recording/DescriptionText.h"

#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>

namespace cim {

namespace {

using Clock = std::chrono::steady_clock;

struct RecordOptions {
    ClientOptions server;
    WalkOptions walk;
    bool anonymise = false;
    std::string file;
};

// One line on standard error that is overwritten; nothing when that is not a terminal.
class ProgressLine {
public:
    void Show(const WalkProgress &progress) {
        if (!visible || Clock::now() < next) return;
        next = Clock::now() + std::chrono::milliseconds(100);
        std::fputs(fmt::format("\r\033[Kquarnel: recording: {} of {} disks and volumes, {} objects, {} requests",
                               progress.devices, progress.devicesKnown, progress.objects, progress.requests)
                       .c_str(),
                   stderr);
        shown = true;
    }
    void Clear() {
        if (shown) std::fputs("\r\033[K", stderr);
        shown = false;
    }

private:
    const bool visible = isatty(STDERR_FILENO) != 0;
    bool shown = false;
    Clock::time_point next = Clock::now();
};

// The names that the server has for its own machine; none where it has no such class.
std::vector<std::string> HostsOf(Connection &server, const std::string &url) {
    std::vector<std::string> hosts{url.substr(url.find("//") + 2)};
    for (const Instance &system : server.EnumerateInstances("root/cimv2", "OMC_UnitaryComputerSystem").value) {
        const std::string &name = TextIn(system, "Name");
        if (!name.empty()) hosts.push_back(name);
    }
    return hosts;
}

int Record(const RecordOptions &options) {
    std::string error;
    const auto server = Connect(options.server, &error);
    if (server == nullptr) return Fail(kExitUsage, error);

    VendorModel model;
    WalkProgress progress;
    ProgressLine line;
    const Status status =
        Walk(*server, options.walk, &model, &progress, [&](const WalkProgress &now) { line.Show(now); });
    line.Clear();
    for (const std::string &refused : progress.refused) Say("left out: " + refused);
    if (!status.Ok()) return Fail(kExitNoAnswer, status.message);
    if (progress.controllers == 0) {
        return Fail(kExitFailed, fmt::format("{}: no hardware RAID controller is registered in {}", options.server.url,
                                             options.walk.interop));
    }

    std::string about = "Recorded by quarnel " QUARNEL_VERSION;
    LeftTexts left;
    if (options.anonymise) {
        left = Anonymise(&model, HostsOf(*server, options.server.url));
        about += "; texts that tell whose hardware it is are made up";
    } else {
        about += " from " + options.server.url;
    }
    const DescriptionText description = DescriptionOf(model, options.walk.interop, about);
    if (description.leftOut > 0) {
        Say(Counted(description.leftOut, "value has", "values have") + " no form in a description: left out");
    }
    if (!WriteWhole(options.file, description.text, &error)) return Fail(kExitFailed, error);
    for (const auto &[property, count] : left) {
        Say(fmt::format("left as it was: {}, {}", property, Counted(count, "value", "values")));
    }
    const std::string summary =
        fmt::format("{}, {}, {} from {}", Counted(progress.controllers, "controller", "controllers"),
                    Counted(progress.devices, "disk or volume", "disks and volumes"),
                    Counted(progress.objects, "object", "objects"), Counted(progress.requests, "request", "requests"));
    if (options.file == "-") {
        Say(summary);
    } else {
        Print(fmt::format("{}: {}\n", options.file, summary));
    }
    return kExitOk;
}

} // namespace

void AddRecord(CLI::App &program, Run &run) {
    auto options = std::make_shared<RecordOptions>();
    CLI::App *command =
        program.add_subcommand("record", "Write a CIM server's RAID hardware into a description that can be replayed");
    AddServerOptions(*command, options->server)->required();
    command
        ->add_option("--namespace", options->walk.interop,
                     "where the server registers profiles (default: root/interop)")
        ->type_name("NAMESPACE");
    command->add_flag("--anonymise", options->anonymise,
                      "replace texts that tell whose hardware it is, the same by the same, and list what is left");
    command->add_flag("--skip-refused", options->walk.skipRefused,
                      "leave out what the server answers with a CIM error, and say so, instead of stopping there");
    command
        ->add_option("-o,--output", options->file,
                     "the description to write, once it is complete; - for standard output")
        ->type_name("FILE")
        ->required();
    command->footer(
        "The description is served by `quarnel list --hardware FILE`, and by every other subcommand with that\n"
        "option, as if the hardware were there.");
    command->callback([&run, options] { run = [options] { return Record(*options); }; });
}

} // namespace cim
