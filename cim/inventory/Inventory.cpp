#include "cim/inventory/Inventory.h"

#include "cim/client/Hosted.h"
#include "cim/inventory/Captions.h"
#include "cim/inventory/Members.h"
#include "cim/inventory/Verdict.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace cim {

namespace {

// CIM's value map for HealthState; values outside it are "Unknown".
constexpr std::pair<std::uint64_t, const char *> kHealthWords[] = {
    {0, "Unknown"},        {5, "OK"},        {10, "Warning"}, {15, "Minor failure"},
    {20, "Major failure"}, {25, "Critical"}, {30, "Failed"},
};

// CIM value maps, from 0 up. "" is a number that the map leaves out.
constexpr const char *kOperationalStatus[] = {
    "Unknown",
    "Other",
    "OK",
    "Degraded",
    "Stressed",
    "Predictive failure",
    "Error",
    "Non-recoverable error",
    "Starting",
    "Stopping",
    "Stopped",
    "In service",
    "No contact",
    "Lost communication",
    "Aborted",
    "Dormant",
    "Supporting entity in error",
    "Completed",
    "Power mode",
};
constexpr const char *kBatteryStatus[] = {
    "",
    "Other",
    "Unknown",
    "Fully charged",
    "Low",
    "Critical",
    "Charging",
    "Charging and high",
    "Charging and low",
    "Charging and critical",
    "Undefined",
    "Partially charged",
    "Learning",
    "Overcharged",
};
constexpr std::pair<std::uint64_t, const char *> kPortTypes[] = {{0, "Unknown"}, {93, "SATA"}, {94, "SAS"}};
constexpr const char *kUsageRestriction[] = {"Unknown", "", "Front-end only", "Back-end only", "Not restricted"};

template <std::size_t Count> std::string WordFor(const char *const (&words)[Count], const std::uint64_t *value) {
    if (value == nullptr) return {};
    if (*value < Count && *words[*value] != '\0') return words[*value];
    return std::to_string(*value);
}

// The number, or an array's first; null when there is none.
const std::uint64_t *NumberIn(const Instance &instance, const char *name) {
    const Value *value = instance.Property(name);
    if (value == nullptr) return nullptr;
    if (const auto *elements = value->As<Value::Elements>()) value = elements->empty() ? nullptr : &elements->front();
    return value != nullptr ? value->As<std::uint64_t>() : nullptr;
}

// The provider gives one operational status; another CIM server may tell more.
std::vector<std::string> FurtherStatusesOf(const Instance &instance) {
    std::vector<std::string> words;
    const Value *value = instance.Property("OperationalStatus");
    const auto *elements = value != nullptr ? value->As<Value::Elements>() : nullptr;
    for (std::size_t i = 1; elements != nullptr && i < elements->size(); ++i) {
        words.push_back(WordFor(kOperationalStatus, (*elements)[i].As<std::uint64_t>()));
    }
    return words;
}

// Blocks have 512 bytes also where a CIM server does not pass the disks' BlockSize on: it is of another width than the
// class declares.
std::optional<double> BytesOf(const Instance &instance) {
    const auto *blocks = NumberIn(instance, "NumberOfBlocks");
    if (blocks == nullptr) return {};
    const auto *given = NumberIn(instance, "BlockSize");
    const std::uint64_t blockSize = given != nullptr ? *given : 512;
    return static_cast<double>(*blocks) * static_cast<double>(blockSize);
}

std::string SizeText(double size) {
    constexpr const char *units[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    std::size_t unit = 0;
    for (; size >= 1024 && unit + 1 < std::size(units); ++unit) size /= 1024;
    return fmt::format("{:.{}f} {}", size, unit == 0 ? 0 : 2, units[unit]);
}

// A controller's ID may hold the underscore that ends it in a device's key, so the known controllers decide; among
// them the longest, as "c1" begins "c1_0" too.
void Identify(Item &item, const std::vector<std::string> &controllers) {
    const ServedClass &served = *item.served;
    item.id = TextIn(item.instance, served.key);
    if (item.id.empty()) { // not asked for, or left out: the path has it
        const Value *key = item.instance.path->Key(served.key);
        if (key != nullptr && key->As<std::string>() != nullptr) item.id = *key->As<std::string>();
    }
    const std::string_view prefix = served.prefix;
    if (item.id.compare(0, prefix.size(), prefix) != 0) return;
    const std::string ids = item.id.substr(prefix.size());
    if (std::string_view(served.key) != "DeviceID") {
        item.controller = ids;
        return;
    }
    for (const auto &controller : controllers) {
        if (controller.size() > item.controller.size() &&
            ids.compare(0, controller.size() + 1, controller + "_") == 0) {
            item.controller = controller;
        }
    }
    if (item.controller.empty()) item.controller = ids.substr(0, ids.find('_'));
    if (item.controller.size() < ids.size()) item.device = ids.substr(item.controller.size() + 1);
}

Item ItemOf(const ServedClass &served, Instance instance, const std::vector<std::string> &controllers) {
    Item item;
    item.served = &served;
    item.instance = std::move(instance);
    item.path = item.instance.path->ToString();
    Identify(item, controllers);
    return item;
}

// The words that the provider puts at the end of a caption for an operational status. A health of 0 is any.
struct StateWord {
    std::uint64_t status, health;
    const char *word;
};
constexpr StateWord kVolumeWords[] = {{2, 0, "OPTIMAL"}, {3, 0, "DEGRADED"}, {6, 0, "OFFLINE"}};
constexpr StateWord kDiskWords[] = {
    {2, 0, "ONLINE"},
    {2, 0, "HOT SPARE"},
    {2, 0, "REBUILD"},
    {2, 0, "UNCONFIGURED GOOD"},
    {6, 10, "UNCONFIGURED BAD"},
    {6, 30, "FAILED"},
    {12, 0, "OFFLINE"},
    {15, 0, "UNCONFIGURED GOOD"},
};
constexpr const char *kOtherWord = "UNDEFINED";

// The caption's limit may have cut the word, or all of it: the only one that the rest of the instance leaves. Otherwise
// what the caption has.
template <std::size_t Count>
std::string WholeWord(const StateWord (&words)[Count], const Instance &instance, const std::string &inCaption) {
    const std::uint64_t *status = NumberIn(instance, "OperationalStatus");
    const std::uint64_t *health = NumberIn(instance, "HealthState");
    if (status == nullptr) return inCaption;
    std::vector<std::string> possible;
    bool listed = false;
    for (const auto &each : words) {
        if (each.status != *status) continue;
        listed = true;
        if (each.health == 0 || (health != nullptr && each.health == *health)) possible.emplace_back(each.word);
    }
    if (!listed) possible.emplace_back(kOtherWord);
    const auto differs = [&inCaption](const std::string &word) {
        return word.compare(0, inCaption.size(), inCaption) != 0;
    };
    possible.erase(std::remove_if(possible.begin(), possible.end(), differs), possible.end());
    return possible.size() == 1 ? possible.front() : inCaption;
}

void ReadFacts(Item &item) {
    const Instance &instance = item.instance;
    const std::uint64_t *status = NumberIn(instance, "OperationalStatus");
    item.state = item.status = WordFor(kOperationalStatus, status);
    item.furtherStatuses = FurtherStatusesOf(instance);
    item.bytes = BytesOf(instance);
    if (item.bytes) item.size = SizeText(*item.bytes);
    item.usage = WordFor(kUsageRestriction, NumberIn(instance, "UsageRestriction"));
    item.charge = WordFor(kBatteryStatus, NumberIn(instance, "BatteryStatus"));
    if (const auto *type = NumberIn(instance, "PortType")) {
        item.portType = std::to_string(*type);
        for (const auto &[number, word] : kPortTypes)
            if (*type == number) item.portType = word;
    }
    if (const auto *state = NumberIn(instance, "HealthState")) {
        item.healthWord = kHealthWords[0].second;
        for (const auto &[number, word] : kHealthWords)
            if (*state == number) item.healthWord = word;
    }
    ReadCaption(item);
    if (item.served->index == kVolume) item.state = WholeWord(kVolumeWords, instance, item.state);
    if (item.served->index == kDisk) {
        const std::string word = WholeWord(kDiskWords, instance, item.state);
        item.state = word.empty() ? item.status : word; // healthy disks have one of four
    }
}

void SortByPath(std::vector<Instance> &instances) {
    std::vector<std::pair<std::string, std::size_t>> paths; // and whose they are
    for (const auto &instance : instances) paths.emplace_back(instance.path->ToString(), paths.size());
    std::sort(paths.begin(), paths.end(), [](const auto &a, const auto &b) {
        if (NaturallyBefore(a.first, b.first)) return true;
        return !NaturallyBefore(b.first, a.first) && a < b; // "01" and "1"
    });
    std::vector<Instance> ordered;
    ordered.reserve(instances.size());
    for (const auto &[path, index] : paths) ordered.push_back(std::move(instances[index]));
    instances = std::move(ordered);
}

bool StandsBefore(const Item &a, const Item &b) {
    for (const auto fact : {&Item::controller, &Item::enclosure, &Item::slot, &Item::device}) {
        if (a.*fact != b.*fact) return NaturallyBefore(a.*fact, b.*fact);
    }
    return false;
}

} // namespace

const std::string &TextIn(const Instance &instance, const char *name) {
    static const std::string none;
    const Value *value = instance.Property(name);
    const auto *text = value != nullptr ? value->As<std::string>() : nullptr;
    return text != nullptr ? *text : none;
}

const ServedClass *FindServedClass(std::string_view name) {
    const auto served = std::find_if(kServedClasses.begin(), kServedClasses.end(), [name](const ServedClass &each) {
        return SameName(name, each.name) || SameName(name, each.kind) || SameName(name, each.kinds);
    });
    return served != kServedClasses.end() ? &*served : nullptr;
}

void PutInOrder(Instances &instances) {
    for (auto &some : instances) SortByPath(some);
    std::vector<std::string> controllers;
    for (const auto &controller : instances[kController]) {
        controllers.push_back(ItemOf(kServedClasses[kController], controller, {}).controller);
    }
    for (auto &volume : instances[kVolume]) {
        const Item item = ItemOf(kServedClasses[kVolume], volume, controllers);
        for (auto &property : volume.properties) {
            if (!SameName(property.name, "Caption") && !SameName(property.name, "ElementName")) continue;
            const auto *text = property.value.As<std::string>();
            if (text != nullptr) property.value = Value::Text(WithDrivesInOrder(*text, item));
        }
    }
}

Answer<Instances> ReadInstances(Connection &server) {
    Answer<Instances> all;
    for (std::size_t i = 0; i < kServedClasses.size(); ++i) {
        auto answer = server.EnumerateInstances(kServedNameSpace, kServedClasses[i].name);
        if (!answer.Ok()) {
            all.status = std::move(answer.status);
            return all;
        }
        all.value[i] = std::move(answer.value);
    }
    PutInOrder(all.value);
    return all;
}

Answer<Instances> ReadInstances(Broker &broker) { return ReadInstances(*Hosted(broker)); }

std::string NameOf(const Item &item) {
    if (item.controller.empty()) return fmt::format("{} {}", item.served->kind, item.id); // a key of another form
    return fmt::format("{} {}{}{}", item.served->kind, item.controller, item.device.empty() ? "" : "/", item.device);
}

Inventory Describe(Instances instances, const Leniency &leniency) {
    Inventory inventory;
    std::vector<std::string> controllers;
    for (std::size_t i = 0; i < kServedClasses.size(); ++i) {
        for (auto &instance : instances[i]) {
            Item item = ItemOf(kServedClasses[i], std::move(instance), controllers);
            if (i == kController) controllers.push_back(item.controller);
            ReadFacts(item);
            inventory[i].push_back(std::move(item));
        }
    }
    FindMembers(inventory[kVolume], inventory[kDisk]);
    Judge(inventory, leniency);
    SortByPlace(inventory);
    for (auto &items : inventory) {
        std::stable_sort(items.begin(), items.end(),
                         [](const Item &a, const Item &b) { return a.severity > b.severity; });
    }
    // The firmware that runs on a controller is an instance of its own.
    for (auto &controller : inventory[kController]) {
        for (const auto &software : inventory[kSoftware]) {
            if (software.controller != controller.controller) continue;
            controller.package = software.package;
            controller.firmware = software.firmware;
        }
    }
    return inventory;
}

void SortByPlace(Inventory &inventory) {
    for (auto &items : inventory) std::stable_sort(items.begin(), items.end(), StandsBefore);
}

std::string HostOf(const Inventory &inventory) {
    for (const auto &items : inventory) {
        for (const auto &item : items) {
            const Value *name = item.instance.path->Key("SystemName");
            if (name != nullptr && name->As<std::string>() != nullptr) return *name->As<std::string>();
        }
    }
    return {};
}

} // namespace cim
