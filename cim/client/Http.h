// HTTP and HTTPS to one server, over a connection that is kept open between requests.
#pragma once

#include "cim/client/Client.h"

#include <stdexcept>

namespace cim::client {

// Why there is no answer to go on with, as the rest of a sentence that begins with the server.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Brings the body of an answer with status 200. Throws a Failure, a sentence of its own, when the options name no
// server.
Post OverHttp(const ClientOptions &options);

} // namespace cim::client
