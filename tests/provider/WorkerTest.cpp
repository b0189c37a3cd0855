// The three workers, their queue, and what they give back to the broker.
#include "tests/provider/Linked.h"

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <thread>

using namespace support;
using cim::Operation;

namespace {

// Walks from controllers to their devices of the class do not return; empty: of any.
void LoseUpCalls(LinkedBench &bench, const std::string &devices) {
    bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice", devices).Does(cim::FaultRule::Effect::Lost));
}

// For the up-calls that do not return alone: the others are through before.
void PassAMinute(LinkedBench &bench) {
    EXPECT_TRUE(bench.Broker().WaitForBackground(std::chrono::milliseconds(20), std::chrono::seconds(20)));
    TestClock::Advance(60);
}

} // namespace

TEST(Workers, LeaveNoJobUnrunWhileTheyAreIdle) {
    const LogMask quiet(LOG_UPTO(LOG_INFO));
    LinkedBench bench(OneController());
    bench.Start();
    const auto produce = [] {
        for (int i = 0; i < 500; ++i) {
            std::atomic<bool> run{false};
            auto *job = static_cast<Thread_Args_t *>(calloc(1, sizeof(Thread_Args_t)));
            job->Func = [](CMPIContext *, void *args) {
                *reinterpret_cast<std::atomic<bool> *>(static_cast<Thread_Args_t *>(args)->Arg0) = true;
                free(args);
            };
            job->Arg0 = reinterpret_cast<uintptr_t>(&run);
            ASSERT_EQ(QueueJob(job), 0);
            // Only the worker that this job woke will come to run it.
            ASSERT_TRUE(Eventually([&] { return run.load(); }, std::chrono::seconds(20)));
        }
    };
    std::thread first(produce), second(produce);
    first.join();
    second.join();
}

TEST(Workers, SleepWhileThereIsNothingToDo) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    const auto looks = [] { return LogCapture::Count(LOG_DEBUG, "QuarnelThread(*): no item to process, wait...\n"); };
    const std::size_t before = looks();
    for (int i = 0; i < 100; ++i) bench.Enumerate(kController);
    EXPECT_LE(looks(), before + kWorkers); // each may have been about to fall asleep
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
        if (operation == Operation::AttachThread) continue; // the threads may still be leaving
        bench.Broker().Faults().Clear();
        for (const int passed : {19, 20}) { // when starting them is tried again
            TestClock::Freeze(kStart + passed);
            bench.Identifiers(kExtent);
            EXPECT_EQ(bench.Broker().Live().contexts, passed == 20 ? kWorkers : 0);
        }
        ASSERT_TRUE(WorkersIdle());
        EXPECT_EQ(bench.Identifiers(kExtent).size(), 1u);
    }
}

TEST(Workers, AreLostInUpCallsAtMostThreeTimesAndThenNothingMoreIsRisked) {
    Hardware hardware;
    for (const char *controller : {"c0", "c1", "c2", "c3"}) hardware.WithController(controller).WithPort("p");
    LinkedBench bench(hardware);
    bench.Start();
    LoseUpCalls(bench, "CIM_SASSATAPort");
    cim::Faults &faults = bench.Broker().Faults();
    const auto refresh = [](std::size_t controller, int action) {
        return HandleDeviceConfigChange(nullptr, nullptr, TheController(controller), action);
    };
    for (std::size_t lost = 1; lost <= 3; ++lost) {
        TestClock::Advance(StateUpdateInterval);
        EXPECT_EQ(refresh(lost - 1, CFG_ACTION_PORT), 0);
        ASSERT_TRUE(faults.AwaitLost(lost, std::chrono::seconds(20)));
        PassAMinute(bench);
        bench.Identifiers(kBattery); // any request notices, and has the lost one replaced
        EXPECT_TRUE(LoggedTimes(1, LOG_ERR,
                                "QuarnelThread: controller c" + std::to_string(lost - 1) +
                                    ", ports: an up-call has not returned for * seconds\n"));
        EXPECT_TRUE(Eventually([&] { return bench.Broker().Live().attachedThreads == 3 + lost; }));
    }
    EXPECT_TRUE(
        LoggedTimes(1, LOG_ERR, "QuarnelThread: 3 up-calls have not returned, nothing is refreshed until one does\n"));
    EXPECT_EQ(refresh(3, CFG_ACTION_PORT), RESULT_FIFO_FULL);
    EXPECT_EQ(bench.Identifiers(kPort).size(), 4u);
    faults.Clear();
    EXPECT_TRUE(Eventually([&] { return bench.Broker().Live().attachedThreads == 3; }));
    ASSERT_TRUE(WorkersIdle());
    EXPECT_TRUE(
        LoggedTimes(3, LOG_INFO, "QuarnelThread: controller c*, ports: an up-call has returned after * seconds\n"));
    bench.Change([](Hardware &changed) { changed.Remove("ports", "p", "c3"); });
    EXPECT_EQ(bench.RefreshedColumn(kPort, "Caption").size(), 3u);
    bench.ExpectOnlyRecordsAlive();
}

TEST(Workers, ThatAreAllLostLeaveRequestsAnsweredAndTheLogAlone) {
    LinkedBench bench(OneOfEach().WithController("c1").WithPort("p1").WithBattery("b1"));
    bench.StartAndWait();
    LoseUpCalls(bench, {});
    for (int minute = 0; minute < 5; ++minute) {
        for (const char *className : kServedClasses) EXPECT_FALSE(bench.Identifiers(className).empty());
        PassAMinute(bench);
    }
    EXPECT_GE(bench.Broker().Faults().LostNow(), kMostLost);
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "QuarnelThread: 3 up-calls have not returned, *"));
    EXPECT_LE(LogCapture::Texts("*", LOG_ERR).size(), bench.Broker().Faults().LostNow() + 1);
}

// The smallest block is 32 bytes: one leaked in every second pass, or two in every life, show.
TEST(Workers, LeaveTheHeapAsItIsOverAThousandPassesAndHundredsOfLives) {
    const LogMask quiet(LOG_UPTO(LOG_WARNING));
    BenchOptions options;
    options.memory = cim::kFreedByRelease;
    options.unkind = cim::kUnkind;
    LinkedBench bench(Hardware().WithController("c0").WithBattery("b0"), options);
    bench.Start();
    const auto heapAfter = [&](int passes) {
        for (int i = 0; i < passes; ++i) {
            if (i % 5 == 0) {
                EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
                bench.Start();
            }
            TestClock::Advance(StateUpdateInterval);
            EXPECT_EQ(HandleDeviceConfigChange(nullptr, nullptr, TheController(), CFG_ACTION_BATTERY), 0);
            EXPECT_TRUE(WorkersIdle());
        }
        return static_cast<long>(mallinfo2().uordblks);
    };
    [[maybe_unused]] const long before = heapAfter(250), after = heapAfter(1'000);
    bench.ExpectOnlyRecordsAlive();
#ifndef QUARNEL_SANITIZED // whose own books are in it
    EXPECT_LT(std::abs(after - before), 12'000);
#endif
}

// Each way in which brokers are known to keep the memory of threads that a provider attached.
class BrokerMemory : public testing::TestWithParam<cim::MemoryRules> {};

TEST_P(BrokerMemory, HoldsNothingOfAFailedStartAJobOrALife) {
    BenchOptions options;
    options.memory = GetParam();
    LinkedBench bench(OneOfEach(), options);
    const auto fault = bench.Inject(Rule(Operation::EnumerateInstances).From("CIM_RegisteredProfile").Fails());
    bench.Load();
    bench.Broker().Faults().Remove(fault);
    bench.Broker().CallFactoryAgain(kProvider);
    bench.ExpectOnlyRecordsAlive();
    for (int i = 0; i < 3; ++i) {
        TestClock::Advance(StateUpdateInterval);
        for (const char *className : kServedClasses) bench.Refresh(className);
        bench.ExpectOnlyRecordsAlive();
    }
    EXPECT_TRUE(Eventually([&] { return bench.Broker().Live().attachedThreads == 3; }));
    EXPECT_EQ(bench.Broker().Live().contexts, 3u);
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
