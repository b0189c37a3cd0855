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

// A CIM value.
struct Datum {
    CMPIType type = CMPI_null; // with CMPI_ARRAY for arrays; texts are CMPI_string
    bool null = true;
    cim::Numeric number{};         // numbers and booleans
    std::string text{};            // CMPI_string, CMPI_dateTime
    std::vector<Datum> elements{}; // of an array
};

struct NamedDatum {
    std::string name;
    Datum value;
};
using Data = std::vector<NamedDatum>; // keys or properties

using NodeId = std::uint32_t;
using EdgeId = std::uint32_t;

struct Node {
    std::string nameSpace;
    ClassId type = kNoClass;
    Data keys;
    Data properties;
    std::vector<EdgeId> links; // that it is an end of, in the order in which they were made
};

struct Edge {
    struct End {
        std::string role;
        NodeId object = 0;
    };
    ClassId type = kNoClass;
    End ends[2];
    Data properties;
};

// What identifies an object path, whatever the order of its keys and the case of its names: equal texts, equal paths.
std::string PathIdentity(std::string_view nameSpace, std::string_view className, const Data &keys);

class Graph {
public:
    Classes classes;

    NodeId Add(Node object);
    void Connect(Edge link);
    // To be called once everything is there.
    void Index();

    const std::vector<Node> &Nodes() const { return nodes; }
    std::vector<Node> &Nodes() { return nodes; }
    const std::vector<Edge> &Edges() const { return edges; }
    // The objects with that identity, first made first: more than one where a description asked for duplicates.
    std::vector<NodeId> Find(const std::string &identity) const;

private:
    std::vector<Node> nodes;
    std::vector<Edge> edges;
    std::unordered_map<std::string, std::vector<NodeId>> byIdentity;
};

} // namespace sim
