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

template <class Record> void AddIDs(const List_t *list, char *Record::*id, std::vector<std::string> *ids) {
    for (const Record *record : Each<Record>(list)) ids->push_back(record->*id);
}

std::vector<std::string> DeviceIDsOf(const RaidController_t &ctrl) {
    std::vector<std::string> ids;
    AddIDs(ctrl.VolumeList, &StorageVolume_t::DeviceID, &ids);
    AddIDs(ctrl.DiskList, &DiskDrive_t::DeviceID, &ids);
    AddIDs(ctrl.PoolList, &StoragePool_t::InstanceID, &ids);
    AddIDs(ctrl.PortList, &SASSATAPort_t::DeviceID, &ids);
    AddIDs(ctrl.BatteryList, &Battery_t::DeviceID, &ids);
    std::sort(ids.begin(), ids.end());
    return ids;
}

} // namespace

Story::Story(Hardware first, BenchOptions options) : bench(first, std::move(options)), start(std::move(first)) {
    Tell();
    truth = Everything();
    for (const RaidController_t *ctrl : Each<RaidController_t>(&ThisLife().RaidControllerList))
        deviceIDs[ctrl->DeviceID] = DeviceIDsOf(*ctrl);
    Unload();
    EXPECT_FALSE(deviceIDs.empty()) << testing::PrintToString(LogCapture::Texts("*", LOG_ERR));
}

void Story::Tell() {
    bench.Change([this](Hardware &hardware) { hardware = start; });
    TestClock::Freeze(kStart);
    const cim::Status loaded = bench.Broker().Load(kProvider);
    EXPECT_TRUE(loaded.Ok()) << loaded.message; // the factory gives its MI whatever goes wrong
    EXPECT_TRUE(Eventually(Settled));
    ReadEverything();
    ChangeHardware();
    TestClock::Advance(StateUpdateInterval);
    ReadEverything();
}

void Story::ReadEverything() {
    for (const char *className : kServedClasses) {
        const auto names = bench.Broker().EnumerateInstanceNames(kNameSpace, className);
        bench.Broker().EnumerateInstances(kNameSpace, className);
        if (!names.value.empty()) bench.Broker().GetInstance(names.value.front());
        EXPECT_TRUE(Eventually(Settled));
    }
}

// Something of every kind that can change, in every description.
void Story::ChangeHardware() {
    bench.Change([](Hardware &hardware) {
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
    for (const RaidController_t *ctrl : Each<RaidController_t>(&ThisLife().RaidControllerList)) {
        if (ctrl->ControllerOp == nullptr) continue; // there is nowhere to walk from
        EXPECT_EQ(DeviceIDsOf(*ctrl), deviceIDs[ctrl->DeviceID]);
    }
    EXPECT_EQ(bench.Broker().Live().clones, PathsOwned());
    EXPECT_EQ(bench.Broker().Live().lent, 0u);
}

void Story::ExpectNextLifeToBeWhole() {
    Unload();
    bench.Load();
    EXPECT_TRUE(Eventually(Settled));
    const Served served = Everything();
    for (const auto &[className, rows] : truth) EXPECT_EQ(served.at(className), rows);
    Unload();
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
