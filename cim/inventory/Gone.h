// What was there since the program started and is gone.
#pragma once

#include "cim/inventory/Json.h"

#include <ctime>
#include <map>
#include <string>
#include <vector>

namespace cim {

struct Gone {
    std::string kind; // a served class's, or "enclosure", which stands for all its disks
    std::string name; // "disk c0/12", "enclosure 252 of controller c0"
    std::string path; // identity; of an enclosure, its name
    std::time_t since = 0;
    std::size_t count = 0; // of things that are gone with it: of an enclosure its disks, of others also itself
    Item last;             // as it was; of an enclosure, one of its disks
};

// Not for several threads.
class Memory {
public:
    // After each look. A thing that has come back is not gone any more.
    void Note(const Inventory &now, std::time_t time);

    // By place. A controller or an enclosure stands for all that belonged to it.
    const std::vector<Gone> &All() const { return gone; }

private:
    struct Known {
        Item last;
        std::time_t goneSince = 0; // 0: it is there
    };
    void ForgetTheOldest();

    std::map<std::string, Known> known; // by path
    std::vector<Gone> gone;
};

// "gone since 2026-01-05T10:02:11+01:00, with 24 disks"
std::string ReasonOf(const Gone &gone);

// {"path", "kind", "name", "since", "verdict", "reason", "facts": as they were}
Json ToJson(const Gone &gone);

} // namespace cim
