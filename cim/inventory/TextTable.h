// Plain text tables: columns as wide as their widest cell, one line a row, coloured by the row.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace cim {

struct TextTable {
    struct Column {
        std::string title;
        bool right = false; // aligned right: numbers
    };
    struct Row {
        std::string mark;               // in front of the cells; marks are padded to the widest
        std::vector<std::string> cells; // one a column; "" is shown as "-"
        const char *style = "";         // ANSI attributes for the whole line; "" for none
    };
    std::vector<Column> columns;
    std::vector<Row> rows;
};

struct TextOptions {
    bool colour = false;
    std::size_t width = 0; // lines are cut to this many characters; 0: not at all
};

// The heading and one line a row, each ending in a line feed.
std::string Render(const TextTable &table, const TextOptions &options);

// The text between an ANSI style and its end, or as it is when the style is "" or colours are off.
std::string Styled(const std::string &text, const char *style, const TextOptions &options);

// What a terminal may be shown of a text from outside: control characters become "?".
std::string Printable(std::string_view text);

// The same, and "-" for an empty text.
std::string Shown(std::string_view text);

// "1 disk", "2 disks".
std::string Counted(std::size_t count, const char *one, const char *several);

// Characters, not bytes, of a UTF-8 text.
std::size_t LengthOf(std::string_view text);

constexpr const char *kBold = "\033[1m";
constexpr const char *kRed = "\033[1;31m";
constexpr const char *kYellow = "\033[33m";
constexpr const char *kMagenta = "\033[35m";

} // namespace cim
