// `quarnel serve` as a service manager starts it, of hardware here and of a CIM server elsewhere.
#include "tests/support/DescribedHardware.h"
#include "tests/wbem/Client.h"

#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>

namespace cim {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// The manager's end of NOTIFY_SOCKET.
class NotifySocket {
public:
    NotifySocket() : fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        Path().copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    }
    ~NotifySocket() { close(fd); }
    std::string Path() const { return folder / "notify"; }
    std::string Next() const { // what it is told next
        pollfd readable{fd, POLLIN, 0};
        char text[1000];
        const ssize_t size = poll(&readable, 1, 60000) == 1 ? recv(fd, text, sizeof text, 0) : 0;
        return {text, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }

private:
    const support::TemporaryFolder folder;
    const int fd;
};

std::uint16_t PortIn(const std::string &text) {
    return static_cast<std::uint16_t>(std::stoi(text.substr(text.find(':', text.find("http://") + 5) + 1)));
}

std::string Answer(std::uint16_t port, const std::string &request) {
    wbem::Client client(port);
    client.Send(request + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: 0\r\n\r\n");
    return client.ReadAnswer();
}

struct Service {
    explicit Service(const std::string &configuration) {
        Process::Options options;
        options.environment["NOTIFY_SOCKET"] = manager.Path();
        program.emplace(BinFolder() + "/quarnel",
                        std::vector<std::string>{"serve", "--config", folder.Write("serve.conf", configuration)},
                        options);
    }
    const support::TemporaryFolder folder;
    const NotifySocket manager;
    std::optional<Process> program;
};

TEST(ServeTest, IsReadyWhenThePortAnswersAndAllHasBeenRead) {
    support::DescribedHardware hardware(std::string(QUARNEL_TEST_SOURCES) + "/small.json");
    hardware.description["behaviour"] = {{{"class", "CIM_MediaPresent"}, {"latency", 100}}};
    hardware.Save();
    Service here("port = 0\nwait = 50\nhardware = " + hardware.File() + "\n");
    const std::string ready = here.manager.Next();
    ASSERT_THAT(ready, StartsWith("READY=1\nSTATUS=serving CIM-XML at http://127.0.0.1:"));
    EXPECT_THAT(Answer(PortIn(ready), "GET /api/inventory"), HasSubstr("zbrStorageExtc1_d3"));
    here.program->Signal(SIGTERM);
    EXPECT_EQ(here.manager.Next(), "STOPPING=1");
    EXPECT_EQ(here.program->Wait(), 0);
}

TEST(ServeTest, ShowsAServerElsewhereWhetherItAnswersOrNot) {
    const std::string small = std::string(QUARNEL_TEST_SOURCES) + "/small.json";
    std::optional<support::Serve> elsewhere(std::in_place, small);
    const std::string url = elsewhere->Url();
    Service here("# that server\nurl = \"" + url + "\"\nport = 0\n");
    const std::string ready = here.manager.Next();
    ASSERT_THAT(ready, HasSubstr(", with a picture of " + url));
    const std::uint16_t port = PortIn(ready);
    const auto shows = [port](const std::string &status, const std::string &text) {
        return wbem::Eventually([&] {
            const std::string answer = Answer(port, "GET /api/inventory");
            return wbem::StatusOf(answer) == status && answer.find(text) != std::string::npos;
        });
    };
    EXPECT_TRUE(shows("200", "zbrStorageExtc1_d3"));
    const std::string refused = Answer(port, "POST /cimom");
    EXPECT_EQ(wbem::StatusOf(refused), "501");
    EXPECT_THAT(refused, HasSubstr(url + " is shown: ask that server itself"));

    elsewhere.reset();
    EXPECT_TRUE(shows("503", url + ": connection refused"));
    Process back(BinFolder() + "/quarnel", {"serve", "--hardware", small, "--port", std::to_string(PortIn(url))});
    EXPECT_TRUE(shows("200", "zbrStorageExtc1_d3")) << back.Err();
    EXPECT_TRUE(here.program->WaitForError("refused\nquarnel: " + url + ": answers again\n")) << here.program->Err();
}

} // namespace
} // namespace cim
