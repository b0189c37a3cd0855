#include "cim/picture/InventoryDocument.h"

#include "cim/inventory/Captions.h"

#include <unordered_map>

namespace cim::picture {

namespace {

// What a caption calls a disk.
std::string NameInCaptions(const Item &disk) {
    return disk.slot.empty() || disk.enclosure.empty() ? disk.device : disk.slot + "e" + disk.enclosure;
}

// The disks that a volume's caption names.
struct Members {
    std::vector<std::string> paths; // in the caption's order; what no disk goes by is left out
    bool cut = false;               // the caption ends before its list does
};

Members MembersOf(const Item &volume, const std::vector<Item> &disks) {
    std::unordered_multimap<std::string, const Item *> byName;
    for (const auto &disk : disks) {
        if (disk.controller == volume.controller) byName.emplace(NameInCaptions(disk), &disk);
    }
    Members members;
    auto names = SplitDrives(volume.driveList);
    members.cut = !names.empty() && names.back().size() >= 3 && names.back().substr(names.back().size() - 3) == "...";
    if (members.cut) names.pop_back(); // what is left of it may name another disk
    for (std::size_t i = 0; i < names.size(); ++i) {
        // The caption separates names with what may also stand in one.
        std::string name(names[i]);
        std::size_t end = i;
        while (byName.count(name) == 0 && ++end < names.size()) name.append(",").append(names[end]);
        const auto [first, last] = byName.equal_range(name); // two disks may claim one slot: either may be the one
        for (auto found = first; found != last; ++found) members.paths.push_back(found->second->path);
        if (first != last) i = end;
    }
    return members;
}

Json ItemDocument(const Item &item, const Inventory &inventory) {
    Json document = ToJson(item.instance);
    Json &facts = document["facts"] = FactsOf(item);
    if (item.served->index == kVolume) {
        const Members members = MembersOf(item, inventory[kDisk]);
        facts["members"] = members.paths;
        facts["membersCut"] = members.cut;
    }
    return document;
}

// The name of the machine, which every device's key has. Empty without devices.
std::string SystemOf(const Inventory &inventory) {
    for (const auto &items : inventory) {
        for (const auto &item : items) {
            const Value *name = item.instance.path->Key("SystemName");
            if (name != nullptr && name->As<std::string>() != nullptr) return *name->As<std::string>();
        }
    }
    return {};
}

} // namespace

Json InventoryDocument(const Observation &observation, bool sample) {
    Json document = {{"time", TimeText(observation.time)},
                     {"age", observation.age.count()},
                     {"watchedSince", TimeText(observation.since)},
                     {"system", SystemOf(observation.inventory)}};
    if (sample) document["source"] = kSampleHardware;
    for (const auto &served : kServedClasses) {
        Json &items = document[served.name] = Json::array();
        for (const auto &item : observation.inventory[served.index]) {
            items.push_back(ItemDocument(item, observation.inventory));
        }
    }
    document["changes"] = observation.log.ToJson();
    return document;
}

} // namespace cim::picture
