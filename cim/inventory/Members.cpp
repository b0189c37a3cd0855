#include "cim/inventory/Members.h"

#include "cim/inventory/Captions.h"

#include <unordered_map>

namespace cim {

namespace {

// What a caption calls a disk.
std::string NameInCaptions(const Item &disk) {
    return disk.slot.empty() || disk.enclosure.empty() ? disk.device : disk.slot + "e" + disk.enclosure;
}

} // namespace

void FindMembers(Item &volume, const std::vector<Item> &disks) {
    std::unordered_multimap<std::string, const Item *> byName;
    for (const auto &disk : disks) {
        if (disk.controller == volume.controller) byName.emplace(NameInCaptions(disk), &disk);
    }
    auto names = SplitDrives(volume.driveList);
    volume.membersCut =
        !names.empty() && names.back().size() >= 3 && names.back().substr(names.back().size() - 3) == "...";
    if (volume.membersCut) names.pop_back(); // what is left of it may name another disk
    for (std::size_t i = 0; i < names.size(); ++i) {
        // The caption separates names with what may also stand in one.
        std::string name(names[i]);
        std::size_t end = i;
        while (byName.count(name) == 0 && ++end < names.size()) name.append(",").append(names[end]);
        const auto [first, last] = byName.equal_range(name);
        for (auto found = first; found != last; ++found) volume.members.push_back(found->second->path);
        if (first != last) i = end;
    }
}

} // namespace cim
