// quarnel serve with a client that nobody here wrote: what wbemcli prints is what quarnel list shows.
#include "tests/support/Process.h"
#include "tests/wbem/Client.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <map>
#include <sstream>

namespace cim::wbem {

namespace {

using Json = nlohmann::ordered_json;
using Lines = std::vector<std::string>;

const std::string kSamples = QUARNEL_SAMPLES;
constexpr const char *kClasses[] = {"Zembra_QuarnelController",    "Zembra_QuarnelSoftwareIdentity",
                                    "Zembra_QuarnelStorageVolume", "Zembra_QuarnelStorageExtent",
                                    "Zembra_QuarnelSASSATAPort",   "Zembra_QuarnelBattery"};

Lines LinesOf(const std::string &text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

// A server's program for one hardware description.
struct Served {
    Process process;
    std::string url; // "http://localhost:PORT/"

    explicit Served(const std::string &hardware)
        : process(QUARNEL_PROGRAM, {"serve", "--port", "0", "--hardware", kSamples + "/" + hardware}) {
        EXPECT_TRUE(process.WaitFor("\n")) << process.Err(); // serving CIM-XML at http://127.0.0.1:PORT, ...
        const std::string &line = process.Out();
        const std::size_t port = line.find("127.0.0.1:");
        EXPECT_NE(port, std::string::npos) << line;
        if (port != std::string::npos)
            url = "http://localhost:" + line.substr(port + 10, line.find(',') - port - 10) + "/";
    }

    Outcome Ask(Lines words, const std::string &object, const Lines &more = {}) const {
        words.push_back(url + object);
        words.insert(words.end(), more.begin(), more.end());
        return RunToEnd("wbemcli", words);
    }
    // Its output, without the server's name in front of paths.
    Lines Answer(const Lines &words, const std::string &object, const Lines &more = {}) const {
        const Outcome outcome = Ask(words, object, more);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        const std::string server = url.substr(7);
        Lines lines = LinesOf(outcome.out);
        for (std::string &line : lines) {
            if (line.rfind(server, 0) == 0) line.erase(0, server.size());
        }
        return lines;
    }
    // The error that it prints: "(6) CIM_ERR_NOT_FOUND: ...".
    std::string Error(const Lines &words, const std::string &object, const Lines &more = {}) const {
        const Outcome outcome = Ask(words, object, more);
        const std::string mark = "wbemcli: Cim: ";
        const std::size_t begin = outcome.err.find(mark);
        if (begin == std::string::npos) return outcome.out + outcome.err;
        return outcome.err.substr(begin + mark.size(), outcome.err.find('\n', begin) - begin - mark.size());
    }
};

Served &RackServer() {
    static Served served("rack-server.json");
    return served;
}

Json Listed(const std::string &hardware) {
    const Outcome outcome = RunToEnd(QUARNEL_PROGRAM, {"list", "--json", "--hardware", kSamples + "/" + hardware});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return Json::parse(outcome.out);
}

// A value the way wbemcli prints it.
std::string Printed(const Json &value) {
    if (value.is_boolean()) return value.get<bool>() ? "TRUE" : "FALSE";
    if (value.is_string()) return "\"" + value.get<std::string>() + "\"";
    if (!value.is_array()) return value.dump();
    std::string list;
    for (const Json &each : value) list += (list.empty() ? "" : ",") + Printed(each);
    return list;
}

// Instances by path, each as its properties' lines.
using Table = std::map<std::string, Lines>;

// The drives of a volume come in the order in which the provider's workers read them: not the same in two processes.
std::string InOrder(const std::string &line) {
    const std::string open = "Drives(";
    const std::size_t begin = line.find(open), end = line.find(')', begin);
    if (end == std::string::npos) return line;
    std::istringstream drives(line.substr(begin + open.size(), end - begin - open.size()));
    Lines sorted;
    for (std::string drive; std::getline(drives, drive, ',');) sorted.push_back(drive);
    std::sort(sorted.begin(), sorted.end());
    std::string result = line.substr(0, begin + open.size());
    for (const std::string &drive : sorted) result += drive + ",";
    return result + line.substr(end);
}

// What one table has and the other has not, whatever the order of properties; empty when they are the same.
std::string Difference(const Table &found, const Table &expected) {
    const auto lines = [](const Table &table) {
        Lines all;
        for (const auto &[path, properties] : table) {
            all.push_back(path);
            for (const std::string &line : properties) all.push_back(path + " " + InOrder(line));
            std::sort(all.end() - static_cast<std::ptrdiff_t>(properties.size()), all.end());
        }
        return all;
    };
    const Lines a = lines(found), b = lines(expected);
    const auto [first, second] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (first == a.end() && second == b.end()) return {};
    return "found:    " + (first == a.end() ? "nothing" : *first) +
           "\nexpected: " + (second == b.end() ? "nothing" : *second);
}

Table TableOf(const Json &instances) {
    Table table;
    for (const Json &instance : instances) {
        Lines &lines = table[instance["path"]];
        for (const auto &[name, value] : instance["properties"].items()) lines.push_back(name + "=" + Printed(value));
    }
    return table;
}

// Of wbemcli -nl: a path, its properties' lines with a dash in front, an empty line; and so on. Without those that are
// null, which the list does not show.
Table TableOf(const Lines &lines) {
    Table table;
    Lines *properties = nullptr;
    for (const std::string &line : lines) {
        if (line.empty()) {
            properties = nullptr;
        } else if (properties == nullptr) {
            properties = &table[line];
        } else if (line.back() != '=') {
            properties->push_back(line.substr(1));
        }
    }
    return table;
}

struct EachSample : testing::TestWithParam<const char *> {};

TEST_P(EachSample, AllInstancesAreThoseOfTheList) {
    const Served served(GetParam());
    const Json listed = Listed(GetParam());
    for (const char *name : kClasses) {
        const Table expected = TableOf(listed[name]);
        ASSERT_FALSE(expected.empty()) << name;
        const std::string object = std::string("root/cimv2:") + name;
        EXPECT_EQ(Difference(TableOf(served.Answer({"-nl", "ei"}, object)), expected), "");

        Lines paths = served.Answer({"ein"}, object);
        EXPECT_EQ(paths.size(), expected.size());
        for (const std::string &path : paths) EXPECT_EQ(expected.count(path), 1u) << path;

        const auto &[path, properties] = *expected.rbegin();
        const Table one = TableOf(served.Answer({"-nl", "gi"}, path)); // prints the path as it was given
        ASSERT_EQ(one.size(), 1u);
        EXPECT_EQ(Difference({{path, one.begin()->second}}, {{path, properties}}), "");
    }
}

INSTANTIATE_TEST_SUITE_P(Wbemcli, EachSample, testing::Values("rack-server.json", "storage-node.json"));

TEST(Wbemcli, PropertyListsLeaveTheOthersOut) {
    const Table all = TableOf(RackServer().Answer({"-nl", "ei"}, "root/cimv2:Zembra_QuarnelStorageExtent"));
    const Table some = TableOf(
        RackServer().Answer({"-nl", "ei"}, "root/cimv2:zembra_quarnelstorageextent", {"caption,HealthState,NoSuch"}));
    ASSERT_EQ(some.size(), all.size());
    for (const auto &[path, properties] : some) {
        Lines expected = all.at(path);
        expected.erase(std::remove_if(expected.begin(), expected.end(),
                                      [](const std::string &line) {
                                          return line.rfind("Caption=", 0) != 0 && line.rfind("HealthState=", 0) != 0;
                                      }),
                       expected.end());
        EXPECT_EQ(properties, expected);
    }
    const std::string &path = all.begin()->first;
    EXPECT_EQ(TableOf(RackServer().Answer({"-nl", "gi"}, path, {"BlockSize"})).begin()->second, Lines{"BlockSize=512"});
}

TEST(Wbemcli, WrongKeysFindNothingAndMissingOnesAreNamed) {
    const std::string disk = RackServer().Answer({"ein"}, "root/cimv2:Zembra_QuarnelStorageExtent").at(0);
    const auto with = [&disk](const std::string &from, const std::string &to) {
        std::string path = disk;
        EXPECT_NE(path.find(from), std::string::npos);
        return path.replace(path.find(from), from.size(), to);
    };
    const std::string notFound = "(6) CIM_ERR_NOT_FOUND: ";
    for (const std::string &path :
         {with("zbrStorageExtc0_", "zbrStorageExtc9_"), with("zbrStorageExt", "zbrStorageVolume"),
          with("DeviceID=\"zbrStorageExtc0_", "DeviceID=\""), with("SystemName=\"", "SystemName=\"not-"),
          with("CreationClassName=\"Zembra_QuarnelStorageExtent", "CreationClassName=\"Zembra_QuarnelBattery"),
          std::string("root/cimv2:Zembra_QuarnelSoftwareIdentity.InstanceID=7")}) {
        EXPECT_EQ(RackServer().Error({"gi"}, path).substr(0, notFound.size()), notFound) << path;
    }
    const std::string invalid = "(4) CIM_ERR_INVALID_PARAMETER: ";
    EXPECT_EQ(RackServer().Error({"gi"}, with(",DeviceID=", ",Other=")),
              invalid + "key DeviceID of Zembra_QuarnelStorageExtent is missing");
    EXPECT_EQ(RackServer().Error({"gi"}, "root/cimv2:Zembra_QuarnelController.Name=\"zbrControllerc0\""),
              invalid + "key CreationClassName of Zembra_QuarnelController is missing");
}

TEST(Wbemcli, WrongClassesAndNamespacesHaveTheirErrors) {
    const Served &served = RackServer();
    EXPECT_EQ(served.Error({"ei"}, "root/cimv2:No_Such").substr(0, 27), "(5) CIM_ERR_INVALID_CLASS: ");
    for (const char *unserved : {"root/cimv2:CIM_Fan", "root/interop:CIM_Fan", "root/sim:CIM_Namespace"}) {
        EXPECT_EQ(served.Answer({"ei"}, unserved), Lines()) << unserved;
        EXPECT_EQ(served.Answer({"ein"}, unserved), Lines()) << unserved;
    }
    EXPECT_EQ(served.Error({"ei"}, "root/nowhere:Zembra_QuarnelBattery"),
              "(3) CIM_ERR_INVALID_NAMESPACE: there is no namespace root/nowhere");
    EXPECT_EQ(served.Error({"gc"}, "root/cimv2:No_Such"), "(6) CIM_ERR_NOT_FOUND: there is no class No_Such");
}

TEST(Wbemcli, WhatTheProviderRefusesIsRefused) {
    const Served &served = RackServer();
    const std::string battery = served.Answer({"ein"}, "root/cimv2:Zembra_QuarnelBattery").at(0);
    const std::string refused = "(7) CIM_ERR_NOT_SUPPORTED: ";
    const auto start = [&](const std::string &error) { return error.substr(0, refused.size()); };
    EXPECT_EQ(start(served.Error({"ci"}, battery, {"DeviceID=\"new\""})), refused);
    EXPECT_EQ(start(served.Error({"mi"}, battery, {"Caption=\"new\""})), refused);
    EXPECT_EQ(start(served.Error({"di"}, battery)), refused);
    EXPECT_EQ(start(served.Error({"cm"}, battery, {"Reset"})), refused);
    EXPECT_EQ(start(served.Error({"gp"}, battery, {"Caption"})), refused);
    EXPECT_EQ(start(served.Error({"sp"}, battery, {"Caption=\"new\""})), refused);
    EXPECT_EQ(start(served.Error({"dc"}, "root/cimv2:Zembra_QuarnelBattery")), refused);
}

TEST(Wbemcli, TheVendorsModelIsExploredByItsAssociations) {
    const Served &served = RackServer();
    const auto one = [](const Lines &lines) {
        EXPECT_EQ(lines.size(), 1u);
        return lines.empty() ? std::string() : lines[0];
    };
    const std::string controller = one(served.Answer({"ein"}, "root/sim:CIM_PortController"));
    const std::string system =
        one(served.Answer({"ain", "-ac", "CIM_LogicalIdentity", "-arc", "CIM_ComputerSystem"}, controller));
    EXPECT_EQ(system.rfind("root/sim:Sim_ComputerSystem.", 0), 0u) << system;
    const std::string profile = one(served.Answer({"ain", "-ac", "CIM_ElementConformsToProfile"}, controller));
    EXPECT_EQ(profile.rfind("root/interop:Sim_RegisteredProfile.", 0), 0u) << profile;

    // The system's devices are those that the provider serves.
    const struct {
        const char *kind, *served;
    } kDevices[] = {{"CIM_StorageVolume", "Zembra_QuarnelStorageVolume"},
                    {"CIM_SASSATAPort", "Zembra_QuarnelSASSATAPort"},
                    {"CIM_Battery", "Zembra_QuarnelBattery"}};
    for (const auto &each : kDevices) {
        const Lines devices = served.Answer({"ain", "-ac", "CIM_SystemDevice", "-arc", each.kind}, system);
        EXPECT_EQ(devices.size(), served.Answer({"ein"}, std::string("root/cimv2:") + each.served).size()) << each.kind;
        const Table whole =
            TableOf(served.Answer({"-nl", "ai", "-ac", "CIM_SystemDevice", "-arc", each.kind}, system, {"DeviceID"}));
        ASSERT_EQ(whole.size(), devices.size()) << each.kind;
        for (const std::string &path : devices) EXPECT_EQ(whole.count(path), 1u) << path;
    }
    const Lines links = served.Answer({"rin", "-arc", "CIM_LogicalIdentity"}, controller);
    const Table linked = TableOf(served.Answer({"-nl", "ri", "-arc", "CIM_LogicalIdentity"}, controller));
    ASSERT_EQ(links.size(), 1u);
    ASSERT_EQ(linked.size(), 1u);
    for (const std::string &end : {controller, system}) EXPECT_NE(links[0].find(end), std::string::npos) << links[0];
    EXPECT_EQ(linked.begin()->first, links[0]);
}

TEST(Wbemcli, ClassesAndNamespacesAreDiscovered) {
    const Served &served = RackServer();
    const Lines names = served.Answer({"ecn"}, "root/cimv2:CIM_StorageExtent");
    EXPECT_NE(std::find(names.begin(), names.end(), "root/cimv2:Zembra_QuarnelStorageExtent"), names.end());
    const Lines definition = served.Answer({"-nl", "-t", "gc"}, "root/cimv2:Zembra_QuarnelBattery");
    EXPECT_NE(std::find(definition.begin(), definition.end(), "-DeviceID#="), definition.end());
    EXPECT_NE(std::find(definition.begin(), definition.end(), "-OperationalStatus[]="), definition.end());
    std::string spaces;
    for (const auto &each : TableOf(served.Answer({"-nl", "ei"}, "root/interop:CIM_Namespace", {"Name"}))) {
        spaces += each.second.at(0) + " ";
    }
    EXPECT_EQ(spaces, "Name=\"root/cimv2\" Name=\"root/interop\" Name=\"root/sim\" ");

    Lines expected;
    for (const char *name : {"CIM_RegisteredProfile", "CIM_ObjectManager", "CIM_Namespace"}) {
        const Lines each = served.Answer({"ein"}, std::string("root/interop:") + name);
        EXPECT_FALSE(each.empty()) << name;
        expected.insert(expected.end(), each.begin(), each.end());
    }
    EXPECT_EQ(served.Answer({"ein"}, "root/interop:CIM_ManagedElement"), expected);
    const std::string manager = served.Answer({"ein"}, "root/interop:CIM_ObjectManager").at(0);
    EXPECT_EQ(TableOf(served.Answer({"-nl", "gi"}, manager, {"ElementName"})).begin()->second,
              Lines{"ElementName=\"Quarnel\""});
}

// What the number of a property means, by the qualifiers of its class as the client's trace of the answer has them.
std::string MeaningOf(const std::string &trace, const std::string &property, const std::string &number) {
    const std::size_t begin = trace.find(" NAME=\"" + property + "\" TYPE=\"uint16\"");
    const std::string own = trace.substr(std::min(begin, trace.size()), trace.find("</PROPERTY", begin) - begin);
    Lines values; // those of ValueMap, then as many of Values
    const std::string open = "<VALUE>";
    for (std::size_t at = 0; (at = own.find(open, at)) != std::string::npos;) {
        at += open.size();
        values.push_back(own.substr(at, own.find('<', at) - at));
    }
    const auto half = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    const auto found = std::find(values.begin(), half, number);
    return found == half ? "none in " + own : *(half + (found - values.begin()));
}

TEST(Wbemcli, ClassesTellWhatTheNumbersThatAreServedMean) {
    const struct {
        const char *object, *property, *number, *meaning;
    } kCases[] = {
        {"root/interop:CIM_RegisteredProfile", "RegisteredOrganization", "11", "SNIA"},
        {"root/interop:CIM_RegisteredProfile", "AdvertiseTypes", "2", "Not Advertised"},
        {"root/cimv2:Zembra_QuarnelController", "Dedicated", "3", "Storage"},
        {"root/cimv2:Zembra_QuarnelStorageVolume", "OperationalStatus", "3", "Degraded"},
        {"root/cimv2:Zembra_QuarnelStorageVolume", "ExtentStatus", "11", "Rebuild"},
        {"root/cimv2:Zembra_QuarnelStorageVolume", "NameFormat", "9", "NAA"},
        {"root/cimv2:Zembra_QuarnelStorageExtent", "HealthState", "30", "Non-recoverable error"},
        {"root/cimv2:Zembra_QuarnelSASSATAPort", "OperationalStatus", "12", "No Contact"},
        {"root/cimv2:Zembra_QuarnelSASSATAPort", "UsageRestriction", "3", "Back-end only"},
        {"root/cimv2:Zembra_QuarnelBattery", "BatteryStatus", "3", "Fully Charged"},
        {"root/sim:Sim_SoftwareIdentity", "Classifications", "10", "Firmware"},
    };
    for (const auto &each : kCases) {
        const Outcome outcome = RackServer().Ask({"-dx", "gc"}, each.object);
        EXPECT_EQ(MeaningOf(outcome.err, each.property, each.number), each.meaning) << each.object;
    }
}

TEST(Serve, ASignalEndsItCleanlyWithinASecond) {
#ifdef QUARNEL_SANITIZED // which is no measure of time, but shows that nobody is waited for
    const std::chrono::seconds limit(10);
#else
    const std::chrono::seconds limit(1);
#endif
    for (const int signal : {SIGINT, SIGTERM}) {
        Served served("rack-server.json");
        const Client idle(static_cast<std::uint16_t>(std::stoi(served.url.substr(17))));
        served.Answer({"ein"}, "root/cimv2:Zembra_QuarnelController");
        const auto begin = std::chrono::steady_clock::now();
        served.process.Signal(signal);
        EXPECT_EQ(served.process.Wait(), 0);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, limit);
    }
}

TEST(Serve, WhatCannotBeServedIsSaidInOneLine) {
    const std::string port = RackServer().url.substr(17, RackServer().url.size() - 18);
    const struct {
        Lines options;
        int status;
        std::string error;
    } kCases[] = {
        {{"--port", port}, 1, "cannot listen on 127.0.0.1 port " + port + ": Address already in use"},
        {{"--address", "0.0.0.0"},
         2,
         "--address: only loopback addresses (127.0.0.1, ::1) can be served, and 0.0.0.0 is none: there is no "
         "authentication"},
        {{"--port", "65536"}, 2, "--port: 65536 is not a whole number from 0 to 65535"},
        {{"--hardware", "no-such-file"}, 2, "no-such-file: cannot be read: No such file or directory"},
    };
    for (const auto &each : kCases) {
        Lines command = {"serve"};
        command.insert(command.end(), each.options.begin(), each.options.end());
        const Outcome outcome = RunToEnd(QUARNEL_PROGRAM, command);
        EXPECT_EQ(outcome.status, each.status);
        EXPECT_EQ(outcome.err, "quarnel: " + each.error + "\n");
    }
}

} // namespace

} // namespace cim::wbem
