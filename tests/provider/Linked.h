// QuarnelProvider linked into the test program: the library's own sources, run by the broker like the library, with
// their insides in view.
#pragma once

#include "cim/quarnel/QuarnelProviderCfg/Cfg.h"
#include "tests/support/Bench.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rule.h"
#include "tests/support/TestClock.h"
#include "tests/support/Values.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

extern "C" CMPIInstanceMI *QuarnelProvider_Create_InstanceMI(const CMPIBroker *broker, const CMPIContext *ctx,
                                                             CMPIStatus *rc);

namespace support {

// The time at which benches start: the clock stands still until a test moves it.
constexpr time_t kStart = 1'700'000'000;

class LinkedBench : public Bench {
public:
    explicit LinkedBench(Hardware description, BenchOptions options = {});

    // Loads the provider and waits until its first build is done.
    void Start();
    // The same with one worker, so that devices are built in the vendor's order.
    void StartInOrder();
    // The same, and then lets so much time pass that every kind may be refreshed again.
    void StartAndWait();
    // Asks for the class's instances, so that they are refreshed when they are due, and waits for that.
    void Refresh(const std::string &className);
    // Refresh after the interval, and the instances' property thereafter.
    std::vector<std::string> RefreshedColumn(const std::string &className, const std::string &property);
    // Has each worker run a job, which ends with its context renewed: what one that could not be renewed has kept is
    // freed.
    void LetEveryWorkerWork();
    // What is alive of the broker's is what records own: nothing is lent while all workers are idle.
    void ExpectOnlyRecordsAlive();
};

// The log's mask while it lives, also as the provider sees it in functions that are called directly.
class LogMask {
public:
    explicit LogMask(int mask) : previous(setlogmask(mask)) { ReadLogMask(); }
    ~LogMask() {
        setlogmask(previous);
        ReadLogMask();
    }
    LogMask(const LogMask &) = delete;
    LogMask &operator=(const LogMask &) = delete;

private:
    int previous;
};

// True when every job has been run and all workers are idle, within the limit.
bool WorkersIdle(std::chrono::milliseconds limit = std::chrono::seconds(60));
bool RefreshesMayBegin(); // the first controller's devices are built

RaidController_t *TheController(std::size_t index = 0); // fails the test when there is none
// The disks that a pool of the model lists: " d0 d1", "no pool".
std::string Members(const std::string &poolID, std::size_t controller = 0);

std::size_t PathsOwned(); // by all records, clones of the broker's
// An invocation for code that is called directly, and what it needs.
class Invocation {
public:
    explicit Invocation(Bench &bench);
    ~Invocation();
    Invocation(const Invocation &) = delete;
    Invocation &operator=(const Invocation &) = delete;
    const CMPIContext *Context() const { return context; }
    CMPIObjectPath *Path(const std::string &className, const std::vector<cim::NamedValue> &textKeys = {}) const;

private:
    Bench &bench;
    const CMPIContext *context;
};

} // namespace support
