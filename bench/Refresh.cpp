// What a refresh costs beside the up-calls that it makes, and how it grows.
#include "bench/DirectClient.h"
#include "bench/Groups.h"
#include "bench/Growth.h"
#include "bench/Rig.h"
#include "bench/Turns.h"

#include <fmt/format.h>

#include <deque>

namespace bench {
namespace {

constexpr struct {
    const char *name;
    Order order;
    double target;
} kOrders[] = {{"same", Order::Same, 1.2}, {"reversed", Order::Reversed, 2}, {"random", Order::Random, 2}};

// The disks are built in one order and enumerated in another from then on.
Rig &StartOrdered(std::deque<Rig> &rigs, int disks, Order order) {
    const Json hardware = Describe({disks});
    Rig &rig = rigs.emplace_back(hardware);
    rig.Start();
    rig.Describe(Ordered(hardware, order));
    rig.RefreshDisks();
    return rig;
}

} // namespace

void MeasureRefresh(Report &report) {
    std::deque<Rig> rigs;
    Turns turns;
    for (const auto &[name, order, target] : kOrders) {
        std::vector<Turn> growth;
        for (const int disks : kGrowthSizes) {
            Rig &rig = StartOrdered(rigs, disks, order);
            growth.push_back(Timed<ProcessTimeOf>(
                RefreshGrowth(name, disks), [&rig] { rig.RefreshDisks(); }, 1024 / disks));
        }
        turns.Together(growth);
    }
    Rig &rig = rigs.emplace_back(Describe({1000}));
    rig.Start();
    const DirectClient client(rig);
    turns
        .Together({Timed<ProcessTimeOf>("refresh/provider/1000", [&rig] { rig.RefreshDisks(); }),
                   Timed<ProcessTimeOf>("refresh/bare loop/1000", [&client] { client.RefreshUpcalls(); })})
        .Run(report);
    for (const auto &[name, order, target] : kOrders)
        report.Put(fmt::format("growth of a refresh: time per disk, 1,024 disks ÷ 64, {} order", name),
                   report.MedianRatio(RefreshGrowth(name, 1024), RefreshGrowth(name, 64)) * 64 / 1024, AtMost(target));
    report.Ratio("refresh overhead: 1,000 disks ÷ the same up-calls alone", "refresh/provider/1000",
                 "refresh/bare loop/1000", AtMost(1.2));
}

} // namespace bench
