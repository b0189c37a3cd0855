// What tests and benchmarks find in the build tree, which has the installation's shape.
#pragma once

#include "cim/broker/Broker.h"

#include <string>

namespace support {

// Where bin/, lib/ and share/ are.
std::string BuildFolder();

// A broker with the project's classes and registrations, to load its providers from the folder named.
cim::BrokerConfig ServerConfig(const std::string &libraries = BuildFolder() + "/lib");

} // namespace support
