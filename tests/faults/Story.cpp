#include "tests/faults/Story.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace support {
namespace {

// Every job is done but those whose up-calls are known to be lost, or there is nothing to do anything for.
bool Settled() {
    if (ThisLife().RaidControllerList.Size == 0) return true;
    const ThreadsLock lock(ThisLife().QuarnelThreadMutex);
    return IsFifoEmpty(&ThisLife().__FIFO) == 1 && ThisLife().ActiveThreads == ThisLife().LostWorkers;
}

template <class Record> std::vector<std::string> IDs(const List_t *list, char *Record::*id) {
    std::vector<std::string> ids;
    for (const Record *record : Each<Record>(list)) ids.push_back(record->*id);
    std::sort(ids.begin(), ids.end());
    return ids;
}

// Of every controller that has a place to walk from, by controller and kind.
Rows DeviceIDs() {
    Rows ids;
    for (RaidController_t *ctrl : Each<RaidController_t>(&ThisLife().RaidControllerList)) {
        if (ctrl->ControllerOp == nullptr) continue;
        const ControllerLock lock(ctrl->CtrlMutex);
        const std::string id = ctrl->DeviceID;
        ids[id + ", volumes"] = IDs(ctrl->VolumeList, &StorageVolume_t::DeviceID);
        ids[id + ", disks"] = IDs(ctrl->DiskList, &DiskDrive_t::DeviceID);
        ids[id + ", pools"] = IDs(ctrl->PoolList, &StoragePool_t::InstanceID);
        ids[id + ", ports"] = IDs(ctrl->PortList, &SASSATAPort_t::DeviceID);
        ids[id + ", batteries"] = IDs(ctrl->BatteryList, &Battery_t::DeviceID);
    }
    return ids;
}

std::uint64_t StrideFor(std::uint64_t points) {
    const char *wanted = std::getenv("QUARNEL_SWEEP");
    if (wanted != nullptr && std::string(wanted) == "full") return 1;
#ifdef QUARNEL_SANITIZED
    return points / (points > 400 ? 5 : 16) + 1; // each story takes many times as long
#else
    return points / (points > 400 ? 10 : 40) + 1; // the story of a large server takes its time
#endif
}

} // namespace

Story::Story(Hardware first) : bench(first), start(std::move(first)) {
    Tell();
    truth = Everything();
    deviceIDs = DeviceIDs();
    Unload();
    EXPECT_FALSE(deviceIDs.empty()) << testing::PrintToString(LogCapture::Texts("*", LOG_ERR));
}

void Story::Tell() {
    bench.Change([this](Hardware &hardware) { hardware = start; });
    TestClock::Freeze(kStart);
    started = false;
    loading = std::async(std::launch::async, [this] {
        bench.Load(); // the factory gives its MI whatever goes wrong
        started = true;
    });
    EXPECT_TRUE(Eventually([this] { return (started && Settled()) || Lost(); }));
    if (Lost()) return;
    ReadEverything();
    if (Lost()) return;
    ChangeHardware();
    TestClock::Advance(StateUpdateInterval);
    ReadEverything();
}

void Story::ReadEverything() {
    for (const char *className : kServedClasses) {
        const auto names = bench.Broker().EnumerateInstanceNames(kNameSpace, className);
        bench.Broker().EnumerateInstances(kNameSpace, className);
        if (!names.value.empty()) bench.Broker().GetInstance(names.value.front());
        EXPECT_TRUE(Eventually([this] { return Settled() || Lost(); }));
    }
}

void Story::AnswerLost() {
    bench.Broker().Faults().AnswerLost();
    loading.wait();
    EXPECT_TRUE(Eventually(Settled));
}

// Something of every kind that can change, in every description.
void Story::ChangeHardware() {
    bench.Change([this](Hardware &hardware) {
        hardware = start;
        for (Json &controller : hardware.document["controllers"]) {
            for (const char *list : {"disks", "volumes", "ports", "batteries"}) {
                Json &entries = controller[list];
                if (entries.size() > 1) entries.erase(entries.begin());
            }
            controller["disks"].push_back(
                {{"id", "new"}, {"size", "1TB"}, {"pool", controller["pools"].front()["id"]}});
            controller["volumes"].back().update({{"name", "renamed"}, {"status", "degraded"}});
            controller["batteries"].back()["batteryStatus"] = "low";
            controller["ports"].push_back({{"id", "new"}});
        }
    });
}

void Story::ExpectRefreshesToFollow(const std::string &but) {
    bench.Broker().CallFactoryAgain(kProvider); // a start that failed is tried again
    EXPECT_TRUE(Eventually(Settled));
    ChangeHardware();
    TestClock::Advance(StateUpdateInterval);
    ReadEverything();
    EXPECT_TRUE(Eventually(Settled));
    for (const auto &[which, ids] : DeviceIDs()) {
        if (which == but) continue;
        EXPECT_EQ(ids, deviceIDs[which]) << which << (but.empty() ? "" : ", while one is lost for " + but);
    }
    if (!but.empty()) return;
    EXPECT_TRUE(Eventually([this] { return bench.Broker().Live().attachedThreads == kWorkers; }));
    bench.LetEveryWorkerWork();
    bench.ExpectOnlyRecordsAlive();
}

void Story::ExpectNextLifeToBeWhole() {
    Unload();
    bench.Load();
    EXPECT_TRUE(Eventually(Settled));
    ExpectWhole();
    Unload();
}

void Story::Unload() {
    TestClock::Advance(3600);
    EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
    EXPECT_EQ(ThisLife().RaidControllerList.Size, 0u);
    EXPECT_EQ(bench.Broker().Live().clones, 0u);
}

Rows Story::Everything() {
    Rows served;
    for (const char *className : kServedClasses) {
        std::vector<std::string> &rows = served[className];
        for (const cim::Instance &instance : bench.Enumerate(className)) {
            std::string row = instance.path->ToString();
            for (const cim::NamedValue &property : instance.properties)
                if (!property.value.IsNull()) row += " " + property.name.Text() + "=" + Shown(&property.value);
            rows.push_back(WithMembersSorted(row));
        }
        std::sort(rows.begin(), rows.end());
    }
    EXPECT_TRUE(Eventually(Settled));
    return served;
}

Hardware SmallServer() {
    Hardware server = OneOfEach();
    server.WithDisk("d1").WithDisk("d2").WithVolume("v1", {{"pool", "dg0"}}).WithPort("p1");
    server.WithController("c1")
        .WithEnclosure("1")
        .WithPool("dg1")
        .WithDisk("d0", {{"pool", "dg1"}})
        .WithVolume("v0", {{"pool", "dg1"}});
    return server.WithPort("p0").WithBattery("b0");
}

Trouble Calls(cim::FaultRule rule, const std::string &provider) {
    const auto armed = std::make_shared<cim::Faults::Id>();
    rule.provider = provider;
    rule.count = 1;
    return {[rule, armed](Story &story, std::uint64_t point) {
                cim::FaultRule once = rule;
                once.skip = point;
                story.bench.Broker().Faults().Clear();
                *armed = story.bench.Broker().Faults().Add(once);
            },
            [armed](Story &story) { return story.bench.Broker().Faults().Matched(*armed); }};
}

Trouble Upcalls(cim::FaultRule::Effect effect, std::chrono::milliseconds delay) {
    using cim::Operation;
    Rule rule{Operation::EnumerateInstances, Operation::GetInstance, Operation::Associators,
              Operation::AssociatorNames};
    return Calls(rule.Does(effect).Saying("out of order").Takes(delay));
}

void Sweep(Story &story, const std::string &what, const Trouble &trouble, const std::function<void()> &then) {
    constexpr std::uint64_t kNever = UINT64_MAX;
    trouble.arm(story, kNever);
    story.Tell();
    const std::uint64_t points = trouble.passed(story);
    story.ExpectNextLifeToBeWhole();
    ASSERT_GT(points, 0u) << "nothing can go wrong with " << what;
    std::uint64_t reached = 0;
    for (std::uint64_t point = 0; point < points; point += StrideFor(points)) {
        SCOPED_TRACE(what + ", point " + std::to_string(point) + " of " + std::to_string(points));
        LogCapture::Clear();
        trouble.arm(story, point);
        story.Tell();
        if (trouble.passed(story) > point) { // workers race: not every story is as long
            reached += 1;
            then();
        }
        trouble.arm(story, kNever);
        story.ExpectNextLifeToBeWhole();
        if (testing::Test::HasFailure()) return; // one point with its trace tells more than a thousand
    }
    std::printf("%s: %d of %d points\n", what.c_str(), static_cast<int>(reached), static_cast<int>(points));
    EXPECT_GT(reached, 0u);
}

} // namespace support
