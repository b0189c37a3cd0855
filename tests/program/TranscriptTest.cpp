// The program as its users run it: transcripts/NAME.txt has commands and what they say.
//     + FILE /JSON/POINTER VALUE   FILE is small.json with another value there; more lines change more of it
//     & FILE                       `quarnel serve` with that hardware; its address is $URL
//     $ COMMAND                    for a shell in the files' folder; % COMMAND the same on a terminal
// Commands run side by side up to the next file or server. What a command writes on standard error begins with "! ",
// and its status, unless it is 0, with "= ".
#include "tests/support/DescribedHardware.h"
#include "tests/support/Golden.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <optional>
#include <regex>
#include <sstream>

namespace cim {
namespace {

const std::string kSources = QUARNEL_TEST_SOURCES;

void Replace(std::string &text, const std::string &what, const std::string &by) {
    if (what.empty()) return;
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
}

class Transcript {
public:
    std::string Replay(const std::string &file) {
        std::ifstream in(file);
        char before = '#';
        for (std::string line; std::getline(in, line);) {
            const char what = line.size() > 1 && line[1] == ' ' ? line[0] : '\0';
            if (line.empty() || std::string("#+&$%").find(what) == std::string::npos) continue;
            if (what == '+' || what == '&') Await();
            text += (before == '$' || before == '%' ? "\n" : "") + line + "\n";
            before = what;
            line.erase(0, 2);
            if (what == '+') Describe(line);
            if (what == '&') server.emplace(folder / line);
            if (what == '$' || what == '%') Run(line, what == '%');
        }
        Await();
        return text;
    }

private:
    void Describe(const std::string &line) {
        std::istringstream words(line);
        std::string name, pointer;
        words >> name >> pointer;
        auto &description = descriptions.try_emplace(name).first->second;
        if (description.is_null()) {
            std::ifstream small(kSources + "/small.json");
            description = nlohmann::ordered_json::parse(small);
        }
        if (!pointer.empty()) words >> description[nlohmann::ordered_json::json_pointer(pointer)];
        folder.Write(name, description.dump(2));
    }

    void Run(const std::string &command, bool terminal) {
        Process::Options options;
        options.terminal = terminal;
        options.environment = {{"PATH", BinFolder() + ":" + std::getenv("PATH")},
                               {"JUDGE", kSources + "/validate.py"},
                               {"SAMPLES", BinFolder() + "/../share/quarnel/hardware"},
                               {"URL", server ? server->Url() : ""}};
        running.emplace_back(text, "/bin/sh", std::vector<std::string>{"-c", "cd " + folder.Path() + "\n" + command},
                             options);
        text.clear();
    }

    // Puts what the running commands say behind them.
    void Await() {
        std::string all;
        for (auto &[before, shell] : running) {
            const int status = shell.Wait();
            std::string said = shell.Out();
            std::istringstream errors(shell.Err());
            for (std::string line; std::getline(errors, line);) said += "! " + line + "\n";
            Replace(said, "\r", "");
            Replace(said, "\033", "<ESC>");
            Replace(said, server ? server->Url() : "", "$URL");
            said = std::regex_replace(said, std::regex(R"re(((?:SystemName|"host)(=\\?"|": "))[^"\\]*)re"), "$1HOST");
            said = std::regex_replace(said, std::regex(R"re(("(time|version)": ")[^"]*)re"), "$1...");
            all += before + said + (status != 0 ? "= " + std::to_string(status) + "\n" : "");
        }
        text = all + text;
        running.clear();
    }

    struct Running {
        Running(std::string text, const std::string &program, const std::vector<std::string> &arguments,
                const Process::Options &options)
            : before(std::move(text)), shell(program, arguments, options) {}
        std::string before; // of the transcript
        Process shell;
    };
    std::string text; // of the transcript, behind the last command
    std::deque<Running> running;
    const support::TemporaryFolder folder;
    std::map<std::string, nlohmann::ordered_json> descriptions;
    std::optional<support::Serve> server;
};

class Transcripts : public testing::TestWithParam<std::string> {};

TEST_P(Transcripts, ReplayAsTheyAre) {
    const std::string file = kSources + "/transcripts/" + GetParam() + ".txt";
    support::ExpectGolden(file, Transcript().Replay(file));
}

INSTANTIATE_TEST_SUITE_P(Program, Transcripts,
                         testing::Values("list", "hardware", "mistakes", "help", "check", "plugin", "slow", "url",
                                         "record", "json", "filters", "metrics"));

} // namespace
} // namespace cim
