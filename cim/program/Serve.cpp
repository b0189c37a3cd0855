// quarnel serve: a CIM server for the WBEM clients of this machine, and a picture of the hardware for its browsers.
#include "cim/program/Command.h"
#include "cim/program/HardwareFile.h"
#include "cim/program/Scrape.h"
#include "cim/program/Signals.h"
#include "cim/program/Terminal.h"

#include "cim/picture/Picture.h"
#include "cim/wbem/Handle.h"
#include "cim/wbem/Listener.h"
#include "cim/wbem/Server.h"

#include <fmt/format.h>

#include <csignal>
#include <malloc.h>
#include <memory>
#include <thread>

namespace cim {

namespace {

struct ServeOptions {
    HostingOptions hosting;
    wbem::ServerConfig server;
};

// Until SIGINT, SIGTERM or SIGHUP comes. What becomes of the hardware file is said here and shown by the picture.
void WaitForTheEnd(Signals &signals, HardwareFile hardware, picture::Picture &picture) {
    for (;;) {
        const int signal = signals.Wait(std::chrono::steady_clock::now() + std::chrono::seconds(1));
        if (const auto news = hardware.Look()) {
            Say(news->reason);
            picture.Reject(hardware.Name(), news->rejected ? news->reason : "");
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

int Serve(const ServeOptions &options) {
    LimitHeaps();
    std::string error;
    const auto broker = StartHosting(options.hosting, &error);
    if (broker == nullptr) return Fail(kExitUsage, error);
    const FirstBuild build = WaitForFirstBuild(*broker, options.hosting, &error);
    if (build == FirstBuild::Failed) return Fail(kExitFailed, error);
    // Clients are answered all the same: what has been read is there, and the rest follows.
    if (build == FirstBuild::Running) Say(error);

    Signals signals;
    const bool sample = options.hosting.IsSample();
    picture::Picture picture([&broker] { return ReadInstances(*broker); }, sample);
    const auto handler = [&broker, &picture, sample](const wbem::HttpRequest &request) {
        auto answer = AnswerScrape(picture, sample, request);
        if (!answer) answer = picture.Answer(request);
        return answer ? *std::move(answer) : wbem::Handle(*broker, request);
    };
    const auto server = wbem::Server::Start(options.server, handler, &error);
    if (server == nullptr) return Fail(kExitFailed, error);
    const bool v6 = options.server.address.find(':') != std::string::npos;
    if (sample) Say(fmt::format("serving {}, not this machine's", kSampleHardware));
    Print(fmt::format(
        "serving CIM-XML at http://{}{}{}:{}, classes in root/cimv2, and to browsers a picture; Ctrl-C ends\n",
        v6 ? "[" : "", options.server.address, v6 ? "]" : "", server->Port()));
    WaitForTheEnd(signals, HardwareFile(HardwareOf(options.hosting)), picture);
    return kExitOk;
}

void RequireLoopback(const std::string &address) {
    const std::string problem = wbem::LoopbackProblem(address);
    if (!problem.empty()) throw CLI::ValidationError("--address", problem);
}

} // namespace

void AddServe(CLI::App &program, Run &run) {
    auto options = std::make_shared<ServeOptions>();
    CLI::App *command = program.add_subcommand(
        "serve",
        "Answer WBEM clients of this machine over CIM-XML, browsers with a picture and Prometheus with metrics");
    AddHostingOptions(*command, options->hosting);
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
    command->footer("Only programs on this machine are served: there is neither authentication nor encryption.");
    command->callback([&run, options] { run = [options] { return Serve(*options); }; });
}

} // namespace cim
