// The namespaces that the server has, and their discovery: instances of CIM_Namespace in root/interop, which the server
// answers by itself.
#pragma once

#include "cim/broker/Broker.h"

#include <string>
#include <string_view>
#include <vector>

namespace cim::wbem {

// Those of the broker's providers, and the two that every server has: root/cimv2 and root/interop. Sorted.
std::vector<std::string> NameSpacesOf(const Broker &broker);
bool HasNameSpace(const Broker &broker, std::string_view nameSpace);

// True for a class whose instances these are: CIM_Namespace in root/interop.
bool AreNameSpaces(std::string_view nameSpace, std::string_view className);
std::vector<Instance> NameSpaceInstances(const Broker &broker);

} // namespace cim::wbem
