// Where user and password come from, and that they go to nobody who has not asked for them.
#include "tests/client/Hosting.h"

#include "cim/wbem/Headers.h"

#include <mutex>

namespace cim {
namespace {

constexpr const char *kAdaLovelace = "Basic YWRhOmxvdmVsYWNl"; // ada:lovelace

// Asks a server that wants ada's password, at home in a folder of its own, and remembers what it was sent.
class Credentials : public testing::Test {
protected:
    std::string Ask() {
        if (connection == nullptr) connection = ConnectTo(server.Url());
        return connection->EnumerateInstances("root/cimv2", "C").status.message;
    }

    std::mutex mutex;
    std::vector<std::string> sent; // guarded by mutex
    Answering server{[this](const wbem::HttpRequest &request) {
        const std::string *given = wbem::FindHeader(request.headers, "Authorization");
        const std::lock_guard lock(mutex);
        sent.push_back(given != nullptr ? *given : "");
        if (sent.back() == kAdaLovelace) return CimAnswer("<IRETURNVALUE></IRETURNVALUE>");
        return wbem::HttpAnswer{401, {{"WWW-Authenticate", "Basic realm=\"cim\""}}, "no"};
    }};
    std::unique_ptr<Connection> connection;

    const support::TemporaryFolder home;
    const Environment atHome{"HOME", home.Path().c_str()};
    const Environment noUser{"QUARNEL_USER", nullptr}, noPassword{"QUARNEL_PASSWORD", nullptr};
};

TEST_F(Credentials, ComeFromTheEnvironmentAndAreSentOnlyOnDemand) {
    const Environment user("QUARNEL_USER", "ada"), password("QUARNEL_PASSWORD", "lovelace");
    home.Write(".netrc", "machine 127.0.0.1 login somebody password else\n");
    EXPECT_EQ(Ask(), "");
    EXPECT_EQ(Ask(), "");
    EXPECT_EQ(sent, (std::vector<std::string>{"", kAdaLovelace, kAdaLovelace})) << "asked for once";
}

TEST_F(Credentials, ComeFromNetrc) {
    home.Write(".netrc", "machine other login x password y\nmachine 127.0.0.1 login ada password lovelace\n");
    EXPECT_EQ(Ask(), "");
}

TEST_F(Credentials, ThatAreMissingOrWrongAreToldWithTheirPlaces) {
    const std::string told = server.Url() + ": answered 401 Unauthorized: check the user and the password in "
                                            "QUARNEL_USER and QUARNEL_PASSWORD, or in ~/.netrc";
    EXPECT_EQ(Ask(), told);
    const Environment user("QUARNEL_USER", "ada"), password("QUARNEL_PASSWORD", "byron");
    connection = nullptr;
    EXPECT_EQ(Ask(), told);
}

} // namespace
} // namespace cim
