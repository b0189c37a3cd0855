// The rules behind Faults.
#pragma once

#include "cim/broker/Faults.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <vector>

namespace cim {

struct Faults::State {
    struct Entry {
        Id id;
        std::shared_ptr<const FaultRule> rule;
        std::uint64_t matched = 0;
        std::uint64_t hit = 0;
    };

    Entry *Find(Id id) {
        const auto found = std::find_if(entries.begin(), entries.end(), [&](const Entry &e) { return e.id == id; });
        return found != entries.end() ? &*found : nullptr;
    }

    std::atomic<bool> armed{false}; // there are rules; saves the lock while there are none
    std::mutex mutex;
    std::vector<Entry> entries; // guarded by mutex, as the next
    Id lastId = 0;
};

} // namespace cim
