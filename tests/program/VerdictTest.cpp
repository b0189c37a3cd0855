// One verdict in every view: verdicts.json describes a thing for each rule that hardware can come under, and
// verdicts.expected.json says what each is. The browser's tests look at the page of the same.
#include "tests/support/DescribedHardware.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <map>
#include <sstream>

namespace cim {
namespace {

using Json = nlohmann::ordered_json;
using Verdicts = std::map<std::string, std::string>; // "CRITICAL FAILED" by "disk ok/failed"

const std::string kSupport = std::string(QUARNEL_TEST_SOURCES) + "/../support/";

Json Read(const std::string &file) {
    std::ifstream in(kSupport + file);
    return Json::parse(in);
}

std::string Told(const std::string &verdict, const std::string &reason) {
    return reason.empty() ? verdict : verdict + " " + reason;
}

Verdicts Expected() {
    const Json file = Read("verdicts.expected.json");
    Verdicts expected;
    for (const auto &[name, told] : file.items()) expected[name] = Told(told[0], told[1]);
    return expected;
}

std::string NameOf(const std::string &kind, const Json &facts) {
    const std::string device = facts.value("device", "");
    return kind + " " + facts["controller"].get<std::string>() + (device.empty() ? "" : "/" + device);
}

class EachRule : public testing::Test {
protected:
    std::string Run(const std::vector<std::string> &arguments) const {
        std::vector<std::string> all = arguments;
        all.insert(all.end(), {"--hardware", hardware.File()});
        return RunToEnd(BinFolder() + "/quarnel", all).out;
    }

    std::size_t Problems() const {
        return static_cast<std::size_t>(
            std::count_if(expected.begin(), expected.end(), [](const auto &each) { return each.second != "OK"; }));
    }

    const Verdicts expected = Expected();
    support::DescribedHardware hardware{kSupport + "verdicts.json"};
};

TEST_F(EachRule, IsToldAlikeByListAndItsJson) {
    Verdicts told;
    const Json document = Json::parse(Run({"list", "--json"}));
    for (const auto &[kind, className] : {std::pair("controller", "Zembra_QuarnelController"),
                                          {"volume", "Zembra_QuarnelStorageVolume"},
                                          {"disk", "Zembra_QuarnelStorageExtent"},
                                          {"port", "Zembra_QuarnelSASSATAPort"},
                                          {"battery", "Zembra_QuarnelBattery"}}) {
        for (const Json &item : document[className]) {
            const Json &facts = item["facts"];
            told[NameOf(kind, facts)] = Told(facts["verdict"], facts.value("reason", ""));
        }
    }
    // A row of the tables has the verdict, and of the reason what the state does not tell.
    std::size_t rows = 0;
    for (const std::string &line : LinesOf(Run({"list"}))) {
        const std::string mark = line.substr(0, line.find(' '));
        for (const auto &[of, verdict] : {std::pair("?", "UNKNOWN"), {"!", "WARNING"}, {"!!", "CRITICAL"}}) {
            if (mark != of) continue;
            ++rows;
            EXPECT_NE(line.find(std::string(" ") + verdict), std::string::npos) << line;
        }
    }
    EXPECT_EQ(rows, Problems());
    EXPECT_EQ(told, expected);
    EXPECT_EQ(document["verdict"], "CRITICAL");
}

TEST_F(EachRule, IsToldAlikeByCheck) {
    Verdicts told;
    for (const std::string &line : LinesOf(Run({"check", "--verbose"}))) {
        std::istringstream words(line);
        std::string verdict, kind, name, rest;
        words >> verdict >> kind >> name;
        std::getline(words, rest, ':');
        if (verdict.back() == ':') continue; // the first line
        told[kind + " " + name] = Told(verdict, verdict == "OK" || rest.empty() ? "" : rest.substr(1));
    }
    EXPECT_EQ(told, expected);
}

TEST_F(EachRule, IsToldAlikeByWatch) {
    // On a terminal, from the first look on.
    Process::Options terminal;
    terminal.terminal = true;
    Process screen(BinFolder() + "/quarnel", {"watch", "--hardware", hardware.File()}, terminal);
    ASSERT_TRUE(screen.WaitFor("instances: "));
    for (const auto &[name, told] : expected) {
        if (told == "OK") continue;
        const std::string verdict = told.substr(0, told.find(' '));
        const auto lines = LinesOf(screen.Out());
        const auto of = [&thing = name, &verdict](const std::string &line) {
            return line.find(" " + thing + " ") != std::string::npos && line.find(" " + verdict) != std::string::npos;
        };
        EXPECT_NE(std::find_if(lines.begin(), lines.end(), of), lines.end()) << name;
    }
    screen.Signal(SIGTERM);
    EXPECT_EQ(screen.Wait(), 0);

    // As lines, when all that was well goes wrong.
    const Json bad = hardware.description;
    for (const char *list : {"disks", "volumes", "ports", "batteries"}) {
        for (Json &device : hardware.Controller()[list]) {
            for (const char *trouble : {"status", "batteryStatus", "omit"}) device.erase(trouble);
        }
    }
    hardware.Save();
    Process lines(BinFolder() + "/quarnel-quick",
                  {"watch", "--json", "--interval", "0.1", "--hardware", hardware.File()});
    ASSERT_TRUE(lines.WaitForError("watching")) << lines.Err();
    hardware.description = bad;
    hardware.Save();
    Verdicts wanted, told;
    for (const auto &[name, verdict] : expected) {
        // The states of others are read once.
        const bool followed =
            name.rfind("disk", 0) == 0 || name.rfind("volume", 0) == 0 || name.rfind("battery", 0) == 0;
        if (followed && name != "volume ok/5" && verdict != "OK") wanted[name] = verdict;
    }
    while (told.size() < wanted.size() && lines.WaitFor("\n")) {
        told.clear();
        for (const std::string &line : LinesOf(lines.Out().substr(0, lines.Out().rfind('\n')))) {
            const Json change = Json::parse(line);
            const std::string id = change["id"],
                              name = change["kind"].get<std::string>() + " ok/" + id.substr(id.rfind('_') + 1);
            if (change["verdict"] != "OK") told[name] = Told(change["verdict"], change.value("reason", ""));
        }
    }
    EXPECT_EQ(told, wanted);
    lines.Signal(SIGTERM);
    EXPECT_EQ(lines.Wait(), 0);
}

} // namespace
} // namespace cim
