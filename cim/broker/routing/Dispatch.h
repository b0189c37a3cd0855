// Carries a request or an up-call to the providers that it is for, on the calling thread, and gathers what they return.
#pragma once

#include "cim/broker/routing/Provider.h"

namespace cim {

// Who is asked. `className` is what the provider is asked for.
struct Target {
    Provider *provider;
    const Registration *registration;
    std::string className;
};

bool IsAssociation(Operation operation); // of the four that follow associations

// Of a class's instances: the provider registered for it, or else for the nearest of its superclasses; of an
// enumeration also those of its subclasses, each for each registered class. Of an association class and its subclasses,
// or of all when none is named: each provider once, and none is not an error.
Answer<std::vector<Target>> TargetsOf(const Core &core, const OperationRequest &request);

// An OK answer to GetInstance has exactly one instance.
Status Dispatch(Core &core, CallFrame::Origin origin, const OperationRequest &request, Results *results);

} // namespace cim
