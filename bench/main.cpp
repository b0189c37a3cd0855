// Measures the provider and says for every figure whether it meets its target.
#include "bench/Groups.h"
#include "bench/Turns.h"
#include "tests/support/TestClock.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <fstream>
#include <malloc.h>
#include <syslog.h>

namespace {

constexpr struct {
    const char *name;
    void (*measure)(bench::Report &report);
} kGroups[] = {
    {"memory", bench::MeasureMemory}, // first: a heap that others have used hides growth
    {"size", bench::MeasureSize},     {"rendering", bench::MeasureRendering}, {"logging", bench::MeasureLogging},
    {"cache", bench::MeasureCache},   {"refresh", bench::MeasureRefresh},     {"build", bench::MeasureFirstBuild},
    {"load", bench::MeasureLoad},     {"start", bench::MeasureStart},         {"end", bench::MeasureEnd},
    {"http", bench::MeasureHttp},     {"metrics", bench::MeasureMetrics},
};

constexpr time_t kBeginning = 1'700'000'000;

// What is freed stays in the process: whether a run hands memory back to the system and has to fetch it again depends
// on how the heap happens to lie, and would decide more than what is measured.
void KeepHeap() {
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 25);
}

struct Options {
    std::vector<std::string> only;
    std::string json, plot;
};

void Measure(const Options &options, bench::Report &report) {
    for (const auto &group : kGroups) {
        const auto chosen = std::find(options.only.begin(), options.only.end(), group.name);
        if (!options.only.empty() && chosen == options.only.end()) continue;
        fmt::print(stderr, "measuring {}...\n", group.name);
        setlogmask(LOG_UPTO(LOG_INFO));
        group.measure(report);
    }
}

} // namespace

int main(int argc, char **argv) {
    CLI::App program("Measures the provider against its targets");
    Options options;
    std::vector<std::string> names;
    for (const auto &group : kGroups) names.emplace_back(group.name);
    program.add_option("--only", options.only, "Groups to measure, by default all")->check(CLI::IsMember(names));
    program.add_option("--json", options.json, "File that gets figures and samples as JSON");
    program.add_option("--plot", options.plot, "SVG file that gets the curves of growth");
    program.add_option("--repetitions", bench::turnOptions.repetitions, "Samples of each timing")
        ->check(CLI::PositiveNumber);
    program.add_option("--min-time", bench::turnOptions.minTime, "Seconds that each sample takes at least");
    CLI11_PARSE(program, argc, argv);

    KeepHeap();
    support::TestClock::Freeze(kBeginning);
    bench::Report report;
    try {
        Measure(options, report);
        fmt::print("{}", report.Table());
        if (!options.json.empty()) std::ofstream(options.json) << report.ToJson().dump(1) << '\n';
        if (!options.plot.empty() && !bench::PlotGrowth(report, options.plot)) {
            fmt::print(stderr, "quarnel-bench: gnuplot cannot draw {}\n", options.plot);
            return 1;
        }
    } catch (const std::exception &problem) {
        fmt::print(stderr, "quarnel-bench: {}\n", problem.what());
        return 1;
    }
    return report.AllMet() ? 0 : 2;
}
