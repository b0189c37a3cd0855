// A hosted server for tests of clients: the providers over a hardware description, answering CIM-XML.
#pragma once

#include "cim/client/Client.h"
#include "cim/inventory/Inventory.h"
#include "cim/program/Hosting.h"
#include "cim/recording/VendorModel.h"
#include "cim/wbem/Handle.h"
#include "tests/client/Answering.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace cim {

// A folder of a test's own.
class Folder {
public:
    Folder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "quarnel-client.XXXXXX").string();
        EXPECT_NE(mkdtemp(pattern.data()), nullptr);
        path = pattern;
    }
    ~Folder() { std::filesystem::remove_all(path); }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    std::string File(const std::string &name) const { return (path / name).string(); }
    std::string Write(const std::string &name, const std::string &text) const {
        std::ofstream(path / name) << text;
        return File(name);
    }
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(path)) names.push_back(entry.path().filename());
        return names;
    }

private:
    std::filesystem::path path;
};

inline std::unique_ptr<Broker> Host(const std::string &hardware) {
    HostingOptions options;
    options.hardwareFile = hardware;
    std::string error;
    auto broker = StartHosting(options, &error);
    if (broker == nullptr || WaitForFirstBuild(*broker, options, &error) != FirstBuild::Done) {
        ADD_FAILURE() << error;
        std::abort();
    }
    return broker;
}

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

// What is served, one line an instance, sorted. Disks are built on several threads, so that the order of a volume's
// drives in its caption is not the same each time.
std::vector<std::string> Served(Connection &server);

// The vendor's model behind it, whole.
VendorModel ModelOf(Connection &server, const WalkOptions &options = {});

} // namespace cim
