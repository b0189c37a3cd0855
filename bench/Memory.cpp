// What the provider keeps of each device, and that refreshes leave nothing behind.
#include "bench/Groups.h"
#include "bench/Rig.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <malloc.h>

#include <fstream>
#include <stdexcept>
#include <unistd.h>

namespace bench {
namespace {

constexpr int kRounds = 2000; // of five refreshes: pools, disks, volumes, ports, batteries
constexpr int kFirstRounds = 50;

double HeapBytes(const Rig &rig) {
    void *library = dlopen(rig.ProviderFile().c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (library == nullptr) throw std::runtime_error(dlerror());
    const auto bytes = reinterpret_cast<std::size_t (*)()>(dlsym(library, "QuarnelHeapBytes"));
    if (bytes == nullptr) throw std::runtime_error(dlerror());
    const auto held = static_cast<double>(bytes());
    dlclose(library);
    return held;
}

double ResidentBytes() {
    std::ifstream statm("/proc/self/statm");
    double total = 0, resident = 0;
    statm >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

double HeapBytesWith(const Layout &layout) {
    Rig rig(Describe(layout), Library::CountedHeap);
    rig.Start();
    return HeapBytes(rig);
}

// Every kind that requests can ask for; the disks' pass brings the pools' along.
void RefreshEverything(Rig &rig) {
    const std::uint64_t before = rig.Broker().UpcallCount(); // a job left over from the last round may begin at once
    MakeRefreshesDue();
    for (const Kind &kind : kDevices) rig.Trigger(kind);
    rig.WaitForUpcalls(before, rig.RefreshUpcalls() + 3);
}

struct Held {
    double own, resident, clones;
};

Held HeldBy(Rig &rig) {
    malloc_trim(0);
    return {HeapBytes(rig), ResidentBytes(), static_cast<double>(rig.Broker().Live().clones)};
}

void MeasureGrowth(Report &report) {
    Rig rig(Describe({8}), Library::CountedHeap);
    rig.Start();
    for (int i = 0; i < kFirstRounds; ++i) RefreshEverything(rig);
    const Held first = HeldBy(rig);
    for (int i = kFirstRounds; i < kRounds; ++i) RefreshEverything(rig);
    const Held last = HeldBy(rig);
    report.Put("memory: own heap and clones more after 10,000 refreshes than after 250",
               (last.own - first.own) + (last.clones - first.clones), AtMost(0), "bytes");
    report.Put("memory: resident size after 10,000 refreshes ÷ after 250", last.resident / first.resident,
               AtMost(1.01));
}

} // namespace

// The extra of 992 more disks, and of 124 more volumes on the same disks.
void MeasureMemory(Report &report) {
    MeasureGrowth(report);
    const double few = HeapBytesWith({8, 8}), many = HeapBytesWith({1000, 1000});
    report.Put("memory: own heap for each disk of 1,000", (many - few) / 992, AtMost(1024), "bytes");
    // With a volume on each pool of eight come the pools; without their share the rest is the volumes'.
    const double grouped = HeapBytesWith({1000, 8});
    report.Put("memory: own heap for each volume, its pool included", (grouped - many) / 124, AtMost(1024), "bytes");
}

} // namespace bench
