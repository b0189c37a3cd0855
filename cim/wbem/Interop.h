// The server's namespaces, and what it tells of itself in root/interop, where clients look for it: one
// CIM_ObjectManager, and for each of its namespaces a CIM_Namespace.
#pragma once

#include "cim/broker/Broker.h"

#include <string_view>
#include <vector>

namespace cim::wbem {

bool HasNameSpace(const Broker &broker, std::string_view nameSpace);

// The server's own that are instances of a class or its subclasses. None in any other namespace.
std::vector<Instance> OwnInstances(const Broker &broker, std::string_view nameSpace, std::string_view className);

// True for the two classes: all of their instances are the server's own.
bool IsOwnClass(std::string_view nameSpace, std::string_view className);

} // namespace cim::wbem
