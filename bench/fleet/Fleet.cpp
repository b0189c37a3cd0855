// A fleet for one Prometheus to scrape: each path /host/NUMBER/metrics is a host of its own, with the hardware of a
// description. At /plant some of them get the faults that a file lists.
#include "cim/metrics/Metrics.h"
#include "cim/program/Source.h"
#include "cim/wbem/Browsers.h"
#include "cim/wbem/Server.h"
#include "tests/support/TemporaryFolder.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <charconv>
#include <csignal>
#include <ctime>
#include <iostream>
#include <stdexcept>

namespace {

using nlohmann::json;

// What the provider tells of that hardware.
cim::Inventory Read(const std::string &description) {
    cim::SourceOptions options;
    options.hosting.hardwareFile = description;
    cim::Trouble trouble = cim::Trouble::None;
    std::string error;
    const auto source = cim::Source::Open(options, &trouble, &error);
    if (source == nullptr) throw std::runtime_error(error);
    auto instances = source->Read();
    if (!instances.Ok()) throw std::runtime_error(instances.status.message);
    return cim::Describe(std::move(instances.value));
}

struct Host {
    cim::Inventory inventory;
    bool up = true;      // its hardware can be read
    bool answers = true; // its exporter is there
};

class Fleet {
public:
    Fleet(unsigned hosts, const std::string &description, const json &faults) : size(hosts) {
        healthy.inventory = Read(description);
        name = fmt::format("host_name=\"{}\"", cim::HostOf(healthy.inventory));
        const support::TemporaryFolder folder;
        for (const json &fault : faults) {
            Host host{healthy.inventory, fault.value("up", true), fault.value("answers", true)};
            if (const auto changes = fault.find("changes"); changes != fault.end()) {
                json changed = json::parse(std::ifstream(description));
                for (const auto &[place, value] : changes->items()) changed[json::json_pointer(place)] = value;
                host.inventory = Read(folder.Write("faulty.json", changed.dump()));
            }
            faulty.push_back(std::move(host));
        }
    }

    // Any number of threads may ask.
    cim::wbem::HttpAnswer Answer(const cim::wbem::HttpRequest &request) {
        if (request.path == "/plant") {
            planted = true;
            return cim::wbem::Sentence(200, "planted");
        }
        const unsigned number = NumberIn(request.path);
        if (number == 0 || number > size) return cim::wbem::Sentence(404, "there is no such host");
        const Host &host = HostOf(number);
        if (!host.answers) return cim::wbem::Sentence(503, "there is no exporter");
        const auto format = cim::metrics::FormatFor(cim::wbem::HeaderOf(request, "Accept"));
        return cim::wbem::Reply(200, cim::metrics::ContentTypeOf(format), Render(host, number, format));
    }

private:
    static unsigned NumberIn(std::string_view path) {
        constexpr std::string_view kBefore = "/host/", kBehind = "/metrics";
        unsigned number = 0;
        if (path.substr(0, kBefore.size()) != kBefore) return 0;
        path.remove_prefix(kBefore.size());
        const auto end = std::from_chars(path.data(), path.data() + path.size(), number).ptr;
        path.remove_prefix(static_cast<std::size_t>(end - path.data()));
        return path == kBehind ? number : 0;
    }

    // The faults are spread evenly over the fleet, the last one is the last host's.
    const Host &HostOf(unsigned number) const {
        for (std::size_t i = 0; planted && i < faulty.size(); ++i) {
            if (number == (i + 1) * size / faulty.size()) return faulty[i];
        }
        return healthy;
    }

    // The hardware's hosts all have this machine's name; here each has its own.
    std::string Render(const Host &host, unsigned number, cim::metrics::Format format) const {
        cim::metrics::Look look;
        look.up = host.up;
        look.times.Note(host.inventory, {}, std::time(nullptr));
        look.past = cim::metrics::Past{1, host.up ? 0U : 1U, &gone};
        std::string text = cim::metrics::Render(host.inventory, look, format);
        if (const auto place = text.find(name); place != std::string::npos) {
            text.replace(place, name.size(), fmt::format("host_name=\"host-{:04}\"", number));
        }
        return text;
    }

    const unsigned size;
    Host healthy;
    std::vector<Host> faulty;
    const std::vector<cim::Gone> gone; // nothing is
    std::string name;                  // as a label, in what is rendered
    std::atomic<bool> planted{false};
};

} // namespace

int main(int argc, char **argv) try {
    if (argc != 4) throw std::invalid_argument("quarnel-fleet HOSTS DESCRIPTION FAULTS");
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    Fleet fleet(static_cast<unsigned>(std::stoul(argv[1])), argv[2], json::parse(std::ifstream(argv[3])));
    cim::wbem::ServerConfig config;
    config.port = 0;
    config.connections = 1024;
    std::string error;
    const auto server = cim::wbem::Server::Start(
        config, [&fleet](const cim::wbem::HttpRequest &request) { return fleet.Answer(request); }, &error);
    if (server == nullptr) throw std::runtime_error(error);
    std::cout << "serving " << argv[1] << " hosts at http://127.0.0.1:" << server->Port() << std::endl;
    int signal = 0;
    sigwait(&ends, &signal);
} catch (const std::exception &error) {
    std::cerr << "quarnel-fleet: " << error.what() << '\n';
    return 1;
}
