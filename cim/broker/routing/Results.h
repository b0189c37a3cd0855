// What a provider returns.
#pragma once

#include "cim/broker/Broker.h"

#include <vector>

namespace cim {

struct Results {
    std::vector<Instance> instances;
    std::vector<ObjectPath> paths;
    PropertyList listed = nullptr; // what was asked for of the instances; lent by whoever asks

    std::size_t Size() const { return instances.size() + paths.size(); }
};

} // namespace cim
