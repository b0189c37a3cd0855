// `quarnel watch` and `serve` as a user runs them, with the quick clock.
#include "tests/support/DescribedHardware.h"

#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <regex>
#include <sstream>

namespace cim {
namespace {

using testing::HasSubstr;
using testing::UnorderedElementsAre;

const std::string kProgram = BinFolder() + "/quarnel", kQuick = kProgram + "-quick";
const std::string kJudge = std::string(QUARNEL_TEST_SOURCES) + "/validate.py";
const std::string kSmall = std::string(QUARNEL_TEST_SOURCES) + "/small.json";

Process::Options OnTerminal() {
    Process::Options options;
    options.terminal = true;
    return options;
}

std::vector<std::string> Watch(const std::string &what, const std::string &value, std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"watch", "--interval", "0.1", what, value});
    return more;
}

std::size_t Count(const std::string &text, const std::string &part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

// Lines, by the schema.
Outcome Judge(const std::string &lines) {
    const support::TemporaryFolder folder;
    folder.Write("lines", lines);
    return RunToEnd(kJudge, {"--lines", folder / "lines"});
}

// What a terminal is sent: the second screen without a cursor; at the end the cursor, and what was there before.
constexpr const char *kScreenBegins = "\033[?1049h\033[?25l", *kScreenEnds = "\033[?25h\033[?1049l";

// Everybody who follows one server's hardware.
class WatchTest : public testing::Test {
protected:
    WatchTest() {
        for (Process *watch : {&lines, &json, &remote}) EXPECT_TRUE(watch->WaitForError("watching")) << watch->Err();
        EXPECT_TRUE(screen.WaitFor("UNCONFIGURED BAD")) << screen.Err();
    }

    support::DescribedHardware hardware{kSmall};
    support::Serve serve{hardware.File(), "quarnel-quick"};
    Process lines{kQuick, Watch("--hardware", hardware.File())};
    Process json{kQuick, Watch("--hardware", hardware.File(), {"--json", "--class", "battery"})};
    Process remote{kProgram, Watch("--url", serve.Url())};
    Process screen{kQuick, Watch("--hardware", hardware.File()), OnTerminal()};
};

TEST_F(WatchTest, WhatChangesIsToldToEachInTheirWay) {
    termios before{}, after{};
    ASSERT_EQ(tcgetattr(screen.Terminal(), &before), 0);
    auto &disks = hardware.Controller()["disks"];
    disks[0]["status"] = "failed";
    disks[2].update({{"id", "d4"}, {"status", "hot spare"}});
    hardware.Controller()["batteries"][0]["batteryStatus"] = "low";
    hardware.Save();

    for (int line = 0; line < 4; ++line) EXPECT_TRUE(lines.WaitFor("\n")) << lines.Out() << lines.Err();
    EXPECT_TRUE(json.WaitFor("\n")) << json.Out();
    EXPECT_TRUE(remote.WaitFor("disk zbrStorageExtc1_d1 ONLINE -> FAILED\n")) << remote.Out();
    // Marked as failed and as changed; the removed one is listed as gone. The mark goes with the next look.
    for (const char *shown : {"; 1 gone (WARNING)", "!!* disk c1/d1    enclosure 8, slot 1  FAILED", "!   disk c1/d3",
                              "gone since ", "!!  disk c1/d1    enclosure 8, slot 1  FAILED"})
        EXPECT_TRUE(screen.WaitFor(shown)) << shown;
    // Ctrl-Z, and on again: nobody ends, and the terminal is restored in between.
    screen.Type("\x1a");
    EXPECT_TRUE(screen.WaitFor(kScreenEnds));
    for (Process *each : {&lines, static_cast<Process *>(&serve)}) each->Signal(SIGTSTP);
    for (Process *each : {&lines, static_cast<Process *>(&serve), &screen}) {
        EXPECT_TRUE(each->WaitUntilStopped());
        each->Signal(SIGCONT);
    }
    EXPECT_TRUE(screen.WaitFor(kScreenBegins));
    const winsize low{9, 40, 0, 0};
    ioctl(screen.Terminal(), TIOCSWINSZ, &low);
    EXPECT_TRUE(screen.WaitFor("  shown every 0\033[K\r"));
    EXPECT_TRUE(screen.WaitFor("2 CRITICAL, 5 OK, 1 gone"));

    const Outcome judged = RunToEnd(kJudge, {serve.Url() + "/api/inventory"});
    EXPECT_EQ(judged.out, "valid: 1\n") << judged.err; // with changes, and something gone

    lines.Signal(SIGINT);
    json.Signal(SIGHUP);
    serve.Signal(SIGTERM);
    remote.Signal(SIGTERM);
    screen.Type("\x03"); // Ctrl-C
    for (Process *each : {&lines, &json, static_cast<Process *>(&serve), &remote, &screen}) EXPECT_EQ(each->Wait(), 0);

    std::vector<std::string> changes;
    for (const auto &line : LinesOf(lines.Out())) {
        const std::regex stamp(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d\d:\d\d (.*))");
        std::smatch match;
        changes.push_back(std::regex_match(line, match, stamp) ? match[1].str() : line);
    }
    EXPECT_THAT(changes, UnorderedElementsAre("disk zbrStorageExtc1_d1 ONLINE -> FAILED",
                                              "disk zbrStorageExtc1_d3 removed: UNCONFIGURED BAD",
                                              "disk zbrStorageExtc1_d4 appeared: HOT SPARE",
                                              "battery zbrControllerBatteryc1_b charge Charging -> Low"));
    EXPECT_THAT(LinesOf(json.Out()), testing::ElementsAre(HasSubstr(R"({"BatteryStatus":{"from":6,"to":4}})")));

    EXPECT_EQ(screen.Out().rfind(kScreenBegins, 0), 0u);
    EXPECT_EQ(Count(screen.Out(), kScreenEnds), 2u);
    EXPECT_EQ(screen.Out().rfind(kScreenEnds) + std::string(kScreenEnds).size(), screen.Out().size());
    ASSERT_EQ(tcgetattr(screen.Terminal(), &after), 0);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
    EXPECT_EQ(after.c_iflag, before.c_iflag);
    EXPECT_EQ(after.c_oflag, before.c_oflag);
}

TEST_F(WatchTest, ABrokenHardwareFileIsToldOnceAndWhenItIsReadAgain) {
    const std::string reason = hardware.File() + ":2: ", again = hardware.File() + ": read again\n";
    Process *const local[] = {&lines, &json, &serve};
    hardware.Write("{\n\"controllers\": 5}\n");
    for (Process *each : local) EXPECT_TRUE(each->WaitForError("quarnel: " + reason)) << each->Err();
    EXPECT_TRUE(lines.WaitFor(" hardware rejected: " + reason)) << lines.Out();
    EXPECT_TRUE(json.WaitFor("\"event\":\"rejected\",\"file\":\"" + hardware.File() + "\",\"reason\":\"" + reason));
    EXPECT_EQ(RunToEnd(kJudge, {serve.Url() + "/api/inventory"}).out, "valid: 1\n");
    // It is still on the screen with the next look.
    for (int look = 0; look < 2; ++look) EXPECT_TRUE(screen.WaitFor(reason));

    hardware.Controller()["disks"][2].erase("status");
    hardware.Controller()["batteries"][0]["batteryStatus"] = "low";
    hardware.Save();
    for (Process *each : local) EXPECT_TRUE(each->WaitForError("quarnel: " + again)) << each->Err();
    EXPECT_TRUE(lines.WaitFor(" hardware accepted: " + hardware.File() + "\n")) << lines.Out();
    EXPECT_TRUE(lines.WaitFor("UNCONFIGURED BAD -> UNCONFIGURED GOOD")) << lines.Out();
    EXPECT_TRUE(json.WaitFor("BatteryStatus")) << json.Out();
    for (const char *shown : {": read again", "Recovered", "+ * disk c1/d3", "was UNCONFIGURED BAD until "})
        EXPECT_TRUE(screen.WaitFor(shown)) << shown;
    for (Process *each : local) {
        each->Signal(SIGTERM);
        EXPECT_EQ(each->Wait(), 0);
        EXPECT_EQ(Count(each->Err(), "quarnel: " + reason), 1u);
    }
    EXPECT_EQ(Count(lines.Out(), "rejected"), 1u);
    EXPECT_EQ(Judge(json.Out()).out, "valid: 3\n") << json.Out();
}

TEST(Watch, AServerMayGoAndComeBack) {
    support::DescribedHardware hardware{kSmall};
    std::optional<support::Serve> serve(hardware.File());
    const std::string url = serve->Url();
    Process lines(kProgram, Watch("--url", url)), json(kProgram, Watch("--url", url, {"--json"})),
        screen(kProgram, Watch("--url", url), OnTerminal());
    for (Process *watch : {&lines, &json}) EXPECT_TRUE(watch->WaitForError("watching")) << watch->Err();
    EXPECT_TRUE(screen.WaitFor("shown every"));
    serve->Signal(SIGTERM);
    EXPECT_EQ(serve->Wait(), 0);
    EXPECT_TRUE(lines.WaitFor(" server unreachable: " + url + ": ")) << lines.Out();
    EXPECT_TRUE(json.WaitFor(R"(,"verdict":"UNKNOWN","reason":")")) << json.Out();
    for (const char *shown : {"No answer since ", ": connection refused", "disk c1/d3"})
        EXPECT_TRUE(screen.WaitFor(shown)) << shown; // with what was read last

    auto &disk = hardware.Controller()["disks"][0];
    disk["status"] = "failed";
    hardware.Save();
    serve.emplace(hardware.File(), "quarnel", url.substr(url.rfind(':') + 1));
    EXPECT_TRUE(lines.WaitFor(" server reachable: " + url + ", not since ")) << lines.Out();
    EXPECT_TRUE(lines.WaitFor("disk zbrStorageExtc1_d1 ONLINE -> FAILED\n")) << lines.Out();
    EXPECT_TRUE(json.WaitFor(R"("previousVerdict":"OK")")) << json.Out();
    for (const char *shown : {"shown every", "!!* disk c1/d1"}) EXPECT_TRUE(screen.WaitFor(shown)) << shown;
    for (Process *watch : {&lines, &json, &screen}) {
        watch->Signal(SIGTERM);
        EXPECT_EQ(watch->Wait(), 0);
    }
    EXPECT_EQ(Count(lines.Out() + json.Out(), "unreachable"), 2u);
    const Outcome judged = Judge(json.Out());
    EXPECT_EQ(judged.status, 0) << judged.out << judged.err;
}

TEST(Watch, EndsByASignalWhileItWaitsForAnAnswer) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    socklen_t size = sizeof address;
    const timeval limit{60, 0};
    setsockopt(listener, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    ASSERT_EQ(listen(listener, 1), 0); // on any port
    ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size), 0);
    Process watch(kProgram, Watch("--url", "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port))));
    const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    ASSERT_GE(connection, 0) << watch.Err();
    watch.Signal(SIGINT);
    EXPECT_EQ(watch.Wait(), 0);
    EXPECT_EQ(watch.Err(), "");
    close(connection);
    close(listener);
}

TEST(Watch, SaysThatItShowsTheSample) {
    Process pipe(kQuick, {"watch", "--json"}), screen(kQuick, {"watch"}, OnTerminal());
    EXPECT_TRUE(pipe.WaitForError("quarnel: watching sample hardware; ")) << pipe.Err();
    EXPECT_TRUE(screen.WaitFor("Sample hardware, not this machine's: ")) << screen.Out();
}

TEST(Watch, WhatNobodyExpectedIsToldInOneLine) {
#ifdef QUARNEL_SANITIZED
    GTEST_SKIP() << "the sanitizer needs files of its own";
#endif
    // One file may be opened beside the standard ones: too few for a pipe that signals go through. What the test was
    // started with may have been that one.
    Process watch("sh", {"-c", "exec 3>&-; ulimit -n 4; exec \"$0\" watch", kProgram});
    EXPECT_EQ(watch.Wait(), 1);
    EXPECT_EQ(watch.Err(), "quarnel: pipe: Too many open files\n");
}

} // namespace
} // namespace cim
