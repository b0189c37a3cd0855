// The descriptions that the project ships, those in the documentation, and the schema files that all of it stands on.
#include "tests/simhhrc/Vendor.h"

#include "cim/broker/classes/ClassTree.h"
#include "cim/simhhrc/Description.h"
#include "tests/support/Bench.h"
#include "tests/support/LogCapture.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <fstream>
#include <map>
#include <sstream>

namespace vendor {
namespace {

using support::NotLogged;
using support::Shown;
using testing::ElementsAre;
using testing::Pair;

std::string TextOfFile(const std::string &file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

class Samples : public Vendor {
protected:
    // How many instances of a class have each value of a property.
    std::map<std::string, int> Counts(const std::string &className, const std::string &property) {
        std::map<std::string, int> counts;
        for (const cim::Instance &instance : Instances(className)) ++counts[Shown(instance, property)];
        return counts;
    }
    std::size_t Count(const std::string &className) { return Instances(className).size(); }
};

TEST_F(Samples, RackServer) {
    DescribeSample("rack-server.json");
    EXPECT_EQ(Count("CIM_PortController"), 1u);
    EXPECT_EQ(Count("CIM_Chassis"), 1u);
    EXPECT_EQ(Count("CIM_DiskDrive"), 8u);
    EXPECT_EQ(Count("CIM_SASSATAPort"), 8u);
    EXPECT_EQ(Count("CIM_Battery"), 1u);
    EXPECT_THAT(Counts("CIM_StorageSetting", "ElementName"), ElementsAre(Pair("RAID1", 1), Pair("RAID5", 1)));
    EXPECT_THAT(Counts("CIM_StorageVolume", "OperationalStatus"), ElementsAre(Pair("{2}", 2)));
    EXPECT_THAT(Counts("Sim_StorageExtent", "ExtentStatus"), ElementsAre(Pair("{13}", 1), Pair("{2}", 7)));
    EXPECT_EQ(Property("CIM_Chassis", "c0_252", "Tag"), "c0_252");
    EXPECT_TRUE(NotLogged(LOG_ERR, "*"));
    EXPECT_TRUE(NotLogged(LOG_WARNING, "*"));
}

TEST_F(Samples, StorageNode) {
    DescribeSample("storage-node.json");
    EXPECT_EQ(Count("Sim_AcmePortController"), 1u);
    EXPECT_EQ(Count("Sim_TesselPortController"), 1u);
    EXPECT_EQ(Count("Sim_AcmeDiskDrive"), 60u);
    EXPECT_EQ(Count("Sim_TesselDiskDrive"), 24u);
    EXPECT_EQ(Count("Sim_AcmeChassis"), 3u);
    EXPECT_EQ(Count("Sim_TesselChassis"), 1u);
    EXPECT_EQ(Count("CIM_SASSATAPort"), 20u);
    EXPECT_EQ(Count("CIM_Battery"), 2u);
    EXPECT_THAT(Counts("CIM_StorageVolume", "OperationalStatus"), ElementsAre(Pair("{2}", 4), Pair("{3}", 3)));
    // Failed and unconfigured bad; no contact.
    EXPECT_THAT(Counts("CIM_DiskDrive", "OperationalStatus"),
                ElementsAre(Pair("{12}", 1), Pair("{2}", 80), Pair("{6}", 3)));
    // Rebuilding, spare, broken.
    EXPECT_THAT(Counts("Sim_StorageExtent", "ExtentStatus"),
                ElementsAre(Pair("{11}", 1), Pair("{13}", 3), Pair("{2}", 79), Pair("{3}", 1)));
    EXPECT_TRUE(NotLogged(LOG_ERR, "*"));
    EXPECT_TRUE(NotLogged(LOG_WARNING, "*"));
}

TEST(Documentation, ExamplesAreGoodDescriptions) {
    const std::string text = TextOfFile(std::string(SOURCE_FOLDER) + "/docs/hardware-description.md");
    int examples = 0;
    for (std::size_t at = 0; (at = text.find("```json\n", at)) != std::string::npos; ++examples) {
        const std::size_t start = at + 8, end = text.find("```", start);
        std::string error;
        EXPECT_TRUE(sim::ReadDescription(text.substr(start, end - start), "example", nullptr, &error)) << error;
        at = end;
    }
    EXPECT_EQ(examples, 2);
}

TEST(Schema, TheSimulatorsTableIsWhatTheBrokerReadsFromTheSameFiles) {
    cim::ClassTree tree;
    std::string error;
    for (const char *mof :
         {"CIM_Subset", "CIM_SASSATAPort", "Sim_HHRC", "OMC_UnitaryComputerSystem", "Zembra_Quarnel"}) {
        ASSERT_TRUE(tree.ReadFile(support::BuildFolder() + "/share/quarnel/schema/" + mof + ".mof", &error)) << error;
    }
    const sim::Classes classes;
    std::size_t compared = 0;
    for (const std::string &name : tree.Names()) {
        if (name.compare(0, 4, "CIM_") != 0 && name.compare(0, 4, "Sim_") != 0) continue;
        const cim::ClassDeclaration &declared = *tree.Find(name);
        const sim::ClassId id = classes.Find(name);
        ASSERT_NE(id, sim::kNoClass) << name;
        const bool derived = declared.superclass.empty() || classes.IsA(id, classes.Find(declared.superclass));
        EXPECT_TRUE(derived) << name;
        for (const cim::PropertyDeclaration &property : declared.properties) {
            if (property.type == CMPI_ref) continue;
            EXPECT_EQ(classes.TypeOf(id, property.name), property.type) << name << '.' << property.name;
            ++compared;
        }
    }
    EXPECT_GT(compared, 500u);
}

// The six served classes: what they are, and that all that is served of them has the type that the provider gives it.
TEST(Schema, ServedClassesDeriveFromTheirCimClassesWithTheirKeysAndTypes) {
    cim::ClassTree tree;
    std::string error;
    for (const char *mof : {"CIM_Subset", "CIM_SASSATAPort", "Zembra_Quarnel"}) {
        ASSERT_TRUE(tree.ReadFile(support::BuildFolder() + "/share/quarnel/schema/" + mof + ".mof", &error)) << error;
    }
    const Texts device = {"SystemCreationClassName", "SystemName", "CreationClassName", "DeviceID"};
    const struct {
        const char *name;
        const char *base;
        Texts keys;
        std::map<std::string, CMPIType> types;
    } served[] = {
        {"Controller",
         "CIM_ComputerSystem",
         {"Name", "CreationClassName"},
         {{"IdentifyingDescriptions", CMPI_stringA}, {"Dedicated", CMPI_uint16A}, {"NameFormat", CMPI_string}}},
        {"SoftwareIdentity", "CIM_SoftwareIdentity", {"InstanceID"}, {{"IsEntity", CMPI_boolean}}},
        {"StorageVolume",
         "CIM_StorageVolume",
         device,
         {{"NameNameSpace", CMPI_uint16}, {"BlockSize", CMPI_uint64}, {"DeltaReservation", CMPI_uint8}}},
        {"StorageExtent", "CIM_StorageExtent", device, {{"NumberOfBlocks", CMPI_uint64}, {"Primordial", CMPI_boolean}}},
        {"SASSATAPort", "CIM_SASSATAPort", device, {{"PortType", CMPI_uint16}, {"UsageRestriction", CMPI_uint16}}},
        {"Battery", "CIM_Battery", device, {{"BatteryStatus", CMPI_uint16}, {"OperationalStatus", CMPI_uint16A}}},
    };
    for (const auto &row : served) {
        const std::string name = std::string("Zembra_Quarnel") + row.name;
        ASSERT_TRUE(tree.IsA(name, row.base)) << name;
        Texts keys;
        for (const cim::PropertyDeclaration &property : tree.Find(name)->properties) {
            if (property.key) keys.push_back(property.name);
        }
        EXPECT_THAT(keys, testing::UnorderedElementsAreArray(row.keys)) << name;
        for (const auto &[property, type] : row.types) {
            ASSERT_NE(tree.Find(name)->Property(property), nullptr) << name << '.' << property;
            EXPECT_EQ(tree.Find(name)->Property(property)->type, type) << name << '.' << property;
        }
    }
}

TEST(HostSystem, IsOneInstanceNamedAfterTheMachine) {
    const std::string schema = support::BuildFolder() + "/share/quarnel/schema/";
    cim::BrokerConfig config;
    config.mofFiles = {schema + "CIM_Subset.mof", schema + "OMC_UnitaryComputerSystem.mof"};
    config.registrationFiles = {schema + "HostSystemProvider.reg"};
    config.libraryFolders = {support::BuildFolder() + "/lib"};
    std::string error;
    const auto broker = cim::Broker::Create(config, &error);
    ASSERT_NE(broker, nullptr) << error;
    char host[256] = "";
    gethostname(host, sizeof host - 1);

    const auto systems = broker->EnumerateInstances("root/cimv2", "CIM_ComputerSystem");
    ASSERT_EQ(systems.value.size(), 1u);
    const cim::Instance &system = systems.value[0];
    for (const char *property : {"Name", "ElementName"}) EXPECT_EQ(Shown(system, property), host);
    EXPECT_EQ(Shown(system, "CreationClassName"), "OMC_UnitaryComputerSystem");
    const auto names = broker->EnumerateInstanceNames("root/cimv2", "OMC_UnitaryComputerSystem");
    ASSERT_EQ(names.value.size(), 1u);
    EXPECT_EQ(names.value[0], system.path);
    cim::ObjectPath path = system.path;
    const Texts list = {"ElementName"};
    const auto got = broker->GetInstance(path, &list);
    EXPECT_EQ(Shown(got.value, "ElementName"), host);
    EXPECT_EQ(Shown(got.value, "OperationalStatus"), "absent");
    for (cim::NamedValue &key : path.keys) key.value = support::Text("elsewhere");
    EXPECT_EQ(broker->GetInstance(path).status.rc, CMPI_RC_ERR_NOT_FOUND);
    EXPECT_EQ(broker->DeleteInstance(system.path).rc, CMPI_RC_ERR_NOT_SUPPORTED);
    broker->Shutdown();
    EXPECT_EQ(broker->Live().lent, 0u);
}

} // namespace
} // namespace vendor
