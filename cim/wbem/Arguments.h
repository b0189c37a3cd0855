// The arguments of an intrinsic method, as its table of parameters has them.
#pragma once

#include "cim/broker/Broker.h"

#include <pugixml.hpp>

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace cim::wbem {

// Those of all methods. Texts are empty, and others have no value, where a call leaves them out or null.
struct Arguments {
    std::string className, associationClass, resultClass, role, resultRole, qualifierName;
    std::optional<bool> localOnly, deepInheritance, qualifiers, classOrigin;
    std::optional<std::vector<std::string>> properties;
    std::optional<ObjectPath> path;
};

struct Parameter {
    const char *name;
    const char *element; // that its values are
    std::variant<std::string Arguments::*, std::optional<bool> Arguments::*,
                 std::optional<std::vector<std::string>> Arguments::*, std::optional<ObjectPath> Arguments::*>
        place;
    bool required = false;
};

// Reads the IPARAMVALUE elements of a call. Throws a Fault for a parameter that the method does not have, that is there
// twice, that is required and missing or null, or whose value is of another kind.
Arguments ReadArguments(const pugi::xml_node &call, const std::vector<Parameter> &parameters,
                        const std::string &nameSpace, const ClassTree &classes);

} // namespace cim::wbem
