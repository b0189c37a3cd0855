// A table as text, in the room that there is.
#pragma once

#include "cim/inventory/ShownText.h"

#include <string>
#include <vector>

namespace cim {

struct Grid {
    struct Column {
        std::string title;
        bool right = false;
        unsigned rank = 0;   // the highest gives way first, 0 never
        bool remark = false; // stands beneath its row when it has given way; may be empty
    };
    struct Row {
        std::string mark; // in front; as long in all rows
        const char *style = "";
        std::vector<std::string> cells; // by column; there may be more of them
    };
    std::vector<Column> columns;
    std::vector<Row> rows;
};

// Lines, each with its line feed.
struct GridText {
    std::string heading;
    std::vector<std::string> rows; // each one line, or several
};

// Columns give way until the rest has room. Where even those that must stay have none, there is no heading, and rows
// are wrapped between words.
GridText TextOf(const Grid &grid, const TextOptions &options);

} // namespace cim
