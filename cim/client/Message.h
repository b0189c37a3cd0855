// CIM-XML messages as a client has them: calls of intrinsic methods, and what comes back.
#pragma once

#include "cim/broker/classes/Value.h"

#include <pugixml.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace cim::client {

// A text names a class. Without one the parameter is left out.
using Parameter = std::pair<const char *, std::variant<bool, std::string, ObjectPath>>;

struct OutgoingCall {
    const char *method;
    std::string nameSpace;
    std::vector<Parameter> parameters;
};
std::string TextOf(const OutgoingCall &call);

struct CimError {
    int code = 0;
    std::string description;
};

struct Reply {
    std::optional<CimError> error;
    pugi::xml_node returned; // IRETURNVALUE; null when the method returns nothing
    pugi::xml_document document;
};

// Takes what DSP0201 asks for and passes over what it does not know. Throws a Failure for a text that is not XML, or
// not an answer to a call of an intrinsic method.
void ReadReply(std::string_view body, Reply *reply);

} // namespace cim::client
