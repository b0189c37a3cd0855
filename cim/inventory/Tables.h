// The tables of `quarnel list` and `quarnel watch`: one a kind, the worst verdict first, a count per verdict at the
// end.
#pragma once

#include "cim/inventory/Grid.h"
#include "cim/inventory/Inventory.h"

#include <set>
#include <string>
#include <vector>

namespace cim {

// A column of a kind's table, titled in lower case.
struct ItemColumn {
    const char *title;
    std::string Item::*text;
    bool right;
    unsigned rank; // as a grid's
};
std::vector<ItemColumn> ColumnsOf(const ServedClass &served);

struct TablesOptions {
    bool sample = false;               // say that this is the sample hardware
    const ServedClass *only = nullptr; // null: all; software identities are then the controllers' firmware columns
    TextOptions text;
    const std::set<std::string> *changed = nullptr; // paths of the rows to mark with "*"; null: no room for the mark
    const Inventory *whole = nullptr;               // when the inventory is the part of it that was asked for

    bool Shows(const ServedClass &served) const {
        return only != nullptr ? only == &served : served.index != kSoftware;
    }
};

std::string RenderTables(const Inventory &inventory, const TablesOptions &options);

// What they are made of: a kind's table, without rows; one of its rows; the mark in front of a row, and its style.
Grid GridOf(const ServedClass &served);
Grid::Row RowOf(const Item &item, const TablesOptions &options);
Grid::Row MarkedRow(Severity severity, bool changed, const TablesOptions &options);
// "Disks"
std::string TitleOf(const ServedClass &served);
std::string SampleNotice(const TextOptions &options);

} // namespace cim
