// How soon what is asked to end has ended.
#include "bench/Groups.h"
#include "bench/Rig.h"
#include "bench/Turns.h"
#include "tests/support/Process.h"
#include "tests/wbem/Client.h"

#include <csignal>
#include <stdexcept>

namespace bench {
namespace {

using namespace std::chrono_literals;

constexpr int kRuns = 3;

// The provider's clean-up beside an up-call that does not return: it waits for three seconds, and no longer.
double TimeCleanUp() {
    Rig rig(Describe({8}));
    cim::FaultRule lost;
    lost.operations = {cim::Operation::Associators};
    lost.associationClass = "CIM_MediaPresent";
    lost.effect = cim::FaultRule::Effect::Lost;
    rig.Broker().Faults().Add(lost);
    rig.Load();
    if (!rig.Broker().Faults().AwaitLost(1, 20s)) throw std::runtime_error("no up-call was lost");
    const double time = WallTimeOf([&rig] { rig.Broker().Shutdown(); });
    rig.Broker().Faults().AnswerLost();
    rig.Broker().WaitForBackground(5ms, 60s);
    return time;
}

// quarnel serve with a client connected, from the signal to the end of the process.
double TimeServe() {
    cim::Process serve(BuildFolder() + "/bin/quarnel", {"serve", "--port", "0"});
    if (!serve.WaitFor("\n")) throw std::runtime_error("quarnel serve: " + serve.Err());
    const std::string host = "127.0.0.1:";
    const std::size_t port = serve.Out().find(host);
    if (port == std::string::npos) throw std::runtime_error("quarnel serve does not name its port: " + serve.Out());
    const cim::wbem::Client idle(static_cast<std::uint16_t>(std::stoi(serve.Out().substr(port + host.size()))));
    return WallTimeOf([&serve] {
        serve.Signal(SIGTERM);
        if (serve.Wait() != 0) throw std::runtime_error("quarnel serve ends with an error: " + serve.Err());
    });
}

} // namespace

void MeasureEnd(Report &report) {
    for (int i = 0; i < kRuns; ++i) {
        report.Add("end/clean-up", TimeCleanUp());
        report.Add("end/serve", TimeServe());
    }
    report.Put("end: clean-up beside an up-call that does not return", report.Median("end/clean-up") * 1e3,
               AtMost(3500), "ms");
    report.Put("end: quarnel serve after a signal", report.Median("end/serve") * 1e3, AtMost(1000), "ms");
}

} // namespace bench
