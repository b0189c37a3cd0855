// Everything at once and for long: clients ask, hardware changes, time passes, up-calls and objects fail, up-calls are
// not answered for a while, the provider is unloaded and loaded again, in brokers kind and unkind. All answers are well
// formed, the model comes back to what is there, and nothing grows.
//
// A few seconds; TEST_SECONDS sets another length, TEST_SEED other decisions.
#include "tests/provider/Linked.h"
#include "tests/soak/Clients.h"
#include "tests/soak/Expected.h"
#include "tests/soak/Footprint.h"
#include "tests/soak/RandomHardware.h"

#include <cstdio>
#include <cstdlib>
#include <deque>

namespace support {
namespace {

using cim::FaultRule;
using cim::Operation;
using Effect = FaultRule::Effect;
using Clock = std::chrono::steady_clock;

constexpr int kClients = 4;
constexpr std::uint64_t kRequestsPerEpisode = 1000;
constexpr int kWarmUp = 4; // episodes before growth is looked at
constexpr std::chrono::milliseconds kCleanUpLimit(3500);
constexpr std::chrono::seconds kBetweenAbandonedLives(10);        // each takes three
constexpr std::size_t kHeapSlack = 128 * 1024;                    // what this thread keeps at hand of what it has freed
[[maybe_unused]] constexpr std::size_t kResidentSlack = 16 << 20; // what the heap's free pieces may take

std::uint64_t FromEnvironment(const char *name, std::uint64_t otherwise) {
    const char *value = getenv(name);
    return value != nullptr && *value != '\0' ? std::strtoull(value, nullptr, 10) : otherwise;
}

// How the workers stand in the life that there is.
struct Workers {
    std::uint32_t running, lost, active;
    bool queueIsEmpty;
};

Workers TheWorkers() {
    Life_t &life = ThisLife();
    const ThreadsLock lock(life.QuarnelThreadMutex);
    return {life.RunningWorkers, life.LostWorkers, life.ActiveThreads, IsFifoEmpty(&life.__FIFO) == 1};
}

const RaidController_t *ControllerOfLostUpcall() {
    Life_t &life = ThisLife();
    const ThreadsLock lock(life.QuarnelThreadMutex);
    for (const Worker_t &worker : life.QuarnelThreads)
        if (worker.Lost) return worker.Controller;
    return nullptr;
}

// What a refresh of one class's devices walks to, and how their identifiers begin.
const struct RefreshedKind {
    const char *className, *vendorClass, *prefix;
} kRefreshedKinds[] = {
    {kExtent, "CIM_DiskDrive", "zbrStorageExt"},
    {kVolume, "CIM_StorageVolume", "zbrStorageVolume"},
    {kPort, "CIM_SASSATAPort", "zbrPort"},
    {kBattery, "CIM_Battery", "zbrControllerBattery"},
};

// Walks that workers alone make. In a factory's the broker's requests would be lost, too.
const std::vector<const char *> kWorkersWalks = {
    "CIM_SystemDevice",      "CIM_HostedStoragePool",  "CIM_SystemPackaging",
    "CIM_MediaPresent",      "CIM_PackageInConnector", "CIM_Container",
    "CIM_ConcreteComponent", "CIM_ElementSettingData", "CIM_AllocatedFromStoragePool"};

// One thing that goes wrong a few times, some time from now.
FaultRule RandomFault(Dice &dice) {
    const std::vector<Operation> upcalls = {Operation::EnumerateInstances, Operation::GetInstance,
                                            Operation::Associators, Operation::AssociatorNames};
    FaultRule rule;
    switch (dice.Below(5)) {
    case 0: // slow
        rule.operations = upcalls;
        rule.delay = std::chrono::milliseconds(1 + dice.Below(10));
        break;
    case 1: // null objects
        rule.operations = {
            dice.OneOf({Operation::NewObjectPath, Operation::NewInstance, Operation::NewArray, Operation::Clone,
                        Operation::GetObjectPath, Operation::GetClassName, Operation::ToString, Operation::GetCharPtr,
                        Operation::ToArray, Operation::PrepareAttachThread})};
        rule.effect = Effect::NullWithOk;
        break;
    case 2: // not answered until the fault ends
        return Rule({Operation::Associators, Operation::AssociatorNames})
            .Along(dice.OneOf(kWorkersWalks))
            .After(static_cast<std::uint64_t>(dice.Below(20)))
            .Times(1)
            .Does(Effect::Lost);
    default:
        rule.operations = upcalls;
        rule.effect = dice.OneOf({Effect::Fail, Effect::NullWithOk, Effect::Empty});
        if (dice.OneIn(2)) rule.message = "out of order";
    }
    rule.skip = static_cast<std::uint64_t>(dice.Below(200));
    rule.count = static_cast<std::uint64_t>(1 + dice.Below(5));
    return rule;
}

class Soak {
public:
    Soak(const BenchOptions &options, std::uint64_t seed)
        : dice(seed), random(seed + 1), calm(random.Start()), bench(calm, options) {
        // Counts without ever hitting.
        for (const RefreshedKind &kind : kRefreshedKinds)
            walks.push_back(bench.Inject(
                Rule(Operation::Associators).Along("CIM_SystemDevice", kind.vendorClass).After(UINT64_MAX)));
    }

    // Ends with the provider unloaded. Every second episode things go wrong, and before each the model is built afresh
    // and compared as a whole.
    void Episode() {
        const Weather weather = episodes++ % 2 == 1 ? Weather::Foul : Weather::Fair;
        bench.Change([&](Hardware &hardware) { random.NewSeason(hardware, weather == Weather::Foul); });
        Reload();
        Compare(Depth::Everything, "a new life");
        if (weather == Weather::Foul) FollowWithoutOne();
        Storm(weather);
        while (!failing.empty()) EndFault();
        Recover();
        Compare(weather == Weather::Fair ? Depth::Everything : Depth::WhatRefreshesFollow, "after the storm");
        CheckWorkers(0);
        bench.LetEveryWorkerWork();
        CheckObjects();
        Unload();
        leftBehind = 0;
        LogCapture::Clear();
    }

    // The same life of the provider each time, with no thread of another one's left, so that the figures compare.
    Footprint Measure() {
        const Hardware current = bench.Description();
        bench.Change([this](Hardware &hardware) { hardware = calm; });
        Reload();
        Recover();
        Unload();
        LogCapture::Clear();
        bench.Change([&](Hardware &hardware) { hardware = current; });
        return TakeFootprint();
    }

    void Tell(const Footprint &start, const Footprint &end) {
        std::printf("episodes   %d\nrequests   %llu\nrefreshes  %llu\nchanges    %llu\nfaults     %llu\n"
                    "lost       %llu up-calls for a while, %llu lives for good\n"
                    "unloads    %llu, %llu of them among requests\ncompared   %llu times with the description\n"
                    "resident   %zu kB at the start, %zu kB at the end\n"
                    "allocated  %zu B at the start, %zu B at the end\nwrong      %llu\n",
                    episodes, Printable(requests), Printable(Refreshes()), Printable(changes), Printable(faults),
                    Printable(losses), Printable(abandoned), Printable(unloads), Printable(unloadsAmongRequests),
                    Printable(comparisons), start.resident / 1024, end.resident / 1024, start.heap, end.heap,
                    Printable(findings.Count()));
    }

    Findings findings;

private:
    static unsigned long long Printable(std::uint64_t number) { return number; }

    // While the vendor owes an answer to one refresh, all that needs nothing of it follows the hardware. The answer
    // comes during the storm.
    void FollowWithoutOne() {
        const RefreshedKind &kind = kRefreshedKinds[dice.Below(std::size(kRefreshedKinds))];
        BeginFault(Rule(Operation::Associators)
                       .Along("CIM_SystemDevice", kind.vendorClass)
                       .After(static_cast<std::uint64_t>(dice.Below(2)))
                       .Times(1)
                       .Does(Effect::Lost));
        TestClock::Advance(StateUpdateInterval);
        bench.Enumerate(kind.className);
        if (!bench.Broker().Faults().AwaitLost(1, std::chrono::seconds(60)))
            return findings.Wrong(std::string("no refresh of ") + kind.className);
        Settle(1); // whoever else is inside an up-call when so much time passes is taken for lost
        bench.Change([this](Hardware &hardware) {
            for (int i = 0; i < 10; ++i) random.Change(hardware);
        });
        TestClock::Advance(3600); // nobody notices until the next request
        if (bench.Broker().AskToUnload(kProvider) != CMPI_RC_DO_NOT_UNLOAD)
            findings.Wrong("a clean-up that can be declined ends a life with a lost up-call");
        for (const RefreshedKind &each : kRefreshedKinds) {
            TestClock::Advance(StateUpdateInterval);
            bench.Enumerate(each.className);
            Settle(1);
        }
        CheckWorkers(1);
        const RaidController_t *ctrl = ControllerOfLostUpcall();
        if (ctrl == nullptr) return findings.Wrong("a lost up-call is not noticed");
        Compare(Depth::WhatRefreshesFollow, "beside a lost up-call", 1,
                kind.prefix + std::string(ctrl->DeviceID) + "_*");
    }

    void Storm(Weather weather) {
        Clients clients(bench.Broker(), kClients, dice.Seed(), findings);
        clients.LetIn(weather);
        std::thread changing([this, &clients, seed = dice.Seed()] { ChangeHardware(clients, seed); });
        while (PassRequests(clients, 40)) {
            if (weather == Weather::Foul && dice.OneIn(2)) BeginFault(RandomFault(dice));
            if (failing.size() > 6) EndFault();
            if (dice.OneIn(12)) UnloadAmongRequests(clients, weather);
            if (dice.OneIn(20)) bench.Broker().AskToUnload(kProvider); // with requests running: as it likes
            if (dice.OneIn(20)) bench.Broker().CallFactoryAgain(kProvider);
        }
        changing.join();
        clients.KeepOut();
        requests += clients.Requests();
    }

    // On a thread of its own: hardware and time.
    void ChangeHardware(Clients &clients, std::uint64_t seed) {
        Dice pace(seed);
        while (PassRequests(clients, 1 + pace.Below(30))) {
            bench.Change([&](Hardware &hardware) {
                for (int i = pace.Below(4); i >= 0; --i) random.Change(hardware);
            });
            ++changes;
            TestClock::Advance(pace.OneOf<time_t>({0, 1, 7, StateUpdateInterval, 2 * StateUpdateInterval}));
        }
    }

    // Waits until the clients have made some more requests; false when that makes an episode.
    static bool PassRequests(Clients &clients, int some) {
        const std::uint64_t next = clients.Requests() + static_cast<std::uint64_t>(some);
        clients.WaitForRequests(std::min(next, kRequestsPerEpisode));
        return next < kRequestsPerEpisode;
    }

    void BeginFault(const FaultRule &rule) { failing.push_back({bench.Inject(rule), rule.effect}); }
    void EndFault() { // what it has lost is answered
        const auto [id, effect] = failing.front();
        (effect == Effect::Lost ? losses : faults) += bench.Broker().Faults().Hit(id);
        bench.Broker().Faults().Remove(id);
        failing.pop_front();
    }

    void UnloadAmongRequests(Clients &clients, Weather weather) {
        const bool abandon = bench.Broker().Faults().LostNow() > 0 && Clock::now() >= nextAbandonment;
        if (abandon && dice.OneIn(2)) return Abandon();
        clients.KeepOut();
        if (abandon)
            Abandon();
        else
            Unload(); // whatever the workers are doing
        ++unloadsAmongRequests;
        clients.LetIn(weather);
    }

    // Clean-up that cannot be declined ends a life with a lost up-call, within its limit. The next one begins beside
    // it.
    void Abandon() {
        const auto start = Clock::now();
        const CMPIrc rc = bench.Broker().CallCleanUp(kProvider, true);
        const std::chrono::duration<double> took = Clock::now() - start;
        if (rc != CMPI_RC_OK) findings.Wrong("a terminating clean-up answers " + std::to_string(rc));
        if (took > kCleanUpLimit) findings.Wrong("a terminating clean-up takes " + std::to_string(took.count()) + " s");
        bench.Broker().CallFactoryAgain(kProvider);
        nextAbandonment = Clock::now() + kBetweenAbandonedLives;
        ++leftBehind;
        ++abandoned;
    }

    // Declined for as long as a job is inside an up-call, which a lost one would be for ever.
    void Unload() {
        TestClock::Advance(3600);
        CMPIrc rc = CMPI_RC_OK;
        Eventually([&] {
            bench.Broker().Faults().AnswerLost();
            rc = bench.Broker().AskToUnload(kProvider);
            return rc != CMPI_RC_DO_NOT_UNLOAD;
        });
        if (rc != CMPI_RC_OK) findings.Wrong("an idle provider answers its clean-up with " + std::to_string(rc));
        const auto nothingIsAlive = [this] {
            const cim::LiveObjects live = bench.Broker().Live();
            return live.lent + live.clones + live.contexts + live.attachedThreads == 0;
        };
        if (!(leftBehind > 0 ? Eventually(nothingIsAlive) : nothingIsAlive())) {
            const cim::LiveObjects live = bench.Broker().Live();
            findings.Wrong("after the unload live " + std::to_string(live.lent) + " lent objects, " +
                           std::to_string(live.clones) + " clones, " + std::to_string(live.contexts) + " contexts, " +
                           std::to_string(live.attachedThreads) + " threads");
        }
        ++unloads;
    }

    void Reload() {
        Unload();
        bench.Load();
        Settle();
    }

    // All jobs are done but `stuck` ones.
    void Settle(std::uint32_t stuck = 0) {
        const auto done = [&] {
            const Workers workers = TheWorkers();
            return workers.queueIsEmpty && workers.active == stuck;
        };
        if (!Eventually(done)) findings.Wrong("the workers do not come to rest");
    }

    // The lost ones have been replaced, those that came back have left, and so have all of lives left behind.
    void CheckWorkers(std::uint32_t lost) {
        const auto asMany = [&] {
            const Workers workers = TheWorkers();
            return workers.running == kWorkers + lost && workers.lost == lost &&
                   bench.Broker().Live().contexts == workers.running;
        };
        if (Eventually(asMany)) return;
        const Workers workers = TheWorkers();
        findings.Wrong(std::to_string(workers.running) + " workers, " + std::to_string(workers.lost) +
                       " of them lost, " + std::to_string(bench.Broker().Live().contexts) + " contexts, with " +
                       std::to_string(lost) + " lost up-calls");
    }

    // With nothing going wrong any more, every kind is refreshed once.
    void Recover() {
        bench.Broker().Load(kProvider);
        // A start that failed is tried again by the factory; one that found no means for any worker is not.
        bench.Broker().CallFactoryAgain(kProvider);
        if (ThisLife().RaidControllerList.Size == 0 || TheWorkers().running == 0) Reload();
        Settle();
        for (const char *className : {kVolume, kPort, kBattery}) {
            TestClock::Advance(StateUpdateInterval);
            bench.Enumerate(className);
            Settle();
        }
    }

    void Compare(Depth depth, const char *when, std::uint32_t stuck = 0, const std::string &except = {}) {
        for (const std::string &difference : Differences(bench, depth, except))
            findings.Wrong(std::string(when) + ": " + difference);
        ++comparisons;
        Settle(stuck);
    }

    void CheckObjects() {
        const auto areRecords = [this] { return bench.Broker().Live().clones == PathsOwned(); };
        if (leftBehind > 0) Eventually(areRecords); // the last thing that a life's last thread frees
        const cim::LiveObjects live = bench.Broker().Live();
        if (!areRecords() || live.lent != 0)
            findings.Wrong(std::to_string(live.clones) + " clones and " + std::to_string(live.lent) +
                           " lent objects live, records own " + std::to_string(PathsOwned()));
    }

    std::uint64_t Refreshes() {
        std::uint64_t sum = 0;
        for (const cim::Faults::Id walk : walks) sum += bench.Broker().Faults().Matched(walk);
        return sum;
    }

    const LogMask quiet{LOG_UPTO(LOG_WARNING)};
    Dice dice;
    RandomHardware random; // the changing thread's during a storm, as the description
    const Hardware calm;
    LinkedBench bench;
    std::vector<cim::Faults::Id> walks;
    std::deque<std::pair<cim::Faults::Id, Effect>> failing;
    int episodes = 0;
    int leftBehind = 0;                              // lives of this episode
    inline static Clock::time_point nextAbandonment; // in whatever soak
    std::atomic<std::uint64_t> changes{0};
    std::uint64_t requests = 0, faults = 0, unloads = 0, unloadsAmongRequests = 0, comparisons = 0, losses = 0,
                  abandoned = 0;
};

struct SoakIn : testing::TestWithParam<bool> {};

// The unkind broker first, so that a short run abandons a life there.
INSTANTIATE_TEST_SUITE_P(Brokers, SoakIn, testing::Values(true, false),
                         [](const auto &test) { return test.param ? "Unkind" : "Kind"; });

TEST_P(SoakIn, EveryAnswerIsWellFormedAndNothingGrows) {
    const std::uint64_t seconds = FromEnvironment("TEST_SECONDS", 2);
    const std::uint64_t seed = FromEnvironment("TEST_SEED", 20240101);
    BenchOptions options;
    if (GetParam()) {
        options.memory = cim::kFreedByRelease;
        options.unkind = cim::kUnkind;
    }
    std::printf("broker     %s\nseed       %llu\n", GetParam() ? "unkind" : "kind",
                static_cast<unsigned long long>(seed));
    Soak soak(options, seed);
    for (int i = 0; i < kWarmUp; ++i) soak.Episode();
    const Footprint before = soak.Measure();
    const auto end = Clock::now() + std::chrono::milliseconds(seconds * 1000 / 2); // one half in each broker
    while (Clock::now() < end && soak.findings.Count() == 0) soak.Episode();
    const Footprint after = soak.Measure();
    soak.Tell(before, after);
    EXPECT_EQ(soak.findings.Count(), 0u);
    EXPECT_LE(after.heap, before.heap + kHeapSlack);
#ifndef QUARNEL_SANITIZED // whose books, and what they keep of freed memory, grow for long
    EXPECT_LE(after.resident, before.resident + kResidentSlack);
#endif
}

} // namespace
} // namespace support
