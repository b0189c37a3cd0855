// The part of an inventory that somebody asks for.
#pragma once

#include "cim/inventory/Inventory.h"

#include <string>
#include <vector>

namespace cim {

struct Selection {
    bool problems = false;                            // what is not OK
    std::vector<std::string> controllers, enclosures; // by ID; empty: any

    bool IsAll() const { return !problems && controllers.empty() && enclosures.empty(); }
};

// A controller stands for all that belongs to it, an enclosure for its disks and the volumes that are on them.
Inventory Select(const Inventory &inventory, const Selection &selection);

// Empty unless an ID is not there; then what the mistake is and which IDs there are.
std::string MistakeIn(const Selection &selection, const Inventory &inventory);

} // namespace cim
