// How vendors' objects become records: what each kind is read from, what it can do without, and what it cannot.
#include "tests/provider/Linked.h"

#include <gmock/gmock.h>

using namespace support;
using cim::FaultRule;
using cim::Operation;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(VolumeBuilder, FillsEveryFieldAndNeedsOnlyAnIdentifierAndAPool) {
    LinkedBench bench(OneController().WithVolume("v", {{"pool", {"dg0", "free"}},
                                                       {"name", "data"},
                                                       {"raid", "RAID6"},
                                                       {"blocks", 1000},
                                                       {"consumableBlocks", 900},
                                                       {"status", "degraded"},
                                                       {"extentStatus", 11},
                                                       {"uniqueId", "600605"},
                                                       {"nameFormat", 9},
                                                       {"nameNamespace", 2},
                                                       {"dataRedundancy", 2},
                                                       {"packageRedundancy", 3},
                                                       {"basedOnRedundancy", true},
                                                       {"deltaReservation", 100},
                                                       {"primordial", true}}));
    bench.Start();
    const RaidController_t *ctrl = TheController();
    ASSERT_EQ(ctrl->VolumeList->Size, 1u);
    const auto *volume = static_cast<StorageVolume_t *>(ctrl->VolumeList->Head->Data);
    EXPECT_STREQ(volume->FromPool, "Sim:c0:pool:dg0"); // of the first pool path
    EXPECT_EQ(volume->ExtentStripeLength, 0);
    EXPECT_EQ(volume->PackageRedundancy, 3);
    EXPECT_EQ(ctrl->VolumeUpdateTime, kStart);
    EXPECT_TRUE(Logged(LOG_DEBUG,
                       "\nVolumeOp: *Sim_StorageVolume*\n\tElementName       - data\n\tDeviceID          - v\n"
                       "\tRaidLevel         - RAID6\n\tNumberOfBlocks    - 1000\n\tConsumableBlocks  - 900\n"
                       "\tDataRedundancy    - 2\n\tPackageRedundancy - 3\n\tNameFormat        - 9\n"
                       "\tName              - 600605\n\tNameNameSpace     - 2\n"
                       "\tIsBasedOnUnderlyingRedundancy - 1\n\tDeltaReservation  - 100\n"
                       "\tPrimordial        - 1\n\tOperationalStatus - 3\n"));
}

TEST(VolumeBuilder, GoesWithoutASettingButNotWithoutAPool) {
    for (const auto effect : {FaultRule::Effect::Fail, FaultRule::Effect::NullWithOk, FaultRule::Effect::Empty}) {
        const bool failed = effect == FaultRule::Effect::Fail;
        {
            LinkedBench bench(OneOfEach());
            bench.Inject(Rule(Operation::Associators).Along("CIM_ElementSettingData").Does(effect));
            bench.Start();
            EXPECT_THAT(bench.Column(kVolume, "Caption"),
                        ElementsAre("data Logical Volume v0 on controller c0, Drives(4e252) - OPTIMAL"));
            EXPECT_EQ(LogCapture::Count(LOG_ERR, "Associators *Sim_StorageVolume* (assocClass: CIM_ElementSettingData, "
                                                 "resultClass: CIM_StorageSetting) failed, status: rc 1, msg NULL"),
                      failed ? 1u : 0u);
        }
        LinkedBench bench(OneOfEach());
        bench.Inject(Rule(Operation::AssociatorNames).Along("CIM_AllocatedFromStoragePool").Does(effect));
        bench.Start();
        EXPECT_THAT(bench.Identifiers(kVolume), IsEmpty());
        EXPECT_EQ(TheController()->VolumeUpdateTime, 0);
        EXPECT_EQ(LogCapture::Count(LOG_ERR, "AssociatorNames *Sim_StorageVolume* (assocClass: "
                                             "CIM_AllocatedFromStoragePool, resultClass: CIM_StoragePool) failed, "
                                             "status: rc 1, msg NULL"),
                  failed ? 1u : 0u);
        EXPECT_TRUE(LoggedInOrder({"\nVolumeOp: *", "No pool associated with volume *Sim_StorageVolume*\n",
                                   "Volume NULL (data) deleted\n", "BuildVolumeInfo, EXIT(-1).\n"}));
        bench.ExpectOnlyRecordsAlive();
    }
}

TEST(VolumeBuilder, WithoutAnIdentifierAsksNothing) {
    LinkedBench bench(OneController().WithVolume("v", {{"pool", "dg0"}, {"omit", {"DeviceID"}}}));
    bench.Broker().LogCalls(true);
    bench.Start();
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "NULL DeviceID for volume *Sim_StorageVolume*\n"));
    for (const cim::Call &call : bench.Broker().TakeCalls()) EXPECT_NE(call.className, "Sim_StorageVolume");
}

TEST(PoolBuilder, StopsAtTheFirstPoolWithoutInstanceIDOrPoolID) {
    for (const char *missing : {"InstanceID", "PoolID"}) {
        LinkedBench bench(OneController().WithPool("bad", {{"omit", {missing}}}).WithPool("late"));
        bench.Start();
        EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "NULL InstanceID or PoolID for pool *Sim_StoragePool*\n"));
        EXPECT_TRUE(Logged(LOG_DEBUG, "BuildPoolInfo, EXIT(-1).\n"));
        EXPECT_EQ(TheController()->PoolList->Size, 2u);
        EXPECT_EQ(FindStoragePoolByID(TheController(), "Sim:c0:pool:late"), nullptr);
        // The rest is built all the same.
        EXPECT_TRUE(Logged(LOG_DEBUG, "BuildChassisInfo, EXIT(0).\n"));
        bench.ExpectOnlyRecordsAlive();
    }
}

TEST(PoolBuilder, FillsEveryFieldAndStampsOnlyWhatItAppends) {
    LinkedBench bench(Hardware().WithController("c0").WithPool(
        "p", {{"primordial", true}, {"size", 123456789012}, {"free", 512}, {"status", "degraded"}}));
    bench.Start();
    EXPECT_TRUE(Logged(LOG_INFO, "\nPoolOp: *Sim_StoragePool*\n\tInstanceID            - Sim:c0:pool:p\n"
                                 "\tPoolId                - p\n\tPrimordial            - 1\n"
                                 "\tTotalManagedSpace     - 123456789012\n\tRemainingManagedSpace - 512\n"
                                 "\tOperationalStatus     - 3\n"));
    EXPECT_EQ(TheController()->PoolUpdateTime, kStart);
    EXPECT_EQ(TheController()->ChassisUpdateTime, 0);
    EXPECT_EQ(TheController()->DiskUpdateTime, 0);
}

TEST(PoolAndChassisBuilders, LeaveAFailedWalkAtOneError) {
    const struct {
        const char *association, *result;
    } kinds[] = {{"CIM_HostedStoragePool", "CIM_StoragePool"}, {"CIM_SystemPackaging", "CIM_Chassis"}};
    for (const auto &kind : kinds) {
        for (const auto effect : {FaultRule::Effect::Fail, FaultRule::Effect::NullWithOk}) {
            LinkedBench bench(Hardware().WithController("c0").WithPool("p").WithEnclosure("1"));
            bench.Inject(Rule(Operation::Associators).Along(kind.association).Does(effect));
            bench.Start();
            for (const std::string &error : LogCapture::Texts("*", LOG_ERR))
                EXPECT_TRUE(Matches(error, std::string("Associators *Sim_ComputerSystem* (assocClass: ") +
                                               kind.association + ", resultClass: " + kind.result +
                                               ") failed, status: rc 1, msg NULL"));
            EXPECT_EQ(LogCapture::Texts("*", LOG_ERR).size(), effect == FaultRule::Effect::Fail ? 1u : 0u);
            const bool pools = std::string(kind.result) == "CIM_StoragePool";
            EXPECT_EQ(TheController()->PoolList->Size, pools ? 0u : 1u);
            EXPECT_EQ(TheController()->ChassisList->Size, pools ? 1u : 0u);
        }
    }
}

TEST(ChassisBuilder, DerivesTheShortTagFromTheTag) {
    const struct {
        const char *tag, *expected;
    } cases[] = {
        {"C0__E8", "E8"},  {"C0_E8_1", "E8_1"}, {"C0E8", "E8"},    {"C0", "NULL"},
        {"C0___", "NULL"}, {"X0_E8", "NULL"},   {"c0_E8", "NULL"}, {"C", "NULL"},
    };
    Hardware hardware = Hardware().WithController("C0");
    int id = 0;
    for (const auto &test : cases) hardware.WithEnclosure(std::to_string(id++), {{"tag", test.tag}});
    LinkedBench bench(hardware);
    bench.Start();
    for (const auto &test : cases) {
        const Chassis_t *chassis = FindChassisByTag(TheController(), test.tag);
        ASSERT_NE(chassis, nullptr) << test.tag;
        EXPECT_STREQ(Shown(chassis->InternalTag), test.expected) << test.tag;
    }
    EXPECT_EQ(TheController()->ChassisUpdateTime, kStart);
    EXPECT_TRUE(Logged(LOG_DEBUG, "\nChassisOp: *\n\tTag               - C0\n\tInternalTag       - NULL\n"
                                  "\tOperationalStatus - 2\n"));
}

TEST(ChassisBuilder, StopsAtTheFirstChassisWithoutATag) {
    LinkedBench bench(Hardware()
                          .WithController("c0")
                          .WithEnclosure("1")
                          .WithEnclosure("2", {{"omit", {"Tag"}}})
                          .WithEnclosure("3")
                          .WithBattery("b"));
    bench.Start();
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "NULL tag for chassis *Sim_Chassis*\n"));
    EXPECT_TRUE(Logged(LOG_DEBUG, "BuildChassisInfo, EXIT(-1).\n"));
    EXPECT_EQ(TheController()->ChassisList->Size, 1u);
    EXPECT_THAT(bench.Identifiers(kBattery), ElementsAre("zbrControllerBatteryc0_b"));
}

TEST(PortAndBatteryBuilders, NeedTheirIdentifierOnly) {
    LinkedBench bench(Hardware()
                          .WithController("c0")
                          .WithPort("p0", {{"omit", {"ElementName", "PortType", "UsageRestriction"}}})
                          .WithPort("p1", {{"omit", {"DeviceID"}}})
                          .WithBattery("b0", {{"omit", {"BatteryStatus", "OperationalStatus"}}})
                          .WithBattery("b1", {{"omit", {"DeviceID"}}}));
    bench.Start();
    EXPECT_THAT(bench.Identifiers(kPort), ElementsAre("zbrPortc0_p0"));
    EXPECT_THAT(bench.Identifiers(kBattery), ElementsAre("zbrControllerBatteryc0_b0"));
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "NULL DeviceID for port *Sim_SASSATAPort*\n"));
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "NULL DeviceID for battery *Sim_Battery*\n"));
    EXPECT_TRUE(Logged(LOG_INFO, "\nPortOp: *\n\tDeviceID          - p0\n\tPortName:         - NULL\n"
                                 "\tPortType          - 0\n\tOperationalStatus - 2\n"));
    EXPECT_TRUE(Logged(LOG_INFO, "\nBatteryOp: *\n\tDeviceID          - b0\n\tBatteryStatus     - 0\n"
                                 "\tOperationalStatus - 0\n"));
    EXPECT_EQ(bench.Column(kPort, "UsageRestriction"), std::vector<std::string>{"0"});
    EXPECT_EQ(TheController()->PortUpdateTime, kStart);
    EXPECT_EQ(TheController()->BatteryUpdateTime, kStart);
}

TEST(Builders, GiveBackARecordThatCannotBeListed) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    RaidController_t *ctrl = TheController();
    const struct {
        int action;
        const char *builder, *error;
    } kinds[] = {
        {CFG_ACTION_DISK, "BuildDiskInfo", "BuildDiskInfo: failed to add disk * to list *, rc -1.\n"},
        {CFG_ACTION_VOLUME, "BuildVolumeInfo", "BuildVolumeInfo: failed to add volume to list, rc -1.\n"},
        {CFG_ACTION_PORT, "BuildPortInfo", "BuildPortInfo: failed to add port to list, rc -1.\n"},
        {CFG_ACTION_BATTERY, "BuildBatteryInfo", "BuildBatteryInfo: failed to add battery to list, rc -1.\n"},
        {CFG_ACTION_POOL, "BuildSinglePoolInfo", "BuildSinglePoolInfo: failed to add pool to list, rc -1.\n"},
        {CFG_ACTION_CHASSIS, "BuildSingleChassisInfo",
         "BuildSingleChassisInfo: failed to add chassis to list, rc -1.\n"},
    };
    bench.Change([](Hardware &hardware) { hardware.WithDisk("d1", {{"pool", "dg0"}, {"firmware", "1"}}); });
    for (const auto &kind : kinds) {
        SCOPED_TRACE(kind.builder);
        const ConfigAction_t &row = *FindAction(kind.action);
        {
            const Invocation call(bench);
            CMPIInstance *device = nullptr;
            const CMPIEnumeration *devices =
                Associators(call.Context(), ctrl->ControllerOp, row.AssociationClassName, row.AssociatedClassName);
            while (Next(devices, &device) && kind.action == CFG_ACTION_DISK &&
                   std::string(TextOf(device, "DeviceID")) != "d1")
                continue;
            ctrl->*row.UpdateTime = 7;
            List_t *list = ctrl->*row.List;
            ctrl->*row.List = nullptr;
            LogCapture::Clear();
            EXPECT_EQ(row.BuildFunc(nullptr, call.Context(), ctrl, device, PathOf(device)), -1);
            ctrl->*row.List = list;
        }
        EXPECT_EQ(LogCapture::Texts("*", LOG_ERR).size(), 1u);
        EXPECT_TRUE(Logged(LOG_ERR, kind.error));
        EXPECT_TRUE(Logged(LOG_DEBUG, std::string(kind.builder) + ", EXIT(-1).\n"));
        EXPECT_EQ(ctrl->*row.UpdateTime, 7);
        bench.ExpectOnlyRecordsAlive();
    }
    // The disk had joined its pool before it was refused.
    EXPECT_EQ(Members("dg0"), " d0");
}
