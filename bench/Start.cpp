// What the factory call adds to the up-calls that it makes and the threads that it starts.
#include "bench/DirectClient.h"
#include "bench/Groups.h"
#include "bench/Turns.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <chrono>
#include <deque>
#include <stdexcept>
#include <thread>
#include <vector>

namespace bench {
namespace {

using namespace std::chrono_literals;

// The library stays mapped between two lives of the provider: mapping it is the loader's work, not the factory's.
void KeepMapped(const Rig &rig) {
    if (dlopen(rig.ProviderFile().c_str(), RTLD_NOW | RTLD_LOCAL) == nullptr) throw std::runtime_error(dlerror());
}

// One life of the provider, with its factory call in the middle of what is timed or behind it: either way the caches
// have seen another life meanwhile.
double TimeFactory(Rig &rig) {
    const double time = ThreadTimeOf([&rig] { rig.Load(); });
    rig.Broker().WaitForBackground(5ms, 60s);
    rig.Unload();
    return time;
}

// What the factory cannot do without: its up-calls, and three workers.
double TimeNeeds(Rig &rig) {
    TimeFactory(rig);
    std::vector<std::thread> workers;
    const double time = ThreadTimeOf([&] {
        DirectClient::FactoryUpcalls(rig);
        for (int i = 0; i < 3; ++i) workers.emplace_back([] {});
    });
    for (std::thread &worker : workers) worker.join();
    return time;
}

} // namespace

void MeasureStart(Report &report) {
    Turns turns;
    std::deque<Rig> rigs;
    for (const int controllers : {1, 32}) {
        Rig &rig = rigs.emplace_back(Describe({1, 1, 1, controllers}));
        KeepMapped(rig);
        TimeFactory(rig);
        turns.Together({{fmt::format("factory/{}", controllers), [&rig] { return TimeFactory(rig); }},
                        {fmt::format("factory/needs/{}", controllers), [&rig] { return TimeNeeds(rig); }}});
    }
    turns.Run(report);
    for (const int controllers : {1, 32})
        report.Ratio(
            fmt::format("start: factory call, controllers: {}, ÷ its up-calls and three thread starts", controllers),
            fmt::format("factory/{}", controllers), fmt::format("factory/needs/{}", controllers), AtMost(1.1));
}

} // namespace bench
