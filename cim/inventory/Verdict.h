// What a monitoring system is told of an inventory, by the common rules for its plug-ins.
#pragma once

#include "cim/inventory/Inventory.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace cim {

enum class Verdict { Ok, Warning, Critical, Unknown }; // the plug-in's exit statuses
const char *NameOf(Verdict verdict);                   // "OK"

struct CheckRules {
    const ServedClass *only = nullptr; // null: all
    std::vector<std::string> ignored;  // shell patterns for names ("disk c0/252:4"), keys and captions
    std::array<std::optional<std::size_t>, kServedClasses.size()> expected; // as many at least
    Verdict rebuild = Verdict::Warning;
    bool sample = false;  // say that this is the sample hardware
    bool verbose = false; // list what is fine, too
};

struct CheckResult {
    Verdict verdict = Verdict::Ok;
    std::string output; // "VERDICT: text | performance data", then a line for each thing that is not fine
};

// `unread` says why the inventory may not be all of it; empty when it is.
CheckResult Check(const Inventory &inventory, const CheckRules &rules, const std::string &unread);

// When there is no inventory to check.
CheckResult CannotCheck(const std::string &reason, Verdict verdict = Verdict::Unknown);

// Which state is which verdict, as lines for people.
std::string StateTable();

} // namespace cim
