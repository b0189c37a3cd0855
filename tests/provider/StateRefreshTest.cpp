// What a refresh takes over from a device that is still there, and what it leaves as it was built.
#include "tests/provider/Linked.h"

#include <gmock/gmock.h>

using namespace support;
using cim::FaultRule;
using cim::Operation;
using testing::ElementsAre;

namespace {

const DiskDrive_t *TheDisk() { return static_cast<DiskDrive_t *>(TheController()->DiskList->Head->Data); }

// Changes an entry of the description and runs the refresh of the class, with the log cleared before it.
void ChangeAndRefresh(LinkedBench &bench, const char *list, const char *id, const Json &change, const char *className) {
    bench.Change([&](Hardware &hardware) { hardware.Entry(list, id).update(change); });
    TestClock::Advance(StateUpdateInterval);
    LogCapture::Clear();
    bench.Refresh(className);
}

} // namespace

TEST(DiskRefresh, TakesOverBothStatusesTogetherAndLogsThemAtInfo) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    ChangeAndRefresh(bench, "disks", "d0", {{"status", "failed"}}, kExtent);
    EXPECT_TRUE(LoggedTimes(1, LOG_INFO,
                            "CheckAndUpdateDiskInfo: disk d0 status changed. Old opStat 2 extStat 2, new opStat 6 "
                            "extStat 3\n"));
    EXPECT_THAT(bench.Column(kExtent, "Caption"),
                ElementsAre("Drive 4 in enclosure 252 on controller c0 Fw: N0A4 - FAILED"));
    ChangeAndRefresh(bench, "disks", "d0", {{"status", "rebuild"}}, kExtent);
    EXPECT_TRUE(LoggedTimes(1, LOG_INFO, "*Old opStat 6 extStat 3, new opStat 2 extStat 11\n"));
    // Nothing changed: no line, but the time is stamped and the membership stays.
    ChangeAndRefresh(bench, "disks", "d0", Json::object(), kExtent);
    EXPECT_TRUE(NotLogged(LOG_INFO, "*status changed*"));
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "*pool changed*"));
    EXPECT_TRUE(LoggedInOrder({"CheckAndUpdateDiskInfo: ENTER. disk - d0\n", "CheckAndUpdateDiskInfo, exit\n"}));
    EXPECT_EQ(TheController()->DiskUpdateTime, kStart + 3 * StateUpdateInterval);
    EXPECT_EQ(Members("dg0"), " d0");
}

TEST(DiskRefresh, ChangesNoStatusWithoutTheExtentButStillChecksThePool) {
    for (const auto effect : {FaultRule::Effect::Fail, FaultRule::Effect::NullWithOk}) {
        LinkedBench bench(OneOfEach());
        bench.Start();
        bench.Inject(Rule(Operation::GetInstance).From("Sim_StorageExtent").Does(effect).Saying("busy"));
        ChangeAndRefresh(bench, "disks", "d0", {{"status", "offline"}, {"pool", "free"}}, kExtent);
        EXPECT_EQ(LogCapture::Count(LOG_ERR, "GetInstance *Sim_StorageExtent* failed, status: rc 1, msg busy"),
                  effect == FaultRule::Effect::Fail ? 1u : 0u);
        EXPECT_EQ(TheDisk()->OperationalStatus, 2);
        EXPECT_STREQ(TheDisk()->Pool, "Sim:c0:pool:free");
        EXPECT_EQ(Members("dg0"), "");
        EXPECT_EQ(Members("free"), " d0");
        EXPECT_EQ(TheController()->DiskUpdateTime, kStart + StateUpdateInterval);
    }
}

TEST(DiskRefresh, KeepsThePoolWhenItsWalkFailsOrBringsNothing) {
    for (const auto effect : {FaultRule::Effect::Fail, FaultRule::Effect::NullWithOk, FaultRule::Effect::Empty}) {
        LinkedBench bench(OneOfEach());
        bench.Start();
        bench.Inject(Rule(Operation::AssociatorNames).From("Sim_StorageExtent").Does(effect).Saying("busy"));
        ChangeAndRefresh(bench, "disks", "d0", {{"pool", "free"}, {"status", "failed"}}, kExtent);
        EXPECT_EQ(LogCapture::Count(LOG_ERR, "AssociatorNames *Sim_StorageExtent* (assocClass: CIM_ConcreteComponent, "
                                             "resultClass: CIM_StoragePool) failed, status: rc 1, msg busy"),
                  effect == FaultRule::Effect::Fail ? 1u : 0u);
        EXPECT_STREQ(TheDisk()->Pool, "Sim:c0:pool:dg0");
        EXPECT_EQ(Members("dg0"), " d0");
        EXPECT_EQ(TheDisk()->OperationalStatus, 6);
        EXPECT_EQ(TheController()->DiskUpdateTime, kStart + StateUpdateInterval);
    }
}

TEST(DiskRefresh, MovesADiskBetweenPoolsKnownAndUnknown) {
    LinkedBench bench(OneOfEach().WithController("c1").WithPool("far"));
    bench.Start();
    ChangeAndRefresh(bench, "disks", "d0", {{"pool", {"free", "dg0"}}}, kExtent); // of two, the first counts
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG,
                            "CheckAndUpdateDiskInfo: disk d0 pool changed, old Sim:c0:pool:dg0, new "
                            "Sim:c0:pool:free\n"));
    EXPECT_EQ(Members("dg0") + "|" + Members("free"), "| d0");

    ChangeAndRefresh(bench, "disks", "d0", {{"pool", "c1/far"}}, kExtent);
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, "*disk d0 pool changed, old Sim:c0:pool:free, new Sim:c1:pool:far\n"));
    EXPECT_STREQ(TheDisk()->Pool, "Sim:c1:pool:far");
    EXPECT_EQ(Members("dg0") + "|" + Members("free"), "|");

    ChangeAndRefresh(bench, "disks", "d0", {{"pool", "dg0"}}, kExtent);
    EXPECT_EQ(Members("dg0"), " d0");
    bench.ExpectOnlyRecordsAlive();
}

TEST(DiskRefresh, EntersADiskIntoItsPoolOnceThePoolIsThere) {
    LinkedBench bench(OneController().WithDisk("d0", {{"pool", "dg0"}}));
    // The pools cannot be listed at first: the disk names one that the model does not have.
    bench.Inject(Rule(Operation::Associators).Along("CIM_HostedStoragePool").Times(1).Fails());
    bench.Start();
    EXPECT_EQ(Members("dg0"), "no pool");
    ChangeAndRefresh(bench, "disks", "d0", Json::object(), kExtent);
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "*pool changed*"));
    EXPECT_EQ(Members("dg0"), " d0");
}

TEST(DiskRefresh, OfADiskWithoutAnExtentPathAsksNothingAndStamps) {
    LinkedBench bench(OneOfEach());
    bench.StartAndWait();
    RaidController_t *ctrl = TheController();
    auto *disk = static_cast<DiskDrive_t *>(ctrl->DiskList->Head->Data);
    CMPIObjectPath *extent = disk->ExtentOp;
    disk->ExtentOp = nullptr;
    {
        const Invocation call(bench);
        const CMPIInstance *fresh = GetInstance(call.Context(), disk->DiskOp);
        bench.Broker().LogCalls(true);
        EXPECT_EQ(CheckAndUpdateDiskInfo(nullptr, call.Context(), ctrl, disk, fresh), 0);
        EXPECT_TRUE(bench.Upcalls().empty());
    }
    EXPECT_EQ(ctrl->DiskUpdateTime, kStart + StateUpdateInterval);
    disk->ExtentOp = extent;
}

TEST(VolumeRefresh, TakesOverStatusCapacityAndNameAndLogsEachAtDebug) {
    LinkedBench bench(OneOfEach());
    bench.Change([](Hardware &hardware) {
        Json &volume = hardware.Entry("volumes", "v0");
        volume.erase("size");
        volume.update({{"blocks", 1000}, {"consumableBlocks", 900}});
    });
    bench.Start();
    ChangeAndRefresh(bench, "volumes", "v0", {{"status", "degraded"}, {"extentStatus", 11}}, kVolume);
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG,
                            "CheckAndUpdateVolumeInfo: volume v0 status changed. Old opStat 2 extStat 2, new opStat 3 "
                            "extStat 11\n"));
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "*capacity changed*"));
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "*element name changed*"));
    EXPECT_THAT(bench.Column(kVolume, "ExtentStatus"), ElementsAre("{11}"));

    ChangeAndRefresh(bench, "volumes", "v0", {{"consumableBlocks", 800}}, kVolume);
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG,
                            "CheckAndUpdateVolumeInfo: volume v0 capacity changed. Old total blocs 1000 free blocks "
                            "900, new total blocks 1000 free blocks 800\n"));
    EXPECT_THAT(bench.Column(kVolume, "ConsumableBlocks"), ElementsAre("800"));
    EXPECT_THAT(bench.Column(kVolume, "NumberOfBlocks"), ElementsAre("1000"));

    ChangeAndRefresh(bench, "volumes", "v0", {{"omit", {"ElementName"}}}, kVolume);
    EXPECT_TRUE(LoggedTimes(
        1, LOG_DEBUG, "CheckAndUpdateVolumeInfo: volume v0 element name changed. Old name data, new name NULL\n"));
    EXPECT_THAT(bench.Column(kVolume, "Caption"),
                ElementsAre("RAID5 Logical Volume v0 on controller c0, Drives(4e252) - DEGRADED"));
    ChangeAndRefresh(bench, "volumes", "v0", Json::object(), kVolume);
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "*changed*"));

    ChangeAndRefresh(bench, "volumes", "v0", {{"omit", Json::array()}, {"name", "new"}}, kVolume);
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, "*element name changed. Old name NULL, new name new\n"));
    EXPECT_TRUE(LoggedInOrder({"CheckAndUpdateVolumeInfo: ENTER. volume - NULL\n", "*element name changed*",
                               "CheckAndUpdateVolumeInfo, exit\n"}));
    EXPECT_THAT(bench.Column(kVolume, "Caption"),
                ElementsAre("RAID5 new Logical Volume v0 on controller c0, Drives(4e252) - DEGRADED"));
    EXPECT_EQ(TheController()->VolumeUpdateTime, kStart + 5 * StateUpdateInterval);
}

TEST(BatteryRefresh, TakesOverBothStatusesAndLogsThemAsAnError) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    ChangeAndRefresh(bench, "batteries", "b0", {{"batteryStatus", "low"}}, kBattery);
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR,
                            "CheckAndUpdateBatteryInfo: battery b0 status changed. Old OperationalStatus 2 "
                            "BatteryStatust 3, new OperationalStatus 2 BatteryStatust 4\n"));
    ChangeAndRefresh(bench, "batteries", "b0", {{"status", "failed"}}, kBattery);
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR,
                            "*Old OperationalStatus 2 BatteryStatust 4, new OperationalStatus 6 "
                            "BatteryStatust 4\n"));
    EXPECT_THAT(bench.Column(kBattery, "HealthState"), ElementsAre("30"));
    ChangeAndRefresh(bench, "batteries", "b0", Json::object(), kBattery);
    EXPECT_TRUE(NotLogged(LOG_ERR, "*"));
    EXPECT_TRUE(
        LoggedInOrder({"CheckAndUpdateBatteryInfo: ENTER. battery - b0\n", "CheckAndUpdateBatteryInfo, exit.\n"}));
}

TEST(OtherRefreshes, OnlyStampAndReadNothing) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    const auto reads = bench.Inject(Rule(Operation::GetProperty).From("Sim_SASSATAPort"));
    ChangeAndRefresh(bench, "ports", "p0", {{"name", "renamed"}, {"status", "failed"}, {"type", "SATA"}}, kPort);
    EXPECT_EQ(bench.Broker().Faults().Matched(reads), 0u);
    EXPECT_THAT(bench.Column(kPort, "Caption"), ElementsAre("Port 0 on Controller c0"));
    EXPECT_THAT(bench.Column(kPort, "HealthState"), ElementsAre("5"));
    EXPECT_EQ(TheController()->PortUpdateTime, kStart + StateUpdateInterval);
    EXPECT_TRUE(LoggedInOrder({"CheckAndUpdatePortInfo: ENTER. port - Port 0\n", "CheckAndUpdatePortInfo, exit.\n"}));

    ChangeAndRefresh(bench, "pools", "dg0", {{"primordial", true}, {"status", "failed"}}, kExtent);
    EXPECT_THAT(bench.Column(kExtent, "Caption"),
                ElementsAre("Drive 4 in enclosure 252 on controller c0 Fw: N0A4 - ONLINE"));
    EXPECT_EQ(TheController()->PoolUpdateTime, kStart + 2 * StateUpdateInterval);

    bench.Change([](Hardware &hardware) { hardware.Entry("enclosures", "252")["status"] = "failed"; });
    LogCapture::Clear();
    const Invocation call(bench);
    ProcessDeviceConfigChange(nullptr, call.Context(), TheController(), CFG_ACTION_CHASSIS);
    EXPECT_EQ(TheController()->ChassisUpdateTime, kStart + 2 * StateUpdateInterval);
    EXPECT_EQ(FindChassisByTag(TheController(), "c0_252")->OperationalStatus, 2);
    CheckAndUpdateControllerInfo(nullptr, call.Context(), TheController(), nullptr, nullptr);
    EXPECT_EQ(TheController()->ControllerUpdateTime, kStart + 2 * StateUpdateInterval);
    EXPECT_TRUE(LoggedInOrder({"CheckAndUpdateChassisInfo, enter...\n", "CheckAndUpdateChassisInfo, exit.\n",
                               "CheckAndUpdateControllerInfo, enter...\n", "CheckAndUpdateControllerInfo, exit.\n"}));
}

TEST(Refreshes, FetchTheInstanceThatTheyAreNotGiven) {
    LinkedBench bench(OneOfEach());
    bench.StartAndWait();
    RaidController_t *ctrl = TheController();
    const struct {
        int (*update)(const CMPIInstanceMI *, const CMPIContext *, RaidController_t *, void *, const CMPIInstance *);
        void *record;
        const char *className;
        Relaxed<time_t> RaidController_t::*stamp;
    } kinds[] = {
        {CheckAndUpdateDiskInfo, ctrl->DiskList->Head->Data, "Sim_DiskDrive", &RaidController_t::DiskUpdateTime},
        {CheckAndUpdateVolumeInfo, ctrl->VolumeList->Head->Data, "Sim_StorageVolume",
         &RaidController_t::VolumeUpdateTime},
        {CheckAndUpdateBatteryInfo, ctrl->BatteryList->Head->Data, "Sim_Battery", &RaidController_t::BatteryUpdateTime},
    };
    bench.Change([](Hardware &hardware) {
        hardware.Entry("disks", "d0")["status"] = "failed";
        hardware.Entry("volumes", "v0")["status"] = "degraded";
        hardware.Entry("batteries", "b0")["status"] = "failed";
    });
    for (const auto &kind : kinds) {
        SCOPED_TRACE(kind.className);
        const Invocation call(bench);
        bench.Broker().Faults().Add(Rule(Operation::GetInstance).From(kind.className).Fails().Saying("busy"));
        LogCapture::Clear();
        EXPECT_EQ(kind.update(nullptr, call.Context(), ctrl, kind.record, nullptr), 0);
        EXPECT_TRUE(LoggedTimes(1, LOG_ERR,
                                std::string("GetInstance *") + kind.className + "* failed, status: rc 1, msg busy"));
        EXPECT_TRUE(NotLogged(kAnyPriority, "*status changed*"));
        EXPECT_EQ(ctrl->*kind.stamp, kStart + StateUpdateInterval);
        bench.Broker().Faults().Clear();
        EXPECT_EQ(kind.update(nullptr, call.Context(), ctrl, kind.record, nullptr), 0);
        EXPECT_TRUE(LoggedTimes(1, kAnyPriority, "*status changed*"));
    }
}
