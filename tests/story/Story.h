// A server's bad week in steps: what happens to the hardware, and what a client sees then. Needs the test clock.
#pragma once

#include "cim/inventory/Changes.h"
#include "tests/support/DescribedHardware.h"

#include <memory>
#include <string>
#include <vector>

namespace cim {

struct Step {
    std::string title;
    nlohmann::ordered_json changes; // of the description, as JSON Patch (RFC 6902)
};
std::vector<Step> TheStory(); // story.json

// The rack server of the samples with a broker that has the provider loaded, and a client of it.
class Stage {
public:
    Stage(); // throws std::runtime_error when the broker cannot be started or the first build does not end

    const Inventory &Seen() const { return now; }
    // What a client sees otherwise than before, once the provider has had a reason to look at the hardware. Holds until
    // the next step.
    std::vector<Change> Play(const Step &step);
    Broker &broker() { return *hosted; }

private:
    Inventory See();

    support::DescribedHardware server;
    std::unique_ptr<Broker> hosted;
    Inventory before, now;
};

} // namespace cim
