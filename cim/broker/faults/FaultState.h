// The rules behind Faults, and the calls that are lost.
#pragma once

#include "cim/broker/faults/Faults.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <list>
#include <mutex>
#include <vector>

namespace cim {

struct Faults::State {
    using Lock = std::unique_lock<std::mutex>;
    using Rule = std::shared_ptr<const FaultRule>;
    struct Entry {
        Id id;
        Rule rule;
        std::uint64_t matched = 0;
        std::uint64_t hit = 0;
    };
    struct LostCall {
        const FaultRule *rule;
        bool answered = false;
    };

    Entry *Find(Id id) {
        const auto found = std::find_if(entries.begin(), entries.end(), [&](const Entry &e) { return e.id == id; });
        return found != entries.end() ? &*found : nullptr;
    }
    bool Has(const FaultRule *rule) const {
        return std::any_of(entries.begin(), entries.end(), [&](const Entry &e) { return e.rule.get() == rule; });
    }

    // Keeps the calling thread's call until it is answered. What `resume` does is done when Answer returns.
    template <class Pause, class Resume> void Lose(const FaultRule *rule, const Pause &pause, const Resume &resume) {
        Lock lock(mutex);
        if (!Has(rule)) return; // removed since it hit
        pause();
        const auto call = lost.insert(lost.end(), {rule});
        changed.notify_all();
        changed.wait(lock, [&] { return call->answered; });
        resume();
        lost.erase(call);
        changed.notify_all();
    }

    // Has the lost calls of a rule, or of all when it is null, go on; they need nothing but the mutex for that.
    void Answer(Lock &lock, const FaultRule *rule) {
        for (LostCall &call : lost) call.answered = call.answered || rule == nullptr || call.rule == rule;
        changed.notify_all();
        changed.wait(lock, [&] {
            return std::none_of(lost.begin(), lost.end(), [](const LostCall &call) { return call.answered; });
        });
    }

    std::atomic<bool> armed{false}; // there are rules; saves the lock while there are none
    std::mutex mutex;
    std::condition_variable changed; // `lost` has
    std::vector<Entry> entries;      // guarded by mutex, as the next two
    std::list<LostCall> lost;
    Id lastId = 0;
};

} // namespace cim
