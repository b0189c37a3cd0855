// What a scrape costs: the server beside sending the same bytes, and the provider beside another client.
#include "bench/Groups.h"
#include "bench/Rig.h"
#include "bench/Serving.h"
#include "bench/Turns.h"
#include "cim/program/Scrape.h"
#include "tests/support/TestClock.h"

#include <fmt/format.h>

#include <algorithm>

namespace bench {
namespace {

using namespace std::chrono_literals;
using cim::wbem::HttpAnswer;
using cim::wbem::HttpRequest;

constexpr char kGet[] = "GET /metrics HTTP/1.1\r\nHost: localhost\r\n\r\n";
constexpr cim::picture::Pace kLookEachTime{0ms, 1h}, kOneLook{1h, 1h};

// A server of metrics over hardware of that size.
class Exporter {
public:
    Exporter(int disks, const cim::picture::Pace &pace) : rig(Describe({disks})) {
        rig.Start();
        picture.emplace([this] { return cim::ReadInstances(rig.Broker()); }, false, pace);
    }

    HttpAnswer Answer() {
        HttpRequest request;
        request.method = "GET";
        request.path = "/metrics";
        return *cim::AnswerScrape(*picture, false, request);
    }
    cim::Broker &Broker() { return rig.Broker(); }

private:
    Rig rig;
    std::optional<cim::picture::Picture> picture;
};

double SeriesIn(const std::string &text) {
    double series = 0;
    for (std::size_t line = 0; line < text.size(); line = text.find('\n', line) + 1) series += text[line] != '#';
    return series;
}

// One run with servers and connections of its own, as of CIM-XML.
void Run(Report &report, int disks, const cim::picture::Pace &pace, const std::string &name) {
    Exporter exporter(disks, pace);
    const HttpAnswer last = exporter.Answer();
    const auto server = Serve([&](const HttpRequest &) { return exporter.Answer(); });
    const auto repeater = Serve([&](const HttpRequest &) { return last; });
    cim::wbem::Client client(server->Port()), staticClient(repeater->Port());
    report.Add(name + "/bytes", static_cast<double>(last.body.size()));
    const auto turn = [](const std::string &of, cim::wbem::Client &asks, int runs) {
        return Timed<WallTimeOf>(
            of, [&asks] { Exchange(asks, kGet); }, runs);
    };
    Turns().Together({turn(name, client, 1), turn(name + "/the same bytes", staticClient, 4)}).Run(report);
}

void MeasureScrapes(Report &report, const char *looks, const cim::picture::Pace &pace, const Target &target) {
    constexpr int kRuns = 5;
    for (const int disks : {84, 1024}) {
        const std::string name = fmt::format("scrape/{}/{}", looks, disks);
        for (int i = 0; i < kRuns; ++i) {
            Report run;
            Run(run, disks, pace, name);
            report.Add(name + "/ratio", run.MedianRatio(name, name + "/the same bytes"));
            report.Add(name + "/bytes", run.Median(name + "/bytes"));
            report.Add(name, run.Median(name));
        }
        report.Put(fmt::format("metrics: a scrape of {} disks, {} ÷ sending the same bytes", disks, looks),
                   report.Median(name + "/ratio"), target);
    }
}

// Up-calls to the vendor while something asks every 15 seconds.
double UpcallsBehind(cim::Broker &broker, const std::function<void()> &ask) {
    const std::uint64_t before = broker.UpcallCount();
    for (int i = 0; i < 8; ++i) {
        support::TestClock::Advance(15);
        ask();
        broker.WaitForBackground(100ms, 60s);
    }
    return static_cast<double>(broker.UpcallCount() - before);
}

} // namespace

void MeasureMetrics(Report &report) {
    MeasureScrapes(report, "with a look", kLookEachTime, AtMost(3));
    MeasureScrapes(report, "of a look that is shared", kOneLook, AtMost(3));
    for (const int disks : {84, 1024}) {
        const std::string name = fmt::format("scrape/with a look/{}", disks);
        report.Put(fmt::format("metrics: a scrape of {} disks, with a look", disks), report.Median(name) * 1000,
                   kReported, "ms");
        report.Put("metrics: the same", report.Median(name + "/bytes") / 1024, kReported, "KiB");
    }

    Exporter small(64, kLookEachTime), large(1024, kLookEachTime);
    Exporter smallShared(64, kOneLook), largeShared(1024, kOneLook);
    const double ratio = SeriesIn(large.Answer().body) / SeriesIn(small.Answer().body);
    const auto turn = [](const char *name, Exporter &exporter) {
        return Timed<ThreadTimeOf>(name, [&exporter] { exporter.Answer(); });
    };
    Turns()
        .Together({turn("scrape/growth/64", small), turn("scrape/growth/1024", large)})
        .Together({turn("scrape/shared growth/64", smallShared), turn("scrape/shared growth/1024", largeShared)})
        .Run(report);
    report.Put("growth of a scrape: time per series, 1,024 disks ÷ 64",
               report.MedianRatio("scrape/growth/1024", "scrape/growth/64") / ratio, AtMost(1.15));
    report.Put("growth of a scrape: the same of a look that is shared",
               report.MedianRatio("scrape/shared growth/1024", "scrape/shared growth/64") / ratio, AtMost(1.15));

    const double asked = UpcallsBehind(small.Broker(), [&] { cim::ReadInstances(small.Broker()); });
    report.Put("metrics: up-calls of four scrapers every 15 s ÷ of one client",
               UpcallsBehind(small.Broker(),
                             [&] {
                                 for (int i = 0; i < 4; ++i) small.Answer();
                             }) /
                   asked,
               AtMost(1));
}

} // namespace bench
