// Everything at once and for long: clients ask, hardware changes, time passes, up-calls and objects fail, the provider
// is unloaded and loaded again. All answers are well formed, the model comes back to what is there, and nothing grows.
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
constexpr int kWarmUp = 4;                                        // episodes before growth is looked at
constexpr std::size_t kHeapSlack = 128 * 1024;                    // what this thread keeps at hand of what it has freed
[[maybe_unused]] constexpr std::size_t kResidentSlack = 16 << 20; // what the heap's free pieces may take

std::uint64_t FromEnvironment(const char *name, std::uint64_t otherwise) {
    const char *value = getenv(name);
    return value != nullptr && *value != '\0' ? std::strtoull(value, nullptr, 10) : otherwise;
}

// One thing that goes wrong a few times, some time from now.
FaultRule RandomFault(Dice &dice) {
    const std::vector<Operation> upcalls = {Operation::EnumerateInstances, Operation::GetInstance,
                                            Operation::Associators, Operation::AssociatorNames};
    FaultRule rule;
    switch (dice.Below(4)) {
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
    explicit Soak(std::uint64_t seed) : dice(seed), random(seed + 1), calm(random.Start()), bench(calm) {
        // Counts without ever hitting.
        for (const char *kind : {"CIM_DiskDrive", "CIM_StorageVolume", "CIM_SASSATAPort", "CIM_Battery"})
            walks.push_back(
                bench.Inject(Rule(Operation::Associators).Along("CIM_SystemDevice", kind).After(UINT64_MAX)));
    }

    // Ends with the provider unloaded. Every second episode things go wrong, and before each the model is built afresh
    // and compared as a whole.
    void Episode() {
        const Weather weather = episodes++ % 2 == 1 ? Weather::Foul : Weather::Fair;
        bench.Change([&](Hardware &hardware) { random.NewSeason(hardware, weather == Weather::Foul); });
        Reload();
        Compare(Depth::Everything, "a new life");
        Storm(weather);
        while (!failing.empty()) EndFault();
        Recover();
        Compare(weather == Weather::Fair ? Depth::Everything : Depth::WhatRefreshesFollow, "after the storm");
        bench.LetEveryWorkerWork();
        CheckObjects();
        Unload();
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
                    "unloads    %llu, %llu of them among requests\ncompared   %llu times with the description\n"
                    "resident   %zu kB at the start, %zu kB at the end\n"
                    "allocated  %zu B at the start, %zu B at the end\nwrong      %llu\n",
                    episodes, Printable(requests), Printable(Refreshes()), Printable(changes), Printable(faults),
                    Printable(unloads), Printable(unloadsAmongRequests), Printable(comparisons), start.resident / 1024,
                    end.resident / 1024, start.heap, end.heap, Printable(findings.Count()));
    }

    Findings findings;

private:
    static unsigned long long Printable(std::uint64_t number) { return number; }

    void Storm(Weather weather) {
        Clients clients(bench.Broker(), kClients, dice.Seed(), findings);
        clients.LetIn(weather);
        std::thread changing([this, &clients, seed = dice.Seed()] { ChangeHardware(clients, seed); });
        while (PassRequests(clients, 40)) {
            if (weather == Weather::Foul && dice.OneIn(2)) BeginFault();
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

    void BeginFault() { failing.push_back(bench.Inject(RandomFault(dice))); }
    void EndFault() {
        faults += bench.Broker().Faults().Hit(failing.front());
        bench.Broker().Faults().Remove(failing.front());
        failing.pop_front();
    }

    void UnloadAmongRequests(Clients &clients, Weather weather) {
        clients.KeepOut();
        Unload(); // whatever the workers are doing
        ++unloadsAmongRequests;
        clients.LetIn(weather);
    }

    void Unload() {
        TestClock::Advance(3600);
        const CMPIrc rc = bench.Broker().AskToUnload(kProvider);
        if (rc != CMPI_RC_OK) findings.Wrong("an idle provider answers its clean-up with " + std::to_string(rc));
        const cim::LiveObjects live = bench.Broker().Live();
        if (live.lent + live.clones + live.contexts + live.attachedThreads > 0)
            findings.Wrong("after the unload live " + std::to_string(live.lent) + " lent objects, " +
                           std::to_string(live.clones) + " clones, " + std::to_string(live.contexts) + " contexts, " +
                           std::to_string(live.attachedThreads) + " threads");
        ++unloads;
    }

    void Reload() {
        Unload();
        bench.Load();
        Settle();
    }

    void Settle() {
        if (!WorkersIdle()) findings.Wrong("the workers do not come to rest");
    }

    // With nothing going wrong any more, every kind is refreshed once.
    void Recover() {
        bench.Broker().Load(kProvider);
        // A start that failed is tried again by the factory; one that found no means for any worker is not.
        bench.Broker().CallFactoryAgain(kProvider);
        if (ThisLife().RaidControllerList.Size == 0 || bench.Broker().Live().contexts == 0) Reload();
        Settle();
        for (const char *className : {kVolume, kPort, kBattery}) {
            TestClock::Advance(StateUpdateInterval);
            bench.Enumerate(className);
            Settle();
        }
    }

    void Compare(Depth depth, const char *when) {
        for (const std::string &difference : Differences(bench, depth))
            findings.Wrong(std::string(when) + ": " + difference);
        ++comparisons;
        Settle();
    }

    void CheckObjects() {
        const cim::LiveObjects live = bench.Broker().Live();
        if (live.clones != PathsOwned() || live.lent != 0)
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
    std::deque<cim::Faults::Id> failing;
    int episodes = 0;
    std::atomic<std::uint64_t> changes{0};
    std::uint64_t requests = 0, faults = 0, unloads = 0, unloadsAmongRequests = 0, comparisons = 0;
};

TEST(Soak, EveryAnswerIsWellFormedAndNothingGrows) {
    const std::uint64_t seconds = FromEnvironment("TEST_SECONDS", 2);
    const std::uint64_t seed = FromEnvironment("TEST_SEED", 20240101);
    const auto end = Clock::now() + std::chrono::seconds(seconds);
    std::printf("seed       %llu\n", static_cast<unsigned long long>(seed));
    Soak soak(seed);
    for (int i = 0; i < kWarmUp; ++i) soak.Episode();
    const Footprint before = soak.Measure();
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
