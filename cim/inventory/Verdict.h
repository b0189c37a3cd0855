// What is thought of each thing, and why: judged here alone, so that no view says otherwise.
#pragma once

#include "cim/inventory/Inventory.h"

#include <array>
#include <string>
#include <vector>

namespace cim {

// In front of what is not OK: "!!" is critical.
const char *MarkOf(Severity severity);

// Gives each item its verdict.
void Judge(Inventory &inventory, const Leniency &leniency);

// How many things are in which verdict, and of the whole the worst one; without a controller it is UNKNOWN at least.
// What is gone counts as it is judged.
class Tally {
public:
    void Add(Severity severity, std::size_t count = 1) { counts[static_cast<std::size_t>(severity)] += count; }
    // All that has a verdict.
    void Add(const std::vector<Item> &items);
    Severity Worst() const;
    std::string Text() const;  // "1 CRITICAL, 2 WARNING, 17 OK"
    std::string Brief() const; // "!!1 !2 OK17"

private:
    std::array<std::size_t, 4> counts{}; // by severity
};

// Of everything that there is: "CRITICAL". `gone` is how many things are gone.
Severity WorstOf(const Inventory &inventory, std::size_t gone);

// Of a thing that was there and is not any more.
constexpr Severity kGoneSeverity = Severity::Warning;

// The rules, as lines for people.
std::string RulesTable();

} // namespace cim
