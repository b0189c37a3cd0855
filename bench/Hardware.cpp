#include "bench/Hardware.h"

#include <fmt/format.h>

#include <algorithm>
#include <random>

namespace bench {
namespace {

constexpr int kShelf = 24;

Json Enclosures(int disks) {
    Json list = Json::array();
    for (int i = 0; i * kShelf < disks; ++i) list.push_back({{"id", std::to_string(32 + i)}, {"slots", kShelf}});
    return list;
}

Json Pools(int groups) {
    Json list = {{{"id", "free"}, {"primordial", true}}};
    for (int i = 0; i < groups; ++i) list.push_back({{"id", fmt::format("dg{}", i)}});
    return list;
}

Json Disks(const Layout &layout) {
    Json list = Json::array();
    for (int i = 0; i < layout.disks; ++i)
        list.push_back({{"enclosure", std::to_string(32 + i / kShelf)},
                        {"slot", i % kShelf},
                        {"pool", fmt::format("dg{}", i / layout.disksPerPool)},
                        {"size", "8TB"},
                        {"firmware", "K5AT"},
                        {"name", fmt::format("Disk {}", i)},
                        {"serial", fmt::format("ZA1A{:04}", i)}});
    return list;
}

Json Volumes(int groups) {
    Json list = Json::array();
    for (int i = 0; i < groups; ++i)
        list.push_back({{"id", std::to_string(i)},
                        {"name", fmt::format("archive-{}", i)},
                        {"raid", "RAID6"},
                        {"pool", fmt::format("dg{}", i)},
                        {"size", "40TB"},
                        {"uniqueId", fmt::format("600A0C84D90233841010203B{:08X}", i)}});
    return list;
}

Json Controller(const Layout &layout, int index) {
    const int groups = (layout.disks + layout.disksPerPool - 1) / layout.disksPerPool;
    return {{"id", fmt::format("c{}", index)},
            {"vendor", "Acme"},
            {"model", "Acme Anvil X960-16e"},
            {"software", {{{"kind", "firmware"}, {"version", "4.86.00-1203"}}}},
            {"enclosures", Enclosures(layout.disks)},
            {"pools", Pools(groups)},
            {"disks", Disks(layout)},
            {"volumes", Volumes(groups)},
            {"ports", {{{"ids", fmt::format("0-{}", layout.ports - 1)}, {"name", "Port {id}"}, {"type", "SAS"}}}},
            {"batteries", {{{"id", "bbu0"}}}}};
}

} // namespace

Json Describe(const Layout &layout) {
    Json controllers = Json::array();
    for (int i = 0; i < layout.controllers; ++i) controllers.push_back(Controller(layout, i));
    return {{"controllers", controllers}};
}

Json Ordered(Json hardware, Order order) {
    for (Json &controller : hardware["controllers"]) {
        Json &disks = controller["disks"];
        if (order == Order::Reversed) std::reverse(disks.begin(), disks.end());
        if (order == Order::Random) std::shuffle(disks.begin(), disks.end(), std::mt19937(1)); // a fixed seed
    }
    return hardware;
}

Json Slowed(Json hardware, int milliseconds) {
    // The roots of all that is asked for; a rule for a class is one for its subclasses.
    for (const char *root : {"CIM_ManagedElement", "CIM_Component", "CIM_Dependency", "CIM_LogicalIdentity",
                             "CIM_ElementConformsToProfile", "CIM_ElementSettingData"})
        hardware["behaviour"].push_back({{"class", root}, {"latency", milliseconds}});
    return hardware;
}

} // namespace bench
