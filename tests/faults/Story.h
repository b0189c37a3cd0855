// The provider's whole life in a few milliseconds, told again and again while one thing after the other goes wrong: it
// is loaded, builds its model, is read, the hardware changes, it is refreshed, it is unloaded.
#pragma once

#include "tests/provider/Linked.h"

#include <atomic>
#include <functional>
#include <future>
#include <map>
#include <string>
#include <vector>

namespace support {

using Rows = std::map<std::string, std::vector<std::string>>; // sorted, by what they belong to

class Story {
public:
    explicit Story(Hardware start);

    // From the load to the refreshes, or up to an up-call that is lost. Nothing is expected of what requests answer:
    // something is going wrong.
    void Tell();
    // The hardware changes, and the next refreshes show every device of every controller that was found. When nothing
    // goes wrong any more, nothing is alive then but what records own; else `but` names the one kind of device of one
    // controller ("c0, disks") whose up-call does not return.
    void ExpectRefreshesToFollow(const std::string &but = {});
    // The provider is unloaded, with nothing left behind, and its next life serves exactly what is there.
    void ExpectNextLifeToBeWhole();
    void ExpectWhole() { EXPECT_EQ(Everything(), truth); }

    bool IsStarted() const { return started; } // its factory has returned
    bool Lost() { return bench.Broker().Faults().LostNow() > 0; }
    void AnswerLost(); // and waits for the factory, when that was in it
    void ChangeHardware();
    void ReadEverything();

    LinkedBench bench;

private:
    void Unload();
    Rows Everything(); // that clients see, by class: object path and every property

    Hardware start;
    std::atomic<bool> started{false};
    std::future<void> loading;
    Rows truth, deviceIDs; // after the changes
};

// One controller with several devices of each kind, and a second one with one of each.
Hardware SmallServer();

// What can go wrong at many points of a story.
struct Trouble {
    std::function<void(Story &, std::uint64_t)> arm; // it goes wrong at this point from now on alone, once
    std::function<std::uint64_t(Story &)> passed;    // how many points the story has come by since
};

// Of calls into the broker; a thread attaches without a provider's name.
Trouble Calls(cim::FaultRule rule, const std::string &provider = kProvider);
Trouble Upcalls(cim::FaultRule::Effect effect, std::chrono::milliseconds delay = {});

// Tells the story with the trouble at each point: `then` is called where it was reached, and the next life is whole.
// Every point of a short story is visited and an even selection of a long one's, or all when the environment asks for
// that (QUARNEL_SWEEP=full).
void Sweep(Story &story, const std::string &what, const Trouble &trouble, const std::function<void()> &then);

} // namespace support
