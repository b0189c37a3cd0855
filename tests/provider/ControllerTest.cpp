// From registered profiles to controllers, and the two instances that each controller is served as.
#include "tests/provider/Linked.h"

using namespace support;
using cim::FaultRule;
using cim::Operation;

namespace {

constexpr char kHhrc[] = "Host Hardware RAID Controller";

// What a software identity's version is served as: the controller's firmware and bundle.
std::string VersionString(const Json &software) {
    LinkedBench bench(Hardware().WithController("c0", {{"software", software}}));
    bench.Start();
    const std::vector<std::string> versions = bench.Column(kSoftware, "VersionString");
    return versions.size() == 1 ? versions[0] : "no controller";
}

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

TEST(Profiles, WithoutANameOrVersionAreLoggedAsNull) {
    LinkedBench bench(
        Hardware()
            .WithController("c0", {{"profile", "q"}})
            .WithProfile({{"id", "p"}, {"properties", {{"RegisteredName", nullptr}, {"RegisteredVersion", nullptr}}}})
            .WithProfile({{"id", "q"}}));
    bench.Start();
    EXPECT_TRUE(Logged(LOG_DEBUG, "CIM_RegisteredProfile: RegisteredName NULL, RegisteredVersion: NULL, *"));
    EXPECT_EQ(bench.Identifiers(kController).size(), 1u);
}

TEST(Profiles, AreUsedUpToEightAndNotAtAllWhenAnInstanceFollowsTheEighth) {
    const struct {
        int matching;
        const char *last; // name of one more registration; null: none
        int result;
    } cases[] = {
        {2, "Fan", 2}, {8, nullptr, 8}, {8, "Fan", -5}, {9, nullptr, -5}, {7, "Fan", 7},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.matching);
        Hardware hardware;
        for (int i = 0; i < test.matching; ++i) {
            const std::string id = std::to_string(i);
            hardware.WithProfile({{"id", "p" + id}, {"name", kHhrc}});
            hardware.WithController("c" + id, {{"profile", "p" + id}});
        }
        if (test.last != nullptr) hardware.WithProfile({{"id", "last"}, {"name", test.last}});
        LinkedBench bench(hardware);
        bench.Start();
        const int served = test.result > 0 ? test.result : 0;
        EXPECT_EQ(bench.Identifiers(kController).size(), static_cast<std::size_t>(served));
        EXPECT_TRUE(Logged(LOG_DEBUG, "GetHHRCProfiles: exiting, RC " + std::to_string(test.result) + ".\n"));
        EXPECT_EQ(LogCapture::Count(LOG_ERR, "GetHHRCProfiles: profile array out of range\n"), served == 0 ? 1u : 0u);
        EXPECT_EQ(LogCapture::Count(LOG_INFO, "No instance of Host Hard RAID Controller is found, rc -5\n"),
                  served == 0 ? 1u : 0u);
    }
}

TEST(Profiles, ThatCannotBeReadLeaveNothingToServe) {
    const struct {
        Operation operation;
        FaultRule::Effect effect;
        const char *error; // null: none
        int result;
    } cases[] = {
        {Operation::NewObjectPath, FaultRule::Effect::Fail, "status: rc 1, msg gone\n", -2},
        {Operation::EnumerateInstances, FaultRule::Effect::Fail,
         "EnumInstances root/interop:CIM_RegisteredProfile failed, status: rc 1, msg gone", 0},
        {Operation::EnumerateInstances, FaultRule::Effect::NullWithOk, nullptr, 0},
        {Operation::EnumerateInstances, FaultRule::Effect::Empty, nullptr, 0},
    };
    for (const auto &test : cases) {
        LinkedBench bench(OneController());
        bench.Inject(Rule(test.operation).From("CIM_RegisteredProfile").Does(test.effect).Saying("gone"));
        bench.Start();
        EXPECT_EQ(LogCapture::Texts("*", LOG_ERR),
                  test.error != nullptr ? std::vector<std::string>{test.error} : std::vector<std::string>{});
        EXPECT_TRUE(Logged(LOG_INFO, "No instance of Host Hard RAID Controller is found, rc " +
                                         std::to_string(test.result) + "\n"));
        EXPECT_TRUE(bench.Identifiers(kController).empty());
    }
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
    EXPECT_EQ(bench.Identifiers(kController),
              (std::vector<std::string>{"zbrControllerc2", "zbrControllerc3", "zbrControllerc1", "zbrControllerc3"}));
}

TEST(Discovery, DropsAPortControllerThatLacksItsIdentifierOrItsComputerSystem) {
    const struct {
        const char *name;
        Json broken; // members of the controller in the middle
        const char *error;
    } cases[] = {
        {"no DeviceID", {{"omit", {"DeviceID"}}}, "NULL DeviceID for PortController: *PortController*\n"},
        {"null DeviceID", {{"properties", {{"DeviceID", nullptr}}}}, "NULL DeviceID for PortController: *"},
        {"no computer system", {{"parts", {{"system", nullptr}}}}, nullptr},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        LinkedBench bench(Hardware().WithController("c0").WithController("c1", test.broken).WithController("c2"));
        bench.Start();
        EXPECT_EQ(bench.Identifiers(kController), (std::vector<std::string>{"zbrControllerc0", "zbrControllerc2"}));
        EXPECT_EQ(LogCapture::Texts("*", LOG_ERR).size(), test.error != nullptr ? 1u : 0u);
        if (test.error != nullptr) {
            EXPECT_TRUE(Logged(LOG_ERR, test.error));
        }
        bench.ExpectOnlyRecordsAlive();
    }
}

TEST(Discovery, SurvivesEachStepOfTheWalkFailingOrBringingNothing) {
    const struct {
        const char *association, *result;
        bool dropped;         // the controller
        const char *caption;  // of the controller that is kept
        const char *versions; // of its software identity
    } cases[] = {
        {"CIM_ElementConformsToProfile", "CIM_PortController", true, nullptr, nullptr},
        {"CIM_LogicalIdentity", "CIM_ComputerSystem", true, nullptr, nullptr},
        {"CIM_Realizes", "CIM_PhysicalPackage", false, "Controller c0 (n/a)", "2.2 (Package); 1.1 (Fw)"},
        {"CIM_ElementSoftwareIdentity", "CIM_SoftwareIdentity", false, "Controller c0 (R8i)",
         "n/a (Package); n/a (Fw)"},
    };
    for (const auto &test : cases) {
        for (const auto effect : {FaultRule::Effect::Fail, FaultRule::Effect::NullWithOk, FaultRule::Effect::Empty}) {
            SCOPED_TRACE(test.association);
            LinkedBench bench(Hardware().WithController(
                "c0", {{"model", "R8i"},
                       {"software",
                        {{{"kind", "firmware"}, {"version", "1.1"}}, {{"kind", "bundle"}, {"version", "2.2"}}}}}));
            Rule rule = Rule(Operation::Associators).Along(test.association).Does(effect);
            rule.rc = CMPI_RC_ERR_ACCESS_DENIED;
            bench.Inject(rule);
            bench.Start();
            EXPECT_EQ(LogCapture::Count(LOG_ERR, std::string("Associators root/*:* (assocClass: ") + test.association +
                                                     ", resultClass: " + test.result +
                                                     ") failed, status: rc 2, msg NULL"),
                      effect == FaultRule::Effect::Fail ? 1u : 0u);
            const auto captions = bench.Column(kController, "Caption");
            if (test.dropped) {
                EXPECT_TRUE(captions.empty());
            } else {
                EXPECT_EQ(captions, std::vector<std::string>{test.caption});
                EXPECT_EQ(bench.Column(kSoftware, "VersionString"), std::vector<std::string>{test.versions});
            }
            bench.ExpectOnlyRecordsAlive();
        }
    }
}

TEST(Discovery, WalksOnlyWhatItNeedsForOneController) {
    LinkedBench bench(Hardware().WithController("c0"));
    bench.Broker().LogCalls(true);
    bench.Load();
    std::vector<std::string> walked;
    for (const std::string &upcall : bench.Upcalls())
        if (Matches(upcall, "*numerateInstances*") || Matches(upcall, "*LogicalIdentity*") ||
            Matches(upcall, "*Profile*") || Matches(upcall, "*Realizes*") || Matches(upcall, "*SoftwareIdentity*"))
            walked.push_back(upcall);
    EXPECT_EQ(walked, (std::vector<std::string>{"enumerateInstances OMC_UnitaryComputerSystem",
                                                "enumerateInstances CIM_RegisteredProfile",
                                                "associators CIM_ElementConformsToProfile CIM_PortController",
                                                "associators CIM_LogicalIdentity CIM_ComputerSystem",
                                                "associators CIM_Realizes CIM_PhysicalPackage",
                                                "associators CIM_ElementSoftwareIdentity CIM_SoftwareIdentity"}));
}

TEST(Discovery, KeepsAControllerWhoseSystemHasNoPathButWalksNothingFromIt) {
    LinkedBench bench(OneOfEach());
    bench.Inject(Rule(Operation::GetObjectPath).From("Sim_ComputerSystem").Fails());
    bench.Broker().LogCalls(true);
    bench.Start();
    EXPECT_EQ(bench.Identifiers(kController), std::vector<std::string>{"zbrControllerc0"});
    EXPECT_TRUE(Logged(LOG_ERR, "Associators NULL (assocClass: CIM_ElementSoftwareIdentity, *"));
    EXPECT_TRUE(Logged(LOG_ERR, "Associators NULL (assocClass: CIM_SystemDevice, *"));
    for (const std::string &upcall : bench.Upcalls()) EXPECT_FALSE(Matches(upcall, "*CIM_SystemDevice*")) << upcall;
    EXPECT_TRUE(bench.Identifiers(kExtent).empty());
}

TEST(SoftwareVersions, AreKeptByTheFirstClassificationAndTheLastOneOfAClassDecides) {
    const Json firmware = {{"kind", "firmware"}, {"version", "1.1"}}, bundle = {{"kind", "bundle"}, {"version", "2.2"}};
    const struct {
        Json software;
        const char *expected;
    } cases[] = {
        {Json::array({firmware, bundle}), "2.2 (Package); 1.1 (Fw)"},
        {Json::array({{{"kind", "unknown"}, {"version", "3"}}}), "3 (Package); n/a (Fw)"},
        {Json::array({bundle, {{"kind", "unknown"}, {"version", "3"}}}), "3 (Package); n/a (Fw)"},
        {Json::array({firmware, {{"kind", "firmware"}, {"version", "1.2"}}}), "n/a (Package); 1.2 (Fw)"},
        {Json::array({firmware, {{"kind", 6}, {"version", "9"}}}), "n/a (Package); 1.1 (Fw)"},
        {Json::array({firmware, {{"kind", "firmware"}, {"omit", {"VersionString"}}}}), "n/a (Package); 1.1 (Fw)"},
        {Json::array({{{"kind", "bios"}, {"version", "4"}}, {{"kind", "driver"}, {"version", "5"}}}),
         "n/a (Package); n/a (Fw)"},
        {Json::array({{{"kind", "firmware"}, {"version", ""}}}), "n/a (Package); n/a (Fw)"},
        {Json::array(), "n/a (Package); n/a (Fw)"},
        // Without an array of classifications the class is unknown, which means the bundle.
        {Json::array({{{"kind", "firmware"}, {"version", "1"}, {"omit", {"Classifications"}}}}),
         "1 (Package); n/a (Fw)"},
    };
    for (const auto &test : cases) EXPECT_EQ(VersionString(test.software), test.expected) << test.software.dump();
}

TEST(SoftwareVersions, AllReachTheRecordOfTheirController) {
    LinkedBench bench(Hardware().WithController("c0", {{"software",
                                                        {{{"kind", "firmware"}, {"version", "f"}},
                                                         {{"kind", "bios"}, {"version", "b"}},
                                                         {{"kind", "driver"}, {"version", "d"}},
                                                         {{"kind", "bundle"}, {"version", "u"}}}},
                                                       {"status", "degraded"},
                                                       {"health", "major"}}));
    bench.Start();
    EXPECT_TRUE(Logged(LOG_INFO, "\nPortControllerOp: *PortController*\nControllerOp:     *ComputerSystem*\n"
                                 "\tDeviceID          - c0\n\tModel             - *\n\tFirmwareVersion   - f\n"
                                 "\tBiosVersion       - b\n\tDriverVersion     - d\n\tBundleVersion     - u\n"
                                 "\tHealthState       - 20\n\tOperationalStatus - 3\n"));
}

TEST(ControllerInstance, ShowsStatusIdentityAndTheFixedFacts) {
    LinkedBench bench(Hardware().WithController("c0", {{"model", "R8i"}, {"status", "degraded"}, {"health", "major"}}));
    bench.Start();
    const auto instances = bench.Enumerate(kController);
    ASSERT_EQ(instances.size(), 1u);
    const struct {
        const char *property, *expected;
    } facts[] = {
        {"ElementName", "Controller c0 (R8i)"},
        {"Caption", "Controller c0 (R8i)"},
        {"OperationalStatus", "{3}"},
        {"HealthState", "5"}, // whatever the package says
        {"IdentifyingDescriptions", "{Serial Number}"},
        {"OtherIdentifyingInfo", "{c0}"},
        {"Dedicated", "{3}"},
        {"NameFormat", "Other"},
    };
    for (const auto &fact : facts) EXPECT_EQ(Shown(instances[0], fact.property), fact.expected) << fact.property;
    EXPECT_EQ(instances[0].path,
              (cim::ObjectPath{{},
                               kNameSpace,
                               kController,
                               {{"CreationClassName", Text(kController)}, {"Name", Text("zbrControllerc0")}}}));

    const auto software = bench.Enumerate(kSoftware);
    ASSERT_EQ(software.size(), 1u);
    EXPECT_EQ(Shown(software[0], "IsEntity"), "true");
    EXPECT_EQ(Shown(software[0], "ElementName"), "Controller c0 (R8i)");
    EXPECT_EQ(Shown(software[0], "Caption"), "Controller c0 (R8i)");
    EXPECT_EQ(software[0].path,
              (cim::ObjectPath{{}, kNameSpace, kSoftware, {{"InstanceID", Text("zembra:ControllerSoftwarec0")}}}));
}

TEST(ControllerInstance, CutsTextsAt127BytesAndNeverInsideACharacter) {
    const std::string n110(110, 'm'), n200(200, 'm');
    const std::string longPackage(130, 'v');
    const struct {
        std::string model, bundle, firmware;
        std::string caption, version;
    } cases[] = {
        {n110, "1", "2", "Controller c0 (" + n110 + ")", "1 (Package); 2 (Fw)"},
        {n200, "1", "2", "Controller c0 (" + std::string(112, 'm'), "1 (Package); 2 (Fw)"},
        {"x", longPackage, "2", "Controller c0 (x)", std::string(127, 'v')},
        {"x", std::string(115, 'v'), "345", "Controller c0 (x)", std::string(115, 'v') + " (Package); "},
        // Two bytes of ä would be 127 and 128.
        {std::string(111, 'm') + "ä", "1", "2", "Controller c0 (" + std::string(111, 'm'), "1 (Package); 2 (Fw)"},
        {std::string(110, 'm') + "ä", "1", "2", "Controller c0 (" + std::string(110, 'm') + "ä", "1 (Package); 2 (Fw)"},
    };
    for (const auto &test : cases) {
        LinkedBench bench(Hardware().WithController("c0", {{"model", test.model},
                                                           {"software",
                                                            {{{"kind", "bundle"}, {"version", test.bundle}},
                                                             {{"kind", "firmware"}, {"version", test.firmware}}}}}));
        bench.Start();
        for (const char *className : {kController, kSoftware})
            for (const char *property : {"Caption", "ElementName"})
                EXPECT_EQ(bench.Column(className, property), std::vector<std::string>{test.caption});
        EXPECT_EQ(bench.Column(kSoftware, "VersionString"), std::vector<std::string>{test.version});
    }
}

TEST(Discovery, HandsTextFromOutsideToTheLogAsAnArgumentOnly) {
    LinkedBench bench(Hardware().WithController("c%n%s", {{"model", "%s%s%n"}}));
    bench.Start();
    EXPECT_EQ(bench.Column(kController, "Caption"), std::vector<std::string>{"Controller c%n%s (%s%s%n)"});
    EXPECT_TRUE(Logged(LOG_INFO, "*\tDeviceID          - c%n%s\n\tModel             - %s%s%n\n*"));
}

TEST(Discovery, ListsAThousandControllers) {
    const LogMask quiet(LOG_UPTO(LOG_WARNING));
    Hardware hardware;
    for (int i = 0; i < 1000; ++i) hardware.WithController("c" + std::to_string(i));
    LinkedBench bench(hardware);
    bench.Start();
    const auto identifiers = bench.Identifiers(kController);
    ASSERT_EQ(identifiers.size(), 1000u);
    EXPECT_EQ(identifiers.front(), "zbrControllerc0");
    EXPECT_EQ(identifiers.back(), "zbrControllerc999");
    EXPECT_TRUE(bench.Get(kSoftware, "zembra:ControllerSoftwarec500").Ok());
}
