#include "tests/wbem/Client.h"

#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace cim::wbem {

namespace {

constexpr std::chrono::seconds kDeadline{20};

} // namespace

Client::Client(std::uint16_t port) : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    closed = connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0;
}

Client::~Client() { Close(); }

void Client::Close() {
    if (socket >= 0) close(socket);
    socket = -1;
    closed = true;
}

bool Client::Send(const std::string &text) {
    for (std::size_t sent = 0; sent < text.size() && !closed;) {
        const ssize_t count = send(socket, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (count < 0) return false;
        sent += static_cast<std::size_t>(count);
    }
    return !closed;
}

bool Client::Fill() {
    pollfd ready = {socket, POLLIN, 0};
    const auto limit = std::chrono::duration_cast<std::chrono::milliseconds>(kDeadline);
    if (closed || poll(&ready, 1, static_cast<int>(limit.count())) != 1) return false;
    char piece[65536];
    const ssize_t count = recv(socket, piece, sizeof piece, 0);
    closed = count <= 0;
    if (!closed) received.append(piece, static_cast<std::size_t>(count));
    return !closed;
}

std::string Client::ReadAnswer() {
    std::size_t end = std::string::npos;
    while ((end = received.find("\r\n\r\n")) == std::string::npos) {
        if (!Fill()) return received;
    }
    end += 4;
    const std::string name = "\r\nContent-Length: ";
    const std::size_t length = received.find(name);
    if (length < end) end += std::stoul(received.substr(length + name.size()));
    while (received.size() < end) {
        if (!Fill()) return received;
    }
    std::string answer = received.substr(0, end);
    received.erase(0, end);
    return answer;
}

bool Client::IsClosed() {
    while (Fill()) {}
    return closed;
}

bool Eventually(const std::function<bool()> &condition) {
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

std::string StatusOf(const std::string &answer) { return answer.substr(std::min<std::size_t>(9, answer.size()), 3); }

std::string BodyOf(const std::string &answer) {
    const std::size_t end = answer.find("\r\n\r\n");
    return end == std::string::npos ? std::string() : answer.substr(end + 4);
}

} // namespace cim::wbem
