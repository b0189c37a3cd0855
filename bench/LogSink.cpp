#include "bench/LogSink.h"

#include "tests/support/Syslog.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <stdexcept>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

namespace bench {
namespace {

std::atomic<int> writing{-1};

} // namespace

LogSink::LogSink() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends) != 0) throw std::runtime_error("no socket for the log");
    reading = ends[0];
    reader = std::thread([socket = reading] {
        char line[4096];
        while (recv(socket, line, sizeof line, 0) > 0) {}
    });
    writing.store(ends[1], std::memory_order_release);
}

// No provider is left that could be writing.
LogSink::~LogSink() {
    const int socket = writing.exchange(-1);
    (void)send(socket, "", 0, MSG_NOSIGNAL); // an empty datagram ends the reader
    reader.join();
    close(socket);
    close(reading);
}

} // namespace bench

void support::TakeLogLine(int priority, const char *format, va_list arguments) {
    if ((setlogmask(0) & LOG_MASK(LOG_PRI(priority))) == 0) return;
    const int socket = bench::writing.load(std::memory_order_acquire);
    if (socket < 0) return;
    char line[2048];
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    int length = snprintf(line, sizeof line, "<%d>", priority);
    length += static_cast<int>(
        strftime(line + length, sizeof line - static_cast<std::size_t>(length), "%b %e %T quarnel-bench: ", &local));
    const int text = vsnprintf(line + length, sizeof line - static_cast<std::size_t>(length), format, arguments);
    length = text < 0 ? length : length + text;
    const auto size = static_cast<std::size_t>(length) < sizeof line ? static_cast<std::size_t>(length) : sizeof line;
    (void)send(socket, line, size, MSG_NOSIGNAL); // waits when the reader is slow, as syslog does
}
