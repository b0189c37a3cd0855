#include "cim/broker/routing/Dispatch.h"

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

bool IsAssociation(Operation operation) {
    return operation == Operation::Associators || operation == Operation::AssociatorNames ||
           operation == Operation::References || operation == Operation::ReferenceNames;
}

Answer<std::vector<Target>> TargetsOf(const Core &core, const OperationRequest &request) {
    const std::string &nameSpace = request.path->nameSpace;
    const bool isAssociation = IsAssociation(request.operation);
    const bool any = isAssociation && request.associationClass == nullptr;
    const std::string wanted = any ? "" : isAssociation ? request.associationClass : request.path->className;
    Answer<std::vector<Target>> answer;
    answer.status = CheckNameSpace(core, nameSpace);
    if (answer.Ok() && !any) answer.status = CheckClass(core, wanted);
    if (!answer.Ok()) return answer;
    const MiKind kind = isAssociation ? MiKind::Association : MiKind::Instance;
    const bool deep = isAssociation || request.operation == Operation::EnumerateInstanceNames ||
                      request.operation == Operation::EnumerateInstances || request.operation == Operation::ExecQuery;
    const std::string registered = RegisteredClass(core, nameSpace, kind, wanted);
    ForEachIn(core, nameSpace, kind, [&](const Registration &registration, Provider *provider) {
        const bool exact = registration.className == registered;
        if (!any && !exact && !(deep && core.classes.IsA(registration.className, wanted))) return;
        const auto isAsked = [&](const Target &target) { return target.provider == provider; };
        if (isAssociation && std::any_of(answer.value.begin(), answer.value.end(), isAsked)) return;
        const bool own = !isAssociation && !exact;
        answer.value.push_back({provider, &registration, own ? registration.className : request.path->className});
    });
    if (answer.value.empty() && !isAssociation)
        answer.status = {CMPI_RC_ERR_NOT_SUPPORTED, "no provider serves class " + wanted + " in " + nameSpace};
    return answer;
}

} // namespace cim
