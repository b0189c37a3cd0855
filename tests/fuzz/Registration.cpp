#include "cim/broker/classes/Registration.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/support/BuildTree.h"

#include <algorithm>

namespace {

const cim::ClassTree &Classes() {
    static const cim::ClassTree classes = [] {
        cim::ClassTree tree;
        std::string error;
        for (const std::string &file : support::ServerConfig().mofFiles) {
            fuzz::Require(tree.ReadFile(file, &error), error);
        }
        return tree;
    }();
    return classes;
}

} // namespace

void fuzz::Read(std::string_view input) {
    std::vector<cim::Registration> registrations;
    std::string error;
    if (!cim::ReadRegistrations(input, "text", Classes(), &registrations, &error)) {
        Require(error.rfind("text:", 0) == 0, "where and why: " + error);
        Require(registrations.empty(), "nothing is added of what is wrong");
        return;
    }
    for (const cim::Registration &registration : registrations) {
        Require(Classes().Find(registration.className) != nullptr, "classes are known");
        Require(!registration.provider.empty() && !registration.location.empty(), "providers have a place");
        for (const std::string &nameSpace : registration.nameSpaces) Require(registration.In(nameSpace), nameSpace);
    }
    std::vector<cim::Registration> again = registrations;
    const bool served = std::any_of(registrations.begin(), registrations.end(), [](const cim::Registration &each) {
        return !each.nameSpaces.empty() && (each.instance || each.association);
    });
    if (served) Require(!cim::ReadRegistrations(input, "text", Classes(), &again, &error), "none is registered twice");
}
