// Everything at once and for long: clients ask, hardware changes, time passes, up-calls and objects fail, up-calls are
// not answered for a while, the provider is unloaded and loaded again, in brokers kind and unkind. All answers are well
// formed, the model comes back to what is there, and nothing grows.
//
// Some seconds; TEST_SECONDS sets another length, TEST_SEED other decisions.
#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"
#include "tests/provider/Model.h"
#include "tests/soak/Clients.h"
#include "tests/soak/RandomHardware.h"

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <malloc.h>
#include <regex>
#include <unistd.h>

#ifdef QUARNEL_SANITIZED
#include <sanitizer/allocator_interface.h>
#endif

namespace support {
namespace {

using cim::Operation;
using Effect = cim::FaultRule::Effect;

constexpr int kClients = 4;
constexpr std::uint64_t kRequestsPerEpisode = 1000;
constexpr int kWarmUp = 4;                                        // episodes before growth is looked at
constexpr std::size_t kHeapSlack = 128 * 1024;                    // what this thread keeps at hand of what it has freed
[[maybe_unused]] constexpr std::size_t kResidentSlack = 16 << 20; // what the heap's free pieces may take

std::uint64_t FromEnvironment(const char *name, std::uint64_t otherwise) {
    const char *value = getenv(name);
    return value != nullptr && *value != '\0' ? std::strtoull(value, nullptr, 10) : otherwise;
}

struct Footprint {
    std::size_t heap;     // bytes that are allocated
    std::size_t resident; // bytes of the process that are in memory
};

Footprint TakeFootprint() {
    malloc_trim(0);
    std::size_t total = 0, pages = 0;
    std::ifstream("/proc/self/statm") >> total >> pages;
#ifdef QUARNEL_SANITIZED
    const std::size_t heap = __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    const std::size_t heap = info.uordblks + info.hblkhd;
#endif
    return {heap, pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE))};
}

// One thing that goes wrong a few times, some time from now.
cim::FaultRule RandomFault(Dice &dice) {
    const auto upcalls = {Operation::EnumerateInstances, Operation::GetInstance, Operation::Associators,
                          Operation::AssociatorNames};
    const auto objects = {
        Operation::NewObjectPath, Operation::NewInstance,        Operation::NewArray, Operation::Clone,
        Operation::GetObjectPath, Operation::GetClassName,       Operation::ToString, Operation::GetCharPtr,
        Operation::ToArray,       Operation::PrepareAttachThread};
    // Not answered until the fault ends. In a factory's walk the broker's requests would be lost, too.
    const auto workersWalks = {"CIM_SystemDevice",      "CIM_HostedStoragePool",  "CIM_SystemPackaging",
                               "CIM_MediaPresent",      "CIM_PackageInConnector", "CIM_Container",
                               "CIM_ConcreteComponent", "CIM_ElementSettingData", "CIM_AllocatedFromStoragePool"};
    Rule rule = dice.OneOf({Rule(upcalls).Takes(std::chrono::milliseconds(1 + dice.Below(10))),
                            Rule(dice.OneOf(objects)).Does(Effect::NullWithOk),
                            Rule(upcalls).Does(dice.OneOf({Effect::Fail, Effect::NullWithOk, Effect::Empty})),
                            Rule(upcalls).Fails().Saying("out of order"),
                            Rule(Operation::Associators).Along(dice.OneOf(workersWalks)).Does(Effect::Lost)});
    const bool lost = rule.effect == Effect::Lost;
    return rule.After(static_cast<std::uint64_t>(dice.Below(lost ? 20 : 200)))
        .Times(static_cast<std::uint64_t>(lost ? 1 : 1 + dice.Below(5)));
}

// What a refresh takes over of the devices that it knows; the rest is read when the device appears, and is not there
// when reading went wrong. An extent's health depends on its pool's Primordial.
const std::regex kFollowed(R"((StorageVolume|StorageExtent|Battery)\.OperationalStatus|)"
                           R"(StorageVolume\.(ExtentStatus|HealthState|NumberOfBlocks|ConsumableBlocks)|)"
                           R"(Battery\.(Caption|BatteryStatus|HealthState))");

class Soak {
public:
    Soak(const BenchOptions &options, std::uint64_t seed)
        : dice(seed), random(seed + 1), calm(random.Start()), bench(RandomHardware(1).EveryState(), options) {
        CleanupLimit = 100; // milliseconds
        Reload();
        for (const char *className : kServedClasses)
            for (const cim::Instance &sample : bench.Enumerate(className)) wellFormed.Learn(sample);
        bench.Change([this](Hardware &hardware) { hardware = calm; });
    }
    ~Soak() { CleanupLimit = 3000; }

    // Ends with the provider unloaded. Every second episode things go wrong. What is served after the storm is then
    // compared with what a new life serves.
    void Episode() {
        const Weather weather = done["episodes"]++ % 2 == 1 ? Weather::Foul : Weather::Fair;
        bench.Change([&](Hardware &hardware) { random.NewSeason(hardware, weather == Weather::Foul); });
        Reload();
        Storm(weather);
        while (!failing.empty()) EndFault();
        Recover();
        const Sight followed = Look();
        EXPECT_TRUE(Eventually([this] { // the lost ones have been replaced, those that came back have left
            return bench.Broker().Live().attachedThreads == kWorkers && bench.Broker().Live().contexts == kWorkers;
        }));
        bench.LetEveryWorkerWork();
        EXPECT_TRUE(Eventually([this] { return bench.Broker().Live().clones == PathsOwned(); }));
        bench.ExpectOnlyRecordsAlive();
        Reload();
        Compare(followed, Look(), weather);
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

    void Tell() const {
        for (const auto &[what, times] : done)
            std::printf("%-40s %llu\n", what.c_str(), static_cast<unsigned long long>(times));
    }

private:
    struct Sight {
        std::set<std::string> controllers;
        Facts facts;
    };

    void Storm(Weather weather) {
        Clients clients(bench.Broker(), wellFormed, kClients, dice.Seed());
        clients.LetIn(weather);
        std::uint64_t requests = 0;
        while (requests < kRequestsPerEpisode) {
            bench.Change([&](Hardware &hardware) {
                for (int i = dice.Below(4); i >= 0; --i) random.Change(hardware);
            });
            ++done["changes of the hardware"];
            TestClock::Advance(dice.OneOf<time_t>({0, 1, 7, StateUpdateInterval, 2 * StateUpdateInterval}));
            if (weather == Weather::Foul && dice.OneIn(4)) failing.push_back(bench.Inject(RandomFault(dice)));
            if (failing.size() > 6) EndFault();
            if (dice.OneIn(LostUpcall() ? 6 : 30)) UnloadAmongRequests(clients, weather);
            if (dice.OneIn(40)) bench.Broker().AskToUnload(kProvider); // with requests running: as it likes
            if (dice.OneIn(40)) bench.Broker().CallFactoryAgain(kProvider);
            requests = clients.WaitForMore(1 + dice.Below(30));
        }
        clients.KeepOut();
        done["requests"] += requests;
    }

    void EndFault() { // what it has lost is answered
        done["faults"] += bench.Broker().Faults().Hit(failing.front());
        bench.Broker().Faults().Remove(failing.front());
        failing.pop_front();
    }

    bool LostUpcall() { return bench.Broker().Faults().LostNow() > 0; }

    // Whatever the workers are doing. A life with a lost up-call is left behind, also while requests are running.
    void UnloadAmongRequests(Clients &clients, Weather weather) {
        const bool abandon = LostUpcall(), amid = abandon && dice.OneIn(2);
        if (!amid) clients.KeepOut();
        if (abandon) {
            EXPECT_EQ(bench.Broker().CallCleanUp(kProvider, true), CMPI_RC_OK);
            bench.Broker().CallFactoryAgain(kProvider);
        } else {
            Unload();
        }
        if (!amid) clients.LetIn(weather);
        ++done[abandon ? "lives left behind" : "unloads among requests"];
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
        EXPECT_EQ(rc, CMPI_RC_OK);
        bench.ExpectNothingAlive();
        ++done["unloads"];
    }

    void Reload() {
        Unload();
        bench.Load();
        EXPECT_TRUE(WorkersIdle());
    }

    // With nothing going wrong any more, every kind is refreshed once.
    void Recover() {
        bench.Broker().Load(kProvider);
        // A start that failed is tried again by the factory; one that found no means for any worker is not.
        bench.Broker().CallFactoryAgain(kProvider);
        if (ThisLife().RaidControllerList.Size == 0 || !AnyWorker()) Reload();
        EXPECT_TRUE(WorkersIdle());
        for (const char *className : {kVolume, kPort, kBattery}) {
            TestClock::Advance(StateUpdateInterval);
            bench.Refresh(className);
        }
    }

    static bool AnyWorker() {
        const ThreadsLock lock(ThisLife().QuarnelThreadMutex);
        return ThisLife().RunningWorkers > 0;
    }

    Sight Look() {
        Sight sight = {{}, FactsOf(bench)};
        EXPECT_TRUE(WorkersIdle()); // requests ask for refreshes
        for (const RaidController_t *ctrl : Each<RaidController_t>(&ThisLife().RaidControllerList))
            if (ctrl->ControllerOp != nullptr) sight.controllers.insert(ctrl->DeviceID);
        return sight;
    }

    void Compare(const Sight &followed, const Sight &fresh, Weather weather) {
        const Facts wanted = Comparable(fresh, followed.controllers, weather);
        EXPECT_EQ(Changes(Comparable(followed, fresh.controllers, weather), wanted), "nothing changes");
        done["facts compared with a new life's"] += wanted.size();
    }

    // Of the controllers that both lives know: others come and go when the provider is loaded. In foul weather what
    // refreshes follow, and what is there at all.
    static Facts Comparable(const Sight &sight, const std::set<std::string> &others, Weather weather) {
        Facts facts;
        for (const auto &[name, value] : sight.facts) { // "Battery zbrControllerBatteryc0_b1.Caption"
            const std::size_t begin = name.find(' '), end = name.find('.');
            const std::string controller = IdentityOf(name.substr(begin + 1, end - begin - 1)).controller;
            if (sight.controllers.count(controller) == 0 || others.count(controller) == 0) continue;
            facts[name.substr(0, end) + ".there"];
            if (weather == Weather::Fair || std::regex_match(name.substr(0, begin) + name.substr(end), kFollowed))
                facts[name] = WithMembersSorted(value);
        }
        return facts;
    }

    const LogMask quiet{LOG_UPTO(LOG_WARNING)};
    Dice dice;
    RandomHardware random;
    const Hardware calm;
    LinkedBench bench;
    WellFormed wellFormed;
    std::deque<cim::Faults::Id> failing;
    std::map<std::string, std::uint64_t> done;
};

struct SoakIn : testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(Brokers, SoakIn, testing::Values(true, false),
                         [](const auto &test) { return test.param ? "Unkind" : "Kind"; });

TEST_P(SoakIn, EveryAnswerIsWellFormedAndNothingGrows) {
    const std::uint64_t seconds = FromEnvironment("TEST_SECONDS", 1);
    const std::uint64_t seed = FromEnvironment("TEST_SEED", 20240101);
    BenchOptions options;
    if (GetParam()) {
        options.memory = cim::kFreedByRelease;
        options.unkind = cim::kUnkind;
    }
    std::printf("%s broker, seed %llu\n", GetParam() ? "unkind" : "kind", static_cast<unsigned long long>(seed));
    Soak soak(options, seed);
    for (int i = 0; i < kWarmUp; ++i) soak.Episode();
    const Footprint before = soak.Measure();
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(seconds * 1000 / 2); // in each broker
    while (std::chrono::steady_clock::now() < end && !HasFailure()) soak.Episode();
    const Footprint after = soak.Measure();
    soak.Tell();
    std::printf("%zu kB and then %zu kB resident, %zu and then %zu bytes allocated\n", before.resident / 1024,
                after.resident / 1024, before.heap, after.heap);
    EXPECT_LE(after.heap, before.heap + kHeapSlack);
#ifndef QUARNEL_SANITIZED // whose books, and what they keep of freed memory, grow for long
    EXPECT_LE(after.resident, before.resident + kResidentSlack);
#endif
}

} // namespace
} // namespace support
