// The facts of instances, as programs want them: read once, here, and not out of captions by everyone anew.
#pragma once

#include "cim/inventory/Inventory.h"
#include "cim/inventory/Json.h"

#include <string>
#include <string_view>
#include <vector>

namespace cim::picture {

// An object of texts, without those that the instance does not have: "controller", "device", "state", "health" and
// what its kind has besides (docs/picture.md lists them).
Json FactsOf(const Item &item);

// The disks that a volume's caption names.
struct Members {
    std::vector<std::string> paths; // in the caption's order; what no disk goes by is left out
    bool cut = false;               // the caption ends before its list does
};
Members MembersOf(const Item &volume, const std::vector<Item> &disks);

} // namespace cim::picture
