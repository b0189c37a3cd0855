// The HTTP server around a handler: a listening socket on loopback, a thread per connection, limits and time limits.
#pragma once

#include "cim/wbem/Http.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace cim::wbem {

struct ServerConfig {
    std::string address = "127.0.0.1"; // a loopback address, or "localhost"
    std::uint16_t port = 5988;         // 0: any that is free
    unsigned connections = 64;         // further ones are answered 503
    std::chrono::seconds idle{30};     // after which a connection that neither sends nor takes anything is closed
    std::size_t headerBytes = 32 * 1024;
    std::size_t bodyBytes = 1024 * 1024;
};

class Server {
public:
    // Called on many threads at once; must not throw.
    using Handler = std::function<HttpAnswer(const HttpRequest &)>;

    // Null, with a sentence in `error`, when the address is not a loopback address or is in use.
    static std::unique_ptr<Server> Start(const ServerConfig &config, Handler handler, std::string *error);
    // Closes all connections; waits for handlers that are running.
    ~Server();

    std::uint16_t Port() const;
    unsigned Connections() const; // open now

private:
    struct Impl;
    explicit Server(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl;
};

} // namespace cim::wbem
