#include "tests/soak/RandomHardware.h"

#include <algorithm>

namespace support {
namespace {

constexpr int kDisks = 24, kVolumes = 6, kPorts = 4, kBatteries = 2; // of each controller, when all are there

std::string Numbered(const char *prefix, int number) { return prefix + std::to_string(number); }

} // namespace

Hardware RandomHardware::Start() {
    Hardware hardware;
    for (const char *id : {"c0", "c1"}) hardware.document["controllers"].push_back(NewController(id));
    return hardware;
}

Json RandomHardware::NewController(const std::string &id) {
    Json controller = {{"id", id},
                       {"model", "R8i"},
                       {"software", {{{"kind", "firmware"}, {"version", "4.81"}}}},
                       {"enclosures", {{{"id", "1"}}}},
                       {"pools", {{{"id", "free"}, {"primordial", true}}, {{"id", "dg0"}}, {{"id", "dg1"}}}},
                       {"disks", Json::array()},
                       {"volumes", Json::array()},
                       {"ports", Json::array()},
                       {"batteries", Json::array()}};
    for (int i = 0; i < 60; ++i) ChangeDevices(controller);
    return controller;
}

// Takes the entry out, or adds it when it is not there.
void RandomHardware::Toggle(Json &controller, const char *list, const std::string &id, Json entry) {
    Json &entries = controller[list];
    const std::string name = controller["id"].get<std::string>() + list + id;
    const auto found =
        std::find_if(entries.begin(), entries.end(), [&](const Json &other) { return other["id"] == id; });
    if (found != entries.end()) {
        entries.erase(found);
        gone.insert(name);
    } else if (inTurmoil || gone.count(name) == 0) {
        entry["id"] = id;
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

// A pool that goes leaves its disks to another.
void RandomHardware::TogglePool(Json &controller) {
    Toggle(controller, "pools", "extra", Json::object());
    for (Json &disk : controller["disks"])
        if (disk["pool"] == "extra" && controller["pools"].size() == 3) disk["pool"] = "dg1";
}

void RandomHardware::Change(Hardware &hardware) {
    if (inTurmoil && dice.OneIn(30))
        ToggleController(hardware);
    else
        ChangeDevices(dice.OneOf(hardware.document["controllers"]));
}

void RandomHardware::ChangeDevices(Json &controller) {
    const auto changeOne = [this](Json &list, const Json &change) {
        if (!list.empty()) dice.OneOf(list).update(change);
    };
    switch (dice.Below(16)) {
    case 0:
        TogglePool(controller);
        break;
    case 1:
    case 2: {
        const int number = dice.Below(kVolumes);
        Json volume = Volume();
        volume.update({{"pool", Numbered("dg", number % 2)}, {"raid", "RAID5"}, {"uniqueId", Numbered("naa", number)}});
        Toggle(controller, "volumes", Numbered("v", number), volume);
        break;
    }
    case 3:
    case 4:
        changeOne(controller["volumes"], Volume());
        break;
    case 5:
    case 6:
    case 7:
        changeOne(controller["disks"], Disk(controller));
        break;
    case 8:
    case 9: {
        const std::string id = Numbered("p", dice.Below(kPorts));
        Toggle(controller, "ports", id, {{"name", "Port " + id}});
        break;
    }
    case 10:
        Toggle(controller, "batteries", Numbered("b", dice.Below(kBatteries)), Battery());
        break;
    case 11:
        changeOne(controller["batteries"], Battery());
        break;
    default: {
        const int slot = dice.Below(kDisks);
        Json disk = Disk(controller);
        disk.update({{"enclosure", "1"},
                     {"slot", slot},
                     {"primordial", false},
                     {"firmware", Numbered("N", slot)},
                     {"blocks", 1000 + slot}});
        Toggle(controller, "disks", Numbered("d", slot), disk);
    }
    }
}

Json RandomHardware::Disk(const Json &controller) {
    return {{"pool", dice.OneOf(controller["pools"])["id"]},
            {"status", dice.OneOf({2, 6, 12, 15, 3})},
            {"extentStatus", dice.OneOf({2, 3, 11, 13})}};
}

Json RandomHardware::Volume() {
    return {{"status", dice.OneOf({2, 3, 6, 5})},
            {"extentStatus", dice.OneOf({2, 3})},
            {"name", Numbered("name", dice.Below(5))},
            {"blocks", 1000 + dice.Below(10)},
            {"consumableBlocks", dice.Below(1000)}};
}

Json RandomHardware::Battery() {
    return {{"status", dice.OneOf({2, 6, 12, 15, 3})}, {"batteryStatus", 1 + dice.Below(5)}};
}

} // namespace support
