#include "tests/support/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace cim {

namespace {

constexpr std::chrono::seconds kPatience{60}; // far beyond what any of it takes

void OpenTerminal(int *master, int *slave) {
    *master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    grantpt(*master);
    unlockpt(*master);
    *slave = open(ptsname(*master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    const winsize size{40, 100, 0, 0};
    ioctl(*slave, TIOCSWINSZ, &size);
}

} // namespace

std::string BinFolder() { return std::filesystem::read_symlink("/proc/self/exe").parent_path().string(); }

Process::Process(const std::string &program, const std::vector<std::string> &arguments, const Options &options)
    : deadline(Clock::now() + kPatience) {
    int outPipe[2] = {-1, -1}, errPipe[2] = {-1, -1};
    if (options.terminal)
        OpenTerminal(&outPipe[0], &outPipe[1]);
    else if (!options.output.empty())
        outPipe[1] = open(options.output.c_str(), O_WRONLY | O_CLOEXEC);
    else if (pipe2(outPipe, O_CLOEXEC) != 0)
        std::abort();
    if (pipe2(errPipe, O_CLOEXEC) != 0) std::abort();
    if (options.terminal) terminal = fcntl(outPipe[0], F_DUPFD_CLOEXEC, 0);

    std::vector<char *> argv{const_cast<char *>(program.c_str())};
    for (const auto &argument : arguments) argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);

    pid = fork();
    if (pid == 0) {
        setsid();
        for (const char *ours : {"NO_COLOR", "SIM_HHRC_HARDWARE"}) unsetenv(ours);
        setenv("TERM", "xterm", 1);
        for (const auto &[name, value] : options.environment) setenv(name.c_str(), value.c_str(), 1);
        if (options.terminal) ioctl(outPipe[1], TIOCSCTTY, 0);
        dup2(options.terminal ? outPipe[1] : open("/dev/null", O_RDONLY), STDIN_FILENO);
        dup2(outPipe[1], STDOUT_FILENO);
        dup2(errPipe[1], STDERR_FILENO);
        execvp(program.c_str(), argv.data());
        _exit(127);
    }
    close(outPipe[1]);
    close(errPipe[1]);
    outEnd = outPipe[0];
    errEnd = errPipe[0];
}

Process::~Process() {
    if (pid > 0) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
    for (const int end : {outEnd, errEnd, terminal}) {
        if (end >= 0) close(end);
    }
}

bool Process::Read() {
    std::array<pollfd, 2> ends{{{outEnd, POLLIN, 0}, {errEnd, POLLIN, 0}}};
    if (outEnd < 0 && errEnd < 0) return false;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0 || poll(ends.data(), ends.size(), static_cast<int>(left.count())) <= 0) return false;
    const auto take = [](const pollfd &polled, int &end, std::string &into) {
        if (polled.revents == 0) return;
        std::array<char, 65536> buffer;
        const ssize_t count = read(polled.fd, buffer.data(), buffer.size());
        if (count > 0) {
            into.append(buffer.data(), static_cast<std::size_t>(count));
        } else {
            close(end);
            end = -1;
        }
    };
    take(ends[0], outEnd, out);
    take(ends[1], errEnd, err);
    return true;
}

bool Process::WaitFor(const std::string &text) {
    for (;;) {
        const std::size_t at = out.find(text, found);
        if (at != std::string::npos) {
            found = at + text.size();
            return true;
        }
        if (!Read()) return false;
    }
}

bool Process::WaitForError(const std::string &text) {
    while (err.find(text) == std::string::npos) {
        if (!Read()) return false;
    }
    return true;
}

int Process::Wait() {
    while (Read()) {}
    if (outEnd >= 0 || errEnd >= 0) return -1; // past the deadline: it still runs
    int status = 0;
    waitpid(pid, &status, 0);
    pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void Process::Signal(int signal) { kill(pid, signal); }

bool Process::WaitUntilStopped() {
    int status = 0;
    return waitpid(pid, &status, WUNTRACED) == pid && WIFSTOPPED(status);
}

void Process::Type(const std::string &keys) {
    if (write(outEnd, keys.data(), keys.size()) < 0) std::abort();
}

Outcome RunToEnd(const std::string &program, const std::vector<std::string> &arguments) {
    Process process(program, arguments);
    const int status = process.Wait();
    return {status, process.Out(), process.Err()};
}

std::vector<std::string> LinesOf(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

} // namespace cim
