// What a client sees after each step of the story is what the hardware is then, and nothing else has changed.
#include "tests/story/Story.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <sstream>

namespace cim {
namespace {

// What tells of an instance: its caption, with the drives in order, and its health; of a battery the charge, too.
struct Seen {
    std::string caption;
    std::uint64_t health = 5;
    std::uint64_t charge = 0;
};
bool operator==(const Seen &a, const Seen &b) {
    return a.caption == b.caption && a.health == b.health && a.charge == b.charge;
}
std::ostream &operator<<(std::ostream &stream, const Seen &seen) {
    return stream << seen.caption << " (health " << seen.health << ", charge " << seen.charge << ")";
}
using View = std::map<std::string, Seen>; // by identifying key

std::uint64_t NumberIn(const Instance &instance, const char *name) {
    const Value *value = instance.Property(name);
    const auto *number = value != nullptr ? value->As<std::uint64_t>() : nullptr;
    return number != nullptr ? *number : 0;
}

// The drives of a volume come in the order in which the provider came to know them, which is nobody's business.
std::string InOrder(std::string caption) {
    const std::string start = "Drives(";
    const auto from = caption.find(start), to = caption.find(')', from);
    if (from == std::string::npos || to == std::string::npos) return caption;
    std::istringstream list(caption.substr(from + start.size(), to - from - start.size()));
    std::vector<std::string> drives;
    for (std::string drive; std::getline(list, drive, ',');) drives.push_back(drive);
    std::sort(drives.begin(), drives.end());
    std::string joined;
    for (const auto &drive : drives) joined += (joined.empty() ? "" : ",") + drive;
    return caption.replace(from + start.size(), to - from - start.size(), joined);
}

View ViewOf(const Instances &instances) {
    View view;
    for (const ClassIndex kind : {kController, kVolume, kDisk, kPort, kBattery}) {
        for (const auto &instance : instances[kind]) {
            const Value *key = instance.path->Key(kServedClasses[kind].key);
            const Value *caption = instance.Property("Caption");
            if (key == nullptr || caption == nullptr || caption->As<std::string>() == nullptr) {
                ADD_FAILURE() << instance.path->ToString() << " has no caption";
                continue;
            }
            const Seen seen{InOrder(*caption->As<std::string>()), NumberIn(instance, "HealthState"),
                            NumberIn(instance, "BatteryStatus")};
            EXPECT_TRUE(view.emplace(*key->As<std::string>(), seen).second) << *key->As<std::string>() << " twice";
        }
    }
    return view;
}

std::string Disk(int slot) { return "zbrStorageExtc0_252:" + std::to_string(slot); }

Seen DiskSeen(int slot, const char *firmware, const char *state, std::uint64_t health = 5) {
    return {"Drive " + std::to_string(slot) + " in enclosure 252 on controller c0 Fw: " + firmware + " - " + state,
            health};
}

const std::string kData = "zbrStorageVolumec0_1";
const std::string kBatteryId = "zbrControllerBatteryc0_bbu0";

// As hardware/rack-server.json describes it.
View AtFirst() {
    View view{
        {"zbrControllerc0", {"Controller c0 (Acme Anvil R840-8i)"}},
        {"zbrStorageVolumec0_0", {"RAID1 boot Logical Volume 0 on controller c0, Drives(0e252,1e252) - OPTIMAL"}},
        {kData, {"RAID5 data Logical Volume 1 on controller c0, Drives(2e252,3e252,4e252,5e252,6e252) - OPTIMAL"}},
        {kBatteryId, {"Battery bbu0 on Controller c0", 5, 3}},
    };
    const char *firmware[] = {"N0A4", "N0A4", "N0A4", "N0A4", "N0A6", "N0A4", "N0A4", "N0A6"};
    for (int slot = 0; slot < 8; ++slot) {
        view[Disk(slot)] = DiskSeen(slot, firmware[slot], slot == 7 ? "HOT SPARE" : "ONLINE");
        const std::string port = std::to_string(slot);
        view["zbrPortc0_" + port] = {"Port " + port + " on Controller c0"};
    }
    return view;
}

// What each step changes. No value: the instance is gone.
using Changes = std::map<std::string, std::optional<Seen>>;
const std::vector<Changes> kChanges{
    {{Disk(3), DiskSeen(3, "N0A4", "FAILED", 30)}},
    {{kData,
      Seen{"RAID5 data Logical Volume 1 on controller c0, Drives(2e252,3e252,4e252,5e252,6e252) - DEGRADED", 10}}},
    {{Disk(7), DiskSeen(7, "N0A6", "REBUILD")},
     {kData,
      Seen{"RAID5 data Logical Volume 1 on controller c0, Drives(2e252,4e252,5e252,6e252,7e252) - DEGRADED", 10}}},
    {{Disk(7), DiskSeen(7, "N0A6", "ONLINE")},
     {kData, Seen{"RAID5 data Logical Volume 1 on controller c0, Drives(2e252,4e252,5e252,6e252,7e252) - OPTIMAL"}}},
    {{Disk(3), std::nullopt}},
    {{Disk(3), DiskSeen(3, "N0A7", "HOT SPARE")}},
    {{kData, Seen{"RAID5 archive Logical Volume 1 on controller c0, Drives(2e252,4e252,5e252,6e252,7e252) - OPTIMAL"}}},
    {{kBatteryId, Seen{"Battery bbu0 on Controller c0", 0, 4}}}, // degraded: a health that the provider does not know
};

void ExpectSame(const View &seen, const View &expected) {
    for (const auto &[id, what] : expected) {
        const auto found = seen.find(id);
        if (found == seen.end())
            ADD_FAILURE() << id << " is not there";
        else
            EXPECT_EQ(found->second, what) << id;
    }
    for (const auto &[id, what] : seen) EXPECT_EQ(expected.count(id), 1u) << id << " is there: " << what;
}

TEST(Story, AClientSeesEachStepAndNothingElse) {
    ASSERT_EQ(kStory.size(), kChanges.size());
    Stage stage;
    View expected = AtFirst();
    ExpectSame(ViewOf(stage.See()), expected);
    for (std::size_t i = 0; i < kStory.size(); ++i) {
        SCOPED_TRACE(kStory[i].title);
        stage.Play(kStory[i]);
        for (const auto &[id, what] : kChanges[i]) {
            if (what)
                expected[id] = *what;
            else
                expected.erase(id);
        }
        ExpectSame(ViewOf(stage.See()), expected);
    }
    stage.broker().Shutdown();
    EXPECT_EQ(stage.broker().Live().lent, 0u);
    EXPECT_EQ(stage.broker().Live().clones, 0u);
}

} // namespace
} // namespace cim
