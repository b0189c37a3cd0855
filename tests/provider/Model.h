// What the provider makes of the hardware, as text: every property that clients get, and what the log tells of each
// record.
#pragma once

#include "tests/provider/Linked.h"

#include <map>

namespace support {

// A provider over hardware that has every value set, and two of every object of which the provider takes the first:
// whole.json.
class WholeBench : public LinkedBench {
public:
    WholeBench();
    void RefreshAll(); // every kind, after the interval
    // The provider's next life, until every kind has been refreshed once.
    void Live();
};

// By name: "StorageVolume v.Caption", "VolumeOp v.PackageRedundancy".
using Facts = std::map<std::string, std::string>;

// What is served now, and the records that the log has told of since it was cleared.
Facts FactsOf(LinkedBench &bench);
// What differs: "StorageExtent d.HealthState 10 -> 30; no Battery b".
std::string Changes(const Facts &before, const Facts &after);

// Compares with the file of that name beside the tests.
void ExpectFile(const std::string &name, const std::string &text);

} // namespace support
