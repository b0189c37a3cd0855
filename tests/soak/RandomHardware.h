// Hardware that changes at random in every way that the provider follows: disks and volumes come, go, move between
// pools, change state, name and capacity; ports, batteries, a pool and a controller come and go.
//
// What a refresh leaves as it was built is the same for an identifier at all times, so that a model that has followed
// is the model that a new life would build. Unless the device left while it was read and came back before that was
// noticed: what could not be read then stays away. So whatever leaves comes back in another season only, but in
// turmoil.
#pragma once

#include "tests/support/Hardware.h"

#include <random>
#include <set>
#include <string>

namespace support {

// Decisions at random, the same ones for the same seed.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : random(seed) {}
    std::uint64_t Seed() { return random(); } // for other dice
    int Below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }
    bool OneIn(int chances) { return Below(chances) == 0; }
    template <class Choice> Choice OneOf(std::initializer_list<Choice> choices) {
        return *(choices.begin() + Below(static_cast<int>(choices.size())));
    }
    template <class List> auto &OneOf(List &list) {
        return list[static_cast<std::size_t>(Below(static_cast<int>(std::size(list))))];
    }

private:
    std::mt19937_64 random;
};

class RandomHardware {
public:
    explicit RandomHardware(std::uint64_t seed) : dice(seed) {}
    Hardware Start();
    // So many devices that each state is among them.
    Hardware EveryState();
    void Change(Hardware &hardware);
    // In turmoil whole controllers come and go, too.
    void NewSeason(Hardware &hardware, bool turmoil);

private:
    void ChangeDevices(Json &controller);
    void ToggleController(Hardware &hardware);
    void Toggle(Json &controller, const std::string &list, const std::string &prefix, int number);
    Json NewController(const std::string &id);
    Json Entry(const Json &controller, const std::string &list, const std::string &prefix, int number);

    Dice dice;
    bool inTurmoil = false;
    std::set<std::string> gone; // in this season
};

} // namespace support
