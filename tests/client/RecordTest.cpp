// A server's hardware, recorded and replayed.
#include "tests/client/Hosting.h"

#include "cim/client/Hosted.h"
#include "cim/recording/DescriptionText.h"
#include "cim/simhhrc/Description.h"
#include "tests/host/Process.h"

#include <gmock/gmock.h>

#include <cmath>

namespace cim {
namespace {

std::string RecordingOf(Connection &server) { return DescriptionOf(ModelOf(server), "root/interop", "test").text; }

// A vendor whose classes and namespace the simulator does not know, and whose values are odd.
constexpr const char *kForeign = R"({
  "profiles": [],
  "classes": {
    "Example_RegisteredProfile": "CIM_RegisteredProfile",
    "Example_Controller": "CIM_PortController",
    "Example_System": {"extends": "CIM_ComputerSystem", "properties": {"Mood": "string[]"}},
    "Example_Pool": "CIM_StoragePool",
    "Example_BaseDrive": {"extends": "CIM_DiskDrive", "properties": {"VendorState": "uint32"}},
    "Example_Drive": "Example_BaseDrive",
    "Example_Extent": "CIM_StorageExtent",
    "Example_Volume": "CIM_StorageVolume",
    "Example_Widget": "CIM_LogicalDevice"
  },
  "objects": [
    {"id": "other", "class": "Example_RegisteredProfile", "namespace": "root/interop",
     "keys": {"InstanceID": "other"}, "properties": {"InstanceID": "other", "RegisteredName": "Fan"}},
    {"id": "profile", "class": "Example_RegisteredProfile", "namespace": "root/interop",
     "keys": {"InstanceID": "hhrc"},
     "properties": {"InstanceID": "hhrc", "RegisteredName": "Host Hardware RAID Controller"}},
    {"id": "controller", "class": "Example_Controller", "namespace": "root/example/raid",
     "keys": {"DeviceID": "x1"}, "properties": {"DeviceID": "x1", "Name": null}},
    {"id": "system", "class": "Example_System", "namespace": "root/example/raid",
     "keys": {"Name": "x1"}, "properties": {"Name": "x1", "OperationalStatus": [], "Mood": ["good", null]}},
    {"id": "free", "class": "Example_Pool", "namespace": "root/example/raid",
     "keys": {"InstanceID": "free"}, "properties": {"InstanceID": "free", "PoolID": "free", "Primordial": true}},
    {"id": "pool", "class": "Example_Pool", "namespace": "root/example/raid",
     "keys": {"InstanceID": "p"}, "properties": {"InstanceID": "p", "PoolID": "p"}},
    {"id": "d1", "class": "Example_Drive", "namespace": "root/example/raid",
     "keys": {"DeviceID": "d1"},
     "properties": {"DeviceID": "d1", "OperationalStatus": [2, 5], "VendorState": 77,
                    "EnabledState": {"type": "uint8", "value": 2}, "Name": "<&\"' \u00e4\u20ac"}},
    {"id": "d2", "class": "Example_Drive", "namespace": "root/example/raid",
     "keys": {"DeviceID": "d2"}, "properties": {"DeviceID": "d2", "OperationalStatus": [6], "Name": ""}},
    {"id": "nameless", "class": "Example_Drive", "namespace": "root/example/raid",
     "keys": {"DeviceID": "d3"}, "properties": {"OperationalStatus": [2]}},
    {"id": "e1", "class": "Example_Extent", "namespace": "root/example/raid",
     "keys": {"DeviceID": "e1"}, "properties": {"NumberOfBlocks": 18446744073709551615, "ExtentStatus": [2]}},
    {"id": "e2", "class": "Example_Extent", "namespace": "root/example/raid",
     "keys": {"DeviceID": "e2"}, "properties": {"NumberOfBlocks": null, "ExtentStatus": null, "Primordial": true}},
    {"id": "v", "class": "Example_Volume", "namespace": "root/example/raid",
     "keys": {"DeviceID": "0"},
     "properties": {"DeviceID": "0", "ElementName": "  two  blanks ", "OperationalStatus": [3], "NameFormat": 9}},
    {"id": "widget", "class": "Example_Widget", "namespace": "root/example/raid",
     "keys": {"DeviceID": "w"}, "properties": {"DeviceID": "w"}}
  ],
  "links": [
    {"class": "CIM_ElementConformsToProfile", "ends": {"ConformantStandard": "profile", "ManagedElement": "controller"}},
    {"class": "CIM_LogicalIdentity", "ends": {"SystemElement": "controller", "SameElement": "system"}},
    {"class": "CIM_HostedStoragePool", "ends": {"GroupComponent": "system", "PartComponent": "free"}},
    {"class": "CIM_HostedStoragePool", "ends": {"GroupComponent": "system", "PartComponent": "pool"}},
    {"class": "CIM_SystemDevice", "ends": {"GroupComponent": "system", "PartComponent": "v"}},
    {"class": "CIM_SystemDevice", "ends": {"GroupComponent": "system", "PartComponent": "widget"}},
    {"class": "CIM_SystemDevice", "ends": {"GroupComponent": "system", "PartComponent": "d2"}},
    {"class": "CIM_SystemDevice", "ends": {"GroupComponent": "system", "PartComponent": "d1"}},
    {"class": "CIM_SystemDevice", "ends": {"GroupComponent": "system", "PartComponent": "nameless"}},
    {"class": "CIM_SystemDevice", "ends": {"GroupComponent": "system", "PartComponent": "d2"}},
    {"class": "CIM_MediaPresent", "ends": {"Antecedent": "d1", "Dependent": "e1"}},
    {"class": "CIM_MediaPresent", "ends": {"Antecedent": "d2", "Dependent": "e2"}},
    {"class": "CIM_ConcreteComponent", "ends": {"GroupComponent": "pool", "PartComponent": "e1"}},
    {"class": "CIM_ConcreteComponent", "ends": {"GroupComponent": "free", "PartComponent": "e2"}},
    {"class": "CIM_AllocatedFromStoragePool", "ends": {"Antecedent": "pool", "Dependent": "v"}}
  ]
})";

// The hardware as it is served, its recording, and what the recording is when it is replayed.
struct RoundTrip {
    explicit RoundTrip(const std::string &hardware) {
        {
            const HostedServer server(hardware);
            const auto connection = ConnectTo(server.http.Url());
            served = Served(*connection);
            recording = RecordingOf(*connection);
        }
        const HostedServer replay(folder.Write("recorded.json", recording));
        const auto connection = ConnectTo(replay.http.Url());
        servedAgain = Served(*connection);
        recordingAgain = RecordingOf(*connection);
    }

    Folder folder;
    std::vector<std::string> served, servedAgain;
    std::string recording, recordingAgain;
};

class RecordedSample : public testing::TestWithParam<const char *> {};

TEST_P(RecordedSample, IsReplayedInstanceForInstance) {
    const RoundTrip trip(SampleHardware(GetParam()));
    EXPECT_GT(trip.served.size(), 10u);
    EXPECT_EQ(trip.servedAgain, trip.served);
    EXPECT_EQ(trip.recordingAgain, trip.recording) << "a recording of the recording is the same";
}

INSTANTIATE_TEST_SUITE_P(Record, RecordedSample, testing::Values("rack-server.json", "storage-node.json"));

TEST(Record, AForeignVendorsOddModelIsReplayedAsItWas) {
    const Folder folder;
    const RoundTrip trip(folder.Write("foreign.json", kForeign));
    EXPECT_EQ(trip.servedAgain, trip.served);
    EXPECT_EQ(trip.recordingAgain, trip.recording);
    // A controller with its software, two disks of three (one comes twice and is shown so), and a volume.
    EXPECT_EQ(trip.served.size(), 6u);
    for (const char *part : {
             R"("classes": {
    "Example_RegisteredProfile": "CIM_RegisteredProfile",)",
             R"("Example_BaseDrive": {"extends": "CIM_DiskDrive", "properties": {"VendorState": "uint32"}},
    "Example_Drive": "Example_BaseDrive")",
             R"("namespace": "root/example/raid")",
             R"("VendorState": 77)",
             R"("OperationalStatus": [])",
             R"("Mood": ["good",null])",
             R"("ElementName": "  two  blanks ")",
             R"("RegisteredName": "Fan")",
             "18446744073709551615",
         }) {
        EXPECT_NE(trip.recording.find(part), std::string::npos) << part << "\nin\n" << trip.recording;
    }
}

TEST(Record, EveryValueHasAFormInADescription) {
    VendorModel model;
    Instance object{ObjectPath{{}, "root/sim", "Sim_DiskDrive", {}}, {}};
    object.properties = {
        {"NotText", Value::Text("\xc3\x28")},
        {"Text", Value::Text("a \"b\" \\ \n\t\xe2\x82\xac")},
        {"Char16", Value::Unsigned(CMPI_char16, 0xD800)},
        {"Lowest", Value::Signed(CMPI_sint64, INT64_MIN)},
        {"Highest", Value::Unsigned(CMPI_uint64, UINT64_MAX)},
        {"Flag", Value::Boolean(true)},
        {"Real", Value::Real(CMPI_real64, 0.1)},
        {"When", Value::DateTime("20260105100211.000000+060")},
        {"NullNumber", Value::Null(CMPI_sint16)},
        {"NoNumbers", Value::ArrayOf(CMPI_uint8, {})},
        {"Numbers", Value::ArrayOf(CMPI_uint8, {Value::Unsigned(CMPI_uint8, 1), Value::Null(CMPI_uint8)})},
        {"NullList", Value::Null(CMPI_stringA)},
        {"EnabledState", Value::Text("of another type than the class has")},
        {"HealthState", Value::Unsigned(CMPI_uint16, 5)},
        {"NotANumber", Value::Real(CMPI_real32, std::nan(""))},
        {"Reference", Value::Reference(object.path)},
    };
    model.objects = {object};
    const DescriptionText described = DescriptionOf(model, "root/interop", "every value");
    EXPECT_EQ(described.leftOut, 2u);

    sim::Description read;
    std::string error;
    ASSERT_TRUE(sim::ReadDescription(described.text, "recorded", &read, &error)) << error << "\n" << described.text;
    ASSERT_EQ(read.graph.Nodes().size(), 1u);
    const auto &properties = read.graph.Nodes()[0].properties;
    ASSERT_EQ(properties.size(), object.properties.size() - 2);
    for (std::size_t i = 0; i < properties.size(); ++i) {
        EXPECT_EQ(properties[i].name, object.properties[i].name);
        EXPECT_EQ(properties[i].value.type, object.properties[i].value.type) << properties[i].name;
        EXPECT_EQ(properties[i].value.null, object.properties[i].value.IsNull()) << properties[i].name;
    }
    EXPECT_EQ(properties[0].value.text, "\xc3\x28");
    EXPECT_EQ(properties[1].value.text, "a \"b\" \\ \n\t\xe2\x82\xac");
    EXPECT_EQ(properties[2].value.number, cim::Numeric(std::uint64_t{0xD800}));
    EXPECT_EQ(properties[3].value.number, cim::Numeric(std::int64_t{INT64_MIN}));
    EXPECT_EQ(properties[4].value.number, cim::Numeric(std::uint64_t{UINT64_MAX}));
    EXPECT_EQ(properties[6].value.number, cim::Numeric(0.1));
    EXPECT_TRUE(properties[10].value.elements.at(1).null);
}

// Fails one request: by what a server answers, or for want of an answer.
class Failing : public Connection {
public:
    Failing(Connection &asked, std::size_t failed, CMPIrc status) : server(asked), left(failed), rc(status) {}

    Answer<std::vector<Instance>> EnumerateInstances(const std::string &nameSpace,
                                                     const std::string &className) override {
        return Next(server.EnumerateInstances(nameSpace, className));
    }
    Answer<Instance> GetInstance(const ObjectPath &path) override { return Next(server.GetInstance(path)); }
    Answer<std::vector<Instance>> Associators(const ObjectPath &source, const std::string &association,
                                              const std::string &result) override {
        return Next(server.Associators(source, association, result));
    }
    Answer<std::vector<ObjectPath>> AssociatorNames(const ObjectPath &source, const std::string &association,
                                                    const std::string &result) override {
        return Next(server.AssociatorNames(source, association, result));
    }
    Answer<ClassDeclaration> GetClass(const std::string &nameSpace, const std::string &className) override {
        return Next(server.GetClass(nameSpace, className));
    }

    bool HasFailed() const { return left == 0; }

private:
    template <class T> Answer<T> Next(Answer<T> answer) {
        if (left == 0 || --left > 0) return answer;
        return {{rc, "it broke"}, {}};
    }

    Connection &server;
    std::size_t left;
    const CMPIrc rc;
};

TEST(Record, WhateverRequestFailsTheWalkSaysWhereItStopped) {
    const Folder folder;
    const auto broker = Host(folder.Write("foreign.json", kForeign));
    const auto hosted = Hosted(*broker);
    std::size_t failed = 1;
    for (;; ++failed) {
        Failing server(*hosted, failed, kNoAnswer);
        VendorModel model;
        WalkProgress progress;
        const WalkOptions tolerant{"root/interop", true};
        const Status status = Walk(server, tolerant, &model, &progress, [](const WalkProgress &) {});
        if (!server.HasFailed()) {
            EXPECT_TRUE(status.Ok());
            break;
        }
        EXPECT_EQ(status.rc, kNoAnswer);
        EXPECT_EQ(status.message.rfind("stopped after " + std::to_string(failed - 1) + " requests and ", 0), 0u)
            << status.message;
        EXPECT_NE(status.message.find(": it broke"), std::string::npos) << status.message;
    }
    EXPECT_GT(failed, 20u);
}

TEST(Record, WhatIsRefusedStopsTheWalkOrIsLeftOutAndNamed) {
    const Folder folder;
    const auto broker = Host(folder.Write("foreign.json", kForeign));
    const auto hosted = Hosted(*broker);
    // The first ten requests lead to the controller's software, which it has none of.
    Failing server(*hosted, 4, CMPI_RC_ERR_NOT_SUPPORTED);
    VendorModel model;
    WalkProgress progress;
    Status status = Walk(server, {}, &model, &progress, [](const WalkProgress &) {});
    EXPECT_EQ(status.rc, CMPI_RC_ERR_NOT_SUPPORTED);

    std::size_t whole = ModelOf(*hosted).objects.size();
    Failing again(*hosted, 4, CMPI_RC_ERR_NOT_SUPPORTED);
    VendorModel rest;
    progress = {};
    status = Walk(again, {"root/interop", true}, &rest, &progress, [](const WalkProgress &) {});
    EXPECT_TRUE(status.Ok());
    ASSERT_EQ(progress.refused.size(), 1u);
    EXPECT_NE(progress.refused[0].find(": it broke"), std::string::npos) << progress.refused[0];
    EXPECT_LE(rest.objects.size(), whole);
}

TEST(RecordCommand, WritesToStandardOutputAndListsWhatIsLeftOnTheOther) {
    const Folder folder;
    std::vector<std::string> served;
    Outcome outcome;
    {
        const HostedServer server(SampleHardware("rack-server.json"));
        served = Served(*ConnectTo(server.http.Url()));
        outcome = RunToEnd(BinFolder() + "/quarnel", {"record", "--url", server.http.Url(), "--anonymise", "-o", "-"});
    }
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, testing::HasSubstr("quarnel: left as it was: VersionString, 12 values\n"));
    EXPECT_THAT(outcome.err,
                testing::EndsWith("quarnel: 1 controller, 10 disks and volumes, 65 objects from 68 requests\n"));
    const HostedServer replay(folder.Write("out.json", outcome.out));
    EXPECT_EQ(Served(*ConnectTo(replay.http.Url())).size(), served.size());
}

} // namespace
} // namespace cim
