#include "cim/inventory/Check.h"

#include "cim/inventory/ShownText.h"
#include "cim/inventory/Verdict.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fnmatch.h>

#include <algorithm>

namespace cim {

namespace {

constexpr std::size_t kNamedInLine = 3;  // the others are in the lines below
constexpr std::size_t kLinesBelow = 100; // monitoring systems keep a few kilobytes

// Monitoring systems read what follows a "|" as performance data.
std::string Plain(const std::string &text) {
    std::string plain = Printable(text);
    std::replace(plain.begin(), plain.end(), '|', '/');
    return plain;
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
        LookForUnread();
        for (const auto &served : kServedClasses) LookForMissing(served);
        if (!unread.empty()) findings.push_back({Severity::Unknown, unread, {}});
        if (total == 0) FindNothing();
        for (auto *some : {&findings, &overlooked}) {
            std::stable_sort(some->begin(), some->end(),
                             [](const Finding &a, const Finding &b) { return a.severity > b.severity; });
        }
        return Report();
    }

private:
    struct Finding {
        Severity severity;
        std::string text; // for the first line
        std::string more; // behind it in the lines below; may be empty
    };

    bool IsWanted(const ServedClass &served) const {
        return served.index != kSoftware && (rules.only == nullptr || rules.only == &served);
    }

    void Look(const Item &item) {
        ++total;
        const bool isFine = item.severity == Severity::Ok;
        Finding finding{item.severity, NameOf(item) + " " + (isFine ? item.state : item.reason),
                        TextIn(item.instance, "Caption")};
        const std::string *pattern = PatternFor(item, rules);
        if (pattern != nullptr) {
            ++ignored;
            ++matches[static_cast<std::size_t>(pattern - rules.ignored.data())];
            if (isFine) return;
        }
        (pattern != nullptr ? overlooked : isFine ? fine : findings).push_back(std::move(finding));
    }

    // What belongs to a controller that is still being read for the first time is not missing.
    void LookForUnread() {
        for (const Item &controller : inventory[kController]) {
            if (controller.severity != Severity::Unknown || PatternFor(controller, rules) != nullptr) continue;
            building = true;
            if (!IsWanted(*controller.served)) Look(controller);
        }
    }

    void LookForMissing(const ServedClass &served) {
        const auto &expected = rules.expected[served.index];
        const std::size_t found = inventory[served.index].size();
        if (!expected || found >= *expected || building || !unread.empty()) return;
        findings.push_back(
            {Severity::Critical, fmt::format("{} of {} {} missing", *expected - found, *expected, served.kinds), {}});
    }

    void FindNothing() {
        const ServedClass &served = rules.only != nullptr ? *rules.only : kServedClasses[kController];
        if (rules.expected[served.index] == std::size_t{0}) return;
        findings.push_back({Severity::Unknown, fmt::format("no {} found", served.kinds), {}});
    }

    std::size_t CountOf(Severity severity) const {
        return static_cast<std::size_t>(std::count_if(
            findings.begin(), findings.end(), [severity](const Finding &each) { return each.severity == severity; }));
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
        return data + fmt::format("warning={};0;;0 critical={};;0;0 ignored={};;;0", CountOf(Severity::Warning),
                                  CountOf(Severity::Critical), ignored);
    }

    std::vector<std::string> LinesBelow() const {
        std::vector<std::string> lines;
        for (const auto *some : {&findings, &overlooked, &fine}) {
            if (some == &fine && !rules.verbose) break;
            for (const auto &[severity, text, more] : *some) {
                lines.push_back(fmt::format("{} {}{}{}", some == &overlooked ? "ignored" : NameOf(severity), text,
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
        result.severity = findings.empty() ? Severity::Ok : findings.front().severity;
        result.output = fmt::format("{}: {} | {}\n", NameOf(result.severity), Plain(FirstLine()), PerformanceData());
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

} // namespace

CheckResult Check(const Inventory &inventory, const CheckRules &rules, const std::string &unread) {
    return Checker(inventory, rules, unread).Run();
}

CheckResult CannotCheck(const std::string &reason, Severity severity) {
    return {severity, fmt::format("{}: {}\n", NameOf(severity), Plain(reason))};
}

int ExitStatusOf(Severity severity) {
    constexpr int statuses[] = {0, 3, 1, 2};
    return statuses[static_cast<std::size_t>(severity)];
}

} // namespace cim
