// A hosted server for tests of clients: the providers over a hardware description, answering CIM-XML.
#pragma once

#include "cim/client/Client.h"
#include "cim/inventory/Json.h"
#include "cim/recording/VendorModel.h"
#include "cim/wbem/Handle.h"
#include "tests/client/Answering.h"
#include "tests/support/DescribedHardware.h"

#include <gtest/gtest.h>

namespace cim {

using support::Host;

// One at a time: the providers are the process's.
struct HostedServer {
    explicit HostedServer(const std::string &hardware) : broker(Host(hardware)) {}

    std::unique_ptr<Broker> broker;
    Answering http{[this](const wbem::HttpRequest &request) { return wbem::Handle(*broker, request); }};
};

inline std::unique_ptr<Connection> ConnectTo(const std::string &url) {
    ClientOptions options;
    options.url = url;
    options.timeout = std::chrono::seconds(60);
    std::string error;
    auto connection = Connect(options, &error);
    EXPECT_NE(connection, nullptr) << error;
    return connection;
}

// What is served, one line an instance.
inline std::vector<std::string> Served(Connection &server) {
    const auto instances = ReadInstances(server);
    EXPECT_TRUE(instances.Ok()) << instances.status.message;
    std::vector<std::string> lines;
    for (const auto &some : instances.value)
        for (const Instance &instance : some) lines.push_back(Dump(ToJson(instance), -1));
    return lines;
}

// The vendor's model behind it, whole.
inline VendorModel ModelOf(Connection &server, const WalkOptions &options = {}) {
    VendorModel model;
    WalkProgress progress;
    const Status status = Walk(server, options, &model, &progress, [](const WalkProgress &) {});
    EXPECT_TRUE(status.Ok()) << status.message;
    EXPECT_EQ(progress.devices, progress.devicesKnown);
    return model;
}

} // namespace cim
