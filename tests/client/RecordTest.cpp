// A server's hardware, recorded and replayed.
#include "tests/client/Hosting.h"

#include "cim/client/Hosted.h"
#include "cim/recording/DescriptionText.h"
#include "cim/simhhrc/Description.h"
#include "tests/support/Golden.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cmath>

namespace cim {
namespace {

std::string RecordingOf(Connection &server) { return DescriptionOf(ModelOf(server), "root/interop", "test").text; }

// A vendor whose classes and namespace the simulator does not know, and whose values are odd.
const std::string kForeign = SOURCE_FOLDER "/foreign.json";

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

    support::TemporaryFolder folder;
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
    const RoundTrip trip(kForeign);
    EXPECT_EQ(trip.servedAgain, trip.served);
    EXPECT_EQ(trip.recordingAgain, trip.recording);
    // A controller with its software, two disks of three (one comes twice and is shown so), and a volume.
    EXPECT_EQ(trip.served.size(), 6u);
    support::ExpectGolden(SOURCE_FOLDER "/foreign-recorded.json", trip.recording);
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

    support::ExpectGolden(SOURCE_FOLDER "/values-recorded.json", described.text);
    std::string error;
    EXPECT_TRUE(sim::ReadDescription(described.text, "recorded", nullptr, &error)) << error;
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
    const auto broker = Host(kForeign);
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
    const auto broker = Host(kForeign);
    const auto hosted = Hosted(*broker);
    const std::size_t whole = ModelOf(*hosted).objects.size();
    for (const bool goOn : {false, true}) {
        Failing server(*hosted, 5, CMPI_RC_ERR_NOT_SUPPORTED); // which leads to the system
        VendorModel model;
        WalkProgress progress;
        const Status status = Walk(server, {"root/interop", goOn}, &model, &progress, [](const WalkProgress &) {});
        EXPECT_EQ(status.rc, goOn ? CMPI_RC_OK : CMPI_RC_ERR_NOT_SUPPORTED);
        EXPECT_LT(model.objects.size(), whole);
        if (goOn) {
            EXPECT_THAT(progress.refused, testing::ElementsAre(testing::HasSubstr(": it broke")));
        }
    }
}

TEST(RecordCommand, WritesToStandardOutputAndListsWhatIsLeftOnTheOther) {
    const support::TemporaryFolder folder;
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
