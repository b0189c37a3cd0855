#include "tests/story/Story.h"

#include "tests/support/TestClock.h"

#include <stdexcept>

namespace cim {

namespace {

using Json = nlohmann::ordered_json;

Json &DiskIn(Json &controller, int slot) {
    for (auto &disk : controller["disks"]) {
        if (disk["slot"] == slot) return disk;
    }
    throw std::out_of_range("no disk in that slot");
}

Json &Data(Json &controller) { return controller["volumes"][1]; }

void Pull(Json &controller, int slot) {
    auto &disks = controller["disks"];
    for (auto disk = disks.begin(); disk != disks.end(); ++disk) {
        if ((*disk)["slot"] != slot) continue;
        disks.erase(disk);
        return;
    }
}

} // namespace

const std::vector<Step> kStory{
    {"The disk in slot 3 fails", [](Json &controller) { DiskIn(controller, 3)["status"] = "failed"; }},
    {"The RAID 5 that it belongs to is degraded", [](Json &controller) { Data(controller)["status"] = "degraded"; }},
    {"The hot spare in slot 7 takes its place, and the rebuild begins",
     [](Json &controller) {
         DiskIn(controller, 3)["pool"] = "free";
         DiskIn(controller, 7)["pool"] = "dg1";
         DiskIn(controller, 7)["status"] = "rebuild";
     }},
    {"The rebuild is complete",
     [](Json &controller) {
         DiskIn(controller, 7)["status"] = "online";
         Data(controller)["status"] = "optimal";
     }},
    {"The failed disk is pulled", [](Json &controller) { Pull(controller, 3); }},
    {"A new disk in its slot becomes the hot spare",
     [](Json &controller) {
         Json disk = DiskIn(controller, 2);
         disk.update({{"slot", 3}, {"pool", "free"}, {"status", "hot spare"}, {"firmware", "N0A7"}});
         controller["disks"].push_back(disk);
     }},
    {"The data volume is renamed", [](Json &controller) { Data(controller)["name"] = "archive"; }},
    {"The battery runs low",
     [](Json &controller) {
         controller["batteries"][0].update({{"batteryStatus", "low"}, {"status", "degraded"}});
     }},
};

Stage::Stage() : server(SampleHardware("rack-server.json")), hosted(support::Host(server.File())) {}

void Stage::Play(const Step &step) {
    step.happen(server.Controller());
    server.Save();
}

Instances Stage::See() {
    // Reading asks for a refresh of what was last refreshed 20 seconds ago or earlier, and answers from the cache.
    constexpr time_t refreshInterval = 20;
    support::TestClock::Advance(refreshInterval + 1);
    Answer<Instances> seen = ReadInstances(*hosted);
    if (seen.Ok() && hosted->WaitForBackground(std::chrono::milliseconds(200), std::chrono::seconds(60))) {
        seen = ReadInstances(*hosted);
    }
    if (!seen.Ok()) throw std::runtime_error(seen.status.message);
    return std::move(seen.value);
}

} // namespace cim
