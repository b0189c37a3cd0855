// What the simulated vendor makes of a description, and how it answers: associations from both ends, filters,
// instances, behaviour on demand.
#include "tests/simhhrc/Vendor.h"

#include "cim/values/Types.h"
#include "tests/support/Golden.h"
#include "tests/support/LogCapture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>

namespace vendor {
namespace {

using support::LoggedTimes;
using support::Shown;
using testing::ElementsAre;
using testing::IsEmpty;

const char kOneOfEach[] = R"({"controllers": [{"id": "c0", "software": [{"kind": "firmware", "version": "1"}],
    "enclosures": [{"id": "e"}], "pools": [{"id": "p"}],
    "disks": [{"id": "d", "enclosure": "e", "slot": 1, "pool": "p", "firmware": "A"}],
    "volumes": [{"id": "v", "pool": "p", "raid": "RAID0"}], "ports": [{"id": "o"}], "batteries": [{"id": "b"}]}])";
const std::string kPlain = std::string(kOneOfEach) + "}";

const cim::ObjectPath &PathAt(const cim::Value &reference) {
    return **reference.As<std::shared_ptr<const cim::ObjectPath>>();
}

class Serve : public Vendor {
protected:
    cim::ObjectPath System() { return One("Sim_ComputerSystem", "c0").path; }
    Texts Names(const cim::ObjectPath &source, const std::string &association = {}, const std::string &result = {}) {
        return ShortNames(broker->Associators(source, association, result).value);
    }

    // Everything that is served: what can be enumerated, then what that leads to, each object with its links.
    std::vector<cim::Instance> Everything() {
        std::vector<cim::Instance> all;
        for (const char *nameSpace : {"root/interop", "root/sim"})
            for (cim::Instance &each : broker->EnumerateInstances(nameSpace, "CIM_ManagedElement").value)
                all.push_back(std::move(each));
        for (std::size_t i = 0; i < all.size(); ++i) {
            for (const cim::Instance &each : broker->Associators(all[i].path).value) {
                const auto is = [&](const cim::Instance &known) { return known.path == each.path; };
                if (std::none_of(all.begin(), all.end(), is)) all.push_back(each);
            }
        }
        return all;
    }
};

void Append(std::string &text, const std::vector<cim::NamedValue> &properties) {
    for (const cim::NamedValue &each : properties)
        if (each.value.type != CMPI_ref)
            text += "    " + each.name.Text() + ": " + cim::DeclaredTypeName(each.value.type) + " = " +
                    Shown(&each.value) + '\n';
}

TEST_F(Serve, ADescriptionBecomesItsModel) {
    Describe(TextOf("rich.json"));
    std::string text;
    for (const cim::Instance &object : Everything()) {
        text += object.path->ToString() + '\n';
        Append(text, object.properties);
        for (const cim::Instance &link : broker->References(object.path).value) {
            for (const cim::NamedValue &end : link.path->keys)
                if (PathAt(end.value) != *object.path)
                    text +=
                        "  " + link.path->className + ' ' + end.name.Text() + ' ' + ShortName(PathAt(end.value)) + '\n';
            Append(text, link.properties);
        }
    }
    support::ExpectGolden(SOURCE_FOLDER "/rich.txt", text);
}

// Whatever the request names to narrow them down, and although the broker leaves that to the provider.
TEST_F(Serve, LinksLeadFromEitherEndToTheOther) {
    config.filterResults = false;
    Describe(kPlain);
    std::size_t links = 0;
    for (const cim::Instance &object : Everything()) {
        const cim::ObjectPath &source = object.path;
        for (const cim::Instance &link : broker->References(source).value) {
            ++links;
            SCOPED_TRACE(link.path->ToString());
            ASSERT_EQ(link.path->keys.size(), 2u);
            const std::size_t own = PathAt(link.path->keys[0].value) == source ? 0 : 1;
            const std::string role = link.path->keys[own].name, farRole = link.path->keys[1 - own].name;
            const cim::ObjectPath &target = PathAt(link.path->keys[1 - own].value);
            const std::string type = link.path->className, general = "CIM_" + type.substr(4);
            EXPECT_EQ(broker->GetInstance(link.path).value.path, link.path);
            EXPECT_EQ(*link.Property(farRole), cim::Value::Reference(target));

            const auto referred = broker->ReferenceNames(source, general, role).value;
            EXPECT_NE(std::find(referred.begin(), referred.end(), *link.path), referred.end());
            EXPECT_TRUE(broker->References(source, type, farRole).value.empty());
            EXPECT_TRUE(broker->References(source, "CIM_RemoteServiceAccessPoint").value.empty());

            const auto reached = broker->AssociatorNames(source, general, target.className, role, farRole).value;
            EXPECT_THAT(reached, testing::Contains(target));
            const auto instances = broker->Associators(source, general, target.className, role, farRole).value;
            ASSERT_EQ(instances.size(), reached.size());
            for (std::size_t i = 0; i < reached.size(); ++i) EXPECT_EQ(*instances[i].path, reached[i]);
            for (const cim::ObjectPath &each : reached) EXPECT_EQ(each.className, target.className);
            EXPECT_THAT(Names(source, general, "CIM_Fan"), IsEmpty());
            EXPECT_THAT(Names(source, general, "CIM_NobodyKnows"), IsEmpty());
            EXPECT_TRUE(broker->AssociatorNames(source, general, {}, farRole).value.empty());
            EXPECT_TRUE(broker->AssociatorNames(source, general, {}, {}, role).value.empty());
        }
    }
    EXPECT_EQ(links, 2 * 18u);
    EXPECT_THAT(Names(System(), "CIM_SystemDevice", "CIM_StorageExtent"), ElementsAre("Sim_StorageVolume v"));
    auto gone = *Instances("CIM_MediaPresent").at(0).path;
    std::swap(gone.keys[0].value, gone.keys[1].value);
    EXPECT_EQ(broker->GetInstance(gone).status.rc, CMPI_RC_ERR_NOT_FOUND);
    gone.keys[0].value = gone.keys[1].value = support::Text("x");
    EXPECT_EQ(broker->GetInstance(gone).status.rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(Serve, LinksAreInTheNamespacesOfBothTheirEnds) {
    Describe(kPlain);
    for (const char *nameSpace : {"root/sim", "root/interop"}) {
        const auto links = broker->EnumerateInstances(nameSpace, "CIM_ElementConformsToProfile").value;
        ASSERT_EQ(links.size(), 1u) << nameSpace;
        EXPECT_EQ(links[0].path->nameSpace, nameSpace);
        EXPECT_EQ(broker->EnumerateInstanceNames(nameSpace, "CIM_ElementConformsToProfile").value.at(0), links[0].path);
    }
    EXPECT_TRUE(broker->EnumerateInstances("root/interop", "CIM_MediaPresent").value.empty());
}

TEST_F(Serve, GetFindsByKeysInAnyOrderAndCaseOfNames) {
    Describe(kPlain);
    cim::ObjectPath path = One("Sim_DiskDrive", "d").path;
    std::reverse(path.keys.begin(), path.keys.end());
    path.className = "SIM_DISKDRIVE";
    path.nameSpace = "ROOT/sim";
    path.keys[0].name = "deviceid";
    EXPECT_EQ(Shown(broker->GetInstance(path).value, "DeviceID"), "d");
    path.keys[0].value = support::Text("D");
    EXPECT_EQ(broker->GetInstance(path).status.rc, CMPI_RC_ERR_NOT_FOUND);
    path.keys.pop_back();
    EXPECT_EQ(broker->GetInstance(path).status.rc, CMPI_RC_ERR_NOT_FOUND);
    EXPECT_THAT(Names(path, "CIM_MediaPresent"), IsEmpty());
}

TEST_F(Serve, PropertyListsAreKept) {
    Describe(kPlain);
    const Texts list = {"elementname", "OperationalStatus", "Nothing"};
    const auto disks = Instances("Sim_DiskDrive", &list);
    const auto expectOnlyThose = [](const cim::Instance &disk) {
        EXPECT_EQ(Shown(disk, "ElementName"), "Disk d");
        EXPECT_EQ(Shown(disk, "OperationalStatus"), "{2}");
        EXPECT_EQ(Shown(disk, "EnabledState"), "absent");
    };
    expectOnlyThose(disks.at(0));
    expectOnlyThose(broker->GetInstance(disks[0].path, &list).value);
    expectOnlyThose(broker->Associators(System(), "CIM_SystemDevice", "CIM_DiskDrive", {}, {}, &list).value.at(0));
}

TEST_F(Serve, OnlyReadingIsSupported) {
    Describe(kPlain);
    const cim::Instance disk = One("Sim_DiskDrive", "d");
    EXPECT_EQ(broker->CreateInstance("root/sim", disk).status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(broker->ModifyInstance(disk).rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(broker->DeleteInstance(disk.path).rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(broker->ExecQuery("root/sim", "Sim_DiskDrive", "select *", "WQL").status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
}

TEST_F(Serve, WhatTheBrokerRefusesIsMissingAndSaidOnce) {
    Describe(R"({"controllers": [{"id": "c0", "ports": [{"ids": "0-3",
        "properties": {"ElementName": {"type": "uint16", "value": 5}, "Unheard": "x", "Speed": {"type": "uint8", "value": 3}}}]}]})");
    for (const cim::Instance &port : Instances("Sim_SASSATAPort")) {
        EXPECT_EQ(Shown(port, "ElementName"), "null");
        EXPECT_EQ(Shown(port, "Unheard"), "absent");
        EXPECT_EQ(Shown(port, "Speed"), "3");
        EXPECT_EQ(Shown(port, "UsageRestriction"), "3");
    }
    EXPECT_TRUE(LoggedTimes(1, LOG_WARNING, "*refused property ElementName of Sim_SASSATAPort, status 13"));
    EXPECT_TRUE(LoggedTimes(1, LOG_WARNING, "*refused property Unheard of Sim_SASSATAPort, status 12"));
}

TEST_F(Serve, RulesHitTheClassOperationAndResultTheyName) {
    Describe(std::string(kOneOfEach) + R"(, "behaviour": [
        {"class": "CIM_SystemDevice", "result": "CIM_Battery", "fault": 1, "message": "no %s today"},
        {"class": "Sim_MediaPresent", "operation": "associators", "fault": 2},
        {"class": "CIM_Chassis", "operation": "enumerateInstances", "fault": 4},
        {"class": "CIM_Chassis", "fault": 5}, {"class": "Sim_Realizes", "latency": 60}]})");
    const cim::ObjectPath system = System(), disk = One("Sim_DiskDrive", "d").path;
    const auto batteries = broker->Associators(system, "CIM_SystemDevice", "CIM_Battery");
    EXPECT_EQ(batteries.status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(batteries.status.message, "no %s today");
    EXPECT_EQ(broker->AssociatorNames(system, "Sim_SystemDevice", "Sim_Battery").status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(broker->AssociatorNames(system).status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_TRUE(broker->Associators(system, "CIM_SystemDevice", "CIM_DiskDrive").Ok());
    EXPECT_EQ(broker->Associators(disk, "CIM_MediaPresent").status.rc, CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_TRUE(broker->AssociatorNames(disk, "CIM_MediaPresent").Ok());
    EXPECT_EQ(broker->EnumerateInstances("root/sim", "Sim_Chassis").status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(broker->EnumerateInstanceNames("root/sim", "Sim_Chassis").status.rc, CMPI_RC_ERR_INVALID_CLASS);
    EXPECT_EQ(broker->GetInstance({{}, "root/sim", "Sim_Chassis", {}}).status.rc, CMPI_RC_ERR_INVALID_CLASS);
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    EXPECT_EQ(broker->ReferenceNames(disk, "CIM_Realizes").value.size(), 1u);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(60)); // it was held up, by that at least
}

} // namespace
} // namespace vendor
