#include "bench/Turns.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <ctime>
#include <numeric>
#include <stdexcept>

namespace bench {
namespace {

class Collector : public benchmark::BenchmarkReporter {
public:
    explicit Collector(Report &to) : report(to) {}

    bool ReportContext(const Context &) override { return true; }
    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Iteration) continue;
            if (run.error_occurred) throw std::runtime_error(run.error_message);
            for (const auto &[name, counter] : run.counters) report.Add(name, counter.value);
        }
    }

private:
    Report &report;
};

void Configure() {
    std::vector<std::string> arguments = {
        "quarnel-bench", fmt::format("--benchmark_repetitions={}", turnOptions.repetitions),
        fmt::format("--benchmark_min_time={}", turnOptions.minTime), "--benchmark_enable_random_interleaving=true"};
    std::vector<char *> pointers;
    for (std::string &argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, pointers.data());
}

// One sample: as many rounds as it takes, in each of which every turn has its runs.
void Sample(const std::vector<Turn> &group, benchmark::State &state) {
    std::vector<double> seconds(group.size());
    for (auto _ : state) {
        double round = 0;
        for (std::size_t i = 0; i < group.size(); ++i) {
            double turn = 0;
            for (int run = 0; run < group[i].runs; ++run) turn += group[i].once();
            seconds[i] += turn / group[i].runs;
            round += turn;
        }
        state.SetIterationTime(round);
    }
    for (std::size_t i = 0; i < group.size(); ++i)
        state.counters[group[i].name] = seconds[i] / static_cast<double>(state.iterations());
}

double TimeOf(clockid_t clock, const std::function<void()> &work) {
    const auto now = [clock] {
        timespec time{};
        clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    const double start = now();
    work();
    return now() - start;
}

} // namespace

TurnOptions turnOptions;

Turns &Turns::Together(std::vector<Turn> group) {
    groups.push_back(std::move(group));
    return *this;
}

void Turns::Run(Report &report) {
    Configure();
    benchmark::ClearRegisteredBenchmarks();
    for (const auto &group : groups)
        benchmark::RegisterBenchmark(group.front().name.c_str(), [&group](benchmark::State &state) {
            Sample(group, state);
        })->UseManualTime();
    Collector collector(report);
    benchmark::RunSpecifiedBenchmarks(&collector, ".");
}

double WallTimeOf(const std::function<void()> &work) { return TimeOf(CLOCK_MONOTONIC, work); }
double ThreadTimeOf(const std::function<void()> &work) { return TimeOf(CLOCK_THREAD_CPUTIME_ID, work); }
double ProcessTimeOf(const std::function<void()> &work) { return TimeOf(CLOCK_PROCESS_CPUTIME_ID, work); }

} // namespace bench
