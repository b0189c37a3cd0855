// A listening TCP socket on a loopback address.
#pragma once

#include <cstdint>
#include <string>

namespace cim::wbem {

struct Listener {
    int socket = -1; // the caller closes it
    std::uint16_t port = 0;
};

// Empty when programs on this machine alone can reach the address; else a sentence that says what is wrong with it.
std::string LoopbackProblem(const std::string &address);

// `address` is a numeric IPv4 or IPv6 address or "localhost"; port 0 takes any that is free. False, with a sentence in
// `error` and nothing open, for an address that others could reach, and when the system refuses.
bool Listen(const std::string &address, std::uint16_t port, Listener *listener, std::string *error);

} // namespace cim::wbem
