// Things to be timed side by side: they take turns within every sample, so that what else the machine does meanwhile
// hits them alike, and it is each sample's ratio that counts. Google Benchmark repeats the samples, those of different
// groups in random order.
#pragma once

#include "bench/Report.h"

#include <functional>
#include <string>
#include <vector>

namespace bench {

struct TurnOptions {
    int repetitions = 15;  // samples
    double minTime = 0.05; // seconds that each sample lasts at least
};
extern TurnOptions turnOptions; // of all turns

struct Turn {
    std::string name;
    std::function<double()> once; // one run; the seconds that it took
    int runs = 1;                 // in a row
};

class Turns {
public:
    // What is compared with each other.
    Turns &Together(std::vector<Turn> group);
    // Adds samples to the report: seconds for one run, under the turns' names.
    void Run(Report &report);

private:
    std::vector<std::vector<Turn>> groups;
};

// What the work takes, in seconds: by the clock on the wall, of this thread's processor time, of the whole process's.
double WallTimeOf(const std::function<void()> &work);
double ThreadTimeOf(const std::function<void()> &work);
double ProcessTimeOf(const std::function<void()> &work);

// The same as turns.
template <double (*TimeOf)(const std::function<void()> &)>
Turn Timed(const std::string &name, std::function<void()> work, int runs = 1) {
    return {name, [work = std::move(work)] { return TimeOf(work); }, runs};
}

} // namespace bench
