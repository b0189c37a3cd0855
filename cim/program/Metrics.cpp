// quarnel metrics, and /metrics of quarnel serve: what is known of a server, for Prometheus.
#include "cim/metrics/Metrics.h"

#include "cim/program/Command.h"
#include "cim/program/Scrape.h"
#include "cim/program/Terminal.h"
#include "cim/wbem/Browsers.h"

#include <fmt/format.h>

#include <chrono>
#include <ctime>
#include <memory>

namespace cim {

namespace {

struct MetricsOptions {
    SourceOptions source;
    bool openMetrics = false;
    std::string file = "-";
};

// Whatever keeps it from looking is told by the metrics as well: a file that stayed as it was would say that all is
// well.
int Metrics(const MetricsOptions &options) {
    Trouble trouble = Trouble::None;
    std::string error;
    metrics::Look look;
    Inventory inventory;
    const auto source = Source::Open(options.source, &trouble, &error);
    if (source != nullptr) {
        const auto begin = std::chrono::steady_clock::now();
        auto instances = source->Read();
        look.duration = std::chrono::steady_clock::now() - begin;
        look.up = instances.Ok();
        look.complete = source->Unread().empty();
        if (!look.up) {
            trouble = source->TroubleInReading();
            error = instances.status.message;
        }
        inventory = Describe(std::move(instances.value));
        look.times.Note(inventory, {}, std::time(nullptr));
    }
    look.sample = options.source.IsSample();
    if (look.sample) Say(fmt::format("this is {}, not this machine's", kSampleHardware));
    const metrics::Format format = options.openMetrics ? metrics::Format::OpenMetrics : metrics::Format::Text;
    std::string unwritten;
    if (!WriteWhole(options.file, Render(inventory, look, format), &unwritten)) return Fail(kExitFailed, unwritten);
    if (!look.up) return Fail(trouble, error);
    return look.complete ? kExitOk : Fail(kExitFailed, source->Unread());
}

} // namespace

std::optional<wbem::HttpAnswer> AnswerScrape(picture::Picture &picture, bool sample, const wbem::HttpRequest &request) {
    if (request.path != "/metrics" || (request.method != "GET" && request.method != "HEAD")) return {};
    if (auto refusal = wbem::RefuseOtherHosts(request)) return refusal;
    const metrics::Format format = metrics::FormatFor(wbem::HeaderOf(request, "Accept"));
    std::string text;
    picture.Observe([&](const picture::Observation &seen) {
        metrics::Look look;
        look.up = seen.failure.empty();
        look.sample = sample;
        look.duration = seen.readingTook;
        look.times = seen.times;
        look.past = metrics::Past{seen.looks, seen.looksFailed, &seen.memory.All()};
        text = Render(seen.inventory, look, format);
    });
    auto answer = wbem::Reply(200, ContentTypeOf(format), std::move(text));
    answer.headers.emplace_back("Vary", "Accept");
    return answer;
}

void AddMetrics(CLI::App &program, Run &run) {
    auto options = std::make_shared<MetricsOptions>();
    CLI::App *command = program.add_subcommand("metrics", "Print what is known of the hardware once, for Prometheus");
    AddSourceOptions(*command, options->source);
    command->add_flag("--openmetrics", options->openMetrics,
                      "as OpenMetrics 1.0 (default: Prometheus' text format 0.0.4)");
    command
        ->add_option("-o,--output", options->file,
                     "the file to write, once it is complete; - for standard output, which is the default")
        ->check(NotEmpty())
        ->type_name("FILE");
    command->footer(
        "The file is for the node exporter's textfile collector, and is written also when the hardware cannot\n"
        "be read: quarnel_up is 0 then. `quarnel serve` answers the same at /metrics.");
    command->callback([&run, options] { run = [options] { return Metrics(*options); }; });
}

} // namespace cim
