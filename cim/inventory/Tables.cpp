#include "cim/inventory/Tables.h"

#include "cim/inventory/Verdict.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace cim {

namespace {

// The columns of each class's table, by facts. Those that tell which thing it is and how it is stay.
struct KindColumn {
    std::string_view fact;
    unsigned rank = 0;
};
const std::array<std::vector<KindColumn>, kServedClasses.size()> kColumns{{
    {{"controller"}, {"model", 1}, {"package", 3}, {"firmware", 2}, {"state"}, {"verdict"}},
    {{"controller"}, {"model", 1}, {"package"}, {"firmware"}},
    {{"controller", 1}, {"device"}, {"name", 2}, {"level", 4}, {"size", 5}, {"state"}, {"verdict"}, {"drives", 3}},
    {{"controller", 1},
     {"enclosure", 3},
     {"slot", 2},
     {"device"},
     {"size", 4},
     {"firmware", 5},
     {"state"},
     {"verdict"}},
    {{"controller", 1}, {"device"}, {"name", 2}, {"type", 3}, {"usage", 4}, {"state"}, {"verdict"}},
    {{"controller", 1}, {"device"}, {"charge", 2}, {"state"}, {"verdict"}},
}};

std::string InCapitals(std::string text, std::size_t count = std::string::npos) {
    count = std::min(count, text.size());
    std::transform(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(count), text.begin(),
                   [](unsigned char c) { return std::toupper(c); });
    return text;
}

constexpr const char *kStyles[] = {"", kMagenta, kYellow, kRed}; // by severity

constexpr const char *kSampleNotice = "Sample hardware, not this machine's: --hardware FILE or --url URL shows other";

std::string CountLine(const Inventory &inventory, const TablesOptions &options) {
    Tally tally;
    std::size_t shown = 0, all = 0;
    for (const auto &served : kServedClasses) {
        if (!options.Shows(served)) continue;
        shown += inventory[served.index].size();
        tally.Add(inventory[served.index]);
        if (options.whole != nullptr) all += (*options.whole)[served.index].size();
    }
    std::string line = Counted(options.whole != nullptr ? all : shown, "instance", "instances");
    if (options.sample) line += fmt::format(" of {}", kSampleHardware);
    if (options.whole != nullptr) line = fmt::format("{} of {} shown", shown, line);
    const std::string counts = tally.Text();
    return line + (counts.empty() ? "" : ": ") + counts + "\n";
}

} // namespace

std::vector<ItemColumn> ColumnsOf(const ServedClass &served) {
    std::vector<ItemColumn> columns;
    for (const auto &[name, rank] : kColumns[served.index]) {
        const auto &fact = *std::find_if(std::begin(kFacts), std::end(kFacts),
                                         [wanted = name](const Fact &each) { return wanted == each.name; });
        const char *title = name == "device" ? served.kind : name == "usage" ? "use" : fact.name;
        const auto text = name == "verdict" ? &Item::verdictInTable : fact.text;
        columns.push_back({title, text, fact.right || (name == "device" && served.index == kVolume), rank});
    }
    return columns;
}

Grid GridOf(const ServedClass &served) {
    Grid grid;
    for (const auto &column : ColumnsOf(served))
        grid.columns.push_back({InCapitals(column.title), column.right, column.rank});
    return grid;
}

Grid::Row MarkedRow(Severity severity, bool changed, const TablesOptions &options) {
    const char *star = options.changed == nullptr ? "" : changed ? "*" : " ";
    return {Padded(MarkOf(severity), 2, false) + star, kStyles[static_cast<std::size_t>(severity)], {}};
}

Grid::Row RowOf(const Item &item, const TablesOptions &options) {
    const bool changed = options.changed != nullptr && options.changed->count(item.path) != 0;
    Grid::Row row = MarkedRow(item.severity, changed, options);
    for (const auto &column : ColumnsOf(*item.served)) row.cells.push_back(item.*column.text);
    return row;
}

std::string TitleOf(const ServedClass &served) { return InCapitals(served.kinds, 1); }

std::string SampleNotice(const TextOptions &options) {
    return Styled(Cut(kSampleNotice, options.width), kYellow, options) + "\n";
}

std::string RenderTables(const Inventory &inventory, const TablesOptions &options) {
    std::string text = options.sample ? SampleNotice(options.text) + "\n" : "";
    for (const auto &served : kServedClasses) {
        const auto &items = inventory[served.index];
        if (!options.Shows(served) || (items.empty() && options.whole != nullptr)) continue;
        text += Styled(TitleOf(served), kBold, options.text);
        if (items.empty()) {
            text += ": none\n\n";
            continue;
        }
        Grid grid = GridOf(served);
        for (const Item &item : items) grid.rows.push_back(RowOf(item, options));
        const GridText table = TextOf(grid, options.text);
        text += "\n" + table.heading;
        for (const auto &row : table.rows) text += row;
        text += "\n";
    }
    return text + CountLine(inventory, options);
}

} // namespace cim
