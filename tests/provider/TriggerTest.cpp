// Which requests ask for a refresh, when one is let through, and how it reaches a worker.
#include "tests/provider/Walks.h"

#include <algorithm>
#include <gmock/gmock.h>

using namespace support;
using cim::Operation;
using testing::ElementsAre;

TEST(Trigger, IsPulledByEveryOperationOnDevicesForEachControllerRead) {
    LinkedBench bench(OneOfEach().WithController("c1"));
    bench.Start();
    const struct {
        const char *what;
        std::function<void()> request;
        std::vector<std::string> triggered;
    } cases[] = {
        {"names", [&] { bench.Identifiers(kPort); }, {"c0, action 102", "c1, action 102"}},
        {"instances", [&] { bench.Enumerate(kVolume); }, {"c0, action 101", "c1, action 101"}},
        {"extents", [&] { bench.Enumerate(kExtent); }, {"c0, action 100", "c1, action 100"}},
        {"one", [&] { bench.Get(kBattery, "zbrControllerBatteryc0_b0"); }, {"c0, action 103"}},
        {"one that is not there", [&] { bench.Get(kVolume, "zbrStorageVolumec1_v9"); }, {"c1, action 101"}},
        {"one of an unknown controller", [&] { bench.Get(kVolume, "zbrStorageVolumec9_v0"); }, {}},
        {"a malformed key", [&] { bench.Get(kExtent, "zbrStorageExtc0"); }, {}},
        {"controllers", [&] { bench.Enumerate(kController); }, {}},
        {"software", [&] { bench.Identifiers(kSoftware); }, {}},
        {"one controller", [&] { bench.Get(kController, "zbrControllerc0"); }, {}},
    };
    for (const auto &test : cases) {
        LogCapture::Clear();
        test.request();
        ASSERT_TRUE(WorkersIdle());
        std::vector<std::string> triggered;
        for (const std::string &text : LogCapture::Texts("HandleDeviceConfigChange: ENTER. ctrl *", LOG_DEBUG))
            triggered.push_back(text.substr(38, text.size() - 39));
        EXPECT_EQ(triggered, test.triggered) << test.what;
    }
}

TEST(Trigger, IgnoresUnknownActionsAndSaysSo) {
    LinkedBench bench(OneController());
    bench.StartAndWait();
    for (const int action : {0, 99, 106}) {
        LogCapture::Clear();
        EXPECT_EQ(HandleDeviceConfigChange(nullptr, nullptr, TheController(), action), 0);
        EXPECT_TRUE(
            Logged(LOG_ERR, "HandleDeviceConfigChange: wrong action " + std::to_string(action) + ", ignored\n"));
    }
}

TEST(Trigger, LeavesOutWhatTheQueueHasNoRoomForAndTurnsSurplusJobsAway) {
    LinkedBench bench(Ports({"a"}));
    bench.StartAndWait();
    bench.Broker().LogCalls(true);
    Gate gate;
    bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice", "CIM_SASSATAPort").Passes(gate));
    const auto request = [&] { EXPECT_EQ(bench.Identifiers(kPort).size(), 1u); }; // answered while the vendor hangs
    const auto queued = [] {
        const QueueLock lock(ThisLife().__FIFO.Mutex);
        return ThisLife().__FIFO.List.Size;
    };
    for (int i = 0; i < 3; ++i) request();
    ASSERT_TRUE(gate.WaitFor(1)); // one worker is in the up-call, and two wait for it
    ASSERT_TRUE(Eventually([&] { return queued() == 0; }));
    for (std::uint32_t i = 1; i <= 25; ++i) {
        request();
        EXPECT_EQ(queued(), std::min(i, 20u));
    }
    EXPECT_EQ(HandleDeviceConfigChange(nullptr, nullptr, TheController(), CFG_ACTION_BATTERY), -6);
    EXPECT_TRUE(NotLogged(LOG_ERR, "*"));
    gate.Open();
    ASSERT_TRUE(WorkersIdle());
    EXPECT_THAT(Walks(bench), ElementsAre(kPorts));
    bench.ExpectOnlyRecordsAlive();
}
