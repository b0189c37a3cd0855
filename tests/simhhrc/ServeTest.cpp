// How the simulated vendor answers: associations from both ends, filters, instances, behaviour on demand.
#include "tests/simhhrc/Vendor.h"

#include "cim/simhhrc/Query.h"
#include "tests/support/LogCapture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>

namespace vendor {
namespace {

using support::Logged;
using support::LoggedTimes;
using support::Shown;
using testing::ElementsAre;
using testing::IsEmpty;

const char kOneOfEach[] = R"({"controllers": [{"id": "c0", "software": [{"kind": "firmware", "version": "1"}],
    "enclosures": [{"id": "e"}], "pools": [{"id": "p"}],
    "disks": [{"id": "d", "enclosure": "e", "slot": 1, "pool": "p", "firmware": "A"}],
    "volumes": [{"id": "v", "pool": "p", "raid": "RAID0"}], "ports": [{"id": "o"}], "batteries": [{"id": "b"}]}]})";

// Every association of the model: its ends' classes, identifiers and roles.
struct Ends {
    const char *association;
    const char *classes[2];
    const char *ids[2];
    const char *roles[2];
};
constexpr Ends kEnds[] = {
    {"LogicalIdentity", {"ComputerSystem", "PortController"}, {"c0", "c0"}, {"SystemElement", "SameElement"}},
    {"Realizes", {"PhysicalPackage", "PortController"}, {"c0", "c0"}, {"Antecedent", "Dependent"}},
    {"Realizes", {"PhysicalPackage", "DiskDrive"}, {"c0_d", "d"}, {"Antecedent", "Dependent"}},
    {"ElementSoftwareIdentity",
     {"SoftwareIdentity", "ComputerSystem"},
     {"Sim:c0:software:0", "c0"},
     {"Antecedent", "Dependent"}},
    {"ElementSoftwareIdentity",
     {"SoftwareIdentity", "DiskDrive"},
     {"Sim:c0/disk/d/firmware", "d"},
     {"Antecedent", "Dependent"}},
    {"HostedStoragePool",
     {"ComputerSystem", "StoragePool"},
     {"c0", "Sim:c0:pool:p"},
     {"GroupComponent", "PartComponent"}},
    {"SystemPackaging", {"Chassis", "ComputerSystem"}, {"c0_e", "c0"}, {"Antecedent", "Dependent"}},
    {"SystemDevice", {"ComputerSystem", "DiskDrive"}, {"c0", "d"}, {"GroupComponent", "PartComponent"}},
    {"SystemDevice", {"ComputerSystem", "StorageVolume"}, {"c0", "v"}, {"GroupComponent", "PartComponent"}},
    {"SystemDevice", {"ComputerSystem", "SASSATAPort"}, {"c0", "o"}, {"GroupComponent", "PartComponent"}},
    {"SystemDevice", {"ComputerSystem", "Battery"}, {"c0", "b"}, {"GroupComponent", "PartComponent"}},
    {"MediaPresent", {"DiskDrive", "StorageExtent"}, {"d", "d"}, {"Antecedent", "Dependent"}},
    {"PackageInConnector", {"Slot", "PhysicalPackage"}, {"c0_e_slot1", "c0_d"}, {"Antecedent", "Dependent"}},
    {"Container", {"Chassis", "Slot"}, {"c0_e", "c0_e_slot1"}, {"GroupComponent", "PartComponent"}},
    {"ConcreteComponent",
     {"StoragePool", "StorageExtent"},
     {"Sim:c0:pool:p", "d"},
     {"GroupComponent", "PartComponent"}},
    {"ElementSettingData",
     {"StorageVolume", "StorageSetting"},
     {"v", "Sim:c0/volume/v/setting"},
     {"ManagedElement", "SettingData"}},
    {"AllocatedFromStoragePool", {"StoragePool", "StorageVolume"}, {"Sim:c0:pool:p", "v"}, {"Antecedent", "Dependent"}},
};

class Serve : public Vendor {
protected:
    cim::ObjectPath System() { return One("Sim_ComputerSystem", "c0").path; }
    cim::ObjectPath Path(const Ends &ends, int end) {
        // A medium is a volume's sibling: the exact class tells them apart.
        return One(std::string("Sim_") + ends.classes[end], ends.ids[end]).path;
    }
};

TEST_F(Serve, EveryAssociationLeadsFromEitherEndToTheOther) {
    Describe(kOneOfEach);
    for (const Ends &ends : kEnds) {
        const std::string association = std::string("CIM_") + ends.association;
        for (int from = 0; from < 2; ++from) {
            const int to = 1 - from;
            SCOPED_TRACE(association + " from " + ends.classes[from]);
            const std::string resultClass = std::string("CIM_") + ends.classes[to];
            const cim::ObjectPath source = Path(ends, from);
            const Texts expected = {std::string("Sim_") + ends.classes[to] + ' ' + ends.ids[to]};
            // As vendors are asked, then with every other way to name the same.
            EXPECT_EQ(Associated(source, association, resultClass), expected);
            EXPECT_EQ(Associated(source, std::string("sim_") + ends.association, resultClass, ends.roles[from],
                                 ends.roles[to]),
                      expected);
            EXPECT_THAT(Associated(source, association, resultClass, ends.roles[to]), IsEmpty());
            EXPECT_THAT(Associated(source, association, resultClass, {}, ends.roles[from]), IsEmpty());
            EXPECT_THAT(Associated(source, association, "CIM_Fan"), IsEmpty());
        }
    }
}

TEST_F(Serve, ReferencesAreInstancesWithBothEndsThatCanBeFetched) {
    Describe(kOneOfEach);
    for (const Ends &ends : kEnds) {
        const std::string association = std::string("CIM_") + ends.association;
        SCOPED_TRACE(association + ' ' + ends.classes[0] + ' ' + ends.classes[1]);
        const cim::ObjectPath paths[] = {Path(ends, 0), Path(ends, 1)};
        const auto references = broker->References(paths[1], association, ends.roles[1]);
        const auto names = broker->ReferenceNames(paths[1], association, ends.roles[1]);
        ASSERT_EQ(references.value.size(), 1u);
        ASSERT_EQ(names.value.size(), 1u);
        const cim::Instance &link = references.value[0];
        EXPECT_EQ(link.path, names.value[0]);
        EXPECT_EQ(link.path->nameSpace, "root/sim");
        for (int end = 0; end < 2; ++end) {
            EXPECT_EQ(*link.Property(ends.roles[end]), cim::Value::Reference(paths[end]));
            EXPECT_EQ(*link.path->Key(ends.roles[end]), cim::Value::Reference(paths[end]));
        }
        EXPECT_EQ(broker->GetInstance(link.path).value.path, link.path);
        EXPECT_TRUE(broker->References(paths[1], association, ends.roles[0]).value.empty());
    }
    const auto all = Instances("CIM_MediaPresent");
    ASSERT_EQ(all.size(), 1u);
    cim::ObjectPath gone = all[0].path;
    std::swap(gone.keys[0].value, gone.keys[1].value);
    EXPECT_EQ(broker->GetInstance(gone).status.rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(Serve, ProfilesLeadToTheirControllersAcrossNamespaces) {
    Describe(R"({"profiles": [{"id": "other", "name": "Server", "organization": 2, "version": "1.0"}, {"id": "hhrc"}],
                 "controllers": [{"id": "a", "profile": "hhrc"}, {"id": "b", "profile": ["hhrc", "other"]},
                                 {"id": "c", "profile": []}, {"id": "d"}]})");
    const auto profiles = broker->EnumerateInstances("root/interop", "CIM_RegisteredProfile");
    ASSERT_EQ(profiles.value.size(), 2u);
    EXPECT_EQ(Shown(profiles.value[0], "RegisteredName"), "Server");
    EXPECT_EQ(Shown(profiles.value[1], "RegisteredName"), "Host Hardware RAID Controller");
    EXPECT_EQ(Shown(profiles.value[1], "RegisteredOrganization"), "11");
    const auto conforming = [&](int profile) {
        return Associated(profiles.value[static_cast<std::size_t>(profile)].path, "CIM_ElementConformsToProfile",
                          "CIM_PortController");
    };
    EXPECT_THAT(conforming(0), ElementsAre("Sim_PortController b", "Sim_PortController d"));
    EXPECT_THAT(conforming(1), ElementsAre("Sim_PortController a", "Sim_PortController b"));
    EXPECT_THAT(Associated(One("Sim_PortController", "a").path, "CIM_ElementConformsToProfile"),
                ElementsAre("Sim_RegisteredProfile Sim:hhrc"));
    EXPECT_TRUE(broker->EnumerateInstances("root/interop", "CIM_ElementConformsToProfile").value.size() == 4u);
}

TEST_F(Serve, ResultsAreFilteredEvenWhereTheBrokerDoesNot) {
    config.filterResults = false;
    Describe(kOneOfEach);
    const cim::ObjectPath system = System();
    EXPECT_THAT(Associated(system, "CIM_SystemDevice", "CIM_StorageExtent"), ElementsAre("Sim_StorageVolume v"));
    EXPECT_THAT(Associated(system, "CIM_SystemDevice", "CIM_DiskDrive"), ElementsAre("Sim_DiskDrive d"));
    EXPECT_THAT(Associated(system, "CIM_SystemComponent"),
                ElementsAre("Sim_StoragePool Sim:c0:pool:p", "Sim_DiskDrive d", "Sim_StorageVolume v",
                            "Sim_SASSATAPort o", "Sim_Battery b"));
    EXPECT_THAT(Associated(system, {}, "CIM_Chassis"), ElementsAre("Sim_Chassis c0_e"));
    EXPECT_THAT(Associated(system, {}, "CIM_NobodyKnows"), IsEmpty());
    EXPECT_TRUE(broker->References(system, "CIM_MediaPresent").value.empty());
}

TEST_F(Serve, DevicesComeInTheOrderInWhichTheFileHasThem) {
    Describe(R"({"controllers": [{"id": "c0", "batteries": [{"id": "b"}], "pools": [{"id": "p", "primordial": true}],
                 "disks": [{"id": "2"}, {"id": "1"}], "volumes": [{"id": "v", "pool": "p"}], "ports": [{"id": "o"}]}]})");
    EXPECT_THAT(
        Associated(System(), "CIM_SystemDevice"),
        ElementsAre("Sim_Battery b", "Sim_DiskDrive 2", "Sim_DiskDrive 1", "Sim_StorageVolume v", "Sim_SASSATAPort o"));
}

TEST_F(Serve, GetFindsByKeysInAnyOrderAndCaseOfNames) {
    Describe(kOneOfEach);
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
    EXPECT_THAT(Associated(path, "CIM_MediaPresent"), IsEmpty());
}

TEST_F(Serve, PropertyListsAreKept) {
    Describe(kOneOfEach);
    const Texts list = {"elementname", "OperationalStatus", "Nothing"};
    const auto disks = Instances("Sim_DiskDrive", &list);
    ASSERT_EQ(disks.size(), 1u);
    EXPECT_EQ(Shown(disks[0], "ElementName"), "Disk d");
    EXPECT_EQ(Shown(disks[0], "OperationalStatus"), "{2}");
    EXPECT_EQ(Shown(disks[0], "EnabledState"), "absent");
    EXPECT_EQ(Shown(broker->GetInstance(disks[0].path, &list).value, "EnabledState"), "absent");
    EXPECT_EQ(Shown(broker->Associators(System(), "CIM_SystemDevice", "CIM_DiskDrive", {}, {}, &list).value[0], "Name"),
              "absent");
}

TEST_F(Serve, OnlyReadingIsSupported) {
    Describe(kOneOfEach);
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

TEST_F(Serve, FaultsHitTheClassOperationAndResultTheyName) {
    std::string text = kOneOfEach;
    text.back() = ',';
    text +=
        R"("behaviour": [{"class": "CIM_SystemDevice", "result": "CIM_Battery", "fault": 1, "message": "no %s today"},
                             {"class": "Sim_MediaPresent", "operation": "associators", "fault": 2},
                             {"class": "CIM_Chassis", "operation": "enumerateInstances", "fault": 4}]})";
    Describe(text);
    const cim::ObjectPath system = System(), disk = One("Sim_DiskDrive", "d").path;
    const auto batteries = broker->Associators(system, "CIM_SystemDevice", "CIM_Battery");
    EXPECT_EQ(batteries.status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(batteries.status.message, "no %s today");
    EXPECT_EQ(broker->AssociatorNames(system, "Sim_SystemDevice", "Sim_Battery").status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_TRUE(broker->Associators(system, "CIM_SystemDevice", "CIM_DiskDrive").Ok());
    EXPECT_EQ(broker->Associators(disk, "CIM_MediaPresent").status.rc, CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_TRUE(broker->AssociatorNames(disk, "CIM_MediaPresent").Ok());
    EXPECT_EQ(broker->EnumerateInstances("root/sim", "Sim_Chassis").status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
    const auto names = broker->EnumerateInstanceNames("root/sim", "Sim_Chassis");
    ASSERT_EQ(names.value.size(), 1u);
    EXPECT_TRUE(broker->GetInstance(names.value[0]).Ok());
}

TEST_F(Serve, LatencyHoldsUpWhatItNames) {
    std::string text = kOneOfEach;
    text.back() = ',';
    Describe(text + R"("behaviour": [{"class": "CIM_MediaPresent", "latency": 60}]})");
    const cim::ObjectPath disk = One("Sim_DiskDrive", "d").path;
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    EXPECT_EQ(broker->AssociatorNames(disk, "CIM_MediaPresent").value.size(), 1u);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(60));
}

TEST_F(Serve, RecordedObjectsAreServedAsTheyWereWritten) {
    Describe(R"({"classes": {"Rec_Disk": {"extends": "Sim_DiskDrive", "properties": {"Odd": "sint16[]"}}},
        "controllers": [{"id": "c0", "software": [{"kind": "bios"}], "enclosures": [{"id": "e"}]}],
        "objects": [
          {"id": "d2", "class": "Rec_Disk", "keys": {"DeviceID": "2"}, "properties": {"Odd": [-1, 2], "Name": null,
              "EnabledState": {"type": "string", "value": "on"}, "DeviceID": "two"}},
          {"id": "d1", "class": "Sim_AcmeDiskDrive", "keys": {"Tag": {"type": "sint8", "value": -4}}}],
        "links": [
          {"class": "Sim_SystemDevice", "ends": {"GroupComponent": "c0/system", "PartComponent": "d2"}},
          {"class": "Sim_SystemDevice", "ends": {"PartComponent": "d1", "GroupComponent": "c0/system"}},
          {"class": "Sim_MediaPresent", "ends": {"Antecedent": "d2", "Dependent": "c0/enclosure/e"},
           "properties": {"FixedMedia": true}}]})");
    EXPECT_THAT(Associated(System(), "CIM_SystemDevice"), ElementsAre("Rec_Disk 2", "Sim_AcmeDiskDrive -4"));
    // Of a class that the broker does not know nothing is checked and nothing added.
    const cim::Instance disk = broker->Associators(System(), "CIM_SystemDevice").value.at(0);
    ASSERT_EQ(disk.properties.size(), 4u);
    EXPECT_EQ(disk.properties[0].name, "Odd");
    EXPECT_EQ(Shown(disk, "Odd"), "{-1,2}");
    EXPECT_EQ(Shown(disk, "Name"), "null");
    EXPECT_EQ(*disk.Property("EnabledState"), support::Text("on"));
    EXPECT_EQ(Shown(disk, "DeviceID"), "two");
    const auto links = broker->References(disk.path, "CIM_MediaPresent");
    ASSERT_EQ(links.value.size(), 1u);
    EXPECT_EQ(Shown(links.value[0], "FixedMedia"), "true");
    // Its class is found through the description, not through the broker.
    EXPECT_THAT(Associated(One("Sim_Chassis", "c0_e").path, "CIM_MediaPresent", "Sim_DiskDrive"), IsEmpty());
    EXPECT_THAT(Associated(One("Sim_Chassis", "c0_e").path, "CIM_MediaPresent"), ElementsAre("Rec_Disk 2"));
}

std::string ManyDisks(int disks) {
    return R"({"controllers": [{"id": "c0", "enclosures": [{"id": "e"}], "pools": [{"id": "p"}],
               "disks": [{"enclosure": "e", "slots": "0-)" +
           std::to_string(disks - 1) + R"(", "pool": "p", "size": "900GB", "firmware": "A"}]}]})";
}

TEST_F(Serve, AThousandDisksAreAllThereWithWhatTheyAreMadeOf) {
    Describe(ManyDisks(1000));
    const auto disks = broker->Associators(System(), "CIM_SystemDevice", "CIM_DiskDrive").value;
    ASSERT_EQ(disks.size(), 1000u);
    for (const cim::Instance &disk : disks) {
        const auto media = broker->Associators(disk.path, "CIM_MediaPresent").value;
        ASSERT_EQ(media.size(), 1u);
        ASSERT_EQ(broker->AssociatorNames(media[0].path, "CIM_ConcreteComponent").value.size(), 1u);
        ASSERT_EQ(broker->AssociatorNames(disk.path, "CIM_Realizes").value.size(), 1u);
    }
}

// The processor time that it takes to find every disk by its path and every one's media.
double SecondsToWalk(int disks) {
    sim::Description description;
    EXPECT_TRUE(sim::ReadDescription(ManyDisks(disks), "many", &description, nullptr));
    const sim::Graph &graph = description.graph;
    const sim::AssociationFilter filter = {
        {graph.classes, "CIM_MediaPresent"}, {graph.classes, "CIM_StorageExtent"}, "", ""};
    double best = 1e9;
    for (int repeat = 0; repeat < 3; ++repeat) {
        timespec start{}, end{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &start);
        int found = 0;
        for (const sim::ObjectId id : sim::ObjectsOf(graph, "root/sim", "CIM_DiskDrive")) {
            const sim::Object &disk = graph.Objects()[id];
            const std::string &className = graph.classes.Name(disk.type);
            const auto objects = graph.Find(sim::PathIdentity(disk.nameSpace, className, disk.keys));
            found += static_cast<int>(sim::StepsFrom(graph, objects, filter).size());
        }
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &end);
        EXPECT_EQ(found, disks);
        best = std::min(best, static_cast<double>(end.tv_sec - start.tv_sec) +
                                  static_cast<double>(end.tv_nsec - start.tv_nsec) * 1e-9);
    }
    return best;
}

TEST(Query, ObjectsAreFoundWithoutLookingAtAllTheOthers) {
    const double few = SecondsToWalk(400), many = SecondsToWalk(4000);
    // Ten times the disks take ten times as long, not a hundred times.
    EXPECT_LT(many, few * 40) << few << " s, then " << many << " s";
}

} // namespace
} // namespace vendor
