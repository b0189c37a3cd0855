// Signals as something to wait for, on whatever thread the system delivers them.
#pragma once

#include <chrono>

namespace cim {

// From construction to destruction SIGINT, SIGTERM, SIGHUP, SIGTSTP and SIGWINCH do nothing but end a Wait. One at a
// time in a process.
class Signals {
public:
    Signals();
    ~Signals();
    Signals(const Signals &) = delete;
    Signals &operator=(const Signals &) = delete;

    // The next signal; 0 when none has come by then.
    int Wait(std::chrono::steady_clock::time_point until);

    // One of the first three has come.
    static bool Ended();
};

} // namespace cim
