#include "cim/picture/Facts.h"

#include "cim/inventory/Captions.h"

#include <unordered_map>

namespace cim::picture {

namespace {

struct Fact {
    const char *name;
    std::string Item::*text;
};
constexpr Fact kFacts[] = {
    {"controller", &Item::controller},
    {"device", &Item::device},
    {"state", &Item::state},
    {"health", &Item::healthWord},
    {"name", &Item::name},
    {"model", &Item::model},
    {"package", &Item::package},
    {"firmware", &Item::firmware},
    {"level", &Item::level},
    {"size", &Item::size},
    {"drives", &Item::drives},
    {"enclosure", &Item::enclosure},
    {"slot", &Item::slot},
    {"type", &Item::portType},
    {"usage", &Item::usage},
    {"charge", &Item::charge},
};

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// What a caption calls a disk.
std::string NameInCaptions(const Item &disk) {
    return disk.slot.empty() || disk.enclosure.empty() ? disk.device : disk.slot + "e" + disk.enclosure;
}

} // namespace

Json FactsOf(const Item &item) {
    Json facts = Json::object();
    for (const auto &[name, text] : kFacts) {
        if (!(item.*text).empty()) facts[name] = item.*text;
    }
    return facts;
}

Members MembersOf(const Item &volume, const std::vector<Item> &disks) {
    std::unordered_multimap<std::string, const Item *> byName;
    for (const auto &disk : disks) {
        if (disk.controller == volume.controller) byName.emplace(NameInCaptions(disk), &disk);
    }
    Members members;
    auto names = SplitDrives(volume.driveList);
    members.cut = !names.empty() && EndsWith(names.back(), "...");
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

} // namespace cim::picture
