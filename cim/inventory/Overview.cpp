#include "cim/inventory/Overview.h"

#include "cim/inventory/Verdict.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace cim {

namespace {

// With fewer lines, blank ones, or titles and reasons, are left out.
constexpr std::size_t kRoomForBlanks = 16, kRoomForTitles = 8;

constexpr const char *kRecoveredMark = "+ ";
constexpr std::size_t kMostRecovered = 6; // a server that comes back may bring everything back

std::size_t LinesOf(const std::string &text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

std::size_t LinesOf(const GridText &table) {
    std::size_t lines = 0;
    for (const auto &row : table.rows) lines += LinesOf(row);
    return lines;
}

// A thing of any kind.
struct Entry {
    Severity severity;
    Grid::Row row;
};

Grid GridOfEntries() {
    return {{{"WHAT"}, {"NAME", false, 2}, {"STATE"}, {"VERDICT"}, {"REASON", false, 3, true}}, {}};
}

std::string Named(const Item &item) {
    if (!item.enclosure.empty()) return fmt::format("enclosure {}, slot {}", item.enclosure, item.slot);
    return item.served->index == kController ? item.model : item.name;
}

class Overview {
public:
    Overview(const Inventory &all, const Memory &remembered, const TablesOptions &given, std::size_t height)
        : inventory(all), memory(remembered), options(given),
          left(height != 0 ? height : std::numeric_limits<std::size_t>::max()), blanks(left >= kRoomForBlanks) {}

    std::string Render() {
        AddSummary();
        AddEntries("Needs a look", Problems(), std::numeric_limits<std::size_t>::max());
        AddEntries("Recovered", Recoveries(), kMostRecovered);
        AddKinds();
        return text;
    }

private:
    bool IsShown(const Gone &gone) const { return options.Shows(*gone.last.served); }

    void Add(const std::string &lines) {
        text += lines;
        left -= std::min(left, LinesOf(lines));
    }
    void AddBlank() {
        if (blanks && left > 0) Add("\n");
    }

    void AddSummary() {
        Tally tally;
        std::size_t total = 0;
        for (const auto &served : kServedClasses) {
            if (!options.Shows(served)) continue;
            tally.Add(inventory[served.index]);
            total += inventory[served.index].size();
        }
        const auto &all = memory.All();
        const auto gone = static_cast<std::size_t>(
            std::count_if(all.begin(), all.end(), [this](const Gone &each) { return IsShown(each); }));
        const std::string counts = tally.Text(), marks = tally.Brief();
        const std::string lost = gone > 0 ? fmt::format("{} gone", gone) : "";
        // The longest that has room.
        std::string line;
        for (const auto &form : {Counted(total, "instance", "instances") + (counts.empty() ? "" : ": " + counts) +
                                     (gone > 0 ? fmt::format("; {} ({})", lost, NameOf(kGoneSeverity)) : ""),
                                 counts + (gone > 0 ? ", " + lost : ""), (gone > 0 ? lost + " " : "") + marks}) {
            line = form;
            if (options.text.width == 0 || LengthOf(line) <= options.text.width) break;
        }
        tally.Add(kGoneSeverity, gone);
        const char *style = MarkedRow(tally.Worst(), false, options).style;
        Add(Styled(Cut(line, options.text.width), style, options.text) + "\n");
        if (options.sample && left > 0) Add(SampleNotice(options.text));
        AddBlank();
    }

    Entry EntryOf(const Item &item, const std::string &reason) const {
        const bool changed = options.changed != nullptr && options.changed->count(item.path) != 0;
        Entry entry{item.severity, MarkedRow(item.severity, changed, options)};
        entry.row.cells = {NameOf(item), Named(item), item.state, item.verdict, reason};
        return entry;
    }

    // The worst first; what is gone before other things that are as bad.
    std::vector<Entry> Problems() const {
        std::vector<Entry> entries;
        for (const Gone &gone : memory.All()) {
            if (!IsShown(gone)) continue;
            entries.push_back({kGoneSeverity, MarkedRow(kGoneSeverity, false, options)});
            entries.back().row.cells = {gone.name, gone.kind == "enclosure" ? "" : Named(gone.last), "gone",
                                        NameOf(kGoneSeverity), ReasonOf(gone)};
        }
        for (const auto &served : kServedClasses) {
            if (!options.Shows(served)) continue;
            for (const Item &item : inventory[served.index]) {
                if (item.severity == Severity::Ok) break; // so are the rest
                const std::size_t told = std::string(item.verdict + ": ").size();
                entries.push_back(
                    EntryOf(item, item.verdictInTable.substr(std::min(told, item.verdictInTable.size()))));
            }
        }
        std::stable_sort(entries.begin(), entries.end(),
                         [](const Entry &a, const Entry &b) { return a.severity > b.severity; });
        return entries;
    }

    std::vector<Entry> Recoveries() const {
        std::vector<Entry> entries;
        for (const Recovered &recovered : memory.RecoveredLately()) {
            if (!options.Shows(*recovered.item->served)) continue;
            entries.push_back(EntryOf(*recovered.item, ReasonOf(recovered)));
            entries.back().row.mark.replace(0, 2, kRecoveredMark);
        }
        return entries;
    }

    void AddMore(const std::string &what) { Add(Cut(fmt::format("   ... and {}", what), options.text.width) + "\n"); }

    // `most`: of them are shown.
    void AddEntries(const char *title, const std::vector<Entry> &entries, std::size_t most) {
        if (entries.empty() || left == 0) return;
        Grid grid = GridOfEntries();
        for (const Entry &entry : entries) grid.rows.push_back(entry.row);
        const bool roomy = left >= kRoomForTitles;
        const auto silent = [](const Grid::Row &row) { return row.cells.back().empty(); };
        if (!roomy || std::all_of(grid.rows.begin(), grid.rows.end(), silent)) grid.columns.pop_back();
        GridText table = TextOf(grid, options.text);
        if (LinesOf(table) + (roomy ? 2 : 0) > left && grid.columns.back().remark) {
            grid.columns.pop_back(); // rather more things than their reasons
            table = TextOf(grid, options.text);
        }
        if (roomy) Add(Styled(title, kBold, options.text) + "\n" + table.heading);
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const bool last = i + 1 == entries.size();
            const bool fits = LinesOf(table.rows[i]) + (last ? 0 : 1) <= left;
            if (fits && i < most) {
                Add(table.rows[i]);
                continue;
            }
            const Severity severity = entries[i].severity;
            if (fits || severity > Severity::Ok) {
                AddMore(fmt::format("{} more, none worse than {}", entries.size() - i, NameOf(severity)));
            }
            if (severity > Severity::Ok) left = 0; // for anything better
            break;
        }
        AddBlank();
    }

    // What needs no look.
    struct Kind {
        const ServedClass *served;
        std::size_t total, healthy;
        GridText table;
        std::size_t rows = 0; // that are shown; none: the title says it all

        const char *Verdict() const { return served->index == kSoftware ? "" : " OK"; }
    };

    std::vector<Kind> Kinds() const {
        std::vector<Kind> kinds;
        for (const auto &served : kServedClasses) {
            if (!options.Shows(served)) continue;
            const auto &items = inventory[served.index];
            Grid grid = GridOf(served);
            for (const Item &item : items) {
                if (item.severity == Severity::Ok) grid.rows.push_back(RowOf(item, options));
            }
            kinds.push_back({&served, items.size(), grid.rows.size(), TextOf(grid, options.text)});
        }
        return kinds;
    }

    // Small tables first: they can be shown whole.
    void GiveRows(std::vector<Kind> &kinds) const {
        std::vector<Kind *> bySize;
        for (Kind &kind : kinds) bySize.push_back(&kind);
        std::stable_sort(bySize.begin(), bySize.end(),
                         [](const Kind *a, const Kind *b) { return a->healthy < b->healthy; });
        std::size_t room = left - std::min(left, kinds.size()); // a line for each title
        for (Kind *kind : bySize) {
            std::size_t lines = LinesOf(kind->table.heading) + (blanks ? 1 : 0);
            std::size_t rows = 0;
            for (const auto &row : kind->table.rows) {
                const std::size_t more = rows + 1 < kind->healthy ? 1 : 0; // the line that counts the others
                if (lines + LinesOf(row) + more > room) break;
                lines += LinesOf(row);
                ++rows;
            }
            if (rows == 0) continue;
            kind->rows = rows;
            room -= lines + (rows < kind->healthy ? 1 : 0);
        }
    }

    std::string TitleLine(const Kind &kind) const {
        const std::size_t above = kind.total - kind.healthy;
        std::vector<std::string> counts;
        if (kind.total == 0) counts.emplace_back("none");
        if (kind.rows == 0 && kind.healthy > 0) counts.push_back(fmt::format("{}{}", kind.healthy, kind.Verdict()));
        if (above > 0) counts.push_back(fmt::format("{} above", above));
        const std::string title =
            fmt::format("{}{}{}", TitleOf(*kind.served), counts.empty() ? "" : ": ", fmt::join(counts, ", "));
        return Styled(Cut(title, options.text.width), kBold, options.text) + "\n";
    }

    void AddKinds() {
        std::vector<Kind> kinds = Kinds();
        GiveRows(kinds);
        std::stable_partition(kinds.begin(), kinds.end(), [](const Kind &kind) { return kind.rows > 0; });
        for (const Kind &kind : kinds) {
            if (left == 0) return;
            Add(TitleLine(kind));
            if (kind.rows == 0) continue;
            Add(kind.table.heading);
            for (std::size_t i = 0; i < kind.rows; ++i) Add(kind.table.rows[i]);
            if (kind.rows < kind.healthy) AddMore(fmt::format("{} more{}", kind.healthy - kind.rows, kind.Verdict()));
            AddBlank();
        }
    }

    const Inventory &inventory;
    const Memory &memory;
    const TablesOptions &options;
    std::string text;
    std::size_t left; // lines
    const bool blanks;
};

} // namespace

std::string RenderOverview(const Inventory &inventory, const Memory &memory, const TablesOptions &options,
                           std::size_t height) {
    return Overview(inventory, memory, options, height).Render();
}

} // namespace cim
