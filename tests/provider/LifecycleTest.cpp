// From the factory to clean-up: what starts once, what is tried again, and when the provider lets itself be unloaded.
#include "tests/provider/Linked.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <unistd.h>

using namespace support;
using cim::FaultRule;
using cim::Operation;

namespace {

std::size_t Count(const std::vector<std::string> &texts, const std::string &pattern) {
    return static_cast<std::size_t>(
        std::count_if(texts.begin(), texts.end(), [&](const std::string &text) { return Matches(text, pattern); }));
}

// Where the provider's flag is, which only a debugger finds: as far from a function as in the program's file.
std::atomic<int> *WaitDebugOfThisProcess() {
    FILE *symbols =
        popen("nm /proc/$PPID/exe | grep -E 'waitDebug| QuarnelProvider_Create_InstanceMI' | LC_ALL=C sort -k3", "r");
    unsigned long function = 0, flag = 0;
    EXPECT_EQ(fscanf(symbols, "%lx T %*s %lx", &function, &flag), 2);
    pclose(symbols);
    return reinterpret_cast<std::atomic<int> *>(reinterpret_cast<std::uintptr_t>(QuarnelProvider_Create_InstanceMI) +
                                                flag - function);
}

int Slept; // seconds, by the provider

} // namespace

// Takes the C library's place. The debugger comes in the third second.
extern "C" unsigned sleep(unsigned seconds) {
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "InitSystemInfo: *"));
    if ((Slept += static_cast<int>(seconds)) == 3) *WaitDebugOfThisProcess() = 0;
    return 0;
}

TEST(Factory, ReturnsTheOneInterfaceAndLeavesTheStatusAlone) {
    LinkedBench bench(OneController());
    const Invocation call(bench);
    CMPIStatus status = {CMPI_RC_ERR_ACCESS_DENIED, nullptr};
    CMPIInstanceMI *mi = QuarnelProvider_Create_InstanceMI(bench.Broker().Handle(), call.Context(), &status);
    ASSERT_NE(mi, nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_EQ(mi->hdl, nullptr);
    EXPECT_EQ(mi->ft->ftVersion, 100u);
    EXPECT_EQ(mi->ft->miVersion, 100);
    EXPECT_STREQ(mi->ft->miName, "instanceQuarnelProvider");
    EXPECT_EQ(QuarnelProvider_Create_InstanceMI(bench.Broker().Handle(), call.Context(), nullptr), mi);
    EXPECT_EQ(mi->ft->cleanup(mi, call.Context(), 1).rc, CMPI_RC_OK);
}

TEST(Factory, CalledForEachClassAndAgainStartsOnce) {
    BenchOptions options;
    options.factoryPerClass = true;
    LinkedBench bench(OneOfEach(), options);
    bench.Start();
    for (const char *className : kServedClasses) EXPECT_EQ(bench.Identifiers(className).size(), 1u);
    EXPECT_TRUE(LoggedTimes(6, LOG_DEBUG, "QuarnelInit: ENTER...\n"));
    bench.Broker().LogCalls(true);
    TestClock::Advance(7);
    EXPECT_TRUE(bench.Broker().CallFactoryAgain(kProvider).Ok());
    EXPECT_EQ(InitCompleteTime, kStart + 7);
    EXPECT_TRUE(LoggedTimes(7, LOG_DEBUG, "Current process:pid=*, ppid=*\n"));
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, "QuarnelInit: EXIT\n"));
    EXPECT_EQ(bench.Upcalls(), std::vector<std::string>{});
    EXPECT_EQ(bench.Broker().Live().contexts, 3u);
    bench.ExpectOnlyRecordsAlive();
}

TEST(Factory, WithoutAHostOrAProfileServesNothingAndTriesAgainWithTheNextCall) {
    const char *host = "OMC_UnitaryComputerSystem", *profile = "CIM_RegisteredProfile", *silent = nullptr;
    const struct {
        Operation operation;
        const char *className;
        FaultRule::Effect effect;
        const char *message; // of the status
        int priority;
        const char *line;
        int result; // of the search for the host; 0: it succeeds
    } cases[] = {
        {Operation::NewObjectPath, host, FaultRule::Effect::Fail, "no room", LOG_ERR,
         "InitSystemInfo: rc 1, msg no room\n", -2},
        {Operation::EnumerateInstances, host, FaultRule::Effect::Fail, "went away", LOG_ERR,
         "InitSystemInfo: no instance found. rc 1, msg went away\n", -100},
        {Operation::EnumerateInstances, host, FaultRule::Effect::Fail, silent, LOG_ERR,
         "InitSystemInfo: no instance found. rc 1\n", -100},
        {Operation::EnumerateInstances, host, FaultRule::Effect::Empty, silent, LOG_ERR,
         "InitSystemInfo: no instance found. rc 0\n", -100},
        {Operation::EnumerateInstances, host, FaultRule::Effect::NullWithOk, silent, LOG_ERR,
         "InitSystemInfo: no instance found. rc 0\n", -100},
        {Operation::EnumerateInstances, profile, FaultRule::Effect::Empty, silent, LOG_INFO,
         "No instance of Host Hard RAID Controller is found, rc 0\n", 0},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.line);
        LinkedBench bench(OneController());
        bench.Broker().LogCalls(true);
        Rule rule = Rule(test.operation).From(test.className).Does(test.effect);
        if (test.message != silent) rule.message = test.message;
        const auto fault = bench.Inject(rule);
        bench.Load();
        EXPECT_TRUE(LoggedTimes(1, test.priority, test.line));
        EXPECT_EQ(LogCapture::Count(LOG_ERR, "Cannot get system info, rc " + std::to_string(test.result) + "\n"),
                  test.result != 0 ? 1u : 0u);
        EXPECT_EQ(GetSystemName(), nullptr);
        for (const char *className : kServedClasses) EXPECT_TRUE(bench.Identifiers(className).empty()) << className;
        EXPECT_EQ(bench.Get(kController, "zbrControllerc0").status.rc, CMPI_RC_ERR_NOT_FOUND);
        EXPECT_EQ(bench.Get(kExtent, "zbrStorageExtc0_d0").status.rc, CMPI_RC_ERR_NOT_FOUND);
        EXPECT_EQ(bench.Broker().CallCleanUp(kProvider, false), CMPI_RC_OK); // requests do not hold it

        bench.Broker().Faults().Remove(fault);
        EXPECT_TRUE(bench.Broker().CallFactoryAgain(kProvider).Ok());
        ASSERT_TRUE(WorkersIdle());
        EXPECT_EQ(bench.Identifiers(kController), std::vector<std::string>{"zbrControllerc0"});
    }
}

TEST(Factory, WaitsForADebuggerWhenTheEnvironmentAsksForIt) {
    LinkedBench bench(OneController());
    Slept = 0;
    setenv("WAIT_PROC", "", 1);
    bench.Load();
    unsetenv("WAIT_PROC");
    EXPECT_EQ(Slept, 3);
    EXPECT_TRUE(LoggedTimes(3, LOG_DEBUG,
                            "Waiting for dbgattachd attach:pid=" + std::to_string(getpid()) +
                                ", ppid=" + std::to_string(getppid()) + "\n"));
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "Current process:*"));
    EXPECT_EQ(bench.Identifiers(kController).size(), 1u);
}

TEST(Unloading, IsDeclinedForFiveMinutesAfterAnyRequest) {
    const std::function<void(LinkedBench &)> requests[] = {
        [](LinkedBench &bench) { bench.Identifiers(kBattery); },
        [](LinkedBench &bench) { bench.Enumerate(kController); },
        [](LinkedBench &bench) { bench.Get(kSoftware, "zembra:ControllerSoftwarec0"); },
        [](LinkedBench &bench) { bench.Get(kPort, "no such key"); },
    };
    LinkedBench bench(OneOfEach());
    for (const auto &request : requests) {
        LogCapture::Clear();
        bench.Start();
        TestClock::Advance(10);
        request(bench);
        ASSERT_TRUE(WorkersIdle()); // no up-call keeps the provider
        TestClock::Advance(299);
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_DO_NOT_UNLOAD);
        EXPECT_TRUE(Logged(LOG_DEBUG, "QuarnelProviderCleanup: idle timer(5) has not expired, don't unload\n"));
        TestClock::Advance(1);
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
        EXPECT_FALSE(bench.Broker().IsLoaded(kProvider));
        EXPECT_EQ(bench.Broker().Live().clones, 0u);
        EXPECT_EQ(bench.Broker().Live().contexts, 0u);
        EXPECT_EQ(GetSystemName(), nullptr);
    }
}

TEST(Unloading, ThatIsNoQuestionEndsARefreshWithItsUpCallAndForgetsTheQueuedOnes) {
    LinkedBench bench(OneOfEach().WithController("c1").WithPort("p1"));
    bench.StartAndWait();
    Gate gate;
    bench.Inject(Rule(Operation::Associators).Passes(gate));
    for (const char *className : {kVolume, kPort, kBattery, kExtent}) bench.Enumerate(className);
    ASSERT_TRUE(gate.WaitFor(3));
    bench.Broker().LogCalls(true);
    std::thread ending([&] { EXPECT_EQ(bench.Broker().CallCleanUp(kProvider, true), CMPI_RC_OK); });
    ASSERT_TRUE(Eventually([] { return ThisLife().TerminateThread == 1; }));
    gate.Open();
    ending.join();
    EXPECT_LE(Count(bench.Upcalls(), "*CIM_*"), 3u); // those that were running
    EXPECT_TRUE(LoggedTimes(3, LOG_DEBUG, "Thread * exiting...\n"));
    EXPECT_EQ(bench.Broker().Live().clones, 0u);
    EXPECT_EQ(bench.Broker().Live().attachedThreads, 0u);
    EXPECT_EQ(bench.Broker().Live().contexts, 0u);
    bench.Broker().Faults().Clear();
    // The deadline of this life does not hold the next one.
    EXPECT_TRUE(bench.Broker().CallFactoryAgain(kProvider).Ok());
    ASSERT_TRUE(WorkersIdle());
    EXPECT_EQ(bench.Broker().CallCleanUp(kProvider, false), CMPI_RC_OK);
}

TEST(Unloading, ThatIsRunningMakesAFactoryCallWaitForItsTurn) {
    LinkedBench bench(OneOfEach());
    bench.StartAndWait();
    Gate gate;
    const auto fault = bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice", "CIM_Battery").Passes(gate));
    bench.Enumerate(kBattery);
    ASSERT_TRUE(gate.WaitFor(1));
    std::thread ending([&] { EXPECT_EQ(bench.Broker().CallCleanUp(kProvider, true), CMPI_RC_OK); });
    ASSERT_TRUE(Eventually([] { return ThisLife().TerminateThread == 1; }));
    EXPECT_EQ(bench.Broker().CallCleanUp(kProvider, true), CMPI_RC_DO_NOT_UNLOAD); // one at a time
    std::thread starting([&] {
        const Invocation call(bench);
        QuarnelProvider_Create_InstanceMI(bench.Broker().Handle(), call.Context(), nullptr);
        EXPECT_NE(CurrentLife, nullptr);
    });
    ASSERT_TRUE(LogCapture::WaitFor("QuarnelInit: ENTER...\n", 2));
    bench.Broker().Faults().Remove(fault);
    gate.Open();
    ending.join();
    starting.join();
    ASSERT_TRUE(WorkersIdle());
    for (const char *className : kServedClasses) EXPECT_EQ(bench.Identifiers(className).size(), 1u);
}

// A server that looks for idle providers when a request comes unloads the one that the request is for.
TEST(FirstAnswer, WaitsForTheFirstReadingWhereThatIsWanted) {
    FirstAnswerWait = 3600;
    BenchOptions options;
    options.unkind.idleCheckAtRequest = true;
    LinkedBench bench(OneOfEach(), options);
    for (const char *className : {kVolume, kController, kExtent, kPort, kBattery}) {
        EXPECT_EQ(bench.Identifiers(className).size(), 1u) << className;
        ASSERT_TRUE(WorkersIdle());
        TestClock::Advance(300);
    }
    FirstAnswerWait = 0;
}

TEST(FirstAnswer, WaitsNoLongerThanThatFromTheStart) {
    LinkedBench bench(OneOfEach());
    Gate gate;
    bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice").Passes(gate));
    bench.Load();
    FirstAnswerWait = 3600;
    ThisLife().Started.tv_sec -= 3600;
    EXPECT_TRUE(bench.Identifiers(kVolume).empty());
    FirstAnswerWait = 0;
}

TEST(Brokers, ThatHandOnResultsUnfilteredAreServedLikeOthers) {
    BenchOptions options;
    options.filterResults = false;
    LinkedBench bench(OneOfEach(), options);
    bench.StartAndWait();
    for (const char *className : kServedClasses) {
        bench.Refresh(className);
        EXPECT_EQ(bench.Identifiers(className).size(), 1u) << className;
    }
    EXPECT_EQ(bench.Column(kVolume, "Caption"),
              std::vector<std::string>{"RAID5 data Logical Volume v0 on controller c0, Drives(4e252) - OPTIMAL"});
}

TEST(Brokers, WithAMemoryTableWithoutEntriesAreServedLikeOthers) {
    BenchOptions options;
    options.memory = cim::kFreedAtDetach;
    LinkedBench bench(OneOfEach(), options);
    const Invocation call(bench);
    const CMPIBrokerMemFT empty = {};
    CMPIBroker broker = *bench.Broker().Handle();
    broker.mft = &empty;
    CMPIInstanceMI *mi = QuarnelProvider_Create_InstanceMI(&broker, call.Context(), nullptr);
    EXPECT_TRUE(WorkersIdle());
    EXPECT_EQ(ThisLife().RaidControllerList.Size, 1u);
    EXPECT_EQ(TheController()->DiskList->Size, 1u);
    EXPECT_EQ(mi->ft->cleanup(mi, call.Context(), 1).rc, CMPI_RC_OK);
    EXPECT_EQ(bench.Broker().Live().clones, 0u);
}

TEST(LogLevel, IsReadAnewByEveryCallAndJob) {
    LinkedBench bench(OneController());
    const struct {
        std::function<void()> call;
        const char *line;
    } cases[] = {
        {[&] { bench.Start(); }, "QuarnelInit: ENTER...\n"},
        {[&] { bench.Enumerate(kController); }, "QuarnelProviderEnumInstances: *\n"},
        {[&] { bench.LetEveryWorkerWork(); }, "QuarnelThread(*): running...\n"},
        {[&] { bench.Broker().CallCleanUp(kProvider, true); }, "QuarnelProviderCleanup: ENTER...\n"},
    };
    const int all = setlogmask(0);
    for (const auto &test : cases) {
        setlogmask(LOG_UPTO(LOG_ERR));
        ReadLogMask(); // as the last call did
        setlogmask(all);
        LogCapture::Clear();
        test.call();
        EXPECT_TRUE(Logged(LOG_DEBUG, test.line));
    }
}

TEST(RefusedOperations, AreNotSupportedAnswerAndLogNothingAndDoNotKeepTheProviderLoaded) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    const Invocation call(bench);
    CMPIInstanceMI *mi = QuarnelProvider_Create_InstanceMI(bench.Broker().Handle(), call.Context(), nullptr);
    LogCapture::Clear();
    const CMPIContext *ctx = call.Context();
    const CMPIObjectPath *path = call.Path(kPort);
    EXPECT_EQ(mi->ft->createInstance(mi, ctx, nullptr, path, nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(mi->ft->modifyInstance(mi, ctx, nullptr, path, nullptr, nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(mi->ft->deleteInstance(mi, ctx, nullptr, path).rc, CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(mi->ft->execQuery(mi, ctx, nullptr, path, "select * from x", "WQL").rc, CMPI_RC_ERR_NOT_SUPPORTED);
    for (const std::string &line : LogCapture::Texts("*"))
        EXPECT_TRUE(Matches(line, "QuarnelThread*") || Matches(line, "Removing data *")) << line; // a late worker
    EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
}
