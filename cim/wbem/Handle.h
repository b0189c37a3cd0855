// CIM-XML over HTTP (DSP0200), without the HTTP: from one request to one answer.
#pragma once

#include "cim/broker/Broker.h"
#include "cim/wbem/Http.h"

namespace cim::wbem {

// Answers any request, in any shape; throws nothing. Any number of threads may call it at once.
HttpAnswer Handle(Broker &broker, const HttpRequest &request) noexcept;

} // namespace cim::wbem
