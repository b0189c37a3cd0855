// Where user and password come from, and that they go to nobody who has not asked for them.
#include "tests/client/Answering.h"

#include "cim/client/Client.h"
#include "cim/wbem/Headers.h"

#include <filesystem>
#include <fstream>
#include <mutex>

namespace cim {
namespace {

// A server that wants "Basic <user:password in base64>", and remembers what it was sent.
struct Guarded {
    explicit Guarded(const std::string &credentials)
        : server([this, wanted = "Basic " + credentials](const wbem::HttpRequest &request) {
              const std::string *given = wbem::FindHeader(request.headers, "Authorization");
              const std::lock_guard lock(mutex);
              sent.push_back(given != nullptr ? *given : "");
              if (given != nullptr && *given == wanted) return CimAnswer("<IRETURNVALUE></IRETURNVALUE>");
              return wbem::HttpAnswer{401, {{"WWW-Authenticate", "Basic realm=\"cim\""}}, "no"};
          }) {}

    std::mutex mutex;
    std::vector<std::string> sent; // guarded by mutex
    Answering server;
};

class Credentials : public testing::Test {
protected:
    Credentials() { std::filesystem::create_directory(home); }
    ~Credentials() override { std::filesystem::remove_all(home); }
    void WriteNetrc(const std::string &text) { std::ofstream(home / ".netrc") << text; }

    static std::unique_ptr<Connection> ConnectTo(const Answering &server) {
        ClientOptions options;
        options.url = server.Url();
        std::string error;
        auto connection = Connect(options, &error);
        EXPECT_NE(connection, nullptr) << error;
        return connection;
    }
    static Status Ask(Connection &connection) { return connection.EnumerateInstances("root/cimv2", "C").status; }

    const std::filesystem::path home =
        std::filesystem::path(testing::TempDir()) / ("quarnel-home-" + std::to_string(getpid()));
    const Environment atHome{"HOME", home.c_str()};
    const Environment noUser{"QUARNEL_USER", nullptr};
    const Environment noPassword{"QUARNEL_PASSWORD", nullptr};
};

constexpr const char *kAdaLovelace = "YWRhOmxvdmVsYWNl"; // ada:lovelace

TEST_F(Credentials, ComeFromTheEnvironmentAndAreSentOnlyOnDemand) {
    const Environment user("QUARNEL_USER", "ada");
    const Environment password("QUARNEL_PASSWORD", "lovelace");
    WriteNetrc("machine 127.0.0.1 login somebody password else\n");
    Guarded guarded(kAdaLovelace);
    const auto connection = ConnectTo(guarded.server);
    EXPECT_EQ(Ask(*connection).message, "");
    EXPECT_EQ(Ask(*connection).message, "");
    const std::string sent = std::string("Basic ") + kAdaLovelace;
    EXPECT_EQ(guarded.sent, (std::vector<std::string>{"", sent, sent})) << "asked for once";
}

TEST_F(Credentials, ComeFromNetrc) {
    WriteNetrc("machine other login x password y\nmachine 127.0.0.1 login ada password lovelace\n");
    Guarded guarded(kAdaLovelace);
    EXPECT_EQ(Ask(*ConnectTo(guarded.server)).message, "");
}

TEST_F(Credentials, ThatAreMissingOrWrongAreToldWithTheirPlaces) {
    Guarded guarded(kAdaLovelace);
    const std::string told = guarded.server.Url() + ": answered 401 Unauthorized: check the user and the password in "
                                                    "QUARNEL_USER and QUARNEL_PASSWORD, or in ~/.netrc";
    EXPECT_EQ(Ask(*ConnectTo(guarded.server)).message, told);
    const Environment user("QUARNEL_USER", "ada");
    const Environment password("QUARNEL_PASSWORD", "byron");
    EXPECT_EQ(Ask(*ConnectTo(guarded.server)).message, told);
}

} // namespace
} // namespace cim
