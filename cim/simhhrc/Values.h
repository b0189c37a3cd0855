// JSON values as CIM values, and CIM properties of objects by name.
#pragma once

#include "cim/simhhrc/Fields.h"
#include "cim/simhhrc/Graph.h"

namespace sim {

Value TextValue(std::string text, CMPIType type = CMPI_string);
// Of an integer type that the number fits, or a boolean.
Value NumberValue(CMPIType type, std::uint64_t number);
Value NumbersValue(CMPIType elementType, const std::vector<std::uint16_t> &numbers);

// `declared`: the type that the class gives to the property, CMPI_null when it has no such property. {"type": ...}
// overrules it. Throws a Mistake when the value is not of its type.
Value ValueOf(const Json &json, CMPIType declared, const std::string &what);

// The same for a key, which no array can be.
Value KeyValueOf(const Json &json, CMPIType declared, const std::string &what);

// The CIM type that a text names, such as "uint16" or "string[]".
CMPIType TypeNamed(const Json &json, const std::string &what);

// A size in bytes: a number, or a text such as "1.8TB" or "894GiB".
std::uint64_t BytesOf(const Json &json, const std::string &what);

// Replaces or appends; names without regard to case.
void Put(NamedValues &values, std::string name, Value value);
void Drop(NamedValues &values, const std::string &name);

} // namespace sim
