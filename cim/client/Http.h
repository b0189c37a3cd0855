// HTTP and HTTPS to one server, over a connection that is kept open between requests.
#pragma once

#include "cim/client/Client.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace cim::client {

// Why there is no answer to go on with, as the rest of a sentence that begins with the server.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Http {
public:
    // Throws a Failure, a sentence of its own, when the options name no server.
    explicit Http(const ClientOptions &options);
    ~Http();
    Http(const Http &) = delete;
    Http &operator=(const Http &) = delete;

    // The body of an answer with status 200. Throws a Failure when there is none.
    std::string Post(const HeaderFields &headers, const std::string &body);

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

} // namespace cim::client
