// Hardware that changes at random in every way that the provider follows: disks and volumes come, go, move between
// pools, change state, name and capacity; ports, batteries, a pool and a controller come and go.
//
// What a refresh leaves as it was built is the same for an identifier at all times, so that a model that has followed
// is the model that a new life would build. Unless the device left while it was read and came back before that was
// noticed: what could not be read then stays away. So whatever leaves comes back in another season only, but in
// turmoil.
#pragma once

#include "tests/soak/Dice.h"
#include "tests/support/Hardware.h"

#include <set>
#include <string>

namespace support {

class RandomHardware {
public:
    explicit RandomHardware(std::uint64_t seed) : dice(seed) {}
    Hardware Start();
    void Change(Hardware &hardware);
    // In turmoil whole controllers come and go, too.
    void NewSeason(Hardware &hardware, bool turmoil);

private:
    void ChangeDevices(Json &controller);
    void ToggleController(Hardware &hardware);
    void TogglePool(Json &controller);
    void Toggle(Json &controller, const char *list, const std::string &id, Json entry);
    Json NewController(const std::string &id);
    Json Disk(const Json &controller);
    Json Volume();
    Json Battery();

    Dice dice;
    bool inTurmoil = false;
    std::set<std::string> gone; // in this season
};

} // namespace support
