// How soon after its start the provider knows all devices.
#include "bench/Groups.h"
#include "bench/Rig.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <stdexcept>

namespace bench {
namespace {

using Seconds = std::chrono::duration<double>;
using namespace std::chrono_literals;

constexpr int kSizes[] = {24, 84, 240};
constexpr int kSlowRuns = 3; // twelve seconds each

struct FirstBuild {
    double took;  // from the factory call to the end of the last up-call
    double chain; // the longest chain of up-calls of which none can begin before the one before it has ended
};

bool IsThreadCall(const cim::Call &call) {
    return call.operation == cim::Operation::PrepareAttachThread || call.operation == cim::Operation::AttachThread ||
           call.operation == cim::Operation::DetachThread;
}

// The factory's up-calls come one after another, and so do those of the disks, which one mutex serialises. Only the
// volumes' up-calls run beside them.
bool IsOnTheChain(const cim::Call &call) {
    return !IsThreadCall(call) && !cim::SameName(call.className, "Sim_StorageVolume");
}

FirstBuild Build(const Json &hardware) {
    Rig rig(hardware);
    rig.Broker().LogCalls(true);
    const auto begin = std::chrono::steady_clock::now();
    rig.Start();
    FirstBuild build = {0, 0};
    for (const cim::Call &call : rig.Broker().TakeCalls()) {
        if (call.provider != "QuarnelProvider") continue;
        if (IsOnTheChain(call)) build.chain += Seconds(call.end - call.start).count();
        if (!IsThreadCall(call)) build.took = std::max(build.took, Seconds(call.end - begin).count());
    }
    return build;
}

Json StorageNode() {
    const std::string file = BuildFolder() + "/share/quarnel/hardware/storage-node.json";
    std::ifstream text(file);
    if (!text) throw std::runtime_error("cannot read " + file);
    return Json::parse(text);
}

} // namespace

void MeasureFirstBuild(Report &report) {
    for (int i = 0; i < kSlowRuns; ++i)
        for (const int disks : kSizes) {
            const FirstBuild build = Build(Slowed(Describe({disks}), 5));
            report.Add(fmt::format("first build/{}", disks), build.took);
            report.Add(fmt::format("first build/chain/{}", disks), build.chain);
        }
    for (const int disks : kSizes)
        report.Ratio(fmt::format("first build: {} disks at 5 ms per up-call ÷ its longest chain", disks),
                     fmt::format("first build/{}", disks), fmt::format("first build/chain/{}", disks), AtMost(1.05));
    for (int i = 0; i < 7; ++i) report.Add("first build/storage node", Build(StorageNode()).took);
    report.Put("first build: storage-node.json (84 disks), no latency", report.Median("first build/storage node") * 1e3,
               AtMost(500), "ms");
}

} // namespace bench
