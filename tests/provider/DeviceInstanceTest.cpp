// Volumes, disks, ports and batteries as clients see them: captions, state words, health.
#include "tests/provider/Linked.h"

#include <gmock/gmock.h>

using namespace support;
using testing::ElementsAre;

namespace {

std::string Only(LinkedBench &bench, const char *className, const char *property) {
    const auto column = bench.Column(className, property);
    EXPECT_EQ(column.size(), 1u) << className;
    return column.empty() ? "none" : column[0];
}

void ExpectFacts(const cim::Instance &instance, const std::vector<std::pair<const char *, std::string>> &facts) {
    for (const auto &[property, expected] : facts) EXPECT_EQ(Shown(instance, property), expected) << property;
}

// c1 with the pool dg0 of two disks in slots 4 and 5 of the enclosure 252.
Hardware TwoDisks() {
    return Hardware()
        .WithController("c1")
        .WithEnclosure("252")
        .WithPool("dg0")
        .WithDisk("4", {{"enclosure", "252"}, {"slot", 4}, {"pool", "dg0"}})
        .WithDisk("5", {{"enclosure", "252"}, {"slot", 5}, {"pool", "dg0"}});
}

} // namespace

TEST(VolumeInstance, ShowsEveryFact) {
    LinkedBench bench(TwoDisks().WithVolume("1", {{"pool", "dg0"},
                                                  {"name", "data"},
                                                  {"raid", "RAID5"},
                                                  {"blocks", 5000000000},
                                                  {"consumableBlocks", 4999999999},
                                                  {"uniqueId", "600605B0"},
                                                  {"nameFormat", 9},
                                                  {"extentStatus", 3},
                                                  {"dataRedundancy", 1},
                                                  {"basedOnRedundancy", true},
                                                  {"deltaReservation", 100},
                                                  {"primordial", false}}));
    bench.StartInOrder();
    const auto volumes = bench.Enumerate(kVolume);
    ASSERT_EQ(volumes.size(), 1u);
    const std::string caption = "RAID5 data Logical Volume 1 on controller c1, Drives(4e252,5e252) - OPTIMAL";
    ExpectFacts(volumes[0], {{"ElementName", caption},
                             {"Caption", caption},
                             {"OperationalStatus", "{2}"},
                             {"HealthState", "5"},
                             {"NameFormat", "9"},
                             {"Name", "600605B0"},
                             {"NameNameSpace", "2"},
                             {"BlockSize", "512"},
                             {"NumberOfBlocks", "5000000000"},
                             {"ConsumableBlocks", "4999999999"},
                             {"IsBasedOnUnderlyingRedundancy", "true"},
                             {"NoSinglePointOfFailure", "true"},
                             {"DataRedundancy", "1"},
                             {"DeltaReservation", "100"},
                             {"Primordial", "false"},
                             {"ExtentStatus", "{3}"}});
    EXPECT_EQ(volumes[0].Property("BlockSize")->type, CMPI_uint64);
}

TEST(VolumeInstance, NamesItsStateAndHealth) {
    Hardware hardware = OneController();
    for (int status = 0; status <= 18; ++status)
        hardware.WithVolume(std::to_string(status), {{"pool", "dg0"}, {"status", status}});
    LinkedBench bench(hardware);
    bench.StartInOrder();
    const auto volumes = bench.Enumerate(kVolume);
    ASSERT_EQ(volumes.size(), 19u);
    for (std::size_t status = 0; status < volumes.size(); ++status) {
        const auto [word, health] = status == 2   ? std::pair("OPTIMAL", "5")
                                    : status == 3 ? std::pair("DEGRADED", "10")
                                    : status == 6 ? std::pair("OFFLINE", "30")
                                                  : std::pair("UNDEFINED", "0");
        EXPECT_TRUE(Matches(Shown(volumes[status], "Caption"), std::string("*() - ") + word)) << status;
        EXPECT_EQ(Shown(volumes[status], "HealthState"), health) << status;
        EXPECT_EQ(Shown(volumes[status], "OperationalStatus"), "{" + std::to_string(status) + "}");
    }
}

TEST(VolumeInstance, DerivesItsNamesNamespaceFromTheNamesFormat) {
    const char *expected[] = {"0", "1", "2", "2", "3", "4", "1", "7", "7", "2", "1", "1", "0"};
    Hardware hardware = OneController();
    for (int format = 0; format <= 12; ++format)
        hardware.WithVolume(std::to_string(format), {{"pool", "dg0"}, {"nameFormat", format}, {"nameNamespace", 5}});
    LinkedBench bench(hardware);
    bench.StartInOrder();
    EXPECT_THAT(bench.Column(kVolume, "NameNameSpace"), testing::ElementsAreArray(expected));
}

TEST(VolumeInstance, LeavesOutOfItsCaptionWhatIsNotKnown) {
    const struct {
        const char *name;
        Json members;
        const char *caption;
    } cases[] = {
        {"no level", {{"name", "data"}}, "data Logical Volume 1 on controller c1, Drives(4e252,5e252) - OPTIMAL"},
        {"no name", {{"raid", "RAID1"}}, "RAID1 Logical Volume 1 on controller c1, Drives(4e252,5e252) - OPTIMAL"},
        {"empty texts",
         {{"raid", ""}, {"name", ""}},
         "Logical Volume 1 on controller c1, Drives(4e252,5e252) - OPTIMAL"},
        {"no setting",
         {{"raid", "RAID1"}, {"parts", {{"setting", nullptr}}}},
         "Logical Volume 1 on controller c1, Drives(4e252,5e252) - OPTIMAL"},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        Json members = test.members;
        members["pool"] = "dg0";
        if (!members.contains("name")) members["omit"] = {"ElementName"};
        LinkedBench bench(TwoDisks().WithVolume("1", members));
        bench.StartInOrder();
        EXPECT_EQ(Only(bench, kVolume, "Caption"), test.caption);
    }
}

TEST(VolumeInstance, SaysAsErrorThatItsPoolIsNotThere) {
    Hardware hardware = TwoDisks().WithController("c2").WithPool("far");
    hardware.Controller("c1")["volumes"] = {{{"id", "1"}, {"pool", "c2/far"}, {"omit", {"ElementName"}}}};
    LinkedBench bench(hardware);
    bench.Start();
    LogCapture::Clear();
    EXPECT_EQ(Only(bench, kVolume, "Caption"), "Logical Volume 1 on controller c1 - OPTIMAL");
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "FillVolumeInstance: Cannot get physical drive info for logical volume 1\n"));
}

TEST(VolumeInstance, ListsItsDrivesBySlotAndEnclosureOrElseByTheirIdentifier) {
    LinkedBench bench(TwoDisks()
                          .WithEnclosure("0", {{"tag", "elsewhere"}}) // not the controller's tag: no short name
                          .WithDisk("loose", {{"pool", "dg0"}})
                          .WithDisk("6", {{"enclosure", "0"}, {"slot", 6}, {"pool", "dg0"}})
                          .WithVolume("1", {{"pool", "dg0"}, {"omit", {"ElementName"}}}));
    bench.StartInOrder();
    EXPECT_EQ(Only(bench, kVolume, "Caption"),
              "Logical Volume 1 on controller c1, Drives(4e252,5e252,loose,6) - OPTIMAL");

    // A member that names no known disk gives neither token nor separator.
    RaidController_t *ctrl = TheController();
    {
        const ControllerLock lock(ctrl->CtrlMutex);
        DiskDrive_t *first = FindDiskByDeviceID(ctrl, "4");
        StoragePool_t *pool = FindStoragePoolByID(ctrl, first->Pool);
        RemoveDiskFromPool(pool, "4");
        AddDiskToPool(pool, "ghost");
        AddDiskToPool(pool, "4");
    }
    EXPECT_EQ(Only(bench, kVolume, "Caption"),
              "Logical Volume 1 on controller c1, Drives(5e252,loose,6,4e252) - OPTIMAL");
}

TEST(VolumeInstance, CutsItsCaptionAt511Bytes) {
    const std::string name(600, 'n');
    LinkedBench bench(TwoDisks().WithVolume("1", {{"pool", "dg0"}, {"name", name}}));
    bench.Start();
    EXPECT_EQ(Only(bench, kVolume, "Caption"), name.substr(0, 511));
}

TEST(ExtentInstance, ShowsEveryFact) {
    LinkedBench bench(TwoDisks());
    bench.Change([](Hardware &hardware) {
        hardware.Entry("disks", "4").update({{"blocks", 1758174768}, {"firmware", "N0A4"}, {"primordial", true}});
    });
    bench.StartInOrder();
    const auto disks = bench.Enumerate(kExtent);
    ASSERT_EQ(disks.size(), 2u);
    const std::string caption = "Drive 4 in enclosure 252 on controller c1 Fw: N0A4 - ONLINE";
    ExpectFacts(disks[0], {{"ElementName", caption},
                           {"Caption", caption},
                           {"OperationalStatus", "{2}"},
                           {"HealthState", "5"},
                           {"BlockSize", "512"},
                           {"NumberOfBlocks", "1758174768"},
                           // The disk's own flag, whatever its pool's is.
                           {"Primordial", "true"}});
    EXPECT_EQ(Shown(disks[1], "Caption"), "Drive 5 in enclosure 252 on controller c1 Fw: n/a - ONLINE");
    EXPECT_EQ(disks[0].Property("BlockSize")->type, CMPI_uint16); // narrower than a volume's
}

TEST(ExtentInstance, NamesItsStateFromStatusExtentAndPool) {
    const struct {
        int status, extent;
        bool primordial; // the pool
        const char *word, *health;
    } cases[] = {
        {2, 13, false, "HOT SPARE", "5"},
        {2, 13, true, "HOT SPARE", "5"},
        {2, 11, true, "UNCONFIGURED GOOD", "5"},
        {2, 2, true, "UNCONFIGURED GOOD", "5"},
        {2, 11, false, "REBUILD", "5"},
        {2, 2, false, "ONLINE", "5"},
        {2, 3, false, "ONLINE", "5"},
        {6, 2, true, "UNCONFIGURED BAD", "10"},
        {6, 13, true, "UNCONFIGURED BAD", "10"},
        {6, 3, true, "FAILED", "30"},
        {6, 3, false, "FAILED", "30"},
        {6, 2, false, "FAILED", "30"},
        {12, 2, false, "OFFLINE", "20"},
        {12, 13, true, "OFFLINE", "20"},
        {15, 2, false, "UNCONFIGURED GOOD", "5"},
        {3, 13, true, "UNDEFINED", "10"},
        {0, 2, false, "UNDEFINED", "10"},
        {5, 11, false, "UNDEFINED", "10"},
    };
    Hardware hardware = OneController();
    int id = 0;
    for (const auto &test : cases)
        hardware.WithDisk(std::to_string(id++), {{"pool", test.primordial ? "free" : "dg0"},
                                                 {"status", test.status},
                                                 {"extentStatus", test.extent},
                                                 // Of no weight as long as the pool is known.
                                                 {"primordial", !test.primordial}});
    LinkedBench bench(hardware);
    bench.StartInOrder();
    const auto disks = bench.Enumerate(kExtent);
    ASSERT_EQ(disks.size(), std::size(cases));
    for (std::size_t i = 0; i < disks.size(); ++i) {
        EXPECT_EQ(Shown(disks[i], "Caption"),
                  "Drive " + std::to_string(i) + " on controller c0 Fw: n/a - " + cases[i].word);
        EXPECT_EQ(Shown(disks[i], "HealthState"), cases[i].health) << i;
    }
}

TEST(ExtentInstance, UsesItsOwnPrimordialFlagWhenItsPoolIsNotThere) {
    for (const bool primordial : {true, false}) {
        Hardware hardware = OneController().WithController("c1").WithPool("far");
        hardware.Controller("c0")["disks"] = {{{"id", "d"}, {"pool", "c1/far"}, {"primordial", primordial}}};
        LinkedBench bench(hardware);
        bench.Start();
        EXPECT_EQ(Only(bench, kExtent, "Caption"),
                  std::string("Drive d on controller c0 Fw: n/a - ") + (primordial ? "UNCONFIGURED GOOD" : "ONLINE"));
    }
}

TEST(ExtentInstance, CutsItsCaptionAt127BytesAndNeverInsideACharacter) {
    LinkedBench bench(OneController()
                          .WithDisk("d", {{"firmware", std::string(200, 'f')}})
                          // "Drive e on controller c0 Fw: " are 29 bytes: the last one of 49 is cut in half.
                          .WithDisk("e", {{"firmware", std::string(97, 'f') + "ä"}}));
    bench.StartInOrder();
    const auto captions = bench.Column(kExtent, "Caption");
    ASSERT_EQ(captions.size(), 2u);
    EXPECT_EQ(captions[0], "Drive d on controller c0 Fw: " + std::string(98, 'f'));
    EXPECT_EQ(captions[1], "Drive e on controller c0 Fw: " + std::string(97, 'f'));
}

TEST(PortInstance, ShowsEveryFactAndIsCaptionedByNameOrElseIdentifier) {
    LinkedBench bench(Hardware()
                          .WithController("c1")
                          .WithPort("p0", {{"name", "Port 0"}, {"type", "SAS"}, {"usage", "back-end"}})
                          .WithPort("p1", {{"omit", {"ElementName"}}})
                          .WithPort("p2", {{"name", std::string(200, 'n')}}));
    bench.StartInOrder();
    const auto ports = bench.Enumerate(kPort);
    ASSERT_EQ(ports.size(), 3u);
    ExpectFacts(ports[0], {{"ElementName", "Port 0 on Controller c1"},
                           {"Caption", "Port 0 on Controller c1"},
                           {"OperationalStatus", "{2}"},
                           {"HealthState", "5"},
                           {"PortType", "94"},
                           {"UsageRestriction", "3"}});
    EXPECT_EQ(Shown(ports[1], "Caption"), "p1 on Controller c1");
    EXPECT_EQ(Shown(ports[2], "Caption"), std::string(127, 'n'));
}

TEST(BatteryInstance, ShowsEveryFact) {
    LinkedBench bench(
        Hardware().WithController("c1").WithBattery("bbu0", {{"batteryStatus", 4}, {"status", "dormant"}}));
    bench.Start();
    const auto batteries = bench.Enumerate(kBattery);
    ASSERT_EQ(batteries.size(), 1u);
    ExpectFacts(batteries[0], {{"ElementName", "Battery bbu0 on Controller c1"},
                               {"Caption", "Battery bbu0 on Controller c1"},
                               {"OperationalStatus", "{15}"},
                               {"HealthState", "5"},
                               {"BatteryStatus", "4"}});
}

TEST(PortAndBatteryInstances, DeriveTheirHealthFromTheirStatus) {
    Hardware hardware = Hardware().WithController("c1");
    for (int status = 0; status <= 18; ++status) {
        hardware.WithPort(std::to_string(status), {{"status", status}});
        hardware.WithBattery(std::to_string(status), {{"status", status}});
    }
    LinkedBench bench(hardware);
    bench.StartInOrder();
    std::vector<std::string> expected(19, "0");
    expected[2] = expected[15] = "5";
    expected[6] = "30";
    expected[12] = "20";
    EXPECT_EQ(bench.Column(kPort, "HealthState"), expected);
    EXPECT_EQ(bench.Column(kBattery, "HealthState"), expected);
}
