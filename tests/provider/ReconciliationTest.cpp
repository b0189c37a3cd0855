// The cache follows the hardware: what a pass asks, deletes, refreshes and adds, in which order, and when it does not.
#include "tests/provider/Walks.h"

#include <gmock/gmock.h>

using namespace support;
using cim::FaultRule;
using cim::Operation;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Pass, DeletesAndRefreshesInTheCachesOrderAndThenAddsInTheVendors) {
    LinkedBench bench(Ports({"a", "b", "c"}));
    bench.StartInOrder();
    bench.Change([](Hardware &hardware) { hardware = Ports({"e", "b", "c", "d"}); });
    TestClock::Advance(StateUpdateInterval);
    LogCapture::Clear();
    bench.Refresh(kPort);
    std::vector<std::string> steps;
    for (const auto &line : LogCapture::Lines())
        for (const char *pattern : {"Deleting devices[*", "Updating devices[*", "Adding device ops[*",
                                    "ProcessDeviceConfigChange, removecount*"})
            if (Matches(line.text, pattern)) steps.push_back(line.text.substr(0, line.text.find(':')));
    EXPECT_THAT(steps, ElementsAre("ProcessDeviceConfigChange, removecount 3, addcount 4\n", "Deleting devices[0]",
                                   "Updating devices[1]", "Updating devices[2]", "Adding device ops[0]",
                                   "Adding device ops[3]"));
    EXPECT_THAT(bench.Identifiers(kPort), ElementsAre("zbrPortc0_b", "zbrPortc0_c", "zbrPortc0_e", "zbrPortc0_d"));
    EXPECT_TRUE(Logged(LOG_DEBUG, "Port a removed from controller c0(NULL)\n"));
    bench.ExpectOnlyRecordsAlive();
}

TEST(Pass, ThatOnlyDeletesOrFailsLeavesTheKindDueAtOnce) {
    LinkedBench bench(Ports({"a", "b"}));
    bench.StartAndWait();
    bench.Broker().LogCalls(true);

    const auto failing =
        bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice", "CIM_SASSATAPort").Fails());
    bench.Refresh(kPort);
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR,
                            "Associators *Sim_ComputerSystem* (assocClass: CIM_SystemDevice, "
                            "resultClass: CIM_SASSATAPort) failed, status: rc 1, msg NULL"));
    EXPECT_EQ(bench.Identifiers(kPort).size(), 2u);
    ASSERT_TRUE(WorkersIdle());
    bench.Broker().Faults().Remove(failing);
    EXPECT_THAT(Walks(bench), ElementsAre(kPorts, kPorts));

    LogCapture::Clear();
    const auto nothing = bench.Inject(
        Rule(Operation::Associators).Along("CIM_SystemDevice", "CIM_SASSATAPort").Does(FaultRule::Effect::NullWithOk));
    bench.Refresh(kPort);
    EXPECT_TRUE(NotLogged(LOG_ERR, "*"));
    EXPECT_EQ(TheController()->PortList->Size, 2u);
    bench.Broker().Faults().Remove(nothing);

    bench.Change([](Hardware &hardware) { hardware = Ports({}); });
    bench.Refresh(kPort);
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, "ProcessDeviceConfigChange, removecount 2, addcount 0\n"));
    EXPECT_EQ(TheController()->PortList->Size, 0u);
    EXPECT_EQ(TheController()->PortUpdateTime, kStart);

    bench.Change([](Hardware &hardware) { hardware = Ports({"c"}); });
    bench.Refresh(kPort);
    EXPECT_EQ(TheController()->PortList->Size, 1u);
    EXPECT_EQ(TheController()->PortUpdateTime, kStart + StateUpdateInterval);
}

TEST(Pass, GoesOnWithTheNextKindWhenOneFails) {
    LinkedBench bench(OneOfEach());
    bench.StartAndWait();
    bench.Inject(Rule(Operation::Associators).Along("CIM_HostedStoragePool", "CIM_StoragePool").Fails());
    bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice", "CIM_DiskDrive").Fails());
    bench.Change([](Hardware &hardware) { hardware.Entry("volumes", "v0")["name"] = "renamed"; });
    bench.Refresh(kVolume);
    EXPECT_THAT(bench.Column(kVolume, "Caption"),
                ElementsAre("RAID5 renamed Logical Volume v0 on controller c0, Drives(4e252) - OPTIMAL"));
    EXPECT_EQ(TheController()->DiskUpdateTime, kStart);
}

TEST(Pass, TakesPoolsBeforeDisksBeforeVolumesEachWhenItIsDue) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    bench.Broker().LogCalls(true);
    const time_t now = kStart + 1000;
    TestClock::Freeze(now);
    RaidController_t *ctrl = TheController();
    for (const int action : {CFG_ACTION_VOLUME, CFG_ACTION_DISK, CFG_ACTION_POOL}) {
        for (const int due : {0, 1, 2, 3, 4, 5, 6, 7}) {
            SCOPED_TRACE(std::to_string(action) + ", due " + std::to_string(due));
            const auto last = [&](int bit) { return now - ((due & bit) != 0 ? 20 : 19); };
            ctrl->PoolUpdateTime = last(1);
            ctrl->DiskUpdateTime = last(2);
            ctrl->VolumeUpdateTime = last(4);
            LogCapture::Clear();
            const Invocation call(bench);
            EXPECT_EQ(ProcessDeviceConfigChange(nullptr, call.Context(), ctrl, action), 0);
            std::vector<std::string> walks;
            std::size_t skipped = 0;
            const auto expect = [&](int code, int bit, const std::string &walk) {
                if ((due & bit) != 0) {
                    walks.push_back(walk);
                } else {
                    ++skipped;
                    EXPECT_TRUE(Logged(LOG_DEBUG, "Action " + std::to_string(code) + ", last " +
                                                      std::to_string(now - 19) + ", now " + std::to_string(now) +
                                                      ", skip\n"));
                }
            };
            expect(CFG_ACTION_POOL, 1, kPools);
            if (action != CFG_ACTION_POOL) expect(CFG_ACTION_DISK, 2, kDisks);
            if (action == CFG_ACTION_VOLUME) expect(CFG_ACTION_VOLUME, 4, kVolumes);
            EXPECT_EQ(Walks(bench), walks);
            EXPECT_TRUE(LoggedTimes(skipped, LOG_DEBUG, "Action *skip\n"));
        }
    }
}

TEST(Pass, OfEachKindWalksToThatKindAloneOrToNothingForAnUnknownOne) {
    LinkedBench bench(OneOfEach());
    bench.StartAndWait();
    bench.Broker().LogCalls(true);
    const struct {
        int action;
        std::vector<std::string> walks;
    } cases[] = {
        {CFG_ACTION_PORT, {kPorts}},
        {CFG_ACTION_BATTERY, {kBatteries}},
        {CFG_ACTION_POOL, {kPools}},
        {CFG_ACTION_CHASSIS, {kAllChassis}},
        {106, {}},
        {0, {}},
        {99, {}},
    };
    for (const auto &test : cases) {
        LogCapture::Clear();
        const Invocation call(bench);
        EXPECT_EQ(ProcessDeviceConfigChange(nullptr, call.Context(), TheController(), test.action), 0);
        EXPECT_EQ(Walks(bench), test.walks) << test.action;
        EXPECT_TRUE(LoggedInOrder({"ProcessDeviceConfigChange, ENTER(" + std::to_string(test.action) + ")...\n",
                                   "ProcessDeviceConfigChange, EXIT\n"}));
    }
    EXPECT_EQ(TheController()->ChassisUpdateTime, kStart + StateUpdateInterval);
}

TEST(Pass, DoesNothingInTheFirstThreeSecondsAfterTheStart) {
    // Without batteries their kind was never stamped: the throttle lets every request for it through.
    LinkedBench bench(Ports({"a"}));
    bench.Start();
    bench.Broker().LogCalls(true);
    for (const time_t passed : {0, 2}) {
        TestClock::Freeze(kStart + passed);
        LogCapture::Clear();
        bench.Refresh(kBattery);
        EXPECT_THAT(Walks(bench), IsEmpty()) << passed;
        EXPECT_TRUE(LoggedInOrder({"ProcessDeviceConfigChange, ENTER(103)...\n", "ProcessDeviceConfigChange, EXIT\n"}));
    }
    TestClock::Freeze(kStart + 3);
    bench.Refresh(kBattery);
    EXPECT_THAT(Walks(bench), ElementsAre(kBatteries));
}

TEST(Pass, BuildsADeviceAnewWhoseClassHasChanged) {
    LinkedBench bench(OneOfEach());
    bench.StartAndWait();
    bench.Change([](Hardware &hardware) { hardware.Entry("disks", "d0")["class"] = "Sim_AcmeDiskDrive"; });
    LogCapture::Clear();
    bench.Refresh(kExtent);
    EXPECT_TRUE(LoggedInOrder({"d0 removed from pool Sim:c0:pool:dg0\n", "d0 deleted\n", "Adding device ops[0]: *"}));
    EXPECT_THAT(bench.Identifiers(kExtent), ElementsAre("zbrStorageExtc0_d0"));
    EXPECT_EQ(Members("dg0"), " d0");
    EXPECT_TRUE(Logged(LOG_INFO, "\nDiskOp: *Sim_AcmeDiskDrive*"));
    bench.ExpectOnlyRecordsAlive();
}

TEST(Pass, ShowsDoubledDevicesAsOftenAsTheVendorDoes) {
    LinkedBench bench(Ports({"a", "b"}));
    bench.StartInOrder();
    const auto twice = [](Hardware &hardware) { hardware.WithPort("a", {{"duplicate", true}}); };
    bench.Change(twice);
    TestClock::Advance(StateUpdateInterval);
    bench.Refresh(kPort);
    EXPECT_THAT(bench.Identifiers(kPort), ElementsAre("zbrPortc0_a", "zbrPortc0_b", "zbrPortc0_a"));
    bench.Change([](Hardware &hardware) { hardware = Ports({"b", "a"}); });
    TestClock::Advance(StateUpdateInterval);
    bench.Refresh(kPort);
    EXPECT_THAT(bench.Identifiers(kPort), ElementsAre("zbrPortc0_a", "zbrPortc0_b"));
    bench.ExpectOnlyRecordsAlive();
}

TEST(Pass, FindsANewPoolBeforeTheDisksAndVolumesInIt) {
    LinkedBench bench(OneOfEach());
    bench.StartAndWait();
    bench.Change([](Hardware &hardware) {
        hardware.WithPool("dg1")
            .WithDisk("d1", {{"pool", "dg1"}, {"enclosure", "252"}, {"slot", 5}})
            .WithVolume("v1", {{"pool", "dg1"}, {"raid", "RAID0"}, {"omit", {"ElementName"}}});
    });
    bench.Refresh(kVolume);
    EXPECT_EQ(Members("dg1"), " d1");
    EXPECT_EQ(bench.Column(kVolume, "Caption").back(),
              "RAID0 Logical Volume v1 on controller c0, Drives(5e252) - OPTIMAL");
    // The disks came with the volumes, and need no refresh of their own.
    bench.Broker().LogCalls(true);
    EXPECT_EQ(bench.Identifiers(kExtent).size(), 2u);
    ASSERT_TRUE(WorkersIdle());
    EXPECT_THAT(Walks(bench), IsEmpty());
}

TEST(Pass, LetsEverythingGoAndComeBack) {
    LinkedBench bench(OneOfEach());
    bench.StartAndWait();
    const Hardware before = bench.Description();
    bench.Change([](Hardware &hardware) { hardware = Hardware().WithController("c0"); });
    for (int round = 0; round < 2; ++round) {
        for (const char *className : {kVolume, kExtent, kPort, kBattery}) bench.Refresh(className);
        const std::size_t expected = round == 0 ? 0 : 1;
        for (const char *className : {kVolume, kExtent, kPort, kBattery})
            EXPECT_EQ(bench.Identifiers(className).size(), expected) << className;
        ASSERT_TRUE(WorkersIdle());
        EXPECT_EQ(TheController()->PoolList->Size, 2 * expected);
        EXPECT_EQ(TheController()->ChassisList->Size, 1u); // never refreshed
        bench.ExpectOnlyRecordsAlive();
        bench.Change([&](Hardware &hardware) { hardware = before; });
        TestClock::Advance(StateUpdateInterval);
    }
    EXPECT_THAT(bench.Column(kVolume, "Caption"),
                ElementsAre("RAID5 data Logical Volume v0 on controller c0, Drives(4e252) - OPTIMAL"));
}

TEST(Pass, DoesNotWalkFromAControllerWithoutASystem) {
    LinkedBench bench(OneOfEach());
    bench.Inject(Rule(Operation::GetObjectPath).From("Sim_ComputerSystem").Fails());
    bench.StartAndWait();
    bench.Broker().LogCalls(true);
    LogCapture::Clear();
    bench.Refresh(kPort);
    EXPECT_TRUE(Logged(LOG_ERR, "Associators NULL (assocClass: CIM_SystemDevice, resultClass: CIM_SASSATAPort) failed, "
                                "status: *"));
    EXPECT_THAT(Walks(bench), IsEmpty());
}
