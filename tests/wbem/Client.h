// An HTTP client that sends exactly what a test wants, in pieces if it wants, and waits with a deadline.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace cim::wbem {

class Client {
public:
    explicit Client(std::uint16_t port);
    ~Client();
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    // False when the server has closed the connection.
    bool Send(const std::string &text);
    // One answer, headers and body; less when the server closes the connection or the deadline passes.
    std::string ReadAnswer();
    // True when the server closes the connection before the deadline.
    bool IsClosed();
    void Close();

private:
    bool Fill(); // reads more; false at the end or after the deadline

    int socket = -1;
    bool closed = false;
    std::string received;
};

// True once the condition holds; false when it does not before the deadline.
bool Eventually(const std::function<bool()> &condition);

std::string StatusOf(const std::string &answer); // "200"
std::string BodyOf(const std::string &answer);

} // namespace cim::wbem
