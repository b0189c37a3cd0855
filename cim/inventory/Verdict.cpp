#include "cim/inventory/Verdict.h"

#include "cim/inventory/ShownText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fnmatch.h>

#include <algorithm>

namespace cim {

namespace {

// Until the first row that has the state; the last row of a table has what no other has.
struct StateRow {
    std::vector<const char *> states; // empty: any other
    Verdict verdict;
    bool rebuild = false; // --rebuild decides instead
};

const StateRow kDiskStates[] = {
    {{"ONLINE", "HOT SPARE", "UNCONFIGURED GOOD"}, Verdict::Ok},
    {{"REBUILD"}, Verdict::Warning, true},
    {{"UNCONFIGURED BAD"}, Verdict::Warning},
    {{"FAILED", "OFFLINE"}, Verdict::Critical},
};
const StateRow kVolumeStates[] = {
    {{"OPTIMAL"}, Verdict::Ok},
    {{"DEGRADED"}, Verdict::Warning},
    {{"OFFLINE"}, Verdict::Critical},
};
// By operational status.
const StateRow kOtherStates[] = {
    {{"OK", "Dormant"}, Verdict::Ok},
    {{"Error", "Non-recoverable error", "No contact", "Lost communication"}, Verdict::Critical},
    {{}, Verdict::Warning},
};
// Of a battery, beside its operational status.
const StateRow kCharges[] = {{{"Critical"}, Verdict::Warning}};

constexpr std::size_t kNamedInLine = 3;  // the others are in the lines below
constexpr std::size_t kLinesBelow = 100; // monitoring systems keep a few kilobytes

int Severity(Verdict verdict) {
    constexpr Verdict worse[] = {Verdict::Ok, Verdict::Unknown, Verdict::Warning, Verdict::Critical};
    return static_cast<int>(std::find(std::begin(worse), std::end(worse), verdict) - std::begin(worse));
}

Verdict Worse(Verdict a, Verdict b) { return Severity(a) < Severity(b) ? b : a; }

template <std::size_t Count> const StateRow *RowFor(const StateRow (&rows)[Count], const std::string &state) {
    const auto row = std::find_if(std::begin(rows), std::end(rows), [&state](const StateRow &each) {
        return each.states.empty() || std::find(each.states.begin(), each.states.end(), state) != each.states.end();
    });
    return row != std::end(rows) ? row : nullptr;
}

Verdict JudgeStatus(const Item &item) { return RowFor(kOtherStates, item.status)->verdict; }

// A state without a row, such as UNDEFINED, hides what the operational status is.
Verdict JudgeWord(const Item &item, const StateRow *row, const CheckRules &rules) {
    if (row != nullptr) return row->rebuild ? rules.rebuild : row->verdict;
    return item.state == item.status ? JudgeStatus(item) : Worse(Verdict::Warning, JudgeStatus(item));
}

Verdict Judge(const Item &item, const CheckRules &rules) {
    switch (item.served->index) {
    case kSoftware:
        return Verdict::Ok;
    case kDisk:
        return JudgeWord(item, RowFor(kDiskStates, item.state), rules);
    case kVolume:
        return JudgeWord(item, RowFor(kVolumeStates, item.state), rules);
    case kBattery: {
        const StateRow *charge = RowFor(kCharges, item.charge);
        return Worse(JudgeStatus(item), charge != nullptr ? charge->verdict : Verdict::Ok);
    }
    default:
        return JudgeStatus(item);
    }
}

// Monitoring systems read what follows a "|" as performance data.
std::string Plain(const std::string &text) {
    std::string plain = Printable(text);
    std::replace(plain.begin(), plain.end(), '|', '/');
    return plain;
}

std::string NameOf(const Item &item) {
    if (item.controller.empty()) return fmt::format("{} {}", item.served->kind, item.id); // a key of another form
    return fmt::format("{} {}{}{}", item.served->kind, item.controller, item.device.empty() ? "" : "/", item.device);
}

std::string StateOf(const Item &item) {
    if (item.state == "UNDEFINED") return fmt::format("UNDEFINED ({})", item.status);
    if (RowFor(kCharges, item.charge) != nullptr) return fmt::format("{}, charge {}", item.state, item.charge);
    return item.state.empty() ? "without a state" : item.state;
}

// The first pattern that the item matches; null: none.
const std::string *PatternFor(const Item &item, const CheckRules &rules) {
    const std::string names[] = {NameOf(item), item.id, TextIn(item.instance, "Caption")};
    for (const std::string &pattern : rules.ignored) {
        for (const std::string &name : names) {
            if (fnmatch(pattern.c_str(), name.c_str(), 0) == 0) return &pattern;
        }
    }
    return nullptr;
}

class Checker {
public:
    Checker(const Inventory &checked, const CheckRules &given, const std::string &notRead)
        : inventory(checked), rules(given), unread(notRead), matches(given.ignored.size()) {}

    CheckResult Run() {
        for (const auto &served : kServedClasses) {
            if (!IsWanted(served)) continue;
            for (const Item &item : inventory[served.index]) Look(item);
            counts.push_back(Counted(inventory[served.index].size(), served.kind, served.kinds));
        }
        LookForDevices();
        for (const auto &served : kServedClasses) LookForMissing(served);
        if (!unread.empty()) findings.push_back({Verdict::Unknown, unread, {}});
        if (total == 0) FindNothing();
        for (auto *some : {&findings, &overlooked}) {
            std::stable_sort(some->begin(), some->end(), [](const Finding &a, const Finding &b) {
                return Severity(a.verdict) > Severity(b.verdict);
            });
        }
        return Report();
    }

private:
    struct Finding {
        Verdict verdict;
        std::string text; // for the first line
        std::string more; // behind it in the lines below; may be empty
    };

    bool IsWanted(const ServedClass &served) const {
        return served.index != kSoftware && (rules.only == nullptr || rules.only == &served);
    }

    void Look(const Item &item) {
        ++total;
        Finding finding{Judge(item, rules), NameOf(item) + " " + StateOf(item), TextIn(item.instance, "Caption")};
        const bool isFine = finding.verdict == Verdict::Ok;
        const std::string *pattern = PatternFor(item, rules);
        if (pattern != nullptr) {
            ++ignored;
            ++matches[static_cast<std::size_t>(pattern - rules.ignored.data())];
            if (isFine) return;
        }
        (pattern != nullptr ? overlooked : isFine ? fine : findings).push_back(std::move(finding));
    }

    // A controller is known at once, its devices only when they have been read.
    void LookForDevices() {
        for (const Item &controller : inventory[kController]) {
            const auto owns = [&](const std::vector<Item> &items) {
                return std::any_of(items.begin(), items.end(),
                                   [&](const Item &item) { return item.controller == controller.controller; });
            };
            const bool read = std::any_of(inventory.begin() + kVolume, inventory.end(), owns);
            if (read || PatternFor(controller, rules) != nullptr) continue;
            building = true;
            findings.push_back({Verdict::Unknown, NameOf(controller) + " has no devices",
                                "they may still be being read for the first time"});
        }
    }

    void LookForMissing(const ServedClass &served) {
        const auto &expected = rules.expected[served.index];
        const std::size_t found = inventory[served.index].size();
        if (!expected || found >= *expected || building || !unread.empty()) return;
        findings.push_back(
            {Verdict::Critical, fmt::format("{} of {} {} missing", *expected - found, *expected, served.kinds), {}});
    }

    void FindNothing() {
        const ServedClass &served = rules.only != nullptr ? *rules.only : kServedClasses[kController];
        if (rules.expected[served.index] == std::size_t{0}) return;
        findings.push_back({Verdict::Unknown, fmt::format("no {} found", served.kinds), {}});
    }

    std::size_t CountOf(Verdict verdict) const {
        return static_cast<std::size_t>(std::count_if(
            findings.begin(), findings.end(), [verdict](const Finding &each) { return each.verdict == verdict; }));
    }

    static std::string NamesOf(const std::vector<Finding> &some) {
        std::string names;
        for (std::size_t i = 0; i < std::min(some.size(), kNamedInLine); ++i) {
            names += (i > 0 ? ", " : "") + some[i].text;
        }
        if (some.size() > kNamedInLine) names += fmt::format(" and {} more", some.size() - kNamedInLine);
        return names;
    }

    std::string FirstLine() const {
        std::string line = rules.sample ? fmt::format("{}: ", kSampleHardware) : "";
        line += findings.empty() ? fmt::format("{}", fmt::join(counts, ", ")) : NamesOf(findings);
        if (!overlooked.empty()) {
            line += " (ignored: " + NamesOf(overlooked) + ")";
        } else if (ignored > 0) {
            line += fmt::format(" ({} ignored, all fine)", ignored);
        }
        return line;
    }

    // 'label'=value;warning;critical;minimum
    std::string PerformanceData() const {
        std::string data;
        for (const auto &served : kServedClasses) {
            if (!IsWanted(served)) continue;
            const auto &expected = rules.expected[served.index];
            data += fmt::format("{}={};;{};0 ", served.kinds, inventory[served.index].size(),
                                expected ? fmt::format("{}:", *expected) : "");
        }
        return data + fmt::format("warning={};0;;0 critical={};;0;0 ignored={};;;0", CountOf(Verdict::Warning),
                                  CountOf(Verdict::Critical), ignored);
    }

    std::vector<std::string> LinesBelow() const {
        std::vector<std::string> lines;
        for (const auto *some : {&findings, &overlooked, &fine}) {
            if (some == &fine && !rules.verbose) break;
            for (const auto &[verdict, text, more] : *some) {
                lines.push_back(fmt::format("{} {}{}{}", some == &overlooked ? "ignored" : cim::NameOf(verdict), text,
                                            more.empty() ? "" : ": ", more));
            }
        }
        for (std::size_t i = 0; i < matches.size(); ++i) {
            lines.push_back(fmt::format("--ignore '{}' matches {}", rules.ignored[i],
                                        matches[i] == 0 ? "nothing" : Counted(matches[i], "instance", "instances")));
        }
        if (lines.size() > kLinesBelow) {
            const std::size_t more = lines.size() - kLinesBelow;
            lines.resize(kLinesBelow);
            lines.push_back(fmt::format("... and {} lines more", more));
        }
        return lines;
    }

    CheckResult Report() const {
        CheckResult result;
        result.verdict = findings.empty() ? Verdict::Ok : findings.front().verdict;
        result.output =
            fmt::format("{}: {} | {}\n", cim::NameOf(result.verdict), Plain(FirstLine()), PerformanceData());
        for (const std::string &below : LinesBelow()) result.output += Plain(below) + "\n";
        return result;
    }

    const Inventory &inventory;
    const CheckRules &rules;
    const std::string &unread;
    std::vector<std::string> counts;
    std::vector<Finding> findings, overlooked, fine;
    std::vector<std::size_t> matches; // of each pattern
    std::size_t total = 0, ignored = 0;
    bool building = false;
};

// A label a row, as long as there are any.
template <std::size_t Count>
void AddRows(std::string &text, std::vector<const char *> labels, const StateRow (&rows)[Count]) {
    labels.resize(Count, "");
    for (std::size_t i = 0; i < Count; ++i) {
        const std::string states =
            rows[i].states.empty() ? "any other" : fmt::format("{}", fmt::join(rows[i].states, ", "));
        text += fmt::format("  {:<16}{:<64}{}{}\n", labels[i], states, NameOf(rows[i].verdict),
                            rows[i].rebuild ? " (--rebuild)" : "");
    }
}

} // namespace

const char *NameOf(Verdict verdict) {
    constexpr const char *names[] = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};
    return names[static_cast<std::size_t>(verdict)];
}

CheckResult Check(const Inventory &inventory, const CheckRules &rules, const std::string &unread) {
    return Checker(inventory, rules, unread).Run();
}

CheckResult CannotCheck(const std::string &reason, Verdict verdict) {
    return {verdict, fmt::format("{}: {}\n", NameOf(verdict), Plain(reason))};
}

std::string StateTable() {
    std::string text;
    AddRows(text, {"disk"}, kDiskStates);
    AddRows(text, {"volume"}, kVolumeStates);
    AddRows(text, {"controller", "port", "battery"}, kOtherStates);
    AddRows(text, {"battery charge"}, kCharges);
    text += "  A disk or volume in any other state, such as UNDEFINED, is judged by its operational status as a port\n"
            "  is, and is a WARNING at least.\n";
    return text;
}

} // namespace cim
