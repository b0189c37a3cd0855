#include "cim/inventory/Members.h"

#include "cim/inventory/Captions.h"

#include <fmt/format.h>

#include <unordered_map>

namespace cim {

namespace {

// What a caption calls a disk.
std::string NameInCaptions(const Item &disk) {
    return disk.slot.empty() || disk.enclosure.empty() ? disk.device : disk.slot + "e" + disk.enclosure;
}

std::string KeyOf(const Item &item, std::string_view name) { return fmt::format("{}\n{}", item.controller, name); }

using DisksByName = std::unordered_multimap<std::string, const Item *>; // by controller and name

void FindMembersOf(Item &volume, const DisksByName &disks) {
    auto names = SplitDrives(volume.driveList);
    volume.membersCut =
        !names.empty() && names.back().size() >= 3 && names.back().substr(names.back().size() - 3) == "...";
    if (volume.membersCut) names.pop_back(); // what is left of it may name another disk
    for (std::size_t i = 0; i < names.size(); ++i) {
        // The caption separates names with what may also stand in one.
        std::string name = KeyOf(volume, names[i]);
        std::size_t end = i;
        while (disks.count(name) == 0 && ++end < names.size()) name.append(",").append(names[end]);
        const auto [first, last] = disks.equal_range(name);
        for (auto found = first; found != last; ++found) volume.members.push_back(found->second->path);
        if (first != last) i = end;
    }
}

} // namespace

void FindMembers(std::vector<Item> &volumes, const std::vector<Item> &disks) {
    DisksByName byName;
    for (const Item &disk : disks) byName.emplace(KeyOf(disk, NameInCaptions(disk)), &disk);
    for (Item &volume : volumes) FindMembersOf(volume, byName);
}

} // namespace cim
