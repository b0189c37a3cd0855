#include "cim/wbem/Server.h"

#include "cim/wbem/Errors.h"
#include "cim/wbem/Headers.h"
#include "cim/wbem/Listener.h"

#include <microhttpd.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <utility>

namespace cim::wbem {

namespace {

// Connections beyond the limit that are taken in to be told so. Still further ones wait for their turn.
constexpr unsigned kSpareConnections = 16;
// What is read and thrown away of a body that is too large: a client that is still sending would not see the answer.
constexpr std::size_t kDrainedBytes = 16 * 1024 * 1024;

// One request while it comes in.
struct Exchange {
    HttpRequest request;
    unsigned refusal = 0; // HTTP status decided before the request was complete
    std::string reason;
    std::size_t received = 0;
};

MHD_Result CollectHeader(void *headers, MHD_ValueKind, const char *name, std::size_t nameSize, const char *value,
                         std::size_t valueSize) {
    static_cast<HeaderList *>(headers)->emplace_back(std::string(name, nameSize),
                                                     std::string(value != nullptr ? value : "", valueSize));
    return MHD_YES;
}

void FreeBody(void *body) { delete static_cast<std::string *>(body); }

MHD_Result Send(MHD_Connection *connection, HttpAnswer answer) {
    auto *body = new std::string(std::move(answer.body)); // lives as long as the response
    MHD_Response *response =
        MHD_create_response_from_buffer_with_free_callback_cls(body->size(), body->data(), FreeBody, body);
    if (response == nullptr) {
        delete body;
        return MHD_NO;
    }
    for (const auto &header : answer.headers) {
        MHD_add_response_header(response, header.first.c_str(), header.second.c_str());
    }
    const MHD_Result queued = MHD_queue_response(connection, answer.status, response);
    MHD_destroy_response(response);
    return queued;
}

MHD_Result SendRefusal(MHD_Connection *connection, const Exchange &exchange) {
    HttpAnswer answer;
    answer.status = exchange.refusal;
    answer.headers = {{"Content-Type", "text/plain; charset=\"utf-8\""}, {"Connection", "close"}};
    if (exchange.refusal == kUnavailable) answer.headers.emplace_back("Retry-After", "1");
    answer.body = exchange.reason + "\n";
    return Send(connection, std::move(answer));
}

} // namespace

struct Server::Impl {
    Impl(const ServerConfig &limits, Handler answer) : config(limits), handler(std::move(answer)) {}
    ~Impl();
    bool Start(std::string *error);

    const ServerConfig config;
    const Handler handler;
    std::uint16_t port = 0;
    MHD_Daemon *daemon = nullptr;
    std::atomic<unsigned> open{0};

private:
    MHD_Result Begin(MHD_Connection *connection, Exchange *exchange) const;
    MHD_Result Receive(Exchange *exchange, const char *data, std::size_t size) const;
    void RefuseTooLarge(Exchange *exchange) const;

    static void OnConnection(void *self, MHD_Connection *, void **context, MHD_ConnectionNotificationCode code);
    static MHD_Result OnRequest(void *self, MHD_Connection *connection, const char *path, const char *method,
                                const char *version, const char *data, std::size_t *size, void **state);
    static void OnCompleted(void *, MHD_Connection *, void **state, MHD_RequestTerminationCode);
};

bool Server::Impl::Start(std::string *error) {
    Listener listener;
    if (!Listen(config.address, config.port, &listener, error)) return false;
    port = listener.port;
    constexpr unsigned kFlags =
        MHD_USE_AUTO | MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_THREAD_PER_CONNECTION | MHD_USE_ITC;
    daemon = MHD_start_daemon(kFlags, 0, nullptr, nullptr, OnRequest, this,                        //
                              MHD_OPTION_LISTEN_SOCKET, listener.socket,                           //
                              MHD_OPTION_CONNECTION_LIMIT, config.connections + kSpareConnections, //
                              MHD_OPTION_CONNECTION_TIMEOUT, static_cast<unsigned>(config.idle.count()),
                              MHD_OPTION_CONNECTION_MEMORY_LIMIT, config.headerBytes, //
                              MHD_OPTION_NOTIFY_CONNECTION, OnConnection, this,       //
                              MHD_OPTION_NOTIFY_COMPLETED, OnCompleted, this,         //
                              MHD_OPTION_END);
    if (daemon == nullptr) *error = "the HTTP server cannot be started";
    return daemon != nullptr;
}

Server::Impl::~Impl() {
    if (daemon != nullptr) MHD_stop_daemon(daemon); // closes the listening socket as well
}

void Server::Impl::OnConnection(void *self, MHD_Connection *, void **context, MHD_ConnectionNotificationCode code) {
    Impl &server = *static_cast<Impl *>(self);
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        --server.open;
    } else if (++server.open > server.config.connections) {
        *context = self; // any mark: one too many
    }
}

// Called when a request's headers are there, for each piece of its body, and when it is complete.
MHD_Result Server::Impl::OnRequest(void *self, MHD_Connection *connection, const char *path, const char *method,
                                   const char *version, const char *data, std::size_t *size, void **state) {
    const Impl &server = *static_cast<Impl *>(self);
    auto *exchange = static_cast<Exchange *>(*state);
    try {
        if (exchange == nullptr) {
            *state = exchange = new Exchange;
            exchange->request.method = method;
            exchange->request.path = path;
            exchange->request.version = version;
            return server.Begin(connection, exchange);
        }
        if (*size > 0) return server.Receive(exchange, data, std::exchange(*size, 0));
        return exchange->refusal != 0 ? SendRefusal(connection, *exchange)
                                      : Send(connection, server.handler(exchange->request));
    } catch (const std::bad_alloc &) {
        return MHD_NO; // the connection is closed: there is no memory for an answer
    }
}

void Server::Impl::OnCompleted(void *, MHD_Connection *, void **state, MHD_RequestTerminationCode) {
    delete static_cast<Exchange *>(*state);
    *state = nullptr;
}

MHD_Result Server::Impl::Begin(MHD_Connection *connection, Exchange *exchange) const {
    HeaderList &headers = exchange->request.headers;
    MHD_get_connection_values_n(connection, MHD_HEADER_KIND, CollectHeader, &headers);
    const auto *mark = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    if (mark != nullptr && mark->socket_context != nullptr) {
        exchange->refusal = kUnavailable;
        exchange->reason = "all " + std::to_string(config.connections) + " connections are in use";
    }
    const std::string *length = FindHeader(headers, "Content-Length");
    if (length != nullptr && std::strtoull(length->c_str(), nullptr, 10) > config.bodyBytes) RefuseTooLarge(exchange);
    // A client that asks before it sends its body is told now. Any other gets the answer when it has sent all: before,
    // it could lose it in what it is still sending.
    const bool asks = FindHeader(headers, "Expect") != nullptr;
    return exchange->refusal != 0 && asks ? SendRefusal(connection, *exchange) : MHD_YES;
}

MHD_Result Server::Impl::Receive(Exchange *exchange, const char *data, std::size_t size) const {
    exchange->received += size;
    if (exchange->received > config.bodyBytes) RefuseTooLarge(exchange);
    if (exchange->refusal == 0) {
        exchange->request.body.append(data, size);
        return MHD_YES;
    }
    std::string().swap(exchange->request.body);
    return exchange->received > kDrainedBytes ? MHD_NO : MHD_YES;
}

void Server::Impl::RefuseTooLarge(Exchange *exchange) const {
    if (exchange->refusal != 0) return;
    exchange->refusal = kPayloadTooLarge;
    exchange->reason = "the request's body is larger than " + std::to_string(config.bodyBytes) + " bytes";
}

std::unique_ptr<Server> Server::Start(const ServerConfig &config, Handler handler, std::string *error) {
    auto impl = std::make_unique<Impl>(config, std::move(handler));
    if (!impl->Start(error)) return nullptr;
    return std::unique_ptr<Server>(new Server(std::move(impl)));
}

Server::Server(std::unique_ptr<Impl> started) : impl(std::move(started)) {}

Server::~Server() = default;

std::uint16_t Server::Port() const { return impl->port; }

unsigned Server::Connections() const { return impl->open; }

} // namespace cim::wbem
