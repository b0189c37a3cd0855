#include "cim/program/Terminal.h"

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace cim {

namespace {

constexpr const char *kEnter = "\033[?1049h\033[?25l"; // second screen, cursor off
constexpr const char *kLeave = "\033[?25h\033[?1049l";
constexpr const char *kHome = "\033[H";
constexpr const char *kClearLine = "\033[K";
constexpr const char *kClearBelow = "\033[J";

std::string_view Environment(const char *variable) {
    const char *text = std::getenv(variable);
    return text != nullptr ? text : "";
}

// False with errno set.
bool Replace(const std::string &file, std::string_view text) {
    std::string temporary = file + ".XXXXXX";
    const int handle = mkstemp(temporary.data());
    if (handle < 0) return false;
    const mode_t mask = umask(0);
    umask(mask);
    bool good = fchmod(handle, 0666 & ~mask) == 0 && WriteAll(handle, text) && fsync(handle) == 0;
    good = close(handle) == 0 && good;
    good = good && std::rename(temporary.c_str(), file.c_str()) == 0;
    const int error = errno;
    if (!good) unlink(temporary.c_str());
    errno = error;
    return good;
}

} // namespace

bool OnTerminal() { return isatty(STDOUT_FILENO) == 1 && Environment("TERM") != "dumb"; }

bool WantsColour() { return OnTerminal() && Environment("NO_COLOR").empty(); }

TerminalSize SizeOfTerminal() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) return {};
    return {size.ws_col, size.ws_row};
}

bool WriteAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno != EINTR) return false;
        if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool Print(std::string_view text) { return WriteAll(STDOUT_FILENO, text); }

bool WriteWhole(const std::string &file, std::string_view text, std::string *error) {
    const bool piped = file == "-";
    if (piped ? Print(text) : Replace(file, text)) return true;
    *error = (piped ? "standard output" : file) + ": cannot be written: " + std::generic_category().message(errno);
    return false;
}

void Screen::Enter() { Print(kEnter); }

void Screen::Leave() { Print(kLeave); }

void Screen::Show(const std::string &text, std::size_t height) const {
    // Line by line over what is there: a cleared screen would flicker.
    std::string frame = kHome;
    std::size_t start = 0;
    for (std::size_t line = 0; line < height && start < text.size(); ++line) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        if (line > 0) frame += "\r\n";
        frame.append(text, start, end - start).append(kClearLine);
        start = end + 1;
    }
    Print(frame + kClearBelow);
}

} // namespace cim
