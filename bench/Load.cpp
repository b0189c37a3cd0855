// Whether requests notice that refreshes are waiting for a slow vendor.
#include "bench/Groups.h"
#include "bench/Rig.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

namespace bench {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kClients = 8;
constexpr int kRounds = 5;
constexpr auto kPhase = 1500ms;

// All clients ask for one class after another; every request is a sample.
void Ask(Rig &rig, Report &report, const char *name) {
    std::mutex mutex;
    const auto end = Clock::now() + kPhase;
    std::vector<std::thread> clients;
    for (int i = 0; i < kClients; ++i)
        clients.emplace_back([&] {
            std::vector<double> times;
            for (std::size_t next = 0; Clock::now() < end; ++next) {
                const auto start = Clock::now();
                rig.Enumerate(kDevices[next % std::size(kDevices)]);
                times.push_back(std::chrono::duration<double>(Clock::now() - start).count());
            }
            const std::lock_guard lock(mutex);
            for (const double time : times) report.Add(name, time);
        });
    for (std::thread &client : clients) client.join();
}

// Refreshes of every kind are due again and again, and each takes seconds.
void AskDuringRefreshes(Rig &rig, Report &report, const Json &hardware, const char *name) {
    rig.Describe(Slowed(hardware, 200));
    std::atomic<bool> done{false};
    std::thread clock([&] {
        while (!done) {
            MakeRefreshesDue();
            std::this_thread::sleep_for(100ms);
        }
    });
    Ask(rig, report, name);
    done = true;
    clock.join();
    rig.Describe(hardware);
}

// Until every kind is fresh, so that the next requests start nothing.
void Settle(Rig &rig) {
    for (std::uint64_t before = 0; before != rig.Broker().UpcallCount();) {
        rig.Broker().WaitForBackground(300ms, 60s);
        before = rig.Broker().UpcallCount();
        for (const Kind &kind : kDevices) rig.Trigger(kind);
        rig.Broker().WaitForBackground(50ms, 60s);
    }
}

} // namespace

void MeasureLoad(Report &report) {
    const Json hardware = Describe({24});
    Rig rig(hardware);
    rig.Start();
    for (int i = 0; i < kRounds; ++i) {
        Settle(rig);
        Ask(rig, report, "requests/alone");
        AskDuringRefreshes(rig, report, hardware, "requests/during refreshes");
    }
    Settle(rig);
    const auto ratio = [&](double percent) {
        return report.Percentile("requests/during refreshes", percent) / report.Percentile("requests/alone", percent);
    };
    report.Put("answering under load: median during refreshes at 200 ms per up-call ÷ without", ratio(50), AtMost(1.2));
    report.Put("answering under load: 99th percentile", ratio(99), AtMost(2));
}

} // namespace bench
