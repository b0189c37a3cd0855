// The providers' up-calls and thread calls, while it is switched on.
#pragma once

#include "cim/broker/faults/Faults.h"

#include <atomic>
#include <mutex>
#include <vector>

namespace cim {

class CallLog {
public:
    void Switch(bool wanted) { on.store(wanted, std::memory_order_relaxed); }
    bool On() const { return on.load(std::memory_order_relaxed); }
    void Add(Call call);
    std::vector<Call> Take(); // by start

private:
    std::atomic<bool> on{false};
    std::mutex mutex;
    std::vector<Call> calls; // guarded by mutex
};

} // namespace cim
