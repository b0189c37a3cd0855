// What clients see: captions, state words, health, and how an instance is filled.
#include "tests/provider/Linked.h"

#include <algorithm>
#include <gmock/gmock.h>

using namespace support;
using testing::ElementsAre;

namespace {

// A broker whose instances tell of the calls that fill them.
std::vector<std::string> filling;
CMPIInstanceFT instances;
CMPIBrokerEncFT encapsulated;
CMPIBroker watching;

CMPIInstanceMI *CreateWithWatchedInstances(const CMPIBroker *broker, const CMPIContext *ctx, CMPIStatus *rc) {
    static const CMPIInstanceFT *of;
    static const CMPIBroker *real;
    real = broker;
    encapsulated = *broker->eft;
    encapsulated.newInstance = [](const CMPIBroker *, const CMPIObjectPath *path, CMPIStatus *status) {
        CMPIInstance *instance = real->eft->newInstance(real, path, status);
        of = instance->ft;
        instances = *of;
        instances.setProperty = [](const CMPIInstance *to, const char *name, const CMPIValue *value, CMPIType type) {
            filling.emplace_back("set");
            return of->setProperty(to, name, value, type);
        };
        instances.setPropertyFilter = [](const CMPIInstance *to, const char **names, const char **keys) {
            filling.emplace_back("filter");
            return of->setPropertyFilter(to, names, keys);
        };
        instance->ft = &instances;
        return instance;
    };
    watching = *broker;
    watching.eft = &encapsulated;
    return QuarnelProvider_Create_InstanceMI(&watching, ctx, rc);
}

} // namespace

// A broker may apply the filter to nothing but what is set after it.
TEST(Instances, AreFilteredBeforeTheyAreFilled) {
    BenchOptions options;
    options.provider.createInstanceMI = CreateWithWatchedInstances;
    LinkedBench bench(OneOfEach(), options);
    bench.Start();
    const std::vector<std::string> wanted = {"Caption"};
    for (const char *className : kServedClasses) {
        filling.clear();
        bench.Broker().EnumerateInstances(kNameSpace, className, &wanted);
        EXPECT_EQ(filling.at(0), "filter") << className;
        EXPECT_EQ(std::count(filling.begin(), filling.end(), "filter"), 1) << className;
        EXPECT_GT(filling.size(), 1u);
    }
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
    }
}

TEST(VolumeInstance, DerivesItsNamesNamespaceFromTheNamesFormat) {
    Hardware hardware = OneController();
    for (int format = 0; format <= 12; ++format)
        hardware.WithVolume(std::to_string(format), {{"pool", "dg0"}, {"nameFormat", format}, {"nameNamespace", 5}});
    LinkedBench bench(hardware);
    bench.StartInOrder();
    EXPECT_THAT(bench.Column(kVolume, "NameNameSpace"),
                ElementsAre("0", "1", "2", "2", "3", "4", "1", "7", "7", "2", "1", "1", "0"));
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
        EXPECT_THAT(bench.Column(kExtent, "Caption"), ElementsAre(std::string("Drive d on controller c0 Fw: n/a - ") +
                                                                  (primordial ? "UNCONFIGURED GOOD" : "ONLINE")));
    }
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

TEST(Captions, ListDrivesBySlotAndEnclosureOrElseByTheirIdentifier) {
    LinkedBench bench(Hardware()
                          .WithController("c1")
                          .WithEnclosure("252")
                          .WithEnclosure("0", {{"tag", "elsewhere"}}) // not the controller's tag: no short name
                          .WithPool("dg0")
                          .WithDisk("4", {{"enclosure", "252"}, {"slot", 4}, {"pool", "dg0"}})
                          .WithDisk("5", {{"enclosure", "252"}, {"slot", 5}, {"pool", "dg0"}})
                          .WithDisk("loose", {{"pool", "dg0"}})
                          .WithDisk("6", {{"enclosure", "0"}, {"slot", 6}, {"pool", "dg0"}})
                          .WithVolume("1", {{"pool", "dg0"}, {"raid", ""}, {"name", ""}}));
    bench.StartInOrder();
    EXPECT_THAT(bench.Column(kVolume, "Caption"),
                ElementsAre("Logical Volume 1 on controller c1, Drives(4e252,5e252,loose,6) - OPTIMAL"));

    // A member that names no known disk gives neither token nor separator.
    RaidController_t *ctrl = TheController();
    {
        const ControllerLock lock(ctrl->CtrlMutex);
        StoragePool_t *pool = FindStoragePoolByID(ctrl, "Sim:c1:pool:dg0");
        RemoveDiskFromPool(pool, "4");
        AddDiskToPool(pool, "ghost");
        AddDiskToPool(pool, "4");
    }
    EXPECT_THAT(bench.Column(kVolume, "Caption"),
                ElementsAre("Logical Volume 1 on controller c1, Drives(5e252,loose,6,4e252) - OPTIMAL"));
}

TEST(Captions, AreCutAt511BytesForVolumesAndAt127ForOthersAndNeverInsideACharacter) {
    const auto n = [](std::size_t count) { return std::string(count, 'n'); };
    LinkedBench bench(OneController()
                          .WithVolume("v", {{"pool", "dg0"}, {"name", n(600)}})
                          .WithDisk("d", {{"firmware", n(200)}})
                          // "Drive e on controller c0 Fw: " are 29 bytes: the last one of 49 is cut in half.
                          .WithDisk("e", {{"firmware", n(97) + "ä"}})
                          .WithDisk("f", {{"firmware", ""}})
                          .WithPort("p", {{"name", n(200)}})
                          .WithBattery(n(200)));
    bench.StartInOrder();
    EXPECT_THAT(bench.Column(kVolume, "Caption"), ElementsAre(n(511)));
    EXPECT_THAT(bench.Column(kExtent, "Caption"),
                ElementsAre("Drive d on controller c0 Fw: " + n(98), "Drive e on controller c0 Fw: " + n(97),
                            "Drive f on controller c0 Fw: n/a - UNCONFIGURED GOOD"));
    EXPECT_THAT(bench.Column(kPort, "Caption"), ElementsAre(n(127)));
    EXPECT_THAT(bench.Column(kBattery, "Caption"), ElementsAre("Battery " + n(119)));
}
