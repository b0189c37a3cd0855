// Hardware of any size for the simulated vendor (docs/hardware-description.md has the format).
#pragma once

#include <nlohmann/json.hpp>

namespace bench {

using Json = nlohmann::ordered_json;

// Controllers alike, with ids c0, c1, ...; disks in shelves of 24, pooled in groups, with one volume on each group.
struct Layout {
    int disks = 84; // of each controller
    int disksPerPool = 8;
    int ports = 8;
    int controllers = 1;
};

Json Describe(const Layout &layout);

enum class Order { Same, Reversed, Random };
// The same hardware, its disks enumerated in another order. Random is the same shuffle every time.
Json Ordered(Json hardware, Order order);

// The same hardware behind a vendor that takes its time for each request of any kind.
Json Slowed(Json hardware, int milliseconds);

} // namespace bench
