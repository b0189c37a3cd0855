#include "cim/program/Signals.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace cim {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGTSTP, SIGWINCH};

int pipeEnds[2]; // the handler writes a signal's number into the second
volatile std::sig_atomic_t ended;
struct sigaction former[std::size(kSignals)];

void Handle(int signal) {
    const int saved = errno;
    if (signal == SIGINT || signal == SIGTERM || signal == SIGHUP) ended = 1;
    const auto number = static_cast<unsigned char>(signal);
    // A full pipe holds enough of them already.
    [[maybe_unused]] const ssize_t written = write(pipeEnds[1], &number, 1);
    errno = saved;
}

} // namespace

Signals::Signals() {
    ended = 0;
    if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    struct sigaction action {};
    action.sa_handler = Handle;
    action.sa_flags = SA_RESTART; // the providers' calls are not to notice
    for (std::size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &action, &former[i]);
}

Signals::~Signals() {
    for (std::size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &former[i], nullptr);
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}

bool Signals::Ended() { return ended != 0; }

int Signals::Wait(std::chrono::steady_clock::time_point until) {
    for (;;) {
        unsigned char number = 0;
        if (read(pipeEnds[0], &number, 1) == 1) return number;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
        if (left.count() <= 0) return 0;
        pollfd readable{pipeEnds[0], POLLIN, 0};
        poll(&readable, 1, static_cast<int>(std::min<long long>(left.count(), 1000000)));
    }
}

} // namespace cim
