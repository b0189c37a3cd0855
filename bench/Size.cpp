// The library as it is installed.
#include "bench/Groups.h"
#include "bench/Rig.h"

#include <filesystem>

namespace bench {

void MeasureSize(Report &report) {
    const auto bytes = std::filesystem::file_size(BuildFolder() + "/lib/bench/stripped/libQuarnelProvider.so");
    report.Put("size: stripped library", static_cast<double>(bytes) / 1024, AtMost(150), "KiB");
}

} // namespace bench
