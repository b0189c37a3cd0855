// The cache follows the hardware: what a refresh asks and when, which devices it keeps, deletes and adds, and in which
// order.
#include "tests/provider/Walks.h"

#include <gmock/gmock.h>

using namespace support;
using cim::FaultRule;
using cim::Operation;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Words = std::vector<std::string>;

// Ports of the given IDs and, behind a slash, classes: "a", "a/Sim_AcmeSASSATAPort". All have the one name.
Hardware NamedPorts(const char *name, const Words &ports) {
    Hardware hardware = Hardware().WithController("c0");
    for (const std::string &port : ports) {
        const auto slash = port.find('/');
        Json more = {{"duplicate", true}, {"name", name}};
        if (slash != std::string::npos) more["class"] = port.substr(slash + 1);
        hardware.WithPort(port.substr(0, slash), more);
    }
    return hardware;
}

// The walks that a refresh of the class makes.
Words WalksOf(LinkedBench &bench, const char *className) {
    bench.Broker().LogCalls(true);
    Walks(bench);
    bench.Refresh(className);
    return Walks(bench);
}

} // namespace

TEST(Refresh, KeepsWhatIsStillThereDropsWhatHasGoneAndAppendsWhatIsNew) {
    const struct {
        const char *name;
        Words before, after, expected; // "+": built anew
        Operation fails = Operation::PrepareAttachThread;
    } cases[] = {
        {"nothing", {}, {}, {}},
        {"all new", {}, {"a", "b", "c"}, {"+a", "+b", "+c"}},
        {"all gone", {"a", "b", "c"}, {}, {}},
        {"all there", {"a", "b"}, {"a", "b"}, {"a", "b"}},
        {"another order", {"a", "b", "c"}, {"c", "a", "b"}, {"a", "b", "c"}},
        {"one of each", {"a", "b", "c"}, {"e", "b", "c", "d"}, {"b", "c", "+e", "+d"}},
        {"last one gone", {"a", "b", "c"}, {"d", "a", "b"}, {"a", "b", "+d"}},
        {"middle one gone", {"a", "b", "c"}, {"a", "c", "d"}, {"a", "c", "+d"}},
        {"replaced", {"a"}, {"b"}, {"+b"}},
        {"other class", {"a"}, {"a/Sim_AcmeSASSATAPort"}, {"+a"}},
        {"other letters", {"a"}, {"A"}, {"+A"}},
        {"doubled fresh", {"a", "b"}, {"a", "a", "b"}, {"a", "b", "+a"}},
        {"doubled cached", {"a", "b", "a"}, {"b", "a"}, {"a", "b"}},
        {"without keys", {"a", "b"}, {"a", "b"}, {"+a", "+b"}, Operation::GetKey},
        {"without class names", {"a", "b"}, {"a", "b"}, {"+a", "+b"}, Operation::GetClassName},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        LinkedBench bench(NamedPorts("old", test.before));
        bench.StartInOrder();
        bench.Change([&](Hardware &hardware) { hardware = NamedPorts("new", test.after); });
        bench.Inject(Rule(test.fails).From("Sim_SASSATAPort").Fails());
        TestClock::Advance(StateUpdateInterval);
        bench.Refresh(kPort);
        Words found;
        for (const cim::Instance &port : bench.Enumerate(kPort)) // a port that is kept keeps its name, too
            found.push_back((Shown(port, "Caption") == "new on Controller c0" ? "+" : "") +
                            Shown(port, "DeviceID").substr(std::string("zbrPortc0_").size()));
        EXPECT_EQ(found, test.expected);
        bench.ExpectOnlyRecordsAlive();
    }
}

TEST(Refresh, LeavesTheKindAloneWhenTheEnumerationHasNoArray) {
    LinkedBench bench(Ports({"a"}));
    bench.StartAndWait();
    bench.Inject(Rule(Operation::ToArray).Does(FaultRule::Effect::NullWithOk));
    bench.Change([&](Hardware &hardware) { hardware = Ports({"b"}); });
    bench.Refresh(kPort);
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "CrossoutDuplicatedEntries, failed to get array from enum\n"));
    EXPECT_THAT(bench.Identifiers(kPort), ElementsAre("zbrPortc0_a"));
}

TEST(Refresh, IsDueTwentySecondsAfterTheKindWasLastBuiltOrUpdatedPoolsBeforeDisksBeforeVolumes) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    const struct {
        time_t passed;
        const char *className;
        Words walks;
    } cases[] = {
        {19, kVolume, {}},
        {19, kPort, {}},
        {19, kBattery, {}},
        {19, kExtent, {}},
        {20, kPort, {kPorts}},
        {20, kPort, {}},
        {20, kBattery, {kBatteries}},
        {20, kExtent, {kPools, kDisks}},
        {39, kPort, {}},
        {39, kBattery, {}},
        {39, kVolume, {kVolumes}},
        {40, kExtent, {kPools, kDisks}},
        {59, kVolume, {kVolumes}},
        {60, kVolume, {}},
        {79, kVolume, {kPools, kDisks, kVolumes}},
    };
    for (const auto &test : cases) {
        TestClock::Freeze(kStart + test.passed);
        EXPECT_EQ(WalksOf(bench, test.className), test.walks) << test.className << " after " << test.passed;
    }
}

TEST(Refresh, ThatOnlyDeletesOrFailsLeavesTheKindDueAtOnce) {
    LinkedBench bench(Ports({"a", "b"}));
    bench.StartAndWait();
    for (const auto effect : {FaultRule::Effect::Fail, FaultRule::Effect::NullWithOk, FaultRule::Effect::Empty}) {
        const auto fault = bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice").Does(effect));
        EXPECT_EQ(WalksOf(bench, kPort), Words{kPorts});
        bench.Broker().Faults().Remove(fault);
        EXPECT_EQ(TheController()->PortList->Size, effect == FaultRule::Effect::Empty ? 0u : 2u);
    }
    EXPECT_EQ(WalksOf(bench, kPort), Words{kPorts});
    EXPECT_EQ(WalksOf(bench, kPort), Words{});
}

TEST(Refresh, DoesNothingInTheFirstThreeSecondsAfterTheStart) {
    LinkedBench bench(Ports({"a"})); // without batteries their kind was never stamped, so it is due all the time
    bench.Start();
    for (const time_t passed : {0, 2}) {
        TestClock::Freeze(kStart + passed);
        EXPECT_THAT(WalksOf(bench, kBattery), IsEmpty()) << passed;
    }
    TestClock::Freeze(kStart + 3);
    EXPECT_EQ(WalksOf(bench, kBattery), Words{kBatteries});
}

TEST(Refresh, LetsAnotherJobHaveAKindAsSoonAsItIsThroughWithIt) {
    LinkedBench bench(OneOfEach());
    bench.StartAndWait();
    TestClock::BringDeadlinesForward(-std::chrono::hours(1)); // no wait ends by itself
    Gate pools, disks;
    bench.Inject(Rule(Operation::Associators).Along("CIM_HostedStoragePool").Passes(pools));
    bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice", "CIM_DiskDrive").Passes(disks));
    bench.Enumerate(kExtent);
    ASSERT_TRUE(pools.WaitFor(1));
    const std::string action = std::to_string(CFG_ACTION_POOL);
    EXPECT_EQ(HandleDeviceConfigChange(nullptr, nullptr, TheController(), CFG_ACTION_POOL), 0);
    ASSERT_TRUE(LogCapture::WaitFor("ProcessDeviceConfigChange, ENTER(" + action + ")...\n"));
    pools.Open();
    ASSERT_TRUE(disks.WaitFor(1));
    EXPECT_TRUE(LogCapture::WaitFor("Action " + action + ", last *, skip\n"));
    disks.Open();
    ASSERT_TRUE(WorkersIdle());
}

TEST(Refresh, DeletesOnlyWhatTheControllerLists) {
    LinkedBench bench(OneOfEach().WithController("c1"));
    bench.Start();
    for (const ConfigAction_t &row : actionTable)
        EXPECT_EQ(row.DeleteFunc(TheController(1), (TheController()->*row.List)->Head->Data), RESULT_NOT_FOUND);
    bench.ExpectOnlyRecordsAlive();
}

// What no request asks for.
TEST(Refresh, OfChassisOrControllersStampsThemAndOneOfAnUnknownActionDoesNothing) {
    LinkedBench bench(OneOfEach());
    bench.StartAndWait();
    RaidController_t *ctrl = TheController();
    EXPECT_EQ(ctrl->ChassisUpdateTime, kStart);
    bench.Broker().LogCalls(true);
    const Invocation call(bench);
    for (const int unknown : {106, 0, 99}) {
        EXPECT_EQ(ProcessDeviceConfigChange(nullptr, call.Context(), ctrl, unknown), 0);
        EXPECT_THAT(Walks(bench), IsEmpty());
    }
    EXPECT_EQ(ProcessDeviceConfigChange(nullptr, call.Context(), ctrl, CFG_ACTION_CHASSIS), 0);
    EXPECT_EQ(Walks(bench), Words{kAllChassis});
    EXPECT_EQ(ctrl->ChassisUpdateTime, kStart + StateUpdateInterval);
    EXPECT_EQ(ctrl->ChassisList->Size, 1u);
    EXPECT_EQ(CheckAndUpdateControllerInfo(nullptr, call.Context(), ctrl, nullptr, nullptr), 0);
    EXPECT_EQ(ctrl->ControllerUpdateTime, kStart + StateUpdateInterval);
}

TEST(Refresh, FetchesTheInstanceThatItIsNotGiven) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    bench.Change([](Hardware &hardware) { hardware.Entry("batteries", "b0")["status"] = "failed"; });
    const auto refreshed = [&] {
        const Invocation call(bench);
        RaidController_t *ctrl = TheController();
        EXPECT_EQ(CheckAndUpdateBatteryInfo(nullptr, call.Context(), ctrl, ctrl->BatteryList->Head->Data, nullptr), 0);
        return bench.Column(kBattery, "HealthState");
    };
    const auto fault = bench.Broker().Faults().Add(Rule(Operation::GetInstance).Fails());
    EXPECT_THAT(refreshed(), ElementsAre("5"));
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "GetInstance root/sim:Sim_Battery* failed, status: rc 1, msg NULL"));
    bench.Broker().Faults().Remove(fault);
    EXPECT_THAT(refreshed(), ElementsAre("30"));
    const Invocation call(bench); // without a path there is nothing to ask
    EXPECT_EQ(GetInstance(call.Context(), nullptr), nullptr);
    EXPECT_EQ(AssociatorNames(call.Context(), nullptr, "CIM_Container", "CIM_Chassis"), nullptr);
    EXPECT_TRUE(LoggedTimes(2, LOG_ERR, "* NULL *failed, status: rc 4, msg NULL"));
}

// Unlike a builder it knows no second choice: the first pool that the disk names is its pool.
TEST(Refresh, MovesADiskBetweenPoolsKnownAndUnknown) {
    LinkedBench bench(OneOfEach().WithController("c1").WithPool("far"));
    bench.Start();
    const struct {
        Json pool;
        const char *members; // of dg0 and of free
    } moves[] = {
        {{"free", "dg0"}, "| d0"}, {"c1/far", "|"}, {"dg0", " d0|"}, {nullptr, " d0|"}, {{"c1/far", "dg0"}, "|"}};
    for (const auto &move : moves) {
        bench.Change([&](Hardware &hardware) { hardware.Entry("disks", "d0")["pool"] = move.pool; });
        bench.RefreshedColumn(kExtent, "Caption");
        EXPECT_EQ(Members("dg0") + "|" + Members("free"), move.members) << move.pool;
        EXPECT_EQ(Members("far", 1), "");
    }
    bench.ExpectOnlyRecordsAlive();
}

TEST(Refresh, EntersADiskIntoItsPoolOnceThePoolIsThere) {
    LinkedBench bench(OneController().WithDisk("d0", {{"pool", "dg0"}}));
    // The pools cannot be listed at first: the disk names one that the model does not have.
    bench.Inject(Rule(Operation::Associators).Along("CIM_HostedStoragePool").Times(1).Fails());
    bench.Start();
    EXPECT_EQ(Members("dg0"), "no pool");
    bench.RefreshedColumn(kExtent, "Caption");
    EXPECT_EQ(Members("dg0"), " d0");
}
