#include "cim/metrics/Metrics.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <unordered_set>

namespace cim::metrics {

namespace {

constexpr Family kUp{Family::Gauge, "quarnel_up", "Whether the latest look at the hardware could read it."};
constexpr Family kBuild{Family::Info, "quarnel_build_info", "The program that looks."};
constexpr Family kHost{Family::Info, "quarnel_host_info",
                       "The machine that the hardware is in, as its devices' keys name it."};
constexpr Family kSample{Family::Gauge, "quarnel_sample_hardware",
                         "Whether this is the sample hardware that comes with the program."};
constexpr Family kFirstReading{Family::Gauge, "quarnel_first_reading_finished",
                               "Whether the hardware has been read for the first time: each controller has devices."};
constexpr Family kGone{Family::Gauge, "quarnel_gone", "Things that were there since the program started and are gone."};
constexpr Family kDuration{Family::Gauge, "quarnel_look_duration_seconds", "Time that the latest look took."};
constexpr Family kLooks{Family::Counter, "quarnel_looks_total", "Looks at the hardware, for all clients together."};
constexpr Family kFailed{Family::Counter, "quarnel_looks_failed_total", "Looks that could not read the hardware."};
constexpr Family kRead{Family::Gauge, "quarnel_last_read_timestamp_seconds",
                       "When things of this kind of this controller were last read from the provider."};
constexpr Family kChanged{Family::Gauge, "quarnel_last_change_timestamp_seconds",
                          "When things of this kind of this controller were last seen to differ from the look before."};
constexpr Family kStatus{Family::Gauge, "hw_status",
                         "Whether a thing is in that state; of a thing without a verdict all are 0."};
constexpr Family kDiskState{Family::Gauge, "quarnel_disk_state", "Whether that is the word for the disk's state."};
constexpr Family kVolumeState{Family::Gauge, "quarnel_volume_state",
                              "Whether that is the word for the volume's state."};

// What is said of a kind under a name of its own; null: nothing.
struct Kind {
    ClassIndex index;
    const char *type; // hw_type
    Family info;
    Family size;
};
constexpr Kind kKinds[] = {
    {kController, "disk_controller", {Family::Info, "hw_disk_controller_info", "What is known of a controller."}, {}},
    {kVolume,
     "logical_disk",
     {Family::Info, "hw_logical_disk_info", "What is known of a volume."},
     {Family::Gauge, "hw_logical_disk_limit_bytes", "The volume's size."}},
    {kDisk,
     "physical_disk",
     {Family::Info, "hw_physical_disk_info", "What is known of a disk."},
     {Family::Gauge, "hw_physical_disk_size_bytes", "The disk's size."}},
    {kPort, "network", {Family::Info, "hw_network_info", "What is known of a SAS or SATA port."}, {}},
    {kBattery, "battery", {Family::Info, "hw_battery_info", "What is known of a battery."}, {}},
};

// The first row that fits decides; none does for what is UNKNOWN.
constexpr struct {
    Severity verdict;
    const char *status; // among its operational statuses; null: any
    const char *state;  // hw_state
} kStates[] = {
    {Severity::Ok, nullptr, "ok"},
    {Severity::Critical, nullptr, "failed"},
    {Severity::Warning, "Predictive failure", "predicted_failure"},
    {Severity::Warning, nullptr, "degraded"},
};

// The words that the provider has for states. A disk whose caption ends in none of them is in none of these.
constexpr const char *kDiskWords[] = {"ONLINE",           "HOT SPARE", "UNCONFIGURED GOOD", "REBUILD",
                                      "UNCONFIGURED BAD", "FAILED",    "OFFLINE",           "UNDEFINED"};
constexpr const char *kVolumeWords[] = {"OPTIMAL", "DEGRADED", "OFFLINE", "UNDEFINED"};

// What an info metric says; a fact that the thing does not have is left out.
constexpr struct {
    const char *label;
    std::string Item::*text;
} kFactsTold[] = {
    {"controller", &Item::controller},
    {"device", &Item::device},
    {"enclosure", &Item::enclosure},
    {"slot", &Item::slot},
    {"name", &Item::name},
    {"hw_model", &Item::model},
    {"hw_firmware_version", &Item::firmware},
    {"package_version", &Item::package},
    {"hw_logical_disk_raid_level", &Item::level},
    {"type", &Item::portType},
    {"usage", &Item::usage},
};

constexpr const char *kGoneKinds[] = {"controller", "enclosure", "volume", "disk", "port", "battery"};

bool HasStatus(const Item &item, const char *status) {
    const auto &further = item.furtherStatuses;
    return item.status == status || std::find(further.begin(), further.end(), status) != further.end();
}

// The row; past them all when none fits.
const auto *StateOf(const Item &item) {
    return std::find_if(std::begin(kStates), std::end(kStates), [&item](const auto &row) {
        return item.severity == row.verdict && (row.status == nullptr || HasStatus(item, row.status));
    });
}

std::string Label(const char *name, std::string_view value) {
    std::string labels;
    AddLabel(labels, name, value);
    return labels;
}

// A thing, with the labels that all its series have.
struct Thing {
    const Item *item;
    std::string labels;
};

// Series must not be there twice: of things that go by one identifier the first, that is the worst, stands for all.
std::vector<Thing> ThingsIn(const std::vector<Item> &items) {
    std::vector<Thing> things;
    std::unordered_set<std::string> known;
    things.reserve(items.size());
    for (const Item &item : items) {
        Thing thing{&item, Label("hw_id", item.id)};
        if (!known.insert(thing.labels).second) continue;
        AddLabel(thing.labels, "hw_name", NameOf(item));
        if (item.served->index != kController && !item.controller.empty()) {
            AddLabel(thing.labels, "hw_parent", kServedClasses[kController].prefix + item.controller);
        }
        things.push_back(std::move(thing));
    }
    return things;
}

// Somewhat more than it will be: a text that grows is copied again and again.
std::size_t ExpectedBytes(const Inventory &inventory) {
    constexpr std::size_t kForEach = 2048, kForAll = 8192;
    std::size_t bytes = kForAll;
    for (const auto &items : inventory) bytes += items.size() * kForEach;
    return bytes;
}

class Rendering {
public:
    Rendering(const Inventory &shown, Format format) : inventory(shown), text(format, ExpectedBytes(shown)) {
        for (const Kind &kind : kKinds) things[kind.index] = ThingsIn(inventory[kind.index]);
    }

    void AddStatus() {
        text.Begin(kStatus);
        for (const Kind &kind : kKinds) {
            States states;
            for (const auto &row : kStates) {
                std::string labels = Label("hw_state", row.state);
                AddLabel(labels, "hw_type", kind.type);
                states.Add(labels);
            }
            for (const Thing &thing : things[kind.index]) {
                text.AddStates(thing.labels, states, static_cast<std::size_t>(StateOf(*thing.item) - kStates));
            }
        }
    }

    void AddSizes() {
        for (const Kind &kind : kKinds) {
            if (kind.size.name == nullptr) continue;
            text.Begin(kind.size);
            for (const Thing &thing : things[kind.index]) {
                if (thing.item->bytes) text.Add(thing.labels, *thing.item->bytes);
            }
        }
    }

    void AddFacts() {
        for (const Kind &kind : kKinds) {
            text.Begin(kind.info);
            for (const Thing &thing : things[kind.index]) {
                std::string labels = thing.labels;
                for (const auto &fact : kFactsTold) AddLabel(labels, fact.label, thing.item->*fact.text);
                text.Add(labels, 1);
            }
        }
    }

    template <std::size_t Count>
    void AddWords(const Family &family, ClassIndex index, const char *const (&words)[Count]) {
        text.Begin(family);
        States states;
        for (const char *word : words) states.Add(Label("state", word));
        for (const Thing &thing : things[index]) {
            const auto *word = std::find(std::begin(words), std::end(words), thing.item->state);
            text.AddStates(thing.labels, states, static_cast<std::size_t>(word - words));
        }
    }

    // Each kind that is there has times, and a controller's own come before those of its devices.
    static bool HasControllerWithoutDevices(const TimesOfKinds &times) {
        const auto &all = times.All();
        return std::adjacent_find(all.begin(), all.end(),
                                  [](const auto &a, const auto &b) {
                                      return a.first.second == kController && a.first.first != b.first.first;
                                  }) != all.end() ||
               (!all.empty() && all.rbegin()->first.second == kController);
    }

    void AddHardware(const Look &look) {
        AddOne(kFirstReading, look.complete && !HasControllerWithoutDevices(look.times));
        if (const std::string host = HostOf(inventory); !host.empty()) AddOne(kHost, 1, Label("host_name", host));
        if (look.past) AddGone(*look.past->gone);
        AddStatus();
        AddSizes();
        AddFacts();
        AddWords(kDiskState, kDisk, kDiskWords);
        AddWords(kVolumeState, kVolume, kVolumeWords);
    }

    void AddGone(const std::vector<Gone> &gone) {
        text.Begin(kGone);
        for (const char *kind : kGoneKinds) {
            const auto count =
                std::count_if(gone.begin(), gone.end(), [kind](const Gone &each) { return each.kind == kind; });
            text.Add(Label("kind", kind), static_cast<double>(count));
        }
    }

    void AddTimes(const Family &family, const TimesOfKinds &times, std::time_t Times::*time) {
        text.Begin(family);
        std::set<std::string> known;
        for (const auto &[key, each] : times.All()) {
            const auto &[controller, index] = key;
            std::string labels = Label("controller", controller);
            const auto kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                           [index = index](const Kind &row) { return row.index == index; });
            AddLabel(labels, "hw_type", kind->type);
            if (known.insert(labels).second) text.Add(labels, static_cast<double>(each.*time));
        }
    }

    void AddOne(const Family &family, double value, const std::string &labels = {}) {
        text.Begin(family);
        text.Add(labels, value);
    }

    std::string End() && { return std::move(text).End(); }

private:
    const Inventory &inventory;
    std::array<std::vector<Thing>, kServedClasses.size()> things;
    Exposition text;
};

} // namespace

std::string Render(const Inventory &inventory, const Look &look, Format format) {
    Rendering text(inventory, format);
    text.AddOne(kUp, look.up);
    text.AddOne(kBuild, 1, Label("version", QUARNEL_VERSION));
    text.AddOne(kSample, look.sample);
    text.AddOne(kDuration, look.duration.count());
    if (look.past) {
        text.AddOne(kLooks, static_cast<double>(look.past->looks));
        text.AddOne(kFailed, static_cast<double>(look.past->failed));
    }
    text.AddTimes(kRead, look.times, &Times::read);
    text.AddTimes(kChanged, look.times, &Times::changed);
    if (look.up) text.AddHardware(look);
    return std::move(text).End();
}

} // namespace cim::metrics
