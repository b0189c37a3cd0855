// What the factory call adds to the up-calls that it makes and the threads that it starts.
#include "bench/DirectClient.h"
#include "bench/Groups.h"
#include "bench/Turns.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <chrono>
#include <deque>
#include <future>
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

// What `work` takes, and then three threads that live on until the time is taken, as the provider's workers do.
double TimeWithThreads(const std::function<void()> &work) {
    std::promise<void> over;
    std::vector<std::thread> threads;
    const double time = ThreadTimeOf([&, end = over.get_future().share()] {
        work();
        for (int i = 0; i < 3; ++i) threads.emplace_back([end] { end.wait(); });
    });
    over.set_value();
    for (std::thread &thread : threads) thread.join();
    return time;
}

// Either is timed when three threads have just ended, whose stacks the next ones get, and the caches have seen another
// life of the provider since the last time.
double TimeFactory(Rig &rig) {
    TimeWithThreads([] {});
    const double time = ThreadTimeOf([&rig] { rig.Load(); });
    rig.Broker().WaitForBackground(5ms, 60s);
    rig.Unload();
    return time;
}

// What the factory cannot do without.
double TimeNeeds(Rig &rig) {
    TimeFactory(rig);
    TimeWithThreads([] {});
    return TimeWithThreads([&rig] { DirectClient::FactoryUpcalls(rig); });
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
