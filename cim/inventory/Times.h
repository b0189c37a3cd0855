// When each kind of thing of each controller was last read, and last seen to change.
#pragma once

#include "cim/inventory/Changes.h"

#include <ctime>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace cim {

struct Times {
    std::time_t read = 0;    // latest look that could read
    std::time_t changed = 0; // latest look that differed from the one before, the first one included
};

class TimesOfKinds {
public:
    using Key = std::pair<std::string, ClassIndex>; // the controller's ID

    // After each look that could read; `changes` lead from the one before to it. A kind that is not there any more has
    // no times.
    void Note(const Inventory &now, const std::vector<Change> &changes, std::time_t time);

    const std::map<Key, Times> &All() const { return times; }

private:
    std::map<Key, Times> times;
};

} // namespace cim
