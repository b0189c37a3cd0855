#include "cim/inventory/Selection.h"

#include "cim/inventory/Captions.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>
#include <set>

namespace cim {

namespace {

bool Has(const std::vector<std::string> &wanted, const std::string &id) {
    return wanted.empty() || std::find(wanted.begin(), wanted.end(), id) != wanted.end();
}

std::string Mistake(const char *kind, const std::vector<std::string> &wanted, const Inventory &inventory,
                    std::string Item::*fact) {
    const auto naturally = [](const std::string &a, const std::string &b) { return NaturallyBefore(a, b); };
    std::set<std::string, decltype(naturally)> known(naturally);
    for (const auto &items : inventory) {
        for (const Item &item : items) known.insert(item.*fact);
    }
    known.erase("");
    for (const std::string &id : wanted) {
        if (known.count(id) != 0) continue;
        return fmt::format("--{0}: unknown {0} {1}; there {2} {3}", kind, id, known.size() > 1 ? "are" : "is",
                           known.empty() ? "none" : fmt::format("{}", fmt::join(known, ", ")));
    }
    return {};
}

} // namespace

Inventory Select(const Inventory &inventory, const Selection &selection) {
    std::set<std::string> inEnclosures; // paths of the disks
    for (const Item &disk : inventory[kDisk]) {
        if (Has(selection.enclosures, disk.enclosure)) inEnclosures.insert(disk.path);
    }
    const auto isIn = [&inEnclosures](const std::string &path) { return inEnclosures.count(path) != 0; };
    const auto selected = [&](const Item &item) {
        if (selection.problems && item.severity == Severity::Ok) return false;
        if (!Has(selection.controllers, item.controller)) return false;
        return selection.enclosures.empty() || isIn(item.path) ||
               std::any_of(item.members.begin(), item.members.end(), isIn);
    };
    Inventory part;
    for (std::size_t i = 0; i < inventory.size(); ++i) {
        std::copy_if(inventory[i].begin(), inventory[i].end(), std::back_inserter(part[i]), selected);
    }
    return part;
}

std::string MistakeIn(const Selection &selection, const Inventory &inventory) {
    std::string mistake = Mistake("controller", selection.controllers, inventory, &Item::controller);
    if (!mistake.empty()) return mistake;
    return Mistake("enclosure", selection.enclosures, Select(inventory, {false, selection.controllers, {}}),
                   &Item::enclosure);
}

} // namespace cim
