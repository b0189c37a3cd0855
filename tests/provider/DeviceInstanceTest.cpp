// What clients see: captions, state words, health, and how an instance is filled.
#include "tests/provider/Model.h"

#include <gmock/gmock.h>

using namespace support;
using testing::ElementsAre;

// A broker may apply the filter to nothing but what is set after it.
TEST(Instances, AreFilteredBeforeTheyAreFilled) {
    static const CMPIBroker *real;
    static CMPIBroker watching;
    static CMPIBrokerEncFT encapsulated;
    static CMPIInstanceFT instances;
    static bool filled;
    static int filtered;
    filtered = 0;
    BenchOptions options;
    options.provider.createInstanceMI = [](const CMPIBroker *broker, const CMPIContext *ctx, CMPIStatus *rc) {
        real = broker;
        encapsulated = *broker->eft;
        encapsulated.newInstance = [](const CMPIBroker *, const CMPIObjectPath *path, CMPIStatus *status) {
            static const CMPIInstanceFT *table;
            CMPIInstance *instance = real->eft->newInstance(real, path, status);
            table = instance->ft;
            instances = *table;
            instances.setProperty = [](const CMPIInstance *to, const char *name, const CMPIValue *value,
                                       CMPIType type) {
                filled = true;
                return table->setProperty(to, name, value, type);
            };
            instances.setPropertyFilter = [](const CMPIInstance *to, const char **names, const char **keys) {
                ++filtered;
                EXPECT_FALSE(filled);
                return table->setPropertyFilter(to, names, keys);
            };
            instance->ft = &instances;
            filled = false;
            return instance;
        };
        watching = *broker;
        watching.eft = &encapsulated;
        return QuarnelProvider_Create_InstanceMI(&watching, ctx, rc);
    };
    LinkedBench bench(OneOfEach(), options);
    bench.Start();
    const std::vector<std::string> wanted = {"Caption"};
    for (const char *className : kServedClasses) bench.Broker().EnumerateInstances(kNameSpace, className, &wanted);
    EXPECT_EQ(filtered, 6);
}

TEST(States, AreNamedAndRatedForEveryStatus) {
    Hardware hardware = OneController().WithPool("empty");
    for (int status = 0; status <= 18; ++status) {
        const std::string id = "of status " + std::to_string(status);
        hardware.WithPort(id, {{"status", status}}).WithBattery(id, {{"status", status}});
        hardware.WithVolume(id, {{"pool", "empty"}, {"status", status}});
        for (const int extent : {2, 3, 11, 13})
            for (const bool primordial : {false, true})
                hardware.WithDisk(id + " " + std::to_string(extent) + (primordial ? " primordial" : ""),
                                  {{"pool", primordial ? "free" : "dg0"},
                                   {"status", status},
                                   {"extentStatus", extent},
                                   {"primordial", !primordial}}); // of no weight as long as the pool is known
    }
    for (int format = 0; format <= 12; ++format)
        hardware.WithVolume("of format " + std::to_string(format),
                            {{"pool", "empty"}, {"nameFormat", format}, {"nameNamespace", 5}});
    const LogMask quiet(LOG_UPTO(LOG_INFO));
    LinkedBench bench(hardware);
    bench.StartInOrder();
    std::string told;
    for (const char *className : {kVolume, kExtent, kPort, kBattery})
        for (const cim::Instance &device : bench.Enumerate(className)) {
            told += Shown(device, "Caption") + ", health " + Shown(device, "HealthState");
            told += className == kVolume ? ", namespace " + Shown(device, "NameNameSpace") + "\n" : "\n";
        }
    ExpectFile("states.txt", told);
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

TEST(Captions, AreCutAt511BytesForVolumesAndAt127ForOthers) {
    const auto n = [](std::size_t count) { return std::string(count, 'n'); };
    LinkedBench bench(OneController()
                          .WithVolume("v", {{"pool", "dg0"}, {"name", n(600)}})
                          .WithDisk("d", {{"firmware", n(200)}})
                          .WithDisk("e", {{"firmware", ""}})
                          .WithPort("p", {{"name", n(200)}})
                          .WithBattery(n(200)));
    bench.StartInOrder();
    EXPECT_THAT(bench.Column(kVolume, "Caption"), ElementsAre(n(511)));
    EXPECT_THAT(bench.Column(kExtent, "Caption"), ElementsAre("Drive d on controller c0 Fw: " + n(98),
                                                              "Drive e on controller c0 Fw: n/a - UNCONFIGURED GOOD"));
    EXPECT_THAT(bench.Column(kPort, "Caption"), ElementsAre(n(127)));
    EXPECT_THAT(bench.Column(kBattery, "Caption"), ElementsAre("Battery " + n(119)));
}

TEST(Paths, AreLoggedWithKeysOfEveryType) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    const cim::ObjectPath host{{}, kNameSpace, "OMC_UnitaryComputerSystem", {{"Name", Text("host")}}};
    const std::vector<std::pair<cim::Value, const char *>> keys = {
        {Text("x"), "\"x\""}, {Flag(true), "TRUE"}, {Flag(false), "FALSE"},
        {U16(7), "7"},        {S64(7), "7"},        {cim::Value::Reference(host), "(reference)"},
    };
    for (const auto &[value, logged] : keys) {
        const cim::ObjectPath path{{}, kNameSpace, kPort, {{"DeviceID", Text("x")}, {"SystemName", value}}};
        EXPECT_EQ(bench.Broker().GetInstance(path).status.rc, CMPI_RC_ERR_NOT_FOUND);
        EXPECT_TRUE(Logged(LOG_ERR, std::string("Object path root/cimv2:Zembra_QuarnelSASSATAPort.DeviceID=\"x\","
                                                "SystemName=") +
                                        logged + " invalid\n"));
    }
}
