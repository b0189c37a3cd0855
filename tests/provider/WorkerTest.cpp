// The three workers, their queue, and what they give back to the broker.
#include "tests/provider/Linked.h"

#include <atomic>
#include <thread>

using namespace support;
using cim::Operation;

namespace {

// A job that is run for a test: it passes the gate, if there is one, and counts.
struct TestJob {
    Gate *gate = nullptr;
    std::atomic<int> run{0};

    static void Run(CMPIContext *, void *args) {
        auto *record = static_cast<Thread_Args_t *>(args);
        auto *job = reinterpret_cast<TestJob *>(record->Arg0);
        free(record);
        if (job->gate != nullptr) job->gate->Pass();
        ++job->run;
    }
    Thread_Args_t *Record() {
        auto *record = static_cast<Thread_Args_t *>(calloc(1, sizeof(Thread_Args_t)));
        record->Func = Run;
        record->Arg0 = reinterpret_cast<uintptr_t>(this);
        return record;
    }
};

std::uint32_t Active() {
    const ThreadsLock lock(ThisLife().QuarnelThreadMutex);
    return ThisLife().ActiveThreads;
}

} // namespace

TEST(Workers, RunAQueuedJobOnceAndAreIdleAgain) {
    LinkedBench bench(OneController());
    bench.Start();
    Gate gate;
    TestJob job;
    job.gate = &gate;
    EXPECT_EQ(QueueJob(job.Record()), 0);
    ASSERT_TRUE(gate.WaitFor(1));
    EXPECT_EQ(Active(), 1u);
    gate.Open();
    ASSERT_TRUE(WorkersIdle());
    EXPECT_EQ(job.run, 1);
    EXPECT_EQ(Active(), 0u);
}

TEST(Workers, LeaveTheTwentyFirstWaitingJobWithItsProducer) {
    LinkedBench bench(OneController());
    bench.Start();
    TestClock::Advance(StateUpdateInterval);
    Gate gate;
    TestJob blocking, waiting;
    blocking.gate = &gate;
    for (int i = 0; i < 3; ++i) EXPECT_EQ(QueueJob(blocking.Record()), 0);
    ASSERT_TRUE(gate.WaitFor(3));
    for (int i = 0; i < 20; ++i) EXPECT_EQ(QueueJob(waiting.Record()), 0);
    Thread_Args_t *refused = waiting.Record();
    EXPECT_EQ(QueueJob(refused), -6);
    free(refused);

    // A refresh that finds the queue full frees its own record, and its request is answered all the same.
    LogCapture::Clear();
    EXPECT_EQ(HandleDeviceConfigChange(nullptr, nullptr, TheController(), CFG_ACTION_BATTERY), -6);
    EXPECT_TRUE(Logged(LOG_DEBUG, "HandleDeviceConfigChange, exit...\n"));
    EXPECT_TRUE(NotLogged(LOG_ERR, "*"));
    EXPECT_TRUE(bench.Identifiers(kBattery).empty());

    gate.Open();
    ASSERT_TRUE(WorkersIdle());
    EXPECT_EQ(blocking.run, 3);
    EXPECT_EQ(waiting.run, 20);
}

TEST(Workers, LeaveNoJobUnrunWhileTheyAreIdle) {
    const LogMask quiet(LOG_UPTO(LOG_INFO));
    LinkedBench bench(OneController());
    bench.Start();
    const auto produce = [] {
        for (int i = 0; i < 1000; ++i) {
            TestJob job;
            ASSERT_EQ(QueueJob(job.Record()), 0);
            // Nothing but the worker that this job woke will come to run it.
            ASSERT_TRUE(Eventually([&] { return job.run == 1; }, std::chrono::seconds(20)));
        }
    };
    std::thread first(produce), second(produce);
    first.join();
    second.join();
}

TEST(Stopping, WaitsForRunningJobsAndFreesQueuedOnes) {
    LinkedBench bench(OneController());
    bench.Start();
    Gate gate;
    TestJob running, queued;
    running.gate = &gate;
    for (int i = 0; i < 3; ++i) QueueJob(running.Record());
    ASSERT_TRUE(gate.WaitFor(3));
    for (int i = 0; i < 5; ++i) QueueJob(queued.Record());
    LogCapture::Clear();
    std::atomic<bool> unloaded{false};
    std::thread unloading([&] {
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
        unloaded = true;
    });
    EXPECT_TRUE(Eventually([] { return ThisLife().TerminateThread == 1; }));
    EXPECT_FALSE(unloaded);
    gate.Open();
    unloading.join();
    EXPECT_EQ(running.run, 3);
    EXPECT_EQ(queued.run, 0);
    EXPECT_EQ(IsFifoEmpty(&ThisLife().__FIFO), 1);
    for (const char *worker : {"0", "1", "2"})
        EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, std::string("Thread ") + worker + " exiting...\n"));
    EXPECT_EQ(bench.Broker().Live().attachedThreads, 0u);
    EXPECT_EQ(bench.Broker().Live().contexts, 0u);
}

TEST(Workers, ThatCannotBeStartedAreReportedAndOneIsEnough) {
    Hardware hardware = OneOfEach();
    for (int i = 0; i < 60; ++i) hardware.WithPort("more" + std::to_string(i));
    LinkedBench bench(hardware);
    bench.StartInOrder();
    EXPECT_TRUE(RefreshesMayBegin());
    EXPECT_EQ(bench.Identifiers(kPort).size(), 61u);
    EXPECT_EQ(bench.Identifiers(kExtent).size(), 1u);
    bench.ExpectOnlyRecordsAlive();
}

TEST(Workers, ThatAreNotThereLeaveTheControllersServedAndNothingBehind) {
    for (const Operation operation : {Operation::PrepareAttachThread, Operation::AttachThread}) {
        LinkedBench bench(OneOfEach());
        bench.Broker().Faults().Add(Rule(operation).After(1).Fails()); // the first one is the start-up's own
        bench.Load();
        if (operation == Operation::AttachThread) {
            ASSERT_TRUE(LogCapture::WaitFor("QuarnelThread(*): cannot attach to the broker\n", 3));
        } else {
            EXPECT_TRUE(LoggedTimes(3, LOG_ERR, "InitQuarnelThreads: thread * could not be started\n"));
        }
        EXPECT_EQ(bench.Identifiers(kController).size(), 1u);
        EXPECT_TRUE(bench.Identifiers(kExtent).empty());
        EXPECT_EQ(IsFifoEmpty(&ThisLife().__FIFO), 0);
    }
}

TEST(Workers, SurviveAContextThatCannotBeRenewed) {
    BenchOptions options;
    options.memory = cim::kFreedAtDetach;
    LinkedBench bench(OneOfEach(), options);
    bench.Start();
    // One renewal without a successor: what that worker was lent stays until it has run another job.
    bench.Inject(Rule(Operation::PrepareAttachThread).Times(1).Fails());
    EXPECT_EQ(bench.RefreshedColumn(kPort, "PortType").size(), 1u);
#ifndef QUARNEL_CONTEXT_FLUSH // which gives everything back without a successor
    EXPECT_GT(bench.Broker().Live().lent, 0u);
#endif
    bench.LetEveryWorkerWork();
    bench.ExpectOnlyRecordsAlive();
    EXPECT_EQ(bench.RefreshedColumn(kPort, "PortType").size(), 1u);
    EXPECT_TRUE(bench.Get(kPort, "zbrPortc0_p0").Ok());
}

// Each way in which brokers are known to keep the memory of threads that a provider attached.
class BrokerMemory : public testing::TestWithParam<cim::MemoryRules> {};

TEST_P(BrokerMemory, HoldsNothingOfAJobOnceItIsDone) {
    BenchOptions options;
    options.memory = GetParam();
    LinkedBench bench(OneOfEach(), options);
    bench.Start();
    bench.ExpectOnlyRecordsAlive();
    for (int i = 0; i < 3; ++i) {
        TestClock::Advance(StateUpdateInterval);
        for (const char *className : kServedClasses) bench.Refresh(className);
        bench.ExpectOnlyRecordsAlive();
    }
    EXPECT_TRUE(Eventually([&] { return bench.Broker().Live().attachedThreads == 3; }));
    EXPECT_EQ(bench.Broker().Live().contexts, 3u);
}

TEST_P(BrokerMemory, HoldsNothingAfterAnUnloadAndAFailedStart) {
    BenchOptions options;
    options.memory = GetParam();
    LinkedBench bench(OneOfEach(), options);
    const auto fault = bench.Inject(Rule(Operation::EnumerateInstances).From("CIM_RegisteredProfile").Fails());
    bench.Load();
    bench.Broker().Faults().Remove(fault);
    bench.Broker().CallFactoryAgain(kProvider);
    ASSERT_TRUE(WorkersIdle());
    EXPECT_EQ(bench.Identifiers(kExtent).size(), 1u);
    TestClock::Advance(300);
    EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
    EXPECT_EQ(bench.Broker().Live().clones, 0u);
    EXPECT_EQ(bench.Broker().Live().lent, 0u);
}

INSTANTIATE_TEST_SUITE_P(Rules, BrokerMemory,
                         testing::Values(cim::kFreedAtDetach, cim::kFreedByRelease, cim::kFreedByBoth),
                         [](const testing::TestParamInfo<cim::MemoryRules> &rules) {
                             return std::string(rules.param.memoryTable ? "Mark" : "NoMark") +
                                    (rules.param.freedAtDetach ? "Detach" : "");
                         });
