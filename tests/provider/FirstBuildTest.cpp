// The first build: every device of every controller, once, in the background.
#include "tests/provider/Linked.h"

#include <gmock/gmock.h>
#include <set>
#include <thread>

using namespace support;
using cim::FaultRule;
using cim::Operation;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

// Devices of the given classes, in that order. None of them has what a builder of disks or volumes needs.
Hardware Devices(const std::vector<std::string> &classes) {
    Hardware hardware = Hardware().WithController("c0");
    int id = 0;
    for (const std::string &className : classes) hardware.WithDevice(std::to_string(id++), className);
    return hardware;
}

} // namespace

TEST(DeviceKinds, AreFoundBySubclassWithNoMoreClassTestsThanTheMemoryNeeds) {
    const std::string volume = "Sim_StorageVolume", disk = "Sim_DiskDrive", battery = "Sim_Battery",
                      port = "Sim_SASSATAPort", fan = "Sim_Fan", acme = "Sim_AcmeDiskDrive";
    const struct {
        std::vector<std::string> classes;
        std::uint64_t tests; // a volume costs one, a port two, a disk three, a battery and anything else four
    } cases[] = {
        {{volume, disk, volume, disk, battery}, 8},
        {{disk, disk, disk}, 3},
        {{port, battery, port, battery}, 6},
        {{fan, fan, fan}, 4},
        {{fan, disk, fan}, 11},
        {{acme, disk, disk, acme}, 9}, // one name a kind is kept
        {{}, 0},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(testing::PrintToString(test.classes));
        LinkedBench bench(Devices(test.classes));
        const auto tests = bench.Inject(Rule(Operation::ClassPathIsA));
        bench.Start();
        EXPECT_EQ(bench.Broker().Faults().Matched(tests), test.tests);
    }
}

TEST(DeviceKinds, OfAVendorsOwnClassesAreBuiltLikeAnyOther) {
    LinkedBench bench(Hardware()
                          .WithController("c0", {{"classPrefix", "Sim_Acme"}})
                          .WithPool("p")
                          .WithDisk("d", {{"pool", "p"}})
                          .WithVolume("v", {{"pool", "p"}})
                          .WithPort("p")
                          .WithBattery("b")
                          .WithDevice("f", "Sim_Fan"));
    bench.Start();
    for (const char *className : kServedClasses) EXPECT_EQ(bench.Identifiers(className).size(), 1u) << className;
}

TEST(FirstBuild, TakesOneControllerAfterTheOtherPoolsAndChassisFirst) {
    LinkedBench bench(OneOfEach().WithController("c1").WithPool("p").WithDisk("d", {{"pool", "p"}}).WithBattery("b"));
    bool done = false;
    FaultRule second = Rule(Operation::Associators).Along("CIM_HostedStoragePool").After(1);
    second.hook = [&](const cim::Call &) { done = RefreshesMayBegin(); };
    bench.Inject(second);
    bench.Broker().LogCalls(true);
    bench.Start();
    // Refreshes may begin as soon as the first controller is complete.
    EXPECT_TRUE(done);
    std::vector<std::string> walks;
    for (const cim::Call &call : bench.Broker().TakeCalls())
        if (call.className == "Sim_ComputerSystem" && call.associationClass != "CIM_ElementSoftwareIdentity")
            walks.push_back(call.path.substr(call.path.find("Name=\"c") + 6, 2) + " " + call.associationClass);
    EXPECT_THAT(walks, ElementsAre("c0 CIM_HostedStoragePool", "c0 CIM_SystemPackaging", "c0 CIM_SystemDevice",
                                   "c1 CIM_HostedStoragePool", "c1 CIM_SystemPackaging", "c1 CIM_SystemDevice"));
    EXPECT_THAT(bench.Identifiers(kExtent), ElementsAre("zbrStorageExtc0_d0", "zbrStorageExtc1_d"));
}

TEST(FirstBuild, WaitsForRoomInTheQueueAndDropsNothing) {
    const LogMask quiet(LOG_UPTO(LOG_WARNING)); // every look-up of a list logs each record at debug level
    Hardware hardware = OneController();
    for (int i = 0; i < 300; ++i) hardware.WithDisk(std::to_string(i), {{"pool", "dg0"}});
    LinkedBench bench(hardware);
    Gate gate; // with the workers at it, the queue fills
    bench.Inject(Rule(Operation::Associators).Along("CIM_MediaPresent").Passes(gate));
    bench.Load();
    EXPECT_TRUE(LogCapture::WaitFor("BuildLogicalDeviceInfo: FIFO full, waiting...\n"));
    gate.Open();
    ASSERT_TRUE(WorkersIdle());
    EXPECT_LT(LogCapture::Count(LOG_ERR, "*FIFO full*"), 50u); // once a second, not for every disk
    const auto built = bench.Identifiers(kExtent);
    EXPECT_EQ(built.size(), 300u);
    EXPECT_EQ(std::set<std::string>(built.begin(), built.end()).size(), 300u);
    EXPECT_EQ(FindStoragePoolByID(TheController(), "Sim:c0:pool:dg0")->Drives->Size, 300u);
    bench.ExpectOnlyRecordsAlive();
}

TEST(FirstBuild, NoticesByItselfThatTheOtherWorkersAreLost) {
    LinkedBench bench(OneOfEach());
    for (const char *association : {"CIM_MediaPresent", "CIM_AllocatedFromStoragePool"}) // of the disk, of the volume
        bench.Inject(
            Rule{Operation::Associators, Operation::AssociatorNames}.Along(association).Does(FaultRule::Effect::Lost));
    TestClock::BringDeadlinesForward(std::chrono::milliseconds(990)); // of the second between two looks
    bench.Load();
    ASSERT_TRUE(bench.Broker().Faults().AwaitLost(2, std::chrono::seconds(20)));
    TestClock::Advance(60);
    ASSERT_TRUE(LogCapture::WaitFor("DoBuildDeviceInfoAsync done."));
    EXPECT_EQ(bench.Identifiers(kBattery).size(), 1u);
    bench.Broker().Faults().Clear();
    ASSERT_TRUE(WorkersIdle());
    for (const char *className : kServedClasses) EXPECT_EQ(bench.Identifiers(className).size(), 1u) << className;
}

TEST(FirstBuild, IsGoneOnWithOnceAfterAStepWhoseUpCallIsLost) {
    for (const auto &[association, devices] : {std::pair("CIM_HostedStoragePool", "pools"),
                                               {"CIM_SystemPackaging", "chassis"},
                                               {"CIM_SystemDevice", "logical devices"}}) {
        SCOPED_TRACE(devices);
        LinkedBench bench(OneOfEach());
        bench.Inject(Rule(Operation::Associators).Along(association).Times(1).Does(FaultRule::Effect::Lost));
        bench.Load();
        ASSERT_TRUE(bench.Broker().Faults().AwaitLost(1, std::chrono::seconds(20)));
        TestClock::Advance(60);
        for (int requests = 0; requests < 2; ++requests) { // the first one notices, the second one has nothing to do
            bench.Identifiers(kBattery);
            EXPECT_TRUE(LogCapture::WaitFor("DoBuildDeviceInfoAsync done."));
        }
        EXPECT_EQ(TheController()->ChassisList->Size, std::string(devices) == "chassis" ? 0u : 1u);
        EXPECT_TRUE(Logged(LOG_ERR, "QuarnelThread: controller c0, " + std::string(devices) +
                                        ": an up-call has not returned for * seconds\n"));
        bench.Broker().Faults().AnswerLost();
        ASSERT_TRUE(WorkersIdle());
        EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, "DoBuildDeviceInfoAsync done."));
    }
}

TEST(FirstBuild, LeavesADeviceWhoseJobCannotBeMadeToTheNextRefresh) {
    LinkedBench bench(Hardware().WithController("c0").WithPort("p0").WithPort("p1").WithPort("p2"));
    bench.Inject(Rule(Operation::Clone).From("Sim_SASSATAPort").Times(1).Fails());
    bench.StartInOrder();
    EXPECT_THAT(bench.Identifiers(kPort), ElementsAre("zbrPortc0_p1", "zbrPortc0_p2"));
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "BuildLogicalDeviceInfo, failed to allocate threadArgs\n"));
    EXPECT_THAT(bench.RefreshedColumn(kPort, "DeviceID"),
                UnorderedElementsAre("zbrPortc0_p0", "zbrPortc0_p1", "zbrPortc0_p2"));
    bench.ExpectOnlyRecordsAlive();
}

TEST(FirstBuild, AnswersRequestsFromWhatIsThereMeanwhile) {
    LinkedBench bench(OneOfEach().WithDisk("d1", {{"pool", "dg0"}}));
    Gate pools, disk; // the first step, and the last one of the second disk
    bench.Inject(Rule(Operation::Associators).Along("CIM_HostedStoragePool").Passes(pools));
    bench.Inject(Rule(Operation::AssociatorNames).Along("CIM_ConcreteComponent").After(1).Passes(disk));
    bench.Load();
    EXPECT_THAT(bench.Identifiers(kController), ElementsAre("zbrControllerc0"));
    EXPECT_TRUE(bench.Identifiers(kExtent).empty());
    pools.Open();
    ASSERT_TRUE(LogCapture::WaitFor("BuildLogicalDeviceInfo: FIFO not empty, waiting...\n"));
    ASSERT_TRUE(disk.WaitFor(1));
    EXPECT_TRUE(Eventually([&] { return bench.Identifiers(kBattery).size() == 1; }));
    EXPECT_EQ(bench.Identifiers(kExtent).size(), 1u);
    LogCapture::Clear();
    EXPECT_EQ(bench.Identifiers(kVolume).size(), 1u);
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG,
                            "HandleDeviceConfigChange: BuildDeviceInfoAsync is still running, skip action 101\n"));
    disk.Open();
    ASSERT_TRUE(WorkersIdle());
    EXPECT_EQ(bench.Identifiers(kExtent).size(), 2u);
}

TEST(FirstBuild, IsEndedByTheBrokersEndWithTheUpCallThatIsRunning) {
    Hardware hardware = OneOfEach();
    for (int i = 0; i < 40; ++i) hardware.WithDisk("more" + std::to_string(i), {{"pool", "dg0"}});
    for (const char *association : {"CIM_HostedStoragePool", "CIM_SystemPackaging", "CIM_SystemDevice",
                                    "CIM_MediaPresent", "CIM_ConcreteComponent", "CIM_AllocatedFromStoragePool"}) {
        SCOPED_TRACE(association);
        LinkedBench bench(hardware);
        Gate gate;
        bench.Inject(Rule{Operation::Associators, Operation::AssociatorNames}.Along(association).Passes(gate));
        bench.Load();
        ASSERT_TRUE(gate.WaitFor(1));
        std::thread ending([&] { bench.Broker().Shutdown(); });
        ASSERT_TRUE(Eventually([] { return ThisLife().TerminateThread == 1; }));
        // What else was in an up-call when the stop came is through in a moment; then only the gate is left.
        bench.Broker().WaitForBackground(std::chrono::milliseconds(20), std::chrono::milliseconds(60));
        bench.Broker().LogCalls(true);
        gate.Open();
        ending.join();
        for (const cim::Call &call : bench.Broker().TakeCalls())
            EXPECT_TRUE(call.operation == Operation::DetachThread || call.associationClass == association ||
                        call.operation == Operation::PrepareAttachThread || call.operation == Operation::AttachThread)
                << cim::NameOf(call.operation) << " " << call.associationClass;
        // A worker that waited for a lock of the broker's, held over clean-up, is through a moment later.
        EXPECT_TRUE(Eventually([&] { return bench.Broker().Live().clones == 0; }));
        EXPECT_TRUE(NotLogged(LOG_ERR, "No pool associated with *"));
    }
}

TEST(FirstBuild, ListsADeviceOnceThatARefreshWasQuickerToBuild) {
    LinkedBench bench(OneController()
                          .WithController("c1")
                          .WithPool("p")
                          .WithDisk("d", {{"pool", "p"}})
                          .WithVolume("v", {{"pool", "p"}}));
    Gate gate;
    bench.Inject(Rule(Operation::Associators).Along("CIM_HostedStoragePool").After(1).Times(1).Passes(gate));
    bench.Load();
    ASSERT_TRUE(gate.WaitFor(1)); // c0 is complete, c1 is to come
    TestClock::Advance(StateUpdateInterval);
    bench.Identifiers(kVolume);
    ASSERT_TRUE(Eventually([&] { return bench.Identifiers(kVolume).size() == 1; }));
    bench.Change([](Hardware &hardware) { hardware.WithVolume("new", {{"pool", "p"}}); }); // not the refresh's
    gate.Open();
    ASSERT_TRUE(WorkersIdle());
    EXPECT_THAT(bench.Identifiers(kVolume), UnorderedElementsAre("zbrStorageVolumec1_v", "zbrStorageVolumec1_new"));
    EXPECT_THAT(bench.Identifiers(kExtent), ElementsAre("zbrStorageExtc1_d"));
    EXPECT_EQ(TheController(1)->PoolList->Size, 1u);
    bench.ExpectOnlyRecordsAlive();
}
