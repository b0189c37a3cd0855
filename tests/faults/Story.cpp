#include "tests/faults/Story.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace support {
namespace {

// No worker is left, or every job is done.
bool Settled() {
    {
        const ThreadsLock lock(ThisLife().QuarnelThreadMutex);
        if (IsFifoEmpty(&ThisLife().__FIFO) == 1 && ThisLife().ActiveThreads == 0) return true;
    }
    return ThisLife().RaidControllerList.Size == 0;
}

template <class Record> std::vector<std::string> IDs(const List_t *list, char *Record::*id) {
    std::vector<std::string> ids;
    for (const Record *record : Each<Record>(list)) ids.push_back(record->*id);
    std::sort(ids.begin(), ids.end());
    return ids;
}

// Of every controller that has a place to walk from, by controller and kind.
std::map<std::string, std::vector<std::string>> DeviceIDs() {
    std::map<std::string, std::vector<std::string>> ids;
    for (RaidController_t *ctrl : Each<RaidController_t>(&ThisLife().RaidControllerList)) {
        if (ctrl->ControllerOp == nullptr) continue;
        const ControllerLock lock(ctrl->CtrlMutex);
        const std::string id = ctrl->DeviceID;
        ids[id + " volumes"] = IDs(ctrl->VolumeList, &StorageVolume_t::DeviceID);
        ids[id + " disks"] = IDs(ctrl->DiskList, &DiskDrive_t::DeviceID);
        ids[id + " pools"] = IDs(ctrl->PoolList, &StoragePool_t::InstanceID);
        ids[id + " ports"] = IDs(ctrl->PortList, &SASSATAPort_t::DeviceID);
        ids[id + " batteries"] = IDs(ctrl->BatteryList, &Battery_t::DeviceID);
    }
    return ids;
}

// Every job is done but those that wait for up-calls which do not return.
bool OnlyLostOnesRun() {
    const ThreadsLock lock(ThisLife().QuarnelThreadMutex);
    return IsFifoEmpty(&ThisLife().__FIFO) == 1 && ThisLife().ActiveThreads == ThisLife().LostWorkers;
}

} // namespace

Story::Story(Hardware first, BenchOptions options) : bench(first, std::move(options)), start(std::move(first)) {
    Tell();
    truth = Everything();
    deviceIDs = DeviceIDs();
    Unload();
    EXPECT_FALSE(deviceIDs.empty()) << testing::PrintToString(LogCapture::Texts("*", LOG_ERR));
}

bool Story::Lost() { return bench.Broker().Faults().LostNow() > 0; }

void Story::Await() {
    EXPECT_TRUE(Eventually([this] { return Settled() || Lost(); }));
}

void Story::Tell() {
    bench.Change([this](Hardware &hardware) { hardware = start; });
    TestClock::Freeze(kStart);
    started = false;
    loading = std::async(std::launch::async, [this] {
        const cim::Status loaded = bench.Broker().Load(kProvider);
        EXPECT_TRUE(loaded.Ok()) << loaded.message; // the factory gives its MI whatever goes wrong
        started = true;
    });
    EXPECT_TRUE(Eventually([this] { return started || Lost(); }));
    if (started) Await();
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
        Await();
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
            Json &volume = controller["volumes"].back();
            volume["name"] = "renamed";
            volume["status"] = "degraded";
            controller["batteries"].back()["batteryStatus"] = "low";
            controller["ports"].push_back({{"id", "new"}});
        }
    });
}

void Story::ExpectRefreshesToRecover() {
    bench.Broker().CallFactoryAgain(kProvider); // a start that failed is tried again
    EXPECT_TRUE(Eventually(Settled));
    TestClock::Advance(StateUpdateInterval);
    ReadEverything();
    bench.LetEveryWorkerWork();
    for (const auto &[which, ids] : DeviceIDs()) EXPECT_EQ(ids, deviceIDs[which]) << which;
    EXPECT_EQ(bench.Broker().Live().clones, PathsOwned());
    EXPECT_EQ(bench.Broker().Live().lent, 0u);
}

void Story::ExpectRefreshesToFollow(const std::string &but) {
    EXPECT_TRUE(Eventually(OnlyLostOnesRun));
    ChangeHardware();
    TestClock::Advance(StateUpdateInterval);
    for (const char *className : kServedClasses) bench.Enumerate(className);
    EXPECT_TRUE(Eventually(OnlyLostOnesRun));
    for (const auto &[which, ids] : DeviceIDs()) {
        if (which == but) continue;
        EXPECT_EQ(ids, deviceIDs[which]) << which << ", while the up-call for " << but << " is lost";
    }
}

void Story::ExpectNextLifeToBeWhole() {
    Unload();
    bench.Load();
    EXPECT_TRUE(Eventually(Settled));
    ExpectWhole();
    Unload();
}

void Story::ExpectWhole() {
    const Served served = Everything();
    for (const auto &[className, rows] : truth) EXPECT_EQ(served.at(className), rows);
}

void Story::Unload() {
    TestClock::Advance(3600);
    EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
    EXPECT_EQ(ThisLife().RaidControllerList.Size, 0u);
    EXPECT_EQ(bench.Broker().Live().clones, 0u);
}

Served Story::Everything() {
    Served served;
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
    server.WithPort("p0").WithBattery("b0");
    return server;
}

Hardware Sample(const std::string &name) {
    Hardware sample;
    std::ifstream(BuildFolder() + "/share/quarnel/hardware/" + name) >> sample.document;
    return sample;
}

std::uint64_t StrideFor(std::uint64_t points) {
#ifdef QUARNEL_SANITIZED
    const std::uint64_t selection = points > 400 ? 5 : 16; // each story takes many times as long
#else
    const std::uint64_t selection = points > 400 ? 12 : 40; // the story of a large server takes its time
#endif
    const char *wanted = std::getenv("QUARNEL_SWEEP");
    if (wanted != nullptr && std::string(wanted) == "full") return 1;
    return points / selection + 1;
}

} // namespace support
