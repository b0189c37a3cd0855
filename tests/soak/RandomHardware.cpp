#include "tests/soak/RandomHardware.h"

#include <algorithm>

namespace support {
namespace {

// With the one that is served where none can be read.
constexpr int kStatuses[] = {2, 6, 12, 15, 3, 0}, kVolumeStatuses[] = {2, 3, 6, 5, 0};

// What a controller can have: how many of each, and how many changes of sixteen let one come or go, or change its
// state.
constexpr struct {
    const char *list, *prefix;
    int most, comeOrGo, change;
} kKinds[] = {{"pools", "e", 1, 1, 0},
              {"volumes", "v", 6, 2, 2},
              {"disks", "d", 24, 4, 3},
              {"ports", "p", 4, 2, 0},
              {"batteries", "b", 2, 1, 1}};

} // namespace

Hardware RandomHardware::Start() {
    Hardware hardware;
    for (const char *id : {"c0", "c1"}) hardware.document["controllers"].push_back(NewController(id));
    return hardware;
}

Json RandomHardware::NewController(const std::string &id) {
    Json controller = {{"id", id},
                       {"status", id == "c2" ? 0 : 2},
                       {"model", "R8i"},
                       {"software", {{{"kind", "firmware"}, {"version", "4.81"}}}},
                       {"enclosures", {{{"id", "1"}}}},
                       {"pools", {{{"id", "free"}, {"primordial", true}}, {{"id", "dg0"}}, {{"id", "dg1"}}}}};
    for (const auto &kind : kKinds) controller.emplace(kind.list, Json::array());
    for (int i = 0; i < 60; ++i) ChangeDevices(controller);
    return controller;
}

// Takes the entry out, or adds it when it is not there.
void RandomHardware::Toggle(Json &controller, const std::string &list, const std::string &prefix, int number) {
    const Json entry = Entry(controller, list, prefix, number);
    const std::string id = entry["id"], name = controller["id"].get<std::string>() + id;
    Json &entries = controller[list];
    const auto found =
        std::find_if(entries.begin(), entries.end(), [&](const Json &other) { return other["id"] == id; });
    if (found != entries.end()) {
        entries.erase(found);
        gone.insert(name);
        for (Json &disk : controller["disks"]) // a pool that leaves hands its disks to another
            if (disk["pool"] == id) disk["pool"] = "dg1";
    } else if (inTurmoil || gone.count(name) == 0) {
        entries.push_back(entry);
    }
}

void RandomHardware::NewSeason(Hardware &hardware, bool turmoil) {
    inTurmoil = turmoil;
    gone.clear();
    if (dice.OneIn(2)) ToggleController(hardware);
}

void RandomHardware::ToggleController(Hardware &hardware) {
    Json &controllers = hardware.document["controllers"];
    if (controllers.size() > 2)
        controllers.erase(controllers.end() - 1);
    else
        controllers.push_back(NewController("c2"));
}

void RandomHardware::Change(Hardware &hardware) {
    if (inTurmoil && dice.OneIn(30))
        ToggleController(hardware);
    else
        ChangeDevices(dice.OneOf(hardware.document["controllers"]));
}

void RandomHardware::ChangeDevices(Json &controller) {
    int choice = dice.Below(16);
    for (const auto &[list, prefix, most, comeOrGo, change] : kKinds) {
        if (choice < comeOrGo) return Toggle(controller, list, prefix, dice.Below(most));
        choice -= comeOrGo + change;
        if (choice >= 0) continue;
        Json &entries = controller[list];
        if (entries.empty()) return;
        Json &entry = dice.OneOf(entries);
        entry = Entry(controller, list, prefix, std::stoi(entry["id"].get<std::string>().substr(1)));
        return;
    }
}

// What stays as it is for an identifier follows from its number, the rest is its present state.
Json RandomHardware::Entry(const Json &controller, const std::string &list, const std::string &prefix, int number) {
    const std::string count = std::to_string(number), id = prefix + count;
    if (list == "disks")
        return {{"id", id},
                {"enclosure", "1"},
                {"slot", number},
                {"primordial", false},
                {"firmware", "N" + count},
                {"blocks", 1000 + number},
                {"pool", dice.OneOf(controller["pools"])["id"]},
                {"status", dice.OneOf(kStatuses)},
                {"extentStatus", dice.OneOf({2, 3, 11, 13})}};
    if (list == "volumes")
        return {{"id", id},
                {"pool", "dg" + std::to_string(number % 2)},
                {"raid", "RAID5"},
                {"uniqueId", "naa" + count},
                {"status", dice.OneOf(kVolumeStatuses)},
                {"extentStatus", dice.OneOf({2, 3})},
                {"name", "name" + std::to_string(dice.Below(5))},
                {"blocks", 1000 + dice.Below(10)},
                {"consumableBlocks", dice.Below(1000)}};
    if (list == "batteries")
        return {{"id", id}, {"status", dice.OneOf(kStatuses)}, {"batteryStatus", 1 + dice.Below(5)}};
    if (list == "ports") return {{"id", id}, {"name", "Port " + id}, {"status", number == 3 ? 0 : 2}};
    return {{"id", id}};
}

// The disks apart: a volume on so many would have a caption too long to tell its state.
Hardware RandomHardware::EveryState() {
    constexpr int kEnough = 300; // for the rarest of them
    Hardware every;
    for (const char *id : {"c0", "c2"}) every.document["controllers"].push_back(NewController(id));
    for (const std::string list : {"disks", "volumes", "batteries", "ports"}) {
        Json &controller = every.Controller(list == "disks" ? "c0" : "c2");
        controller[list] = Json::array();
        for (int i = 0; i < kEnough; ++i) controller[list].push_back(Entry(controller, list, "x", i));
    }
    return every;
}

} // namespace support
