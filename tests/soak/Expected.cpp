#include "tests/soak/Expected.h"

#include "tests/provider/Linked.h"

#include <set>

namespace support {
namespace {

struct State {
    std::string word;
    int health;
};

std::string List(const Json &number) { return "{" + number.dump() + "}"; }

State StateOfVolume(int status) {
    switch (status) {
    case 2:
        return {"OPTIMAL", 5};
    case 3:
        return {"DEGRADED", 10};
    case 6:
        return {"OFFLINE", 30};
    default:
        return {"UNDEFINED", 0};
    }
}

State StateOfDisk(int status, int extentStatus, bool free) {
    switch (status) {
    case 2:
        if (extentStatus == 13) return {"HOT SPARE", 5};
        if (free) return {"UNCONFIGURED GOOD", 5};
        return extentStatus == 11 ? State{"REBUILD", 5} : State{"ONLINE", 5};
    case 6:
        return free && extentStatus != 3 ? State{"UNCONFIGURED BAD", 10} : State{"FAILED", 30};
    case 12:
        return {"OFFLINE", 20};
    case 15:
        return {"UNCONFIGURED GOOD", 5};
    default:
        return {"UNDEFINED", 10};
    }
}

int HealthOf(int status) { return status == 2 || status == 15 ? 5 : status == 12 ? 20 : status == 6 ? 30 : 0; }

std::vector<Fact> FactsOfVolume(const Json &volume, const std::string &ctrl, const Json &controller) {
    std::string drives;
    for (const Json &disk : controller["disks"])
        if (disk["pool"] == volume["pool"]) drives += (drives.empty() ? "" : ",") + disk["slot"].dump() + "e1";
    const State state = StateOfVolume(volume["status"]);
    const std::string caption = "RAID5 " + volume["name"].get<std::string>() + " Logical Volume " +
                                volume["id"].get<std::string>() + " on controller " + ctrl + ", Drives(" + drives +
                                ") - " + state.word;
    return {{"Caption", WithMembersSorted(caption), false},
            {"Name", volume["uniqueId"], false},
            {"OperationalStatus", List(volume["status"]), true},
            {"ExtentStatus", List(volume["extentStatus"]), true},
            {"HealthState", std::to_string(state.health), true},
            {"NumberOfBlocks", volume["blocks"].dump(), true},
            {"ConsumableBlocks", volume["consumableBlocks"].dump(), true}};
}

std::vector<Fact> FactsOfDisk(const Json &disk, const std::string &ctrl, const Json &) {
    const State state = StateOfDisk(disk["status"], disk["extentStatus"], disk["pool"] == "free");
    const std::string caption = "Drive " + disk["slot"].dump() + " in enclosure 1 on controller " + ctrl +
                                " Fw: " + disk["firmware"].get<std::string>() + " - " + state.word;
    return {{"Caption", caption, false},
            {"OperationalStatus", List(disk["status"]), true},
            {"HealthState", std::to_string(state.health), false}, // depends on the pool's Primordial
            {"NumberOfBlocks", disk["blocks"].dump(), false}};
}

std::vector<Fact> FactsOfPort(const Json &port, const std::string &ctrl, const Json &) {
    return {{"Caption", port["name"].get<std::string>() + " on Controller " + ctrl, false},
            {"OperationalStatus", "{2}", false}};
}

std::vector<Fact> FactsOfBattery(const Json &battery, const std::string &ctrl, const Json &) {
    return {{"Caption", "Battery " + battery["id"].get<std::string>() + " on Controller " + ctrl, true},
            {"OperationalStatus", List(battery["status"]), true},
            {"BatteryStatus", battery["batteryStatus"].dump(), true},
            {"HealthState", std::to_string(HealthOf(battery["status"])), true}};
}

const struct {
    const char *className, *prefix, *list;
    std::vector<Fact> (*facts)(const Json &device, const std::string &ctrl, const Json &controller);
} kDevices[] = {
    {kVolume, "zbrStorageVolume", "volumes", FactsOfVolume},
    {kExtent, "zbrStorageExt", "disks", FactsOfDisk},
    {kPort, "zbrPort", "ports", FactsOfPort},
    {kBattery, "zbrControllerBattery", "batteries", FactsOfBattery},
};

} // namespace

std::map<std::string, std::vector<Fact>> Expected(const Hardware &hardware, const std::string &className) {
    std::map<std::string, std::vector<Fact>> expected;
    for (const Json &controller : hardware.document["controllers"]) {
        const std::string id = controller["id"];
        const Fact caption = {"Caption", "Controller " + id + " (R8i)", false};
        if (className == kController) expected["zbrController" + id] = {caption};
        if (className == kSoftware)
            expected["zembra:ControllerSoftware" + id] = {caption,
                                                          {"VersionString", "n/a (Package); 4.81 (Fw)", false}};
        for (const auto &kind : kDevices) {
            if (className != kind.className) continue;
            for (const Json &device : controller[kind.list])
                expected[kind.prefix + id + "_" + device["id"].get<std::string>()] = kind.facts(device, id, controller);
        }
    }
    return expected;
}

std::vector<std::string> Differences(Bench &bench, Depth depth, const std::string &except) {
    std::vector<std::string> differences;
    std::set<std::string> known;
    for (const RaidController_t *ctrl : Each<RaidController_t>(&ThisLife().RaidControllerList))
        if (ctrl->ControllerOp != nullptr) known.insert(ctrl->DeviceID);
    Hardware common = bench.Description();
    Json &controllers = common.document["controllers"];
    std::set<std::string> described;
    for (auto at = controllers.begin(); at != controllers.end();) {
        described.insert((*at)["id"].get<std::string>());
        at = known.count((*at)["id"]) != 0 ? at + 1 : controllers.erase(at);
    }
    const auto isCommon = [&](const std::string &identifier) {
        if (Matches(identifier, except)) return false;
        for (const std::string &id : described)
            if (known.count(id) != 0 && (Matches(identifier, "*" + id) || Matches(identifier, "*" + id + "_*")))
                return true;
        return false;
    };
    for (const char *className : kServedClasses) {
        auto expected = Expected(common, className);
        for (const cim::Instance &instance : bench.Enumerate(className)) {
            const std::string identifier = Shown(instance.path->Key(IdentifyingKey(className)));
            if (!isCommon(identifier)) continue;
            const auto found = expected.find(identifier);
            if (found == expected.end()) {
                differences.push_back(identifier + " is not in the description, or there twice");
                continue;
            }
            for (const Fact &fact : found->second) {
                if (depth == Depth::WhatRefreshesFollow && !fact.followed) continue;
                const std::string served = WithMembersSorted(Shown(instance, fact.property));
                if (served != fact.value)
                    differences.push_back(identifier + " " + fact.property + " is " + served + " instead of " +
                                          fact.value);
            }
            expected.erase(found);
        }
        for (const auto &missing : expected)
            if (isCommon(missing.first)) differences.push_back(missing.first + " is missing");
    }
    return differences;
}

} // namespace support
