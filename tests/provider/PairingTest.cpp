// Pairing a cached list with a fresh enumeration: who is still there, who has gone, who is new.
#include "tests/provider/Linked.h"

#include <gmock/gmock.h>

using namespace support;
using cim::FaultRule;
using cim::Operation;

namespace {

constexpr char kWho[] = "CrossoutDuplicatedEntries";

// A port's DeviceID, or DeviceID and class: "a", "a/Sim_AcmeSASSATAPort".
Hardware PortsAndClasses(const std::vector<std::string> &ports) {
    Hardware hardware = Hardware().WithController("c0");
    for (const std::string &port : ports) {
        const auto slash = port.find('/');
        Json more = {{"duplicate", true}};
        if (slash != std::string::npos) more["class"] = port.substr(slash + 1);
        hardware.WithPort(port.substr(0, slash), more);
    }
    return hardware;
}

// A paired list as text: each cached device with what becomes of it, then each fresh slot, "-" when crossed out.
struct Pairing {
    int result = 0, cachedCount = 0, freshCount = 0;
    std::string cached, fresh;

    Pairing(LinkedBench &bench, const char *key = "DeviceID") {
        const Invocation call(bench);
        RaidController_t *ctrl = TheController();
        const CMPIEnumeration *enumeration =
            Associators(call.Context(), ctrl->ControllerOp, "CIM_SystemDevice", "CIM_SASSATAPort");
        UpdateInfo_t *devices = nullptr;
        NewInfo_t *ops = nullptr;
        result = CrossoutDuplicatedEntries(ctrl->PortList, enumeration, GetPortOp, key, &devices, &ops, &cachedCount,
                                           &freshCount);
        for (int i = 0; i < cachedCount; ++i) {
            EXPECT_EQ(devices[i].Instance != nullptr, devices[i].Flag == 1);
            cached += std::string(" ") + static_cast<SASSATAPort_t *>(devices[i].Device)->DeviceID +
                      (devices[i].Flag == 1 ? "+" : "-");
        }
        for (int i = 0; i < freshCount; ++i) {
            EXPECT_EQ(ops[i].Op == nullptr, ops[i].Instance == nullptr);
            fresh += std::string(" ") + (ops[i].Op != nullptr ? Shown(TextOf(ops[i].Op, key)) : "-");
        }
        EXPECT_EQ(devices == nullptr, cachedCount == 0);
        EXPECT_EQ(ops == nullptr, freshCount == 0);
        free(devices);
        free(ops);
    }
};

} // namespace

TEST(Pairing, TellsWhoIsStillThereWhoHasGoneAndWhoIsNew) {
    const struct {
        const char *name;
        std::vector<std::string> before, after;
        const char *cached, *fresh;
        const char *counts; // of the last line
    } cases[] = {
        {"nothing", {}, {}, "", "", "remove 0, add 0"},
        {"all new", {}, {"a", "b", "c"}, "", " a b c", "remove 0, add 3"},
        {"all gone", {"a", "b", "c"}, {}, " a- b- c-", "", "remove 3, add 0"},
        {"all there", {"a", "b"}, {"a", "b"}, " a+ b+", "", "remove 0, add 0"},
        {"another order", {"a", "b", "c"}, {"c", "a", "b"}, " a+ b+ c+", "", "remove 0, add 0"},
        {"one of each", {"a", "b", "c"}, {"b", "c", "d"}, " a- b+ c+", " - - d", "remove 1, add 1"},
        {"replaced", {"a"}, {"b"}, " a-", " b", "remove 1, add 1"},
        {"other class", {"a"}, {"a/Sim_AcmeSASSATAPort"}, " a-", " a", "remove 1, add 1"},
        {"other letters", {"a"}, {"A"}, " a-", " A", "remove 1, add 1"},
        {"doubled fresh", {"a"}, {"a", "a"}, " a+", " - a", "remove 0, add 1"},
        {"doubled cached", {"a", "a"}, {"a"}, " a+ a-", "", "remove 1, add 0"},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        LinkedBench bench(PortsAndClasses(test.before));
        // A port is built once only by the first build: a second one of its identity comes with a refresh.
        bench.StartInOrder();
        if (test.before.size() != TheController()->PortList->Size) {
            TestClock::Advance(StateUpdateInterval);
            bench.Refresh(kPort);
        }
        ASSERT_EQ(TheController()->PortList->Size, test.before.size());
        bench.Change([&](Hardware &hardware) { hardware = PortsAndClasses(test.after); });
        LogCapture::Clear();
        const Pairing pairing(bench);
        EXPECT_EQ(pairing.result, 0);
        EXPECT_EQ(pairing.cached, test.cached);
        EXPECT_EQ(pairing.fresh, test.fresh);
        EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, std::string(kWho) + " EXITED, rc 0, " + test.counts + "\n"));
    }
}

TEST(Pairing, PairsTheEarlierOfTwoAlikeWithTheEarlier) {
    LinkedBench bench(PortsAndClasses({"a"}));
    bench.StartAndWait();
    bench.Change([&](Hardware &hardware) { hardware = PortsAndClasses({"b", "a", "a"}); });
    LogCapture::Clear();
    const Pairing pairing(bench);
    EXPECT_EQ(pairing.fresh, " b - a");
    EXPECT_TRUE(LoggedTimes(1, LOG_DEBUG, "Sim_SASSATAPort,a duplicated, candidate for update. ci 2, cj 0\n"));
}

TEST(Pairing, MatchesNothingWithoutKeyOrClassName) {
    for (const Operation operation : {Operation::GetKey, Operation::GetClassName}) {
        LinkedBench bench(PortsAndClasses({"a", "b"}));
        bench.StartInOrder();
        bench.Broker().Faults().Add(Rule(operation).From("Sim_SASSATAPort").Fails());
        const Pairing pairing(bench);
        EXPECT_EQ(pairing.result, 0);
        EXPECT_EQ(pairing.cached, " a- b-");
        EXPECT_EQ(pairing.freshCount, 2);
    }
}

TEST(Pairing, RefusesInvalidParametersAndLeavesThemAlone) {
    LinkedBench bench(PortsAndClasses({"a"}));
    bench.Start();
    const Invocation call(bench);
    const CMPIEnumeration *enumeration =
        Associators(call.Context(), TheController()->ControllerOp, "CIM_SystemDevice", "CIM_SASSATAPort");
    const List_t *list = TheController()->PortList;
    UpdateInfo_t *devices = nullptr;
    NewInfo_t *ops = nullptr;
    int cached = 7, fresh = 7;
    LogCapture::Clear();
    EXPECT_EQ(CrossoutDuplicatedEntries(list, enumeration, GetPortOp, nullptr, &devices, &ops, &cached, &fresh), -100);
    EXPECT_EQ(CrossoutDuplicatedEntries(list, enumeration, GetPortOp, "DeviceID", nullptr, &ops, &cached, &fresh),
              -100);
    EXPECT_EQ(CrossoutDuplicatedEntries(list, enumeration, GetPortOp, "DeviceID", &devices, nullptr, &cached, &fresh),
              -100);
    EXPECT_EQ(CrossoutDuplicatedEntries(list, enumeration, GetPortOp, "DeviceID", &devices, &ops, nullptr, &fresh),
              -100);
    EXPECT_EQ(CrossoutDuplicatedEntries(list, enumeration, GetPortOp, "DeviceID", &devices, &ops, &cached, nullptr),
              -100);
    EXPECT_EQ(cached, 7);
    EXPECT_EQ(fresh, 7);
    EXPECT_TRUE(LoggedTimes(5, LOG_ERR, "CrossoutDuplicatedEntries: invalid parameter\n"));
    EXPECT_TRUE(LoggedTimes(5, LOG_DEBUG, "CrossoutDuplicatedEntries EXITED, rc -100, remove 0, add 0\n"));

    // A null list is an empty one.
    EXPECT_EQ(CrossoutDuplicatedEntries(nullptr, enumeration, GetPortOp, "DeviceID", &devices, &ops, &cached, &fresh),
              0);
    EXPECT_EQ(cached, 0);
    EXPECT_EQ(fresh, 1);
    free(ops);
}

TEST(Pairing, LeavesTheKindAloneWhenTheEnumerationHasNoArray) {
    LinkedBench bench(PortsAndClasses({"a"}));
    bench.StartAndWait();
    bench.Inject(Rule(Operation::ToArray).Does(FaultRule::Effect::NullWithOk));
    bench.Change([&](Hardware &hardware) { hardware = PortsAndClasses({"b"}); });
    bench.Refresh(kPort);
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "CrossoutDuplicatedEntries, failed to get array from enum\n"));
    EXPECT_TRUE(Logged(LOG_DEBUG, "CrossoutDuplicatedEntries EXITED, rc -100, remove 0, add 0\n"));
    EXPECT_THAT(bench.Identifiers(kPort), testing::ElementsAre("zbrPortc0_a"));
}
