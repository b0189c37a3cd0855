// Which requests ask for a refresh, when one is let through, and how it reaches a worker.
#include "tests/provider/Walks.h"

#include <gmock/gmock.h>

using namespace support;
using cim::Operation;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Trigger, LetsAKindThroughEveryTwentySecondsAndEachKindByItself) {
    const struct {
        const char *className;
        std::string walk;
        std::vector<std::string> all; // with what it depends on
        int action;
    } kinds[] = {
        {kVolume, kVolumes, {kPools, kDisks, kVolumes}, 101},
        {kExtent, kDisks, {kPools, kDisks}, 100},
        {kPort, kPorts, {kPorts}, 102},
        {kBattery, kBatteries, {kBatteries}, 103},
    };
    for (const auto &kind : kinds) {
        SCOPED_TRACE(kind.className);
        LinkedBench bench(OneOfEach());
        bench.Start();
        bench.Broker().LogCalls(true);
        const std::string line = "HandleDeviceConfigChange: ctrl c0, action " + std::to_string(kind.action) +
                                 ", last " + std::to_string(kStart) + ", now " + std::to_string(kStart + 19) +
                                 ", skip\n";
        TestClock::Freeze(kStart + 19);
        bench.Refresh(kind.className);
        EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, line));
        EXPECT_THAT(Walks(bench), IsEmpty());

        TestClock::Freeze(kStart + 20);
        bench.Refresh(kind.className);
        EXPECT_EQ(Walks(bench), kind.all);
        bench.Refresh(kind.className);
        EXPECT_THAT(Walks(bench), IsEmpty());

        // The other kinds wait for their own requests.
        for (const auto &other : kinds) bench.Refresh(other.className);
        for (const std::string &walk : Walks(bench)) EXPECT_NE(walk, kind.walk);
    }
}

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

TEST(Trigger, AnswersWithTheCacheAsItWasBeforeItsOwnRefresh) {
    LinkedBench bench(Ports({"a"}));
    bench.StartAndWait();
    bench.Change([](Hardware &hardware) { hardware = Ports({"b"}); });
    EXPECT_THAT(bench.Identifiers(kPort), ElementsAre("zbrPortc0_a"));
    ASSERT_TRUE(WorkersIdle());
    EXPECT_THAT(bench.Identifiers(kPort), ElementsAre("zbrPortc0_b"));
}

TEST(Trigger, IgnoresUnknownActionsAndSaysSo) {
    LinkedBench bench(OneController());
    bench.StartAndWait();
    for (const int action : {0, 99, 106}) {
        LogCapture::Clear();
        EXPECT_EQ(HandleDeviceConfigChange(nullptr, nullptr, TheController(), action), 0);
        EXPECT_TRUE(
            Logged(LOG_ERR, "HandleDeviceConfigChange: wrong action " + std::to_string(action) + ", ignored\n"));
        EXPECT_TRUE(NotLogged(LOG_DEBUG, "HandleDeviceConfigChange, exit...\n"));
        EXPECT_EQ(IsFifoEmpty(&ThisLife().__FIFO), 1);
    }
}

TEST(Trigger, SaysUntilTheFirstBuildIsDoneThatItIsStillRunning) {
    LinkedBench bench(OneController());
    bench.StartAndWait();
    const auto setDone = [](std::uint32_t done) {
        const ThreadsLock lock(ThisLife().QuarnelThreadMutex);
        ThisLife().ThreadActivityDone = done;
    };
    setDone(0);
    for (const int action : {102, 99}) {
        LogCapture::Clear();
        EXPECT_EQ(HandleDeviceConfigChange(nullptr, nullptr, TheController(), action), 0);
        EXPECT_TRUE(Logged(LOG_DEBUG, "HandleDeviceConfigChange: BuildDeviceInfoAsync is still running, skip action " +
                                          std::to_string(action) + "\n"));
        EXPECT_TRUE(NotLogged(LOG_ERR, "*"));
        EXPECT_EQ(IsFifoEmpty(&ThisLife().__FIFO), 1);
    }
    setDone(1);
}

TEST(Trigger, QueuesAJobThatKnowsItsControllerAndAction) {
    LinkedBench bench(OneController());
    bench.StartAndWait();
    Gate gate;
    bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice", "CIM_SASSATAPort").Passes(gate));
    for (int i = 1; i <= 3; ++i) bench.Identifiers(kPort); // never stamped: each queues a job
    ASSERT_TRUE(gate.WaitFor(1));
    // One worker holds the ports' mutex in the up-call and two wait for it: the next job stays in the queue.
    ASSERT_TRUE(Eventually([] { return IsFifoEmpty(&ThisLife().__FIFO) == 1; }));
    const auto *mi = reinterpret_cast<const CMPIInstanceMI *>(&bench);
    EXPECT_EQ(HandleDeviceConfigChange(mi, nullptr, TheController(), CFG_ACTION_BATTERY), 0);
    auto *job = static_cast<Thread_Args_t *>(GetItem(&ThisLife().__FIFO));
    ASSERT_NE(job, nullptr);
    EXPECT_EQ(job->Func, DoDeviceConfigChange);
    EXPECT_EQ(job->Arg0, reinterpret_cast<uintptr_t>(mi));
    EXPECT_EQ(job->Arg2, reinterpret_cast<uintptr_t>(TheController()));
    EXPECT_EQ(job->Arg3, static_cast<uintptr_t>(CFG_ACTION_BATTERY));
    EXPECT_EQ(job->Arg1 | job->Arg4 | job->Arg5, 0u);
    free(job);
}

TEST(Trigger, TurnsSurplusJobsAwayOnceTheFirstHasRun) {
    LinkedBench bench(Ports({"a"}));
    bench.StartAndWait();
    bench.Broker().LogCalls(true);
    Gate gate;
    bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice", "CIM_SASSATAPort").Passes(gate));
    for (int i = 0; i < 10; ++i) EXPECT_EQ(bench.Identifiers(kPort).size(), 1u); // answered while the vendor hangs
    ASSERT_TRUE(gate.WaitFor(1));
    gate.Open();
    ASSERT_TRUE(WorkersIdle());
    EXPECT_THAT(Walks(bench), ElementsAre(kPorts));
    EXPECT_TRUE(LoggedTimes(9, LOG_DEBUG, "Action 102, last *, now *, skip\n"));
}
