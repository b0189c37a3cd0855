// A CIM server as this program asks one, wherever it runs.
#pragma once

#include "cim/broker/Broker.h"

#include <string>
#include <vector>

namespace cim {

// A status that is not OK has a message of one line that says who answered what. Its code is the server's CIM status,
// or kNoAnswer when there was no answer that could be understood.
constexpr CMPIrc kNoAnswer = CMPI_RC_ERROR_SYSTEM;

class Connection {
public:
    virtual ~Connection() = default;

    virtual Answer<std::vector<Instance>> EnumerateInstances(const std::string &nameSpace,
                                                             const std::string &className) = 0;
    virtual Answer<Instance> GetInstance(const ObjectPath &path) = 0;
    // Empty class names: any.
    virtual Answer<std::vector<Instance>> Associators(const ObjectPath &source, const std::string &associationClass,
                                                      const std::string &resultClass) = 0;
    virtual Answer<std::vector<ObjectPath>>
    AssociatorNames(const ObjectPath &source, const std::string &associationClass, const std::string &resultClass) = 0;
    // The class with the properties that it declares itself, at least.
    virtual Answer<ClassDeclaration> GetClass(const std::string &nameSpace, const std::string &className) = 0;
};

} // namespace cim
