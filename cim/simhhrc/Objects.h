// Objects and links of a graph as CMPI object paths and instances, and object paths of requests as what a graph looks
// for. What is made belongs to the broker, which frees it when the request ends.
#pragma once

#include "cim/simhhrc/FollowedDescription.h"

#include <cmpift.h>

#include <string>
#include <vector>

namespace sim {

// Which CMPI call failed. Thrown by the makers; requests answer with it.
struct BrokerRefused {
    CMPIStatus status;
};

class ObjectMaker {
public:
    // `properties`: those that the request wants; null: all.
    ObjectMaker(const CMPIBroker *usedBroker, const Snapshot &usedSnapshot, const char **properties)
        : broker(usedBroker), snapshot(usedSnapshot), graph(usedSnapshot.description.graph), wanted(properties) {}

    CMPIObjectPath *PathOf(const Node &object) const;
    CMPIInstance *InstanceOf(const Node &object) const;
    // A link's path and instance are in the namespace of the request.
    CMPIObjectPath *PathOf(const Edge &link, const std::string &nameSpace) const;
    CMPIInstance *InstanceOf(const Edge &link, const std::string &nameSpace) const;

private:
    CMPIObjectPath *NewPath(const std::string &nameSpace, ClassId type) const;
    CMPIInstance *NewInstance(const CMPIObjectPath *path, const Data &properties) const;
    void Set(CMPIInstance *instance, const std::string &className, const NamedDatum &property) const;
    CMPIValue *Enter(const Datum &value, CMPIValue *room, CMPIType *type) const;

    const CMPIBroker *const broker;
    const Snapshot &snapshot;
    const Graph &graph;
    const char **const wanted;
};

std::string NameSpaceOf(const CMPIObjectPath *path);
std::string ClassNameOf(const CMPIObjectPath *path);
// The objects that a path names.
std::vector<NodeId> ObjectsAt(const Graph &graph, const CMPIObjectPath *path);
// The link that a path names; null when there is none.
const Edge *LinkAt(const Graph &graph, const CMPIObjectPath *path);

} // namespace sim
