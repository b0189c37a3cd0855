// A server's bad week in steps: what happens to the hardware, and what a client sees then. Needs the test clock.
#pragma once

#include "cim/inventory/Inventory.h"
#include "cim/program/Hosting.h"
#include "tests/support/DescribedHardware.h"

#include <memory>
#include <vector>

namespace cim {

struct Step {
    const char *title;
    void (*happen)(nlohmann::ordered_json &controller);
};
extern const std::vector<Step> kStory;

// The rack server of the samples with a broker that has the provider loaded, and a client of it.
class Stage {
public:
    Stage(); // throws std::runtime_error when the broker cannot be started or the first build does not end

    void Play(const Step &step);
    // What a client sees once the provider has had a reason to look at the hardware.
    Instances See();
    Broker &broker() { return *hosted; }

private:
    support::DescribedHardware server;
    std::unique_ptr<Broker> hosted;
};

} // namespace cim
