// quarnel serve with a client from elsewhere: what wbemcli prints is what quarnel list shows.
#include "tests/support/Process.h"
#include "tests/wbem/Client.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <map>
#include <set>
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
using Table = std::map<std::string, std::set<std::string>>;

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

Table TableOf(const Json &instances) {
    Table table;
    for (const Json &instance : instances) {
        auto &lines = table[instance["path"]];
        for (const auto &[name, value] : instance["properties"].items()) {
            lines.insert(InOrder(name + "=" + Printed(value)));
        }
    }
    return table;
}

// Of wbemcli -nl: a path, its properties' lines with a dash in front, an empty line; and so on. Without those that are
// null, which the list does not show.
Table TableOf(const Lines &lines) {
    Table table;
    std::set<std::string> *properties = nullptr;
    for (const std::string &line : lines) {
        if (line.empty()) {
            properties = nullptr;
        } else if (properties == nullptr) {
            properties = &table[line];
        } else if (line.back() != '=') {
            properties->insert(InOrder(line.substr(1)));
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
        EXPECT_EQ(TableOf(served.Answer({"-nl", "ei"}, object)), expected);

        Lines paths = served.Answer({"ein"}, object);
        EXPECT_EQ(paths.size(), expected.size());
        for (const std::string &path : paths) EXPECT_EQ(expected.count(path), 1u) << path;

        const auto &[path, properties] = *expected.rbegin();
        const Table one = TableOf(served.Answer({"-nl", "gi"}, path)); // prints the path as it was given
        ASSERT_EQ(one.size(), 1u);
        EXPECT_EQ(one.begin()->second, properties);
    }
}

INSTANTIATE_TEST_SUITE_P(Wbemcli, EachSample, testing::Values("rack-server.json", "storage-node.json"));

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

TEST(Wbemcli, WhatWouldChangeAnythingIsNotSupported) {
    const std::string battery = RackServer().Answer({"ein"}, "root/cimv2:Zembra_QuarnelBattery").at(0);
    const std::string refused = "(7) CIM_ERR_NOT_SUPPORTED: ";
    const struct {
        const char *command;
        Lines values;
    } kCommands[] = {{"ci", {"DeviceID=\"new\""}}, {"mi", {"Caption=\"new\""}}, {"di", {}}, {"cm", {"Reset"}},
                     {"gp", {"Caption"}},          {"sp", {"Caption=\"new\""}}};
    for (const auto &each : kCommands) {
        const std::string error = RackServer().Error({each.command}, battery, each.values);
        EXPECT_EQ(error.substr(0, refused.size()), refused) << each.command;
    }
}

TEST(Wbemcli, TheVendorsModelIsExploredByItsAssociations) {
    const Served &served = RackServer();
    const std::string controller = served.Answer({"ein"}, "root/sim:CIM_PortController").at(0);
    const std::string system =
        served.Answer({"ain", "-ac", "CIM_LogicalIdentity", "-arc", "CIM_ComputerSystem"}, controller).at(0);
    const std::string profile = served.Answer({"ain", "-ac", "CIM_ElementConformsToProfile"}, controller).at(0);
    EXPECT_EQ(profile.rfind("root/interop:Sim_RegisteredProfile.", 0), 0u) << profile;

    const Lines ports = served.Answer({"ain", "-ac", "CIM_SystemDevice", "-arc", "CIM_SASSATAPort"}, system);
    EXPECT_EQ(ports.size(), served.Answer({"ein"}, "root/cimv2:Zembra_QuarnelSASSATAPort").size());
    const Table whole = TableOf(
        served.Answer({"-nl", "ai", "-ac", "CIM_SystemDevice", "-arc", "CIM_SASSATAPort"}, system, {"DeviceID"}));
    for (const std::string &path : ports) EXPECT_EQ(whole.at(path).size(), 1u) << "DeviceID alone";

    const Lines links = served.Answer({"rin", "-arc", "CIM_LogicalIdentity"}, controller);
    const Table linked = TableOf(served.Answer({"-nl", "ri", "-arc", "CIM_LogicalIdentity"}, controller));
    ASSERT_EQ(linked.size(), 1u);
    EXPECT_EQ(links, Lines{linked.begin()->first});
    for (const std::string &end : {controller, system}) EXPECT_NE(links[0].find(end), std::string::npos) << links[0];
}

TEST(Wbemcli, ClassesAndNamespacesAreDiscovered) {
    const Served &served = RackServer();
    const Lines names = served.Answer({"ecn"}, "root/cimv2:CIM_StorageExtent");
    EXPECT_NE(std::find(names.begin(), names.end(), "root/cimv2:Zembra_QuarnelStorageExtent"), names.end());
    const Lines definition = served.Answer({"-nl", "-t", "gc"}, "root/cimv2:Zembra_QuarnelBattery");
    for (const char *line : {"-DeviceID#=", "-OperationalStatus[]="}) {
        EXPECT_NE(std::find(definition.begin(), definition.end(), line), definition.end()) << line;
    }
    // The providers' instances and the server's own.
    EXPECT_EQ(served.Answer({"ein"}, "root/interop:CIM_ManagedElement").size(), 5u);
}

TEST(Serve, ASignalEndsItCleanlyWhoeverIsConnected) {
    for (const int signal : {SIGINT, SIGTERM}) {
        Served served("rack-server.json");
        const Client idle(static_cast<std::uint16_t>(std::stoi(served.url.substr(17))));
        served.Answer({"ein"}, "root/cimv2:Zembra_QuarnelController");
        served.process.Signal(signal);
        EXPECT_EQ(served.process.Wait(), 0);
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
         "--address: only loopback addresses (127.0.0.1, ::1) can be served, and 0.0.0.0 is not one: there is no "
         "authentication; install.md, \"Behind a proxy\", says how to let others in"},
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
