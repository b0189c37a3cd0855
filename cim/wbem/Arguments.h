// The arguments of an intrinsic method, as its table of parameters has them.
#pragma once

#include "cim/broker/Broker.h"

#include <pugixml.hpp>

#include <map>
#include <string>
#include <variant>
#include <vector>

namespace cim::wbem {

// ObjectName: an instance's. Classes have no associations in this server.
enum class Kind { Boolean, Text, Names, ClassName, InstanceName, ObjectName };

struct Parameter {
    const char *name;
    Kind kind;
    bool required = false;
};

using Argument = std::variant<std::monostate, bool, std::string, std::vector<std::string>, ObjectPath>;

class Arguments {
public:
    // Reads the IPARAMVALUE elements of a call. Throws a Fault for a parameter that the method does not have, that is
    // there twice, that is required and missing or null, or whose value is of another kind.
    Arguments(const pugi::xml_node &call, const std::vector<Parameter> &parameters, const std::string &nameSpace,
              const ClassTree &classes);

    // Of optional parameters: what stands for one that is missing or null.
    bool Boolean(const char *name, bool otherwise) const;
    const std::string &Text(const char *name) const; // empty
    PropertyList Names(const char *name) const;      // null
    const ObjectPath &Path(const char *name) const;  // of a required one

private:
    template <class T> const T *Find(const char *name) const;

    std::map<std::string, Argument> byName; // the table's spelling
};

} // namespace cim::wbem
