// CIM objects and the associations between them, held in memory. Knows classes, keys and properties as data only: what
// hardware they stand for is the business of those who fill it. Fixed once filled, so any number of threads may read.
#pragma once

#include "cim/simhhrc/Classes.h"
#include "cim/values/Text.h"
#include "cim/values/Types.h"

#include <cmpidt.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace sim {

using cim::LowerCase;
using cim::SameName;

struct Value {
    CMPIType type = CMPI_null; // with CMPI_ARRAY for arrays; texts are CMPI_string
    bool null = true;
    cim::Numeric number;         // numbers and booleans
    std::string text;            // CMPI_string, CMPI_dateTime
    std::vector<Value> elements; // of an array
};

struct NamedValue {
    std::string name;
    Value value;
};
using NamedValues = std::vector<NamedValue>;

using ObjectId = std::uint32_t;
using LinkId = std::uint32_t;

struct Object {
    std::string nameSpace;
    ClassId type = kNoClass;
    NamedValues keys;
    NamedValues properties;
    std::vector<LinkId> links; // that it is an end of, in the order in which they were made
};

struct Link {
    struct End {
        std::string role;
        ObjectId object = 0;
    };
    ClassId type = kNoClass;
    End ends[2];
    NamedValues properties;
};

// What identifies an object path, whatever the order of its keys and the case of its names: equal texts, equal paths.
std::string PathIdentity(std::string_view nameSpace, std::string_view className, const NamedValues &keys);

class Graph {
public:
    Classes classes;

    ObjectId Add(Object object);
    void Connect(Link link);
    // To be called once everything is there.
    void Index();

    const std::vector<Object> &Objects() const { return objects; }
    std::vector<Object> &Objects() { return objects; }
    const std::vector<Link> &Links() const { return links; }
    // The objects with that identity, first made first: more than one where a description asked for duplicates.
    std::vector<ObjectId> Find(const std::string &identity) const;

private:
    std::vector<Object> objects;
    std::vector<Link> links;
    std::unordered_multimap<std::string, ObjectId> byIdentity;
};

} // namespace sim
