// What was there since the program started and is gone, and what needed a look and is well again.
#pragma once

#include "cim/inventory/Json.h"

#include <ctime>
#include <map>
#include <optional>
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

// Is OK after it was not.
struct Recovered {
    const Item *item; // until the next look is noted
    std::string was;  // the reason, or "gone"
    std::time_t since = 0;
};

// Not for several threads.
class Memory {
public:
    // What has been gone for so many seconds is forgotten with the look after that; without a number never.
    explicit Memory(std::optional<double> forgotten = {}) : forgottenAfter(forgotten) {}

    // After each look. A thing that has come back is not gone any more.
    void Note(const Inventory &now, std::time_t time);

    // By place. A controller or an enclosure stands for all that belonged to it.
    const std::vector<Gone> &All() const { return gone; }

    // In the minute before the latest look, by place.
    std::vector<Recovered> RecoveredLately() const;

private:
    struct Known {
        Item last;
        std::time_t goneSince = 0; // 0: it is there
        std::string was = {};
        std::time_t recovered = 0; // 0: it was never wrong, or is again
    };
    void Forget();
    void ForgetTheOldest();

    std::optional<double> forgottenAfter;
    std::time_t latest = 0;             // look
    std::map<std::string, Known> known; // by path
    std::vector<Gone> gone;
};

// "gone since 2026-01-05T10:02:11+01:00, with 24 disks"
std::string ReasonOf(const Gone &gone);
// "was FAILED until 2026-01-05T10:02:11+01:00"
std::string ReasonOf(const Recovered &recovered);

// {"path", "kind", "name", "since", "verdict", "reason", "facts": as they were}
Json ToJson(const Gone &gone);

} // namespace cim
