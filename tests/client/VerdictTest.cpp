// What a monitoring system is told, over a table of what can be seen of a server.
#include "cim/inventory/Verdict.h"
#include "tests/host/Samples.h"

#include <gtest/gtest.h>

namespace cim {
namespace {

enum : std::uint64_t { kOk = 2, kDegraded = 3, kError = 6, kStopped = 10, kNoContact = 12, kLost = 13, kDormant = 15 };

Instance Disk(int slot, const std::string &state, std::uint64_t status) {
    const std::string place = std::to_string(slot);
    return SampleDisk("c0_252:" + place, "Drive " + place + " in enclosure 252 on controller c0 Fw: N0A4 - " + state,
                      status, 5);
}
Instance Volume(const std::string &state, std::uint64_t status) {
    return SampleVolume("c0_0", "RAID1 boot Logical Volume 0 on controller c0, Drives(0e252,1e252) - " + state, status,
                        5);
}
Instance Port(std::uint64_t status) {
    return Sample(kPort, "c0_0",
                  {{"Caption", Value::Text("Port 0 on Controller c0")}, {"OperationalStatus", ListOf(status)}});
}

struct Seen {
    std::vector<Instance> disks{Disk(0, "ONLINE", kOk)};
    std::vector<Instance> volumes{Volume("OPTIMAL", kOk)};
    std::vector<Instance> ports{Port(kOk)};
    std::vector<Instance> batteries{SampleBattery("c0_bbu", 3, kOk, 5)};
    std::vector<Instance> controllers{SampleController("c0", "Acme")};

    CheckResult Check(const CheckRules &rules = {}, const std::string &unread = {}) const {
        Instances instances;
        instances[kController] = controllers;
        instances[kVolume] = volumes;
        instances[kDisk] = disks;
        instances[kPort] = ports;
        instances[kBattery] = batteries;
        return cim::Check(Describe(std::move(instances)), rules, unread);
    }
};

std::string FirstLineOf(const CheckResult &result) { return result.output.substr(0, result.output.find(" | ")); }
std::string LinesBelow(const CheckResult &result) { return result.output.substr(result.output.find('\n') + 1); }

TEST(Verdict, OfEveryState) {
    struct Case {
        const char *line;
        Verdict verdict;
        Seen seen;
        Verdict rebuild = Verdict::Warning;
    };
    const auto disk = [](const char *state, std::uint64_t status) {
        Seen seen;
        seen.disks.push_back(Disk(4, state, status));
        return seen;
    };
    const auto volume = [](const char *state, std::uint64_t status) {
        Seen seen;
        seen.volumes = {Volume(state, status)};
        return seen;
    };
    const auto cutVolume = [](std::uint64_t status) { // at the caption's limit, before the state
        Seen seen;
        seen.volumes = {SampleVolume("c0_0", "Logical Volume 0 on controller c0, Drives(0e252,1e25", status, 5)};
        return seen;
    };
    const auto port = [](std::uint64_t status) {
        Seen seen;
        seen.ports = {Port(status)};
        return seen;
    };
    const auto battery = [](std::uint64_t charge, std::uint64_t status) {
        Seen seen;
        seen.batteries = {SampleBattery("c0_bbu", charge, status, 5)};
        return seen;
    };
    const auto controller = [](std::uint64_t status) {
        Seen seen;
        seen.controllers = {Sample(kController, "c0", {{"OperationalStatus", ListOf(status)}})};
        return seen;
    };
    const char *fine = "OK: 1 controller, 1 volume, 2 disks, 1 port, 1 battery";
    const char *fineOneDisk = "OK: 1 controller, 1 volume, 1 disk, 1 port, 1 battery";
    const Case cases[] = {
        {fine, Verdict::Ok, disk("ONLINE", kOk)},
        {fine, Verdict::Ok, disk("HOT SPARE", kOk)},
        {fine, Verdict::Ok, disk("UNCONFIGURED GOOD", kOk)},
        {fine, Verdict::Ok, disk("UNCONFIGURED GOOD", kDormant)},
        {fine, Verdict::Ok, disk("REBUILD", kOk), Verdict::Ok},
        {"WARNING: disk c0/252:4 REBUILD", Verdict::Warning, disk("REBUILD", kOk)},
        {"WARNING: disk c0/252:4 UNCONFIGURED BAD", Verdict::Warning, disk("UNCONFIGURED BAD", kError)},
        {"CRITICAL: disk c0/252:4 FAILED", Verdict::Critical, disk("FAILED", kError)},
        {"CRITICAL: disk c0/252:4 OFFLINE", Verdict::Critical, disk("OFFLINE", kNoContact)},
        {"WARNING: disk c0/252:4 UNDEFINED (Degraded)", Verdict::Warning, disk("UNDEFINED", kDegraded)},
        {"CRITICAL: disk c0/252:4 UNDEFINED (Lost communication)", Verdict::Critical, disk("UNDEFINED", kLost)},
        {"WARNING: volume c0/0 DEGRADED", Verdict::Warning, volume("DEGRADED", kDegraded)},
        {"CRITICAL: volume c0/0 OFFLINE", Verdict::Critical, volume("OFFLINE", kError)},
        {"WARNING: volume c0/0 UNDEFINED (Dormant)", Verdict::Warning, volume("UNDEFINED", kDormant)},
        {"CRITICAL: volume c0/0 UNDEFINED (No contact)", Verdict::Critical, volume("UNDEFINED", kNoContact)},
        {"WARNING: volume c0/0 DEGRADED", Verdict::Warning, cutVolume(kDegraded)},
        {fineOneDisk, Verdict::Ok, cutVolume(kOk)},
        {"CRITICAL: port c0/0 Error", Verdict::Critical, port(kError)},
        {"WARNING: port c0/0 Stopped", Verdict::Warning, port(kStopped)},
        {"WARNING: port c0/0 99", Verdict::Warning, port(99)},
        {fineOneDisk, Verdict::Ok, battery(3, kDormant)},
        {fineOneDisk, Verdict::Ok, battery(9, kOk)}, // charging and critical: it is being taken care of
        {"WARNING: battery c0/bbu OK, charge Critical", Verdict::Warning, battery(5, kOk)},
        {"CRITICAL: battery c0/bbu No contact", Verdict::Critical, battery(3, kNoContact)},
        {"WARNING: controller c0 Degraded", Verdict::Warning, controller(kDegraded)},
        {"CRITICAL: controller c0 Lost communication", Verdict::Critical, controller(kLost)},
    };
    for (const Case &each : cases) {
        CheckRules rules;
        rules.rebuild = each.rebuild;
        const CheckResult result = each.seen.Check(rules);
        EXPECT_EQ(FirstLineOf(result), each.line);
        EXPECT_EQ(result.verdict, each.verdict) << each.line;
    }
}

TEST(Verdict, TheWorstDecidesAndComesFirstAndAllOfThemAreListed) {
    Seen seen;
    seen.disks = {Disk(0, "UNCONFIGURED BAD", kError), Disk(1, "FAILED", kError), Disk(2, "REBUILD", kOk),
                  Disk(3, "OFFLINE", kNoContact)};
    seen.volumes = {Volume("DEGRADED", kDegraded)};
    const CheckResult result = seen.Check();
    EXPECT_EQ(result.verdict, Verdict::Critical);
    EXPECT_EQ(result.output,
              "CRITICAL: disk c0/252:1 FAILED, disk c0/252:3 OFFLINE, volume c0/0 DEGRADED and 2 more"
              " | controllers=1;;;0 volumes=1;;;0 disks=4;;;0 ports=1;;;0 batteries=1;;;0"
              " warning=3;0;;0 critical=2;;0;0 ignored=0;;;0\n"
              "CRITICAL disk c0/252:1 FAILED: Drive 1 in enclosure 252 on controller c0 Fw: N0A4 - FAILED\n"
              "CRITICAL disk c0/252:3 OFFLINE: Drive 3 in enclosure 252 on controller c0 Fw: N0A4 - OFFLINE\n"
              "WARNING volume c0/0 DEGRADED: RAID1 boot Logical Volume 0 on controller c0, Drives(0e252,1e252) - "
              "DEGRADED\n"
              "WARNING disk c0/252:0 UNCONFIGURED BAD: Drive 0 in enclosure 252 on controller c0 Fw: N0A4 - "
              "UNCONFIGURED BAD\n"
              "WARNING disk c0/252:2 REBUILD: Drive 2 in enclosure 252 on controller c0 Fw: N0A4 - REBUILD\n");
}

TEST(Verdict, WhatIsIgnoredIsNamed) {
    Seen seen;
    seen.disks = {Disk(0, "UNCONFIGURED BAD", kError), Disk(1, "FAILED", kError)};
    CheckRules rules;
    rules.ignored = {"disk c0/252:1", "*on controller c7*"};
    CheckResult result = seen.Check(rules);
    EXPECT_EQ(FirstLineOf(result), "WARNING: disk c0/252:0 UNCONFIGURED BAD (ignored: disk c0/252:1 FAILED)");
    EXPECT_EQ(LinesBelow(result),
              "WARNING disk c0/252:0 UNCONFIGURED BAD: Drive 0 in enclosure 252 on controller c0 Fw: N0A4 - "
              "UNCONFIGURED BAD\n"
              "ignored disk c0/252:1 FAILED: Drive 1 in enclosure 252 on controller c0 Fw: N0A4 - FAILED\n"
              "--ignore 'disk c0/252:1' matches 1 instance\n"
              "--ignore '*on controller c7*' matches nothing\n");

    rules.ignored = {"zbrStorageExtc0_*", "*"}; // by key; the first pattern that matches is told
    result = seen.Check(rules);
    EXPECT_EQ(FirstLineOf(result), "OK: 1 controller, 1 volume, 2 disks, 1 port, 1 battery "
                                   "(ignored: disk c0/252:1 FAILED, disk c0/252:0 UNCONFIGURED BAD)");
}

TEST(Verdict, WhatIsExpectedAndMissingIsCritical) {
    CheckRules rules;
    rules.expected[kDisk] = 3;
    rules.expected[kVolume] = 1;
    rules.expected[kBattery] = 0;
    const CheckResult result = Seen().Check(rules);
    EXPECT_EQ(FirstLineOf(result), "CRITICAL: 2 of 3 disks missing");
    EXPECT_NE(result.output.find("volumes=1;;1:;0 disks=1;;3:;0"), std::string::npos) << result.output;
    rules.expected[kDisk] = 1;
    EXPECT_EQ(Seen().Check(rules).verdict, Verdict::Ok);
}

TEST(Verdict, WhatHasNotBeenReadIsUnknown) {
    const Seen nothing{{}, {}, {}, {}, {}};
    EXPECT_EQ(FirstLineOf(nothing.Check()), "UNKNOWN: no controllers found");
    CheckRules rules;
    rules.expected[kDisk] = 1;
    EXPECT_EQ(FirstLineOf(nothing.Check(rules)), "CRITICAL: 1 of 1 disks missing, no controllers found");

    // The controller is there, its devices are not yet: that they are missing would be a false alarm.
    const Seen building{{}, {}, {}, {}, {SampleController("c0", "Acme")}};
    EXPECT_EQ(FirstLineOf(building.Check(rules)), "UNKNOWN: controller c0 has no devices");
    EXPECT_EQ(FirstLineOf(Seen().Check(rules, "the hardware is still being read")),
              "UNKNOWN: the hardware is still being read");

    // What has been read and is broken is told in any case.
    Seen failed;
    failed.disks = {Disk(1, "FAILED", kError)};
    EXPECT_EQ(failed.Check({}, "still being read").verdict, Verdict::Critical);

    rules = {};
    rules.only = FindServedClass("battery");
    Seen noBattery;
    noBattery.batteries.clear();
    EXPECT_EQ(FirstLineOf(noBattery.Check(rules)), "UNKNOWN: no batteries found");
    rules.expected[kBattery] = 0;
    EXPECT_EQ(FirstLineOf(noBattery.Check(rules)), "OK: 0 batteries");
}

TEST(Verdict, OneClassAlone) {
    Seen seen;
    seen.disks = {Disk(1, "FAILED", kError)};
    CheckRules rules;
    rules.only = FindServedClass("volume");
    EXPECT_EQ(seen.Check(rules).output, "OK: 1 volume | volumes=1;;;0 warning=0;0;;0 critical=0;;0;0 ignored=0;;;0\n");
}

TEST(Verdict, WhatIsFineIsListedWhenAskedFor) {
    Seen seen;
    seen.volumes = {Volume("DEGRADED", kDegraded)};
    CheckRules rules;
    rules.verbose = true;
    EXPECT_EQ(LinesBelow(seen.Check(rules)),
              "WARNING volume c0/0 DEGRADED: RAID1 boot Logical Volume 0 on controller c0, Drives(0e252,1e252) - "
              "DEGRADED\n"
              "OK controller c0 OK: Controller c0 (Acme)\n"
              "OK disk c0/252:0 ONLINE: Drive 0 in enclosure 252 on controller c0 Fw: N0A4 - ONLINE\n"
              "OK port c0/0 OK: Port 0 on Controller c0\n"
              "OK battery c0/bbu OK: Battery\n");
}

TEST(Verdict, TextsFromVendorsCannotBreakTheLine) {
    Seen seen;
    seen.disks = {SampleDisk("c0_a|b\nc", "Drive |\n0 on controller c0 Fw: \x1b[1m - FAILED", kError, 30)};
    const CheckResult result = seen.Check();
    EXPECT_EQ(FirstLineOf(result), "CRITICAL: disk c0/a/b?c FAILED");
    EXPECT_EQ(LinesBelow(result), "CRITICAL disk c0/a/b?c FAILED: Drive /?0 on controller c0 Fw: ?[1m - FAILED\n");
    EXPECT_EQ(CannotCheck("http://x: a | b\n").output, "UNKNOWN: http://x: a / b?\n");
}

} // namespace
} // namespace cim
