// quarnel serve: a CIM server for the WBEM clients of this machine, and a picture of the hardware for its browsers; or
// the picture alone, of a CIM server elsewhere.
#include "cim/program/Command.h"
#include "cim/program/ConfigurationFile.h"
#include "cim/program/HardwareFile.h"
#include "cim/program/Scrape.h"
#include "cim/program/ServiceManager.h"
#include "cim/program/Signals.h"
#include "cim/program/Terminal.h"

#include "cim/picture/Picture.h"
#include "cim/wbem/Browsers.h"
#include "cim/wbem/Errors.h"
#include "cim/wbem/Handle.h"
#include "cim/wbem/Listener.h"
#include "cim/wbem/Server.h"

#include <fmt/format.h>

#include <csignal>
#include <malloc.h>
#include <memory>
#include <optional>
#include <thread>

namespace cim {

namespace {

struct ServeOptions {
    SourceOptions source;
    wbem::ServerConfig server;
};

// Until SIGINT, SIGTERM or SIGHUP comes. What becomes of the hardware file is said here and shown by the picture.
void WaitForTheEnd(Signals &signals, std::optional<HardwareFile> hardware, picture::Picture &picture) {
    for (;;) {
        const int signal = signals.Wait(std::chrono::steady_clock::now() + std::chrono::seconds(1));
        if (const auto news = hardware ? hardware->Look() : std::nullopt) {
            Say(news->reason);
            picture.Reject(hardware->Name(), news->rejected ? news->reason : "");
        }
        if (signal == SIGTSTP) {
            raise(SIGSTOP);
        } else if (signal != 0 && signal != SIGWINCH) {
            return;
        }
    }
}

// Each connection has a thread, and each heap that threads allocate from keeps room for the largest answer. With one
// for each processor an answer takes as long as with glibc's eight, and on two of them 32 clients make the process 22
// MiB large instead of 33.
// NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread yet.
void LimitHeaps() { mallopt(M_ARENA_MAX, static_cast<int>(std::thread::hardware_concurrency())); }

// Reads the instances. Of a server elsewhere it says once that reading fails, and once that it works again.
picture::Observer::Read ReadAndTell(Source &source, const std::string &url) {
    if (url.empty()) return [&source] { return source.Read(); };
    return [&source, url, failing = false]() mutable {
        auto instances = source.Read();
        if (instances.Ok() == failing) Say(failing ? url + ": answers again" : instances.status.message);
        failing = !instances.Ok();
        return instances;
    };
}

// CIM requests are for a CIM server: passing them on would ask it with this process's password for anybody.
wbem::HttpAnswer NotACimServer(const wbem::HttpRequest &request, const std::string &url) {
    if (auto refusal = wbem::RefuseOtherHosts(request)) return *std::move(refusal);
    return wbem::Sentence(
        wbem::kNotImplemented,
        fmt::format("no CIM requests are answered here, where {} is shown: ask that server itself", url));
}

std::string UrlOf(const wbem::ServerConfig &config, std::uint16_t port) {
    const bool v6 = config.address.find(':') != std::string::npos;
    return fmt::format("http://{}{}{}:{}", v6 ? "[" : "", config.address, v6 ? "]" : "", port);
}

int Serve(const ServeOptions &options) {
    LimitHeaps();
    const std::string &elsewhere = options.source.server.url;
    Trouble trouble = Trouble::None;
    std::string error;
    const auto source = Source::Open(options.source, &trouble, &error);
    if (source == nullptr) return Fail(trouble, error);
    // Clients are answered all the same: what has been read is there, and the rest follows.
    if (!source->Unread().empty()) Say(source->Unread());

    const bool sample = options.source.IsSample();
    picture::Picture picture(ReadAndTell(*source, elsewhere), sample);
    const auto handler = [broker = source->Hosts(), &picture, sample, &elsewhere](const wbem::HttpRequest &request) {
        auto answer = AnswerScrape(picture, sample, request);
        if (!answer) answer = picture.Answer(request);
        if (answer) return *std::move(answer);
        return broker != nullptr ? wbem::Handle(*broker, request) : NotACimServer(request, elsewhere);
    };
    const auto server = wbem::Server::Start(options.server, handler, &error);
    if (server == nullptr) return Fail(kExitFailed, error);
    Signals signals; // until here they end the program at once, however long a server takes to answer
    if (sample) Say(fmt::format("serving {}, not this machine's", kSampleHardware));
    const std::string url = UrlOf(options.server, server->Port());
    const std::string what =
        elsewhere.empty() ? fmt::format("serving CIM-XML at {}, classes in root/cimv2, and to browsers a picture", url)
                          : fmt::format("serving browsers at {}, with a picture of {}; CIM requests are not answered",
                                        url, elsewhere);
    Print(what + "; Ctrl-C ends\n");
    TellServiceManager("READY=1\nSTATUS=" + what);
    std::optional<HardwareFile> hardware;
    if (elsewhere.empty()) hardware.emplace(HardwareOf(options.source.hosting));
    WaitForTheEnd(signals, std::move(hardware), picture);
    TellServiceManager("STOPPING=1");
    return kExitOk;
}

void RequireLoopback(const std::string &address) {
    const std::string problem = wbem::LoopbackProblem(address);
    if (problem.empty()) return;
    throw CLI::ValidationError("--address", problem + "; install.md, \"Behind a proxy\", says how to let others in");
}

} // namespace

void AddServe(CLI::App &program, Run &run) {
    auto options = std::make_shared<ServeOptions>();
    CLI::App *command = program.add_subcommand(
        "serve",
        "Answer WBEM clients of this machine over CIM-XML, browsers with a picture and Prometheus with metrics");
    AddSourceOptions(*command, options->source);
    AddNumber<std::uint16_t>(
        *command, "--port", 0, 65535, [options](std::uint16_t port) { options->server.port = port; },
        "TCP port (default: 5988); 0 takes any that is free")
        ->type_name("PORT");
    command
        ->add_option_function<std::string>(
            "--address",
            [options](const std::string &address) {
                RequireLoopback(address);
                options->server.address = address;
            },
            "loopback address to listen on (default: 127.0.0.1)")
        ->type_name("ADDRESS");
    AddConfigurationFile(program, *command);
    command->footer(
        "Only programs on this machine are served: there is neither authentication nor encryption. With --url the\n"
        "picture is of that CIM server, and CIM requests are not answered.");
    command->callback([&run, options] { run = [options] { return Serve(*options); }; });
}

} // namespace cim
