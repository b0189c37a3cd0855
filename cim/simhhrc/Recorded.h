// The low level of a description: classes, objects and links stated one by one, as they were recorded.
#pragma once

#include "cim/simhhrc/Description.h"
#include "cim/simhhrc/Fields.h"

#include <functional>
#include <optional>
#include <string>

namespace sim {

// The member "classes" of a file. Before anything that names a class.
void ReadClasses(Fields &file, Classes &classes);

// The members "objects" and "links". `described` finds an object of the file's controllers by its address.
void ReadRecorded(Fields &file, Graph &graph,
                  const std::function<std::optional<NodeId>(const std::string &)> &described);

// The member "behaviour".
void ReadBehaviour(Fields &file, const Classes &classes, std::vector<Behaviour> &rules);

} // namespace sim
