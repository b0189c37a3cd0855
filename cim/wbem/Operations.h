// The intrinsic methods of DSP0200 that this server has.
#pragma once

#include "cim/broker/Broker.h"
#include "cim/wbem/XmlWriter.h"

#include <pugixml.hpp>

#include <string>

namespace cim::wbem {

struct IntrinsicCall {
    std::string method;
    std::string nameSpace;
    std::string host;       // what paths in the answer name as the server
    pugi::xml_node element; // IMETHODCALL
};

// Runs the call and writes its IRETURNVALUE, if it has one. Throws a Fault when the operation, or a provider, refuses.
void Run(Broker &broker, const IntrinsicCall &call, XmlWriter &xml);

} // namespace cim::wbem
