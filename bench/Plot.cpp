#include "bench/Groups.h"
#include "bench/Growth.h"

#include <fmt/format.h>

#include <cstdio>

namespace bench {
namespace {

struct Curve {
    const char *title;
    std::string (*samples)(int disks);
    bool perDisk; // what is timed grows with the disks
};

template <const char *Order> std::string Refresh(int disks) { return RefreshGrowth(Order, disks); }
constexpr char kSame[] = "same", kReversed[] = "reversed", kRandom[] = "random";

const Curve kEnumerations[] = {
    {"an extent, of so many", ExtentGrowth, true},
    {"the same, bare provider", BareGrowth, true},
    {"a volume, on a pool of so many disks", VolumeGrowth, false},
};
const Curve kRefreshes[] = {
    {"a disk, same order", Refresh<kSame>, true},
    {"a disk, reversed order", Refresh<kReversed>, true},
    {"a disk, random order", Refresh<kRandom>, true},
};

template <class Curves> std::string Panel(const Report &report, const char *title, const Curves &curves) {
    std::string plots, data;
    for (const Curve &curve : curves) {
        plots += fmt::format("{}'-' with linespoints title '{}'", plots.empty() ? "plot " : ", ", curve.title);
        for (const int disks : kGrowthSizes)
            data +=
                fmt::format("{} {}\n", disks, report.Median(curve.samples(disks)) * 1e6 / (curve.perDisk ? disks : 1));
        data += "e\n";
    }
    return fmt::format("set title '{}'\n{}\n{}", title, plots, data);
}

} // namespace

bool PlotGrowth(const Report &report, const std::string &file) {
    std::string script = fmt::format("set terminal svg size 900,360 font 'sans-serif,12' background 'white'\n"
                                     "set output '{}'\nset encoding utf8\nset multiplot layout 1,2\n"
                                     "set logscale x 2\nset xtics ({})\nset xlabel 'disks'\nset ylabel 'µs each'\n"
                                     "set yrange [0:*]\nset grid ytics\nset key bottom left\n",
                                     file, fmt::join(kGrowthSizes, ", "));
    script += Panel(report, "Enumerating", kEnumerations) + Panel(report, "An unchanged refresh", kRefreshes);
    FILE *gnuplot = popen("gnuplot", "w");
    if (gnuplot == nullptr) return false;
    fputs(script.c_str(), gnuplot);
    return pclose(gnuplot) == 0;
}

} // namespace bench
