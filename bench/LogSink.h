// Where the providers' log lines go: formatted as the C library does it and sent to a reader as datagrams, as to a
// system's log daemon; thrown away while there is no sink. Takes the place of syslog() in the whole program, so that no
// measurement depends on, or fills, the log of the machine that it runs on.
#pragma once

#include <thread>

namespace bench {

class LogSink { // one at a time
public:
    LogSink();
    ~LogSink();
    LogSink(const LogSink &) = delete;
    LogSink &operator=(const LogSink &) = delete;

private:
    int reading = -1;
    std::thread reader;
};

} // namespace bench
