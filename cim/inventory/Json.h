// CIM data as JSON in natural types: booleans, numbers, texts, arrays, null. Dates are texts, references and paths too
// (namespace:Class.Key="..."), 16-bit characters are texts of one character, embedded instances are objects.
#pragma once

#include "cim/inventory/Inventory.h"

#include <nlohmann/json.hpp>

#include <ctime>

namespace cim {

using Json = nlohmann::ordered_json;

Json ToJson(const Value &value);
// {"path": ..., "properties": {...}}: those that have a value, sorted by name.
Json ToJson(const Instance &instance);
// An object of the item's facts, without those that it does not have; of a volume, with its members' paths.
Json FactsOf(const Item &item);

// What programs are told of a server, by schema/inventory.schema.json: {"time", "host", "version", "verdict", "source"
// when it is the sample hardware, and for each served class, or for `only` alone, an array of instances with "facts"}.
struct Looked {
    std::time_t time = 0;
    bool sample = false;
    std::size_t gone = 0;             // things that were there before
    const Inventory *whole = nullptr; // when the inventory is a part of it: host and verdict are the whole's
};
Json ToJson(const Inventory &inventory, const Looked &looked, const ServedClass *only);

// As text; what is not valid UTF-8 in it is replaced. An indent of -1 gives one line.
std::string Dump(const Json &json, int indent);

} // namespace cim
