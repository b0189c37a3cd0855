#include "cim/inventory/Changes.h"

#include "tests/host/Samples.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace cim {
namespace {

constexpr const char *kTime = "2026-01-05T10:02:11";

std::string DiskCaptionWith(const std::string &firmware, const std::string &state) {
    return "Drive 2 in enclosure 252 on controller c0 Fw: " + firmware + " - " + state;
}

Inventory With(ClassIndex index, std::vector<Instance> instances) {
    Instances all;
    all[index] = std::move(instances);
    return Describe(std::move(all));
}

std::string Lines(const Inventory &before, const Inventory &after, const ServedClass *only = nullptr) {
    std::string lines;
    for (const auto &change : Compare(before, after, only)) lines += ToText(change, kTime);
    return lines;
}

TEST(Changes, ATimeTellsItsDistanceFromUtc) {
    const char *set = std::getenv("TZ");
    const std::string former = set != nullptr ? set : "";
    const auto in = [](const char *zone) {
        setenv("TZ", zone, 1);
        tzset();
        return TimeWithOffset(1767607331);
    };
    EXPECT_EQ(in("UTC"), "2026-01-05T10:02:11+00:00");
    EXPECT_EQ(in("XXX+3:30"), "2026-01-05T06:32:11-03:30");
    set != nullptr ? setenv("TZ", former.c_str(), 1) : unsetenv("TZ");
    tzset();
}

TEST(Changes, AStateIsOneLine) {
    EXPECT_EQ(Lines(With(kDisk, {SampleDisk("c0_12", DiskCaptionWith("1", "ONLINE"), 2, 5)}),
                    With(kDisk, {SampleDisk("c0_12", DiskCaptionWith("1", "FAILED"), 6, 30)})),
              "2026-01-05T10:02:11 disk zbrStorageExtc0_12 ONLINE -> FAILED\n");
}

TEST(Changes, OtherColumnsAreNamed) {
    const std::string rest = " Logical Volume 1 on controller c0, Drives(0e1) - OPTIMAL";
    EXPECT_EQ(Lines(With(kVolume, {SampleVolume("c0_1", "RAID5 data" + rest, 2, 5, 2147483648)}),
                    With(kVolume, {SampleVolume("c0_1", "RAID5 archive" + rest, 2, 5, 4294967296)})),
              "2026-01-05T10:02:11 volume zbrStorageVolumec0_1 name data -> archive\n"
              "2026-01-05T10:02:11 volume zbrStorageVolumec0_1 size 1.00 TiB -> 2.00 TiB\n");
    EXPECT_EQ(Lines(With(kBattery, {SampleBattery("c0_b", 3, 2, 5)}), With(kBattery, {SampleBattery("c0_b", 4, 3, 0)})),
              "2026-01-05T10:02:11 battery zbrControllerBatteryc0_b OK -> Degraded\n"
              "2026-01-05T10:02:11 battery zbrControllerBatteryc0_b charge Fully charged -> Low\n");
}

TEST(Changes, WhatAppearsAndGoes) {
    const auto one = SampleDisk("c0_1", DiskCaptionWith("1", "ONLINE"), 2, 5);
    const auto two = SampleDisk("c0_2", DiskCaptionWith("1", "HOT SPARE"), 2, 5);
    EXPECT_EQ(Lines(With(kDisk, {one}), With(kDisk, {two})),
              "2026-01-05T10:02:11 disk zbrStorageExtc0_2 appeared: HOT SPARE\n"
              "2026-01-05T10:02:11 disk zbrStorageExtc0_1 removed: ONLINE\n");
    EXPECT_EQ(Lines(With(kDisk, {one, two}), With(kDisk, {two, one})), "");
    EXPECT_EQ(Lines(With(kDisk, {one}), With(kDisk, {two}), &kServedClasses[kPort]), "");
}

TEST(Changes, AsJson) {
    const Inventory before = With(kDisk, {SampleDisk("c0_12", DiskCaptionWith("1", "ONLINE"), 2, 5)});
    const Inventory after = With(kDisk, {SampleDisk("c0_12", DiskCaptionWith("1", "FAILED"), 6, 30)});
    const auto changes = Compare(before, after, nullptr);
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(ToJson(changes[0], kTime), Json::parse(R"({
        "time": "2026-01-05T10:02:11", "event": "changed", "class": "Zembra_QuarnelStorageExtent", "kind": "disk",
        "id": "zbrStorageExtc0_12",
        "path": "root/cimv2:Zembra_QuarnelStorageExtent.DeviceID=\"zbrStorageExtc0_12\"",
        "state": "FAILED", "previousState": "ONLINE",
        "changes": {
            "Caption": {"from": "Drive 2 in enclosure 252 on controller c0 Fw: 1 - ONLINE",
                        "to": "Drive 2 in enclosure 252 on controller c0 Fw: 1 - FAILED"},
            "OperationalStatus": {"from": [2], "to": [6]},
            "HealthState": {"from": 5, "to": 30}}})"));

    const auto gone = Compare(before, Inventory{}, nullptr);
    ASSERT_EQ(gone.size(), 1u);
    const Json json = ToJson(gone[0], kTime);
    EXPECT_EQ(json["event"], "removed");
    EXPECT_EQ(json["state"], "ONLINE");
    EXPECT_EQ(json["properties"]["HealthState"], 5);
}

} // namespace
} // namespace cim
