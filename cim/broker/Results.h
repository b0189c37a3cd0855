// What a provider returns.
#pragma once

#include "cim/broker/Value.h"

#include <vector>

namespace cim {

struct Results {
    std::vector<Instance> instances;
    std::vector<ObjectPath> paths;

    std::size_t Size() const { return instances.size() + paths.size(); }
};

} // namespace cim
