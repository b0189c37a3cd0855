// The tables of `quarnel list` and `quarnel watch`: one a kind, the worst verdict first, a count per verdict at the
// end.
#pragma once

#include "cim/inventory/Inventory.h"
#include "cim/inventory/ShownText.h"

#include <set>
#include <string>
#include <vector>

namespace cim {

// A column of a kind's table, titled in lower case.
struct ItemColumn {
    const char *title;
    std::string Item::*text;
    bool right;
};
std::vector<ItemColumn> ColumnsOf(const ServedClass &served);

struct TablesOptions {
    bool sample = false;               // say that this is the sample hardware
    const ServedClass *only = nullptr; // null: all; software identities are then the controllers' firmware columns
    TextOptions text;
    std::size_t height = 0; // lines that there is room for; the healthiest rows give way. 0: any number
    const std::set<std::string> *changed = nullptr; // paths of the rows to mark with "*"; null: no room for the mark
};

std::string RenderTables(const Inventory &inventory, const TablesOptions &options);

} // namespace cim
