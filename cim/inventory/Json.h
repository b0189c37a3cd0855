// CIM data as JSON in natural types: booleans, numbers, texts, arrays, null. Dates are texts, references and paths too
// (namespace:Class.Key="..."), 16-bit characters are texts of one character, embedded instances are objects.
#pragma once

#include "cim/inventory/Inventory.h"

#include <nlohmann/json.hpp>

namespace cim {

using Json = nlohmann::ordered_json;

Json ToJson(const Value &value);
// {"path": ..., "properties": {...}}: those that have a value, sorted by name.
Json ToJson(const Instance &instance);
// An object with an array of instances for each served class, or for `only` alone.
Json ToJson(const Instances &instances, const ServedClass *only);
// An object of the item's facts, without those that it does not have.
Json FactsOf(const Item &item);

// As text; what is not valid UTF-8 in it is replaced. An indent of -1 gives one line.
std::string Dump(const Json &json, int indent);

} // namespace cim
