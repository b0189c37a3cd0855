// What has changed between two looks at the hardware, as lines for people and for programs.
#pragma once

#include "cim/inventory/Inventory.h"
#include "cim/inventory/Json.h"

#include <ctime>
#include <string>
#include <vector>

namespace cim {

// Instances are the same when their paths are.
struct Change {
    const Item *before = nullptr; // null: appeared
    const Item *after = nullptr;  // null: removed
    const Item &Subject() const { return after != nullptr ? *after : *before; }
};

// What has other properties or another verdict. Pointers lead into the two inventories. Only `only`'s instances, when
// it is not null.
std::vector<Change> Compare(const Inventory &before, const Inventory &after, const ServedClass *only);

// Local time with its distance from UTC: 2026-01-05T10:02:11+01:00.
std::string TimeWithOffset(std::time_t time);

// A line for each column whose text changed, the state first; the verdict only where the state does not tell it:
//     2026-01-05T10:02:11+01:00 disk zbrStorageExtc0_12 ONLINE -> FAILED
//     2026-01-05T10:02:11+01:00 volume zbrStorageVolumec0_1 name data -> archive
//     2026-01-05T10:02:11+01:00 volume zbrStorageVolumec0_1 verdict OK -> WARNING: no disks known
//     2026-01-05T10:02:11+01:00 disk zbrStorageExtc0_13 appeared: ONLINE
//     2026-01-05T10:02:11+01:00 disk zbrStorageExtc0_13 removed: ONLINE
// Each ends in a line feed.
std::string ToText(const Change &change, const std::string &time);

// {"time", "event": "changed", "class", "kind", "id", "path", "state", "verdict", "reason", "changes": {property:
// {"from", "to"}}}; the events "appeared" and "removed" carry the instance's "properties" instead of changes. A changed
// state word adds "previousState", a changed verdict "previousVerdict". What is removed has the verdict of what is
// gone. Software has no verdict.
Json ToJson(const Change &change, const std::string &time);

} // namespace cim
