// Objects and links of a graph as CMPI object paths and instances, and object paths of requests as what a graph looks
// for. What is made belongs to the broker, which frees it when the request ends.
#pragma once

#include "cim/simhhrc/Source.h"

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

    CMPIObjectPath *PathOf(const Object &object) const;
    CMPIInstance *InstanceOf(const Object &object) const;
    // A link's path and instance are in the namespace of the request.
    CMPIObjectPath *PathOf(const Link &link, const std::string &nameSpace) const;
    CMPIInstance *InstanceOf(const Link &link, const std::string &nameSpace) const;

private:
    CMPIObjectPath *NewPath(const std::string &nameSpace, ClassId type) const;
    CMPIInstance *NewInstance(const CMPIObjectPath *path, const NamedValues &properties) const;
    void Set(CMPIInstance *instance, const std::string &className, const NamedValue &property) const;
    CMPIValue *Enter(const Value &value, CMPIValue *room, CMPIType *type) const;

    const CMPIBroker *const broker;
    const Snapshot &snapshot;
    const Graph &graph;
    const char **const wanted;
};

std::string NameSpaceOf(const CMPIObjectPath *path);
std::string ClassNameOf(const CMPIObjectPath *path);
// The objects that a path names.
std::vector<ObjectId> ObjectsAt(const Graph &graph, const CMPIObjectPath *path);
// The link that a path names; null when there is none.
const Link *LinkAt(const Graph &graph, const CMPIObjectPath *path);

} // namespace sim
