#include "tests/client/Hosting.h"

#include "cim/inventory/Json.h"

#include <algorithm>
#include <sstream>

namespace cim {

namespace {

void SortDrives(std::string &caption) {
    const auto open = caption.find(", Drives("), close = caption.rfind(") - ");
    if (open == std::string::npos || close == std::string::npos) return;
    const auto begin = open + std::string_view(", Drives(").size();
    std::istringstream list(caption.substr(begin, close - begin));
    std::vector<std::string> drives;
    for (std::string drive; std::getline(list, drive, ',');) drives.push_back(drive);
    std::sort(drives.begin(), drives.end());
    std::string sorted;
    for (const auto &drive : drives) sorted += (sorted.empty() ? "" : ",") + drive;
    caption.replace(begin, close - begin, sorted);
}

} // namespace

std::vector<std::string> Served(Connection &server) {
    const auto instances = ReadInstances(server);
    EXPECT_TRUE(instances.Ok()) << instances.status.message;
    std::vector<std::string> lines;
    for (const auto &some : instances.value) {
        for (Instance instance : some) {
            for (NamedValue &property : instance.properties) {
                if (auto *text = std::get_if<std::string>(&property.value.payload)) SortDrives(*text);
            }
            lines.push_back(Dump(ToJson(instance), -1));
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

VendorModel ModelOf(Connection &server, const WalkOptions &options) {
    VendorModel model;
    WalkProgress progress;
    const Status status = Walk(server, options, &model, &progress, [](const WalkProgress &) {});
    EXPECT_TRUE(status.Ok()) << status.message;
    EXPECT_EQ(progress.devices, progress.devicesKnown);
    return model;
}

} // namespace cim
