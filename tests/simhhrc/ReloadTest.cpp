// The description follows its file, in one piece, and a broken file changes nothing.
#include "tests/simhhrc/Vendor.h"
#include "tests/support/LogCapture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

namespace vendor {
namespace {

using support::LogCapture;
using support::LoggedTimes;
using testing::ElementsAre;
using testing::IsEmpty;

std::string WithDisks(const std::string &disks) {
    return R"({"controllers": [{"id": "c0", "pools": [{"id": "p", "primordial": true}], "disks": [)" + disks + "]}]}";
}

class Reload : public Vendor {
protected:
    Texts Disks() { return ShortNames(Instances("Sim_DiskDrive")); }
    void WriteInPlace(const std::string &text) { std::ofstream(File()) << text; }
};

TEST_F(Reload, HardwareComesAndGoesWithTheNextRequest) {
    Describe(WithDisks(R"({"id": "a"})"));
    EXPECT_THAT(Disks(), ElementsAre("Sim_DiskDrive a"));
    Describe(WithDisks(R"({"id": "a"}, {"id": "b"})"));
    EXPECT_THAT(Disks(), ElementsAre("Sim_DiskDrive a", "Sim_DiskDrive b"));
    // Written in place, at once and of the same length: neither time nor size need tell it apart.
    WriteInPlace(WithDisks(R"({"id": "a"}, {"id": "c"})"));
    EXPECT_THAT(Disks(), ElementsAre("Sim_DiskDrive a", "Sim_DiskDrive c"));
    WriteInPlace(WithDisks(""));
    EXPECT_THAT(Disks(), IsEmpty());
    EXPECT_EQ(LogCapture::Count(LOG_ERR, "*"), 0u);
}

// Each file differs from the one before in one of these alone, and was written long ago.
TEST_F(Reload, TimeSizeAndIdentityTellAFileFromAnother) {
    using std::chrono::nanoseconds;
    const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    const auto date = [&](nanoseconds later) { std::filesystem::last_write_time(File(), old + later); };
    Describe(WithDisks(R"({"id": "a"})"));
    date({});
    EXPECT_THAT(Disks(), ElementsAre("Sim_DiskDrive a"));
    WriteInPlace(WithDisks(R"({"id": "b"})"));
    date(std::chrono::seconds(1));
    EXPECT_THAT(Disks(), ElementsAre("Sim_DiskDrive b"));
    WriteInPlace(WithDisks(R"({"id": "c"})"));
    date(std::chrono::seconds(1) + nanoseconds(1000));
    EXPECT_THAT(Disks(), ElementsAre("Sim_DiskDrive c"));
    WriteInPlace(WithDisks(R"({"id": "dd"})"));
    date(std::chrono::seconds(1) + nanoseconds(1000));
    EXPECT_THAT(Disks(), ElementsAre("Sim_DiskDrive dd"));
    Describe(WithDisks(R"({"id": "ee"})"));
    date(std::chrono::seconds(1) + nanoseconds(1000));
    EXPECT_THAT(Disks(), ElementsAre("Sim_DiskDrive ee"));
}

TEST_F(Reload, ABrokenOrVanishedFileKeepsTheLastGoodOneAndIsReportedOnce) {
    Describe("{");
    EXPECT_THAT(Disks(), IsEmpty());
    EXPECT_TRUE(broker->EnumerateInstances("root/interop", "CIM_RegisteredProfile").value.empty());
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, File() + ":1: *"));
    const auto expectA = [&] {
        for (int i = 0; i < 3; ++i) EXPECT_THAT(Disks(), ElementsAre("Sim_DiskDrive a"));
    };
    Describe(WithDisks(R"({"id": "a"})"));
    expectA();
    const std::string reason = "\"sise\" is not a member that it can have";
    Describe(WithDisks("\n{\"id\": \"a\", \"sise\": 1}"));
    expectA();
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, File() + ":2: controller \"c0\": disk \"a\": " + reason));
    Describe(WithDisks("\n\n{\"id\": \"%n%s\", \"sise\": 1}"));
    expectA();
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, File() + ":3: controller \"c0\": disk \"%n%s\": " + reason));
    for (std::size_t times = 1; times <= 2; ++times) {
        std::filesystem::remove(File());
        expectA();
        EXPECT_TRUE(LoggedTimes(times, LOG_ERR, File() + ": cannot be read: No such file or directory"));
        Describe(WithDisks(R"({"id": "a"})"));
        expectA();
    }
    EXPECT_EQ(LogCapture::Count(LOG_ERR, "*"), 5u);
}

TEST_F(Reload, AnUnloadedProviderComesBackWithTheFileOfThatTime) {
    Describe(WithDisks(R"({"id": "a"})"));
    EXPECT_EQ(Disks().size(), 1u);
    EXPECT_EQ(broker->AskToUnload("SimHHRCProvider"), CMPI_RC_OK);
    EXPECT_FALSE(broker->IsLoaded("SimHHRCProvider"));
    setenv("SIM_HHRC_HARDWARE", folder.Write("other.json", WithDisks(R"({"id": "x"})")).c_str(), 1);
    EXPECT_THAT(Disks(), ElementsAre("Sim_DiskDrive x"));
}

TEST_F(Reload, RequestsSeeOneDescriptionOrTheOtherNeverAMixture) {
    // Two disks in either description, of one generation each.
    const std::string generations[] = {WithDisks(R"({"id": "a1"}, {"id": "a2"})"),
                                       WithDisks(R"({"id": "b1"}, {"id": "b2"})")};
    Describe(generations[0]);
    EXPECT_EQ(Disks().size(), 2u);
    std::atomic<bool> done{false};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            while (!done) {
                const auto disks = broker->EnumerateInstanceNames("root/sim", "Sim_DiskDrive").value;
                ASSERT_EQ(disks.size(), 2u);
                EXPECT_EQ(support::Shown(disks[0].Key("DeviceID"))[0], support::Shown(disks[1].Key("DeviceID"))[0]);
            }
        });
    }
    for (int change = 1; change <= 200; ++change) Describe(generations[change % 2]);
    done = true;
    for (std::thread &reader : readers) reader.join();
    EXPECT_THAT(Disks(), ElementsAre("Sim_DiskDrive a1", "Sim_DiskDrive a2"));
}

} // namespace
} // namespace vendor
