#include "cim/broker/routing/Routing.h"

#include <algorithm>

namespace cim {
namespace {

Status CheckNameSpace(const Core &core, const std::string &nameSpace) {
    const bool known = std::any_of(core.registrations.begin(), core.registrations.end(),
                                   [&](const Registration &registration) { return registration.In(nameSpace); });
    return known ? Status{} : Status{CMPI_RC_ERR_INVALID_NAMESPACE, "no provider serves namespace " + nameSpace};
}

Status CheckClass(const Core &core, const std::string &className) {
    return core.classes.Find(className) != nullptr ? Status{}
                                                   : Status{CMPI_RC_ERR_INVALID_CLASS, "unknown class " + className};
}

template <class Visit> void ForEachIn(const Core &core, const std::string &nameSpace, MiKind kind, const Visit &visit) {
    for (std::size_t i = 0; i < core.registrations.size(); ++i) {
        const Registration &registration = core.registrations[i];
        if (registration.Has(kind) && registration.In(nameSpace)) visit(registration, core.servedBy[i]);
    }
}

// The class itself or the nearest superclass that has a registration; empty when none has.
std::string RegisteredClass(const Core &core, const std::string &nameSpace, MiKind kind, const std::string &className) {
    for (const ClassDeclaration *at = core.classes.Find(className); at != nullptr;
         at = core.classes.Find(at->superclass)) {
        bool found = false;
        ForEachIn(core, nameSpace, kind,
                  [&](const Registration &registration, Provider *) { found |= registration.className == at->name; });
        if (found) return at->name;
    }
    return {};
}

} // namespace

Answer<std::vector<Target>> InstanceTargets(const Core &core, const std::string &nameSpace,
                                            const std::string &className, bool deep) {
    Answer<std::vector<Target>> answer;
    answer.status = CheckNameSpace(core, nameSpace);
    if (answer.Ok()) answer.status = CheckClass(core, className);
    if (!answer.Ok()) return answer;
    const std::string registered = RegisteredClass(core, nameSpace, MiKind::Instance, className);
    ForEachIn(core, nameSpace, MiKind::Instance, [&](const Registration &registration, Provider *provider) {
        if (registration.className == registered)
            answer.value.push_back({provider, &registration, className});
        else if (deep && core.classes.IsA(registration.className, className))
            answer.value.push_back({provider, &registration, registration.className});
    });
    if (answer.value.empty())
        answer.status = {CMPI_RC_ERR_NOT_SUPPORTED, "no provider serves class " + className + " in " + nameSpace};
    return answer;
}

Answer<std::vector<Target>> AssociationTargets(const Core &core, const std::string &nameSpace,
                                               const std::string &associationClass) {
    Answer<std::vector<Target>> answer;
    answer.status = CheckNameSpace(core, nameSpace);
    if (answer.Ok() && !associationClass.empty()) answer.status = CheckClass(core, associationClass);
    if (!answer.Ok()) return answer;
    const std::string registered = RegisteredClass(core, nameSpace, MiKind::Association, associationClass);
    ForEachIn(core, nameSpace, MiKind::Association, [&](const Registration &registration, Provider *provider) {
        if (!associationClass.empty() && registration.className != registered &&
            !core.classes.IsA(registration.className, associationClass))
            return;
        const bool asked = std::any_of(answer.value.begin(), answer.value.end(),
                                       [&](const Target &target) { return target.provider == provider; });
        if (!asked) answer.value.push_back({provider, &registration, associationClass});
    });
    return answer;
}

} // namespace cim
