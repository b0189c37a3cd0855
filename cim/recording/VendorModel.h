// A vendor's model of its hardware, as far as the provider reads it: what the simulated vendor needs to stand in for
// it.
#pragma once

#include "cim/client/Connection.h"
#include "cim/simhhrc/Classes.h"

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace cim {

struct VendorModel {
    struct RecordedLink {
        const char *associationClass;
        struct End {
            const char *role;
            std::size_t object;
        } ends[2]; // the one that was asked about first
    };
    std::vector<Instance> objects;   // in the order in which they were met; of some only the path is known
    std::vector<RecordedLink> links; // in the order of the answers
    sim::Classes classes;            // with those of the objects
    std::set<std::string> hosts;     // that the server's paths name
};

struct WalkOptions {
    std::string interop = "root/interop"; // where the vendors register their profiles
    bool skipRefused = false;             // what the server answers with a CIM error is left out
};

struct WalkProgress {
    std::size_t requests = 0, objects = 0, controllers = 0;
    std::size_t devices = 0, devicesKnown = 0; // visited, and to be visited as far as is known
    std::vector<std::string> refused;          // requests that were left out, each with its reason
};

// Follows the associations that the provider follows, and no further. `show` is called after each request.
// When the server cannot be followed the status says where, and `model` is not to be used.
Status Walk(Connection &server, const WalkOptions &options, VendorModel *model, WalkProgress *progress,
            const std::function<void(const WalkProgress &)> &show);

} // namespace cim
