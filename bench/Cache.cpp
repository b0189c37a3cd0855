// What the cache saves a client, beside asking the vendor's model for the same facts itself.
#include "bench/DirectClient.h"
#include "bench/Groups.h"
#include "bench/Turns.h"

#include <fmt/format.h>

#include <stdexcept>

namespace bench {
namespace {

constexpr int kSlowRuns = 3; // each takes seconds
constexpr int kFastRuns = 100;

void ReadAll(const DirectClient &client, const Rig &rig) {
    if (client.ReadFacts() != rig.Disks()) throw std::runtime_error("the client does not find all disks");
}

} // namespace

void MeasureCache(Report &report) {
    const Json hardware = Describe({});
    Rig rig(hardware);
    rig.Start();
    const DirectClient client(rig);
    Turns()
        .Together({Timed<ThreadTimeOf>("facts/direct/0 ms", [&] { ReadAll(client, rig); }),
                   Timed<ThreadTimeOf>("facts/provider/0 ms", [&] { rig.Enumerate(kExtents); })})
        .Run(report);

    rig.Describe(Slowed(hardware, 5));
    for (int i = 0; i < kSlowRuns; ++i) {
        report.Add("facts/direct/5 ms", WallTimeOf([&] { ReadAll(client, rig); }));
        report.Add("facts/provider/5 ms", WallTimeOf([&] {
                                              for (int j = 0; j < kFastRuns; ++j) rig.Enumerate(kExtents);
                                          }) / kFastRuns);
    }
    rig.Describe(hardware);
    report.Ratio("what the cache saves: asking the vendor ÷ the provider, 84 disks, 0 ms per up-call",
                 "facts/direct/0 ms", "facts/provider/0 ms", AtLeast(5));
    report.Ratio("what the cache saves: the same at 5 ms per up-call", "facts/direct/5 ms", "facts/provider/5 ms",
                 AtLeast(1000));
}

} // namespace bench
