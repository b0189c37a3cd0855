// JSON values as CIM values, and CIM properties of objects by name.
#pragma once

#include "cim/simhhrc/Fields.h"
#include "cim/simhhrc/Graph.h"

namespace sim {

Datum TextDatum(std::string text);
// Of an integer type that the number fits, or a boolean.
Datum NumberDatum(CMPIType type, std::uint64_t number);
Datum ListDatum(std::vector<Datum> elements, CMPIType arrayType);

// `declared`: the type that the class gives to the property, CMPI_null when it has no such property. {"type": ...}
// overrules it. Throws a Mistake when the value is not of its type.
Datum DatumOf(const JsonValue &json, CMPIType declared, const std::string &what);

// The same for a key, which no array can be.
Datum KeyDatumOf(const JsonValue &json, CMPIType declared, const std::string &what);

// The CIM type that a text names, such as "uint16" or "string[]".
CMPIType TypeNamed(const JsonValue &json, const std::string &what);

// A size in bytes: a number, or a text such as "1.8TB" or "894GiB".
std::uint64_t BytesOf(const JsonValue &json, const std::string &what);

// Replaces or appends; names without regard to case.
void Put(Data &data, std::string name, Datum datum);
void Drop(Data &data, const std::string &name);

} // namespace sim
