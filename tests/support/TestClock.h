// The clock that the code under test sees through time(): the real one until a test takes it over. Thread-safe.
#pragma once

#include <chrono>
#include <ctime>

namespace support {

class TestClock {
public:
    static time_t Now();
    // Stands still at `now` until it is moved.
    static void Freeze(time_t now);
    // Moves the clock on, frozen or running.
    static void Advance(time_t seconds);
    // Sets back CLOCK_MONOTONIC alone: who waits for a time counted from it waits for so much less.
    static void BringDeadlinesForward(std::chrono::nanoseconds by);
    // Back to real time.
    static void Release();
};

} // namespace support
