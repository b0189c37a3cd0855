#include "cim/inventory/Changes.h"

#include "cim/inventory/Tables.h"
#include "cim/inventory/Verdict.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <unordered_map>

namespace cim {

namespace {

bool Same(const Item &a, const Item &b) {
    if (a.verdict != b.verdict || a.reason != b.reason) return false;
    const auto same = [](const NamedValue &x, const NamedValue &y) { return x.name == y.name && x.value == y.value; };
    return std::equal(a.instance.properties.begin(), a.instance.properties.end(), b.instance.properties.begin(),
                      b.instance.properties.end(), same);
}

Json ChangedProperties(const Instance &before, const Instance &after) {
    Json changes = Json::object();
    const auto note = [&changes](const std::string &name, const Value *from, const Value *to) {
        if (from != nullptr && to != nullptr && *from == *to) return;
        changes[name] = {{"from", from != nullptr ? ToJson(*from) : Json(nullptr)},
                         {"to", to != nullptr ? ToJson(*to) : Json(nullptr)}};
    };
    for (const auto &property : after.properties) note(property.name, before.Property(property.name), &property.value);
    for (const auto &property : before.properties) {
        if (after.Property(property.name) == nullptr) note(property.name, &property.value, nullptr);
    }
    return changes;
}

// That the state does not tell.
std::string NewsOf(const Item &item) { return item.verdictInTable.substr(item.verdict.size()); }

} // namespace

std::vector<Change> Compare(const Inventory &before, const Inventory &after, const ServedClass *only) {
    std::vector<Change> changes;
    for (std::size_t i = 0; i < kServedClasses.size(); ++i) {
        if (only != nullptr && only != &kServedClasses[i]) continue;
        std::unordered_map<std::string, const Item *> earlier;
        for (const auto &item : before[i]) earlier.emplace(item.path, &item);
        for (const auto &item : after[i]) {
            const auto found = earlier.find(item.path);
            if (found == earlier.end()) {
                changes.push_back({nullptr, &item});
                continue;
            }
            if (!Same(*found->second, item)) changes.push_back({found->second, &item});
            earlier.erase(found);
        }
        for (const auto &item : before[i]) { // in order, unlike the map
            const auto left = earlier.find(item.path);
            if (left != earlier.end() && left->second == &item) changes.push_back({&item, nullptr});
        }
    }
    return changes;
}

std::string TimeWithOffset(std::time_t time) {
    std::string text = fmt::format("{:%Y-%m-%dT%H:%M:%S%z}", fmt::localtime(time)); // the offset as +0100
    return text.insert(text.size() - 2, ":");
}

std::string ToText(const Change &change, const std::string &time) {
    const Item &item = change.Subject();
    const std::string start = fmt::format("{} {} {} ", time, item.served->kind, Printable(item.id));
    if (change.before == nullptr) return fmt::format("{}appeared: {}\n", start, Shown(item.state));
    if (change.after == nullptr) return fmt::format("{}removed: {}\n", start, Shown(item.state));

    std::string lines;
    const bool stateChanged = change.before->state != change.after->state;
    if (stateChanged) lines += fmt::format("{}{} -> {}\n", start, Shown(change.before->state), Shown(item.state));
    for (const auto &column : ColumnsOf(*item.served)) {
        if (column.text == &Item::state) continue;
        const bool told = stateChanged && NewsOf(*change.before) == NewsOf(item);
        if (column.text == &Item::verdictInTable && told) continue;
        const std::string &from = change.before->*column.text, &to = change.after->*column.text;
        if (from == to) continue;
        lines += fmt::format("{}{} {} -> {}\n", start, column.title, Shown(from), Shown(to));
    }
    return lines;
}

Json ToJson(const Change &change, const std::string &time) {
    const Item &item = change.Subject();
    const char *event = change.before == nullptr ? "appeared" : change.after == nullptr ? "removed" : "changed";
    Json json = {{"time", time},  {"event", event},    {"class", item.served->name}, {"kind", item.served->kind},
                 {"id", item.id}, {"path", item.path}, {"state", item.state}};
    if (!item.verdict.empty()) {
        const bool removed = change.after == nullptr;
        json["verdict"] = removed ? NameOf(kGoneSeverity) : item.verdict;
        json["reason"] = removed ? "gone since " + time : item.reason;
    }
    if (change.before == nullptr || change.after == nullptr) {
        json["properties"] = ToJson(item.instance)["properties"];
        return json;
    }
    if (change.before->state != item.state) json["previousState"] = change.before->state;
    if (change.before->verdict != item.verdict) json["previousVerdict"] = change.before->verdict;
    json["changes"] = ChangedProperties(change.before->instance, item.instance);
    return json;
}

} // namespace cim
