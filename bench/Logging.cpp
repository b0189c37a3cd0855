// What log lines cost: written ones, and those that the mask keeps back.
#include "bench/Groups.h"
#include "bench/LogSink.h"
#include "bench/Rig.h"
#include "bench/Turns.h"
#include "cim/quarnel/QuarnelProviderUtil/Log.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <deque>

namespace bench {
namespace {

constexpr int kLines = 100'000;

void WriteMaskedLines() {
    for (int i = 0; i < kLines; ++i) {
        QLOG(LOG_DEBUG, "%s: checking disk %d\n", __func__, i);
        benchmark::ClobberMemory(); // the mask may have changed: it is looked at for every line
    }
}

void WithMask(int mask, const std::function<void()> &work) {
    setlogmask(mask);
    work();
    setlogmask(LOG_UPTO(LOG_INFO));
}

} // namespace

void MeasureLogging(Report &report) {
    ReadLogMask();
    const LogSink sink;
    Turns turns;
    std::deque<Rig> rigs;
    for (const int disks : {84, 1000}) {
        Rig &rig = rigs.emplace_back(Describe({disks}));
        rig.Start();
        turns.Together(
            {Timed<ThreadTimeOf>(fmt::format("extents/mask info/{}", disks), [&rig] { rig.Enumerate(kExtents); }),
             Timed<ThreadTimeOf>(fmt::format("extents/mask debug/{}", disks),
                                 [&rig] { WithMask(LOG_UPTO(LOG_DEBUG), [&rig] { rig.Enumerate(kExtents); }); })});
    }
    turns.Together({Timed<ThreadTimeOf>("masked lines", WriteMaskedLines)}).Run(report);
    for (const int disks : {84, 1000})
        report.Ratio(fmt::format("cost of logging: extents of {} disks, mask debug ÷ info", disks),
                     fmt::format("extents/mask debug/{}", disks), fmt::format("extents/mask info/{}", disks),
                     kReported);
    report.Put("cost of logging: a masked line", report.Median("masked lines") / kLines * 1e9, AtMost(5), "ns");
}

} // namespace bench
