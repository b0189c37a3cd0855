// A small provider of boxes, linked in, and a broker that hosts it; requests as CIM-XML to go with them.
#pragma once

#include "cim/broker/Broker.h"
#include "cim/wbem/Http.h"

#include <memory>
#include <string>

namespace cim::wbem {

// Two boxes in root/test: Test_Box "left" (Slot 1, Spare) and Test_FineBox "right" (Slot 2, not Spare), joined by one
// Test_Pair. Whatever would change them is refused.
std::unique_ptr<Broker> BrokerWithBoxes();

extern const char kLeftName[];  // INSTANCENAME of the left box
extern const char kRightName[]; // INSTANCENAME of the right one

std::string Parameter(const std::string &name, const std::string &value);
std::string ClassParameter(const std::string &className);
// The request for an intrinsic method, whole.
HttpRequest CallOf(const std::string &method, const std::string &parameters,
                   const std::string &nameSpace = "root/test");
// A request with that body for EnumerateInstances in root/test, whatever the body is.
HttpRequest RequestWith(const std::string &body);

// What is inside IMETHODRESPONSE; the whole answer when it is none.
std::string ResponseIn(const HttpAnswer &answer);
// What is inside IRETURNVALUE; as above.
std::string ReturnedIn(const HttpAnswer &answer);

} // namespace cim::wbem
