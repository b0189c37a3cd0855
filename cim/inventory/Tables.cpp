#include "cim/inventory/Tables.h"

#include "cim/inventory/Verdict.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace cim {

namespace {

// The columns of each class's table, by facts.
const std::array<std::vector<std::string_view>, kServedClasses.size()> kColumns{{
    {"controller", "model", "package", "firmware", "state", "verdict"},
    {"controller", "model", "package", "firmware"},
    {"controller", "device", "name", "level", "size", "state", "verdict", "drives"},
    {"controller", "enclosure", "slot", "device", "size", "firmware", "state", "verdict"},
    {"controller", "device", "name", "type", "usage", "state", "verdict"},
    {"controller", "device", "charge", "state", "verdict"},
}};

std::string InCapitals(std::string text, std::size_t count = std::string::npos) {
    count = std::min(count, text.size());
    std::transform(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(count), text.begin(),
                   [](unsigned char c) { return std::toupper(c); });
    return text;
}

// By severity.
struct Look {
    const char *mark;
    const char *style;
};
constexpr Look kLooks[] = {{"", ""}, {"?", kMagenta}, {"!", kYellow}, {"!!", kRed}};

Look LookOf(const Item &item) { return kLooks[static_cast<std::size_t>(item.severity)]; }

// The heading, and a line for each of the first items.
std::string TableOf(const ServedClass &served, const std::vector<Item> &items, std::size_t count,
                    const TablesOptions &options) {
    const auto columns = ColumnsOf(served);
    std::vector<std::string> lines(1 + count);
    for (std::size_t i = 0; i <= count; ++i) {
        lines[i] = Padded(i > 0 ? LookOf(items[i - 1]).mark : "", 2, false);
        if (options.changed == nullptr) continue;
        lines[i] += i > 0 && options.changed->count(items[i - 1].path) != 0 ? "*" : " ";
    }
    const char *separator = " ";
    for (const auto &[title, fact, right] : columns) {
        std::vector<std::string> cells{InCapitals(title)};
        for (std::size_t i = 0; i < count; ++i) cells.push_back(Shown(items[i].*fact));
        std::size_t width = 0;
        for (const auto &cell : cells) width = std::max(width, LengthOf(cell));
        for (std::size_t i = 0; i <= count; ++i) lines[i] += separator + Padded(cells[i], width, right);
        separator = "  ";
    }
    std::string text;
    for (std::size_t i = 0; i <= count; ++i) {
        const char *style = i > 0 ? LookOf(items[i - 1]).style : "";
        text += Styled(Cut(lines[i], options.text.width), style, options.text) + "\n";
    }
    return text;
}

struct Section {
    const ServedClass *served;
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
    Tally tally;
    std::size_t total = 0;
    for (const auto &section : sections) {
        total += section.items->size();
        tally.Add(*section.items);
    }
    std::string line = Counted(total, "instance", "instances");
    if (sample) line += fmt::format(" of {}", kSampleHardware);
    const std::string counts = tally.Text();
    return line + (counts.empty() ? "" : ": ") + counts + "\n";
}

} // namespace

std::vector<ItemColumn> ColumnsOf(const ServedClass &served) {
    std::vector<ItemColumn> columns;
    for (const std::string_view name : kColumns[served.index]) {
        const auto &fact =
            *std::find_if(std::begin(kFacts), std::end(kFacts), [name](const Fact &each) { return name == each.name; });
        const char *title = name == "device" ? served.kind : name == "usage" ? "use" : fact.name;
        const auto text = name == "verdict" ? &Item::verdictInTable : fact.text;
        columns.push_back({title, text, fact.right || (name == "device" && served.index == kVolume)});
    }
    return columns;
}

std::string RenderTables(const Inventory &inventory, const TablesOptions &options) {
    std::vector<Section> sections;
    for (const auto &served : kServedClasses) {
        const auto &items = inventory[served.index];
        const bool wanted = options.only != nullptr ? options.only == &served : served.index != kSoftware;
        if (wanted) sections.push_back({&served, &items, items.size()});
    }
    std::string text;
    std::size_t height = options.height;
    if (options.sample) {
        const std::size_t width = options.text.width != 0 ? options.text.width : std::string::npos;
        text = Styled(std::string(kSampleNotice).substr(0, width), kYellow, options.text) + "\n\n";
        if (height != 0) height = std::max<std::size_t>(height, 3) - 2;
    }
    Fit(sections, height);

    for (const auto &[served, items, shown] : sections) {
        text += Styled(InCapitals(served->kinds, 1), kBold, options.text);
        if (items->empty()) {
            text += ": none\n\n";
            continue;
        }
        text += "\n" + TableOf(*served, *items, shown, options);
        if (shown < items->size()) {
            text += fmt::format("   ... and {} more, none worse than {}\n", items->size() - shown,
                                (*items)[shown].verdict.empty() ? "these" : (*items)[shown].verdict);
        }
        text += "\n";
    }
    return text + CountLine(sections, options.sample);
}

} // namespace cim
