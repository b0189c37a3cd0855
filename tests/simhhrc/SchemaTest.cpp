// The schema files that all of it stands on, and the provider of the class that the machine itself is served as.
#include "tests/simhhrc/Vendor.h"

#include "cim/simhhrc/Classes.h"
#include "cim/values/Types.h"
#include "tests/support/BuildTree.h"
#include "tests/support/Golden.h"

#include <gmock/gmock.h>

#include <unistd.h>

namespace vendor {
namespace {

using support::Shown;

class Schema : public testing::Test {
protected:
    Schema() {
        std::string error;
        for (const std::string &file : support::ServerConfig().mofFiles)
            EXPECT_TRUE(tree.ReadFile(file, &error)) << error;
    }
    cim::ClassTree tree;
};

TEST_F(Schema, TheSimulatorsTableIsWhatTheBrokerReadsFromTheSameFiles) {
    const sim::Classes classes;
    std::size_t compared = 0;
    for (const std::string &name : tree.Names()) {
        if (name.compare(0, 4, "CIM_") != 0 && name.compare(0, 4, "Sim_") != 0) continue;
        const cim::ClassDeclaration &declared = *tree.Find(name);
        const sim::ClassId id = classes.Find(name);
        ASSERT_NE(id, sim::kNoClass) << name;
        EXPECT_TRUE(declared.superclass.empty() || classes.IsA(id, classes.Find(declared.superclass))) << name;
        for (const cim::PropertyDeclaration &property : declared.properties) {
            if (property.type == CMPI_ref) continue;
            EXPECT_EQ(classes.TypeOf(id, property.name), property.type) << name << '.' << property.name;
            ++compared;
        }
    }
    EXPECT_GT(compared, 500u);
}

// The six served classes: what each derives from, its keys, and the types that its properties have.
TEST_F(Schema, ServedClassesHaveTheirBasesKeysAndTypes) {
    std::string text;
    for (const std::string &name : tree.Names()) {
        if (name.rfind("Zembra_", 0) != 0) continue;
        text += name;
        for (const auto *at = tree.Find(name); at != nullptr; at = tree.Find(at->superclass))
            if (!at->superclass.empty()) text += " : " + at->superclass;
        text += '\n';
        for (const cim::PropertyDeclaration &property : tree.Find(name)->properties)
            text += "  " + std::string(property.key ? "[key] " : "") + cim::DeclaredTypeName(property.type) + ' ' +
                    property.name.Text() + '\n';
    }
    support::ExpectGolden(SOURCE_FOLDER "/served-classes.txt", text);
}

TEST(HostSystem, IsOneInstanceNamedAfterTheMachine) {
    std::string error;
    const auto broker = cim::Broker::Create(support::ServerConfig(), &error);
    ASSERT_NE(broker, nullptr) << error;
    char host[256] = "";
    gethostname(host, sizeof host - 1);

    const auto systems = broker->EnumerateInstances("root/cimv2", "OMC_UnitaryComputerSystem").value;
    ASSERT_EQ(systems.size(), 1u);
    const cim::Instance &system = systems[0];
    for (const char *property : {"Name", "ElementName", "Caption"}) EXPECT_EQ(Shown(system, property), host);
    const struct {
        const char *property, *text;
    } constant[] = {{"CreationClassName", "OMC_UnitaryComputerSystem"},
                    {"NameFormat", "Other"},
                    {"EnabledState", "2"},
                    {"OperationalStatus", "{2}"},
                    {"Dedicated", "{0}"}};
    for (const auto &each : constant) EXPECT_EQ(Shown(system, each.property), each.text) << each.property;
    const auto names = broker->EnumerateInstanceNames("root/cimv2", "OMC_UnitaryComputerSystem").value;
    EXPECT_THAT(names, testing::ElementsAre(*system.path));

    cim::ObjectPath path = system.path;
    const Texts list = {"ElementName"};
    const auto got = broker->GetInstance(path, &list).value;
    EXPECT_EQ(Shown(got, "ElementName"), host);
    EXPECT_EQ(Shown(got, "OperationalStatus"), "absent");
    for (cim::NamedValue &key : path.keys) key.value = support::Text("elsewhere");
    EXPECT_EQ(broker->GetInstance(path).status.rc, CMPI_RC_ERR_NOT_FOUND);
    EXPECT_EQ(broker->DeleteInstance(system.path).rc, CMPI_RC_ERR_NOT_SUPPORTED);
    broker->Shutdown();
    EXPECT_EQ(broker->Live().lent, 0u);
}

} // namespace
} // namespace vendor
