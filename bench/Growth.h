// The sizes at which growth is looked at, and the names of the samples that tell of it.
#pragma once

#include <string>

namespace bench {

constexpr int kGrowthSizes[] = {64, 128, 256, 512, 1024};

inline std::string ExtentGrowth(int disks) { return "extents/growth/" + std::to_string(disks); }
inline std::string BareGrowth(int disks) { return "extents/growth/bare/" + std::to_string(disks); }
inline std::string VolumeGrowth(int disks) { return "volume/one pool/" + std::to_string(disks); }
inline std::string RefreshGrowth(const char *order, int disks) {
    return std::string("refresh/") + order + "/" + std::to_string(disks);
}

} // namespace bench
