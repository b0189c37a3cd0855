// Finds the providers that a request or an up-call goes to.
#pragma once

#include "cim/broker/Core.h"

#include <string>
#include <vector>

namespace cim {

struct Target {
    Provider *provider;
    const Registration *registration;
    std::string className; // that the provider is asked for
};

// Of a class's instances: the provider registered for it, or else for the nearest of its superclasses; when `deep`,
// also those of its subclasses, each for each registered class.
Answer<std::vector<Target>> InstanceTargets(const Core &core, const std::string &nameSpace,
                                            const std::string &className, bool deep);

// Of an association class and its subclasses, or of all when it is empty: each provider once. None is no error.
Answer<std::vector<Target>> AssociationTargets(const Core &core, const std::string &nameSpace,
                                               const std::string &associationClass);

} // namespace cim
