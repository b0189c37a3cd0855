#include "cim/picture/Observer.h"

#include "tests/picture/ScriptedHardware.h"

#include <gtest/gtest.h>

namespace cim::picture {
namespace {

struct Seen {
    std::uint64_t version = 0;
    Json changes;
    std::string failure;
};

Seen SeenBy(Observer &observer) {
    Seen seen;
    observer.Observe([&seen](const Observation &observation) {
        seen = {observation.version, observation.log.ToJson(), observation.failure};
    });
    return seen;
}

TEST(Observer, LogsWhatChangedNewestFirst) {
    ScriptedHardware hardware;
    Observer observer(hardware.Reader(), kLookEachTime);
    const Seen first = SeenBy(observer);
    EXPECT_EQ(first.changes, Json::array());
    EXPECT_EQ(SeenBy(observer).version, first.version);

    hardware.Disk("FAILED", 6, 30);
    const Seen failed = SeenBy(observer);
    EXPECT_NE(failed.version, first.version);
    ASSERT_EQ(failed.changes.size(), 1u);
    const Json &change = failed.changes[0];
    EXPECT_EQ(change["number"], 1);
    EXPECT_EQ(change["event"], "changed");
    EXPECT_EQ(change["previousState"], "ONLINE");
    EXPECT_EQ(change["facts"]["slot"], "2");
    EXPECT_EQ(change["factChanges"], Json::parse(R"({"state": {"from": "ONLINE", "to": "FAILED"},
                                                     "verdict": {"from": "OK", "to": "CRITICAL"},
                                                     "reason": {"from": null, "to": "FAILED"},
                                                     "health": {"from": "OK", "to": "Failed"}})"));

    hardware.Nothing();
    SeenBy(observer);
    hardware.Disk("ONLINE", 2, 5, "2");
    const Seen last = SeenBy(observer);
    ASSERT_EQ(last.changes.size(), 5u); // also the controller's verdict, without devices and with one again
    EXPECT_EQ(last.changes[0]["event"], "appeared");
    EXPECT_EQ(last.changes[1]["previousVerdict"], "UNKNOWN");
    EXPECT_EQ(last.changes[2]["event"], "removed");
    EXPECT_EQ(last.changes[2]["facts"]["state"], "FAILED");
    EXPECT_EQ(last.changes[4], change);
}

TEST(Observer, AFactThatComesOrGoesHasNoOtherSide) {
    ScriptedHardware hardware;
    hardware.Disk("ONLINE", 2, 5, "");
    Observer observer(hardware.Reader(), kLookEachTime);
    hardware.Disk("ONLINE", 2, 5, "N0A4");
    EXPECT_EQ(SeenBy(observer).changes[0]["factChanges"]["firmware"], Json::parse(R"({"from": null, "to": "N0A4"})"));
    hardware.Disk("ONLINE", 2, 5, "");
    EXPECT_EQ(SeenBy(observer).changes[0]["factChanges"]["firmware"], Json::parse(R"({"from": "N0A4", "to": null})"));
}

TEST(Observer, KeepsTheLatestChanges) {
    ScriptedHardware hardware;
    hardware.Nothing();
    Observer observer(hardware.Reader(), kLookEachTime);
    const std::size_t count = kChangesKept + 5;
    for (std::size_t i = 0; i < count; ++i) {
        hardware.Disk("ONLINE", 2, 5, std::to_string(i));
        observer.Observe([](const Observation &) {});
    }
    const Json changes = SeenBy(observer).changes;
    EXPECT_EQ(changes.size(), kChangesKept);
    EXPECT_EQ(changes[0]["number"], count + 1); // the first disk is also another verdict of the controller
}

TEST(Observer, LooksAreSharedWhileTheyAreFresh) {
    ScriptedHardware hardware;
    hardware.Nothing();
    Observer observer(hardware.Reader(), {std::chrono::hours(1), std::chrono::hours(1)});
    SeenBy(observer);
    SeenBy(observer);
    EXPECT_EQ(hardware.Looks(), 1);
}

TEST(Observer, LooksByItselfWhenNobodyAsks) {
    ScriptedHardware hardware;
    Observer observer(hardware.Reader(), {std::chrono::hours(1), std::chrono::milliseconds(5)});
    hardware.Disk("FAILED", 6, 30);
    const int looks = hardware.Looks();
    ASSERT_TRUE(hardware.WaitForLooks(looks + 2)); // one may have begun before the disk failed
    EXPECT_EQ(SeenBy(observer).changes.size(), 1u);
}

TEST(Observer, AFailedLookLosesNothing) {
    ScriptedHardware hardware;
    hardware.Fails("no such library");
    Observer observer(hardware.Reader(), kLookEachTime);
    EXPECT_EQ(SeenBy(observer).failure, "no such library");
    EXPECT_EQ(SeenBy(observer).version, 0u);

    hardware.Disk("ONLINE", 2, 5);
    EXPECT_EQ(SeenBy(observer).changes, Json::array()); // the first that could be read
    hardware.Fails("");
    EXPECT_EQ(SeenBy(observer).failure, "CIM status 1");
    hardware.Disk("FAILED", 6, 30);
    const Seen recovered = SeenBy(observer);
    EXPECT_EQ(recovered.failure, "");
    ASSERT_EQ(recovered.changes.size(), 1u);
    EXPECT_EQ(recovered.changes[0]["previousState"], "ONLINE");
}

} // namespace
} // namespace cim::picture
