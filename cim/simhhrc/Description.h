// A hardware description (docs/hardware-description.md), read and checked: the objects that it stands for, and how
// their provider behaves.
#pragma once

#include "cim/simhhrc/Graph.h"

#include <cmpidt.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

enum class Request {
    EnumerateInstances,
    EnumerateInstanceNames,
    GetInstance,
    Associators,
    AssociatorNames,
    References,
    ReferenceNames,
};

// What happens to requests for a class, or for one that is related to it.
struct Behaviour {
    ClassId type = kNoClass;        // of the instances; for association requests, of the association
    ClassId result = kNoClass;      // of the objects that an association request asks for; kNoClass: any
    std::optional<Request> request; // none: all
    std::chrono::milliseconds latency{0};
    std::optional<CMPIrc> fault;
    std::optional<std::string> message;
};

struct Description {
    Graph graph;
    std::vector<Behaviour> rules;
};

// Reads a description from a file. False, with "FILE:LINE: reason" in `error` and `description` as it was, when that
// cannot be read or has a mistake in it. Both may be null.
bool LoadDescription(const std::string &file, Description *description, std::string *error);
// The same from a text; `name` stands for the file in errors.
bool ReadDescription(std::string_view text, const std::string &name, Description *description, std::string *error);

} // namespace sim
