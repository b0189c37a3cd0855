// A server and a client in this process, for what an answer's way over a socket adds.
#pragma once

#include "cim/wbem/Server.h"
#include "tests/wbem/Client.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace bench {

inline std::unique_ptr<cim::wbem::Server> Serve(cim::wbem::Server::Handler handler) {
    cim::wbem::ServerConfig config;
    config.port = 0;
    std::string error;
    auto server = cim::wbem::Server::Start(config, std::move(handler), &error);
    if (server == nullptr) throw std::runtime_error(error);
    return server;
}

// The size of the answer, headers included.
inline std::size_t Exchange(cim::wbem::Client &client, const std::string &request) {
    client.Send(request);
    return client.ReadAnswer().size();
}

} // namespace bench
