#include "cim/inventory/Tables.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace cim {

namespace {

struct TableRow {
    const char *title; // in capitals: no class of instances is called by one
    bool always;       // shown without --class
    std::vector<ItemColumn> columns;
};

// In kServedClasses' order.
const std::array<TableRow, kServedClasses.size()> kTables{{
    {"Controllers",
     true,
     {{"CONTROLLER", &Item::controller},
      {"MODEL", &Item::model},
      {"PACKAGE", &Item::package},
      {"FIRMWARE", &Item::firmware},
      {"STATE", &Item::state},
      {"HEALTH", &Item::healthWord}}},
    {"Software identities",
     false,
     {{"CONTROLLER", &Item::controller},
      {"MODEL", &Item::model},
      {"PACKAGE", &Item::package},
      {"FIRMWARE", &Item::firmware}}},
    {"Volumes",
     true,
     {{"CONTROLLER", &Item::controller},
      {"VOLUME", &Item::device, true},
      {"NAME", &Item::name},
      {"LEVEL", &Item::level},
      {"SIZE", &Item::size, true},
      {"STATE", &Item::state},
      {"HEALTH", &Item::healthWord},
      {"DRIVES", &Item::drives}}},
    {"Disks",
     true,
     {{"CONTROLLER", &Item::controller},
      {"ENCLOSURE", &Item::enclosure},
      {"SLOT", &Item::slot, true},
      {"DISK", &Item::device},
      {"SIZE", &Item::size, true},
      {"FIRMWARE", &Item::firmware},
      {"STATE", &Item::state},
      {"HEALTH", &Item::healthWord}}},
    {"Ports",
     true,
     {{"CONTROLLER", &Item::controller},
      {"PORT", &Item::device},
      {"NAME", &Item::name},
      {"TYPE", &Item::portType},
      {"USE", &Item::usage},
      {"STATE", &Item::state},
      {"HEALTH", &Item::healthWord}}},
    {"Batteries",
     true,
     {{"CONTROLLER", &Item::controller},
      {"BATTERY", &Item::device},
      {"CHARGE", &Item::charge},
      {"STATE", &Item::state},
      {"HEALTH", &Item::healthWord}}},
}};

// By severity.
struct Look {
    const char *mark;
    const char *style;
};
constexpr Look kLooks[] = {
    {"", ""}, {"?", kMagenta}, {"!", kYellow}, {"!", kYellow}, {"!!", kRed}, {"!!", kRed}, {"!!", kRed},
};

Look LookOf(const Item &item) {
    return item.health != nullptr ? kLooks[static_cast<std::size_t>(item.health->severity)] : kLooks[0];
}

TextTable TableOf(const std::vector<Item> &items, std::size_t count, const TableRow &table,
                  const std::set<std::string> *changed) {
    TextTable text;
    for (const auto &column : table.columns) text.columns.push_back({column.title, column.right});
    const auto changeMark = [changed](const Item &item) {
        return changed == nullptr ? "" : changed->count(item.path) != 0 ? "*" : " ";
    };
    for (std::size_t i = 0; i < count; ++i) {
        const auto [mark, style] = LookOf(items[i]);
        TextTable::Row row{fmt::format("{:2}{}", mark, changeMark(items[i])), {}, style};
        for (const auto &column : table.columns) row.cells.push_back(items[i].*column.text);
        text.rows.push_back(std::move(row));
    }
    return text;
}

struct Section {
    const TableRow *table;
    const std::vector<Item> *items;
    std::size_t shown; // its first rows

    // Title, headings and a line in between; for an empty one the title says it all.
    std::size_t Lines() const { return items->empty() ? 2 : shown + 3 + (shown < items->size() ? 1 : 0); }
};

// Takes rows from the table that shows most of them until all fit. Its last ones are its healthiest.
void Fit(std::vector<Section> &sections, std::size_t height) {
    const auto total = [&sections] {
        std::size_t lines = 1;
        for (const auto &section : sections) lines += section.Lines();
        return lines;
    };
    while (height != 0 && total() > height) {
        const auto most = std::max_element(sections.begin(), sections.end(),
                                           [](const Section &a, const Section &b) { return a.shown < b.shown; });
        if (most == sections.end() || most->shown <= 1) return;
        --most->shown;
    }
}

constexpr const char *kSampleNotice = "Sample hardware, not this machine's: --hardware FILE or --url URL shows other";

std::string CountLine(const std::vector<Section> &sections, bool sample) {
    std::map<int, std::pair<const char *, std::size_t>, std::greater<>> counts; // worst first
    std::size_t total = 0;
    for (const auto &section : sections) {
        for (const auto &item : *section.items) {
            ++total;
            if (item.health == nullptr) continue;
            auto &count = counts[item.health->severity];
            count.first = item.health->word;
            ++count.second;
        }
    }
    std::string line = fmt::format("{} instance{}", total, total == 1 ? "" : "s");
    if (sample) line += fmt::format(" of {}", kSampleHardware);
    const char *separator = ": ";
    for (const auto &[severity, count] : counts) {
        line += fmt::format("{}{} {}", separator, count.second, count.first);
        separator = ", ";
    }
    return line + "\n";
}

} // namespace

const std::vector<ItemColumn> &ColumnsOf(const ServedClass &served) { return kTables[served.index].columns; }

std::string RenderTables(const Inventory &inventory, const TablesOptions &options) {
    std::vector<Section> sections;
    for (std::size_t i = 0; i < kTables.size(); ++i) {
        const bool wanted = options.only != nullptr ? options.only == &kServedClasses[i] : kTables[i].always;
        if (wanted) sections.push_back({&kTables[i], &inventory[i], inventory[i].size()});
    }
    std::string text;
    std::size_t height = options.height;
    if (options.sample) {
        const std::size_t width = options.text.width != 0 ? options.text.width : std::string::npos;
        text = Styled(std::string(kSampleNotice).substr(0, width), kYellow, options.text) + "\n\n";
        if (height != 0) height = std::max<std::size_t>(height, 3) - 2;
    }
    Fit(sections, height);

    for (const auto &[table, items, shown] : sections) {
        if (items->empty()) {
            text += Styled(table->title, kBold, options.text) + ": none\n\n";
            continue;
        }
        text += Styled(table->title, kBold, options.text) + "\n";
        text += Render(TableOf(*items, shown, *table, options.changed), options.text);
        if (shown < items->size()) {
            text += fmt::format("   ... and {} more, none worse than {}\n", items->size() - shown,
                                (*items)[shown].health != nullptr ? (*items)[shown].health->word : "these");
        }
        text += "\n";
    }
    return text + CountLine(sections, options.sample);
}

} // namespace cim
