// The model as a whole, in files: what is made of rich hardware, what a step that fails takes from it, and what a
// refresh takes over.
#include "tests/provider/Model.h"

#include "cim/broker/classes/MofReader.h"

#include <tuple>

using namespace support;
using cim::FaultRule;
using cim::Operation;

namespace {

// Lines of that priority or above, records aside, each with how often it came.
std::map<std::string, int> Lines(int priority) {
    std::map<std::string, int> lines;
    for (const auto &line : LogCapture::Lines())
        if (line.priority <= priority && line.text[0] != '\n') ++lines[line.text.substr(0, line.text.find('\n'))];
    return lines;
}

std::string Indented(const std::map<std::string, int> &lines) {
    std::string all;
    for (const auto &[text, times] : lines) all += "    " + std::to_string(times) + " x " + text + "\n";
    return all;
}

std::string TypeOf(const cim::Value &value) {
    const bool array = (value.type & CMPI_ARRAY) != 0;
    return cim::NameOfType(static_cast<CMPIType>(value.type & ~CMPI_ARRAY)) + std::string(array ? "[]" : "");
}

using Step = std::tuple<Operation, std::string, std::string, std::string>; // of a walk: from, along, to

struct Outcome {
    Facts facts;
    std::map<std::string, int> errors;
    std::map<Step, int> steps; // each with how often it was gone
};

// What comes of a life, or of a part of one, while the rule is in force.
template <class Life> Outcome Live(WholeBench &bench, const Life &life, FaultRule rule = {}) {
    Outcome outcome;
    LogCapture::Clear();
    bench.Broker().LogCalls(true);
    bench.Broker().TakeCalls();
    const auto fault = bench.Inject(std::move(rule));
    life();
    for (const cim::Call &call : bench.Broker().TakeCalls())
        if (call.provider == kProvider && call.operation >= Operation::EnumerateInstances)
            ++outcome.steps[{call.operation, call.className, call.associationClass, call.resultClass}];
    bench.Broker().LogCalls(false);
    outcome.errors = Lines(LOG_ERR);
    outcome.facts = FactsOf(bench);
    bench.Broker().Faults().Remove(fault);
    bench.ExpectOnlyRecordsAlive();
    return outcome;
}

// Each step fails, brings nothing, and an empty enumeration: what becomes of the model, and what the log says.
// `prepare` goes well in any case.
template <class Prepare, class Life>
std::string TellOfSteps(WholeBench &bench, const Prepare &prepare, const Life &life) {
    const LogMask quiet(LOG_UPTO(LOG_INFO));
    prepare();
    const Outcome whole = Live(bench, life);
    std::string told;
    for (const auto &[step, times] : whole.steps) {
        const auto &[operation, from, along, to] = step;
        told += std::to_string(times) + " x " + cim::NameOf(operation) + " " + from + " " + along + " " + to + "\n";
        for (const auto &[effect, what] :
             {std::pair(FaultRule::Effect::Fail, "fails"), std::pair(FaultRule::Effect::NullWithOk, "brings nothing"),
              std::pair(FaultRule::Effect::Empty, "is empty")}) {
            prepare();
            Rule rule = Rule(operation).From(from).Along(along, to).Does(effect).Saying("busy");
            rule.rc = CMPI_RC_ERR_ACCESS_DENIED;
            Outcome outcome = Live(bench, life, rule);
            for (const auto &usual : whole.errors) outcome.errors.erase(usual.first);
            told += std::string("  ") + what + ": " + Changes(whole.facts, outcome.facts);
            for (const auto &other : whole.steps)
                if (outcome.steps.count(other.first) == 0)
                    told += "; not asked: " + std::get<2>(other.first) + " " + std::get<3>(other.first);
            told += "\n" + Indented(outcome.errors);
        }
    }
    return told;
}

} // namespace

TEST(Model, OfRichHardwareHasEveryFactWithItsType) {
    WholeBench bench;
    bench.Start();
    std::string told;
    for (const auto &[name, value] : FactsOf(bench)) told += name + " = " + value + "\n";
    for (const char *className : kServedClasses) {
        const cim::Instance instance = bench.Enumerate(className).at(0);
        told += "\n" + instance.path->ToString() + "\n";
        for (const cim::NamedValue &property : instance.properties)
            if (!property.value.IsNull()) told += "    " + TypeOf(property.value) + " " + property.name.Text() + "\n";
    }
    ExpectFile("model.txt", told);
}

TEST(Model, LacksWhatAStepThatFailsWouldHaveBrought) {
    WholeBench bench;
    const auto end = [&] {
        TestClock::Advance(3600);
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
    };
    const auto change = [](Hardware &hardware) {
        hardware.Entry("disks", "d").update({{"status", 12}, {"pool", {"q", "p"}}});
        hardware.Entry("volumes", "v").update({{"status", 2}, {"name", "renamed"}});
        hardware.Entry("batteries", "b")["status"] = 2;
        hardware.WithPort("p1");
    };
    const Hardware old = bench.Description();
    std::string told = "First build\n\n" + TellOfSteps(bench, end, [&] { bench.Start(); });
    const auto startAndChange = [&] {
        end();
        bench.Change([&](Hardware &hardware) { hardware = old; });
        bench.Start();
        bench.Change(change);
    };
    told += "\nRefresh\n\n" + TellOfSteps(bench, startAndChange, [&] { bench.RefreshAll(); });
    ExpectFile("steps.txt", told);
}

TEST(Model, FollowsTheHardwareInWhatARefreshTakesOver) {
    const LogMask quiet(LOG_UPTO(LOG_INFO));
    const struct {
        const char *list, *id;
        Json change;
    } changes[] = {
        {"disks", "d", {{"status", "failed"}, {"extentStatus", 3}, {"pool", {"q", "p"}}}},
        {"disks", "d", {{"status", 12}}},
        {"disks", "d", {{"extentStatus", 3}}},
        {"disks",
         "d",
         {{"name", "renamed"}, {"enabledState", 2}, {"firmware", "new"}, {"blocks", 7}, {"primordial", false}}},
        {"volumes", "v", {{"status", 2}}},
        {"volumes", "v", {{"extentStatus", 2}}},
        {"volumes", "v", {{"blocks", 7}}},
        {"volumes", "v", {{"consumableBlocks", 7}}},
        {"volumes", "v", {{"name", "renamed"}}},
        {"volumes", "v", {{"omit", {"ElementName"}}}},
        {"volumes", "v", {{"raid", "RAID1"}, {"pool", "q"}, {"uniqueId", "new"}, {"deltaReservation", 7}}},
        {"ports", "p0", {{"name", "renamed"}, {"status", 2}, {"type", 8}, {"usage", 2}}},
        {"batteries", "b", {{"status", 2}}},
        {"batteries", "b", {{"batteryStatus", 3}}},
        {"pools", "p", {{"primordial", false}, {"status", 2}, {"size", 7}}},
        {"enclosures", "252", {{"status", 2}}},
    };
    WholeBench bench;
    const Hardware old = bench.Description();
    std::string told;
    for (const auto &[list, id, change] : changes) {
        bench.Change([&](Hardware &hardware) { hardware = old; });
        bench.Live();
        LogCapture::Clear();
        const Facts before = FactsOf(bench);
        bench.Change([&, list = list, id = id, change = change](Hardware &hardware) {
            hardware.Entry(list, id).update(change);
        });
        for (int round = 0; round < 2; ++round) bench.RefreshAll(); // the second one finds nothing to tell
        told += std::string(list) + " " + change.dump() + ": " + Changes(before, FactsOf(bench)) + "\n" +
                Indented(Lines(LOG_INFO));
    }
    ExpectFile("refreshes.txt", told);
}
