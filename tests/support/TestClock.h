// The clock that the code under test sees through time(): the real one until a test takes it over. Thread-safe.
#pragma once

#include <ctime>

namespace support {

class TestClock {
public:
    static time_t Now();
    // Stands still at `now` until it is moved.
    static void Freeze(time_t now);
    // Moves the clock on, frozen or running.
    static void Advance(time_t seconds);
    // Back to real time.
    static void Release();
};

} // namespace support
