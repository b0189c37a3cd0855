// From registered profiles to controllers, and the versions and captions that they are served with.
#include "tests/provider/Linked.h"

#include <gmock/gmock.h>

using namespace support;
using cim::FaultRule;
using cim::Operation;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kHhrc[] = "Host Hardware RAID Controller";

} // namespace

TEST(Profiles, AreMatchedByTheirExactNameAlone) {
    const struct {
        Json name;
        bool matches;
    } cases[] = {
        {kHhrc, true},
        {"Host Hardware RAID Controller ", false},
        {" Host Hardware RAID Controller", false},
        {"host hardware raid controller", false},
        {"Host Hardware RAID", false},
        {"", false},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        LinkedBench bench(
            OneController().WithProfile({{"id", "p"}, {"name", test.name}, {"organization", 1}, {"version", "0"}}));
        bench.Start();
        EXPECT_EQ(bench.Identifiers(kController).size(), test.matches ? 1u : 0u);
        EXPECT_EQ(LogCapture::Count(LOG_INFO, "Found a HHRC profile: *"), test.matches ? 1u : 0u);
    }
}

TEST(Profiles, AreUsedUpToEightAndNotAtAllWhenAnInstanceFollowsTheEighth) {
    const struct {
        int matching;
        bool another; // one more registration, of another name
        std::size_t served;
    } cases[] = {{2, true, 2}, {8, false, 8}, {8, true, 0}, {9, false, 0}, {7, true, 7}};
    for (const auto &test : cases) {
        SCOPED_TRACE(test.matching);
        Hardware hardware;
        for (int i = 0; i < test.matching; ++i) {
            const std::string id = std::to_string(i);
            hardware.WithProfile({{"id", "p" + id}, {"name", kHhrc}});
            hardware.WithController("c" + id, {{"profile", "p" + id}});
        }
        if (test.another) hardware.WithProfile({{"id", "last"}, {"name", "Fan"}});
        LinkedBench bench(hardware);
        bench.Start();
        EXPECT_EQ(bench.Identifiers(kController).size(), test.served);
        EXPECT_EQ(LogCapture::Count(LOG_ERR, "GetHHRCProfiles: profile array out of range\n"),
                  test.served == 0 ? 1u : 0u);
        EXPECT_EQ(LogCapture::Count(LOG_INFO, "No instance of Host Hard RAID Controller is found, rc -5\n"),
                  test.served == 0 ? 1u : 0u);
    }
}

TEST(Profiles, ForWhichThereIsNoPathLeaveNothingToServe) {
    LinkedBench bench(OneController());
    bench.Inject(Rule(Operation::NewObjectPath).From("CIM_RegisteredProfile").Fails().Saying("gone"));
    bench.Start();
    EXPECT_THAT(LogCapture::Texts("*", LOG_ERR), ElementsAre("status: rc 1, msg gone\n"));
    EXPECT_TRUE(Logged(LOG_INFO, "No instance of Host Hard RAID Controller is found, rc -2\n"));
    EXPECT_THAT(bench.Identifiers(kController), IsEmpty());
}

TEST(Discovery, ListsControllersInTheOrderOfProfilesAndOfTheVendor) {
    LinkedBench bench(Hardware()
                          .WithProfile({{"id", "p"}, {"name", kHhrc}})
                          .WithProfile({{"id", "q"}, {"name", kHhrc}})
                          .WithController("c1", {{"profile", "q"}})
                          .WithController("c2", {{"profile", "p"}})
                          .WithController("c3", {{"profile", {"p", "q"}}}));
    bench.Start();
    // Two profiles that lead to the same controller give it twice.
    EXPECT_THAT(bench.Identifiers(kController),
                ElementsAre("zbrControllerc2", "zbrControllerc3", "zbrControllerc1", "zbrControllerc3"));
}

TEST(Discovery, DropsOnlyThePortControllerThatLacksItsIdentifierOrItsComputerSystem) {
    for (const bool named : {false, true}) {
        const Json broken = named ? Json{{"parts", {{"system", nullptr}}}} : Json{{"omit", {"DeviceID"}}};
        LinkedBench bench(Hardware().WithController("c0").WithController("c1", broken).WithController("c2"));
        bench.Start();
        EXPECT_THAT(bench.Identifiers(kController), ElementsAre("zbrControllerc0", "zbrControllerc2"));
        EXPECT_TRUE(LoggedTimes(named ? 0 : 1, LOG_ERR, "NULL DeviceID for PortController: *PortController*\n"));
        bench.ExpectOnlyRecordsAlive();
    }
}

TEST(Discovery, KeepsAControllerWhoseSystemHasNoPathButWalksNothingFromIt) {
    LinkedBench bench(OneOfEach());
    bench.Inject(Rule(Operation::GetObjectPath).From("Sim_ComputerSystem").Fails());
    bench.Broker().LogCalls(true);
    bench.StartAndWait();
    bench.Refresh(kPort);
    EXPECT_THAT(bench.Identifiers(kController), ElementsAre("zbrControllerc0"));
    EXPECT_TRUE(Logged(LOG_ERR, "Associators NULL (assocClass: CIM_ElementSoftwareIdentity, *"));
    EXPECT_TRUE(
        Logged(LOG_ERR, "Associators NULL (assocClass: CIM_SystemDevice, resultClass: CIM_SASSATAPort) failed*"));
    for (const std::string &upcall : bench.Upcalls()) EXPECT_FALSE(Matches(upcall, "*CIM_SystemDevice*")) << upcall;
}

TEST(SoftwareVersions, AreKeptByTheFirstClassificationAndTheLastOneOfAClassDecides) {
    const Json firmware = {{"kind", "firmware"}, {"version", "1.1"}}, bundle = {{"kind", "bundle"}, {"version", "2.2"}};
    const struct {
        Json software;
        const char *expected;
    } cases[] = {
        {Json::array({{{"kind", "unknown"}, {"version", "3"}}}), "3 (Package); n/a (Fw)"},
        {Json::array({bundle, {{"kind", "unknown"}, {"version", "3"}}}), "3 (Package); n/a (Fw)"},
        {Json::array({firmware, {{"kind", "firmware"}, {"version", "1.2"}}}), "n/a (Package); 1.2 (Fw)"},
        {Json::array({firmware, {{"kind", 6}, {"version", "9"}}}), "n/a (Package); 1.1 (Fw)"},
        {Json::array({firmware, {{"kind", "firmware"}, {"omit", {"VersionString"}}}}), "n/a (Package); 1.1 (Fw)"},
        {Json::array({{{"kind", "firmware"}, {"version", ""}}}), "n/a (Package); n/a (Fw)"},
        // Without an array of classifications the class is unknown, which means the bundle.
        {Json::array({{{"kind", "firmware"}, {"version", "1"}, {"omit", {"Classifications"}}}}),
         "1 (Package); n/a (Fw)"},
    };
    for (const auto &test : cases) {
        LinkedBench bench(Hardware().WithController("c0", {{"software", test.software}}));
        bench.Start();
        EXPECT_THAT(bench.Column(kSoftware, "VersionString"), ElementsAre(test.expected)) << test.software;
    }
}

TEST(ControllerInstance, CutsTextsAt127BytesAndNeverInsideACharacter) {
    const auto m = [](std::size_t count) { return std::string(count, 'm'); };
    const struct {
        std::string model, bundle;
        std::string caption, version;
    } cases[] = {
        {m(110), "1", "Controller c0 (" + m(110) + ")", "1 (Package); 2 (Fw)"},
        {m(200), "1", "Controller c0 (" + m(112), "1 (Package); 2 (Fw)"},
        {"x", m(130), "Controller c0 (x)", m(127)},
        {"x", m(113), "Controller c0 (x)", m(113) + " (Package); 2 "},
        {m(111) + "ä", "1", "Controller c0 (" + m(111), "1 (Package); 2 (Fw)"}, // two bytes: they would be 127 and 128
        {m(110) + "ä", "1", "Controller c0 (" + m(110) + "ä", "1 (Package); 2 (Fw)"},
    };
    for (const auto &test : cases) {
        LinkedBench bench(Hardware().WithController(
            "c0", {{"model", test.model},
                   {"software",
                    {{{"kind", "bundle"}, {"version", test.bundle}}, {{"kind", "firmware"}, {"version", "2"}}}}}));
        bench.Start();
        for (const char *className : {kController, kSoftware})
            for (const char *property : {"Caption", "ElementName"})
                EXPECT_THAT(bench.Column(className, property), ElementsAre(test.caption));
        EXPECT_THAT(bench.Column(kSoftware, "VersionString"), ElementsAre(test.version));
    }
}
