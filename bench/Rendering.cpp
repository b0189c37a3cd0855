// What a client's enumeration costs beside what the broker needs to carry the instances, and how it grows.
#include "bench/BareProvider.h"
#include "bench/Groups.h"
#include "bench/Growth.h"
#include "bench/Rig.h"
#include "bench/Turns.h"

#include <fmt/format.h>

#include <deque>
#include <stdexcept>

namespace bench {
namespace {

constexpr struct {
    const char *name;
    Kind kind;
} kKinds[] = {{"extents", kExtents}, {"volumes", kVolumes}, {"ports", kPorts}};

bool SameBut(const std::vector<cim::Instance> &a, const std::vector<cim::Instance> &b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        cim::ObjectPath path = a[i].path;
        path.nameSpace = b[i].path->nameSpace;
        if (path != b[i].path || a[i].properties.size() != b[i].properties.size()) return false;
        for (std::size_t p = 0; p < a[i].properties.size(); ++p)
            if (a[i].properties[p].name != b[i].properties[p].name ||
                a[i].properties[p].value != b[i].properties[p].value)
                return false;
    }
    return true;
}

// Teaches the bare provider what the provider answers, and makes sure that it answers the same.
void TeachBare(Rig &rig, const Kind &kind) {
    const std::vector<cim::Instance> instances = rig.Enumerate(kind);
    ServeBare(rig.Broker().Handle(), kind.className, instances);
    if (!SameBut(instances, rig.Enumerate(kind, kBareNameSpace)))
        throw std::runtime_error(fmt::format("the bare provider answers other instances of {}", kind.className));
}

void TimeBothWays(Turns &turns, Rig &rig, std::size_t disks) {
    for (const auto &[name, kind] : kKinds) {
        TeachBare(rig, kind);
        const auto turn = [&rig, kind = kind, name = name, disks](const char *way, const char *nameSpace) {
            return Timed<ThreadTimeOf>(fmt::format("{}/{}/{}", name, way, disks),
                                       [&rig, kind, nameSpace] { rig.Enumerate(kind, nameSpace); });
        };
        turns.Together({turn("provider", kNameSpace), turn("bare", kBareNameSpace)});
    }
}

void PutOverheads(Report &report, int disks) {
    for (const auto &[name, kind] : kKinds)
        report.Ratio(fmt::format("rendering overhead: {} of {} disks ÷ bare", name, disks),
                     fmt::format("{}/provider/{}", name, disks), fmt::format("{}/bare/{}", name, disks), AtMost(1.25));
}

} // namespace

void MeasureRendering(Report &report) {
    Turns turns;
    std::deque<Rig> rigs;
    for (const int disks : {84, 240, 1000}) {
        rigs.emplace_back(Describe({disks, 8, disks / 8})).Start();
        TimeBothWays(turns, rigs.back(), rigs.back().Disks());
    }
    std::vector<Turn> growth, onePool;
    for (const int disks : kGrowthSizes) {
        Rig &rig = rigs.emplace_back(Describe({disks, 8, disks / 8}));
        rig.Start();
        TeachBare(rig, kExtents);
        growth.push_back(Timed<ThreadTimeOf>(
            ExtentGrowth(disks), [&rig] { rig.Enumerate(kExtents); }, 1024 / disks));
        growth.push_back(Timed<ThreadTimeOf>(
            BareGrowth(disks), [&rig] { rig.Enumerate(kExtents, kBareNameSpace); }, 1024 / disks));
    }
    // One pool of all disks, one volume on it.
    for (const int disks : kGrowthSizes) {
        Rig &rig = rigs.emplace_back(Describe({disks, disks}));
        rig.Start();
        onePool.push_back(Timed<ThreadTimeOf>(VolumeGrowth(disks), [&rig] { rig.Enumerate(kVolumes); }));
    }
    turns.Together(growth).Together(onePool).Run(report);
    for (const int disks : {84, 240, 1000}) PutOverheads(report, disks);
    report.Put("growth of enumerations: time per extent, 1,024 disks ÷ 64, ÷ bare",
               report.MedianRatio({ExtentGrowth(1024), BareGrowth(64)}, {ExtentGrowth(64), BareGrowth(1024)}),
               AtMost(1.05));
    report.Ratio("growth of enumerations: a volume on 1,024 disks ÷ on 128", VolumeGrowth(1024), VolumeGrowth(128),
                 AtMost(1.5));
}

} // namespace bench
