// `quarnel serve` whose clock a test moves: a line with a number of seconds on standard input moves it on by that much,
// and is answered with the same line. Ends when standard input does.
#include "cim/program/Command.h"
#include "tests/support/TestClock.h"

#include <csignal>
#include <iostream>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

void FollowInput() {
    std::string line;
    while (std::getline(std::cin, line)) {
        support::TestClock::Advance(std::stol(line));
        std::cout << line << std::endl;
    }
    kill(getpid(), SIGTERM);
}

} // namespace

int main(int argc, char **argv) {
    CLI::App program("quarnel serve with a movable clock", "picture_server");
    cim::Run run;
    cim::AddServe(program, run);
    CLI11_PARSE(program, argc, argv);
    std::thread(FollowInput).detach();
    return run();
}
