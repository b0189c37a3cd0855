#include "cim/picture/Document.h"

#include "cim/picture/Facts.h"
#include "tests/host/Samples.h"

#include <gtest/gtest.h>

namespace cim::picture {
namespace {

Instance PlacedDisk(const std::string &id, const std::string &slot, const std::string &enclosure = "252",
                    const std::string &controller = "c0") {
    return SampleDisk(
        id, "Drive " + slot + " in enclosure " + enclosure + " on controller " + controller + " Fw: N0A4 - ONLINE", 2,
        5, 2147483648);
}

Instance LooseDisk(const std::string &id, const std::string &device) {
    return SampleDisk(id, "Drive " + device + " on controller c0 Fw: n/a - ONLINE", 2, 5);
}

Instance VolumeOf(const std::string &drives) {
    return SampleVolume("c0_1", "RAID5 data Logical Volume 1 on controller c0, Drives(" + drives, 2, 5, 4294967296);
}

TEST(Facts, OfEachKind) {
    Instances server;
    server[kController] = {SampleController("c0", "R8i")};
    server[kSoftware] = {SampleSoftware("c0", "24.1 (Package); 5.11 (Fw)")};
    server[kVolume] = {VolumeOf("3e252,4e252,5e252) - OPTIMAL")};
    server[kDisk] = {PlacedDisk("c0_a", "3")};
    server[kPort] = {Sample(kPort, "c0_p0",
                            {{"Caption", Value::Text("Port 0 on Controller c0")},
                             {"OperationalStatus", ListOf(2)},
                             {"HealthState", Number(5)},
                             {"PortType", Number(94)},
                             {"UsageRestriction", Number(3)}})};
    server[kBattery] = {SampleBattery("c0_b", 4, 2, 5)};
    const char *facts[] = {
        R"({"controller":"c0","state":"OK","health":"OK","model":"R8i","package":"24.1","firmware":"5.11"})",
        R"({"controller":"c0","model":"Model","package":"24.1","firmware":"5.11"})",
        R"({"controller":"c0","device":"1","state":"OPTIMAL","health":"OK","name":"data","level":"RAID5",
            "size":"2.00 TiB","drives":"3-5e252"})",
        R"({"controller":"c0","device":"a","state":"ONLINE","health":"OK","firmware":"N0A4","size":"1.00 TiB",
            "enclosure":"252","slot":"3"})",
        R"({"controller":"c0","device":"p0","state":"OK","health":"OK","name":"Port 0","type":"SAS",
            "usage":"Back-end only"})",
        R"({"controller":"c0","device":"b","state":"OK","health":"OK","charge":"Low"})",
    };
    const Inventory inventory = Describe(server);
    for (const auto &served : kServedClasses) {
        EXPECT_EQ(FactsOf(inventory[served.index].at(0)), Json::parse(facts[served.index])) << served.kind;
    }
}

TEST(Members, AreFoundBySlotOrByDeviceID) {
    Instances server;
    server[kController] = {SampleController("c0", "R8i"), SampleController("c1", "R8i")};
    server[kDisk] = {
        PlacedDisk("c0_a", "3"),
        PlacedDisk("c0_twin", "3"),
        PlacedDisk("c0_b", "4"),
        PlacedDisk("c0_x", "1", "25"),
        PlacedDisk("c1_other", "4", "252", "c1"),
        LooseDisk("c0_nvme0", "nvme0"),
        LooseDisk("c0_0,1,4", "0,1,4"),
    };
    struct Case {
        const char *drives;
        std::vector<std::string> devices;
        bool cut;
    };
    const Case cases[] = {
        {"4e252,nvme0) - OPTIMAL", {"b", "nvme0"}, false},
        {"3e252) - OPTIMAL", {"a", "twin"}, false}, // either may be the one
        {"4e25,4e2520,5e252) - OPTIMAL", {}, false},
        {"4e252,0,1,4,nvme0) - OPTIMAL", {"b", "0,1,4", "nvme0"}, false},
        {"4e252,0,1,nvme0) - OPTIMAL", {"b", "nvme0"}, false},
        {") - OPTIMAL", {}, false},
        {"4e252,1e25", {"b"}, true}, // cut: it began "1e252", and is no disk of enclosure 25
    };
    for (const auto &[drives, devices, cut] : cases) {
        server[kVolume] = {VolumeOf(drives)};
        const Inventory inventory = Describe(server);
        const Members members = MembersOf(inventory[kVolume].at(0), inventory[kDisk]);
        std::vector<std::string> found;
        for (const auto &path : members.paths) {
            for (const auto &disk : inventory[kDisk]) {
                if (disk.path == path) found.push_back(disk.device);
            }
        }
        std::sort(found.begin(), found.end());
        auto expected = devices;
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(found, expected) << drives;
        EXPECT_EQ(members.cut, cut) << drives;
    }
}

TEST(Document, HasTheShapeOfListAndMore) {
    Instances server;
    server[kController] = {SampleController("c0", "<script>alert(1)</script>\xff")};
    server[kVolume] = {VolumeOf("3e252) - OPTIMAL")};
    server[kDisk] = {PlacedDisk("c0_a", "3"), PlacedDisk("c0_b", "4")};
    Observation observation;
    ObjectPath path = server[kVolume][0].path;
    path.keys.push_back({"SystemName", Value::Text("host.example")});
    server[kVolume][0].path = path;
    observation.inventory = Describe(server);
    observation.age = std::chrono::milliseconds(1500);
    Json document = InventoryDocument(observation, false);

    EXPECT_EQ(document["age"], 1.5);
    EXPECT_EQ(document["system"], "host.example");
    EXPECT_EQ(document["changes"], Json::array());
    EXPECT_EQ(document["Zembra_QuarnelStorageVolume"][0]["facts"]["members"],
              Json::array({document["Zembra_QuarnelStorageExtent"][0]["path"]}));
    EXPECT_EQ(document["Zembra_QuarnelStorageVolume"][0]["facts"]["membersCut"], false);
    EXPECT_EQ(Json::parse(Dump(document, -1))["Zembra_QuarnelController"][0]["facts"]["model"],
              "<script>alert(1)</script>\xef\xbf\xbd");

    for (const char *more : {"time", "age", "watchedSince", "system", "changes"})
        EXPECT_EQ(document.erase(more), 1u) << more;
    for (const auto &served : kServedClasses) {
        for (auto &item : document[served.name]) item.erase("facts");
    }
    EXPECT_EQ(document, ToJson(server, nullptr));
}

} // namespace
} // namespace cim::picture
