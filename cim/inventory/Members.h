// The disks that a volume is on.
#pragma once

#include "cim/inventory/Inventory.h"

#include <vector>

namespace cim {

// By the names in a volume's caption, among the disks of its controller. Two disks that claim one slot are both taken.
void FindMembers(std::vector<Item> &volumes, const std::vector<Item> &disks);

} // namespace cim
