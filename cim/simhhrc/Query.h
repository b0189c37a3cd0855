// Which objects and links of a graph a request is about. Knows neither CMPI calls nor hardware.
#pragma once

#include "cim/simhhrc/Description.h"
#include "cim/simhhrc/Graph.h"

#include <string>
#include <vector>

namespace sim {

// A class that a request names: none, a known one, or one that nothing is of.
struct ClassFilter {
    ClassFilter(const Classes &classes, const char *name);
    bool Lets(const Classes &classes, ClassId type) const { return any || classes.IsA(type, wanted); }

    bool any;
    ClassId wanted;
};

// A role that a request names; empty: any.
struct AssociationFilter {
    ClassFilter association;
    ClassFilter result;
    std::string role;
    std::string resultRole;
};

// A link as seen from the object that was asked about.
struct Passage {
    EdgeId link;
    int from; // which end the object is: 0 or 1

    const Edge::End &Source(const Graph &graph) const { return graph.Edges()[link].ends[from]; }
    const Edge::End &Target(const Graph &graph) const { return graph.Edges()[link].ends[1 - from]; }
};

// The objects of a class and its subclasses in a namespace, in the order of the description.
std::vector<NodeId> ObjectsOf(const Graph &graph, const std::string &nameSpace, const std::string &className);
// The same for links, which are in the namespaces of both their ends.
std::vector<EdgeId> LinksOf(const Graph &graph, const std::string &nameSpace, const std::string &className);

// The links of all these objects that pass the filter, in the order in which they were made.
std::vector<Passage> StepsFrom(const Graph &graph, const std::vector<NodeId> &sources, const AssociationFilter &filter);

// The rule for a request, or null. `result` may be any.
const Behaviour *BehaviourFor(const Description &description, Request request, const ClassFilter &type,
                              const ClassFilter &result);

} // namespace sim
