// The intrinsic methods of DSP0200 that this server has.
#pragma once

#include "cim/broker/Broker.h"
#include "cim/wbem/XmlWriter.h"

#include <pugixml.hpp>

#include <string>

namespace cim::wbem {

struct MethodCall {
    std::string message; // its ID
    std::string method;
    std::string nameSpace;
    std::string className;  // of an extrinsic method's target; empty for intrinsic ones
    std::string host;       // what paths in the answer name as the server
    pugi::xml_node element; // IMETHODCALL or METHODCALL

    bool IsIntrinsic() const { return className.empty(); }
};

// Runs an intrinsic call and writes its IRETURNVALUE, if it has one. Throws a Fault when the operation, or a provider,
// refuses.
void Run(Broker &broker, const MethodCall &call, XmlWriter &xml);

} // namespace cim::wbem
