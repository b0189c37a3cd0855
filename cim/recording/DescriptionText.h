// A vendor's model as a hardware description (docs/hardware-description.md), for the simulated vendor to serve.
#pragma once

#include "cim/recording/VendorModel.h"

#include <string>

namespace cim {

struct DescriptionText {
    std::string text;
    std::size_t leftOut = 0; // values that a description cannot hold: references, embedded instances, no numbers
};

// `interop` is the namespace that stands for root/interop, where the provider looks for profiles.
DescriptionText DescriptionOf(const VendorModel &model, const std::string &interop, const std::string &about);

} // namespace cim
