// A program that a test runs as a user would: with arguments and an environment, into pipes or on a terminal.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace cim {

// The folder that this test program is in: the others' too.
std::string BinFolder();

class Process {
public:
    struct Options {
        bool terminal = false; // standard output and input are a terminal of 100 by 40
        std::map<std::string, std::string>
            environment;    // on top of the test's own; NO_COLOR, SIM_HHRC_HARDWARE and TERM have no other value
        std::string output; // a file to write to instead of a pipe
    };
    // A program without a slash in its name is looked for on the path.
    Process(const std::string &program, const std::vector<std::string> &arguments, const Options &options);
    Process(const std::string &program, const std::vector<std::string> &arguments) : Process(program, arguments, {}) {}
    ~Process(); // kills it, when it still runs
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    // Reads standard output until it holds `text` behind what earlier waits found, or has ended. False when that does
    // not come to pass within the deadline.
    bool WaitFor(const std::string &text);
    bool WaitForError(const std::string &text); // the same of standard error, from its start
    // Reads to the end and answers the exit status, or 128 and the signal's number.
    int Wait();

    void Signal(int signal);
    bool WaitUntilStopped();
    void Type(const std::string &keys); // on the terminal
    int Terminal() const { return terminal; }

    const std::string &Out() const { return out; }
    const std::string &Err() const { return err; }

private:
    bool Read(); // some more of either output. False at the end of both, or past the deadline.

    using Clock = std::chrono::steady_clock;
    Clock::time_point deadline;
    pid_t pid = -1;
    int outEnd = -1, errEnd = -1;
    int terminal = -1; // our side of it, for its settings; open until the end
    std::string out, err;
    std::size_t found = 0;
};

// What a program that ran to its end has said.
struct Outcome {
    int status = -1; // as from Wait()
    std::string out, err;
};
Outcome RunToEnd(const std::string &program, const std::vector<std::string> &arguments);

// Of what it said, without the line feeds.
std::vector<std::string> LinesOf(const std::string &text);

} // namespace cim
