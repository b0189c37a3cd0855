// What is known of a server as metrics (docs/metrics.md): hw_ by OpenTelemetry's conventions for hardware, quarnel_ for
// what these have no name for.
#pragma once

#include "cim/inventory/Gone.h"
#include "cim/inventory/Times.h"
#include "cim/metrics/Exposition.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace cim::metrics {

// What one knows that looks again and again; `gone` is not null.
struct Past {
    std::uint64_t looks = 0, failed = 0;
    const std::vector<Gone> *gone = nullptr;
};

// What is known beside the inventory.
struct Look {
    bool up = false; // it could read; else nothing is said of the hardware: what was known may not be true any more
    bool complete = true; // as far as the reader was told, the hardware has been read for the first time
    bool sample = false;  // it is the sample hardware
    std::chrono::duration<double> duration{0};
    TimesOfKinds times;       // of earlier looks if this one failed
    std::optional<Past> past; // none: this is the only look
};

std::string Render(const Inventory &inventory, const Look &look, Format format);

} // namespace cim::metrics
