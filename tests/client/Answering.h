// An HTTP server in the test that answers what the test says.
#pragma once

#include "cim/wbem/Server.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace cim {

class Answering {
public:
    using Handler = wbem::Server::Handler;
    explicit Answering(Handler handler) {
        wbem::ServerConfig config;
        config.port = 0;
        std::string error;
        server = wbem::Server::Start(config, std::move(handler), &error);
        EXPECT_NE(server, nullptr) << error;
    }
    explicit Answering(const wbem::HttpAnswer &always)
        : Answering([always](const wbem::HttpRequest &) { return always; }) {}

    std::string Url() const { return "http://127.0.0.1:" + std::to_string(server->Port()); }

private:
    std::unique_ptr<wbem::Server> server;
};

// An answer to a call, whole; `inside` is what IMETHODRESPONSE holds.
inline wbem::HttpAnswer CimAnswer(const std::string &inside) {
    wbem::HttpAnswer answer;
    answer.headers = {{"Content-Type", "application/xml; charset=\"utf-8\""}};
    answer.body = "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
                  "<MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLERSP><IMETHODRESPONSE NAME=\"X\">" +
                  inside + "</IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>";
    return answer;
}

// For the life of the object; null: not set.
class Environment {
public:
    Environment(const char *variable, const char *value) : name(variable) {
        if (const char *old = std::getenv(variable)) before = old, wasSet = true;
        value != nullptr ? setenv(name, value, 1) : unsetenv(name);
    }
    ~Environment() { wasSet ? setenv(name, before.c_str(), 1) : unsetenv(name); }
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;

private:
    const char *name;
    std::string before;
    bool wasSet = false;
};

} // namespace cim
