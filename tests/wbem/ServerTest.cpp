// The HTTP server over real sockets: what reaches the handler, limits, slow and vanished clients, the end.
#include "cim/wbem/Server.h"
#include "cim/wbem/Headers.h"
#include "tests/wbem/Client.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace cim::wbem {

namespace {

std::string Post(const std::string &body, const std::string &headers = "") {
    return "POST /cimom HTTP/1.1\r\nHost: localhost\r\n" + headers + "Content-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

// Answers what the request was. A body "wait" is held until the gate opens; a body "big" is answered with much.
struct Serving : testing::Test {
    ServerConfig config;
    std::promise<void> gate;
    std::shared_future<void> opened = gate.get_future().share();
    std::atomic<int> waiting{0};
    std::unique_ptr<Server> server;

    Serving() {
        config.port = 0;
        config.connections = 4;
    }

    HttpAnswer Answer(const HttpRequest &request) {
        if (request.body == "wait") {
            ++waiting;
            opened.wait();
        }
        const std::string *mark = FindHeader(request.headers, "mark");
        HttpAnswer answer;
        answer.headers = {{"Mark", "back"}};
        answer.body = request.body == "big"
                          ? std::string(64 << 20, 'x')
                          : request.method + " " + request.version + " " + (mark != nullptr ? *mark : "none") + " " +
                                std::to_string(request.body.size());
        return answer;
    }

    void Start() {
        std::string error;
        server = Server::Start(
            config, [this](const HttpRequest &request) { return Answer(request); }, &error);
        ASSERT_NE(server, nullptr) << error;
    }

    std::string Ask(const std::string &text) {
        Client client(server->Port());
        client.Send(text);
        return client.ReadAnswer();
    }
};

TEST_F(Serving, RequestsReachTheHandlerWholeAndConnectionsAreKept) {
    Start();
    Client client(server->Port());
    client.Send(Post(std::string(300000, 'b'), "Mark: here\r\n"));
    const std::string first = client.ReadAnswer();
    EXPECT_EQ(StatusOf(first), "200");
    EXPECT_NE(first.find("\r\nMark: back\r\n"), std::string::npos) << first;
    EXPECT_EQ(BodyOf(first), "POST HTTP/1.1 here 300000");
    client.Send(
        "M-POST * HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n");
    EXPECT_EQ(BodyOf(client.ReadAnswer()), "M-POST HTTP/1.1 none 5");
    EXPECT_EQ(server->Connections(), 1u);
    EXPECT_EQ(BodyOf(Ask("GET / HTTP/1.0\r\n\r\n")), "GET HTTP/1.0 none 0");
}

TEST_F(Serving, BodiesThatAreTooLargeAreToldSo) {
    config.bodyBytes = 1000;
    Start();
    EXPECT_EQ(BodyOf(Ask(Post(std::string(1000, 'b')))), "POST HTTP/1.1 none 1000");
    const std::string reason = "the request's body is larger than 1000 bytes\n";
    const std::string known = Ask(Post(std::string(2'000'000, 'b')));
    EXPECT_EQ(StatusOf(known), "413");
    EXPECT_EQ(BodyOf(known), reason);
    const std::string chunked = Ask("POST / HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n3E9\r\n" +
                                    std::string(1001, 'b') + "\r\n0\r\n\r\n");
    EXPECT_EQ(StatusOf(chunked), "413");
    EXPECT_EQ(BodyOf(chunked), reason);
    // The client that asks first need not send it.
    EXPECT_EQ(BodyOf(Ask("POST / HTTP/1.1\r\nHost: x\r\nExpect: 100-continue\r\nContent-Length: 1001\r\n\r\n")),
              reason);
}

TEST_F(Serving, BodiesWithoutEndAreCutOff) {
    Start();
    Client client(server->Port());
    ASSERT_TRUE(client.Send("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 1000000000\r\n\r\n"));
    const std::string piece(1 << 20, 'b');
    int sent = 0;
    while (sent < 900 && client.Send(piece)) ++sent;
    EXPECT_LT(sent, 100) << "MiB, most of them in the sockets' buffers";
    EXPECT_EQ(StatusOf(Ask(Post("next"))), "200");
}

TEST_F(Serving, HeadersThatAreTooLargeAreToldSo) {
    config.headerBytes = 4096;
    Start();
    EXPECT_EQ(StatusOf(Ask(Post("", "Long: " + std::string(8192, 'h') + "\r\n"))), "431");
    EXPECT_EQ(StatusOf(Ask("POST /" + std::string(8192, 'u') + " HTTP/1.1\r\nHost: x\r\n\r\n")), "414");
    EXPECT_EQ(StatusOf(Ask(Post("next"))), "200");
}

TEST_F(Serving, ConnectionsBeyondTheLimitAreToldSoUntilOneIsFree) {
    Start();
    std::vector<std::unique_ptr<Client>> idle;
    for (unsigned i = 0; i < config.connections; ++i) {
        idle.push_back(std::make_unique<Client>(server->Port()));
        ASSERT_TRUE(Eventually([&] { return server->Connections() == i + 1; }));
    }
    const std::string refused = Ask(Post(std::string(1000, 'b')));
    EXPECT_EQ(StatusOf(refused), "503");
    EXPECT_NE(refused.find("\r\nRetry-After: 1\r\n"), std::string::npos) << refused;
    EXPECT_EQ(BodyOf(refused), "all 4 connections are in use\n");
    idle[0]->Send(Post("first"));
    EXPECT_EQ(StatusOf(idle[0]->ReadAnswer()), "200") << "who has a connection keeps it";
    idle.pop_back();
    ASSERT_TRUE(Eventually([&] { return server->Connections() < config.connections; }));
    EXPECT_EQ(StatusOf(Ask(Post("again"))), "200");
}

TEST_F(Serving, SlowClientsAndSlowAnswersHoldNobodyUp) {
    Start();
    Client slow(server->Port()), held(server->Port());
    slow.Send("POST / HTTP/1.1\r\nHo");
    held.Send(Post("wait"));
    ASSERT_TRUE(Eventually([&] { return waiting == 1; }));
    EXPECT_EQ(BodyOf(Ask(Post("quick"))), "POST HTTP/1.1 none 5");
    slow.Send("st: x\r\nContent-Length: 4\r\n\r\nsl");
    EXPECT_EQ(BodyOf(Ask(Post("quick"))), "POST HTTP/1.1 none 5");
    slow.Send("ow");
    EXPECT_EQ(BodyOf(slow.ReadAnswer()), "POST HTTP/1.1 none 4");
    gate.set_value();
    EXPECT_EQ(BodyOf(held.ReadAnswer()), "POST HTTP/1.1 none 4");
}

TEST_F(Serving, VanishedClientsLeaveNothing) {
    Start();
    Client inHeaders(server->Port()), inBody(server->Port()), inAnswer(server->Port()), beforeAnswer(server->Port());
    inHeaders.Send("POST / HT");
    inBody.Send("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 100\r\n\r\nhalf");
    inAnswer.Send(Post("big"));
    beforeAnswer.Send(Post("wait"));
    ASSERT_TRUE(Eventually([&] { return waiting == 1; }));
    for (Client *client : {&inHeaders, &inBody, &inAnswer, &beforeAnswer}) client->Close();
    gate.set_value();
    EXPECT_TRUE(Eventually([&] { return server->Connections() == 0; }));
    EXPECT_EQ(StatusOf(Ask(Post("next"))), "200");
}

TEST_F(Serving, IdleConnectionsAreClosed) {
    config.idle = std::chrono::seconds(1);
    Start();
    Client silent(server->Port()), halfWay(server->Port()), kept(server->Port());
    halfWay.Send("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 100\r\n\r\nhalf");
    kept.Send(Post("once"));
    EXPECT_EQ(StatusOf(kept.ReadAnswer()), "200");
    EXPECT_TRUE(silent.IsClosed());
    EXPECT_TRUE(halfWay.IsClosed());
    EXPECT_TRUE(kept.IsClosed());
    EXPECT_TRUE(Eventually([&] { return server->Connections() == 0; }));
}

TEST_F(Serving, TheEndWaitsForNobodyWhoIsConnected) {
    config.idle = std::chrono::hours(1);
    Start();
    Client silent(server->Port()), halfWay(server->Port()), reading(server->Port());
    halfWay.Send("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 100\r\n\r\nhalf");
    reading.Send(Post("big"));
    ASSERT_TRUE(Eventually([&] { return server->Connections() == 3; }));
    server.reset();
    EXPECT_TRUE(silent.IsClosed());
    EXPECT_TRUE(halfWay.IsClosed());
    EXPECT_TRUE(reading.IsClosed());
}

std::string StartError(const std::string &address, std::uint16_t port) {
    ServerConfig config;
    config.address = address;
    config.port = port;
    std::string error;
    const auto server = Server::Start(
        config, [](const HttpRequest &) { return HttpAnswer(); }, &error);
    EXPECT_EQ(server == nullptr, !error.empty());
    return error;
}

TEST(Address, OnlyLoopbackIsServed) {
    for (const char *address : {"127.0.0.1", "127.8.8.8", "localhost"})
        EXPECT_EQ(StartError(address, 0), "") << address;
    for (const char *address : {"0.0.0.0", "192.0.2.1", "::", "2001:db8::1", "::ffff:127.0.0.1"}) {
        EXPECT_EQ(StartError(address, 0), "only loopback addresses (127.0.0.1, ::1) can be served, and " +
                                              std::string(address) + " is not one: there is no authentication");
    }
    EXPECT_EQ(StartError("example.org", 0), "example.org is not an IP address");
}

TEST_F(Serving, APortInUseIsToldSo) {
    Start();
    EXPECT_EQ(StartError("127.0.0.1", server->Port()),
              "cannot listen on 127.0.0.1 port " + std::to_string(server->Port()) + ": Address already in use");
}

} // namespace

} // namespace cim::wbem
