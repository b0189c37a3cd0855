// Carries a request or an up-call to the providers that it is for, on the calling thread, and gathers what they return.
#pragma once

#include "cim/broker/Broker.h"
#include "cim/broker/routing/CallFrame.h"
#include "cim/broker/routing/Results.h"
#include "cim/broker/routing/Routing.h"

namespace cim {

// What an association is asked for. Empty names: any.
struct AssociationQuery {
    ObjectPath source;
    std::string associationClass = {};
    std::string resultClass = {}; // not of references
    std::string role = {};
    std::string resultRole = {}; // not of references
};

class Dispatcher {
public:
    Dispatcher(Core &broker, CallFrame::Origin callers) : core(broker), origin(callers) {}

    // Of `path`, namespace and class name count.
    Status EnumerateInstanceNames(const ObjectPath &path, Results *results) const;
    Status EnumerateInstances(const ObjectPath &path, PropertyList properties, Results *results) const;
    Status ExecQuery(const ObjectPath &path, const std::string &query, const std::string &language,
                     Results *results) const;
    // An OK answer has exactly one result.
    Status GetInstance(const ObjectPath &path, PropertyList properties, Results *results) const;
    Status CreateInstance(const ObjectPath &path, const Instance &instance, Results *results) const;
    Status ModifyInstance(const ObjectPath &path, const Instance &instance, PropertyList properties) const;
    Status DeleteInstance(const ObjectPath &path) const;

    Status Associators(const AssociationQuery &query, PropertyList properties, Results *results) const;
    Status AssociatorNames(const AssociationQuery &query, Results *results) const;
    Status References(const AssociationQuery &query, PropertyList properties, Results *results) const;
    Status ReferenceNames(const AssociationQuery &query, Results *results) const;

private:
    template <class Slot> Status Ask(const Target &target, ObjectPath path, const Slot &slot, Results *results) const;
    template <class Slot> Status AskAll(const ObjectPath &path, const Slot &slot, Results *results) const;
    template <class Slot> Status AskOne(const ObjectPath &path, const Slot &slot, Results *results) const;
    template <class Slot, class Keep>
    Status AskAssociations(const AssociationQuery &query, const Slot &slot, const Keep &keep, Results *results) const;

    Core &core;
    const CallFrame::Origin origin;
};

} // namespace cim
