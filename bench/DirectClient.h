// A client without the provider: asks the vendor's model itself.
#pragma once

#include "bench/Rig.h"

#include <memory>
#include <vector>

namespace bench {

class DirectClient {
public:
    // Finds the rig's first controller and the extents of its disks.
    explicit DirectClient(Rig &rig);
    ~DirectClient();

    // Reads what the provider's extents tell of each disk, with an up-call for each step to it. The number of disks.
    std::size_t ReadFacts() const;
    // The up-calls of an unchanged refresh of the disks and nothing else, on a thread of its own as in the provider.
    void RefreshUpcalls() const;
    // The up-calls of a factory call and nothing else.
    static void FactoryUpcalls(Rig &rig);

private:
    Rig &rig;
    CMPIObjectPath *system = nullptr; // clones
    std::vector<CMPIObjectPath *> extents;
};

} // namespace bench
