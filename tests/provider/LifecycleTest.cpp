// From the factory to clean-up: what starts once, what is tried again, and when the provider lets itself be unloaded.
#include "tests/provider/Linked.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <link.h>
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

void ExpectNothingServed(LinkedBench &bench) {
    for (const char *className : kServedClasses) EXPECT_TRUE(bench.Identifiers(className).empty()) << className;
    EXPECT_EQ(bench.Get(kController, "zbrControllerc0").status.rc, CMPI_RC_ERR_NOT_FOUND);
    EXPECT_EQ(bench.Get(kExtent, "zbrStorageExtc0_d0").status.rc, CMPI_RC_ERR_NOT_FOUND);
}

// Where the provider's flag is, which only a debugger finds.
std::atomic<int> *WaitDebugOfThisProcess() {
    FILE *symbols = popen("nm /proc/$PPID/exe | grep waitDebug", "r");
    unsigned long offset = 0;
    EXPECT_EQ(fscanf(symbols, "%lx", &offset), 1);
    pclose(symbols);
    std::uintptr_t base = 0;
    dl_iterate_phdr(
        [](dl_phdr_info *program, std::size_t, void *found) {
            *static_cast<std::uintptr_t *>(found) = program->dlpi_addr;
            return 1; // the first is the program itself
        },
        &base);
    return reinterpret_cast<std::atomic<int> *>(base + offset);
}

} // namespace

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
    EXPECT_TRUE(LoggedTimes(2, LOG_DEBUG, "QuarnelProvider: built on * * * *:*:*\n"));
    EXPECT_EQ(mi->ft->cleanup(mi, call.Context(), 1).rc, CMPI_RC_OK);
}

TEST(Factory, FindsControllersWithoutWaitingForTheirDevices) {
    LinkedBench bench(OneOfEach());
    Gate gate;
    bench.Inject(Rule(Operation::Associators).Along("CIM_HostedStoragePool").Passes(gate));
    bench.Load();
    EXPECT_EQ(bench.Identifiers(kController), std::vector<std::string>{"zbrControllerc0"});
    EXPECT_TRUE(bench.Identifiers(kExtent).empty());
    gate.Open();
    ASSERT_TRUE(WorkersIdle());
    EXPECT_EQ(bench.Identifiers(kExtent), std::vector<std::string>{"zbrStorageExtc0_d0"});
}

TEST(Factory, CalledAgainDiscoversNothingAndStartsNoThread) {
    LinkedBench bench(OneController());
    bench.Start();
    bench.Broker().LogCalls(true);
    LogCapture::Clear();
    TestClock::Advance(7);
    EXPECT_TRUE(bench.Broker().CallFactoryAgain(kProvider).Ok());
    EXPECT_EQ(InitCompleteTime, kStart + 7);
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, "Current process:pid=*, ppid=*\n"));
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "QuarnelInit: EXIT\n"));
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "InitQuarnelThreads: *"));
    EXPECT_EQ(bench.Upcalls(), std::vector<std::string>{});
    EXPECT_EQ(ThisLife().RaidControllerList.Size, 1u);
}

TEST(Factory, CalledOncePerRegisteredClassStartsOnce) {
    BenchOptions options;
    options.factoryPerClass = true;
    LinkedBench bench(OneOfEach(), options);
    bench.Start();
    for (const char *className : kServedClasses) EXPECT_EQ(bench.Identifiers(className).size(), 1u);
    EXPECT_TRUE(LoggedTimes(6, LOG_DEBUG, "QuarnelInit: ENTER...\n"));
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, "QuarnelInit: EXIT\n"));
    EXPECT_TRUE(LoggedTimes(3, LOG_DEBUG, "InitQuarnelThreads: thread * created\n"));
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, "DoBuildDeviceInfoAsync done."));
}

TEST(Factory, WithoutAHostIdentityServesNothingAndTriesAgainWithTheNextCall) {
    const struct {
        Operation operation;
        FaultRule::Effect effect;
        const char *message; // of the status; null: none
        const char *line;
        int result;
    } cases[] = {
        {Operation::NewObjectPath, FaultRule::Effect::Fail, "no room", "InitSystemInfo: rc 1, msg no room\n", -2},
        {Operation::EnumerateInstances, FaultRule::Effect::Fail, "went away",
         "InitSystemInfo: no instance found. rc 1, msg went away\n", -100},
        {Operation::EnumerateInstances, FaultRule::Effect::Fail, nullptr, "InitSystemInfo: no instance found. rc 1\n",
         -100},
        {Operation::EnumerateInstances, FaultRule::Effect::Empty, nullptr, "InitSystemInfo: no instance found. rc 0\n",
         -100},
        {Operation::EnumerateInstances, FaultRule::Effect::NullWithOk, nullptr,
         "InitSystemInfo: no instance found. rc 0\n", -100},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.line);
        LinkedBench bench(OneController());
        bench.Broker().LogCalls(true);
        Rule rule = Rule(test.operation).From("OMC_UnitaryComputerSystem").Does(test.effect);
        if (test.message != nullptr) rule.message = test.message;
        const auto fault = bench.Inject(rule);
        bench.Load();
        EXPECT_TRUE(LoggedTimes(1, LOG_ERR, test.line));
        EXPECT_TRUE(Logged(LOG_ERR, "Cannot get system info, rc " + std::to_string(test.result) + "\n"));
        EXPECT_EQ(Count(bench.Upcalls(), "*CIM_RegisteredProfile"), 0u);
        ExpectNothingServed(bench);

        bench.Broker().Faults().Remove(fault);
        EXPECT_TRUE(bench.Broker().CallFactoryAgain(kProvider).Ok());
        ASSERT_TRUE(WorkersIdle());
        EXPECT_EQ(bench.Identifiers(kController), std::vector<std::string>{"zbrControllerc0"});
    }
}

TEST(Factory, WithoutAProfileForgetsTheHostAndTriesAgainWithTheNextCall) {
    LinkedBench bench(OneController().WithProfile({{"id", "other"}, {"name", "Array"}}));
    bench.Load();
    EXPECT_TRUE(LoggedTimes(1, LOG_INFO, "No instance of Host Hard RAID Controller is found, rc 0\n"));
    EXPECT_EQ(GetSystemName(), nullptr);
    ExpectNothingServed(bench);

    bench.Change([](Hardware &hardware) { hardware.document["profiles"][0].erase("name"); });
    EXPECT_TRUE(bench.Broker().CallFactoryAgain(kProvider).Ok());
    ASSERT_TRUE(WorkersIdle());
    EXPECT_EQ(bench.Identifiers(kController), std::vector<std::string>{"zbrControllerc0"});
}

TEST(Factory, WaitsForADebuggerWhenTheEnvironmentAsksForIt) {
    LinkedBench bench(OneController());
    setenv("WAIT_PROC", "", 1);
    std::thread loading([&] { bench.Load(); });
    EXPECT_TRUE(LogCapture::WaitFor("Waiting for dbgattachd attach:pid=" + std::to_string(getpid()) +
                                    ", ppid=" + std::to_string(getppid()) + "\n"));
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "Current process:*"));
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "InitSystemInfo: *"));
    unsetenv("WAIT_PROC");
    *WaitDebugOfThisProcess() = 0; // as the debugger does
    loading.join();
    EXPECT_EQ(bench.Identifiers(kController).size(), 1u);
}

TEST(Unloading, IsDeclinedForFiveMinutesAfterTheLastRequest) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    bench.Identifiers(kController);
    LogCapture::Clear();
    for (const time_t passed : {0, 120, 299}) {
        TestClock::Freeze(kStart + passed);
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_DO_NOT_UNLOAD) << passed;
    }
    EXPECT_TRUE(LoggedTimes(3, LOG_DEBUG, "QuarnelProviderCleanup: idle timer(5) has not expired, don't unload\n"));
    EXPECT_EQ(bench.Identifiers(kExtent).size(), 1u); // moves the deadline to 599
    TestClock::Freeze(kStart + 598);
    EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_DO_NOT_UNLOAD);
    TestClock::Freeze(kStart + 599);
    ASSERT_TRUE(WorkersIdle()); // no up-call keeps the provider
    EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
    EXPECT_FALSE(bench.Broker().IsLoaded(kProvider));
    EXPECT_EQ(ThisLife().RaidControllerList.Size, 0u);
    EXPECT_EQ(GetSystemName(), nullptr);
}

TEST(Unloading, IsPutOffByEveryKindOfRequest) {
    const std::function<void(LinkedBench &)> requests[] = {
        [](LinkedBench &bench) { bench.Identifiers(kBattery); },
        [](LinkedBench &bench) { bench.Enumerate(kController); },
        [](LinkedBench &bench) { bench.Get(kSoftware, "zembra:ControllerSoftwarec0"); },
        [](LinkedBench &bench) { bench.Get(kPort, "no such key"); },
    };
    for (const auto &request : requests) {
        LinkedBench bench(OneOfEach());
        bench.Start();
        request(bench);
        ASSERT_TRUE(WorkersIdle());
        TestClock::Advance(299);
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_DO_NOT_UNLOAD);
        TestClock::Advance(1);
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
    }
}

TEST(Unloading, IsGrantedAtOnceBeforeTheFirstRequestAndWithoutControllers) {
    {
        LinkedBench bench(OneController());
        bench.Start();
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
    }
    LinkedBench bench(OneController().WithProfile({{"id", "other"}, {"name", "Array"}}));
    bench.Load();
    bench.Identifiers(kController);
    EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
}

TEST(Unloading, IsNotDeclinedWhenTheBrokerEnds) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    bench.Identifiers(kController);
    bench.End();
    EXPECT_TRUE(NotLogged(LOG_DEBUG, "QuarnelProviderCleanup: idle timer*"));
    EXPECT_TRUE(Logged(LOG_DEBUG, "QuarnelProviderCleanup: EXIT\n"));
    EXPECT_EQ(ThisLife().RaidControllerList.Size, 0u);
}

TEST(Unloading, IsFollowedByALifeThatStartsLikeTheFirst) {
    LinkedBench bench(OneOfEach());
    for (int life = 0; life < 3; ++life) {
        LogCapture::Clear();
        bench.Start();
        EXPECT_TRUE(LoggedTimes(3, LOG_DEBUG, "InitQuarnelThreads: thread * created\n"));
        for (const char *className : kServedClasses) EXPECT_EQ(bench.Identifiers(className).size(), 1u);
        bench.ExpectOnlyRecordsAlive();
        TestClock::Advance(300);
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
        EXPECT_EQ(bench.Broker().Live().clones, 0u);
        EXPECT_EQ(bench.Broker().Live().contexts, 0u);
    }
    // The deadline of the life before does not hold the next one.
    bench.Start();
    EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
}

TEST(Unloading, EndsARefreshWithTheUpCallThatIsRunningAndForgetsTheQueuedOnes) {
    LinkedBench bench(OneOfEach().WithController("c1").WithPort("p1"));
    bench.StartAndWait();
    Gate gate;
    bench.Inject(Rule(Operation::Associators).Passes(gate));
    for (const char *className : {kVolume, kPort, kBattery, kExtent}) bench.Enumerate(className);
    ASSERT_TRUE(gate.WaitFor(3));
    bench.Broker().LogCalls(true);
    LogCapture::Clear();
    TestClock::Advance(300);
    std::thread ending([&] { EXPECT_EQ(bench.Broker().CallCleanUp(kProvider, true), CMPI_RC_OK); });
    ASSERT_TRUE(Eventually([] { return ThisLife().TerminateThread == 1; }));
    gate.Open();
    ending.join();
    EXPECT_LE(Count(bench.Upcalls(), "*CIM_*"), 3u); // those that were running
    EXPECT_EQ(bench.Broker().Live().clones, 0u);
    bench.Broker().Faults().Clear();
    EXPECT_TRUE(bench.Broker().CallFactoryAgain(kProvider).Ok());
    ASSERT_TRUE(WorkersIdle());
    for (const char *className : {kVolume, kExtent, kBattery}) EXPECT_EQ(bench.Identifiers(className).size(), 1u);
    EXPECT_EQ(bench.Identifiers(kPort).size(), 2u);
}

TEST(Unloading, IsDeclinedWhileAJobIsInsideAnUpCallWhichGoesOn) {
    LinkedBench bench(OneOfEach());
    bench.StartAndWait();
    Gate gate;
    bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice", "CIM_Battery").Passes(gate));
    bench.Change([](Hardware &hardware) { hardware.Entry("batteries", "b0")["status"] = "failed"; });
    bench.Enumerate(kBattery);
    ASSERT_TRUE(gate.WaitFor(1));
    TestClock::Advance(300);
    EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_DO_NOT_UNLOAD);
    EXPECT_EQ(ThisLife().TerminateThread, 0u);
    gate.Open();
    ASSERT_TRUE(WorkersIdle());
    EXPECT_EQ(bench.Column(kBattery, "HealthState"), std::vector<std::string>{"30"});
    ASSERT_TRUE(WorkersIdle());
    TestClock::Advance(300);
    EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
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
TEST(FirstAnswer, WaitsForTheFirstReadingWhereThatIsWantedAndNeverLonger) {
    FirstAnswerWait = 1;
    BenchOptions options;
    options.unkind.idleCheckAtRequest = true;
    LinkedBench bench(OneOfEach(), options);
    for (int life = 0; life < 2; ++life) {
        for (const char *className : {kVolume, kExtent, kPort, kBattery}) {
            EXPECT_EQ(bench.Identifiers(className).size(), 1u) << className;
            ASSERT_TRUE(WorkersIdle());
        }
        TestClock::Advance(300);
    }
    EXPECT_EQ(bench.Identifiers(kController).size(), 1u); // of a third life
    ASSERT_TRUE(WorkersIdle());
    Gate gate;
    bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice").Passes(gate));
    TestClock::Advance(300);
    const auto asked = std::chrono::steady_clock::now();
    EXPECT_TRUE(bench.Identifiers(kVolume).empty()); // and of a fourth, which cannot read anything
    EXPECT_TRUE(bench.Identifiers(kVolume).empty()); // the second is counted from the same start
    EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::milliseconds(1900));
    gate.Open();
    FirstAnswerWait = 0;
}

TEST(Unloading, AgainAndAgainAmongRequestsLosesNothing) {
    const LogMask quiet(LOG_UPTO(LOG_WARNING));
    LinkedBench bench(OneOfEach());
    std::atomic<bool> stop{false};
    std::atomic<int> answered{0};
    const auto ask = [&] {
        while (!stop) {
            for (const char *className : kServedClasses) {
                EXPECT_LE(bench.Identifiers(className).size(), 1u);
                ++answered;
            }
        }
    };
    std::thread clients[] = {std::thread(ask), std::thread(ask)};
    int unloaded = 0;
    EXPECT_TRUE(Eventually([&] {
        TestClock::Advance(300);
        unloaded += bench.Broker().AskToUnload(kProvider) == CMPI_RC_OK;
        return unloaded >= 50 && answered >= 500;
    }));
    stop = true;
    for (std::thread &client : clients) client.join();
}

// --- What CIM servers are known to do
// ---------------------------------------------------------------------------------

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

TEST(RefusedOperations, AreNotSupportedLogNothingAndDoNotKeepTheProviderLoaded) {
    for (Hardware hardware : {OneOfEach(), OneOfEach().WithProfile({{"id", "other"}, {"name", "Array"}})}) {
        LinkedBench bench(std::move(hardware));
        bench.Start();
        LogCapture::Clear();
        for (const char *className : kServedClasses) {
            const cim::ObjectPath path{{}, kNameSpace, className, {{IdentifyingKey(className), Text("x")}}};
            const cim::Instance instance{path, {}};
            EXPECT_EQ(bench.Broker().CreateInstance(kNameSpace, instance).status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
            EXPECT_EQ(bench.Broker().ModifyInstance(instance).rc, CMPI_RC_ERR_NOT_SUPPORTED);
            EXPECT_EQ(bench.Broker().DeleteInstance(path).rc, CMPI_RC_ERR_NOT_SUPPORTED);
            EXPECT_EQ(bench.Broker().ExecQuery(kNameSpace, className, "select * from x", "WQL").status.rc,
                      CMPI_RC_ERR_NOT_SUPPORTED);
        }
        for (const std::string &line : LogCapture::Texts("*"))
            EXPECT_TRUE(Matches(line, "QuarnelThread*") || Matches(line, "Removing data *")) << line; // a late worker
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
    }
}
