#include "cim/inventory/Grid.h"

#include <algorithm>

namespace cim {

namespace {

constexpr unsigned kWrappedRank = 1; // the last columns to give way, wrapped too
constexpr const char *kBetween = "  ";

struct Laid {
    std::size_t column, width;
};

std::vector<Laid> AllOf(const Grid &grid) {
    std::vector<Laid> columns;
    for (std::size_t i = 0; i < grid.columns.size(); ++i) {
        std::size_t width = LengthOf(grid.columns[i].title);
        for (const auto &row : grid.rows) width = std::max(width, LengthOf(Shown(row.cells[i])));
        columns.push_back({i, width});
    }
    return columns;
}

std::string IndentOf(const Grid &grid) {
    return std::string(grid.rows.empty() ? 0 : LengthOf(grid.rows.front().mark), ' ');
}

// Of a line.
std::size_t Needed(const Grid &grid, const std::vector<Laid> &columns) {
    std::size_t needed = IndentOf(grid).size() + 1;
    for (const Laid &each : columns) needed += each.width;
    return needed + (columns.size() - 1) * std::string(kBetween).size();
}

// The columns that have room; none when those that must stay have not.
std::vector<Laid> Fitting(const Grid &grid, std::size_t width) {
    std::vector<Laid> columns = AllOf(grid);
    const auto rank = [&grid](const Laid &each) { return grid.columns[each.column].rank; };
    while (width != 0 && Needed(grid, columns) > width) {
        const auto last = std::max_element(columns.begin(), columns.end(),
                                           [&rank](const Laid &a, const Laid &b) { return rank(a) < rank(b); });
        if (rank(*last) == 0) return {};
        columns.erase(last);
    }
    return columns;
}

std::string Line(std::string text, const std::vector<Laid> &columns, const Grid &grid,
                 const std::vector<std::string> &cells) {
    const char *separator = " ";
    for (const auto &each : columns) {
        text += separator + Padded(cells[each.column], each.width, grid.columns[each.column].right);
        separator = kBetween;
    }
    return text;
}

// Lines that cells fill, broken between words.
class Paragraph {
public:
    Paragraph(const std::string &start, std::size_t most) : lines{start}, indent(LengthOf(start), ' '), width(most) {}

    void Add(const std::string &cell) {
        std::string separator = lines.back().size() > indent.size() ? kBetween : " ";
        for (std::size_t at = 0; at < cell.size();) {
            const std::size_t end = std::min(cell.find(' ', at), cell.size());
            const std::string word = cell.substr(at, end - at);
            const bool fits = LengthOf(lines.back()) + separator.size() + LengthOf(word) <= width;
            if (!fits && lines.back().size() > indent.size()) {
                lines.push_back(indent);
                separator = " ";
            }
            lines.back() += separator + word;
            separator = " ";
            at = end + 1;
        }
    }

    std::vector<std::string> lines;

private:
    const std::string indent;
    const std::size_t width;
};

std::vector<std::string> LinesOf(const Grid &grid, const Grid::Row &row, const std::vector<Laid> &columns,
                                 std::size_t width) {
    Paragraph wrapped(row.mark, width);
    Paragraph remarks(IndentOf(grid) + kBetween, width);
    std::vector<std::string> cells;
    for (std::size_t i = 0; i < grid.columns.size(); ++i) {
        const auto &column = grid.columns[i];
        cells.push_back(column.remark ? Printable(row.cells[i]) : Shown(row.cells[i]));
        if (row.cells[i].empty()) continue;
        if (column.rank <= kWrappedRank || column.remark) wrapped.Add(cells.back());
        const auto isIt = [i](const Laid &each) { return each.column == i; };
        if (column.remark && std::none_of(columns.begin(), columns.end(), isIt)) remarks.Add(cells.back());
    }
    if (columns.empty()) return wrapped.lines;
    std::vector<std::string> lines{Line(row.mark, columns, grid, cells)};
    if (remarks.lines.front().find_first_not_of(' ') != std::string::npos) {
        lines.insert(lines.end(), remarks.lines.begin(), remarks.lines.end());
    }
    return lines;
}

} // namespace

GridText TextOf(const Grid &grid, const TextOptions &options) {
    const std::vector<Laid> columns = Fitting(grid, options.width);
    std::vector<std::string> titles;
    for (const auto &column : grid.columns) titles.push_back(column.title);
    GridText text;
    if (!columns.empty()) {
        text.heading = Cut(Line(IndentOf(grid), columns, grid, titles), options.width) + "\n";
    }
    for (const auto &row : grid.rows) {
        std::string &all = text.rows.emplace_back();
        for (const auto &line : LinesOf(grid, row, columns, options.width)) {
            all += Styled(Cut(line, options.width), row.style, options) + "\n";
        }
    }
    return text;
}

} // namespace cim
