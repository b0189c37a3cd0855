// What a hardware description asks of the broker that is to serve it beyond the simulated vendor's own schema and
// registrations: the classes that it declares, and where there are instances of them.
#pragma once

#include "cim/simhhrc/Graph.h"

#include <string>

namespace cim {

// MOF for the classes that the description has added. A property that a superclass has with another type is left out:
// MOF has no such thing.
std::string MofOf(const sim::Graph &graph);

// Registrations in sfcb's stanza format for objects and links whose class is not registered in their namespace.
std::string RegistrationsOf(const sim::Graph &graph);

} // namespace cim
