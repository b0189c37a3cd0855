// Every up-call, and every creation of a broker object, fails once.
#include "tests/faults/Sweep.h"

namespace support {
namespace {

using cim::FaultRule;
using cim::Operation;
using Effect = FaultRule::Effect;

const std::vector<Operation> kUpcalls = {Operation::EnumerateInstances, Operation::GetInstance, Operation::Associators,
                                         Operation::AssociatorNames};

// Tracing lines make broker objects of their own, thousands of them.
void SweepRule(Story &story, const char *what, const FaultRule &rule, int logged = LOG_UPTO(LOG_INFO)) {
    const LogMask quiet(logged);
    FaultRule count = rule;
    count.effect = Effect::None;
    count.delay = {};
    const auto counter = story.bench.Inject(count);
    story.Tell();
    const std::uint64_t points = story.bench.Broker().Faults().Matched(counter);
    story.bench.Broker().Faults().Clear();
    story.ExpectNextLifeToBeWhole();

    cim::Faults::Id armed = 0;
    Sweep(
        story, what, points,
        [&](std::uint64_t point) {
            FaultRule once = rule;
            once.skip = point;
            once.count = 1;
            armed = story.bench.Inject(once);
        },
        [&] {
            const bool reached = story.bench.Broker().Faults().Hit(armed) > 0;
            story.bench.Broker().Faults().Clear();
            return reached;
        });
}

FaultRule Upcalls(Effect effect, std::chrono::milliseconds delay = {}) {
    FaultRule rule;
    rule.operations = kUpcalls;
    rule.effect = effect;
    rule.message = "out of order";
    rule.delay = delay;
    return rule;
}

FaultRule Objects(Operation operation) {
    FaultRule rule;
    rule.operations = {operation};
    rule.effect = Effect::NullWithOk;
    return rule;
}

class UpcallSweep : public testing::TestWithParam<const char *> {
protected:
    void SweepAll(const char *what, const FaultRule &rule) {
        const std::string hardware = GetParam();
        Story story(hardware.empty() ? SmallServer() : Sample(hardware));
        SweepRule(story, what, rule);
    }
};

TEST_P(UpcallSweep, EachFailsOnceAndTheNextRefreshesRecover) { SweepAll("failing up-calls", Upcalls(Effect::Fail)); }
TEST_P(UpcallSweep, EachReturnsNothingOnce) { SweepAll("up-calls with nothing", Upcalls(Effect::NullWithOk)); }
TEST_P(UpcallSweep, EachReturnsAnEmptyEnumerationOnce) { SweepAll("empty up-calls", Upcalls(Effect::Empty)); }
TEST_P(UpcallSweep, EachIsSlowOnce) { SweepAll("slow up-calls", Upcalls(Effect::None, std::chrono::milliseconds(20))); }
INSTANTIATE_TEST_SUITE_P(Hardware, UpcallSweep, testing::Values("", "rack-server.json", "storage-node.json"),
                         [](const auto &test) {
                             const std::string name = test.param;
                             return name.empty() ? "SmallServer" : name == "rack-server.json" ? "Rack" : "StorageNode";
                         });

// What a line does besides being written must not be missed, and rendering its arguments must not cost anything.
TEST(UnloggedSweep, EachUpCallFailsOnceAndNothingIsRenderedForTheLog) {
    Story story(SmallServer());
    // A path's text begins with its namespace, which of the vendor's paths nothing else asks for.
    const auto rendered = story.bench.Inject(Rule(Operation::GetNameSpace).From("Sim_DiskDrive").After(UINT64_MAX));
    const LogMask silent(kSilent);
    story.Tell();
    story.ExpectNextLifeToBeWhole();
    EXPECT_EQ(story.bench.Broker().Faults().Matched(rendered), 0u);
    SweepRule(story, "failing up-calls, unlogged", Upcalls(Effect::Fail), kSilent);
}

class ObjectSweep : public testing::TestWithParam<Operation> {};

TEST_P(ObjectSweep, EachIsNullOnceAndTheNextRefreshesRecover) {
    Story story(SmallServer());
    SweepRule(story, cim::NameOf(GetParam()), Objects(GetParam()));
}
INSTANTIATE_TEST_SUITE_P(Operations, ObjectSweep,
                         testing::Values(Operation::NewObjectPath, Operation::NewInstance, Operation::NewArray,
                                         Operation::Clone, Operation::GetObjectPath, Operation::GetCharPtr,
                                         Operation::PrepareAttachThread),
                         [](const auto &test) { return std::string(cim::NameOf(test.param)); });

} // namespace
} // namespace support
