// check, record and --url as a user runs them.
#include "tests/client/Hosting.h"

#include "cim/inventory/Json.h"
#include "tests/host/Process.h"
#include "tests/host/Server.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <set>
#include <sstream>

namespace cim {
namespace {

using Arguments = std::vector<std::string>;

Outcome Quarnel(const Arguments &arguments) { return RunToEnd(BinFolder() + "/quarnel", arguments); }

std::string FirstPart(const std::string &line) { return line.substr(0, line.find(" | ")); }

// The small server, all fine except for the first of one kind.
nlohmann::ordered_json SmallServerWith(const char *kind, const char *status) {
    auto description = SmallServer();
    auto &controller = description["controllers"][0];
    controller["disks"][2]["status"] = "unconfigured good";
    controller["batteries"][0]["status"] = "dormant";
    controller[kind][0]["status"] = status;
    return description;
}

// The URL of a server that is gone.
std::string Nobody() { return Answering(CimAnswer("")).Url(); }

// A server over the rack server's hardware. Answers 503 once as many requests as allowed have come.
struct FailingServer {
    explicit FailingServer(int allowed) : broker(Host(SampleHardware("rack-server.json"))), left(allowed) {}

    std::unique_ptr<Broker> broker;
    std::atomic<int> left;
    Answering http{[this](const wbem::HttpRequest &request) {
        if (left-- > 0) return wbem::Handle(*broker, request);
        return wbem::HttpAnswer{503, {{"Content-Type", "text/plain"}}, "going down\n"};
    }};
};

TEST(CheckCommand, ItsStatusIsTheVerdicts) {
    const struct {
        const char *kind, *status;
        int exit;
        const char *line;
    } cases[] = {
        {"volumes", "optimal", 0, "OK: 1 controller, 1 volume, 3 disks, 1 port, 1 battery"},
        {"volumes", "degraded", 1, "WARNING: volume c1/0 DEGRADED"},
        {"disks", "failed", 2, "CRITICAL: disk c1/d1 FAILED"},
    };
    for (const auto &[kind, status, exit, line] : cases) {
        const Server server(SmallServerWith(kind, status));
        const Outcome outcome = Quarnel({"check", "--hardware", server.File()});
        EXPECT_EQ(outcome.status, exit);
        EXPECT_EQ(FirstPart(outcome.out), line);
        EXPECT_EQ(outcome.err, "");
    }
    const Server rebuilding(SmallServerWith("disks", "rebuild"));
    EXPECT_EQ(Quarnel({"check", "--hardware", rebuilding.File(), "--rebuild", "ok"}).status, 0);
    EXPECT_EQ(Quarnel({"check", "--hardware", rebuilding.File(), "--ignore", "disk c1/d1", "--ignore", "x"}).status, 0);
    const Outcome missing = Quarnel({"check", "--hardware", rebuilding.File(), "--expect", "disks=3,volumes=2"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(FirstPart(missing.out), "CRITICAL: 1 of 2 volumes missing, disk c1/d1 REBUILD");
}

TEST(CheckCommand, WhatCannotBeCheckedOrUnderstoodIsUnknown) {
    const std::string url = Nobody();
    Outcome outcome = Quarnel({"check", "--url", url});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out, "UNKNOWN: " + url + ": connection refused\n");
    for (const Arguments &wrong :
         {Arguments{"check", "--expect", "disks"}, Arguments{"check", "--expect", "software=1"},
          Arguments{"check", "--expect", "disks=1,disk=2"}, Arguments{"check", "--nonsense"},
          Arguments{"check", "--rebuild", "fine"}, Arguments{"check", "--cacert", "/dev/null"},
          Arguments{"check", "--url", url, "--hardware", "x"}}) {
        outcome = Quarnel(wrong);
        EXPECT_EQ(outcome.status, 3) << wrong.back();
        EXPECT_EQ(outcome.out.rfind("UNKNOWN: ", 0), 0u) << wrong.back();
        EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 1) << outcome.out;
    }
}

TEST(CheckCommand, NothingIsCheckedThatNobodyNamed) {
    Outcome outcome = Quarnel({"check"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out, "UNKNOWN: nothing to check: --url, --hardware or --sample must name it\n");
    for (const char *option : {"--url", "--hardware"}) {
        outcome = Quarnel({"check", option, ""});
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(outcome.out, std::string("UNKNOWN: ") + option + ": the value is empty\n");
    }
    outcome = Quarnel({"check", "--sample"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(FirstPart(outcome.out), "OK: sample hardware: 1 controller, 2 volumes, 8 disks, 8 ports, 1 battery");

    const Server server(SmallServerWith("disks", "failed"));
    Process::Options options;
    options.environment["SIM_HHRC_HARDWARE"] = server.File();
    Process check(BinFolder() + "/quarnel", {"check"}, options);
    EXPECT_EQ(check.Wait(), 2) << check.Out();
}

TEST(CheckCommand, FollowsTheRulesForPlugIns) {
    for (const char *option : {"-h", "--help", "-V", "--version"}) {
        const Outcome outcome = Quarnel({"check", option});
        EXPECT_EQ(outcome.status, 3) << option;
        EXPECT_FALSE(outcome.out.empty()) << option;
    }
    EXPECT_EQ(Quarnel({"check", "-V"}).out, Quarnel({"--version"}).out);

    const std::string url = Nobody(), address = url.substr(url.find("//") + 2);
    EXPECT_EQ(Quarnel({"check", "-t", "5", "-H", address}).out,
              "UNKNOWN: https://" + address + ": connection refused\n");
    EXPECT_EQ(Quarnel({"check", "-H", "::1:2"}).out.rfind("UNKNOWN: https://[::1:2]: ", 0), 0u);
    EXPECT_EQ(Quarnel({"check", "-H", ""}).status, 3);
    const Outcome gone = Quarnel({"check", "--unreachable", "critical", "--url", url});
    EXPECT_EQ(gone.status, 2);
    EXPECT_EQ(gone.out, "CRITICAL: " + url + ": connection refused\n");
    // It is there and says what is wrong with it.
    const Answering refusing(CimAnswer("<ERROR CODE=\"5\"/>"));
    EXPECT_EQ(Quarnel({"check", "--unreachable", "critical", "--url", refusing.Url()}).status, 3);

    Server server(SmallServerWith("volumes", "optimal"));
    const Outcome verbose = Quarnel({"check", "-v", "--expect", "volumes=1, disks = 3 ", "--hardware", server.File()});
    EXPECT_EQ(verbose.status, 0) << verbose.out;
    EXPECT_NE(verbose.out.find("\nOK volume c1/0 OPTIMAL: "), std::string::npos) << verbose.out;

    server.description["behaviour"] = {{{"class", "CIM_SystemDevice"}, {"latency", 3000}}};
    server.Save();
    const Outcome slow = Quarnel({"check", "-t", "0.5", "--hardware", server.File()});
    EXPECT_EQ(slow.status, 3);
    EXPECT_NE(slow.out.find("the hardware is still being read after 0.5 s"), std::string::npos) << slow.out;
}

TEST(UrlOption, ShowsWhatTheServerHasAsWbemcliDoes) {
    const HostedServer server(SampleHardware("storage-node.json"));
    const auto instances = ReadInstances(*server.broker);
    const Outcome listed = Quarnel({"list", "--json", "--url", server.http.Url()});
    EXPECT_EQ(listed.status, 0) << listed.err;
    EXPECT_EQ(listed.out, Dump(ToJson(instances.value, nullptr), 2) + "\n");

    const auto json = Json::parse(listed.out);
    const std::string address = server.http.Url().substr(7);
    for (const auto &served : kServedClasses) {
        std::multiset<std::string> ours, theirs;
        for (const auto &instance : json[served.name]) ours.insert(instance["path"].get<std::string>());
        const Outcome names = RunToEnd("/usr/bin/wbemcli", {"ein", server.http.Url() + "/root/cimv2:" + served.name});
        std::istringstream lines(names.out);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_EQ(line.rfind(address + "/", 0), 0u) << line;
            theirs.insert(line.substr(address.size() + 1));
        }
        EXPECT_EQ(ours, theirs);
        EXPECT_FALSE(ours.empty());
    }

    const Outcome checked = Quarnel({"check", "--url", server.http.Url(), "--class", "volume"});
    EXPECT_EQ(checked.status, 1) << checked.out;
}

TEST(UrlOption, AServerThatDoesNotAnswerIsOneLineAndStatus3) {
    const std::string url = Nobody();
    const Folder folder;
    for (const Arguments &arguments : {Arguments{"list", "--url", url}, Arguments{"watch", "--url", url}}) {
        const Outcome outcome = Quarnel(arguments);
        EXPECT_EQ(outcome.status, 3) << arguments[0];
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "quarnel: " + url + ": connection refused\n");
    }
    const Outcome recorded = Quarnel({"record", "--url", url, "-o", folder.File("x.json")});
    EXPECT_EQ(recorded.status, 3);
    EXPECT_EQ(recorded.err,
              "quarnel: stopped after 0 requests and 0 objects, at CIM_RegisteredProfile in root/interop: " + url +
                  ": connection refused\n");
    EXPECT_EQ(Quarnel({"list", "--url", "server"}).status, 2);
}

TEST(UrlOption, WatchFollowsTheServer) {
    Server hardware(SmallServer());
    Process serve(BinFolder() + "/quarnel-quick", {"serve", "--port", "0", "--hardware", hardware.File()});
    ASSERT_TRUE(serve.WaitFor(",")) << serve.Out() << serve.Err();
    const auto begin = serve.Out().find("http://");
    const std::string url = serve.Out().substr(begin, serve.Out().find(',', begin) - begin);

    Process watch(BinFolder() + "/quarnel", {"watch", "--interval", "0.1", "--url", url});
    ASSERT_TRUE(watch.WaitForError("watching")) << watch.Err();
    hardware.Controller()["disks"][0]["status"] = "failed";
    hardware.Save();
    EXPECT_TRUE(watch.WaitFor("disk zbrStorageExtc1_d1 ONLINE -> FAILED\n")) << watch.Out() << watch.Err();
    serve.Signal(SIGTERM);
    EXPECT_EQ(serve.Wait(), 0);
    EXPECT_EQ(watch.Wait(), 3);
    // The server may have stopped before an answer or between two.
    EXPECT_THAT(watch.Err(), testing::AnyOf(testing::HasSubstr("quarnel: " + url + ": connection refused\n"),
                                            testing::HasSubstr("quarnel: " + url + ": it closed the connection")));
}

TEST(RecordCommand, WritesADescriptionThatReplays) {
    const Folder folder;
    const std::string file = folder.File("node.json");
    std::vector<std::string> served;
    {
        const HostedServer server(SampleHardware("rack-server.json"));
        served = Served(*ConnectTo(server.http.Url()));
        const Outcome outcome = Quarnel({"record", "--url", server.http.Url(), "-o", file});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.out, file + ": 1 controller, 10 disks and volumes, 65 objects from 68 requests\n");
        EXPECT_EQ(outcome.err, "");

        struct stat attributes {};
        ASSERT_EQ(stat(file.c_str(), &attributes), 0);
        const mode_t mask = umask(0);
        umask(mask);
        EXPECT_EQ(attributes.st_mode & 0777, 0666 & ~mask);
    }
    EXPECT_EQ(folder.Names(), Arguments{"node.json"});
    const HostedServer replay(file);
    EXPECT_EQ(Served(*ConnectTo(replay.http.Url())), served);
}

TEST(RecordCommand, WithoutAWholeModelThereIsNoFile) {
    const Folder folder;
    const std::string file = folder.File("node.json");
    {
        const FailingServer server(30);
        const Outcome outcome = Quarnel({"record", "--url", server.http.Url(), "-o", file});
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(outcome.err.rfind("quarnel: stopped after 30 requests and ", 0), 0u) << outcome.err;
        EXPECT_NE(outcome.err.find("answered 503 Service Unavailable: going down\n"), std::string::npos) << outcome.err;
        EXPECT_EQ(folder.Names(), Arguments{});
    }
    folder.Write("node.json", "precious");
    {
        const FailingServer server(30);
        EXPECT_EQ(Quarnel({"record", "--url", server.http.Url(), "-o", file}).status, 3);
        EXPECT_EQ(folder.Names(), Arguments{"node.json"});
        std::ifstream stream(file);
        std::string text;
        std::getline(stream, text);
        EXPECT_EQ(text, "precious");
    }
    const FailingServer server(1000);
    const Outcome nowhere = Quarnel({"record", "--url", server.http.Url(), "-o", folder.File("no/such/folder.json")});
    EXPECT_EQ(nowhere.status, 1);
    EXPECT_NE(nowhere.err.find("cannot be written: No such file or directory"), std::string::npos) << nowhere.err;
}

TEST(RecordCommand, AServerWithoutControllersIsNotRecorded) {
    const Folder folder;
    const Answering empty(CimAnswer("<IRETURNVALUE></IRETURNVALUE>"));
    const Outcome outcome = Quarnel({"record", "--url", empty.Url(), "-o", folder.File("x.json")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "quarnel: " + empty.Url() + ": no hardware RAID controller is registered in root/interop\n");
    EXPECT_EQ(folder.Names(), Arguments{});
}

} // namespace
} // namespace cim
