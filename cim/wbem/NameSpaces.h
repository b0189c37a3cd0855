// The namespaces that the server has.
#pragma once

#include "cim/broker/Broker.h"

#include <string>
#include <string_view>
#include <vector>

namespace cim::wbem {

constexpr char kInterop[] = "root/interop";

// Those of the broker's providers, and the two that every server has: root/cimv2 and root/interop. Sorted.
std::vector<std::string> NameSpacesOf(const Broker &broker);
bool HasNameSpace(const Broker &broker, std::string_view nameSpace);

} // namespace cim::wbem
