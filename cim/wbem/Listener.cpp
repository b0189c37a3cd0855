#include "cim/wbem/Listener.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace cim::wbem {

namespace {

union Address {
    sockaddr any;
    sockaddr_in v4;
    sockaddr_in6 v6;
};

// As a sentence what is wrong; empty for a loopback address.
std::string Parse(const std::string &text, std::uint16_t port, Address *address, socklen_t *size) {
    std::memset(address, 0, sizeof *address);
    const char *numeric = text == "localhost" ? "127.0.0.1" : text.c_str();
    bool loopback = false;
    if (inet_pton(AF_INET, numeric, &address->v4.sin_addr) == 1) {
        address->v4.sin_family = AF_INET;
        address->v4.sin_port = htons(port);
        *size = sizeof address->v4;
        loopback = ntohl(address->v4.sin_addr.s_addr) >> 24 == IN_LOOPBACKNET;
    } else if (inet_pton(AF_INET6, numeric, &address->v6.sin6_addr) == 1) {
        address->v6.sin6_family = AF_INET6;
        address->v6.sin6_port = htons(port);
        *size = sizeof address->v6;
        loopback = IN6_IS_ADDR_LOOPBACK(&address->v6.sin6_addr);
    } else {
        return text + " is not an IP address";
    }
    if (loopback) return {};
    return "only loopback addresses (127.0.0.1, ::1) can be served, and " + text +
           " is not one: there is no authentication";
}

std::uint16_t PortOf(int socket) {
    Address address;
    socklen_t size = sizeof address;
    if (getsockname(socket, &address.any, &size) != 0) return 0;
    return ntohs(address.any.sa_family == AF_INET ? address.v4.sin_port : address.v6.sin6_port);
}

} // namespace

std::string LoopbackProblem(const std::string &address) {
    Address parsed;
    socklen_t size = 0;
    return Parse(address, 0, &parsed, &size);
}

bool Listen(const std::string &address, std::uint16_t port, Listener *listener, std::string *error) {
    Address parsed;
    socklen_t size = 0;
    *error = Parse(address, port, &parsed, &size);
    if (!error->empty()) return false;
    const int fd = socket(parsed.any.sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    if (fd < 0 || setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 || bind(fd, &parsed.any, size) != 0 ||
        listen(fd, SOMAXCONN) != 0) {
        *error = "cannot listen on " + address + " port " + std::to_string(port) + ": " +
                 std::generic_category().message(errno);
        if (fd >= 0) close(fd);
        return false;
    }
    *listener = {fd, PortOf(fd)};
    return true;
}

} // namespace cim::wbem
