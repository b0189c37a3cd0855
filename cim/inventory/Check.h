// What a monitoring system is told of an inventory, by the common rules for its plug-ins.
#pragma once

#include "cim/inventory/Inventory.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace cim {

struct CheckRules {
    const ServedClass *only = nullptr; // null: all
    std::vector<std::string> ignored;  // shell patterns for names ("disk c0/252:4"), keys and captions
    std::array<std::optional<std::size_t>, kServedClasses.size()> expected; // as many at least
    bool sample = false;                                                    // say that this is the sample hardware
    bool verbose = false;                                                   // list what is fine, too
};

struct CheckResult {
    Severity severity = Severity::Ok;
    std::string output; // "VERDICT: text | performance data", then a line for each thing that is not fine
};

// `unread` says why the inventory may not be all of it; empty when it is.
CheckResult Check(const Inventory &inventory, const CheckRules &rules, const std::string &unread);

// When there is no inventory to check.
CheckResult CannotCheck(const std::string &reason, Severity severity = Severity::Unknown);

// The plug-in's: 0 for OK, 1 for WARNING, 2 for CRITICAL and 3 for UNKNOWN.
int ExitStatusOf(Severity severity);

} // namespace cim
