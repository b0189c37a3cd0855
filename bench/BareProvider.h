// A provider that does nothing but hand constants to the broker: what carrying instances costs at least.
#pragma once

#include "cim/broker/classes/Value.h"

#include <cmpift.h>

#include <string>
#include <vector>

namespace bench {

constexpr char kBareProvider[] = "BareProvider";

CMPIInstanceMI *CreateBareInstanceMI(const CMPIBroker *broker, const CMPIContext *context, CMPIStatus *status);

// What the bare provider answers from now on to an enumeration of this class in this broker, with the calls that a
// provider must make for it and no others.
void ServeBare(const CMPIBroker *broker, const std::string &className, const std::vector<cim::Instance> &instances);
void Forget(const CMPIBroker *broker); // that is about to end

} // namespace bench
