#include "cim/inventory/Verdict.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <set>

namespace cim {

namespace {

// The first row that has the word decides.
struct Rule {
    std::vector<const char *> words; // empty: any other
    Severity severity;
    bool rebuild = false; // an operator's leniency decides instead
};

const Rule kDiskStates[] = {
    {{"ONLINE", "HOT SPARE", "UNCONFIGURED GOOD"}, Severity::Ok},
    {{"REBUILD"}, Severity::Warning, true},
    {{"UNCONFIGURED BAD"}, Severity::Warning},
    {{"FAILED", "OFFLINE"}, Severity::Critical},
};
const Rule kVolumeStates[] = {
    {{"OPTIMAL"}, Severity::Ok},
    {{"DEGRADED"}, Severity::Warning},
    {{"OFFLINE"}, Severity::Critical},
};
const Rule kStatuses[] = {
    {{"OK", "Dormant"}, Severity::Ok},
    {{"Error", "Non-recoverable error", "No contact", "Lost communication"}, Severity::Critical},
    {{}, Severity::Warning},
};
const Rule kCharges[] = {{{"Critical"}, Severity::Warning}};
// HealthState 0, unknown, is no worse than what else is told.
const Rule kHealthStates[] = {
    {{"Warning", "Minor failure"}, Severity::Warning},
    {{"Major failure", "Critical", "Failed"}, Severity::Critical},
};

// What a thing lacks, whatever it says of itself.
struct Lack {
    const char *of;
    const char *reason;
    Severity severity;
};
constexpr Lack kNoDisks{"volume", "no disks known", Severity::Warning};
// A controller is known at once, its devices only when they have been read.
constexpr Lack kNoDevices{"controller", "no devices known", Severity::Unknown};
constexpr Lack kNoController{"device", "its controller is not there", Severity::Warning};

template <std::size_t Count> const Rule *RuleFor(const Rule (&rules)[Count], const std::string &word) {
    const auto rule = std::find_if(std::begin(rules), std::end(rules), [&word](const Rule &each) {
        return each.words.empty() || std::find(each.words.begin(), each.words.end(), word) != each.words.end();
    });
    return rule != std::end(rules) ? rule : nullptr;
}

template <std::size_t Count> Severity SeverityBy(const Rule (&rules)[Count], const std::string &word) {
    const Rule *rule = RuleFor(rules, word);
    return rule != nullptr ? rule->severity : Severity::Ok;
}

class Judgement {
public:
    explicit Judgement(Item &judged) : item(judged) {}

    // By the state word; one without a rule, such as UNDEFINED, hides what the operational status is.
    template <std::size_t Count> void ByWord(const Rule (&rules)[Count], const Leniency &leniency) {
        const Rule *rule = RuleFor(rules, item.state);
        if (rule != nullptr) return Note(rule->rebuild ? leniency.rebuild : rule->severity, item.state, "");
        if (item.state == item.status) return ByStatus();
        const std::string status = item.status.empty() ? "" : fmt::format(" ({})", item.status);
        Note(std::max(Severity::Warning, SeverityBy(kStatuses, item.status)), item.state + status, item.status);
    }

    void ByStatus() {
        const Severity severity = SeverityBy(kStatuses, item.status);
        if (item.status.empty())
            Note(severity, "without a state");
        else
            Note(severity, item.status, "");
    }

    void ByTheRest() {
        for (const std::string &status : item.furtherStatuses) Note(SeverityBy(kStatuses, status), "also " + status);
        Note(SeverityBy(kCharges, item.charge), "charge " + item.charge);
        const Severity health = SeverityBy(kHealthStates, item.healthWord);
        if (health > item.severity) Note(health, "health " + item.healthWord);
    }

    void ByLack(const Lack &lack) { Note(lack.severity, lack.reason); }

    void End() {
        item.verdict = item.verdictInTable = NameOf(item.severity);
        if (!news.empty()) item.verdictInTable += ": " + news;
    }

private:
    void Note(Severity severity, const std::string &why) { Note(severity, why, why); }

    // `more`: what of it the state does not tell.
    void Note(Severity severity, const std::string &why, const std::string &more) {
        if (severity == Severity::Ok) return;
        item.severity = std::max(item.severity, severity);
        Append(item.reason, why);
        Append(news, more);
    }

    static void Append(std::string &text, const std::string &more) {
        if (!more.empty()) text += (text.empty() ? "" : ", ") + more;
    }

    Item &item;
    std::string news;
};

template <std::size_t Count>
void AddRows(std::string &text, std::vector<std::string> labels, const Rule (&rules)[Count]) {
    labels.resize(Count);
    for (std::size_t i = 0; i < Count; ++i) {
        const std::string words =
            rules[i].words.empty() ? "any other" : fmt::format("{}", fmt::join(rules[i].words, ", "));
        text += fmt::format("  {:<16}{:<64}{}{}\n", labels[i], words, NameOf(rules[i].severity),
                            rules[i].rebuild ? " (--rebuild)" : "");
    }
}

} // namespace

const char *NameOf(Severity severity) {
    constexpr const char *names[] = {"OK", "UNKNOWN", "WARNING", "CRITICAL"};
    return names[static_cast<std::size_t>(severity)];
}

const char *MarkOf(Severity severity) {
    constexpr const char *marks[] = {"", "?", "!", "!!"};
    return marks[static_cast<std::size_t>(severity)];
}

void Judge(Inventory &inventory, const Leniency &leniency) {
    std::set<std::string> controllers, owners;
    for (const Item &controller : inventory[kController]) controllers.insert(controller.controller);
    for (std::size_t i = kVolume; i < inventory.size(); ++i) {
        for (const Item &item : inventory[i]) owners.insert(item.controller);
    }
    for (auto &items : inventory) {
        for (Item &item : items) {
            const ClassIndex index = item.served->index;
            if (index == kSoftware) continue;
            Judgement judgement(item);
            if (index == kDisk)
                judgement.ByWord(kDiskStates, leniency);
            else if (index == kVolume)
                judgement.ByWord(kVolumeStates, leniency);
            else
                judgement.ByStatus();
            judgement.ByTheRest();
            if (index == kVolume && item.members.empty()) judgement.ByLack(kNoDisks);
            if (index == kController && owners.count(item.controller) == 0) judgement.ByLack(kNoDevices);
            if (index != kController && controllers.count(item.controller) == 0) judgement.ByLack(kNoController);
            judgement.End();
        }
    }
}

void Tally::Add(const std::vector<Item> &items) {
    for (const Item &item : items) {
        if (!item.verdict.empty()) Add(item.severity);
    }
}

Severity Tally::Worst() const {
    for (std::size_t i = counts.size(); i-- > 0;) {
        if (counts[i] > 0) return static_cast<Severity>(i);
    }
    return Severity::Ok;
}

std::string Tally::Text() const {
    std::string text;
    for (std::size_t i = counts.size(); i-- > 0;) {
        if (counts[i] == 0) continue;
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", counts[i], NameOf(static_cast<Severity>(i)));
    }
    return text;
}

std::string Tally::Brief() const {
    std::string text;
    for (std::size_t i = counts.size(); i-- > 0;) {
        const char *mark = i > 0 ? MarkOf(static_cast<Severity>(i)) : NameOf(Severity::Ok);
        if (counts[i] > 0) text += fmt::format("{}{}{}", text.empty() ? "" : " ", mark, counts[i]);
    }
    return text;
}

Severity WorstOf(const Inventory &inventory, std::size_t gone) {
    Tally tally;
    for (const auto &items : inventory) tally.Add(items);
    tally.Add(kGoneSeverity, gone);
    return inventory[kController].empty() ? std::max(Severity::Unknown, tally.Worst()) : tally.Worst();
}

std::string RulesTable() {
    std::string text;
    AddRows(text, {"disk"}, kDiskStates);
    AddRows(text, {"volume"}, kVolumeStates);
    AddRows(text, {"controller", "port", "battery"}, kStatuses);
    AddRows(text, {"battery charge"}, kCharges);
    AddRows(text, {"any HealthState"}, kHealthStates);
    for (const Lack &lack : {kNoDisks, kNoDevices, kNoController}) {
        text += fmt::format("  {:<16}{:<64}{}\n", lack.of, lack.reason, NameOf(lack.severity));
    }
    text += fmt::format("  {:<16}{:<64}{}\n", "anything", "was there since watch or serve began, and is gone",
                        NameOf(kGoneSeverity));
    text += "  A disk or volume in any other state, such as UNDEFINED, is judged by its operational status as a port\n"
            "  is, and is a WARNING at least; one without a state by that status alone. So is every further\n"
            "  operational status of anything.\n";
    return text;
}

} // namespace cim
