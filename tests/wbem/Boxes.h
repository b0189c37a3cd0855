// A broker that serves two boxes, and requests to it from texts.
#pragma once

#include "cim/broker/Broker.h"
#include "cim/wbem/Http.h"

#include <memory>
#include <string>
#include <string_view>

namespace cim::wbem {

// The simulated vendor over data/boxes.json: two boxes in root/test joined by one Test_Pair, and a class that it does
// not open.
std::unique_ptr<Broker> BrokerWithBoxes();

// Cuts `text` behind `mark` and returns what was before it.
std::string_view TakeUntil(std::string_view &text, std::string_view mark);

// A first line as HTTP has it, without the path ("POST HTTP/1.1"), header lines, an empty line, a body.
HttpRequest RequestOf(std::string_view text);

} // namespace cim::wbem
