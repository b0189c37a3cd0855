// The provider's whole life in a few milliseconds, told again and again while one thing after the other goes wrong: it
// is loaded, builds its model, is read, the hardware changes, it is refreshed, it is unloaded.
#pragma once

#include "tests/provider/Linked.h"

#include <atomic>
#include <future>
#include <map>
#include <string>
#include <vector>

namespace support {

// What clients see, by class: object path and every property, sorted.
using Served = std::map<std::string, std::vector<std::string>>;

class Story {
public:
    explicit Story(Hardware start, BenchOptions options = {});

    // From the load to the refreshes, or up to an up-call that is lost. Nothing is expected of what requests answer:
    // something is going wrong.
    void Tell();
    // Called when nothing goes wrong any more: the next refreshes show every device of every controller that was found,
    // and nothing is alive but what records own.
    void ExpectRefreshesToRecover();
    // The hardware changes, and refreshes follow for all but one kind of device of one controller ("c0 disks"), whose
    // up-call does not return.
    void ExpectRefreshesToFollow(const std::string &but);
    // The provider is unloaded, with nothing left behind, and its next life serves exactly what is there.
    void ExpectNextLifeToBeWhole();
    // Requests are answered with exactly what is there.
    void ExpectWhole();

    bool IsStarted() const { return started; } // its factory has returned
    void AnswerLost();                         // and waits for the factory, when that was in it
    void ChangeHardware();
    void ReadEverything();

    LinkedBench bench;

private:
    bool Lost();
    void Await(); // all jobs, or an up-call that is lost
    void Unload();
    Served Everything();

    Hardware start;
    std::atomic<bool> started{false};
    std::future<void> loading;
    Served truth;                                              // after the changes
    std::map<std::string, std::vector<std::string>> deviceIDs; // by controller and kind, after the changes
};

// One controller with several devices of each kind, and a second one with one of each.
Hardware SmallServer();
// One of the samples that come with the project.
Hardware Sample(const std::string &name);

// How many of the points of a sweep to visit: all of them when the environment asks for that (QUARNEL_SWEEP=full), else
// every point of a short sweep and an even selection of a long one.
std::uint64_t StrideFor(std::uint64_t points);

} // namespace support
