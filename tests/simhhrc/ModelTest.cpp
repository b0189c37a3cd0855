// What the entries of a description become: objects with their properties, as a client sees them.
#include "tests/simhhrc/Vendor.h"

#include <gmock/gmock.h>

namespace vendor {
namespace {

using support::Shown;
using testing::ElementsAre;

class Model : public Vendor {
protected:
    // A controller c0 with an enclosure e, a primordial pool free, a pool p, and these members.
    void DescribeController(const std::string &members) {
        Describe(R"({"controllers": [{"id": "c0", "enclosures": [{"id": "e"}],
                     "pools": [{"id": "free", "primordial": true}, {"id": "p"}], )" +
                 members + "}]}");
    }
    Texts Columns(const std::string &className, const std::string &id, const Texts &properties) {
        const cim::Instance instance = One(className, id);
        Texts texts;
        for (const std::string &property : properties) texts.push_back(Shown(instance, property));
        return texts;
    }
};

TEST_F(Model, ControllerIsAPortControllerASystemAndACard) {
    Describe(R"({"controllers": [{"id": "c0", "vendor": "Acme", "model": "R8i", "serial": "S1", "status": "degraded",
                 "health": "minor", "software": [{"kind": "firmware", "version": "1.2"}, {"kind": 6}]}]})");
    EXPECT_THAT(Columns("Sim_PortController", "c0", {"DeviceID", "SystemName", "CreationClassName"}),
                ElementsAre("c0", "c0", "Sim_PortController"));
    EXPECT_THAT(Columns("Sim_ComputerSystem", "c0", {"Name", "OperationalStatus", "HealthState", "Dedicated"}),
                ElementsAre("c0", "{3}", "10", "{15}"));
    EXPECT_THAT(Columns("Sim_PhysicalPackage", "c0", {"Manufacturer", "Model", "SerialNumber", "HealthState"}),
                ElementsAre("Acme", "R8i", "S1", "15"));
    EXPECT_THAT(Columns("Sim_SoftwareIdentity", "Sim:c0:software:0", {"Classifications", "VersionString"}),
                ElementsAre("{10}", "1.2"));
    EXPECT_THAT(Columns("Sim_SoftwareIdentity", "Sim:c0:software:1", {"Classifications", "VersionString"}),
                ElementsAre("{6}", "absent"));
}

TEST_F(Model, DiskIsADriveItsMediaFirmwarePackageAndSlot) {
    DescribeController(R"("disks": [{"enclosure": "e", "slot": 3, "pool": "p", "size": "900GB", "firmware": ["A", "B"],
                                     "name": "n", "vendor": "V", "model": "M", "serial": "S"}])");
    EXPECT_THAT(Columns("Sim_DiskDrive", "e:3", {"DeviceID", "Name", "EnabledState", "OperationalStatus"}),
                ElementsAre("e:3", "n", "2", "{2}"));
    EXPECT_THAT(Columns("Sim_StorageExtent", "e:3",
                        {"BlockSize", "NumberOfBlocks", "ConsumableBlocks", "Primordial", "ExtentStatus"}),
                ElementsAre("512", "1757812500", "1757812500", "false", "{2}"));
    EXPECT_EQ(Property("Sim_SoftwareIdentity", "Sim:c0/disk/e:3/firmware", "VersionString"), "A");
    EXPECT_EQ(Property("Sim_SoftwareIdentity", "Sim:c0/disk/e:3/firmware/1", "VersionString"), "B");
    EXPECT_THAT(Columns("Sim_PhysicalPackage", "c0_e:3", {"Manufacturer", "Model", "SerialNumber"}),
                ElementsAre("V", "M", "S"));
    EXPECT_EQ(Property("Sim_Slot", "c0_e_slot3", "Number"), "3");
    EXPECT_EQ(Property("Sim_Chassis", "c0_e", "Tag"), "c0_e");
}

TEST_F(Model, StatesOfDisksAreStatusExtentStatusAndPool) {
    const struct {
        const char *state;
        const char *pool;
        const char *operational;
        const char *extent;
        const char *primordial;
    } cases[] = {
        {"\"online\"", "p", "{2}", "{2}", "false"},          {"\"hot spare\"", "p", "{2}", "{13}", "false"},
        {"\"hot spare\"", "free", "{2}", "{13}", "true"},    {"\"rebuild\"", "p", "{2}", "{11}", "false"},
        {"\"failed\"", "p", "{6}", "{3}", "false"},          {"\"unconfigured good\"", "free", "{2}", "{2}", "true"},
        {"\"offline\"", "p", "{12}", "{2}", "false"},        {"\"unconfigured bad\"", "free", "{6}", "{2}", "true"},
        {"\"dormant\"", "p", "{15}", "{2}", "false"},        {"7", "p", "{7}", "{2}", "false"},
        {"[3, \"stressed\"]", "p", "{3,4}", "{2}", "false"}, {"[]", "p", "{}", "{2}", "false"},
    };
    for (const auto &row : cases) {
        SCOPED_TRACE(row.state);
        DescribeController(std::string("\"disks\": [{\"id\": \"d\", \"pool\": \"") + row.pool +
                           "\", \"status\": " + row.state + "}]");
        EXPECT_EQ(Property("Sim_DiskDrive", "d", "OperationalStatus"), row.operational);
        EXPECT_EQ(Property("Sim_StorageExtent", "d", "ExtentStatus"), row.extent);
        EXPECT_EQ(Property("Sim_StorageExtent", "d", "Primordial"), row.primordial);
    }
    DescribeController(R"("disks": [{"id": "d", "status": "ok", "extentStatus": [4, 5], "primordial": false}])");
    EXPECT_EQ(Property("Sim_StorageExtent", "d", "ExtentStatus"), "{4,5}");
    EXPECT_EQ(Property("Sim_StorageExtent", "d", "Primordial"), "false");
}

TEST_F(Model, VolumePortBatteryAndOthersHaveTheirProperties) {
    DescribeController(R"("volumes": [{"id": "0", "name": "data", "raid": "RAID6", "pool": "p", "size": "1TiB",
                                       "consumableBlocks": 7, "status": "offline", "uniqueId": "6AA", "nameFormat": 2,
                                       "deltaReservation": 9},
                                      {"id": "1", "raid": "JBOD", "pool": "p", "dataRedundancy": 3}],
                          "ports": [{"id": "0", "name": "P0", "type": "SATA", "usage": "front-end", "speed": 6000000000}],
                          "batteries": [{"id": "b", "batteryStatus": "charging", "status": "failed"}],
                          "devices": [{"id": "f", "class": "Sim_Fan", "name": "Fan"}])");
    EXPECT_THAT(Columns("Sim_StorageVolume", "0",
                        {"ElementName", "NumberOfBlocks", "ConsumableBlocks", "OperationalStatus", "ExtentStatus",
                         "Name", "NameFormat", "DataRedundancy", "PackageRedundancy", "IsBasedOnUnderlyingRedundancy",
                         "DeltaReservation", "Primordial"}),
                ElementsAre("data", "2147483648", "7", "{6}", "{3}", "6AA", "2", "1", "2", "true", "9", "false"));
    EXPECT_THAT(
        Columns("Sim_StorageVolume", "1", {"NumberOfBlocks", "DataRedundancy", "IsBasedOnUnderlyingRedundancy"}),
        ElementsAre("absent", "3", "false"));
    EXPECT_EQ(Property("Sim_StorageSetting", "Sim:c0/volume/0/setting", "ElementName"), "RAID6");
    EXPECT_THAT(Columns("Sim_SASSATAPort", "0", {"ElementName", "PortType", "UsageRestriction", "Speed"}),
                ElementsAre("P0", "93", "2", "6000000000"));
    EXPECT_THAT(Columns("Sim_Battery", "b", {"BatteryStatus", "OperationalStatus", "HealthState"}),
                ElementsAre("6", "{6}", "30"));
    EXPECT_EQ(Property("Sim_Fan", "f", "ElementName"), "Fan");
}

TEST_F(Model, PoolsAddUpTheirDisksUnlessTheySayOtherwise) {
    Describe(R"({"controllers": [{"id": "c0",
        "pools": [{"id": "free", "primordial": true}, {"id": "p"}, {"id": "q", "size": "2kB", "free": 100}],
        "disks": [{"id": "a", "pool": "p", "blocks": 10}, {"id": "b", "pool": ["p", "q"], "blocks": 1},
                  {"id": "c", "blocks": 4}]}]})");
    const Texts spaces = {"TotalManagedSpace", "RemainingManagedSpace", "Primordial", "PoolID"};
    EXPECT_THAT(Columns("Sim_StoragePool", "Sim:c0:pool:free", spaces), ElementsAre("2048", "2048", "true", "free"));
    EXPECT_THAT(Columns("Sim_StoragePool", "Sim:c0:pool:p", spaces), ElementsAre("5632", "0", "false", "p"));
    EXPECT_THAT(Columns("Sim_StoragePool", "Sim:c0:pool:q", spaces), ElementsAre("2000", "100", "false", "q"));
}

TEST_F(Model, SizesHaveUnits) {
    const struct {
        const char *size;
        const char *blocks;
    } cases[] = {{"1023", "1"},
                 {"\"1.5kB\"", "2"},
                 {"\"10GB\"", "19531250"},
                 {"\"1.8TB\"", "3515625000"},
                 {"\"1GiB\"", "2097152"},
                 {"\"0.5PiB\"", "1099511627776"}};
    for (const auto &row : cases) {
        DescribeController(std::string("\"disks\": [{\"id\": \"d\", \"size\": ") + row.size + "}]");
        EXPECT_EQ(Property("Sim_StorageExtent", "d", "NumberOfBlocks"), row.blocks) << row.size;
    }
}

TEST_F(Model, RowsOfDevicesDifferWhereAnExceptionSaysSo) {
    DescribeController(R"("disks": [{"enclosure": "e", "slots": "0-2,5", "pool": "p", "serial": "S-{slot}",
                                     "except": {"2": {"status": "failed", "serial": "other"}}}],
                          "ports": [{"ids": "0-1", "name": "Port {id}"},
                                    {"ids": "2-2", "id": "phy{id}"}])");
    EXPECT_THAT(Associated(One("Sim_ComputerSystem", "c0").path, "CIM_SystemDevice"),
                ElementsAre("Sim_DiskDrive e:0", "Sim_DiskDrive e:1", "Sim_DiskDrive e:2", "Sim_DiskDrive e:5",
                            "Sim_SASSATAPort 0", "Sim_SASSATAPort 1", "Sim_SASSATAPort phy2"));
    EXPECT_EQ(Property("Sim_PhysicalPackage", "c0_e:5", "SerialNumber"), "S-5");
    EXPECT_EQ(Property("Sim_PhysicalPackage", "c0_e:2", "SerialNumber"), "other");
    EXPECT_EQ(Property("Sim_DiskDrive", "e:1", "OperationalStatus"), "{2}");
    EXPECT_EQ(Property("Sim_DiskDrive", "e:2", "OperationalStatus"), "{6}");
    EXPECT_EQ(Property("Sim_SASSATAPort", "1", "ElementName"), "Port 1");
}

TEST_F(Model, PropertiesAndKeysAreLeftOutNulledAndSetAtWill) {
    DescribeController(R"("disks": [{"id": "d", "omit": ["name", "DeviceID"], "omitKeys": ["SystemName"],
                                     "keys": {"DeviceID": {"type": "uint32", "value": 5}, "Extra": "x"},
                                     "properties": {"EnabledState": {"type": "uint64", "value": 7}, "ElementName": null,
                                                    "RPM": 10000, "OperationalStatus": [], "Capabilities": [1, 2],
                                                    "InstallDate": "20240229120000.000000+000",
                                                    "CapabilityDescriptions": ["a", "%s%n\n"],
                                                    "Status": {"type": "string", "hex": "c328ff"}}}])");
    const auto disks = Instances("Sim_DiskDrive");
    ASSERT_EQ(disks.size(), 1u);
    const cim::Instance &disk = disks[0];
    EXPECT_EQ(Shown(disk, "Name"), "absent");
    EXPECT_EQ(Shown(disk, "DeviceID"), "null"); // a key of the class: brokers do not let it go altogether
    EXPECT_EQ(*disk.Property("EnabledState"), support::U64(7));
    EXPECT_EQ(Shown(disk, "ElementName"), "null");
    EXPECT_EQ(Shown(disk, "RPM"), "10000");
    EXPECT_EQ(Shown(disk, "OperationalStatus"), "{}");
    EXPECT_EQ(*disk.Property("Capabilities"), support::U16s({1, 2}));
    EXPECT_EQ(*disk.Property("InstallDate"), cim::Value::DateTime("20240229120000.000000+000"));
    EXPECT_EQ(Shown(disk, "CapabilityDescriptions"), "{a,%s%n\n}");
    EXPECT_EQ(Shown(disk, "Status"), "\xc3(\xff");
    EXPECT_EQ(disk.path->Key("SystemName"), nullptr);
    EXPECT_EQ(*disk.path->Key("DeviceID"), support::U32(5));
    EXPECT_EQ(Shown(disk.path->Key("Extra")), "x");
    // The odd path is good for a look-up all the same.
    EXPECT_TRUE(broker->GetInstance(disk.path).Ok());
    EXPECT_THAT(Associated(disk.path, "CIM_MediaPresent"), ElementsAre("Sim_StorageExtent d"));
}

TEST_F(Model, OddHardwareLacksPartsOrHasOthersClasses) {
    DescribeController(R"("parts": {"package": null, "system": {"properties": {"Name": "other"}}},
        "disks": [{"id": "bare", "parts": {"media": null, "package": null, "firmware": null}, "firmware": "A"},
                  {"id": "loose", "pool": null, "slot": 1, "parts": {"slot": {"omit": ["Number"]}}},
                  {"id": "unplugged", "slot": 2, "parts": {"slot": null, "media": {"class": "Sim_StorageVolume"}}},
                  {"id": "acme", "class": "Sim_AcmeDiskDrive"}],
        "volumes": [{"id": "v", "pool": "p", "raid": "RAID0", "parts": {"setting": null}}])");
    EXPECT_THAT(Associated(One("Sim_PortController", "c0").path, "CIM_Realizes"), ElementsAre());
    const cim::ObjectPath bare = One("Sim_DiskDrive", "bare").path, loose = One("Sim_DiskDrive", "loose").path;
    EXPECT_THAT(Associated(bare), ElementsAre("Sim_ComputerSystem c0"));
    EXPECT_THAT(Associated(loose, "CIM_Realizes"), ElementsAre("Sim_PhysicalPackage c0_loose"));
    EXPECT_EQ(Property("Sim_Slot", "c0_slot1", "Number"), "absent");
    EXPECT_THAT(Associated(One("Sim_StorageExtent", "loose").path, "CIM_ConcreteComponent"), ElementsAre());
    EXPECT_THAT(Associated(One("Sim_PhysicalPackage", "c0_unplugged").path, "CIM_PackageInConnector"), ElementsAre());
    EXPECT_THAT(Associated(One("Sim_DiskDrive", "unplugged").path, "CIM_MediaPresent"),
                ElementsAre("Sim_StorageVolume unplugged"));
    EXPECT_EQ(One("Sim_DiskDrive", "acme").path->className, "Sim_AcmeDiskDrive");
    EXPECT_EQ(Property("Sim_DiskDrive", "acme", "CreationClassName"), "Sim_AcmeDiskDrive");
    EXPECT_THAT(Associated(One("Sim_StorageVolume", "v").path, "CIM_ElementSettingData"), ElementsAre());
    EXPECT_EQ(Property("Sim_ComputerSystem", "c0", "Name"), "other");
}

TEST_F(Model, ControllerWithoutASystemHasDevicesThatNothingLeadsTo) {
    DescribeController(R"("parts": {"system": null}, "disks": [{"id": "d"}])");
    EXPECT_THAT(Associated(One("Sim_PortController", "c0").path, "CIM_LogicalIdentity"), ElementsAre());
    EXPECT_THAT(Associated(One("Sim_DiskDrive", "d").path, "CIM_SystemDevice"), ElementsAre());
    EXPECT_TRUE(Instances("Sim_ComputerSystem").empty());
}

TEST_F(Model, ClassPrefixNamesTheVendorsClassesWhereThereAreAny) {
    Describe(R"({"controllers": [{"id": "c0", "classPrefix": "Sim_Tessel", "pools": [{"id": "p", "primordial": true}],
                                  "disks": [{"id": "d"}, {"id": "x", "class": "Sim_DiskDrive"}]}]})");
    EXPECT_THAT(Associated(One("Sim_ComputerSystem", "c0").path),
                ElementsAre("Sim_TesselPortController c0", "Sim_TesselStoragePool Sim:c0:pool:p",
                            "Sim_TesselDiskDrive d", "Sim_DiskDrive x"));
    EXPECT_EQ(Property("Sim_DiskDrive", "d", "SystemCreationClassName"), "Sim_TesselComputerSystem");
    EXPECT_EQ(One("Sim_StorageExtent", "d").path->className, "Sim_StorageExtent");
}

TEST_F(Model, DuplicatesComeOnlyWhereTheyAreAskedFor) {
    DescribeController(R"("disks": [{"id": "d", "enclosure": "e", "slot": 1},
                                    {"id": "d", "enclosure": "e", "slot": 1, "duplicate": true}])");
    const cim::ObjectPath system = One("Sim_ComputerSystem", "c0").path;
    EXPECT_THAT(Associated(system, "CIM_SystemDevice"), ElementsAre("Sim_DiskDrive d", "Sim_DiskDrive d"));
}

TEST_F(Model, PoolsOfAnotherControllerAndSeveralPools) {
    Describe(R"({"controllers": [{"id": "c0", "pools": [{"id": "p"}, {"id": "c1/p"}],
                                  "disks": [{"id": "d", "pool": ["c1/q", "p", "c1/p"]}]},
                                 {"id": "c1", "pools": [{"id": "q"}]}]})");
    EXPECT_THAT(Associated(One("Sim_StorageExtent", "d").path, "CIM_ConcreteComponent"),
                ElementsAre("Sim_StoragePool Sim:c1:pool:q", "Sim_StoragePool Sim:c0:pool:p",
                            "Sim_StoragePool Sim:c0:pool:c1/p"));
}

} // namespace
} // namespace vendor
