// `quarnel watch` as a user runs it, with the quick clock.
#include "tests/host/Process.h"
#include "tests/host/Server.h"

#include <gtest/gtest.h>
#include <termios.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace cim {
namespace {

using Json = nlohmann::ordered_json;

const std::string kQuick = BinFolder() + "/quarnel-quick";

std::vector<std::string> Watch(const Server &server, std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"watch", "--interval", "0.1", "--hardware", server.File()});
    return more;
}

// Fails the disk in slot 1, takes the one without a slot away, and puts another there.
void ChangeHardware(Server &server) {
    auto &disks = server.Controller()["disks"];
    disks[0]["status"] = "failed";
    disks[2]["id"] = "d4";
    disks[2]["status"] = "hot spare";
    server.Save();
}

std::vector<std::string> LinesOf(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

TEST(Watch, PrintsChangesAsLinesIntoAPipe) {
    Server server(SmallServer());
    Process watch(kQuick, Watch(server));
    ASSERT_TRUE(watch.WaitForError("quarnel: watching")) << watch.Err();
    ChangeHardware(server);
    // One look sees all three, or several do.
    for (int line = 0; line < 3; ++line) EXPECT_TRUE(watch.WaitFor("\n")) << watch.Out() << watch.Err();
    watch.Signal(SIGINT);
    EXPECT_EQ(watch.Wait(), 0);
    std::vector<std::string> changes;
    for (const auto &line : LinesOf(watch.Out())) {
        const std::regex stamp(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d\d:\d\d (.*))");
        std::smatch match;
        ASSERT_TRUE(std::regex_match(line, match, stamp)) << line;
        changes.push_back(match[1]);
    }
    std::sort(changes.begin(), changes.end());
    EXPECT_EQ(changes, (std::vector<std::string>{"disk zbrStorageExtc1_d1 ONLINE -> FAILED",
                                                 "disk zbrStorageExtc1_d3 removed: UNCONFIGURED BAD",
                                                 "disk zbrStorageExtc1_d4 appeared: HOT SPARE"}));
}

TEST(Watch, PrintsJsonLines) {
    Server server(SmallServer());
    Process watch(kQuick, Watch(server, {"--json", "--class", "battery"}));
    ASSERT_TRUE(watch.WaitForError("watching")) << watch.Err();
    server.Controller()["batteries"][0]["batteryStatus"] = "low";
    server.Controller()["disks"][0]["status"] = "failed"; // not asked for
    server.Save();
    ASSERT_TRUE(watch.WaitFor("\n")) << watch.Out() << watch.Err();
    watch.Signal(SIGTERM);
    EXPECT_EQ(watch.Wait(), 0);
    const auto lines = LinesOf(watch.Out());
    ASSERT_EQ(lines.size(), 1u) << watch.Out();
    const Json change = Json::parse(lines[0]);
    EXPECT_EQ(change.at("event"), "changed");
    EXPECT_EQ(change.at("id"), "zbrControllerBatteryc1_b");
    EXPECT_EQ(change.at("changes"), Json::parse(R"({"BatteryStatus": {"from": 6, "to": 4}})"));
}

// As the server's description, and back: each in one step.
void Break(const Server &server) {
    std::ofstream(server.File() + ".broken") << "{\n\"controllers\": 5}\n";
    std::filesystem::rename(server.File() + ".broken", server.File());
}

std::size_t Count(const std::string &text, const std::string &part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

TEST(Watch, ABrokenHardwareFileIsToldOnceAndWhenItIsReadAgain) {
    Server server(SmallServer());
    const std::string reason = server.File() + ":2: ", again = server.File() + ": read again\n";
    Process lines(kQuick, Watch(server)), json(kQuick, Watch(server, {"--json"}));
    Process serve(BinFolder() + "/quarnel", {"serve", "--port", "0", "--hardware", server.File()});
    Process::Options options;
    options.terminal = true;
    Process screen(kQuick, Watch(server), options);
    for (Process *watch : {&lines, &json}) ASSERT_TRUE(watch->WaitForError("watching")) << watch->Err();
    ASSERT_TRUE(serve.WaitFor("Ctrl-C")) << serve.Err();
    ASSERT_TRUE(screen.WaitFor("7 instances")) << screen.Err();

    Break(server);
    for (Process *each : {&lines, &json, &serve}) EXPECT_TRUE(each->WaitForError("quarnel: " + reason)) << each->Err();
    EXPECT_TRUE(lines.WaitFor(" hardware rejected: " + reason)) << lines.Out();
    EXPECT_TRUE(json.WaitFor("\"event\":\"rejected\",\"file\":\"" + server.File() + "\",\"reason\":\"" + reason))
        << json.Out();
    // It is still on the screen with the next look.
    for (int look = 0; look < 2; ++look) EXPECT_TRUE(screen.WaitFor(reason));

    server.Controller()["disks"][0]["status"] = "failed";
    server.Save();
    for (Process *each : {&lines, &json, &serve}) EXPECT_TRUE(each->WaitForError("quarnel: " + again)) << each->Err();
    EXPECT_TRUE(lines.WaitFor(" hardware accepted: " + server.File() + "\n")) << lines.Out();
    EXPECT_TRUE(lines.WaitFor("ONLINE -> FAILED")) << lines.Out();
    EXPECT_TRUE(json.WaitFor("\"accepted\"")) << json.Out();
    EXPECT_TRUE(screen.WaitFor(": read again"));
    for (Process *each : {&lines, &json, &serve, &screen}) {
        each->Signal(SIGTERM);
        EXPECT_EQ(each->Wait(), 0);
    }
    for (const Process *each : {&lines, &json, &serve}) EXPECT_EQ(Count(each->Err(), "quarnel: " + reason), 1u);
    EXPECT_EQ(Count(lines.Out(), "rejected"), 1u);
}

TEST(Watch, SaysThatItShowsTheSample) {
    Process pipe(kQuick, {"watch"});
    EXPECT_TRUE(pipe.WaitForError("quarnel: watching sample hardware; ")) << pipe.Err();
    Process::Options options;
    options.terminal = true;
    Process screen(kQuick, {"watch"}, options);
    EXPECT_TRUE(screen.WaitFor("Sample hardware, not this machine's: ")) << screen.Out();
    for (Process *watch : {&pipe, &screen}) {
        watch->Signal(SIGTERM);
        EXPECT_EQ(watch->Wait(), 0);
    }
}

// The last screen: all of them would be long to read.
std::string Last(const Process &watch) {
    const auto start = watch.Out().rfind("\033[H");
    return start == std::string::npos ? watch.Out() : watch.Out().substr(start);
}

TEST(Watch, RedrawsTheTablesAndLeavesTheTerminalAsItWas) {
    Server server(SmallServer());
    Process::Options options;
    options.terminal = true;
    Process watch(kQuick, Watch(server), options);
    termios before{};
    ASSERT_EQ(tcgetattr(watch.Terminal(), &before), 0);

    ASSERT_TRUE(watch.WaitFor("\033[?1049h")) << Last(watch) << watch.Err(); // the second screen
    ASSERT_TRUE(watch.WaitFor("UNCONFIGURED BAD")) << Last(watch);
    ChangeHardware(server);
    // Marked as failed and as changed; the removed one is listed with the time.
    EXPECT_TRUE(watch.WaitFor("!!* c1          8             1  d1")) << Last(watch);
    ASSERT_TRUE(watch.WaitFor("Removed")) << Last(watch);
    EXPECT_TRUE(watch.WaitFor(" disk zbrStorageExtc1_d3 removed: UNCONFIGURED BAD")) << Last(watch);
    // The mark goes with the next look at the same state.
    EXPECT_TRUE(watch.WaitFor("!!  c1          8             1  d1")) << Last(watch);

    watch.Type("\x03"); // Ctrl-C
    EXPECT_EQ(watch.Wait(), 0);
    const std::string end = "\033[?25h\033[?1049l"; // the cursor, and what was there before
    ASSERT_GE(watch.Out().size(), end.size());
    EXPECT_EQ(watch.Out().substr(watch.Out().size() - end.size()), end);
    EXPECT_EQ(watch.Out().find("\033[?1049l"), watch.Out().size() - std::string("\033[?1049l").size());
    termios after{};
    ASSERT_EQ(tcgetattr(watch.Terminal(), &after), 0);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
    EXPECT_EQ(after.c_iflag, before.c_iflag);
    EXPECT_EQ(after.c_oflag, before.c_oflag);
}

} // namespace
} // namespace cim
